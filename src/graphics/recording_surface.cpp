#include <kyo/graphics/recording_surface.h>

#include <algorithm>

namespace kyo {

namespace {

std::string xy(ipoint p) {
  return std::to_string(p.x) + "," + std::to_string(p.y);
}

std::string ltrb(const irect& r) {
  return std::to_string(r.left) + "," + std::to_string(r.top) + "," + std::to_string(r.right) +
         "," + std::to_string(r.bottom);
}

}  // namespace

recording_surface::recording_surface(const device_caps& caps, int logical_per_device, isize cell)
    : caps_(caps), scale_(std::max(1, logical_per_device)), cell_(cell) {}

ipoint recording_surface::dp_to_lp(ipoint p) const {
  return {p.x * scale_, p.y * scale_};
}

ipoint recording_surface::lp_to_dp(ipoint p) const {
  return {p.x / scale_, p.y / scale_};
}

void recording_surface::set_pen(colour c) {
  calls_.push_back("pen " + c.as_string());
}

void recording_surface::move_to(ipoint p) {
  calls_.push_back("move " + xy(p));
}

void recording_surface::line_to(ipoint p) {
  calls_.push_back("line " + xy(p));
}

void recording_surface::set_pixel(ipoint p, colour c) {
  calls_.push_back("pixel " + xy(p) + " " + c.as_string());
}

void recording_surface::text_out(ipoint p, std::string_view text, alignment align, colour c) {
  calls_.push_back("text " + xy(p) + " a" + std::to_string(align.flags) + " " + c.as_string() +
                   " " + std::string(text));
}

isize recording_surface::text_extent(std::string_view text) const {
  return {static_cast<int>(std::min<std::size_t>(text.size(), 1u << 20)) * cell_.cx, cell_.cy};
}

void recording_surface::fill_rect(const irect& r, colour c) {
  calls_.push_back("fill " + ltrb(r) + " " + c.as_string());
}

void recording_surface::set_clip_rect(const irect& r) {
  calls_.push_back("clip " + ltrb(r));
}

void recording_surface::clear_clip() {
  calls_.push_back("unclip");
}

}  // namespace kyo
