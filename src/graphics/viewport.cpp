#include <kyo/graphics/viewport.h>

#include <cmath>
#include <limits>
#include <numbers>

#include <kyo/platform/printf_format.h>

namespace kyo {

namespace {

constexpr double degree = std::numbers::pi / 180;

bool finite(const dpoint& p) {
  return std::isfinite(p.x) && std::isfinite(p.y);
}

int to_device(double v) {
  if (std::isnan(v)) return 0;
  if (v >= static_cast<double>(std::numeric_limits<int>::max())) {
    return std::numeric_limits<int>::max();
  }
  if (v <= static_cast<double>(std::numeric_limits<int>::min())) {
    return std::numeric_limits<int>::min();
  }
  return static_cast<int>(v);
}

// Turns `v` counter-clockwise by the angle whose cosine and sine are given.
dsize turned(const dsize& v, double cos_a, double sin_a) {
  return {v.cx * cos_a - v.cy * sin_a, v.cy * cos_a + v.cx * sin_a};
}

// The multiples k spacing from the first at or above `from` while below `to` (or up to and
// including it); false when there would be more than `limit`.
template <class F>
bool for_multiples(double from, double to, double spacing, bool include_end, double limit, F f) {
  if (!(spacing > 0) || !std::isfinite(spacing) || !std::isfinite(from) || !std::isfinite(to)) {
    return false;
  }
  const double first = std::ceil(from / spacing);
  if (!((to - from) / spacing + 2 <= limit)) return false;
  for (double k = first;; ++k) {
    const double v = k * spacing;
    if (include_end ? !(v <= to) : !(v < to)) break;
    f(v);
  }
  return true;
}

}  // namespace

void viewport_transformation::reset() {
  a = 1;
  b = 0;
  c = 0;
  d = 0;
  e = 1;
  f = 0;
  active = false;
}

void viewport_transformation::translate(const dsize& t) {
  if (t.cx == 0 && t.cy == 0) return;
  c += t.cx;
  f += t.cy;
  active = true;
}

void viewport_transformation::scale(const dsize& s) {
  if (s.cx != 1) {
    a *= s.cx;
    d *= s.cx;
    c *= s.cx;
    active = true;
  }
  if (s.cy != 1) {
    b *= s.cy;
    e *= s.cy;
    f *= s.cy;
    active = true;
  }
}

void viewport_transformation::rotate(rad angle) {
  if (angle.value() == 0) return;
  const double s = std::sin(angle.value());
  const double k = std::cos(angle.value());
  const auto column = [&](double& x, double& y) {
    const double nx = k * x - s * y;
    y = k * y + s * x;
    x = nx;
  };
  column(a, d);
  column(b, e);
  column(c, f);
  active = true;
}

void viewport_transformation::rotatePoint(const dpoint& centre, const dpoint& p, rad angle) {
  const double dx = p.x - centre.x;
  const double dy = p.y - centre.y;
  const double s = std::sin(angle.value());
  const double k = std::cos(angle.value());
  c += centre.x + k * dx + s * dy;
  f += centre.y + k * dy - s * dx;
  active = true;
}

dpoint viewport_transformation::transform(const dpoint& p) const {
  if (!active) return p;
  return {a * p.x + b * p.y + c, d * p.x + e * p.y + f};
}

viewport::viewport() {
  setup_parameters();
}

void viewport::setup_parameters() {
  const double W = static_cast<double>(static_cast<long long>(bounds_.right) - bounds_.left);
  const double H = static_cast<double>(static_cast<long long>(bounds_.bottom) - bounds_.top);
  double ww = window_.x2 - window_.x1;
  double wh = window_.y2 - window_.y1;
  empty_ = W == 0 || H == 0;

  actual_ = window_;
  if (!empty_ && keep_aspect_) {
    const double rd = std::fabs(W / H);
    const double rw = std::fabs(ww / wh);
    if (rd <= rw) {
      wh = std::copysign(std::fabs(ww / rd), wh);
      actual_.y1 = (actual_.y1 + actual_.y2 - wh) / 2;
      actual_.y2 = actual_.y1 + wh;
    } else {
      ww = std::copysign(std::fabs(wh * rd), ww);
      actual_.x1 = (actual_.x1 + actual_.x2 - ww) / 2;
      actual_.x2 = actual_.x1 + ww;
    }
  }

  clip_rect_ = actual_.normalized();
  visible_ = clip_rect_;
  if (!empty_) per_pixel_ = {std::fabs(ww / W), std::fabs(wh / H)};

  sx_ = W / ww;
  ox_ = bounds_.left - actual_.x1 * sx_ + 0.5;
  sy_ = H / wh;
  oy_ = bounds_.bottom - actual_.y2 * sy_ + 0.5;

  if (!empty_ && has_clip_region_) {
    const irect nb = bounds_.normalized();
    const irect cr = clip_region_.normalized();
    const irect in{std::max(nb.left, cr.left), std::max(nb.top, cr.top),
                   std::min(nb.right, cr.right), std::min(nb.bottom, cr.bottom)};
    if (in.is_empty()) {
      empty_ = true;
    } else {
      const double fx = ww / std::fabs(W);
      const double fy = wh / std::fabs(H);
      visible_ =
          drect(actual_.x1 + (in.left - nb.left) * fx, actual_.y1 + (in.top - nb.top) * fy,
                actual_.x2 + (in.right - nb.right) * fx, actual_.y2 + (in.bottom - nb.bottom) * fy)
              .normalized();
    }
  }
  if (empty_) visible_ = drect::null_rect;
}

void viewport::set_dc(surface* s) {
  dc_ = s;
  mm_ = s != nullptr ? mm_converter(*s) : mm_converter();
  if (dc_ != nullptr && has_clip_region_) dc_->set_clip_rect(clip_region_);
}

void viewport::begin_paint(surface& s, const irect& bounds) {
  set_dc(&s);
  set_bounds(bounds);
}

void viewport::end_paint() {
  if (dc_ != nullptr && has_clip_region_) dc_->clear_clip();
  set_dc(nullptr);
}

void viewport::set_bounds(const irect& bounds) {
  bounds_ = bounds;
  setup_parameters();
}

void viewport::set_window(const drect& w, bool keep_aspect) {
  if (w.width() == 0 || w.height() == 0 || !finite(dpoint{w.x1, w.y1}) ||
      !finite(dpoint{w.x2, w.y2})) {
    return;
  }
  window_ = w;
  keep_aspect_ = keep_aspect;
  setup_parameters();
}

void viewport::set_clip_region(const irect& region) {
  clip_region_ = region;
  has_clip_region_ = true;
  if (dc_ != nullptr) dc_->set_clip_rect(region);
  setup_parameters();
}

void viewport::clear_clip_region() {
  if (dc_ != nullptr && has_clip_region_) dc_->clear_clip();
  has_clip_region_ = false;
  setup_parameters();
}

isize viewport::mm10_to_device(int x, int y) const {
  const ipoint p = mm_.mm_to_pixel(x, y);
  if (dc_ == nullptr) return {p.x, p.y};
  const ipoint a = dc_->lp_to_dp(p);
  const ipoint o = dc_->lp_to_dp({0, 0});
  return {a.x - o.x, a.y - o.y};
}

void viewport::inflate_bounds(isize mm, bool clip) {
  if (empty_) return;
  const isize grow = mm10_to_device(mul_div(mm.cx, 10, 1), mul_div(mm.cy, 10, 1));
  const irect old = bounds_;
  // The window grows away from its middle on each side, whichever way its axes run.
  const double gx = grow.cx * per_pixel_.cx * (actual_.x2 >= actual_.x1 ? 1 : -1);
  const double gy = grow.cy * per_pixel_.cy * (actual_.y2 >= actual_.y1 ? 1 : -1);
  bounds_ = {old.left - grow.cx, old.top - grow.cy, old.right + grow.cx, old.bottom + grow.cy};
  window_ = {actual_.x1 - gx, actual_.y1 - gy, actual_.x2 + gx, actual_.y2 + gy};
  keep_aspect_ = false;
  if (clip) {
    clip_region_ = old;
    has_clip_region_ = true;
    if (dc_ != nullptr) dc_->set_clip_rect(old);
  }
  setup_parameters();
}

inline ipoint viewport::screen_point(const dpoint& p) const noexcept {
  return {to_device(sx_ * p.x + ox_), to_device(sy_ * p.y + oy_)};
}

ipoint viewport::world_to_screen(const dpoint& p) const {
  return screen_point(p);
}

dpoint viewport::screen_to_world(const ipoint& q) const {
  return {(q.x - ox_) / sx_, (q.y - oy_) / sy_};
}

dsize viewport::mm_to_world(const isize& mm) const {
  const ipoint p = mm_.mm_to_pixel(mul_div(mm.cx, 10, 1), mul_div(mm.cy, 10, 1));
  return {p.x * per_pixel_.cx, p.y * per_pixel_.cy};
}

void viewport::point(const dpoint& p, colour c) {
  if (!can_draw()) return;
  const dpoint q = transform(p);
  if (!finite(q) || clip_rect_.code(q) != 0) return;
  dc_->set_pixel(world_to_screen(q), c);
}

void viewport::move_abs(const dpoint& p) {
  if (empty_) return;
  current_ = p;
  last_ = active ? transform(p) : p;
}

void viewport::move_rel(const dsize& s) {
  move_abs(current_ + s);
}

void viewport::line_to_world(const dpoint& to) {
  const dpoint from = last_;
  current_ = to;
  last_ = active ? transform(to) : to;
  dline l(from, last_);
  clip(l);
}

void viewport::draw_abs(const dpoint& p) {
  if (empty_) return;
  line_to_world(p);
}

void viewport::draw_rel(const dsize& s) {
  draw_abs(current_ + s);
}

void viewport::chord(const dpoint& from, const dpoint& to) {
  dline l(transform(from), transform(to));
  clip(l);
}

void viewport::clip(dline& l) {
  if (!can_draw()) return;
  if (!finite(l.p1()) || !finite(l.p2())) return;
  // A segment wholly inside, or wholly beyond one edge, is decided here as the clipper's first
  // step would decide it: most segments of a track are one or the other.
  const unsigned c1 = clip_rect_.code(l.p1());
  const unsigned c2 = clip_rect_.code(l.p2());
  if ((c1 & c2) != 0) return;
  if ((c1 | c2) != 0 && !clip_rect_.clip(l)) return;
  dc_->move_to(screen_point(l.p1()));
  dc_->line_to(screen_point(l.p2()));
}

void viewport::rectangle(const dsize& s) {
  if (!can_draw()) return;
  const dpoint p0 = current_;
  const dpoint p1 = p0 + dsize{s.cx, 0};
  const dpoint p2 = p0 + s;
  const dpoint p3 = p0 + dsize{0, s.cy};
  chord(p0, p1);
  chord(p1, p2);
  chord(p2, p3);
  chord(p3, p0);
}

void viewport::circle(double radius, int n) {
  if (!can_draw() || radius == 0 || n < 1 || n > 360) return;
  const double step = (360 / n) * degree;
  const double k = std::cos(step);
  const double s = std::sin(step);
  dsize offset{0, radius};
  for (int i = 0; i < n; ++i) {
    const dsize next = turned(offset, k, s);
    chord(current_ + offset, current_ + next);
    offset = next;
  }
}

void viewport::ellipse(const dellipse& e) {
  if (!can_draw() || (e.a == 0 && e.b == 0)) return;
  const double k = std::cos(e.angle_rad);
  const double s = std::sin(e.angle_rad);
  const auto at = [&](int i) {
    const double t = i * 10 * degree;
    return current_ + turned({e.a * std::cos(t), e.b * std::sin(t)}, k, s);
  };
  dpoint from = at(0);
  for (int i = 1; i <= 36; ++i) {
    const dpoint to = at(i);
    chord(from, to);
    from = to;
  }
}

void viewport::arc(const dpoint& centre, dsize start, double sweep, bool by_size) {
  if (empty_) return;
  move_abs(centre + start);
  if (!std::isfinite(sweep)) return;
  const double chords = std::trunc((by_size ? std::fabs(sweep) : sweep) / (9 * degree)) + 1;
  if (chords < 1 || chords > max_curve_chords) return;
  const int n = static_cast<int>(chords);
  const double step = sweep / n;
  const double k = std::cos(step);
  const double s = std::sin(step);
  for (int i = 0; i < n; ++i) {
    start = turned(start, k, s);
    line_to_world(centre + start);
  }
}

void viewport::curve(const dpoint& centre, dsize start, rad sweep) {
  arc(centre, start, sweep.value(), false);
}

void viewport::curve(const dpoint& p1, const dpoint& p2, double radius, bool side) {
  if (empty_ || !(radius > 0)) return;
  const dsize c = p2 - p1;
  const double length = c.length();
  if (!(length > 0) || !std::isfinite(length)) return;
  const double q = 1 - length * length / (4 * radius * radius);
  if (!(q >= 0)) return;
  const double h = side ? std::sqrt(q) : -std::sqrt(q);
  const double k = radius * h / length;
  const dpoint centre = p1 + c * 0.5 + dsize{-c.cy, c.cx} * k;
  arc(centre, p1 - centre, 2 * std::acos(h), false);
}

void viewport::curve(const dpoint& p1, const dpoint& p2, const dpoint& p3, bool whole_circle) {
  if (empty_) return;
  const dsize u = p2 - p1;
  const dsize v = p3 - p2;
  dpoint centre;
  try {
    const parametric_line a(p1 + u * 0.5, dsize{-u.cy, u.cx});
    const parametric_line b(p2 + v * 0.5, dsize{-v.cy, v.cx});
    centre = a.intersect(b);
  } catch (const dpoint&) {
    move_abs(p1);
    draw_abs(p2);
    draw_abs(p3);
    return;
  }
  const double turn = u.cx * v.cy - u.cy * v.cx;  // positive for a counter-clockwise arc
  const dsize start = p1 - centre;
  const dsize end = p3 - centre;
  double sweep = 2 * std::numbers::pi;
  if (!whole_circle) {
    const double between = std::atan2(end.cy, end.cx) - std::atan2(start.cy, start.cx);
    sweep = std::fmod(between + 4 * std::numbers::pi, 2 * std::numbers::pi);
    if (turn < 0) sweep -= 2 * std::numbers::pi;
  } else if (turn < 0) {
    sweep = -sweep;
  }
  arc(centre, start, sweep, true);
}

void viewport::text(const std::string& s) {
  if (!can_draw()) return;
  dc_->text_out(world_to_screen(transform(current_)), s, align_, text_colour_);
}

void viewport::grid(double spacing, bool transformed, int mark_mm) {
  if (!can_draw()) return;
  const drect w = clip_rect_;
  const auto line = [&](const dpoint& from, const dpoint& to) {
    if (transformed) {
      move_abs(from);
      draw_abs(to);
    } else {
      dc_->move_to(world_to_screen(from));
      dc_->line_to(world_to_screen(to));
    }
  };
  if (mark_mm <= 0) {
    for_multiples(w.x1, w.x2, spacing, false, max_grid_lines, [&](double x) {
      line({x, w.y1}, {x, w.y2});
    });
    for_multiples(w.y1, w.y2, spacing, false, max_grid_lines, [&](double y) {
      line({w.x1, y}, {w.x2, y});
    });
    return;
  }
  const double columns = (w.x2 - w.x1) / spacing + 2;
  const double rows = (w.y2 - w.y1) / spacing + 2;
  if (!(columns * rows <= max_grid_marks)) return;
  const dsize half = mm_to_world({mark_mm, mark_mm}) * 0.5;
  for_multiples(w.x1, w.x2, spacing, false, max_grid_lines, [&](double x) {
    for_multiples(w.y1, w.y2, spacing, false, max_grid_lines, [&](double y) {
      line({x, y - half.cy}, {x, y + half.cy});
      line({x - half.cx, y}, {x + half.cx, y});
    });
  });
}

void viewport::label(ipoint at, const std::string& text, int align) {
  dc_->text_out(at, text, alignment(align), text_colour_);
}

void viewport::axes(double spacing, std::span<const range_circle> circles, int tick_len) {
  if (!can_draw()) return;
  const transformation saved = get_transformation();
  const dpoint saved_current = current_;
  const dpoint saved_last = last_;
  reset();

  const drect w = clip_rect_;
  move_abs({w.x1, w.y1});
  draw_abs({w.x2, w.y1});
  draw_abs({w.x2, w.y2});
  draw_abs({w.x1, w.y2});
  draw_abs({w.x1, w.y1});
  move_abs({w.x1, 0});
  draw_abs({w.x2, 0});
  move_abs({0, w.y1});
  draw_abs({0, w.y2});

  // Ticks point away from the middle of the plot, whichever way the window's axes run.
  const isize tick = mm10_to_device(tick_len, tick_len);
  const ipoint middle = world_to_screen(w.center());
  for_multiples(w.x1, w.x2, spacing, true, max_grid_lines, [&](double x) {
    const ipoint base = world_to_screen({x, w.y1});
    const int dir = base.y < middle.y ? -1 : 1;
    const ipoint end{base.x, base.y + dir * tick.cy};
    dc_->move_to(base);
    dc_->line_to(end);
    // + 0.0 turns a negative zero (the multiple 0 of a negative start) into "0", not "-0".
    label(end, format_one("%g", x + 0.0), alignment::center | (dir < 0 ? alignment::bottom : 0));
  });
  for_multiples(w.y1, w.y2, spacing, true, max_grid_lines, [&](double y) {
    const ipoint base = world_to_screen({w.x1, y});
    const int dir = base.x > middle.x ? 1 : -1;
    const ipoint end{base.x + dir * tick.cx, base.y};
    dc_->move_to(base);
    dc_->line_to(end);
    label(end, format_one("%g", y + 0.0), (dir < 0 ? alignment::right : 0) | alignment::baseline);
  });

  for (const range_circle& rc : circles) {
    if (!(rc.radius > 0)) continue;
    move_abs({0, 0});
    circle(rc.radius, range_circle_chords);
    if (rc.labelled) {
      const double r = rc.radius * std::numbers::sqrt2 / 2;
      label(world_to_screen({r, r}), format_one("%g m", rc.radius),
            alignment::left | alignment::bottom);
    }
  }

  set_transformation(saved);
  current_ = saved_current;
  last_ = saved_last;
}

colour viewport::fix_colour(colour c, bool background) const {
  if (dc_ == nullptr || !dc_->caps().monochrome) return c;
  return background ? colour::white : colour::black;
}

int viewport::fix_stock_object(int object, bool background) const {
  namespace so = stock_object;
  if (dc_ == nullptr || !dc_->caps().monochrome) return object;
  const bool brush = object >= so::white_brush && object <= so::black_brush;
  if (background) return brush ? so::white_brush : object;
  if (brush && object != so::black_brush) return so::black_brush;
  return object == so::white_pen ? so::black_pen : object;
}

}  // namespace kyo
