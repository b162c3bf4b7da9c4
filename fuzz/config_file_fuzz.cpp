// Configuration files from arbitrary bytes: iconfig_file checks the header and reads objects of
// the library's classes behind it; a refused file is never read or written.
#include <cstdio>
#include <memory>
#include <set>
#include <string>

#include <kyo/notify/config_file.h>
#include <kyo/notify/server.h>

#include "fuzz_files.h"
#include "fuzz_input.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  kyo::fuzz::silence();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string path = kyo::fuzz::scratch_path("config", "cfg");
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  kyo::fuzz::write_bytes(path, bytes);
  {
    kyo::iconfig_file in(kyo::file_info(path, "KYO II Test Settings", "1.0"));
    std::set<kyo::server*> roots;
    for (int i = 0; i < 4 && in.good(); ++i) {
      kyo::server* s = nullptr;
      readPtr(in, s);
      while (s != nullptr && s->get_parent() != nullptr)
        s = s->get_parent();
      if (s != nullptr) roots.insert(s);
    }
    for (kyo::server* s : roots)
      delete s;
  }
  kyo::fuzz::require(kyo::fuzz::read_bytes(path) == bytes, "reading never writes");
  std::remove(path.c_str());
  return 0;
}
