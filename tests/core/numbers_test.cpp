#include <kyo/core/numbers.h>

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

namespace {

const double nan_value = std::numeric_limits<double>::quiet_NaN();

TEST(numbers, modulo_round_sgn_val_strpos_and_hyperbolics) {
  EXPECT_EQ(kyo::modulo(-1, 360) + kyo::modulo(725, 360), 364);
  EXPECT_EQ(kyo::modulo(-1e-20, 360), 0) << "a remainder that rounds up to b";
  EXPECT_EQ(kyo::round(-2.5, 1), -3);
  EXPECT_DOUBLE_EQ(kyo::round(2.345, 100), 2.35);
  EXPECT_FALSE(std::signbit(kyo::round(0.0, 1))) << "zero rounds to plus zero";
  EXPECT_EQ(std::vector<int>({kyo::sgn(-3), kyo::sgn(3), kyo::sgn(-0.0), kyo::sgn(nan_value)}),
            std::vector<int>({-1, 1, 0, -1}));
  EXPECT_EQ(kyo::val(" 12", 2), 1) << "each blank uses up a character";
  EXPECT_EQ(kyo::val("12", 5), 12) << "stops at the terminator";
  EXPECT_EQ(kyo::val("1a", 2), 59) << "characters are not checked";
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
       {"0 1", "0.03 0.05", "7 10", "2 2", "2.1 5", "5.1 10", "2.0000000001 2", "5.0000000001 5",
        "4.9e-324 5e-324", "3e-310 5e-310", "1.7976931348623157e308 1e308", "inf inf"}) {
    double x = 0, expected = 0;
    const auto blank = std::from_chars(row.data(), row.data() + row.size(), x).ptr;
    std::from_chars(blank + 1, row.data() + row.size(), expected);
    EXPECT_EQ(kyo::auto_scale(x), expected) << row;
  }
  EXPECT_TRUE(std::isnan(kyo::auto_scale(-1)) && std::isnan(kyo::auto_scale(nan_value)));
}

// Every width of every value stays inside the buffer: the full_prec fuzz target's. These rows
// pin the digits chosen.
TEST(numbers, full_prec_fills_the_width) {
  const double pi = 3.141592653589793;
  const std::tuple<double, int, const char*> rows[] = {
      {pi, 2, "3"},
      {-pi, 5, "-3.1"},
      {1.23456e-4, 8, ".00012"},
      {123456789.0, 8, "1234568"},
      {2.5, 2, "2"},
      {9.96, 3, "10"},
      {5, 1, ""},
      {nan_value, 8, "nan"},
      {std::ldexp(1.0, 71), 30, "2361183241434822600000"},
  };
  for (const auto& [v, width, expected] : rows) {
    std::string buf(64, '#');
    const int n = kyo::full_prec(v, buf.data(), width);
    EXPECT_EQ(buf.substr(0, static_cast<std::size_t>(n) + 2), expected + std::string("\0#", 2))
        << v << " in width " << width;
  }
}

}  // namespace
