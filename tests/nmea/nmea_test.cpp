// NMEA sentences: framing, checksums and field formats, and the numeric server that turns them
// into entries with statuses. Expected values are worked out by hand from the sentence texts.
#include <kyo/nmea/line_source.h>
#include <kyo/nmea/nmea_server.h>
#include <kyo/nmea/sentence.h>
#include <kyo/nmea/simulator.h>
#include <kyo/numerics/numeric.h>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <optional>
#include <string>
#include <tuple>

#include <fcntl.h>

#include "support/temp_dir.h"

namespace kyo::test {
namespace {

constexpr double deg = std::numbers::pi / 180;

// "$" + body + "*" + its checksum, as a receiver writes it.
std::string with_checksum(const std::string& body) {
  char tail[4];
  std::snprintf(tail, sizeof tail, "*%02X", nmea::checksum(body));
  return "$" + body + tail;
}

TEST(nmea_sentence, framing_and_checksums) {
  using nmea::parse_error;
  const std::tuple<const char*, std::string, parse_error, const char*, int> rows[] = {
      {"checked, CR LF", "$GPHDT,218.53,T*08\r\n", parse_error::none, "GP HDT", 2},
      {"lower-case checksum", "$HEHDT,218.53,T*12", parse_error::none, "HE HDT", 2},
      {"no checksum is taken unchecked", "$GPGLL,2200.097,S,01756.346,W", parse_error::none,
       "GP GLL", 4},
      {"logger stamp in front", "2014-08-01T00:00:00.183000Z $HEHDT,218.53,T*12", parse_error::none,
       "HE HDT", 2},
      {"proprietary", with_checksum("PSXN,20,1,0,0,0"), parse_error::none, "P SXN", 5},
      {"encapsulated", with_checksum("AIVDM,1,1,,A,13aG?"), parse_error::none, "AI VDM", 5},
      {"wrong checksum", "$GPHDT,218.53,T*1C", parse_error::bad_checksum, "", 0},
      {"checksum not hex", "$GPHDT,218.53,T*G1", parse_error::bad_checksum, "", 0},
      {"comment", "# Name: GPS-320FW", parse_error::no_sentence, "", 0},
      {"empty", "", parse_error::no_sentence, "", 0},
      {"binary byte", std::string("$GPHDT,2\x01", 9), parse_error::malformed, "", 0},
      {"spliced: two starts", "$GPGSV,3,3,12,06,$GPGGA,000410.00", parse_error::malformed, "", 0},
      {"no address", "$,1,2", parse_error::malformed, "", 0},
      {"too long", "$GPTXT," + std::string(300, 'x'), parse_error::malformed, "", 0},
  };
  for (const auto& [what, line, error, address, fields] : rows) {
    SCOPED_TRACE(what);
    nmea::sentence s;
    ASSERT_EQ(nmea::parse(line, s), error);
    if (error != parse_error::none) continue;
    EXPECT_EQ(std::string(s.talker) + " " + std::string(s.type), address);
    EXPECT_EQ(s.fields.size(), std::size_t(fields));
  }
}

TEST(nmea_sentence, field_formats) {
  using nmea::coordinate;
  const std::tuple<const char*, std::optional<double>, std::optional<double>> angles[] = {
      {"north", coordinate("4916.45", "N", true), (49 + 16.45 / 60) * deg},
      {"south", coordinate("2200.110899", "S", true), -(22 + 0.110899 / 60) * deg},
      {"west, three degree digits", coordinate("12311.12", "W", false), -(123 + 11.12 / 60) * deg},
      {"no whole degrees", coordinate("05.5", "E", false), 5.5 / 60 * deg},
      {"the pole", coordinate("9000.00", "N", true), 90 * deg},
      {"beyond the pole", coordinate("9000.01", "N", true), std::nullopt},
      {"60 minutes", coordinate("4960.00", "N", true), std::nullopt},
      {"latitude letter on a longitude", coordinate("01756.346", "N", false), std::nullopt},
      {"empty", coordinate("", "N", true), std::nullopt},
      {"signs are not digits", coordinate("-4916.45", "N", true), std::nullopt},
  };
  for (const auto& [what, got, expected] : angles) {
    SCOPED_TRACE(what);
    ASSERT_EQ(got.has_value(), expected.has_value());
    if (got) {
      EXPECT_NEAR(*got, *expected, 1e-15);
    }
  }
  EXPECT_EQ(nmea::time_of_day("000000.16"), 0.16);
  EXPECT_EQ(nmea::time_of_day("235959"), 86399);
  EXPECT_EQ(nmea::time_of_day("240000"), std::nullopt);
  EXPECT_EQ(nmea::date_ddmmyy("010814"), 16283) << "1 August 2014";
  EXPECT_EQ(nmea::date_ddmmyy("290223"), std::nullopt) << "no 29 February in 2023";
  EXPECT_EQ(nmea::date_dmy("01", "08", "2014"), 16283);
  EXPECT_EQ(nmea::number("+.5"), 0.5);
  EXPECT_EQ(nmea::number("1e3"), std::nullopt) << "no exponents in NMEA fields";
}

// Feeds lines and reads the entries back at tick 1000 (fresh) or 9000 (stale, 3 s timeout).
class nmea_server_test : public testing::Test {
 protected:
  double value(int index, clock_tick t = 1000) const {
    double v = -1;
    status_ = server_.get_value(index, t, &v);
    return v;
  }
  int status(int index, clock_tick t = 1000) const {
    value(index, t);
    return status_;
  }

  nmea::nmea_server server_{nullptr, "GPS"};
  mutable int status_ = 0;
};

TEST_F(nmea_server_test, sentences_fill_the_entries_in_base_units) {
  const std::string lines[] = {
      "$GPZDA,201530.00,04,07,2002,00,00*60",
      with_checksum("GPGGA,201531.00,4916.45,N,12311.12,W,2,08,0.9,545.4,M,46.9,M,,"),
      with_checksum("GPVTG,054.7,T,034.4,M,005.5,N,010.2,K,A"),
      with_checksum("SDHDG,229.8,,,1.3,E"),
  };
  for (const std::string& line : lines)
    EXPECT_EQ(server_.feed(line, 1000), nmea::line_result::used) << line;
  EXPECT_EQ(value(nmea::entry::utc_time), 1025813731.0) << "2002-07-04 20:15:31 UTC";
  EXPECT_NEAR(value(nmea::entry::latitude), (49 + 16.45 / 60) * deg, 1e-15);
  EXPECT_NEAR(value(nmea::entry::longitude), -(123 + 11.12 / 60) * deg, 1e-15);
  EXPECT_EQ(value(nmea::entry::fix_quality), 2);
  EXPECT_EQ(value(nmea::entry::antenna_height), 545.4);
  EXPECT_NEAR(value(nmea::entry::course), 54.7 * deg, 1e-15);
  EXPECT_NEAR(value(nmea::entry::speed), 5.5 * 1852 / 3600, 1e-12);
  EXPECT_NEAR(value(nmea::entry::heading), 231.1 * deg, 1e-12) << "magnetic + east variation";
  EXPECT_EQ(status(nmea::entry::heading), numeric_status::fresh);
  EXPECT_EQ(status(nmea::entry::heading, 4000), numeric_status::stale) << "3 s old";

  EXPECT_TRUE(server_.entry_count() == 10 && server_.is_browsable());
  EXPECT_EQ(server_.time_of(lines[0]).value_or(timedate(0)).value(),
            1025813730.0 + seconds_1901_to_1970)
      << "a line's own time, 20:15:30";
  nmrc_info info;
  server_.describe(nmea::entry::latitude, info);
  EXPECT_EQ(info.type_id(), numeric_type::latitude);
  server_.describe(0, info);
  EXPECT_EQ(std::tuple(info.type, info.width, info.precision), std::tuple(0, 0, 0)) << "no entry 0";
}

TEST_F(nmea_server_test, no_fix_leaves_the_position_without_data) {
  server_.feed(with_checksum("GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W"),
               1000);
  EXPECT_EQ(status(nmea::entry::latitude), numeric_status::fresh);
  EXPECT_EQ(value(nmea::entry::utc_time), 764426119.0) << "1994-03-23 12:35:19 UTC";
  EXPECT_NEAR(value(nmea::entry::speed), 22.4 * 1852 / 3600, 1e-12);
  server_.feed(with_checksum("GPGGA,235952.00,0000.0000,N,00000.0000,E,0,00,0.0,,M,,M,,"), 2000);
  EXPECT_EQ(status(nmea::entry::latitude), numeric_status::no_data) << "quality 0";
  EXPECT_EQ(value(nmea::entry::fix_quality), 0);
  server_.feed(with_checksum("GPRMC,000002.00,A,4807.038,N,01131.000,E,,,240394,,"), 3000);
  EXPECT_EQ(status(nmea::entry::longitude), numeric_status::fresh);
  server_.feed(with_checksum("GPGLL,4807.038,N,01131.000,E,000003.00,V,N"), 3000);
  EXPECT_EQ(status(nmea::entry::longitude), numeric_status::no_data) << "GLL status V";
}

// A simulated survey replayed through the server gives back its own positions to the printed
// precision (a millionth of a minute), its times, courses and speed.
TEST(nmea_simulator, replays_to_its_own_states) {
  nmea::survey_plan plan;
  plan.line_count = 3;
  plan.line_length_m = 200;
  const nmea::survey_simulator sim(plan);
  const double per_minute = deg / 60;
  ASSERT_EQ(sim.epoch_count(), 1 + static_cast<std::int64_t>((3 * 200 + 2 * std::numbers::pi * 25) /
                                                             (5 * 1852.0 / 3600)));
  nmea::nmea_server server(nullptr, "sim");
  for (std::int64_t i = 0; i < sim.epoch_count(); ++i) {
    const std::string text = sim.sentences(i);
    std::size_t at = 0;
    for (std::size_t nl; (nl = text.find('\n', at)) != std::string::npos; at = nl + 1)
      ASSERT_EQ(server.feed(text.substr(at, nl + 1 - at), 0), nmea::line_result::used);
    const nmea::vessel_state v = sim.state(i);
    double lat = 0, lon = 0, t = 0, cog = 0;
    server.get_value(nmea::entry::latitude, 0, &lat);
    server.get_value(nmea::entry::longitude, 0, &lon);
    server.get_value(nmea::entry::utc_time, 0, &t);
    server.get_value(nmea::entry::course, 0, &cog);
    ASSERT_NEAR(lat, v.lat_rad, 0.5e-6 * per_minute) << i;
    ASSERT_NEAR(lon, v.lon_rad, 0.5e-6 * per_minute) << i;
    ASSERT_EQ(t + seconds_1901_to_1970, v.time.value()) << i;
    ASSERT_NEAR(std::remainder(cog - v.course_rad, 2 * std::numbers::pi), 0, 0.005 * deg) << i;
  }
  EXPECT_EQ(server.counts().rejected(), 0u);
  // Same plan, same bytes; the first line runs north-east, the second back south-west.
  EXPECT_EQ(nmea::survey_simulator(plan).sentences(7), sim.sentences(7));
  EXPECT_NEAR(sim.state(10).course_rad, 45 * deg, 1e-12);
  EXPECT_NEAR(sim.state(sim.epoch_count() / 2).course_rad, 225 * deg, 1e-9);
  EXPECT_EQ(nmea::survey_simulator::latitude_text(-(9 + 59.9999996 / 60) * deg), "1000.000000,S")
      << "rounding carries into the degrees";
  EXPECT_EQ(nmea::survey_simulator::longitude_text(2.5 * deg), "00230.000000,E");
}

// Files give whole lines without their breaks, cut at max_line, the last one also without a
// break; gpsd's JSON reports are skipped only on gpsd connections; specs that name nothing fail
// with a reason.
TEST(nmea_line_source, files_and_specs) {
  temp_dir dir;
  dir.write("log", "a\r\n{\"class\":\"TPV\"}\n" + std::string(5000, 'x') + "\n\nlast\r");
  std::string error;
  std::unique_ptr<nmea::line_source> log = nmea::open_source(dir.file("log"), error);
  ASSERT_NE(log, nullptr) << error;
  EXPECT_FALSE(log->live());
  std::vector<std::string> lines;
  while (std::optional<std::string> l = log->next_line())
    lines.push_back(*l);
  EXPECT_EQ(lines,
            (std::vector<std::string>{"a", "{\"class\":\"TPV\"}",
                                      std::string(nmea::line_source::max_line, 'x'), "", "last"}));
  EXPECT_TRUE(log->error().empty());
  // A long line that starts just before the end of the first 8192-byte read is cut all the same.
  dir.write("long", std::string(8091, 'a') + "\n" + std::string(5000, 'z') + "\n");
  log = nmea::open_source(dir.file("long"), error);
  log->next_line();
  EXPECT_EQ(log->next_line(), std::string(nmea::line_source::max_line, 'z'));
  const std::pair<const char*, const char*> refused[] = {
      {"tcp:localhost", "is not tcp:HOST:PORT"},
      {"gpsd:[::1", "is not gpsd:HOST[:PORT]"},
      {"tcp:127.0.0.1:1", "cannot connect to 127.0.0.1:1"},
      {"tcp:[::1]:1", "cannot connect to"},
      {"no-such.log", "cannot open 'no-such.log'"},
  };
  for (const auto& [spec, why] : refused) {
    EXPECT_EQ(nmea::open_source(spec, error, 2000), nullptr) << spec;
    EXPECT_NE(error.find(why), std::string::npos) << error;
  }
  nmea::open_source("-", error).reset();
  EXPECT_NE(::fcntl(0, F_GETFD), -1) << "standard input stays open";
}

}  // namespace
}  // namespace kyo::test
