// A locale-free formatter that prints one C conversion ("%+04d", "%08.5f", "%-6s") exactly as
// printf prints it in the C locale, without calling printf. `parse_printf_spec` reads one
// conversion, the `append_*` functions print a value with it, and `format_one` expands a whole
// format meant for one argument. Formats may come from configuration files and templates, so
// every entry point accepts any text and keeps its output bounded.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include <kyo/kyoutils_export.h>

namespace kyo {

/// The largest width and the largest precision a conversion may ask for; a directive asking for
/// more is refused by the parser (and copied literally by `format_one`).
inline constexpr int printf_max_width = 512;
inline constexpr int printf_max_precision = 512;

/// The length modifiers of a conversion.
enum class printf_length { none, hh, h, l, ll, j, z, t, L };

/// What kind of value a conversion letter prints.
enum class printf_kind { none, integer, floating, string };

/// One parsed conversion: the flags, width, precision, length modifier and letter.
struct printf_spec {
  bool left = false;   ///< '-': pad on the right
  bool plus = false;   ///< '+': always show the sign of a signed conversion
  bool space = false;  ///< ' ': a blank in place of a '+'
  bool zero = false;   ///< '0': pad numbers with zeros after the sign
  bool alt = false;    ///< '#': the alternative form
  int width = 0;
  int precision = -1;  ///< -1 when none is given; "%.f" gives 0
  printf_length length = printf_length::none;
  char conversion = 0;  ///< d i u o x X c f F e E g G a A s
};

/// A text of at most `capacity` bytes built in place, for formatters that print many small fields
/// into a short text without allocating: what goes beyond the capacity is dropped, so a caller
/// that cuts its text at `capacity` bytes or fewer gets the same text as from a std::string.
class fixed_text {
 public:
  static constexpr std::size_t capacity = 96;

  [[nodiscard]] std::size_t size() const noexcept { return size_; }
  [[nodiscard]] std::string_view view() const noexcept { return {text_, size_}; }
  void clear() noexcept { size_ = 0; }
  /// Cuts the text to `n` bytes; a longer `n` does nothing.
  void resize(std::size_t n) noexcept { size_ = std::min(size_, n); }
  void append(std::string_view s) noexcept {
    const std::size_t n = std::min(s.size(), capacity - size_);
    copy(text_ + size_, s.data(), n);
    size_ += n;
  }
  void append(std::size_t count, char c) noexcept {
    const std::size_t n = std::min(count, capacity - size_);
    fill(text_ + size_, c, n);
    size_ += n;
  }
  void push_back(char c) noexcept {
    if (size_ < capacity) text_[size_++] = c;
  }
  fixed_text& operator+=(char c) noexcept {
    push_back(c);
    return *this;
  }
  fixed_text& operator+=(std::string_view s) noexcept {
    append(s);
    return *this;
  }

 private:
  // Fields are a few bytes long: copied in overlapping words of fixed size, which compile to a
  // few moves, where a call of memcpy or memset would cost more than the bytes.
  static void copy(char* to, const char* from, std::size_t n) noexcept {
    if (n < 4) {
      if (n == 0) return;
      to[0] = from[0];
      to[n / 2] = from[n / 2];
      to[n - 1] = from[n - 1];
    } else if (n < 8) {
      std::memcpy(to, from, 4);
      std::memcpy(to + n - 4, from + n - 4, 4);
    } else if (n <= 16) {
      std::memcpy(to, from, 8);
      std::memcpy(to + n - 8, from + n - 8, 8);
    } else {
      std::memcpy(to, from, n);
    }
  }
  static void fill(char* to, char c, std::size_t n) noexcept {
    if (n < 4) {
      if (n == 0) return;
      to[0] = c;
      to[n / 2] = c;
      to[n - 1] = c;
    } else if (n < 8) {
      std::memset(to, c, 4);
      std::memset(to + n - 4, c, 4);
    } else if (n <= 16) {
      std::memset(to, c, 8);
      std::memset(to + n - 8, c, 8);
    } else {
      std::memset(to, c, n);
    }
  }

  char text_[capacity];
  std::size_t size_ = 0;
};

/// The kind of value that conversion letter `c` prints; `none` for anything else.
KYO_EXPORT printf_kind printf_kind_of(char c) noexcept;

/// Parses one conversion from `text`, which starts after the '%'.
/// Grammar: flags [-+ #0]*, width digits, optional '.' and precision digits, an optional length
/// modifier (hh h l ll j z t q L), one letter of d i u o x X c f F e E g G a A s.
/// `length` (when given) always receives the extent of the directive, valid or not: everything up
/// to and including the first character that is not a flag, digit, '.', '*', '$' or length letter
/// (all of `text` when there is none). Returns nothing for "%n", "%p", "%%", "*" widths, "$"
/// positions, a width above `printf_max_width`, a precision above `printf_max_precision`, an
/// unknown letter and a directive cut off by the end of `text`.
/// Examples: "+04d" -> plus, zero, width 4, 'd'; "8.5f"; "-6s"; "lld". Refused: "*d", "1$d", "n".
KYO_EXPORT std::optional<printf_spec> parse_printf_spec(std::string_view text,
                                                        std::size_t* length = nullptr) noexcept;

/// Appends `v` printed with an integer conversion (d i u o x X c) and returns true; returns false
/// and appends nothing when the conversion is of another kind.
/// A value that fits the type the length modifier names (int when there is none) prints as printf
/// prints it. d and i print any other value whole; u o x X show a negative value in two's
/// complement of the named width when it fits that width's signed range, else of 64 bits; c writes
/// the low byte.
KYO_EXPORT bool append_integer(std::string& out, const printf_spec& spec, long long v);
KYO_EXPORT bool append_integer(fixed_text& out, const printf_spec& spec, long long v);

/// Appends `v` printed with a floating conversion (f F e E g G a A) and returns true; returns false
/// and appends nothing when the conversion is of another kind. Digits and rounding are those of the
/// exact binary value, ties to even, as printf; infinities print "inf", NaN "nan" or "-nan" (upper
/// case for F E G A), padded with blanks even under '0'.
KYO_EXPORT bool append_floating(std::string& out, const printf_spec& spec, double v);
KYO_EXPORT bool append_floating(fixed_text& out, const printf_spec& spec, double v);

/// Appends `s` printed with the 's' conversion (the precision cuts it, the width pads it) and
/// returns true; returns false and appends nothing for any other conversion.
KYO_EXPORT bool append_string(std::string& out, const printf_spec& spec, std::string_view s);

/// Expands a format that takes one argument: text is copied, "%%" gives '%', and the first
/// directive whose kind fits `v` prints it. Every other directive - a second fitting one, one of
/// another kind,
/// "%n", "*" widths, unknown letters, widths or precisions above the caps, a '%' at the end - is
/// copied literally, so a wrong format shows in the text rather than misbehaving.
/// Example: format_one("%5.1f m (%d)", 12.34) gives " 12.3 m (%d)".
KYO_EXPORT std::string format_one(std::string_view format, double v);
/// The same for an integer argument (d i u o x X c).
KYO_EXPORT std::string format_one(std::string_view format, long long v);
/// The same for a text argument (s).
KYO_EXPORT std::string format_one(std::string_view format, std::string_view v);

/// Integer arguments of other types go through the long long overload (an unsigned value above
/// LLONG_MAX wraps).
template <std::integral T>
std::string format_one(std::string_view format, T v) {
  return format_one(format, static_cast<long long>(v));
}
/// A C string argument goes through the text overload; a null pointer prints as an empty text.
inline std::string format_one(std::string_view format, const char* v) {
  return format_one(format, std::string_view(v != nullptr ? v : ""));
}

}  // namespace kyo
