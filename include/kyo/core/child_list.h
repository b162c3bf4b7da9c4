// The owning, intrusive list of a tree node's children, shared by the server
// trees: the chain runs through each child's next-sibling link, and the list
// deletes its children last first when it goes.
#pragma once

namespace kyo::detail {

/// The children of one `Node`, linked through `Node::next_sibling_`. `Node`
/// befriends `child_list<Node>` and has the fields `next_sibling_` and `parent_`.
template <class Node>
class child_list {
 public:
  child_list() = default;
  child_list(const child_list&) = delete;
  child_list& operator=(const child_list&) = delete;
  /// Deletes the children, last first; each child unlinks itself as it goes.
  ~child_list() { delete_all(); }

  /// Appends `s`; false, and nothing changes, when `s` is null or already listed.
  bool insert(Node* s) {
    if (s == nullptr) return false;
    Node** link = &head_;
    while (*link != nullptr) {
      if (*link == s) return false;
      link = &(*link)->next_sibling_;
    }
    *link = s;
    s->next_sibling_ = nullptr;
    return true;
  }

  /// Unlinks `s`; false when it is not listed.
  bool remove(Node* s) {
    if (s == nullptr) return false;
    for (Node** link = &head_; *link != nullptr; link = &(*link)->next_sibling_) {
      if (*link == s) {
        *link = s->next_sibling_;
        s->next_sibling_ = nullptr;
        return true;
      }
    }
    return false;
  }

  /// The child after `s`, or the first child when `s` is null; null at the end.
  [[nodiscard]] Node* next(const Node* s) const { return s == nullptr ? head_ : s->next_sibling_; }

  /// Deletes every child, the last one first.
  void delete_all() {
    while (head_ != nullptr) {
      Node* last = head_;
      while (last->next_sibling_ != nullptr)
        last = last->next_sibling_;
      remove(last);
      last->parent_ = nullptr;
      delete last;
    }
  }

 private:
  Node* head_ = nullptr;
};

}  // namespace kyo::detail
