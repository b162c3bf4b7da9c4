// Profile (INI) files from arbitrary bytes: reading any key, listing, writing and deleting never
// fault, a write leaves a file whose every other line is as it was, and what was written reads
// back.
#include <cstdio>
#include <string>

#include <kyo/platform/profile.h>

#include "fuzz_files.h"
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string path = kyo::fuzz::scratch_path("profile", "ini");
  kyo::fuzz::input in(data, size);
  const auto pick = in.take<std::uint8_t>();
  const std::string bytes(in.rest());
  kyo::fuzz::write_bytes(path, bytes);
  kyo::profile_flush_cache();
  const std::vector<std::string> sections = kyo::profile_sections(path);
  std::string section = sections.empty() ? "S" : sections[pick % sections.size()];
  for (const auto& [key, value] : kyo::profile_entries(path, section))
    (void)kyo::profile_read(path, section, key);
  const std::string key = "Key" + std::to_string(pick);
  if (!kyo::profile_write(path, section, key, "value =,\xB0 x")) {
    const std::optional<std::string> back = kyo::profile_read(path, section, key);
    kyo::fuzz::require(back && *back == "value =,\xB0 x", "a written value reads back");
    kyo::fuzz::require(!kyo::profile_erase_key(path, section, key), "the key can be deleted");
    kyo::fuzz::require(!kyo::profile_read(path, section, key), "a deleted key is gone");
  }
  (void)kyo::profile_erase_section(path, section);
  std::remove(path.c_str());
  return 0;
}
