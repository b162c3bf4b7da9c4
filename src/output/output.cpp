#include <kyo/output/output.h>

namespace kyo {

output::output(output_type type) noexcept
    : type_(type), list_owned_(static_cast<int>(type) != 2 && static_cast<int>(type) != 3) {}

output::~output() {
  notify_clients(output_code::destroyed, to_notify_arg(this), true);
}

int output::open() {
  if (is_open_) return output_result::already_open;
  is_open_ = true;
  return output_result::success;
}

int output::close() {
  if (!is_open_) return output_result::not_open;
  is_open_ = false;
  return output_result::success;
}

void output::Streamer::Write(opstream& os, const output& o) {
  write_base<server>(os, o);
  os.writeByte(static_cast<std::uint8_t>(o.type_));
  os.writeWord32(o.list_owned_ ? 1 : 0);
}

void output::Streamer::Read(ipstream& is, output& o, std::uint32_t /*version*/) {
  read_base<server>(is, o);
  const std::uint8_t type = is.readByte();
  const bool owned = is.readWord32() != 0;
  if (!is) return;
  // Both fields follow from the class; a record that disagrees belongs to another kind of output.
  if (type != static_cast<std::uint8_t>(o.type_) || owned != o.list_owned_) {
    is.setstate(stream_badbit, "an output record of another type");
  }
}

}  // namespace kyo
