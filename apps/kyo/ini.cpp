#include <ostream>

#include "kyo/commands.h"

namespace kyo::cli {

int run_ini(args_t, std::ostream&, std::ostream& err) {
  err << "kyo ini: not built yet\n";
  return exit_failure;
}

}  // namespace kyo::cli
