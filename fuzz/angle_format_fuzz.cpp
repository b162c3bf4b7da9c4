// rad::as_string with any value and any format: the text never exceeds its buffer.
#include <kyo/core/angle.h>

#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyo::fuzz::input in(data, size);
  const auto v = in.take<double>();
  const std::string text = kyo::rad(v).as_string(in.rest());
  kyo::fuzz::require(text.size() <= kyo::rad::max_text, "angle text within 31 characters");
  return 0;
}
