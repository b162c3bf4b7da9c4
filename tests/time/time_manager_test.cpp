#include <kyo/time/time_manager.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>

#include "support/fake_clock.h"
#include "support/scoped_env.h"
#include "time/time_values.h"

namespace kyo::test {
namespace {

// Every test starts from a fresh manager on injected clocks: 1 March 2024 12:00:00 UTC, tick
// 5000, in a zone far from UTC, which must make no difference to ticks and timedates.
class time_manager_test : public testing::Test {
 protected:
  time_manager_test() { time_manager::reset(); }
  ~time_manager_test() override { time_manager::reset(); }

  // get_timedate counts from 1970 and get_clock_tick from 1901: every use adds the difference.
  static double time_of(clock_tick t) {
    return time_manager::get_timedate(t) + seconds_1901_to_1970;
  }
  static clock_tick tick_of(double t) { return time_manager::get_clock_tick(t); }

  scoped_env tz_{"TZ", "Pacific/Auckland"};
  fake_tick tick_{5000};
  fake_wall_clock wall_{fake_wall_clock::utc(2024, 3, 1, 12, 0, 0)};
  const double noon_ = at(2024, 3, 1, 12);
};

// The first call anchors even when the first tick is 0xFFFFFFFF, the last tick a fresh manager
// remembers; afterwards only a counter running backwards re-anchors.
TEST_F(time_manager_test, anchors_time_zero_at_the_first_call_and_when_the_counter_goes_back) {
  EXPECT_EQ(time_manager::get_timedate(5000).value(), 1709294400.0) << "Unix time";
  time_manager::set_timezero();
  tick_.set(6000);
  wall_.advance(std::chrono::seconds(30));  // the wall clock is set forward
  EXPECT_EQ(time_of(6000), noon_ + 1);
  tick_.set(100);
  EXPECT_EQ(time_of(100), noon_ + 30);
  time_manager::reset();
  tick_.set(0xFFFFFFFF);
  EXPECT_EQ(time_of(0xFFFFFFFF), noon_ + 30);
}

// Round trips to the millisecond, before and after the counter wraps past 0xFFFFFFFF.
TEST_F(time_manager_test, tick_round_trip_across_the_wrap) {
  tick_.set(0xFFFFF000);
  for (int pass = 0; pass < 2; ++pass) {
    for (const std::uint32_t t : {0u, 123456789u, 0xFFFFFFFFu}) {
      SCOPED_TRACE(testing::Message() << "pass " << pass << " tick " << t);
      EXPECT_EQ(tick_of(time_of(t)), t);
    }
    tick_.advance(0x2000);  // now 0x1000, past the wrap
    wall_.advance(std::chrono::milliseconds(0x2000));
  }
  // The same wall-clock instant keeps its time across the re-anchor.
  EXPECT_EQ(time_of(0x1000), noon_ + 0x2000 / 1000.0);
  const double zero = time_of(0);
  EXPECT_EQ(tick_of(zero - 0.001), 0xFFFFFFFFu) << "outside the period: wraps";
  EXPECT_EQ(tick_of(zero - 0.0004), 0u) << "nearest millisecond";
}

TEST_F(time_manager_test, artificial_time_holds_still) {
  EXPECT_EQ(time_manager::artificial_time() + time_manager::artificial_tick(), 0.0);
  const double replayed = at(2019, 8, 4, 6, 30, 0.5);
  time_manager::use_artificial_time(true, replayed, 777);
  tick_.advance(60000);
  wall_.advance(std::chrono::minutes(1));
  EXPECT_EQ(clock_tick::current(), 777u);
  EXPECT_EQ(timedate().set_current().value(), replayed);
  // The manager re-anchors on the artificial tick, which is below the last tick seen.
  EXPECT_EQ(time_of(777), replayed);

  time_manager::use_artificial_time(false);
  EXPECT_EQ(timedate().set_current().value(), noon_ + 60);

  time_manager::use_artificial_time(true, 0, 42);  // time 0 freezes the present
  tick_.advance(2500);
  wall_.advance(std::chrono::milliseconds(2500));
  EXPECT_EQ(clock_tick::current(), 65000u);
  EXPECT_EQ(timedate().set_current().value(), noon_ + 60);
}

}  // namespace
}  // namespace kyo::test
