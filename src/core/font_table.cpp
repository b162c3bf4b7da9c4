#include <kyo/core/font_table.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace kyo {

namespace {

std::int32_t scaled(std::int32_t size, double factor) {
  if (!std::isfinite(factor) || factor <= 0 || size == 0) return size;
  constexpr double lowest = std::numeric_limits<std::int32_t>::min();
  constexpr double highest = std::numeric_limits<std::int32_t>::max();
  const double v = std::round(static_cast<double>(size) * factor);
  if (v <= lowest) return std::numeric_limits<std::int32_t>::min();
  if (v >= highest) return std::numeric_limits<std::int32_t>::max();
  if (v == 0) return size < 0 ? -1 : 1;
  return static_cast<std::int32_t>(v);
}

}  // namespace

void logfont::set_face(std::string_view face) noexcept {
  const std::size_t n = std::min(face.size(), face_size - 1);
  std::memcpy(face_name, face.data(), n);
  std::memset(face_name + n, 0, face_size - n);
}

std::string_view logfont::face() const noexcept {
  return std::string_view(face_name, strnlen(face_name, face_size));
}

font_item::font_item(const char* face, int height, type_t type) : type_(type) {
  lf_.set_face(face != nullptr ? face : "");
  lf_.height = height;
  lf_.out_precision = out_tt_precis;
}

font_table::font_table() {
  slots_.emplace_back(font_item("Arial", -10, font_item::type_scaled));
  slots_.emplace_back(font_item("Courier New", -10, font_item::type_scaled));
}

int font_table::add(const font_item& item) {
  for (std::size_t i = 0; i < slots_.size(); ++i) {
    if (!slots_[i]) {
      slots_[i] = item;
      return static_cast<int>(i);
    }
  }
  slots_.emplace_back(item);
  return static_cast<int>(slots_.size() - 1);
}

int font_table::add(const logfont& lf, font_item::type_t type) {
  return add(font_item(lf, type));
}

bool font_table::remove(int index) {
  if (item(index) == nullptr) return false;
  slots_[static_cast<std::size_t>(index)].reset();
  return true;
}

const font_item* font_table::item(int index) const noexcept {
  if (index < 0 || index >= size()) return nullptr;
  const auto& slot = slots_[static_cast<std::size_t>(index)];
  return slot ? &*slot : nullptr;
}

std::optional<logfont> font_table::get_logfont(int index) const {
  const font_item* it = item(index);
  if (it == nullptr) return std::nullopt;
  return it->get_logfont();
}

bool font_table::set_data(int index, const data& d) {
  if (item(index) == nullptr) return false;
  set_data(slots_[static_cast<std::size_t>(index)]->get_logfont(), d);
  return true;
}

void font_table::set_data(logfont& lf, const data& d) {
  lf.height = scaled(lf.height, d.height_scale);
  lf.width = scaled(lf.width, d.width_scale);
  if (d.weight != fw_dontcare) lf.weight = d.weight;
  if (d.italic) lf.italic = *d.italic ? 1 : 0;
  if (d.underline) lf.underline = *d.underline ? 1 : 0;
  if (d.strike_out) lf.strike_out = *d.strike_out ? 1 : 0;
  if (d.rotation) lf.escapement = lf.orientation = *d.rotation;
  if (!d.face.empty()) lf.set_face(d.face);
}

std::optional<logfont> font_table::resolve(int index, const data* adjust) const {
  std::optional<logfont> lf = get_logfont(index);
  if (lf && adjust != nullptr) set_data(*lf, *adjust);
  return lf;
}

font_table& get_font_table() {
  static font_table table;
  return table;
}

}  // namespace kyo
