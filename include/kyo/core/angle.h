// Angles in radians and their text forms. `rad` is a plain angle with the angle formatter
// (degrees, minutes, seconds and hemisphere letters); `elevation` folds over the poles;
// `grid_bearing` and `true_bearing` are clockwise bearings in [0, 2 pi) from grid and true north,
// two types that convert into each other only through a stated grid convergence.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

#include <kyo/kyoutils_export.h>

namespace kyo {

/// An angle in radians, with no range of its own until normalize() is asked for.
class KYO_EXPORT rad {
 public:
  /// The eight ready-made formats (the degree sign is the byte 0xB0):
  /// 0 "%+04d°%08.5m'" signed degrees and decimal minutes; 1 "%+04d°%02m'%06.3s\"" with seconds;
  /// 2 "%03d°%08.5m'" and 3 "%03d°%02m'%06.3s\"" unsigned; 4 "%02d°%08.5m'%1h" and
  /// 5 "%02d°%02m'%06.3s\"%1h" latitude with N/S; 6 "%03d°%08.5m'%2h" and
  /// 7 "%03d°%02m'%06.3s\"%2h" longitude with E/W.
  static constexpr char format_str[8][21] = {"%+04d\xB0%08.5m'",   "%+04d\xB0%02m'%06.3s\"",
                                             "%03d\xB0%08.5m'",    "%03d\xB0%02m'%06.3s\"",
                                             "%02d\xB0%08.5m'%1h", "%02d\xB0%02m'%06.3s\"%1h",
                                             "%03d\xB0%08.5m'%2h", "%03d\xB0%02m'%06.3s\"%2h"};

  /// The longest text as_string returns: its buffer of 32 characters holds 31 and the terminator.
  static constexpr std::size_t max_text = 31;

  /// A rad converts to and from its radians freely; it is a plain angle.
  constexpr rad(double radians = 0) noexcept : value_(radians) {}
  constexpr operator double() const noexcept { return value_; }
  [[nodiscard]] constexpr double value() const noexcept { return value_; }

  /// The signed turn from `other` to this, in [-pi, pi]: each angle is first reduced keeping its
  /// sign, sgn(a) fmod(|a|, 2 pi), and a difference beyond pi is brought back by 2 pi.
  [[nodiscard]] rad difference(const rad& other) const;

  /// Brings the angle into [-pi, pi).
  rad& normalize();

  /// The angle as text by `format`, whose directives are '%', up to five flag, width and precision
  /// characters (anything but a letter), and a letter:
  ///   %d degrees, %m minutes within the degree, %s seconds within the minute, e.g. "%03d",
  ///   "%08.5m"; %h '+' or '-' by the sign, %1h 'N' or 'S', %2h 'E' or 'W' (zero counts as north
  ///   and east);
  ///   %% a '%'.
  /// The finest of d, m and s (the first one among equals) sets the rounding: the whole angle is
  /// rounded once to its precision, so 59.999996' at five decimals carries into the next degree.
  /// A directive with '.' prints with decimals, one without prints a truncated whole number; '+'
  /// is passed on as printf's flag; only a d directive with '+' or '-' shows a '-' for a negative
  /// angle, kept even for whole degree 0 ("%+04d" of -0.5 gives "-000") and for a negative angle
  /// that rounds to zero. The text is not wrapped: 359.96 with "%5.1d" gives "360.0".
  /// Failures are visible and safe: a directive of more than five characters between '%' and the
  /// letter, an unknown letter, %h with anything but 0, 1 or 2 before the 'h', a width or precision
  /// above the printf caps, and a '%' without a letter up to the end are copied literally; other
  /// characters inside a directive (blanks, '#', '%') are ignored; a degree value no integer can
  /// hold prints as "%.0f" would ("nan", "inf"). The text is cut at `max_text` characters. A null
  /// format gives an empty text.
  [[nodiscard]] std::string as_string(const char* format) const;
  [[nodiscard]] std::string as_string(std::string_view format) const;

 protected:
  double value_ = 0;
};

/// A latitude-like angle; normalized, it lies in [-pi/2, pi/2].
class KYO_EXPORT elevation : public rad {
 public:
  constexpr elevation(double radians = 0) noexcept : rad(radians) {}
  constexpr elevation(const rad& r) noexcept : rad(r) {}

  /// Normalizes as a rad, then folds an angle beyond a pole back over it: 100 degrees becomes 80,
  /// -100 becomes -80.
  elevation& normalize();
};

/// The two norths a bearing can be measured from. A grid bearing is a true bearing less the
/// grid convergence, a true bearing a grid bearing plus it.
struct KYO_EXPORT grid_north {
  static constexpr double convergence_sign = -1;
};
struct KYO_EXPORT true_north {
  static constexpr double convergence_sign = 1;
};

/// A bearing clockwise from `North`, held in [0, 2 pi). Bearings from the two norths are two
/// types (grid_bearing, true_bearing) that convert into each other only through a stated grid
/// convergence.
template <class North>
class KYO_EXPORT basic_bearing {
 public:
  constexpr basic_bearing() noexcept = default;
  /// The bearing of `radians`, brought into [0, 2 pi).
  explicit basic_bearing(double radians);
  /// The bearing of the vector (de east, dn north); 0 when both are exactly 0.
  basic_bearing(double de, double dn);
  /// The bearing of `b`, measured from the other north, under the grid convergence: a grid
  /// bearing is t - convergence, a true bearing g + convergence.
  template <class Other>
  requires(!std::is_same_v<Other, North>)
      basic_bearing(const basic_bearing<Other>& b, const rad& convergence)
      : basic_bearing(b.value() + North::convergence_sign * convergence.value()) {}
  /// A bearing from the other north is never taken without a convergence.
  template <class Other>
  requires(!std::is_same_v<Other, North>) basic_bearing(const basic_bearing<Other>&)
  = delete;

  /// The bearing in radians; explicit, so that a bearing never slips into a rad or the other
  /// bearing type unnoticed.
  constexpr explicit operator double() const noexcept { return value_; }
  [[nodiscard]] constexpr double value() const noexcept { return value_; }
  [[nodiscard]] constexpr rad angle() const noexcept { return value_; }

  /// The signed turn from `other` to this, in [-pi, pi] (a difference of exactly pi stays pi).
  [[nodiscard]] rad diff(const basic_bearing& other) const;

  /// The bearing as text; see rad::as_string.
  [[nodiscard]] std::string as_string(const char* format) const {
    return rad(value_).as_string(format);
  }
  [[nodiscard]] std::string as_string(std::string_view format) const {
    return rad(value_).as_string(format);
  }

 private:
  double value_ = 0;
};

extern template class basic_bearing<grid_north>;
extern template class basic_bearing<true_north>;

/// A bearing clockwise from grid north.
using grid_bearing = basic_bearing<grid_north>;
/// A bearing clockwise from true north.
using true_bearing = basic_bearing<true_north>;

}  // namespace kyo
