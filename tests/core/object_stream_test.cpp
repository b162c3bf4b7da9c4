#include <kyo/core/object_stream.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <sstream>

#include <unistd.h>

#include "core/object_stream_types.h"
#include "support/temp_dir.h"

namespace kyo::test {
namespace {

std::string bytes_of(std::initializer_list<int> values) {
  std::string s;
  for (int v : values)
    s.push_back(static_cast<char>(v));
  return s;
}

TEST(object_stream, primitives_are_little_endian_and_unframed_at_top_level) {
  std::ostringstream out;
  opstream os(out);
  os.writeByte(0xAB);
  os.writeWord16(0x0102);
  os.writeWord32(0x01020304);
  os.writeDouble(1.0);
  os.writeString("A\xb0");
  os.writeString(static_cast<const char*>(nullptr));
  os.writeString(std::string_view());
  ASSERT_TRUE(os.good());
  EXPECT_EQ(out.str(), bytes_of({0xAB, 0x02, 0x01, 0x04, 0x03, 0x02, 0x01, 0, 0, 0,
                                 0,    0,    0,    0xF0, 0x3F, 2,    0,    0, 0, 'A',
                                 0xB0, 0xFF, 0xFF, 0xFF, 0xFF, 0,    0,    0, 0}));
}

TEST(object_stream, primitives_round_trip_with_null_and_empty_strings_apart) {
  std::stringstream buf;
  opstream os(buf);
  os.writeByte(0);
  os.writeWord16(0xFFFF);
  os.writeWord32(0xFFFFFFFF);
  os.writeDouble(-0.0);
  os.writeDouble(std::numeric_limits<double>::quiet_NaN());
  os.writeDouble(-std::numeric_limits<double>::infinity());
  os.writeString(std::string_view("", 0));
  os.writeString(static_cast<const char*>(nullptr));
  os.writeBytes("\x01\x02\x03", 3);

  ipstream is(buf);
  EXPECT_EQ(is.readByte(), 0);
  EXPECT_EQ(is.readWord16(), 0xFFFF);
  EXPECT_EQ(is.readWord32(), 0xFFFFFFFFu);
  const double negative_zero = is.readDouble();
  EXPECT_TRUE(negative_zero == 0.0 && std::signbit(negative_zero));
  EXPECT_TRUE(std::isnan(is.readDouble()));
  EXPECT_EQ(is.readDouble(), -std::numeric_limits<double>::infinity());
  auto empty = is.readString();
  ASSERT_TRUE(empty.has_value());
  EXPECT_EQ(*empty, "");
  EXPECT_FALSE(is.readString().has_value());
  EXPECT_TRUE(is.good()) << "the null string is not a failure";
  char raw[3];
  is.readBytes(raw, 3);
  EXPECT_EQ(std::string(raw, 3), "\x01\x02\x03");
  EXPECT_TRUE(is.good());
  EXPECT_EQ(is.remaining(), 0u);
  EXPECT_EQ(is.readByte(), 0);
  EXPECT_TRUE(is.fail()) << "reading past the end fails";
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
  ASSERT_TRUE(is.good()) << is.error();
  std::unique_ptr<node> owner(root);
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(none, nullptr);

  EXPECT_EQ(root->name, "root");
  EXPECT_EQ(root->value, 7u);
  EXPECT_TRUE(std::signbit(root->x));
  EXPECT_EQ(root->parent, nullptr);
  EXPECT_EQ(root->buddy, nullptr);
  ASSERT_EQ(root->children.size(), 3u);
  node* a = root->children[0].get();
  node* b = root->children[1].get();
  node* c = root->children[2].get();
  EXPECT_EQ(a->parent, root);
  EXPECT_EQ(a->buddy, root) << "the cycle comes back to the same object";
  EXPECT_EQ(a->x, 1.5);
  ASSERT_EQ(a->children.size(), 1u);
  EXPECT_EQ(a->children[0]->name, "a1");
  EXPECT_EQ(a->children[0]->x, 1e300);
  EXPECT_EQ(a->children[0]->parent, a);
  EXPECT_EQ(b->name, std::string("with\0nul\xb0", 9));
  EXPECT_EQ(b->buddy, nullptr);
  EXPECT_EQ(c->buddy, a) << "a shared object is read once";
  EXPECT_EQ(c_again, c) << "a top-level reference finds the object read before";
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
    ASSERT_TRUE(is.good()) << is.error();
    std::unique_ptr<node> owner(root);
    ASSERT_EQ(root->children.size(), 3u);
    EXPECT_EQ(root->children[2]->buddy, root->children[0].get());
  }
  buf.seekg(0);
  ipstream is(buf);
  EXPECT_EQ(is.readWord32(), 0xDEADBEEFu);
  EXPECT_EQ(is.tellg(), first);
  node* one = nullptr;
  node* two = nullptr;
  readPtr(is, one);
  readPtr(is, two);
  ASSERT_TRUE(is.good()) << is.error();
  std::unique_ptr<node> owner1(one), owner2(two);
  EXPECT_NE(one, two) << "no reference reaches into an earlier record";
  EXPECT_EQ(two->children[0]->buddy, two);
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
  ASSERT_TRUE(is.good()) << is.error();
  std::unique_ptr<node> owner(n);
  auto* back = dynamic_cast<tagged_node*>(n);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->tag, "survey");
  ASSERT_EQ(back->children.size(), 1u);
  EXPECT_EQ(back->children[0]->parent, back);
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

TEST(object_stream, read_into_fills_an_existing_object) {
  auto tree = make_sample_tree();
  std::stringstream buf;
  opstream os(buf);
  writeRef(os, *tree);
  node target;
  ipstream is(buf);
  readRef(is, target);
  ASSERT_TRUE(is.good()) << is.error();
  ASSERT_EQ(target.children.size(), 3u);
  EXPECT_EQ(target.children[0]->buddy, &target);
  EXPECT_EQ(target.children[0]->parent, &target);
}

TEST(object_stream, unread_tail_of_a_newer_record_is_skipped) {
  growing g;
  g.a = 1;
  g.b = 2;
  std::stringstream buf;
  opstream os(buf);
  writePtr(os, &g);
  os.writeWord32(99);
  growing::read_all = false;
  ipstream is(buf);
  growing* back = nullptr;
  readPtr(is, back);
  growing::read_all = true;
  std::unique_ptr<growing> owner(back);
  ASSERT_TRUE(is.good()) << is.error();
  EXPECT_EQ(back->a, 1u);
  EXPECT_EQ(back->b, 0u);
  EXPECT_EQ(is.readWord32(), 99u) << "reading goes on behind the record";
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
