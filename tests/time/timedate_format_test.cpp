#include <kyo/time/timedate.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "support/scoped_env.h"
#include "time/time_values.h"

namespace {

using kyo::timedate;
using kyo::test::scoped_env;
using kyo::test::seconds_1901;

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

TEST(timedate_format, fields) {
  // Saturday 21 November 2026, 325th day of the year.
  const double t = seconds_1901(2026, 11, 21, 15, 4, 5.25);
  const row rows[] = {
      {"report stamp", t, "%d-%1N-%Y %02H:%02M:%02S", "21-Nov-2026 15:04:05"},
      {"log stamp", t, "%d %1N %Y %02H:%02M", "21 Nov 2026 15:04"},
      {"file name prefix", seconds_1901(2024, 2, 14, 9, 5), "%03D-%02H%02M.", "045-0905."},
      {"year, two digits, century, month", t, "%Y %y %c %02m", "2026 26 20 11"},
      {"day of year", t, "%D", "325"},
      {"seconds with decimals", t, "%06.3S", "05.250"},
      {"integer seconds round to the whole second", seconds_1901(2026, 11, 21, 15, 4, 5.5), "%S",
       "6"},
      {"twelve-hour clock", t, "%02h%a", "03pm"},
      {"noon prints 0", seconds_1901(2026, 11, 21, 12, 30), "%h:%02M %a", "0:30 pm"},
      {"half past midnight", seconds_1901(2026, 11, 21, 0, 30), "%h:%02M %a", "0:30 am"},
      {"names", t, "%N %1N %2N %3N", "November Nov NOVEMBER NOV"},
      {"day names", t, "%n %1n %2n %3n %0n", "Saturday Sat SATURDAY SAT Saturday"},
      {"other letters print their conversion of 0", t, "[%5x|%.2q|%-3Z]", "[    0|0.00|0  ]"},
      {"percent and plain text", t, "100%% at %Hh", "100% at 15h"},
      {"floating conversion of a whole field", t, "%4.1Y", "2026.0"},
      {"before 1901", -1, "%d-%1N-%Y %02H:%02M:%02S", "31-Dec-1900 23:59:59"},
      {"rounding up to 1901", -0.3, "%d-%1N-%Y %02H:%02M:%02S", "1-Jan-1901 00:00:00"},
      {"far after 2038", seconds_1901(2100, 3, 1, 6), "%d-%1N-%Y %D %n", "1-Mar-2100 60 Monday"},
      {"year 9999", seconds_1901(9999, 12, 31, 23, 59, 59), "%d %1N %Y %02H:%02M:%02S %n",
       "31 Dec 9999 23:59:59 Friday"},
      {"day of year in a leap year", seconds_1901(2024, 12, 31), "%D", "366"},
      {"day of year in a common year", seconds_1901(2023, 12, 31), "%D", "365"},
  };
  check_rows(rows);
}

TEST(timedate_format, rounds_once_before_splitting) {
  const row rows[] = {
      {"seconds carry into minutes and hours", seconds_1901(2024, 5, 10, 10, 59, 59.7),
       "%02H:%02M:%02S", "11:00:00"},
      {"into the next day", seconds_1901(2024, 5, 10, 23, 59, 59.7), "%d %02H:%02M:%02S",
       "11 00:00:00"},
      {"into the next month and year", seconds_1901(2026, 12, 31, 23, 59, 59.7),
       "%d-%1N-%Y %02H:%02M:%02S", "1-Jan-2027 00:00:00"},
      {"milliseconds carry", seconds_1901(2024, 5, 10, 10, 59, 59.9996), "%02H:%02M:%06.3S",
       "11:00:00.000"},
      {"minutes round half away", seconds_1901(2024, 5, 10, 10, 59, 30), "%02H:%02M", "11:00"},
      {"minutes below half stay", seconds_1901(2024, 5, 10, 10, 59, 29.9), "%02H:%02M", "10:59"},
      {"tenths of an hour round down", seconds_1901(2024, 5, 10, 10, 56, 59), "%.1H", "10.0"},
      {"tenths of an hour round half up", seconds_1901(2024, 5, 10, 10, 57), "%.1H", "11.0"},
      {"tenths of an hour into the next day", seconds_1901(2024, 5, 10, 23, 57), "%d %.1H",
       "11 0.0"},
      {"a finer directive overrules tenths of an hour", seconds_1901(2024, 5, 10, 10, 57),
       "%.1H %02M", "10.0 57"},
      {"hour alone rounds half past up", seconds_1901(2024, 5, 10, 12, 30), "%h %a", "1 pm"},
      {"the finest directive decides wherever it stands", seconds_1901(2024, 5, 10, 10, 59, 59.7),
       "%02S %02H", "00 11"},
      {"the first among equals decides", seconds_1901(2024, 5, 10, 10, 0, 59.96), "%04.1S %05.2S",
       "00.0 00.00"},
      {"no time directive, no rounding", seconds_1901(2026, 12, 31, 23, 59, 59.7), "%d %Y",
       "31 2026"},
  };
  check_rows(rows);
}

TEST(timedate_format, ordinal_suffixes) {
  const char* const expected[] = {"1st",  "2nd",  "3rd",  "4th",  "5th",  "6th",  "7th",  "8th",
                                  "9th",  "10th", "11th", "12th", "13th", "14th", "15th", "16th",
                                  "17th", "18th", "19th", "20th", "21st", "22nd", "23rd", "24th",
                                  "25th", "26th", "27th", "28th", "29th", "30th", "31st"};
  for (unsigned day = 1; day <= 31; ++day) {
    SCOPED_TRACE(day);
    EXPECT_EQ(timedate(seconds_1901(2024, 1, day, 12)).as_string("%d%s"), expected[day - 1]);
  }
}

TEST(timedate_format, week_day_digits) {
  const double monday = seconds_1901(2026, 11, 23, 12);
  const double saturday = seconds_1901(2026, 11, 28, 12);
  const double sunday = seconds_1901(2026, 11, 29, 12);
  const row rows[] = {
      {"Monday first, from 1", monday, "%w", "1"},
      {"Sunday is 7", sunday, "%w", "7"},
      {"bit 0: Monday first, from 0", monday, "%1w", "0"},
      {"bit 0: Sunday is 6", sunday, "%1w", "6"},
      {"bit 1: Sunday first, from 1", sunday, "%2w", "1"},
      {"bit 1: Saturday is 7", saturday, "%2w", "7"},
      {"bits 0 and 1: Sunday is 0", sunday, "%3w", "0"},
      {"bits 0 and 1: Monday is 1", monday, "%3w", "1"},
      {"no bits set", sunday, "%0w", "7"},
  };
  check_rows(rows);
}

// London, 27 October 2024: summer time ended at 01:00 UTC.
TEST(timedate_format, gmt_and_local_fields) {
  scoped_env tz("TZ", "Europe/London");
  const row rows[] = {
      {"GMT hour and minute", seconds_1901(2024, 7, 1, 14, 20), "%02H:%02M %G%02H:%02M",
       "14:20 13:20"},
      {"GMT date, names and suffix", seconds_1901(2024, 7, 1, 0, 30), "%G%d%s %1N %n %02H:%02M %a",
       "30th Jun Sunday 23:30 pm"},
      {"back to local", seconds_1901(2024, 7, 1, 0, 30), "%G%d %L%d", "30 1"},
      {"repeated hour is read as summer time", seconds_1901(2024, 10, 27, 1, 30),
       "%02H:%02M %G%02H:%02M", "01:30 00:30"},
      {"winter time is GMT", seconds_1901(2024, 12, 1, 9, 15), "%G%02H:%02M", "09:15"},
      {"rounding reaches the GMT fields", seconds_1901(2024, 7, 1, 0, 59, 59.7),
       "%G%d %02H:%02M:%02S", "1 00:00:00"},
  };
  check_rows(rows);
}

TEST(timedate_format, hostile_formats_are_harmless) {
  const double t = seconds_1901(2026, 11, 21, 15, 4, 5);
  const row rows[] = {
      {"more than five characters before the letter", t, "%123456H|%00012H",
       "%123456H|000000000015"},
      {"percent at the end", t, "at %", "at %"},
      {"percent and digits at the end", t, "%02H %05", "15 %05"},
      {"a star width", t, "%*d", "%*d"},
      {"two points", t, "%1.2.3H", "%1.2.3H"},
      {"a width above the cap", t, "%999d", "%999d"},
      {"a precision above the cap", t, "%.999S", "%.999S"},
      {"a stray percent inside", t, "%5%d", "%5%d"},
      {"a byte above 0x7F inside", t, "%\xB0H", "%\xB0H"},
  };
  check_rows(rows);
  EXPECT_EQ(timedate(t).as_string(static_cast<const char*>(nullptr)), "");
  // Conversions longer than the buffer are cut with it.
  EXPECT_EQ(timedate(t).as_string("%.500S"), "5." + std::string(timedate::max_text - 2, '0'));
  EXPECT_EQ(timedate(t).as_string("%500d"), std::string(timedate::max_text, ' '));
  std::string many;
  std::string expected;
  for (int i = 0; i < 300; ++i) {
    many += "%Y";
    expected += "2026";
  }
  expected.resize(timedate::max_text);
  EXPECT_EQ(timedate(t).as_string(many), expected);
  EXPECT_EQ(timedate(t).as_string(std::string(79, 'x')), std::string(79, 'x'));
  EXPECT_EQ(timedate(t).as_string(std::string(80, 'x')), std::string(79, 'x'));
}

TEST(timedate_format, values_without_a_calendar) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(timedate(nan).as_string("%d-%1N-%Y %02H:%02M:%06.3S"), "1-Jan-1901 00:00:00.000");
  EXPECT_EQ(timedate(inf).as_string("%Y"), timedate(timedate::max_seconds).as_string("%Y"));
  EXPECT_EQ(timedate(-inf).time_str(3), timedate(-timedate::max_seconds).time_str(3));
}

// Random formats from the characters directives are made of, on ordinary and extreme values:
// every text stays within the buffer, and text without directives is copied.
TEST(timedate_format, random_formats_stay_bounded) {
  static constexpr char alphabet[] = "%%%%YycmdDHhMSaNnswGLxq0123456789.-+ #*$'\xB0:/";
  const double values[] = {0,
                           -1.5,
                           seconds_1901(2026, 12, 31, 23, 59, 59.9996),
                           timedate::max_seconds,
                           -timedate::max_seconds,
                           1e300,
                           std::numeric_limits<double>::quiet_NaN(),
                           std::numeric_limits<double>::denorm_min()};
  std::mt19937 random(20261121);
  std::uniform_int_distribution<std::size_t> pick(0, sizeof alphabet - 2);
  std::uniform_int_distribution<int> length(0, 120);
  for (int round = 0; round < 20000; ++round) {
    std::string format;
    for (int n = length(random); n > 0; --n)
      format += alphabet[pick(random)];
    const double value = values[static_cast<std::size_t>(round) % std::size(values)];
    const std::string text = timedate(value).as_string(format);
    ASSERT_LE(text.size(), timedate::max_text) << format;
    if (format.find('%') == std::string::npos) {
      ASSERT_EQ(text, format.substr(0, timedate::max_text));
    }
  }
}

}  // namespace
