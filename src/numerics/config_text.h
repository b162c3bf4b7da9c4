// Reading and writing the configuration strings of numerics in the C locale: a scanner with the
// semantics of sscanf's "%d", "%lf", "%Ns" and literal characters, and integer output
// (private to the library).
#pragma once

#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

namespace kyo::config_text {

// The white space of the C locale, which sscanf skips before a conversion.
constexpr bool is_space(char c) noexcept {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// Reads fields off a text one at a time; once a field fails, the caller stops. A null text is
// read as empty.
class scanner {
 public:
  explicit scanner(const char* text) noexcept : text_(text != nullptr ? text : "") {}

  // "%d": blanks, an optional sign and at least one decimal digit; a number outside int fails.
  bool read_int(int& v) noexcept {
    skip_space();
    std::size_t p = pos_;
    if (p < text_.size() && text_[p] == '+') ++p;
    const char* first = text_.data() + p;
    // from_chars takes a '-' but not a '+', so a "+-1" must not slip through.
    if (p > pos_ && p < text_.size() && text_[p] == '-') return false;
    int value = 0;
    const auto [end, ec] = std::from_chars(first, text_.data() + text_.size(), value);
    if (ec != std::errc()) return false;
    v = value;
    pos_ = static_cast<std::size_t>(end - text_.data());
    return true;
  }

  // "%lf": blanks, an optional sign, then a decimal number with optional exponent, "inf" or
  // "nan"; a number outside double's range fails.
  bool read_double(double& v) noexcept {
    skip_space();
    std::size_t p = pos_;
    if (p < text_.size() && text_[p] == '+') ++p;
    if (p > pos_ && p < text_.size() && text_[p] == '-') return false;
    double value = 0;
    const auto [end, ec] = std::from_chars(text_.data() + p, text_.data() + text_.size(), value);
    if (ec != std::errc()) return false;
    v = value;
    pos_ = static_cast<std::size_t>(end - text_.data());
    return true;
  }

  // A literal character of the format: must be the next character, nothing skipped.
  bool literal(char c) noexcept {
    if (pos_ >= text_.size() || text_[pos_] != c) return false;
    ++pos_;
    return true;
  }

  // Whether nothing but blanks is left.
  bool only_blanks_left() noexcept {
    skip_space();
    return pos_ == text_.size();
  }

  // "%Ns": blanks, then 1 to `max` characters up to the next blank, written with a terminator
  // into `out`, which holds max + 1 characters.
  bool read_word(char* out, std::size_t max) noexcept {
    skip_space();
    std::size_t n = 0;
    while (n < max && pos_ < text_.size() && !is_space(text_[pos_]))
      out[n++] = text_[pos_++];
    if (n == 0) return false;
    out[n] = '\0';
    return true;
  }

 private:
  void skip_space() noexcept {
    while (pos_ < text_.size() && is_space(text_[pos_]))
      ++pos_;
  }

  std::string_view text_;
  std::size_t pos_ = 0;
};

// Appends `v` in decimal, as "%d" prints it.
inline void append_int(std::string& out, long long v) {
  char buffer[24];
  const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, v);
  out.append(buffer, end);
}

}  // namespace kyo::config_text
