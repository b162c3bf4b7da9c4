#include <ostream>

#include "kyo/commands.h"

namespace kyo::cli {

int run_inspect(args_t, std::ostream&, std::ostream& err) {
  err << "kyo inspect: not built yet\n";
  return exit_failure;
}

}  // namespace kyo::cli
