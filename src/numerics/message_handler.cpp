#include <kyo/numerics/message_handler.h>

#include <kyo/time/time_manager.h>
#include <kyo/time/timedate.h>

namespace kyo {

namespace {

// Room kept for this many messages from the start; the list grows beyond it as needed.
constexpr std::size_t reserved_messages = 100;

timedate time_of(clock_tick t) {
  return timedate(time_manager::get_timedate(t).value() + seconds_1901_to_1970);
}

}  // namespace

message_printer::~message_printer() = default;

message::message() : time(clock_tick::current()) {}

message::message(const std::string& text) : text(text), time(clock_tick::current()) {}

std::string message::get_time_and_text() const {
  return time_of(time).time_str() + ' ' + text;
}

message_handler::message_handler() : server(nullptr, {}) {
  messages_.reserve(reserved_messages);
}

message_handler::~message_handler() = default;

void message_handler::add_message(const std::string& text, unsigned flags) {
  std::lock_guard guard(lock());
  if (!active_) return;
  message m(text);
  if ((flags & keep) != 0) {
    std::size_t i = 0;
    while (i < messages_.size() && messages_[i].text != text)
      ++i;
    if (i == messages_.size()) {
      add_at(m, 0);
    } else if (m.time.ms_since(messages_[i].time) <= repeat_window) {
      // A repeat this soon is not listed again; it is still announced and printed below.
    } else if (i == 0) {
      message* newest = &messages_[0];
      notify_clients(restamping, to_notify_arg(&newest), true);
      // A client may have changed the list while it was told.
      if (!messages_.empty() && messages_[0].text == text) messages_[0].time = m.time;
      notify_clients(restamped, to_notify_arg(&m), true);
    } else {
      destroy(static_cast<int>(i));
      add_at(m, 0);
    }
  }
  if ((flags & announce) == 0) return;
  notify_clients(announced, to_notify_arg(&m), true);
  if (print_mgr_ != nullptr) {
    const std::string line = time_of(m.time).as_string(print_stamp) + "  " + text + "\r\n";
    print_mgr_->write(line.data(), static_cast<int>(line.size()));
  }
}

bool message_handler::add_at(const message& m, int index) {
  std::lock_guard guard(lock());
  if (index < 0 || index > static_cast<int>(messages_.size())) return false;
  const auto at = messages_.insert(messages_.begin() + index, m);
  notify_clients(added, to_notify_arg(&*at), true);
  return true;
}

bool message_handler::destroy(int index) {
  std::lock_guard guard(lock());
  if (index < 0 || index >= static_cast<int>(messages_.size())) return false;
  notify_clients(destroyed, index, true);
  if (index < static_cast<int>(messages_.size())) messages_.erase(messages_.begin() + index);
  return true;
}

void message_handler::for_each(void (*f)(const message&, void*), void* arg) const {
  std::lock_guard guard(lock());
  for (std::size_t i = 0; i < messages_.size(); ++i)
    f(messages_[i], arg);
}

void message_handler::set_active(bool on) {
  std::lock_guard guard(lock());
  if (on == active_) return;
  active_ = on;
  if (on) messages_.clear();
}

bool message_handler::is_active() const {
  std::lock_guard guard(lock());
  return active_;
}

void message_handler::null_message() {
  std::lock_guard guard(lock());
  notify_clients(cleared, 0, true);
}

int message_handler::count() const {
  std::lock_guard guard(lock());
  return static_cast<int>(messages_.size());
}

message message_handler::at(int index) const {
  std::lock_guard guard(lock());
  if (index < 0 || index >= static_cast<int>(messages_.size())) {
    message empty;
    empty.time = 0;
    return empty;
  }
  return messages_[static_cast<std::size_t>(index)];
}

std::vector<message> message_handler::messages() const {
  std::lock_guard guard(lock());
  return messages_;
}

void message_handler::set_print_mgr(message_printer* p) {
  std::lock_guard guard(lock());
  print_mgr_ = p;
}

message_printer* message_handler::get_print_mgr() const {
  std::lock_guard guard(lock());
  return print_mgr_;
}

message_handler& get_msg_hndlr() {
  static message_handler handler;
  return handler;
}

}  // namespace kyo
