// A disk that fills up, for fault tests: while this lives, the process cannot make a file larger
// than the given size; a write past it fails (EFBIG) as a write to a full disk does, instead of
// raising SIGXFSZ. Everything is put back at the end.
#pragma once

#include <signal.h>
#include <sys/resource.h>

namespace kyo::test {

class file_size_limit {
 public:
  explicit file_size_limit(rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &saved_);
    old_handler_ = ::signal(SIGXFSZ, SIG_IGN);
    rlimit limit = saved_;
    limit.rlim_cur = bytes;
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~file_size_limit() {
    ::setrlimit(RLIMIT_FSIZE, &saved_);
    ::signal(SIGXFSZ, old_handler_);
  }
  file_size_limit(const file_size_limit&) = delete;
  file_size_limit& operator=(const file_size_limit&) = delete;

 private:
  rlimit saved_{};
  sighandler_t old_handler_ = SIG_DFL;
};

}  // namespace kyo::test
