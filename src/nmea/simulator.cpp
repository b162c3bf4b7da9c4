#include <kyo/nmea/simulator.h>

#include <cmath>
#include <cstdlib>
#include <numbers>

#include <kyo/core/numbers.h>
#include <kyo/nmea/sentence.h>
#include <kyo/platform/printf_format.h>

namespace kyo::nmea {

namespace {

constexpr double pi = std::numbers::pi;
constexpr double deg_to_rad = pi / 180;
constexpr double earth_radius_m = 6371008.8;  // the mean radius: a flat patch of a few km
constexpr double knot_in_m_per_s = 1852.0 / 3600.0;

// "ddmm.mmmmmm,H" from an angle: degrees, then minutes with six decimals, rounded once on the
// whole angle so that 59.9999996 minutes become the next degree.
std::string angle_text(double rad, int degree_digits, char positive, char negative) {
  const double millionths = std::round(std::fabs(rad) / deg_to_rad * 60e6);
  const auto total = static_cast<long long>(millionths);
  const long long degrees = total / 60'000'000;
  const double minutes = static_cast<double>(total % 60'000'000) / 1e6;
  std::string out = format_one(degree_digits == 2 ? "%02lld" : "%03lld", degrees);
  out += format_one("%09.6f", minutes);
  out += ',';
  out += rad < 0 ? negative : positive;
  return out;
}

std::string sentence_line(const std::string& body) {
  return "$" + body + format_one("*%02X", static_cast<long long>(checksum(body))) + "\r\n";
}

}  // namespace

survey_simulator::survey_simulator(const survey_plan& plan) : plan_(plan) {
  plan_.line_count = std::max(plan_.line_count, 1);
  path_m_ = plan_.line_count * plan_.line_length_m +
            (plan_.line_count - 1) * pi * plan_.line_spacing_m / 2;
  const double speed = plan_.speed_knots * knot_in_m_per_s;
  epochs_ = speed > 0 && plan_.rate_hz > 0
                ? static_cast<std::int64_t>(std::floor(path_m_ / speed * plan_.rate_hz)) + 1
                : 1;
}

vessel_state survey_simulator::state(std::int64_t i) const {
  const double h = plan_.line_heading_deg * deg_to_rad;
  const double ue = std::sin(h), un = std::cos(h);   // along the first line
  const double re = std::cos(h), rn = -std::sin(h);  // to its right
  const double length = plan_.line_length_m, spacing = plan_.line_spacing_m;
  const double speed = plan_.speed_knots * knot_in_m_per_s;
  const double seconds = static_cast<double>(i) / plan_.rate_hz;
  double s = std::min(speed * seconds, path_m_);

  // Walk the path: line, half circle, line, ...
  double e = 0, n = 0, ve = ue, vn = un;
  for (int k = 0; k < plan_.line_count; ++k) {
    const double dir = k % 2 == 0 ? 1 : -1;
    const double se = k * spacing * re + (k % 2 == 0 ? 0 : length * ue);
    const double sn = k * spacing * rn + (k % 2 == 0 ? 0 : length * un);
    if (s <= length || k == plan_.line_count - 1) {
      e = se + dir * std::min(s, length) * ue;
      n = sn + dir * std::min(s, length) * un;
      ve = dir * ue;
      vn = dir * un;
      break;
    }
    s -= length;
    const double turn = pi * spacing / 2;
    if (s <= turn) {
      const double phi = s / (spacing / 2);
      const double ce = se + dir * length * ue + spacing / 2 * re;
      const double cn = sn + dir * length * un + spacing / 2 * rn;
      e = ce + spacing / 2 * (-re * std::cos(phi) + dir * ue * std::sin(phi));
      n = cn + spacing / 2 * (-rn * std::cos(phi) + dir * un * std::sin(phi));
      ve = re * std::sin(phi) + dir * ue * std::cos(phi);
      vn = rn * std::sin(phi) + dir * un * std::cos(phi);
      break;
    }
    s -= turn;
  }

  vessel_state v;
  v.time = plan_.start.value() + seconds;
  v.lat_rad = plan_.origin_lat_rad + n / earth_radius_m;
  v.lon_rad = plan_.origin_lon_rad + e / (earth_radius_m * std::cos(plan_.origin_lat_rad));
  v.course_rad = modulo(std::atan2(ve, vn), 2 * pi);
  // The gyro's noise of epoch i comes from the C library's generator seeded for that epoch, so
  // that any epoch can be computed on its own.
  std::uint64_t z = (std::uint64_t{plan_.seed} << 32) + static_cast<std::uint64_t>(i);
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;  // a mixing step, so that near seeds differ
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
  std::srand(static_cast<unsigned>(z ^ (z >> 31)));
  v.heading_rad =
      modulo(v.course_rad + normal_random(12) * plan_.heading_noise_deg * deg_to_rad, 2 * pi);
  v.speed_mps = speed;
  return v;
}

std::string survey_simulator::latitude_text(double lat_rad) {
  return angle_text(lat_rad, 2, 'N', 'S');
}

std::string survey_simulator::longitude_text(double lon_rad) {
  return angle_text(lon_rad, 3, 'E', 'W');
}

std::string survey_simulator::sentences(std::int64_t i) const {
  const vessel_state v = state(i);
  const std::string time = v.time.as_string("%G%02H%02M%05.2S");
  const double course = v.course_rad / deg_to_rad;
  const double knots = v.speed_mps / knot_in_m_per_s;
  std::string out = sentence_line("GPZDA," + time + v.time.as_string("%G,%02d,%02m,%Y,00,00"));
  out += sentence_line("GPGGA," + time + "," + latitude_text(v.lat_rad) + "," +
                       longitude_text(v.lon_rad) + ",1,12,0.8," +
                       format_one("%.2f", plan_.antenna_height_m) + ",M,0.00,M,,");
  out +=
      sentence_line("GPVTG," + format_one("%.2f", course) + ",T,,M," + format_one("%.2f", knots) +
                    ",N," + format_one("%.2f", knots * 1.852) + ",K,A");
  out += sentence_line("GPHDT," + format_one("%.2f", v.heading_rad / deg_to_rad) + ",T");
  return out;
}

}  // namespace kyo::nmea
