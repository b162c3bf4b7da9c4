#include "support/fake_clock.h"

#include <kyo/platform/local_time.h>
#include <kyo/platform/tick.h>

namespace kyo::test {

fake_tick::fake_tick(std::uint32_t start) : now_(start) {
  set_tick_source([this] { return now_.load(); });
}

fake_tick::~fake_tick() {
  set_tick_source({});
}

fake_wall_clock::fake_wall_clock(time_point start) : now_(start.time_since_epoch().count()) {
  set_wall_clock_source([this] { return now(); });
}

fake_wall_clock::~fake_wall_clock() {
  set_wall_clock_source({});
}

fake_wall_clock::time_point fake_wall_clock::utc(int year, int month, int day, int hour, int minute,
                                                 int second, int millisecond) {
  using namespace std::chrono;
  const sys_days date = std::chrono::year{year} / std::chrono::month{static_cast<unsigned>(month)} /
                        std::chrono::day{static_cast<unsigned>(day)};
  return time_point(duration_cast<time_point::duration>(date.time_since_epoch() + hours{hour} +
                                                        minutes{minute} + seconds{second} +
                                                        milliseconds{millisecond}));
}

}  // namespace kyo::test
