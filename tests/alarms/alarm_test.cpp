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

// A sounder under a root: its depth (metres), a pump switch (boolean) and a text entry.
class alarm_test : public testing::Test {
 protected:
  alarm_test() {
    depth_ = sounder_->add("Depth", 7);
    pump_ = sounder_->add("Pump", 4);
    label_ = sounder_->add("Label", 0);
    get_msg_hndlr().set_active(false);
    get_msg_hndlr().set_active(true);
  }

  // An alarm on `entry` with condition `condition` and the given limits.
  void watch(alarm& a, int entry, int condition, double red, double yellow) {
    alarm::transfer_s t;
    t.description = a.get_name();
    t.condition = condition;
    t.alarm_limit = red;
    t.warning_limit = yellow;
    t.nmrc_server = sounder_;
    t.nmrc_index = entry;
    a.transfer(t, alarm::transfer_set);
  }
  int check_at(alarm& a, int entry, double value, std::uint32_t t, int status = 1) {
    sounder_->set_value(entry, value);
    sounder_->set_status(entry, status);
    a.check(t, pm_);
    return a.get_state();
  }
  static std::vector<std::string> log_texts() {
    std::vector<std::string> texts;
    for (const message& m : get_msg_hndlr().messages())
      texts.insert(texts.begin(), m.text);
    return texts;
  }

  fake_tick tick_{100};
  recording_ui ui_;
  print_manager pm_{nullptr};
  test_numeric_server root_{nullptr, "root"};
  test_numeric_server* sounder_ = new test_numeric_server(&root_, "Sounder");
  int depth_ = 0, pump_ = 0, label_ = 0;
};

TEST_F(alarm_test, compares_by_its_condition_exactly) {
  const double limit = 10.0;
  const double next_up = std::nextafter(limit, 20.0);
  const struct {
    int condition;
    double value;
    bool expected;
  } rows[] = {{0, 9.0, true},   {0, limit, false},   {1, limit, true},   {1, next_up, false},
              {2, limit, true}, {2, next_up, false}, {3, next_up, true}, {3, limit, false},
              {4, limit, true}, {4, 9.0, false},     {5, next_up, true}, {5, limit, false},
              {6, 9.0, false},  {-1, 9.0, false}};
  alarm a;
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "condition " << row.condition << " value " << row.value);
    watch(a, depth_, row.condition, 0, 0);
    EXPECT_EQ(a.test_limit(row.value, limit), row.expected);
  }
}

TEST_F(alarm_test, classifies_numbers_and_booleans_and_logs_each_change) {
  alarm depth("Depth");
  watch(depth, depth_, 5, 20.0, 10.0);  // ">": red above 20, yellow above 10
  alarm pump("Pump");
  watch(pump, pump_, 1, 100.0, 100.0);  // red while the switch is on; limits play no part
  EXPECT_TRUE(pump.is_bool());
  EXPECT_EQ(pump.get_nmrc(), nullptr);
  const struct {
    const char* what;
    alarm* a;
    int entry;
    double value;
    int status;
    int state;
  } rows[] = {
      {"no data first: no change", &depth, depth_, 25, 0, 0},
      {"above the alarm limit", &depth, depth_, 25, 1, 3},
      {"stale data count as none", &depth, depth_, 25, 2, 0},
      {"between the limits", &depth, depth_, 15, 1, 2},
      {"at the warning limit", &depth, depth_, 10, 1, 1},
      {"switch on", &pump, pump_, 1, 1, 3},
      {"switch off", &pump, pump_, 0, 1, 1},
      {"not a whole number of the condition", &pump, pump_, 0.5, 1, 1},
      {"an integer made of 1.7", &pump, pump_, 1.7, 1, 3},
  };
  std::uint32_t t = 100;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(check_at(*row.a, row.entry, row.value, t += 10, row.status), row.state);
  }
  EXPECT_EQ(log_texts(),
            (std::vector<std::string>{"Alarm Depth Red 25.00m", "Alarm Depth Unknown 25.00m",
                                      "Alarm Depth Yellow 15.00m", "Alarm Depth Green 10.00m",
                                      "Alarm Pump Red ???", "Alarm Pump Green ???"}));

  alarm abs_depth("Abs");
  watch(abs_depth, depth_, 5, 20.0, 10.0);
  alarm::transfer_s t_abs;
  abs_depth.transfer(t_abs, alarm::transfer_get);
  t_abs.use_abs = 7;
  t_abs.warning_on = false;
  abs_depth.transfer(t_abs, alarm::transfer_set);
  EXPECT_EQ(check_at(abs_depth, depth_, -25, t += 10), 3);
  EXPECT_EQ(check_at(abs_depth, depth_, -15, t += 10), 1) << "warning off";

  alarm text("Text");
  watch(text, label_, 0, 0, 0);
  sounder_->set_text(label_, "x");
  EXPECT_EQ(check_at(text, label_, 0, t += 10), 0) << "a text entry has no value";
}

TEST_F(alarm_test, notices_and_sounds_no_more_often_than_their_intervals) {
  recording_client watcher;
  alarm a("Depth");
  watch(a, depth_, 5, 20.0, 10.0);
  alarm::transfer_s t;
  a.transfer(t, alarm::transfer_get);
  t.sound_on = 1;
  t.sound_index = 3;
  a.transfer(t, alarm::transfer_set);
  a.set_base_dir("C:\\KYO\\");
  a.set_sound_file();
  EXPECT_EQ(a.get_sound_path(), "C:\\KYO\\media\\bingbang.wav");
  a.attach_client(watcher);
  const struct {
    std::uint32_t tick;
    double value;
    std::vector<int> codes;
    int sounds;
  } steps[] = {
      {1000, 25, {614}, 0}, {1001, 25, {613}, 0}, {2001, 25, {}, 1},
      {2002, 25, {613}, 1}, {4001, 25, {613}, 1}, {4002, 15, {614}, 2},
      {6002, 15, {613}, 2}, {6003, 15, {}, 3},    {9000, 5, {614, 613}, 3},
  };
  for (const auto& step : steps) {
    SCOPED_TRACE(step.tick);
    watcher.clear();
    check_at(a, depth_, step.value, step.tick);
    EXPECT_EQ(watcher.codes(), step.codes);
    EXPECT_EQ(ui_.events(ui_event::kind::sound).size(), static_cast<std::size_t>(step.sounds));
  }
  EXPECT_EQ(ui_.events(ui_event::kind::sound).front(),
            (ui_event{ui_event::kind::sound, "/KYO/media/bingbang.wav", "", snd_async}));
  t.sound_index = 11;
  a.transfer(t, alarm::transfer_set);
  a.set_sound_file();
  EXPECT_EQ(a.get_sound_path(), "C:\\KYO\\media\\bingbang.wav");
}

TEST_F(alarm_test, deletes_itself_when_its_server_dies) {
  alarm_list list;
  auto* a = new alarm("Depth");
  watch(*a, depth_, 5, 20.0, 10.0);
  EXPECT_EQ(a->get_path(), "Sounder.Depth");
  list.add(a);
  list.add(new alarm("Spare"));
  EXPECT_FALSE(list.add(a));
  recording_client watcher;
  a->attach_client(watcher);
  delete sounder_;
  EXPECT_EQ(watcher.received(), (std::vector<notification>{{a, 610, to_notify_arg(a)}}));
  ASSERT_EQ(list.count(), 1);
  EXPECT_EQ(list.at(0)->get_path(), "No quantity selected");
  sounder_ = nullptr;
}

TEST(alarm_list, owns_walks_and_hands_back_its_alarms) {
  recording_client watcher;
  auto* list = new alarm_list;
  auto* a = new alarm("A");
  auto* b = new alarm("B");
  for (alarm* each : {a, b, new alarm("C")})
    EXPECT_TRUE(list->add(each));
  a->attach_client(watcher);
  b->attach_client(watcher);
  EXPECT_TRUE(list->at(3) == nullptr && list->at(-1) == nullptr && list->release(3) == nullptr);
  std::string names;
  list->for_each([](alarm& x, void* out) { *static_cast<std::string*>(out) += x.get_name(); },
                 &names);
  EXPECT_EQ(names, "ABC");
  EXPECT_EQ(list->first_that([](const alarm& x, void*) { return x.get_name() == "B"; }, nullptr),
            b);
  EXPECT_EQ(list->release(0), a);
  EXPECT_TRUE(list->destroy(1));
  EXPECT_FALSE(list->destroy(1));
  delete list;
  EXPECT_EQ(watcher.received(), (std::vector<notification>{{b, 610, to_notify_arg(b)}}));
  delete a;
}

TEST_F(alarm_test, round_trips_its_configuration_text) {
  alarm a("Depth");
  watch(a, depth_, 4, 12.5, 10.0);
  alarm::transfer_s t;
  a.transfer(t, alarm::transfer_get);
  t.sound_on = 1;
  t.sound_index = 3;
  t.warning_on = false;
  a.transfer(t, alarm::transfer_set);
  std::string text;
  a.saveData(text);
  EXPECT_EQ(text, "Depth,4,0,1,3,12.500000,10.000000,0,1,Sounder,0,12,2,1.000000,  m");

  alarm back;
  ASSERT_TRUE(back.loadData(text.c_str(), root_));
  std::string again;
  back.saveData(again);
  EXPECT_EQ(again, text);
  EXPECT_EQ(check_at(back, depth_, 12.5, 500), 3);
  // The numeric's own settings come along: feet, 8 wide, 1 decimal.
  ASSERT_TRUE(back.loadData("Feet,4,0,0,2,1,1,1,1,Sounder,1,8,1,3.28084,ft", root_));
  EXPECT_EQ(check_at(back, depth_, 0.5, 600), 1);
  EXPECT_EQ(back.get_value_text(), "1.6ft");
  back.saveData(again);
  EXPECT_EQ(again, "Feet,4,0,0,2,1.000000,1.000000,1,1,Sounder,1,8,1,3.280840, ft");
}

TEST_F(alarm_test, leaves_itself_unchanged_by_a_malformed_text) {
  alarm a("Depth");
  watch(a, depth_, 4, 12.5, 10.0);
  std::string before;
  a.saveData(before);
  const struct {
    const char* what;
    const char* text;
  } rows[] = {
      {"empty", ""},
      {"null", nullptr},
      {"no path", "X,4,0,1,3,1,1,1,1"},
      {"unknown path", "X,4,0,1,3,1,1,1,1,Nowhere,"},
      {"empty description moves the fields up", ",4,0,1,3,1,1,1,1,Sounder,"},
      {"letters for a number", "X,4,0,one,3,1,1,1,1,Sounder,"},
      {"number with a tail", "X,4,0,1,3,1.5x,1,1,1,Sounder,"},
      {"integer out of range", "X,99999999999,0,1,3,1,1,1,1,Sounder,"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    EXPECT_FALSE(a.loadData(row.text, root_));
    std::string after;
    a.saveData(after);
    EXPECT_EQ(after, before);
  }
  // A warning flag is kept as a byte: 256 reads as off.
  ASSERT_TRUE(a.loadData("X, 4 ,0,+1,3,1,1,256,1,Sounder,", root_));
  a.saveData(before);
  EXPECT_EQ(before, "X,4,0,1,3,1.000000,1.000000,0,1,Sounder,0,12,2,1.000000,  m");
}

}  // namespace
}  // namespace kyo::test
