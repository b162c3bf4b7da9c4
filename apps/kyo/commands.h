// The subcommands of the kyo program. Each takes its arguments (without the
// program and subcommand names) and writes to the given streams; the result is
// the process exit code.
#pragma once

#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

namespace kyo::cli {

/// Exit codes shared by all subcommands.
inline constexpr int exit_ok = 0;
inline constexpr int exit_failure = 1;  ///< the operation failed (unreadable file, not found)
inline constexpr int exit_usage = 2;    ///< bad arguments

using args_t = std::span<const std::string>;

struct command {
  std::string_view name;
  std::string_view summary;
  int (*run)(args_t args, std::ostream& out, std::ostream& err);
};

/// All subcommands, in the order `kyo --help` lists them.
std::span<const command> commands();

/// Runs `kyo ARGS...`: dispatches to a subcommand or prints help.
int run_kyo(args_t args, std::ostream& out, std::ostream& err);

/// True when args holds "--help" or "-h".
bool wants_help(args_t args);

int run_ini(args_t args, std::ostream& out, std::ostream& err);
int run_inspect(args_t args, std::ostream& out, std::ostream& err);

}  // namespace kyo::cli
