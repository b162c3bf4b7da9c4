// Reports: the template reader's escapes, comments and cut tokens, fields of the report, the
// project details and numeric servers, IF/ELSE/ENDIF, table parts over lists and children,
// sections, and the example templates rendered in a zone with daylight saving.
#include <kyo/nmea/nmea_server.h>
#include <kyo/numerics/numeric.h>
#include <kyo/numerics/numeric_server_list.h>
#include <kyo/output/report.h>
#include <kyo/time/time_manager.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <tuple>

#include "support/fake_clock.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"
#include "support/test_numeric_server.h"

namespace kyo::test {
namespace {

// A report with a list field "Fleet" of three servers V1 to V3, each with "Speed" of 1 to 3
// knots.
struct fleet_report : default_report {
  using default_report::default_report;
  int find_field(std::string_view n) const override {
    return n == "Fleet" ? 100 : default_report::find_field(n);
  }
  void get_field(int i, clock_tick t, variable& v) const override {
    if (i != 100) return default_report::get_field(i, t, v);
    auto* list = new numeric_server_list;
    for (int k = 1; k <= 3; ++k) {
      auto* s = new test_numeric_server(nullptr, "V" + std::to_string(k));
      s->set_value(s->add("Speed", numeric_type::speed), k * 1852.0 / 3600);
      list->add(s);
    }
    v.set(*list);
  }
};

// Reports at 13:05:20 GMT on 15 July 2024, in London (summer time, 14:05:20 local).
class report_test : public testing::Test {
 protected:
  report_test() {
    time_manager::reset();
    auto* gps = new test_numeric_server(&root, "GPS");
    gps->set_value(gps->add("Latitude", numeric_type::latitude), 0.9);
    gps->set_value(gps->add("Antenna height", numeric_type::distance), 12.5);
    gps->set_status(gps->add("Fix", numeric_type::number), numeric_status::no_data);
    gps->set_value(gps->add("Flag", numeric_type::boolean), 1);
    new test_numeric_server(gps, "Aux");
    auto* dots = new test_numeric_server(&root, "a.b");
    dots->set_text(dots->add("x.y", numeric_type::text), "dots");
    r.set_numerics_root(&root);
  }
  ~report_test() override { time_manager::reset(); }

  // The report for tick 0; "<stopped>" follows when generation did not reach the end.
  std::string render(const std::string& tmpl) {
    std::istringstream in(tmpl);
    std::ostringstream out;
    const bool ok = r.generate(in, out, 0);
    return out.str() + (ok ? "" : "<stopped>");
  }

  scoped_env tz{"TZ", "Europe/London"};
  fake_tick tick{0};
  fake_wall_clock clock{fake_wall_clock::utc(2024, 7, 15, 13, 5, 20)};
  TProjectDetails details;
  test_numeric_server root{nullptr, ""};
  fleet_report r{"", &details};
};

TEST_F(report_test, reads_tokens_and_writes_fields_conditions_and_tables) {
  details.set_info(TProjectDetails::client, "");
  const std::tuple<const char*, std::string, std::string> rows[] = {
      {"the report's fields", "[Date] [Time] [Report Time]",
       "15-Jul-2024 14:05:20 15 Jul 2024 14:05"},
      {"comments and empty brackets write nothing", "a[!note [x]b[]c[!end]", "abc"},
      {"]] in a format is a bracket", "[Time:%02H]]h]", "14]h"},
      {"digits alone are a width", "[JobNmr:-4]|[JobNmr:3]|[Client:2]|[Company:-]",
       "1   |  1|  |-"},
      {"an over-long name is cut", "[" + std::string(3000, 'x') + "]",
       "[" + std::string(1024, 'x') + "]"},
      {"an unknown IF stays and keeps its text", "[IF:Nope]a[ELSE]b[ENDIF]c", "[IF:Nope]ac"},
      {"nested IFs inside a skipped branch",
       "[IF:GPS.Fix]A[IF:Client]B[ELSE]C[ENDIF]D[ELSE]E[IF:Client]F[ELSE]G[ENDIF]H[ENDIF]", "EFH"},
      {"numeric entries, with options",
       "[GPS.Latitude] [GPS.Latitude:1] [GPS.Antenna height:1,8,1]",
       "51\xB0"
       "33'58.326\"N 51\xB0"
       "33.97209'N 41.0"},
      {"server names, dotted names, booleans, entries without value",
       "[GPS.]|[a..b.x..y]|[GPS.Flag]|[GPS.Fix]|[GPS.Nope]|[Nope.Fix]",
       "GPS|dots|1||[GPS.Nope]|[Nope.Fix]"},
      {"a template cut in a comment", "ab[!x", "ab<stopped>"},
      {"a table part once per server of a list", "[TABLE]<[.]:[.Speed]>[ENDTABLE]|[Fleet]|",
       "|<V1:1.0><V2:2.0><V3:3.0>|"},
      {"children, with a nested table and literal brackets",
       "[TABLE]([.][TABLE]{[.]}[[[ENDTABLE][.*])[ENDTABLE][.*]", "(GPS{Aux}[)(a.b)"},
      {"tables nest at most four deep",
       "[TABLE]1[TABLE]2[TABLE]3[TABLE]4[TABLE]5[ENDTABLE][GPS.*][ENDTABLE][GPS.*][ENDTABLE]"
       "[GPS.*][ENDTABLE][GPS.*][ENDTABLE][GPS.*]",
       "1234[TABLE]5"},
  };
  for (const auto& [what, tmpl, expected] : rows) {
    SCOPED_TRACE(what);
    EXPECT_EQ(render(tmpl), expected);
  }
  EXPECT_EQ(r.field_name(0) + r.field_name(16) + "|" + r.field_name(1) + "|" + r.field_name(15),
            "|Report Time|Surveyor");
  r.set_project_details(nullptr);
  EXPECT_EQ(render("[Company][IF:Company]x[ELSE]y[ENDIF]"), "y")
      << "without project details their fields are undefined";
}

TEST_F(report_test, splits_sections_outside_table_parts) {
  std::istringstream in("head[SECTION:A]a[TABLE]t[SECTION:x]u[ENDTABLE][SECTION:B]b[[[Date][E");
  const report::master_pattern m(in);
  EXPECT_FALSE(m.complete());
  std::string all;
  for (const report::pattern& p : m.sections())
    all += p.name() + "=" + p.text() + "|";
  EXPECT_EQ(all, "=head|A=a[TABLE]t[SECTION:x]u[ENDTABLE]|B=b[[[Date]|");
  EXPECT_EQ(m.get_section("x"), nullptr);
  std::ostringstream out;
  EXPECT_TRUE(m.get_section("B")->generate(out, 0, r));
  EXPECT_EQ(out.str(), "b[15-Jul-2024");
}

TEST_F(report_test, renders_the_example_templates) {
  const std::filesystem::path docs = std::filesystem::path(__FILE__).parent_path() / "../../docs";
  test_numeric_server nmea_root{nullptr, ""};
  auto* gps = new nmea::nmea_server(&nmea_root, "GPS");
  for (const char* line : {"$GPZDA,130500.00,15,07,2024,00,00", "$HEHDT,44.79,T",
                           "$GPGGA,130500.00,5427.600000,N,00258.800000,W,2,14,0.7,12.48,M,0,M,,",
                           "$GPVTG,45.00,T,,M,5.00,N,9.26,K,A"})
    gps->feed(line, 0);
  auto* dgps = new nmea::nmea_server(&nmea_root, "DGPS");
  dgps->feed("$GPGGA,130459.00,5427.601000,N,00258.801000,W,1,8,1.3,13.10,M,0,M,,", 0);
  details.set_info(TProjectDetails::client, "Port Authority");
  details.set_info(TProjectDetails::party_chief, "A. N. Other");
  r.set_numerics_root(&nmea_root);
  for (const char* name : {"daily-survey.html", "daily-survey.rtf"}) {
    SCOPED_TRACE(name);
    r.set_template((docs / "templates" / name).string());
    std::ostringstream out;
    EXPECT_TRUE(r.generate(out, 0));
    const std::filesystem::path expected = docs / "templates" / ("expected-" + std::string(name));
    EXPECT_EQ(out.str(), read_file(expected));
  }
  r.set_template((docs / "templates" / "missing.rtf").string());
  std::ostringstream out;
  EXPECT_FALSE(r.generate(out, 0));
}

}  // namespace
}  // namespace kyo::test
