#include <kyo/platform/message_format.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace {

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

TEST(format_message, inserts_escapes_and_plain_text) {
  const std::vector<message_arg> twelve = {1, 2, 3, 4, 5, 6, 7, 8, 9, "ten", 11, "twelve"};
  check({
      {"inserts in any order, reused", "%2 before %1, %2 again", {"a", "b"}, "b before a, b again"},
      {"escapes", "100%% done%n%.%!%t%r% end", {}, "100% done\r\n.!\t\r end"},
      {"%0 ends the output", "abc%0def%n", {}, "abc"},
      {"missing argument kept as written", "%1 %3 %3!d! %2!5.1f!", {"a"}, "a %3 %3!d! %2!5.1f!"},
      {"two digits at most", "%10|%123", twelve, "ten|twelve3"},
      {"unterminated conversion is text", "%1!d", {42}, "42!d"},
      {"inserted text is not scanned again", "%1 %2", {"%2", "x"}, "%2 x"},
      {"null text", "[%1]", {static_cast<const char*>(nullptr)}, "[(null)]"},
      {"shortest double", "%1 %2 %3", {0.1, 1e20, 2.0}, "0.1 1e+20 2"},
  });
}

// The printf rules themselves are the formatter's (tested against the C library); these rows check
// what each kind of argument gives to them.
TEST(format_message, conversions_follow_printf_for_each_kind_of_argument) {
  check({
      {"flags, width and precision",
       "[%1!-5d!][%2!+08.3f!][%3!#X!]",
       {42, -1.5, 255},
       "[42   ][-001.500][0XFF]"},
      {"negative int as hex and unsigned", "[%1!x!][%1!u!]", {-1}, "[ffffffff][4294967295]"},
      {"64-bit hex with its prefix", "[%1!I64x!]", {std::int64_t{-1}}, "[ffffffffffffffff]"},
      {"character", "[%1!c!][%2!5c!]", {65, 'x'}, "[A][    x]"},
      {"string width, left, precision",
       "[%1!5s!][%1!-5s!][%1!.2s!]",
       {"abc"},
       "[  abc][abc  ][ab]"},
      // Conversions that do not fit the argument, or that printf must not see, print plain text.
      {"s of a number", "[%1!4s!]", {42}, "[  42]"},
      {"integer conversion of text", "[%1!d!]", {"text"}, "[text]"},
      {"integer conversion of a double", "[%1!d!]", {2.5}, "[2.5]"},
      {"width just above the cap", "[%1!256d!]", {42}, "[42]"},
      {"two conversions", "[%1!dd!][%1!%d!]", {42}, "[42][42]"},
      {"empty and unknown", "[%1!!][%1!q!][%1!n!]", {42}, "[42][42][42]"},
  });
  EXPECT_EQ(kyo::format_message("%1!255d!", 1), std::string(254, ' ') + "1");
  char huge[400];
  std::snprintf(huge, sizeof huge, "%.2f", 1e300);
  EXPECT_EQ(kyo::format_message("%1!.2f!", 1e300), huge) << "a fixed value of 300 digits";
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
