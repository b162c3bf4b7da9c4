#include <kyo/platform/ui_hooks.h>

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <mutex>
#include <string>

namespace kyo {

ui_hooks::~ui_hooks() = default;
sound_hooks::~sound_hooks() = default;

bool ui_hooks::ask_yes_no(std::string_view text, std::string_view caption) {
  return message_box(text, caption, mb_yesno | mb_iconquestion) == id_yes;
}

namespace {

// Serialises console output and the terminal dialogue, so that two threads never
// interleave a question and its answer.
std::mutex console_mutex;

void write_stderr(std::string_view text) {
  // fwrite, not a printf-family call: message texts may contain '%'.
  std::fwrite(text.data(), 1, text.size(), stderr);
  std::fflush(stderr);
}

// Reads one answer line from the terminal; true when it starts with one of `yes_letters`.
// End of input counts as the negative answer.
bool read_answer(std::string_view yes_letters) {
  std::string line;
  char c = 0;
  while (line.size() < 256) {
    const ssize_t n = ::read(STDIN_FILENO, &c, 1);
    if (n <= 0 || c == '\n') break;
    line.push_back(c);
  }
  const std::size_t first = line.find_first_not_of(" \t");
  return first != std::string::npos && yes_letters.find(line[first]) != std::string_view::npos;
}

class console_ui final : public ui_hooks {
 public:
  int message_box(std::string_view text, std::string_view caption, unsigned style) override {
    std::lock_guard lock(console_mutex);
    std::string line(caption);
    line += ": ";
    line += text;
    line += '\n';
    write_stderr(line);
    const unsigned type = style & mb_typemask;
    if (type == mb_ok) return id_ok;
    const bool yes_no = type == mb_yesno;
    if (isatty(STDIN_FILENO) == 0) return yes_no ? id_no : id_cancel;
    write_stderr(yes_no ? "[y/n] " : "OK? [y/n] ");
    const bool yes = read_answer("yYoO");
    if (yes_no) return yes ? id_yes : id_no;
    return yes ? id_ok : id_cancel;
  }

  void beep(unsigned) override {
    std::lock_guard lock(console_mutex);
    write_stderr("\a");
  }
};

class console_sound final : public sound_hooks {
 public:
  void play_sound(const std::string& path, unsigned) override {
    std::lock_guard lock(console_mutex);
    write_stderr("sound: " + path + '\n');
  }
};

console_ui default_ui;
console_sound default_sound;
std::atomic<ui_hooks*> installed_ui{nullptr};
std::atomic<sound_hooks*> installed_sound{nullptr};

ui_hooks& current_ui() {
  ui_hooks* hooks = installed_ui.load(std::memory_order_acquire);
  return hooks != nullptr ? *hooks : default_ui;
}

std::string_view caption_or_default(std::string_view caption) {
  return caption.empty() ? default_caption : caption;
}

}  // namespace

ui_hooks* set_ui_hooks(ui_hooks* hooks) {
  return installed_ui.exchange(hooks, std::memory_order_acq_rel);
}

sound_hooks* set_sound_hooks(sound_hooks* hooks) {
  return installed_sound.exchange(hooks, std::memory_order_acq_rel);
}

int message_box(std::string_view text, std::string_view caption, unsigned style) {
  return current_ui().message_box(text, caption_or_default(caption), style);
}

bool ask_yes_no(std::string_view text, std::string_view caption) {
  return current_ui().ask_yes_no(text, caption_or_default(caption));
}

void beep(unsigned type) {
  current_ui().beep(type);
}

void play_sound(const std::string& path, unsigned flags) {
  sound_hooks* hooks = installed_sound.load(std::memory_order_acquire);
  (hooks != nullptr ? *hooks : static_cast<sound_hooks&>(default_sound)).play_sound(path, flags);
}

}  // namespace kyo
