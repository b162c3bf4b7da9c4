#include <kyo/output/output_string.h>

namespace kyo {

output_string::output_string(const std::string& name)
    : name_(name), outputs_(new output_list(this)) {}

// The output list of a stream comes as a child in the server part: none is made here.
output_string::output_string(streamable_init_t) : server(streamable_init) {}

output_string::~output_string() {
  // Deleted while this object is whole, so that the list's last news find its parent intact.
  delete outputs_;
}

output_string& output_string::operator=(const output_string& other) {
  if (this != &other) {
    name_ = other.name_;
    enabled_ = other.enabled_;
    active_ = other.active_;
  }
  return *this;
}

void output_string::set_enabled(bool on, bool apply_now) {
  if (on == enabled_) return;
  enabled_ = on;
  if (apply_now) activate(on);
  set_dirty();
}

bool output_string::activate(bool on) {
  if (on == active_) return true;
  if (on && !enabled_) return false;
  active_ = on;
  if (on) {
    outputs_->for_each([](output& o, void*) { (void)o.open(); }, nullptr);
  } else {
    outputs_->for_each([](output& o, void*) { o.close(); }, nullptr);
  }
  return true;
}

void output_string::parent_notify(server& /*source*/, int code, long arg) {
  if (code != output_code::new_line) return;
  const std::string line = get_line(arg);
  if (line.empty()) return;
  outputs_->for_each(
      [](output& o, void* text) {
        const auto& l = *static_cast<const std::string*>(text);
        (void)o.write(l.data(), static_cast<int>(l.size()));
      },
      const_cast<std::string*>(&line));
}

void output_string::Streamer::Write(opstream& os, const output_string& s) {
  write_base<server>(os, s);
  os.writeWord32(s.enabled_ ? 1 : 0);
  writePtr(os, s.outputs_);
}

void output_string::Streamer::Read(ipstream& is, output_string& s, std::uint32_t /*version*/) {
  read_base<server>(is, s);
  const bool enabled = is.readWord32() != 0;
  output_list* list = nullptr;
  if (is) readPtr(is, list);
  if (is && (list == nullptr || list->get_parent() != &s)) {
    is.setstate(stream_badbit, "an output string whose output list is not its child");
  }
  if (!is) {
    // Whatever the stream left, the object keeps a list of its own.
    if (s.outputs_ == nullptr) s.outputs_ = new output_list(nullptr);
    return;
  }
  s.enabled_ = enabled;
  s.outputs_ = list;
  s.active_ = false;
}

}  // namespace kyo
