#include <kyo/core/numbers.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

const double nan_value = std::numeric_limits<double>::quiet_NaN();
const double inf_value = std::numeric_limits<double>::infinity();

TEST(numbers, modulo_round_and_sgn) {
  EXPECT_EQ(kyo::modulo(-1, 360), 359);
  EXPECT_EQ(kyo::modulo(360, 360), 0);
  EXPECT_EQ(kyo::modulo(725, 360), 5);
  EXPECT_EQ(kyo::modulo(-1e-20, 360), 0) << "a remainder that rounds up to b";
  EXPECT_TRUE(std::isnan(kyo::modulo(nan_value, 360)));

  EXPECT_EQ(kyo::round(-2.5, 1), -3);
  EXPECT_EQ(kyo::round(2.5, 1), 3);
  EXPECT_DOUBLE_EQ(kyo::round(2.345, 100), 2.35);
  EXPECT_DOUBLE_EQ(kyo::round(-2.345, 100), -2.35);
  EXPECT_EQ(kyo::round(2.5), 3) << "one argument is std::round";

  EXPECT_EQ(kyo::sgn(-3), -1);
  EXPECT_EQ(kyo::sgn(3), 1);
  EXPECT_EQ(kyo::sgn(-0.0), 0);
  EXPECT_EQ(kyo::sgn(nan_value), -1);
}

TEST(numbers, auto_scale_steps) {
  // x, expected: powers of ten move on, the 2-5-10 steps and the tolerance just above 2 and 5.
  const double rows[][2] = {{0, 1},
                            {0.03, 0.05},
                            {7, 10},
                            {2, 2},
                            {5, 5},
                            {2.1, 5},
                            {5.1, 10},
                            {0.001, 0.002},
                            {0.1, 0.2},
                            {1, 2},
                            {10, 20},
                            {1e6, 2e6},
                            {0.7, 1},
                            {1.9999, 2},
                            {2.0000000001, 2},
                            {5.0000000001, 5},
                            {2.000001, 5},
                            {4.99999, 5},
                            {9.99999, 10},
                            // the ends of the double range: subnormal steps, and 1e308 where the
                            // next step would overflow
                            {4.9e-324, 5e-324},
                            {1.5e-320, 2e-320},
                            {3e-310, 5e-310},
                            {2.2250738585072014e-308, 5e-308},
                            {1.5e307, 2e307},
                            {1e308, 1e308},
                            {1.7976931348623157e308, 1e308}};
  for (const auto& r : rows) {
    SCOPED_TRACE("auto_scale(" + std::to_string(r[0]) + ")");
    EXPECT_EQ(kyo::auto_scale(r[0]), r[1]);
  }
  EXPECT_TRUE(std::isnan(kyo::auto_scale(-1)));
  EXPECT_TRUE(std::isnan(kyo::auto_scale(nan_value)));
  EXPECT_EQ(kyo::auto_scale(inf_value), inf_value);
}

std::string full(double v, int width) {
  std::string buf(64, '#');
  const int n = kyo::full_prec(v, buf.data(), width);
  EXPECT_EQ(static_cast<std::size_t>(n), std::strlen(buf.c_str()));
  return buf.substr(0, static_cast<std::size_t>(n));
}

TEST(numbers, full_prec_fills_the_width) {
  const double pi = 3.141592653589793;
  struct row {
    double v;
    std::vector<std::pair<int, const char*>> texts;  // width, expected
  };
  const row rows[] = {
      {pi, {{2, "3"}, {3, "3"}, {4, "3.1"}, {8, "3.14159"}, {17, "3.14159265358979"}}},
      {-pi, {{2, "0"}, {3, "-3"}, {5, "-3.1"}, {17, "-3.1415926535897"}}},
      {1.23456e-4, {{2, "0"}, {5, "0"}, {6, ".0001"}, {8, ".00012"}, {17, ".000123456"}}},
      {123456789.0, {{2, "1"}, {8, "1234568"}, {10, "123456789"}, {17, "123456789"}}},
      {-1.23456e-4, {{8, "-.0001"}}},
      {-123456789.0, {{10, "-12345678"}}},
      {0.05, {{8, ".05"}}},
      {-1.5, {{8, "-1.5"}}},
      {1000, {{8, "1000"}}},
      {0, {{8, "0"}}},
      {-0.0, {{8, "0"}}},
      {2.5, {{2, "2"}}},
      {3.5, {{2, "4"}}},
      {9.96, {{3, "10"}}},
      {5, {{1, ""}}},
      {-53, {{2, ""}}},
      {nan_value, {{8, "nan"}}},
      {-inf_value, {{3, "-i"}}}};
  for (const auto& r : rows) {
    for (const auto& [width, expected] : r.texts) {
      SCOPED_TRACE(std::to_string(r.v) + " in width " + std::to_string(width));
      EXPECT_EQ(full(r.v, width), expected);
    }
  }
  EXPECT_EQ(full(std::ldexp(1.0, 71), 30), "2361183241434822600000") << "17 digits, then zeros";
}

TEST(numbers, full_prec_never_writes_past_the_width) {
  const double values[] = {0,      1,     -1,     0.05,    -0.05,     1e-300,   -1e-300,
                           5e-324, 1e300, -1e300, 123.456, -99.99,    1.0 / 3,  2.0 / 3,
                           1e15,   -1e16, 0.999,  -0.9999, nan_value, inf_value};
  for (const double v : values) {
    for (int width = 0; width <= 40; ++width) {
      SCOPED_TRACE(std::to_string(v) + " in width " + std::to_string(width));
      std::string buf(64, '#');
      const int n = kyo::full_prec(v, buf.data(), width);
      ASSERT_TRUE(width == 0 ? n == 0 && buf[0] == '#' : n >= 0 && n < width && buf[n] == '\0');
      EXPECT_EQ(buf[static_cast<std::size_t>(std::max(width, 1))], '#');
    }
  }
}

TEST(numbers, val_strpos_and_hyperbolics) {
  EXPECT_EQ(kyo::val("  123", 5), 123);
  EXPECT_EQ(kyo::val(" 12", 2), 1) << "each blank uses up a character";
  EXPECT_EQ(kyo::val("12345", 3), 123);
  EXPECT_EQ(kyo::val("12", 5), 12) << "stops at the terminator";
  EXPECT_EQ(kyo::val("1a", 2), 59) << "characters are not checked";
  EXPECT_EQ(kyo::val(nullptr, 3), 0);

  EXPECT_EQ(kyo::strpos("abcabc", 'c'), 2);
  EXPECT_EQ(kyo::strpos("abc", 'x'), -1);
  EXPECT_EQ(kyo::strpos("abc", '\0'), -1);
  EXPECT_EQ(kyo::strpos(nullptr, 'a'), -1);

  EXPECT_NEAR(kyo::atanh(0.5), std::atanh(0.5), 1e-15);
  EXPECT_NEAR(kyo::acosh(2), std::acosh(2.0), 1e-15);
  EXPECT_NEAR(kyo::asinh(-1), std::asinh(-1.0), 1e-15);
}

TEST(numbers, normal_random_has_unit_variance) {
  std::srand(12345);
  const int count = 20000;
  double sum = 0;
  double sum_sq = 0;
  for (int i = 0; i < count; ++i) {
    const double x = kyo::normal_random(12);
    ASSERT_LE(std::fabs(x), 6.0);
    sum += x;
    sum_sq += x * x;
  }
  EXPECT_NEAR(sum / count, 0, 0.05);
  EXPECT_NEAR(sum_sq / count - (sum / count) * (sum / count), 1, 0.05);
  for (int i = 0; i < 100; ++i)
    EXPECT_LE(std::fabs(kyo::normal_random(1)), std::sqrt(3.0));
  EXPECT_TRUE(std::isnan(kyo::normal_random(0)));
}

}  // namespace
