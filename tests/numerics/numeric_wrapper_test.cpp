// Numeric wrappers: they die with their server, tell their owner and delete their numeric, which
// set_null lets go instead.
#include <kyo/numerics/numeric.h>
#include <kyo/numerics/numeric_wrapper.h>

#include <gtest/gtest.h>

#include <vector>

#include "support/test_numeric_server.h"

namespace kyo::test {
namespace {

struct recording_owner : wrapper_owner {
  void numeric_destroyed(numeric_wrapper& w) override { told.push_back(&w); }
  std::vector<numeric_wrapper*> told;
};

struct counted_numeric : numeric {
  counted_numeric(const numeric_server& s, int& deaths) : numeric(s, 1), deaths_(deaths) {}
  ~counted_numeric() override { ++deaths_; }
  int& deaths_;
};

TEST(numeric_wrapper, dies_with_its_server_and_deletes_its_numeric_unless_set_null) {
  recording_owner owner;
  int deaths = 0;
  test_numeric_server other(nullptr, "other");
  auto* kept = new counted_numeric(other, deaths);
  auto* released = new numeric_wrapper(owner, *kept);
  auto* dying = new test_numeric_server(nullptr, "dying");
  std::vector<numeric_wrapper*> wrappers;
  for (int i = 0; i < 3; ++i)
    wrappers.push_back(new numeric_wrapper(owner, *new counted_numeric(*dying, deaths)));
  delete dying;
  EXPECT_EQ(owner.told, wrappers);
  EXPECT_EQ(deaths, 3);
  released->set_null();
  released->set_null();
  EXPECT_EQ(other.client_count(), 0u);
  delete released;
  EXPECT_EQ(deaths, 3) << "a numeric let go with set_null outlives its wrapper";
  delete kept;
}

}  // namespace
}  // namespace kyo::test
