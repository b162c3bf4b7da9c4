// A file output: bytes go to a file in a folder, named by the local day of the year and time of
// day at which it was opened ("045-0905.txt"), replaced by a new file before it would grow past
// 728,576 bytes. The file is created by the first write after `open`, not by `open` itself.
#pragma once

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>

#include <kyo/kyoutils_export.h>
#include <kyo/output/output.h>

namespace kyo {

/// An output that writes files named "%03D-%02H%02M." plus its extension (local time) into its
/// folder. Folders are DOS-style texts ("C:\KYO\logs"), mapped to native paths when a file is
/// opened. The server name is the folder (with its trailing backslash) followed by "*." and the
/// extension, so that lists show it as a file pattern.
class KYO_EXPORT output_file : public output {
 public:
  /// A file never grows past this many bytes, unless a single chunk is larger.
  static constexpr std::int64_t max_file_bytes = 728'576;

  /// Stream support: the output part (behind its version word), then the folder and the
  /// extension as strings. A null string fails the stream.
  struct KYO_EXPORT Streamer {
    static void Write(opstream& os, const output_file& o);
    static void Read(ipstream& is, output_file& o, std::uint32_t version);
  };

  /// A closed file output for folder `dir` and extension `ext` (without the dot; null for none).
  output_file(const std::string& dir, const char* ext);
  explicit output_file(streamable_init_t);
  /// Closes the file (its bytes stay on disk).
  ~output_file() override;

  /// Marks the output open and the file pending: nothing is created until the first write.
  /// already_open, and nothing changes, when it is open.
  [[nodiscard]] int open() override;
  /// Closes the file, if any, then the output: not_open when it was not open.
  int close() override;
  /// Writes the chunk whole:
  ///   not_open  when the output is closed (no file is created);
  ///   cannot_open  when the file (the first, or a replacement) cannot be created or the user
  ///     refuses to replace an existing one: the output is then closed;
  ///   write_failed  when the file takes fewer bytes: the output is closed, what was written
  ///     before stays on disk. A negative length or null bytes give write_failed too, and the
  ///     output stays as it was.
  /// A chunk that would carry a non-empty file past max_file_bytes goes whole into a new file;
  /// one that fills it exactly stays. Each chunk is flushed to the file before the call returns.
  [[nodiscard]] int write(const char* bytes, int length) override;

  /// Stores the folder and renames the server to the file pattern. An open file stays where it is.
  void set_dir(const std::string& dir);
  [[nodiscard]] const std::string& get_dir() const noexcept { return dir_; }
  [[nodiscard]] const std::string& get_ext() const noexcept { return ext_; }
  /// `dir` unchanged when it is empty or ends with a backslash, else followed by one.
  [[nodiscard]] static std::string modified_dir(const std::string& dir);
  /// The DOS-style path of the file in use, empty while none is open.
  [[nodiscard]] const std::string& file_path() const noexcept { return path_; }
  /// Whether `open` succeeded and the first write has yet to create the file.
  [[nodiscard]] bool is_pending() const noexcept { return open_pending_; }

 protected:
  /// Creates the file named by the present local time. When it exists already, asks the user
  /// (question box with the host texts 10 and 11) whether to replace it; any answer but yes, or a
  /// file that cannot be created, closes the output and gives false.
  virtual bool open_file();
  /// Closes and forgets the file.
  virtual void close_file();

 private:
  std::string pattern() const;

  std::string ext_;
  std::string dir_;
  std::unique_ptr<std::ofstream> stream_;
  bool open_pending_ = false;
  std::string path_;
  std::int64_t size_ = 0;
};

}  // namespace kyo
