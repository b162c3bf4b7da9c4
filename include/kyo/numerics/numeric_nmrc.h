// Numerics of measured values: `numeric_nmrc` shows a number with a unit factor, a label of at
// most three characters, a field width and decimals, and marks a value too wide for its field
// with '+' or '-'. Its eight kinds add unit tables (distance, time interval, speed, tension,
// pressure, emf, memory) or degrees (bearing); the tables' constants are here.
#pragma once

#include <cstdint>
#include <iterator>
#include <string>

#include <kyo/kyoutils_export.h>
#include <kyo/numerics/numeric.h>

namespace kyo {

/// One row of a unit table: the label and the factor from the server's base unit.
struct unit_row {
  const char* label;
  double factor;
};

/// Unit indexes of distance_nmrc (base unit: metre).
namespace distance_unit {
inline constexpr int metre = 0;
inline constexpr int foot = 1;            ///< the international foot
inline constexpr int us_survey_foot = 2;  ///< 3937/1200 feet per metre, also labelled "ft"
inline constexpr int nautical_mile = 3;
}  // namespace distance_unit

/// Unit indexes of time_interval_nmrc (base unit: second).
namespace time_unit {
inline constexpr int second = 0;
inline constexpr int minute = 1;
inline constexpr int hour = 2;
inline constexpr int day = 3;
inline constexpr int week = 4;
inline constexpr int compound = 5;  ///< "1d2h03m04s"
}  // namespace time_unit

/// Unit indexes of speed_nmrc (base unit: metre per second).
namespace speed_unit {
inline constexpr int knot = 0;
inline constexpr int metre_per_second = 1;
inline constexpr int foot_per_second = 2;
}  // namespace speed_unit

/// Unit indexes of tension_nmrc (base unit: newton).
namespace tension_unit {
inline constexpr int newton = 0;
inline constexpr int kilogram_force = 1;
inline constexpr int pound_force = 2;
}  // namespace tension_unit

/// Unit indexes of pressure_nmrc (base unit: kilopascal).
namespace pressure_unit {
inline constexpr int kilopascal = 0;
inline constexpr int psi = 1;
inline constexpr int millibar = 2;  ///< thousandths of a standard atmosphere, 1000/101.325 per kPa
}  // namespace pressure_unit

/// Unit indexes of emf_nmrc (base unit: volt).
namespace emf_unit {
inline constexpr int volt = 0;
}  // namespace emf_unit

/// Unit indexes of memory_nmrc (base unit: byte).
namespace memory_unit {
inline constexpr int byte = 0;
inline constexpr int kilobyte = 1;
inline constexpr int megabyte = 2;
inline constexpr int gigabyte = 3;
inline constexpr int automatic = 4;  ///< the unit is chosen for each value
}  // namespace memory_unit

/// A number shown as value x factor with `precision` decimals in a field of `width` characters,
/// with a unit label that callers show beside it (as_string does not add it).
class KYO_EXPORT numeric_nmrc : public numeric {
 public:
  /// The display options.
  struct nmrc_data {
    int unit_index = 0;   ///< the row of the kind's unit table
    int width = 12;       ///< field width in characters
    int precision = 1;    ///< decimals
    double factor = 1.0;  ///< from the server's base unit to the displayed unit
    char units[4] = {};   ///< the label, at most 3 characters and a terminating zero
  };

  /// The widest field; the text of a numeric never exceeds it.
  static constexpr int max_width = 31;
  /// The width that a width of -1 stands for.
  static constexpr int default_width = 12;

  /// Stream support: the numeric part (after its version word), then unit index, width and
  /// precision (32-bit each), the factor (8-byte IEEE double, little-endian) and the label as
  /// 4 raw bytes including its zero (a label read without one is cut at 3 characters).
  struct KYO_EXPORT Streamer {
    static void Write(opstream& os, const numeric_nmrc& n);
    static void Read(ipstream& is, numeric_nmrc& n, std::uint32_t version);
  };

  /// A numeric of entry `index` with unit index 0. A width of -1 becomes 12 and one above 31
  /// becomes 31; a negative precision becomes 1; `label` is cut at 3 characters (null: none).
  numeric_nmrc(const numeric_server& server, int index, int width, int precision, double factor,
               const char* label) noexcept;
  explicit numeric_nmrc(streamable_init_t) noexcept;

  [[nodiscard]] numeric_nmrc* clone() const override;
  /// The value x factor formatted as printf's "%*.*f" (field width only when `pad` is set) into
  /// at most 31 characters. A text longer than the width becomes `width` copies of '+' (value
  /// above 0) or '-' (zero, negative or NaN) with a '.' at position width - precision - 1 when
  /// the precision is not 0 and that position lies in the field: "+++++.++" for width 8 and
  /// precision 2. Options from configuration texts or streams are used safely: a width above 31
  /// counts as 31, a negative width as a left-aligned field of its size, a negative precision as
  /// printf takes it (6 decimals), a precision above 32 as 32 (such a text never fits).
  /// The sign is printf's: a negative zero prints "-0.0", NaN "nan" or "-nan".
  int as_string(clock_tick t, std::string& out, bool pad) const override;
  void read(ipstream& is, std::uint32_t version) override;
  void write(opstream& os) const override;
  /// Reads "%d,%d,%d,%lf,%3s": unit index, width, precision, factor, label (see
  /// numeric::read_config). Numbers are read in the C locale; one outside the range of its type
  /// ends the reading there. The label field skips blanks and takes at most 3 characters up to
  /// the next blank; a label field of blanks only, or empty, gives an empty label (as written for
  /// one). The width and precision are stored as read (as_string bounds them) and the factor is
  /// not taken from the unit index.
  int read_config(const char* text) override;
  /// Appends "%d,%d,%d,%f,%3s": the factor with six decimals (so 1.9438444924406049 comes back
  /// as 1.943844), the label right-aligned in three characters.
  void write_config(std::string& text) const override;

  /// Completes `d` through fix_nmrc_data (the kinds with a unit table fill factor and label from
  /// its unit index), then stores it.
  virtual void set_nmrc_data(nmrc_data& d);
  /// Completes `d` from its unit index without storing it: factor and label from the table row
  /// when the index lies in the table, unchanged otherwise (time_interval_nmrc then empties the
  /// label). Does nothing here and in bearing_nmrc and memory_nmrc, which have no unit table.
  virtual void fix_nmrc_data(nmrc_data& d) const;

  /// Copies the display options out.
  void get_nmrc_data(nmrc_data& d) const noexcept { d = data_; }
  /// The unit label.
  [[nodiscard]] std::string units() const { return data_.units; }

 protected:
  /// Fills factor and label of `d` from `table` when its unit index lies in it; returns whether.
  static bool complete_from(const unit_row* table, int rows, nmrc_data& d) noexcept;
  /// The shared formatting of `shown` (already multiplied by the factor); `raw` gives the sign
  /// of the overflow mark.
  [[nodiscard]] std::string format_value(double shown, double raw, bool pad) const;
  /// The precision as formatting uses it: 6 for negative ones, at most 32.
  [[nodiscard]] int effective_precision() const noexcept;
  [[nodiscard]] const nmrc_data& data() const noexcept { return data_; }

 private:
  nmrc_data data_;
};

/// What every kind of numeric_nmrc shares: copying, and a stream form that is the numeric_nmrc
/// part behind its 32-bit version word (the kinds keep no data of their own).
template <class Kind>
class KYO_EXPORT numeric_kind : public numeric_nmrc {
 public:
  struct Streamer {
    static void Write(opstream& os, const Kind& n) { n.numeric_kind::write(os); }
    static void Read(ipstream& is, Kind& n, std::uint32_t version) {
      n.numeric_kind::read(is, version);
    }
  };

  [[nodiscard]] numeric_nmrc* clone() const override {
    return new Kind(static_cast<const Kind&>(*this));
  }
  void read(ipstream& is, std::uint32_t) override { read_base<numeric_nmrc>(is, *this); }
  void write(opstream& os) const override { write_base<numeric_nmrc>(os, *this); }
  /// A kind with a unit table fills factor and label of `d` from the row of its unit index (an
  /// index outside the table leaves them); a kind without one leaves `d` as it is.
  void fix_nmrc_data(nmrc_data& d) const override {
    if constexpr (requires { Kind::unit_table; }) complete_from_table(d);
  }

 protected:
  using numeric_nmrc::numeric_nmrc;
  /// Unit index 0 of the kind's unit table; a negative precision becomes `default_precision`.
  numeric_kind(const numeric_server& server, int index, int width, int precision,
               int default_precision) noexcept
      : numeric_nmrc(server, index, width, precision < 0 ? default_precision : precision,
                     Kind::unit_table[0].factor, Kind::unit_table[0].label) {}
  /// Fills factor and label of `d` from the kind's unit table; false when its unit index lies
  /// outside it.
  static bool complete_from_table(nmrc_data& d) noexcept {
    return complete_from(Kind::unit_table, static_cast<int>(std::size(Kind::unit_table)), d);
  }
};

/// A bearing or angle held in radians, shown in degrees; the label says which ("°T" true,
/// "°G" grid, "°" plain). No unit table.
class KYO_EXPORT bearing_nmrc : public numeric_kind<bearing_nmrc> {
 public:
  /// Factor 1.0; a negative precision becomes 1.
  bearing_nmrc(const numeric_server& server, int index, int width, int precision,
               const char* label) noexcept;
  explicit bearing_nmrc(streamable_init_t) noexcept : numeric_kind(streamable_init) {}
  /// Degrees (value x 180 / pi) rounded half away from zero to the precision; a result of
  /// exactly 360 becomes 0 (359.96 with one decimal prints 0.0); then the shared formatting of
  /// the degrees times the factor (1.0 unless the options set another, such as 1/360 to show
  /// turns).
  int as_string(clock_tick t, std::string& out, bool pad) const override;
};

/// A distance held in metres: "m", "ft" (international), "ft" (US survey), "nm".
class KYO_EXPORT distance_nmrc : public numeric_kind<distance_nmrc> {
 public:
  static constexpr unit_row unit_table[] = {
      {"m", 1.0}, {"ft", 3.2808398950131235}, {"ft", 3.2808333333333333}, {"nm", 1.0 / 1852.0}};
  /// Unit "m"; a negative precision becomes 2.
  distance_nmrc(const numeric_server& server, int index, int width, int precision) noexcept;
  explicit distance_nmrc(streamable_init_t) noexcept : numeric_kind(streamable_init) {}
};

/// A time interval held in seconds: "s", "m", "h", "d", "w", or the compound form (unit 5).
class KYO_EXPORT time_interval_nmrc : public numeric_kind<time_interval_nmrc> {
 public:
  static constexpr unit_row unit_table[] = {
      {"s", 1.0}, {"m", 1.0 / 60}, {"h", 1.0 / 3600}, {"d", 1.0 / 86400}, {"w", 1.0 / 604800}};
  /// Unit "s"; a negative precision becomes 0.
  time_interval_nmrc(const numeric_server& server, int index, int width, int precision) noexcept;
  explicit time_interval_nmrc(streamable_init_t) noexcept : numeric_kind(streamable_init) {}
  /// Units 0-4: the shared formatting. Unit 5: weeks, days, hours, minutes and seconds, each
  /// truncated toward zero and taken off the value; leading zero parts are left out, seconds are
  /// always written, minutes and seconds with two digits: 93784 s gives "1d2h03m04s", 59 gives
  /// "59s", 3600 gives "1h00m00s". Fractions of a second are dropped; a negative value gives
  /// negative parts ("-1m-5s"); a value of 2^31 weeks or more, or NaN, gives the overflow mark.
  /// No padding.
  int as_string(clock_tick t, std::string& out, bool pad) const override;
  void fix_nmrc_data(nmrc_data& d) const override;
};

/// A speed held in metres per second: "kts", "m/s", "f/s".
class KYO_EXPORT speed_nmrc : public numeric_kind<speed_nmrc> {
 public:
  static constexpr unit_row unit_table[] = {
      {"kts", 1.9438444924406049}, {"m/s", 1.0}, {"f/s", 3.2808398950131235}};
  /// Unit "kts"; a negative precision becomes 1.
  speed_nmrc(const numeric_server& server, int index, int width, int precision) noexcept;
  explicit speed_nmrc(streamable_init_t) noexcept : numeric_kind(streamable_init) {}
};

/// A tension held in newtons: "N", "kgf", "lbf".
class KYO_EXPORT tension_nmrc : public numeric_kind<tension_nmrc> {
 public:
  static constexpr unit_row unit_table[] = {
      {"N", 1.0}, {"kgf", 0.10197162129779283}, {"lbf", 0.22480894309971047}};
  /// Unit "N"; a negative precision becomes 1.
  tension_nmrc(const numeric_server& server, int index, int width, int precision) noexcept;
  explicit tension_nmrc(streamable_init_t) noexcept : numeric_kind(streamable_init) {}
};

/// A pressure held in kilopascals: "kPa", "psi", "mb" (thousandths of a standard atmosphere).
class KYO_EXPORT pressure_nmrc : public numeric_kind<pressure_nmrc> {
 public:
  static constexpr unit_row unit_table[] = {
      {"kPa", 1.0}, {"psi", 0.14503773773020917}, {"mb", 9.869232667160128}};
  /// Unit "kPa"; a negative precision becomes 1.
  pressure_nmrc(const numeric_server& server, int index, int width, int precision) noexcept;
  explicit pressure_nmrc(streamable_init_t) noexcept : numeric_kind(streamable_init) {}
};

/// An electromotive force held in volts: "V".
class KYO_EXPORT emf_nmrc : public numeric_kind<emf_nmrc> {
 public:
  static constexpr unit_row unit_table[] = {{"V", 1.0}};
  /// Unit "V"; a negative precision becomes 1.
  emf_nmrc(const numeric_server& server, int index, int width, int precision) noexcept;
  explicit emf_nmrc(streamable_init_t) noexcept : numeric_kind(streamable_init) {}
};

/// A memory size held in bytes: "b", "kb", "Mb", "Gb" (powers of 1024), or chosen per value.
class KYO_EXPORT memory_nmrc : public numeric_kind<memory_nmrc> {
 public:
  /// The automatic units: label and divisor. Not a unit table: the options of a memory numeric
  /// are never completed from it.
  static constexpr unit_row auto_units[] = {
      {"b", 1.0}, {"kb", 1024.0}, {"Mb", 1048576.0}, {"Gb", 1073741824.0}};
  /// Automatic unit, factor 1.0, no label; a negative precision becomes 1.
  memory_nmrc(const numeric_server& server, int index, int width, int precision) noexcept;
  explicit memory_nmrc(streamable_init_t) noexcept : numeric_kind(streamable_init) {}
  /// Unit 4 (automatic): the unit is the power of 1024 below the value, at most "Gb" ("b" for
  /// values below 1 and for NaN); the value is divided by it and, when the precision is not 0
  /// and the value is not 0, rounded to `precision` significant figures (1023 b with precision
  /// 1 shows "1000.0"); then the shared formatting (without the factor). The chosen label is
  /// kept for shown_units. Any other unit: the shared formatting with factor and label.
  int as_string(clock_tick t, std::string& out, bool pad) const override;
  /// The label of the value shown last in automatic mode (empty before the first), else the
  /// label of the options.
  [[nodiscard]] std::string shown_units() const;

 private:
  mutable char auto_units_[4] = {};
};

}  // namespace kyo
