// Settable clocks for tests: fake_tick replaces the millisecond tick counter and
// fake_wall_clock the wall clock of get_local_time, each for its own lifetime;
// the real clocks are back once they are destroyed. Neither can be copied (the
// atomic count cannot), so only one object owns each installed source.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

#include <kyo/platform/local_time.h>
#include <kyo/platform/tick.h>

namespace kyo::test {

/// Installs a tick source that returns a value the test sets.
class fake_tick {
 public:
  explicit fake_tick(std::uint32_t start = 0) : now_(start) {
    set_tick_source([this] { return now_.load(); });
  }
  ~fake_tick() { set_tick_source({}); }

  void set(std::uint32_t tick) { now_.store(tick); }
  /// Moves the tick on by `ms`, wrapping at 2^32 like the real counter.
  void advance(std::uint32_t ms) { now_.fetch_add(ms); }

 private:
  std::atomic<std::uint32_t> now_;
};

/// Installs a wall clock that stands still at a time the test sets.
class fake_wall_clock {
 public:
  using time_point = std::chrono::system_clock::time_point;

  explicit fake_wall_clock(time_point start) : now_(start.time_since_epoch().count()) {
    set_wall_clock_source([this] { return now(); });
  }
  ~fake_wall_clock() { set_wall_clock_source({}); }

  void set(time_point t) { now_.store(t.time_since_epoch().count()); }
  void advance(std::chrono::nanoseconds d) {
    now_.fetch_add(std::chrono::duration_cast<time_point::duration>(d).count());
  }
  time_point now() const { return time_point(time_point::duration(now_.load())); }

  /// The instant of a UTC calendar date and time (month 1-12), e.g. utc(2024, 3, 31, 1, 0, 0).
  static time_point utc(int year, int month, int day, int hour, int minute, int second,
                        int millisecond = 0) {
    namespace chr = std::chrono;
    return chr::sys_days(chr::year{year} / month / day) + chr::hours{hour} + chr::minutes{minute} +
           chr::seconds{second} + chr::milliseconds{millisecond};
  }

 private:
  std::atomic<time_point::rep> now_;
};

}  // namespace kyo::test
