// Numeric servers and numerics on the object stream: the byte layout, round trips of a tree and
// of numerics that refer into it (also a tree read from one of its children, or from a numeric
// alone), hand-made streams that describe impossible trees, and every truncation and many
// flipped bytes of valid streams, which must fail without leaving a server behind.
#include <kyo/numerics/general_numerics.h>
#include <kyo/numerics/geog_nmrc.h>
#include <kyo/numerics/make_numeric.h>
#include <kyo/numerics/numeric_nmrc.h>
#include <kyo/numerics/timedate_nmrc.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "support/test_numeric_server.h"

namespace kyo::test {
namespace {

// Builders of stream bytes, after the format of docs/object-stream.md.
std::string u32(std::uint32_t v) {
  std::string b(4, '\0');
  for (int i = 0; i < 4; ++i)
    b[std::size_t(i)] = char(v >> (8 * i));
  return b;
}
std::string f64(double v) {
  const auto bits = std::bit_cast<std::uint64_t>(v);
  return u32(std::uint32_t(bits)) + u32(std::uint32_t(bits >> 32));
}
std::string str(std::string_view s) {
  return u32(std::uint32_t(s.size())) + std::string(s);
}
std::string seg(const std::string& data) {
  return "\x10" + u32(std::uint32_t(data.size())) + data;
}
const std::string null_item(1, '\0');
std::string ref(std::uint32_t id) {
  return "\x01" + u32(id);
}
std::string record(std::string_view cls, const std::string& body) {
  return "\x02" + str(cls) + u32(1) + u32(std::uint32_t(body.size())) + body;
}
// The body of a plain numeric_server record.
std::string server_body(std::string_view name, const std::string& parent,
                        const std::vector<std::string>& children = {}, std::uint32_t hidden = 0,
                        std::uint32_t timeout = 100, std::uint32_t browsable = 1) {
  std::string body =
      seg(str(name)) + parent +
      seg(u32(hidden) + u32(timeout) + u32(browsable) + u32(std::uint32_t(children.size())));
  for (const std::string& c : children)
    body += c;
  return body;
}
std::string server_record(std::string_view name, const std::string& parent,
                          const std::vector<std::string>& children = {}) {
  return record("numeric_server", server_body(name, parent, children));
}

template <class T>
std::string write(const T* p) {
  std::ostringstream out;
  opstream os(out);
  writePtr(os, p);
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

// Frees what a successful read returned: the whole tree of a server, and a numeric with the
// tree its server was read with.
void free_read(numeric_server* s) {
  if (s != nullptr) delete root_of(s);
}
void free_read(numeric* n, bool with_server) {
  if (n == nullptr) return;
  if (with_server && n->get_server() != nullptr) delete root_of(n->get_server());
  delete n;
}

// root -> a (hidden, timeout -2, not browsable) -> b; root -> c. a and b publish entries.
struct tree {
  tree() {
    root = new test_numeric_server(nullptr, "root");
    a = new test_numeric_server(root, "a.1", true, -2, false);
    b = new test_numeric_server(a, "b");
    c = new test_numeric_server(root, "c");
    a->add("Depth", numeric_type::distance, 10, 3);
    b->add("Text", numeric_type::text, -6);
    b->set_text(1, "hello");
    b->add("Lat", numeric_type::latitude);
    b->set_value(2, -0.5);
  }
  ~tree() { delete root; }
  test_numeric_server* root;
  test_numeric_server* a;
  test_numeric_server* b;
  test_numeric_server* c;
};

TEST(numeric_stream, layout_of_a_numeric_with_its_server) {
  numeric_server gps(nullptr, "gps", false, -2, true);
  distance_nmrc n(gps, 7, 10, 3);
  numeric_nmrc::nmrc_data d;
  n.get_nmrc_data(d);
  d.unit_index = distance_unit::nautical_mile;
  n.set_nmrc_data(d);

  const std::string server =
      record("numeric_server",
             seg(str("gps")) + null_item + seg(u32(0) + u32(0xFFFFFFFE) + u32(1) + u32(0)));
  const std::string expected = record(
      "distance_nmrc",
      seg(u32(1) + u32(1)) + server +
          seg(u32(7) + u32(3) + u32(10) + u32(3) + f64(1.0 / 1852) + std::string("nm\0\0", 4)));
  EXPECT_EQ(write<numeric>(&n), expected);

  geog_nmrc g(gps, 2, geog_format::minutes);
  EXPECT_EQ(write<numeric>(&g),
            record("geog_nmrc", seg(u32(1)) + server + seg(u32(2) + std::string(1, '\1'))));
  timedate_nmrc t(gps, 1, 7, 2);
  EXPECT_EQ(write<numeric>(&t),
            record("timedate_nmrc", seg(u32(1)) + server + seg(u32(1) + u32(7) + u32(2))));
}

TEST(numeric_stream, a_tree_and_the_numerics_that_refer_into_it_come_back) {
  tree t;
  std::unique_ptr<numeric> depth(make_numeric(*t.a, 1));
  std::unique_ptr<numeric> text(make_numeric(*t.b, 1));
  std::unique_ptr<numeric> lat(make_numeric(*t.b, 2));
  dynamic_cast<geog_nmrc&>(*lat).set_format(geog_format::degrees);

  std::ostringstream out;
  {
    opstream os(out);
    writePtr<numeric_server>(os, t.root);
    for (const numeric* n : {depth.get(), text.get(), lat.get()})
      writePtr(os, n);
    ASSERT_TRUE(os.good()) << os.error();
  }
  std::istringstream in(out.str());
  ipstream is(in);
  numeric_server* root = nullptr;
  readPtr(is, root);
  ASSERT_NE(root, nullptr) << is.error();
  std::unique_ptr<numeric_server> owner(root);
  std::vector<std::unique_ptr<numeric>> back;
  for (int i = 0; i < 3; ++i) {
    numeric* n = nullptr;
    readPtr(is, n);
    ASSERT_NE(n, nullptr) << is.error();
    back.emplace_back(n);
  }

  numeric_server* a = root->get("a..1");
  ASSERT_NE(a, nullptr);
  numeric_server* b = root->get("a..1.b");
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(root->get_path(true), "");
  EXPECT_EQ(b->get_path(false), "b");
  EXPECT_TRUE(a->is_hidden());
  EXPECT_EQ(a->get_timeout(), -2);
  EXPECT_FALSE(a->is_browsable());
  EXPECT_TRUE(b->is_browsable());
  EXPECT_EQ(root->next(a), root->get("c")) << "children keep their order";
  EXPECT_FALSE(b->has_data()) << "update time and data are not stored";

  EXPECT_EQ(back[0]->get_server(), a) << "numerics refer into the tree read before";
  EXPECT_EQ(back[1]->get_server(), b);
  EXPECT_EQ(typeid(*back[0]), typeid(distance_nmrc));
  for (std::size_t i = 0; i < 3; ++i) {
    const numeric* original[] = {depth.get(), text.get(), lat.get()};
    std::string want, got;
    EXPECT_EQ(original[i]->as_string(0, want, true), back[i]->as_string(0, got, true));
    EXPECT_EQ(got, want);
    std::string config_want, config_got;
    original[i]->write_config(config_want);
    back[i]->write_config(config_got);
    EXPECT_EQ(config_got, config_want);
  }
}

TEST(numeric_stream, a_child_written_alone_brings_its_whole_tree) {
  const long before = test_numeric_server::live_instances();
  std::string bytes;
  {
    tree t;
    bytes = write<numeric_server>(t.b);
  }
  numeric_server* b = read<numeric_server>(bytes);
  ASSERT_NE(b, nullptr);
  numeric_server* root = root_of(b);
  EXPECT_EQ(root->get("a..1.b"), b);
  EXPECT_NE(root->get("c"), nullptr);
  EXPECT_EQ(test_numeric_server::live_instances(), before + 4);
  delete root;
  EXPECT_EQ(test_numeric_server::live_instances(), before);

  {
    tree t;
    std::unique_ptr<numeric> lat(make_numeric(*t.b, 2));
    bytes = write<numeric>(lat.get());
  }
  numeric* back = read<numeric>(bytes);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->get_path(true), "a..1.b.Lat");
  free_read(back, true);
  EXPECT_EQ(test_numeric_server::live_instances(), before);
}

TEST(numeric_stream, general_numerics_streams_under_its_class_name) {
  numeric_server root(nullptr, "root", false, 0, true);
  new general_numerics(&root, "clock", false, 500, true);
  const std::string bytes = write<numeric_server>(&root);
  EXPECT_NE(bytes.find("general_numerics"), std::string::npos);
  std::unique_ptr<numeric_server> back(read<numeric_server>(bytes));
  ASSERT_NE(back, nullptr);
  auto* clock = dynamic_cast<general_numerics*>(back->get("clock"));
  ASSERT_NE(clock, nullptr);
  EXPECT_EQ(clock->get_timeout(), 500);
  EXPECT_EQ(clock->entry_index("KYO Time"), 1);
}

TEST(numeric_stream, impossible_trees_fail_the_stream) {
  struct row {
    const char* what;
    std::string bytes;
  };
  const std::string orphan = server_record("x", null_item);
  const row rows[] = {
      {"a child that names no parent", server_record("r", null_item, {orphan})},
      {"a child that names another parent",
       server_record("r", null_item,
                     {server_record("x", null_item, {server_record("y", ref(0))})})},
      {"a child listed twice", server_record("r", null_item, {server_record("x", ref(0)), ref(1)})},
      {"a null child", server_record("r", null_item, {null_item})},
      {"a server listed as its own child", server_record("r", null_item, {ref(0)})},
      {"a child of another class",
       server_record("r", null_item, {record("numeric", null_item + seg(u32(0)))})},
      {"a parent that does not list the child written first",
       server_record("x", server_record("p", null_item))},
      {"a parent pointer that makes a loop",
       server_record("x", server_record("p", ref(0), {ref(0)}))},
      {"a child count larger than the record",
       record("numeric_server",
              seg(str("r")) + null_item + seg(u32(0) + u32(0) + u32(0) + u32(0x7FFFFFFF)))},
      {"a server written into an existing tree's record",
       server_record("r", null_item, {server_record("x", ref(0))}) + server_record("late", ref(0))},
  };
  const long before = test_numeric_server::live_instances();
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    std::istringstream in(r.bytes);
    ipstream is(in);
    numeric_server* first = nullptr;
    readPtr(is, first);
    numeric_server* second = nullptr;
    if (is.good()) readPtr(is, second);
    EXPECT_TRUE(is.fail());
    EXPECT_NE(is.error(), "");
    EXPECT_EQ(second, nullptr);
    delete first;  // a tree read before the bad record stays the caller's
  }
  EXPECT_EQ(test_numeric_server::live_instances(), before);
}

TEST(numeric_stream, truncated_and_corrupted_streams_fail_without_leaving_servers) {
  std::vector<std::pair<std::string, bool>> streams;  // bytes, holds a numeric
  {
    tree t;
    new general_numerics(t.c, "clock", false, 500, true);
    std::unique_ptr<numeric> depth(make_numeric(*t.a, 1));
    streams.emplace_back(write<numeric_server>(t.root), false);
    streams.emplace_back(write<numeric_server>(t.b), false);
    streams.emplace_back(write<numeric>(depth.get()), true);
  }
  const long before = test_numeric_server::live_instances();
  for (const auto& [bytes, is_numeric] : streams) {
    for (std::size_t size = 0; size < bytes.size(); ++size) {
      SCOPED_TRACE(size);
      std::string error;
      if (is_numeric) {
        EXPECT_EQ(read<numeric>(bytes.substr(0, size), &error), nullptr);
      } else {
        EXPECT_EQ(read<numeric_server>(bytes.substr(0, size), &error), nullptr);
      }
      EXPECT_NE(error, "");
      ASSERT_EQ(test_numeric_server::live_instances(), before);
    }
    for (std::size_t at = 0; at < bytes.size(); ++at) {
      for (unsigned char mask : {0xFF, 0x01, 0x80}) {
        SCOPED_TRACE(testing::Message() << "byte " << at << " ^ " << int(mask));
        std::string bad = bytes;
        bad[at] = char(bad[at] ^ mask);
        if (is_numeric) {
          free_read(read<numeric>(bad), true);
        } else {
          free_read(read<numeric_server>(bad));
        }
        ASSERT_EQ(test_numeric_server::live_instances(), before);
      }
    }
  }
}

}  // namespace
}  // namespace kyo::test
