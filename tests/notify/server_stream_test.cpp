// Servers and server lists on the object stream: the byte layout, round trips of a tree and
// hand-made streams that describe impossible trees. Damaged streams of every kind are the object
// stream fuzz target's.
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

TEST(server_stream, a_tree_with_lists_round_trips) {
  recording_client on_watch;
  std::unique_ptr<server> back(read_back<server>(sample));
  ASSERT_NE(back, nullptr);
  EXPECT_FALSE(back->is_dirty());
  server* a = back->next(nullptr);
  auto* owned = dynamic_cast<server_list*>(back->next(a));
  server* m1 = owned->at(0);
  m1->set_dirty();
  EXPECT_EQ(written(back.get()), sample) << "written back byte for byte";
  EXPECT_FALSE(back->is_dirty()) << "writing clears the dirty flags";
  // The watching list holds the very servers of the tree and is their client again.
  auto* watch = dynamic_cast<server_list*>(back->next(back->next(owned)));
  EXPECT_TRUE(watch->at(0) == a && watch->at(1) == m1);
  watch->attach_client(on_watch);
  m1->notify_clients(42, 7, false);
  EXPECT_EQ(on_watch.received(), (std::vector<notification>{{watch, 42, 7}}));

  back.reset();
  EXPECT_TRUE(live.empty());
}

TEST(server_stream, refuses_streams_that_describe_impossible_trees) {
  const std::vector<std::tuple<const char*, std::string>> rows = {
      {"a parent read without its child", srv("c", srv("p", null_ptr))},
      {"a member count of 4 billion",
       rec("tracked_list",
           server_part(le32(1), "l", null_ptr, {srv("c", ref(0))}) + seg(le32(0xFFFFFFF0)))},
      {"two watching lists holding each other",
       srv("r", null_ptr,
           {lst("w1", ref(0), {}, {lst("w2", ref(0), {}, {ref(1)}, false)}, false), ref(2)})},
  };
  for (const auto& [what, bytes] : rows) {
    SCOPED_TRACE(what);
    EXPECT_EQ(read_back<server>(bytes), nullptr);
    EXPECT_TRUE(live.empty()) << live.size() << " servers left behind";
  }
}

}  // namespace
}  // namespace kyo::test
