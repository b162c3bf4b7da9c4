#include <kyo/numerics/numeric_nmrc.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include <kyo/core/numbers.h>
#include <kyo/platform/printf_format.h>

#include "numerics/config_text.h"

namespace kyo {

namespace {

const stream_registration<numeric_nmrc> numeric_nmrc_registration("numeric_nmrc");
const stream_registration<bearing_nmrc> bearing_nmrc_registration("bearing_nmrc");
const stream_registration<distance_nmrc> distance_nmrc_registration("distance_nmrc");
const stream_registration<time_interval_nmrc> time_interval_nmrc_registration("time_interval_nmrc");
const stream_registration<speed_nmrc> speed_nmrc_registration("speed_nmrc");
const stream_registration<tension_nmrc> tension_nmrc_registration("tension_nmrc");
const stream_registration<pressure_nmrc> pressure_nmrc_registration("pressure_nmrc");
const stream_registration<emf_nmrc> emf_nmrc_registration("emf_nmrc");
const stream_registration<memory_nmrc> memory_nmrc_registration("memory_nmrc");

// Beyond this many decimals no text fits the widest field, so formatting and rounding stop here
// rather than build long texts for nothing.
constexpr int max_precision = 32;

void set_label(char (&units)[4], const char* label) noexcept {
  std::memset(units, 0, sizeof units);
  if (label != nullptr) std::memcpy(units, label, strnlen(label, 3));
}

int field_width(int width) noexcept {
  return width == -1 ? numeric_nmrc::default_width : std::min(width, numeric_nmrc::max_width);
}

// The size of the field of a stored width: negative widths count by their size.
int field_size(int width) noexcept {
  const long long w = width;
  return static_cast<int>(std::min<long long>(w < 0 ? -w : w, numeric_nmrc::max_width));
}

// A row of '+' (value above 0) or '-' in the shape of the number, with its point.
std::string overflow_mark(int size, int precision, double raw) {
  std::string mark(static_cast<std::size_t>(size), raw > 0 ? '+' : '-');
  if (precision != 0) {
    const int point = size - precision - 1;
    if (point >= 0 && point < size) mark[static_cast<std::size_t>(point)] = '.';
  }
  return mark;
}

double power_of_ten(int exponent) {
  return std::pow(10.0, std::clamp(exponent, -300, 300));
}

}  // namespace

// ---------------------------------------------------------------------------
// numeric_nmrc

numeric_nmrc::numeric_nmrc(const numeric_server& server, int index, int width, int precision,
                           double factor, const char* label) noexcept
    : numeric(server, index) {
  data_.unit_index = 0;
  data_.width = field_width(width);
  data_.precision = precision < 0 ? 1 : precision;
  data_.factor = factor;
  set_label(data_.units, label);
}

numeric_nmrc::numeric_nmrc(streamable_init_t) noexcept : numeric(streamable_init) {}

numeric_nmrc* numeric_nmrc::clone() const {
  return new numeric_nmrc(*this);
}

int numeric_nmrc::effective_precision() const noexcept {
  return data_.precision < 0 ? 6 : std::min(data_.precision, max_precision);
}

std::string numeric_nmrc::format_value(double shown, double raw, bool pad) const {
  const int size = field_size(data_.width);
  printf_spec spec;
  spec.conversion = 'f';
  spec.precision = effective_precision();
  if (pad) {
    spec.width = size;
    spec.left = data_.width < 0;
  }
  std::string text;
  append_floating(text, spec, shown);
  if (text.size() > static_cast<std::size_t>(size)) {
    return overflow_mark(size, spec.precision, raw);
  }
  return text;
}

int numeric_nmrc::as_string(clock_tick t, std::string& out, bool pad) const {
  double v = 0;
  const int status = query_number(t, v);
  if (status == numeric_status::no_data) return status;
  out = format_value(v * data_.factor, v, pad);
  return status;
}

bool numeric_nmrc::complete_from(const unit_row* table, int rows, nmrc_data& d) noexcept {
  if (d.unit_index < 0 || d.unit_index >= rows) return false;
  d.factor = table[d.unit_index].factor;
  set_label(d.units, table[d.unit_index].label);
  return true;
}

void numeric_nmrc::set_nmrc_data(nmrc_data& d) {
  fix_nmrc_data(d);
  data_ = d;
  data_.units[3] = '\0';
}

void numeric_nmrc::fix_nmrc_data(nmrc_data&) const {}

int numeric_nmrc::read_config(const char* text) {
  config_text::scanner in(text);
  int fields = 0;
  int i = 0;
  if (!in.read_int(i)) return fields;
  data_.unit_index = i;
  ++fields;
  if (!in.literal(',') || !in.read_int(i)) return fields;
  data_.width = i;
  ++fields;
  if (!in.literal(',') || !in.read_int(i)) return fields;
  data_.precision = i;
  ++fields;
  double f = 0;
  if (!in.literal(',') || !in.read_double(f)) return fields;
  data_.factor = f;
  ++fields;
  if (!in.literal(',')) return fields;
  // An empty label is written as three blanks; reading them back must give it again.
  char label[4] = {};
  if (!in.only_blanks_left() && !in.read_word(label, 3)) return fields;
  set_label(data_.units, label);
  return ++fields;
}

void numeric_nmrc::write_config(std::string& text) const {
  config_text::append_int(text, data_.unit_index);
  text += ',';
  config_text::append_int(text, data_.width);
  text += ',';
  config_text::append_int(text, data_.precision);
  text += ',';
  printf_spec f;
  f.conversion = 'f';
  append_floating(text, f, data_.factor);
  text += ',';
  printf_spec s;
  s.conversion = 's';
  s.width = 3;
  append_string(text, s, std::string_view(data_.units, std::strlen(data_.units)));
}

void numeric_nmrc::write(opstream& os) const {
  write_base<numeric>(os, *this);
  os.writeWord32(static_cast<std::uint32_t>(data_.unit_index));
  os.writeWord32(static_cast<std::uint32_t>(data_.width));
  os.writeWord32(static_cast<std::uint32_t>(data_.precision));
  os.writeDouble(data_.factor);
  os.writeBytes(data_.units, 4);
}

void numeric_nmrc::read(ipstream& is, std::uint32_t) {
  read_base<numeric>(is, *this);
  nmrc_data d;
  d.unit_index = static_cast<std::int32_t>(is.readWord32());
  d.width = static_cast<std::int32_t>(is.readWord32());
  d.precision = static_cast<std::int32_t>(is.readWord32());
  d.factor = is.readDouble();
  is.readBytes(d.units, 4);
  if (!is) return;
  d.units[3] = '\0';
  data_ = d;
}

void numeric_nmrc::Streamer::Write(opstream& os, const numeric_nmrc& n) {
  n.numeric_nmrc::write(os);
}

void numeric_nmrc::Streamer::Read(ipstream& is, numeric_nmrc& n, std::uint32_t version) {
  n.numeric_nmrc::read(is, version);
}

// ---------------------------------------------------------------------------
// bearing_nmrc

bearing_nmrc::bearing_nmrc(const numeric_server& server, int index, int width, int precision,
                           const char* label) noexcept
    : numeric_kind(server, index, width, precision < 0 ? 1 : precision, 1.0, label) {}

int bearing_nmrc::as_string(clock_tick t, std::string& out, bool pad) const {
  double v = 0;
  const int status = query_number(t, v);
  if (status == numeric_status::no_data) return status;
  double degrees = round(v * 180.0 * std::numbers::inv_pi, power_of_ten(effective_precision()));
  if (degrees == 360.0) degrees = 0;
  out = format_value(degrees * data().factor, v, pad);
  return status;
}

// ---------------------------------------------------------------------------
// distance, speed, tension, pressure, emf

distance_nmrc::distance_nmrc(const numeric_server& server, int index, int width,
                             int precision) noexcept
    : numeric_kind(server, index, width, precision, 2) {}

speed_nmrc::speed_nmrc(const numeric_server& server, int index, int width, int precision) noexcept
    : numeric_kind(server, index, width, precision, 1) {}

tension_nmrc::tension_nmrc(const numeric_server& server, int index, int width,
                           int precision) noexcept
    : numeric_kind(server, index, width, precision, 1) {}

pressure_nmrc::pressure_nmrc(const numeric_server& server, int index, int width,
                             int precision) noexcept
    : numeric_kind(server, index, width, precision, 1) {}

emf_nmrc::emf_nmrc(const numeric_server& server, int index, int width, int precision) noexcept
    : numeric_kind(server, index, width, precision, 1) {}

// ---------------------------------------------------------------------------
// time_interval_nmrc

time_interval_nmrc::time_interval_nmrc(const numeric_server& server, int index, int width,
                                       int precision) noexcept
    : numeric_kind(server, index, width, precision, 0) {}

void time_interval_nmrc::fix_nmrc_data(nmrc_data& d) const {
  // The compound form and unknown units write their own letters or none.
  if (!complete_from_table(d)) {
    std::memset(d.units, 0, sizeof d.units);
  }
}

int time_interval_nmrc::as_string(clock_tick t, std::string& out, bool pad) const {
  double v = 0;
  const int status = query_number(t, v);
  if (status == numeric_status::no_data) return status;
  if (data().unit_index != time_unit::compound) {
    out = format_value(v * data().factor, v, pad);
    return status;
  }
  struct part {
    double seconds;
    char letter;
    int digits;
  };
  // Whole seconds per unit rather than the table's factors: whole numbers of seconds then split
  // exactly (3600 s is 1h00m00s, never 59m59s).
  static constexpr part parts[] = {
      {604800, 'w', 0}, {86400, 'd', 0}, {3600, 'h', 0}, {60, 'm', 2}, {1, 's', 2}};
  // Every part must fit an int; weeks are the largest.
  if (!(std::fabs(v) < 2147483648.0 * 604800)) {
    out = overflow_mark(field_size(data().width), effective_precision(), v);
    return status;
  }
  std::string text;
  bool started = false;
  double rest = v;
  for (const part& p : parts) {
    const double n = std::trunc(rest / p.seconds);
    if (n == 0 && !started && p.letter != 's') continue;
    started = true;
    printf_spec spec;
    spec.conversion = 'd';
    spec.zero = p.digits != 0;
    spec.width = p.digits;
    append_integer(text, spec, static_cast<long long>(n));
    text += p.letter;
    rest -= n * p.seconds;
  }
  out = std::move(text);
  return status;
}

// ---------------------------------------------------------------------------
// memory_nmrc

memory_nmrc::memory_nmrc(const numeric_server& server, int index, int width, int precision) noexcept
    : numeric_kind(server, index, width, precision < 0 ? 1 : precision, auto_units[0].factor,
                   nullptr) {
  nmrc_data d;
  get_nmrc_data(d);
  d.unit_index = memory_unit::automatic;
  numeric_nmrc::set_nmrc_data(d);
}

int memory_nmrc::as_string(clock_tick t, std::string& out, bool pad) const {
  double v = 0;
  const int status = query_number(t, v);
  if (status == numeric_status::no_data) return status;
  if (data().unit_index != memory_unit::automatic) {
    out = format_value(v * data().factor, v, pad);
    return status;
  }
  static const double log_1024 = std::log(1024.0);
  // Values below one byte (zero, negative, NaN) have no logarithm to go by: they stay in bytes.
  int unit = 0;
  if (v >= 1) unit = static_cast<int>(std::min(3.0, std::trunc(std::log(v) / log_1024)));
  double shown = v / auto_units[unit].factor;
  std::strncpy(auto_units_, auto_units[unit].label, 3);
  const int precision = effective_precision();
  if (precision != 0 && shown != 0 && std::isfinite(shown)) {
    const double d = std::trunc(std::log10(std::fabs(shown)));
    shown = round(shown, power_of_ten(precision - static_cast<int>(d) - 1));
  }
  out = format_value(shown, v, pad);
  return status;
}

std::string memory_nmrc::shown_units() const {
  return data().unit_index == memory_unit::automatic ? std::string(auto_units_) : units();
}

}  // namespace kyo
