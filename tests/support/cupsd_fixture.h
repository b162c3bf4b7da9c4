// A private print server for tests: a cupsd of its own, listening only on a unix socket in a
// temporary folder, with a raw queue whose jobs a capture backend writes to files, so that tests
// can compare the bytes a job printed. Clients of this process reach it through CUPS_SERVER.
// Under CI (CI=true) a server that cannot start fails the test; elsewhere the test is skipped.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "support/scoped_env.h"

namespace kyo::test {

/// A running cupsd with a raw capture queue; stopped (by its pid) and removed at destruction.
class private_cupsd {
 public:
  /// Starts the server with the queue, which is its default. Points this process's print
  /// clients at it (CUPS_SERVER; LPDEST, PRINTER cleared; its own client files).
  explicit private_cupsd(const std::string& queue);
  ~private_cupsd();
  private_cupsd(const private_cupsd&) = delete;
  private_cupsd& operator=(const private_cupsd&) = delete;

  /// Whether the server runs; why not, when it does not.
  [[nodiscard]] bool running() const { return pid_ > 0; }
  [[nodiscard]] const std::string& failure() const { return failure_; }
  /// The device URI of the queue.
  [[nodiscard]] std::string device_uri(const std::string& queue) const;

  /// The bytes of the completed jobs of `queue`, oldest first, once there are `count` of them
  /// (waiting up to 10 s; fewer when they do not come).
  [[nodiscard]] std::vector<std::string> jobs(const std::string& queue, std::size_t count) const;
  /// Stops the server now (its queues stay unreachable until the fixture goes).
  void stop();

 private:
  bool start(const std::string& queue);

  std::string dir_;
  pid_t pid_ = -1;
  std::string failure_;
  std::vector<std::unique_ptr<scoped_env>> env_;
};

/// True when the tests run under CI (CI=true), where nothing may be skipped.
bool under_ci();

}  // namespace kyo::test

/// Ends the test when `fx` is not running: a failure under CI, a skip elsewhere.
#define KYO_REQUIRE_CUPSD(fx)                                                             \
  do {                                                                                    \
    if (!(fx).running()) {                                                                \
      if (::kyo::test::under_ci()) FAIL() << "private cupsd: " << (fx).failure();         \
      GTEST_SKIP() << "no private cupsd (" << (fx).failure() << "): print tests skipped"; \
    }                                                                                     \
  } while (false)
