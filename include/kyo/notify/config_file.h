// Binary configuration files: an identifying header (the file kind's signature with its
// NUL, an 8-byte version field and the byte 0x1A) followed by a persistent object stream.
// `oconfig_file` writes the header over the start of a file without truncating it;
// `iconfig_file` checks it and tells the user, through the message hook, what is wrong.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <kyo/core/object_stream.h>
#include <kyo/kyoutils_export.h>

namespace kyo {

/// The identity of a kind of configuration file, and the file to open.
struct KYO_EXPORT file_info {
  std::string name;      ///< DOS-style path of the file, shown as given in messages
  std::string type;      ///< the signature text of the file kind (up to its first NUL)
  char version[8] = {};  ///< version text, NUL-terminated inside the field, zero-padded

  file_info() = default;
  /// Keeps at most 7 characters of `version`, so that the field stays NUL-terminated.
  file_info(std::string path, std::string kind, std::string_view version_string);

  /// The version text, up to its NUL.
  std::string_view version_text() const;
};

/// The byte that ends the header (end of text, so that typing the file stops there).
inline constexpr std::uint8_t config_header_end = 0x1A;
/// Messages about a rejected file are cut to this many bytes (a 128-byte buffer with its
/// terminating NUL).
inline constexpr std::size_t config_message_limit = 127;
/// The style of those messages: exclamation icon, system-modal.
inline constexpr unsigned config_message_style = 0x1030;

/// A configuration file opened for writing objects behind its header.
class KYO_EXPORT oconfig_file : public ofpstream {
 public:
  /// Opens `info.name` (through native_path) for binary writing, creating it when missing.
  /// An existing file is not truncated: bytes behind what is written stay in place. Then
  /// writes the header at the start. Without the file the stream is failed (failbit and
  /// hardfail); no message is shown and nothing on disk changes.
  explicit oconfig_file(const file_info& info);
};

/// A configuration file opened for reading objects behind a checked header.
class KYO_EXPORT iconfig_file : public ifpstream {
 public:
  /// Opens `info.name` (through native_path) and checks the header. A file that cannot be
  /// opened leaves the stream failed without a message. A signature other than `info.type`
  /// shows "'<name>' is not a <type>"; a version other than `info.version` (compared as
  /// text: "1.0" is not "1.00", older and newer alike) shows "'<name>' is a version
  /// <file version> <type>"; either message is cut to config_message_limit bytes, shown
  /// with an empty caption and config_message_style, and leaves the stream failed and bad
  /// (a hard-fail bit stays). A file too short for the header is compared as far as it
  /// goes (missing bytes read as zero), so it usually gets one of the messages; it always
  /// ends failed. The marker byte's value is not checked. The file is never written.
  explicit iconfig_file(const file_info& info);

 private:
  void refuse(std::string message);
};

}  // namespace kyo
