// timedate::as_string and time_str with any value and format, in a zone with daylight saving:
// the text never exceeds its buffer.
#include <cstdlib>

#include <kyo/time/timedate.h>

#include "fuzz_input.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setenv("TZ", "Europe/London", 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyo::fuzz::input in(data, size);
  const kyo::timedate t(in.take<double>());
  const auto decimals = in.take<std::uint8_t>();
  kyo::fuzz::require(t.as_string(in.rest()).size() <= kyo::timedate::max_text,
                     "date text within 79 characters");
  kyo::fuzz::require(t.time_str(decimals).size() <= 12, "time of day within hh:mm:ss.fff");
  return 0;
}
