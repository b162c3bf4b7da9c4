// Numeric servers: status from the signed tick difference, paths with hidden servers and dotted
// names, lookup, the tree's ownership, and rounds of telling clients that leave or join during
// the round; the owning server list; numeric wrappers, which die with their server; and the
// library's time server with its single entry "KYO Time".
#include <kyo/numerics/general_numerics.h>
#include <kyo/numerics/numeric.h>
#include <kyo/numerics/numeric_server_list.h>
#include <kyo/numerics/numeric_wrapper.h>
#include <kyo/time/time_manager.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "support/fake_clock.h"
#include "support/test_numeric_server.h"

namespace kyo::test {
namespace {

// Writes its label to a shared journal whenever it is told anything, then runs its action.
struct scripted_client : numeric_client {
  scripted_client(std::string l, std::string& j) : label(std::move(l)), journal(j) {}
  void new_data() override { call(); }
  void nmrc_srvr_destroyed(numeric_server&) override { call(); }
  void call() {
    journal += label;
    if (action) action();
  }
  std::string label;
  std::string& journal;
  std::function<void()> action;
};

TEST(numeric_server, status_follows_the_signed_age_of_the_data) {
  // Timeout, update tick, now and the status then: fresh up to the timeout, stale at it (at once
  // for a timeout of 0), fresh across the counter's wrap and for a now before the update, stale
  // half a counter period later.
  const long rows[][4] = {{1000, 5000, 5999, 1}, {1000, 5000, 6000, 2},
                          {0, 5000, 5000, 2},    {1000, 0xFFFFFF00u, 0x10, 1},
                          {1000, 5000, 4000, 1}, {1000, 0, 0x7FFFFFFF, 2}};
  for (const auto& [timeout, update, now, status] : rows) {
    test_numeric_server s(nullptr, "s", false, timeout);
    EXPECT_EQ(s.get_numeric_status(now), numeric_status::no_data);
    s.set_update_time(update);
    EXPECT_EQ(s.get_numeric_status(now), status) << timeout << " " << update << " " << now;
  }
}

TEST(numeric_server, paths_escape_dots_leave_out_hidden_servers_and_lead_back) {
  test_numeric_server root(nullptr, "root");
  auto* x = new test_numeric_server(&root, "x");
  auto* ab = new test_numeric_server(x, "a.b");
  auto* hidden = new test_numeric_server(&root, "h", true);
  auto* y = new test_numeric_server(hidden, "y");
  auto* lead = new test_numeric_server(x, ".lead");
  auto* under_trail = new test_numeric_server(new test_numeric_server(x, "trail."), "z");
  std::string full, partial;
  for (const numeric_server* s : {&root, x, ab, hidden, y, lead, under_trail}) {
    full += "[" + s->get_path(true) + "]";
    partial += "[" + s->get_path(false) + "]";
    EXPECT_EQ(root.get(s->get_path(true)), s) << s->get_path(true);
  }
  EXPECT_EQ(full, "[][x][x.a..b][h][h.y][x...lead][x.trail...z]");
  EXPECT_EQ(partial, "[][x][x.a..b][][y][x...lead][x.trail...z]");
}

TEST(numeric_server, a_parent_owns_its_children_refuses_loops_and_reaches_every_client) {
  std::string journal;
  auto* root = new test_numeric_server(nullptr, "root");
  auto* a = new test_numeric_server(root, "a");
  auto* b = new test_numeric_server(root, "b");
  auto* c = new test_numeric_server(a, "c");
  scripted_client ja("a", journal), jb("b", journal), jc("c", journal);
  a->attach_nmrc_client(ja);
  b->attach_nmrc_client(jb);
  c->attach_nmrc_client(jc);
  EXPECT_FALSE(a->set_nmrc_parent(c) || a->set_nmrc_parent(a)) << "a descendant or itself";
  EXPECT_EQ(a->get_parent(), root);
  EXPECT_TRUE(c->set_nmrc_parent(b));
  EXPECT_TRUE(root->get("b.c") == c && a->next(nullptr) == nullptr);
  EXPECT_EQ(root->numeric_server::entry_count() + root->numeric_server::entry_index("a"), 0)
      << "a plain server publishes nothing";
  delete root;  // children last first: b (and its c) before a
  EXPECT_EQ(journal, "bca");
}

// Clients a to f; during the round b leaves, c detaches a (before it), d detaches f (after it)
// and e attaches a newcomer, which is told in the same round.
TEST(numeric_server, rounds_neither_skip_nor_repeat_when_clients_come_and_go) {
  for (const bool destroyed : {false, true}) {
    std::string journal;
    std::vector<std::unique_ptr<scripted_client>> clients;
    scripted_client newcomer("n", journal);  // outlives the server, which tells it of its end
    auto* s = new test_numeric_server;
    for (char l = 'a'; l <= 'f'; ++l) {
      clients.push_back(std::make_unique<scripted_client>(std::string(1, l), journal));
      s->attach_nmrc_client(*clients.back());
    }
    clients[1]->action = [&] { s->detach_nmrc_client(*clients[1]); };
    clients[2]->action = [&] { s->detach_nmrc_client(*clients[0]); };
    clients[3]->action = [&] { s->detach_nmrc_client(*clients[5]); };
    clients[4]->action = [&] { s->attach_nmrc_client(newcomer); };
    if (!destroyed) {
      s->set_update_time(10);
      EXPECT_EQ(journal, "abcden");
      s->set_update_time(20);
    }
    delete s;
    EXPECT_EQ(journal, destroyed ? "abcden" : "abcdencdencden");
  }
}

TEST(numeric_server_list, owns_its_members_and_refuses_a_second_owner) {
  std::string journal;
  scripted_client watcher("gone ", journal);
  test_numeric_server parent;
  auto* child = new test_numeric_server(&parent, "child");
  auto* a = new test_numeric_server(nullptr, "a");
  auto* b = new test_numeric_server(nullptr, "b");
  a->attach_nmrc_client(watcher);
  b->attach_nmrc_client(watcher);
  {
    numeric_server_list list(4, 1, 2);
    EXPECT_TRUE(list.add(a) && list.add(b));
    EXPECT_FALSE(list.add(a) || list.add(nullptr) || list.add(child)) << "a member, an owned one";
    EXPECT_TRUE(list.count() == 2 && list.at(0) == nullptr && list.at(1) == a && list.at(2) == b &&
                list.at(3) == nullptr)
        << "indexes start at the lower bound";
    std::string names;
    list.for_each(
        [](numeric_server& s, void* out) { *static_cast<std::string*>(out) += s.get_name(); },
        &names);
    EXPECT_EQ(names, "ab");
    const auto named_b = [](const numeric_server& s, void*) { return s.get_name() == "b" ? 1 : 0; };
    EXPECT_EQ(list.first_that(named_b, nullptr), b);
  }
  EXPECT_EQ(journal, "gone gone ") << "both members deleted with the list";
}

TEST(numeric_wrapper, dies_with_its_server_and_deletes_its_numeric_unless_set_null) {
  struct recording_owner : wrapper_owner {
    void numeric_destroyed(numeric_wrapper& w) override { told.push_back(&w); }
    std::vector<numeric_wrapper*> told;
  } owner;
  struct counted_numeric : numeric {
    counted_numeric(const numeric_server& s, int& deaths) : numeric(s, 1), deaths_(deaths) {}
    ~counted_numeric() override { ++deaths_; }
    int& deaths_;
  };
  int deaths = 0;
  test_numeric_server other(nullptr, "other");
  auto* kept = new counted_numeric(other, deaths);
  auto* released = new numeric_wrapper(owner, *kept);
  auto* dying = new test_numeric_server(nullptr, "dying");
  std::vector<numeric_wrapper*> wrappers;
  for (int i = 0; i < 3; ++i)
    wrappers.push_back(new numeric_wrapper(owner, *new counted_numeric(*dying, deaths)));
  delete dying;
  EXPECT_TRUE(owner.told == wrappers && deaths == 3);
  released->set_null();
  released->set_null();
  EXPECT_EQ(other.client_count(), 0u);
  delete released;
  EXPECT_EQ(deaths, 3) << "a numeric let go with set_null outlives its wrapper";
  delete kept;
}

TEST(general_numerics, publishes_the_present_as_kyo_time_whatever_the_tick) {
  time_manager::reset();
  general_numerics server(nullptr, "General", false, 1000, true);
  for (int index : {1, 0, 2, -1}) {
    nmrc_info info{7, 7, 7};
    server.describe(index, info);
    EXPECT_EQ(std::tuple(info.type, info.width, info.precision, server.entry_name(index)),
              index == 1 ? std::tuple(0x1001, -1, 0, std::string("KYO Time"))
                         : std::tuple(0, 0, 0, std::string()))
        << index;
  }
  double untouched = 42;
  EXPECT_TRUE(server.get_value(2, 0, &untouched) == 0 && untouched == 42);
  EXPECT_TRUE(server.entry_count() == 1 && server.entry_index("KYO Time") == 1);
  EXPECT_EQ(server.entry_index("kyo time"), 0) << "names match exactly";
  fake_wall_clock clock(fake_wall_clock::utc(2024, 3, 5, 14, 7, 9, 250));
  double first = 0, second = 0;
  EXPECT_EQ(server.get_value(1, 5, &first) + server.get_value(1, 999999, &second), 2);
  EXPECT_DOUBLE_EQ(first, 3887100429.25);  // 2024-03-05 14:07:09.25 counted from 1901
  EXPECT_EQ(second, first);
  time_manager::reset();
}

}  // namespace
}  // namespace kyo::test
