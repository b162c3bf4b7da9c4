// A `variable` is a small tagged value for report fields: a text, a number, an angle, a
// date-time or an owned list of numeric servers, with a default format and an optional unit
// label. as_string renders it with a caller's format or its own.
#pragma once

#include <cstddef>
#include <string>

#include <kyo/kyoutils_export.h>

namespace kyo {

class numeric_server_list;

/// A typed value with a default output format.
class KYO_EXPORT variable {
 public:
  /// The kinds of value. Other values may be stored; they render as an empty text.
  enum var_type : int {
    text_type = 1,         ///< `text`
    number_type = 2,       ///< `value`
    angle_type = 3,        ///< `value`, radians
    date_time_type = 4,    ///< `value`, a timedate (seconds since 1 January 1901)
    server_list_type = 5,  ///< the owned numeric_server_list
  };

  /// The longest text as_string returns; longer results are cut.
  static constexpr std::size_t max_text = 4095;

  /// A value of type `t` with `format` (null: empty) and the first 3 characters of `units` (null:
  /// none).
  variable(var_type t, double value, const char* format, const char* units);
  /// A text (type 1) with `format`, "%s" when null.
  explicit variable(const std::string& text, const char* format = nullptr);
  /// A list of numeric servers (type 5); the variable takes over `list`, which must have been
  /// made with new.
  explicit variable(numeric_server_list& list);
  variable(const variable&) = delete;
  variable& operator=(const variable&) = delete;
  /// Deletes the list when the type is 5.
  ~variable();

  /// Type, value and format (null: empty); the units are replaced only when `units` is not
  /// null, and are otherwise left empty by set_vartyp.
  void set(var_type t, double value, const char* format, const char* units);
  /// A text with `format`, "%s" when null.
  void set(const std::string& text, const char* format = nullptr);
  /// Takes over `list` (made with new) as type 5; setting the list it already holds keeps it.
  void set(numeric_server_list& list);
  /// Deletes the owned list when the present type is 5, then sets the type and empties the units.
  void set_vartyp(var_type t);

  /// The value as text by `format`, or by the variable's own format when `format` is null or
  /// empty. Type 1 prints the text and type 2 the value through one C conversion (format_one:
  /// "%-10s", "%.2f"); the directives must be of the value's kind: "%d" for a number, a second
  /// directive, "%n", "*" widths and over-long widths or precisions are copied literally, so a
  /// wrong format shows in the text. Type 3 prints through rad::as_string, type 4 through
  /// timedate::as_string; any other type (5 included) gives an empty text. The text is cut at
  /// max_text characters. The units are not added.
  [[nodiscard]] std::string as_string(const char* format = nullptr) const;

  [[nodiscard]] var_type get_type() const noexcept { return type_; }
  /// Set to 1 by every constructor and every set.
  [[nodiscard]] int is_defined() const noexcept { return defined_; }
  /// Marks the variable as undefined (0) or defined, for fields that have no value.
  void set_defined(int defined) noexcept { defined_ = defined; }
  [[nodiscard]] const std::string& get_text() const noexcept { return text_; }
  [[nodiscard]] double get_value() const noexcept { return value_; }
  [[nodiscard]] const std::string& get_format() const noexcept { return format_; }
  [[nodiscard]] std::string get_units() const { return units_; }
  /// The owned list while the type is 5, else null.
  [[nodiscard]] numeric_server_list* get_servers() const noexcept { return servers_; }

 private:
  void set_units(const char* units);

  var_type type_ = text_type;
  int defined_ = 1;
  std::string text_;
  double value_ = 0;
  numeric_server_list* servers_ = nullptr;
  std::string format_;
  char units_[4] = {};
};

}  // namespace kyo
