// Custom output lines: separators, the line break, entries that leave with their server, the
// profile section (exact bytes and the round trip; other texts are the fuzz target's) and the
// dialog transfer.
#include <kyo/numerics/make_numeric.h>
#include <kyo/output/custom_output.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "support/temp_dir.h"
#include "support/test_numeric_server.h"

namespace kyo::test {
namespace {

// GPS (under an unnamed root): 1 Name "A", 2 Depth 12.5 m, 3 Lat 0.9 rad, 4 a text without
// value, 5 a time of 01:00:00.5 (no decimals), 6 a boolean; GPS.Aux: 1 Name "B", 2 Depth 3 m.
struct servers {
  servers() {
    gps->set_text(gps->add("Name", numeric_type::text), "A");
    gps->set_value(gps->add("Depth", numeric_type::distance), 12.5);
    gps->set_value(gps->add("Lat", numeric_type::latitude), 0.9);
    gps->set_status(gps->add("Silent", numeric_type::text), numeric_status::no_data);
    gps->set_value(gps->add("Time", numeric_type::date_time, -1, 0), 3600.5);
    gps->add("Flag", numeric_type::boolean);
    aux->set_text(aux->add("Name", numeric_type::text), "B");
    aux->set_value(aux->add("Depth", numeric_type::distance), 3);
  }
  test_numeric_server root{nullptr, ""};
  test_numeric_server* gps = new test_numeric_server(&root, "GPS");
  test_numeric_server* aux = new test_numeric_server(gps, "Aux");
};

void add(custom_output& c, const numeric_server& s, int index) {
  c.add_numeric(*make_numeric(s, index));
}

TEST(custom_output, saves_a_section_and_loads_it_back) {
  servers s;
  temp_dir dir;
  const std::string file = dir.file("out.ini");
  custom_output c;
  add(c, *s.gps, 1);
  add(c, *s.gps, 3);
  add(c, *s.aux, 2);
  const_cast<numeric*>(c.get_numeric(1))->read_config("1");
  c.set_name("Line 1 a");
  c.set_separator(static_cast<signed char>(0xB0));
  ASSERT_TRUE(c.saveData(file, 2));
  EXPECT_EQ(dir.read("out.ini"),
            "[CustomOutput2]\r\nOutputNmrcsCount=3,Line 1 a,-80\r\nOutNumeric0=GPS,1,\r\n"
            "OutNumeric1=GPS,3,1\r\nOutNumeric2=GPS.Aux,2,0,12,2,1.000000,  m\r\n");
  custom_output back;
  back.loadData(file, 2, s.root);
  EXPECT_EQ(back.get_name() + back.build_string(5, false), "Line 1 a" + c.build_string(5, false));
}

TEST(custom_output, entries_leave_with_their_server_and_transfer_rebuilds_them) {
  servers s;
  auto* other = new test_numeric_server(new test_numeric_server(&s.root, "H", true), "Other");
  other->set_text(other->add("Name", numeric_type::text), "O");
  auto owned = std::make_unique<custom_output>();
  custom_output& c = *owned;
  for (const numeric_server* srv : {s.gps, other, s.aux, other})
    add(c, *srv, 1);
  custom_output::transfer_s t;
  t.numerics.emplace_back(make_numeric(*s.aux, 1));
  c.transfer(t, custom_output::transfer_get);
  ASSERT_EQ(t.numerics.size(), 4u) << "the buffer's numerics are replaced";
  EXPECT_NE(t.numerics[0].get(), c.get_numeric(0)) << "copies, not the entries' own";
  EXPECT_EQ(t.name + char(t.separator) + t.numerics[2]->get_path(true), "Custom GPS.Aux.Name");
  t.numerics[0].reset(make_numeric(*s.gps, 2));
  t.numerics.emplace_back();
  t.name = "New";
  t.separator = '/';
  c.transfer(t, 2);  // changes nothing
  EXPECT_EQ(c.build_string(5, false), "A O B O");
  c.transfer(t, custom_output::transfer_set);
  EXPECT_TRUE(t.numerics.empty());
  EXPECT_EQ(c.get_name() + ":" + c.build_string(5, false), "New:12.50/O/B/O");
  delete s.aux;
  EXPECT_EQ(c.build_string(5, false), "12.50/O/O") << "the new entries watch their servers";
  EXPECT_EQ(c.get_nmrcs_names(1) + "|" + c.get_nmrcs_names(3) + c.get_nmrcs_names(-1),
            "Other.Name|");
  owned.reset();
  EXPECT_EQ(other->client_count(), 0u) << "destruction detaches every entry";
}

}  // namespace
}  // namespace kyo::test
