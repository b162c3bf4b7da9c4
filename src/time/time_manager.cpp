#include <kyo/time/time_manager.h>

#include <cmath>

#include <kyo/platform/tick.h>

namespace kyo {

namespace {

constexpr double ticks_per_period = 4294967296.0;  // 2^32

// One set per process, as the tick counter and the wall clock are.
struct manager_state {
  std::uint32_t last_tick = 0xFFFFFFFF;
  // A first tick of exactly 0xFFFFFFFF is not below the initial last tick; the flag anchors it
  // all the same.
  bool anchored = false;
  double time_zero = 0;
  bool use_artificial = false;
  double artificial_time = 0;
  std::uint32_t artificial_tick = 0;
};

manager_state state;

}  // namespace

void time_manager::set_timezero() {
  const std::uint32_t tick = clock_tick::current().value();
  if (tick < state.last_tick || !state.anchored) {
    state.time_zero = timedate().set_current().value() - tick * 0.001;
    state.anchored = true;
  }
  state.last_tick = tick;
}

timedate time_manager::get_timedate(clock_tick t) {
  set_timezero();
  return state.time_zero + t.value() * 0.001 - seconds_1901_to_1970;
}

clock_tick time_manager::get_clock_tick(timedate t) {
  set_timezero();
  // Floor rather than truncation keeps times before tick 0 on their nearest millisecond too.
  const double ms = std::floor((t.value() - state.time_zero) * 1000 + 0.5);
  if (!std::isfinite(ms)) return 0;
  // fmod keeps the count within one period either side of zero, where int64 holds it exactly;
  // the conversion to 32 bits then wraps as the counter does.
  return static_cast<std::uint32_t>(static_cast<std::int64_t>(std::fmod(ms, ticks_per_period)));
}

void time_manager::use_artificial_time(bool on, double time, clock_tick tick) {
  state.use_artificial = on;
  if (!on) return;
  if (time != 0) {
    state.artificial_time = time;
    state.artificial_tick = tick.value();
  } else {
    state.artificial_time = timedate::get_current_time();
    state.artificial_tick = tick_count();
  }
}

bool time_manager::artificial_time_on() noexcept {
  return state.use_artificial;
}

double time_manager::artificial_time() noexcept {
  return state.artificial_time;
}

clock_tick time_manager::artificial_tick() noexcept {
  return state.artificial_tick;
}

void time_manager::reset() noexcept {
  state = manager_state{};
}

}  // namespace kyo
