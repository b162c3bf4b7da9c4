// Numeric servers: status from the signed tick difference, paths with hidden servers and dotted
// names, lookup, the tree's ownership, and rounds of telling clients that leave or join during
// the round; the owning server list.
#include <kyo/numerics/numeric_server.h>
#include <kyo/numerics/numeric_server_list.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/test_numeric_server.h"

namespace kyo::test {
namespace {

// Writes its label to a shared journal whenever it is told anything, then runs its action.
struct scripted_client : numeric_client {
  scripted_client(std::string l, std::vector<std::string>& j) : label(std::move(l)), journal(j) {}
  void new_data() override { call(); }
  void nmrc_srvr_destroyed(numeric_server&) override { call(); }
  void call() {
    journal.push_back(label);
    if (action) action();
  }
  std::string label;
  std::vector<std::string>& journal;
  std::function<void()> action;
};

TEST(numeric_server, status_follows_the_signed_age_of_the_data) {
  struct row {
    const char* what;
    long timeout;
    std::uint32_t update;
    std::uint32_t now;
    int status;
  };
  const row rows[] = {
      {"fresh at the update tick", 1000, 5000, 5000, numeric_status::fresh},
      {"fresh one tick before the timeout", 1000, 5000, 5999, numeric_status::fresh},
      {"stale at the timeout", 1000, 5000, 6000, numeric_status::stale},
      {"zero timeout is stale at once", 0, 5000, 5000, numeric_status::stale},
      {"negative timeout is stale at once", -5, 5000, 5000, numeric_status::stale},
      {"fresh across the counter's wrap", 1000, 0xFFFFFF00u, 0x10, numeric_status::fresh},
      {"a now before the update reads as a negative age", 1000, 5000, 4000, numeric_status::fresh},
      {"stale half a counter period later", 1000, 0, 0x7FFFFFFF, numeric_status::stale},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    test_numeric_server s(nullptr, "s", false, r.timeout);
    EXPECT_EQ(s.get_numeric_status(r.now), numeric_status::no_data);
    s.set_update_time(r.update);
    EXPECT_EQ(s.get_numeric_status(r.now), r.status);
  }
}

TEST(numeric_server, paths_escape_dots_and_leave_out_hidden_servers) {
  test_numeric_server root(nullptr, "root");
  auto* x = new test_numeric_server(&root, "x");
  auto* ab = new test_numeric_server(x, "a.b");
  auto* hidden = new test_numeric_server(&root, "h", true);
  auto* y = new test_numeric_server(hidden, "y");
  auto* lead = new test_numeric_server(x, ".lead");
  auto* trail = new test_numeric_server(x, "trail.");
  auto* under_trail = new test_numeric_server(trail, "z");

  EXPECT_EQ(root.get_path(true), "");
  EXPECT_EQ(x->get_path(true), "x");
  EXPECT_EQ(ab->get_path(true), "x.a..b");
  EXPECT_EQ(y->get_path(true), "h.y");
  EXPECT_EQ(y->get_path(false), "y");
  EXPECT_EQ(hidden->get_path(false), "");
  EXPECT_EQ(lead->get_path(true), "x...lead");
  EXPECT_EQ(under_trail->get_path(true), "x.trail...z");

  const std::vector<const numeric_server*> all = {x, ab, y, lead, trail, under_trail};
  for (const numeric_server* s : all) {
    SCOPED_TRACE(s->get_path(true));
    EXPECT_EQ(root.get(s->get_path(true)), s);
  }
  EXPECT_EQ(root.get(""), &root);
  EXPECT_EQ(x->get("a..b"), ab);
  EXPECT_EQ(root.get("y"), nullptr) << "a get_path(false) path does not resolve past hidden ones";
  EXPECT_EQ(root.get("x.a"), nullptr);
  EXPECT_EQ(root.get("x.a.b"), nullptr);
  EXPECT_EQ(root.get("x."), nullptr);
}

TEST(numeric_server, lookup_takes_the_first_child_of_a_name) {
  test_numeric_server root(nullptr, "root");
  auto* first = new test_numeric_server(&root, "dup");
  auto* second = new test_numeric_server(&root, "dup");
  new test_numeric_server(second, "only_in_second");
  EXPECT_EQ(root.get("dup"), first);
  EXPECT_EQ(root.get("dup.only_in_second"), nullptr);
}

TEST(numeric_server, a_parent_owns_its_children_and_refuses_loops) {
  std::vector<std::string> journal;
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
  EXPECT_EQ(b->next(nullptr), c);
  EXPECT_EQ(a->next(nullptr), nullptr);
  EXPECT_EQ(root->get("b.c"), c);

  delete root;  // children last first: b (and its c) before a
  EXPECT_EQ(journal, (std::vector<std::string>{"b", "c", "a"}));
}

TEST(numeric_server, attaching_a_client_twice_registers_it_once) {
  std::vector<std::string> journal;
  test_numeric_server s;
  scripted_client a("a", journal);
  s.attach_nmrc_client(a);
  s.attach_nmrc_client(a);
  EXPECT_EQ(s.client_count(), 1u);
  s.set_update_time(1);
  EXPECT_EQ(journal, std::vector<std::string>{"a"});
  s.detach_nmrc_client(a);
  s.detach_nmrc_client(a);
  EXPECT_EQ(s.client_count(), 0u);
}

// Clients a to f; during the round b leaves, c detaches a (before it), d detaches f (after it)
// and e attaches a newcomer, which is told in the same round.
struct round_fixture {
  std::vector<std::string> journal;
  std::vector<std::unique_ptr<scripted_client>> clients;
  scripted_client newcomer{"n", journal};

  scripted_client& operator[](char label) { return *clients[std::size_t(label - 'a')]; }

  void attach_to(const numeric_server& s) {
    for (char l = 'a'; l <= 'f'; ++l) {
      clients.push_back(std::make_unique<scripted_client>(std::string(1, l), journal));
      s.attach_nmrc_client(*clients.back());
    }
    (*this)['b'].action = [&] { s.detach_nmrc_client((*this)['b']); };
    (*this)['c'].action = [&] { s.detach_nmrc_client((*this)['a']); };
    (*this)['d'].action = [&] { s.detach_nmrc_client((*this)['f']); };
    (*this)['e'].action = [&] { s.attach_nmrc_client(newcomer); };
  }
};

TEST(numeric_server, update_round_neither_skips_nor_repeats_when_clients_come_and_go) {
  round_fixture f;
  test_numeric_server s;
  f.attach_to(s);
  s.set_update_time(10);
  EXPECT_EQ(f.journal, (std::vector<std::string>{"a", "b", "c", "d", "e", "n"}));
  EXPECT_EQ(s.client_count(), 4u);
  f.journal.clear();
  s.set_update_time(20);
  EXPECT_EQ(f.journal, (std::vector<std::string>{"c", "d", "e", "n"}));
}

TEST(numeric_server, destruction_round_neither_skips_nor_repeats_when_clients_come_and_go) {
  auto* s = new test_numeric_server;
  round_fixture f;
  f.attach_to(*s);
  delete s;
  EXPECT_EQ(f.journal, (std::vector<std::string>{"a", "b", "c", "d", "e", "n"}));
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
  ASSERT_EQ(alive, 5);
  delete s;
  EXPECT_EQ(alive, 0);
}

TEST(numeric_server, nested_update_rounds_keep_their_own_place) {
  std::vector<std::string> journal;
  scripted_client a("a", journal), b("b", journal), c("c", journal);
  test_numeric_server s;
  s.attach_nmrc_client(a);
  s.attach_nmrc_client(b);
  s.attach_nmrc_client(c);
  bool again = true;
  b.action = [&] {
    if (!again) return;
    again = false;
    s.detach_nmrc_client(a);  // moves the outer round back by one
    s.set_update_time(2);
  };
  s.set_update_time(1);
  EXPECT_EQ(journal, (std::vector<std::string>{"a", "b", "b", "c", "c"}));
}

TEST(numeric_server_list, owns_its_members_and_refuses_a_second_owner) {
  std::vector<std::string> journal;
  scripted_client watcher("gone", journal);
  test_numeric_server parent;
  auto* child = new test_numeric_server(&parent, "child");
  auto* a = new test_numeric_server(nullptr, "a");
  auto* b = new test_numeric_server(nullptr, "b");
  a->attach_nmrc_client(watcher);
  b->attach_nmrc_client(watcher);
  {
    numeric_server_list list(4, 1, 2);
    EXPECT_TRUE(list.add(a));
    EXPECT_TRUE(list.add(b));
    EXPECT_FALSE(list.add(a)) << "already a member";
    EXPECT_FALSE(list.add(nullptr));
    EXPECT_FALSE(list.add(child)) << "owned by its parent";
    EXPECT_EQ(list.count(), 2);
    EXPECT_EQ(list.at(1), a) << "indexes start at the lower bound";
    EXPECT_EQ(list.at(2), b);
    EXPECT_EQ(list.at(0), nullptr);
    EXPECT_EQ(list.at(3), nullptr);

    std::string names;
    list.for_each(
        [](numeric_server& s, void* out) { *static_cast<std::string*>(out) += s.get_name(); },
        &names);
    EXPECT_EQ(names, "ab");
    const char* wanted = "b";
    EXPECT_EQ(
        list.first_that([](const numeric_server& s,
                           void* w) { return s.get_name() == static_cast<const char*>(w) ? 1 : 0; },
                        const_cast<char*>(wanted)),
        b);
    EXPECT_EQ(list.first_that([](const numeric_server&, void*) { return 0; }, nullptr), nullptr);
  }
  EXPECT_EQ(journal.size(), 2u) << "both members deleted with the list";
}

}  // namespace
}  // namespace kyo::test
