// Colours as the drawing devices take them: one 32-bit value 0x00BBGGRR (red in the low byte), the
// platform's layout, so that a colour kept in a settings file as an integer keeps its meaning.
#pragma once

#include <cstdint>
#include <string>

#include <kyo/kyoutils_export.h>

namespace kyo {

/// An RGB colour held as 0x00BBGGRR.
class KYO_EXPORT colour {
 public:
  constexpr colour() noexcept = default;
  /// The colour of a platform value 0x00BBGGRR; the top byte is ignored.
  constexpr explicit colour(std::uint32_t bgr) noexcept : value_(bgr & 0xFFFFFFu) {}
  constexpr colour(std::uint8_t r, std::uint8_t g, std::uint8_t b) noexcept
      : value_(std::uint32_t(r) | std::uint32_t(g) << 8 | std::uint32_t(b) << 16) {}

  [[nodiscard]] constexpr std::uint32_t value() const noexcept { return value_; }
  [[nodiscard]] constexpr std::uint8_t red() const noexcept { return value_ & 0xFF; }
  [[nodiscard]] constexpr std::uint8_t green() const noexcept { return (value_ >> 8) & 0xFF; }
  [[nodiscard]] constexpr std::uint8_t blue() const noexcept { return (value_ >> 16) & 0xFF; }

  /// "#rrggbb" in lower-case hexadecimal, as SVG and the recording surface write it.
  [[nodiscard]] std::string as_string() const;

  friend constexpr bool operator==(colour, colour) = default;

  static const colour black;
  static const colour white;
  static const colour light_gray;
  static const colour gray;
  static const colour light_red;
  static const colour light_green;
  static const colour light_yellow;
  static const colour light_blue;
  static const colour light_magenta;
  static const colour light_cyan;

 private:
  std::uint32_t value_ = 0;
};

inline constexpr colour colour::black{0, 0, 0};
inline constexpr colour colour::white{255, 255, 255};
inline constexpr colour colour::light_gray{192, 192, 192};
inline constexpr colour colour::gray{128, 128, 128};
inline constexpr colour colour::light_red{255, 0, 0};
inline constexpr colour colour::light_green{0, 255, 0};
inline constexpr colour colour::light_yellow{255, 255, 0};
inline constexpr colour colour::light_blue{0, 0, 255};
inline constexpr colour colour::light_magenta{255, 0, 255};
inline constexpr colour colour::light_cyan{0, 255, 255};

}  // namespace kyo
