#include <kyo/core/string_array.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include <kyo/core/object_stream.h>

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

TEST(string_array, indices_start_at_the_lower_bound) {
  string_array a(5, 1, 0);
  a.add("x");
  a.add("y");
  EXPECT_EQ(a[1], "x");
  EXPECT_EQ(a.find("y"), 2);
  EXPECT_EQ(a.upper_bound(), 2);
  EXPECT_FALSE(a.add_at("w", 0));
  EXPECT_TRUE(a.add_at("w", 1));
  EXPECT_TRUE(a.destroy(3));
  EXPECT_EQ(items(a), (std::vector<std::string>{"w", "x"}));
}

TEST(string_array, stream_form_is_a_count_and_the_strings) {
  string_array a;
  a.add("ab");
  a.add("");
  std::ostringstream out_bytes;
  {
    kyo::opstream out(out_bytes);
    out << a;
  }
  const std::string bytes = out_bytes.str();
  EXPECT_EQ(bytes, std::string("\2\0\0\0\2\0\0\0ab\0\0\0\0", 14));

  std::istringstream in_bytes(bytes);
  kyo::ipstream in(in_bytes);
  string_array back;
  back.add("old");
  in >> back;
  EXPECT_TRUE(in.good());
  EXPECT_EQ(back, a);

  struct row {
    const char* what;
    std::string bytes;
  };
  const row bad[] = {
      {"count beyond the input", std::string("\xFF\xFF\xFF\xFF\2\0\0\0ab", 10)},
      {"cut inside a string", bytes.substr(0, 9)},
      {"cut inside the count", bytes.substr(0, 3)},
  };
  for (const auto& r : bad) {
    SCOPED_TRACE(r.what);
    std::istringstream s(r.bytes);
    kyo::ipstream is(s);
    string_array kept;
    kept.add("kept");
    is >> kept;
    EXPECT_TRUE(is.fail());
    EXPECT_EQ(items(kept), std::vector<std::string>{"kept"});
  }
}

}  // namespace
