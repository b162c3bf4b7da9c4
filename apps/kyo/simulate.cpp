// kyo simulate: writes the NMEA log of a simulated survey vessel running parallel survey lines
// (ZDA, GGA, VTG, HDT at a chosen rate), deterministic for a given seed.
#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <numbers>
#include <ostream>
#include <string>

#include <kyo/nmea/simulator.h>
#include <kyo/platform/path_map.h>
#include <kyo/time/date.h>

#include "kyo/commands.h"

namespace kyo::cli {

namespace {

constexpr double deg_to_rad = std::numbers::pi / 180;

struct simulate_args {
  nmea::survey_plan plan;
  double origin_lat_deg = 54.4600;
  double origin_lon_deg = 2.9800;
  std::string start = "2026-12-20T00:00:00Z";
  std::string out;
  double duration_s = -1;
};

// "YYYY-MM-DDTHH:MM:SS[Z]" as a GMT timedate.
bool parse_start(const std::string& text, timedate& t) {
  int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
  char tail = 0;
  // sscanf reads integers the same way in every locale.
  const int n =
      std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%c", &y, &mo, &d, &h, &mi, &s, &tail);
  if ((n != 6 && !(n == 7 && tail == 'Z')) || mo < 1 || mo > 12 || d < 1 || d > 31 || h > 23 ||
      mi > 59 || s > 59) {
    return false;
  }
  t = timedate::from_gmt(date::from_ymd(y, mo, d), h, mi, s);
  return true;
}

int simulate(simulate_args& a, const streams& io) {
  if (!parse_start(a.start, a.plan.start)) {
    io.err << "kyo simulate: --start takes YYYY-MM-DDTHH:MM:SSZ, not '" << a.start << "'\n";
    return exit_usage;
  }
  a.plan.origin_lat_rad = a.origin_lat_deg * deg_to_rad;
  a.plan.origin_lon_rad = a.origin_lon_deg * deg_to_rad;
  const nmea::survey_simulator sim(a.plan);
  std::int64_t epochs = sim.epoch_count();
  if (a.duration_s >= 0) {
    epochs = std::min<std::int64_t>(epochs,
                                    static_cast<std::int64_t>(a.duration_s * a.plan.rate_hz) + 1);
  }
  std::ofstream file;
  if (!a.out.empty()) {
    file.open(native_path(a.out), std::ios::binary | std::ios::trunc);
    if (!file) {
      io.err << "kyo simulate: cannot write '" << a.out << "': " << std::strerror(errno) << '\n';
      return exit_failure;
    }
  }
  std::ostream& out = a.out.empty() ? io.out : file;
  for (std::int64_t i = 0; i < epochs && out; ++i)
    out << sim.sentences(i);
  out.flush();
  if (!out) {
    io.err << "kyo simulate: writing failed\n";
    return exit_failure;
  }
  return exit_ok;
}

}  // namespace

void add_simulate(CLI::App& kyo, const streams& io, action& run) {
  CLI::App* sub = kyo.add_subcommand("simulate", "write the NMEA log of a simulated survey vessel");
  sub->footer(
      "The vessel runs --lines parallel lines of --length metres, --spacing metres apart,\n"
      "turning on half circles, and reports each epoch as ZDA, GGA, VTG and HDT sentences.\n"
      "The same options and --seed give the same log, byte for byte.");
  auto a = std::make_shared<simulate_args>();
  nmea::survey_plan& p = a->plan;
  sub->add_option("-o,--out", a->out, "the log file to write (default: standard output)");
  sub->add_option("--lines", p.line_count, "number of survey lines")
      ->capture_default_str()
      ->check(CLI::Range(1, 1000));
  sub->add_option("--length", p.line_length_m, "line length, metres")
      ->capture_default_str()
      ->check(CLI::Range(1.0, 1e6));
  sub->add_option("--spacing", p.line_spacing_m, "line spacing, metres")
      ->capture_default_str()
      ->check(CLI::Range(1.0, 1e5));
  sub->add_option("--heading", p.line_heading_deg, "true heading of the first line, degrees")
      ->capture_default_str()
      ->check(CLI::Range(0.0, 360.0));
  sub->add_option("--speed", p.speed_knots, "speed, knots")
      ->capture_default_str()
      ->check(CLI::Range(0.1, 50.0));
  sub->add_option("--noise", p.heading_noise_deg, "heading noise (standard deviation), degrees")
      ->capture_default_str()
      ->check(CLI::Range(0.0, 30.0));
  sub->add_option("--rate", p.rate_hz, "epochs per second")
      ->capture_default_str()
      ->check(CLI::Range(0.01, 50.0));
  sub->add_option("--lat", a->origin_lat_deg, "latitude of the start, degrees (north positive)")
      ->capture_default_str()
      ->check(CLI::Range(-80.0, 80.0));
  sub->add_option("--lon", a->origin_lon_deg, "longitude of the start, degrees (east positive)")
      ->capture_default_str()
      ->check(CLI::Range(-180.0, 180.0));
  sub->add_option("--start", a->start, "UTC time of the first epoch")->capture_default_str();
  sub->add_option("--duration", a->duration_s, "stop after this many seconds")
      ->check(CLI::Range(0.0, 1e7));
  sub->add_option("--seed", p.seed, "seed of the heading noise")->capture_default_str();
  sub->callback([&run, &io, a] { run = [&io, a] { return simulate(*a, io); }; });
}

}  // namespace kyo::cli
