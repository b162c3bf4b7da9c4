// The library's own calendar. A `date` is a count of days from 1 January 1901 (day 0) with its
// proleptic Gregorian year, month and day, its day of the week (1 Monday to 7 Sunday) and of the
// year, and the English names of its month and week day. No time zone enters here: `timedate`
// adds the time of day and the zone.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include <kyo/kyoutils_export.h>

namespace kyo {

/// A calendar date, held as days from 1 January 1901 (negative before it).
/// Years are astronomical: the year before 1 is 0, before that -1. Day counts are held within
/// +/- `max_days` (about 274 million years); a count beyond is clamped to the limit.
class KYO_EXPORT date {
 public:
  /// The largest day count a date holds, either side of 1 January 1901.
  static constexpr std::int64_t max_days = 100'000'000'000;

  /// 1 January 1901.
  date() noexcept : date(std::int64_t{0}) {}
  /// The date `days` days after 1 January 1901 (before it when negative).
  explicit date(std::int64_t days) noexcept;

  /// The date of `day` in `month` of `year`. Fields out of range carry over as on a calendar:
  /// month 13 of 2024 is January 2025, month 0 is December of the year before, day 0 is the last
  /// day of the month before, day 32 of January is 1 February.
  [[nodiscard]] static date from_ymd(std::int64_t year, int month, int day) noexcept;

  /// Days from 1 January 1901.
  [[nodiscard]] std::int64_t days() const noexcept { return days_; }
  [[nodiscard]] std::int64_t year() const noexcept { return year_; }
  /// 1 to 12.
  [[nodiscard]] int month() const noexcept { return month_; }
  /// 1 to 31.
  [[nodiscard]] int day() const noexcept { return day_; }
  /// 1 Monday to 7 Sunday.
  [[nodiscard]] int day_of_week() const noexcept;
  /// 1 to 366.
  [[nodiscard]] int day_of_year() const noexcept;

  /// "January" to "December".
  [[nodiscard]] std::string_view month_name() const noexcept { return month_name(month_); }
  /// "Monday" to "Sunday".
  [[nodiscard]] std::string_view day_name() const noexcept { return day_name(day_of_week()); }

  /// The terse text: the day without a leading zero, the three-letter month and the year in at
  /// least four digits, "21 Nov 2026", "5 Mar 0800", "1 Jan -044".
  [[nodiscard]] std::string terse_str() const;

  /// Whether `year` has a 29 February: divisible by 4, and by 400 when divisible by 100.
  [[nodiscard]] static bool is_leap_year(std::int64_t year) noexcept;
  /// 28 to 31; 0 for a month outside 1 to 12.
  [[nodiscard]] static int days_in_month(std::int64_t year, int month) noexcept;
  /// "January" for 1 to "December" for 12; empty for any other number.
  [[nodiscard]] static std::string_view month_name(int month) noexcept;
  /// "Monday" for 1 to "Sunday" for 7; empty for any other number.
  [[nodiscard]] static std::string_view day_name(int day_of_week) noexcept;

  friend bool operator==(const date& a, const date& b) noexcept { return a.days_ == b.days_; }
  friend std::strong_ordering operator<=>(const date& a, const date& b) noexcept {
    return a.days_ <=> b.days_;
  }

 private:
  std::int64_t days_ = 0;
  std::int64_t year_ = 1901;
  int month_ = 1;
  int day_ = 1;
};

}  // namespace kyo
