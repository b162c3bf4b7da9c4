// A scratch file per fuzzer process, and silent message hooks: targets that read files write the
// input to one, and the library's messages about refused files go nowhere instead of the console.
#pragma once

#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include <kyo/platform/ui_hooks.h>

namespace kyo::fuzz {

class silent_ui final : public ui_hooks, public sound_hooks {
 public:
  int message_box(std::string_view, std::string_view, unsigned) override { return id_no; }
  void beep(unsigned) override {}
  void play_sound(const std::string&, unsigned) override {}
};

/// Installs the silent hooks for the whole run.
inline void silence() {
  static silent_ui ui;
  set_ui_hooks(&ui);
  set_sound_hooks(&ui);
}

/// "/tmp/kyo-<target>-<pid>.<ext>": one file per process, so parallel fuzzers do not meet.
inline std::string scratch_path(std::string_view target, std::string_view ext) {
  return "/tmp/kyo-" + std::string(target) + "-" + std::to_string(::getpid()) + "." +
         std::string(ext);
}

inline void write_bytes(const std::string& path, std::string_view bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string read_bytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace kyo::fuzz
