// The NMEA parser and server on arbitrary lines: every line is counted exactly once, times and
// positions that come out are finite and within range, and nothing faults.
#include <cmath>
#include <numbers>
#include <string_view>

#include <kyo/nmea/nmea_server.h>
#include <kyo/nmea/sentence.h>

#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyo::nmea::nmea_server server(nullptr, "fuzz");
  std::string_view text(reinterpret_cast<const char*>(data), size);
  std::uint64_t lines = 0;
  while (!text.empty()) {
    const std::size_t nl = text.find('\n');
    const std::string_view line = text.substr(0, nl);
    (void)server.time_of(line);
    server.feed(line, static_cast<std::uint32_t>(lines * 100));
    ++lines;
    text = nl == std::string_view::npos ? std::string_view() : text.substr(nl + 1);
  }
  const kyo::nmea::line_counts& c = server.counts();
  kyo::fuzz::require(c.lines == lines, "every line counted");
  kyo::fuzz::require(c.used + c.unused + c.no_sentence + c.rejected() == lines, "counts add up");
  double v = 0;
  if (server.get_value(kyo::nmea::entry::latitude, 0, &v) != 0) {
    kyo::fuzz::require(std::fabs(v) <= std::numbers::pi / 2, "latitude within the poles");
  }
  if (server.get_value(kyo::nmea::entry::heading, 0, &v) != 0) {
    kyo::fuzz::require(v >= 0 && v < 2 * std::numbers::pi, "heading within one turn");
  }
  return 0;
}
