#include <kyo/notify/server.h>
#include <kyo/notify/server_list.h>

#include <algorithm>
#include <unordered_set>

namespace kyo {

client::~client() = default;

// ---------------------------------------------------------------------------
// server

server::server(server* parent, const std::string& name) : name_(name) {
  set_parent(parent);
}

server::server(const server& other) : streamable(other), server_lock(), name_(other.get_name()) {}

server::server(streamable_init_t) {}

namespace {

// Registered beside the destructor, so that a static link that uses the class at all keeps it.
const stream_registration<server> server_registration("server");

}  // namespace

server::~server() {
  std::vector<server_list*> holders;
  {
    std::lock_guard guard(lock());
    holders.swap(holders_);
  }
  for (server_list* list : holders)
    list->forget(*this);
  unlink_from_parent();
  {
    std::lock_guard guard(lock());
    clients_.clear();
  }
  children_.delete_all();
}

server& server::operator=(const server& other) {
  if (this == &other) {
    set_dirty();
    return *this;
  }
  // Taken from the other server first, so that the two locks are never held together.
  std::string name = other.get_name();
  std::lock_guard guard(lock());
  name_ = std::move(name);
  dirty_ = true;
  return *this;
}

std::string server::get_name() const {
  std::lock_guard guard(lock());
  return name_;
}

void server::set_name(const std::string& name) {
  std::lock_guard guard(lock());
  name_ = name;
  dirty_ = true;
}

bool server::name_is(const std::string& name) const {
  std::lock_guard guard(lock());
  return name_ == name;
}

server* server::get_parent() const {
  std::lock_guard guard(lock());
  return parent_;
}

bool server::set_parent(server* p) {
  std::lock_guard guard(lock());
  if (p == parent_) return true;
  if (p != nullptr && would_loop(*p)) return false;
  // The child's lock is held while the parents' are taken: child before parent.
  if (parent_ != nullptr) {
    std::lock_guard old_guard(parent_->lock());
    parent_->children_.remove(this);
  }
  parent_ = p;
  if (p != nullptr) {
    std::lock_guard new_guard(p->lock());
    p->children_.insert(this);
  }
  return true;
}

server* server::next(const server* child) const {
  std::lock_guard guard(lock());
  return children_.next(child);
}

void server::attach_client(client& c) const {
  std::lock_guard guard(lock());
  if (std::find(clients_.begin(), clients_.end(), &c) != clients_.end()) return;
  auto empty = std::find(clients_.begin(), clients_.end(), nullptr);
  if (empty != clients_.end()) {
    *empty = &c;
  } else {
    clients_.push_back(&c);
  }
}

void server::detach_client(client& c) const {
  std::lock_guard guard(lock());
  auto it = std::find(clients_.begin(), clients_.end(), &c);
  if (it != clients_.end()) *it = nullptr;
}

std::size_t server::client_slots() const {
  std::lock_guard guard(lock());
  return clients_.size();
}

bool server::is_dirty() const {
  std::vector<const server*> children;
  {
    std::lock_guard guard(lock());
    if (dirty_) return true;
    for (const server* c = children_.next(nullptr); c != nullptr; c = c->next_sibling_) {
      children.push_back(c);
    }
  }
  // Asked without this server's lock: holding a parent's lock while waiting for a child's
  // would deadlock against a child that is notifying its parent.
  return std::any_of(children.begin(), children.end(),
                     [](const server* c) { return c->is_dirty(); });
}

void server::set_dirty(bool on) {
  std::lock_guard guard(lock());
  dirty_ = on;
}

void server::parent_notify(server& /*source*/, int code, long arg) {
  std::lock_guard guard(lock());
  if (parent_ != nullptr) parent_->parent_notify(*this, code, arg);
}

void server::notify_clients(int code, long arg, bool tell_parent) {
  std::lock_guard guard(lock());
  if (tell_parent && parent_ != nullptr) parent_->parent_notify(*this, code, arg);
  // A client may attach or detach others while it is called: the slots are read afresh
  // each time, and clients attached during the round wait for the next one.
  const std::size_t count = clients_.size();
  for (std::size_t i = 0; i < count && i < clients_.size(); ++i) {
    if (client* c = clients_[i]) c->notify(*this, code, arg);
  }
}

bool server::would_loop(const server& p) const {
  return &p == this || (has_incoming() && reaches(p, *this));
}

// Whether any notification can arrive here at all: from a child, or, for a watching list,
// from a member. A server without either cannot be part of a loop, which spares most
// checks the walk below.
bool server::has_incoming() const {
  {
    std::lock_guard guard(lock());
    if (children_.next(nullptr) != nullptr) return true;
  }
  const auto* l = dynamic_cast<const server_list*>(this);
  return l != nullptr && !l->owning() &&
         std::any_of(l->items_.begin(), l->items_.end(), [](server* m) { return m != nullptr; });
}

// The servers a notification arriving at `from` can travel on to, `from` included. A
// server passes what its children tell it to its parent; a server list also passes it to
// the lists that watch it. A loop in that graph would make one notification go round for
// ever. The walk stops early once `to` is met.
std::unordered_set<const server*> server::reachable(const server& from, const server* to) {
  std::vector<const server*> todo{&from};
  std::unordered_set<const server*> seen;
  while (!todo.empty()) {
    const server* s = todo.back();
    todo.pop_back();
    if (!seen.insert(s).second) continue;
    if (s == to) break;
    const bool forwards_to_clients = dynamic_cast<const server_list*>(s) != nullptr;
    std::lock_guard guard(s->lock());
    if (s->parent_ != nullptr) todo.push_back(s->parent_);
    if (forwards_to_clients) {
      for (const server_list* h : s->holders_) {
        if (!h->owning()) todo.push_back(h);
      }
    }
  }
  return seen;
}

bool server::reaches(const server& from, const server& to) {
  return reachable(from, &to).contains(&to);
}

void server::unlink_from_parent() {
  std::lock_guard guard(lock());
  if (parent_ == nullptr) return;
  {
    std::lock_guard parent_guard(parent_->lock());
    parent_->children_.remove(this);
  }
  parent_ = nullptr;
}

void server::add_holder(server_list* list) const {
  std::lock_guard guard(lock());
  holders_.push_back(list);
}

void server::remove_holder(server_list* list) const {
  std::lock_guard guard(lock());
  auto it = std::find(holders_.begin(), holders_.end(), list);
  if (it != holders_.end()) holders_.erase(it);
}

bool server::held_by_owning_list() const {
  std::lock_guard guard(lock());
  return std::any_of(holders_.begin(), holders_.end(),
                     [](const server_list* h) { return h->owning(); });
}

}  // namespace kyo
