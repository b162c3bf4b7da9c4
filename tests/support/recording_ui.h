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

/// Records the library's user interaction; installed as ui and sound hooks for its lifetime,
/// the hooks in place before restored at destruction. Not copyable: the mutex is not.
class recording_ui final : public ui_hooks, public sound_hooks {
 public:
  recording_ui() : previous_ui_(set_ui_hooks(this)), previous_sound_(set_sound_hooks(this)) {}
  ~recording_ui() override {
    set_ui_hooks(previous_ui_);
    set_sound_hooks(previous_sound_);
  }

  /// A message box answers id_ok for mb_ok and mb_okcancel styles, id_yes for yes/no styles;
  /// every later ask_yes_no returns `yes` (true until called).
  void answer_questions(bool yes) {
    std::lock_guard lock(mutex_);
    question_result_ = yes;
  }

  /// Everything recorded so far, in order.
  std::vector<ui_event> events() const {
    std::lock_guard lock(mutex_);
    return events_;
  }
  /// Only the recorded events of one kind, in order.
  std::vector<ui_event> events(ui_event::kind what) const {
    std::vector<ui_event> selected = events();
    std::erase_if(selected, [what](const ui_event& e) { return e.what != what; });
    return selected;
  }
  /// Forgets what was recorded.
  void clear() {
    std::lock_guard lock(mutex_);
    events_.clear();
  }

  int message_box(std::string_view text, std::string_view caption, unsigned style) override {
    record({ui_event::kind::message_box, std::string(text), std::string(caption), style});
    const unsigned type = style & mb_typemask;
    return type == mb_ok || type == mb_okcancel ? id_ok : id_yes;
  }
  bool ask_yes_no(std::string_view text, std::string_view caption) override {
    return record({ui_event::kind::question, std::string(text), std::string(caption), 0});
  }
  void beep(unsigned type) override { record({ui_event::kind::beep, {}, {}, type}); }
  void play_sound(const std::string& path, unsigned flags) override {
    record({ui_event::kind::sound, path, {}, flags});
  }

 private:
  /// Records `event` and gives the answer to a question.
  bool record(ui_event event) {
    std::lock_guard lock(mutex_);
    events_.push_back(std::move(event));
    return question_result_;
  }

  mutable std::mutex mutex_;
  std::vector<ui_event> events_;
  bool question_result_ = true;
  ui_hooks* previous_ui_ = nullptr;
  sound_hooks* previous_sound_ = nullptr;
};

}  // namespace kyo::test
