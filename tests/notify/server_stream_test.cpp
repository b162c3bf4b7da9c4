// Servers and server lists on the object stream: the byte layout, round trips of a tree (also
// read from one of its children) and hand-made streams that describe impossible trees. Damaged
// streams of every kind are the object stream fuzz target's.
#include <kyo/notify/server_list.h>

#include <gtest/gtest.h>

#include <memory>
#include <set>

#include "support/recording_client.h"
#include "support/stream_bytes.h"

namespace kyo::test {
namespace {

// Servers and lists that count themselves, so that a test can tell a leak from a clean
// failure in every build, not only under the sanitizers.
std::set<const server*> live;

struct tracked_server : server {
  explicit tracked_server(streamable_init_t) : server(streamable_init) { live.insert(this); }
  ~tracked_server() override { live.erase(this); }
};

struct tracked_list : server_list {
  explicit tracked_list(streamable_init_t) : server_list(streamable_init) {
    set_codes(1, 2, 3);
    live.insert(this);
  }
  ~tracked_list() override { live.erase(this); }
};

const stream_registration<tracked_server> tracked_server_registration("tracked_server");
const stream_registration<tracked_list> tracked_list_registration("tracked_list");

server* read(const std::string& bytes, std::string* error = nullptr) {
  return read_back<server>(bytes, error);
}

server* child(const server& s, const std::string& name) {
  for (server* c = s.next(nullptr); c != nullptr; c = s.next(c)) {
    if (c->name_is(name)) return c;
  }
  return nullptr;
}

/// The tree as text: "name(children)", a list's slots in [] after "own" or "watch" and
/// "sparse" for a sparse list ("-" for an empty slot). "!" follows a child that names another
/// parent and an owned member that is not the list's child.
std::string shape(const server& s) {
  std::string out = s.get_name();
  if (auto* l = dynamic_cast<const server_list*>(&s)) {
    const bool owns = l->ownership() == server_list::owns_members;
    out += std::string(owns ? "[own" : "[watch") + (l->is_compact() ? "" : " sparse");
    for (int i = 0; i < l->count(); ++i) {
      out += l->at(i) == nullptr ? " -" : " " + l->at(i)->get_name();
      if (owns && l->at(i) != nullptr && l->at(i)->get_parent() != l) out += "!";
    }
    out += "]";
  }
  for (server* c = s.next(nullptr); c != nullptr; c = s.next(c)) {
    out += (c == s.next(nullptr) ? "(" : " ") + shape(*c) + (c->get_parent() == &s ? "" : "!");
  }
  return s.next(nullptr) == nullptr ? out : out + ")";
}

using namespace bytes;

/// A count and the items.
std::string items(const std::vector<std::string>& list) {
  std::string out = seg(le32(std::uint32_t(list.size())));
  for (const std::string& item : list)
    out += item;
  return out;
}
/// The server part of a record: name (after `version` when given), parent item, child items.
std::string server_part(const std::string& version, const std::string& name,
                        const std::string& parent, const std::vector<std::string>& children) {
  return seg(version + le32(std::uint32_t(name.size())) + name) + parent + items(children);
}
std::string srv(const std::string& name, const std::string& parent,
                const std::vector<std::string>& children = {}) {
  return rec("tracked_server", server_part("", name, parent, children));
}
/// A tracked_list record: the server part, the member items, the owning and compact flags.
std::string lst(const std::string& name, const std::string& parent,
                const std::vector<std::string>& children, const std::vector<std::string>& members,
                bool owning, bool compact = true) {
  return rec("tracked_list", server_part(le32(1), name, parent, children) + items(members) +
                                 seg(le32(owning ? 1 : 0) + le32(compact ? 1 : 0)));
}

// root: a (a1), owning compact list "owned" (m1, m2 (m2a)), owning sparse list "sparse"
// (-, s1, -), and last a watching list "watch" of a and m1, with a child w1 so that, as in the
// other lists, its member count is a run of data of its own. Objects are numbered in the order
// their records start: root 0, a 1, a1 2, owned 3, m1 4, m2 5, m2a 6, sparse 7, s1 8, watch 9,
// w1 10.
const std::string sample =
    srv("root", null_ptr,
        {srv("a", ref(0), {srv("a1", ref(1))}),
         lst("owned", ref(0), {srv("m1", ref(3)), srv("m2", ref(3), {srv("m2a", ref(5))})},
             {ref(4), ref(5)}, true),
         lst("sparse", ref(0), {srv("s1", ref(7))}, {null_ptr, ref(8), null_ptr}, true, false),
         lst("watch", ref(0), {srv("w1", ref(9))}, {ref(1), ref(4)}, false)});
const std::string sample_shape =
    "root(a(a1) owned[own m1 m2](m1 m2(m2a)) sparse[own sparse - s1 -](s1) watch[watch a m1](w1))";

TEST(server_stream, a_tree_with_lists_round_trips_also_from_a_child) {
  std::unique_ptr<server> back(read(sample));
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(shape(*back), sample_shape);
  EXPECT_FALSE(back->is_dirty());
  auto* owned = dynamic_cast<server_list*>(child(*back, "owned"));
  server* m1 = owned->at(0);
  m1->set_dirty();
  EXPECT_EQ(written(back.get()), sample) << "written back byte for byte";
  EXPECT_FALSE(back->is_dirty()) << "writing clears the dirty flags";
  // The watching list holds the very servers of the tree and is their client again.
  auto* watch = dynamic_cast<server_list*>(child(*back, "watch"));
  EXPECT_TRUE(watch->at(0) == child(*back, "a") && watch->at(1) == m1);
  recording_client on_watch;
  watch->attach_client(on_watch);
  m1->notify_clients(42, 7, false);
  EXPECT_EQ(on_watch.received(), (std::vector<notification>{{watch, 42, 7}}));
  watch->detach_client(on_watch);

  // m2 written alone: its parents are written inside it.
  const std::string from_m2 = written(owned->at(1));
  back.reset();
  server* m2 = read(from_m2);
  ASSERT_NE(m2, nullptr);
  std::unique_ptr<server> root(root_of(m2));
  EXPECT_EQ(shape(*root), sample_shape);
  EXPECT_EQ(dynamic_cast<server_list*>(m2->get_parent())->at(1), m2);
  root.reset();
  EXPECT_TRUE(live.empty());
}

TEST(server_stream, refuses_streams_that_describe_impossible_trees) {
  // Objects are numbered in the order their records start.
  const std::vector<std::tuple<const char*, std::string>> rows = {
      {"a parent read without its child", srv("c", srv("p", null_ptr))},
      {"a child listed twice", srv("r", null_ptr, {srv("a", ref(0)), ref(1)})},
      {"a finished root listed as a child",
       srv("r", null_ptr, {lst("w", ref(0), {}, {srv("o", null_ptr)}, false), ref(2)})},
      {"an owned member that is not a child", lst("l", null_ptr, {}, {srv("m", null_ptr)}, true)},
      {"a watching list holding itself", lst("w", null_ptr, {}, {ref(0)}, false)},
      {"a member count of 4 billion",
       rec("tracked_list",
           server_part(le32(1), "l", null_ptr, {srv("c", ref(0))}) + seg(le32(0xFFFFFFF0)))},
      {"two watching lists holding each other",
       srv("r", null_ptr,
           {lst("w1", ref(0), {}, {lst("w2", ref(0), {}, {ref(1)}, false)}, false), ref(2)})},
  };
  for (const auto& [what, bytes] : rows) {
    SCOPED_TRACE(what);
    std::string error;
    EXPECT_EQ(read(bytes, &error), nullptr);
    EXPECT_FALSE(error.empty());
    EXPECT_TRUE(live.empty()) << live.size() << " servers left behind";
  }
  // The same shapes done right are accepted.
  server* s = read(srv("c", srv("p", null_ptr, {ref(0)})));
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(shape(*root_of(s)), "p(c)");
  delete root_of(s);
  s = read(srv("r", null_ptr, {lst("w", ref(0), {}, {srv("o", ref(0))}, false), ref(2)}));
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(shape(*s), "r(w[watch o] o)");
  delete s;
  EXPECT_TRUE(live.empty());
}

}  // namespace
}  // namespace kyo::test
