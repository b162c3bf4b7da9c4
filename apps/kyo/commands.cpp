#include "kyo/commands.h"

#include <algorithm>
#include <array>
#include <ostream>

#include <kyo/core/version.h>

namespace kyo::cli {

namespace {

constexpr std::array command_table{
    command{"ini", "read and edit profile (INI) files", run_ini},
    command{"inspect", "show a configuration file's header and object records", run_inspect},
};

void print_usage(std::ostream& out) {
  out << "usage: kyo COMMAND [ARGS...]\n"
         "       kyo COMMAND --help\n\n"
         "commands:\n";
  for (const command& c : command_table) {
    out << "  " << c.name << std::string(12 - std::min<std::size_t>(c.name.size(), 11), ' ')
        << c.summary << '\n';
  }
}

}  // namespace

std::span<const command> commands() {
  return command_table;
}

bool wants_help(args_t args) {
  return std::any_of(args.begin(), args.end(),
                     [](const std::string& a) { return a == "--help" || a == "-h"; });
}

int run_kyo(args_t args, std::ostream& out, std::ostream& err) {
  if (args.empty()) {
    print_usage(err);
    return exit_usage;
  }
  const std::string& name = args.front();
  if (name == "--help" || name == "-h" || name == "help") {
    print_usage(out);
    return exit_ok;
  }
  if (name == "--version") {
    out << "kyo " << kyo::version() << '\n';
    return exit_ok;
  }
  for (const command& c : command_table) {
    if (c.name == name) return c.run(args.subspan(1), out, err);
  }
  err << "kyo: unknown command '" << name << "'\n\n";
  print_usage(err);
  return exit_usage;
}

}  // namespace kyo::cli
