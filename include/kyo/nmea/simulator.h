// A simulated survey vessel: it runs parallel survey lines at a set speed, turning between them
// on half circles, with noise on its heading, and reports each epoch as the NMEA sentences a
// dual-antenna survey receiver sends (ZDA, GGA, VTG, HDT, all from talker GP). The same settings
// and seed give the same sentences, byte for byte.
#pragma once

#include <cstdint>
#include <numbers>
#include <string>
#include <vector>

#include <kyo/kyoutils_export.h>
#include <kyo/time/timedate.h>

namespace kyo::nmea {

/// What the simulated survey looks like.
struct survey_plan {
  double origin_lat_rad = 54.46 * std::numbers::pi / 180;  ///< start of the first line: 54.46 N
  double origin_lon_rad = 2.98 * std::numbers::pi / 180;   ///< 2.98 E, the southern North Sea
  double line_heading_deg = 45;  ///< true heading of the first line; lines alternate
  double line_length_m = 600;
  double line_spacing_m = 50;  ///< to the right of the first line's heading
  int line_count = 4;
  double speed_knots = 5;
  double heading_noise_deg = 0.3;  ///< standard deviation of the gyro's noise
  double rate_hz = 1;              ///< epochs per second
  double antenna_height_m = 12.5;
  timedate start = 3975148800.0;  ///< 2026-12-20 00:00:00 UTC
  unsigned seed = 1;
};

/// The vessel's true state at one epoch.
struct vessel_state {
  timedate time;  ///< GMT timedate
  double lat_rad = 0;
  double lon_rad = 0;
  double course_rad = 0;   ///< course over ground, true
  double heading_rad = 0;  ///< the gyro's heading, noise included
  double speed_mps = 0;
};

/// Steps through a survey plan epoch by epoch.
class KYO_EXPORT survey_simulator {
 public:
  explicit survey_simulator(const survey_plan& plan);

  /// The number of epochs the whole survey takes at the plan's speed and rate.
  [[nodiscard]] std::int64_t epoch_count() const noexcept { return epochs_; }
  /// The state at epoch `i` (0 is the start of the first line); the heading noise of an epoch
  /// depends only on the seed and `i`.
  [[nodiscard]] vessel_state state(std::int64_t i) const;
  /// The sentences of epoch `i`, each with CR LF: ZDA, GGA, VTG, HDT.
  [[nodiscard]] std::string sentences(std::int64_t i) const;

  /// Latitude text as GGA writes it ("5427.610020,N"), minutes with six decimals.
  [[nodiscard]] static std::string latitude_text(double lat_rad);
  /// Longitude text as GGA writes it ("00258.610020,E").
  [[nodiscard]] static std::string longitude_text(double lon_rad);

 private:
  survey_plan plan_;
  double path_m_ = 0;
  std::int64_t epochs_ = 0;
};

}  // namespace kyo::nmea
