#include <kyo/numerics/geog_nmrc.h>

#include <algorithm>
#include <numbers>

#include <kyo/core/angle.h>
#include <kyo/platform/printf_format.h>

#include "numerics/config_text.h"

namespace kyo {

namespace {

const stream_registration<geog_nmrc> geog_nmrc_registration("geog_nmrc");

// The plain forms print into the same 32-character buffer as the angle formats.
constexpr std::size_t max_text = 31;

std::string fixed_9(double v) {
  printf_spec spec;
  spec.conversion = 'f';
  spec.precision = 9;
  std::string text;
  append_floating(text, spec, v);
  text.resize(std::min(text.size(), max_text));
  return text;
}

}  // namespace

geog_nmrc::geog_nmrc(const numeric_server& server, int index, int format) noexcept
    : numeric(server, index), format_(format) {}

geog_nmrc::geog_nmrc(streamable_init_t) noexcept : numeric(streamable_init) {}

geog_nmrc* geog_nmrc::clone() const {
  return new geog_nmrc(*this);
}

int geog_nmrc::as_string(clock_tick t, std::string& out, bool) const {
  double v = 0;
  const int status = query_number(t, v);
  if (status == numeric_status::no_data) return status;
  switch (format_) {
    case geog_format::radians:
      out = fixed_9(v);
      break;
    case geog_format::semicircles:
      out = fixed_9(v * std::numbers::inv_pi);
      break;
    default: {
      const int axis = describe_entry().type_id() == numeric_type::longitude ? 1 : 0;
      const int layout = format_ == geog_format::degrees || format_ == geog_format::minutes
                             ? format_
                             : geog_format::seconds;
      out = rad(v).as_string(angle_formats[layout][axis]);
      break;
    }
  }
  return status;
}

void geog_nmrc::write(opstream& os) const {
  write_base<numeric>(os, *this);
  os.writeByte(static_cast<std::uint8_t>(format_));
}

void geog_nmrc::read(ipstream& is, std::uint32_t) {
  read_base<numeric>(is, *this);
  const std::uint8_t format = is.readByte();
  if (!is) return;
  format_ = format;
}

int geog_nmrc::read_config(const char* text) {
  config_text::scanner in(text);
  int v = 0;
  if (!in.read_int(v)) return 0;
  format_ = v;
  return 1;
}

void geog_nmrc::write_config(std::string& text) const {
  config_text::append_int(text, format_);
}

void geog_nmrc::Streamer::Write(opstream& os, const geog_nmrc& n) {
  n.geog_nmrc::write(os);
}

void geog_nmrc::Streamer::Read(ipstream& is, geog_nmrc& n, std::uint32_t version) {
  n.geog_nmrc::read(is, version);
}

}  // namespace kyo
