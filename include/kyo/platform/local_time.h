// Wall-clock time in the local zone, the UTC offset in force at an instant and
// the user's preferred order of date fields. The wall clock can be replaced by
// tests (set_wall_clock_source); the zone follows TZ, the locale the environment.
#pragma once

#include <chrono>
#include <ctime>
#include <functional>

#include <kyo/kyoutils_export.h>

namespace kyo {

/// A broken-down local date and time.
struct system_time {
  int year = 0;          ///< full year, e.g. 2024
  int month = 0;         ///< 1 to 12
  int day_of_week = 0;   ///< 0 = Sunday to 6 = Saturday
  int day = 0;           ///< 1 to 31
  int hour = 0;          ///< 0 to 23
  int minute = 0;        ///< 0 to 59
  int second = 0;        ///< 0 to 60 (60 only for a leap second the zone data knows)
  int milliseconds = 0;  ///< 0 to 999
};

/// The present local date and time, from the wall clock in the zone named by TZ.
/// Milliseconds are truncated, never rounded, so the seconds field never runs ahead.
KYO_EXPORT system_time get_local_time();

/// Makes get_local_time read `source` instead of the system clock; an empty function
/// restores the system clock.
KYO_EXPORT void set_wall_clock_source(
    std::function<std::chrono::system_clock::time_point()> source);

/// The present time of the wall clock (or of the installed source).
KYO_EXPORT std::chrono::system_clock::time_point wall_clock_now();

/// Seconds to add to UTC to get local time at `t`, daylight saving included (east positive).
/// Follows a change of TZ at once; while TZ is unset, a change of the system's zone takes effect
/// within a second. Answers for recent instants come from a cache, so formatting many texts of
/// one time costs one conversion.
KYO_EXPORT long utc_offset_seconds(std::time_t t);

/// Date field order of the user's locale (LC_ALL, LC_TIME or LANG): 0 month-day-year,
/// 1 day-month-year, 2 year-month-day. The "C" locale, or a locale that cannot be loaded, gives 0.
KYO_EXPORT int locale_date_order();

}  // namespace kyo
