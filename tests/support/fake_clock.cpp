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
  namespace chr = std::chrono;
  return chr::sys_days(chr::year{year} / month / day) + chr::hours{hour} + chr::minutes{minute} +
         chr::seconds{second} + chr::milliseconds{millisecond};
}

}  // namespace kyo::test
