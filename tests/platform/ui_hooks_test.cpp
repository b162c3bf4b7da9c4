#include <kyo/platform/ui_hooks.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <tuple>

#include "support/recording_ui.h"

namespace {

using kyo::test::recording_ui;
using kyo::test::ui_event;

// Standard input taken from `fd` for the object's lifetime: /dev/null, so that the console
// default sees no terminal even when the tests run from one, or a pseudo terminal whose answers
// the test types.
class stdin_from {
 public:
  explicit stdin_from(int fd) : saved_(::dup(STDIN_FILENO)), fd_(fd) { ::dup2(fd, STDIN_FILENO); }
  ~stdin_from() {
    ::dup2(saved_, STDIN_FILENO);
    ::close(saved_);
    ::close(fd_);
  }

 private:
  int saved_, fd_;
};

TEST(console_ui, reads_the_answer_from_a_terminal) {
  int master = -1, slave = -1;
  ASSERT_EQ(::openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
  const stdin_from terminal(slave);
  const std::tuple<const char*, unsigned, int> rows[] = {
      {"  Oui\n", kyo::mb_yesno, kyo::id_yes},
      {"\n", kyo::mb_yesno, kyo::id_no},
      {"\tyes\n", kyo::mb_okcancel, kyo::id_ok},
      {"x y\n", kyo::mb_okcancel, kyo::id_cancel},
  };
  for (const auto& [typed, style, result] : rows) {
    SCOPED_TRACE(typed);
    EXPECT_EQ(::write(master, typed, std::strlen(typed)), ssize_t(std::strlen(typed)));
    testing::internal::CaptureStderr();
    EXPECT_EQ(kyo::message_box("Overwrite?", "Output", style), result);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), style == kyo::mb_yesno
                                                          ? "Output: Overwrite?\n[y/n] "
                                                          : "Output: Overwrite?\nOK? [y/n] ");
  }
  ::close(master);
}

// Without a terminal, boxes answer OK, No or Cancel; an empty caption is written as "Error".
TEST(console_ui, answers_without_a_terminal_and_writes_to_stderr) {
  const stdin_from no_terminal(::open("/dev/null", O_RDONLY));
  testing::internal::CaptureStderr();
  EXPECT_EQ(kyo::message_box("100%", "", kyo::mb_ok | kyo::mb_iconexclamation), kyo::id_ok);
  EXPECT_EQ(kyo::message_box("a", "Alarm", kyo::mb_yesno | kyo::mb_iconquestion), kyo::id_no);
  EXPECT_EQ(kyo::message_box("b", "Save", kyo::mb_okcancel), kyo::id_cancel);
  EXPECT_FALSE(kyo::ask_yes_no("Overwrite?", ""));
  kyo::beep(kyo::mb_iconhand);
  kyo::play_sound("media/bell.wav", kyo::snd_async);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Error: 100%\nAlarm: a\nSave: b\nError: Overwrite?\n\asound: media/bell.wav\n");
}

// Every call reaches the installed hooks, in order, with the answers they give.
TEST(ui_hooks, calls_reach_the_installed_hooks) {
  recording_ui ui;
  EXPECT_EQ(kyo::message_box("a", "", kyo::mb_yesno), kyo::id_yes);
  ui.answer_questions(false);
  EXPECT_FALSE(kyo::ask_yes_no("e", ""));
  kyo::beep(3);
  kyo::play_sound("media/bell.wav", kyo::snd_async);
  using k = ui_event::kind;
  EXPECT_EQ(ui.events(), (std::vector<ui_event>{{k::message_box, "a", "Error", kyo::mb_yesno},
                                                {k::question, "e", "Error", 0},
                                                {k::beep, "", "", 3},
                                                {k::sound, "media/bell.wav", "", kyo::snd_async}}));
}

}  // namespace
