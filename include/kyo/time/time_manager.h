// Ties clock ticks to calendar time. The time manager anchors the tick counter to the wall clock
// once (and again whenever the counter runs backwards, as it does when it wraps), so converting
// ticks to times never drifts with the wall clock between wraps. It can also hold the whole
// library on an artificial time and tick, for replaying recorded data with its own time stamps.
#pragma once

#include <cstdint>

#include <kyo/kyoutils_export.h>
#include <kyo/time/clock_tick.h>
#include <kyo/time/timedate.h>

namespace kyo {

/// Process-wide conversions between clock ticks and timedates, and the artificial time switch.
/// Its state is static and unlocked: call it from the user-interface thread only.
class KYO_EXPORT time_manager {
 public:
  time_manager() = delete;

  /// Reads the present tick; when it is below the last tick seen (the counter wrapped, or a
  /// replay moved the artificial tick back) or no anchor was set yet, anchors time zero, the
  /// timedate of tick 0, to the present time less the tick. Then remembers the tick.
  static void set_timezero();

  /// The time of tick `t` counted in seconds from 1 January 1970, not 1901: add
  /// `seconds_1901_to_1970` to use the result as a timedate. get_clock_tick takes a time counted
  /// from 1901, so a round trip adds the constant between the two calls.
  [[nodiscard]] static timedate get_timedate(clock_tick t);

  /// The tick of `t` (seconds from 1901), to the nearest millisecond. A time outside the present
  /// counter period gives its position within the period (modulo 2^32); NaN and infinities give 0.
  [[nodiscard]] static clock_tick get_clock_tick(timedate t);

  /// Switches artificial time on or off. On with a non-zero `time` holds the library at `time`
  /// and `tick`; on with `time` 0 holds it at the present wall-clock time and tick. Off returns to
  /// the real clocks and keeps the stored time and tick. Artificial time does not run: it stays
  /// where it was put until it is set again.
  static void use_artificial_time(bool on, double time = 0, clock_tick tick = 0);

  /// Whether artificial time is on.
  [[nodiscard]] static bool artificial_time_on() noexcept;
  /// The stored artificial time (seconds from 1901) and tick, whether or not it is on.
  [[nodiscard]] static double artificial_time() noexcept;
  [[nodiscard]] static clock_tick artificial_tick() noexcept;

  /// Puts the state back as at process start (no anchor, last tick 0xFFFFFFFF, artificial time
  /// off and zero). For tests, which must not inherit one another's anchor.
  static void reset() noexcept;
};

}  // namespace kyo
