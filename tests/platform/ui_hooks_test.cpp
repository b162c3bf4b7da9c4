#include <kyo/platform/ui_hooks.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <string>
#include <tuple>

#include "support/recording_ui.h"

namespace {

using kyo::test::recording_ui;
using kyo::test::ui_event;

// Puts /dev/null on standard input, so that the console default sees no terminal
// even when the tests run from one.
class no_terminal {
 public:
  no_terminal() : saved_(::dup(STDIN_FILENO)) {
    const int null = ::open("/dev/null", O_RDONLY);
    ::dup2(null, STDIN_FILENO);
    ::close(null);
  }
  ~no_terminal() {
    ::dup2(saved_, STDIN_FILENO);
    ::close(saved_);
  }

 private:
  int saved_;
};

// A pseudo terminal on standard input, whose answers the test types.
class typed_terminal {
 public:
  typed_terminal() : saved_(::dup(STDIN_FILENO)) {
    EXPECT_EQ(::openpty(&master_, &slave_, nullptr, nullptr, nullptr), 0);
    ::dup2(slave_, STDIN_FILENO);
  }
  ~typed_terminal() {
    ::dup2(saved_, STDIN_FILENO);
    ::close(saved_);
    ::close(slave_);
    ::close(master_);
  }
  void type(const std::string& text) const {
    EXPECT_EQ(::write(master_, text.data(), text.size()), ssize_t(text.size()));
  }

 private:
  int saved_, master_ = -1, slave_ = -1;
};

TEST(console_ui, reads_the_answer_from_a_terminal) {
  typed_terminal terminal;
  const std::tuple<const char*, unsigned, int> rows[] = {
      {"y\n", kyo::mb_yesno, kyo::id_yes},       {"  Oui\n", kyo::mb_yesno, kyo::id_yes},
      {"n\n", kyo::mb_yesno, kyo::id_no},        {"\n", kyo::mb_yesno, kyo::id_no},
      {"\tyes\n", kyo::mb_okcancel, kyo::id_ok}, {"x y\n", kyo::mb_okcancel, kyo::id_cancel},
  };
  for (const auto& [typed, style, result] : rows) {
    SCOPED_TRACE(typed);
    terminal.type(typed);
    testing::internal::CaptureStderr();
    EXPECT_EQ(kyo::message_box("Overwrite?", "Output", style), result);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), style == kyo::mb_yesno
                                                          ? "Output: Overwrite?\n[y/n] "
                                                          : "Output: Overwrite?\nOK? [y/n] ");
  }
}

// Without a terminal, boxes answer OK, No or Cancel; an empty caption is written as "Error".
TEST(console_ui, answers_without_a_terminal_and_writes_to_stderr) {
  no_terminal stdin_is_not_a_tty;
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

// A hook that only implements message boxes gets ask_yes_no as a yes/no box.
TEST(ui_hooks, default_question_is_a_yes_no_box) {
  struct boxes_only : kyo::ui_hooks {
    unsigned style = 0;
    int message_box(std::string_view, std::string_view, unsigned s) override {
      style = s;
      return kyo::id_yes;
    }
    void beep(unsigned) override {}
  } hooks;
  kyo::ui_hooks* previous = kyo::set_ui_hooks(&hooks);
  EXPECT_TRUE(kyo::ask_yes_no("Go?", "Q"));
  EXPECT_EQ(hooks.style, kyo::mb_yesno | kyo::mb_iconquestion);
  EXPECT_EQ(kyo::set_ui_hooks(previous), &hooks);
}

}  // namespace
