#include <kyo/time/clock_tick.h>

#include <kyo/platform/tick.h>
#include <kyo/time/time_manager.h>

namespace kyo {

clock_tick& clock_tick::set_current() {
  value_ =
      time_manager::artificial_time_on() ? time_manager::artificial_tick().value() : tick_count();
  return *this;
}

clock_tick clock_tick::current() {
  return clock_tick().set_current();
}

}  // namespace kyo
