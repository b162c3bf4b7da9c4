#include "support/recording_ui.h"

namespace kyo::test {

recording_ui::recording_ui()
    : previous_ui_(set_ui_hooks(this)), previous_sound_(set_sound_hooks(this)) {}

recording_ui::~recording_ui() {
  set_ui_hooks(previous_ui_);
  set_sound_hooks(previous_sound_);
}

void recording_ui::answer_questions(bool yes) {
  std::lock_guard lock(mutex_);
  question_result_ = yes;
}

std::vector<ui_event> recording_ui::events() const {
  std::lock_guard lock(mutex_);
  return events_;
}

std::vector<ui_event> recording_ui::events(ui_event::kind what) const {
  std::lock_guard lock(mutex_);
  std::vector<ui_event> selected;
  for (const ui_event& e : events_) {
    if (e.what == what) selected.push_back(e);
  }
  return selected;
}

void recording_ui::clear() {
  std::lock_guard lock(mutex_);
  events_.clear();
}

void recording_ui::record(ui_event event) {
  std::lock_guard lock(mutex_);
  events_.push_back(std::move(event));
}

int recording_ui::message_box(std::string_view text, std::string_view caption, unsigned style) {
  record({ui_event::kind::message_box, std::string(text), std::string(caption), style});
  const unsigned type = style & mb_typemask;
  return type == mb_ok || type == mb_okcancel ? id_ok : id_yes;
}

bool recording_ui::ask_yes_no(std::string_view text, std::string_view caption) {
  record({ui_event::kind::question, std::string(text), std::string(caption), 0});
  std::lock_guard lock(mutex_);
  return question_result_;
}

void recording_ui::beep(unsigned type) {
  record({ui_event::kind::beep, {}, {}, type});
}

void recording_ui::play_sound(const std::string& path, unsigned flags) {
  record({ui_event::kind::sound, path, {}, flags});
}

}  // namespace kyo::test
