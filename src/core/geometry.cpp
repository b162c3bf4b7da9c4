#include <kyo/core/geometry.h>

#include <cmath>
#include <utility>

#include <kyo/core/object_stream.h>

namespace kyo {

namespace {

// Comparisons written so that the left operand survives ties and NaN on the right.
double keep_max(double a, double b) {
  return b > a ? b : a;
}
double keep_min(double a, double b) {
  return b < a ? b : a;
}

constexpr int max_clip_moves = 16;

}  // namespace

double dsize::length() const {
  return std::hypot(cx, cy);
}

void dline::distances(const dpoint& p, double* along, double* across) const {
  const dsize v = p1() - p2();
  const double len = v.length();
  const dsize u{v.cx / len, v.cy / len};
  const dsize w = p - p2();
  if (along != nullptr) *along = u.dot(w);
  if (across != nullptr) *across = dsize{-u.cy, u.cx}.dot(w);
}

dsize dline::perpendicular_vector(double length) const {
  const dsize n{y1 - y2, x2 - x1};
  return n * (length / n.length());
}

void dline::reverse() {
  std::swap(x1, x2);
  std::swap(y1, y2);
}

dsize parametric_line::perpendicular_vector(double length) const {
  const dsize n{-d.cy, d.cx};
  if (length == 0) return n;
  return n * (length / n.length());
}

dpoint parametric_line::intersect(const parametric_line& o, double* params) const {
  const dsize e = p - o.p;
  const double k = d.cx * o.d.cy - d.cy * o.d.cx;
  if (std::fabs(k) < 1e-10) throw dpoint{};
  const double t = (e.cy * o.d.cx - e.cx * o.d.cy) / k;
  if (params != nullptr) {
    params[0] = t;
    params[1] = (e.cy * d.cx - e.cx * d.cy) / k;
  }
  return point(t);
}

bool drect::contains(const drect& r) const {
  return r.x1 >= x1 && r.x2 <= x2 && r.y1 >= y1 && r.y2 <= y2;
}

bool drect::touches(const drect& r) const {
  return !(r.x2 <= x1 || x2 <= r.x1 || r.y2 <= y1 || y2 <= r.y1);
}

drect drect::normalized() const {
  drect r = *this;
  return r.normalize();
}

drect& drect::normalize() {
  if (x1 > x2) std::swap(x1, x2);
  if (y1 > y2) std::swap(y1, y2);
  return *this;
}

drect drect::operator&(const drect& r) const {
  return {keep_max(x1, r.x1), keep_max(y1, r.y1), keep_min(x2, r.x2), keep_min(y2, r.y2)};
}

drect& drect::operator&=(const drect& r) {
  return *this = *this & r;
}

drect drect::operator|(const drect& r) const {
  return {keep_min(x1, r.x1), keep_min(y1, r.y1), keep_max(x2, r.x2), keep_max(y2, r.y2)};
}

drect& drect::operator|=(const drect& r) {
  return *this = *this | r;
}

bool drect::clip(dline& l) const {
  unsigned c1 = code(l.p1());
  unsigned c2 = code(l.p2());
  // In exact arithmetic each end point moves at most twice; the bound only stops a segment that
  // rounding keeps pushing from one edge to the next.
  for (int moves = 0; moves <= max_clip_moves; ++moves) {
    if ((c1 | c2) == 0) return true;
    if ((c1 & c2) != 0) return false;
    const unsigned c = c1 != 0 ? c1 : c2;
    double x = 0;
    double y = 0;
    if ((c & code_left) != 0) {
      x = x1;
      y = l.y1 + (x1 - l.x1) * (l.y2 - l.y1) / (l.x2 - l.x1);
    } else if ((c & code_right) != 0) {
      x = x2;
      y = l.y1 + (x2 - l.x1) * (l.y2 - l.y1) / (l.x2 - l.x1);
    } else if ((c & code_above) != 0) {
      y = y2;
      x = l.x1 + (y2 - l.y1) * (l.x2 - l.x1) / (l.y2 - l.y1);
    } else {
      y = y1;
      x = l.x1 + (y1 - l.y1) * (l.x2 - l.x1) / (l.y2 - l.y1);
    }
    if (c == c1) {
      l.x1 = x;
      l.y1 = y;
      c1 = code(l.p1());
    } else {
      l.x2 = x;
      l.y2 = y;
      c2 = code(l.p2());
    }
  }
  return false;
}

ipoint alignment::offset(const isize& box) const {
  ipoint p;
  switch (flags & center) {
    case right:
      p.x = box.cx;
      break;
    case center:
      p.x = box.cx / 2;
      break;
    default:
      break;
  }
  switch (flags & baseline) {
    case bottom:
      p.y = box.cy;
      break;
    case baseline:
      p.y = box.cy / 2;
      break;
    default:
      break;
  }
  return p;
}

opstream& operator<<(opstream& os, const drect& r) {
  os.writeDouble(r.x1);
  os.writeDouble(r.y1);
  os.writeDouble(r.x2);
  os.writeDouble(r.y2);
  return os;
}

ipstream& operator>>(ipstream& is, drect& r) {
  drect in;
  in.x1 = is.readDouble();
  in.y1 = is.readDouble();
  in.x2 = is.readDouble();
  in.y2 = is.readDouble();
  if (is.good()) r = in;
  return is;
}

opstream& operator<<(opstream& os, const dellipse& e) {
  os.writeDouble(e.a);
  os.writeDouble(e.b);
  os.writeDouble(e.angle_rad);
  return os;
}

ipstream& operator>>(ipstream& is, dellipse& e) {
  dellipse in;
  in.a = is.readDouble();
  in.b = is.readDouble();
  in.angle_rad = is.readDouble();
  if (is.good()) e = in;
  return is;
}

}  // namespace kyo
