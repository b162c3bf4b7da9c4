#include <kyo/core/string_array.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <kyo/core/object_stream.h>

#include "support/damaged_streams.h"

namespace {

using kyo::string_array;

std::vector<std::string> items(const string_array& a) {
  return {a.begin(), a.end()};
}

TEST(string_array, editing_and_searching) {
  string_array a(9, 0, 8);
  a.add("b");
  EXPECT_TRUE(a.add_at("a", 0));
  EXPECT_TRUE(a.add_at("d", 2)) << "one past the last appends";
  EXPECT_TRUE(a.add_at("c", 2));
  EXPECT_FALSE(a.add_at("x", 5));
  EXPECT_FALSE(a.add_at("x", -1));
  a.add("b");
  EXPECT_EQ(items(a), (std::vector<std::string>{"a", "b", "c", "d", "b"}));

  EXPECT_EQ(a.find("b"), 1);
  EXPECT_EQ(a.find("z"), string_array::npos);
  EXPECT_TRUE(a.destroy(std::string("b")));
  EXPECT_EQ(a.find("b"), 3) << "only the first equal one went";
  EXPECT_FALSE(a.destroy(std::string("z")));
  EXPECT_TRUE(a.destroy(0));
  EXPECT_FALSE(a.destroy(3));
  EXPECT_EQ(items(a), (std::vector<std::string>{"c", "d", "b"}));

  a.for_each([](std::string& s, void* arg) { s += *static_cast<const char*>(arg); },
             const_cast<char*>("!"));
  EXPECT_EQ(a[2], "b!");
  const std::string* hit =
      a.first_that([](const std::string& s, void*) { return s[0] == 'd' ? 1 : 0; }, nullptr);
  ASSERT_NE(hit, nullptr);
  EXPECT_EQ(*hit, "d!");
  EXPECT_EQ(a.first_that([](const std::string&, void*) { return 0; }, nullptr), nullptr);
  a.flush();
  EXPECT_TRUE(a.empty());
}

TEST(string_array, room_grows_by_the_step) {
  string_array a(9, 0, 8);
  EXPECT_EQ(a.capacity(), 10u) << "indices 0..9";
  for (int i = 0; i < 11; ++i)
    a.add("s");
  EXPECT_EQ(a.capacity(), 18u) << "full at 10, then 8 more";
  EXPECT_EQ(string_array(5, 1, 0).capacity(), 5u) << "indices 1..5";
}

TEST(string_array, indices_start_at_the_lower_bound) {
  string_array a(5, 1, 0);
  a.add("x");
  a.add("y");
  EXPECT_EQ(std::as_const(a)[2], "y");
  EXPECT_EQ(a[1], "x");
  EXPECT_EQ(a.find("y"), 2);
  EXPECT_EQ(a.upper_bound(), 2);
  EXPECT_FALSE(a.add_at("w", 0));
  EXPECT_TRUE(a.add_at("w", 1));
  EXPECT_TRUE(a.destroy(3));
  EXPECT_EQ(items(a), (std::vector<std::string>{"w", "x"}));
}

bool read(const std::string& bytes, string_array& into) {
  std::istringstream in(bytes);
  kyo::ipstream is(in);
  is >> into;
  return is.good();
}

TEST(string_array, stream_form_is_a_count_and_the_strings) {
  string_array a;
  a.add("ab");
  a.add("");
  std::ostringstream out;
  kyo::opstream os(out);
  os << a;
  const std::string bytes = out.str();
  EXPECT_EQ(bytes, std::string("\2\0\0\0\2\0\0\0ab\0\0\0\0", 14));
  string_array back;
  back.add("old");
  EXPECT_TRUE(read(bytes, back));
  EXPECT_EQ(back, a);

  // Every truncation, and a count the input cannot hold, fail and leave the array alone.
  auto bad = kyo::test::damaged_copies(bytes, {});
  bad.push_back({"count beyond the input", std::string("\xFF\xFF\xFF\xFF\2\0\0\0ab", 10), false});
  for (const auto& d : bad) {
    SCOPED_TRACE(d.what);
    string_array kept;
    kept.add("kept");
    EXPECT_FALSE(read(d.bytes, kept));
    EXPECT_EQ(items(kept), std::vector<std::string>{"kept"});
  }
}

}  // namespace
