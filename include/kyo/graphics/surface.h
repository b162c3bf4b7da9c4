// The drawing device behind a viewport: a small set of integer operations (move, line, pixel,
// text, filled rectangle, clip rectangle, logical/device conversion) and the capabilities that
// millimetre conversion and the monochrome rules need. The core has a recording surface for tests
// and an SVG surface for files; a window system's painter implements the same interface.
#pragma once

#include <string_view>

#include <kyo/core/geometry.h>
#include <kyo/graphics/colour.h>
#include <kyo/kyoutils_export.h>

namespace kyo {

/// An integer rectangle of the screen side: left, top, right, bottom, with y growing downwards.
/// Right and bottom lie just outside, as the platform's rectangles do.
struct irect {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;

  [[nodiscard]] constexpr int width() const noexcept { return right - left; }
  [[nodiscard]] constexpr int height() const noexcept { return bottom - top; }
  /// A copy with left <= right and top <= bottom.
  [[nodiscard]] constexpr irect normalized() const noexcept {
    return {left < right ? left : right, top < bottom ? top : bottom, left < right ? right : left,
            top < bottom ? bottom : top};
  }
  /// Whether the rectangle holds no pixel (zero or negative width or height).
  [[nodiscard]] constexpr bool is_empty() const noexcept { return right <= left || bottom <= top; }
  friend constexpr bool operator==(const irect&, const irect&) = default;
};

/// What a device is: the figures the platform reports for a device context.
struct device_caps {
  isize logical_ppi{96, 96};  ///< logical pixels per inch across and down
  isize size_mm{0, 0};        ///< physical size across and down in whole millimetres
  isize resolution{0, 0};     ///< usable width and height in device pixels
  bool monochrome = false;    ///< a black-and-white device (most printers)
  friend constexpr bool operator==(const device_caps&, const device_caps&) = default;
};

/// The screen-like capabilities of a device `width` by `height` pixels at `ppi` pixels per inch:
/// the physical size follows from the resolution (rounded to whole millimetres, at least 1).
KYO_EXPORT device_caps screen_caps(int width, int height, int ppi = 96);

/// A device that draws. Coordinates are the device's logical units (equal to device pixels unless
/// the device scales them, see dp_to_lp); lines are drawn with the current pen.
class KYO_EXPORT surface {
 public:
  virtual ~surface();

  /// The device's capabilities.
  [[nodiscard]] virtual device_caps caps() const = 0;
  /// Device pixels to logical units, and back.
  [[nodiscard]] virtual ipoint dp_to_lp(ipoint p) const = 0;
  [[nodiscard]] virtual ipoint lp_to_dp(ipoint p) const = 0;

  /// The colour of later lines.
  virtual void set_pen(colour c) = 0;
  /// Moves the current point without drawing.
  virtual void move_to(ipoint p) = 0;
  /// Draws from the current point to `p` (the end pixel itself is left out, as on the platform)
  /// and makes `p` the current point.
  virtual void line_to(ipoint p) = 0;
  /// Sets one pixel.
  virtual void set_pixel(ipoint p, colour c) = 0;
  /// Writes `text` (bytes, the degree sign is 0xB0) so that the point of its box named by
  /// `align` lies at `p` (see alignment::offset).
  virtual void text_out(ipoint p, std::string_view text, alignment align, colour c) = 0;
  /// The size of the box `text` takes.
  [[nodiscard]] virtual isize text_extent(std::string_view text) const = 0;
  /// Fills `r` (right and bottom edges excluded).
  virtual void fill_rect(const irect& r, colour c) = 0;
  /// Limits later drawing to `r`; replaces any earlier clip rectangle.
  virtual void set_clip_rect(const irect& r) = 0;
  /// Lets later drawing reach the whole device again.
  virtual void clear_clip() = 0;

 protected:
  surface() = default;
  surface(const surface&) = default;
  surface& operator=(const surface&) = default;
};

}  // namespace kyo
