#include <kyo/time/timedate.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <tuple>

#include "support/scoped_env.h"
#include "time/time_values.h"

namespace kyo::test {
namespace {

TEST(timedate, time_str_truncates_without_decimals_and_rounds_with_them) {
  const double noon_59 = at(2024, 5, 10, 12, 0, 59.996);
  const std::tuple<const char*, double, unsigned, const char*> rows[] = {
      {"no decimals truncate", noon_59, 0, "12:00:59"},
      {"two decimals carry into the minute", noon_59, 2, "12:01:00.00"},
      {"more than three give three", noon_59, 7, "12:00:59.996"},
      {"last millisecond of the day", at(2024, 5, 10, 23, 59, 59.999), 0, "23:59:59"},
      {"a carry past midnight wraps", at(2024, 5, 10, 23, 59, 59.96), 1, "00:00:00.0"},
      {"before 1901 counts back from midnight", -0.5, 0, "23:59:59"},
  };
  for (const auto& [what, value, decimals, expected] : rows) {
    SCOPED_TRACE(what);
    EXPECT_EQ(timedate(value).time_str(decimals), expected);
  }
}

TEST(timedate, date_texts) {
  const int saved = timedate::short_format;
  std::string orders;
  for (int order : {0, 1, 2, 7}) {
    timedate::short_format = order;
    orders += timedate(at(2004, 3, 5, 18, 30)).short_date_str() + " ";
  }
  timedate::short_format = 1;
  EXPECT_EQ(orders + timedate(at(1899, 7, 4)).short_date_str(),
            "03/05/04 05/03/04 04/03/05 05/03/04 04/07/99");
  scoped_env locale("LC_ALL", "C");
  timedate::short_format = 2;
  timedate::setting_change();
  EXPECT_EQ(timedate::short_format, 0) << "the C locale writes month/day/year";
  timedate::short_format = saved;
  EXPECT_EQ(timedate(at(2026, 11, 21, 23, 59, 59.9)).long_date_str(), "21 Nov 2026");
  EXPECT_EQ(timedate(at(2024, 12, 31, 12)).day_of_year(), 366);
}

// Local fields of GMT instants on both sides of the date line, around midnight and around the
// daylight-saving changes of 2024: London (summer time from 01:00 GMT on 31 March to 01:00 GMT on
// 27 October), Auckland (NZDT, +13, until 14:00 GMT on 6 April; from 14:00 GMT on 28 September)
// and Honolulu (-10, no summer time).
TEST(timedate, local_fields_follow_the_zone_in_force_at_the_instant) {
  const char* const stamp = "%d-%1N-%Y %02H:%02M:%02S %a %n|%G%d %02H:%02M";
  const std::tuple<const char*, const char*, double, const char*, const char*, const char*> rows[] =
      {
          {"London: last winter second", "Europe/London", at(2024, 3, 31, 0, 59, 59),
           "31-Mar-2024 00:59:59 am Sunday|31 00:59", "31/03/24", "00:59:59.0"},
          {"London: first summer second", "Europe/London", at(2024, 3, 31, 1),
           "31-Mar-2024 02:00:00 am Sunday|31 01:00", "31/03/24", "02:00:00.0"},
          {"London: repeated hour, first time", "Europe/London", at(2024, 10, 27, 0, 30),
           "27-Oct-2024 01:30:00 am Sunday|27 00:30", "27/10/24", "01:30:00.0"},
          {"London: repeated hour, second time", "Europe/London", at(2024, 10, 27, 1, 30),
           "27-Oct-2024 01:30:00 am Sunday|27 01:30", "27/10/24", "01:30:00.0"},
          {"Auckland: before midnight", "Pacific/Auckland", at(2024, 7, 1, 11, 59, 59.25),
           "1-Jul-2024 23:59:59 pm Monday|1 11:59", "01/07/24", "23:59:59.3"},
          {"Auckland: midnight is the next day", "Pacific/Auckland", at(2024, 7, 1, 12),
           "2-Jul-2024 00:00:00 am Tuesday|1 12:00", "02/07/24", "00:00:00.0"},
          {"Auckland: clocks back, two a second time", "Pacific/Auckland", at(2024, 4, 6, 14),
           "7-Apr-2024 02:00:00 am Sunday|6 14:00", "07/04/24", "02:00:00.0"},
          {"Auckland: clocks forward to three", "Pacific/Auckland", at(2024, 9, 28, 14),
           "29-Sep-2024 03:00:00 am Sunday|28 14:00", "29/09/24", "03:00:00.0"},
          {"Honolulu: midnight", "Pacific/Honolulu", at(2024, 7, 1, 10),
           "1-Jul-2024 00:00:00 am Monday|1 10:00", "01/07/24", "00:00:00.0"},
      };
  const int saved = timedate::short_format;
  timedate::short_format = 1;
  for (const auto& [what, zone, gmt, text, short_date, time] : rows) {
    SCOPED_TRACE(what);
    scoped_env tz("TZ", zone);
    const timedate t(gmt);
    EXPECT_EQ(t.as_string(stamp), text);
    EXPECT_EQ(t.short_date_str(), short_date);
    EXPECT_EQ(t.time_str(1), time);
    // The local clock reading leads to the instant again, but in the second pass of a repeated
    // hour, which reads like the first.
    const bool repeated = std::string_view(what).find("second time") != std::string_view::npos;
    EXPECT_EQ(timedate::from_local(t.local_value()).value(), repeated ? gmt - 3600 : gmt);
  }
  timedate::short_format = saved;
}

// A local clock reading that occurs twice is its first occurrence; one that never occurs takes
// the offset in force before the change.
TEST(timedate, local_readings_become_instants) {
  const std::tuple<const char*, const char*, double, double> rows[] = {
      {"London: skipped hour", "Europe/London", at(2024, 3, 31, 1, 30), at(2024, 3, 31, 1, 30)},
      {"London: repeated hour", "Europe/London", at(2024, 10, 27, 1, 30), at(2024, 10, 27, 0, 30)},
      {"Auckland: repeated hour", "Pacific/Auckland", at(2024, 4, 7, 2, 30),
       at(2024, 4, 6, 13, 30)},
      {"Auckland: skipped hour", "Pacific/Auckland", at(2024, 9, 29, 2, 30),
       at(2024, 9, 28, 14, 30)},
      {"Honolulu: midnight", "Pacific/Honolulu", at(2024, 7, 1), at(2024, 7, 1, 10)},
  };
  for (const auto& [what, zone, local, gmt] : rows) {
    SCOPED_TRACE(what);
    scoped_env tz("TZ", zone);
    EXPECT_EQ(timedate::from_local(local).value(), gmt);
    const date day(static_cast<std::int64_t>(local / 86400));
    const double of_day = local - static_cast<double>(day.days()) * 86400;
    const int hour = static_cast<int>(of_day / 3600), minute = static_cast<int>(of_day / 60) % 60;
    EXPECT_EQ(timedate(day, hour, minute, 0.25).value(), gmt + 0.25);
    EXPECT_EQ(timedate::from_gmt(day, hour, minute, 0.25).value(), local + 0.25);
  }
}

TEST(timedate, set_nearest_takes_a_gmt_time_of_day_on_the_nearest_day) {
  const std::tuple<const char*, double, unsigned, unsigned, double, double> rows[] = {
      {"just after midnight is tomorrow", at(2024, 5, 10, 23, 50), 0, 5, 2.25,
       at(2024, 5, 11, 0, 5, 2.25)},
      {"just before midnight is yesterday", at(2024, 5, 10, 0, 10), 23, 55, 0,
       at(2024, 5, 9, 23, 55)},
      {"twelve hours apart keeps the day", at(2024, 5, 10, 12), 0, 30, 0, at(2024, 5, 10, 0, 30)},
      {"thirteen hours ahead is the day before", at(2024, 5, 10, 10), 23, 0, 0,
       at(2024, 5, 9, 23, 0)},
      {"across the repeated hour", at(2024, 10, 27, 1, 59), 0, 59, 30, at(2024, 10, 27, 0, 59, 30)},
      {"hour 24 carries into the next day", at(2024, 5, 10, 23), 24, 0, 0, at(2024, 5, 11)},
      {"NaN seconds change nothing", at(2024, 5, 10, 12), 1, 2,
       std::numeric_limits<double>::quiet_NaN(), at(2024, 5, 10, 12)},
  };
  // The zone plays no part: a message time is GMT and so is the value.
  for (const char* zone : {"UTC", "Europe/London", "Pacific/Auckland", "Pacific/Honolulu"}) {
    scoped_env tz("TZ", zone);
    for (const auto& [what, value, hour, minute, seconds, expected] : rows) {
      SCOPED_TRACE(testing::Message() << zone << ": " << what);
      timedate t(value);
      t.set_nearest(hour, minute, seconds);
      EXPECT_EQ(t.value(), expected);
    }
  }
}

}  // namespace
}  // namespace kyo::test
