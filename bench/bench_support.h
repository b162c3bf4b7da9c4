// What the benchmark programs share: the goal of a measured path, the check that a baseline
// produces the same bytes as the path it stands beside, a scratch folder, a numeric server with
// one entry of every kind the per-tick paths format, and a surface that draws nothing.
//
// Naming: each measured path is "path/<name>" and its baseline "baseline/<name>"; bench/report.py
// pairs them and prints the ratio against the goal the path carries in its "goal" counter.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <numbers>
#include <string>
#include <string_view>

#include <kyo/graphics/surface.h>
#include <kyo/numerics/numeric.h>

#include "support/test_numeric_server.h"

namespace kyo::bench {

/// Marks a path benchmark with the largest ratio to its baseline that meets its goal.
inline void set_goal(benchmark::State& state, double goal) {
  state.counters["goal"] = goal;
}

/// `v` as the optimiser cannot know it: forces it through memory, so that a baseline's arguments
/// are never folded into its format. (DoNotOptimize may pass a double through a general register,
/// which GCC 12 gets wrong.)
template <class T>
[[nodiscard]] inline T opaque(T v) {
  asm volatile("" : "+m"(v));
  return v;
}

/// Stops the program when a baseline does not produce what the path produces: a baseline is a
/// fair measure only of the same work.
inline void expect_same(std::string_view what, std::string_view path, std::string_view baseline) {
  if (path == baseline) return;
  std::fprintf(stderr, "%.*s: the baseline gives \"%.*s\", the library \"%.*s\"\n",
               static_cast<int>(what.size()), what.data(), static_cast<int>(baseline.size()),
               baseline.data(), static_cast<int>(path.size()), path.data());
  std::abort();
}

/// A folder of its own under the system's temporary folder, removed with everything in it.
class scratch_folder {
 public:
  scratch_folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kyo-bench-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
      std::perror("mkdtemp");
      std::abort();
    }
    path_ = pattern;
  }
  scratch_folder(const scratch_folder&) = delete;
  scratch_folder& operator=(const scratch_folder&) = delete;
  ~scratch_folder() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }

  [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }
  /// The path of `name` inside the folder, as text.
  [[nodiscard]] std::string file(std::string_view name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

/// The values the benchmarks show: a survey vessel south-west of Bergen on 21 November 2026.
inline constexpr double degree = std::numbers::pi / 180;
inline constexpr double latitude_rad = (60 + 10 / 60.0 + 14.7 / 3600) * degree;  // N
inline constexpr double longitude_rad = (5 + 17 / 60.0 + 27.0 / 3600) * degree;  // E
inline constexpr double range_m = 1234.5678;
inline constexpr double speed_ms = 5 * 1852 / 3600.0;  // 5 knots
inline constexpr double heading_rad = 240.04 * degree;
inline constexpr double unix_time = 1795263296.25;  // 2026-11-21 12:14:56.25 UTC

/// Entry indexes of the survey server.
namespace entry {
inline constexpr int latitude = 1;
inline constexpr int longitude = 2;
inline constexpr int range = 3;
inline constexpr int speed = 4;
inline constexpr int heading = 5;
inline constexpr int time = 6;
}  // namespace entry

/// A numeric server "GPS" below a root with the six entries above, all fresh.
struct survey_servers {
  test::test_numeric_server root{nullptr, "root"};
  test::test_numeric_server* gps = new test::test_numeric_server(&root, "GPS");

  survey_servers() {
    gps->add("Latitude", 2);
    gps->add("Longitude", 3);
    gps->add("Range", 7);
    gps->add("Speed", 9);
    gps->add("Heading", 10);
    gps->add("Time", 1);
    gps->set_value(entry::latitude, latitude_rad);
    gps->set_value(entry::longitude, longitude_rad);
    gps->set_value(entry::range, range_m);
    gps->set_value(entry::speed, speed_ms);
    gps->set_value(entry::heading, heading_rad);
    gps->set_value(entry::time, unix_time);
  }
};

/// The text a numeric gives at tick 0, or "" without a value.
inline std::string text_of(const numeric& n, bool pad) {
  std::string text;
  (void)n.as_string(clock_tick(0), text, pad);
  return text;
}

/// A device that keeps only the last point it was given, so that each call does a little work
/// that the compiler cannot drop. The drawing calls are never inlined: the library reaches a
/// device only through its virtual functions, and a baseline must pay the same calls.
class null_surface : public surface {
 public:
  device_caps caps() const override { return screen_caps(1024, 768); }
  ipoint dp_to_lp(ipoint p) const override { return p; }
  ipoint lp_to_dp(ipoint p) const override { return p; }
  void set_pen(colour) override {}
  [[gnu::noinline]] void move_to(ipoint p) override { last_ = p; }
  [[gnu::noinline]] void line_to(ipoint p) override {
    last_ = p;
    ++lines_;
  }
  void set_pixel(ipoint p, colour) override { last_ = p; }
  void text_out(ipoint p, std::string_view, alignment, colour) override { last_ = p; }
  isize text_extent(std::string_view text) const override {
    return {static_cast<int>(8 * text.size()), 16};
  }
  void fill_rect(const irect&, colour) override {}
  void set_clip_rect(const irect&) override {}
  void clear_clip() override {}

  [[nodiscard]] long lines() const noexcept { return lines_; }

 private:
  ipoint last_{};
  long lines_ = 0;
};

}  // namespace kyo::bench
