#include <kyo/notify/config_file.h>

#include <kyo/platform/ui_hooks.h>

#include <algorithm>
#include <cstring>

namespace kyo {

namespace {

static_assert(config_message_style == (mb_iconexclamation | mb_systemmodal));

// The signature as it is written and compared: the text up to its first NUL.
std::string_view signature_of(const file_info& info) {
  return std::string_view(info.type.c_str());
}

std::string_view text_of(const char* field, std::size_t size) {
  const char* end = std::find(field, field + size, '\0');
  return std::string_view(field, static_cast<std::size_t>(end - field));
}

}  // namespace

file_info::file_info(std::string path, std::string kind, std::string_view version_string)
    : name(std::move(path)), type(std::move(kind)) {
  const std::size_t n = std::min(version_string.size(), sizeof(version) - 1);
  std::copy_n(version_string.begin(), n, version);
}

std::string_view file_info::version_text() const {
  return text_of(version, sizeof(version));
}

oconfig_file::oconfig_file(const file_info& info) {
  // Keeps an existing file's bytes; one that exists but cannot be read and written is refused
  // and left alone.
  open(info.name, open_mode::keep);
  if (fail()) return;
  const std::string_view signature = signature_of(info);
  writeBytes(signature.data(), signature.size());
  writeByte(0);
  writeBytes(info.version, sizeof(info.version));
  writeByte(config_header_end);
}

iconfig_file::iconfig_file(const file_info& info) {
  open(info.name);
  if (fail()) return;

  // Byte by byte, so that a short file is compared with what it holds; a failed read
  // gives zero.
  const std::string_view signature = signature_of(info);
  std::string found(signature.size() + 1, '\0');
  for (char& c : found)
    c = static_cast<char>(readByte());
  if (text_of(found.data(), found.size()) != signature) {
    refuse("'" + info.name + "' is not a " + std::string(signature));
    return;
  }

  char version[sizeof(info.version)] = {};
  for (char& c : version)
    c = static_cast<char>(readByte());
  (void)readByte();  // the end-of-text marker
  const std::string_view file_version = text_of(version, sizeof(version));
  if (file_version != info.version_text()) {
    refuse("'" + info.name + "' is a version " + std::string(file_version) + " " +
           std::string(signature));
  }
}

void iconfig_file::refuse(std::string message) {
  // The text is composed as in a 128-byte buffer: what does not fit is cut.
  message.resize(std::min(message.size(), config_message_limit));
  message_box(message, {}, config_message_style);
  setstate(stream_failbit | stream_badbit, message);
}

}  // namespace kyo
