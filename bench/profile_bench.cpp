// Reading keys of a profile file of 1,000 keys, beside reading them as the classic profile
// functions of the desktop do: the whole file read and scanned again for every key.
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include <kyo/platform/profile.h>

#include "bench_support.h"

namespace {

using kyo::bench::set_goal;

constexpr int sections = 10;
constexpr int keys_per_section = 100;

std::string section_name(int s) {
  return "Section" + std::to_string(s);
}

std::string key_name(int k) {
  return "Numeric" + std::to_string(k);
}

// A settings file as the application writes them: ten sections of a hundred comma-joined values.
struct profile_file {
  kyo::bench::scratch_folder folder;
  std::string path = folder.file("survey.ini");
  std::vector<std::pair<std::string, std::string>> keys;  // section, key in reading order

  profile_file() {
    std::ofstream out(path, std::ios::binary);
    for (int s = 0; s < sections; ++s) {
      out << '[' << section_name(s) << "]\r\n";
      for (int k = 0; k < keys_per_section; ++k) {
        out << key_name(k) << "=GPS.Position," << (s * keys_per_section + k) % 17 + 1
            << ",1,12,3,1.000000,  m\r\n";
        keys.emplace_back(section_name(s), key_name(k));
      }
      out << "\r\n";
    }
    out.close();
    // Settings files are old: one written moments ago is parsed again on every read until its
    // time stamp is safely in the past.
    std::filesystem::last_write_time(
        path, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    // Read in a spread order, not file order, as windows and outputs load their own sections.
    for (std::size_t i = 0; i < keys.size(); i += 7)
      std::swap(keys[i], keys[(i * 389) % keys.size()]);
  }
};

void path_profile_read(benchmark::State& state) {
  profile_file f;
  char value[100];
  std::size_t next = 0;
  for (auto _ : state) {
    const auto& [section, key] = f.keys[next];
    benchmark::DoNotOptimize(kyo::get_private_profile_string(section.c_str(), key.c_str(), "",
                                                             value, sizeof value, f.path.c_str()));
    next = next + 1 == f.keys.size() ? 0 : next + 1;
  }
  set_goal(state, 0.02);
}
BENCHMARK(path_profile_read)->Name("path/profile_read");

bool is_blank(char c) {
  return c == ' ' || c == '\t';
}

std::string_view trim(std::string_view s) {
  while (!s.empty() && is_blank(s.front()))
    s.remove_prefix(1);
  while (!s.empty() && (is_blank(s.back()) || s.back() == '\r'))
    s.remove_suffix(1);
  return s;
}

bool same_ignoring_case(std::string_view a, std::string_view b) {
  return a.size() == b.size() && ::strncasecmp(a.data(), b.data(), a.size()) == 0;
}

// The whole file read again, then scanned line by line for the section and the key.
std::size_t read_by_scanning(const char* section, const char* key, char* value, std::size_t size,
                             const char* path, std::string& bytes) {
  const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return 0;
  bytes.resize(64 * 1024);
  std::size_t got = 0;
  for (;;) {
    if (got == bytes.size()) bytes.resize(2 * got);
    const ssize_t n = ::read(fd, bytes.data() + got, bytes.size() - got);
    if (n <= 0) break;
    got += static_cast<std::size_t>(n);
  }
  ::close(fd);
  const std::string_view text(bytes.data(), got);
  bool in_section = false;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view line = trim(text.substr(start, end - start));
    start = end + 1;
    if (line.empty() || line.front() == ';') continue;
    if (line.front() == '[') {
      const std::size_t close = line.find(']');
      in_section = close != std::string_view::npos &&
                   same_ignoring_case(trim(line.substr(1, close - 1)), section);
      continue;
    }
    if (!in_section) continue;
    const std::size_t eq = line.find('=');
    if (eq == std::string_view::npos || !same_ignoring_case(trim(line.substr(0, eq)), key)) {
      continue;
    }
    const std::string_view v = trim(line.substr(eq + 1));
    const std::size_t n = std::min(v.size(), size - 1);
    std::memcpy(value, v.data(), n);
    value[n] = '\0';
    return n;
  }
  value[0] = '\0';
  return 0;
}

void baseline_profile_read(benchmark::State& state) {
  profile_file f;
  char value[100];
  char expected[100];
  std::string bytes;
  for (const auto& [section, key] : f.keys) {
    read_by_scanning(section.c_str(), key.c_str(), value, sizeof value, f.path.c_str(), bytes);
    kyo::get_private_profile_string(section.c_str(), key.c_str(), "", expected, sizeof expected,
                                    f.path.c_str());
    kyo::bench::expect_same("profile_read", expected, value);
  }
  std::size_t next = 0;
  for (auto _ : state) {
    const auto& [section, key] = f.keys[next];
    benchmark::DoNotOptimize(
        read_by_scanning(section.c_str(), key.c_str(), value, sizeof value, f.path.c_str(), bytes));
    next = next + 1 == f.keys.size() ? 0 : next + 1;
  }
}
BENCHMARK(baseline_profile_read)->Name("baseline/profile_read");

}  // namespace

BENCHMARK_MAIN();
