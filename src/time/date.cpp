#include <kyo/time/date.h>

#include <algorithm>
#include <array>

#include <kyo/platform/printf_format.h>

namespace kyo {

namespace {

// The Gregorian calendar repeats every 400 years, which hold exactly 146097 days.
constexpr std::int64_t days_per_era = 146097;
constexpr std::int64_t years_per_era = 400;

// Days from 1 March of year 0 to 1 January 1901. Counting from a 1 March start puts the leap
// day at the end of each counted year, so month lengths follow a fixed pattern.
constexpr std::int64_t march_0_to_1901 = 694266;

constexpr std::array<std::string_view, 12> month_names = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};
constexpr std::array<std::string_view, 7> day_names = {
    "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday", "Sunday"};

std::int64_t floor_div(std::int64_t a, std::int64_t b) {
  const std::int64_t q = a / b;
  return (a % b != 0 && (a < 0) != (b < 0)) ? q - 1 : q;
}

// Days from 1 January 1901 to the first of `month` (1 to 12) in `year`.
std::int64_t days_of(std::int64_t year, int month) {
  // Years that start in March: January and February belong to the year before.
  const std::int64_t y = month <= 2 ? year - 1 : year;
  const std::int64_t era = floor_div(y, years_per_era);
  const std::int64_t year_of_era = y - era * years_per_era;     // 0 to 399
  const int shifted_month = month > 2 ? month - 3 : month + 9;  // March 0 .. February 11
  // (153 m + 2) / 5 is the day of the March-based year on which month m starts.
  const std::int64_t day_of_year = (153 * shifted_month + 2) / 5;
  const std::int64_t day_of_era =
      year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * days_per_era + day_of_era - march_0_to_1901;
}

}  // namespace

date::date(std::int64_t days) noexcept : days_(std::clamp(days, -max_days, max_days)) {
  const std::int64_t z = days_ + march_0_to_1901;
  const std::int64_t era = floor_div(z, days_per_era);
  const std::int64_t day_of_era = z - era * days_per_era;  // 0 to 146096
  // The corrections remove the leap days of the 4-, 100- and 400-year cycles before dividing.
  const std::int64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const std::int64_t day_of_year =
      day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const std::int64_t shifted_month = (5 * day_of_year + 2) / 153;
  day_ = static_cast<int>(day_of_year - (153 * shifted_month + 2) / 5 + 1);
  month_ = static_cast<int>(shifted_month < 10 ? shifted_month + 3 : shifted_month - 9);
  year_ = year_of_era + era * years_per_era + (month_ <= 2 ? 1 : 0);
}

date date::from_ymd(std::int64_t year, int month, int day) noexcept {
  // Keep the year far from overflow; anything this far out is clamped to max_days anyway.
  constexpr std::int64_t year_limit = 1'000'000'000'000;
  const std::int64_t month0 = static_cast<std::int64_t>(month) - 1;
  year = std::clamp(year, -year_limit, year_limit) + floor_div(month0, 12);
  const int m = static_cast<int>(month0 - floor_div(month0, 12) * 12) + 1;
  return date(days_of(year, m) + (static_cast<std::int64_t>(day) - 1));
}

int date::day_of_week() const noexcept {
  // 1 January 1901 was a Tuesday.
  return static_cast<int>(days_ + 1 - floor_div(days_ + 1, 7) * 7) + 1;
}

int date::day_of_year() const noexcept {
  return static_cast<int>(days_ - days_of(year_, 1)) + 1;
}

std::string date::terse_str() const {
  std::string out;
  printf_spec spec;
  spec.conversion = 'd';
  append_integer(out, spec, day_);
  out += ' ';
  out += month_name().substr(0, 3);
  out += ' ';
  spec.zero = true;
  spec.width = 4;
  append_integer(out, spec, year_);
  return out;
}

bool date::is_leap_year(std::int64_t year) noexcept {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int date::days_in_month(std::int64_t year, int month) noexcept {
  static constexpr int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month < 1 || month > 12) return 0;
  return month == 2 && is_leap_year(year) ? 29 : lengths[month - 1];
}

std::string_view date::month_name(int month) noexcept {
  if (month < 1 || month > 12) return {};
  return month_names[static_cast<std::size_t>(month - 1)];
}

std::string_view date::day_name(int day_of_week) noexcept {
  if (day_of_week < 1 || day_of_week > 7) return {};
  return day_names[static_cast<std::size_t>(day_of_week - 1)];
}

}  // namespace kyo
