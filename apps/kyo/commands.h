// The kyo program: one CLI11 application whose subcommand families (ini,
// inspect, ...) each live in a file of their own and register themselves with
// add_<family>. The chosen subcommand's parse callback stores its work in an
// action, which run_kyo runs once the whole command line has been accepted.
#pragma once

#include <functional>
#include <iosfwd>
#include <span>
#include <string>

#include <CLI/CLI.hpp>

namespace kyo::cli {

/// Exit codes shared by all subcommands.
inline constexpr int exit_ok = 0;
inline constexpr int exit_failure = 1;  ///< the operation failed (unreadable file, not found)
inline constexpr int exit_usage = 2;    ///< bad arguments

/// Where a subcommand writes its results and its complaints.
struct streams {
  std::ostream& out;
  std::ostream& err;
};

/// The work of the subcommand chosen on the command line; its result is the exit code.
using action = std::function<int()>;

/// Registers a subcommand family on the kyo application. When one of its
/// subcommands is parsed, it sets `run` to what must be done.
using add_family = void (*)(CLI::App& kyo, const streams& io, action& run);

void add_ini(CLI::App& kyo, const streams& io, action& run);
void add_inspect(CLI::App& kyo, const streams& io, action& run);
void add_shapes(CLI::App& kyo, const streams& io, action& run);
void add_simulate(CLI::App& kyo, const streams& io, action& run);
void add_replay(CLI::App& kyo, const streams& io, action& run);

/// Ends a running `kyo replay` as Ctrl-C does (for a live source, which runs until stopped).
void stop_replay();

/// Runs `kyo ARGS...` (ARGS without the program name): parses, then runs the
/// chosen subcommand. Help goes to `out`, usage errors to `err` with exit_usage.
int run_kyo(std::span<const std::string> args, std::ostream& out, std::ostream& err);

}  // namespace kyo::cli
