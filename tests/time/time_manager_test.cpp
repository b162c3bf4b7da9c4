#include <kyo/time/time_manager.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>

#include "support/fake_clock.h"
#include "time/time_values.h"

namespace {

using kyo::clock_tick;
using kyo::seconds_1901_to_1970;
using kyo::time_manager;
using kyo::timedate;
using kyo::test::fake_tick;
using kyo::test::fake_wall_clock;
using kyo::test::seconds_1901;
using std::chrono::milliseconds;

// Every test starts from a fresh manager on injected clocks: 1 March 2024 12:00:00 UTC, tick
// 5000.
class time_manager_test : public testing::Test {
 protected:
  time_manager_test() { time_manager::reset(); }
  ~time_manager_test() override { time_manager::reset(); }

  fake_tick tick_{5000};
  fake_wall_clock wall_{fake_wall_clock::utc(2024, 3, 1, 12, 0, 0)};
  const double noon_ = seconds_1901(2024, 3, 1, 12);
};

TEST(clock_tick, differences_are_unsigned_across_the_wrap) {
  const clock_tick before_wrap = 0xFFFFFFFBu;
  const clock_tick after_wrap = 5;
  EXPECT_EQ(after_wrap.ms_since(before_wrap), 10u);
  EXPECT_EQ(after_wrap - before_wrap, 10u);
  EXPECT_EQ(before_wrap.signed_ms_since(after_wrap), -10);
  EXPECT_GT(before_wrap, after_wrap);  // compared as unsigned, not by age
}

TEST_F(time_manager_test, first_conversion_anchors_time_zero) {
  EXPECT_EQ(time_manager::get_timedate(5000) + seconds_1901_to_1970, noon_);
  EXPECT_EQ(time_manager::get_timedate(0) + seconds_1901_to_1970, noon_ - 5);
}

TEST_F(time_manager_test, a_first_tick_of_all_ones_still_anchors) {
  tick_.set(0xFFFFFFFF);
  EXPECT_EQ(time_manager::get_timedate(0xFFFFFFFF) + seconds_1901_to_1970, noon_);
}

TEST_F(time_manager_test, conversions_do_not_follow_the_wall_clock_between_wraps) {
  time_manager::set_timezero();
  tick_.advance(1000);
  wall_.advance(std::chrono::seconds(30));  // the wall clock is set forward
  EXPECT_EQ(time_manager::get_timedate(6000) + seconds_1901_to_1970, noon_ + 1);
}

TEST_F(time_manager_test, counter_running_backwards_re_anchors) {
  time_manager::set_timezero();
  tick_.set(100);
  wall_.advance(std::chrono::seconds(30));
  EXPECT_EQ(time_manager::get_timedate(100) + seconds_1901_to_1970, noon_ + 30);
}

// Round trips to the millisecond, before and after the counter wraps past 0xFFFFFFFF.
TEST_F(time_manager_test, tick_round_trip_across_the_wrap) {
  tick_.set(0xFFFFF000);
  const std::uint32_t ticks[] = {0,          1,          5000,       123456789,
                                 0x7FFFFFFF, 0xFFFFF000, 0xFFFFFFFE, 0xFFFFFFFF};
  for (const std::uint32_t t : ticks) {
    SCOPED_TRACE(t);
    EXPECT_EQ(time_manager::get_clock_tick(time_manager::get_timedate(t) + seconds_1901_to_1970),
              t);
  }
  tick_.advance(0x2000);  // now 0x1000, past the wrap
  wall_.advance(milliseconds(0x2000));
  for (const std::uint32_t t : ticks) {
    SCOPED_TRACE(t);
    EXPECT_EQ(time_manager::get_clock_tick(time_manager::get_timedate(t) + seconds_1901_to_1970),
              t);
  }
  // The same wall-clock instant keeps its time across the re-anchor.
  EXPECT_EQ(time_manager::get_timedate(0x1000) + seconds_1901_to_1970, noon_ + 0x2000 / 1000.0);
}

TEST_F(time_manager_test, times_outside_the_period_wrap_and_nan_gives_zero) {
  const double zero = time_manager::get_timedate(0) + seconds_1901_to_1970;
  EXPECT_EQ(time_manager::get_clock_tick(zero - 0.001), 0xFFFFFFFFu);
  EXPECT_EQ(time_manager::get_clock_tick(zero + 4294967.296), 0u);
  EXPECT_EQ(time_manager::get_clock_tick(zero - 0.0004), 0u);  // nearest millisecond
  EXPECT_EQ(time_manager::get_clock_tick(std::numeric_limits<double>::quiet_NaN()), 0u);
  EXPECT_EQ(time_manager::get_clock_tick(std::numeric_limits<double>::infinity()), 0u);
}

TEST_F(time_manager_test, artificial_time_holds_still) {
  const double replayed = seconds_1901(2019, 8, 4, 6, 30, 0.5);
  time_manager::use_artificial_time(true, replayed, 777);
  tick_.advance(60000);
  wall_.advance(std::chrono::minutes(1));
  EXPECT_EQ(clock_tick::current(), 777u);
  EXPECT_EQ(timedate().set_current().value(), replayed);
  // The manager re-anchors on the artificial tick, which is below the last tick seen.
  EXPECT_EQ(time_manager::get_timedate(777) + seconds_1901_to_1970, replayed);

  time_manager::use_artificial_time(false);
  EXPECT_EQ(clock_tick::current(), 65000u);
  EXPECT_EQ(timedate().set_current().value(), noon_ + 60);
  EXPECT_EQ(time_manager::artificial_time(), replayed);
  EXPECT_EQ(time_manager::artificial_tick(), 777u);
}

TEST_F(time_manager_test, artificial_time_zero_freezes_the_present) {
  time_manager::use_artificial_time(true, 0, 42);
  tick_.advance(2500);
  wall_.advance(milliseconds(2500));
  EXPECT_EQ(clock_tick::current(), 5000u);
  EXPECT_EQ(timedate().set_current().value(), noon_);
}

}  // namespace
