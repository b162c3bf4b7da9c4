// The message log: the repeat window at 950 and 951 ticks, moving an older repeat to the top,
// switching the log off and on, the printed copy, and logging from several threads at once.
#include <kyo/numerics/message_handler.h>
#include <kyo/time/time_manager.h>

#include <gtest/gtest.h>

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

struct recording_printer : message_printer {
  void write(const char* bytes, int length) override {
    std::lock_guard guard(mutex);
    lines.emplace_back(bytes, static_cast<std::size_t>(length));
  }
  std::mutex mutex;
  std::vector<std::string> lines;
};

TEST(message_handler, keeps_repeats_once_within_950_ticks_and_restamps_or_moves_them_after) {
  fake_tick tick(1000);
  message_handler log;
  recording_client watcher;
  log.attach_client(watcher);
  // The tick, the text and its flags, then the codes told and the list afterwards.
  const std::tuple<std::uint32_t, const char*, unsigned, std::vector<int>, std::string> steps[] = {
      {1000, "A", both, {520, 526}, "A@1000 "},
      {1950, "A", both, {526}, "A@1000 "},            // 950 ticks on: not listed again
      {1951, "A", both, {522, 523, 526}, "A@1951 "},  // 951 ticks on, the newest: restamped
      {2000, "B", message_handler::keep, {520}, "B@2000 A@1951 "},
      {3000, "A", message_handler::keep, {521, 520}, "A@3000 B@2000 "},  // older repeat moves up
      {3001, "C", message_handler::announce, {526}, "A@3000 B@2000 "}};
  for (const auto& [t, text, flags, codes, list] : steps) {
    watcher.clear();
    tick.set(t);
    log.add_message(text, flags);
    EXPECT_EQ(watcher.codes(), codes) << t;
    std::string listing;
    for (const message& m : log.messages())
      listing += m.text + "@" + std::to_string(m.time.value()) + " ";
    EXPECT_EQ(listing, list) << t;
  }
  watcher.clear();
  log.null_message();
  EXPECT_EQ(watcher.received(), (std::vector<notification>{{&log, 524, 0}}));
  EXPECT_TRUE(!log.add_at(message("x"), 3) && log.add_at(message("x"), 2));
  EXPECT_TRUE(log.destroy(2) && !log.destroy(2));
  std::string order;
  log.for_each([](const message& m, void* out) { *static_cast<std::string*>(out) += m.text; },
               &order);
  EXPECT_EQ(order, "AB");
}

TEST(message_handler, logs_nothing_while_off_and_stamps_the_local_time_of_the_tick) {
  scoped_env zone("TZ", "Europe/London");
  fake_wall_clock wall(fake_wall_clock::utc(2024, 7, 1, 21, 59, 59, 600));
  fake_tick tick(20'000);
  time_manager::reset();
  message_handler log;
  recording_printer printed;
  log.set_print_mgr(&printed);
  recording_client watcher;
  log.attach_client(watcher);
  log.add_message("kept", message_handler::keep);
  log.set_active(false);
  log.add_message("lost", both);
  log.set_active(false);
  EXPECT_TRUE(!log.is_active() && log.count() == 1);
  log.set_active(true);
  EXPECT_TRUE(log.is_active() && log.count() == 0);
  EXPECT_EQ(watcher.codes(), std::vector<int>{520});
  EXPECT_TRUE(printed.lines.empty());
  log.add_message("Alarm Depth Red 3.2m", both);
  // 22:59:59.6 summer time: the stamp rounds to the next whole second, the time of day truncates.
  EXPECT_EQ(printed.lines,
            std::vector<std::string>{"1-Jul-2024 23:00:00  Alarm Depth Red 3.2m\r\n"});
  EXPECT_EQ(log.at(0).get_time_and_text(), "22:59:59 Alarm Depth Red 3.2m");
}

TEST(message_handler, takes_messages_from_several_threads_while_a_client_watches) {
  message_handler log;
  recording_printer printed;
  log.set_print_mgr(&printed);
  std::vector<int> sizes;  // the list's length at each 520, read from inside the notification
  int announced = 0;
  recording_client watcher;
  watcher.on_notify([&](server&, int code, long) {
    if (code == message_handler::added) sizes.push_back(log.count());
    announced += code == message_handler::announced;
  });
  log.attach_client(watcher);
  constexpr int threads = 4, each = 200;
  std::vector<std::jthread> loggers;
  for (int t = 0; t < threads; ++t) {
    loggers.emplace_back([&log, t] {
      for (int i = 0; i < each; ++i) {
        log.add_message("thread " + std::to_string(t) + " line " + std::to_string(i), both);
        log.add_message("shared", message_handler::keep);
      }
    });
  }
  loggers.clear();  // joins them
  EXPECT_EQ(log.count(), threads * each + 1);
  EXPECT_EQ(printed.lines.size(), std::size_t(threads * each));
  EXPECT_EQ(announced, threads * each);
  // Every 520 saw the list grown by its own message only: no two insertions overlapped.
  for (std::size_t i = 1; i < sizes.size(); ++i)
    ASSERT_LE(sizes[i], sizes[i - 1] + 1) << i;
  EXPECT_EQ(sizes.back(), threads * each + 1);
}

}  // namespace
}  // namespace kyo::test
