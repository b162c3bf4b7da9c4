// Variables: formats by type, the stored format as fallback, hostile formats (which must show
// literally and stay bounded), units, the defined flag, and ownership of a server list.
#include <kyo/numerics/numeric_server_list.h>
#include <kyo/numerics/variable.h>

#include <gtest/gtest.h>

#include <numbers>
#include <string>
#include <tuple>

#include "support/test_numeric_server.h"

namespace kyo::test {
namespace {

TEST(variable, formats_by_type) {
  constexpr double stamp = 3887100429;  // 2024-03-05 14:07:09 counted from 1901
  const std::tuple<const char*, variable::var_type, double, const char*, const char*> rows[] = {
      {"text cut by a precision", variable::text_type, 0, "[%-8.3s]", "[abc     ]"},
      {"number", variable::number_type, 3.14159, "%.2f m", "3.14 m"},
      {"number with a width", variable::number_type, -2.5, "%+08.3f", "-002.500"},
      {"angle", variable::angle_type, std::numbers::pi / 2, "%03d\xB0", "090\xB0"},
      {"date and time", variable::date_time_type, stamp, "%d-%1N-%Y %02H:%02M:%02S",
       "5-Mar-2024 14:07:09"},
      {"a list prints nothing", variable::server_list_type, 1, "%f", ""},
      {"an unknown type prints nothing", variable::var_type(0), 1, "%f", ""},
      {"a type above the kinds prints nothing", variable::var_type(99), 1, "%f", ""},
  };
  for (const auto& [what, type, value, format, expected] : rows) {
    SCOPED_TRACE(what);
    variable v(type, value, format, nullptr);
    if (type == variable::text_type) v.set("abcdef", format);
    EXPECT_EQ(v.as_string(), expected);
    EXPECT_EQ(v.as_string(""), expected) << "an empty format uses the stored one";
  }
  variable text(std::string("100% sure"), nullptr);
  EXPECT_EQ(text.get_format(), "%s");
  EXPECT_EQ(text.as_string() + text.as_string("<%s>"), "100% sure<100% sure>");
}

TEST(variable, hostile_formats_show_literally) {
  const std::tuple<const char*, variable::var_type, const char*, const char*> rows[] = {
      {"integer conversion of a number", variable::number_type, "%d", "%d"},
      {"text conversion of a number", variable::number_type, "%s", "%s"},
      {"%n", variable::number_type, "%n%f", "%n2.500000"},
      {"a second conversion", variable::number_type, "%f %f", "2.500000 %f"},
      {"star width", variable::number_type, "%*f", "%*f"},
      {"positional argument", variable::number_type, "%1$f", "%1$f"},
      {"absurd width", variable::number_type, "%99999999f", "%99999999f"},
      {"absurd precision", variable::number_type, "%.600f", "%.600f"},
      {"a lone percent at the end", variable::number_type, "%.1f%", "2.5%"},
      {"percent sign", variable::number_type, "%.0f%%", "2%"},
      {"number conversion of a text", variable::text_type, "%f|%d|%s|%s", "%f|%d|abc|%s"},
      {"angle text cut at 31 characters (2.5 rad is 143 degrees)", variable::angle_type,
       "%d%d%d%d%d%d%d%d%d%d%d%d", "1431431431431431431431431431431"},
      {"date directives with a star", variable::date_time_type, "%*Y", "%*Y"},
  };
  for (const auto& [what, type, format, expected] : rows) {
    SCOPED_TRACE(what);
    variable v(type, 2.5, "%f", nullptr);
    if (type == variable::text_type) v.set("abc", "%s");
    EXPECT_EQ(v.as_string(format), expected);
  }
  EXPECT_EQ(variable(std::string(10000, 'x')).as_string("%s%s").size(), variable::max_text);
  EXPECT_EQ(variable(variable::number_type, 1, "%512.1f", nullptr).as_string().size(), 512u);
}

TEST(variable, every_set_defines_it_and_units_keep_three_characters) {
  variable v(variable::number_type, 1, "%f", "knots");
  EXPECT_EQ(v.get_units(), "kno");
  EXPECT_EQ(v.is_defined(), 1);
  v.set_defined(0);
  v.set(variable::number_type, 2, "%f", nullptr);
  EXPECT_EQ(v.is_defined(), 1);
  EXPECT_EQ(v.get_units(), "") << "set with null units leaves them empty";
  v.set(variable::angle_type, 2, "%d", "\xB0T");
  EXPECT_EQ(v.get_units(), "\xB0T");
  v.set_defined(0);
  v.set("text");
  EXPECT_EQ(v.is_defined(), 1);
  EXPECT_EQ(v.get_units(), "") << "a change of type clears them";
  v.set_defined(0);
  v.set(*new numeric_server_list);
  EXPECT_EQ(v.is_defined(), 1);
  EXPECT_EQ(variable(variable::number_type, 1, nullptr, nullptr).get_format(), "");
}

TEST(variable, owns_its_server_list_while_the_type_is_5) {
  const long before = test_numeric_server::live_instances();
  auto make_list = [] {
    auto* list = new numeric_server_list;
    list->add(new test_numeric_server);
    list->add(new test_numeric_server);
    return list;
  };
  {
    variable v(*make_list());
    EXPECT_EQ(v.get_type(), variable::server_list_type);
    EXPECT_EQ(v.get_servers()->count(), 2);
    v.set(*v.get_servers());
    EXPECT_EQ(test_numeric_server::live_instances(), before + 2) << "the same list is kept";
    v.set(*make_list());
    EXPECT_EQ(test_numeric_server::live_instances(), before + 2) << "the old list is deleted";
    v.set(variable::number_type, 1, "%f", nullptr);
    EXPECT_EQ(test_numeric_server::live_instances(), before);
    EXPECT_EQ(v.get_servers(), nullptr);
    v.set_vartyp(variable::text_type);
    EXPECT_EQ(test_numeric_server::live_instances(), before) << "deleted exactly once";
  }
  { variable v(*make_list()); }
  EXPECT_EQ(test_numeric_server::live_instances(), before);
}

}  // namespace
}  // namespace kyo::test
