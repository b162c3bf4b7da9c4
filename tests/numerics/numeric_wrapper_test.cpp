// Numeric wrappers: they die with their server and tell their owner, delete their numeric, and
// let it go without deleting it after set_null.
#include <kyo/numerics/numeric.h>
#include <kyo/numerics/numeric_wrapper.h>

#include <gtest/gtest.h>

#include <vector>

#include "support/test_numeric_server.h"

namespace kyo::test {
namespace {

struct recording_owner : wrapper_owner {
  void numeric_destroyed(numeric_wrapper& w) override {
    told.push_back(&w);
    numeric_left.push_back(w.get_numeric());
  }
  std::vector<numeric_wrapper*> told;
  std::vector<numeric*> numeric_left;
};

struct counted_numeric : numeric {
  counted_numeric(const numeric_server& s, int& deaths) : numeric(s, 1), deaths_(deaths) {}
  ~counted_numeric() override { ++deaths_; }
  int& deaths_;
};

TEST(numeric_wrapper, dies_with_its_server_and_deletes_its_numeric) {
  recording_owner owner;
  int deaths = 0;
  auto* dying = new test_numeric_server(nullptr, "dying");
  test_numeric_server other(nullptr, "other");
  std::vector<numeric_wrapper*> wrappers;
  for (const test_numeric_server* s : {dying, &other, dying, dying})
    wrappers.push_back(new numeric_wrapper(owner, *new counted_numeric(*s, deaths)));
  EXPECT_EQ(dying->client_count(), 3u);
  delete dying;
  EXPECT_EQ(owner.told, (std::vector{wrappers[0], wrappers[2], wrappers[3]}));
  EXPECT_EQ(owner.numeric_left.size(), 3u);
  EXPECT_NE(owner.numeric_left[0], nullptr) << "the owner is told before the numeric goes";
  EXPECT_EQ(deaths, 3);
  EXPECT_EQ(other.client_count(), 1u);
  delete wrappers[1];
  EXPECT_EQ(other.client_count(), 0u);
  EXPECT_EQ(deaths, 4);
}

TEST(numeric_wrapper, set_null_lets_the_numeric_go_without_deleting_it) {
  recording_owner owner;
  int deaths = 0;
  test_numeric_server s;
  auto* n = new counted_numeric(s, deaths);
  auto* w = new numeric_wrapper(owner, *n);
  w->set_null();
  w->set_null();
  EXPECT_EQ(w->get_numeric(), nullptr);
  EXPECT_EQ(s.client_count(), 0u);
  delete w;
  EXPECT_EQ(owner.told, std::vector{w});
  EXPECT_EQ(deaths, 0);
  delete n;
}

}  // namespace
}  // namespace kyo::test
