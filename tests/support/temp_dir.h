// A fresh temporary folder for one test, removed with everything in it when the
// object goes out of scope, and byte-exact helpers to write and read its files.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kyo::test {

/// A uniquely named folder under the system's temporary folder, owned by one test.
class temp_dir {
 public:
  /// Creates the folder; fails the test (and throws) if it cannot.
  temp_dir();
  /// Removes the folder and its contents; errors are ignored.
  ~temp_dir();
  temp_dir(const temp_dir&) = delete;
  temp_dir& operator=(const temp_dir&) = delete;

  /// The folder itself.
  const std::filesystem::path& path() const { return root_; }
  /// `name` (which may contain '/') inside the folder; nothing is created.
  std::filesystem::path path(std::string_view name) const { return root_ / name; }
  /// `path(name)` as a string, for APIs that take text paths.
  std::string file(std::string_view name) const { return path(name).string(); }

  /// Writes `bytes` to `name` exactly (no newline conversion), creating folders as needed.
  void write(std::string_view name, std::string_view bytes) const;
  /// The bytes of `name`; empty when it cannot be read.
  std::string read(std::string_view name) const;

 private:
  std::filesystem::path root_;
};

/// The bytes of the file at `path`; empty when it cannot be read.
std::string read_file(const std::filesystem::path& path);

}  // namespace kyo::test
