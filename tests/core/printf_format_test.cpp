#include <kyo/core/printf_format.h>

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

// The reference: the C library's own printf, in the C locale the tests run in.
template <class T>
std::string c_printf(const std::string& format, T v) {
  std::vector<char> buf(4096);
  const int n = std::snprintf(buf.data(), buf.size(), format.c_str(), v);
  return std::string(buf.data(), static_cast<std::size_t>(n));
}

std::string ours_double(const std::string& format, double v) {
  const auto spec = kyo::parse_printf_spec(std::string_view(format).substr(1));
  std::string out;
  if (!spec || !kyo::append_floating(out, *spec, v)) return "<refused>";
  return out;
}

std::string ours_integer(const std::string& format, long long v) {
  const auto spec = kyo::parse_printf_spec(std::string_view(format).substr(1));
  std::string out;
  if (!spec || !kyo::append_integer(out, *spec, v)) return "<refused>";
  return out;
}

const double nan_value = std::numeric_limits<double>::quiet_NaN();
const double inf_value = std::numeric_limits<double>::infinity();

TEST(printf_format, floating_conversions_match_the_c_library) {
  const std::vector<std::string> formats = {
      "%f",      "%F",       "%.0f",  "%.1f",    "%.2f",  "%08.5f", "%+.3f", "% f",
      "%-12.4f", "%#.0f",    "%5.1f", "%+04.0f", "%.30f", "%e",     "%E",    "%.0e",
      "%#.0e",   "%+012.3E", "%g",    "%G",      "%.0g",  "%#g",    "%#.3g", "%.17g",
      "%10.4g",  "%-+10g",   "%#.0g", "%a",      "%A",    "%.0a",   "%.1a",  "%.3a",
      "%#.0a",   "%015.2a",  "%.20a", "% 09.2e", "%Lf",   "%lf"};
  const std::vector<double> values = {
      0.0,    -0.0,      0.5,      1.5,       2.5,         -0.5,      -2.5,      0.125,   0.05,
      2.675,  9.9999995, 99999.95, 1e-5,      123456789.0, 1e21,      -1e300,    DBL_MAX, DBL_MIN,
      5e-324, 1.0 / 3.0, 1.03125,  nan_value, -nan_value,  inf_value, -inf_value};
  for (const auto& format : formats) {
    for (const double v : values) {
      SCOPED_TRACE(format + " of " + c_printf("%.17g", v));
      // The reference needs a long double for "%Lf"; the value is the same.
      const std::string expected =
          format == "%Lf" ? c_printf(format, static_cast<long double>(v)) : c_printf(format, v);
      EXPECT_EQ(ours_double(format, v), expected);
    }
  }
}

TEST(printf_format, integer_conversions_match_the_c_library) {
  const std::vector<std::string> int_formats = {
      "%d",    "%i",   "%5d",   "%-5d",  "%05d", "%+d", "% d",  "%+05d", "%-+05d", "%.3d",
      "%8.3d", "%.0d", "%5.0d", "%u",    "%x",   "%X",  "%#x",  "%#X",   "%#o",    "%o",
      "%#.0o", "%.0x", "%#08x", "%#.3x", "%c",   "%5c", "%-3c", "%+u",   "% x",    "%05c"};
  const std::vector<int> int_values = {0, 1, -1, 7, -42, 65, 255, 4096, INT_MAX, INT_MIN};
  for (const auto& format : int_formats) {
    for (const int v : int_values) {
      SCOPED_TRACE(format + " of " + std::to_string(v));
      EXPECT_EQ(ours_integer(format, v), c_printf(format, v));
    }
  }
  const std::vector<std::string> ll_formats = {"%lld", "%llu", "%llx", "%#llo", "%+20lld",
                                               "%jd",  "%zx",  "%ld",  "%hhu",  "%hx"};
  const std::vector<long long> ll_values = {0, -1, 100, LLONG_MAX, LLONG_MIN};
  for (const auto& format : ll_formats) {
    for (const long long v : ll_values) {
      SCOPED_TRACE(format + " of " + std::to_string(v));
      std::string expected;
      if (format == "%hhu") {
        if (v < -128 || v > 255) continue;
        expected = c_printf(format, static_cast<int>(v));
      } else if (format == "%hx") {
        if (v < -32768 || v > 65535) continue;
        expected = c_printf(format, static_cast<int>(v));
      } else {
        expected = c_printf(format, v);
      }
      EXPECT_EQ(ours_integer(format, v), expected);
    }
  }
}

TEST(printf_format, integers_outside_the_named_type_print_whole) {
  struct row {
    const char* what;
    const char* format;
    long long value;
    const char* expected;
  };
  const row rows[] = {
      {"d beyond int", "%d", 5000000000LL, "5000000000"},
      {"hhd beyond char", "%hhd", 300, "300"},
      {"x of -1 is 32 bits without modifier", "%x", -1, "ffffffff"},
      {"x below INT_MIN is 64 bits", "%x", -5000000000LL, "fffffffed5fa0e00"},
      {"hhx of -1 is one byte", "%hhx", -1, "ff"},
      {"c keeps the low byte", "%c", 0x141, "A"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    EXPECT_EQ(ours_integer(r.format, r.value), r.expected);
  }
}

TEST(printf_format, string_conversions_match_the_c_library) {
  const std::vector<std::string> formats = {"%s", "%5s", "%-5s", "%.2s", "%5.1s", "%.0s", "%05s"};
  for (const auto& format : formats) {
    for (const char* v : {"", "abc", "abcdefgh"}) {
      SCOPED_TRACE(format + " of \"" + v + "\"");
      const auto spec = kyo::parse_printf_spec(std::string_view(format).substr(1));
      ASSERT_TRUE(spec);
      std::string out;
      ASSERT_TRUE(kyo::append_string(out, *spec, v));
      EXPECT_EQ(out, c_printf(format, v));
    }
  }
}

TEST(printf_format, parser_refuses_what_it_cannot_print_safely) {
  struct row {
    const char* text;
    bool valid;
    std::size_t extent;
  };
  const row rows[] = {
      {"+04d tail", true, 4}, {"8.5f", true, 4},
      {".f", true, 2},        {"lld", true, 3},
      {"qd", true, 2},        {"512d", true, 4},
      {"513d", false, 4},     {".512f", true, 5},
      {".513f", false, 5},    {"99999999999999999999d", false, 21},
      {"*d", false, 2},       {"1$d", false, 3},
      {"n", false, 1},        {"p", false, 1},
      {"%", false, 1},        {"k", false, 1},
      {"5-d", false, 3},      {"hhhd", false, 4},
      {"lhd", false, 3},      {"", false, 0},
      {"08.3", false, 4},     {"5%", false, 2},
      {"5.5.5f", false, 6},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.text);
    std::size_t extent = 999;
    EXPECT_EQ(kyo::parse_printf_spec(r.text, &extent).has_value(), r.valid);
    EXPECT_EQ(extent, r.extent);
  }
  const auto spec = kyo::parse_printf_spec("-+ #012.7Lg");
  ASSERT_TRUE(spec);
  EXPECT_TRUE(spec->left && spec->plus && spec->space && spec->alt && spec->zero);
  EXPECT_EQ(spec->width, 12);
  EXPECT_EQ(spec->precision, 7);
  EXPECT_EQ(spec->length, kyo::printf_length::L);
  EXPECT_EQ(spec->conversion, 'g');
}

TEST(printf_format, format_one_applies_only_the_first_fitting_directive) {
  struct row {
    const char* what;
    std::string actual;
    std::string expected;
  };
  const std::string many(600, 'x');
  const row rows[] = {
      {"text around one conversion", kyo::format_one("%5.1f m (%d)", 12.34), " 12.3 m (%d)"},
      {"a second fitting directive", kyo::format_one("%d%d", 7LL), "7%d"},
      {"wrong kind first", kyo::format_one("%s %f", 1.0), "%s 1.000000"},
      {"percent pairs", kyo::format_one("100%% %d%%", 5), "100% 5%"},
      {"%n is never a write", kyo::format_one("%n%d", 3), "%n3"},
      {"star width", kyo::format_one("%*d|%d", 3), "%*d|3"},
      {"positional", kyo::format_one("%1$d", 3), "%1$d"},
      {"percent at the end", kyo::format_one("abc%", 1.0), "abc%"},
      {"directive cut by the end", kyo::format_one("x%08.", 1.0), "x%08."},
      {"unknown letter", kyo::format_one("%k%w%d", 4), "%k%w4"},
      {"width at the cap", kyo::format_one("%512d", 1).substr(508), "   1"},
      {"width over the cap", kyo::format_one("%513d", 1), "%513d"},
      {"precision over the cap", kyo::format_one("%.600f", 1.0), "%.600f"},
      {"text argument", kyo::format_one("[%-4s|%.1s]", "ab"), "[ab  |%.1s]"},
      {"null text", kyo::format_one("<%s>", static_cast<const char*>(nullptr)), "<>"},
      {"unsigned argument", kyo::format_one("%u", 7u), "7"},
      {"no directive", kyo::format_one(many, 1.0), many},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    EXPECT_EQ(r.actual, r.expected);
  }
}

TEST(printf_format, hundreds_of_directives_print_one_value) {
  std::string format;
  for (int i = 0; i < 300; ++i)
    format += "%d";
  const std::string out = kyo::format_one(format, 42);
  EXPECT_EQ(out, "42" + format.substr(2));
}

// Random directives that printf defines, compared with printf itself.
TEST(printf_format, random_valid_directives_match_the_c_library) {
  std::mt19937 gen(20240611);
  const std::string flags = "-+ #0";
  const std::string float_letters = "fFeEgGaA";
  const std::string int_letters = "diuoxX";
  auto pick = [&](int n) { return std::uniform_int_distribution<int>(0, n - 1)(gen); };
  for (int i = 0; i < 3000; ++i) {
    std::string d = "%";
    for (int f = pick(4); f > 0; --f)
      d += flags[static_cast<std::size_t>(pick(5))];
    if (pick(2)) d += std::to_string(pick(30));
    if (pick(2)) d += "." + std::to_string(pick(25));
    const bool floating = pick(2) == 0;
    if (floating) {
      d += float_letters[static_cast<std::size_t>(pick(8))];
      const double v =
          std::ldexp(std::uniform_real_distribution<double>(-1, 1)(gen), pick(80) - 40);
      SCOPED_TRACE(d + " of " + c_printf("%a", v));
      ASSERT_EQ(ours_double(d, v), c_printf(d, v));
    } else {
      // '#' with d or i is not defined by the C library.
      if (d.find('#') != std::string::npos) d.erase(d.find('#'), 1);
      d += int_letters[static_cast<std::size_t>(pick(6))];
      const int v = std::uniform_int_distribution<int>(INT_MIN, INT_MAX)(gen) >> pick(31);
      SCOPED_TRACE(d + " of " + std::to_string(v));
      ASSERT_EQ(ours_integer(d, v), c_printf(d, v));
    }
  }
}

TEST(printf_format, hostile_formats_stay_bounded) {
  std::mt19937 gen(77);
  const std::string alphabet = "%%%-+ #0123456789.*$hlLqjztdiuoxXcfFeEgGaAsnpkw\xB0";
  for (int i = 0; i < 3000; ++i) {
    const std::size_t len = std::uniform_int_distribution<std::size_t>(0, 200)(gen);
    std::string format;
    for (std::size_t k = 0; k < len; ++k) {
      format += alphabet[std::uniform_int_distribution<std::size_t>(0, alphabet.size() - 1)(gen)];
    }
    // One conversion adds at most its width or its digits to the copied text.
    const std::size_t bound = format.size() + 1200;
    EXPECT_LE(kyo::format_one(format, -DBL_MAX).size(), bound) << format;
    EXPECT_LE(kyo::format_one(format, LLONG_MIN).size(), bound) << format;
    EXPECT_LE(kyo::format_one(format, std::string_view("text")).size(), bound) << format;
  }
}

}  // namespace
