#include <kyo/numerics/general_numerics.h>

#include <kyo/time/timedate.h>

namespace kyo {

namespace {

const stream_registration<general_numerics> general_numerics_registration("general_numerics");

}  // namespace

general_numerics::general_numerics(numeric_server* parent, const std::string& name, bool hidden,
                                   long timeout, bool browsable)
    : numeric_server(parent, name, hidden, timeout, browsable) {}

general_numerics::general_numerics(streamable_init_t) : numeric_server(streamable_init) {}

int general_numerics::entry_count() const {
  return 1;
}

void general_numerics::describe(int index, nmrc_info& info) const {
  info = index == time_entry ? time_entry_info : nmrc_info{};
}

std::string general_numerics::entry_name(int index) const {
  return index == time_entry ? std::string(time_entry_name) : std::string();
}

int general_numerics::entry_index(std::string_view name) const {
  return name == time_entry_name ? time_entry : 0;
}

int general_numerics::get_value(int index, clock_tick, void* data) const {
  if (index != time_entry || data == nullptr) return numeric_status::no_data;
  timedate now;
  now.set_current();
  *static_cast<double*>(data) = now.value();
  return numeric_status::fresh;
}

void general_numerics::Streamer::Write(opstream& os, const general_numerics& s) {
  write_base<numeric_server>(os, s);
}

void general_numerics::Streamer::Read(ipstream& is, general_numerics& s, std::uint32_t) {
  read_base<numeric_server>(is, s);
}

}  // namespace kyo
