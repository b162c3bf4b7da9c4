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

// Formats by type, the stored one when none is given; a format that does not fit the value shows
// literally and stays bounded (any format is the configuration text fuzz target's).
TEST(variable, formats_by_type_and_shows_unfitting_formats_literally) {
  constexpr double stamp = 3887100429;  // 2024-03-05 14:07:09 counted from 1901
  using v = variable;
  const std::tuple<const char*, v::var_type, double, const char*, const char*> rows[] = {
      {"text cut by a precision", v::text_type, 0, "[%-8.3s]", "[abc     ]"},
      {"number with a width", v::number_type, -2.5, "%+08.3f m", "-002.500 m"},
      {"angle", v::angle_type, std::numbers::pi / 2, "%03d\xB0", "090\xB0"},
      {"date and time", v::date_time_type, stamp, "%d-%1N-%Y %02H:%02M:%02S",
       "5-Mar-2024 14:07:09"},
      {"a list prints nothing", v::server_list_type, 1, "%f", ""},
      {"integer conversion of a number", v::number_type, 2.5, "%d", "%d"},
      {"number conversion of a text", v::text_type, 0, "%f|%d|%.3s|%s", "%f|%d|abc|%s"},
  };
  for (const auto& [what, type, value, format, expected] : rows) {
    variable var(type, value, format, nullptr);
    if (type == v::text_type) var.set("abcdef", format);
    EXPECT_EQ(var.as_string(), expected) << what;
    EXPECT_EQ(var.as_string(""), expected) << what << ": an empty format uses the stored one";
  }
  variable text(std::string("100% sure"), nullptr);
  EXPECT_EQ(text.get_format() + text.as_string() + text.as_string("<%s>"),
            "%s100% sure<100% sure>");
  EXPECT_EQ(variable(std::string(10000, 'x')).as_string("%s%s").size(), variable::max_text);
  EXPECT_EQ(variable(v::number_type, 1, "%512.1f", nullptr).as_string().size(), 512u);
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
