#include <kyo/time/timedate.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <ctime>
#include <optional>

#include <kyo/core/numbers.h>
#include <kyo/platform/printf_format.h>

#include <kyo/core/directive_scan.h>
#include <kyo/platform/local_time.h>
#include <kyo/time/time_manager.h>

namespace kyo {

int timedate::short_format = 1;

namespace {

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

long offset_at(std::int64_t utc_since_1970) {
  return utc_offset_seconds(static_cast<std::time_t>(utc_since_1970));
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
  // A plain "%d", "%2d" or "%02d" conversion, the usual date field, printed without the general
  // formatter when its value is small and not negative.
  bool plain = false;
};

constexpr int plain_widest = 9;

// Reads the directive whose '%' stands at `pos` (not a "%%").
directive read_directive(std::string_view format, std::size_t pos) {
  const detail::directive_text text = detail::scan_directive(format, pos);
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
  d.plain = spec->conversion == 'd' && !spec->left && !spec->plus && !spec->space && !spec->alt &&
            spec->precision < 0 && spec->width <= plain_widest;
  return d;
}

// What "%0<width>d" or "%<width>d" prints for 0 <= v < 10^9: the field filled with the padding
// at once, then the digits from the right.
void append_plain(fixed_text& out, long long v, int width, bool zero) {
  char field[2 * plain_widest + 2];
  std::memset(field, zero ? '0' : ' ', sizeof field);
  char* const end = field + sizeof field;
  char* p = end;
  auto u = static_cast<unsigned>(v);
  do {
    *--p = static_cast<char>('0' + u % 10);
    u /= 10;
  } while (u != 0);
  const long digits = end - p;
  if (width > digits) p -= width - digits;
  out.append(std::string_view(p, static_cast<std::size_t>(end - p)));
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
  const double scale = detail::power_of_ten(precision);
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

void append_name(fixed_text& out, std::string_view name, unsigned char flags) {
  if ((flags & 1) != 0) name = name.substr(0, 3);
  for (char c : name) {
    if ((flags & 2) != 0 && c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    out += c;
  }
}

void append_suffix(fixed_text& out, int day) {
  static constexpr std::string_view suffixes = "thstndrd";
  const int tens = day / 10 % 10;
  const int units = day % 10;
  const int index = (tens != 1 && units < 4) ? units : 0;
  out.append(suffixes.substr(static_cast<std::size_t>(2 * index), 2));
}

void append_week_day(fixed_text& out, int monday_first, unsigned char flags) {
  int w = monday_first;
  if (flags != 0) {
    if ((flags & 2) != 0) w = w % 7 + 1;
    if ((flags & 1) != 0) w -= 1;
  }
  out += static_cast<char>('0' + w);
}

void append_field(fixed_text& out, const directive& d, const clock_fields& f, double fraction) {
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
  } else if (d.plain && v >= 0 && v < 1'000'000'000) {
    append_plain(out, v, d.spec.width, d.spec.zero);
  } else {
    append_integer(out, d.spec, v);
  }
}

}  // namespace

timedate::timedate(const date& d, int hour, int minute, double seconds) noexcept
    : value_(from_local(clock_count(d, hour, minute, seconds)).value_) {}

timedate timedate::from_gmt(const date& d, int hour, int minute, double seconds) noexcept {
  return clock_count(d, hour, minute, seconds);
}

timedate timedate::from_local(double local_seconds) noexcept {
  const double v = sanitized(local_seconds);
  return v - static_cast<double>(offset_of_local(whole_seconds(v)));
}

double timedate::local_value() const noexcept {
  const double v = sanitized(value_);
  return v + static_cast<double>(offset_at(whole_seconds(v) - epoch_1970));
}

double timedate::get_current_time() {
  using namespace std::chrono;
  const auto since_1970 = floor<milliseconds>(wall_clock_now().time_since_epoch()).count();
  const std::int64_t whole = floor_div(since_1970, 1000);
  return static_cast<double>(whole + epoch_1970) +
         static_cast<double>(since_1970 - whole * 1000) * 0.001;
}

timedate& timedate::set_current() {
  value_ =
      time_manager::artificial_time_on() ? time_manager::artificial_time() : get_current_time();
  return *this;
}

date timedate::get_date() const noexcept {
  return fields_of(local_of(whole_seconds(value_))).day;
}

int timedate::hour() const noexcept {
  return fields_of(local_of(whole_seconds(value_))).hour;
}

int timedate::minute() const noexcept {
  return fields_of(local_of(whole_seconds(value_))).minute;
}

int timedate::second() const noexcept {
  return fields_of(local_of(whole_seconds(value_))).second;
}

int timedate::day_of_year() const noexcept {
  return get_date().day_of_year();
}

std::string timedate::long_date_str() const {
  return get_date().terse_str();
}

std::string timedate::short_date_str() const {
  const date d = get_date();
  const long long yy = floor_mod(d.year(), 100);
  switch (short_format) {
    case 0:
      return two_digit_triple(d.month(), d.day(), yy, '/');
    case 2:
      return two_digit_triple(yy, d.month(), d.day(), '/');
    default:
      return two_digit_triple(d.day(), d.month(), yy, '/');
  }
}

std::string timedate::time_str(unsigned decimals) const {
  const double v = sanitized(value_);
  if (decimals == 0) {
    const clock_fields f = fields_of(local_of(whole_seconds(v)));
    return two_digit_triple(f.hour, f.minute, f.second, ':');
  }
  decimals = std::min(decimals, 3u);
  static constexpr std::int64_t scales[] = {1, 10, 100, 1000};
  const std::int64_t p = scales[decimals];
  // Counted in units of the last digit shown, so the rounding carries into the seconds.
  const auto n = static_cast<std::int64_t>(std::floor(v * static_cast<double>(p) + 0.5));
  const std::int64_t whole = floor_div(n, p);
  const clock_fields f = fields_of(local_of(whole));
  std::string out = two_digit_triple(f.hour, f.minute, f.second, ':');
  out += '.';
  append_number(out, n - whole * p, static_cast<int>(decimals));
  return out;
}

void timedate::set_nearest(unsigned hour, unsigned minute, double seconds) {
  if (!std::isfinite(seconds)) return;
  const std::int64_t now = whole_seconds(value_);
  const int h0 = fields_of(now).hour;
  std::int64_t day = floor_div(now, seconds_per_day);
  const long long apart = static_cast<long long>(hour) - h0;
  if (apart > 12 || apart < -12) day += h0 < static_cast<long long>(hour) ? -1 : 1;
  const double whole = std::trunc(seconds);
  value_ = sanitized(static_cast<double>(day) * seconds_per_day + hour * 3600.0 + minute * 60.0 +
                     whole + (seconds - whole));
}

void timedate::setting_change() {
  short_format = locale_date_order();
}

std::string timedate::as_string(const char* format) const {
  if (format == nullptr) return {};
  return as_string(std::string_view(format));
}

std::string timedate::as_string(std::string_view format) const {
  // The finest H, h, M or S directive decides the rounding, once, before anything is printed.
  const detail::compiled_format<directive>& c = detail::compiled<directive>(format, read_directive);
  const split_value s = round_for(value_, c.finest_directive());
  const clock_fields local = fields_of(local_of(s.whole));
  std::optional<clock_fields> gmt;
  bool use_gmt = false;
  static_assert(fixed_text::capacity >= max_text);
  fixed_text text;
  c.expand(text, max_text, [&](fixed_text& out, const directive& d) {
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
        out.append(f.hour < 12 ? "am" : "pm");
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
  return std::string(text.view());
}

}  // namespace kyo
