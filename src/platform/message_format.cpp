#include <kyo/platform/message_format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>

namespace kyo {

message_arg::message_arg(const char* text) : text_(text != nullptr ? text : "(null)") {}
message_arg::message_arg(std::string_view text) : text_(text) {}
message_arg::message_arg(const std::string& text) : text_(text) {}

namespace {

// Widths and precisions above this are treated as a mistake in the message text,
// which keeps a hostile "%1!999999999d!" from allocating.
constexpr int max_field = 255;

struct conversion {
  bool left = false;
  bool plus = false;
  bool space = false;
  bool alternate = false;
  bool zero = false;
  int width = 0;
  int precision = -1;  // -1: none given
  char type = 0;
};

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// Parses the text between the '!'s; nullopt for anything but exactly one conversion.
std::optional<conversion> parse_conversion(std::string_view directive) {
  conversion conv;
  std::size_t i = 0;
  for (; i < directive.size(); ++i) {
    const char c = directive[i];
    if (c == '-') {
      conv.left = true;
    } else if (c == '+') {
      conv.plus = true;
    } else if (c == ' ') {
      conv.space = true;
    } else if (c == '#') {
      conv.alternate = true;
    } else if (c == '0') {
      conv.zero = true;
    } else {
      break;
    }
  }
  auto read_number = [&](int& value) {
    value = 0;
    while (i < directive.size() && is_digit(directive[i])) {
      // Stop growing past the cap; the caller rejects the value anyway.
      if (value <= max_field) value = value * 10 + (directive[i] - '0');
      ++i;
    }
  };
  read_number(conv.width);
  if (i < directive.size() && directive[i] == '.') {
    ++i;
    read_number(conv.precision);
  }
  if (conv.width > max_field || conv.precision > max_field) return std::nullopt;
  const std::string_view rest = directive.substr(i);
  static constexpr std::string_view lengths[] = {"hh", "h", "ll", "l", "I64", "I32",
                                                 "I",  "z", "j",  "t", "L",   "q"};
  std::string_view type = rest;
  for (std::string_view length : lengths) {
    if (rest.size() == length.size() + 1 && rest.substr(0, length.size()) == length) {
      type = rest.substr(length.size());
      break;
    }
  }
  if (type.size() != 1) return std::nullopt;
  conv.type = type[0];
  if (std::string_view("diuxXocfFeEgGs").find(conv.type) == std::string_view::npos) {
    return std::nullopt;
  }
  return conv;
}

std::string to_text(double value) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

template <class T>
std::string to_text(T value, int base = 10) {
  char buffer[72];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, base);
  return std::string(buffer, result.ptr);
}

std::string plain_text(const message_arg& arg) {
  switch (arg.type()) {
    case message_arg::kind::signed_integer:
      return to_text(arg.as_signed());
    case message_arg::kind::unsigned_integer:
      return to_text(arg.as_unsigned());
    case message_arg::kind::floating:
      return to_text(arg.as_double());
    case message_arg::kind::text:
      break;
  }
  return arg.as_text();
}

// Lays out sign, prefix and digits in the field, as printf does: zeros go between
// the prefix and the digits, blanks outside.
std::string pad(const conversion& conv, std::string_view sign, std::string_view prefix,
                std::string_view body, bool zero_allowed) {
  const std::size_t length = sign.size() + prefix.size() + body.size();
  const std::size_t fill = static_cast<std::size_t>(conv.width) > length ? conv.width - length : 0;
  std::string out;
  out.reserve(length + fill);
  if (conv.left) {
    out.append(sign).append(prefix).append(body).append(fill, ' ');
  } else if (conv.zero && zero_allowed) {
    out.append(sign).append(prefix).append(fill, '0').append(body);
  } else {
    out.append(fill, ' ').append(sign).append(prefix).append(body);
  }
  return out;
}

std::uint64_t width_mask(unsigned size) {
  return size >= 8 ? ~std::uint64_t{0} : (std::uint64_t{1} << (8 * size)) - 1;
}

std::string format_integer(const conversion& conv, const message_arg& arg) {
  // Reinterpret the value in its own width, as printf would with a matching length:
  // an int of -1 prints as ffffffff under %x, an unsigned int of 0xffffffff as -1 under %d.
  const std::uint64_t mask = width_mask(arg.size());
  const std::uint64_t bits =
      (arg.type() == message_arg::kind::signed_integer ? static_cast<std::uint64_t>(arg.as_signed())
                                                       : arg.as_unsigned()) &
      mask;
  if (conv.type == 'c') {
    // A zero byte is left out: messages travel as C strings too.
    const char c = static_cast<char>(bits & 0xFF);
    return pad(conv, {}, {}, c != 0 ? std::string_view(&c, 1) : std::string_view(), false);
  }
  bool negative = false;
  std::uint64_t magnitude = bits;
  std::string_view sign;
  if (conv.type == 'd' || conv.type == 'i') {
    const std::uint64_t sign_bit =
        arg.size() >= 8 ? std::uint64_t{1} << 63 : std::uint64_t{1} << (8 * arg.size() - 1);
    negative = (bits & sign_bit) != 0;
    if (negative) magnitude = (~bits + 1) & mask;
    sign = negative ? "-" : conv.plus ? "+" : conv.space ? " " : "";
  }
  const int base = conv.type == 'x' || conv.type == 'X' ? 16 : conv.type == 'o' ? 8 : 10;
  std::string digits = magnitude == 0 && conv.precision == 0 ? "" : to_text(magnitude, base);
  if (conv.type == 'X') {
    std::transform(digits.begin(), digits.end(), digits.begin(),
                   [](char c) { return c >= 'a' && c <= 'f' ? static_cast<char>(c - 32) : c; });
  }
  if (conv.precision > 0 && digits.size() < static_cast<std::size_t>(conv.precision)) {
    digits.insert(0, conv.precision - digits.size(), '0');
  }
  std::string_view prefix;
  if (conv.alternate) {
    if (base == 16 && magnitude != 0) prefix = conv.type == 'X' ? "0X" : "0x";
    if (base == 8 && (digits.empty() || digits[0] != '0')) digits.insert(0, 1, '0');
  }
  return pad(conv, sign, prefix, digits, conv.precision < 0);
}

void to_upper_ascii(std::string& s) {
  for (char& c : s) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
  }
}

// Inserts a decimal point before the exponent (or at the end) when the digits have none,
// for the '#' flag.
void ensure_point(std::string& s) {
  if (s.find('.') != std::string::npos) return;
  const std::size_t e = s.find('e');
  s.insert(e == std::string::npos ? s.size() : e, 1, '.');
}

std::string format_floating(const conversion& conv, double value) {
  const bool negative = std::signbit(value);
  const std::string_view sign = negative ? "-" : conv.plus ? "+" : conv.space ? " " : "";
  const bool upper = conv.type == 'F' || conv.type == 'E' || conv.type == 'G';
  std::string body;
  if (!std::isfinite(value)) {
    body = std::isnan(value) ? "nan" : "inf";
    if (upper) to_upper_ascii(body);
    return pad(conv, sign, {}, body, false);
  }
  const double magnitude = std::fabs(value);
  const int precision = conv.precision < 0 ? 6 : conv.precision;
  // Large enough for DBL_MAX in fixed notation with the largest allowed precision.
  char buffer[720];
  auto put = [&](std::chars_format format, int digits) {
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, magnitude, format, digits);
    return std::string(buffer, result.ptr);
  };
  switch (conv.type) {
    case 'f':
    case 'F':
      body = put(std::chars_format::fixed, precision);
      break;
    case 'e':
    case 'E':
      body = put(std::chars_format::scientific, precision);
      break;
    default: {
      const int significant = precision == 0 ? 1 : precision;
      if (!conv.alternate) {
        body = put(std::chars_format::general, significant);
        break;
      }
      // '#' keeps trailing zeros, so choose the notation by the exponent as %g does
      // and print it without the general format's trimming.
      const std::string scientific = put(std::chars_format::scientific, significant - 1);
      int exponent = 0;
      const std::size_t e = scientific.find('e');
      std::from_chars(scientific.data() + e + (scientific[e + 1] == '+' ? 2 : 1),
                      scientific.data() + scientific.size(), exponent);
      if (significant > exponent && exponent >= -4) {
        body = put(std::chars_format::fixed, significant - 1 - exponent);
      } else {
        body = scientific;
      }
      break;
    }
  }
  if (conv.alternate) ensure_point(body);
  if (upper) to_upper_ascii(body);
  return pad(conv, sign, {}, body, true);
}

std::string convert(const message_arg& arg, std::string_view directive) {
  const std::optional<conversion> conv = parse_conversion(directive);
  if (!conv) return plain_text(arg);
  if (conv->type == 's') {
    std::string text = plain_text(arg);
    if (conv->precision >= 0 && text.size() > static_cast<std::size_t>(conv->precision)) {
      text.resize(conv->precision);
    }
    return pad(*conv, {}, {}, text, false);
  }
  const bool integer_conversion =
      std::string_view("diuxXoc").find(conv->type) != std::string_view::npos;
  switch (arg.type()) {
    case message_arg::kind::signed_integer:
    case message_arg::kind::unsigned_integer:
      return integer_conversion ? format_integer(*conv, arg) : plain_text(arg);
    case message_arg::kind::floating:
      return integer_conversion ? plain_text(arg) : format_floating(*conv, arg.as_double());
    case message_arg::kind::text:
      break;
  }
  return plain_text(arg);
}

// strerror_r comes in two shapes: GNU returns the text, XSI fills the buffer and
// returns a status. Overloads pick whichever the C library declares.
[[maybe_unused]] const char* error_text_of(const char* text, const char*) {
  return text;
}
[[maybe_unused]] const char* error_text_of(int status, const char* buffer) {
  return status == 0 ? buffer : nullptr;
}

}  // namespace

std::string format_message_args(std::string_view format, std::span<const message_arg> args) {
  std::string out;
  out.reserve(format.size());
  std::size_t i = 0;
  const std::size_t n = format.size();
  while (i < n) {
    const char c = format[i];
    if (c != '%') {
      out.push_back(c);
      ++i;
      continue;
    }
    if (i + 1 == n) {
      out.push_back('%');
      break;
    }
    const char d = format[i + 1];
    if (d >= '1' && d <= '9') {
      std::size_t number = static_cast<std::size_t>(d - '0');
      std::size_t end = i + 2;
      if (end < n && is_digit(format[end])) {
        number = number * 10 + static_cast<std::size_t>(format[end] - '0');
        ++end;
      }
      std::optional<std::string_view> directive;
      if (end < n && format[end] == '!') {
        const std::size_t close = format.find('!', end + 1);
        if (close != std::string_view::npos) {
          directive = format.substr(end + 1, close - end - 1);
          end = close + 1;
        }
      }
      if (number > args.size()) {
        out.append(format.substr(i, end - i));
      } else if (directive) {
        out += convert(args[number - 1], *directive);
      } else {
        out += plain_text(args[number - 1]);
      }
      i = end;
      continue;
    }
    switch (d) {
      case '0':
        return out;
      case 'n':
        out += "\r\n";
        break;
      case 'r':
        out.push_back('\r');
        break;
      case 't':
        out.push_back('\t');
        break;
      default:
        out.push_back(d);
        break;
    }
    i += 2;
  }
  return out;
}

std::string system_error_text(int error) {
  char buffer[256] = {};
  const char* text = error_text_of(strerror_r(error, buffer, sizeof buffer), buffer);
  if (text != nullptr && text[0] != '\0') return text;
  return "Unknown error " + to_text(error);
}

}  // namespace kyo
