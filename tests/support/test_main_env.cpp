// Puts, once per test program, the environment tests rely on in place: a fixed
// time zone and the C locale, also when a program runs outside ctest.
#include <gtest/gtest.h>

#include <cstdlib>

namespace {

class fixed_environment : public testing::Environment {
 public:
  void SetUp() override {
    // Also when run outside ctest: pin the zone so results do not depend on the host.
    setenv("TZ", "UTC", 1);
    tzset();
    setenv("LC_ALL", "C", 1);
  }
};

[[maybe_unused]] testing::Environment* const env =
    testing::AddGlobalTestEnvironment(new fixed_environment);

}  // namespace
