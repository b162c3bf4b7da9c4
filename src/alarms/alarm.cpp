#include <kyo/alarms/alarm.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>
#include <system_error>
#include <typeinfo>
#include <vector>

#include <kyo/numerics/make_numeric.h>
#include <kyo/numerics/message_handler.h>
#include <kyo/output/host_strings.h>
#include <kyo/platform/path_map.h>
#include <kyo/platform/printf_format.h>
#include <kyo/platform/ui_hooks.h>

namespace kyo {

namespace {

constexpr const char* state_names[] = {"Unknown", "Green", "Yellow", "Red"};

constexpr const char* sound_files[] = {
    "Ahhhhh.wav",   "Beam10.wav", "bell.wav",   "bingbang.wav", "datorpip02.wav", "datorpip07.wav",
    "elecpuls.wav", "laser.wav",  "metal3.wav", "warning.wav",  "whoosh.wav"};
static_assert(std::size(sound_files) == alarm::sound_count);

// The log flags of a change of state: kept and announced.
constexpr unsigned log_flags = message_handler::keep | message_handler::announce;

// The fields of a configuration text before the numeric's own configuration.
constexpr std::size_t text_fields = 10;

std::string_view trimmed(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
    s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t'))
    s.remove_suffix(1);
  if (!s.empty() && s.front() == '+') s.remove_prefix(1);
  return s;
}

// A whole field as a number of type T, blanks around it and a leading '+' allowed.
template <class T>
bool parse_field(std::string_view field, T& out) {
  const std::string_view s = trimmed(field);
  if (s.empty() || s.front() == '+') return false;
  T value{};
  const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), value);
  if (ec != std::errc() || end != s.data() + s.size()) return false;
  out = value;
  return true;
}

// A numeric of entry `index` of `s` with the display settings of `settings` where they fit it: a
// copy when `settings` shows that very entry, else a new numeric given its configuration when it
// is of the same kind.
std::unique_ptr<numeric> numeric_for(const numeric_server& s, int index, const numeric* settings) {
  if (settings != nullptr && settings->get_server() == &s && settings->get_index() == index) {
    return std::unique_ptr<numeric>(settings->clone());
  }
  std::unique_ptr<numeric> n(make_numeric(s, index));
  const numeric* made = n.get();
  if (made != nullptr && settings != nullptr && typeid(*made) == typeid(*settings)) {
    std::string config;
    settings->write_config(config);
    n->read_config(config.c_str());
  }
  return n;
}

void append_int(std::string& text, long long v) {
  char buffer[24];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, v);
  text.append(buffer, result.ptr);
}

}  // namespace

const char* alarm::state_name(int state) noexcept {
  return state >= 0 && state < 4 ? state_names[state] : "";
}

const char* alarm::sound_file(int index) noexcept {
  return index >= 0 && index < sound_count ? sound_files[index] : nullptr;
}

alarm::alarm(const std::string& description) : server(nullptr, description) {}

alarm::~alarm() {
  notify_clients(destroyed, to_notify_arg(this), true);
  if (nmrc_server_ != nullptr) nmrc_server_->detach_nmrc_client(*this);
}

bool alarm::test_limit(double value, double limit) const noexcept {
  switch (condition_) {
    case 0:
      return value < limit;
    case 1:
      return value <= limit;
    case 2:
      return value == limit;
    case 3:
      return value != limit;
    case 4:
      return value >= limit;
    case 5:
      return value > limit;
    default:
      return false;
  }
}

void alarm::check(clock_tick t, print_manager& /*pm*/) {
  int found = state_unknown;
  if (nmrc_server_ != nullptr) {
    nmrc_info info;
    nmrc_server_->describe(nmrc_index_, info);
    double value = 0;
    // A text entry answers with a string, which must not land in a double.
    if (info.type_id() != numeric_type::text &&
        nmrc_server_->get_value(nmrc_index_, t, &value) == numeric_status::fresh) {
      if (is_bool_) {
        // Compared as the integer the value makes; NaN or infinity make none and stay Green.
        found = std::isfinite(value) && std::trunc(value) == static_cast<double>(condition_)
                    ? state_red
                    : state_green;
      } else {
        if (use_abs_) value = std::fabs(value);
        if (test_limit(value, alarm_limit_)) {
          found = state_red;
        } else if (warning_on_ && test_limit(value, warning_limit_)) {
          found = state_yellow;
        } else {
          found = state_green;
        }
      }
      value_text_ = "???";
      if (nmrc_ != nullptr) {
        (void)nmrc_->as_string(t, value_text_, false);
        value_text_ += nmrc_->get_units();
      }
    }
  }
  if (found != state_) {
    notify_clients(state_changed, found, true);
    state_ = found;
    get_msg_hndlr().add_message(
        "Alarm " + get_name() + ' ' + state_name(state_) + ' ' + value_text_, log_flags);
  }
  if (t.ms_since(last_notify_tick_) > notice_interval) {
    notify_clients(state_notice, state_, true);
    last_notify_tick_ = t;
  }
  if (state_ > state_green && sound_on_ && t.ms_since(last_sound_tick_) > sound_interval) {
    play_sound(native_path(sound_path_), snd_async);
    last_sound_tick_ = t;
  }
}

void alarm::set_bool_nmrc() {
  if (nmrc_server_ == nullptr) return;
  nmrc_info info;
  nmrc_server_->describe(nmrc_index_, info);
  is_bool_ = info.type_id() == numeric_type::boolean;
}

void alarm::set_sound_file() {
  if (const char* file = sound_file(sound_index_)) sound_path_ = base_dir_ + "media\\" + file;
}

std::string alarm::get_path() const {
  if (nmrc_server_ == nullptr) return host_string(host_string_id::no_alarm_server);
  return numeric(*nmrc_server_, nmrc_index_).get_path(false);
}

void alarm::get_settings(transfer_s& t) const {
  t.description = get_name();
  t.condition = condition_;
  t.use_abs = use_abs_ ? 1 : 0;
  t.sound_on = sound_on_ ? 1 : 0;
  t.sound_index = sound_index_;
  t.alarm_limit = alarm_limit_;
  t.warning_limit = warning_limit_;
  t.warning_on = warning_on_;
  t.nmrc_server = nmrc_server_;
  t.nmrc_index = nmrc_index_;
  t.nmrc = nmrc_server_ != nullptr ? numeric_for(*nmrc_server_, nmrc_index_, nmrc_.get())
                                   : std::unique_ptr<numeric>();
}

void alarm::transfer(transfer_s& t, int direction) {
  if (direction == transfer_get) {
    get_settings(t);
    return;
  }
  if (direction != transfer_set) return;
  if (nmrc_server_ != nullptr) nmrc_server_->detach_nmrc_client(*this);
  nmrc_.reset();
  set_name(t.description);
  condition_ = t.condition;
  use_abs_ = t.use_abs != 0;
  sound_on_ = t.sound_on != 0;
  sound_index_ = t.sound_index;
  alarm_limit_ = t.alarm_limit;
  warning_limit_ = t.warning_limit;
  warning_on_ = t.warning_on;
  nmrc_server_ = t.nmrc_server;
  nmrc_index_ = t.nmrc_index;
  if (nmrc_server_ != nullptr) {
    set_bool_nmrc();
    nmrc_server_->attach_nmrc_client(*this);
    nmrc_ = numeric_for(*nmrc_server_, nmrc_index_, t.nmrc.get());
  }
}

void alarm::saveData(std::string& text) const {
  transfer_s t;
  get_settings(t);
  printf_spec fixed;
  fixed.conversion = 'f';
  text = t.description;
  for (const long long v : {t.condition, t.use_abs, t.sound_on, t.sound_index}) {
    text += ',';
    append_int(text, v);
  }
  text += ',';
  append_floating(text, fixed, t.alarm_limit);
  text += ',';
  append_floating(text, fixed, t.warning_limit);
  text += ',';
  append_int(text, t.warning_on ? 1 : 0);
  text += ',';
  append_int(text, t.nmrc_index);
  text += ',';
  if (t.nmrc_server != nullptr) text += t.nmrc_server->get_path(true);
  text += ',';
  if (t.nmrc != nullptr) t.nmrc->write_config(text);
}

bool alarm::loadData(const char* text, const numeric_server& root) {
  const std::string_view all = text != nullptr ? text : "";
  // The fields, skipping empty ones as the comma tokenizer of the configuration files does.
  std::vector<std::string_view> fields;
  std::size_t pos = 0;
  while (fields.size() < text_fields) {
    while (pos < all.size() && all[pos] == ',')
      ++pos;
    if (pos == all.size()) return false;
    const std::size_t end = std::min(all.find(',', pos), all.size());
    fields.push_back(all.substr(pos, end - pos));
    pos = end;
  }
  while (pos < all.size() && all[pos] == ',')
    ++pos;
  // The numeric's configuration has commas of its own: it takes everything after the path.
  const std::string rest(all.substr(pos));

  transfer_s t;
  int warning_on = 0;
  if (!parse_field(fields[1], t.condition) || !parse_field(fields[2], t.use_abs) ||
      !parse_field(fields[3], t.sound_on) || !parse_field(fields[4], t.sound_index) ||
      !parse_field(fields[5], t.alarm_limit) || !parse_field(fields[6], t.warning_limit) ||
      !parse_field(fields[7], warning_on) || !parse_field(fields[8], t.nmrc_index)) {
    return false;
  }
  numeric_server* s = root.get(fields[9]);
  if (s == nullptr) return false;
  t.description = std::string(fields[0]);
  // Kept as a byte, as the configuration files always have.
  t.warning_on = static_cast<std::uint8_t>(warning_on) != 0;
  t.nmrc_server = s;
  t.nmrc.reset(make_numeric(*s, t.nmrc_index));
  if (t.nmrc != nullptr && !rest.empty()) t.nmrc->read_config(rest.c_str());
  transfer(t, transfer_set);
  return true;
}

void alarm::nmrc_srvr_destroyed(numeric_server& /*s*/) {
  delete this;
}

void alarm::new_data() {}

}  // namespace kyo
