#include <kyo/platform/message_format.h>
#include <kyo/platform/printf_format.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdint>
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
  const std::vector<std::string> formats = {"%.0f", "%#.0f", "%+012.3E", "%#g", "%.17g",
                                            "%A",   "%.1a",  "%015.2a",  "%Lf", "%#.0e"};
  const std::vector<double> values = {-0.0, 2.5,    2.675,   9.9999995, 99999.95,
                                      1e21, 5e-324, 1.09375, nan_value, -inf_value};
  for (const auto& format : formats) {
    for (const double v : values) {
      SCOPED_TRACE(format + " of " + c_printf("%.17g", v));
      // The reference needs a long double for "%Lf"; the value is the same.
      const std::string expected =
          format == "%Lf" ? c_printf(format, static_cast<long double>(v)) : c_printf(format, v);
      EXPECT_EQ(kyo::format_one(format, v), expected);
    }
  }
  const std::vector<std::string> int_formats = {"%i",  "%-+05d", "%8.3d", "%.0d",  "%X",
                                                "%#o", "%#.0o",  "%#08x", "%#.3x", "%-3c"};
  for (const auto& format : int_formats) {
    for (const int v : {0, -42, 65, INT_MIN}) {
      SCOPED_TRACE(format + " of " + std::to_string(v));
      EXPECT_EQ(kyo::format_one(format, v), c_printf(format, v));
    }
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
  const row rows[] = {{"+04d tail", true, 4},    {".f", true, 2},    {"512d", true, 4},
                      {"513d", false, 4},        {".512f", true, 5}, {".513f", false, 5},
                      {huge.c_str(), false, 21}, {"*d", false, 2},   {"n", false, 1},
                      {"hhhd", false, 4},        {"", false, 0},     {"5.5.5f", false, 6}};
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
      {"percent pairs", kyo::format_one("100%% %d%%", 5), "100% 5%"},
      {"%n is never a write", kyo::format_one("%n%d", 3), "%n3"},
      {"width over the cap", kyo::format_one("%513d", 1), "%513d"},
      // An integer prints whole whatever length the directive names; signed values converted
      // to an unsigned letter take the named width (int without a length).
      {"x of -1 is 32 bits without length", kyo::format_one("%x", -1), "ffffffff"},
      {"x below INT_MIN is 64 bits", kyo::format_one("%x", -5000000000LL), "fffffffed5fa0e00"},
      {"widest long long", kyo::format_one("%+22lld", LLONG_MIN), "  -9223372036854775808"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    EXPECT_EQ(r.actual, r.expected);
  }
}

using kyo::message_arg;

struct row {
  const char* name;
  const char* format;
  std::vector<message_arg> args;
  const char* expected;
};

void check(const std::vector<row>& rows) {
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
    EXPECT_EQ(kyo::format_message_args(r.format, r.args), r.expected);
  }
}

TEST(format_message, inserts_escapes_and_conversions_for_each_kind_of_argument) {
  const std::vector<message_arg> twelve = {1, 2, 3, 4, 5, 6, 7, 8, 9, "ten", 11, "twelve"};
  check({
      {"inserts in any order, reused", "%2 before %1, %2 again", {"a", "b"}, "b before a, b again"},
      {"escapes", "100%% done%n%.%!%t%r% end", {}, "100% done\r\n.!\t\r end"},
      {"%0 ends, a missing argument stays", "%1 %3 %2!5.1f!%0def", {"a"}, "a %3 %2!5.1f!"},
      {"two digits at most", "%10|%123", twelve, "ten|twelve3"},
      {"unterminated conversion is text", "%1!d", {42}, "42!d"},
      {"null text", "[%1]", {static_cast<const char*>(nullptr)}, "[(null)]"},
      {"shortest double", "%1 %2 %3", {0.1, 1e20, 2.0}, "0.1 1e+20 2"},
      // The printf rules themselves are the formatter's (tested against the C library); these
      // rows check what each kind of argument gives to them.
      {"flags", "[%1!-5d!][%2!+08.3f!][%3!#X!]", {42, -1.5, 255}, "[42   ][-001.500][0XFF]"},
      {"negative int as hex and unsigned", "[%1!x!][%1!u!]", {-1}, "[ffffffff][4294967295]"},
      {"64-bit hex with its prefix", "[%1!I64x!]", {std::int64_t{-1}}, "[ffffffffffffffff]"},
      {"character", "[%1!c!][%2!5c!]", {65, 'x'}, "[A][    x]"},
      // Conversions that do not fit the argument, or that printf must not see, print plain text.
      {"s of a number", "[%1!4s!]", {42}, "[  42]"},
      {"integer conversion of text", "[%1!d!]", {"text"}, "[text]"},
      {"width just above the cap", "[%1!256d!]", {42}, "[42]"},
      {"two conversions", "[%1!dd!][%1!%d!]", {42}, "[42][42]"},
      {"empty and unknown", "[%1!!][%1!q!][%1!n!]", {42}, "[42][42][42]"},
  });
  EXPECT_EQ(kyo::format_message("%1!255d!", 1), std::string(254, ' ') + "1");
  EXPECT_EQ(kyo::format_message("'%1' is a version %2!d! %3", std::string_view("C:\\a.cfg"), 2,
                                std::string("file")),
            "'C:\\a.cfg' is a version 2 file");
}

TEST(system_error_text, gives_the_c_library_text_or_a_number) {
  EXPECT_EQ(kyo::system_error_text(ENOENT), "No such file or directory");
  EXPECT_EQ(kyo::system_error_text(123456), "Unknown error 123456");
  EXPECT_EQ(kyo::system_error_text(-7), "Unknown error -7");
}

}  // namespace
