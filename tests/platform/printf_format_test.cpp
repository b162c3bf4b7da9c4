#include <kyo/platform/printf_format.h>

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cstdio>
#include <limits>
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

const double nan_value = std::numeric_limits<double>::quiet_NaN();
const double inf_value = std::numeric_limits<double>::infinity();

// Every directive and value is the printf fuzz target's; these pin the families of each
// conversion against the C library.
TEST(printf_format, conversions_match_the_c_library) {
  const std::vector<std::string> formats = {
      "%f",    "%.0f",    "%08.5f", "%+.3f",    "% f", "%-12.4f", "%#.0f", "%.30f",
      "%e",    "%E",      "%#.0e",  "%+012.3E", "%g",  "%G",      "%.0g",  "%#g",
      "%#.3g", "%.17g",   "%-+10g", "%a",       "%A",  "%.0a",    "%.1a",  "%.3a",
      "%#.0a", "%015.2a", "%.20a",  "% 09.2e",  "%Lf", "%F"};
  const std::vector<double> values = {
      0.0,  -0.0,   0.5,     2.5,     -2.5,   0.05,    2.675,   9.9999995, 99999.95,  1e-5,
      1e21, -1e300, DBL_MAX, DBL_MIN, 5e-324, 1.0 / 3, 1.03125, 1.09375,   nan_value, -inf_value};
  for (const auto& format : formats) {
    for (const double v : values) {
      SCOPED_TRACE(format + " of " + c_printf("%.17g", v));
      // The reference needs a long double for "%Lf"; the value is the same.
      const std::string expected =
          format == "%Lf" ? c_printf(format, static_cast<long double>(v)) : c_printf(format, v);
      EXPECT_EQ(kyo::format_one(format, v), expected);
    }
  }
  const std::vector<std::string> int_formats = {
      "%d", "%i",  "%-5d", "%05d",  "%+d",  "% d",   "%-+05d", "%8.3d", "%.0d", "%u",
      "%X", "%#x", "%#o",  "%#.0o", "%.0x", "%#08x", "%#.3x",  "%c",    "%-3c", "%05c"};
  for (const auto& format : int_formats) {
    for (const int v : {0, 1, -1, -42, 65, 4096, INT_MAX, INT_MIN}) {
      SCOPED_TRACE(format + " of " + std::to_string(v));
      EXPECT_EQ(kyo::format_one(format, v), c_printf(format, v));
    }
  }
  for (const auto& format : {"%lld", "%llu", "%llx", "%#llo", "%+20lld", "%jd", "%zx"}) {
    for (const long long v : {0LL, -1LL, LLONG_MAX, LLONG_MIN}) {
      SCOPED_TRACE(std::string(format) + " of " + std::to_string(v));
      EXPECT_EQ(kyo::format_one(format, v), c_printf(format, v));
    }
  }
  for (const auto& format : {"%5s", "%-5s", "%.2s", "%5.1s", "%.0s", "%05s"}) {
    SCOPED_TRACE(format);
    EXPECT_EQ(kyo::format_one(format, "abc"), c_printf(format, "abc"));
  }
}

// The appending forms that callers building their own text use (a string or a fixed buffer);
// text is for s alone.
TEST(printf_format, appends_to_a_string) {
  const auto f = kyo::parse_printf_spec("+06.1f");
  const auto d = kyo::parse_printf_spec("-4d");
  const auto s = kyo::parse_printf_spec(".2s");
  ASSERT_TRUE(f && d && s);
  std::string out = "[";
  EXPECT_TRUE(kyo::append_floating(out, *f, 2.25) && kyo::append_integer(out, *d, -7) &&
              kyo::append_string(out, *s, "abc"));
  EXPECT_FALSE(kyo::append_string(out, *d, "abc"));
  EXPECT_EQ(out, "[+002.2-7  ab");
  kyo::fixed_text text;
  EXPECT_TRUE(kyo::append_integer(text, *d, 5) && kyo::append_floating(text, *f, 0.5));
  EXPECT_EQ(text.view(), "5   +000.5");
}

TEST(printf_format, parser_refuses_what_it_cannot_print_safely) {
  struct row {
    const char* text;
    bool valid;
    std::size_t extent;
  };
  const std::string huge = "99999999999999999999d";
  const row rows[] = {
      {"+04d tail", true, 4}, {"8.5f", true, 4},         {".f", true, 2},     {"lld", true, 3},
      {"qd", true, 2},        {"512d", true, 4},         {"513d", false, 4},  {".512f", true, 5},
      {".513f", false, 5},    {huge.c_str(), false, 21}, {"*d", false, 2},    {"1$d", false, 3},
      {"n", false, 1},        {"p", false, 1},           {"%", false, 1},     {"k", false, 1},
      {"5-d", false, 3},      {"hhhd", false, 4},        {"lhd", false, 3},   {"", false, 0},
      {"08.3", false, 4},     {"5%", false, 2},          {"5.5.5f", false, 6}};
  for (const auto& r : rows) {
    SCOPED_TRACE(r.text);
    std::size_t extent = 999;
    EXPECT_EQ(kyo::parse_printf_spec(r.text, &extent).has_value(), r.valid);
    EXPECT_EQ(extent, r.extent);
  }
}

TEST(printf_format, format_one_applies_only_the_first_fitting_directive) {
  struct row {
    const char* what;
    std::string actual;
    std::string expected;
  };
  const row rows[] = {
      {"text around one conversion", kyo::format_one("%5.1f m (%d)", 12.34), " 12.3 m (%d)"},
      {"a second fitting directive", kyo::format_one("%d%d", 7LL), "7%d"},
      {"percent pairs", kyo::format_one("100%% %d%%", 5), "100% 5%"},
      {"%n is never a write", kyo::format_one("%n%d", 3), "%n3"},
      {"percent at the end", kyo::format_one("abc%", 1.0), "abc%"},
      {"width over the cap", kyo::format_one("%513d", 1), "%513d"},
      {"text argument", kyo::format_one("[%-4s|%.1s]", "ab"), "[ab  |%.1s]"},
      {"null text", kyo::format_one("<%s>", static_cast<const char*>(nullptr)), "<>"},
      // An integer prints whole whatever length the directive names; signed values converted
      // to an unsigned letter take the named width (int without a length).
      {"d beyond int", kyo::format_one("%d", 5000000000LL), "5000000000"},
      {"x of -1 is 32 bits without length", kyo::format_one("%x", -1), "ffffffff"},
      {"x below INT_MIN is 64 bits", kyo::format_one("%x", -5000000000LL), "fffffffed5fa0e00"},
      {"hhx of -1 is one byte", kyo::format_one("%hhx", -1), "ff"},
      {"c keeps the low byte", kyo::format_one("%c", 0x141), "A"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    EXPECT_EQ(r.actual, r.expected);
  }
}

}  // namespace
