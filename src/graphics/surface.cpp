#include <kyo/graphics/surface.h>

#include <algorithm>
#include <cmath>

namespace kyo {

surface::~surface() = default;

std::string colour::as_string() const {
  constexpr char hex[] = "0123456789abcdef";
  std::string out = "#";
  for (std::uint8_t v : {red(), green(), blue()}) {
    out += hex[v >> 4];
    out += hex[v & 15];
  }
  return out;
}

device_caps screen_caps(int width, int height, int ppi) {
  device_caps caps;
  caps.logical_ppi = {ppi, ppi};
  caps.resolution = {width, height};
  const auto mm = [ppi](int pixels) {
    if (ppi <= 0) return 0;
    return std::max(1, static_cast<int>(std::lround(pixels * 25.4 / ppi)));
  };
  caps.size_mm = {mm(width), mm(height)};
  return caps;
}

}  // namespace kyo
