// The library's table of display fonts: device-independent logical font records, addressed by
// index, with the adjustments a display or printer applies before creating a font. Heights and
// widths are held at 72 units per inch (a negative height is the character height in points); a
// device layer takes a resolved record and scales it to its own units.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <kyo/kyoutils_export.h>

namespace kyo {

/// Output precision that prefers TrueType faces.
inline constexpr std::uint8_t out_tt_precis = 4;
/// Font weights.
inline constexpr std::int32_t fw_dontcare = 0;
inline constexpr std::int32_t fw_normal = 400;
inline constexpr std::int32_t fw_bold = 700;

/// A logical font description, field for field as the platform's record.
struct KYO_EXPORT logfont {
  static constexpr std::size_t face_size = 32;  ///< the face name's field, terminator included

  std::int32_t height = 0;       ///< negative: character height; positive: cell height; 0: default
  std::int32_t width = 0;        ///< average character width; 0: the face's own
  std::int32_t escapement = 0;   ///< angle of the text line, tenths of a degree
  std::int32_t orientation = 0;  ///< angle of each character's base line, tenths of a degree
  std::int32_t weight = 0;       ///< fw_dontcare, fw_normal, fw_bold or another 0..1000
  std::uint8_t italic = 0;
  std::uint8_t underline = 0;
  std::uint8_t strike_out = 0;
  std::uint8_t char_set = 0;
  std::uint8_t out_precision = 0;
  std::uint8_t clip_precision = 0;
  std::uint8_t quality = 0;
  std::uint8_t pitch_and_family = 0;
  char face_name[face_size] = {};

  /// Copies `face` into face_name, cut at 31 characters and terminated.
  void set_face(std::string_view face) noexcept;
  /// The face name up to its terminator.
  [[nodiscard]] std::string_view face() const noexcept;

  friend bool operator==(const logfont&, const logfont&) = default;
};

/// One entry of the font table: a logical font and how its size follows the device's mapping.
class KYO_EXPORT font_item {
 public:
  /// type_scaled (0): under the isotropic and anisotropic mappings the size follows the window to
  /// viewport scale, like the drawing; type_device (1): the size stays in device inches.
  enum type_t : int { type_scaled = 0, type_device = 1 };

  /// A zeroed record with `face` (null: empty; cut at 31 characters), `height` and output
  /// precision out_tt_precis.
  font_item(const char* face, int height, type_t type);
  font_item(const logfont& lf, type_t type) : lf_(lf), type_(type) {}

  [[nodiscard]] const logfont& get_logfont() const noexcept { return lf_; }
  [[nodiscard]] logfont& get_logfont() noexcept { return lf_; }
  [[nodiscard]] type_t type() const noexcept { return type_; }

 private:
  logfont lf_;
  type_t type_ = type_scaled;
};

/// A growable table of font entries addressed by index; removed entries leave empty slots that
/// later additions reuse. Used from the user-interface thread; not locked.
class KYO_EXPORT font_table {
 public:
  /// Adjustments applied to a record before a font is created from it, e.g. a zoom or print
  /// scale, emphasis, rotation or another face. The default changes nothing.
  struct KYO_EXPORT data {
    /// Factors for height and width; a factor that is not finite and positive is ignored. The
    /// result is rounded half away from zero and never becomes 0 from a non-zero size (0 would
    /// mean the default size).
    double height_scale = 1;
    double width_scale = 1;
    /// Replaces the weight when not fw_dontcare.
    std::int32_t weight = fw_dontcare;
    /// Replace the record's flags when set.
    std::optional<bool> italic;
    std::optional<bool> underline;
    std::optional<bool> strike_out;
    /// Replaces both escapement and orientation (tenths of a degree) when set.
    std::optional<std::int32_t> rotation;
    /// Replaces the face name when not empty (cut at 31 characters).
    std::string face;
  };

  /// Fills the table with its two standard entries: 0 "Arial" and 1 "Courier New", both of
  /// height -10 (10 points) and type_scaled.
  font_table();

  /// Stores a copy of `item` in the first empty slot, or appends it; returns its index.
  int add(const font_item& item);
  /// Wraps `lf` in a new entry of `type` and adds it.
  int add(const logfont& lf, font_item::type_t type);
  /// Empties slot `index`; false when it was empty or outside the table.
  bool remove(int index);

  /// Number of slots, empty ones included.
  [[nodiscard]] int size() const noexcept { return static_cast<int>(slots_.size()); }
  /// The entry at `index`, null for an empty slot or an index outside the table.
  [[nodiscard]] const font_item* item(int index) const noexcept;
  /// A copy of the entry's record; nothing for an empty slot or an index outside the table.
  [[nodiscard]] std::optional<logfont> get_logfont(int index) const;

  /// Applies `d` to the stored record of entry `index`; false for an empty or missing slot.
  bool set_data(int index, const data& d);
  /// Applies `d` to `lf`.
  static void set_data(logfont& lf, const data& d);

  /// The record a device creates for entry `index`: a copy adjusted by `adjust` when given, still
  /// at 72 units per inch. Nothing for an empty slot or an index outside the table.
  [[nodiscard]] std::optional<logfont> resolve(int index, const data* adjust) const;

 private:
  std::vector<std::optional<font_item>> slots_;
};

/// The library's single font table, built on first use (safely from any thread).
KYO_EXPORT font_table& get_font_table();

}  // namespace kyo
