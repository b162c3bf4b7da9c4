// The help file: one process-wide `TPlimHelp` holds the path of the help file, so that every
// window opens the same help. allocHelpFile, deAllocHelpFile and getHelpFile manage it.
#pragma once

#include <string>

#include <kyo/kyoutils_export.h>

namespace kyo {

/// The path of the help file.
class KYO_EXPORT TPlimHelp {
 public:
  void set_help_file(const std::string& path) { path_ = path; }
  [[nodiscard]] const std::string& get_help_file() const noexcept { return path_; }

 private:
  std::string path_;
};

/// Creates the process-wide help file holder (replacing any present one) with `path`.
KYO_EXPORT void allocHelpFile(const std::string& path);
/// Destroys it.
KYO_EXPORT void deAllocHelpFile();
/// The help file's path; empty while there is no holder.
[[nodiscard]] KYO_EXPORT std::string getHelpFile();

}  // namespace kyo
