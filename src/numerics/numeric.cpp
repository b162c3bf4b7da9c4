#include <kyo/numerics/numeric.h>

#include <algorithm>

#include <kyo/numerics/numeric_nmrc.h>

namespace kyo {

namespace {

const stream_registration<numeric> numeric_registration("numeric");

}  // namespace

numeric::numeric(const numeric_server& server, int index) noexcept
    : server_(&server), index_(index) {}

numeric::numeric(streamable_init_t) noexcept {}

numeric::~numeric() = default;

numeric* numeric::clone() const {
  return new numeric(*this);
}

nmrc_info numeric::describe_entry() const {
  nmrc_info info;
  if (server_ != nullptr) server_->describe(index_, info);
  return info;
}

int numeric::query_number(clock_tick t, double& value) const {
  // The value query writes a std::string for type-0 entries: a number must never be asked of
  // one, whatever numeric a configuration or a stream paired with it.
  if (server_ == nullptr || describe_entry().type_id() == numeric_type::text) {
    return numeric_status::no_data;
  }
  double v = 0;
  const int status = server_->get_value(index_, t, &v);
  if (status != numeric_status::no_data) value = v;
  return status;
}

int numeric::as_string(clock_tick t, std::string& out, bool pad) const {
  if (server_ == nullptr) return numeric_status::no_data;
  const nmrc_info info = describe_entry();
  if (info.type_id() != numeric_type::text) return numeric_status::no_data;
  std::string text;
  const int status = server_->get_value(index_, t, &text);
  if (status == numeric_status::no_data) return status;
  if (pad) {
    const long long width =
        std::clamp<long long>(info.width, -numeric_nmrc::max_width, numeric_nmrc::max_width);
    const auto size = static_cast<std::size_t>(width < 0 ? -width : width);
    if (size > text.size()) {
      // The asymmetry is deliberate: a positive width puts the whole width in front.
      if (width < 0) {
        text.resize(size, ' ');
      } else {
        text.insert(0, size, ' ');
      }
    }
  }
  out = std::move(text);
  return status;
}

void numeric::read(ipstream& is, std::uint32_t) {
  // The numeric does not own its server, so it claims nothing: a server built here goes
  // again when the reading fails, and belongs to the caller (through its root) when it works.
  numeric_server* server = nullptr;
  readPtr(is, server);
  const auto index = static_cast<std::int32_t>(is.readWord32());
  if (!is) return;
  server_ = server;
  index_ = index;
}

void numeric::write(opstream& os) const {
  writePtr(os, server_);
  os.writeWord32(static_cast<std::uint32_t>(index_));
}

int numeric::read_config(const char*) {
  return 0;
}

void numeric::write_config(std::string&) const {}

void numeric::reserved_hook_1() {}

void numeric::reserved_hook_2() {}

std::string numeric::get_path(bool full) const {
  if (server_ == nullptr) return {};
  return server_->get_path(full) + '.' + server_->entry_name(index_);
}

int numeric::type_id() const {
  return server_ == nullptr ? -1 : describe_entry().type_id();
}

std::string numeric::get_name() const {
  return server_ == nullptr ? std::string() : server_->entry_name(index_);
}

std::string numeric::get_units() const {
  if (const auto* m = dynamic_cast<const memory_nmrc*>(this)) return m->shown_units();
  if (const auto* n = dynamic_cast<const numeric_nmrc*>(this)) return n->units();
  return {};
}

void numeric::Streamer::Write(opstream& os, const numeric& n) {
  n.numeric::write(os);
}

void numeric::Streamer::Read(ipstream& is, numeric& n, std::uint32_t version) {
  n.numeric::read(is, version);
}

}  // namespace kyo
