// The numeric of a date-time entry: the server's seconds since 1970 shown as a long or short
// date, a day of the year, and the time of day, selected by flags.
#pragma once

#include <cstdint>
#include <string>

#include <kyo/kyoutils_export.h>
#include <kyo/numerics/numeric.h>

namespace kyo {

/// The flags of a timedate_nmrc: bits 0-1 choose the date part, bit 2 adds the time of day.
namespace timedate_flags {
inline constexpr int no_date = 0;
inline constexpr int long_date = 1;    ///< "21 Nov 2026"
inline constexpr int short_date = 2;   ///< "21/11/26" in the user's date order
inline constexpr int day_of_year = 3;  ///< "325"
inline constexpr int date_mask = 3;
inline constexpr int time = 4;  ///< the time of day, "hh:mm:ss" with the time decimals
}  // namespace timedate_flags

/// Shows a date-time entry, whose value counts seconds from 1 January 1970.
class KYO_EXPORT timedate_nmrc : public numeric {
 public:
  /// Stream support: the numeric part (after its version word), flags and time decimals
  /// (32-bit each).
  struct KYO_EXPORT Streamer {
    static void Write(opstream& os, const timedate_nmrc& n);
    static void Read(ipstream& is, timedate_nmrc& n, std::uint32_t version);
  };

  timedate_nmrc(const numeric_server& server, int index, int flags, int decimals) noexcept;
  explicit timedate_nmrc(streamable_init_t) noexcept;

  [[nodiscard]] timedate_nmrc* clone() const override;
  /// The date part by the flags (none, timedate::long_date_str, short_date_str, or the day of
  /// the year of the value rounded to a whole second, printed 0 outside 1 to 365, so that
  /// 31 December of a leap year prints 0); then, with flag 4, a blank when the text is not empty
  /// and timedate::time_str with the time decimals (more than 3 count as 3, and so do negative
  /// ones, which the time formatter takes as a very large unsigned count).
  /// The value shown is the server's value plus seconds_1901_to_1970. `pad` is not used.
  int as_string(clock_tick t, std::string& out, bool pad) const override;
  void read(ipstream& is, std::uint32_t version) override;
  void write(opstream& os) const override;
  /// Reads "%d,%d": flags, time decimals (see numeric::read_config).
  int read_config(const char* text) override;
  /// Appends "%d,%d": flags, time decimals.
  void write_config(std::string& text) const override;

  [[nodiscard]] int get_flags() const noexcept { return flags_; }
  void set_flags(int flags) noexcept { flags_ = flags; }
  [[nodiscard]] int get_decimals() const noexcept { return decimals_; }
  void set_decimals(int decimals) noexcept { decimals_ = decimals; }

 private:
  int flags_ = timedate_flags::long_date | timedate_flags::time;
  int decimals_ = 0;
};

}  // namespace kyo
