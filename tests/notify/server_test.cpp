// Servers and server lists: notification order, dirtiness, the lists' codes and code 102,
// members that leave on their own, and locking under two threads.
#include <kyo/notify/server.h>
#include <kyo/notify/server_list.h>

#include <gtest/gtest.h>

#include <future>
#include <latch>
#include <sstream>

#include "support/recording_client.h"

namespace kyo::test {
namespace {

constexpr int added = 611, destroyed = 610, removed = 612;

/// A member that announces its end with the lists' destroyed code, as alarms do.
struct announcing_server : server {
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
  ASSERT_TRUE(l->add_at(*new server(nullptr, "a"), 2) && l->add_at(*new server(nullptr, "b"), 0));
  EXPECT_FALSE(l->add_at(*new server(l, "x"), 4)) << "past the last slot";
  ASSERT_TRUE(l->remove(2));
  l->flush();
  EXPECT_TRUE(l->count() == 4 && l->at(0) == nullptr);
  top.set_dirty(false);
  l->set_name("renamed");
  EXPECT_TRUE(top.is_dirty()) << "a new name is a change to save, also for the parent";

  server_list* c = make(0, true);
  auto* same = new server(nullptr, "same");
  auto* late = new server(nullptr, "same");
  ASSERT_TRUE(c->add_at(*same, 0) && c->add_at(*new server(nullptr, "o"), 1) &&
              c->add_at(*late, 0));
  EXPECT_TRUE(c->count() == 3 && c->get("same") == late && c->get("none") == nullptr);
  c->set_dirty(false);
  watcher.clear();
  ASSERT_TRUE(c->remove(0));
  EXPECT_TRUE(c->at(0) == same && c->count() == 2 && c->is_dirty());
  EXPECT_EQ(watcher.codes(), std::vector<int>{})
      << "a deleted member that does not announce itself leaves silently";
}

TEST_F(server_list_test, a_watching_list_follows_its_members_without_owning_them) {
  auto* a = new announcing_server(&top, "a");
  auto* b = new server(&top, "b");
  auto* c = new server(&top, "c");
  server_list* w = make(2, false, false);
  ASSERT_TRUE(w->add_at(*a, 0) && w->add_at(*b, 2));
  EXPECT_EQ(watcher.codes(), (std::vector<int>{removed, added, removed, added}))
      << "the removed code even for an empty slot";
  watcher.clear();
  ASSERT_TRUE(w->add_at(*c, 2));   // b is let go
  b->notify_clients(5, 0, false);  // and no longer heard
  delete a;                        // announces: its slot empties
  delete c;                        // does not announce: the slot empties silently
  EXPECT_EQ(watcher.received(),
            (std::vector<notification>{{w, removed, 2}, {w, added, 2}, {w, removed, 0}}));
  server_list* other = make(2, true, false);
  other->detach_client(watcher);
  ASSERT_TRUE(other->add_at(*w, 0));
  EXPECT_FALSE(w->add_at(*other, 0)) << "each would pass the other's news back";
  ASSERT_TRUE(w->add_at(*b, 1));
  watcher.clear();
  const long self = to_notify_arg(w);
  delete w;
  // 102 with the list's address, then the members from the last slot to the first.
  EXPECT_EQ(watcher.received(),
            (std::vector<notification>{{w, server_list::destroyed_notice, self}, {w, removed, 1}}));
  b->notify_clients(6, 0, false);  // the list has detached
}

// A member notifying through its list (child lock, then the list's) while another thread
// works on the list and its parent (the list's lock, then looking at members) must not
// deadlock: no operation may hold a parent's lock while it waits for a child's.
TEST(server_threads, a_child_and_its_parent_notifying_at_once_do_not_deadlock) {
  constexpr int rounds = 100000;
  recording_client on_list, on_member;  // outlive the servers, which tell them of their end
  server top(nullptr, "top");
  auto* list = new server_list(&top, "list", 3, 1, 1, 2, 3);
  auto* member = new server(nullptr, "member");
  ASSERT_TRUE(list->add_at(*member, 0));
  list->attach_client(on_list);
  member->attach_client(on_member);
  list->set_dirty(false);  // so that is_dirty asks down to the member
  std::latch start(2);
  auto child = std::async(std::launch::async, [&] {
    start.arrive_and_wait();
    for (int i = 0; i < rounds; ++i)
      member->notify_clients(10, i, true);
  });
  auto parent = std::async(std::launch::async, [&] {
    start.arrive_and_wait();
    for (int i = 0; i < rounds; ++i) {
      list->notify_clients(20, i, true);
      (void)top.is_dirty();
      (void)list->get("member");
      member->set_dirty(i % 2 == 0);
    }
  });
  child.get();  // a deadlock holds the test here until its time limit fails it
  parent.get();
  EXPECT_EQ(on_member.count(), std::size_t(rounds));
  EXPECT_EQ(on_list.count(), std::size_t(2 * rounds));
}

}  // namespace
}  // namespace kyo::test
