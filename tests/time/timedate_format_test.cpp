#include <kyo/time/timedate.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "support/scoped_env.h"
#include "time/time_values.h"

namespace kyo::test {
namespace {

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
  const double t = at(2026, 11, 21, 15, 4, 5.25);  // a Saturday
  const row rows[] = {
      {"report stamp", t, "%d-%1N-%Y %02H:%02M:%02S", "21-Nov-2026 15:04:05"},
      {"year, two digits, century, month", t, "%Y %y %c %02m", "2026 26 20 11"},
      {"noon prints 0", at(2026, 11, 21, 12, 30), "%h:%02M %a", "0:30 pm"},
      {"month names", t, "%N %1N %2N %3N", "November Nov NOVEMBER NOV"},
      {"day names", t, "%n %1n %2n %3n %0n", "Saturday Sat SATURDAY SAT Saturday"},
      {"other letters print 0", t, "[%5x|%.2q|%-3Z]", "[    0|0.00|0  ]"},
      {"before 1901", -1, "%d-%1N-%Y %02H:%02M:%02S", "31-Dec-1900 23:59:59"},
      {"rounding up to 1901", -0.3, "%d-%1N-%Y %02H:%02M:%02S", "1-Jan-1901 00:00:00"},
      {"after 2038", at(2100, 3, 1, 6), "%d-%1N-%Y %D %n", "1-Mar-2100 60 Monday"},
      {"day 366 of a leap year", at(2024, 12, 31), "%D", "366"},
  };
  check_rows(rows);
}

// The finest time directive rounds the value once before any field is taken.
TEST(timedate_format, rounds_once_before_splitting) {
  const row rows[] = {
      {"into the next day, month and year", at(2026, 12, 31, 23, 59, 59.7),
       "%d-%1N-%Y %02H:%02M:%02S", "1-Jan-2027 00:00:00"},
      {"milliseconds", at(2024, 5, 10, 10, 59, 59.9996), "%02H:%02M:%06.3S", "11:00:00.000"},
      {"tenths of an hour half up", at(2024, 5, 10, 10, 57), "%.1H", "11.0"},
      {"a finer directive overrules", at(2024, 5, 10, 10, 57), "%.1H %02M", "10.0 57"},
      {"hour alone rounds half past up", at(2024, 5, 10, 12, 30), "%h %a", "1 pm"},
      {"h is finer than H", at(2024, 5, 10, 10, 52), "%.1H %h", "11.0 11"},
      {"the finest decides wherever it stands", at(2024, 5, 10, 10, 59, 59.7), "%02S %02H",
       "00 11"},
      {"the first among equals decides", at(2024, 5, 10, 10, 0, 59.96), "%04.1S %05.2S",
       "00.0 00.00"},
      {"no time directive, no rounding", at(2026, 12, 31, 23, 59, 59.7), "%d %Y", "31 2026"},
  };
  check_rows(rows);
}

TEST(timedate_format, ordinal_suffixes_and_week_day_digits) {
  const char* const suffixes[] = {"st", "nd", "rd", "th", "th", "th", "th", "th", "th", "th", "th",
                                  "th", "th", "th", "th", "th", "th", "th", "th", "th", "st", "nd",
                                  "rd", "th", "th", "th", "th", "th", "th", "th", "st"};
  for (unsigned day = 1; day <= 31; ++day) {
    EXPECT_EQ(timedate(at(2024, 1, day, 12)).as_string("%s"), suffixes[day - 1]) << day;
  }
  const row rows[] = {
      {"Monday", at(2026, 11, 23, 12), "%w %1w %2w %3w %0w", "1 0 2 1 1"},
      {"Saturday", at(2026, 11, 28, 12), "%w %1w %2w %3w %0w", "6 5 7 6 6"},
      {"Sunday", at(2026, 11, 29, 12), "%w %1w %2w %3w %0w", "7 6 1 0 7"},
  };
  check_rows(rows);
}

// London in summer time (GMT + 1): fields are local until "%G", GMT after it, local after "%L".
TEST(timedate_format, gmt_and_local_fields) {
  scoped_env tz("TZ", "Europe/London");
  const row rows[] = {
      {"GMT hour and minute", at(2024, 7, 1, 13, 20), "%02H:%02M %G%02H:%02M", "14:20 13:20"},
      {"GMT date, names and suffix", at(2024, 6, 30, 23, 30), "%G%d%s %1N %n %02H:%02M %a",
       "30th Jun Sunday 23:30 pm"},
      {"back to local", at(2024, 6, 30, 23, 30), "%G%d %L%d", "30 1"},
      {"rounding reaches the GMT fields", at(2024, 6, 30, 23, 59, 59.7), "%G%d %02H:%02M:%02S",
       "1 00:00:00"},
  };
  check_rows(rows);
}

// Any format and value stays within the buffer (the date/time format fuzz targets); these rows
// pin what a few hostile ones print.
TEST(timedate_format, hostile_formats_and_values_are_harmless) {
  const double t = at(2026, 11, 21, 15, 4, 5);
  const row rows[] = {
      {"more than five characters before the letter", t, "%123456H|%00012H",
       "%123456H|000000000015"},
      {"a star width, two points", t, "%*d%1.2.3H", "%*d%1.2.3H"},
      {"NaN reads as 0", NAN, "%d-%1N-%Y %02H:%02M:%06.3S", "1-Jan-1901 00:00:00.000"},
  };
  check_rows(rows);
  EXPECT_EQ(timedate(t).as_string(static_cast<const char*>(nullptr)), "");
  // Conversions and texts longer than the buffer are cut with it.
  EXPECT_EQ(timedate(t).as_string("%.500S"), "5." + std::string(timedate::max_text - 2, '0'));
  EXPECT_EQ(timedate(t).as_string(std::string(80, 'x')), std::string(79, 'x'));
  EXPECT_EQ(timedate(HUGE_VAL).as_string("%Y"), timedate(timedate::max_seconds).as_string("%Y"));
}

}  // namespace
}  // namespace kyo::test
