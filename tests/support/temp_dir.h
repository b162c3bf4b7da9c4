// A fresh temporary folder for one test, removed with everything in it when the
// object goes out of scope, and byte-exact helpers to write and read its files.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kyo::test {

/// The bytes of the file at `path`; empty when it cannot be read.
inline std::string read_file(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

/// A uniquely named folder under the system's temporary folder, owned by one test.
class temp_dir {
 public:
  /// Creates the folder, named after the test so that one left behind by a crash says where it
  /// came from; fails the test (and throws) if it cannot.
  temp_dir() {
    const testing::TestInfo* info = testing::UnitTest::GetInstance()->current_test_info();
    const std::string stem = info != nullptr ? std::string(info->name()).substr(0, 60) : "test";
    std::string pattern =
        (std::filesystem::temp_directory_path() / ("kyo-" + stem + "-XXXXXX")).string();
    if (::mkdtemp(pattern.data()) == nullptr) {
      ADD_FAILURE() << "cannot create a temporary folder from " << pattern;
      throw std::runtime_error("cannot create a temporary folder");
    }
    root_ = pattern;
  }
  /// Removes the folder and its contents; errors are ignored.
  ~temp_dir() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
  temp_dir(const temp_dir&) = delete;
  temp_dir& operator=(const temp_dir&) = delete;

  /// The folder itself.
  const std::filesystem::path& path() const { return root_; }
  /// `name` (which may contain '/') inside the folder; nothing is created.
  std::filesystem::path path(std::string_view name) const { return root_ / name; }
  /// `path(name)` as a string, for APIs that take text paths.
  std::string file(std::string_view name) const { return path(name).string(); }

  /// Writes `bytes` to `name` exactly (no newline conversion), creating folders as needed.
  void write(std::string_view name, std::string_view bytes) const {
    const std::filesystem::path target = path(name);
    std::error_code ignored;
    std::filesystem::create_directories(target.parent_path(), ignored);
    std::ofstream out(target, std::ios::binary | std::ios::trunc);
    if (!out.write(bytes.data(), static_cast<std::streamsize>(bytes.size())))
      ADD_FAILURE() << "cannot write " << target;
  }
  /// The bytes of `name`; empty when it cannot be read.
  std::string read(std::string_view name) const { return read_file(path(name)); }

 private:
  std::filesystem::path root_;
};

}  // namespace kyo::test
