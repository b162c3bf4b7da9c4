// Numeric servers and numerics on the object stream: the byte layout, round trips of a tree and
// of numerics that refer into it (also a tree read from one of its children, or from a numeric
// alone) and hand-made streams that describe impossible trees. Damaged streams of every kind are
// the object stream fuzz target's.
#include <kyo/numerics/general_numerics.h>
#include <kyo/numerics/geog_nmrc.h>
#include <kyo/numerics/make_numeric.h>
#include <kyo/numerics/numeric_nmrc.h>

#include <gtest/gtest.h>

#include <bit>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "support/stream_bytes.h"

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

// root -> a (hidden, timeout -2, not browsable) -> clock; root -> c. The numerics refer to the
// clock's one entry, whatever their kind.
struct tree {
  ~tree() { delete root; }
  numeric_server* root = new numeric_server(nullptr, "root", false, 100, true);
  numeric_server* a = new numeric_server(root, "a.1", true, -2, false);
  general_numerics* clock = new general_numerics(a, "clock", false, 500, true);
  numeric_server* c = new numeric_server(root, "c", false, 100, true);
};

TEST(numeric_stream, a_tree_and_the_numerics_that_refer_into_it_come_back) {
  std::string bytes;
  {
    tree t;
    distance_nmrc depth(*t.clock, 1, 10, 3);
    geog_nmrc lat(*t.clock, 1, geog_format::degrees);
    std::unique_ptr<numeric> when(make_numeric(*t.clock, 1));
    when->read_config("7,2");  // options other than the defaults, so that they must come back
    bytes = written(t.root, static_cast<const numeric*>(&depth), static_cast<const numeric*>(&lat),
                    when.get());
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
  EXPECT_EQ(written(root, back[0].get(), back[1].get(), back[2].get()), bytes)
      << "written back byte for byte";
  numeric_server* a = root->get("a..1");
  ASSERT_NE(a, nullptr);
  EXPECT_TRUE(a->is_hidden() && a->get_timeout() == -2 && !a->is_browsable());
  EXPECT_TRUE(root->is_browsable() && !root->is_hidden());
  EXPECT_EQ(back[0]->get_server(), root->get("a..1.clock")) << "numerics refer into the tree read";
}

TEST(numeric_stream, a_child_or_a_numeric_written_alone_brings_its_whole_tree) {
  std::string child, lat;
  {
    tree t;
    const geog_nmrc n(*t.clock, 1, geog_format::degrees);
    child = written<numeric_server>(t.clock);
    lat = written<numeric>(&n);
  }
  numeric_server* clock = read_back<numeric_server>(child);
  ASSERT_NE(clock, nullptr);
  EXPECT_TRUE(root_of(clock)->get("a..1.clock") == clock && root_of(clock)->get("c") != nullptr);
  delete root_of(clock);
  std::unique_ptr<numeric> back(read_back<numeric>(lat));
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->get_path(true) + "|" + back->get_path(false),
            "a..1.clock.KYO Time|clock.KYO Time");
  delete root_of(back->get_server());
}

TEST(numeric_stream, impossible_trees_fail_the_stream) {
  const std::string orphan = server_record("x", null_ptr);
  const std::pair<const char*, std::string> rows[] = {
      {"a child that names no parent", server_record("r", null_ptr, {orphan})},
      {"a child listed twice", server_record("r", null_ptr, {server_record("x", ref(0)), ref(1)})},
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
