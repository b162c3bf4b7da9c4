// Reading a node of an owning tree (servers, numeric servers) from an object stream. A node's
// record holds its name, its parent pointer, fields of its own and its child list; the checks
// here keep a tree read from a damaged stream consistent: one owner per node, child lists that
// agree with the parent pointers, no loops. A node that fails them belongs to nobody, and the
// stream deletes it when the reading fails.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>

#include <kyo/core/object_stream.h>

namespace kyo::detail {

/// The lock of a node whose links need none. Its destructor is user-provided, so that a guard
/// variable of this type counts as used, like a real lock.
struct no_links_guard {
  ~no_links_guard() {}  // NOLINT(modernize-use-equals-default)
};

/// Where a node is in the reading of its own record: its parent pointer, its child list, or
/// neither.
enum class tree_read_phase : std::uint8_t { idle, parent, children };

/// Reads tree nodes of type `Node`, which befriends `tree_reader<Node>` and has the fields
/// `name_`, `parent_`, `children_` (a child_list<Node>) and `phase_` (a tree_read_phase), and
/// the members `would_loop(const Node& parent) const` (whether `parent` as this node's parent
/// would close a loop) and `links_guard() const` (a lock held while links change).
template <class Node>
class tree_reader {
 public:
  /// Reads the name, the parent pointer, then `fields(is)` (the node's own fields, false when
  /// they fail), then the child list, into the new, empty node `s`. `noun` names the node in
  /// error messages ("server"). False, with the stream failed, when anything is wrong.
  template <class Fields>
  static bool read(ipstream& is, Node& s, std::string_view noun, Fields fields) {
    // Every message names the node: "a " + noun + what follows.
    const auto fail = [&](std::string_view what) {
      is.setstate(stream_badbit, "a " + std::string(noun) + std::string(what));
      return false;
    };
    if (s.parent_ != nullptr || s.children_.next(nullptr) != nullptr ||
        s.phase_ != tree_read_phase::idle) {
      return fail(" can only be read when new and empty");
    }
    std::string name;
    is >> name;
    if (!is) return false;
    {
      auto guard = s.links_guard();
      s.name_ = std::move(name);
    }

    struct reset_phase {
      Node& s;
      ~reset_phase() { s.phase_ = tree_read_phase::idle; }
    } reset{s};

    s.phase_ = tree_read_phase::parent;
    Node* p = nullptr;
    readPtr(is, p);
    if (!is || !take_parent(is, s, p, fail) || !fields(is) || !is) return false;

    s.phase_ = tree_read_phase::children;
    const std::uint32_t count = is.readWord32();
    // A child is at least a five-byte reference.
    if (!is || !is.check_count(count, 5)) return false;
    std::unordered_set<const Node*> listed;
    for (std::uint32_t i = 0; i < count; ++i) {
      Node* c = nullptr;
      readPtr(is, c);
      if (!is) return false;
      if (c == nullptr) return fail(" lists a null child");
      if (!listed.insert(c).second) return fail(" lists a child twice");
      if (c->parent_ == nullptr && c->phase_ == tree_read_phase::parent) {
        // A node whose own record encloses this one (the node being read on its own, whose
        // parent was written inside its record): it is adopted now, and its parent pointer,
        // once read, must name this node.
        if (c->would_loop(s)) return fail("'s child list makes a loop");
        c->parent_ = &s;
        auto guard = s.links_guard();
        s.children_.insert(c);
        is.claim(c);
      } else if (c->parent_ != &s) {
        return fail(" lists a child whose parent is another");
      }
      // Children that joined while their own records were read (met first elsewhere) are
      // moved into the written order.
      auto guard = s.links_guard();
      s.children_.remove(c);
      s.children_.insert(c);
    }
    for (const Node* c = s.children_.next(nullptr); c != nullptr; c = s.children_.next(c)) {
      if (!listed.contains(c)) return fail(" names a parent that does not list it as a child");
    }
    return true;
  }

 private:
  template <class Fail>
  static bool take_parent(ipstream& is, Node& s, Node* p, const Fail& fail) {
    if (s.parent_ != nullptr) {
      // Listed as a child while its parent pointer was being read: the pointer must name the
      // node that listed it.
      return p == s.parent_ || fail(" is listed as a child by one that is not its parent");
    }
    if (p == nullptr) return true;
    // Only a node whose record is still being read can gain a child this way: its child list,
    // read now or later, must then list this node (checked at its end). A node read completely
    // already would gain a child it never listed.
    if (p->phase_ == tree_read_phase::idle) {
      return fail(" names a parent that was read without it among its children");
    }
    if (s.would_loop(*p)) return fail("'s parent pointer makes a loop");
    auto guard = s.links_guard();
    s.parent_ = p;
    auto parent_guard = p->links_guard();
    p->children_.insert(&s);
    is.claim(&s);
    return true;
  }
};

}  // namespace kyo::detail
