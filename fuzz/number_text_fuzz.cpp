// full_prec and val on arbitrary values, widths and text: full_prec writes exactly what it says
// within its width and never past the buffer; val reads at most `count` characters.
#include <cstring>
#include <string>
#include <vector>

#include <kyo/core/numbers.h>

#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyo::fuzz::input in(data, size);
  const auto value = in.take<double>();
  const int width = in.take<std::uint8_t>() % 40;
  const int count = in.take<std::uint8_t>() % 40;
  const std::string text(in.rest());

  // Exactly `width` bytes, so the sanitizer sees a write past them.
  std::vector<char> buffer(static_cast<std::size_t>(width > 0 ? width : 1), '#');
  const int n = kyo::full_prec(value, buffer.data(), width);
  if (width >= 1) {
    kyo::fuzz::require(n >= 0 && n < width, "the text and its terminator fit the width");
    kyo::fuzz::require(buffer[static_cast<std::size_t>(n)] == '\0', "terminated where it says");
    kyo::fuzz::require(std::strlen(buffer.data()) == static_cast<std::size_t>(n), "no inner NUL");
  }
  // A copy of exactly `count` characters (or the text with its NUL when shorter).
  std::string field = text.substr(0, static_cast<std::size_t>(count));
  std::vector<char> exact(field.begin(), field.end());
  if (exact.size() < static_cast<std::size_t>(count)) exact.push_back('\0');
  if (!exact.empty()) (void)kyo::val(exact.data(), count);
  return 0;
}
