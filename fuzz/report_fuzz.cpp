// Report templates from arbitrary bytes, with project details and a numeric server: generation
// never faults, never writes outside its buffers, and a template without brackets is copied.
#include <kyo/nmea/nmea_server.h>
#include <kyo/output/report.h>
#include <kyo/settings/project_details.h>

#include <sstream>
#include <string>

#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static kyo::numeric_server root(nullptr, "", false, 0, true);
  static kyo::nmea::nmea_server* gps = [] {
    auto* s = new kyo::nmea::nmea_server(&root, "GPS");
    s->feed("$GPGGA,120000,5427.6,N,00258.8,E,1,12,0.8,12.5,M,0,M,,", 0);
    s->feed("$GPZDA,120000,20,12,2026,00,00", 0);
    return s;
  }();
  (void)gps;
  static kyo::TProjectDetails details;
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::istringstream in(text);
  std::ostringstream out;
  kyo::default_report r({}, &details);
  r.set_numerics_root(&root);
  const bool whole = r.generate(in, out, 0);
  if (text.find_first_of("[]") == std::string::npos && text.find('\0') == std::string::npos) {
    kyo::fuzz::require(whole && out.str() == text, "text without brackets is copied");
  }
  return 0;
}
