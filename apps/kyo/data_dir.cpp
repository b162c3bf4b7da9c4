#include "kyo/data_dir.h"

#include <system_error>

namespace kyo::cli {

std::filesystem::path data_dir() {
  namespace fs = std::filesystem;
  std::error_code ec;
  const fs::path exe = fs::read_symlink("/proc/self/exe", ec);
  if (!ec) {
    const fs::path installed = exe.parent_path() / ".." / "share" / "kyoutils" / "data";
    if (fs::is_directory(installed, ec)) return installed.lexically_normal();
  }
  return KYO_SOURCE_DATA_DIR;
}

}  // namespace kyo::cli
