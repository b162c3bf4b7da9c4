// Planar world geometry in 64-bit floating point with y pointing up (north): points, displacements,
// segments, infinite lines, rectangles and ellipses, plus the small integer point and size of the
// screen side and the text alignment flags that place a box around a reference point. All are plain
// values. Rectangles and ellipses have raw forms on the object streams.
#pragma once

#include <kyo/kyoutils_export.h>

namespace kyo {

class opstream;
class ipstream;

/// A displacement (cx east, cy north).
struct dsize {
  double cx = 0;
  double cy = 0;

  /// The scalar product cx o.cx + cy o.cy.
  [[nodiscard]] constexpr double dot(const dsize& o) const { return cx * o.cx + cy * o.cy; }
  /// The Euclidean length.
  [[nodiscard]] KYO_EXPORT double length() const;

  constexpr dsize operator+(const dsize& o) const { return {cx + o.cx, cy + o.cy}; }
  constexpr dsize operator-(const dsize& o) const { return {cx - o.cx, cy - o.cy}; }
  constexpr dsize operator-() const { return {-cx, -cy}; }
  constexpr dsize operator*(double f) const { return {cx * f, cy * f}; }
  friend constexpr bool operator==(const dsize&, const dsize&) = default;
};

/// A point (x east, y north).
struct dpoint {
  double x = 0;
  double y = 0;

  constexpr dpoint operator+(const dsize& s) const { return {x + s.cx, y + s.cy}; }
  constexpr dpoint operator-(const dsize& s) const { return {x - s.cx, y - s.cy}; }
  /// The displacement from `o` to this point.
  constexpr dsize operator-(const dpoint& o) const { return {x - o.x, y - o.y}; }
  constexpr dpoint& operator+=(const dsize& s) {
    x += s.cx;
    y += s.cy;
    return *this;
  }
  constexpr dpoint& operator-=(const dsize& s) {
    x -= s.cx;
    y -= s.cy;
    return *this;
  }
  friend constexpr bool operator==(const dpoint&, const dpoint&) = default;
};

/// A segment from p1 (x1, y1) to p2 (x2, y2).
struct dline {
  double x1 = 0;
  double y1 = 0;
  double x2 = 0;
  double y2 = 0;

  constexpr dline() = default;
  constexpr dline(double ax1, double ay1, double ax2, double ay2)
      : x1(ax1), y1(ay1), x2(ax2), y2(ay2) {}
  constexpr dline(const dpoint& a, const dpoint& b) : x1(a.x), y1(a.y), x2(b.x), y2(b.y) {}

  [[nodiscard]] constexpr dpoint p1() const { return {x1, y1}; }
  [[nodiscard]] constexpr dpoint p2() const { return {x2, y2}; }

  /// The position of `p` along the line and across it. With u the unit vector from p2 towards p1
  /// and w = p - p2: along = u.w, across = (-u.y, u.x).w (positive to the left of the direction
  /// p2 to p1). Either pointer may be null. A zero-length line gives NaN.
  KYO_EXPORT void distances(const dpoint& p, double* along, double* across) const;

  /// A copy with both end points moved by (dx, dy).
  [[nodiscard]] constexpr dline offset_by(double dx, double dy) const {
    return {x1 + dx, y1 + dy, x2 + dx, y2 + dy};
  }
  /// Moves both end points by (dx, dy).
  constexpr dline& offset(double dx, double dy) { return *this = offset_by(dx, dy); }
  constexpr dline operator+(const dsize& s) const { return offset_by(s.cx, s.cy); }
  constexpr dline operator-(const dsize& s) const { return offset_by(-s.cx, -s.cy); }
  constexpr dline& operator+=(const dsize& s) { return offset(s.cx, s.cy); }
  constexpr dline& operator-=(const dsize& s) { return offset(-s.cx, -s.cy); }

  /// The left-hand normal of the direction p1 to p2, (y1 - y2, x2 - x1), scaled to `length`.
  /// A zero-length line gives NaN components.
  [[nodiscard]] KYO_EXPORT dsize perpendicular_vector(double length) const;

  /// Swaps p1 and p2.
  KYO_EXPORT void reverse();

  friend constexpr bool operator==(const dline&, const dline&) = default;
};

/// An infinite line through p with direction d; the point at parameter t is p + t d.
struct parametric_line {
  dpoint p;
  dsize d;

  constexpr parametric_line() = default;
  constexpr parametric_line(const dpoint& base, const dsize& direction) : p(base), d(direction) {}
  /// The line through a (t = 0) and b (t = 1).
  constexpr parametric_line(const dpoint& a, const dpoint& b) : p(a), d(b - a) {}
  /// The line through l.p1 (t = 0) and l.p2 (t = 1).
  explicit constexpr parametric_line(const dline& l) : p(l.p1()), d(l.p2() - l.p1()) {}

  /// The point p + t d.
  [[nodiscard]] constexpr dpoint point(double t) const { return p + d * t; }

  /// The left-hand normal (-d.y, d.x), scaled to `length` unless `length` is 0, in which case it
  /// is returned unscaled.
  [[nodiscard]] KYO_EXPORT dsize perpendicular_vector(double length) const;

  /// The crossing point of this line and `o`. When `params` is given, params[0] receives the
  /// parameter on this line and params[1] the parameter on `o`.
  /// Throws a `dpoint` (whose value means nothing) when the lines are parallel: |d x o.d| < 1e-10.
  KYO_EXPORT dpoint intersect(const parametric_line& o, double* params = nullptr) const;
};

/// A rectangle x1, y1, x2, y2. Normalized, (x1, y1) is the bottom left and (x2, y2) the top right;
/// only normalize() and normalized() reorder the corners.
struct KYO_EXPORT drect {
  double x1 = 0;
  double y1 = 0;
  double x2 = 0;
  double y2 = 0;

  /// Outcode bits of code(): left of x1, right of x2, above y2, below y1.
  static constexpr unsigned code_left = 1;
  static constexpr unsigned code_right = 2;
  static constexpr unsigned code_above = 4;
  static constexpr unsigned code_below = 8;

  /// The rectangle (0, 0, 0, 0).
  static const drect null_rect;

  constexpr drect() = default;
  constexpr drect(double ax1, double ay1, double ax2, double ay2)
      : x1(ax1), y1(ay1), x2(ax2), y2(ay2) {}
  constexpr drect(const dpoint& a, const dpoint& b) : x1(a.x), y1(a.y), x2(b.x), y2(b.y) {}

  [[nodiscard]] constexpr double width() const { return x2 - x1; }
  [[nodiscard]] constexpr double height() const { return y2 - y1; }

  /// ((x2 - x1) / 2 + x1, (y2 - y1) / 2 + y1).
  [[nodiscard]] constexpr dpoint center() const { return {(x2 - x1) / 2 + x1, (y2 - y1) / 2 + y1}; }

  /// The outcode of `p` for a normalized rectangle: code_left or code_right, plus code_above or
  /// code_below; 0 inside and on the border. A NaN coordinate counts as inside.
  [[nodiscard]] constexpr unsigned code(const dpoint& p) const noexcept {
    unsigned c = 0;
    if (p.x < x1) {
      c |= code_left;
    } else if (p.x > x2) {
      c |= code_right;
    }
    if (p.y > y2) {
      c |= code_above;
    } else if (p.y < y1) {
      c |= code_below;
    }
    return c;
  }

  /// Whether `r` lies within this rectangle, edges included.
  [[nodiscard]] bool contains(const drect& r) const;
  /// Whether the interiors overlap; rectangles that only share an edge do not touch.
  [[nodiscard]] bool touches(const drect& r) const;

  [[nodiscard]] constexpr drect offset_by(double dx, double dy) const {
    return {x1 + dx, y1 + dy, x2 + dx, y2 + dy};
  }
  constexpr drect& offset(double dx, double dy) { return *this = offset_by(dx, dy); }
  /// (x1 - dx, y1 - dy, x2 + dx, y2 + dy).
  [[nodiscard]] constexpr drect inflated_by(double dx, double dy) const {
    return {x1 - dx, y1 - dy, x2 + dx, y2 + dy};
  }
  constexpr drect& inflate(double dx, double dy) { return *this = inflated_by(dx, dy); }

  /// A copy with x1 <= x2 and y1 <= y2.
  [[nodiscard]] drect normalized() const;
  drect& normalize();

  /// The intersection (max x1, max y1, min x2, min y2). An empty intersection comes back
  /// inverted (x1 > x2 or y1 > y2), not corrected. On ties and NaN the left operand's value is
  /// kept.
  drect operator&(const drect& r) const;
  drect& operator&=(const drect& r);
  /// The union (min x1, min y1, max x2, max y2), with the same tie rule.
  drect operator|(const drect& r) const;
  drect& operator|=(const drect& r);

  /// Clips `l` in place to this normalized rectangle (Cohen-Sutherland) and returns whether any
  /// part lies inside. On false `l` may already be partly moved. A segment whose clipping has not
  /// settled after 16 moves (only rounding can cause that) is reported as outside.
  bool clip(dline& l) const;

  friend constexpr bool operator==(const drect&, const drect&) = default;
};

inline constexpr drect drect::null_rect{0, 0, 0, 0};

/// An ellipse by its semi-axes and the direction of the first axis; it has no centre of its own
/// and is drawn at the current position.
struct dellipse {
  double a = 0;          ///< the first semi-axis
  double b = 0;          ///< the second semi-axis
  double angle_rad = 0;  ///< orientation of the first axis
  friend constexpr bool operator==(const dellipse&, const dellipse&) = default;
};

/// An integer point of the screen side.
struct ipoint {
  int x = 0;
  int y = 0;
  friend constexpr bool operator==(const ipoint&, const ipoint&) = default;
};

/// An integer size of the screen side.
struct isize {
  int cx = 0;
  int cy = 0;
  friend constexpr bool operator==(const isize&, const isize&) = default;
};

/// Text alignment flags with the platform's values: horizontal in bits 1-2, vertical in bits 3-4.
struct KYO_EXPORT alignment {
  static constexpr int left = 0;
  static constexpr int right = 2;
  static constexpr int center = 6;
  static constexpr int top = 0;
  static constexpr int bottom = 8;
  static constexpr int baseline = 24;

  int flags = left | top;

  constexpr alignment() = default;
  constexpr explicit alignment(int f) : flags(f) {}

  /// The reference point's offset from the box's top-left corner: x is 0, the width or the width
  /// halved (truncated) for left, right and centre; y is 0, the height or the height halved for
  /// top, bottom and baseline, which is deliberately treated as the vertical centre. Other bit
  /// patterns count as left and top.
  [[nodiscard]] ipoint offset(const isize& box) const;
};

/// A rectangle as its 32 raw bytes: x1, y1, x2, y2, each a little-endian double.
KYO_EXPORT opstream& operator<<(opstream& os, const drect& r);
/// Reads the raw form; on a failed stream `r` keeps its value.
KYO_EXPORT ipstream& operator>>(ipstream& is, drect& r);
/// An ellipse as its 24 raw bytes: a, b, angle, each a little-endian double.
KYO_EXPORT opstream& operator<<(opstream& os, const dellipse& e);
/// Reads the raw form; on a failed stream `e` keeps its value.
KYO_EXPORT ipstream& operator>>(ipstream& is, dellipse& e);

}  // namespace kyo
