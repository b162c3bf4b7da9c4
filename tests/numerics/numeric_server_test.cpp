// Numeric servers: status from the signed tick difference, paths with hidden servers and dotted
// names, lookup, the tree's ownership, and rounds of telling clients that leave or join during
// the round; the owning server list.
#include <kyo/numerics/numeric_server.h>
#include <kyo/numerics/numeric_server_list.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

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
  const std::tuple<const char*, long, std::uint32_t, std::uint32_t, int> rows[] = {
      {"fresh at the update tick", 1000, 5000, 5000, numeric_status::fresh},
      {"fresh one tick before the timeout", 1000, 5000, 5999, numeric_status::fresh},
      {"stale at the timeout", 1000, 5000, 6000, numeric_status::stale},
      {"zero timeout is stale at once", 0, 5000, 5000, numeric_status::stale},
      {"negative timeout is stale at once", -5, 5000, 5000, numeric_status::stale},
      {"fresh across the counter's wrap", 1000, 0xFFFFFF00u, 0x10, numeric_status::fresh},
      {"a now before the update reads as a negative age", 1000, 5000, 4000, numeric_status::fresh},
      {"stale half a counter period later", 1000, 0, 0x7FFFFFFF, numeric_status::stale},
  };
  for (const auto& [what, timeout, update, now, status] : rows) {
    SCOPED_TRACE(what);
    test_numeric_server s(nullptr, "s", false, timeout);
    EXPECT_EQ(s.get_numeric_status(now), numeric_status::no_data);
    s.set_update_time(update);
    EXPECT_EQ(s.get_numeric_status(now), status);
  }
}

TEST(numeric_server, paths_escape_dots_leave_out_hidden_servers_and_lead_back) {
  test_numeric_server root(nullptr, "root");
  auto* x = new test_numeric_server(&root, "x");
  auto* ab = new test_numeric_server(x, "a.b");
  auto* hidden = new test_numeric_server(&root, "h", true);
  auto* y = new test_numeric_server(hidden, "y");
  auto* lead = new test_numeric_server(x, ".lead");
  auto* trail = new test_numeric_server(x, "trail.");
  auto* under_trail = new test_numeric_server(trail, "z");
  std::string full, partial;
  for (const numeric_server* s : {&root, x, ab, hidden, y, lead, under_trail}) {
    full += "[" + s->get_path(true) + "]";
    partial += "[" + s->get_path(false) + "]";
    EXPECT_EQ(root.get(s->get_path(true)), s) << s->get_path(true);
  }
  EXPECT_EQ(full, "[][x][x.a..b][h][h.y][x...lead][x.trail...z]");
  EXPECT_EQ(partial, "[][x][x.a..b][][y][x...lead][x.trail...z]");
  EXPECT_EQ(x->get("a..b"), ab);
  EXPECT_EQ(root.get("y"), nullptr) << "a get_path(false) path does not resolve past hidden ones";
  for (const char* none : {"x.a", "x.a.b", "x."}) {
    EXPECT_EQ(root.get(none), nullptr) << none;
  }
  // The first child of a name is taken, even when a later one would lead further.
  auto* first = new test_numeric_server(&root, "dup");
  new test_numeric_server(new test_numeric_server(&root, "dup"), "only_in_second");
  EXPECT_EQ(root.get("dup"), first);
  EXPECT_EQ(root.get("dup.only_in_second"), nullptr);
}

TEST(numeric_server, a_parent_owns_its_children_and_refuses_loops) {
  std::string journal;
  auto* root = new test_numeric_server(nullptr, "root");
  auto* a = new test_numeric_server(root, "a");
  auto* b = new test_numeric_server(root, "b");
  auto* c = new test_numeric_server(a, "c");
  scripted_client ja("a", journal), jb("b", journal), jc("c", journal);
  a->attach_nmrc_client(ja);
  b->attach_nmrc_client(jb);
  c->attach_nmrc_client(jc);
  EXPECT_FALSE(a->set_nmrc_parent(c)) << "a descendant as parent";
  EXPECT_FALSE(a->set_nmrc_parent(a));
  EXPECT_EQ(a->get_parent(), root);
  EXPECT_TRUE(c->set_nmrc_parent(b));
  EXPECT_EQ(root->get("b.c"), c);
  EXPECT_EQ(a->next(nullptr), nullptr);
  EXPECT_EQ(root->numeric_server::entry_count(), 0) << "a plain server publishes nothing";
  delete root;  // children last first: b (and its c) before a
  EXPECT_EQ(journal, "bca");
}

TEST(numeric_server, attaching_a_client_twice_registers_it_once) {
  std::string journal;
  test_numeric_server s;
  scripted_client a("a", journal);
  s.attach_nmrc_client(a);
  s.attach_nmrc_client(a);
  s.set_update_time(1);
  EXPECT_EQ(journal, "a");
  s.detach_nmrc_client(a);
  s.detach_nmrc_client(a);
  EXPECT_EQ(s.client_count(), 0u);
}

// Clients a to f; during the round b leaves, c detaches a (before it), d detaches f (after it)
// and e attaches a newcomer, which is told in the same round.
// The fixture must outlive the server, whose destructor tells the clients.
struct round_fixture {
  void attach_to(const numeric_server& s) {
    for (char l = 'a'; l <= 'f'; ++l) {
      clients.push_back(std::make_unique<scripted_client>(std::string(1, l), journal));
      s.attach_nmrc_client(*clients.back());
    }
    clients[1]->action = [this, p = &s] { p->detach_nmrc_client(*clients[1]); };
    clients[2]->action = [this, p = &s] { p->detach_nmrc_client(*clients[0]); };
    clients[3]->action = [this, p = &s] { p->detach_nmrc_client(*clients[5]); };
    clients[4]->action = [this, p = &s] { p->attach_nmrc_client(newcomer); };
  }
  std::string journal;
  std::vector<std::unique_ptr<scripted_client>> clients;
  scripted_client newcomer{"n", journal};
};

TEST(numeric_server, rounds_neither_skip_nor_repeat_when_clients_come_and_go) {
  round_fixture f, g;
  test_numeric_server s;
  f.attach_to(s);
  s.set_update_time(10);
  EXPECT_EQ(f.journal, "abcden");
  s.set_update_time(20);
  EXPECT_EQ(f.journal, "abcdencden");

  auto* doomed = new test_numeric_server;
  g.attach_to(*doomed);
  delete doomed;
  EXPECT_EQ(g.journal, "abcden");
}

TEST(numeric_server, destruction_reaches_every_client_that_deletes_itself) {
  int alive = 0;
  struct self_deleting : numeric_client {
    explicit self_deleting(int& n) : count(n) { ++count; }
    ~self_deleting() override { --count; }
    void new_data() override {}
    void nmrc_srvr_destroyed(numeric_server& s) override {
      s.detach_nmrc_client(*this);
      delete this;
    }
    int& count;
  };
  auto* s = new test_numeric_server;
  for (int i = 0; i < 5; ++i)
    s->attach_nmrc_client(*new self_deleting(alive));
  delete s;
  EXPECT_EQ(alive, 0);
}

TEST(numeric_server, nested_update_rounds_keep_their_own_place) {
  std::string journal;
  scripted_client a("a", journal), b("b", journal), c("c", journal);
  test_numeric_server s;
  for (scripted_client* each : {&a, &b, &c})
    s.attach_nmrc_client(*each);
  b.action = [&] {
    if (journal != "ab") return;
    s.detach_nmrc_client(a);  // moves the outer round back by one
    s.set_update_time(2);
  };
  s.set_update_time(1);
  EXPECT_EQ(journal, "abbcc");
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
    EXPECT_FALSE(list.add(a)) << "already a member";
    EXPECT_FALSE(list.add(nullptr));
    EXPECT_FALSE(list.add(child)) << "owned by its parent";
    EXPECT_EQ(list.count(), 2);
    EXPECT_TRUE(list.at(0) == nullptr && list.at(1) == a && list.at(2) == b &&
                list.at(3) == nullptr)
        << "indexes start at the lower bound";
    std::string names;
    list.for_each(
        [](numeric_server& s, void* out) { *static_cast<std::string*>(out) += s.get_name(); },
        &names);
    EXPECT_EQ(names, "ab");
    std::string wanted = "b";
    const auto named = [](const numeric_server& s, void* w) {
      return s.get_name() == *static_cast<std::string*>(w) ? 1 : 0;
    };
    EXPECT_EQ(list.first_that(named, &wanted), b);
    wanted = "none";
    EXPECT_EQ(list.first_that(named, &wanted), nullptr);
  }
  EXPECT_EQ(journal, "gone gone ") << "both members deleted with the list";
}

}  // namespace
}  // namespace kyo::test
