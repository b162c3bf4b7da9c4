// Calendar time. A timedate counts the seconds since 1 January 1901 00:00 GMT, fraction
// included: Unix time plus 2,177,452,800. Its local date and time of day come from converting it
// through the zone TZ names, daylight saving included. It gives short, long and time-of-day
// texts, and `as_string`, the date/time formatter whose directives build report stamps, log lines
// and file names ("%d-%1N-%Y %02H:%02M:%02S").
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <kyo/kyoutils_export.h>
#include <kyo/time/date.h>

namespace kyo {

/// Seconds from 1 January 1901 to 1 January 1970: a time counted from 1970 plus this is a
/// timedate.
inline constexpr double seconds_1901_to_1970 = 2177452800.0;

/// Seconds since 1 January 1901 00:00 GMT, fraction included.
/// Calendar fields come from the value taken down to its whole second (floor, which for values
/// from 1901 on is truncation), then moved to local time by the UTC offset in force at that
/// instant. A NaN value reads as 0 and a value beyond +/- `max_seconds` as that limit.
class KYO_EXPORT timedate {
 public:
  /// The longest text as_string returns: its buffer of 80 characters holds 79 and the terminator.
  static constexpr std::size_t max_text = 79;
  /// The furthest value with a calendar, date::max_days whole days either side of 1901.
  static constexpr double max_seconds = 86400.0 * 100'000'000'000;

  /// The order of fields in short_date_str: 0 month/day/year, 1 day/month/year (the initial
  /// value), 2 year/month/day; any other value gives day/month/year.
  static int short_format;

  constexpr timedate(double seconds = 0) noexcept : value_(seconds) {}
  /// The instant the local clock reads `hour`:`minute`:`seconds` on day `d` (see from_local);
  /// fields out of range carry over.
  timedate(const date& d, int hour, int minute, double seconds) noexcept;
  /// The instant `hour`:`minute`:`seconds` GMT on day `d`; fields out of range carry over.
  [[nodiscard]] static timedate from_gmt(const date& d, int hour, int minute,
                                         double seconds) noexcept;
  /// The instant at which the local clock reads `local_seconds` (counted from 1901 as if every
  /// day had 86,400 seconds). A reading that occurs twice (clocks put back) is its first
  /// occurrence; one that never occurs (clocks put forward) is taken with the offset in force
  /// before the change, so 01:30 on the spring change day in London is 01:30 GMT. In both cases
  /// the offset is the one in force before the change.
  [[nodiscard]] static timedate from_local(double local_seconds) noexcept;

  constexpr operator double() const noexcept { return value_; }
  [[nodiscard]] constexpr double value() const noexcept { return value_; }

  /// The present time of the wall clock (kyo::wall_clock_now), milliseconds included, as
  /// seconds since 1901 GMT. Ignores artificial time; set_current honours it.
  [[nodiscard]] static double get_current_time();
  /// Becomes the time manager's artificial time while it is on, else get_current_time().
  timedate& set_current();

  /// The local date.
  [[nodiscard]] date get_date() const noexcept;
  /// The local hour (0 to 23), minute and whole second of the day.
  [[nodiscard]] int hour() const noexcept;
  [[nodiscard]] int minute() const noexcept;
  [[nodiscard]] int second() const noexcept;
  /// The day of the year of the local date, 1 to 366.
  [[nodiscard]] int day_of_year() const noexcept;

  /// The reading of the local clock at this instant: the value plus the UTC offset in force,
  /// counted from 1901 as if every day had 86,400 seconds. Both instants of a repeated hour read
  /// the same.
  [[nodiscard]] double local_value() const noexcept;

  /// The terse date, "21 Nov 2026" (see date::terse_str).
  [[nodiscard]] std::string long_date_str() const;
  /// The date as "%02u/%02u/%02u" in the order of short_format, the year modulo 100 (0 to 99 also
  /// before year 0): "05/03/04" for 5 March 2004 with short_format 1.
  [[nodiscard]] std::string short_date_str() const;
  /// The local time of day as "hh:mm:ss". Without decimals the seconds are truncated
  /// (12:00:59.996 gives "12:00:59"); with 1 to 3 decimals ("hh:mm:ss.fff") the value is rounded
  /// to the last digit shown, half up, and carries (12:00:59.996 with 2 gives "12:01:00.00").
  /// More than 3 decimals give 3.
  [[nodiscard]] std::string time_str(unsigned decimals = 0) const;

  /// Moves the value to the GMT time of day `hour`:`minute`:`seconds` on the day that puts it
  /// nearest, for time stamps that carry only a UTC time of day (position messages).
  /// The GMT day of the value is kept, unless the given hour is more than 12 hours from the
  /// present GMT hour; then it is the day before when the present hour is the earlier, the day
  /// after otherwise. The local zone plays no part. Fields out of range carry over (hour 24 is
  /// midnight of the next day); NaN or infinite seconds leave the value unchanged.
  void set_nearest(unsigned hour, unsigned minute, double seconds);

  /// Sets short_format from the date order of the user's locale (kyo::locale_date_order); call it
  /// when the regional settings change.
  static void setting_change();

  /// The value as text by `format`. Characters are copied; a directive is '%', up to five
  /// characters that are not letters (flags, width, '.', precision), and a letter; "%%" gives '%'.
  ///   %Y year   %y year modulo 100 (0-99)   %c century (year / 100, rounded down)
  ///   %m month 1-12   %d day of the month   %D day of the year 1-366
  ///   %H hour 0-23   %h hour modulo 12 (noon prints 0)   %M minute   %S seconds within the minute
  ///   any other letter prints 0 through its conversion
  /// These print through the C conversion of their characters plus 'd', or 'f' when the
  /// characters hold a '.' ("%02H", "%06.3S", "%.1H"). Only S has a fraction; the others print
  /// their whole field, so "%.1H" at 10:30 prints "10.0" (after rounding to tenths of an hour).
  ///   %a "am" before noon, else "pm"   %s the ordinal suffix of the day ("st", "nd", "rd", "th")
  ///   %N month name, %n week day name: a first character with bit 0 of its code set keeps three
  ///      letters, with bit 1 set gives capitals ("%1N" "Jan", "%2N" "JANUARY", "%3N" "JAN")
  ///   %w week day digit, 1 Monday to 7 Sunday; a first character with bit 1 set counts from
  ///      Sunday (1 to 7), with bit 0 set from 0 ("%1w" Monday 0, "%3w" Sunday 0)
  ///   %G shows every later field in GMT, %L back in local time; both print nothing
  /// Rounding: the finest of the H, h, M and S directives (S finest, the first among equals) rounds
  /// the whole (GMT) value once, half away from zero, to its precision in its unit before any field
  /// is taken, so "%02H:%02M:%02S" of 23:59:59.7 on 31 December prints the next year's 00:00:00.
  /// Hostile formats stay harmless: a directive with more than five characters before its letter,
  /// one whose characters make no valid conversion ("%*d", "%1.2.3H"), a width or precision above
  /// printf_max_width or printf_max_precision, and a '%' with no letter up to the end are copied
  /// literally. The text is cut at `max_text` characters. A null format gives an empty text.
  [[nodiscard]] std::string as_string(const char* format) const;
  [[nodiscard]] std::string as_string(std::string_view format) const;

 private:
  double value_ = 0;
};

}  // namespace kyo
