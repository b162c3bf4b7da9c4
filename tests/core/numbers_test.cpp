#include <kyo/core/numbers.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
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
  struct row {
    double x;
    double expected;
  };
  const row rows[] = {
      {0, 1},
      {0.03, 0.05},
      {7, 10},
      {2, 2},
      {5, 5},
      {2.1, 5},
      {5.1, 10},
      {0.001, 0.002},
      {0.01, 0.02},
      {0.1, 0.2},
      {1, 2},
      {10, 20},
      {100, 200},
      {1000, 2000},
      {1e6, 2e6},
      {0.7, 1},
      {1.9999, 2},
      {2.0000000001, 2},
      {5.0000000001, 5},
      {2.000001, 5},
      {4.99999, 5},
      {9.99999, 10},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE("auto_scale(" + std::to_string(r.x) + ")");
    EXPECT_DOUBLE_EQ(kyo::auto_scale(r.x), r.expected);
  }
  EXPECT_TRUE(std::isnan(kyo::auto_scale(-1)));
  EXPECT_TRUE(std::isnan(kyo::auto_scale(nan_value)));
  EXPECT_EQ(kyo::auto_scale(inf_value), inf_value);
}

std::string full(double v, int width) {
  char buf[64];
  std::memset(buf, '#', sizeof buf);
  const int n = kyo::full_prec(v, buf, width);
  EXPECT_EQ(static_cast<std::size_t>(n), std::strlen(buf));
  return std::string(buf, static_cast<std::size_t>(n));
}

TEST(numbers, full_prec_fills_the_width) {
  struct row {
    const char* what;
    double v;
    int width;
    const char* expected;
  };
  const row rows[] = {
      {"below one", 0.05, 8, ".05"},
      {"negative", -1.5, 8, "-1.5"},
      {"integer digits padded", 1000, 8, "1000"},
      {"zero", 0, 8, "0"},
      {"negative zero", -0.0, 8, "0"},
      {"pi w2", 3.141592653589793, 2, "3"},
      {"pi w3", 3.141592653589793, 3, "3"},
      {"pi w4", 3.141592653589793, 4, "3.1"},
      {"pi w8 truncates the last digit", 3.141592653589793, 8, "3.14159"},
      {"pi w17", 3.141592653589793, 17, "3.14159265358979"},
      {"-pi w2 has no room for a digit", -3.141592653589793, 2, "0"},
      {"-pi w3", -3.141592653589793, 3, "-3"},
      {"-pi w5", -3.141592653589793, 5, "-3.1"},
      {"-pi w17", -3.141592653589793, 17, "-3.1415926535897"},
      {"small w2", 0.000123456, 2, "0"},
      {"small w5 too small", 0.000123456, 5, "0"},
      {"small w6", 0.000123456, 6, ".0001"},
      {"small w8", 0.000123456, 8, ".00012"},
      {"small w17", 0.000123456, 17, ".000123456"},
      {"negative small w8", -0.000123456, 8, "-.0001"},
      {"large w2 loses magnitude", 123456789.0, 2, "1"},
      {"large w8 loses magnitude", 123456789.0, 8, "1234568"},
      {"large w10", 123456789.0, 10, "123456789"},
      {"large w11", 123456789.0, 11, "123456789"},
      {"large w17", 123456789.0, 17, "123456789"},
      {"negative large w10", -123456789.0, 10, "-12345678"},
      {"2^70 keeps 17 digits", std::ldexp(1.0, 70), 30, "1180591620717411300000"},
      {"tie rounds to even", 2.5, 2, "2"},
      {"tie rounds to even up", 3.5, 2, "4"},
      {"rounding adds a digit", 9.96, 3, "10"},
      {"width 1", 5, 1, ""},
      {"negative needing a digit at w2", -53, 2, ""},
      {"nan", nan_value, 8, "nan"},
      {"-inf cut", -inf_value, 3, "-i"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    EXPECT_EQ(full(r.v, r.width), r.expected);
  }
}

TEST(numbers, full_prec_never_writes_past_the_width) {
  const double values[] = {0,      1,     -1,     0.05,    -0.05,     1e-300,   -1e-300,
                           5e-324, 1e300, -1e300, 123.456, -99.99,    1.0 / 3,  2.0 / 3,
                           1e15,   -1e16, 0.999,  -0.9999, nan_value, inf_value};
  for (const double v : values) {
    for (int width = 0; width <= 40; ++width) {
      SCOPED_TRACE(std::to_string(v) + " in width " + std::to_string(width));
      std::vector<char> buf(64, '#');
      const int n = kyo::full_prec(v, buf.data(), width);
      ASSERT_GE(n, 0);
      if (width == 0) {
        EXPECT_EQ(buf[0], '#');
        continue;
      }
      EXPECT_LT(n, width);
      EXPECT_EQ(buf[static_cast<std::size_t>(n)], '\0');
      EXPECT_EQ(buf[static_cast<std::size_t>(width)], '#');
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
  const double mean = sum / count;
  EXPECT_NEAR(mean, 0, 0.05);
  EXPECT_NEAR(sum_sq / count - mean * mean, 1, 0.05);
  for (int i = 0; i < 100; ++i)
    EXPECT_LE(std::fabs(kyo::normal_random(1)), std::sqrt(3.0));
  EXPECT_TRUE(std::isnan(kyo::normal_random(0)));
}

}  // namespace
