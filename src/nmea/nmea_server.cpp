#include <kyo/nmea/nmea_server.h>

#include <cmath>
#include <numbers>

#include <kyo/core/numbers.h>
#include <kyo/nmea/line_source.h>
#include <kyo/nmea/sentence.h>
#include <kyo/numerics/numeric.h>

namespace kyo::nmea {

namespace {

constexpr double deg_to_rad = std::numbers::pi / 180.0;
constexpr double knot_in_m_per_s = 1852.0 / 3600.0;
constexpr double two_pi = 2 * std::numbers::pi;

struct entry_spec {
  const char* name;
  int type;
  int precision;
};

constexpr entry_spec entries[entry::count + 1] = {
    {"", 0, 0},
    {"UTC time", numeric_type::date_time, 2},
    {"Latitude", numeric_type::latitude, -1},
    {"Longitude", numeric_type::longitude, -1},
    {"Fix quality", numeric_type::number, 0},
    {"Satellites", numeric_type::number, 0},
    {"HDOP", numeric_type::number, 1},
    {"Antenna height", numeric_type::distance, 2},
    {"Course over ground", numeric_type::true_bearing, 1},
    {"Speed over ground", numeric_type::speed, 1},
    {"Heading", numeric_type::true_bearing, 1},
};

// The time stamp of a date (days since 1970) and a time of day.
timedate dated(std::int64_t day, double of_day) {
  return static_cast<double>(day) * 86400 + of_day + seconds_1901_to_1970;
}

bool valid_index(int index) {
  return index >= 1 && index <= entry::count;
}

double bearing(double degrees) {
  return modulo(degrees * deg_to_rad, two_pi);
}

}  // namespace

nmea_server::nmea_server(numeric_server* parent, const std::string& name, long timeout_ms)
    : numeric_server(parent, name, false, timeout_ms, true) {}

int nmea_server::entry_count() const {
  return entry::count;
}

void nmea_server::describe(int index, nmrc_info& info) const {
  info = {};
  if (!valid_index(index)) return;
  info.type = entries[index].type;
  info.width = -1;
  info.precision = entries[index].precision;
}

std::string nmea_server::entry_name(int index) const {
  return valid_index(index) ? entries[index].name : "";
}

int nmea_server::entry_index(std::string_view name) const {
  for (int i = 1; i <= entry::count; ++i) {
    if (name == entries[i].name) return i;
  }
  return 0;
}

int nmea_server::get_value(int index, clock_tick t, void* data) const {
  if (!valid_index(index) || data == nullptr || !slots_[index].valid) {
    return numeric_status::no_data;
  }
  *static_cast<double*>(data) = slots_[index].value;
  return t.signed_ms_since(slots_[index].tick) < get_timeout() ? numeric_status::fresh
                                                               : numeric_status::stale;
}

void nmea_server::set(int index, double value, clock_tick t) {
  slots_[index] = {value, t, true};
  changed_ = true;
}

void nmea_server::invalidate(int index) {
  if (slots_[index].valid) changed_ = true;
  slots_[index].valid = false;
}

std::optional<timedate> nmea_server::resolve_time(std::optional<double> of_day,
                                                  std::optional<std::int64_t> day) const {
  if (!of_day) return std::nullopt;
  if (day) return dated(*day, *of_day);
  timedate near = time_.value_or(reference_);
  const auto whole = static_cast<unsigned>(*of_day);
  near.set_nearest(whole / 3600, whole / 60 % 60, *of_day - (whole / 60) * 60.0);
  return near;
}

bool nmea_server::take_time(std::optional<timedate> time, clock_tick t) {
  if (!time) return false;
  time_ = time;
  set(entry::utc_time, time_->value() - seconds_1901_to_1970, t);
  return true;
}

std::optional<timedate> nmea_server::time_of(std::string_view line) const {
  sentence s;
  return parse(line, s) == parse_error::none ? stamp_of(s) : std::nullopt;
}

std::optional<timedate> nmea_server::stamp_of(const sentence& s) const {
  if (s.start != '$' || s.talker == "P") return std::nullopt;
  if (s.type == "GGA") return resolve_time(time_of_day(s.field(0)), std::nullopt);
  if (s.type == "RMC") return resolve_time(time_of_day(s.field(0)), date_ddmmyy(s.field(8)));
  if (s.type == "ZDA") {
    return resolve_time(time_of_day(s.field(0)), date_dmy(s.field(1), s.field(2), s.field(3)));
  }
  if (s.type == "GLL") return resolve_time(time_of_day(s.field(4)), std::nullopt);
  return std::nullopt;
}

bool nmea_server::take_position(std::string_view lat, std::string_view ns, std::string_view lon,
                                std::string_view ew, clock_tick t) {
  const std::optional<double> phi = coordinate(lat, ns, true);
  const std::optional<double> lambda = coordinate(lon, ew, false);
  if (!phi || !lambda) {
    invalidate(entry::latitude);
    invalidate(entry::longitude);
    return false;
  }
  set(entry::latitude, *phi, t);
  set(entry::longitude, *lambda, t);
  return true;
}

line_result nmea_server::feed(std::string_view line, clock_tick t) {
  ++counts_.lines;
  sentence s;
  switch (parse(line, s)) {
    case parse_error::none:
      break;
    case parse_error::no_sentence:
      ++counts_.no_sentence;
      return line_result::no_sentence;
    case parse_error::bad_checksum:
      ++counts_.bad_checksum;
      return line_result::rejected;
    case parse_error::malformed:
      ++counts_.malformed;
      return line_result::rejected;
  }

  changed_ = false;
  const auto f = [&s](std::size_t i) { return s.field(i); };
  const auto set_number = [&](int index, std::string_view field, double scale = 1) {
    if (const std::optional<double> v = number(field)) set(index, *v * scale, t);
  };
  take_time(stamp_of(s), t);
  if (s.start == '$' && s.talker != "P") {
    const std::string_view type = s.type;
    if (type == "GGA") {
      const std::optional<double> quality = number(f(5));
      if (quality) set(entry::fix_quality, *quality, t);
      if (quality.value_or(0) > 0) {
        take_position(f(1), f(2), f(3), f(4), t);
      } else {
        invalidate(entry::latitude);
        invalidate(entry::longitude);
      }
      set_number(entry::satellites, f(6));
      set_number(entry::hdop, f(7));
      set_number(entry::antenna_height, f(8));
    } else if (type == "RMC") {
      if (f(1) == "A" && take_position(f(2), f(3), f(4), f(5), t)) {
        set_number(entry::speed, f(6), knot_in_m_per_s);
        if (const std::optional<double> cog = number(f(7))) set(entry::course, bearing(*cog), t);
      } else if (f(1) != "A") {
        invalidate(entry::latitude);
        invalidate(entry::longitude);
      }
    } else if (type == "VTG") {
      // The older form has no unit letters: course true, course magnetic, knots, km/h.
      const bool lettered = f(1) == "T" || f(3) == "M" || f(5) == "N";
      if (f(lettered ? 8 : 4) != "N") {
        if (const std::optional<double> cog = number(f(0))) set(entry::course, bearing(*cog), t);
        set_number(entry::speed, f(lettered ? 4 : 2), knot_in_m_per_s);
      }
    } else if (type == "HDT") {
      if (const std::optional<double> h = number(f(0))) set(entry::heading, bearing(*h), t);
    } else if (type == "HDG") {
      // Magnetic sensor heading, deviation and variation (east positive): true heading needs
      // the variation; a missing deviation counts as none.
      const std::optional<double> sensor = number(f(0));
      const std::optional<double> deviation = number(f(1));
      const std::optional<double> variation = number(f(3));
      const auto signed_by = [](double v, std::string_view side) { return side == "W" ? -v : v; };
      if (sensor && variation && (f(4) == "E" || f(4) == "W")) {
        const double dev = deviation ? signed_by(*deviation, f(2)) : 0.0;
        set(entry::heading, bearing(*sensor + dev + signed_by(*variation, f(4))), t);
      }
    } else if (type == "GLL") {
      // The older short form stops after the hemispheres and carries no status.
      if (f(5) == "V" || f(6) == "N") {
        invalidate(entry::latitude);
        invalidate(entry::longitude);
      } else {
        take_position(f(0), f(1), f(2), f(3), t);
      }
    }
  }
  const bool changed = changed_;
  if (changed) {
    ++counts_.used;
    set_update_time(t);
    return line_result::used;
  }
  ++counts_.unused;
  return line_result::unused;
}

std::optional<timedate> first_dated_time(line_source& source, std::size_t max_lines) {
  sentence s;
  for (std::size_t i = 0; i < max_lines; ++i) {
    const std::optional<std::string> line = source.next_line();
    if (!line) break;
    if (parse(*line, s) != parse_error::none || s.start != '$') continue;
    std::optional<std::int64_t> day;
    if (s.type == "ZDA") day = date_dmy(s.field(1), s.field(2), s.field(3));
    if (s.type == "RMC") day = date_ddmmyy(s.field(8));
    const std::optional<double> of_day = time_of_day(s.field(0));
    if (day && of_day) return dated(*day, *of_day);
  }
  return std::nullopt;
}

}  // namespace kyo::nmea
