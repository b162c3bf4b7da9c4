// Alarms: the comparisons, the four states on numbers and booleans, logging and the notice and
// sound intervals at their boundaries, an alarm ending with its server, and configuration texts.
#include <kyo/alarms/alarm.h>
#include <kyo/alarms/alarm_list.h>
#include <kyo/numerics/message_handler.h>
#include <kyo/output/print_manager.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "support/fake_clock.h"
#include "support/recording_client.h"
#include "support/recording_ui.h"
#include "support/test_numeric_server.h"

namespace kyo::test {
namespace {

// A sounder under a root: its depth (metres, entry 1), a pump switch (boolean, 2) and a text (3).
class alarm_test : public testing::Test {
 protected:
  alarm_test() {
    sounder_->add("Depth", 7);
    sounder_->add("Pump", 4);
    sounder_->add("Label", 0);
    get_msg_hndlr().set_active(false);
    get_msg_hndlr().set_active(true);
  }
  // Sets an alarm on `entry` with `condition` and the red and yellow limits, sounding file 3.

  alarm::transfer_s watch(alarm& a, int entry, int condition, double red, double yellow) {
    alarm::transfer_s t;
    t.description = a.get_name();
    t.condition = condition;
    t.alarm_limit = red;
    t.warning_limit = yellow;
    t.nmrc_server = sounder_;
    t.nmrc_index = entry;
    t.sound_on = 1;
    t.sound_index = 3;
    a.transfer(t, alarm::transfer_set);
    return t;
  }
  int check_at(alarm& a, int entry, double value, std::uint32_t t, int status = 1) {
    sounder_->set_value(entry, value);
    sounder_->set_status(entry, status);
    a.check(t, pm_);
    return a.get_state();
  }

  fake_tick tick_{100};
  recording_ui ui_;
  print_manager pm_{nullptr};
  test_numeric_server root_{nullptr, "root"};
  test_numeric_server* sounder_ = new test_numeric_server(&root_, "Sounder");
};

TEST_F(alarm_test, compares_by_its_condition_exactly) {
  const double limit = 10.0, next_up = std::nextafter(limit, 20.0);
  const std::tuple<int, double, bool> rows[] = {
      {0, 9.0, true},   {0, limit, false},   {1, limit, true},   {1, next_up, false},
      {2, limit, true}, {2, next_up, false}, {3, next_up, true}, {3, limit, false},
      {4, limit, true}, {4, 9.0, false},     {5, next_up, true}, {5, limit, false},
      {6, 9.0, false},  {-1, 9.0, false}};
  alarm a;
  for (const auto& [condition, value, expected] : rows) {
    watch(a, 1, condition, 0, 0);
    EXPECT_EQ(a.test_limit(value, limit), expected) << condition << " " << value;
  }
}

TEST_F(alarm_test, classifies_numbers_and_booleans_and_logs_each_change) {
  alarm depth("Depth"), pump("Pump");
  watch(depth, 1, 5, 20.0, 10.0);   // ">": red above 20, yellow above 10
  watch(pump, 2, 1, 100.0, 100.0);  // red while the switch is on; limits play no part
  // The alarm, its entry, the value, its status and the state then.
  const std::tuple<alarm*, int, double, int, int> rows[] = {
      {&depth, 1, 25, 0, 0},                         // no data first: no change
      {&depth, 1, 25, 1, 3}, {&depth, 1, 25, 2, 0},  // stale data count as none
      {&depth, 1, 15, 1, 2}, {&depth, 1, 10, 1, 1},  // at the warning limit
      {&pump, 2, 1, 1, 3},   {&pump, 2, 0, 1, 1},
      {&pump, 2, 0.5, 1, 1}, {&pump, 2, 1.7, 1, 3}};  // an integer made of 1.7
  std::uint32_t tick = 100;
  for (const auto& [a, entry, value, status, state] : rows) {
    EXPECT_EQ(check_at(*a, entry, value, tick += 10, status), state) << a->get_name() << value;
  }
  std::string log;
  for (const message& m : get_msg_hndlr().messages())
    log = m.text + "|" + log;
  EXPECT_EQ(log,
            "Alarm Depth Red 25.00m|Alarm Depth Unknown 25.00m|Alarm Depth Yellow 15.00m|"
            "Alarm Depth Green 10.00m|Alarm Pump Red ???|Alarm Pump Green ???|");
}

TEST_F(alarm_test, notices_and_sounds_no_more_often_than_their_intervals) {
  recording_client watcher;
  alarm a("Depth");
  watch(a, 1, 5, 20.0, 10.0);
  a.set_base_dir("C:\\KYO\\");
  a.set_sound_file();
  a.attach_client(watcher);
  // The tick, the value, then the codes told and the sounds played so far.
  const std::tuple<std::uint32_t, double, std::vector<int>, std::size_t> steps[] = {
      {1000, 25, {614}, 0}, {1001, 25, {613}, 0}, {2001, 25, {}, 1},
      {2002, 25, {613}, 1}, {4001, 25, {613}, 1}, {4002, 15, {614}, 2},
      {6002, 15, {613}, 2}, {6003, 15, {}, 3},    {9000, 5, {614, 613}, 3}};
  for (const auto& [tick, value, codes, sounds] : steps) {
    watcher.clear();
    check_at(a, 1, value, tick);
    EXPECT_EQ(watcher.codes(), codes) << tick;
    EXPECT_EQ(ui_.events(ui_event::kind::sound).size(), sounds) << tick;
  }
  EXPECT_EQ(ui_.events(ui_event::kind::sound).front(),
            (ui_event{ui_event::kind::sound, "/KYO/media/bingbang.wav", "", snd_async}));
}

TEST_F(alarm_test, deletes_itself_when_its_server_dies_and_lists_own_their_alarms) {
  auto* list = new alarm_list;
  alarm *a = new alarm("A"), *b = new alarm("B"), *c = new alarm("C"), *d = new alarm("D");
  watch(*a, 1, 5, 20.0, 10.0);
  recording_client watcher;
  for (alarm* each : {a, b, c, d}) {
    EXPECT_TRUE(list->add(each));
    each->attach_client(watcher);
  }
  EXPECT_FALSE(list->add(a));
  delete sounder_;
  sounder_ = nullptr;
  EXPECT_TRUE(list->count() == 3 && list->at(0) == b && list->at(3) == nullptr &&
              list->release(3) == nullptr);
  std::string names;
  list->for_each([](alarm& x, void* out) { *static_cast<std::string*>(out) += x.get_name(); },
                 &names);
  EXPECT_EQ(names, "BCD");
  EXPECT_TRUE(list->release(0) == b && list->destroy(1) && !list->destroy(1));
  delete list;
  delete b;
  EXPECT_EQ(watcher.codes(), std::vector<int>(4, 610)) << "A with its server, D with the list";
}

TEST_F(alarm_test, round_trips_its_configuration_text_and_refuses_malformed_ones) {
  alarm a("Depth");
  alarm::transfer_s t = watch(a, 1, 4, 12.5, 10.0);
  t.warning_on = false;
  a.transfer(t, alarm::transfer_set);
  std::string text, again;
  a.saveData(text);
  EXPECT_EQ(text, "Depth,4,0,1,3,12.500000,10.000000,0,1,Sounder,0,12,2,1.000000,  m");
  alarm back;  // blanks around numbers and a plus sign are read past
  ASSERT_TRUE(back.loadData("Depth, 4\t,0,+1,3,12.5,10,0,1,Sounder,0,12,2,1,  m", root_));
  back.saveData(again);
  EXPECT_EQ(again, text);

  // Malformed texts leave the alarm as it was; any text is the configuration fuzz target's.
  for (const char* bad :
       {"", "X,4,0,1,3,1,1,1,1,Nowhere,", ",4,0,1,3,1,1,1,1,Sounder," /* fields move up */,
        "X,4,0,one,3,1,1,1,1,Sounder,", "X,99999999999,0,1,3,1,1,1,1,Sounder,"}) {
    EXPECT_FALSE(a.loadData(bad, root_)) << bad;
    a.saveData(again);
    EXPECT_EQ(again, text) << bad;
  }
}

}  // namespace
}  // namespace kyo::test
