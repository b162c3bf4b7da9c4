#include <kyo/numerics/variable.h>

#include <algorithm>
#include <cstring>

#include <kyo/core/angle.h>
#include <kyo/numerics/numeric_server_list.h>
#include <kyo/platform/printf_format.h>
#include <kyo/time/timedate.h>

namespace kyo {

variable::variable(var_type t, double value, const char* format, const char* units)
    : type_(t), value_(value), format_(format != nullptr ? format : "") {
  set_units(units);
}

variable::variable(const std::string& text, const char* format)
    : type_(text_type), text_(text), format_(format != nullptr ? format : "%s") {}

variable::variable(numeric_server_list& list) : type_(server_list_type), servers_(&list) {}

variable::~variable() {
  if (type_ == server_list_type) delete servers_;
}

void variable::set_units(const char* units) {
  std::memset(units_, 0, sizeof units_);
  if (units != nullptr) std::strncpy(units_, units, 3);
}

void variable::set_vartyp(var_type t) {
  if (type_ == server_list_type) {
    delete servers_;
    servers_ = nullptr;
  }
  type_ = t;
  set_units(nullptr);
}

void variable::set(var_type t, double value, const char* format, const char* units) {
  set_vartyp(t);
  defined_ = 1;
  value_ = value;
  format_ = format != nullptr ? format : "";
  if (units != nullptr) set_units(units);
}

void variable::set(const std::string& text, const char* format) {
  set_vartyp(text_type);
  defined_ = 1;
  text_ = text;
  format_ = format != nullptr ? format : "%s";
}

void variable::set(numeric_server_list& list) {
  // Setting the list already held must not delete it on the way.
  if (type_ == server_list_type && servers_ == &list) servers_ = nullptr;
  set_vartyp(server_list_type);
  defined_ = 1;
  servers_ = &list;
}

std::string variable::as_string(const char* format) const {
  const std::string_view f =
      format != nullptr && *format != '\0' ? std::string_view(format) : std::string_view(format_);
  std::string text;
  switch (type_) {
    case text_type:
      text = format_one(f, std::string_view(text_));
      break;
    case number_type:
      text = format_one(f, value_);
      break;
    case angle_type:
      text = rad(value_).as_string(f);
      break;
    case date_time_type:
      text = timedate(value_).as_string(f);
      break;
    default:
      break;
  }
  text.resize(std::min(text.size(), max_text));
  return text;
}

}  // namespace kyo
