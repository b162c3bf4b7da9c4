// Numeric servers and numerics on the object stream: the byte layout, round trips of a tree and
// of numerics that refer into it (also a tree read from one of its children, or from a numeric
// alone) and hand-made streams that describe impossible trees. Damaged streams of every kind are
// the object stream fuzz target's.
#include <kyo/numerics/general_numerics.h>
#include <kyo/numerics/geog_nmrc.h>
#include <kyo/numerics/make_numeric.h>
#include <kyo/numerics/numeric_nmrc.h>
#include <kyo/numerics/timedate_nmrc.h>

#include <gtest/gtest.h>

#include <bit>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "support/stream_bytes.h"
#include "support/test_numeric_server.h"

namespace kyo::test {
namespace {

using namespace std::string_literals;

using namespace bytes;
/// A numeric_server record: not hidden, timeout 100, browsable.
std::string server_record(std::string_view name, const std::string& parent,
                          const std::vector<std::string>& children = {}) {
  std::string body = seg(str(name)) + parent +
                     seg(le32(0) + le32(100) + le32(1) + le32(std::uint32_t(children.size())));
  for (const std::string& c : children)
    body += c;
  return rec("numeric_server", body);
}

// root -> a (hidden, timeout -2, not browsable) -> b; root -> c -> clock. a and b publish
// entries.
struct tree {
  tree() {
    a->add("Depth", numeric_type::distance, 10, 3);
    b->add("Text", numeric_type::text, -6);
    b->set_text(1, "hello");
    b->add("Lat", numeric_type::latitude);
    b->set_value(2, -0.5);
    new general_numerics(c, "clock", false, 500, true);
  }
  ~tree() { delete root; }
  test_numeric_server* root = new test_numeric_server(nullptr, "root");
  test_numeric_server* a = new test_numeric_server(root, "a.1", true, -2, false);
  test_numeric_server* b = new test_numeric_server(a, "b");
  test_numeric_server* c = new test_numeric_server(root, "c");
};

TEST(numeric_stream, a_tree_and_the_numerics_that_refer_into_it_come_back) {
  std::string bytes;
  {
    tree t;
    std::unique_ptr<numeric> depth(make_numeric(*t.a, 1)), text(make_numeric(*t.b, 1)),
        lat(make_numeric(*t.b, 2)), when(make_numeric(*t.root->get("c.clock"), 1));
    dynamic_cast<geog_nmrc&>(*lat).set_format(geog_format::degrees);
    when->read_config("7,2");  // options other than the defaults, so that they must come back
    bytes = written(t.root, depth.get(), text.get(), lat.get(), when.get());
  }
  std::istringstream in(bytes);
  ipstream is(in);
  numeric_server* root = nullptr;
  readPtr(is, root);
  ASSERT_NE(root, nullptr) << is.error();
  std::unique_ptr<numeric_server> owner(root);
  std::unique_ptr<numeric> back[4];
  for (auto& n : back) {
    numeric* p = nullptr;
    readPtr(is, p);
    ASSERT_NE(p, nullptr) << is.error();
    n.reset(p);
  }
  EXPECT_EQ(written(root, back[0].get(), back[1].get(), back[2].get(), back[3].get()), bytes)
      << "written back byte for byte";
  numeric_server* a = root->get("a..1");
  ASSERT_NE(a, nullptr);
  EXPECT_TRUE(a->is_hidden() && a->get_timeout() == -2 && !a->is_browsable());
  EXPECT_TRUE(root->is_browsable() && !root->is_hidden());
  EXPECT_EQ(back[0]->get_server(), a) << "numerics refer into the tree read";
  EXPECT_EQ(back[1]->get_server(), root->get("a..1.b"));
  EXPECT_NE(dynamic_cast<const distance_nmrc*>(back[0].get()), nullptr);
  std::string text;
  EXPECT_EQ(back[1]->as_string(0, text, true), numeric_status::fresh);
  EXPECT_EQ(text, "hello ");
  EXPECT_FALSE(root->get("a..1.b")->has_data()) << "update time and data are not stored";
  ASSERT_NE(dynamic_cast<general_numerics*>(root->get("c.clock")), nullptr);
  EXPECT_EQ(root->get("c.clock")->get_timeout(), 500);
}

TEST(numeric_stream, a_child_or_a_numeric_written_alone_brings_its_whole_tree) {
  const long before = test_numeric_server::live_instances();
  std::string child, lat;
  {
    tree t;
    std::unique_ptr<numeric> n(make_numeric(*t.b, 2));
    child = written<numeric_server>(t.b);
    lat = written<numeric>(n.get());
  }
  numeric_server* b = read_back<numeric_server>(child);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(root_of(b)->get("a..1.b"), b);
  EXPECT_EQ(test_numeric_server::live_instances(), before + 4);
  delete root_of(b);
  std::unique_ptr<numeric> back(read_back<numeric>(lat));
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->get_path(true) + " " + back->get_path(false), "a..1.b.Lat b.Lat");
  delete root_of(back->get_server());
  EXPECT_EQ(test_numeric_server::live_instances(), before);
}

TEST(numeric_stream, impossible_trees_fail_the_stream) {
  const std::string orphan = server_record("x", null_ptr);
  const std::pair<const char*, std::string> rows[] = {
      {"a child that names no parent", server_record("r", null_ptr, {orphan})},
      {"a child listed twice", server_record("r", null_ptr, {server_record("x", ref(0)), ref(1)})},
      {"a parent that does not list the child written first",
       server_record("x", server_record("p", null_ptr))},
      {"a child count larger than the record",
       rec("numeric_server",
           seg(str("r")) + null_ptr + seg(le32(0) + le32(0) + le32(0) + le32(0x7FFFFFFF)))},
      {"a server written into an existing tree's record",
       server_record("r", null_ptr, {server_record("x", ref(0))}) + server_record("late", ref(0))},
  };
  for (const auto& [what, bytes] : rows) {
    SCOPED_TRACE(what);
    std::istringstream in(bytes);
    ipstream is(in);
    numeric_server *first = nullptr, *second = nullptr;
    readPtr(is, first);
    if (is.good()) readPtr(is, second);
    EXPECT_TRUE(is.fail() && !is.error().empty() && second == nullptr);
    delete first;  // a tree read before the bad record stays the caller's
  }
}

}  // namespace
}  // namespace kyo::test
