// The message log: the repeat window at 950 and 951 ticks, moving an older repeat to the top,
// switching the log off and on, the printed copy, and logging from several threads at once.
#include <kyo/numerics/message_handler.h>
#include <kyo/time/time_manager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/fake_clock.h"
#include "support/recording_client.h"
#include "support/scoped_env.h"

namespace kyo::test {
namespace {

constexpr unsigned both = message_handler::keep | message_handler::announce;

class recording_printer : public message_printer {
 public:
  void write(const char* bytes, int length) override {
    std::lock_guard guard(mutex_);
    lines_.emplace_back(bytes, static_cast<std::size_t>(length));
  }
  std::vector<std::string> lines() const {
    std::lock_guard guard(mutex_);
    return lines_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

std::string listing(const message_handler& log) {
  std::string text;
  for (const message& m : log.messages())
    text += m.text + "@" + std::to_string(m.time.value()) + " ";
  return text;
}

TEST(message_handler, keeps_repeats_once_within_950_ticks_and_restamps_or_moves_them_after) {
  fake_tick tick(1000);
  message_handler log;
  recording_client watcher;
  std::vector<std::string> seen;  // what each notification's argument shows
  long removed_index = -1;
  watcher.on_notify([&](server&, int code, long arg) {
    if (code == message_handler::destroyed) removed_index = arg;
    if (code == message_handler::restamping) {
      seen.push_back((*from_notify_arg<message*>(arg))->text);
    } else if (code != message_handler::destroyed && code != message_handler::cleared) {
      seen.push_back(from_notify_arg<message>(arg)->text);
    }
  });
  log.attach_client(watcher);

  const struct {
    const char* what;
    std::uint32_t tick;
    const char* text;
    unsigned flags;
    std::vector<int> codes;
    const char* list;
  } steps[] = {
      {"new text", 1000, "A", both, {520, 526}, "A@1000 "},
      {"950 ticks on: not listed again", 1950, "A", both, {526}, "A@1000 "},
      {"951 ticks on, newest: restamped", 1951, "A", both, {522, 523, 526}, "A@1951 "},
      {"another text, kept only", 2000, "B", message_handler::keep, {520}, "B@2000 A@1951 "},
      {"older repeat below: moved up",
       3000,
       "A",
       message_handler::keep,
       {521, 520},
       "A@3000 B@2000 "},
      {"announced only", 3001, "C", message_handler::announce, {526}, "A@3000 B@2000 "},
  };
  for (const auto& step : steps) {
    SCOPED_TRACE(step.what);
    watcher.clear();
    tick.set(step.tick);
    log.add_message(step.text, step.flags);
    EXPECT_EQ(watcher.codes(), step.codes);
    EXPECT_EQ(listing(log), step.list);
  }
  EXPECT_EQ(removed_index, 1) << "521 names the index it removes";
  EXPECT_EQ(seen, (std::vector<std::string>{"A", "A", "A", "A", "A", "A", "B", "A", "C"}));

  watcher.clear();
  log.null_message();
  EXPECT_EQ(watcher.received(), (std::vector<notification>{{&log, 524, 0}}));
  EXPECT_FALSE(log.add_at(message("x"), 3));
  EXPECT_TRUE(log.add_at(message("x"), 2));
  EXPECT_TRUE(log.destroy(2));
  EXPECT_FALSE(log.destroy(2));
  std::string order;
  log.for_each([](const message& m, void* out) { *static_cast<std::string*>(out) += m.text; },
               &order);
  EXPECT_EQ(order, "AB");
}

TEST(message_handler, logs_nothing_while_off_and_starts_empty_when_switched_on) {
  fake_tick tick(10);
  message_handler log;
  recording_printer printed;
  log.set_print_mgr(&printed);
  recording_client watcher;
  log.attach_client(watcher);
  log.add_message("kept", message_handler::keep);
  log.set_active(false);
  EXPECT_FALSE(log.is_active());
  log.add_message("lost", both);
  EXPECT_EQ(log.count(), 1);
  log.set_active(false);
  EXPECT_EQ(log.count(), 1);
  log.set_active(true);
  EXPECT_TRUE(log.is_active());
  EXPECT_EQ(log.count(), 0);
  EXPECT_EQ(watcher.codes(), std::vector<int>{520});
  EXPECT_TRUE(printed.lines().empty());
}

TEST(message_handler, stamps_messages_with_the_local_time_of_their_tick) {
  scoped_env zone("TZ", "Europe/London");
  fake_wall_clock wall(fake_wall_clock::utc(2024, 7, 1, 21, 59, 59, 600));
  fake_tick tick(20'000);
  time_manager::reset();
  message_handler log;
  recording_printer printed;
  log.set_print_mgr(&printed);
  log.add_message("Alarm Depth Red 3.2m", both);
  // 22:59:59.6 summer time: the stamp rounds to the next whole second, the time of day truncates.
  EXPECT_EQ(printed.lines(),
            std::vector<std::string>{"1-Jul-2024 23:00:00  Alarm Depth Red 3.2m\r\n"});
  EXPECT_EQ(log.at(0).get_time_and_text(), "22:59:59 Alarm Depth Red 3.2m");
}

TEST(message_handler, takes_messages_from_several_threads_while_a_client_watches) {
  message_handler log;
  recording_printer printed;
  log.set_print_mgr(&printed);
  std::vector<int> sizes;  // the list's length at each 520, read from inside the notification
  recording_client watcher;
  watcher.on_notify([&](server&, int code, long) {
    if (code == message_handler::added) sizes.push_back(log.count());
  });
  log.attach_client(watcher);
  constexpr int threads = 4, each = 200;
  std::vector<std::thread> loggers;
  for (int t = 0; t < threads; ++t) {
    loggers.emplace_back([&log, t] {
      for (int i = 0; i < each; ++i) {
        log.add_message("thread " + std::to_string(t) + " line " + std::to_string(i), both);
        log.add_message("shared", message_handler::keep);
      }
    });
  }
  for (std::thread& t : loggers)
    t.join();
  const int unique = threads * each;
  EXPECT_EQ(log.count(), unique + 1);
  EXPECT_EQ(printed.lines().size(), static_cast<std::size_t>(unique));
  int announced = 0;
  for (const notification& n : watcher.received())
    announced += n.code == message_handler::announced ? 1 : 0;
  EXPECT_EQ(announced, unique);
  // Every 520 saw the list grown by its own message only: no two insertions overlapped.
  for (std::size_t i = 1; i < sizes.size(); ++i)
    ASSERT_LE(sizes[i], sizes[i - 1] + 1) << i;
  EXPECT_EQ(sizes.back(), unique + 1);
}

}  // namespace
}  // namespace kyo::test
