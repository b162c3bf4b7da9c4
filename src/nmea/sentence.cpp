#include <kyo/nmea/sentence.h>

#include <charconv>
#include <cmath>
#include <numbers>

#include <kyo/platform/ascii.h>
#include <kyo/time/date.h>

namespace kyo::nmea {

namespace {

constexpr double deg_to_rad = std::numbers::pi / 180.0;

int hex_digit(char c) noexcept {
  if (is_ascii_digit(c)) return c - '0';
  const char l = ascii_lower(c);
  return l >= 'a' && l <= 'f' ? l - 'a' + 10 : -1;
}

// An unsigned decimal field of exactly `digits` digits.
std::optional<int> fixed_digits(std::string_view s) noexcept {
  int v = 0;
  for (char c : s) {
    if (!is_ascii_digit(c)) return std::nullopt;
    v = v * 10 + (c - '0');
  }
  return s.empty() ? std::nullopt : std::optional<int>(v);
}

std::optional<std::int64_t> days_since_1970(int year, int month, int day) noexcept {
  if (month < 1 || month > 12 || day < 1) return std::nullopt;
  const date d = date::from_ymd(year, month, day);
  // from_ymd carries over (31 February is 3 March); a real date comes back unchanged.
  if (d.day() != day || d.month() != month) return std::nullopt;
  return d.days() - date::from_ymd(1970, 1, 1).days();
}

}  // namespace

std::uint8_t checksum(std::string_view body) noexcept {
  std::uint8_t sum = 0;
  for (char c : body)
    sum ^= static_cast<std::uint8_t>(c);
  return sum;
}

parse_error parse(std::string_view line, sentence& out) {
  const std::size_t start = line.find_first_of("$!");
  if (start == std::string_view::npos) return parse_error::no_sentence;
  std::string_view s = line.substr(start);
  while (!s.empty() && (s.back() == '\n' || s.back() == '\r' || s.back() == ' ')) {
    s.remove_suffix(1);
  }
  if (s.size() > max_sentence_length) return parse_error::malformed;

  std::string_view body = s.substr(1);
  out.checked = false;
  if (const std::size_t star = body.find('*'); star != std::string_view::npos) {
    const std::string_view digits = body.substr(star + 1);
    const int hi = digits.size() == 2 ? hex_digit(digits[0]) : -1;
    const int lo = digits.size() == 2 ? hex_digit(digits[1]) : -1;
    body = body.substr(0, star);
    if (hi < 0 || lo < 0 || checksum(body) != hi * 16 + lo) return parse_error::bad_checksum;
    out.checked = true;
  }
  for (char c : body) {
    const auto u = static_cast<unsigned char>(c);
    if (u < 0x20 || u > 0x7E || c == '$' || c == '!' || c == '*') return parse_error::malformed;
  }

  const std::size_t comma = body.find(',');
  const std::string_view address = body.substr(0, comma);
  if (address.size() < 2) return parse_error::malformed;
  for (char c : address) {
    if (!is_ascii_letter(c) && !is_ascii_digit(c)) return parse_error::malformed;
  }
  out.start = s[0];
  if (address[0] == 'P') {
    out.talker = address.substr(0, 1);
    out.type = address.substr(1);
  } else {
    if (address.size() < 3) return parse_error::malformed;
    out.talker = address.substr(0, 2);
    out.type = address.substr(2);
  }
  out.fields.clear();
  if (comma != std::string_view::npos) {
    std::string_view rest = body.substr(comma + 1);
    for (;;) {
      const std::size_t next = rest.find(',');
      out.fields.push_back(rest.substr(0, next));
      if (next == std::string_view::npos) break;
      rest.remove_prefix(next + 1);
    }
  }
  return parse_error::none;
}

std::optional<double> number(std::string_view field) noexcept {
  if (field.empty()) return std::nullopt;
  // from_chars takes no '+', and a leading '.' needs a digit before it.
  if (field.front() == '+') field.remove_prefix(1);
  double v = 0;
  const char* first = field.data();
  const char* last = field.data() + field.size();
  auto [ptr, ec] = std::from_chars(first, last, v, std::chars_format::fixed);
  if (ec != std::errc() || ptr != last || !std::isfinite(v)) return std::nullopt;
  return v;
}

std::optional<double> coordinate(std::string_view value, std::string_view hemisphere,
                                 bool latitude) noexcept {
  if (hemisphere.size() != 1) return std::nullopt;
  const char h = hemisphere[0];
  const bool negative = h == 'S' || h == 'W';
  if (latitude ? (h != 'N' && h != 'S') : (h != 'E' && h != 'W')) return std::nullopt;
  // Whole degrees stand before the two digits of whole minutes.
  const std::size_t point = value.find('.');
  const std::size_t minutes_at = (point == std::string_view::npos ? value.size() : point);
  if (minutes_at < 2 || minutes_at > 5) return std::nullopt;
  const std::optional<int> degrees =
      minutes_at == 2 ? std::optional<int>(0) : fixed_digits(value.substr(0, minutes_at - 2));
  const std::optional<double> minutes = number(value.substr(minutes_at - 2));
  if (!degrees || !minutes || *minutes < 0 || *minutes >= 60) return std::nullopt;
  const double angle = *degrees + *minutes / 60.0;
  if (angle > (latitude ? 90.0 : 180.0)) return std::nullopt;
  return (negative ? -angle : angle) * deg_to_rad;
}

std::optional<double> time_of_day(std::string_view field) noexcept {
  if (field.size() < 6 || (field.size() > 6 && field[6] != '.')) return std::nullopt;
  const std::optional<int> h = fixed_digits(field.substr(0, 2));
  const std::optional<int> m = fixed_digits(field.substr(2, 2));
  const std::optional<double> s = number(field.substr(4));
  if (!h || !m || !s || *h > 23 || *m > 59 || *s < 0 || *s >= 61) return std::nullopt;
  return *h * 3600.0 + *m * 60.0 + *s;
}

std::optional<std::int64_t> date_ddmmyy(std::string_view field) noexcept {
  if (field.size() != 6) return std::nullopt;
  const std::optional<int> d = fixed_digits(field.substr(0, 2));
  const std::optional<int> m = fixed_digits(field.substr(2, 2));
  const std::optional<int> y = fixed_digits(field.substr(4, 2));
  if (!d || !m || !y) return std::nullopt;
  return days_since_1970(*y >= 80 ? 1900 + *y : 2000 + *y, *m, *d);
}

std::optional<double> logger_stamp(std::string_view line) noexcept {
  // YYYY-MM-DDThh:mm:ss[.fff...]Z
  if (line.size() < 20 || line[4] != '-' || line[7] != '-' || line[10] != 'T' || line[13] != ':' ||
      line[16] != ':') {
    return std::nullopt;
  }
  const std::size_t z = line.find('Z', 19);
  if (z == std::string_view::npos || z > 40) return std::nullopt;
  const std::optional<std::int64_t> day =
      date_dmy(line.substr(8, 2), line.substr(5, 2), line.substr(0, 4));
  const std::string_view hms[] = {line.substr(11, 2), line.substr(14, 2), line.substr(17, z - 17)};
  const std::optional<int> h = fixed_digits(hms[0]);
  const std::optional<int> m = fixed_digits(hms[1]);
  const std::optional<double> s = number(hms[2]);
  if (!day || !h || !m || !s || *h > 23 || *m > 59 || *s < 0 || *s >= 61) return std::nullopt;
  return static_cast<double>(*day) * 86400 + *h * 3600.0 + *m * 60.0 + *s;
}

std::optional<std::int64_t> date_dmy(std::string_view day, std::string_view month,
                                     std::string_view year) noexcept {
  if (day.size() > 2 || month.size() > 2 || year.size() != 4) return std::nullopt;
  const std::optional<int> d = fixed_digits(day);
  const std::optional<int> m = fixed_digits(month);
  const std::optional<int> y = fixed_digits(year);
  if (!d || !m || !y) return std::nullopt;
  return days_since_1970(*y, *m, *d);
}

}  // namespace kyo::nmea
