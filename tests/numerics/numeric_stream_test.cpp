// Numeric servers and numerics on the object stream: round trips of a tree and of numerics that
// refer into it, written back byte for byte (also a tree read from one of its children, or from a
// numeric alone). Damaged streams and impossible trees are the object stream fuzz target's.
#include <kyo/numerics/general_numerics.h>
#include <kyo/numerics/geog_nmrc.h>
#include <kyo/numerics/make_numeric.h>
#include <kyo/numerics/numeric_nmrc.h>

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

#include "support/stream_bytes.h"

namespace kyo::test {
namespace {

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

}  // namespace
}  // namespace kyo::test
