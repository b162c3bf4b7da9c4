// Servers and server lists on the object stream: the byte layout, round trips of a tree
// (also read from one of its children), hand-made streams that describe impossible trees,
// and every truncation and many flipped bytes of valid streams.
#include <kyo/notify/server_list.h>

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <sstream>
#include <type_traits>

#include "support/recording_client.h"

namespace kyo::test {
namespace {

// Servers and lists that count themselves, so that a test can tell a leak from a clean
// failure in every build, not only under the sanitizers.
std::set<const server*> live;

struct tracked_server : server {
  tracked_server(server* parent, const std::string& name) : server(parent, name) {
    live.insert(this);
  }
  explicit tracked_server(streamable_init_t) : server(streamable_init) { live.insert(this); }
  ~tracked_server() override { live.erase(this); }
};

struct tracked_list : server_list {
  tracked_list(server* parent, const char* name, int upper_bound, int compact)
      : server_list(parent, name, upper_bound, compact, 1, 2, 3) {
    live.insert(this);
  }
  explicit tracked_list(streamable_init_t) : server_list(streamable_init) {
    set_codes(1, 2, 3);
    live.insert(this);
  }
  ~tracked_list() override { live.erase(this); }
};

const stream_registration<tracked_server> tracked_server_registration("tracked_server");
const stream_registration<tracked_list> tracked_list_registration("tracked_list");

std::string write(const server* s) {
  std::ostringstream out;
  opstream os(out);
  writePtr(os, s);
  EXPECT_TRUE(os.good()) << os.error();
  return out.str();
}

template <class T = server>
T* read(const std::string& bytes, std::string* error = nullptr) {
  std::istringstream in(bytes);
  ipstream is(in);
  T* s = nullptr;
  readPtr(is, s);
  if (error != nullptr) *error = is.error();
  EXPECT_EQ(s == nullptr, is.fail()) << is.error();
  return s;
}

server* root_of(server* s) {
  while (s->get_parent() != nullptr)
    s = s->get_parent();
  return s;
}

template <class List>
List* new_list(server* parent, const char* name, int upper_bound, int compact) {
  if constexpr (std::is_same_v<List, server_list>) {
    return new server_list(parent, name, upper_bound, compact, 1, 2, 3);
  } else {
    return new List(parent, name, upper_bound, compact);
  }
}

/// A watching list: an owning one written with its owning flag (second-last word) cleared.
template <class List>
List* watching_list(server* parent, const char* name) {
  std::unique_ptr<List> original(new_list<List>(nullptr, name, 1, 1));
  std::string bytes = write(original.get());
  bytes[bytes.size() - 8] = 0;
  List* l = read<List>(bytes);
  l->set_codes(1, 2, 3);
  l->set_parent(parent);
  return l;
}

/// root: a (a1), owning compact list "owned" (m1, m2 (m2a)), owning sparse list "sparse"
/// (-, s1, -), and last a watching list "watch" of a and m1.
template <class Server, class List>
Server* sample_tree() {
  auto* root = new Server(nullptr, "root");
  auto* a = new Server(root, "a");
  new Server(a, "a1");
  auto* owned = new_list<List>(root, "owned", 4, 1);
  auto* m1 = new Server(nullptr, "m1");
  auto* m2 = new Server(nullptr, "m2");
  owned->add_at(*m1, 0);
  owned->add_at(*m2, 1);
  new Server(m2, "m2a");
  auto* sparse = new_list<List>(root, "sparse", 2, 0);
  sparse->add_at(*new Server(nullptr, "s1"), 1);
  List* watch = watching_list<List>(root, "watch");
  watch->add_at(*a, 0);
  watch->add_at(*m1, 1);
  return root;
}

std::vector<std::string> child_names(const server& s) {
  std::vector<std::string> names;
  for (server* c = s.next(nullptr); c != nullptr; c = s.next(c))
    names.push_back(c->get_name());
  return names;
}

server* child(const server& s, const std::string& name) {
  for (server* c = s.next(nullptr); c != nullptr; c = s.next(c)) {
    if (c->name_is(name)) return c;
  }
  return nullptr;
}

/// Every child names its parent, and every member of an owning list is its child.
void expect_consistent(const server& s) {
  for (server* c = s.next(nullptr); c != nullptr; c = s.next(c)) {
    EXPECT_EQ(c->get_parent(), &s);
    expect_consistent(*c);
  }
  if (auto* l = dynamic_cast<const server_list*>(&s);
      l != nullptr && l->ownership() == server_list::owns_members) {
    for (int i = 0; i < l->count(); ++i) {
      if (l->at(i) != nullptr) {
        EXPECT_EQ(l->at(i)->get_parent(), l);
      }
    }
  }
}

// Hand-made stream pieces.
std::string le32(std::uint32_t v) {
  std::string s(4, '\0');
  for (int i = 0; i < 4; ++i)
    s[i] = static_cast<char>(v >> (8 * i));
  return s;
}
std::string seg(const std::string& bytes) {
  return "\x10" + le32(std::uint32_t(bytes.size())) + bytes;
}
std::string rec(const std::string& cls, const std::string& body) {
  return "\x02" + le32(std::uint32_t(cls.size())) + cls + le32(1) +
         le32(std::uint32_t(body.size())) + body;
}
std::string ref(std::uint32_t id) {
  return "\x01" + le32(id);
}
const std::string null_ptr(1, '\0');

/// A tracked_server record: name, parent item, then the child items.
std::string srv(const std::string& name, const std::string& parent,
                const std::vector<std::string>& children = {}) {
  std::string body = seg(le32(std::uint32_t(name.size())) + name) + parent +
                     seg(le32(std::uint32_t(children.size())));
  for (const std::string& c : children)
    body += c;
  return rec("tracked_server", body);
}

/// A tracked_list record: the server part, the member items, the owning and compact flags.
std::string lst(const std::string& name, const std::string& parent,
                const std::vector<std::string>& children, const std::vector<std::string>& members,
                bool owning) {
  std::string body = seg(le32(1) + le32(std::uint32_t(name.size())) + name) + parent +
                     seg(le32(std::uint32_t(children.size())));
  for (const std::string& c : children)
    body += c;
  body += seg(le32(std::uint32_t(members.size())));
  for (const std::string& m : members)
    body += m;
  body += seg(le32(owning ? 1 : 0) + le32(1));
  return rec("tracked_list", body);
}

TEST(server_stream, writes_the_documented_layout) {
  server s(nullptr, "ab");
  EXPECT_EQ(write(&s), rec("server", seg(le32(2) + "ab") + null_ptr + seg(le32(0))));

  server_list l(nullptr, "L", 1, 0, 1, 2, 3);  // sparse: two empty slots
  EXPECT_EQ(write(&l),
            rec("server_list", seg(le32(1) + le32(1) + "L") + null_ptr + seg(le32(0) + le32(2)) +
                                   null_ptr + null_ptr + seg(le32(1) + le32(0))));
}

TEST(server_stream, a_tree_with_lists_round_trips) {
  std::unique_ptr<server> original(sample_tree<server, server_list>());
  EXPECT_TRUE(original->is_dirty());
  const std::string bytes = write(original.get());
  EXPECT_FALSE(original->is_dirty()) << "writing clears the dirty flags";

  std::unique_ptr<server> back(read(bytes));
  ASSERT_NE(back, nullptr);
  expect_consistent(*back);
  EXPECT_FALSE(back->is_dirty());
  EXPECT_EQ(child_names(*back), (std::vector<std::string>{"a", "owned", "sparse", "watch"}));
  server* a = child(*back, "a");
  EXPECT_EQ(child_names(*a), std::vector<std::string>{"a1"});

  auto* owned = dynamic_cast<server_list*>(child(*back, "owned"));
  ASSERT_NE(owned, nullptr);
  EXPECT_EQ(owned->ownership(), server_list::owns_members);
  EXPECT_TRUE(owned->is_compact());
  ASSERT_EQ(owned->count(), 2);
  EXPECT_EQ(owned->at(1)->get_name(), "m2");
  EXPECT_EQ(child_names(*owned->at(1)), std::vector<std::string>{"m2a"});

  auto* sparse = dynamic_cast<server_list*>(child(*back, "sparse"));
  ASSERT_NE(sparse, nullptr);
  EXPECT_FALSE(sparse->is_compact());
  EXPECT_EQ(sparse->count(), 3);
  EXPECT_EQ(sparse->at(0), nullptr);
  EXPECT_EQ(sparse->at(1)->get_name(), "s1");

  auto* watch = dynamic_cast<server_list*>(child(*back, "watch"));
  ASSERT_NE(watch, nullptr);
  EXPECT_EQ(watch->ownership(), server_list::watches_members);
  EXPECT_EQ(watch->at(0), a);
  EXPECT_EQ(watch->at(1), owned->at(0));
  // Reattached as a client of its members: their news reach the list's own clients.
  recording_client on_watch;
  watch->attach_client(on_watch);
  owned->at(0)->notify_clients(42, 7, false);
  EXPECT_EQ(on_watch.received(), (std::vector<notification>{{watch, 42, 7}}));
  watch->detach_client(on_watch);
}

TEST(server_stream, a_child_read_on_its_own_brings_its_tree) {
  std::unique_ptr<server> original(sample_tree<server, server_list>());
  auto* owned = dynamic_cast<server_list*>(child(*original, "owned"));
  const std::string bytes = write(owned->at(1));  // m2: its parents are written inside it

  server* m2 = read(bytes);
  ASSERT_NE(m2, nullptr);
  std::unique_ptr<server> root(root_of(m2));
  EXPECT_EQ(root->get_name(), "root");
  expect_consistent(*root);
  auto* owned_back = dynamic_cast<server_list*>(m2->get_parent());
  ASSERT_NE(owned_back, nullptr);
  EXPECT_EQ(owned_back->find(*m2), 1);
  EXPECT_EQ(child_names(*m2), std::vector<std::string>{"m2a"});
  EXPECT_EQ(child_names(*root), (std::vector<std::string>{"a", "owned", "sparse", "watch"}));
}

TEST(server_stream, refuses_streams_that_describe_impossible_trees) {
  struct row {
    const char* what;
    std::string bytes;
  };
  // Objects are numbered in the order their records start.
  const std::vector<row> rows = {
      {"a parent read without its child", srv("c", srv("p", null_ptr))},
      {"a child listed by a server other than its parent",
       srv("c", srv("p", null_ptr, {srv("d", ref(1), {ref(0)})}))},
      {"a child listed twice", srv("r", null_ptr, {srv("a", ref(0)), ref(1)})},
      {"a child of another server",
       srv("r", null_ptr, {srv("a", ref(0), {srv("b", ref(1))}), ref(2)})},
      {"a null child", srv("r", null_ptr, {null_ptr, srv("a", ref(0))})},
      {"a server that is its own parent", srv("x", ref(0))},
      {"two servers that are each other's parent", srv("x", srv("y", ref(0), {ref(0)}))},
      {"a finished root listed as a child",
       srv("r", null_ptr, {lst("w", ref(0), {}, {srv("o", null_ptr)}, false), ref(2)})},
      {"an owned member that is not a child", lst("l", null_ptr, {}, {srv("m", null_ptr)}, true)},
      {"an owned member listed twice",
       lst("l", null_ptr, {srv("m", ref(0))}, {ref(1), ref(1)}, true)},
      {"a watching list holding itself", lst("w", null_ptr, {}, {ref(0)}, false)},
      {"two watching lists holding each other",
       srv("r", null_ptr,
           {lst("w1", ref(0), {}, {lst("w2", ref(0), {}, {ref(1)}, false)}, false), ref(2)})},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    std::string error;
    server* s = read(r.bytes, &error);
    EXPECT_EQ(s, nullptr);
    EXPECT_FALSE(error.empty());
    delete s;
    EXPECT_TRUE(live.empty()) << live.size() << " servers left behind";
  }

  // The same shapes done right are accepted.
  for (const std::string& good :
       {srv("c", srv("p", null_ptr, {ref(0)})),
        srv("r", null_ptr, {lst("w", ref(0), {}, {srv("o", ref(0))}, false), ref(2)})}) {
    server* s = read(good);
    ASSERT_NE(s, nullptr);
    expect_consistent(*root_of(s));
    delete root_of(s);
    EXPECT_TRUE(live.empty());
  }
}

struct damaged_outcome {
  bool good = false;
  std::size_t left_behind = 0;
};

damaged_outcome read_damaged(const std::string& bytes) {
  std::istringstream in(bytes);
  ipstream is(in);
  server* s = nullptr;
  readPtr(is, s);
  damaged_outcome out{is.good(), 0};
  if (s != nullptr) {
    server* root = root_of(s);
    expect_consistent(*root);
    delete root;
  }
  out.left_behind = live.size();
  // Free what was left so that one failure does not cascade into every later row.
  while (!live.empty()) {
    server* left = const_cast<server*>(*live.begin());
    delete root_of(left);
  }
  return out;
}

std::vector<std::pair<const char*, std::string>> damaged_samples() {
  std::unique_ptr<server> tree(sample_tree<tracked_server, tracked_list>());
  auto* owned = dynamic_cast<server_list*>(child(*tree, "owned"));
  std::vector<std::pair<const char*, std::string>> samples = {
      {"from the root", write(tree.get())}, {"from a member", write(owned->at(1))}};
  tree.reset();
  EXPECT_TRUE(live.empty());
  return samples;
}

TEST(server_stream_damaged, every_truncation_fails_and_frees_what_it_built) {
  for (const auto& [what, bytes] : damaged_samples()) {
    SCOPED_TRACE(what);
    ASSERT_TRUE(read_damaged(bytes).good);
    for (std::size_t n = 0; n < bytes.size(); ++n) {
      SCOPED_TRACE("cut to " + std::to_string(n) + " bytes");
      const damaged_outcome r = read_damaged(bytes.substr(0, n));
      EXPECT_FALSE(r.good);
      EXPECT_EQ(r.left_behind, 0u);
    }
  }
}

TEST(server_stream_damaged, flipped_bytes_fail_cleanly_or_give_a_consistent_tree) {
  for (const auto& [what, bytes] : damaged_samples()) {
    SCOPED_TRACE(what);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      for (unsigned char mask : {0x01, 0x02, 0x80, 0xFF}) {
        SCOPED_TRACE("byte " + std::to_string(i) + " ^ " + std::to_string(mask));
        std::string bad = bytes;
        bad[i] = static_cast<char>(bad[i] ^ mask);
        EXPECT_EQ(read_damaged(bad).left_behind, 0u);
      }
    }
  }
}

}  // namespace
}  // namespace kyo::test
