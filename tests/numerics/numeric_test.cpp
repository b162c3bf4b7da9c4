// The numeric kinds and their factory: which numeric every type id makes and with which
// options, the unit tables (checked against physical values), the shared formatting with its
// overflow mark, bearings, compound intervals, automatic memory units, dates and positions, and
// the values that have no text.
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

/// Gives `n` the display options `d` (completed by set_nmrc_data) and returns them.
numeric_nmrc::nmrc_data set_options(numeric& n, numeric_nmrc::nmrc_data d) {
  dynamic_cast<numeric_nmrc&>(n).set_nmrc_data(d);
  return d;
}

/// What the factory makes of entry `index`: the class (also of its clone) and its options.
std::string made(const numeric_server& s, int index) {
  std::unique_ptr<numeric> n(make_numeric(s, index));
  if (n == nullptr) return "null";
  const numeric& made = *n;
  std::string out = stream_registry::instance().find(typeid(made))->name;
  const std::unique_ptr<numeric> copy(n->clone());
  const numeric& copied = *copy;
  if (typeid(copied) != typeid(made)) out += " (a clone of another class)";
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

// Every type id with the entry's default width and precision (-1, -1) and with 8 and 3.
TEST(make_numeric, makes_the_kind_and_options_of_every_type_id) {
  const std::pair<const char*, const char*> kinds[] = {
      {"numeric", "numeric"},
      {"timedate_nmrc flags 5 decimals -1", "timedate_nmrc flags 5 decimals 3"},
      {"geog_nmrc format 2", "geog_nmrc format 2"},
      {"geog_nmrc format 2", "geog_nmrc format 2"},
      {"null", "null"},
      {"numeric_nmrc 12.1 '' unit 0", "numeric_nmrc 8.3 '' unit 0"},
      {"numeric_nmrc 12.1 '' unit 0", "numeric_nmrc 8.3 '' unit 0"},
      {"distance_nmrc 12.2 'm' unit 0", "distance_nmrc 8.3 'm' unit 0"},
      {"time_interval_nmrc 12.0 's' unit 0", "time_interval_nmrc 8.3 's' unit 0"},
      {"speed_nmrc 12.1 'kts' unit 0 x1.943844", "speed_nmrc 8.3 'kts' unit 0 x1.943844"},
      {"bearing_nmrc 12.1 '\xB0T' unit 0", "bearing_nmrc 8.3 '\xB0T' unit 0"},
      {"bearing_nmrc 12.1 '\xB0G' unit 0", "bearing_nmrc 8.3 '\xB0G' unit 0"},
      {"bearing_nmrc 12.1 '\xB0' unit 0", "bearing_nmrc 8.3 '\xB0' unit 0"},
      {"tension_nmrc 12.1 'N' unit 0", "tension_nmrc 8.3 'N' unit 0"},
      {"pressure_nmrc 12.1 'kPa' unit 0", "pressure_nmrc 8.3 'kPa' unit 0"},
      {"emf_nmrc 12.1 'V' unit 0", "emf_nmrc 8.3 'V' unit 0"},
      {"numeric_nmrc 12.1 '%' unit 0", "numeric_nmrc 8.3 '%' unit 0"},
      {"memory_nmrc 12.1 '' unit 4", "memory_nmrc 8.3 '' unit 4"},
  };
  test_numeric_server defaults, explicit_options;
  for (int type = 0; type < 256; ++type) {
    defaults.add("t", type);
    explicit_options.add("t", type, 8, 3);
  }
  for (int type = 0; type < 256; ++type) {
    SCOPED_TRACE(type);
    EXPECT_EQ(made(defaults, type + 1), type < 18 ? kinds[type].first : "null");
    EXPECT_EQ(made(explicit_options, type + 1), type < 18 ? kinds[type].second : "null");
  }
  test_numeric_server s;
  EXPECT_EQ(made(s, s.add("flagged", 0x1000 | 7)), "distance_nmrc 12.2 'm' unit 0");
  EXPECT_EQ(made(s, s.add("high byte only", 0x1200)), "numeric");
  EXPECT_EQ(made(s, s.add("wide", 7, 40, 2)), "distance_nmrc 31.2 'm' unit 0");
  EXPECT_EQ(made(s, s.add("widest", 7, 31, 2)), "distance_nmrc 31.2 'm' unit 0");
  EXPECT_EQ(made(s, s.add("left-aligned", 7, -5, 2)), "distance_nmrc -5.2 'm' unit 0");
}

TEST(numeric_units, every_table_row_converts_a_known_quantity) {
  const std::tuple<const char*, int, int, double, int, const char*, const char*> rows[] = {
      {"metres", 7, 0, 12.345, 3, "12.345", "m"},
      {"international feet", 7, 1, 0.3048 * 1000, 3, "1000.000", "ft"},
      {"US survey feet", 7, 2, 1200.0 / 3937 * 1000, 3, "1000.000", "ft"},
      {"nautical miles", 7, 3, 1852 * 2.5, 3, "2.500", "nm"},
      {"seconds", 8, 0, 90, 1, "90.0", "s"},
      {"minutes", 8, 1, 90, 1, "1.5", "m"},
      {"hours", 8, 2, 5400, 1, "1.5", "h"},
      {"days", 8, 3, 129600, 1, "1.5", "d"},
      {"weeks", 8, 4, 907200, 1, "1.5", "w"},
      {"knots", 9, 0, 1852.0 / 3600 * 12, 3, "12.000", "kts"},
      {"metres per second", 9, 1, 3.25, 2, "3.25", "m/s"},
      {"feet per second", 9, 2, 0.3048 * 10, 3, "10.000", "f/s"},
      {"newtons", 13, 0, 9.5, 1, "9.5", "N"},
      {"kilograms-force", 13, 1, 9.80665 * 3, 4, "3.0000", "kgf"},
      {"pounds-force", 13, 2, 4.4482216152605 * 2, 4, "2.0000", "lbf"},
      {"kilopascals", 14, 0, 101.3, 1, "101.3", "kPa"},
      {"psi", 14, 1, 6.894757293168361 * 5, 4, "5.0000", "psi"},
      {"thousandths of an atmosphere", 14, 2, 101.325, 3, "1000.000", "mb"},
      {"volts", 15, 0, 24.25, 2, "24.25", "V"},
  };
  test_numeric_server s;
  s.add_every_type(12, 1);
  for (const auto& [what, type, unit, base_value, precision, text, label] : rows) {
    SCOPED_TRACE(what);
    std::unique_ptr<numeric> n(make_numeric(s, type + 1));
    const auto d = set_options(*n, {.unit_index = unit, .precision = precision});
    EXPECT_STREQ(d.units, label) << "set_nmrc_data completes the caller's record too";
    EXPECT_EQ(shown(s, *n, base_value, false), text);
    EXPECT_EQ(n->get_units(), label);
  }
  // A unit outside the table keeps the caller's factor and label; time intervals drop the label.
  for (int type : {7, 8, 9, 13, 14, 15}) {
    SCOPED_TRACE(type);
    std::unique_ptr<numeric> n(make_numeric(s, type + 1));
    const auto d = set_options(*n, {.unit_index = 9, .factor = 2.5, .units = "xyz"});
    EXPECT_EQ(d.factor, 2.5);
    EXPECT_STREQ(d.units, type == 8 ? "" : "xyz");
  }
}

TEST(numeric_format, too_wide_values_become_an_overflow_mark_in_the_shape_of_the_number) {
  const std::tuple<const char*, int, int, double, const char*> rows[] = {
      {"fits exactly", 8, 2, 12345.67, "12345.67"},
      {"one past full", 8, 2, 123456.78, "+++++.++"},
      {"negative", 8, 2, -12345.678, "-----.--"},
      {"no decimals, no point", 5, 0, 123456, "+++++"},
      {"point at the first place", 4, 3, 12.5, ".+++"},
      {"point before the field", 3, 5, 1, "+++"},
      {"zero takes '-'", 3, 2, 0, ".--"},
      {"printf rounds the binary value, ties to even", 12, 1, 0.25, "         0.2"},
      {"negative zero keeps its sign", 12, 1, -0.0, "        -0.0"},
      {"NaN", 12, 1, nan, "         nan"},
      {"NaN too wide takes '-'", 2, 1, nan, ".-"},
      {"widest field", 31, 1, 1e40, "+++++++++++++++++++++++++++++.+"},
      {"width above 31 counts as 31", 100, 1, 1e40, "+++++++++++++++++++++++++++++.+"},
      {"negative width is a left-aligned field", -6, 1, 2.5, "2.5   "},
      {"negative precision is printf's 6", 12, -1, 2.5, "    2.500000"},
      {"huge precision never fits", 12, INT_MAX, 2.5, "++++++++++++"},
      {"zero width", 0, 1, 2.5, ""},
  };
  test_numeric_server s;
  const int index = s.add("n", numeric_type::number);
  for (const auto& [what, width, precision, value, text] : rows) {
    SCOPED_TRACE(what);
    numeric_nmrc n(s, index, 12, 1, 1.0, "");
    set_options(n, {.width = width, .precision = precision});
    EXPECT_EQ(shown(s, n, value), text);
  }
}

// Status 0, the other kind of entry, and no server: the caller's text stays as it was.
TEST(numeric_format, no_value_leaves_the_text_untouched) {
  test_numeric_server s;
  s.add_every_type(12, 1);
  std::string out = "keep";
  for (int type = 0; type < 18; ++type) {
    SCOPED_TRACE(type);
    std::unique_ptr<numeric> n(make_numeric(s, type + 1));
    if (n == nullptr) continue;
    s.set_status(type + 1, numeric_status::no_data);
    EXPECT_EQ(n->as_string(0, out, true), numeric_status::no_data);
    s.set_status(type + 1, numeric_status::stale);
    std::string stale;
    EXPECT_EQ(n->as_string(0, stale, true), numeric_status::stale);
  }
  s.set_text(1, "abc");
  EXPECT_EQ(distance_nmrc(s, 1, 12, 2).as_string(0, out, true), 0) << "a text entry";
  EXPECT_EQ(numeric(s, numeric_type::distance + 1).as_string(0, out, true), 0) << "a number";
  EXPECT_EQ(numeric(streamable_init).as_string(0, out, true), 0) << "no server";
  EXPECT_EQ(numeric(streamable_init).type_id(), -1) << "no server, no type";
  EXPECT_EQ(out, "keep");
}

TEST(numeric_format, text_entries_pad_by_the_sign_of_the_entry_width) {
  const std::tuple<const char*, int, bool, const char*> rows[] = {
      {"negative width pads on the right", -6, true, "abc   "},
      {"positive width puts the whole width in front", 6, true, "      abc"},
      {"width not above the length", 3, true, "abc"},
      {"no padding asked", 6, false, "abc"},
      {"width capped at 31", INT_MIN, true, "abc                            "},
  };
  test_numeric_server s;
  for (const auto& [what, width, pad, text] : rows) {
    SCOPED_TRACE(what);
    const int index = s.add("t", numeric_type::text, width);
    s.set_text(index, "abc");
    std::string out;
    EXPECT_EQ(numeric(s, index).as_string(0, out, pad), numeric_status::fresh);
    EXPECT_EQ(out, text);
  }
}

TEST(numeric_format, bearings_round_in_degrees_and_wrap_360_to_0) {
  const std::tuple<const char*, int, double, const char*> rows[] = {
      {"359.96 rounds to 360 and wraps", 1, 359.96 * deg, "0.0"},
      {"359.94 stays", 1, 359.94 * deg, "359.9"},
      {"whole degrees", 0, 359.5 * deg, "0"},
      {"half away from zero", 0, 10.5 * deg, "11"},
      {"negative zero shows as 0", 1, -0.0, "0.0"},
      {"NaN", 1, nan, "nan"},
  };
  test_numeric_server s;
  const int index = s.add("b", numeric_type::true_bearing);
  for (const auto& [what, precision, radians, text] : rows) {
    SCOPED_TRACE(what);
    bearing_nmrc n(s, index, 12, precision, "\xB0T");
    EXPECT_EQ(shown(s, n, radians, false), text);
  }
  bearing_nmrc turns(s, index, 12, 3, "rev");
  set_options(turns, {.precision = 3, .factor = 1.0 / 360, .units = "rev"});
  EXPECT_EQ(shown(s, turns, 90 * deg, false), "0.250") << "the factor applies to the degrees";
}

TEST(numeric_format, compound_intervals_split_into_weeks_to_seconds) {
  const std::pair<double, const char*> rows[] = {
      {0, "00s"},
      {59, "59s"},
      {59.9, "59s"},
      {60, "01m00s"},
      {3600, "1h00m00s"},
      {93784, "1d2h03m04s"},
      {604800, "1w0d0h00m00s"},
      {-65, "-1m-5s"},
      {nan, "------------"},
      {1e300, "++++++++++++"},
  };
  test_numeric_server s;
  time_interval_nmrc n(s, s.add("t", numeric_type::time_interval), 12, 0);
  const auto d = set_options(n, {.unit_index = time_unit::compound, .precision = 0});
  EXPECT_STREQ(d.units, "") << "the compound form writes its own letters";
  for (const auto& [seconds, text] : rows) {
    EXPECT_EQ(shown(s, n, seconds), text) << seconds;
  }
}

TEST(numeric_format, memory_chooses_its_unit_and_significant_figures) {
  const std::tuple<double, int, const char*, const char*> rows[] = {
      {0, 1, "0.0", "b"},
      {1023, 1, "1000.0", "b"},
      {1024, 1, "1.0", "kb"},
      {1048576 * 3.14159, 3, "3.140", "Mb"},
      {1e12, 1, "900.0", "Gb"},
      {1e12, 3, "931.000", "Gb"},
      {1e12, 0, "931", "Gb"},
      {1e15, 1, "900000.0", "Gb"},
      {-5, 1, "-5.0", "b"},
      {0.5, 1, "1.0", "b"},  // one significant figure of a fraction rounds up
      {nan, 1, "nan", "b"},
  };
  test_numeric_server s;
  const int index = s.add("m", numeric_type::memory, 12, 1);
  for (const auto& [bytes, precision, text, label] : rows) {
    SCOPED_TRACE(bytes);
    memory_nmrc n(s, index, 12, precision);
    EXPECT_EQ(n.get_units(), "") << "nothing shown yet";
    EXPECT_EQ(shown(s, n, bytes, false), text);
    EXPECT_EQ(n.get_units(), label);
  }
  memory_nmrc fixed(s, index, 12, 1);
  set_options(fixed, {.unit_index = memory_unit::kilobyte, .factor = 1.0 / 1024, .units = "kb"});
  EXPECT_EQ(shown(s, fixed, 3000, false), "2.9");
  EXPECT_EQ(fixed.get_units(), "kb");
}

TEST(numeric_format, dates_follow_the_flags) {
  constexpr double stamp = 1709647629.25;  // 2024-03-05 14:07:09.25 UTC
  const std::tuple<const char*, int, int, double, const char*> rows[] = {
      {"long date and time", 5, 0, stamp, "5 Mar 2024 14:07:09"},
      {"long date", 1, 0, stamp, "5 Mar 2024"},
      {"day of year", 3, 0, stamp, "65"},
      {"day of year and time", 7, 2, stamp, "65 14:07:09.25"},
      {"time alone", 4, 1, stamp, "14:07:09.3"},
      {"negative decimals count as 3", 4, -3, stamp, "14:07:09.250"},
      {"nothing", 0, 0, stamp, ""},
      {"day 365 of a common year", 3, 0, 1704024000, "365"},
      {"day 366 of a leap year prints 0", 3, 0, 1735646400, "0"},
      {"the day of the value rounded to the second", 3, 0, 1704067199.6, "1"},
  };
  test_numeric_server s;
  const int index = s.add("t", numeric_type::date_time);
  for (const auto& [what, flags, decimals, value, text] : rows) {
    SCOPED_TRACE(what);
    EXPECT_EQ(shown(s, timedate_nmrc(s, index, flags, decimals), value), text);
  }
}

TEST(numeric_format, positions_use_the_axis_of_the_entry) {
  constexpr double south = -(12 + 34.0 / 60 + 56.789 / 3600) * deg;
  constexpr double east = 123.5 * deg;
  // \260 is the degree sign (0xB0), written in octal so that digits may follow it.
  const std::tuple<const char*, int, bool, double, const char*> rows[] = {
      {"degrees", 0, false, south, "12.5824414\xB0S"},
      {"minutes", 1, false, south, "12\26034.94648'S"},
      {"seconds", 2, false, south, "12\26034'56.789\"S"},
      {"longitude seconds", 2, true, east, "123\26030'00.000\"E"},
      {"radians", 3, true, 1.25, "1.250000000"},
      {"semicircles", 4, true, std::numbers::pi / 2, "0.500000000"},
      {"radians cut at 31 characters", 3, false, 1e30, "1000000000000000019884624838656"},
      {"unknown format shows as format 2", 9, false, south, "12\26034'56.789\"S"},
  };
  test_numeric_server s;
  const int lat = s.add("lat", numeric_type::latitude);
  const int lon = s.add("lon", numeric_type::longitude);
  for (const auto& [what, format, longitude, value, text] : rows) {
    SCOPED_TRACE(what);
    EXPECT_EQ(shown(s, geog_nmrc(s, longitude ? lon : lat, format), value), text);
  }
}

}  // namespace
}  // namespace kyo::test
