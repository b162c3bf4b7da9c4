#include <kyo/graphics/shape_component.h>

#include <algorithm>
#include <cstring>

#include <kyo/graphics/viewport.h>
#include <kyo/platform/printf_format.h>

namespace kyo {

namespace {

const stream_registration<shape_line> shape_line_registration("shape_line");
const stream_registration<shape_ellipse> shape_ellipse_registration("shape_ellipse");

std::string metres(double v) {
  return format_one("%7.2f", v) + " m";
}

// A stored point is two doubles.
constexpr std::uint64_t point_bytes = 16;

}  // namespace

shape_component::~shape_component() = default;

bool shape_line::add_at(const dpoint& p, int index) {
  if (index < 0 || static_cast<std::size_t>(index) > points_.size()) return false;
  points_.insert(points_.begin() + index, p);
  return true;
}

bool shape_line::destroy(int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= points_.size()) return false;
  points_.erase(points_.begin() + index);
  return true;
}

bool shape_line::is_valid() const {
  int count = 0;
  for (std::size_t i = 0; i < points_.size(); ++i) {
    if (i == 0 || !(points_[i] == points_[i - 1])) ++count;
  }
  return count > 1;
}

std::unique_ptr<shape_component> shape_line::clone() const {
  return std::make_unique<shape_line>(*this);
}

std::string shape_line::as_string() const {
  std::string out = "   SOL:-\n";
  for (const dpoint& p : points_)
    out += "   X:" + metres(p.x) + "  Y:" + metres(p.y) + "\n";
  return out;
}

void shape_line::draw(viewport& v) const {
  if (points_.empty()) return;
  v.move_abs(points_.front());
  for (std::size_t i = 1; i < points_.size(); ++i)
    v.draw_abs(points_[i]);
}

void shape_line::scale(const dsize& s) {
  for (dpoint& p : points_) {
    p.x *= s.cx;
    p.y *= s.cy;
  }
}

void shape_line::shift(const dsize& s) {
  for (dpoint& p : points_)
    p += s;
}

drect shape_line::get_bounds() const {
  if (points_.empty()) return drect::null_rect;
  drect r(points_.front(), points_.front());
  for (const dpoint& p : points_) {
    r.x1 = std::min(r.x1, p.x);
    r.y1 = std::min(r.y1, p.y);
    r.x2 = std::max(r.x2, p.x);
    r.y2 = std::max(r.y2, p.y);
  }
  return r;
}

bool shape_line::equals(const shape_component& o) const {
  const auto* l = dynamic_cast<const shape_line*>(&o);
  return l != nullptr && l->points_ == points_;
}

void shape_line::Streamer::Write(opstream& os, const shape_line& l) {
  os.writeWord32(static_cast<std::uint32_t>(l.points_.size()));
  for (const dpoint& p : l.points_) {
    os.writeDouble(p.x);
    os.writeDouble(p.y);
  }
}

void shape_line::Streamer::Read(ipstream& is, shape_line& l, std::uint32_t /*version*/) {
  const std::uint32_t count = is.readWord32();
  if (!is.check_count(count, point_bytes)) return;
  std::vector<dpoint> points(count);
  for (dpoint& p : points) {
    p.x = is.readDouble();
    p.y = is.readDouble();
  }
  if (is.good()) l.points_ = std::move(points);
}

void shape_ellipse::transfer(transfer_s& t, int direction) {
  if (direction == transfer_get) {
    t = {centre_.x, centre_.y, ellipse_.a, ellipse_.b};
  } else if (direction == transfer_set) {
    centre_ = {t.centre_x, t.centre_y};
    ellipse_.a = t.hor_radius;
    ellipse_.b = t.ver_radius;
  }
}

std::unique_ptr<shape_component> shape_ellipse::clone() const {
  return std::make_unique<shape_ellipse>(*this);
}

std::string shape_ellipse::as_string() const {
  return "  Ellipse:-\n   Centre X:" + metres(centre_.x) + "  Y:" + metres(centre_.y) +
         "\n   Hor Radius:" + metres(ellipse_.a) + "  Ver Radius:" + metres(ellipse_.b) + "\n";
}

void shape_ellipse::draw(viewport& v) const {
  v.move_abs(centre_);
  v.ellipse(ellipse_);
}

void shape_ellipse::scale(const dsize& s) {
  centre_.x *= s.cx;
  ellipse_.a *= s.cx;
  centre_.y *= s.cy;
  ellipse_.b *= s.cy;
}

void shape_ellipse::shift(const dsize& s) {
  centre_ += s;
}

drect shape_ellipse::get_bounds() const {
  return {centre_.x - ellipse_.a, centre_.y - ellipse_.b, centre_.x + ellipse_.a,
          centre_.y + ellipse_.b};
}

bool shape_ellipse::equals(const shape_component& o) const {
  static_assert(sizeof(dellipse) == 24, "an ellipse is compared as its 24 bytes");
  const auto* e = dynamic_cast<const shape_ellipse*>(&o);
  return e != nullptr && e->centre_ == centre_ &&
         std::memcmp(&e->ellipse_, &ellipse_, sizeof(dellipse)) == 0;
}

void shape_ellipse::Streamer::Write(opstream& os, const shape_ellipse& e) {
  os.writeDouble(e.centre_.x);
  os.writeDouble(e.centre_.y);
  os << e.ellipse_;
}

void shape_ellipse::Streamer::Read(ipstream& is, shape_ellipse& e, std::uint32_t /*version*/) {
  dpoint centre{is.readDouble(), is.readDouble()};
  dellipse shape;
  is >> shape;
  if (!is.good()) return;
  e.centre_ = centre;
  e.ellipse_ = shape;
}

}  // namespace kyo
