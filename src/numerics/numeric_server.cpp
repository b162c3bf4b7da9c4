#include <kyo/numerics/numeric_server.h>

#include <algorithm>
#include <limits>

namespace kyo {

namespace {

std::int32_t clamp_timeout(long timeout) {
  return static_cast<std::int32_t>(std::clamp<long long>(
      timeout, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

// A path segment escapes every '.' of a name as "..", so that a single '.' is always a separator.
std::string escaped(const std::string& name) {
  std::string out;
  out.reserve(name.size());
  for (char c : name) {
    out += c;
    if (c == '.') out += '.';
  }
  return out;
}

}  // namespace

numeric_client::~numeric_client() = default;

void numeric_client::Streamer::Write(opstream&, const numeric_client&) {}
void numeric_client::Streamer::Read(ipstream&, numeric_client&, std::uint32_t) {}

// ---------------------------------------------------------------------------
// Server

numeric_server::numeric_server(numeric_server* parent, const std::string& name, bool hidden,
                               long timeout, bool browsable)
    : name_(name), timeout_(clamp_timeout(timeout)), hidden_(hidden), browsable_(browsable) {
  set_nmrc_parent(parent);
}

numeric_server::numeric_server(streamable_init_t) {}

namespace {

// Registered beside the destructor, so that a static link that uses the class at all keeps it.
const stream_registration<numeric_server> numeric_server_registration("numeric_server");

}  // namespace

numeric_server::~numeric_server() {
  tell_clients(tell_destroyed, this);
  if (parent_ != nullptr) parent_->children_.remove(this);
  parent_ = nullptr;
  clients_.clear();
  // Deleted here rather than with the members, so that the children's clients still find
  // this server whole apart from its derived parts.
  children_.delete_all();
}

int numeric_server::entry_count() const {
  return 0;
}

void numeric_server::describe(int, nmrc_info& info) const {
  info = nmrc_info{};
}

std::string numeric_server::entry_name(int) const {
  return {};
}

int numeric_server::entry_index(std::string_view) const {
  return 0;
}

int numeric_server::get_value(int, clock_tick, void*) const {
  return numeric_status::no_data;
}

bool numeric_server::would_loop(const numeric_server& s) const {
  for (const numeric_server* p = &s; p != nullptr; p = p->parent_) {
    if (p == this) return true;
  }
  return false;
}

bool numeric_server::set_nmrc_parent(numeric_server* p) {
  if (p == parent_) return true;
  if (p != nullptr && would_loop(*p)) return false;
  if (parent_ != nullptr) parent_->children_.remove(this);
  parent_ = p;
  if (p != nullptr) p->children_.insert(this);
  return true;
}

void numeric_server::set_timeout(long timeout) noexcept {
  timeout_ = clamp_timeout(timeout);
}

void numeric_server::attach_nmrc_client(numeric_client& c) const {
  if (std::find(clients_.begin(), clients_.end(), &c) == clients_.end()) clients_.push_back(&c);
}

void numeric_server::detach_nmrc_client(numeric_client& c) const {
  auto it = std::find(clients_.begin(), clients_.end(), &c);
  if (it == clients_.end()) return;
  const std::ptrdiff_t removed = it - clients_.begin();
  clients_.erase(it);
  for (std::ptrdiff_t* cursor : cursors_) {
    if (removed <= *cursor) --*cursor;
  }
}

void numeric_server::tell_clients(void (*f)(numeric_client&, void*), void* arg) const {
  std::ptrdiff_t cursor = 0;
  cursors_.push_back(&cursor);
  // Rounds nest (a client may update the server again from new_data), so each round takes
  // its own position off the stack however it ends.
  struct pop_cursor {
    std::vector<std::ptrdiff_t*>& cursors;
    ~pop_cursor() { cursors.pop_back(); }
  } guard{cursors_};
  // The size is read again on every step: clients that leave or join during a call are
  // accounted for by detach_nmrc_client moving the cursor and by the vector growing.
  for (; cursor < static_cast<std::ptrdiff_t>(clients_.size()); ++cursor) {
    f(*clients_[static_cast<std::size_t>(cursor)], arg);
  }
}

void numeric_server::tell_destroyed(numeric_client& c, void* arg) {
  c.nmrc_srvr_destroyed(*static_cast<numeric_server*>(arg));
}

void numeric_server::set_update_time(clock_tick t) {
  update_time_ = t;
  has_data_ = true;
  if (!clients_.empty()) tell_clients(do_notify_new_data, nullptr);
}

void numeric_server::do_notify_new_data(numeric_client& c, void*) {
  c.new_data();
}

int numeric_server::get_numeric_status(clock_tick now) const noexcept {
  if (!has_data_) return numeric_status::no_data;
  return now.signed_ms_since(update_time_) < timeout_ ? numeric_status::fresh
                                                      : numeric_status::stale;
}

std::string numeric_server::get_path(bool full) const {
  std::vector<const numeric_server*> chain;
  for (const numeric_server* s = this; s->parent_ != nullptr; s = s->parent_) {
    if (full || !s->hidden_) chain.push_back(s);
  }
  std::string path;
  for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
    if (it != chain.rbegin()) path += '.';
    path += escaped((*it)->name_);
  }
  return path;
}

numeric_server* numeric_server::get(std::string_view path) const {
  // The lookup hands back a pointer that callers may modify through, as a parent does with
  // its children; the tree is not changed here.
  auto* current = const_cast<numeric_server*>(this);
  if (path.empty()) return current;
  std::size_t pos = 0;
  for (;;) {
    numeric_server* found = nullptr;
    std::size_t next_pos = 0;
    for (numeric_server* c = current->children_.next(nullptr); c != nullptr; c = c->next_sibling_) {
      const std::string e = escaped(c->name_);
      if (path.compare(pos, e.size(), e) != 0) continue;
      const std::size_t after = pos + e.size();
      if (after == path.size()) return c;
      // Escaped names hold dots in pairs, so only a run of odd length starts with a separator.
      std::size_t run = 0;
      while (after + run < path.size() && path[after + run] == '.')
        ++run;
      if (run % 2 == 1) {
        found = c;
        next_pos = after + 1;
        break;
      }
    }
    if (found == nullptr) return nullptr;
    current = found;
    pos = next_pos;
  }
}

}  // namespace kyo
