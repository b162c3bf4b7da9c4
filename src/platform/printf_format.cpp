#include <kyo/platform/printf_format.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace kyo {

namespace {

constexpr std::string_view directive_chars = "-+ #0123456789.*$hljztqL";

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// Reads a run of digits, saturating just above `cap` so that a run of any length neither
// overflows nor passes as a valid number.
int read_number(std::string_view text, std::size_t& i, int cap) {
  int n = 0;
  while (i < text.size() && is_digit(text[i])) {
    if (n <= cap) n = n * 10 + (text[i] - '0');
    ++i;
  }
  return n;
}

template <class Out>
void pad(Out& out, std::size_t count, char c) {
  out.append(count, c);
}

// Lays out sign/prefix, zero padding, body and blank padding as printf does: blanks go left or
// right of everything, zeros between the prefix and the digits. `inner_zeros` are zeros that
// belong to the number itself (an integer's precision), written between the padding and the body.
// A short field is laid out on the stack and appended in one piece.
template <class Out>
void emit(Out& out, const printf_spec& spec, std::string_view prefix, std::size_t inner_zeros,
          std::string_view body, bool zero_pad) {
  const std::size_t len = prefix.size() + inner_zeros + body.size();
  const std::size_t width = spec.width > 0 ? static_cast<std::size_t>(spec.width) : 0;
  const std::size_t fill = width > len ? width - len : 0;
  const std::size_t total = len + fill;
  const std::size_t zeros = inner_zeros + (!spec.left && zero_pad ? fill : 0);
  const std::size_t lead_blanks = !spec.left && !zero_pad ? fill : 0;
  const std::size_t trail_blanks = spec.left ? fill : 0;
  char field[64];
  if (total > sizeof field) {
    pad(out, lead_blanks, ' ');
    out.append(prefix);
    pad(out, zeros, '0');
    out.append(body);
    pad(out, trail_blanks, ' ');
    return;
  }
  char* p = field;
  for (std::size_t i = 0; i < lead_blanks; ++i)
    *p++ = ' ';
  for (const char c : prefix)
    *p++ = c;
  for (std::size_t i = 0; i < zeros; ++i)
    *p++ = '0';
  for (const char c : body)
    *p++ = c;
  for (std::size_t i = 0; i < trail_blanks; ++i)
    *p++ = ' ';
  out.append(std::string_view(field, total));
}

template <class Out>
void emit(Out& out, const printf_spec& spec, std::string_view prefix, std::string_view body,
          bool zero_pad) {
  emit(out, spec, prefix, 0, body, zero_pad);
}

int length_bits(printf_length l) {
  switch (l) {
    case printf_length::hh:
      return 8;
    case printf_length::h:
      return 16;
    case printf_length::none:
      return 32;
    default:
      return 64;
  }
}

// The unsigned value printf would see for a negative argument: the two's complement of the width
// the length modifier names, falling back to 64 bits when the value does not fit that width.
unsigned long long as_unsigned(long long v, printf_length l) {
  const unsigned long long u = static_cast<unsigned long long>(v);
  if (v >= 0) return u;
  const int bits = length_bits(l);
  if (bits == 64) return u;
  const long long lowest = -(1LL << (bits - 1));
  if (v < lowest) return u;
  return u & ((1ULL << bits) - 1);
}

char upper(char c) {
  return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

void to_upper(std::string& s) {
  for (char& c : s)
    c = upper(c);
}

// Room for the longest conversion: 309 integer digits of DBL_MAX, the point and the largest
// precision, with margin for an exponent.
constexpr std::size_t float_buffer = 400 + printf_max_precision;

std::string fixed_digits(double mag, int precision) {
  char buf[float_buffer];
  const auto r = std::to_chars(buf, buf + sizeof buf, mag, std::chars_format::fixed, precision);
  return r.ec == std::errc{} ? std::string(buf, r.ptr) : std::string();
}

std::string scientific_digits(double mag, int precision) {
  char buf[float_buffer];
  const auto r =
      std::to_chars(buf, buf + sizeof buf, mag, std::chars_format::scientific, precision);
  return r.ec == std::errc{} ? std::string(buf, r.ptr) : std::string();
}

int exponent_of(std::string_view sci) {
  const std::size_t e = sci.find('e');
  if (e == std::string_view::npos) return 0;
  int x = 0;
  std::from_chars(sci.data() + e + (sci[e + 1] == '+' ? 2 : 1), sci.data() + sci.size(), x);
  return x;
}

void strip_fraction_zeros(std::string& s) {
  const std::size_t point = s.find('.');
  if (point == std::string::npos) return;
  const std::size_t e = s.find('e');
  const std::size_t end = e == std::string::npos ? s.size() : e;
  std::size_t keep = end;
  while (keep > point + 1 && s[keep - 1] == '0')
    --keep;
  if (keep == point + 1) keep = point;
  s.erase(keep, end - keep);
}

void ensure_point(std::string& s) {
  if (s.find('.') != std::string::npos) return;
  const std::size_t e = s.find('e');
  s.insert(e == std::string::npos ? s.size() : e, 1, '.');
}

std::string general_digits(double mag, const printf_spec& spec) {
  const int p = spec.precision < 0 ? 6 : (spec.precision == 0 ? 1 : spec.precision);
  std::string s = scientific_digits(mag, p - 1);
  const int x = exponent_of(s);
  if (p > x && x >= -4) s = fixed_digits(mag, p - 1 - x);
  if (spec.alt) {
    ensure_point(s);
  } else {
    strip_fraction_zeros(s);
  }
  return s;
}

// Hexadecimal floating form built from the bits: printf's leading digit is 1 for normal values and
// 0 for subnormals, and rounding to fewer digits may carry into the leading digit ("0x2p+0").
std::string hex_digits(double mag, const printf_spec& spec, std::string& prefix) {
  const auto bits = std::bit_cast<std::uint64_t>(mag);
  const int biased = static_cast<int>((bits >> 52) & 0x7FF);
  std::uint64_t mant = bits & ((1ULL << 52) - 1);
  std::uint64_t lead = biased == 0 ? 0 : 1;
  int exponent = biased == 0 ? (mant == 0 ? 0 : -1022) : biased - 1023;
  int digits = 13;
  if (spec.precision < 0) {
    while (digits > 0 && (mant & 0xF) == 0) {
      mant >>= 4;
      --digits;
    }
  } else if (spec.precision < 13) {
    const int drop = 4 * (13 - spec.precision);
    std::uint64_t combined = (lead << (52 - drop)) | (mant >> drop);
    const std::uint64_t rest = mant & ((1ULL << drop) - 1);
    const std::uint64_t half = 1ULL << (drop - 1);
    if (rest > half || (rest == half && (combined & 1) != 0)) ++combined;
    digits = spec.precision;
    lead = combined >> (4 * digits);
    mant = digits == 0 ? 0 : combined & ((1ULL << (4 * digits)) - 1);
  }
  static constexpr char hex[] = "0123456789abcdef";
  std::string s(1, hex[lead]);
  std::string frac;
  for (int i = digits - 1; i >= 0; --i)
    frac += hex[(mant >> (4 * i)) & 0xF];
  if (spec.precision > 13) frac.append(static_cast<std::size_t>(spec.precision - 13), '0');
  if (!frac.empty() || spec.alt) s += '.';
  s += frac;
  s += 'p';
  s += exponent < 0 ? '-' : '+';
  s += std::to_string(exponent < 0 ? -exponent : exponent);
  prefix += "0x";
  return s;
}

bool is_upper_conversion(char c) {
  return c == 'F' || c == 'E' || c == 'G' || c == 'A' || c == 'X';
}

}  // namespace

printf_kind printf_kind_of(char c) noexcept {
  switch (c) {
    case 'd':
    case 'i':
    case 'u':
    case 'o':
    case 'x':
    case 'X':
    case 'c':
      return printf_kind::integer;
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
      return printf_kind::floating;
    case 's':
      return printf_kind::string;
    default:
      return printf_kind::none;
  }
}

std::optional<printf_spec> parse_printf_spec(std::string_view text, std::size_t* length) noexcept {
  std::size_t extent = 0;
  while (extent < text.size() && directive_chars.find(text[extent]) != std::string_view::npos) {
    ++extent;
  }
  const bool complete = extent < text.size();
  if (complete) ++extent;
  if (length != nullptr) *length = extent;
  if (!complete) return std::nullopt;

  const std::string_view d = text.substr(0, extent);
  printf_spec spec;
  std::size_t i = 0;
  for (; i < d.size(); ++i) {
    const char c = d[i];
    if (c == '-') {
      spec.left = true;
    } else if (c == '+') {
      spec.plus = true;
    } else if (c == ' ') {
      spec.space = true;
    } else if (c == '#') {
      spec.alt = true;
    } else if (c == '0') {
      spec.zero = true;
    } else {
      break;
    }
  }
  spec.width = read_number(d, i, printf_max_width);
  if (spec.width > printf_max_width) return std::nullopt;
  if (i < d.size() && d[i] == '.') {
    ++i;
    spec.precision = read_number(d, i, printf_max_precision);
    if (spec.precision > printf_max_precision) return std::nullopt;
  }
  const std::string_view rest = d.substr(i, d.size() - i - 1);
  if (rest.empty()) {
    spec.length = printf_length::none;
  } else if (rest == "hh") {
    spec.length = printf_length::hh;
  } else if (rest == "h") {
    spec.length = printf_length::h;
  } else if (rest == "l") {
    spec.length = printf_length::l;
  } else if (rest == "ll" || rest == "q") {
    spec.length = printf_length::ll;
  } else if (rest == "j") {
    spec.length = printf_length::j;
  } else if (rest == "z") {
    spec.length = printf_length::z;
  } else if (rest == "t") {
    spec.length = printf_length::t;
  } else if (rest == "L") {
    spec.length = printf_length::L;
  } else {
    return std::nullopt;
  }
  spec.conversion = d.back();
  if (printf_kind_of(spec.conversion) == printf_kind::none) return std::nullopt;
  return spec;
}

namespace {

template <class Out>
bool put_integer(Out& out, const printf_spec& spec, long long v) {
  const char conv = spec.conversion;
  if ((conv == 'd' || conv == 'i') && spec.precision < 0 && spec.width < 24) {
    // The common case, a plain or padded decimal of a short field: digits from the right, then
    // the padding in front of them (stored a whole width at a time), appended in one piece.
    constexpr std::size_t widest = 24;
    char field[2 * widest + 4];
    char* const end = field + sizeof field;
    char* p = end;
    unsigned long long mag =
        v < 0 ? 0ULL - static_cast<unsigned long long>(v) : static_cast<unsigned long long>(v);
    do {
      *--p = static_cast<char>('0' + mag % 10);
      mag /= 10;
    } while (mag != 0);
    const char sign = v < 0 ? '-' : (spec.plus ? '+' : (spec.space ? ' ' : '\0'));
    const long len = (end - p) + (sign != '\0' ? 1 : 0);
    const long fill = spec.width > len ? spec.width - len : 0;
    if (spec.left) {
      if (sign != '\0') *--p = sign;
      out.append(std::string_view(p, static_cast<std::size_t>(end - p)));
      out.append(static_cast<std::size_t>(fill), ' ');
      return true;
    }
    if (spec.zero) {
      std::memset(p - widest, '0', widest);
      p -= fill;
      if (sign != '\0') *--p = sign;
    } else {
      if (sign != '\0') *--p = sign;
      std::memset(p - widest, ' ', widest);
      p -= fill;
    }
    out.append(std::string_view(p, static_cast<std::size_t>(end - p)));
    return true;
  }
  if (printf_kind_of(conv) != printf_kind::integer) return false;
  if (conv == 'c') {
    const char byte = static_cast<char>(static_cast<unsigned char>(v & 0xFF));
    emit(out, spec, {}, std::string_view(&byte, 1), false);
    return true;
  }
  std::string_view prefix;
  unsigned long long mag = 0;
  int base = 10;
  if (conv == 'd' || conv == 'i') {
    if (v < 0) {
      prefix = "-";
      mag = 0ULL - static_cast<unsigned long long>(v);
    } else {
      mag = static_cast<unsigned long long>(v);
      if (spec.plus) {
        prefix = "+";
      } else if (spec.space) {
        prefix = " ";
      }
    }
  } else {
    mag = as_unsigned(v, spec.length);
    base = conv == 'o' ? 8 : (conv == 'u' ? 10 : 16);
  }

  // 22 octal digits hold 64 bits.
  char buf[32];
  std::size_t n = 0;
  if (!(mag == 0 && spec.precision == 0)) {
    n = static_cast<std::size_t>(std::to_chars(buf, buf + sizeof buf, mag, base).ptr - buf);
  }
  const std::size_t precision = spec.precision > 0 ? static_cast<std::size_t>(spec.precision) : 0;
  std::size_t zeros = precision > n ? precision - n : 0;
  if (spec.alt && conv == 'o' && zeros == 0 && (n == 0 || buf[0] != '0')) zeros = 1;
  if (spec.alt && (conv == 'x' || conv == 'X') && mag != 0) prefix = conv == 'X' ? "0X" : "0x";
  if (conv == 'X') {
    for (std::size_t i = 0; i < n; ++i)
      buf[i] = upper(buf[i]);
  }
  emit(out, spec, prefix, zeros, std::string_view(buf, n), spec.zero && spec.precision < 0);
  return true;
}

template <class Out>
bool put_floating(Out& out, const printf_spec& spec, double v) {
  if (printf_kind_of(spec.conversion) != printf_kind::floating) return false;
  const char conv = spec.conversion;
  std::string_view sign;
  if (std::signbit(v)) {
    sign = "-";
  } else if (spec.plus) {
    sign = "+";
  } else if (spec.space) {
    sign = " ";
  }
  const bool upper_case = is_upper_conversion(conv);
  if (!std::isfinite(v)) {
    const bool nan = std::isnan(v);
    emit(out, spec, sign, upper_case ? (nan ? "NAN" : "INF") : (nan ? "nan" : "inf"), false);
    return true;
  }
  const double mag = std::fabs(v);
  const int precision = spec.precision < 0 ? 6 : spec.precision;
  if (conv == 'f' || conv == 'F' || conv == 'e' || conv == 'E') {
    // The common conversions print into the stack: no allocation per number.
    char buf[float_buffer + 2];
    const bool fixed = conv == 'f' || conv == 'F';
    const auto r =
        std::to_chars(buf, buf + float_buffer, mag,
                      fixed ? std::chars_format::fixed : std::chars_format::scientific, precision);
    std::size_t n = r.ec == std::errc{} ? static_cast<std::size_t>(r.ptr - buf) : 0;
    if (spec.alt && precision == 0) {
      if (fixed) {
        buf[n++] = '.';
      } else if (std::string_view(buf, n).find('.') == std::string_view::npos) {
        // "1e+05" becomes "1.e+05": the point goes in front of the exponent.
        char* e = std::find(buf, buf + n, 'e');
        std::memmove(e + 1, e, static_cast<std::size_t>(buf + n - e));
        *e = '.';
        ++n;
      }
    }
    if (upper_case) {
      for (std::size_t i = 0; i < n; ++i)
        buf[i] = upper(buf[i]);
    }
    emit(out, spec, sign, std::string_view(buf, n), spec.zero);
    return true;
  }
  std::string prefix(sign);
  std::string body =
      conv == 'g' || conv == 'G' ? general_digits(mag, spec) : hex_digits(mag, spec, prefix);
  if (upper_case) {
    to_upper(body);
    to_upper(prefix);
  }
  emit(out, spec, prefix, body, spec.zero);
  return true;
}

}  // namespace

bool append_integer(std::string& out, const printf_spec& spec, long long v) {
  return put_integer(out, spec, v);
}

bool append_integer(fixed_text& out, const printf_spec& spec, long long v) {
  return put_integer(out, spec, v);
}

bool append_floating(std::string& out, const printf_spec& spec, double v) {
  return put_floating(out, spec, v);
}

bool append_floating(fixed_text& out, const printf_spec& spec, double v) {
  return put_floating(out, spec, v);
}

bool append_string(std::string& out, const printf_spec& spec, std::string_view s) {
  if (spec.conversion != 's') return false;
  if (spec.precision >= 0 && s.size() > static_cast<std::size_t>(spec.precision)) {
    s = s.substr(0, static_cast<std::size_t>(spec.precision));
  }
  emit(out, spec, {}, s, false);
  return true;
}

namespace {

template <class Print>
std::string expand_one(std::string_view format, Print print) {
  std::string out;
  bool used = false;
  std::size_t i = 0;
  while (i < format.size()) {
    const std::size_t pct = format.find('%', i);
    if (pct == std::string_view::npos) {
      out.append(format.substr(i));
      break;
    }
    out.append(format.substr(i, pct - i));
    if (pct + 1 < format.size() && format[pct + 1] == '%') {
      out += '%';
      i = pct + 2;
      continue;
    }
    std::size_t extent = 0;
    const auto spec = parse_printf_spec(format.substr(pct + 1), &extent);
    if (!used && spec && print(out, *spec)) {
      used = true;
    } else {
      out.append(format.substr(pct, extent + 1));
    }
    i = pct + 1 + extent;
  }
  return out;
}

}  // namespace

std::string format_one(std::string_view format, double v) {
  return expand_one(
      format, [v](std::string& out, const printf_spec& s) { return append_floating(out, s, v); });
}

std::string format_one(std::string_view format, long long v) {
  return expand_one(
      format, [v](std::string& out, const printf_spec& s) { return append_integer(out, s, v); });
}

std::string format_one(std::string_view format, std::string_view v) {
  return expand_one(
      format, [v](std::string& out, const printf_spec& s) { return append_string(out, s, v); });
}

}  // namespace kyo
