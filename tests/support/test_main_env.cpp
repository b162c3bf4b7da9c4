// Checks, once per test program, that the environment ctest sets is in place:
// tests rely on a fixed time zone and the C locale.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace {

class fixed_environment : public testing::Environment {
 public:
  void SetUp() override {
    const char* tz = std::getenv("TZ");
    if (tz == nullptr || std::strcmp(tz, "UTC") != 0) {
      // Run outside ctest: pin the zone so results do not depend on the host.
      setenv("TZ", "UTC", 1);
    }
    tzset();
  }
};

[[maybe_unused]] testing::Environment* const env =
    testing::AddGlobalTestEnvironment(new fixed_environment);

}  // namespace
