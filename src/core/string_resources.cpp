#include <kyo/core/string_resources.h>

#include <algorithm>

namespace kyo {

namespace {

// Kept ordered by number: lookups search it by bisection.
constexpr string_resource table[] = {
    {string_id::ns_required, "'N' or 'S' required"},
    {string_id::ew_required, "'E' or 'W' required"},
    {string_id::minutes_too_large, "Minutes must be less than 60"},
    {string_id::seconds_too_large, "Seconds must be less than 60"},
    {string_id::latitude_range, "Latitude out of range"},
    {string_id::longitude_range, "Longitude out of range"},
    {string_id::name_required, "Name must be entered"},
};

constexpr bool ordered() {
  for (std::size_t i = 1; i < std::size(table); ++i) {
    if (table[i - 1].id >= table[i].id) return false;
  }
  return true;
}
static_assert(ordered(), "the string table must be ordered by number, without repeats");

}  // namespace

std::string_view load_string(unsigned long id) noexcept {
  const auto it =
      std::lower_bound(std::begin(table), std::end(table), id,
                       [](const string_resource& r, unsigned long v) { return r.id < v; });
  if (it == std::end(table) || it->id != id) return {};
  return it->text.substr(0, max_resource_text);
}

std::span<const string_resource> string_resources() noexcept {
  return table;
}

}  // namespace kyo
