// ASCII character classes and case folding for names in files and formats.
// They look at bytes only, whatever the process locale, and leave every byte
// above 0x7F (such as the one-byte degree sign) as it is.
#pragma once

#include <string>
#include <string_view>

namespace kyo {

[[nodiscard]] constexpr bool is_ascii_letter(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

[[nodiscard]] constexpr bool is_ascii_digit(char c) noexcept {
  return c >= '0' && c <= '9';
}

/// `c` in lower case when it is an ASCII capital, else `c`.
[[nodiscard]] constexpr char ascii_lower(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// `s` with its ASCII capitals in lower case.
[[nodiscard]] inline std::string ascii_lower(std::string_view s) {
  std::string out(s);
  for (char& c : out)
    c = ascii_lower(c);
  return out;
}

/// True when `a` and `b` are equal but for the case of ASCII letters.
[[nodiscard]] constexpr bool ascii_iequal(std::string_view a, std::string_view b) noexcept {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (ascii_lower(a[i]) != ascii_lower(b[i])) return false;
  }
  return true;
}

}  // namespace kyo
