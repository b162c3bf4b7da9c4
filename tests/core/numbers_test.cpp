#include <kyo/core/numbers.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

const double nan_value = std::numeric_limits<double>::quiet_NaN();
const double inf_value = std::numeric_limits<double>::infinity();

TEST(numbers, modulo_round_sgn_val_strpos_and_hyperbolics) {
  EXPECT_EQ(kyo::modulo(-1, 360), 359);
  EXPECT_EQ(kyo::modulo(725, 360), 5);
  EXPECT_EQ(kyo::modulo(-1e-20, 360), 0) << "a remainder that rounds up to b";
  EXPECT_TRUE(std::isnan(kyo::modulo(nan_value, 360)));
  EXPECT_EQ(kyo::round(-2.5, 1), -3);
  EXPECT_DOUBLE_EQ(kyo::round(2.345, 100), 2.35);
  EXPECT_DOUBLE_EQ(kyo::round(-2.345, 100), -2.35);
  EXPECT_EQ(kyo::round(2.5), 3) << "one argument is std::round";
  EXPECT_EQ(std::vector<int>({kyo::sgn(-3), kyo::sgn(3), kyo::sgn(-0.0), kyo::sgn(nan_value)}),
            std::vector<int>({-1, 1, 0, -1}));
  EXPECT_EQ(kyo::val("  123", 5), 123);
  EXPECT_EQ(kyo::val(" 12", 2), 1) << "each blank uses up a character";
  EXPECT_EQ(kyo::val("12", 5), 12) << "stops at the terminator";
  EXPECT_EQ(kyo::val("1a", 2), 59) << "characters are not checked";
  EXPECT_EQ(kyo::val(nullptr, 3), 0);
  EXPECT_EQ(kyo::strpos("abcabc", 'c'), 2);
  EXPECT_EQ(kyo::strpos("abc", 'x') + kyo::strpos("abc", '\0') + kyo::strpos(nullptr, 'a'), -3);
  EXPECT_NEAR(kyo::atanh(0.5), std::atanh(0.5), 1e-15);
  EXPECT_NEAR(kyo::acosh(2), std::acosh(2.0), 1e-15);
  EXPECT_NEAR(kyo::asinh(-1), std::asinh(-1.0), 1e-15);
}

TEST(numbers, auto_scale_steps) {
  // "x expected": powers of ten move on, the 2-5-10 steps and the tolerance just above 2 and 5,
  // subnormal steps, and 1e308 where the next step would overflow.
  for (const std::string row :
       {"0 1", "0.03 0.05", "7 10", "2 2", "2.1 5", "5.1 10", "0.1 0.2", "10 20", "1.9999 2",
        "2.0000000001 2", "5.0000000001 5", "2.000001 5", "4.99999 5", "9.99999 10",
        "4.9e-324 5e-324", "3e-310 5e-310", "1.5e307 2e307", "1.7976931348623157e308 1e308",
        "inf inf"}) {
    double x = 0, expected = 0;
    const auto blank = std::from_chars(row.data(), row.data() + row.size(), x).ptr;
    std::from_chars(blank + 1, row.data() + row.size(), expected);
    EXPECT_EQ(kyo::auto_scale(x), expected) << row;
  }
  EXPECT_TRUE(std::isnan(kyo::auto_scale(-1)) && std::isnan(kyo::auto_scale(nan_value)));
}

std::string full(double v, int width) {
  std::string buf(64, '#');
  const int n = kyo::full_prec(v, buf.data(), width);
  EXPECT_EQ(static_cast<std::size_t>(n), std::strlen(buf.c_str()));
  return buf.substr(0, static_cast<std::size_t>(n));
}

TEST(numbers, full_prec_fills_the_width_and_never_writes_past_it) {
  const double pi = 3.141592653589793;
  const std::pair<double, std::vector<std::pair<int, const char*>>> rows[] = {
      {pi, {{2, "3"}, {4, "3.1"}, {8, "3.14159"}, {17, "3.14159265358979"}}},
      {-pi, {{2, "0"}, {3, "-3"}, {5, "-3.1"}, {17, "-3.1415926535897"}}},
      {1.23456e-4, {{2, "0"}, {5, "0"}, {6, ".0001"}, {8, ".00012"}, {17, ".000123456"}}},
      {123456789.0, {{2, "1"}, {8, "1234568"}, {10, "123456789"}, {17, "123456789"}}},
      {-1.23456e-4, {{8, "-.0001"}}},
      {-123456789.0, {{10, "-12345678"}}},
      {0.05, {{8, ".05"}}},
      {1000, {{8, "1000"}}},
      {-0.0, {{8, "0"}}},
      {2.5, {{2, "2"}}},
      {3.5, {{2, "4"}}},
      {9.96, {{3, "10"}}},
      {5, {{1, ""}}},
      {-53, {{2, ""}}},
      {nan_value, {{8, "nan"}}},
      {-inf_value, {{3, "-i"}}},
      {std::ldexp(1.0, 71), {{30, "2361183241434822600000"}}}};
  for (const auto& [v, texts] : rows) {
    for (const auto& [width, expected] : texts) {
      EXPECT_EQ(full(v, width), expected) << v << " in width " << width;
    }
  }
  for (const double v : {0.0, -1.0, -0.05, 1e-300, -1e-300, 5e-324, 1e300, -1e300, 1.0 / 3, -0.9999,
                         nan_value, inf_value}) {
    for (int width = 0; width <= 40; ++width) {
      SCOPED_TRACE(std::to_string(v) + " in width " + std::to_string(width));
      std::string buf(64, '#');
      const int n = kyo::full_prec(v, buf.data(), width);
      ASSERT_TRUE(width == 0 ? n == 0 && buf[0] == '#' : n >= 0 && n < width && buf[n] == '\0');
      EXPECT_EQ(buf[static_cast<std::size_t>(std::max(width, 1))], '#');
    }
  }
}

TEST(numbers, normal_random_has_unit_variance) {
  std::srand(12345);
  const int count = 20000;
  double sum = 0, sum_sq = 0;
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
