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

/// Owning or watching list of the report kind, compact or sparse.
server_list* make_list(server* parent, int upper_bound, bool compact) {
  return new server_list(parent, "list", upper_bound, compact ? 1 : 0, added, destroyed, removed);
}

/// A watching list: only a stream makes one, so an owning list is written with its owning
/// flag (the second-last 32-bit word of its record) cleared, and read back.
server_list* make_watching_list(server* parent, int upper_bound, bool compact) {
  server_list original(nullptr, "watcher", upper_bound, compact ? 1 : 0, 0, 0, 0);
  std::ostringstream out;
  {
    opstream os(out);
    writePtr(os, &original);
  }
  std::string bytes = out.str();
  bytes[bytes.size() - 8] = 0;
  std::istringstream in(bytes);
  ipstream is(in);
  server_list* l = nullptr;
  readPtr(is, l);
  if (l == nullptr) {
    ADD_FAILURE() << is.error();
    return nullptr;
  }
  EXPECT_EQ(l->ownership(), server_list::watches_members);
  EXPECT_EQ(l->is_compact(), compact);
  l->set_codes(added, destroyed, removed);
  l->set_parent(parent);
  return l;
}

TEST(server_list, a_sparse_list_keeps_its_slots_and_leaves_holes) {
  server top(nullptr, "top");
  server_list* l = make_list(&top, 3, false);
  EXPECT_EQ(l->count(), 4);
  auto* a = new server(nullptr, "a");
  auto* b = new server(nullptr, "b");
  ASSERT_TRUE(l->add_at(*a, 2));
  ASSERT_TRUE(l->add_at(*b, 0));
  EXPECT_FALSE(l->add_at(*new server(l, "x"), 4)) << "past the last slot";
  EXPECT_EQ(l->count(), 4);
  EXPECT_EQ(l->find(*a), 2);
  EXPECT_EQ(a->get_parent(), l);

  ASSERT_TRUE(l->remove(2));
  EXPECT_EQ(l->count(), 4);
  EXPECT_EQ(l->at(2), nullptr);
  EXPECT_EQ(l->find(*b), 0);
  EXPECT_FALSE(l->remove(2)) << "an empty slot";
  l->flush();
  EXPECT_EQ(l->count(), 4);
  EXPECT_EQ(l->at(0), nullptr);
}

TEST(server_list, a_compact_list_shifts_and_finds) {
  recording_client watcher;
  server_list l(nullptr, "l", 0, 1, added, destroyed, removed);
  l.attach_client(watcher);
  auto* a = new server(nullptr, "same");
  auto* b = new server(nullptr, "other");
  auto* c = new server(nullptr, "same");
  ASSERT_TRUE(l.add_at(*a, 0));
  ASSERT_TRUE(l.add_at(*b, 1));
  ASSERT_TRUE(l.add_at(*c, 0));  // c a b
  EXPECT_FALSE(l.add_at(*new server(&l, "far"), 5)) << "beyond the end";
  EXPECT_EQ(l.count(), 3);
  EXPECT_GE(l.limit(), 3);
  EXPECT_EQ(l.get("same"), c) << "the first in index order";
  EXPECT_EQ(l.get("none"), nullptr);
  server stranger;
  EXPECT_EQ(l.find(stranger), server_list::npos);
  EXPECT_EQ(l.find(stranger), 0x7FFFFFFF);

  ASSERT_TRUE(l.remove(0));
  EXPECT_EQ(l.at(0), a);
  EXPECT_EQ(l.count(), 2);
  EXPECT_EQ(watcher.codes(), (std::vector<int>{added, added, added}))
      << "a deleted member that does not announce itself leaves silently";
  EXPECT_TRUE(l.is_dirty());
  server_list empty(1, 2, 3);
  EXPECT_EQ(empty.get("same"), nullptr);
}

TEST(server_list, an_owned_member_deleted_directly_leaves_through_the_destroyed_code) {
  for (bool compact : {true, false}) {
    SCOPED_TRACE(compact ? "compact" : "sparse");
    recording_client watcher;
    server top(nullptr, "top");
    server_list* l = make_list(&top, 2, compact);
    l->attach_client(watcher);
    auto* a = new announcing_server(nullptr, "a");
    auto* b = new announcing_server(nullptr, "b");
    ASSERT_TRUE(l->add_at(*a, 0));
    ASSERT_TRUE(l->add_at(*b, 1));
    watcher.clear();

    delete a;
    EXPECT_EQ(watcher.received(), (std::vector<notification>{{l, removed, 0}}));
    EXPECT_EQ(l->find(*b), compact ? 0 : 1);
    EXPECT_EQ(l->count(), compact ? 1 : 3);
    EXPECT_EQ(l->next(nullptr), b);

    watcher.clear();
    ASSERT_TRUE(l->remove(l->find(*b)));
    EXPECT_EQ(watcher.codes(), std::vector<int>{removed});
    EXPECT_EQ(l->next(nullptr), nullptr);
  }
}

TEST(server_list, an_owning_list_refuses_what_it_cannot_own) {
  server top(nullptr, "top");
  server_list* l = make_list(&top, 4, true);
  server_list* other = make_list(&top, 4, true);
  auto* a = new server(nullptr, "a");
  ASSERT_TRUE(l->add_at(*a, 0));
  EXPECT_FALSE(l->add_at(*a, 1)) << "already a member";
  EXPECT_FALSE(other->add_at(*a, 0)) << "owned by another list";
  EXPECT_FALSE(l->add_at(*l, 0)) << "itself";
  EXPECT_FALSE(l->add_at(top, 0)) << "its own parent";
  EXPECT_EQ(l->count(), 1);
  EXPECT_EQ(other->count(), 0);
}

TEST(server_list, passes_member_notifications_on_and_announces_its_end) {
  notification_journal journal;
  recording_client above("parent-side", journal), on_list("list-client", journal);
  server top(nullptr, "top");
  auto* l = make_list(&top, 1, true);
  auto* m = new server(nullptr, "m");
  ASSERT_TRUE(l->add_at(*m, 0));
  l->attach_client(on_list);

  m->notify_clients(77, 1234, true);
  EXPECT_EQ(on_list.received(), (std::vector<notification>{{l, 77, 1234}}));

  auto* other = new server(nullptr, "other");
  ASSERT_TRUE(l->add_at(*other, 1));
  on_list.clear();
  const long self = to_notify_arg(l);
  delete l;
  // 102 first, then the members go from the last; plain members leave silently.
  EXPECT_EQ(on_list.received(),
            (std::vector<notification>{{l, server_list::destroyed_notice, self}}));
  EXPECT_EQ(top.next(nullptr), nullptr);
}

TEST(server_list, a_watching_list_follows_its_members_without_owning_them) {
  recording_client on_w;
  server top(nullptr, "top");
  auto* a = new announcing_server(&top, "a");
  auto* b = new server(&top, "b");
  auto* c = new server(&top, "c");
  server_list* w = make_watching_list(&top, 2, false);
  ASSERT_NE(w, nullptr);
  w->attach_client(on_w);

  ASSERT_TRUE(w->add_at(*a, 0));
  ASSERT_TRUE(w->add_at(*b, 2));
  EXPECT_EQ(a->get_parent(), &top) << "watched, not adopted";
  EXPECT_EQ(on_w.codes(), (std::vector<int>{removed, added, removed, added}))
      << "the removed code even for an empty slot";

  on_w.clear();
  ASSERT_TRUE(w->add_at(*c, 2));  // b is let go
  b->notify_clients(5, 0, false);
  EXPECT_EQ(on_w.codes(), (std::vector<int>{removed, added}));

  on_w.clear();
  delete a;  // announces: its slot empties
  EXPECT_EQ(on_w.received(), (std::vector<notification>{{w, removed, 0}}));
  EXPECT_EQ(w->at(0), nullptr);
  delete c;  // does not announce: the slot empties silently
  EXPECT_EQ(w->at(2), nullptr);
  EXPECT_EQ(w->count(), 3);

  ASSERT_TRUE(w->add_at(*b, 1));
  auto* d = new server(&top, "d");
  ASSERT_TRUE(w->add_at(*d, 0));
  on_w.clear();
  const long self = to_notify_arg(w);
  delete w;
  // 102 with the list's address, then the members from the last slot to the first.
  EXPECT_EQ(on_w.received(),
            (std::vector<notification>{
                {w, server_list::destroyed_notice, self}, {w, removed, 1}, {w, removed, 0}}));
  b->notify_clients(6, 0, false);  // the list has detached
  EXPECT_EQ(b->get_parent(), &top);
}

TEST(server_list, a_watching_list_refuses_itself_and_loops) {
  server top(nullptr, "top");
  server_list* w1 = make_watching_list(&top, 2, true);
  server_list* w2 = make_watching_list(&top, 2, true);
  ASSERT_TRUE(w1 != nullptr && w2 != nullptr);
  EXPECT_FALSE(w1->add_at(*w1, 0));
  ASSERT_TRUE(w1->add_at(*w2, 0));
  EXPECT_FALSE(w2->add_at(*w1, 0)) << "w1 passes w2's news to its clients, w2 would pass them back";
  EXPECT_TRUE(w2->add_at(top, 0)) << "top passes news only upwards: no loop";
}

}  // namespace
}  // namespace kyo::test
