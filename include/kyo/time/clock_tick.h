// The millisecond clock tick that stamps every data update: an unsigned 32-bit count that wraps
// after about 49.7 days. It converts to and from std::uint32_t, so comparisons and differences are
// the unsigned ones; `ms_since` and `signed_ms_since` name the two differences callers need.
// While the time manager holds the library on an artificial time, `set_current` reads its tick.
#pragma once

#include <cstdint>

#include <kyo/kyoutils_export.h>

namespace kyo {

/// Milliseconds of the tick counter, modulo 2^32.
class KYO_EXPORT clock_tick {
 public:
  constexpr clock_tick(std::uint32_t ms = 0) noexcept : value_(ms) {}
  constexpr operator std::uint32_t() const noexcept { return value_; }
  [[nodiscard]] constexpr std::uint32_t value() const noexcept { return value_; }

  /// Becomes the time manager's artificial tick while artificial time is on, else the present
  /// count of the tick counter (kyo::tick_count).
  clock_tick& set_current();
  /// A tick set to the present, as set_current gives it.
  [[nodiscard]] static clock_tick current();

  /// Milliseconds from `earlier` to this tick, right across one wrap of the counter: a tick of 5
  /// is 10 ms after 0xFFFFFFFB. An `earlier` that is in fact later gives a large count.
  [[nodiscard]] constexpr std::uint32_t ms_since(clock_tick earlier) const noexcept {
    return value_ - earlier.value_;
  }
  /// The same difference read as signed 32 bits: negative when `earlier` is later by less than
  /// about 24.8 days, which is how ages of data are compared with timeouts.
  [[nodiscard]] constexpr std::int32_t signed_ms_since(clock_tick earlier) const noexcept {
    return static_cast<std::int32_t>(value_ - earlier.value_);
  }

 private:
  std::uint32_t value_ = 0;
};

}  // namespace kyo
