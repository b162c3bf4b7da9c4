// Server lists: sparse and compact arrays, owning and watching, the three codes, code 102,
// and members that leave on their own.
#include <kyo/notify/server_list.h>

#include <gtest/gtest.h>

#include <sstream>

#include "support/recording_client.h"

namespace kyo::test {
namespace {

constexpr int added = 611;
constexpr int destroyed = 610;
constexpr int removed = 612;

/// A member that announces its end with the lists' destroyed code, as alarms do.
class announcing_server : public server {
 public:
  using server::server;
  ~announcing_server() override { notify_clients(destroyed, to_notify_arg(this), true); }
};

struct server_list_test : ::testing::Test {
  /// An owning or watching list below `top`, with `watcher` attached.
  server_list* make(int upper_bound, bool compact, bool owns = true) {
    auto* l = new server_list(nullptr, "list", upper_bound, compact, added, destroyed, removed);
    if (!owns) {
      // Only a stream makes a watching list: an owning one is written with its owning flag (the
      // second-last 32-bit word) cleared, and read.
      std::ostringstream out;
      opstream(out).writeObject(l);
      delete l;
      std::string bytes = out.str();
      bytes[bytes.size() - 8] = 0;
      std::istringstream in(bytes);
      ipstream is(in);
      readPtr(is, l);
      EXPECT_TRUE(l != nullptr && l->ownership() == server_list::watches_members) << is.error();
      l->set_codes(added, destroyed, removed);
    }
    l->set_parent(&top);
    l->attach_client(watcher);
    return l;
  }

  recording_client watcher;  // outlives the lists, which tell it of their end
  server top{nullptr, "top"};
};

TEST_F(server_list_test, sparse_lists_keep_their_slots_and_compact_lists_shift) {
  server_list* l = make(3, false);
  auto* a = new server(nullptr, "a");
  auto* b = new server(nullptr, "b");
  ASSERT_TRUE(l->add_at(*a, 2) && l->add_at(*b, 0));
  EXPECT_FALSE(l->add_at(*new server(l, "x"), 4)) << "past the last slot";
  EXPECT_EQ(a->get_parent(), l);
  ASSERT_TRUE(l->remove(2));
  EXPECT_TRUE(l->count() == 4 && l->at(2) == nullptr && l->find(*b) == 0);
  EXPECT_FALSE(l->remove(2)) << "an empty slot";
  l->flush();
  EXPECT_TRUE(l->count() == 4 && l->at(0) == nullptr);

  server_list* c = make(0, true);
  auto* same = new server(nullptr, "same");
  auto* late = new server(nullptr, "same");
  ASSERT_TRUE(c->add_at(*same, 0) && c->add_at(*new server(nullptr, "o"), 1) &&
              c->add_at(*late, 0));
  EXPECT_FALSE(c->add_at(*new server(c, "far"), 5)) << "beyond the end";
  EXPECT_TRUE(c->count() == 3 && c->get("same") == late && c->get("none") == nullptr);
  EXPECT_EQ(c->find(server()), 0x7FFFFFFF);
  c->set_dirty(false);
  watcher.clear();
  ASSERT_TRUE(c->remove(0));
  EXPECT_TRUE(c->at(0) == same && c->count() == 2 && c->is_dirty());
  EXPECT_EQ(watcher.codes(), std::vector<int>{})
      << "a deleted member that does not announce itself leaves silently";
}

TEST_F(server_list_test, an_owned_member_deleted_directly_leaves_through_the_destroyed_code) {
  for (bool compact : {true, false}) {
    SCOPED_TRACE(compact ? "compact" : "sparse");
    server_list* l = make(2, compact);
    auto* a = new announcing_server(nullptr, "a");
    auto* b = new announcing_server(nullptr, "b");
    ASSERT_TRUE(l->add_at(*a, 0) && l->add_at(*b, 1));
    EXPECT_EQ(watcher.codes(), (std::vector<int>{added, added}));
    EXPECT_EQ(watcher.received()[1].arg, 1) << "the index";
    watcher.clear();
    delete a;
    EXPECT_EQ(watcher.received(), (std::vector<notification>{{l, removed, 0}}));
    EXPECT_EQ(l->find(*b), compact ? 0 : 1);
    EXPECT_EQ(l->count(), compact ? 1 : 3);
    EXPECT_EQ(l->next(nullptr), b);
    // Members' news pass on; then 102 with the list's address, then the member leaves, telling
    // the removed code as it announces itself.
    watcher.clear();
    b->notify_clients(77, 1234, true);
    const long self = to_notify_arg(l);
    delete l;
    EXPECT_EQ(watcher.received(),
              (std::vector<notification>{{l, 77, 1234},
                                         {l, server_list::destroyed_notice, self},
                                         {l, removed, compact ? 0 : 1}}));
    EXPECT_EQ(top.next(nullptr), nullptr);
    watcher.clear();
  }
}

TEST_F(server_list_test, refuses_members_it_cannot_hold) {
  server_list* l = make(4, true);
  server_list* other = make(4, true);
  auto* a = new server(nullptr, "a");
  ASSERT_TRUE(l->add_at(*a, 0));
  EXPECT_FALSE(l->add_at(*a, 1)) << "already a member";
  EXPECT_FALSE(other->add_at(*a, 0)) << "owned by another list";
  EXPECT_FALSE(l->add_at(*l, 0)) << "itself";
  EXPECT_FALSE(l->add_at(top, 0)) << "its own parent";
  EXPECT_EQ(l->count() + other->count(), 1);
  server_list* w1 = make(2, true, false);
  server_list* w2 = make(2, true, false);
  EXPECT_FALSE(w1->add_at(*w1, 0));
  ASSERT_TRUE(w1->add_at(*w2, 0));
  EXPECT_FALSE(w2->add_at(*w1, 0)) << "w1 passes w2's news to its clients, w2 would pass them back";
  EXPECT_TRUE(w2->add_at(top, 0)) << "top passes news only upwards: no loop";
}

TEST_F(server_list_test, a_watching_list_follows_its_members_without_owning_them) {
  auto* a = new announcing_server(&top, "a");
  auto* b = new server(&top, "b");
  auto* c = new server(&top, "c");
  server_list* w = make(2, false, false);
  ASSERT_TRUE(w->add_at(*a, 0) && w->add_at(*b, 2));
  EXPECT_EQ(a->get_parent(), &top) << "watched, not adopted";
  EXPECT_EQ(watcher.codes(), (std::vector<int>{removed, added, removed, added}))
      << "the removed code even for an empty slot";
  watcher.clear();
  ASSERT_TRUE(w->add_at(*c, 2));   // b is let go
  b->notify_clients(5, 0, false);  // and no longer heard
  delete a;                        // announces: its slot empties
  delete c;                        // does not announce: the slot empties silently
  EXPECT_EQ(watcher.received(),
            (std::vector<notification>{{w, removed, 2}, {w, added, 2}, {w, removed, 0}}));
  EXPECT_TRUE(w->at(0) == nullptr && w->at(2) == nullptr && w->count() == 3);
  ASSERT_TRUE(w->add_at(*b, 1) && w->add_at(*new server(&top, "d"), 0));
  watcher.clear();
  const long self = to_notify_arg(w);
  delete w;
  // 102 with the list's address, then the members from the last slot to the first.
  EXPECT_EQ(watcher.received(),
            (std::vector<notification>{
                {w, server_list::destroyed_notice, self}, {w, removed, 1}, {w, removed, 0}}));
  b->notify_clients(6, 0, false);  // the list has detached
  EXPECT_EQ(b->get_parent(), &top);
}

}  // namespace
}  // namespace kyo::test
