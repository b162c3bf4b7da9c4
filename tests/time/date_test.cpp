#include <kyo/time/date.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>

namespace {

using kyo::date;
namespace chr = std::chrono;

const chr::sys_days day_zero = chr::year{1901} / 1 / 1;

// Every day from 1600 to 2500 and every 97th day from year -2000 to 9999, against the standard
// library's civil calendar: fields, week day, day of year and the way back from the fields.
TEST(date, agrees_with_the_civil_calendar) {
  const std::int64_t first = (chr::sys_days(chr::year{-2000} / 1 / 1) - day_zero).count();
  const std::int64_t last = (chr::sys_days(chr::year{9999} / 12 / 31) - day_zero).count();
  const std::int64_t dense_from = (chr::sys_days(chr::year{1600} / 1 / 1) - day_zero).count();
  const std::int64_t dense_to = (chr::sys_days(chr::year{2500} / 1 / 1) - day_zero).count();
  int failures = 0;
  for (std::int64_t n = first; n <= last && failures < 5;
       n += (n >= dense_from && n < dense_to) ? 1 : 97) {
    const chr::sys_days sd = day_zero + chr::days{n};
    const chr::year_month_day ymd{sd};
    const int expected_yday =
        static_cast<int>((sd - chr::sys_days(ymd.year() / 1 / 1)).count() + 1);
    const date d(n);
    const bool ok = d.year() == static_cast<int>(ymd.year()) &&
                    d.month() == static_cast<int>(static_cast<unsigned>(ymd.month())) &&
                    d.day() == static_cast<int>(static_cast<unsigned>(ymd.day())) &&
                    d.day_of_week() == static_cast<int>(chr::weekday{sd}.iso_encoding()) &&
                    d.day_of_year() == expected_yday &&
                    date::from_ymd(d.year(), d.month(), d.day()).days() == n;
    if (!ok) {
      ++failures;
      ADD_FAILURE() << "day " << n << " read as " << d.year() << "-" << d.month() << "-" << d.day();
    }
  }
}

TEST(date, landmarks) {
  EXPECT_EQ(date(0).day_name(), "Tuesday");
  EXPECT_EQ(date(-1).terse_str(), "31 Dec 1900");
  EXPECT_EQ(date::from_ymd(2024, 12, 31).day_of_year(), 366);
  EXPECT_EQ(date::from_ymd(2100, 12, 31).day_of_year(), 365);
  // 1900 has no 29 February: it carries into 1 March.
  EXPECT_EQ(date::from_ymd(1900, 2, 29), date::from_ymd(1900, 3, 1));
}

TEST(date, out_of_range_fields_carry_over) {
  EXPECT_EQ(date::from_ymd(2024, 13, 1), date::from_ymd(2025, 1, 1));
  EXPECT_EQ(date::from_ymd(2024, 0, 15), date::from_ymd(2023, 12, 15));
  EXPECT_EQ(date::from_ymd(2024, -23, 1), date::from_ymd(2022, 1, 1));
  EXPECT_EQ(date::from_ymd(2024, 3, 0), date::from_ymd(2024, 2, 29));
  EXPECT_EQ(date::from_ymd(2023, 1, 32), date::from_ymd(2023, 2, 1));
  EXPECT_EQ(date::from_ymd(2023, 1, 366), date::from_ymd(2024, 1, 1));
}

TEST(date, day_counts_far_out_are_clamped) {
  constexpr std::int64_t huge = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(date(huge).days(), date::max_days);
  EXPECT_EQ(date(-huge).days(), -date::max_days);
  EXPECT_EQ(date::from_ymd(huge, 1, 1).days(), date::max_days);
  // The calendar still holds there: the day after the limit's eve is the limit.
  const date edge(date::max_days - 1);
  EXPECT_EQ(date::from_ymd(edge.year(), edge.month(), edge.day() + 1).days(), date::max_days);
}

TEST(date, names_and_terse_text) {
  EXPECT_EQ(date::from_ymd(2026, 11, 21).terse_str(), "21 Nov 2026");
  EXPECT_EQ(date::from_ymd(2004, 3, 5).terse_str(), "5 Mar 2004");
  EXPECT_EQ(date::from_ymd(800, 9, 30).terse_str(), "30 Sep 0800");
  EXPECT_EQ(date::from_ymd(2026, 11, 21).day_name(), "Saturday");
  EXPECT_EQ(date::month_name(0), "");
  EXPECT_EQ(date::month_name(13), "");
  EXPECT_EQ(date::day_name(8), "");
}

}  // namespace
