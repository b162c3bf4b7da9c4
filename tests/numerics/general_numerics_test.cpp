// The library's time server: its single entry "KYO Time", descriptions of other indexes, the
// present time under a standing wall clock and under artificial time, and the numeric the
// factory makes for it.
#include <kyo/numerics/general_numerics.h>
#include <kyo/numerics/make_numeric.h>
#include <kyo/numerics/timedate_nmrc.h>
#include <kyo/time/time_manager.h>
#include <kyo/time/timedate.h>

#include <gtest/gtest.h>

#include <memory>
#include <tuple>

#include "support/fake_clock.h"

namespace kyo::test {
namespace {

struct general_numerics_test : ::testing::Test {
  general_numerics_test() { time_manager::reset(); }
  ~general_numerics_test() override { time_manager::reset(); }
  general_numerics server{nullptr, "General", false, 1000, true};
};

auto described(const numeric_server& s, int index) {
  nmrc_info info{7, 7, 7};
  s.describe(index, info);
  return std::tuple(info.type, info.width, info.precision, s.entry_name(index));
}

TEST_F(general_numerics_test, publishes_one_entry_named_kyo_time) {
  EXPECT_EQ(server.entry_count(), 1);
  EXPECT_EQ(described(server, 1), std::tuple(0x1001, -1, 0, std::string("KYO Time")));
  for (int other : {0, 2, -1}) {
    SCOPED_TRACE(other);
    EXPECT_EQ(described(server, other), std::tuple(0, 0, 0, std::string()));
    double untouched = 42;
    EXPECT_EQ(server.get_value(other, 0, &untouched), 0);
    EXPECT_EQ(untouched, 42);
    std::unique_ptr<numeric> n(make_numeric(server, other));
    std::string out = "keep";
    EXPECT_EQ(n->as_string(0, out, true), numeric_status::no_data);
    EXPECT_EQ(out, "keep");
  }
  EXPECT_EQ(server.entry_index("KYO Time"), 1);
  for (const char* other : {"kyo time", "KYO Time ", ""}) {
    EXPECT_EQ(server.entry_index(other), 0) << other;
  }
}

TEST_F(general_numerics_test, reports_the_present_whatever_the_tick) {
  fake_wall_clock clock(fake_wall_clock::utc(2024, 3, 5, 14, 7, 9, 250));
  double first = 0, second = 0;
  EXPECT_EQ(server.get_value(1, 5, &first) + server.get_value(1, 999999, &second), 2);
  EXPECT_DOUBLE_EQ(first, 3887100429.25);  // 2024-03-05 14:07:09.25 counted from 1901
  EXPECT_EQ(second, first);

  time_manager::use_artificial_time(true, 3000000000.5, 777);
  clock.advance(std::chrono::hours(5));
  EXPECT_EQ(server.get_value(1, 1, &first) + server.get_value(1, 2, &second), 2);
  EXPECT_EQ(first, 3000000000.5);
  EXPECT_EQ(second, 3000000000.5);
}

TEST_F(general_numerics_test, its_numeric_shows_the_time_69_years_late) {
  time_manager::use_artificial_time(true, 3887100429.0, 1);  // 2024-03-05 14:07:09
  std::unique_ptr<numeric> n(make_numeric(server, 1));
  auto* td = dynamic_cast<timedate_nmrc*>(n.get());
  ASSERT_NE(td, nullptr) << "the byte above the type id does not disturb the factory";
  EXPECT_EQ(std::pair(td->get_flags(), td->get_decimals()), std::pair(5, 0));
  std::string out;
  EXPECT_EQ(n->as_string(0, out, true), numeric_status::fresh);
  EXPECT_EQ(out, "5 Mar 2093 14:07:09");
  EXPECT_EQ(n->get_path(true), ".KYO Time") << "a root's path is empty";
}

}  // namespace
}  // namespace kyo::test
