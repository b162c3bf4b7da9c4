#include <kyo/core/object_stream.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <functional>
#include <sstream>

#include "core/object_stream_types.h"
#include "support/stream_bytes.h"
#include "support/temp_dir.h"
#include "support/unprivileged.h"

namespace kyo::test {
namespace {

using namespace std::string_literals;
using namespace bytes;

// The tree below `n` as text: "name=value:x", '!' when the parent pointer is not the owner,
// "~name" for a buddy found by identity inside the tree ("~?" for one outside), then the
// children in brackets.
std::string shape(const node& n, const node* root = nullptr, const node* parent = nullptr) {
  if (root == nullptr) root = &n;
  const std::function<bool(const node&)> in_tree = [&](const node& t) {
    return &t == n.buddy || std::ranges::any_of(t.children, [&](auto& c) { return in_tree(*c); });
  };
  char x[32];
  std::string s = n.name + "=" + std::to_string(n.value) + ":" +
                  std::string(x, std::to_chars(x, x + sizeof x, n.x).ptr);
  if (n.parent != parent) s += "!";
  if (n.buddy != nullptr) s += "~" + (in_tree(*root) ? n.buddy->name : "?");
  for (std::size_t i = 0; i < n.children.size(); ++i)
    s += (i == 0 ? "[" : ",") + shape(*n.children[i], root, &n);
  return n.children.empty() ? s : s + "]";
}

const std::string sample_shape = "root=7:-0[a=1:1.5~root[a1=11:1e+300],with\0nul\xb0=2:0,c=3:0~a]"s;

struct read_result {
  bool good = false;
  std::string error;
  int orphans = 0;  ///< objects built but owned by nobody afterwards (left leaking)
};

/// Reads one node from `data`, then frees whatever the read built.
read_result read_node(const std::string& data) {
  const std::size_t before = live_nodes.size();
  std::istringstream in(data);
  ipstream is(in);
  node* n = nullptr;
  readPtr(is, n);
  EXPECT_EQ(n == nullptr, is.fail() || data.starts_with('\0')) << "null exactly when failed";
  delete n;
  return {is.good(), is.error(), int(live_nodes.size() - before)};
}

TEST(object_stream, primitives_are_little_endian_unframed_and_read_back) {
  std::stringstream buf;
  opstream os(buf);
  os.writeByte(0xAB);
  os.writeWord16(0xFF02);
  os.writeWord32(0xF1020304);
  os.writeDouble(-0.0);
  os.writeString("A\xb0");
  os.writeString(static_cast<const char*>(nullptr));
  os.writeBytes("\x01\x02\x03", 3);
  EXPECT_EQ(buf.str(), "\xAB\x02\xFF" + le32(0xF1020304) + "\0\0\0\0\0\0\0\x80"s + str("A\xb0") +
                           le32(0xFFFFFFFF) + "\x01\x02\x03");
  ipstream is(buf);
  EXPECT_TRUE(is.readByte() == 0xAB && is.readWord16() == 0xFF02 && is.readWord32() == 0xF1020304);
  EXPECT_TRUE(std::signbit(is.readDouble()));
  EXPECT_TRUE(is.readString() == "A\xb0" && is.readString() == std::nullopt);
  char raw[4] = {'x', 'x', 'x', 'x'};
  is.readBytes(raw, 3);
  EXPECT_EQ(std::string(raw, 3), "\x01\x02\x03");
  EXPECT_TRUE(is.good() && is.remaining() == 0);
  EXPECT_TRUE(is.readByte() == 0 && is.fail()) << "reading past the end fails";
  is.readBytes(raw, 4);
  EXPECT_EQ(std::string(raw, 4), std::string(4, '\0')) << "a failed read gives zeros";
}

TEST(object_stream, records_references_nulls_and_base_parts_have_their_layout) {
  tagged_node t;
  t.name = "t";
  t.tag = "survey";
  const std::string bytes = written(&t, &t, static_cast<node*>(nullptr));
  // Class version 3, then inside the data the base version 1 before the base part.
  const std::string base = seg(le32(1) + str("t") + le32(0) + std::string(8, '\0')) + null_ptr +
                           seg(le32(0)) + null_ptr + seg(str("survey"));
  EXPECT_EQ(bytes, rec("test_tagged_node", base, 3) + ref(0) + null_ptr);
  std::istringstream in(bytes);
  ipstream is(in);
  node *n = nullptr, *again = nullptr, *none = &t;
  readPtr(is, n);
  readPtr(is, again);
  readPtr(is, none);
  std::unique_ptr<node> owner(n);
  ASSERT_TRUE(is.good()) << is.error();
  EXPECT_TRUE(again == n && none == nullptr);
  ASSERT_NE(dynamic_cast<tagged_node*>(n), nullptr);
  EXPECT_EQ(dynamic_cast<tagged_node*>(n)->tag + shape(*n), "surveyt=0:0");
}

// A version-1 reader skips the new part of a version-2 record, but numbers the objects in it:
// later references must find the objects the writer meant.
TEST(object_stream, newer_part_of_a_record_is_skipped_with_its_objects_numbered) {
  growing g;
  g.a = 1;
  g.b = 2;
  g.extra = std::make_unique<node>();
  g.extra->add("inside the new part", 5);
  node after;
  after.name = "after";
  std::stringstream buf;
  opstream os(buf);
  writePtr(os, &g);      // #0 g, #1 extra, #2 its child
  writePtr(os, &after);  // #3
  writePtr(os, &after);  // a reference to #3
  writePtr(os, g.extra.get());
  growing::reader_version = 1;
  ipstream is(buf);
  growing* back = nullptr;
  node *first = nullptr, *again = nullptr, *skipped = nullptr;
  readPtr(is, back);
  readPtr(is, first);
  readPtr(is, again);
  growing::reader_version = 2;
  std::unique_ptr<growing> owner(back);
  std::unique_ptr<node> after_owner(first);
  ASSERT_TRUE(is.good() && first != nullptr) << is.error();
  EXPECT_TRUE(back->a == 1 && back->b == 2 && back->extra == nullptr);
  EXPECT_EQ(first->name, "after");
  EXPECT_EQ(again, first) << "the reference resolves to the object the writer meant";
  readPtr(is, skipped);
  EXPECT_TRUE(skipped == nullptr && is.fail()) << "it points into the skipped part";
}

TEST(object_stream, files_keep_or_truncate_on_request) {
  temp_dir dir;
  const std::string path = dir.file("keep.bin");
  ofpstream(path).writeWord32(0x11111111);
  ofpstream(path, ofpstream::open_mode::keep).writeByte(0x33);
  EXPECT_EQ(ifpstream(path).readWord32(), 0x11111133u) << "bytes behind what was written stay";
  ofpstream(path).writeByte(1);
  std::filesystem::permissions(path, std::filesystem::perms::owner_write);
  hand_over(dir.path());
  hand_over(path);
  as_unprivileged([&] {
    EXPECT_TRUE(ofpstream(path, ofpstream::open_mode::keep).fail())
        << "an existing file it cannot read is not emptied";
  });
  EXPECT_EQ(std::filesystem::file_size(path), 1u);
}

// Corrupted and hostile streams end in the failed state, with no crash, no undefined behaviour and
// no allocation the input cannot justify; flipped bytes are the object stream fuzz target's.
TEST(object_stream, hostile_counts_and_lengths_fail_before_allocating) {
  const std::string node_name = "test_node";
  // A node body up to its child count: name "", value, x, parent null.
  const std::string plain = seg(le32(0) + le32(0) + std::string(8, '\0'));
  const std::string head = plain + std::string(1, 0);
  // Each node's parent pointer is a new node record, 1000 deep.
  std::string deep = std::string(1, 0);
  for (int i = 0; i < 1000; ++i)
    deep = rec(node_name, plain + deep);
  const std::tuple<const char*, std::string, const char*> rows[] = {
      {"child count of 4 billion", rec(node_name, head + seg(le32(0xFFFFFFF0))),
       "larger than what is left"},
      {"string length of 4 billion", rec(node_name, seg(le32(0xFFFFFFF0) + "abc")),
       "longer than what is left"},
      {"record length beyond the input", "\x02"s + str(node_name) + le32(1) + le32(1u << 31) + head,
       "runs past the end of the input"},
      {"unknown class", rec("no_such_class", ""), "unknown class 'no_such_class'"},
      {"another class", rec("test_growing", seg(std::string(8, 0)) + null_ptr),
       "'test_growing' where 'test_node'"},
      {"reference before any object", std::string(1, '\x01') + le32(0), "has not been read"},
      {"nesting 1000 deep", deep, "too deeply"},
  };
  for (const auto& [what, data, error] : rows) {
    SCOPED_TRACE(what);
    const read_result result = read_node(data);
    EXPECT_FALSE(result.good);
    EXPECT_NE(result.error.find(error), std::string::npos) << result.error;
    EXPECT_EQ(result.orphans, 0);
  }
  // The whole stream reads back; every truncation fails, and what was built before is deleted.
  const std::string data = written(make_sample_tree().get());
  const std::unique_ptr<node> whole(read_back<node>(data));
  ASSERT_NE(whole, nullptr);
  EXPECT_EQ(shape(*whole), sample_shape) << "shared objects and the cycle are read once";
  for (std::size_t n = 0; n < data.size(); ++n) {
    const read_result result = read_node(data.substr(0, n));
    EXPECT_TRUE(!result.good && result.orphans == 0) << "cut to " << n;
  }
}

}  // namespace
}  // namespace kyo::test
