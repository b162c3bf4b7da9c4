#include "support/unprivileged.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <iostream>

namespace kyo::test {

namespace {

constexpr uid_t nobody = 65534;

// Fixed when the program starts, so that it holds inside the unprivileged part too.
const bool started_as_root = ::geteuid() == 0;

}  // namespace

bool running_as_root() {
  return started_as_root;
}

uid_t unprivileged_uid() {
  return running_as_root() ? nobody : ::getuid();
}

gid_t unprivileged_gid() {
  return running_as_root() ? static_cast<gid_t>(nobody) : ::getgid();
}

void hand_over(const std::filesystem::path& path) {
  if (running_as_root() && ::lchown(path.c_str(), nobody, nobody) != 0) {
    ADD_FAILURE() << "cannot give " << path << " to user nobody";
  }
}

void as_unprivileged(const std::function<void()>& body) {
  std::cout.flush();
  std::fflush(nullptr);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0) << "cannot fork";
  if (child == 0) {
    int code = 0;
    if (running_as_root() &&
        (::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 || ::setuid(nobody) != 0)) {
      std::fputs("cannot drop to user nobody\n", stderr);
      code = 2;
    } else {
      // The child's own failures count, not those of the test before the fork. An exception
      // must not reach the test program's handler in the child, which would run the remaining
      // tests there.
      const bool failed_before = testing::Test::HasFailure();
      try {
        body();
        code = !failed_before && testing::Test::HasFailure() ? 1 : 0;
      } catch (...) {
        std::fputs("the part run as an ordinary user threw\n", stderr);
        code = 3;
      }
    }
    std::cout.flush();
    std::fflush(nullptr);
    // No exit handlers: they belong to the test program, which the parent still runs.
    ::_exit(code);
  }
  int status = 0;
  pid_t waited = 0;
  while ((waited = ::waitpid(child, &status, 0)) < 0 && errno == EINTR) {
  }
  if (waited < 0) {
    ADD_FAILURE() << "lost the child process";
  } else if (WIFSIGNALED(status)) {
    ADD_FAILURE() << "the part run as an ordinary user died of signal " << WTERMSIG(status);
  } else if (WEXITSTATUS(status) != 0) {
    ADD_FAILURE() << "the part run as an ordinary user failed (messages above)";
  }
}

}  // namespace kyo::test
