// Millimetres to device pixels and back for one drawing device, from the physical size and the
// resolution it reports. Printers whose physical resolution is a multiple of their logical one
// are counted in logical pixels, so that a millimetre covers the same number of logical units on
// every device.
#pragma once

#include <kyo/core/geometry.h>
#include <kyo/kyoutils_export.h>

namespace kyo {

class surface;

/// Converts tenths of a millimetre to pixels and back for one device.
class KYO_EXPORT mm_converter {
 public:
  /// A converter that knows no device: every conversion gives (0, 0).
  mm_converter() = default;
  /// Reads the device: size_x and size_y are its physical size in tenths of a millimetre; res_x
  /// and res_y its resolution divided by the whole factor round(physical dots per inch / logical
  /// pixels per inch) (halves up; at least 1, and 1 when either figure is unknown), then converted
  /// from device to logical units.
  explicit mm_converter(const surface& s);

  /// The point (x res_x / size_x, y res_y / size_y) for x and y in tenths of a millimetre, each a
  /// rounded multiply-divide (halves away from zero); an axis of unknown size gives 0.
  [[nodiscard]] ipoint mm_to_pixel(int x, int y) const;
  /// The point (x size_x / res_x, y size_y / res_y) in tenths of a millimetre, rounded the same
  /// way; an axis of zero resolution gives 0.
  [[nodiscard]] ipoint pixel_to_mm(int x, int y) const;

  int size_x = 0;
  int size_y = 0;
  int res_x = 0;
  int res_y = 0;
};

/// a b / c rounded to the nearest integer, halves away from zero, computed without overflow and
/// saturated to the int range; 0 when c is 0.
KYO_EXPORT int mul_div(int a, int b, int c);

}  // namespace kyo
