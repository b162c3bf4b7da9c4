// A stand-in for the user: while a recording_ui lives it receives every message
// box, question, beep and sound of the library, records them in order and
// answers with configurable results. Installs itself on construction.
#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <kyo/platform/ui_hooks.h>

namespace kyo::test {

/// One thing the library did to the user.
struct ui_event {
  enum class kind { message_box, question, beep, sound };
  kind what = kind::message_box;
  std::string text;     ///< message or question text; the file of a sound
  std::string caption;  ///< caption of a box or question ("Error" when given empty)
  unsigned style = 0;   ///< box style, beep type or sound flags

  bool operator==(const ui_event&) const = default;
};

/// Records the library's user interaction; installed as ui and sound hooks for its lifetime.
class recording_ui final : public ui_hooks, public sound_hooks {
 public:
  /// Installs itself; the hooks in place before are restored at destruction.
  recording_ui();
  ~recording_ui() override;  // not copyable: the mutex is not

  /// A message box answers id_ok for mb_ok and mb_okcancel styles, id_yes for yes/no styles;
  /// every later ask_yes_no returns `yes` (true until called).
  void answer_questions(bool yes);

  /// Everything recorded so far, in order.
  std::vector<ui_event> events() const;
  /// Only the recorded events of one kind, in order.
  std::vector<ui_event> events(ui_event::kind what) const;
  /// Forgets what was recorded.
  void clear();

  int message_box(std::string_view text, std::string_view caption, unsigned style) override;
  bool ask_yes_no(std::string_view text, std::string_view caption) override;
  void beep(unsigned type) override;
  void play_sound(const std::string& path, unsigned flags) override;

 private:
  void record(ui_event event);

  mutable std::mutex mutex_;
  std::vector<ui_event> events_;
  bool question_result_ = true;
  ui_hooks* previous_ui_ = nullptr;
  sound_hooks* previous_sound_ = nullptr;
};

}  // namespace kyo::test
