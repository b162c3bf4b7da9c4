#include <kyo/time/timedate.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <tuple>

#include "support/scoped_env.h"
#include "time/time_values.h"

namespace kyo::test {
namespace {

namespace chr = std::chrono;

// Every day from 1600 to 2500 and every 97th day from year -2000 to 9999, against the standard
// library's civil calendar: fields, week day, day of year, the way back from the fields and the
// month's length.
TEST(date, agrees_with_the_civil_calendar) {
  const chr::sys_days day_zero = chr::year{1901} / 1 / 1;
  auto count = [&](int year) {
    return (chr::sys_days(chr::year{year} / 1 / 1) - day_zero).count();
  };
  for (std::int64_t n = count(-2000); n <= count(10000);
       n += n >= count(1600) && n < count(2500) ? 1 : 97) {
    const chr::sys_days sd = day_zero + chr::days{n};
    const chr::year_month_day ymd{sd};
    const date d(n);
    const auto got = std::tuple(d.year(), d.month(), d.day(), d.day_of_week(), d.day_of_year(),
                                date::from_ymd(d.year(), d.month(), d.day()).days(),
                                date::days_in_month(d.year(), d.month()));
    const auto want = std::tuple(std::int64_t{int(ymd.year())}, int(unsigned(ymd.month())),
                                 int(unsigned(ymd.day())), int(chr::weekday{sd}.iso_encoding()),
                                 int((sd - chr::sys_days(ymd.year() / 1 / 1)).count() + 1), n,
                                 int(unsigned((ymd.year() / ymd.month() / chr::last).day())));
    ASSERT_EQ(got, want) << "day " << n;
  }
}

TEST(date, fields_carry_over_far_days_are_clamped_and_names_are_english) {
  // year, month, day, then the date they make
  const int rows[][6] = {{2024, 0, 15, 2023, 12, 15}, {2024, 3, 0, 2024, 2, 29}};
  for (const auto& r : rows) {
    EXPECT_EQ(date::from_ymd(r[0], r[1], r[2]).days(), date::from_ymd(r[3], r[4], r[5]).days())
        << r[0] << "-" << r[1] << "-" << r[2];
  }
  EXPECT_EQ(date(std::numeric_limits<std::int64_t>::min()).days(), -date::max_days);
  EXPECT_EQ(std::string(date(0).day_name()) + date(-1).terse_str(), "Tuesday31 Dec 1900");
  EXPECT_TRUE(date::month_name(0).empty() && date::month_name(13).empty());
}

struct row {
  const char* what;
  double value;
  const char* format;
  const char* expected;
};

template <std::size_t n>
void check_rows(const row (&rows)[n]) {
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    EXPECT_EQ(timedate(r.value).as_string(r.format), r.expected);
  }
}

// London is on GMT in winter and on summer time (GMT + 1) in June: fields are local until "%G",
// GMT after it, local after "%L". The finest time directive rounds the value once before any
// field is taken. Hostile formats are the date/time format fuzz targets'.
TEST(timedate_format, fields) {
  scoped_env tz("TZ", "Europe/London");
  const double t = at(2026, 11, 21, 15, 4, 5.25);  // a Saturday
  const row rows[] = {
      {"report stamp", t, "%d-%1N-%Y %02H:%02M:%02S", "21-Nov-2026 15:04:05"},
      {"noon prints 0", at(2026, 11, 21, 12, 30), "%h:%02M %a", "0:30 pm"},
      {"month names", t, "%N %1N %2N %3N", "November Nov NOVEMBER NOV"},
      {"day names", t, "%n %1n %2n %3n %0n", "Saturday Sat SATURDAY SAT Saturday"},
      {"week day digits", at(2026, 11, 29, 12), "%w %1w %2w %3w %0w", "7 6 1 0 7"},
      {"before 1901", -1, "%d-%1N-%Y %02H:%02M:%02S", "31-Dec-1900 23:59:59"},
      {"after 2038", at(2100, 3, 1, 6), "%d-%1N-%Y %D %n", "1-Mar-2100 60 Monday"},
      {"day 366 of a leap year", at(2024, 12, 31), "%D", "366"},
      {"NaN reads as 0", NAN, "%d-%1N-%Y %02H:%02M:%06.3S", "1-Jan-1901 00:00:00.000"},
      {"GMT date, names and suffix", at(2024, 6, 30, 23, 30), "%G%d%s %1N %n %02H:%02M %a %L%d",
       "30th Jun Sunday 23:30 pm 1"},
      {"rounding reaches the GMT fields", at(2024, 6, 30, 23, 59, 59.7), "%G%d %02H:%02M:%02S",
       "1 00:00:00"},
      {"into the next day, month and year", at(2026, 12, 31, 23, 59, 59.7),
       "%d-%1N-%Y %02H:%02M:%02S", "1-Jan-2027 00:00:00"},
      {"milliseconds", at(2024, 11, 10, 10, 59, 59.9996), "%02H:%02M:%06.3S", "11:00:00.000"},
      {"a finer directive overrules", at(2024, 11, 10, 10, 57), "%.1H %02M", "10.0 57"},
      {"h is finer than H", at(2024, 11, 10, 10, 52), "%.1H %h", "11.0 11"},
      {"the first among equals decides", at(2024, 11, 10, 10, 0, 59.96), "%04.1S %05.2S",
       "00.0 00.00"},
  };
  check_rows(rows);
  std::string suffixes;
  for (unsigned day : {1, 2, 3, 4, 11, 12, 13, 21, 22, 23, 31})
    suffixes += timedate(at(2024, 1, day, 12)).as_string("%d%s ");
  EXPECT_EQ(suffixes, "1st 2nd 3rd 4th 11th 12th 13th 21st 22nd 23rd 31st ");
}

TEST(timedate, time_and_date_texts) {
  const double noon_59 = at(2024, 5, 10, 12, 0, 59.996);
  EXPECT_EQ(timedate(noon_59).time_str(0) + " " + timedate(noon_59).time_str(2) + " " +
                timedate(noon_59).time_str(7) + " " +
                timedate(at(2024, 5, 10, 23, 59, 59.96)).time_str(1) + " " +
                timedate(-0.5).time_str(0),
            "12:00:59 12:01:00.00 12:00:59.996 00:00:00.0 23:59:59");
  const int saved = timedate::short_format;
  std::string orders;
  for (int order : {0, 1, 2, 7}) {
    timedate::short_format = order;
    orders += timedate(at(2004, 3, 5, 18, 30)).short_date_str() + " ";
  }
  EXPECT_EQ(orders + timedate(at(1899, 7, 4)).short_date_str(),
            "03/05/04 05/03/04 04/03/05 05/03/04 04/07/99");
  scoped_env locale("LC_ALL", "C");
  timedate::setting_change();
  EXPECT_EQ(timedate::short_format, 0) << "the C locale writes month/day/year";
  timedate::short_format = saved;
  EXPECT_EQ(timedate(at(2026, 11, 21, 23, 59, 59.9)).long_date_str(), "21 Nov 2026");
}

// Local fields of GMT instants on both sides of the date line, around midnight and around the
// daylight-saving changes of 2024: London (summer time from 01:00 GMT on 31 March to 01:00 GMT on
// 27 October), Auckland (NZDT, +13, until 14:00 GMT on 6 April; from 14:00 GMT on 28 September)
// and Honolulu (-10, no summer time). The local clock reading leads to the instant again, but in
// the second pass of a repeated hour, which reads like the first.
TEST(timedate, local_fields_follow_the_zone_in_force_at_the_instant) {
  const char* const stamp = "%d-%1N-%Y %02H:%02M:%02S %a %n|%G%d %02H:%02M";
  const std::tuple<const char*, const char*, double, const char*, double> rows[] = {
      {"London: first summer second", "Europe/London", at(2024, 3, 31, 1),
       "31-Mar-2024 02:00:00 am Sunday|31 01:00", 0},
      {"London: repeated hour, second time", "Europe/London", at(2024, 10, 27, 1, 30),
       "27-Oct-2024 01:30:00 am Sunday|27 01:30", -3600},
      {"Auckland: midnight is the next day", "Pacific/Auckland", at(2024, 7, 1, 12),
       "2-Jul-2024 00:00:00 am Tuesday|1 12:00", 0},
      {"Auckland: clocks back, two a second time", "Pacific/Auckland", at(2024, 4, 6, 14),
       "7-Apr-2024 02:00:00 am Sunday|6 14:00", -3600},
      {"Honolulu: midnight", "Pacific/Honolulu", at(2024, 7, 1, 10),
       "1-Jul-2024 00:00:00 am Monday|1 10:00", 0},
  };
  for (const auto& [what, zone, gmt, text, back] : rows) {
    SCOPED_TRACE(what);
    scoped_env tz("TZ", zone);
    const timedate t(gmt);
    EXPECT_EQ(t.as_string(stamp), text);
    EXPECT_EQ(timedate::from_local(t.local_value()).value(), gmt + back);
  }
}

// The zone plays no part: a message time is GMT and so is the value.
TEST(timedate, set_nearest_takes_a_gmt_time_of_day_on_the_nearest_day) {
  const std::tuple<const char*, double, unsigned, unsigned, double, double> rows[] = {
      {"just after midnight is tomorrow", at(2024, 5, 10, 23, 50), 0, 5, 2.25,
       at(2024, 5, 11, 0, 5, 2.25)},
      {"just before midnight is yesterday", at(2024, 5, 10, 0, 10), 23, 55, 0,
       at(2024, 5, 9, 23, 55)},
  };
  scoped_env tz("TZ", "Pacific/Auckland");
  for (const auto& [what, value, hour, minute, seconds, expected] : rows) {
    SCOPED_TRACE(what);
    timedate t(value);
    t.set_nearest(hour, minute, seconds);
    EXPECT_EQ(t.value(), expected);
  }
}

}  // namespace
}  // namespace kyo::test
