// Graphics paths: loading a shape from a library of 10,000 shapes beside the same load from a
// library of 10 (a load should cost the same whatever the library's size), and drawing a
// clipped polyline through the viewport beside the device calls it makes, replayed alone.
#include <cmath>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <kyo/graphics/mobile_shape_library.h>
#include <kyo/graphics/shape_component.h>
#include <kyo/graphics/viewport.h>

#include "bench_support.h"

namespace {

using namespace kyo;
using kyo::bench::set_goal;

// --- Shape libraries.

constexpr int small_count = 10;
constexpr int large_count = 10'000;

// A vessel outline of 24 points.
mobile_shape make_shape(int n) {
  mobile_shape shape(nullptr, "vessel " + std::to_string(n));
  std::vector<dpoint> points;
  for (int i = 0; i < 24; ++i) {
    const double a = 2 * std::numbers::pi * i / 24;
    points.push_back({(4 + n % 3) * std::sin(a), (30 + n % 7) * std::cos(a)});
  }
  shape.add(std::make_unique<shape_line>(std::move(points)));
  return shape;
}

std::string read_all(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

struct libraries {
  bench::scratch_folder folder;
  std::string small_path = folder.file("small.shp");
  std::string large_path = folder.file("large.shp");

  libraries() {
    mobile_shape_library small;
    small.Open(0, small_path.c_str());
    for (int i = 0; i < small_count; ++i)
      small.add_at(make_shape(i), 0, false, i);
    write_large(small);
  }

  // Adding 10,000 shapes one by one rewrites the index every time; the large library is written
  // in one go instead: the small one's header and records repeated, then an index that lists
  // them all, laid out as library_file writes it.
  void write_large(const mobile_shape_library& small) const {
    const std::string bytes = read_all(small_path);
    const std::vector<std::uint32_t>& positions = small.positions();
    const std::uint32_t header_end = positions.front() - 4;
    std::vector<std::string> records;
    for (std::size_t i = 0; i < positions.size(); ++i) {
      const std::uint32_t end =
          i + 1 < positions.size() ? positions[i + 1] : small.index_position();
      records.push_back(bytes.substr(positions[i], end - positions[i]));
    }
    std::string body;
    std::vector<std::uint32_t> large_positions;
    std::uint32_t at = header_end + 4;
    for (int i = 0; i < large_count; ++i) {
      const std::string& record = records[static_cast<std::size_t>(i) % records.size()];
      large_positions.push_back(at);
      body += record;
      at += static_cast<std::uint32_t>(record.size());
    }
    std::ostringstream index;
    {
      opstream os(index);
      os.writeWord32(large_count);
      for (int i = 0; i < large_count; ++i) {
        os << ("vessel " + std::to_string(i));
        os.writeWord32(0);
        os.writeWord32(0);
        os.writeWord32(static_cast<std::uint32_t>(i));
      }
      os.writeWord32(large_count);
      for (std::uint32_t p : large_positions)
        os.writeWord32(p);
    }
    std::ofstream out(large_path, std::ios::binary);
    out.write(bytes.data(), header_end);
    const unsigned char index_at[4] = {
        static_cast<unsigned char>(at), static_cast<unsigned char>(at >> 8),
        static_cast<unsigned char>(at >> 16), static_cast<unsigned char>(at >> 24)};
    out.write(reinterpret_cast<const char*>(index_at), 4);
    out << body << index.str();
  }
};

void run_load(benchmark::State& state, const std::string& path, int count) {
  mobile_shape_library library;
  library.Open(0, path.c_str());
  if (library.count() != count) {
    state.SkipWithError("the library did not open");
    return;
  }
  int next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(library.load(next));
    next = (next + 997) % count;
  }
}

void path_library_load(benchmark::State& state) {
  libraries l;
  run_load(state, l.large_path, large_count);
  set_goal(state, 1.2);
}
BENCHMARK(path_library_load)->Name("path/library_load");

void baseline_library_load(benchmark::State& state) {
  libraries l;
  run_load(state, l.small_path, small_count);
}
BENCHMARK(baseline_library_load)->Name("baseline/library_load");

// --- Viewport: a track of 200 points, half of it outside the window, drawn with draw_abs.

// Keeps the device calls a drawing makes, to replay them alone.
class capturing_surface : public bench::null_surface {
 public:
  struct call {
    bool line;
    ipoint p;
  };
  [[gnu::noinline]] void move_to(ipoint p) override { calls.push_back({false, p}); }
  [[gnu::noinline]] void line_to(ipoint p) override { calls.push_back({true, p}); }
  std::vector<call> calls;
};

std::vector<dpoint> track() {
  std::vector<dpoint> points;
  for (int i = 0; i < 200; ++i) {
    const double a = i * 0.05;
    points.push_back({500 + 700 * std::cos(a), 500 + 700 * std::sin(1.3 * a)});
  }
  return points;
}

void draw_track(viewport& v, const std::vector<dpoint>& points) {
  v.move_abs(points.front());
  for (std::size_t i = 1; i < points.size(); ++i)
    v.draw_abs(points[i]);
}

void setup(viewport& v, surface& s) {
  v.set_window({0, 1000, 1000, 0}, true);
  v.begin_paint(s, {0, 0, 1024, 768});
}

void path_viewport_draw(benchmark::State& state) {
  const std::vector<dpoint> points = track();
  bench::null_surface s;
  viewport v;
  setup(v, s);
  for (auto _ : state)
    draw_track(v, points);
  v.end_paint();
  benchmark::DoNotOptimize(s.lines());
  set_goal(state, 2.0);
}
BENCHMARK(path_viewport_draw)->Name("path/viewport_draw");

void baseline_viewport_draw(benchmark::State& state) {
  const std::vector<dpoint> points = track();
  std::vector<capturing_surface::call> calls;
  {
    capturing_surface capture;
    viewport v;
    setup(v, capture);
    draw_track(v, points);
    v.end_paint();
    calls = capture.calls;
  }
  bench::null_surface device;
  surface* s = &device;
  benchmark::DoNotOptimize(s);
  for (auto _ : state) {
    for (const capturing_surface::call& c : calls) {
      if (c.line) {
        s->line_to(c.p);
      } else {
        s->move_to(c.p);
      }
    }
  }
  benchmark::DoNotOptimize(device.lines());
}
BENCHMARK(baseline_viewport_draw)->Name("baseline/viewport_draw");

}  // namespace

BENCHMARK_MAIN();
