// Shape library files from arbitrary bytes: Open, load and destroy on a copy of the input never
// fault or allocate beyond the file, and a library that is refused leaves its file unchanged.
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include <kyo/graphics/mobile_shape_library.h>
#include <kyo/platform/ui_hooks.h>

#include "fuzz_input.h"

namespace {

// The reader's "is not a ..." messages would go to the console for every input.
class silent_ui final : public kyo::ui_hooks {
 public:
  int message_box(std::string_view, std::string_view, unsigned) override { return kyo::id_ok; }
  void beep(unsigned) override {}
};

std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  static silent_ui ui;
  kyo::set_ui_hooks(&ui);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string path = "/tmp/kyo-library-fuzz-" + std::to_string(::getpid()) + ".shp";
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  {
    kyo::mobile_shape_library library;
    library.Open(0, path.c_str());
    const bool writable = library.is_writable();
    const int count = static_cast<int>(library.name_list().size());
    for (int i = 0; i < count && i < 8; ++i)
      (void)library.load(i);
    if (count > 0) library.destroy(count / 2);
    if (!writable) kyo::fuzz::require(read_file(path) == bytes, "a refused file is unchanged");
  }
  std::remove(path.c_str());
  return 0;
}
