// Profile (INI) files: the three classic calls the library's settings code uses
// (get_private_profile_string, get_private_profile_int, write_private_profile_string)
// and a std::string face for new code, both over one parser with a small cache.
// Paths are DOS-style texts, mapped with native_path. docs/profile-files.md has the
// full rules with examples.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <kyo/kyoutils_export.h>

namespace kyo {

/// Files larger than this are not parsed (reads give defaults) and never rewritten.
inline constexpr std::size_t profile_max_file_size = 4 * 1024 * 1024;
/// Lines longer than this are neither sections nor keys: ignored on reading, kept on writing.
inline constexpr std::size_t profile_max_line_length = 64 * 1024;
/// How many parsed files the cache keeps (least recently used ones are dropped).
inline constexpr std::size_t profile_cache_files = 8;

/// Failures of the profile calls that no system error number names.
enum class profile_errc {
  not_a_regular_file = 1,  ///< a device, a pipe or a socket: never opened, never blocks
};

/// The category of profile_errc codes; its messages are plain English sentences.
KYO_EXPORT const std::error_category& profile_category();

inline std::error_code make_error_code(profile_errc e) {
  return {static_cast<int>(e), profile_category()};
}

/// Copies the value of `key` in `section` of `file` into `buffer` (at most size - 1
/// characters and a NUL) and returns the characters copied. A missing file, section or key
/// gives `default_value` without its trailing spaces (null reads as ""). A null `section`
/// lists the section names, a null `key` the key names of the section: each name ends with
/// a NUL and the list with a second NUL; when it does not fit, the last name is cut, two NULs
/// end the buffer and the result is size - 2. A null buffer or a size of 0 returns 0.
KYO_EXPORT std::size_t get_private_profile_string(const char* section, const char* key,
                                                  const char* default_value, char* buffer,
                                                  std::size_t size, const char* file);

/// The value of `key` read as an integer: blanks, a sign, then decimal digits or "0x" and hex
/// digits, up to the first other character; "12abc" is 12, "abc" is 0, and values wrap modulo
/// 2^32 ("4294967295" is -1). A missing key, or an empty value, gives `default_value`.
KYO_EXPORT int get_private_profile_int(const char* section, const char* key, int default_value,
                                       const char* file);

/// Sets `key` in `section` of `file` to `value`, creating the file, the section (at the end of
/// the file) and the key (at the end of its section) as needed. A null `value` deletes the key,
/// a null `key` the whole section; all three null only drops the read cache. Every other byte
/// of the file is kept; the file is replaced atomically, or rewritten in place when its folder
/// is locked or it has other names. False when the file cannot be read or written (a read-only
/// file is left as it is), or a name or value holds a line break (or a section ']', a key '=').
KYO_EXPORT bool write_private_profile_string(const char* section, const char* key,
                                             const char* value, const char* file);

/// The value of `key` in `section` (quotes removed, blanks trimmed); nullopt when the file,
/// section or key is missing or the file cannot be read.
KYO_EXPORT std::optional<std::string> profile_read(std::string_view file, std::string_view section,
                                                   std::string_view key);

/// The section names of `file`, each once (first spelling), in file order.
KYO_EXPORT std::vector<std::string> profile_sections(std::string_view file);

/// The keys and values of `section`, each key once (its first occurrence), in file order.
KYO_EXPORT std::vector<std::pair<std::string, std::string>> profile_entries(
    std::string_view file, std::string_view section);

/// Why `file` reads as empty: no error when it can be read, else the reason
/// (no_such_file_or_directory, permission_denied, is_a_directory, file_too_large,
/// profile_errc::not_a_regular_file...).
[[nodiscard]] KYO_EXPORT std::error_code profile_status(std::string_view file);

/// Sets `key` in `section` to `value`, as write_private_profile_string does.
[[nodiscard]] KYO_EXPORT std::error_code profile_write(std::string_view file,
                                                       std::string_view section,
                                                       std::string_view key,
                                                       std::string_view value);

/// Deletes every line of `key` in `section`; no error when there is none.
[[nodiscard]] KYO_EXPORT std::error_code profile_erase_key(std::string_view file,
                                                           std::string_view section,
                                                           std::string_view key);

/// Deletes every section named `section` with all its lines; no error when there is none.
[[nodiscard]] KYO_EXPORT std::error_code profile_erase_section(std::string_view file,
                                                               std::string_view section);

/// Forgets every cached file, so the next read parses the file again.
KYO_EXPORT void profile_flush_cache();

}  // namespace kyo

template <>
struct std::is_error_code_enum<kyo::profile_errc> : std::true_type {};
