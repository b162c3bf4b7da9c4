// Shape library files: the bytes of a new library, where added objects and their index go, many
// shapes added and half destroyed (objects moved down), and files that are foreign, damaged, cut
// short or changed behind the library's back, which must stay as they are.
#include <kyo/graphics/mobile_shape_library.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>

#include "support/recording_ui.h"
#include "support/stream_bytes.h"
#include "support/temp_dir.h"

namespace kyo::test {
namespace {

using bytes::le32;
const std::string header = bytes::config_header("KYO II Mobile Shape Definition File", "0.12");

std::string names(const string_array& list) {
  std::string out;
  for (const std::string& n : list)
    out += n + ";";
  return out;
}

/// A shape of one line of 2 to 41 points and every third time an ellipse, all depending on `n`.
mobile_shape make_shape(const std::string& name, int n) {
  mobile_shape s(nullptr, name);
  std::vector<dpoint> points;
  for (int i = 0; i < n % 40 + 2; ++i)
    points.push_back({double(n + i), 2.5 * n - i});
  s.add(std::make_unique<shape_line>(points));
  if (n % 3 == 0)
    s.add(std::make_unique<shape_ellipse>(dpoint{1, n * 0.5}, dellipse{n + 1.0, 2, 0}));
  return s;
}

/// The self-contained record of `s`, as a library stores it.
std::string record(const mobile_shape& s) {
  std::ostringstream out;
  opstream os(out);
  os.set_self_contained(true);
  writePtr(os, &s);
  return out.str();
}

/// The index bytes: item count, items, position count, positions.
std::string index(const std::vector<library_file::library_item>& items,
                  const std::vector<std::uint32_t>& positions) {
  std::string out = le32(std::uint32_t(items.size()));
  for (const auto& i : items) {
    out += le32(std::uint32_t(i.name.size())) + i.name + le32(std::uint32_t(i.type)) +
           le32(i.flag) + le32(std::uint32_t(i.xref));
  }
  out += le32(std::uint32_t(positions.size()));
  for (std::uint32_t p : positions)
    out += le32(p);
  return out;
}

struct events : document_view {
  std::string seen;
  void document_event(document&, int event, long item) override {
    seen += std::to_string(event) + ":" + std::to_string(item) + " ";
  }
};

struct library_test : ::testing::Test {
  temp_dir dir;
  recording_ui ui;
  std::string path = dir.file("shapes.lib");
  mobile_shape a = make_shape("A", 1), b = make_shape("B", 3), c = make_shape("C", 4);
};

TEST_F(library_test, a_new_library_then_adds_behind_the_objects_and_inserts_first) {
  mobile_shape_library lib;
  events ev;
  lib.attach_view(ev);
  EXPECT_TRUE(lib.Open(0, path.c_str()));
  EXPECT_EQ(lib.state(), library_file::open_state::created);
  EXPECT_EQ(dir.read("shapes.lib"), header + le32(49) + index({}, {}));

  ASSERT_TRUE(lib.add_at(a, 7, true, 0));
  const std::uint32_t after_a = 49 + std::uint32_t(record(a).size());
  EXPECT_EQ(dir.read("shapes.lib"),
            header + le32(after_a) + record(a) + index({{"A", 7, true, 0}}, {49}));
  ASSERT_TRUE(lib.add_at(b, 2, false, 0));
  const std::uint32_t after_b = after_a + std::uint32_t(record(b).size());
  EXPECT_EQ(dir.read("shapes.lib"),
            header + le32(after_b) + record(a) + record(b) +
                index({{"B", 2, false, 1}, {"A", 7, true, 0}}, {49, after_a}));
  EXPECT_FALSE(lib.add_at(c, 0, false, 3)) << "beyond the end";
  EXPECT_FALSE(lib.add_at(server(nullptr, "not a shape"), 0, false, 0));
  EXPECT_EQ(ev.seen, "6:0 100:0 100:0 ");

  EXPECT_EQ(names(lib.name_list()) + "|" + names(lib.name_list(true)) + "|" +
                names(lib.name_list(false)) + "|" + names(lib.name_list_by_type(7)),
            "B;A;|A;|B;|A;");
  EXPECT_TRUE(lib.find("A") == 1 && lib.find("Z") == -1);
  EXPECT_TRUE(*lib.load(0) == b && *lib.load(1) == a);
  EXPECT_TRUE(lib.load(2) == nullptr && lib.load(-1) == nullptr);
}

TEST_F(library_test, two_hundred_shapes_half_destroyed_in_random_order) {
  mobile_shape_library lib;
  lib.Open(0, path.c_str());
  std::vector<std::unique_ptr<mobile_shape>> kept;
  for (int n = 0; n < 200; ++n) {
    kept.push_back(std::make_unique<mobile_shape>(make_shape("shape " + std::to_string(n), n)));
    ASSERT_TRUE(lib.add_at(*kept.back(), n % 4, n % 2 == 0, n));
  }
  std::mt19937 random(20260523);
  for (int left = 200; left > 100; --left) {
    const int i = std::uniform_int_distribution<int>(0, left - 1)(random);
    ASSERT_TRUE(lib.destroy(i));
    kept.erase(kept.begin() + i);
  }
  mobile_shape_library reopened;
  reopened.Open(0, path.c_str());
  EXPECT_EQ(reopened.state(), library_file::open_state::opened);
  EXPECT_EQ(reopened.items(), lib.items());
  for (const mobile_shape_library* l : {&lib, &reopened}) {
    ASSERT_EQ(l->count(), 100);
    for (int i = 0; i < 100; ++i) {
      const auto s = l->load(i);
      ASSERT_NE(s, nullptr) << i;
      EXPECT_TRUE(*s == *kept[i]) << kept[i]->get_name();
    }
  }
  EXPECT_TRUE(std::is_sorted(lib.positions().begin(), lib.positions().end()));
}

// Each of these, like every cut, is refused and left as it was; any other damage is the library
// file fuzz target's.
TEST_F(library_test, leaves_foreign_damaged_and_cut_files_alone) {
  {
    mobile_shape_library lib;
    lib.Open(0, path.c_str());
    ASSERT_TRUE(lib.add_at(a, 0, false, 0));
  }
  const std::string valid = dir.read("shapes.lib");
  const std::size_t end = valid.size();
  const std::string files[] = {
      bytes::config_header("KYO II Alarm File", "0.12") + valid.substr(45),  // another kind
      header.substr(0, 39) + "3" + valid.substr(40),                         // another version
      header + le32(9999) + valid.substr(49),                                // index beyond the end
      valid.substr(0, end - 8) + le32(2) + le32(49) + le32(49),     // more positions than items
      valid.substr(0, end - 12) + le32(5) + valid.substr(end - 8),  // cross-reference too large
      "",
      valid.substr(0, end - 1)};
  for (const std::string& bad : files) {
    dir.write("bad.lib", bad);
    mobile_shape_library lib;
    lib.Open(0, dir.file("bad.lib").c_str());
    EXPECT_FALSE(lib.is_writable() || lib.add_at(c, 0, false, 0) || lib.destroy(0));
    EXPECT_EQ(dir.read("bad.lib"), bad) << "the file stays as it was";
  }
  EXPECT_EQ(ui.events().at(0).text,
            "'" + dir.file("bad.lib") + "' is not a KYO II Mobile Shape Definition File");
  mobile_shape_library folder, nowhere;
  folder.Open(0, dir.path().string().c_str());
  nowhere.Open(0, dir.file("no/such/folder.lib").c_str());
  EXPECT_EQ(folder.state(), library_file::open_state::refused);
  EXPECT_EQ(nowhere.state(), library_file::open_state::failed);
}

TEST_F(library_test, refuses_writes_when_the_file_changed_behind_it) {
  mobile_shape_library lib;
  lib.Open(0, path.c_str());
  ASSERT_TRUE(lib.add_at(a, 0, false, 0));
  mobile_shape_library other;
  other.Open(0, path.c_str());
  ASSERT_TRUE(other.add_at(b, 0, false, 1));
  const std::string now = dir.read("shapes.lib");
  EXPECT_FALSE(lib.add_at(c, 0, false, 0));
  EXPECT_FALSE(lib.destroy(0));
  EXPECT_EQ(dir.read("shapes.lib"), now);

  // A plain server stored by a library of the same kind is not a shape.
  library_file generic(mobile_shape_library::description, mobile_shape_library::version);
  generic.Open(0, path.c_str());
  ASSERT_TRUE(generic.add_at(server(nullptr, "plain"), 0, false, 2));
  other.Open(0, nullptr);
  EXPECT_EQ(other.load(2), nullptr);
  EXPECT_EQ(generic.load(2)->get_name(), "plain");
}

}  // namespace
}  // namespace kyo::test
