// Small persistent classes for the object stream tests: a tree of nodes that
// own their children, point back to their parent and may share a "buddy".
#pragma once

#include <kyo/core/object_stream.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace kyo::test {

struct node;
/// Every live node, so that tests can tell a leak from a clean failure.
inline std::set<node*> live_nodes;

struct node : streamable {
  std::string name;
  std::uint32_t value = 0;
  double x = 0.0;
  node* parent = nullptr;                       // not owned: the cycle
  std::vector<std::unique_ptr<node>> children;  // owned
  node* buddy = nullptr;                        // not owned: a shared object or null

  node() { live_nodes.insert(this); }
  explicit node(streamable_init_t) { live_nodes.insert(this); }
  node(const node&) = delete;
  ~node() override { live_nodes.erase(this); }

  node* add(std::string child_name, std::uint32_t v) {
    children.push_back(std::make_unique<node>());
    node* c = children.back().get();
    c->name = std::move(child_name);
    c->value = v;
    c->parent = this;
    return c;
  }

  struct Streamer {
    static void Write(opstream& os, const node& n) {
      os << n.name;
      os.writeWord32(n.value);
      os.writeDouble(n.x);
      writePtr(os, n.parent);
      os.writeWord32(static_cast<std::uint32_t>(n.children.size()));
      for (const auto& c : n.children)
        writePtr(os, c.get());
      writePtr(os, n.buddy);
    }

    static void Read(ipstream& is, node& n, std::uint32_t) {
      is >> n.name;
      n.value = is.readWord32();
      n.x = is.readDouble();
      readPtr(is, n.parent);
      const std::uint32_t count = is.readWord32();
      if (!is.check_count(count, 1)) return;
      for (std::uint32_t i = 0; i < count && is.good(); ++i) {
        node* c = nullptr;
        readPtr(is, c);
        if (c == nullptr) continue;
        // A child is owned here only when it names this node as its parent and
        // is not owned yet: a corrupt stream must not make two owners.
        const bool owned_already = std::any_of(n.children.begin(), n.children.end(),
                                               [&](const auto& p) { return p.get() == c; });
        if (c == &n || c->parent != &n || owned_already) {
          is.setstate(stream_badbit, "child does not belong to its parent");
          return;
        }
        n.children.emplace_back(c);
        is.claim(c);
      }
      readPtr(is, n.buddy);
    }
  };
};

/// A node with one more field, written under the base-part convention.
struct tagged_node : node {
  std::string tag;

  tagged_node() = default;
  explicit tagged_node(streamable_init_t) {}

  struct Streamer {
    static constexpr std::uint32_t version = 3;
    static void Write(opstream& os, const tagged_node& n) {
      write_base<node>(os, n);
      os << n.tag;
    }
    static void Read(ipstream& is, tagged_node& n, std::uint32_t) {
      read_base<node>(is, n);
      is >> n.tag;
    }
  };
};

/// Version 2 of a class whose version 1 held `a` and `b`: its new part holds a node with a
/// child. `reader_version` 1 reads as the older program did, skipping the new part.
struct growing : streamable {
  static inline std::uint32_t reader_version = 2;
  std::uint32_t a = 0, b = 0;
  std::unique_ptr<node> extra;
  growing() = default;
  explicit growing(streamable_init_t) {}
  struct Streamer {
    static constexpr std::uint32_t version = 2;
    static void Write(opstream& os, const growing& g) {
      os.writeWord32(g.a);
      os.writeWord32(g.b);
      writePtr(os, g.extra.get());
    }
    static void Read(ipstream& is, growing& g, std::uint32_t) {
      g.a = is.readWord32();
      g.b = is.readWord32();
      if (reader_version < 2) return;
      node* extra = nullptr;
      readPtr(is, extra);
      g.extra.reset(extra);
    }
  };
};

inline const stream_registration<node> node_registration{"test_node"};
inline const stream_registration<tagged_node> tagged_node_registration{"test_tagged_node"};
inline const stream_registration<growing> growing_registration{"test_growing"};

/// root -> a, b, c; a -> a1; a.buddy = root; c.buddy = a; b.buddy = null.
/// Buddies only point backwards, so every object of the graph is owned.
inline std::unique_ptr<node> make_sample_tree() {
  auto root = std::make_unique<node>();
  root->name = "root";
  root->value = 7;
  root->x = -0.0;
  node* a = root->add("a", 1);
  a->x = 1.5;
  a->add("a1", 11)->x = 1e300;
  a->buddy = root.get();
  node* b = root->add("", 2);
  b->name.assign("with\0nul\xb0", 9);
  node* c = root->add("c", 3);
  c->buddy = a;
  return root;
}

}  // namespace kyo::test
