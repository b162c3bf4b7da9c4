#include <kyo/time/date.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <tuple>

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
  const int rows[][6] = {{2024, 13, 1, 2025, 1, 1},  {2024, 0, 15, 2023, 12, 15},
                         {2024, -23, 1, 2022, 1, 1}, {2024, 3, 0, 2024, 2, 29},
                         {2023, 1, 366, 2024, 1, 1}, {1900, 2, 29, 1900, 3, 1}};
  for (const auto& r : rows) {
    EXPECT_EQ(date::from_ymd(r[0], r[1], r[2]).days(), date::from_ymd(r[3], r[4], r[5]).days())
        << r[0] << "-" << r[1] << "-" << r[2];
  }
  constexpr std::int64_t huge = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(date(huge).days(), date::max_days);
  EXPECT_EQ(date(-huge).days(), -date::max_days);
  EXPECT_EQ(date::from_ymd(huge, 1, 1).days(), date::max_days);
  // The calendar still holds there: the day after the limit's eve is the limit.
  const date edge(date::max_days - 1);
  EXPECT_EQ(date::from_ymd(edge.year(), edge.month(), edge.day() + 1).days(), date::max_days);
  EXPECT_EQ(std::string(date(0).day_name()) + date(-1).terse_str() +
                date::from_ymd(800, 9, 5).terse_str(),
            "Tuesday31 Dec 19005 Sep 0800");
  EXPECT_TRUE(date::month_name(0).empty() && date::month_name(13).empty() &&
              date::day_name(8).empty() && date::days_in_month(2024, 13) == 0);
}

}  // namespace
}  // namespace kyo::test
