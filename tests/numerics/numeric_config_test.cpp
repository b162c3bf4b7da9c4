// Configuration strings of numerics: the exact text written for every kind, the round trip (with
// the factor's accepted loss of precision), and short, malformed and hostile texts, which set the
// fields before the first bad one and leave the rest alone.
#include <kyo/numerics/geog_nmrc.h>
#include <kyo/numerics/make_numeric.h>
#include <kyo/numerics/numeric_nmrc.h>
#include <kyo/numerics/timedate_nmrc.h>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <tuple>

#include "support/test_numeric_server.h"

namespace kyo::test {
namespace {

/// Display options as one comparable value.
auto fields(const numeric_nmrc::nmrc_data& d) {
  return std::tuple(d.unit_index, d.width, d.precision, d.factor, std::string(d.units));
}
auto options(const numeric& n) {
  numeric_nmrc::nmrc_data d;
  dynamic_cast<const numeric_nmrc&>(n).get_nmrc_data(d);
  return fields(d);
}

std::string config_of(const numeric& n) {
  std::string text = "prefix,";
  n.write_config(text);
  EXPECT_EQ(text.substr(0, 7), "prefix,") << "write_config appends";
  return text.substr(7);
}

TEST(numeric_config, every_kind_writes_its_exact_text_and_reads_it_back) {
  // Each numeric is given unit `unit` (completing factor and label from its table), width 10
  // and precision 3.
  const std::tuple<int, int, const char*, double> rows[] = {
      {5, 0, "0,10,3,1.000000,   ", 1.0},       {6, 0, "0,10,3,1.000000,   ", 1.0},
      {7, 2, "2,10,3,3.280833, ft", 3.280833},  {7, 3, "3,10,3,0.000540, nm", 0.00054},
      {8, 4, "4,10,3,0.000002,  w", 0.000002},  {8, 5, "5,10,3,1.000000,   ", 1.0},
      {9, 0, "0,10,3,1.943844,kts", 1.943844},  {10, 0, "0,10,3,1.000000, \xB0T", 1.0},
      {12, 0, "0,10,3,1.000000,  \xB0", 1.0},   {13, 2, "2,10,3,0.224809,lbf", 0.224809},
      {14, 2, "2,10,3,9.869233, mb", 9.869233}, {15, 0, "0,10,3,1.000000,  V", 1.0},
      {16, 0, "0,10,3,1.000000,  %", 1.0},      {17, 4, "4,10,3,1.000000,   ", 1.0},
  };
  test_numeric_server s;
  s.add_every_type();
  for (const auto& [type, unit, written, factor_back] : rows) {
    SCOPED_TRACE(written);
    std::unique_ptr<numeric> n(make_numeric(s, type + 1)), back(make_numeric(s, type + 1));
    auto& nn = dynamic_cast<numeric_nmrc&>(*n);
    numeric_nmrc::nmrc_data d;
    nn.get_nmrc_data(d);
    std::tie(d.unit_index, d.width, d.precision) = std::tuple(unit, 10, 3);
    nn.set_nmrc_data(d);
    ASSERT_EQ(config_of(*n), written);
    EXPECT_EQ(back->read_config(written), 5);
    EXPECT_EQ(options(*back), std::tuple(unit, 10, 3, factor_back, std::string(d.units)));
    EXPECT_EQ(config_of(*back), written);
  }

  timedate_nmrc td(s, 2, 7, 2), td_back(s, 2, 5, 0);
  EXPECT_EQ(config_of(td), "7,2");
  EXPECT_EQ(td_back.read_config("7,2"), 2);
  EXPECT_EQ(std::pair(td_back.get_flags(), td_back.get_decimals()), std::pair(7, 2));
  geog_nmrc g(s, 3, geog_format::semicircles), g_back(s, 3, geog_format::seconds);
  EXPECT_EQ(config_of(g), "4");
  EXPECT_EQ(g_back.read_config("4"), 1);
  EXPECT_EQ(g_back.get_format(), geog_format::semicircles);
  numeric plain(s, 1);
  EXPECT_EQ(config_of(plain), "");
  EXPECT_EQ(plain.read_config("1,2,3"), 0);
}

TEST(numeric_config, bad_texts_set_the_fields_before_the_first_bad_one) {
  // The numeric starts as unit 0, width 12, precision 2, factor 1, label "m".
  const std::tuple<const char*, const char*, int, numeric_nmrc::nmrc_data> rows[] = {
      {"null text", nullptr, 0, {0, 12, 2, 1.0, "m"}},
      {"empty text", "", 0, {0, 12, 2, 1.0, "m"}},
      {"unit only, as a custom output line hands it over", "3", 1, {3, 12, 2, 1.0, "m"}},
      {"two fields", "3,15", 2, {3, 15, 2, 1.0, "m"}},
      {"not a number", "x,1", 0, {0, 12, 2, 1.0, "m"}},
      {"blank before a comma ends it", "3 ,15", 1, {3, 12, 2, 1.0, "m"}},
      {"blanks before a number are skipped", " 3,\t15", 2, {3, 15, 2, 1.0, "m"}},
      {"signs", "+3,-4,+5,+1.5e1,abcdef", 5, {3, -4, 5, 15.0, "abc"}},
      {"double sign", "+-3", 0, {0, 12, 2, 1.0, "m"}},
      {"int overflow", "99999999999,1", 0, {0, 12, 2, 1.0, "m"}},
      {"factor out of range", "1,2,3,1e999,ft", 3, {1, 2, 3, 1.0, "m"}},
      {"empty label", "1,2,3,4.5,", 5, {1, 2, 3, 4.5, ""}},
      {"blank label", "1,2,3,4.5,   ", 5, {1, 2, 3, 4.5, ""}},
      {"no label field", "1,2,3,4.5", 4, {1, 2, 3, 4.5, "m"}},
      {"label stops at a blank", "1,2,3,4.5,\t kn ots", 5, {1, 2, 3, 4.5, "kn"}},
      {"label of three bytes with the degree sign", "1,2,3,4.5,\xB0T", 5, {1, 2, 3, 4.5, "\xB0T"}},
      {"decimal comma is no decimal", "1,2,3,4,5,m", 5, {1, 2, 3, 4.0, "5,m"}},
  };
  test_numeric_server s;
  const int index = s.add("d", numeric_type::distance);
  for (const auto& [what, text, taken, expected] : rows) {
    SCOPED_TRACE(what);
    distance_nmrc n(s, index, 12, 2);
    EXPECT_EQ(n.read_config(text), taken);
    EXPECT_EQ(options(n), fields(expected));
  }

  distance_nmrc n(s, index, 12, 2);
  EXPECT_EQ(n.read_config(std::string(100000, '9').c_str()), 0) << "overlong number";
  EXPECT_EQ(n.read_config("1,2,3,nan,m"), 5);
  EXPECT_TRUE(std::isnan(std::get<3>(options(n))));
  timedate_nmrc td(s, index, 5, 0);
  EXPECT_EQ(td.read_config("3,x"), 1);
  EXPECT_EQ(std::pair(td.get_flags(), td.get_decimals()), std::pair(3, 0));
  EXPECT_EQ(td.read_config("x"), 0);
  EXPECT_EQ(td.get_flags(), 3);
}

}  // namespace
}  // namespace kyo::test
