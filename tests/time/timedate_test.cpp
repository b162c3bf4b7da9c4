#include <kyo/time/timedate.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <tuple>

#include "support/fake_clock.h"
#include "support/scoped_env.h"
#include "time/time_values.h"

namespace kyo::test {
namespace {

TEST(timedate, time_str_truncates_without_decimals_and_rounds_with_them) {
  const double noon_59 = at(2024, 5, 10, 12, 0, 59.996);
  const std::tuple<const char*, double, unsigned, const char*> rows[] = {
      {"no decimals truncate", noon_59, 0, "12:00:59"},
      {"two decimals carry into the minute", noon_59, 2, "12:01:00.00"},
      {"three decimals", noon_59, 3, "12:00:59.996"},
      {"more than three give three", noon_59, 7, "12:00:59.996"},
      {"last millisecond of the day", at(2024, 5, 10, 23, 59, 59.999), 0, "23:59:59"},
      {"a carry past midnight wraps", at(2024, 5, 10, 23, 59, 59.96), 1, "00:00:00.0"},
      {"before 1901 counts back from midnight", -0.5, 0, "23:59:59"},
      {"before 1901 with a decimal", -0.5, 1, "23:59:59.5"},
  };
  for (const auto& [what, value, decimals, expected] : rows) {
    SCOPED_TRACE(what);
    EXPECT_EQ(timedate(value).time_str(decimals), expected);
  }
}

TEST(timedate, date_texts) {
  const int saved = timedate::short_format;
  const timedate t = at(2004, 3, 5, 18, 30);
  std::string orders;
  for (int order : {0, 1, 2, 7}) {
    timedate::short_format = order;
    orders += t.short_date_str() + " ";
  }
  EXPECT_EQ(orders, "03/05/04 05/03/04 04/03/05 05/03/04 ");
  timedate::short_format = 1;
  EXPECT_EQ(timedate(at(1899, 7, 4)).short_date_str(), "04/07/99");
  {
    scoped_env locale("LC_ALL", "C");
    timedate::short_format = 2;
    timedate::setting_change();
    EXPECT_EQ(timedate::short_format, 0) << "the C locale writes month/day/year";
  }
  timedate::short_format = saved;
  EXPECT_EQ(timedate(at(2026, 11, 21, 23, 59, 59.9)).long_date_str(), "21 Nov 2026");
  EXPECT_EQ(timedate(at(2024, 12, 31, 12)).day_of_year(), 366);
  EXPECT_EQ(timedate(at(2023, 12, 31, 12)).day_of_year(), 365);
}

TEST(timedate, current_time_counts_local_clock_seconds) {
  fake_wall_clock wall(fake_wall_clock::utc(2024, 6, 30, 23, 30, 0, 250));
  EXPECT_EQ(timedate::get_current_time(), at(2024, 6, 30, 23, 30, 0.25));
  scoped_env tz("TZ", "Europe/London");
  EXPECT_EQ(timedate().set_current().value(), at(2024, 7, 1, 0, 30, 0.25));
}

// London: summer time began at 01:00 UTC on 31 March 2024 (01:30 local never happened) and
// ended at 01:00 UTC on 27 October 2024 (01:30 local happened twice).
TEST(timedate, gmt_of_local_times_around_daylight_saving_changes) {
  scoped_env tz("TZ", "Europe/London");
  const std::tuple<const char*, double, double> rows[] = {
      {"skipped hour: the offset before", at(2024, 3, 31, 1, 30), at(2024, 3, 31, 1, 30)},
      {"first summer hour", at(2024, 3, 31, 2, 30), at(2024, 3, 31, 1, 30)},
      {"summer time moves the date back", at(2024, 7, 1, 0, 30), at(2024, 6, 30, 23, 30)},
      {"repeated hour: its first occurrence", at(2024, 10, 27, 1, 30), at(2024, 10, 27, 0, 30)},
      {"after the repeated hour", at(2024, 10, 27, 2, 30), at(2024, 10, 27, 2, 30)},
  };
  for (const auto& [what, local, gmt] : rows) {
    SCOPED_TRACE(what);
    EXPECT_EQ(timedate(local).gmt_value(), gmt);
  }
  // Both GMT instants of the repeated hour read 01:30 on the local clock.
  EXPECT_EQ(timedate::from_gmt(at(2024, 10, 27, 0, 30)).value(), at(2024, 10, 27, 1, 30));
  EXPECT_EQ(timedate::from_gmt(at(2024, 10, 27, 1, 30)).value(), at(2024, 10, 27, 1, 30));
  EXPECT_EQ(timedate::from_gmt(at(2024, 3, 31, 1, 0)).value(), at(2024, 3, 31, 2, 0));
}

TEST(timedate, set_nearest_takes_a_gmt_time_of_day_on_the_nearest_day) {
  const std::tuple<const char*, const char*, double, unsigned, unsigned, double, double> rows[] = {
      {"just after midnight is tomorrow", "UTC", at(2024, 5, 10, 23, 50), 0, 5, 2.25,
       at(2024, 5, 11, 0, 5, 2.25)},
      {"just before midnight is yesterday", "UTC", at(2024, 5, 10, 0, 10), 23, 55, 0,
       at(2024, 5, 9, 23, 55)},
      {"twelve hours apart keeps the day", "UTC", at(2024, 5, 10, 12), 0, 30, 0,
       at(2024, 5, 10, 0, 30)},
      {"thirteen hours ahead is the day before", "UTC", at(2024, 5, 10, 10), 23, 0, 0,
       at(2024, 5, 9, 23, 0)},
      {"summer time: the GMT day is the day before", "Europe/London", at(2024, 7, 1, 0, 30), 23, 45,
       0, at(2024, 7, 1, 0, 45)},
      {"last summer-time second", "Europe/London", at(2024, 10, 27, 3), 0, 59, 30,
       at(2024, 10, 27, 1, 59, 30)},
      {"first winter-time second", "Europe/London", at(2024, 10, 27, 3), 1, 0, 0,
       at(2024, 10, 27, 1, 0)},
      {"NaN seconds change nothing", "UTC", at(2024, 5, 10, 12), 1, 2,
       std::numeric_limits<double>::quiet_NaN(), at(2024, 5, 10, 12)},
  };
  for (const auto& [what, zone, local, hour, minute, seconds, expected] : rows) {
    SCOPED_TRACE(what);
    scoped_env tz("TZ", zone);
    timedate t(local);
    t.set_nearest(hour, minute, seconds);
    EXPECT_EQ(t.value(), expected);
  }
}

}  // namespace
}  // namespace kyo::test
