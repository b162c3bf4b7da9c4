#include <kyo/numerics/timedate_nmrc.h>

#include <algorithm>
#include <cmath>

#include <kyo/time/timedate.h>

#include "numerics/config_text.h"

namespace kyo {

namespace {

const stream_registration<timedate_nmrc> timedate_nmrc_registration("timedate_nmrc");

// The day of the year is printed only where it is a plain day count of a common year.
constexpr int last_plain_day = 365;

}  // namespace

timedate_nmrc::timedate_nmrc(const numeric_server& server, int index, int flags,
                             int decimals) noexcept
    : numeric(server, index), flags_(flags), decimals_(decimals) {}

timedate_nmrc::timedate_nmrc(streamable_init_t) noexcept : numeric(streamable_init) {}

timedate_nmrc* timedate_nmrc::clone() const {
  return new timedate_nmrc(*this);
}

int timedate_nmrc::as_string(clock_tick t, std::string& out, bool) const {
  double v = 0;
  const int status = query_number(t, v);
  if (status == numeric_status::no_data) return status;
  const timedate when(v + seconds_1901_to_1970);
  std::string text;
  switch (flags_ & timedate_flags::date_mask) {
    case timedate_flags::long_date:
      text = when.long_date_str();
      break;
    case timedate_flags::short_date:
      text = when.short_date_str();
      break;
    case timedate_flags::day_of_year: {
      const timedate whole(std::trunc(v + 0.5) + seconds_1901_to_1970);
      int day = whole.day_of_year();
      if (day < 1 || day > last_plain_day) day = 0;
      config_text::append_int(text, day);
      break;
    }
    default:
      break;
  }
  if ((flags_ & timedate_flags::time) != 0) {
    if (!text.empty()) text += ' ';
    text += when.time_str(static_cast<unsigned>(decimals_));
  }
  out = std::move(text);
  return status;
}

void timedate_nmrc::write(opstream& os) const {
  write_base<numeric>(os, *this);
  os.writeWord32(static_cast<std::uint32_t>(flags_));
  os.writeWord32(static_cast<std::uint32_t>(decimals_));
}

void timedate_nmrc::read(ipstream& is, std::uint32_t) {
  read_base<numeric>(is, *this);
  const auto flags = static_cast<std::int32_t>(is.readWord32());
  const auto decimals = static_cast<std::int32_t>(is.readWord32());
  if (!is) return;
  flags_ = flags;
  decimals_ = decimals;
}

int timedate_nmrc::read_config(const char* text) {
  config_text::scanner in(text);
  int v = 0;
  if (!in.read_int(v)) return 0;
  flags_ = v;
  if (!in.literal(',') || !in.read_int(v)) return 1;
  decimals_ = v;
  return 2;
}

void timedate_nmrc::write_config(std::string& text) const {
  config_text::append_int(text, flags_);
  text += ',';
  config_text::append_int(text, decimals_);
}

void timedate_nmrc::Streamer::Write(opstream& os, const timedate_nmrc& n) {
  n.timedate_nmrc::write(os);
}

void timedate_nmrc::Streamer::Read(ipstream& is, timedate_nmrc& n, std::uint32_t version) {
  n.timedate_nmrc::read(is, version);
}

}  // namespace kyo
