// The library's own numeric server: it publishes the computer's current date and time as the
// single entry "KYO Time" (entry 1), honouring the time manager's artificial time, so that
// outputs, reports, alarms and displays can show the time like any other numeric.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <kyo/kyoutils_export.h>
#include <kyo/numerics/numeric_server.h>

namespace kyo {

/// The numeric server of the current time. Its one entry's value is a timedate (seconds since
/// 1 January 1901), while a timedate_nmrc counts server values from 1970: shown through one, the
/// entry reads 2,177,452,800 seconds (69 years) late. Value and numeric are kept as they are.
class KYO_EXPORT general_numerics : public numeric_server {
 public:
  /// The entry's index and name.
  static constexpr int time_entry = 1;
  static constexpr const char* time_entry_name = "KYO Time";
  /// The entry's description: type id 1 (date-time) with 0x10 in the byte above it, default
  /// width, precision 0.
  static constexpr nmrc_info time_entry_info = {0x1001, -1, 0};

  /// Stream support: the numeric_server part behind its version word; nothing of its own.
  struct KYO_EXPORT Streamer {
    static void Write(opstream& os, const general_numerics& s);
    static void Read(ipstream& is, general_numerics& s, std::uint32_t version);
  };

  /// The arguments are numeric_server's.
  general_numerics(numeric_server* parent, const std::string& name, bool hidden, long timeout,
                   bool browsable);
  explicit general_numerics(streamable_init_t);

  /// 1.
  [[nodiscard]] int entry_count() const override;
  /// time_entry_info for entry 1, all zero for any other index.
  void describe(int index, nmrc_info& info) const override;
  /// "KYO Time" for entry 1, empty for any other index.
  [[nodiscard]] std::string entry_name(int index) const override;
  /// 1 for exactly "KYO Time" (case-sensitive), else 0.
  [[nodiscard]] int entry_index(std::string_view name) const override;
  /// Entry 1: writes the present timedate (timedate::set_current, so artificial time holds it
  /// still) as a double and returns 1; the tick is ignored, the entry always reports the present.
  /// Any other index: writes nothing and returns 0.
  int get_value(int index, clock_tick t, void* data) const override;
};

}  // namespace kyo
