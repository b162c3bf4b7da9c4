// Corrupted and hostile object streams: every one must end in the failed state
// (or, for a flipped byte that still makes sense, in a valid object), with no
// crash, no undefined behaviour and no allocation the input cannot justify.
#include <kyo/core/object_stream.h>

#include <gtest/gtest.h>

#include <sstream>

#include "core/object_stream_types.h"
#include "support/damaged_streams.h"
#include "support/stream_bytes.h"

namespace kyo::test {
namespace {

using namespace std::string_literals;

std::string sample_stream() {
  auto tree = make_sample_tree();
  std::ostringstream out;
  opstream os(out);
  writePtr(os, tree.get());
  return out.str();
}

struct read_result {
  bool good = false;
  std::string error;
  int orphans = 0;  ///< objects built but owned by nobody afterwards
};

/// Reads one node from `data`, then frees whatever the read built.
read_result read_node(const std::string& data) {
  const std::set<node*> before = live_nodes;
  std::istringstream in(data);
  ipstream is(in);
  node* n = nullptr;
  readPtr(is, n);
  EXPECT_EQ(n == nullptr, is.fail() || data.starts_with('\0')) << "null exactly when failed";
  delete n;
  return {is.good(), is.error(), delete_orphans(before)};
}

using namespace bytes;

TEST(object_stream_corrupt, truncated_or_flipped_streams_fail_cleanly) {
  const std::string data = sample_stream();
  ASSERT_TRUE(read_node(data).good);
  int failed_flips = 0;
  for (const damaged_stream& d : damaged_copies(data)) {
    SCOPED_TRACE(d.what);
    const read_result r = read_node(d.bytes);
    if (d.truncated) {
      EXPECT_FALSE(r.good);
      EXPECT_EQ(r.orphans, 0) << "objects built before the failure are deleted";
    } else if (!r.good) {
      ++failed_flips;
    }
  }
  // Most flips land in structure (tags, lengths, counts, names) and are caught.
  EXPECT_GT(failed_flips, int(data.size()));
}

TEST(object_stream_corrupt, hostile_counts_and_lengths_fail_before_allocating) {
  struct row {
    const char* what;
    std::string data;
    const char* error;
  };
  const std::string node_name = "test_node";
  // A node body up to its child count: name "", value, x, parent null.
  const std::string plain = seg(le32(0) + le32(0) + std::string(8, '\0'));
  const std::string head = plain + std::string(1, 0);
  // root's children: a new node whose parent is root, then the same node again.
  const std::string child =
      rec(node_name, plain + "\x01" + le32(0) + seg(le32(0)) + std::string(1, 0));
  const std::string two_owners =
      rec(node_name, head + seg(le32(2)) + child + "\x01" + le32(1) + std::string(1, 0));
  // Each node's parent pointer is a new node record, 1000 deep.
  std::string deep = std::string(1, 0);
  for (int i = 0; i < 1000; ++i)
    deep = rec(node_name, plain + deep);
  const row rows[] = {
      {"child count of 4 billion", rec(node_name, head + seg(le32(0xFFFFFFF0))),
       "larger than what is left"},
      {"string length of 4 billion", rec(node_name, seg(le32(0xFFFFFFF0) + "abc")),
       "longer than what is left"},
      {"record length beyond the input", "\x02"s + str(node_name) + le32(1) + le32(1u << 31) + head,
       "runs past the end of the input"},
      {"segment length beyond its record",
       rec(node_name, std::string(1, '\x10') + le32(1000) + "xx"), "past the end"},
      {"empty data segment", rec(node_name, seg("")), "empty data segment"},
      {"class name length of 4 billion", std::string(1, '\x02') + le32(0xFFFFFFFF), "class name"},
      {"unknown class", rec("no_such_class", ""), "unknown class 'no_such_class'"},
      {"reference before any object", std::string(1, '\x01') + le32(0), "has not been read"},
      {"reference to a later object", rec(node_name, plain + "\x01" + le32(5)),
       "has not been read"},
      {"unknown tag", std::string(1, '\x07'), "unknown record tag"},
      {"data where an object belongs",
       rec(node_name, seg(le32(0) + le32(0) + std::string(9, '\0'))), "expected an object pointer"},
      {"object where data belong", rec(node_name, std::string(1, '\x00')), "expected data"},
      {"scoped record nested", rec(node_name, plain + "\x03"), "self-contained"},
      {"child claimed by two owners", two_owners, "does not belong"},
      {"nesting 1000 deep", deep, "too deeply"},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    const read_result result = read_node(r.data);
    EXPECT_FALSE(result.good);
    EXPECT_NE(result.error.find(r.error), std::string::npos) << result.error;
    EXPECT_EQ(result.orphans, 0);
  }
}

}  // namespace
}  // namespace kyo::test
