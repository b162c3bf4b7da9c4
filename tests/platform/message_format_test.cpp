#include <kyo/platform/message_format.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <limits>
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

TEST(format_message, inserts_and_escapes) {
  check({
      {"inserts in any order, reused", "%2 before %1, %2 again", {"a", "b"}, "b before a, b again"},
      {"escapes", "100%% done%n%.%!%t%r% end", {}, "100% done\r\n.!\t\r end"},
      {"%0 ends the output", "abc%0def%n", {}, "abc"},
      {"other letters lose the percent", "%s %d %x", {}, "s d x"},
      {"lone percent at the end stays", "50%", {}, "50%"},
      {"insert without argument kept as written",
       "%1 %3 %3!d! %2!5.1f!",
       {"a"},
       "a %3 %3!d! %2!5.1f!"},
      {"two digits at most",
       "%10|%123",
       {1, 2, 3, 4, 5, 6, 7, 8, 9, "ten", 11, "twelve"},
       "ten|twelve3"},
      {"unterminated conversion is text", "%1!d", {42}, "42!d"},
      {"text after a conversion", "%1!d!!", {42}, "42!"},
      {"inserted text is not scanned again", "%1 %2", {"%2", "x"}, "%2 x"},
      {"null text", "[%1]", {static_cast<const char*>(nullptr)}, "[(null)]"},
  });
}

TEST(format_message, plain_text_of_each_kind) {
  check({
      {"negative integer", "%1", {-42}, "-42"},
      {"largest unsigned",
       "%1",
       {std::numeric_limits<std::uint64_t>::max()},
       "18446744073709551615"},
      {"shortest double", "%1 %2 %3", {0.1, 1e20, 2.0}, "0.1 1e+20 2"},
      {"bool and char are numbers", "%1 %2", {true, 'A'}, "1 65"},
      {"std::string", "%1", {std::string("text")}, "text"},
  });
}

TEST(format_message, integer_conversions_match_printf) {
  check({
      {"d", "[%1!d!]", {-42}, "[-42]"},
      {"width", "[%1!5d!]", {42}, "[   42]"},
      {"left", "[%1!-5d!]", {42}, "[42   ]"},
      {"zero pad after sign", "[%1!05d!]", {-42}, "[-0042]"},
      {"plus and space", "[%1!+d!][%2! d!]", {42, 5}, "[+42][ 5]"},
      {"hex", "[%1!x!][%2!#X!]", {255, 255}, "[ff][0XFF]"},
      {"negative int as hex and unsigned", "[%1!x!][%1!u!]", {-1}, "[ffffffff][4294967295]"},
      {"negative 64-bit as hex", "[%1!llx!]", {std::int64_t{-1}}, "[ffffffffffffffff]"},
      {"unsigned int as signed", "[%1!d!]", {0xFFFFFFFFu}, "[-1]"},
      {"smallest 64-bit",
       "[%1!I64d!]",
       {std::numeric_limits<std::int64_t>::min()},
       "[-9223372036854775808]"},
      {"precision", "[%1!.3d!][%2!08.3d!][%3!.0d!]", {7, -5, 0}, "[007][    -005][]"},
      {"octal", "[%1!o!][%1!#o!][%2!#.0o!]", {8, 0}, "[10][010][0]"},
      {"alternate hex with precision", "[%1!#10.3x!][%2!#x!]", {10, 0}, "[     0x00a][0]"},
      {"character", "[%1!c!][%2!5c!][%3!-3c!]", {65, 'x', 'y'}, "[A][    x][y  ]"},
  });
}

TEST(format_message, floating_conversions_match_printf) {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  check({
      {"width and precision", "[%1!5.2f!]", {3.14159}, "[ 3.14]"},
      {"tie rounds as the binary value does", "[%1!.0f!]", {2.5}, "[2]"},
      {"exponent", "[%1!e!][%2!-8.3e!]", {12345.678, 1234.5}, "[1.234568e+04][1.234e+03]"},
      {"general",
       "[%1!G!][%2!g!][%3!g!][%4!.3g!]",
       {0.0000123, 100000.0, 1000000.0, 0.00012345},
       "[1.23E-05][100000][1e+06][0.000123]"},
      {"negative zero", "[%1!g!]", {-0.0}, "[-0]"},
      {"alternate keeps zeros and point",
       "[%1!#g!][%2!#.0f!][%3!#.3g!][%4!#.0e!]",
       {1.0, 3.0, 9.9999, 2.0},
       "[1.00000][3.][10.0][2.e+00]"},
      {"alternate general, both notations",
       "[%1!#g!][%2!#g!][%3!#g!]",
       {0.0, 123456789.0, 0.0001},
       "[0.00000][1.23457e+08][0.000100000]"},
      {"zero pad after sign", "[%1!+08.3f!]", {-1.5}, "[-001.500]"},
      {"float argument", "[%1!.1f!]", {1.25f}, "[1.2]"},
      {"infinity and nan are not zero padded",
       "[%1!f!][%2!5F!][%3!05f!]",
       {inf, -inf, nan},
       "[inf][ -INF][  nan]"},
      {"huge fixed value",
       "%1!.2f!",
       {1e300},
       "100000000000000005250476025520442024870446858110815915491585411551180245798890819578"
       "637137508044786404370444383288387817694252323536043057564479218478670698284838720092"
       "657580373783023379478809005936895323497079994508111903896764088007465274278014249457"
       "9258788820056842838115669472196386865459400540160.00"},
  });
}

TEST(format_message, strings_and_bad_conversions_print_plain_text) {
  check({
      {"string width, left, precision",
       "[%1!s!][%1!5s!][%1!-5s!][%1!.2s!]",
       {"abc"},
       "[abc][  abc][abc  ][ab]"},
      {"s of a number", "[%1!4s!]", {42}, "[  42]"},
      {"integer conversion of text", "[%1!d!]", {"text"}, "[text]"},
      {"floating conversion of an integer", "[%1!f!]", {42}, "[42]"},
      {"integer conversion of a double", "[%1!d!]", {2.5}, "[2.5]"},
      {"absurd width", "[%1!999999999999d!]", {42}, "[42]"},
      {"width just above the cap", "[%1!256d!]", {42}, "[42]"},
      {"absurd precision", "[%1!.300f!]", {1.5}, "[1.5]"},
      {"star width", "[%1!*d!]", {42}, "[42]"},
      {"two conversions", "[%1!dd!][%1!%d!]", {42}, "[42][42]"},
      {"empty and unknown", "[%1!!][%1!q!][%1!n!]", {42}, "[42][42][42]"},
  });
  const std::string widest = kyo::format_message("%1!255d!", 1);
  EXPECT_EQ(widest, std::string(254, ' ') + "1");
}

TEST(format_message, variadic_form) {
  EXPECT_EQ(kyo::format_message("'%1' is a version %2!d! %3", std::string_view("C:\\a.cfg"), 2,
                                std::string("file")),
            "'C:\\a.cfg' is a version 2 file");
  EXPECT_EQ(kyo::format_message("no inserts %1"), "no inserts %1");
}

TEST(system_error_text, gives_the_c_library_text_or_a_number) {
  EXPECT_EQ(kyo::system_error_text(ENOENT), "No such file or directory");
  EXPECT_EQ(kyo::system_error_text(EACCES), "Permission denied");
  EXPECT_EQ(kyo::system_error_text(123456), "Unknown error 123456");
  EXPECT_EQ(kyo::system_error_text(-7), "Unknown error -7");
}

}  // namespace
