// The viewport maps a rectangle of the world (metres, y north) onto a rectangle of device pixels,
// optionally keeping the aspect ratio, and draws world geometry through a current 2-by-3 affine
// transformation, which places, scales and turns shape outlines. Lines are clipped to the world
// window here; the surface handed in by the caller does the pixels.
//
//   viewport v;
//   v.set_window({0, 100, 100, 0}, false);     // left, top, right, bottom: north up
//   v.begin_paint(surface, {0, 0, 200, 100});
//   v.move_abs({10, 10});
//   v.draw_abs({90, 90});
//   v.end_paint();
#pragma once

#include <span>
#include <string>

#include <kyo/core/angle.h>
#include <kyo/core/geometry.h>
#include <kyo/graphics/colour.h>
#include <kyo/graphics/mm_converter.h>
#include <kyo/graphics/surface.h>
#include <kyo/kyoutils_export.h>

namespace kyo {

/// x' = a x + b y + c, y' = d x + e y + f; inactive, it is the identity.
class KYO_EXPORT viewport_transformation {
 public:
  double a = 1;
  double b = 0;
  double c = 0;
  double d = 0;
  double e = 1;
  double f = 0;
  bool active = false;

  /// The identity: a = e = 1, the rest 0, inactive.
  void reset();
  /// Unless t is (0, 0): c += t.cx, f += t.cy; active.
  void translate(const dsize& t);
  /// Unless s.cx is 1, multiplies a, d and c by s.cx; unless s.cy is 1, multiplies b, e and f by
  /// s.cy; active when anything changed. With a rotation in place this is not a scaling of the
  /// result: the coefficient sets are kept exactly as they are.
  void scale(const dsize& s);
  /// Unless the angle is 0, turns each column (a, d), (b, e), (c, f) counter-clockwise by it:
  /// (a, d) becomes (k a - s d, k d + s a) with s = sin, k = cos; active.
  void rotate(rad angle);
  /// Adds the clockwise-turned position of `p` about `centre` to the translation: with
  /// (dx, dy) = p - centre, c += centre.x + cos dx + sin dy and f += centre.y + cos dy - sin dx;
  /// active. Bearings turn clockwise, so a shape placed on a bearing uses this.
  void rotatePoint(const dpoint& centre, const dpoint& p, rad angle);
  /// `p` itself when inactive, else (a x + b y + c, d x + e y + f).
  [[nodiscard]] dpoint transform(const dpoint& p) const;

  friend bool operator==(const viewport_transformation&, const viewport_transformation&) = default;
};

/// A circle of `axes`, about the world origin.
struct range_circle {
  double radius = 0;     ///< world units; circles of radius 0 or less are not drawn
  bool labelled = true;  ///< the radius is written beside the circle
};

/// GDI-compatible stock object numbers, for fix_stock_object.
namespace stock_object {
inline constexpr int white_brush = 0;
inline constexpr int light_gray_brush = 1;
inline constexpr int gray_brush = 2;
inline constexpr int dark_gray_brush = 3;
inline constexpr int black_brush = 4;
inline constexpr int null_brush = 5;
inline constexpr int white_pen = 6;
inline constexpr int black_pen = 7;
inline constexpr int null_pen = 8;
}  // namespace stock_object

/// World-to-device mapping and drawing. Every drawing call does nothing while the viewport is
/// empty (zero-sized bounds or a clip region outside them) and reaches no device while none is
/// attached; the current position still follows move and draw calls when no device is attached.
class KYO_EXPORT viewport : public viewport_transformation {
 public:
  using transformation = viewport_transformation;

  /// Chords of a range circle in `axes` (5 degrees each).
  static constexpr int range_circle_chords = 72;
  /// `grid` and `axes` draw nothing along an axis that would need more lines than this, and
  /// `grid` no marks when it would need more crossings than max_grid_marks.
  static constexpr int max_grid_lines = 4096;
  static constexpr int max_grid_marks = 65536;
  /// A `curve` that would need more chords than this (a sweep of more than 100 turns) draws
  /// nothing.
  static constexpr int max_curve_chords = 4000;

  /// Identity transformation, no device, zero bounds, window (0, 100, 100, 0), no aspect
  /// keeping, no clip region.
  viewport();

  /// Attaches `s` (not owned; null detaches) and reads its millimetre figures. A clip region set
  /// earlier is selected on it.
  void set_dc(surface* s);
  /// Attaches `s` and sets the bounds for one painting pass.
  void begin_paint(surface& s, const irect& bounds);
  /// Clears the device's clip rectangle when a clip region was selected, and detaches it.
  void end_paint();
  [[nodiscard]] surface* get_dc() const noexcept { return dc_; }

  /// The device rectangle to draw into.
  void set_bounds(const irect& bounds);
  /// The world rectangle (left x, top y, right x, bottom y; top above bottom for a north-up view)
  /// and whether it is widened to the device's aspect ratio. Ignored when `w` has zero width or
  /// height or a coordinate that is not finite.
  void set_window(const drect& w, bool keep_aspect);
  /// Limits drawing to `region` (device units) and selects it on the device.
  void set_clip_region(const irect& region);
  /// Removes the clip region.
  void clear_clip_region();
  /// Grows the bounds by `mm` millimetres on every side (converted to device units) and the
  /// window by as much in world units, and turns aspect keeping off; with `clip` the old bounds
  /// become the clip region. Draws margins (axis labels) outside the plotting area. Nothing while
  /// empty.
  void inflate_bounds(isize mm, bool clip);

  [[nodiscard]] const irect& get_bounds() const noexcept { return bounds_; }
  [[nodiscard]] const drect& get_window() const noexcept { return window_; }
  /// The window as widened for the aspect ratio.
  [[nodiscard]] const drect& actual_window() const noexcept { return actual_; }
  [[nodiscard]] bool keeps_aspect() const noexcept { return keep_aspect_; }
  [[nodiscard]] bool is_empty() const noexcept { return empty_; }
  /// World units per device pixel in x and y (kept from the last non-empty set-up).
  [[nodiscard]] dsize world_per_pixel() const noexcept { return per_pixel_; }
  /// The normalized actual window, against which lines are clipped.
  [[nodiscard]] const drect& clip_rect() const noexcept { return clip_rect_; }
  [[nodiscard]] bool has_clip_region() const noexcept { return has_clip_region_; }
  [[nodiscard]] const irect& clip_region() const noexcept { return clip_region_; }
  /// The part of the world inside the clip region (all zeros when empty).
  [[nodiscard]] const drect& visible() const noexcept { return visible_; }
  /// The current position (world, before the transformation).
  [[nodiscard]] dpoint position() const noexcept { return current_; }
  [[nodiscard]] const mm_converter& converter() const noexcept { return mm_; }

  /// The transformation part, to save and restore around a drawing.
  [[nodiscard]] const transformation& get_transformation() const noexcept { return *this; }
  void set_transformation(const transformation& t) { static_cast<transformation&>(*this) = t; }

  /// (trunc(sx x + ox), trunc(sy y + oy)); the half pixel inside ox and oy makes the truncation
  /// round to nearest for the usual positive coordinates. Beyond the int range the result
  /// saturates; NaN gives 0.
  [[nodiscard]] ipoint world_to_screen(const dpoint& p) const;
  /// ((q.x - ox) / sx, (q.y - oy) / sy): the half pixel is not taken out again, so the two
  /// mappings are deliberately not exact inverses.
  [[nodiscard]] dpoint screen_to_world(const ipoint& q) const;
  /// `mm` whole millimetres in world units: converted to pixels by the device's millimetre
  /// converter, times world units per pixel. (0, 0) without a device.
  [[nodiscard]] dsize mm_to_world(const isize& mm) const;

  /// One pixel at the transformed point, when that lies in the clip rectangle.
  void point(const dpoint& p, colour c);
  /// Moves the current position to `p` without drawing.
  void move_abs(const dpoint& p);
  /// Moves the current position by `s` without drawing.
  void move_rel(const dsize& s);
  /// Moves the current position by `s` and draws the clipped line from the old transformed
  /// position to the new one.
  void draw_rel(const dsize& s);
  /// The same to the world point `p`.
  void draw_abs(const dpoint& p);
  /// The four sides of the axis-parallel rectangle of size `s` whose first corner is the current
  /// position, each transformed and clipped; the current position stays.
  void rectangle(const dsize& s);
  /// A polygon of `n` chords about the current position: the first vertex lies `radius` north of
  /// it, each next one is turned counter-clockwise by 360 / n whole degrees (integer division),
  /// so when 360 is not a multiple of n the polygon stays open by the remainder (7 chords cover
  /// 357 degrees). Nothing for radius 0 or a count outside 1..360.
  void circle(double radius, int n);
  /// The ellipse about the current position: points (a cos t, b sin t) for t in steps of 10
  /// degrees, turned counter-clockwise by the ellipse's angle, joined by 36 clipped chords.
  /// Nothing when both semi-axes are 0.
  void ellipse(const dellipse& e);
  /// The arc of `radius` from p1 to p2. With the chord c = p2 - p1 and
  /// h = sqrt(1 - |c|^2 / (4 radius^2)), negated when `side` is false, the centre is the chord's
  /// midpoint plus (radius h / |c|) (-c.y, c.x) and the sweep 2 acos(h): `side` true takes the
  /// short arc, false the long one. Nothing when the radius is not positive or the chord is 0 or
  /// longer than the diameter.
  void curve(const dpoint& p1, const dpoint& p2, double radius, bool side);
  /// The arc about `centre` that begins at centre + start and turns through `sweep`
  /// (counter-clockwise when positive) in n = trunc(sweep / 9 degrees) + 1 equal chords. The
  /// current position moves to centre + start, then each chord is drawn with draw_abs. Because
  /// the truncation goes towards zero, a sweep between -9 degrees and 0 gives one chord and one of
  /// -9 degrees or less draws nothing. A sweep that is not finite draws nothing.
  void curve(const dpoint& centre, dsize start, rad sweep);
  /// The arc of the circle through p1, p2 and p3 that starts at p1, passes p2 and ends at p3, or
  /// with `whole_circle` the whole circle from p1 round to p1 in the same direction. The chord
  /// rule above is applied to the size of the sweep, so that a clockwise arc is drawn too: n =
  /// trunc(|sweep| / 9 degrees) + 1 chords. Points on one line (or coinciding) give the straight
  /// lines p1 to p2 to p3.
  void curve(const dpoint& p1, const dpoint& p2, const dpoint& p3, bool whole_circle);
  /// `s` at the transformed current position with the current alignment and text colour.
  void text(const std::string& s);
  void set_text_align(alignment a) noexcept { align_ = a; }
  void set_text_colour(colour c) noexcept { text_colour_ = c; }
  [[nodiscard]] alignment text_align() const noexcept { return align_; }
  [[nodiscard]] colour text_colour() const noexcept { return text_colour_; }

  /// Lines at every multiple of `spacing` inside the actual window: vertical ones for x from the
  /// first multiple at or above the left edge up to (not including) the right edge, from the
  /// bottom edge to the top; then horizontal ones likewise from the bottom edge up to the top.
  /// With `transformed` false they go straight to the device; with true through the
  /// transformation and draw_abs. With `mark_mm` above 0, each crossing of the lines gets a cross
  /// `mark_mm` millimetres wide and high instead of the whole lines (vertical arm first). Nothing
  /// for a spacing that is not positive and finite, or that needs too many lines or marks.
  void grid(double spacing, bool transformed, int mark_mm);
  /// A framed plot: the border of the actual window, the world axes x = 0 and y = 0 where they
  /// cross it, ticks every `spacing` along the bottom and left edges (multiples from the first at
  /// or above the edge's start up to and including its end) pointing outwards, `tick_len` tenths
  /// of a millimetre long, each labelled with its value ("%g") beyond its end, and the range
  /// circles about the world origin, each labelled "<radius> m" at 45 degrees when asked. Drawn
  /// in world coordinates without the transformation (which is kept); labels use the text colour.
  void axes(double spacing, std::span<const range_circle> circles, int tick_len);
  /// Clips `l` (transformed world coordinates) to the clip rectangle and, when anything is left,
  /// draws it on the device with a move and a line. A line with a coordinate that is not finite
  /// is not drawn.
  void clip(dline& l);

  /// The colour to use on this device: unchanged in colour; on a monochrome device white for a
  /// `background` and black for everything drawn on it.
  [[nodiscard]] colour fix_colour(colour c, bool background) const;
  /// The stock object to use on this device: unchanged in colour; on a monochrome device a
  /// `background` brush becomes the white brush, and for drawing the grey and white brushes
  /// become the black brush and the white pen the black pen. Null objects and others stay.
  [[nodiscard]] int fix_stock_object(int object, bool background) const;

 private:
  void setup_parameters();
  bool can_draw() const noexcept { return !empty_ && dc_ != nullptr; }
  /// world_to_screen, inlined into the drawing calls.
  ipoint screen_point(const dpoint& p) const noexcept;
  void line_to_world(const dpoint& to);
  void chord(const dpoint& from, const dpoint& to);
  void arc(const dpoint& centre, dsize start, double sweep, bool by_size);
  isize mm10_to_device(int x, int y) const;
  void label(ipoint at, const std::string& text, int align);

  surface* dc_ = nullptr;
  irect bounds_;
  drect window_{0, 100, 100, 0};
  drect actual_{0, 100, 100, 0};
  bool keep_aspect_ = false;
  bool empty_ = true;
  dsize per_pixel_;
  drect clip_rect_;
  bool has_clip_region_ = false;
  irect clip_region_;
  drect visible_;
  double sx_ = 0;
  double ox_ = 0;
  double sy_ = 0;
  double oy_ = 0;
  dpoint current_;
  dpoint last_;
  mm_converter mm_;
  alignment align_;
  colour text_colour_;
};

}  // namespace kyo
