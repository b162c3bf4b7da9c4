// The angle and date/time formatters against straightforward references: formats read afresh
// on every call, every field appended to a growing string, every UTC offset asked of the C
// library after tzset. The library reads a format once into a per-thread cache, builds texts on
// the stack and keeps UTC offsets per instant; for any value, format and zone (TZ switched
// between inputs, daylight saving included) the texts and offsets must be the same bytes.
#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <numbers>
#include <optional>
#include <string>
#include <string_view>

#include <kyo/core/angle.h>
#include <kyo/core/numbers.h>
#include <kyo/platform/ascii.h>
#include <kyo/platform/local_time.h>
#include <kyo/platform/printf_format.h>
#include <kyo/time/date.h>
#include <kyo/time/timedate.h>

#include "fuzz_input.h"

namespace ref {

using namespace kyo;

/// The text of one directive.
struct directive_text {
  std::size_t end = 0;     ///< one past the letter, or the end of the format
  char letter = 0;         ///< 0 when the format ends before a letter
  std::string_view chars;  ///< what stands between '%' and the letter
};

/// Reads the directive whose '%' stands at `pos` (not a "%%").
directive_text scan_directive(std::string_view format, std::size_t pos) {
  directive_text d;
  std::size_t j = pos + 1;
  while (j < format.size() && !is_ascii_letter(format[j]))
    ++j;
  if (j == format.size()) {
    d.end = j;
    return d;
  }
  d.end = j + 1;
  d.letter = format[j];
  d.chars = format.substr(pos + 1, j - pos - 1);
  return d;
}

/// The first pass: among the valid directives that have a rank (0 or more), the
/// one of the highest rank, the first of equal ranks. `read(format, pos)` gives a
/// directive with `valid`, `rank` and `end`.
template <class Directive, class Read>
std::optional<Directive> finest_directive(std::string_view format, Read read) {
  std::optional<Directive> finest;
  for (std::size_t i = format.find('%'); i != std::string_view::npos; i = format.find('%', i)) {
    if (i + 1 < format.size() && format[i + 1] == '%') {
      i += 2;
      continue;
    }
    const Directive d = read(format, i);
    if (d.valid && d.rank >= 0 && (!finest || d.rank > finest->rank)) finest = d;
    i = d.end;
  }
  return finest;
}

/// The second pass: copies the format into a text of at most `max_text`
/// characters, "%%" as '%', an invalid directive literally, and every valid one
/// through `emit(out, directive)`.
template <class Directive, class Read, class Emit>
std::string expand_directives(std::string_view format, std::size_t max_text, Read read, Emit emit) {
  std::string out;
  std::size_t i = 0;
  while (i < format.size() && out.size() < max_text) {
    if (format[i] != '%') {
      out += format[i++];
      continue;
    }
    if (i + 1 < format.size() && format[i + 1] == '%') {
      out += '%';
      i += 2;
      continue;
    }
    const Directive d = read(format, i);
    if (d.valid) {
      emit(out, d);
    } else {
      out.append(format.substr(i, d.end - i));
    }
    i = d.end;
  }
  if (out.size() > max_text) out.resize(max_text);
  return out;
}

}  // namespace ref

namespace ref_angle {

using namespace kyo;

constexpr double pi = std::numbers::pi;

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
  const ref::directive_text text = ref::scan_directive(format, pos);
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
  const double factor = std::pow(10.0, precision) * multiplier[finest->rank];
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

void append_part(std::string& out, const directive& d, const magnitude& m, bool negative) {
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
    out += text;
  }
}

std::string angle_text(double value_, std::string_view format) {
  // The finest d, m or s directive decides the rounding, once, before anything is printed.
  const std::optional<directive> finest = ref::finest_directive<directive>(format, read_directive);
  const bool negative = value_ < 0;
  const magnitude m = round_magnitude(std::fabs(value_ * 180 / pi), finest ? &*finest : nullptr);
  return ref::expand_directives<directive>(
      format, kyo::rad::max_text, read_directive, [&](std::string& out, const directive& d) {
        if (d.letter == 'h') {
          out += hemisphere_letters[2 * d.hemisphere + (negative ? 1 : 0)];
        } else {
          append_part(out, d, m, negative);
        }
      });
}

}  // namespace ref_angle

namespace ref_time {

using namespace kyo;

constexpr std::int64_t seconds_per_day = 86400;
constexpr std::int64_t epoch_1970 = 2177452800;

// The formatter's own limit on what may stand between '%' and the letter.
constexpr std::size_t max_directive_chars = 5;

// Below 2^53 every whole count of the rounding unit is an exact double, so the value can be
// rounded and split with integer arithmetic.
constexpr double exact_limit = 9007199254740992.0;
constexpr int max_exact_precision = 15;

std::int64_t floor_div(std::int64_t a, std::int64_t b) {
  const std::int64_t q = a / b;
  return (a % b != 0 && (a < 0) != (b < 0)) ? q - 1 : q;
}

std::int64_t floor_mod(std::int64_t a, std::int64_t b) {
  return a - floor_div(a, b) * b;
}

double sanitized(double v) {
  if (std::isnan(v)) return 0;
  return std::clamp(v, -timedate::max_seconds, timedate::max_seconds);
}

std::int64_t whole_seconds(double v) {
  return static_cast<std::int64_t>(std::floor(sanitized(v)));
}

struct clock_fields {
  date day;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

clock_fields fields_of(std::int64_t whole) {
  const std::int64_t days = floor_div(whole, seconds_per_day);
  const auto of_day = static_cast<int>(whole - days * seconds_per_day);
  return {date(days), of_day / 3600, of_day / 60 % 60, of_day % 60};
}

// The offset straight from the C library, the zone read again every time.
long offset_at(std::int64_t utc_since_1970) {
  tzset();
  const auto t = static_cast<std::time_t>(utc_since_1970);
  std::tm tm{};
  return localtime_r(&t, &tm) != nullptr ? tm.tm_gmtoff : 0;
}

// The local clock reading, in whole seconds since 1901, of a whole GMT count.
std::int64_t local_of(std::int64_t gmt_whole) {
  return gmt_whole + offset_at(gmt_whole - epoch_1970);
}

// The UTC offset in force at a local clock reading. The instant lies within a day of the reading
// taken as UTC, so the offsets in force a day either side of it (and at it) hold every offset
// that can apply, unless a zone changes twice within two days. An offset fits when the instant it
// gives has that offset. Two fit when the clocks went back: the larger gives the earlier instant,
// before the change. None fits when the clocks went forward over the reading: the offset in force
// before the change is the one at the earliest instant the reading could mean.
long offset_of_local(std::int64_t local_whole) {
  const std::int64_t reading = local_whole - epoch_1970;
  const long candidates[] = {offset_at(reading - seconds_per_day), offset_at(reading),
                             offset_at(reading + seconds_per_day)};
  std::optional<long> fitting;
  long largest = candidates[0];
  for (const long o : candidates) {
    largest = std::max(largest, o);
    if (offset_at(reading - o) == o && (!fitting || o > *fitting)) fitting = o;
  }
  return fitting ? *fitting : offset_at(reading - largest);
}

double clock_count(const date& d, int hour, int minute, double seconds) {
  return static_cast<double>(d.days()) * seconds_per_day + hour * 3600.0 + minute * 60.0 + seconds;
}

void append_number(std::string& out, long long v, int width) {
  printf_spec spec;
  spec.zero = true;
  spec.width = width;
  spec.conversion = 'd';
  append_integer(out, spec, v);
}

std::string two_digit_triple(long long a, long long b, long long c, char separator) {
  std::string out;
  append_number(out, a, 2);
  out += separator;
  append_number(out, b, 2);
  out += separator;
  append_number(out, c, 2);
  return out;
}

// Letters that print a name, a suffix or nothing rather than a number through a conversion.
bool prints_number(char letter) {
  switch (letter) {
    case 'a':
    case 'N':
    case 'n':
    case 's':
    case 'w':
    case 'G':
    case 'L':
      return false;
    default:
      return true;
  }
}

// H 0, h 1, M 2, S 3: a higher rank is a finer unit.
int rank_of(char letter) {
  switch (letter) {
    case 'H':
      return 0;
    case 'h':
      return 1;
    case 'M':
      return 2;
    case 'S':
      return 3;
    default:
      return -1;
  }
}

struct directive {
  std::size_t end = 0;  // one past the letter
  bool valid = false;
  char letter = 0;
  unsigned char first = 0;  // the first character before the letter, 0 when there is none
  int rank = -1;
  printf_spec spec;
};

// Reads the directive whose '%' stands at `pos` (not a "%%").
directive read_directive(std::string_view format, std::size_t pos) {
  const ref::directive_text text = ref::scan_directive(format, pos);
  directive d;
  d.end = text.end;
  d.letter = text.letter;
  const std::string_view chars = text.chars;
  if (d.letter == 0 || chars.size() > max_directive_chars) return d;
  if (!chars.empty()) d.first = static_cast<unsigned char>(chars[0]);
  if (!prints_number(d.letter)) {
    d.valid = true;
    return d;
  }
  std::string conversion(chars);
  conversion += chars.find('.') != std::string_view::npos ? 'f' : 'd';
  std::size_t length = 0;
  const auto spec = parse_printf_spec(conversion, &length);
  if (!spec || length != conversion.size()) return d;
  d.spec = *spec;
  d.rank = rank_of(d.letter);
  d.valid = true;
  return d;
}

// A value taken apart for printing: its whole seconds and the fraction left over.
struct split_value {
  std::int64_t whole = 0;
  double fraction = 0;
};

split_value split(double v) {
  const double whole = std::floor(v);
  return {static_cast<std::int64_t>(whole), v - whole};
}

// Rounds the value once to the precision of the finest H, h, M or S directive, so that a carry
// reaches every field before any is printed (59.97 s at one decimal is the next minute, never
// "60.0"). While the count of rounding units is exact, the split is done on integers: dividing a
// rounded double by a unit such as 1/3600 can land a hair below a whole hour and lose the carry.
split_value round_for(double v, const directive* finest) {
  v = sanitized(v);
  if (finest == nullptr) return split(v);
  static constexpr std::int64_t unit_seconds[] = {3600, 3600, 60, 1};
  const std::int64_t unit = unit_seconds[finest->rank];
  const int precision = std::max(finest->spec.precision, 0);
  const double scale = std::pow(10.0, precision);
  if (precision <= max_exact_precision && std::fabs(v * scale) < exact_limit) {
    const double scaled = v * scale / static_cast<double>(unit);
    const auto units = static_cast<std::int64_t>(std::trunc(scaled + (scaled >= 0 ? 0.5 : -0.5)));
    const std::int64_t ticks = units * unit;  // in 10^-precision seconds
    const auto per_second = static_cast<std::int64_t>(scale);
    split_value s;
    s.whole = floor_div(ticks, per_second);
    s.fraction = static_cast<double>(ticks - s.whole * per_second) / scale;
    return s;
  }
  // The value holds no exact count of so fine a unit; round as well as a double can.
  const double rounded = kyo::round(v, scale / static_cast<double>(unit));
  return split(std::isfinite(rounded) ? sanitized(rounded) : v);
}

void append_name(std::string& out, std::string_view name, unsigned char flags) {
  if ((flags & 1) != 0) name = name.substr(0, 3);
  for (char c : name) {
    if ((flags & 2) != 0 && c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    out += c;
  }
}

void append_suffix(std::string& out, int day) {
  static constexpr std::string_view suffixes = "thstndrd";
  const int tens = day / 10 % 10;
  const int units = day % 10;
  const int index = (tens != 1 && units < 4) ? units : 0;
  out += suffixes.substr(static_cast<std::size_t>(2 * index), 2);
}

void append_week_day(std::string& out, int monday_first, unsigned char flags) {
  int w = monday_first;
  if (flags != 0) {
    if ((flags & 2) != 0) w = w % 7 + 1;
    if ((flags & 1) != 0) w -= 1;
  }
  out += static_cast<char>('0' + w);
}

void append_field(std::string& out, const directive& d, const clock_fields& f, double fraction) {
  const date& day = f.day;
  long long v = 0;
  switch (d.letter) {
    case 'Y':
      v = day.year();
      break;
    case 'y':
      v = floor_mod(day.year(), 100);
      break;
    case 'c':
      v = floor_div(day.year(), 100);
      break;
    case 'm':
      v = day.month();
      break;
    case 'd':
      v = day.day();
      break;
    case 'D':
      v = day.day_of_year();
      break;
    case 'H':
      v = f.hour;
      break;
    case 'h':
      v = f.hour % 12;
      break;
    case 'M':
      v = f.minute;
      break;
    case 'S':
      v = f.second;
      break;
    default:
      break;
  }
  if (d.spec.conversion == 'f') {
    const double fv =
        d.letter == 'S' ? static_cast<double>(f.second) + fraction : static_cast<double>(v);
    append_floating(out, d.spec, fv);
  } else {
    append_integer(out, d.spec, v);
  }
}

std::string date_text(double value_, std::string_view format) {
  // The finest H, h, M or S directive decides the rounding, once, before anything is printed.
  const std::optional<directive> finest = ref::finest_directive<directive>(format, read_directive);
  const split_value s = round_for(value_, finest ? &*finest : nullptr);
  const clock_fields local = fields_of(local_of(s.whole));
  std::optional<clock_fields> gmt;
  bool use_gmt = false;

  return ref::expand_directives<directive>(format, kyo::timedate::max_text, read_directive,
                                           [&](std::string& out, const directive& d) {
                                             if (d.letter == 'G') {
                                               if (!gmt) gmt = fields_of(s.whole);
                                               use_gmt = true;
                                               return;
                                             }
                                             if (d.letter == 'L') {
                                               use_gmt = false;
                                               return;
                                             }
                                             const clock_fields& f = use_gmt ? *gmt : local;
                                             switch (d.letter) {
                                               case 'a':
                                                 out += f.hour < 12 ? "am" : "pm";
                                                 break;
                                               case 'N':
                                                 append_name(out, f.day.month_name(), d.first);
                                                 break;
                                               case 'n':
                                                 append_name(out, f.day.day_name(), d.first);
                                                 break;
                                               case 's':
                                                 append_suffix(out, f.day.day());
                                                 break;
                                               case 'w':
                                                 append_week_day(out, f.day.day_of_week(), d.first);
                                                 break;
                                               default:
                                                 append_field(out, d, f, s.fraction);
                                                 break;
                                             }
                                           });
}

}  // namespace ref_time

namespace {

// Zones with daylight saving on both hemispheres, a half-hour saving and odd offsets.
constexpr const char* zones[] = {"UTC",
                                 "Europe/London",
                                 "America/St_Johns",
                                 "Australia/Lord_Howe",
                                 "Asia/Kathmandu",
                                 "Pacific/Chatham",
                                 "America/New_York",
                                 nullptr};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyo::fuzz::input in(data, size);
  const auto zone = in.take<std::uint8_t>();
  const auto v = in.take<double>();
  const auto stamp = in.take<std::int32_t>();
  const std::string_view format = in.rest();
  const char* tz = zones[zone % std::size(zones)];
  if (tz != nullptr) {
    setenv("TZ", tz, 1);
  } else {
    unsetenv("TZ");
  }
  kyo::fuzz::require(kyo::rad(v).as_string(format) == ref_angle::angle_text(v, format),
                     "angle text as the reference");
  // The same format again, with another value: a cached format must not keep the last value.
  kyo::fuzz::require(kyo::rad(-v / 3).as_string(format) == ref_angle::angle_text(-v / 3, format),
                     "angle text of a cached format as the reference");
  // Dates from 1901 to 2037, the range of the zone data, and the fuzzer's own values.
  const double when = kyo::seconds_1901_to_1970 + stamp + (v - std::trunc(v));
  for (const double t : {when, v}) {
    kyo::fuzz::require(kyo::timedate(t).as_string(format) == ref_time::date_text(t, format),
                       "date text as the reference");
  }
  const auto t = static_cast<std::time_t>(stamp);
  kyo::fuzz::require(kyo::utc_offset_seconds(t) == ref_time::offset_at(t), "UTC offset as tzset");
  return 0;
}
