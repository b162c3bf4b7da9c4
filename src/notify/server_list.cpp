#include <kyo/notify/server_list.h>

#include <algorithm>
#include <limits>

namespace kyo {

namespace {

int capacity_for(int upper_bound) {
  if (upper_bound < 0) return 0;
  if (upper_bound == std::numeric_limits<int>::max()) return upper_bound;
  return upper_bound + 1;
}

}  // namespace

server_list::server_list(server* parent, const char* name, int upper_bound, int compact,
                         int added_code, int destroyed_code, int removed_code)
    : server(parent, name != nullptr ? name : ""),
      limit_(capacity_for(upper_bound)),
      compact_(compact != 0),
      added_code_(added_code),
      removed_code_(removed_code),
      destroyed_code_(destroyed_code) {
  if (!compact_) items_.assign(static_cast<std::size_t>(limit_), nullptr);
}

server_list::server_list(int added_code, int destroyed_code, int removed_code)
    : added_code_(added_code), removed_code_(removed_code), destroyed_code_(destroyed_code) {}

server_list::server_list(streamable_init_t) : server(streamable_init) {}

namespace {

// Registered beside the destructor, so that a static link that uses the class at all keeps it.
const stream_registration<server_list> server_list_registration("server_list");

}  // namespace

server_list::~server_list() {
  notify_clients(destroyed_notice, to_notify_arg(this), true);
  for (int i = static_cast<int>(items_.size()) - 1; i >= 0; --i) {
    if (i < static_cast<int>(items_.size()) && items_[i] != nullptr) remove(i);
  }
  std::vector<server*> rest;
  rest.swap(items_);
  for (server* m : rest) {
    if (m == nullptr) continue;
    let_go(*m, true);
    if (owning()) delete m;
  }
}

void server_list::set_codes(int added_code, int destroyed_code, int removed_code) {
  added_code_ = added_code;
  destroyed_code_ = destroyed_code;
  removed_code_ = removed_code;
}

bool server_list::add_at(server& s, int index) {
  if (&s == this) return false;
  if (owning()) {
    if (s.held_by_owning_list() || (s.get_parent() != this && s.would_loop(*this))) return false;
  } else if (dynamic_cast<server_list*>(&s) != nullptr && s.has_incoming() && reaches(*this, s)) {
    return false;
  }
  const int size = static_cast<int>(items_.size());
  if (!compact_) {
    if (index < 0 || index >= size) return false;
    if (!owning()) {
      notify_clients(removed_code_, index, true);
      if (index >= static_cast<int>(items_.size())) return false;
      if (server* old = items_[index]) {
        items_[index] = nullptr;
        let_go(*old, true);
      }
    } else if (server* old = items_[index]) {
      // The old member's end clears its slot (through its destroyed code or forget).
      delete old;
    }
    if (index >= static_cast<int>(items_.size())) return false;
    items_[index] = &s;
  } else {
    if (index < 0 || index > size) return false;
    items_.insert(items_.begin() + index, &s);
    limit_ = std::max(limit_, static_cast<int>(items_.size()));
  }
  hold(s);
  set_dirty();
  notify_clients(added_code_, index, true);
  return true;
}

bool server_list::remove(int index) {
  if (index < 0 || index >= static_cast<int>(items_.size()) || items_[index] == nullptr) {
    return false;
  }
  server* m = items_[index];
  if (owning()) {
    delete m;
    return true;
  }
  notify_clients(removed_code_, index, true);
  // A client may have changed the list while it was told.
  if (index < static_cast<int>(items_.size()) && items_[index] == m) {
    clear_slot(index);
    let_go(*m, true);
  }
  return true;
}

void server_list::flush() {
  std::vector<server*> old;
  old.swap(items_);
  if (!compact_) items_.assign(static_cast<std::size_t>(limit_), nullptr);
  for (server* m : old) {
    if (m == nullptr) continue;
    let_go(*m, true);
    if (owning()) delete m;
  }
}

int server_list::find(const server& s) const {
  auto it = std::find(items_.begin(), items_.end(), &s);
  return it == items_.end() ? npos : static_cast<int>(it - items_.begin());
}

server* server_list::get(const std::string& name) const {
  for (server* m : items_) {
    if (m != nullptr && m->name_is(name)) return m;
  }
  return nullptr;
}

server* server_list::at(int index) const {
  if (index < 0 || index >= static_cast<int>(items_.size())) return nullptr;
  return items_[index];
}

int server_list::count() const {
  return static_cast<int>(items_.size());
}

int server_list::limit() const {
  return compact_ ? limit_ : static_cast<int>(items_.size());
}

int server_list::ownership() const {
  return ownership_;
}

bool server_list::is_compact() const {
  return compact_;
}

void server_list::do_notify(server& source, int code, long arg) {
  if (code != destroyed_code_) {
    notify_clients(code, arg, true);
    return;
  }
  int index = find(source);
  if (index == npos) return;
  notify_clients(removed_code_, index, true);
  index = find(source);
  if (index == npos) return;
  clear_slot(index);
  let_go(source, true);
  set_dirty();
}

void server_list::notify(server& source, int code, long arg) {
  do_notify(source, code, arg);
}

void server_list::parent_notify(server& source, int code, long arg) {
  do_notify(source, code, arg);
}

void server_list::hold(server& m) {
  m.add_holder(this);
  if (owning()) {
    m.set_parent(this);
  } else {
    m.attach_client(*this);
  }
}

void server_list::let_go(server& m, bool detach) {
  m.remove_holder(this);
  if (detach && !owning()) m.detach_client(*this);
}

void server_list::clear_slot(int index) {
  if (compact_) {
    items_.erase(items_.begin() + index);
  } else {
    items_[index] = nullptr;
  }
}

// Called by a member that is being destroyed without having announced it: its slots go,
// silently, so that the list never holds a dangling pointer.
void server_list::forget(server& m) {
  for (int i = static_cast<int>(items_.size()) - 1; i >= 0; --i) {
    if (items_[i] == &m) clear_slot(i);
  }
  set_dirty();
}

}  // namespace kyo
