#include <kyo/graphics/mobile_shape.h>

#include <algorithm>
#include <cmath>

#include <kyo/graphics/viewport.h>

namespace kyo {

namespace {

const stream_registration<mobile_shape> mobile_shape_registration("mobile_shape");

// The smallest stored component is a null pointer: one byte.
constexpr std::uint64_t min_component_bytes = 1;

}  // namespace

mobile_shape::mobile_shape(server* parent) : server(parent, "Untitled") {}

mobile_shape::mobile_shape(server* parent, const std::string& name) : server(parent, name) {}

mobile_shape::mobile_shape(const mobile_shape& other)
    : streamable(other), server_lock(), server(other), bounds_(other.bounds_) {
  components_.reserve(other.components_.size());
  for (const auto& c : other.components_)
    components_.push_back(c->clone());
}

mobile_shape::mobile_shape(streamable_init_t) : server(streamable_init) {}

mobile_shape::~mobile_shape() = default;

void mobile_shape::add(std::unique_ptr<shape_component> c) {
  if (c == nullptr) return;
  const drect b = c->get_bounds();
  components_.push_back(std::move(c));
  bounds_ = components_.size() == 1 ? b : bounds_ | b;
}

void mobile_shape::modify(std::unique_ptr<shape_component> c, int index) {
  if (c == nullptr || index < 0) return;
  const auto at = static_cast<std::size_t>(index);
  while (components_.size() <= at)
    components_.push_back(std::make_unique<shape_line>());
  components_[at] = std::move(c);
  compute_bounds();
}

bool mobile_shape::destroy(int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= components_.size()) return false;
  components_.erase(components_.begin() + index);
  compute_bounds();
  return true;
}

const shape_component* mobile_shape::get(int index) const {
  if (index < 0 || static_cast<std::size_t>(index) >= components_.size()) return nullptr;
  return components_[static_cast<std::size_t>(index)].get();
}

bool mobile_shape::is_empty() const {
  return std::all_of(components_.begin(), components_.end(),
                     [](const auto& c) { return c->is_empty(); });
}

void mobile_shape::scale(const dsize& s) {
  for (const auto& c : components_)
    c->scale(s);
  bounds_.x1 *= s.cx;
  bounds_.x2 *= s.cx;
  bounds_.y1 *= s.cy;
  bounds_.y2 *= s.cy;
}

void mobile_shape::shift(const dsize& s) {
  for (const auto& c : components_)
    c->shift(s);
  bounds_.offset(s.cx, s.cy);
}

void mobile_shape::compute_bounds() {
  bounds_ = drect::null_rect;
  for (std::size_t i = 0; i < components_.size(); ++i) {
    const drect b = components_[i]->get_bounds();
    bounds_ = i == 0 ? b : bounds_ | b;
  }
}

std::string mobile_shape::as_string() const {
  std::string out;
  for (const auto& c : components_)
    out += c->as_string();
  return out;
}

void mobile_shape::draw(viewport& v, const dpoint& position, grid_bearing heading,
                        const dsize& offset, grid_bearing rotation, bool to_scale,
                        double scale) const {
  if (!to_scale) {
    const dsize fixed = v.mm_to_world({fixed_size_mm, fixed_size_mm});
    const double extent = std::max(bounds_.width(), bounds_.height()) * scale;
    if (extent != 0 && std::isfinite(extent)) scale = (fixed.cx / extent) * scale;
  }
  const viewport::transformation saved = v.get_transformation();
  const double angle = -(heading.value() + rotation.value());
  v.scale({scale, scale});
  v.translate({-offset.cx * scale, -offset.cy * scale});
  v.rotate(angle);
  // The window's centre passes through rotatePoint like the outline, and the origin is then
  // moved from there onto the position.
  const dpoint centre = v.get_window().center();
  v.rotatePoint(centre, centre, angle);
  v.translate(position - centre);
  for (const auto& c : components_)
    c->draw(v);
  v.set_transformation(saved);
}

bool mobile_shape::operator==(const mobile_shape& o) const {
  return get_name() == o.get_name() && bounds_ == o.bounds_ &&
         std::equal(components_.begin(), components_.end(), o.components_.begin(),
                    o.components_.end(), [](const auto& a, const auto& b) { return *a == *b; });
}

void mobile_shape::Streamer::Write(opstream& os, const mobile_shape& s) {
  write_base<server>(os, s);
  os << s.get_name();
  os.writeWord32(static_cast<std::uint32_t>(s.components_.size()));
  for (const auto& c : s.components_)
    writePtr(os, c.get());
  os << s.bounds_;
}

void mobile_shape::Streamer::Read(ipstream& is, mobile_shape& s, std::uint32_t /*version*/) {
  read_base<server>(is, s);
  std::string name;  // the name once more, as the format has it
  is >> name;
  const std::uint32_t count = is.readWord32();
  if (!is.check_count(count, min_component_bytes)) return;
  for (std::uint32_t i = 0; i < count; ++i) {
    shape_component* c = nullptr;
    readPtr(is, c);
    if (!is) return;
    if (c == nullptr || c->owned_) {
      is.setstate(stream_badbit,
                  c == nullptr ? "a null shape component" : "a shape component held twice");
      return;
    }
    is.claim(c);
    c->owned_ = true;
    s.components_.emplace_back(c);
  }
  is >> s.bounds_;
}

}  // namespace kyo
