#include <kyo/core/angle.h>

#include <gtest/gtest.h>

#include <limits>
#include <numbers>
#include <string>
#include <tuple>
#include <type_traits>

namespace {

using kyo::rad;

constexpr double pi = std::numbers::pi;
const double nan_value = std::numeric_limits<double>::quiet_NaN();

double deg(double d) {
  return d * pi / 180;
}

// '@' stands for the degree sign (the byte 0xB0), so that a row fits on one line.
std::string with_degree_sign(std::string s) {
  for (char& c : s)
    if (c == '@') c = '\xB0';
  return s;
}

// The bearing types never convert into each other without a convergence.
static_assert(!std::is_constructible_v<kyo::grid_bearing, kyo::true_bearing>);
static_assert(!std::is_constructible_v<kyo::true_bearing, kyo::grid_bearing>);
static_assert(!std::is_assignable_v<kyo::grid_bearing&, kyo::true_bearing>);
static_assert(!std::is_convertible_v<double, kyo::grid_bearing>);

TEST(angle_format, formats_round_carry_and_refuse_safely) {
  const auto& ready = rad::format_str;
  const std::tuple<const char*, double, std::string, std::string> rows[] = {
      // The eight ready-made formats.
      {"0 between -1 and 0 keeps its minus", -0.5, ready[0], "-000@30.00000'"},
      {"3 seconds carry through minutes", 59 + 59.0 / 60 + 59.9996 / 3600, ready[3],
       "060@00'00.000\""},
      {"7 longitude west", -(3 + 12.0 / 60 + 5.5 / 3600), ready[7], "003@12'05.500\"W"},
      // One rounding of the whole angle before it is split.
      {"minutes carry into degrees", 10.99999999, "%03d@%08.5m'", "011@00.00000'"},
      {"degrees alone round, h of a positive angle", 12.7, "%03d%h", "013+"},
      {"first of equal ranks decides", 12 + 30.44 / 60, "%02m|%04.1m", "30|30.0"},
      {"seconds beyond the exact precision", 12 + 65.0 / 128, "%.12s", "28.125000000000"},
      {"rounding to zero keeps the minus", -1e-8, ready[0], "-000@00.00000'"},
      // Hemisphere letters: zero counts as north and east.
      {"h at negative zero", -0.0, "%h%1h%2h%0h", "+NE+"},
      {"h of the smallest negative", -1e-300, "%h%1h%2h%0h", "-SW-"},
      // Hostile formats give visible, safe results.
      {"precision 400 is cut at 31", 0, "%.400d", "0." + std::string(29, '0')},
      {"nan", nan_value, "%03d", "nan"},
  };
  for (const auto& [what, degrees, format, expected] : rows) {
    SCOPED_TRACE(what);
    EXPECT_EQ(rad(deg(degrees)).as_string(with_degree_sign(format).c_str()),
              with_degree_sign(expected));
  }
  EXPECT_EQ(rad(1e308).as_string("%02m"), "nan") << "degrees overflow to infinity";
}

TEST(angle, bearings_normalizing_and_differences) {
  const kyo::grid_bearing g10(deg(10)), g350(deg(350)), g(kyo::true_bearing(deg(10)), deg(12));
  const std::tuple<const char*, double, double> rows[] = {
      {"a grid bearing from a negative", kyo::grid_bearing(-1.0, 0.0).value(), 3 * pi / 2},
      {"the short way across north", g10.diff(g350), deg(20)},
      {"exactly pi stays pi", kyo::grid_bearing(pi).diff(kyo::grid_bearing(0.0)), pi},
      {"true to grid", g.value(), deg(358)},
      {"elevation over the zenith", kyo::elevation(deg(100)).normalize(), deg(80)},
      {"elevation below the nadir", kyo::elevation(deg(-100)).normalize(), deg(-80)},
      {"difference across north", rad(deg(350)).difference(deg(10)), deg(-20)},
      {"reduced keeping the sign", rad(deg(-350)).difference(deg(10)), 0},
  };
  for (const auto& [what, got, expected] : rows) {
    EXPECT_NEAR(got, expected, 1e-12) << what;
  }
  EXPECT_EQ(kyo::grid_bearing(0.0, 0.0).value(), 0);
  EXPECT_EQ(rad(pi).normalize(), -pi);
  EXPECT_EQ(kyo::grid_bearing(deg(45)).as_string("%5.1d\xB0G"), " 45.0\xB0G");
}

}  // namespace
