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
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <memory>
#include <numbers>
#include <string>
#include <utility>

#include "support/test_numeric_server.h"

namespace kyo::test {
namespace {

constexpr double deg = std::numbers::pi / 180;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// The text of `n` for a value set on entry `index`, or "<none>" when it reports no value.
std::string shown(test_numeric_server& s, const numeric& n, double value, bool pad = true) {
  s.set_value(n.get_index(), value);
  std::string out = "<none>";
  n.as_string(0, out, pad);
  return out;
}

struct factory_fixture : ::testing::Test {
  factory_fixture() {
    defaults.add_every_type(-1, -1);
    explicit_options.add_every_type(8, 3);
  }
  test_numeric_server defaults{nullptr, "defaults"};
  test_numeric_server explicit_options{nullptr, "explicit"};
};

TEST_F(factory_fixture, makes_the_kind_and_options_of_every_type_id) {
  struct row {
    int type;
    const char* kind;  // the stream class name, which names the class exactly
    int default_precision;
    const char* label;
    double factor;
    int unit_index;
  };
  const row rows[] = {
      {5, "numeric_nmrc", 1, "", 1.0, 0},
      {6, "numeric_nmrc", 1, "", 1.0, 0},
      {7, "distance_nmrc", 2, "m", 1.0, 0},
      {8, "time_interval_nmrc", 0, "s", 1.0, 0},
      {9, "speed_nmrc", 1, "kts", 3600.0 / 1852, 0},
      {10, "bearing_nmrc", 1, "\xB0T", 1.0, 0},
      {11, "bearing_nmrc", 1, "\xB0G", 1.0, 0},
      {12, "bearing_nmrc", 1, "\xB0", 1.0, 0},
      {13, "tension_nmrc", 1, "N", 1.0, 0},
      {14, "pressure_nmrc", 1, "kPa", 1.0, 0},
      {15, "emf_nmrc", 1, "V", 1.0, 0},
      {16, "numeric_nmrc", 1, "%", 1.0, 0},
      {17, "memory_nmrc", 1, "", 1.0, memory_unit::automatic},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.type);
    for (test_numeric_server* s : {&defaults, &explicit_options}) {
      std::unique_ptr<numeric> n(make_numeric(*s, r.type + 1));
      ASSERT_NE(n, nullptr);
      EXPECT_EQ(stream_registry::instance().find(typeid(*n))->name, r.kind);
      auto* nn = dynamic_cast<numeric_nmrc*>(n.get());
      ASSERT_NE(nn, nullptr);
      numeric_nmrc::nmrc_data d;
      nn->get_nmrc_data(d);
      const bool dflt = s == &defaults;
      EXPECT_EQ(d.width, dflt ? 12 : 8);
      EXPECT_EQ(d.precision, dflt ? r.default_precision : 3);
      EXPECT_STREQ(d.units, r.label);
      EXPECT_DOUBLE_EQ(d.factor, r.factor);
      EXPECT_EQ(d.unit_index, r.unit_index);
      EXPECT_EQ(n->type_id(), r.type);
    }
  }

  std::unique_ptr<numeric> text(make_numeric(defaults, 1));
  EXPECT_EQ(typeid(*text), typeid(numeric));
  for (test_numeric_server* s : {&defaults, &explicit_options}) {
    std::unique_ptr<numeric> n(make_numeric(*s, 2));
    auto* td = dynamic_cast<timedate_nmrc*>(n.get());
    ASSERT_NE(td, nullptr);
    EXPECT_EQ(td->get_flags(), timedate_flags::long_date | timedate_flags::time);
    EXPECT_EQ(td->get_decimals(), s == &defaults ? -1 : 3) << "the entry's precision";
    for (int axis : {3, 4}) {
      std::unique_ptr<numeric> g(make_numeric(*s, axis));
      ASSERT_NE(dynamic_cast<geog_nmrc*>(g.get()), nullptr);
      EXPECT_EQ(dynamic_cast<geog_nmrc*>(g.get())->get_format(), geog_format::seconds);
    }
  }
}

TEST(make_numeric, gives_null_for_booleans_and_unknown_ids_and_reads_only_the_low_byte) {
  test_numeric_server s;
  for (int type = 0; type < 256; ++type)
    s.add("t", type);
  for (int type = 0; type < 256; ++type) {
    SCOPED_TRACE(type);
    std::unique_ptr<numeric> n(make_numeric(s, type + 1));
    EXPECT_EQ(n == nullptr, type == numeric_type::boolean || type >= numeric_type::count);
  }
  const int flagged = s.add("flagged distance", 0x1000 | numeric_type::distance);
  const int high_only = s.add("high byte only", 0x1200);
  std::unique_ptr<numeric> d(make_numeric(s, flagged));
  EXPECT_NE(dynamic_cast<distance_nmrc*>(d.get()), nullptr);
  std::unique_ptr<numeric> t(make_numeric(s, high_only));
  EXPECT_EQ(typeid(*t), typeid(numeric));
}

TEST(make_numeric, maps_default_and_oversized_widths) {
  test_numeric_server s;
  const int wide = s.add("wide", numeric_type::distance, 40, 2);
  const int widest = s.add("widest", numeric_type::distance, 31, 2);
  const int negative = s.add("negative", numeric_type::distance, -5, 2);
  numeric_nmrc::nmrc_data d;
  for (auto [index, width] :
       std::initializer_list<std::pair<int, int>>{{wide, 31}, {widest, 31}, {negative, -5}}) {
    std::unique_ptr<numeric> n(make_numeric(s, index));
    dynamic_cast<numeric_nmrc&>(*n).get_nmrc_data(d);
    EXPECT_EQ(d.width, width);
  }
}

TEST(numeric_units, every_table_row_converts_a_known_quantity) {
  struct row {
    const char* what;
    int type;
    int unit;
    double base_value;
    int precision;
    const char* text;
    const char* label;
  };
  const row rows[] = {
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
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    std::unique_ptr<numeric> n(make_numeric(s, r.type + 1));
    auto& nn = dynamic_cast<numeric_nmrc&>(*n);
    numeric_nmrc::nmrc_data d;
    nn.get_nmrc_data(d);
    d.unit_index = r.unit;
    d.precision = r.precision;
    nn.set_nmrc_data(d);
    EXPECT_STREQ(d.units, r.label) << "set_nmrc_data completes the caller's record too";
    EXPECT_EQ(shown(s, nn, r.base_value, false), r.text);
    EXPECT_EQ(nn.get_units(), r.label);
  }
}

TEST(numeric_units, unit_outside_the_table_keeps_factor_and_label_but_time_drops_its_label) {
  test_numeric_server s;
  s.add_every_type(12, 1);
  for (int type : {7, 8, 9, 13, 14, 15}) {
    SCOPED_TRACE(type);
    std::unique_ptr<numeric> n(make_numeric(s, type + 1));
    auto& nn = dynamic_cast<numeric_nmrc&>(*n);
    numeric_nmrc::nmrc_data d;
    nn.get_nmrc_data(d);
    d.unit_index = 9;
    d.factor = 2.5;
    std::strcpy(d.units, "xyz");
    nn.fix_nmrc_data(d);
    EXPECT_EQ(d.factor, 2.5);
    EXPECT_STREQ(d.units, type == 8 ? "" : "xyz");
  }
}

TEST(numeric_format, too_wide_values_become_an_overflow_mark_in_the_shape_of_the_number) {
  struct row {
    const char* what;
    int width;
    int precision;
    double value;
    bool pad;
    const char* text;
  };
  const row rows[] = {
      {"fits exactly", 8, 2, 12345.67, true, "12345.67"},
      {"one past full", 8, 2, 123456.78, true, "+++++.++"},
      {"negative", 8, 2, -12345.678, true, "-----.--"},
      {"no decimals, no point", 5, 0, 123456, true, "+++++"},
      {"point at the first place", 4, 3, 12.5, true, ".+++"},
      {"point before the field", 3, 5, 1, true, "+++"},
      {"zero takes '-'", 3, 2, 0, true, ".--"},
      {"unpadded text has no field", 12, 2, 3.14159, false, "3.14"},
      {"padded", 12, 2, 3.14159, true, "        3.14"},
      {"printf rounds the binary value, ties to even", 12, 1, 0.25, false, "0.2"},
      {"negative zero keeps its sign", 12, 1, -0.0, true, "        -0.0"},
      {"NaN", 12, 1, nan, true, "         nan"},
      {"negative NaN", 12, 1, -nan, true, "        -nan"},
      {"NaN too wide takes '-'", 2, 1, nan, true, ".-"},
      {"infinity", 6, 1, std::numeric_limits<double>::infinity(), true, "   inf"},
      {"widest field", 31, 1, 1e40, true, "+++++++++++++++++++++++++++++.+"},
      {"width above 31 counts as 31", 100, 1, 1e40, true, "+++++++++++++++++++++++++++++.+"},
      {"negative width is a left-aligned field", -6, 1, 2.5, true, "2.5   "},
      {"negative precision is printf's 6", 12, -1, 2.5, true, "    2.500000"},
      {"huge precision never fits", 12, INT_MAX, 2.5, true, "++++++++++++"},
      {"zero width", 0, 1, 2.5, true, ""},
  };
  test_numeric_server s;
  const int index = s.add("n", numeric_type::number);
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    numeric_nmrc n(s, index, 12, 1, 1.0, "");
    numeric_nmrc::nmrc_data d;
    n.get_nmrc_data(d);
    d.width = r.width;
    d.precision = r.precision;
    n.set_nmrc_data(d);
    EXPECT_EQ(shown(s, n, r.value, r.pad), r.text);
  }
}

TEST(numeric_format, no_value_leaves_the_text_untouched) {
  test_numeric_server s;
  s.add_every_type(12, 1);
  for (int type = 0; type < 18; ++type) {
    if (type == numeric_type::boolean) continue;
    SCOPED_TRACE(type);
    s.set_status(type + 1, numeric_status::no_data);
    std::unique_ptr<numeric> n(make_numeric(s, type + 1));
    std::string out = "keep";
    EXPECT_EQ(n->as_string(0, out, true), numeric_status::no_data);
    EXPECT_EQ(out, "keep");
    s.set_status(type + 1, numeric_status::stale);
    EXPECT_EQ(n->as_string(0, out, true), numeric_status::stale);
  }
}

TEST(numeric_format, a_numeric_paired_with_the_other_kind_of_entry_reports_no_value) {
  test_numeric_server s;
  const int text = s.add("text", numeric_type::text);
  const int number = s.add("number", numeric_type::distance);
  s.set_text(text, "abc");
  std::string out = "keep";
  EXPECT_EQ(distance_nmrc(s, text, 12, 2).as_string(0, out, true), 0);
  EXPECT_EQ(numeric(s, number).as_string(0, out, true), 0);
  EXPECT_EQ(numeric(streamable_init).as_string(0, out, true), 0) << "no server";
  EXPECT_EQ(out, "keep");
}

TEST(numeric_format, text_entries_pad_by_the_sign_of_the_entry_width) {
  struct row {
    const char* what;
    int width;
    bool pad;
    const char* text;
  };
  const row rows[] = {
      {"negative width pads on the right", -6, true, "abc   "},
      {"positive width puts the whole width in front", 6, true, "      abc"},
      {"width not above the length", 3, true, "abc"},
      {"no padding asked", 6, false, "abc"},
      {"width capped at 31", INT_MIN, true, "abc                            "},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    test_numeric_server s;
    const int index = s.add("t", numeric_type::text, r.width);
    s.set_text(index, "abc");
    std::string out;
    EXPECT_EQ(numeric(s, index).as_string(0, out, r.pad), numeric_status::fresh);
    EXPECT_EQ(out, r.text);
  }
}

TEST(numeric_format, bearings_round_in_degrees_and_wrap_360_to_0) {
  struct row {
    const char* what;
    int precision;
    double radians;
    const char* text;
  };
  const row rows[] = {
      {"half turn", 1, 180 * deg, "180.0"},
      {"359.96 rounds to 360 and wraps", 1, 359.96 * deg, "0.0"},
      {"359.94 stays", 1, 359.94 * deg, "359.9"},
      {"a full turn", 1, 2 * std::numbers::pi, "0.0"},
      {"whole degrees", 0, 359.5 * deg, "0"},
      {"half away from zero", 0, 10.5 * deg, "11"},
      {"negative zero shows as 0", 1, -0.0, "0.0"},
      {"NaN", 1, nan, "nan"},
  };
  test_numeric_server s;
  const int index = s.add("b", numeric_type::true_bearing);
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    bearing_nmrc n(s, index, 12, r.precision, "\xB0T");
    EXPECT_EQ(shown(s, n, r.radians, false), r.text);
  }
}

TEST(numeric_format, compound_intervals_split_into_weeks_to_seconds) {
  struct row {
    double seconds;
    const char* text;
  };
  const row rows[] = {
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
  const int index = s.add("t", numeric_type::time_interval);
  time_interval_nmrc n(s, index, 12, 0);
  numeric_nmrc::nmrc_data d;
  n.get_nmrc_data(d);
  d.unit_index = time_unit::compound;
  n.set_nmrc_data(d);
  EXPECT_STREQ(d.units, "") << "the compound form writes its own letters";
  for (const row& r : rows) {
    SCOPED_TRACE(r.seconds);
    EXPECT_EQ(shown(s, n, r.seconds), r.text);
  }
}

TEST(numeric_format, memory_chooses_its_unit_and_significant_figures) {
  struct row {
    double bytes;
    int precision;
    const char* text;
    const char* label;
  };
  const row rows[] = {
      {0, 1, "0.0", "b"},
      {1023, 1, "1000.0", "b"},
      {1024, 1, "1.0", "kb"},
      {1536, 2, "1.50", "kb"},
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
  for (const row& r : rows) {
    SCOPED_TRACE(r.bytes);
    memory_nmrc n(s, index, 12, r.precision);
    EXPECT_EQ(n.get_units(), "") << "nothing shown yet";
    EXPECT_EQ(shown(s, n, r.bytes, false), r.text);
    EXPECT_EQ(n.get_units(), r.label);
  }

  memory_nmrc fixed(s, index, 12, 1);
  numeric_nmrc::nmrc_data d;
  fixed.get_nmrc_data(d);
  d.unit_index = memory_unit::kilobyte;
  d.factor = 1.0 / 1024;
  std::strcpy(d.units, "kb");
  fixed.set_nmrc_data(d);
  EXPECT_EQ(shown(s, fixed, 3000, false), "2.9");
  EXPECT_EQ(fixed.get_units(), "kb");
}

TEST(numeric_format, dates_follow_the_flags) {
  constexpr double stamp = 1709647629.25;  // 2024-03-05 14:07:09.25 UTC
  struct row {
    const char* what;
    int flags;
    int decimals;
    double value;
    const char* text;
  };
  const row rows[] = {
      {"long date and time", 5, 0, stamp, "5 Mar 2024 14:07:09"},
      {"long date", 1, 0, stamp, "5 Mar 2024"},
      {"day of year", 3, 0, stamp, "65"},
      {"day of year and time", 7, 2, stamp, "65 14:07:09.25"},
      {"time alone", 4, 1, stamp, "14:07:09.3"},
      {"negative decimals count as 0", 4, -3, stamp, "14:07:09"},
      {"nothing", 0, 0, stamp, ""},
      {"day 365 of a common year", 3, 0, 1704024000, "365"},
      {"day 366 of a leap year prints 0", 3, 0, 1735646400, "0"},
      {"the day of the value rounded to the second", 3, 0, 1704067199.6, "1"},
  };
  test_numeric_server s;
  const int index = s.add("t", numeric_type::date_time);
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    timedate_nmrc n(s, index, r.flags, r.decimals);
    EXPECT_EQ(shown(s, n, r.value), r.text);
  }
}

TEST(numeric_format, positions_use_the_axis_of_the_entry) {
  constexpr double south = -(12 + 34.0 / 60 + 56.789 / 3600) * deg;
  constexpr double east = 123.5 * deg;
  struct row {
    const char* what;
    int format;
    bool longitude;
    double value;
    const char* text;
  };
  const row rows[] = {
      {"degrees", 0, false, south, "12.5824414\xB0S"},
      {"minutes", 1, false, south,
       "12\xB0"
       "34.94648'S"},
      {"seconds", 2, false, south,
       "12\xB0"
       "34'56.789\"S"},
      {"longitude seconds", 2, true, east,
       "123\xB0"
       "30'00.000\"E"},
      {"longitude degrees", 0, true, east,
       "123.5000000\xB0"
       "E"},
      {"radians", 3, true, 1.25, "1.250000000"},
      {"semicircles", 4, true, std::numbers::pi / 2, "0.500000000"},
      {"radians cut at 31 characters", 3, false, 1e30, "1000000000000000019884624838656"},
      {"unknown format shows as format 2", 9, false, south,
       "12\xB0"
       "34'56.789\"S"},
  };
  test_numeric_server s;
  const int lat = s.add("lat", numeric_type::latitude);
  const int lon = s.add("lon", numeric_type::longitude);
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    geog_nmrc n(s, r.longitude ? lon : lat, r.format);
    EXPECT_EQ(shown(s, n, r.value), r.text);
  }
}

TEST(numeric, path_is_the_server_path_and_the_entry_name) {
  test_numeric_server root(nullptr, "root");
  auto* hidden = new test_numeric_server(&root, "h", true);
  auto* gps = new test_numeric_server(hidden, "gps.1");
  const int index = gps->add("Depth", numeric_type::distance);
  distance_nmrc n(*gps, index, 12, 2);
  EXPECT_EQ(n.get_path(true), "h.gps..1.Depth");
  EXPECT_EQ(n.get_path(false), "gps..1.Depth");
  EXPECT_EQ(n.get_name(), "Depth");
  EXPECT_EQ(numeric(streamable_init).get_path(true), "");

  std::unique_ptr<numeric> copy(n.clone());
  EXPECT_EQ(typeid(*copy), typeid(distance_nmrc));
  EXPECT_EQ(copy->get_path(true), "h.gps..1.Depth");
}

}  // namespace
}  // namespace kyo::test
