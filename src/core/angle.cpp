#include <kyo/core/angle.h>

#include <cmath>
#include <cstdint>
#include <numbers>
#include <optional>

#include <kyo/core/numbers.h>
#include <kyo/platform/printf_format.h>

#include <kyo/core/directive_scan.h>

namespace kyo {

namespace {

constexpr double pi = std::numbers::pi;
constexpr double two_pi = 2 * std::numbers::pi;

// The formatter's own limit on what may stand between '%' and the letter.
constexpr std::size_t max_directive_chars = 5;

// Above this precision the units per degree no longer fit the exact integer split below.
constexpr int max_exact_precision = 10;
constexpr double exact_limit = 9007199254740992.0;  // 2^53

constexpr char hemisphere_letters[] = "+-NSEW";

struct directive {
  std::size_t end = 0;  // one past the letter
  bool valid = false;
  char letter = 0;
  int rank = -1;  // d 0, m 1, s 2
  printf_spec spec;
  bool is_signed = false;
  int hemisphere = 0;
};

// Reads the directive whose '%' stands at `pos` (not a "%%").
directive read_directive(std::string_view format, std::size_t pos) {
  const detail::directive_text text = detail::scan_directive(format, pos);
  directive d;
  d.end = text.end;
  d.letter = text.letter;
  const std::string_view chars = text.chars;
  if (d.letter == 0 || chars.size() > max_directive_chars) return d;

  if (d.letter == 'h') {
    if (chars.empty()) {
      d.valid = true;
    } else if (chars.size() == 1 && chars[0] >= '0' && chars[0] <= '2') {
      d.hemisphere = chars[0] - '0';
      d.valid = true;
    }
    return d;
  }
  if (d.letter == 'd') {
    d.rank = 0;
  } else if (d.letter == 'm') {
    d.rank = 1;
  } else if (d.letter == 's') {
    d.rank = 2;
  } else {
    return d;
  }

  std::string conversion;
  bool floating = false;
  for (const char c : chars) {
    if (c == '+') {
      conversion += c;
      d.is_signed = true;
    } else if (c == '-') {
      d.is_signed = true;
    } else if (c == '.') {
      conversion += c;
      floating = true;
    } else if (c >= '0' && c <= '9') {
      conversion += c;
    }
  }
  conversion += floating ? 'f' : 'd';
  const auto spec = parse_printf_spec(conversion);
  if (!spec) {
    d.rank = -1;
    return d;
  }
  d.spec = *spec;
  d.valid = true;
  return d;
}

// The magnitude of the angle rounded once to the finest unit shown. While the count of those
// units is an exact integer the degree, minute and second values are split from it with integer
// arithmetic, so no carry is lost to a binary fraction ("60.00000" never appears).
struct magnitude {
  double a = 0;
  bool exact = false;
  std::uint64_t n = 0;  // units of 1 / q degree
  std::uint64_t q = 1;
};

magnitude round_magnitude(double abs_degrees, const directive* finest) {
  magnitude m;
  m.a = abs_degrees;
  if (finest == nullptr) return m;
  static constexpr int multiplier[] = {1, 60, 3600};
  const int precision = finest->spec.precision < 0 ? 0 : finest->spec.precision;
  const double factor = detail::power_of_ten(precision) * multiplier[finest->rank];
  const double scaled = abs_degrees * factor;
  if (!std::isfinite(scaled)) return m;
  m.a = kyo::round(abs_degrees, factor);
  if (precision <= max_exact_precision && scaled + 0.5 < exact_limit) {
    m.exact = true;
    m.n = static_cast<std::uint64_t>(std::trunc(scaled + 0.5));
    m.q = static_cast<std::uint64_t>(factor);
  }
  return m;
}

struct part_value {
  double v = 0;
  std::optional<long long> whole;  // the truncated value, when an integer holds it
};

part_value value_of(const magnitude& m, char letter) {
  part_value p;
  if (m.exact) {
    const std::uint64_t r = m.n % m.q;
    std::uint64_t num = m.n;
    if (letter == 'm') {
      num = 60 * r;
    } else if (letter == 's') {
      num = (3600 * r) % (60 * m.q);
    }
    p.v = static_cast<double>(num) / static_cast<double>(m.q);
    p.whole = static_cast<long long>(num / m.q);
    return p;
  }
  if (letter == 'm') {
    p.v = std::fmod(60 * m.a, 60);
  } else if (letter == 's') {
    p.v = std::fmod(3600 * m.a, 60);
  } else {
    p.v = m.a;
  }
  // A magnitude has no sign, whatever sign the NaN of an overflowed fmod carries.
  if (std::isnan(p.v)) p.v = std::fabs(p.v);
  if (std::fabs(p.v) < 9.2e18) p.whole = static_cast<long long>(p.v);
  return p;
}

void append_part(fixed_text& out, const directive& d, const magnitude& m, bool negative) {
  const part_value p = value_of(m, d.letter);
  const bool show_minus = d.letter == 'd' && d.is_signed && negative;
  if (d.spec.conversion == 'f' || !p.whole) {
    printf_spec spec = d.spec;
    if (spec.conversion != 'f') {
      spec.conversion = 'f';
      spec.precision = 0;
    }
    append_floating(out, spec, show_minus ? -p.v : p.v);
    return;
  }
  if (!show_minus) {
    append_integer(out, d.spec, *p.whole);
  } else if (*p.whole != 0) {
    append_integer(out, d.spec, -*p.whole);
  } else {
    // An integer conversion of -0 would lose the sign: print -8 in its place and turn the digit
    // back into a 0, so that "%+04d" gives "-000".
    std::string text;
    append_integer(text, d.spec, -8);
    const std::size_t eight = text.find('8');
    if (eight != std::string::npos) text[eight] = '0';
    out.append(text);
  }
}

}  // namespace

rad rad::difference(const rad& other) const {
  const auto reduce = [](double a) { return sgn(a) * std::fmod(std::fabs(a), two_pi); };
  double d = reduce(value_) - reduce(other.value_);
  if (std::fabs(d) > pi) d += d < 0 ? two_pi : -two_pi;
  return d;
}

rad& rad::normalize() {
  value_ = modulo(value_ + pi, two_pi) - pi;
  return *this;
}

std::string rad::as_string(const char* format) const {
  if (format == nullptr) return {};
  return as_string(std::string_view(format));
}

std::string rad::as_string(std::string_view format) const {
  // The finest d, m or s directive decides the rounding, once, before anything is printed.
  const detail::compiled_format<directive>& c = detail::compiled<directive>(format, read_directive);
  const bool negative = value_ < 0;
  const magnitude m = round_magnitude(std::fabs(value_ * 180 / pi), c.finest_directive());
  static_assert(fixed_text::capacity >= max_text);
  fixed_text text;
  c.expand(text, max_text, [&](fixed_text& out, const directive& d) {
    if (d.letter == 'h') {
      out += hemisphere_letters[2 * d.hemisphere + (negative ? 1 : 0)];
    } else {
      append_part(out, d, m, negative);
    }
  });
  return std::string(text.view());
}

elevation& elevation::normalize() {
  rad::normalize();
  if (std::fabs(value_) > pi / 2) value_ = value_ > 0 ? pi - value_ : -pi - value_;
  return *this;
}

namespace {

double bearing_of(double de, double dn) {
  if (de == 0 && dn == 0) return 0;
  return modulo(std::atan2(de, dn), two_pi);
}

double turn(double to, double from) {
  double d = modulo(to, two_pi) - modulo(from, two_pi);
  if (std::fabs(d) > pi) d += d >= 0 ? -two_pi : two_pi;
  return d;
}

}  // namespace

template <class North>
basic_bearing<North>::basic_bearing(double radians) : value_(modulo(radians, two_pi)) {}

template <class North>
basic_bearing<North>::basic_bearing(double de, double dn) : value_(bearing_of(de, dn)) {}

template <class North>
rad basic_bearing<North>::diff(const basic_bearing& other) const {
  return turn(value_, other.value_);
}

template class basic_bearing<grid_north>;
template class basic_bearing<true_north>;

}  // namespace kyo
