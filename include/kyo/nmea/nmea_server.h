// A numeric server fed with NMEA 0183 lines: it publishes the UTC time, the position, the fix
// quality, the satellites in use, HDOP, the antenna height, course and speed over ground and the
// true heading, each in the library's base units, from GGA, RMC, VTG, HDT, HDG, ZDA and GLL
// sentences of any talker. Lines that are no sentence, carry a wrong checksum or are malformed
// are counted and skipped; a receiver without a fix makes the position "no data"; every entry
// turns stale when it has not been updated within the server's timeout.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <kyo/kyoutils_export.h>
#include <kyo/numerics/numeric_server.h>
#include <kyo/time/timedate.h>

namespace kyo::nmea {

struct sentence;

/// The entries of an nmea_server, numbered from 1 as numeric servers number them.
namespace entry {
inline constexpr int utc_time = 1;        ///< date_time: seconds since 1 January 1970 UTC
inline constexpr int latitude = 2;        ///< radians, north positive
inline constexpr int longitude = 3;       ///< radians, east positive
inline constexpr int fix_quality = 4;     ///< number: GGA's quality (0 none, 1 GPS, 2 DGPS, 4 RTK)
inline constexpr int satellites = 5;      ///< number of satellites in use
inline constexpr int hdop = 6;            ///< number: horizontal dilution of precision
inline constexpr int antenna_height = 7;  ///< distance: metres above mean sea level
inline constexpr int course = 8;          ///< true bearing: course over ground, radians
inline constexpr int speed = 9;           ///< speed over ground, metres per second
inline constexpr int heading = 10;        ///< true bearing: the vessel's true heading, radians
inline constexpr int count = 10;
}  // namespace entry

/// What feed did with a line.
enum class line_result : std::uint8_t {
  used,         ///< a sentence that updated at least one entry
  unused,       ///< a valid sentence of a type (or content) that updates nothing
  no_sentence,  ///< no sentence in the line: skipped, not an error
  rejected,     ///< a wrong checksum or a malformed sentence
};

/// Counts of the lines fed so far.
struct line_counts {
  std::uint64_t lines = 0;         ///< every line fed
  std::uint64_t used = 0;          ///< sentences that updated an entry
  std::uint64_t unused = 0;        ///< valid sentences that updated nothing
  std::uint64_t no_sentence = 0;   ///< lines without a sentence (comments, empty lines, junk)
  std::uint64_t bad_checksum = 0;  ///< sentences whose checksum was wrong
  std::uint64_t malformed = 0;     ///< sentences cut, too long or holding binary bytes

  [[nodiscard]] std::uint64_t rejected() const noexcept { return bad_checksum + malformed; }
};

class line_source;

/// The first time stamp that carries a date (ZDA, RMC) among the first `max_lines` lines of
/// `source`, read to that point; nothing when there is none. A replay of a log places the
/// time-of-day stamps before it (GGA, GLL) near it.
[[nodiscard]] KYO_EXPORT std::optional<timedate> first_dated_time(line_source& source,
                                                                  std::size_t max_lines);

/// A numeric server of one NMEA source.
class KYO_EXPORT nmea_server : public numeric_server {
 public:
  /// A server called `name` under `parent`; data older than `timeout_ms` ticks are stale.
  nmea_server(numeric_server* parent, const std::string& name, long timeout_ms = 3000);

  int entry_count() const override;
  void describe(int index, nmrc_info& info) const override;
  std::string entry_name(int index) const override;
  int entry_index(std::string_view name) const override;
  /// The value of `index` at tick `t` as a double; no_data before the first value and while the
  /// receiver reports no fix (positions), fresh or stale by the age of that entry's own update.
  int get_value(int index, clock_tick t, void* data) const override;

  /// Takes one line (a line break at its end is ignored) received at tick `t`, updates the
  /// entries it carries and, when any changed, calls set_update_time(t) so that clients hear
  /// of it.
  line_result feed(std::string_view line, clock_tick t);

  /// The UTC time of the newest time stamp, as a timedate; nothing before the first that could
  /// be placed on a date. A time of day alone (GGA, GLL) is placed on the day nearest to the
  /// previous time stamp, or to the reference time before any date was seen.
  [[nodiscard]] std::optional<timedate> last_time() const noexcept { return time_; }
  /// The time stamp that `line` would bring, resolved as feed would resolve it, without taking
  /// anything from the line: nothing for a line without a usable time stamp. A program that
  /// works epoch by epoch asks before feeding a line whether it starts a new epoch.
  [[nodiscard]] std::optional<timedate> time_of(std::string_view line) const;
  /// The time near which time-of-day stamps are placed until a sentence brings a date.
  void set_reference_time(timedate t) noexcept { reference_ = t; }

  [[nodiscard]] const line_counts& counts() const noexcept { return counts_; }

 private:
  struct slot {
    double value = 0;
    clock_tick tick = 0;
    bool valid = false;
  };

  void set(int index, double value, clock_tick t);
  void invalidate(int index);
  std::optional<timedate> resolve_time(std::optional<double> of_day,
                                       std::optional<std::int64_t> day) const;
  std::optional<timedate> stamp_of(const sentence& s) const;
  bool take_time(std::optional<timedate> time, clock_tick t);
  bool take_position(std::string_view lat, std::string_view ns, std::string_view lon,
                     std::string_view ew, clock_tick t);

  std::array<slot, entry::count + 1> slots_{};
  std::optional<timedate> time_;
  timedate reference_;
  line_counts counts_;
  bool changed_ = false;
};

}  // namespace kyo::nmea
