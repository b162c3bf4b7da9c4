// The library's millisecond tick counter: a 32-bit count of milliseconds from a
// monotonic clock that wraps after about 49.7 days, compared and subtracted as
// unsigned. Tests replace the clock with set_tick_source.
#pragma once

#include <cstdint>
#include <functional>

#include <kyo/kyoutils_export.h>

namespace kyo {

/// Milliseconds of the monotonic clock (or of the installed source), modulo 2^32.
/// Intervals are `later - earlier` in unsigned arithmetic, which stays right across the wrap.
KYO_EXPORT std::uint32_t tick_count();

/// Makes tick_count return what `source` returns; an empty function restores the real clock.
/// Safe to call while other threads read ticks; the source itself must be thread-safe.
KYO_EXPORT void set_tick_source(std::function<std::uint32_t()> source);

}  // namespace kyo
