// Configuration texts of alarms and custom outputs, and variables' formats, from arbitrary
// bytes: alarm::loadData either takes a text whole or leaves the alarm unchanged; a custom output
// loads from a fuzzed profile section; variable::as_string stays within its buffer.
#include <cstdio>
#include <string>

#include <kyo/alarms/alarm.h>
#include <kyo/nmea/nmea_server.h>
#include <kyo/numerics/message_handler.h>
#include <kyo/numerics/variable.h>
#include <kyo/output/custom_output.h>
#include <kyo/output/print_manager.h>

#include "fuzz_files.h"
#include "fuzz_input.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  kyo::fuzz::silence();
  kyo::get_msg_hndlr().set_active(false);  // the process-wide log would grow with every run
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string path = kyo::fuzz::scratch_path("config-text", "ini");
  kyo::numeric_server root(nullptr, "", false, 0, true);
  new kyo::nmea::nmea_server(&root, "GPS");
  kyo::fuzz::input in(data, size);
  const auto value = in.take<double>();
  const auto kind = in.take<std::uint8_t>();
  const std::string text(in.rest());

  {
    kyo::alarm a("before");
    std::string saved;
    a.saveData(saved);
    if (!a.loadData(text.c_str(), root)) {
      std::string after;
      a.saveData(after);
      kyo::fuzz::require(after == saved, "a refused text leaves the alarm unchanged");
    }
    kyo::print_manager printer(nullptr);
    a.check(1000, printer);
  }
  {
    kyo::fuzz::write_bytes(path, "[CustomOutput0]\r\n" + text);
    kyo::custom_output line;
    line.loadData(path, 0, root);
    (void)line.build_string(0, true);
    std::remove(path.c_str());
  }
  {
    const kyo::variable v(static_cast<kyo::variable::var_type>(kind % 6), value, text.c_str(), "u");
    kyo::fuzz::require(v.as_string().size() <= kyo::variable::max_text, "within the buffer");
    kyo::fuzz::require(v.as_string(text.c_str()).size() <= kyo::variable::max_text,
                       "within the buffer with a caller's format");
  }
  return 0;
}
