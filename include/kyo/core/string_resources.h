// The library's own texts, by number: one table in the code, so that every text the library shows
// lives in one place. Texts are looked up by number as a string resource would be; a subsystem that
// needs a new text adds it to the table in string_resources.cpp under a new number.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include <kyo/kyoutils_export.h>

namespace kyo {

/// One text of the table.
struct string_resource {
  unsigned long id;
  std::string_view text;
};

/// The numbers of the library's texts.
namespace string_id {
inline constexpr unsigned long ns_required = 1010;        ///< "'N' or 'S' required"
inline constexpr unsigned long ew_required = 1011;        ///< "'E' or 'W' required"
inline constexpr unsigned long minutes_too_large = 1012;  ///< "Minutes must be less than 60"
inline constexpr unsigned long seconds_too_large = 1013;  ///< "Seconds must be less than 60"
inline constexpr unsigned long latitude_range = 1014;     ///< "Latitude out of range"
inline constexpr unsigned long longitude_range = 1015;    ///< "Longitude out of range"
inline constexpr unsigned long name_required = 1016;      ///< "Name must be entered"
}  // namespace string_id

/// The longest text a lookup returns, as a string resource loaded into a buffer of 256.
inline constexpr std::size_t max_resource_text = 255;

/// The text of number `id`, cut at max_resource_text characters; empty for a number the table
/// does not hold (a message box built from it then shows an empty text).
KYO_EXPORT std::string_view load_string(unsigned long id) noexcept;

/// The whole table, ordered by number.
KYO_EXPORT std::span<const string_resource> string_resources() noexcept;

}  // namespace kyo
