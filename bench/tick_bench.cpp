// One application tick as the suite runs it: 500 numerics formatted for the numerics windows,
// 20 custom output lines of 30 numerics built, 200 alarms checked. The baseline is the sum of
// the baselines of those parts, measured in one loop: one snprintf per numeric, the snprintf
// calls and appends of each line, and for each alarm its two limit tests and its value text.
#include <cstdio>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include <kyo/alarms/alarm.h>
#include <kyo/numerics/geog_nmrc.h>
#include <kyo/numerics/make_numeric.h>
#include <kyo/numerics/numeric_nmrc.h>
#include <kyo/numerics/timedate_nmrc.h>
#include <kyo/output/custom_output.h>
#include <kyo/output/print_manager.h>

#include "bench_support.h"

namespace {

using namespace kyo;
using kyo::bench::set_goal;

constexpr int window_numerics = 500;
constexpr int output_lines = 20;
constexpr int line_numerics = 30;
constexpr int alarm_count = 200;

// The five kinds of numeric, in turn.
std::unique_ptr<numeric> make_kind(const numeric_server& gps, int i) {
  switch (i % 5) {
    case 0:
      return std::make_unique<distance_nmrc>(gps, bench::entry::range, 10, 2);
    case 1:
      return std::make_unique<speed_nmrc>(gps, bench::entry::speed, 8, 1);
    case 2:
      return std::make_unique<bearing_nmrc>(gps, bench::entry::heading, 6, 1, "\xB0T");
    case 3:
      return std::make_unique<geog_nmrc>(gps, bench::entry::latitude, geog_format::seconds);
    default:
      return std::make_unique<timedate_nmrc>(gps, bench::entry::time,
                                             timedate_flags::long_date | timedate_flags::time, 0);
  }
}

struct tick_fixture {
  bench::survey_servers servers;
  std::vector<std::unique_ptr<numeric>> window;
  std::vector<std::unique_ptr<custom_output>> lines;
  print_manager printing{nullptr};
  std::vector<std::unique_ptr<kyo::alarm>> alarms;

  tick_fixture() {
    const numeric_server& gps = *servers.gps;
    for (int i = 0; i < window_numerics; ++i)
      window.push_back(make_kind(gps, i));
    for (int l = 0; l < output_lines; ++l) {
      lines.push_back(std::make_unique<custom_output>());
      lines.back()->set_separator(',');
      for (int i = 0; i < line_numerics; ++i)
        lines.back()->add_numeric(*make_kind(gps, i).release());
    }
    // Alarms on range and speed, in the green: range above 5,000 m, speed above 12 knots.
    for (int i = 0; i < alarm_count; ++i) {
      const bool on_range = i % 2 == 0;
      auto a = std::make_unique<kyo::alarm>("alarm " + std::to_string(i));
      kyo::alarm::transfer_s t;
      a->transfer(t, kyo::alarm::transfer_get);
      t.condition = 5;
      t.alarm_limit = on_range ? 5000 : 12 / speed_nmrc::unit_table[0].factor;
      t.warning_limit = on_range ? 4000 : 10 / speed_nmrc::unit_table[0].factor;
      t.nmrc_server = servers.gps;
      t.nmrc_index = on_range ? bench::entry::range : bench::entry::speed;
      t.nmrc.reset(make_numeric(gps, t.nmrc_index));
      a->transfer(t, kyo::alarm::transfer_set);
      // The first check logs the change from Unknown; a tick of the survey changes nothing.
      a->check(clock_tick(0), printing);
      alarms.push_back(std::move(a));
    }
  }
};

void path_tick(benchmark::State& state) {
  tick_fixture f;
  std::string text;
  for (auto _ : state) {
    for (const auto& n : f.window) {
      (void)n->as_string(clock_tick(0), text, true);
      benchmark::DoNotOptimize(text.data());
    }
    for (const auto& l : f.lines)
      benchmark::DoNotOptimize(l->build_string(clock_tick(0), true));
    for (const auto& a : f.alarms)
      a->check(clock_tick(0), f.printing);
  }
  if (f.alarms.front()->get_state() != kyo::alarm::state_green) state.SkipWithError("not green");
  set_goal(state, 1.3);
}
BENCHMARK(path_tick)->Name("path/tick")->Unit(benchmark::kMicrosecond);

struct print_values {
  double range = bench::range_m;
  double speed = bench::speed_ms * speed_nmrc::unit_table[0].factor;
  double heading = bench::heading_rad / bench::degree;
  std::tm tm{};

  print_values() {
    const auto t = static_cast<std::time_t>(bench::unix_time);
    localtime_r(&t, &tm);
  }
};

// One numeric of kind `i % 5` printed, padded as a window shows it or bare as a line holds it.
int print_kind(char* text, std::size_t size, int i, const print_values& v, bool pad) {
  static constexpr const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                           "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  switch (i % 5) {
    case 0:
      return std::snprintf(text, size, "%*.*f", pad ? 10 : 0, 2, v.range);
    case 1:
      return std::snprintf(text, size, "%*.*f", pad ? 8 : 0, 1, v.speed);
    case 2:
      return std::snprintf(text, size, "%*.*f", pad ? 6 : 0, 1, v.heading);
    case 3:
      return std::snprintf(text, size, "%02d\xB0%02d'%06.3f\"%c", 60, 10, 14.7, 'N');
    default:
      return std::snprintf(text, size, "%d %s %d %02d:%02d:%02d", v.tm.tm_mday, months[v.tm.tm_mon],
                           v.tm.tm_year + 1900, v.tm.tm_hour, v.tm.tm_min, v.tm.tm_sec);
  }
}

void baseline_tick(benchmark::State& state) {
  tick_fixture f;
  print_values v;
  char buffer[64];
  std::string text;
  {
    std::string line;
    for (int i = 0; i < line_numerics; ++i) {
      if (i != 0) line += ',';
      print_kind(buffer, sizeof buffer, i, v, false);
      line += buffer;
    }
    line += "\r\n";
    bench::expect_same("tick line", f.lines.front()->build_string(clock_tick(0), true), line);
    print_kind(buffer, sizeof buffer, 3, v, true);
    bench::expect_same("tick numeric", bench::text_of(*f.window[3], true), buffer);
  }
  const double limits[2][2] = {{5000, 4000}, {12, 10}};
  for (auto _ : state) {
    v = bench::opaque(v);
    for (int i = 0; i < window_numerics; ++i) {
      print_kind(buffer, sizeof buffer, i, v, true);
      text.assign(buffer);
      benchmark::DoNotOptimize(text.data());
    }
    for (int l = 0; l < output_lines; ++l) {
      std::string line;
      for (int i = 0; i < line_numerics; ++i) {
        if (i != 0) line += ',';
        print_kind(buffer, sizeof buffer, i, v, false);
        line += buffer;
      }
      line += "\r\n";
      benchmark::DoNotOptimize(line);
    }
    for (int i = 0; i < alarm_count; ++i) {
      const bool on_range = i % 2 == 0;
      const double value = on_range ? v.range : v.speed;
      const int state_now = value > limits[i % 2][0] ? 3 : (value > limits[i % 2][1] ? 2 : 1);
      benchmark::DoNotOptimize(state_now);
      std::snprintf(buffer, sizeof buffer, "%.*f%s", on_range ? 2 : 1, value,
                    on_range ? "m" : "kts");
      text.assign(buffer);
      benchmark::DoNotOptimize(text.data());
    }
  }
}
BENCHMARK(baseline_tick)->Name("baseline/tick")->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
