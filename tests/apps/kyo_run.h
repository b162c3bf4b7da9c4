// Runs the kyo program in-process and gives "exit code|standard output|standard error".
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "kyo/commands.h"

namespace kyo::test {

inline std::string kyo_run(const std::vector<std::string>& args) {
  std::ostringstream out, err;
  const int code = cli::run_kyo(args, out, err);
  return std::to_string(code) + "|" + out.str() + "|" + err.str();
}

}  // namespace kyo::test
