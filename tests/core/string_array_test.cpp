#include <kyo/core/string_array.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <kyo/core/object_stream.h>

namespace {

using kyo::string_array;

std::vector<std::string> items(const string_array& a) {
  return {a.begin(), a.end()};
}

TEST(string_array, editing_and_searching) {
  string_array a(9, 0, 8);
  EXPECT_EQ(a.capacity(), 10u) << "indices 0..9";
  a.add("b");
  EXPECT_TRUE(a.add_at("a", 0) && a.add_at("d", 2) && a.add_at("c", 2)) << "2 appends to 2 items";
  EXPECT_FALSE(a.add_at("x", 5) || a.add_at("x", -1));
  a.add("b");
  EXPECT_EQ(items(a), (std::vector<std::string>{"a", "b", "c", "d", "b"}));
  EXPECT_EQ(a.find("z"), string_array::npos);
  EXPECT_TRUE(a.destroy(std::string("b")));
  EXPECT_EQ(a.find("b"), 3) << "only the first equal one went";
  EXPECT_FALSE(a.destroy(std::string("z")) || a.destroy(4));
  EXPECT_TRUE(a.destroy(0));
  EXPECT_EQ(items(a), (std::vector<std::string>{"c", "d", "b"}));
  for (int i = 0; i < 8; ++i)
    a.add("s");
  EXPECT_EQ(a.capacity(), 18u) << "full at 10, then 8 more";
  a.flush();
  EXPECT_TRUE(a.empty());
}

TEST(string_array, indices_start_at_the_lower_bound) {
  string_array a(5, 1, 0);
  EXPECT_EQ(a.capacity(), 5u) << "indices 1..5";
  a.add("x");
  a.add("y");
  EXPECT_EQ(std::as_const(a)[2] + a[1], "yx");
  EXPECT_EQ(a.find("y"), 2);
  EXPECT_EQ(a.upper_bound(), 2);
  EXPECT_FALSE(a.add_at("w", 0));
  EXPECT_TRUE(a.add_at("w", 1) && a.destroy(3));
  EXPECT_EQ(items(a), (std::vector<std::string>{"w", "x"}));
}

TEST(string_array, stream_form_is_a_count_and_the_strings) {
  string_array a;  // empty strings, so that a count needs no more than 4 bytes a string
  a.add("");
  a.add("ab");
  a.add("");
  std::ostringstream out;
  kyo::opstream os(out);
  os << a;
  const std::string bytes = out.str();
  EXPECT_EQ(bytes, std::string("\3\0\0\0\0\0\0\0\2\0\0\0ab\0\0\0\0", 18));
  // A truncation and a count the input cannot hold fail and leave the array alone.
  for (const std::string& data :
       {bytes.substr(0, 13), std::string("\xFF\xFF\xFF\xFF\2\0\0\0ab", 10)}) {
    std::istringstream in(data);
    kyo::ipstream is(in);
    string_array kept;
    kept.add("kept");
    is >> kept;
    EXPECT_TRUE(!is.good() && items(kept) == std::vector<std::string>{"kept"}) << data.size();
  }
  std::istringstream in(bytes);
  kyo::ipstream is(in);
  string_array back;
  back.add("old");
  is >> back;
  EXPECT_TRUE(is.good() && back == a);
}

}  // namespace
