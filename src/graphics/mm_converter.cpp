#include <kyo/graphics/mm_converter.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include <kyo/graphics/surface.h>

namespace kyo {

namespace {

int saturate(long long v) {
  return static_cast<int>(
      std::clamp<long long>(v, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

// The whole number of device pixels that make one logical pixel: 2 for a 600-dot printer that
// reports 300 logical pixels per inch.
// An unknown size or logical resolution (0) makes the factor infinite or NaN, and so 1.
int device_factor(int resolution, int size_tenth_mm, int logical_ppi) {
  const double physical_dpi = resolution * 254.0 / size_tenth_mm;
  const double factor = std::floor(physical_dpi / logical_ppi + 0.5);
  return std::isfinite(factor) && factor >= 2 ? saturate(static_cast<long long>(factor)) : 1;
}

}  // namespace

int mul_div(int a, int b, int c) {
  if (c == 0) return 0;
  // |a b| < 2^62 and |c| <= 2^31: no step overflows.
  const long long num = static_cast<long long>(a) * b;
  const long long den = c;
  const long long q = (std::llabs(num) + std::llabs(den) / 2) / std::llabs(den);
  return saturate((num ^ den) < 0 ? -q : q);
}

mm_converter::mm_converter(const surface& s) {
  const device_caps caps = s.caps();
  size_x = saturate(caps.size_mm.cx * 10LL);
  size_y = saturate(caps.size_mm.cy * 10LL);
  const int rx =
      caps.resolution.cx / device_factor(caps.resolution.cx, size_x, caps.logical_ppi.cx);
  const int ry =
      caps.resolution.cy / device_factor(caps.resolution.cy, size_y, caps.logical_ppi.cy);
  const ipoint logical = s.dp_to_lp({rx, ry});
  res_x = logical.x;
  res_y = logical.y;
}

ipoint mm_converter::mm_to_pixel(int x, int y) const {
  return {mul_div(x, res_x, size_x), mul_div(y, res_y, size_y)};
}

ipoint mm_converter::pixel_to_mm(int x, int y) const {
  return {mul_div(x, size_x, res_x), mul_div(y, size_y, res_y)};
}

}  // namespace kyo
