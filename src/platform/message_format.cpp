#include <kyo/platform/message_format.h>

#include <charconv>
#include <cstring>
#include <optional>

#include <kyo/platform/printf_format.h>

namespace kyo {

message_arg::message_arg(const char* text) : text_(text != nullptr ? text : "(null)") {}
message_arg::message_arg(std::string_view text) : text_(text) {}
message_arg::message_arg(const std::string& text) : text_(text) {}

namespace {

// Widths and precisions above this are treated as a mistake in the message text,
// which keeps a hostile "%1!999999999d!" from allocating.
constexpr int max_field = 255;

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// Parses the text between the '!'s; nullopt for anything but exactly one conversion.
// The message formatter also knows the length prefixes "I64", "I32" and "I".
std::optional<printf_spec> parse_conversion(std::string_view directive) {
  if (directive.empty()) return std::nullopt;
  std::string text(directive);
  for (std::string_view length : {"I64", "I32", "I"}) {
    const std::size_t at = text.size() - 1;
    if (at >= length.size() && text.compare(at - length.size(), length.size(), length) == 0) {
      text.erase(at - length.size(), length.size());
      break;
    }
  }
  std::size_t used = 0;
  std::optional<printf_spec> spec = parse_printf_spec(text, &used);
  if (!spec || used != text.size() || spec->width > max_field || spec->precision > max_field) {
    return std::nullopt;
  }
  return spec;
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

// The argument's bits in its own width, as printf would read them with a matching
// length: an int of -1 prints as ffffffff under %x, an unsigned int of 0xffffffff as
// -1 under %d.
long long integer_bits(const message_arg& arg, char conversion) {
  const unsigned size = arg.size();
  const std::uint64_t mask = size >= 8 ? ~std::uint64_t{0} : (std::uint64_t{1} << (8 * size)) - 1;
  const std::uint64_t bits =
      (arg.type() == message_arg::kind::signed_integer ? static_cast<std::uint64_t>(arg.as_signed())
                                                       : arg.as_unsigned()) &
      mask;
  const std::uint64_t sign_bit =
      size >= 8 ? std::uint64_t{1} << 63 : std::uint64_t{1} << (8 * size - 1);
  if ((conversion == 'd' || conversion == 'i') && (bits & sign_bit) != 0) {
    return static_cast<long long>(bits | ~mask);
  }
  return static_cast<long long>(bits);
}

std::string convert(const message_arg& arg, std::string_view directive) {
  std::optional<printf_spec> spec = parse_conversion(directive);
  if (!spec) return plain_text(arg);
  std::string out;
  switch (printf_kind_of(spec->conversion)) {
    case printf_kind::string:
      append_string(out, *spec, plain_text(arg));
      return out;
    case printf_kind::integer:
      if (arg.type() != message_arg::kind::signed_integer &&
          arg.type() != message_arg::kind::unsigned_integer) {
        break;
      }
      spec->length = printf_length::ll;
      if (spec->conversion == 'c' && (integer_bits(arg, 'c') & 0xFF) == 0) {
        // A zero byte is left out: messages travel as C strings too.
        spec->conversion = 's';
        append_string(out, *spec, {});
      } else {
        append_integer(out, *spec, integer_bits(arg, spec->conversion));
      }
      return out;
    case printf_kind::floating:
      if (arg.type() != message_arg::kind::floating) break;
      append_floating(out, *spec, arg.as_double());
      return out;
    case printf_kind::none:
      break;
  }
  return plain_text(arg);
}

}  // namespace

namespace {

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
  if (text != nullptr) return text;
  return "Unknown error " + to_text(error);
}

}  // namespace kyo
