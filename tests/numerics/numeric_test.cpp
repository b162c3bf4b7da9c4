// The numeric kinds and their factory: which numeric every type id makes and with which
// options, the shared formatting with its overflow mark, bearings, compound intervals, automatic
// memory units, dates and positions, the values that have no text, and configuration texts: the
// exact text written for every kind and the round trip (bad texts are the fuzz target's).
#include <kyo/numerics/geog_nmrc.h>
#include <kyo/numerics/make_numeric.h>
#include <kyo/numerics/numeric_nmrc.h>
#include <kyo/numerics/timedate_nmrc.h>

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <memory>
#include <numbers>
#include <string>
#include <tuple>

#include "support/test_numeric_server.h"

namespace kyo::test {
namespace {

constexpr double deg = std::numbers::pi / 180;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// The text of `n` for a value set on its entry, or "<none>" when it reports no value.
std::string shown(test_numeric_server& s, const numeric& n, double value, bool pad = true) {
  s.set_value(n.get_index(), value);
  std::string out = "<none>";
  n.as_string(0, out, pad);
  return out;
}

/// What the factory makes of entry `index`: the class and its options.
std::string made(const numeric_server& s, int index) {
  std::unique_ptr<numeric> n(make_numeric(s, index));
  if (n == nullptr) return "null";
  const numeric& made = *n;
  std::string out = stream_registry::instance().find(typeid(made))->name;
  if (auto* nn = dynamic_cast<const numeric_nmrc*>(n.get())) {
    numeric_nmrc::nmrc_data d;
    nn->get_nmrc_data(d);
    out += " " + std::to_string(d.width) + "." + std::to_string(d.precision) + " '" + d.units +
           "' unit " + std::to_string(d.unit_index);
    if (d.factor != 1) out += " x" + std::to_string(d.factor);
  } else if (auto* td = dynamic_cast<const timedate_nmrc*>(n.get())) {
    out += " flags " + std::to_string(td->get_flags()) + " decimals " +
           std::to_string(td->get_decimals());
  } else if (auto* g = dynamic_cast<const geog_nmrc*>(n.get())) {
    out += " format " + std::to_string(g->get_format());
  }
  return out;
}

// Every type id with the entry's default width and precision (-1, -1); 8 and 3 replace the
// defaults' width and precision and a date's decimals.
TEST(make_numeric, makes_the_kind_and_options_of_every_type_id) {
  const std::string kinds[] = {"numeric",
                               "timedate_nmrc flags 5 decimals -1",
                               "geog_nmrc format 2",
                               "geog_nmrc format 2",
                               "null",
                               "numeric_nmrc 12.1 '' unit 0",
                               "numeric_nmrc 12.1 '' unit 0",
                               "distance_nmrc 12.2 'm' unit 0",
                               "time_interval_nmrc 12.0 's' unit 0",
                               "speed_nmrc 12.1 'kts' unit 0 x1.943844",
                               "bearing_nmrc 12.1 '\xB0T' unit 0",
                               "bearing_nmrc 12.1 '\xB0G' unit 0",
                               "bearing_nmrc 12.1 '\xB0' unit 0",
                               "tension_nmrc 12.1 'N' unit 0",
                               "pressure_nmrc 12.1 'kPa' unit 0",
                               "emf_nmrc 12.1 'V' unit 0",
                               "numeric_nmrc 12.1 '%' unit 0",
                               "memory_nmrc 12.1 '' unit 4"};
  test_numeric_server defaults;
  for (int type = 0; type < 256; ++type)
    defaults.add("t", type);
  for (int type = 0; type < 256; ++type) {
    EXPECT_EQ(made(defaults, type + 1), type < 18 ? kinds[type] : "null") << type;
  }
  test_numeric_server s;
  EXPECT_EQ(made(s, s.add("explicit", 1, 8, 3)), "timedate_nmrc flags 5 decimals 3");
  EXPECT_EQ(made(s, s.add("no decimals", 10, 8, 0)), "bearing_nmrc 8.0 '\xB0T' unit 0");
  EXPECT_EQ(made(s, s.add("wide", 7, 40, 2)), "distance_nmrc 31.2 'm' unit 0");
}

// Each kind of numeric, configured by its configuration text, through the shared formatting:
// the overflow mark in the shape of the number, bearings rounded in degrees and wrapped, compound
// intervals, dates by their flags and positions by the axis of their entry. \260 is the degree
// sign (0xB0), written in octal so that digits may follow it.
TEST(numeric_format, every_kind_formats_its_value) {
  constexpr double stamp = 1709647629.25;  // 2024-03-05 14:07:09.25 UTC
  constexpr double south = -(12 + 34.0 / 60 + 56.789 / 3600) * deg;
  const std::tuple<const char*, int, const char*, double, std::string> rows[] = {
      {"one past full", 5, "0,8,2", 123456.78, "+++++.++"},
      {"point at the first place", 5, "0,4,3", 12.5, ".+++"},
      {"zero too wide takes '-'", 5, "0,3,2", 0, ".--"},
      {"NaN too wide takes '-'", 5, "0,2,1", nan, ".-"},
      {"width above 31 counts as 31", 5, "0,100,1", 1e40, std::string(29, '+') + ".+"},
      {"negative width is a left-aligned field", 5, "0,-6,1", 2.5, "2.5   "},
      {"bearing 359.96 rounds to 360 and wraps", 10, "0,3,1", 359.96 * deg, "0.0"},
      {"bearing halves away from zero", 10, "0,2,0", 10.5 * deg, "11"},
      {"bearing factor applies to degrees", 10, "0,5,3,0.002777777777777778,rev", 90 * deg,
       "0.250"},
      {"compound seconds truncate", 8, "5,12,0", 59.9, "59s"},
      {"compound days", 8, "5,12,0", 93784, "1d2h03m04s"},
      {"compound negative", 8, "5,12,0", -65, "-1m-5s"},
      {"memory in megabytes to four figures", 17, "4,5,3", 1048576 * 3.14159, "3.140"},
      {"memory to one figure, 10^12 bytes", 17, "4,5,1", 1e12, "900.0"},
      {"long date and time", 1, "5,0", stamp, "5 Mar 2024 14:07:09"},
      {"day of year and time", 1, "7,2", stamp, "65 14:07:09.25"},
      {"negative decimals count as 3", 1, "4,-3", stamp, "14:07:09.250"},
      {"day 366 of a leap year prints 0", 1, "3,0", 1735646400, "0"},
      {"latitude seconds", 2, "2", south, "12\26034'56.789\"S"},
      {"longitude seconds", 3, "2", 123.5 * deg, "123\26030'00.000\"E"},
      {"radians cut at 31 characters", 2, "3", 1e30, "1000000000000000019884624838656"},
      {"semicircles to nine decimals", 2, "4", -std::numbers::pi / 8, "-0.125000000"},
      {"unknown format shows as format 2", 2, "9", south, "12\26034'56.789\"S"},
  };
  test_numeric_server s;
  s.add_every_type();
  for (const auto& [what, type, config, value, text] : rows) {
    SCOPED_TRACE(what);
    std::unique_ptr<numeric> n(make_numeric(s, type + 1));
    n->read_config(config);
    EXPECT_EQ(shown(s, *n, value), text);
  }
}

// Status 0, the other kind of entry, and no server: the caller's text stays as it was.
TEST(numeric_format, no_value_leaves_the_text_untouched) {
  test_numeric_server s;
  s.add_every_type(12, 1);
  std::string out = "keep";
  for (int type : {1, 2, 7, 8, 10, 17}) {
    std::unique_ptr<numeric> n(make_numeric(s, type + 1));
    s.set_status(type + 1, numeric_status::no_data);
    EXPECT_EQ(n->as_string(0, out, true), numeric_status::no_data) << type;
  }
  s.set_text(1, "abc");
  EXPECT_EQ(distance_nmrc(s, 1, 12, 2).as_string(0, out, true), 0) << "a text entry";
  EXPECT_EQ(numeric(s, numeric_type::distance + 1).as_string(0, out, true), 0) << "a number";
  EXPECT_EQ(numeric(streamable_init).as_string(0, out, true) + numeric(streamable_init).type_id(),
            -1)
      << "no server: no text, no type";
  EXPECT_EQ(out, "keep");
}

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
      {5, 0, "0,10,3,1.000000,   ", 1.0},       {7, 3, "3,10,3,0.000540, nm", 0.00054},
      {8, 4, "4,10,3,0.000002,  w", 0.000002},  {9, 0, "0,10,3,1.943844,kts", 1.943844},
      {10, 0, "0,10,3,1.000000, \xB0T", 1.0},   {13, 2, "2,10,3,0.224809,lbf", 0.224809},
      {14, 2, "2,10,3,9.869233, mb", 9.869233}, {17, 4, "4,10,3,1.000000,   ", 1.0},
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

}  // namespace
}  // namespace kyo::test
