// Servers and clients: slots, notification order, the child tree, copies, dirtiness,
// and locking under two threads.
#include <kyo/notify/server.h>
#include <kyo/notify/server_list.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <iostream>
#include <latch>

#include "support/recording_client.h"

namespace kyo::test {
namespace {

/// Who was told what, in order: "who:code".
using journal = std::vector<std::string>;

/// A client that also writes "label:code" to a journal.
struct labelled_client : recording_client {
  labelled_client(std::string l, journal& j) : label(std::move(l)), log(j) {}
  void notify(server& source, int code, long arg) override {
    log.push_back(label + ":" + std::to_string(code));
    recording_client::notify(source, code, arg);
  }
  std::string label;
  journal& log;
};

/// A server that writes its parent notifications and its destruction to a journal.
struct probe_server : server {
  probe_server(server* parent, const std::string& name, journal& j)
      : server(parent, name), log(j) {}
  ~probe_server() override { log.push_back("deleted " + get_name()); }
  void parent_notify(server& source, int code, long arg) override {
    log.push_back(get_name() + " told by " + source.get_name() + ":" + std::to_string(code));
    server::parent_notify(source, code, arg);
  }
  journal& log;
};

std::string child_names(const server& s) {
  std::string names;
  for (server* c = s.next(nullptr); c != nullptr; c = s.next(c))
    names += c->get_name() + ";";
  return names;
}

TEST(server, slots_are_reused_and_may_change_while_clients_are_told) {
  journal log;
  labelled_client a("a", log), b("b", log), c("c", log), d("d", log), e("e", log);
  server s(nullptr, "s");
  for (client* each : {&a, &b, &c, &a})
    s.attach_client(*each);
  s.detach_client(d);  // not attached: nothing happens
  s.detach_client(b);
  s.detach_client(a);
  s.attach_client(d);  // takes slot 0, before c
  EXPECT_EQ(s.client_slots(), 3u);
  s.notify_clients(7, 0, false);
  EXPECT_EQ(log, (journal{"d:7", "c:7"}));
  // d calls back (the lock is re-entrant), lets c go and takes three clients: a and b into the
  // empty slots, told in this round; e appended, told from the next round on.
  d.on_notify([&](server& src, int, long) {
    src.detach_client(c);
    for (client* each : {&a, &b, &e})
      src.attach_client(*each);
  });
  log.clear();
  s.notify_clients(1, 0, false);
  d.on_notify([](server&, int, long) {});
  s.notify_clients(2, 0, false);
  EXPECT_EQ(log, (journal{"d:1", "a:1", "b:1", "d:2", "a:2", "b:2", "e:2"}));
}

TEST(server, tells_the_parent_first_deletes_children_last_first_and_refuses_loops) {
  journal log;
  auto* top = new probe_server(nullptr, "top", log);
  auto* mid = new probe_server(top, "mid", log);
  auto* leaf = new server(mid, "leaf");
  new probe_server(top, "c", log);
  labelled_client watcher("client", log);
  leaf->attach_client(watcher);
  leaf->notify_clients(5, 99, false);
  leaf->notify_clients(6, 99, true);
  // Each step up names the server it came from.
  EXPECT_EQ(log, (journal{"client:5", "mid told by leaf:6", "top told by mid:6", "client:6"}));
  EXPECT_EQ(watcher.received().back(), (notification{leaf, 6, 99}));
  new probe_server(top, "a", log);
  EXPECT_TRUE(mid->set_parent(top)) << "the same parent again keeps the place";
  EXPECT_FALSE(mid->set_parent(mid) || mid->set_parent(leaf));
  EXPECT_EQ(child_names(*top), "mid;c;a;");
  delete mid;  // on its own, with its child
  log.clear();
  delete top;
  EXPECT_EQ(log, (journal{"deleted top", "deleted a", "deleted c"}));
}

TEST(server, copy_takes_the_name_only_and_assignment_keeps_the_links) {
  server top(nullptr, "top");
  server original(&top, "original");
  new server(&original, "child");
  recording_client watcher;
  original.attach_client(watcher);
  server copy(original);
  EXPECT_TRUE(copy.get_name() == "original" && copy.get_parent() == nullptr &&
              copy.next(nullptr) == nullptr && copy.client_slots() == 0);
  original.set_dirty(false);
  original = server(nullptr, "other");
  EXPECT_TRUE(original.get_name() == "other" && original.get_parent() == &top &&
              child_names(original) == "child;" && original.client_slots() == 1);
  EXPECT_TRUE(top.is_dirty()) << "a new name is a change to save, also for the parent";
  copy.set_name("renamed");
  EXPECT_TRUE(copy.is_dirty());
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
  const auto limit = std::chrono::seconds(30);
  if (child.wait_for(limit) != std::future_status::ready ||
      parent.wait_for(limit) != std::future_status::ready) {
    // The threads are stuck on the locks: nothing can be cleaned up.
    std::cerr << "server_threads: deadlock between a child and its parent\n";
    std::abort();
  }
  EXPECT_EQ(on_member.count(), std::size_t(rounds));
  EXPECT_EQ(on_list.count(), std::size_t(2 * rounds));
}

}  // namespace
}  // namespace kyo::test
