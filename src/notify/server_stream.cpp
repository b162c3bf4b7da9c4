// The stream form of servers and server lists. Reading a server tree is the shared tree
// reader's work; a server list adds the checks on its members.
#include <kyo/notify/server.h>
#include <kyo/notify/server_list.h>

#include <algorithm>
#include <unordered_set>

namespace kyo {

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

void server::Streamer::Read(ipstream& is, server& s, std::uint32_t /*version*/) {
  if (detail::tree_reader<server>::read(is, s, "server", [](ipstream&) { return true; })) {
    s.set_dirty(false);
  }
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
