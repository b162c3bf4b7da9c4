// Message texts with numbered inserts ("Cannot open %1: %2") and the operating
// system's text for an error number. Inserts may carry a printf-style conversion
// ("%1!5.2f!"); numbers are always written in the C locale.
#pragma once

#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include <kyo/kyoutils_export.h>

namespace kyo {

/// One argument of a message: an integer, a floating-point number or a text (copied).
class KYO_EXPORT message_arg {
 public:
  enum class kind { signed_integer, unsigned_integer, floating, text };

  /// Any integer type (bool and char included, as numbers); its width is kept for %x of negatives.
  template <std::integral T>
  message_arg(T value) : size_(sizeof(T)) {
    if constexpr (std::is_signed_v<T>) {
      kind_ = kind::signed_integer;
      signed_ = value;
    } else {
      kind_ = kind::unsigned_integer;
      unsigned_ = value;
    }
  }
  message_arg(double value) : kind_(kind::floating), floating_(value) {}
  message_arg(float value) : kind_(kind::floating), floating_(value) {}
  /// A null pointer reads as the text "(null)".
  message_arg(const char* text);
  message_arg(std::string_view text);
  message_arg(const std::string& text);

  kind type() const { return kind_; }
  std::int64_t as_signed() const { return signed_; }
  std::uint64_t as_unsigned() const { return unsigned_; }
  double as_double() const { return floating_; }
  const std::string& as_text() const { return text_; }
  /// Bytes of the original integer type (1 to 8); 8 for other kinds.
  unsigned size() const { return size_; }

 private:
  kind kind_ = kind::text;
  unsigned size_ = 8;
  std::int64_t signed_ = 0;
  std::uint64_t unsigned_ = 0;
  double floating_ = 0.0;
  std::string text_;
};

/// Expands `format` with `args`. Grammar (anything else is copied as it stands):
///   "%1".."%99"  the argument's plain text (the number takes at most two digits, so
///                "%123" is argument 12 followed by "3"); "%1!conv!" the argument
///                through one printf-style conversion: flags "-+ #0", width, "." precision,
///                an ignored length (h hh l ll I32 I64 z j t) and one of d i u x X o c
///                (integers), f F e E g G (numbers), s (any argument, as its plain text).
///   "%%" '%'   "%n" "\r\n"   "%r" '\r'   "%t" tab   "%0" ends the output
///   '%' and any other character: that character ("%." '.', "%!" '!', "% " ' ').
/// A lone '%' at the very end stays. An insert whose argument is missing is kept as
/// written ("%3!d!"). A conversion that is malformed, does not fit the argument's kind
/// (%d of a text), asks for "*", or has a width or precision above 255, prints the
/// argument's plain text instead. An unterminated "!..." is no conversion: the insert is
/// plain and the rest is copied. Plain text: integers in decimal, floating-point numbers
/// in the shortest form that reads back exactly ("0.1", "1e+20"), texts as they are.
KYO_EXPORT std::string format_message_args(std::string_view format,
                                           std::span<const message_arg> args);

/// Expands `format` with the given arguments; see format_message_args.
template <class... A>
std::string format_message(std::string_view format, const A&... args) {
  if constexpr (sizeof...(A) == 0) {
    return format_message_args(format, {});
  } else {
    const message_arg list[] = {message_arg(args)...};
    return format_message_args(format, list);
  }
}

/// The operating system's text for the error number `error` (an errno value);
/// "Unknown error N" for a number it does not know. Never empty.
KYO_EXPORT std::string system_error_text(int error);

}  // namespace kyo
