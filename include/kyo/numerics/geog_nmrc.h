// The numeric of a latitude or longitude entry: degrees, minutes and seconds with the hemisphere
// letter in one of three layouts, or the plain value in radians or semicircles.
#pragma once

#include <cstdint>
#include <string>

#include <kyo/kyoutils_export.h>
#include <kyo/numerics/numeric.h>

namespace kyo {

/// The formats of a geog_nmrc.
namespace geog_format {
inline constexpr int degrees = 0;      ///< "%10.7d°%1h", longitude "%11.7d°%2h"
inline constexpr int minutes = 1;      ///< "%02d°%08.5m'%1h", "%03d°%08.5m'%2h"
inline constexpr int seconds = 2;      ///< "%02d°%02m'%06.3s\"%1h", "%03d°%02m'%06.3s\"%2h"
inline constexpr int radians = 3;      ///< the value, fixed with 9 decimals
inline constexpr int semicircles = 4;  ///< the value divided by pi, fixed with 9 decimals
}  // namespace geog_format

/// Shows a latitude (any type id but 3) or longitude (type id 3) entry held in radians.
class KYO_EXPORT geog_nmrc : public numeric {
 public:
  /// The six angle formats, [format][0 latitude, 1 longitude]; the degree sign is 0xB0.
  static constexpr const char* angle_formats[3][2] = {
      {"%10.7d\xB0%1h", "%11.7d\xB0%2h"},
      {"%02d\xB0%08.5m'%1h", "%03d\xB0%08.5m'%2h"},
      {"%02d\xB0%02m'%06.3s\"%1h", "%03d\xB0%02m'%06.3s\"%2h"}};

  /// Stream support: the numeric part (after its version word), then the format as one byte (its
  /// low 8 bits).
  struct KYO_EXPORT Streamer {
    static void Write(opstream& os, const geog_nmrc& n);
    static void Read(ipstream& is, geog_nmrc& n, std::uint32_t version);
  };

  geog_nmrc(const numeric_server& server, int index, int format) noexcept;
  explicit geog_nmrc(streamable_init_t) noexcept;

  [[nodiscard]] geog_nmrc* clone() const override;
  /// Formats 0-2 through rad::as_string with the format of the entry's axis (longitude when the
  /// entry's type id is 3); formats 3 and 4 as the value in radians or semicircles with 9
  /// decimals, cut at 31 characters; any other format shows as format 2. `pad` is not used.
  int as_string(clock_tick t, std::string& out, bool pad) const override;
  void read(ipstream& is, std::uint32_t version) override;
  void write(opstream& os) const override;
  /// Reads the format as a decimal integer (see numeric::read_config).
  int read_config(const char* text) override;
  /// Appends the format as a decimal integer.
  void write_config(std::string& text) const override;

  [[nodiscard]] int get_format() const noexcept { return format_; }
  void set_format(int format) noexcept { format_ = format; }

 private:
  int format_ = geog_format::seconds;
};

}  // namespace kyo
