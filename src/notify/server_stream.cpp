// The stream form of servers and server lists, and the checks that keep a tree read
// from a damaged stream consistent: one owner per server, child lists that agree with
// the parent pointers, no loops, and nothing left behind when the reading fails.
#include <kyo/notify/server.h>
#include <kyo/notify/server_list.h>

#include <algorithm>
#include <unordered_set>

namespace kyo {

bool server::accepts_child_while_reading() const {
  return phase_ != read_phase::idle;
}

void server::Streamer::Write(opstream& os, const server& s) {
  std::string name;
  const server* parent = nullptr;
  std::vector<const server*> children;
  {
    std::lock_guard guard(s.lock());
    name = s.name_;
    parent = s.parent_;
    for (const server* c = s.children_.next(nullptr); c != nullptr; c = c->next_sibling_) {
      children.push_back(c);
    }
  }
  os << name;
  writePtr(os, parent);
  os.writeWord32(static_cast<std::uint32_t>(children.size()));
  for (const server* c : children)
    writePtr(os, c);
  if (os.good()) {
    std::lock_guard guard(s.lock());
    s.dirty_ = false;
  }
}

bool server::take_read_parent(ipstream& is, server* p) {
  if (parent_ != nullptr) {
    // Listed as a child while its parent pointer was being read: the pointer must name
    // the server that listed it.
    if (p != parent_) {
      is.setstate(stream_badbit,
                  "a server is listed as a child by a server that is not its parent");
      return false;
    }
    return true;
  }
  if (p == nullptr) return true;
  if (!p->accepts_child_while_reading()) {
    is.setstate(stream_badbit,
                "a server names a parent that was read without it among its children");
    return false;
  }
  if (would_loop(*p)) {
    is.setstate(stream_badbit, "a server's parent pointer makes a loop");
    return false;
  }
  std::lock_guard guard(lock());
  parent_ = p;
  std::lock_guard parent_guard(p->lock());
  p->children_.insert(this);
  is.claim(this);
  return true;
}

void server::Streamer::Read(ipstream& is, server& s, std::uint32_t /*version*/) {
  if (s.get_parent() != nullptr || s.next(nullptr) != nullptr || s.phase_ != read_phase::idle) {
    is.setstate(stream_badbit, "a server can only be read into a new, empty server");
    return;
  }
  std::string name;
  is >> name;
  if (!is) return;
  {
    std::lock_guard guard(s.lock());
    s.name_ = std::move(name);
  }

  struct reset_phase {
    server& s;
    ~reset_phase() { s.phase_ = read_phase::idle; }
  } reset{s};

  s.phase_ = read_phase::parent;
  server* p = nullptr;
  readPtr(is, p);
  if (!is || !s.take_read_parent(is, p)) return;

  s.phase_ = read_phase::children;
  const std::uint32_t count = is.readWord32();
  // A child is at least a five-byte reference.
  if (!is.check_count(count, 5)) return;
  std::unordered_set<const server*> listed;
  for (std::uint32_t i = 0; i < count; ++i) {
    server* c = nullptr;
    readPtr(is, c);
    if (!is) return;
    if (c == nullptr) {
      is.setstate(stream_badbit, "a null child in a server's child list");
      return;
    }
    if (!listed.insert(c).second) {
      is.setstate(stream_badbit, "a child listed twice");
      return;
    }
    if (c->parent_ == nullptr && c->phase_ == read_phase::parent) {
      // A server whose own record encloses this one (typically the server being read on
      // its own, whose parent was written inside its record): it is adopted now, and its
      // parent pointer, once read, must name this server.
      if (c->would_loop(s)) {
        is.setstate(stream_badbit, "a child list makes a loop");
        return;
      }
      c->parent_ = &s;
      std::lock_guard guard(s.lock());
      s.children_.insert(c);
      is.claim(c);
    } else if (c->parent_ != &s) {
      is.setstate(stream_badbit, "a child whose parent is not this server");
      return;
    }
    // Children that joined while their own records were read (met first elsewhere) are
    // moved into the written order.
    std::lock_guard guard(s.lock());
    s.children_.remove(c);
    s.children_.insert(c);
  }
  for (const server* c = s.next(nullptr); c != nullptr; c = s.next(c)) {
    if (!listed.contains(c)) {
      is.setstate(stream_badbit, "a server names a parent that does not list it as a child");
      return;
    }
  }
  s.set_dirty(false);
}

void server_list::Streamer::Write(opstream& os, const server_list& l) {
  write_base<server>(os, l);
  os.writeWord32(static_cast<std::uint32_t>(l.items_.size()));
  for (const server* m : l.items_)
    writePtr(os, m);
  os.writeWord32(l.owning() ? 1 : 0);
  os.writeWord32(l.compact_ ? 1 : 0);
}

void server_list::Streamer::Read(ipstream& is, server_list& l, std::uint32_t /*version*/) {
  if (std::any_of(l.items_.begin(), l.items_.end(), [](server* m) { return m != nullptr; })) {
    is.setstate(stream_badbit, "a server list can only be read into an empty list");
    return;
  }
  read_base<server>(is, l);
  const std::uint32_t count = is.readWord32();
  // A slot is at least a one-byte null pointer.
  if (!is || !is.check_count(count, 1)) return;
  std::vector<server*> members;
  members.reserve(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    server* m = nullptr;
    readPtr(is, m);
    if (!is) return;
    members.push_back(m);
  }
  const bool owning = is.readWord32() != 0;
  const bool compact = is.readWord32() != 0;
  if (!is) return;

  std::unordered_set<const server*> seen;
  // Where the list's own news go, worked out once for all members.
  std::unordered_set<const server*> news_reach;
  bool reach_known = false;
  for (server* m : members) {
    if (m == nullptr) continue;
    if (owning) {
      if (!seen.insert(m).second) {
        is.setstate(stream_badbit, "a member listed twice in an owning server list");
        return;
      }
      if (m->get_parent() != &l) {
        is.setstate(stream_badbit, "a member of an owning server list that is not its child");
        return;
      }
      if (m->held_by_owning_list()) {
        is.setstate(stream_badbit, "a member already held by another owning server list");
        return;
      }
      continue;
    }
    if (m != &l && dynamic_cast<server_list*>(m) == nullptr) continue;
    if (!reach_known) {
      news_reach = reachable(l, nullptr);
      reach_known = true;
    }
    if (news_reach.contains(m)) {
      is.setstate(stream_badbit, "a watching server list whose notifications would loop");
      return;
    }
  }
  l.ownership_ = owning ? owns_members : watches_members;
  l.compact_ = compact;
  l.items_ = std::move(members);
  l.limit_ = static_cast<int>(l.items_.size());
  for (server* m : l.items_) {
    if (m != nullptr) l.hold(*m);
  }
}

}  // namespace kyo
