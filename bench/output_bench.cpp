// Output paths: a custom output line of 30 numerics beside 30 snprintf calls and the appends
// that join them; a file output writing 80-byte lines beside write(2) of the same chunks into the
// same folder; a report from a 10 MB template beside a buffered copy of the same file.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <fstream>
#include <memory>
#include <string>

#include <kyo/numerics/geog_nmrc.h>
#include <kyo/numerics/numeric_nmrc.h>
#include <kyo/numerics/timedate_nmrc.h>
#include <kyo/output/custom_output.h>
#include <kyo/output/output_file.h>
#include <kyo/output/report.h>
#include <kyo/platform/ui_hooks.h>

#include "bench_support.h"

namespace {

using namespace kyo;
using kyo::bench::set_goal;

// --- Custom output: six each of distances, speeds, bearings, latitudes and date-times.

constexpr int line_numerics = 30;

struct line_fixture {
  bench::survey_servers servers;
  custom_output line;
  std::tm tm{};

  line_fixture() {
    line.set_separator(',');
    const numeric_server& gps = *servers.gps;
    for (int i = 0; i < line_numerics / 5; ++i) {
      line.add_numeric(*new distance_nmrc(gps, bench::entry::range, 10, 2));
      line.add_numeric(*new speed_nmrc(gps, bench::entry::speed, 8, 1));
      line.add_numeric(*new bearing_nmrc(gps, bench::entry::heading, 6, 1, "\xB0T"));
      line.add_numeric(*new geog_nmrc(gps, bench::entry::latitude, geog_format::seconds));
      line.add_numeric(*new timedate_nmrc(gps, bench::entry::time,
                                          timedate_flags::long_date | timedate_flags::time, 0));
    }
    const auto t = static_cast<std::time_t>(bench::unix_time);
    localtime_r(&t, &tm);
  }
};

// The same line from snprintf, one call per numeric, appended with the separators.
std::string print_line(const std::tm& tm, double range, double speed, double heading) {
  static constexpr const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                           "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::string line;
  char text[64];
  for (int i = 0; i < line_numerics / 5; ++i) {
    if (i != 0) line += ',';
    std::snprintf(text, sizeof text, "%.*f", 2, range);
    line += text;
    line += ',';
    std::snprintf(text, sizeof text, "%.*f", 1, speed);
    line += text;
    line += ',';
    std::snprintf(text, sizeof text, "%.*f", 1, heading);
    line += text;
    line += ',';
    std::snprintf(text, sizeof text, "%02d\xB0%02d'%06.3f\"%c", 60, 10, 14.7, 'N');
    line += text;
    line += ',';
    std::snprintf(text, sizeof text, "%d %s %d %02d:%02d:%02d", tm.tm_mday, months[tm.tm_mon],
                  tm.tm_year + 1900, tm.tm_hour, tm.tm_min, tm.tm_sec);
    line += text;
  }
  line += "\r\n";
  return line;
}

void path_custom_output(benchmark::State& state) {
  line_fixture f;
  for (auto _ : state)
    benchmark::DoNotOptimize(f.line.build_string(clock_tick(0), true));
  set_goal(state, 1.2);
}
BENCHMARK(path_custom_output)->Name("path/custom_output");

void baseline_custom_output(benchmark::State& state) {
  line_fixture f;
  const double range = bench::range_m;
  const double speed = bench::speed_ms * speed_nmrc::unit_table[0].factor;
  const double heading = bench::heading_rad / bench::degree;
  bench::expect_same("custom_output", f.line.build_string(clock_tick(0), true),
                     print_line(f.tm, range, speed, heading));
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        print_line(f.tm, bench::opaque(range), bench::opaque(speed), bench::opaque(heading)));
  }
}
BENCHMARK(baseline_custom_output)->Name("baseline/custom_output");

// --- File output: 80-byte lines; a file is replaced before it passes max_file_bytes, and the
// new one has the same name within the same minute, so the question is answered yes.

class always_yes : public ui_hooks {
 public:
  int message_box(std::string_view, std::string_view, unsigned) override { return id_yes; }
  bool ask_yes_no(std::string_view, std::string_view) override { return true; }
  void beep(unsigned) override {}
};

std::string eighty_bytes() {
  std::string line(78, 'x');
  line += "\r\n";
  return line;
}

void path_output_file(benchmark::State& state) {
  bench::scratch_folder folder;
  always_yes yes;
  ui_hooks* old = set_ui_hooks(&yes);
  {
    output_file out(folder.path().string(), "txt");
    (void)out.open();
    const std::string line = eighty_bytes();
    for (auto _ : state) {
      if (out.write(line.data(), static_cast<int>(line.size())) != output_result::success) {
        state.SkipWithError("the file output failed");
        break;
      }
    }
    out.close();
  }
  set_ui_hooks(old);
  set_goal(state, 1.3);
}
BENCHMARK(path_output_file)->Name("path/output_file");

void baseline_output_file(benchmark::State& state) {
  bench::scratch_folder folder;
  const std::string path = folder.file("baseline.txt");
  const std::string line = eighty_bytes();
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  std::int64_t size = 0;
  for (auto _ : state) {
    if (size + static_cast<std::int64_t>(line.size()) > output_file::max_file_bytes) {
      ::close(fd);
      fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
      size = 0;
    }
    if (::write(fd, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
      state.SkipWithError("write failed");
      break;
    }
    size += static_cast<std::int64_t>(line.size());
  }
  ::close(fd);
}
BENCHMARK(baseline_output_file)->Name("baseline/output_file");

// --- Report: a daily report in rich text whose logo picture makes the template 10 MB.

constexpr std::size_t template_bytes = 10 * 1024 * 1024;

struct report_fixture {
  bench::scratch_folder folder;
  bench::survey_servers servers;
  std::string template_path = folder.file("daily.rtf");
  std::string output_path = folder.file("daily-out.rtf");

  report_fixture() {
    std::ofstream out(template_path, std::ios::binary);
    out << "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0\\fswiss Arial;}}\r\n"
           "[!The logo below is what makes the template large.]\r\n"
           "{\\pard\\qc\\b\\fs32 Daily Survey Report\\par}\r\n"
           "{\\pard\\tx2835 Report time:\\tab [Date] [Time]\\par\r\n"
           "Position:\\tab [GPS.Latitude]  [GPS.Longitude]\\par\r\n"
           "Heading:\\tab [GPS.Heading:0,12,2]\\'b0\\par\r\n"
           "Speed:\\tab [GPS.Speed] kn\\par\r\n"
           "Range:\\tab [GPS.Range:0,12,1] m\\par}\r\n"
           "{\\pict\\pngblip\\picw512\\pich512\r\n";
    static constexpr char hex[] = "0123456789abcdef";
    std::string row(128, '0');
    std::size_t written = 0;
    for (unsigned n = 0; written < template_bytes; ++n) {
      for (std::size_t i = 0; i < row.size(); ++i)
        row[i] = hex[(n * 131 + i * 7) & 15];
      out << row << "\r\n";
      written += row.size() + 2;
    }
    out << "}\r\n{\\pard Generated [Report Time] at [GPS.Latitude:1] [GPS.Longitude:1]\\par}\r\n}";
  }
};

void path_report(benchmark::State& state) {
  report_fixture f;
  default_report r(f.template_path);
  r.set_numerics_root(&f.servers.root);
  for (auto _ : state) {
    std::ofstream out(f.output_path, std::ios::binary | std::ios::trunc);
    if (!r.generate(out, clock_tick(0))) {
      state.SkipWithError("the report failed");
      break;
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * template_bytes));
  set_goal(state, 2.0);
}
BENCHMARK(path_report)->Name("path/report")->Unit(benchmark::kMillisecond);

void baseline_report(benchmark::State& state) {
  report_fixture f;
  for (auto _ : state) {
    std::ifstream in(f.template_path, std::ios::binary);
    std::ofstream out(f.output_path, std::ios::binary | std::ios::trunc);
    out << in.rdbuf();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * template_bytes));
}
BENCHMARK(baseline_report)->Name("baseline/report")->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
