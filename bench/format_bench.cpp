// Formatting angles, dates and numerics, beside one snprintf (or localtime_r and strftime) that
// produces the same text from values taken apart beforehand: the C library's one call is the
// practical limit of turning a number into text.
#include <cstdio>
#include <ctime>
#include <string>

#include <kyo/core/angle.h>
#include <kyo/numerics/geog_nmrc.h>
#include <kyo/numerics/numeric_nmrc.h>
#include <kyo/numerics/timedate_nmrc.h>
#include <kyo/time/timedate.h>

#include "bench_support.h"

namespace {

using namespace kyo;
using kyo::bench::expect_same;
using kyo::bench::set_goal;

// Runs snprintf with `args` as they are on every iteration (the optimiser sees nothing constant)
// and hands the text over as a std::string, as the library's formatters do.
template <class... Args>
std::string print(const char* format, Args... args) {
  char text[96];
  std::snprintf(text, sizeof text, format, bench::opaque(args)...);
  return std::string(text);
}

// --- Angles: rad::format_str 4 (latitude, decimal minutes) and 7 (longitude, seconds).

void path_angle_format4(benchmark::State& state) {
  const rad a(bench::latitude_rad);
  for (auto _ : state)
    benchmark::DoNotOptimize(a.as_string(rad::format_str[4]));
  set_goal(state, 1.0);
}
BENCHMARK(path_angle_format4)->Name("path/angle_format4");

void baseline_angle_format4(benchmark::State& state) {
  const auto text = [] { return print("%02d\xB0%08.5f'%c", 60, 10.245, 'N'); };
  expect_same("angle_format4", rad(bench::latitude_rad).as_string(rad::format_str[4]), text());
  for (auto _ : state)
    benchmark::DoNotOptimize(text());
}
BENCHMARK(baseline_angle_format4)->Name("baseline/angle_format4");

void path_angle_format7(benchmark::State& state) {
  const rad a(bench::longitude_rad);
  for (auto _ : state)
    benchmark::DoNotOptimize(a.as_string(rad::format_str[7]));
  set_goal(state, 1.0);
}
BENCHMARK(path_angle_format7)->Name("path/angle_format7");

void baseline_angle_format7(benchmark::State& state) {
  const auto text = [] { return print("%03d\xB0%02d'%06.3f\"%c", 5, 17, 27.0, 'E'); };
  expect_same("angle_format7", rad(bench::longitude_rad).as_string(rad::format_str[7]), text());
  for (auto _ : state)
    benchmark::DoNotOptimize(text());
}
BENCHMARK(baseline_angle_format7)->Name("baseline/angle_format7");

// --- Dates: the report stamp, against localtime_r and strftime of the same instant. The same
// instant again and again is what a tick does (every numeric of a tick shows one time); the
// "_walk" pair moves on by a second each time, so that no cache of the last instant helps.

constexpr const char* stamp_format = "%d-%1N-%Y %02H:%02M:%02S";
constexpr const char* strftime_format = "%-d-%b-%Y %H:%M:%S";

std::string strftime_text(std::time_t t) {
  char text[80];
  std::tm tm{};
  localtime_r(&t, &tm);
  std::strftime(text, sizeof text, strftime_format, &tm);
  return std::string(text);
}

void path_date_stamp(benchmark::State& state) {
  const timedate t(bench::unix_time + seconds_1901_to_1970);
  for (auto _ : state)
    benchmark::DoNotOptimize(t.as_string(stamp_format));
  set_goal(state, 1.0);
}
BENCHMARK(path_date_stamp)->Name("path/date_stamp");

void baseline_date_stamp(benchmark::State& state) {
  const std::time_t t = static_cast<std::time_t>(bench::unix_time);
  expect_same("date_stamp",
              timedate(bench::unix_time + seconds_1901_to_1970).as_string(stamp_format),
              strftime_text(t));
  for (auto _ : state)
    benchmark::DoNotOptimize(strftime_text(bench::opaque(t)));
}
BENCHMARK(baseline_date_stamp)->Name("baseline/date_stamp");

void path_date_stamp_walk(benchmark::State& state) {
  double v = bench::unix_time + seconds_1901_to_1970;
  for (auto _ : state) {
    benchmark::DoNotOptimize(timedate(v).as_string(stamp_format));
    v += 1;
  }
  set_goal(state, 1.0);
}
BENCHMARK(path_date_stamp_walk)->Name("path/date_stamp_walk");

void baseline_date_stamp_walk(benchmark::State& state) {
  auto t = static_cast<std::time_t>(bench::unix_time);
  for (auto _ : state) {
    benchmark::DoNotOptimize(strftime_text(t));
    t += 1;
  }
}
BENCHMARK(baseline_date_stamp_walk)->Name("baseline/date_stamp_walk");

// --- Numerics: as_string with padding, as a numerics window shows them.

struct numerics_fixture {
  bench::survey_servers servers;
  distance_nmrc range{*servers.gps, bench::entry::range, 10, 2};
  speed_nmrc speed{*servers.gps, bench::entry::speed, 8, 1};
  bearing_nmrc heading{*servers.gps, bench::entry::heading, 6, 1, "\xB0T"};
  geog_nmrc latitude{*servers.gps, bench::entry::latitude, geog_format::seconds};
  timedate_nmrc time{*servers.gps, bench::entry::time,
                     timedate_flags::long_date | timedate_flags::time, 0};
};

void run_numeric(benchmark::State& state, const numeric& n) {
  std::string text;
  for (auto _ : state) {
    benchmark::DoNotOptimize(n.as_string(clock_tick(0), text, true));
    benchmark::DoNotOptimize(text.data());
  }
  set_goal(state, 1.5);
}

// The path: the numeric of the fixture that `which` picks.
void path_numeric(benchmark::State& state, const numeric& (*which)(const numerics_fixture&)) {
  numerics_fixture f;
  run_numeric(state, which(f));
}
#define KYO_PATH_NUMERIC(kind, member)                                                    \
  BENCHMARK_CAPTURE(path_numeric, kind, [](const numerics_fixture& f) -> const numeric& { \
    return f.member;                                                                      \
  })->Name("path/numeric_" #kind)
KYO_PATH_NUMERIC(distance, range);
KYO_PATH_NUMERIC(speed, speed);
KYO_PATH_NUMERIC(bearing, heading);
KYO_PATH_NUMERIC(geog, latitude);
KYO_PATH_NUMERIC(timedate, time);

// The baseline writes into a reused string as the numeric's caller does.
template <class... Args>
void run_print(benchmark::State& state, const char* what, const numeric& n, const char* format,
               Args... args) {
  std::string text;
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, format, args...);
  expect_same(what, bench::text_of(n, true), buffer);
  for (auto _ : state) {
    std::snprintf(buffer, sizeof buffer, format, bench::opaque(args)...);
    text.assign(buffer);
    benchmark::DoNotOptimize(text.data());
  }
}

void baseline_numeric_distance(benchmark::State& state) {
  numerics_fixture f;
  run_print(state, "numeric_distance", f.range, "%*.*f", 10, 2, bench::range_m);
}
BENCHMARK(baseline_numeric_distance)->Name("baseline/numeric_distance");

void baseline_numeric_speed(benchmark::State& state) {
  numerics_fixture f;
  run_print(state, "numeric_speed", f.speed, "%*.*f", 8, 1,
            bench::speed_ms * speed_nmrc::unit_table[0].factor);
}
BENCHMARK(baseline_numeric_speed)->Name("baseline/numeric_speed");

void baseline_numeric_bearing(benchmark::State& state) {
  numerics_fixture f;
  run_print(state, "numeric_bearing", f.heading, "%*.*f", 6, 1, bench::heading_rad / bench::degree);
}
BENCHMARK(baseline_numeric_bearing)->Name("baseline/numeric_bearing");

void baseline_numeric_geog(benchmark::State& state) {
  numerics_fixture f;
  run_print(state, "numeric_geog", f.latitude, "%02d\xB0%02d'%06.3f\"%c", 60, 10, 14.7, 'N');
}
BENCHMARK(baseline_numeric_geog)->Name("baseline/numeric_geog");

void baseline_numeric_timedate(benchmark::State& state) {
  numerics_fixture f;
  const auto t = static_cast<std::time_t>(bench::unix_time);
  std::tm tm{};
  localtime_r(&t, &tm);
  static constexpr const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                           "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  run_print(state, "numeric_timedate", f.time, "%d %s %d %02d:%02d:%02d", tm.tm_mday,
            months[tm.tm_mon], tm.tm_year + 1900, tm.tm_hour, tm.tm_min, tm.tm_sec);
}
BENCHMARK(baseline_numeric_timedate)->Name("baseline/numeric_timedate");

}  // namespace

BENCHMARK_MAIN();
