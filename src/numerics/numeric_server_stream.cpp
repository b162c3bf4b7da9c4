// The stream form of numeric servers and the checks that keep a tree read from a damaged stream
// consistent: one owner per server, child lists that agree with the parent pointers, no loops,
// and nothing left behind when the reading fails.
#include <algorithm>
#include <unordered_set>

#include <kyo/numerics/numeric_server.h>

namespace kyo {

namespace {

// A child is at least a five-byte reference.
constexpr std::uint64_t min_child_bytes = 5;

}  // namespace

void numeric_server::Streamer::Write(opstream& os, const numeric_server& s) {
  os << s.name_;
  writePtr(os, s.parent_);
  os.writeWord32(s.hidden_ ? 1 : 0);
  os.writeWord32(static_cast<std::uint32_t>(s.timeout_));
  os.writeWord32(s.browsable_ ? 1 : 0);
  std::uint32_t count = 0;
  for (const numeric_server* c = s.children_.next(nullptr); c != nullptr; c = c->next_sibling_)
    ++count;
  os.writeWord32(count);
  for (const numeric_server* c = s.children_.next(nullptr); c != nullptr; c = c->next_sibling_)
    writePtr(os, c);
}

bool numeric_server::take_read_parent(ipstream& is, numeric_server* p) {
  if (parent_ != nullptr) {
    // Adopted while its parent pointer was being read: the pointer must name the adopter.
    if (p != parent_) {
      is.setstate(stream_badbit,
                  "a numeric server is listed as a child by a server that is not its parent");
      return false;
    }
    return true;
  }
  if (p == nullptr) return true;
  // Only a server that is reading its child list can be named as a parent by a server read
  // inside that list; any other would gain a child it never listed.
  if (p->phase_ != read_phase::children) {
    is.setstate(stream_badbit,
                "a numeric server names a parent that was read without it among its children");
    return false;
  }
  if (is_self_or_ancestor_of(*p)) {
    is.setstate(stream_badbit, "a numeric server's parent pointer makes a loop");
    return false;
  }
  parent_ = p;
  p->children_.insert(this);
  is.claim(this);
  return true;
}

void numeric_server::Streamer::Read(ipstream& is, numeric_server& s, std::uint32_t /*version*/) {
  if (s.parent_ != nullptr || s.children_.next(nullptr) != nullptr ||
      s.phase_ != read_phase::idle) {
    is.setstate(stream_badbit, "a numeric server can only be read into a new, empty server");
    return;
  }
  std::string name;
  is >> name;
  if (!is) return;
  s.name_ = std::move(name);

  struct reset_phase {
    numeric_server& s;
    ~reset_phase() { s.phase_ = read_phase::idle; }
  } reset{s};

  s.phase_ = read_phase::parent;
  numeric_server* p = nullptr;
  readPtr(is, p);
  if (!is || !s.take_read_parent(is, p)) return;

  const bool hidden = is.readWord32() != 0;
  const auto timeout = static_cast<std::int32_t>(is.readWord32());
  const bool browsable = is.readWord32() != 0;
  if (!is) return;
  s.hidden_ = hidden;
  s.timeout_ = timeout;
  s.browsable_ = browsable;

  s.phase_ = read_phase::children;
  const std::uint32_t count = is.readWord32();
  if (!is || !is.check_count(count, min_child_bytes)) return;
  std::unordered_set<const numeric_server*> listed;
  for (std::uint32_t i = 0; i < count; ++i) {
    numeric_server* c = nullptr;
    readPtr(is, c);
    if (!is) return;
    if (c == nullptr) {
      is.setstate(stream_badbit, "a null child in a numeric server's child list");
      return;
    }
    // A child that fails the checks below belongs to nobody, and the stream deletes it when
    // the reading fails. One that passes them has been claimed by this server.
    if (!listed.insert(c).second) {
      is.setstate(stream_badbit, "a numeric server listed twice as a child");
      return;
    }
    if (c->parent_ == nullptr && c->phase_ == read_phase::parent) {
      // A server whose own record encloses this one (the server being read on its own, whose
      // parent was written inside its record): it is adopted now, and its parent pointer, once
      // read, must name this server.
      if (c->is_self_or_ancestor_of(s)) {
        is.setstate(stream_badbit, "a numeric server's child list makes a loop");
        return;
      }
      c->parent_ = &s;
      s.children_.insert(c);
      is.claim(c);
    } else if (c->parent_ != &s) {
      is.setstate(stream_badbit, "a child whose parent is another numeric server");
      return;
    }
    // Children that joined while their own records were read are moved into the written order.
    s.children_.remove(c);
    s.children_.insert(c);
  }
  for (const numeric_server* c = s.children_.next(nullptr); c != nullptr; c = c->next_sibling_) {
    if (!listed.contains(c)) {
      is.setstate(stream_badbit,
                  "a numeric server names a parent that does not list it as a child");
      return;
    }
  }
}

}  // namespace kyo
