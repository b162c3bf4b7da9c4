// Numeric servers and numerics on the object stream: the byte layout, round trips of a tree and
// of numerics that refer into it (also a tree read from one of its children, or from a numeric
// alone), hand-made streams that describe impossible trees, and every truncation and flipped
// byte of valid streams, which must fail without leaving a server behind.
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

#include "support/damaged_streams.h"
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

/// Writes the objects into one stream.
template <class... T>
std::string write(const T*... p) {
  std::ostringstream out;
  opstream os(out);
  (writePtr(os, p), ...);
  EXPECT_TRUE(os.good()) << os.error();
  return out.str();
}

template <class T>
T* read(const std::string& bytes, std::string* error = nullptr) {
  std::istringstream in(bytes);
  ipstream is(in);
  T* p = nullptr;
  readPtr(is, p);
  if (error != nullptr) *error = is.error();
  EXPECT_EQ(p == nullptr, is.fail()) << is.error();
  return p;
}

numeric_server* root_of(const numeric_server* s) {
  while (s->get_parent() != nullptr)
    s = s->get_parent();
  return const_cast<numeric_server*>(s);
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

TEST(numeric_stream, layout_of_a_numeric_with_its_server) {
  numeric_server gps(nullptr, "gps", false, -2, true);
  distance_nmrc n(gps, 7, 10, 3);
  numeric_nmrc::nmrc_data d{
      .unit_index = distance_unit::nautical_mile, .width = 10, .precision = 3};
  n.set_nmrc_data(d);
  const std::string server =
      rec("numeric_server",
          seg(str("gps")) + null_ptr + seg(le32(0) + le32(0xFFFFFFFE) + le32(1) + le32(0)));
  EXPECT_EQ(write<numeric>(&n),
            rec("distance_nmrc",
                seg(le32(1) + le32(1)) + server +
                    seg(le32(7) + le32(3) + le32(10) + le32(3) + f64(1.0 / 1852) + "nm\0\0"s)));
  geog_nmrc g(gps, 2, geog_format::minutes);
  EXPECT_EQ(write<numeric>(&g), rec("geog_nmrc", seg(le32(1)) + server + seg(le32(2) + "\1"s)));
  timedate_nmrc t(gps, 1, 7, 2);
  EXPECT_EQ(write<numeric>(&t),
            rec("timedate_nmrc", seg(le32(1)) + server + seg(le32(1) + le32(7) + le32(2))));
}

TEST(numeric_stream, a_tree_and_the_numerics_that_refer_into_it_come_back) {
  std::string bytes;
  {
    tree t;
    std::unique_ptr<numeric> depth(make_numeric(*t.a, 1)), text(make_numeric(*t.b, 1)),
        lat(make_numeric(*t.b, 2));
    dynamic_cast<geog_nmrc&>(*lat).set_format(geog_format::degrees);
    bytes = write(t.root, depth.get(), text.get(), lat.get());
  }
  std::istringstream in(bytes);
  ipstream is(in);
  numeric_server* root = nullptr;
  readPtr(is, root);
  ASSERT_NE(root, nullptr) << is.error();
  std::unique_ptr<numeric_server> owner(root);
  std::unique_ptr<numeric> back[3];
  for (auto& n : back) {
    numeric* p = nullptr;
    readPtr(is, p);
    ASSERT_NE(p, nullptr) << is.error();
    n.reset(p);
  }
  EXPECT_EQ(write(root, back[0].get(), back[1].get(), back[2].get()), bytes)
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
    child = write<numeric_server>(t.b);
    lat = write<numeric>(n.get());
  }
  numeric_server* b = read<numeric_server>(child);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(root_of(b)->get("a..1.b"), b);
  EXPECT_EQ(test_numeric_server::live_instances(), before + 4);
  delete root_of(b);
  std::unique_ptr<numeric> back(read<numeric>(lat));
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->get_path(true) + " " + back->get_path(false), "a..1.b.Lat b.Lat");
  delete root_of(back->get_server());
  EXPECT_EQ(test_numeric_server::live_instances(), before);
}

TEST(numeric_stream, impossible_trees_fail_the_stream) {
  const std::string orphan = server_record("x", null_ptr);
  const std::pair<const char*, std::string> rows[] = {
      {"a child that names no parent", server_record("r", null_ptr, {orphan})},
      {"a child that names another parent",
       server_record("r", null_ptr, {server_record("x", null_ptr, {server_record("y", ref(0))})})},
      {"a child listed twice", server_record("r", null_ptr, {server_record("x", ref(0)), ref(1)})},
      {"a null child", server_record("r", null_ptr, {null_ptr})},
      {"a server listed as its own child", server_record("r", null_ptr, {ref(0)})},
      {"a child of another class",
       server_record("r", null_ptr, {rec("numeric", null_ptr + seg(le32(0)))})},
      {"a parent that does not list the child written first",
       server_record("x", server_record("p", null_ptr))},
      {"a parent pointer that makes a loop",
       server_record("x", server_record("p", ref(0), {ref(0)}))},
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

TEST(numeric_stream, damaged_streams_fail_without_leaving_servers) {
  std::string streams[3];  // a tree, a child that brings it, a numeric that brings it
  {
    tree t;
    std::unique_ptr<numeric> depth(make_numeric(*t.a, 1));
    streams[0] = write<numeric_server>(t.root);
    streams[1] = write<numeric_server>(t.b);
    streams[2] = write<numeric>(depth.get());
  }
  const long before = test_numeric_server::live_instances();
  for (const std::string& valid : streams) {
    const bool is_numeric = &valid == &streams[2];
    for (const damaged_stream& d : damaged_copies(valid)) {
      SCOPED_TRACE(d.what);
      if (is_numeric) {
        std::unique_ptr<numeric> n(read<numeric>(d.bytes));
        EXPECT_FALSE(d.truncated && n != nullptr);
        if (n != nullptr && n->get_server() != nullptr) delete root_of(n->get_server());
      } else {
        numeric_server* s = read<numeric_server>(d.bytes);
        EXPECT_FALSE(d.truncated && s != nullptr);
        if (s != nullptr) delete root_of(s);
      }
      ASSERT_EQ(test_numeric_server::live_instances(), before);
    }
  }
}

}  // namespace
}  // namespace kyo::test
