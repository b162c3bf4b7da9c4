#include <kyo/core/object_stream.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>
#include <sstream>

#include <unistd.h>

#include "core/object_stream_types.h"
#include "support/temp_dir.h"

namespace kyo::test {
namespace {

using namespace std::string_literals;

std::string bytes_of(std::initializer_list<int> values) {
  std::string s;
  for (int v : values)
    s.push_back(static_cast<char>(v));
  return s;
}

// The tree below `n` as text: "name=value:x", '!' when the parent pointer is not the owner,
// "~name" for a buddy found by identity inside the tree ("~?" for one outside), then the
// children in brackets.
std::string shape(const node& n, const node* root = nullptr, const node* parent = nullptr) {
  if (root == nullptr) root = &n;
  const std::function<bool(const node&)> in_tree = [&](const node& t) {
    return &t == n.buddy || std::any_of(t.children.begin(), t.children.end(),
                                        [&](const auto& c) { return in_tree(*c); });
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

TEST(object_stream, primitives_are_little_endian_unframed_and_read_back) {
  std::stringstream buf;
  opstream os(buf);
  os.writeByte(0xAB);
  os.writeWord16(0xFF02);
  os.writeWord32(0xF1020304);
  os.writeDouble(1.0);
  os.writeString("A\xb0");
  os.writeString(static_cast<const char*>(nullptr));
  os.writeString(std::string_view());
  os.writeBytes("\x01\x02\x03", 3);
  os.writeDouble(-0.0);
  os.writeDouble(std::numeric_limits<double>::quiet_NaN());
  os.writeDouble(-std::numeric_limits<double>::infinity());
  ASSERT_TRUE(os.good());
  EXPECT_EQ(
      buf.str().substr(0, 32),
      bytes_of({0xAB, 0x02, 0xFF, 0x04, 0x03, 0x02, 0xF1, 0,    0,    0, 0, 0, 0, 0xF0, 0x3F, 2,
                0,    0,    0,    'A',  0xB0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 1,    2,    3}));

  ipstream is(buf);
  EXPECT_EQ(is.readByte(), 0xAB);
  EXPECT_EQ(is.readWord16(), 0xFF02);
  EXPECT_EQ(is.readWord32(), 0xF1020304u);
  EXPECT_EQ(is.readDouble(), 1.0);
  EXPECT_EQ(is.readString(), "A\xb0");
  EXPECT_EQ(is.readString(), std::nullopt);
  EXPECT_TRUE(is.good()) << "the null string is not a failure";
  EXPECT_EQ(is.readString(), "");
  char raw[3];
  is.readBytes(raw, 3);
  EXPECT_EQ(std::string(raw, 3), "\x01\x02\x03");
  const double negative_zero = is.readDouble();
  EXPECT_TRUE(negative_zero == 0.0 && std::signbit(negative_zero));
  EXPECT_TRUE(std::isnan(is.readDouble()));
  EXPECT_EQ(is.readDouble(), -std::numeric_limits<double>::infinity());
  EXPECT_TRUE(is.good());
  EXPECT_EQ(is.remaining(), 0u);
  EXPECT_EQ(is.readByte(), 0);
  EXPECT_TRUE(is.fail()) << "reading past the end fails";
  char past[4] = {'x', 'x', 'x', 'x'};
  is.readBytes(past, 4);
  EXPECT_EQ(std::string(past, 4), std::string(4, '\0')) << "a failed read gives zeros";
}

TEST(object_stream, object_record_layout) {
  other o;
  o.v = 0x0A0B;
  std::ostringstream out;
  opstream os(out);
  writePtr(os, &o);
  writePtr(os, &o);
  writePtr(os, static_cast<other*>(nullptr));
  const std::string name = "test_other";
  std::string expected = bytes_of({0x02, int(name.size()), 0, 0, 0}) + name +
                         bytes_of({1,    0,    0, 0,     // class version
                                   7,    0,    0, 0,     // record length
                                   0x10, 2,    0, 0, 0,  // data segment of two bytes
                                   0x0B, 0x0A,           // the word
                                   0x01, 0,    0, 0, 0,  // reference to object #0
                                   0x00});               // null
  EXPECT_EQ(out.str(), expected);
}

TEST(object_stream, graph_with_shared_objects_cycle_and_nulls_round_trips) {
  auto tree = make_sample_tree();
  ASSERT_EQ(shape(*tree), sample_shape);
  std::stringstream buf;
  opstream os(buf);
  writePtr(os, tree.get());
  writePtr(os, static_cast<node*>(nullptr));
  writePtr(os, tree->children[2].get());  // written before: a reference
  ASSERT_TRUE(os.good()) << os.error();

  ipstream is(buf);
  node* root = nullptr;
  node* none = reinterpret_cast<node*>(&is);
  node* c_again = nullptr;
  readPtr(is, root);
  readPtr(is, none);
  readPtr(is, c_again);
  std::unique_ptr<node> owner(root);
  ASSERT_TRUE(is.good() && root != nullptr) << is.error();
  EXPECT_EQ(shape(*root), sample_shape) << "shared objects and the cycle are read once";
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(c_again, root->children[2].get()) << "a top-level reference finds the object";

  // The same tree read into an existing object.
  std::stringstream again;
  opstream out(again);
  writeRef(out, *tree);
  node target;
  ipstream in(again);
  readRef(in, target);
  ASSERT_TRUE(in.good()) << in.error();
  EXPECT_EQ(shape(target), sample_shape);
}

TEST(object_stream, self_contained_records_can_be_read_alone) {
  auto tree = make_sample_tree();
  std::stringstream buf;
  opstream os(buf);
  os.set_self_contained(true);
  os.writeWord32(0xDEADBEEF);  // raw data between records, as in a library file
  const std::streampos first = os.tellp();
  writePtr(os, tree.get());
  const std::streampos second = os.tellp();
  writePtr(os, tree.get());  // the same object: written again, not referred to
  ASSERT_TRUE(os.good());

  {
    ipstream is(buf);
    is.seekg(second);
    node* root = nullptr;
    readPtr(is, root);
    std::unique_ptr<node> owner(root);
    ASSERT_TRUE(is.good() && root != nullptr) << is.error();
    EXPECT_EQ(shape(*root), sample_shape);
  }
  buf.seekg(0);
  ipstream is(buf);
  EXPECT_EQ(is.readWord32(), 0xDEADBEEFu);
  EXPECT_EQ(is.tellg(), first);
  node* one = nullptr;
  node* two = nullptr;
  readPtr(is, one);
  readPtr(is, two);
  std::unique_ptr<node> owner1(one), owner2(two);
  ASSERT_TRUE(is.good() && two != nullptr) << is.error();
  EXPECT_NE(one, two) << "no reference reaches into an earlier record";
  EXPECT_EQ(shape(*two), sample_shape);
}

TEST(object_stream, derived_class_writes_its_base_part_with_version) {
  tagged_node t;
  t.name = "t";
  t.tag = "survey";
  t.add("kid", 4);
  std::stringstream buf;
  opstream os(buf);
  writePtr(os, static_cast<node*>(&t));
  // Class version 3, then inside the data the base version 1 before the base part.
  const std::string s = buf.str();
  const std::string name = "test_tagged_node";
  ASSERT_GT(s.size(), 5 + name.size() + 13);
  EXPECT_EQ(s.substr(5 + name.size(), 4), bytes_of({3, 0, 0, 0}));
  EXPECT_EQ(s.substr(5 + name.size() + 8 + 5, 4), bytes_of({1, 0, 0, 0}));

  ipstream is(buf);
  node* n = nullptr;
  readPtr(is, n);
  std::unique_ptr<node> owner(n);
  ASSERT_TRUE(is.good()) << is.error();
  auto* back = dynamic_cast<tagged_node*>(n);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->tag, "survey");
  EXPECT_EQ(shape(*back), "t=0:0[kid=4:0]");
}

TEST(object_stream, checked_cast_failures_leave_nothing_behind) {
  const std::size_t before = live_nodes.size();
  {
    node n;
    std::stringstream buf;
    opstream os(buf);
    writePtr(os, &n);
    ipstream is(buf);
    other* o = reinterpret_cast<other*>(&buf);
    readPtr(is, o);
    EXPECT_EQ(o, nullptr);
    EXPECT_TRUE(is.fail());
    EXPECT_NE(is.error().find("'test_node' where 'test_other'"), std::string::npos) << is.error();
  }
  EXPECT_EQ(live_nodes.size(), before) << "the object read for a failed cast is deleted";

  other o;
  std::stringstream buf;
  opstream os(buf);
  writeRef(os, o);
  ipstream is(buf);
  node target;
  readRef(is, target);
  EXPECT_TRUE(is.fail());
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
  os.writeWord32(99);

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
  ASSERT_TRUE(is.good()) << is.error();
  EXPECT_EQ(back->a, 1u);
  EXPECT_EQ(back->b, 2u);
  EXPECT_EQ(back->extra, nullptr);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->name, "after");
  EXPECT_EQ(again, first) << "the reference resolves to the object the writer meant";
  readPtr(is, skipped);
  EXPECT_EQ(skipped, nullptr);
  EXPECT_NE(is.error().find("newer version that was skipped"), std::string::npos) << is.error();
}

TEST(object_stream, unregistered_class_fails_the_writer) {
  struct unknown : streamable {};
  unknown u;
  std::ostringstream out;
  opstream os(out);
  os.writeObject(&u);
  EXPECT_TRUE(os.fail());
  EXPECT_NE(os.error().find("not registered"), std::string::npos);
  EXPECT_EQ(out.str(), "");
}

TEST(object_stream, files_keep_or_truncate_on_request) {
  temp_dir dir;
  const std::string path = dir.file("keep.bin");
  {
    ofpstream os(path);
    os.writeWord32(0x11111111);
    os.writeWord32(0x22222222);
  }
  {
    ofpstream os(path, ofpstream::open_mode::keep);
    ASSERT_TRUE(os.good());
    os.writeWord32(0x33333333);
  }
  {
    ifpstream is(path);
    EXPECT_EQ(is.readWord32(), 0x33333333u);
    EXPECT_EQ(is.readWord32(), 0x22222222u) << "bytes behind what was written stay";
    EXPECT_TRUE(is.good());
  }
  {
    ofpstream os(path);
    os.writeByte(1);
  }
  ifpstream is(path);
  EXPECT_EQ(is.remaining(), 1u);
  {
    // A file read and written at once: the reader sees what was added since it opened.
    ofpstream grow(path, ofpstream::open_mode::keep);
    grow.seekp(1);
    grow.writeWord32(0x44444444);
    grow.flush();
    EXPECT_EQ(is.readByte(), 1);
    EXPECT_EQ(is.readWord32(), 0x44444444u);
    EXPECT_TRUE(is.good()) << is.error();
  }
  std::filesystem::permissions(path, std::filesystem::perms::owner_write);
  if (::geteuid() != 0) {
    ofpstream refused(path, ofpstream::open_mode::keep);
    EXPECT_TRUE(refused.fail()) << "an existing file it cannot read is not emptied";
    EXPECT_EQ(std::filesystem::file_size(path), 5u);
  }
  ifpstream missing(path + ".none");
  EXPECT_TRUE(missing.fail());
  EXPECT_EQ(missing.readWord32(), 0u);
}

}  // namespace
}  // namespace kyo::test
