// A DOS-style file path as a text value ("C:\Data\Survey01.txt") with the positions of its drive,
// directory, name and extension. Every assignment drops characters a file name may not hold, finds
// the parts again and gives short names a uniform case. The path is only text: nothing here touches
// the disk (the platform's path mapping turns it into a native path where a file is opened).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <kyo/kyoutils_export.h>

namespace kyo {

/// A cleaned DOS-style path and the indices of its parts.
class KYO_EXPORT filepath {
 public:
  filepath();
  /// Takes the text and cleans it (validate, setup_indices, tidy). A null pointer is empty.
  filepath(const char* path);
  filepath(const std::string& path);

  /// Combines a directory and a name relative to it. Each leading ".." component of `name` removes
  /// the last component of `directory` while it has one, so ("C:\A\B", "..\x.dat") gives
  /// "C:\A\X.dat" and ("C:\A", "..\..\x") gives "C:\X": ".." never climbs above the drive or the
  /// start of a relative directory. A trailing '\' of the directory is not a component.
  filepath(const std::string& directory, std::string name);

  filepath(const filepath&) = default;
  filepath& operator=(const filepath&) = default;
  filepath& operator=(const std::string& path);
  filepath& operator=(const char* path);

  /// Replaces the name and extension by `name` (null: empty), drops invalid characters and finds
  /// the parts again; the case is left as given.
  void set_name_and_ext(const char* name);

  /// Replaces the extension by `ext`, with a '.' put in front unless it begins with one:
  /// "dat" on "C:\Data\X.txt" gives "C:\Data\X.dat", on "C:\Data\X" it gives "C:\Data\X.dat".
  /// An empty or null `ext` removes the extension. Invalid characters are dropped.
  void set_ext(const char* ext);

  /// Drops every character that a file name may not hold, then finds the parts again. Kept are
  /// bytes of 128 and above, ASCII letters and digits, and the characters :.\ !#$%&'()-@^_`~,
  /// (blank included); control characters and / * ? " < > | + ; = [ ] { } are dropped.
  void validate();

  /// Finds the drive, directory, name and extension positions (see the accessors).
  void setup_indices();

  /// Finds the extension: the last '.' at or after the name's start, else the end of the text.
  void locate_ext();

  /// Gives short names a uniform case: each component after the drive that has no blank, at most 8
  /// characters before its first '.' and at most 4 from that '.' on is put in lower case with its
  /// first character in upper case ("C:\DATA\SURVEY01.TXT" becomes "C:\Data\Survey01.txt").
  /// Long names, names with blanks and the drive are left as typed. Only ASCII letters change.
  void tidy();

  /// The whole path text.
  [[nodiscard]] const std::string& str() const noexcept { return path_; }
  [[nodiscard]] const char* c_str() const noexcept { return path_.c_str(); }
  operator const std::string&() const noexcept { return path_; }
  [[nodiscard]] bool empty() const noexcept { return path_.empty(); }

  /// Position after the first ':' (0 without one).
  [[nodiscard]] std::size_t drive_end() const noexcept { return drive_end_; }
  /// Position of the last '\'; one past a root '\' that stands right after the drive; the drive's
  /// end when there is no '\'.
  [[nodiscard]] std::size_t dir_end() const noexcept { return dir_end_; }
  /// Position of the first character of the file name.
  [[nodiscard]] std::size_t name_start() const noexcept { return name_start_; }
  /// Position of the extension's '.', or the text's length when there is no extension.
  [[nodiscard]] std::size_t ext_start() const noexcept { return ext_start_; }
  /// Whether there is a directory part other than the root.
  [[nodiscard]] bool has_dir() const noexcept { return has_dir_; }

  /// "C:" of "C:\Data\X.txt"; empty without a drive.
  [[nodiscard]] std::string_view drive() const;
  /// "\Data" of "C:\Data\X.txt", "\" of "C:\X.txt", empty of "X.txt".
  [[nodiscard]] std::string_view directory() const;
  /// "X" of "C:\Data\X.txt".
  [[nodiscard]] std::string_view name() const;
  /// ".txt" of "C:\Data\X.txt"; empty without an extension.
  [[nodiscard]] std::string_view ext() const;
  /// "X.txt" of "C:\Data\X.txt".
  [[nodiscard]] std::string_view name_and_ext() const;

 private:
  void init();
  [[nodiscard]] std::string_view part(std::size_t from, std::size_t to) const;

  std::string path_;
  std::size_t drive_end_ = 0;
  std::size_t dir_end_ = 0;
  std::size_t name_start_ = 0;
  std::size_t ext_start_ = 0;
  bool has_dir_ = false;
};

}  // namespace kyo
