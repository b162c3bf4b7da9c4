// Formatting an angle and a date-time, beside one snprintf (and localtime_r + strftime) that
// produce the same text: the library's formatters should cost no more than these.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <ctime>
#include <string>

#include <kyo/core/angle.h>
#include <kyo/time/timedate.h>

namespace {

constexpr double latitude_rad = 0.9123456789;

void angle_dms(benchmark::State& state) {
  const kyo::rad a(latitude_rad);
  for (auto _ : state)
    benchmark::DoNotOptimize(a.as_string("%02d\xB0%02m'%05.2s\"%1h"));
}
BENCHMARK(angle_dms);

void angle_dms_snprintf(benchmark::State& state) {
  char text[32];
  for (auto _ : state) {
    std::snprintf(text, sizeof text, "%02d\xB0%02d'%05.2f\"%c", 52, 16, 23.45, 'N');
    benchmark::DoNotOptimize(std::string(text));
  }
}
BENCHMARK(angle_dms_snprintf);

constexpr double stamp = 3973000000.25;  // a timedate of 2026

void date_stamp(benchmark::State& state) {
  const kyo::timedate t(stamp);
  for (auto _ : state)
    benchmark::DoNotOptimize(t.as_string("%d-%1N-%Y %02H:%02M:%02S"));
}
BENCHMARK(date_stamp);

void date_stamp_strftime(benchmark::State& state) {
  const std::time_t t = static_cast<std::time_t>(stamp - kyo::seconds_1901_to_1970);
  char text[80];
  for (auto _ : state) {
    std::tm tm{};
    localtime_r(&t, &tm);
    std::strftime(text, sizeof text, "%e-%b-%Y %H:%M:%S", &tm);
    benchmark::DoNotOptimize(std::string(text));
  }
}
BENCHMARK(date_stamp_strftime);

}  // namespace

BENCHMARK_MAIN();
