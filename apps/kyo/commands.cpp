#include "kyo/commands.h"

#include <algorithm>
#include <array>
#include <optional>
#include <ostream>
#include <vector>

#include <kyo/core/version.h>

namespace kyo::cli {

namespace {

constexpr std::array families{add_ini, add_inspect, add_shapes, add_simulate, add_replay};

/// The help of the command that `names` leads to from `kyo`, or nothing when a name is unknown.
std::optional<std::string> help_of(CLI::App& kyo, const std::vector<std::string>& names) {
  CLI::App* at = &kyo;
  std::string path;  // the names that lead to `at`, as its usage line shows them
  for (const std::string& name : names) {
    try {
      path += path.empty() ? at->get_name() : " " + at->get_name();
      at = at->get_subcommand(name);
    } catch (const CLI::OptionNotFound&) {
      return std::nullopt;
    }
  }
  return at->help(path);
}

}  // namespace

int run_kyo(std::span<const std::string> args, std::ostream& out, std::ostream& err) {
  CLI::App kyo{"Tools of the KYO II survey navigation library.", "kyo"};
  kyo.set_version_flag("--version", "kyo " + std::string(kyo::version()));
  kyo.require_subcommand(1);
  kyo.failure_message([](const CLI::App* app, const CLI::Error& e) {
    return "kyo: " + std::string(e.what()) + "\nRun '" + app->get_name() +
           " --help' for more information.\n";
  });

  const streams io{out, err};
  action run;
  for (add_family add : families)
    add(kyo, io, run);

  std::vector<std::string> topic;
  CLI::App* help = kyo.add_subcommand("help", "show the help of kyo or of a command");
  help->add_option("COMMAND", topic, "a command, with its subcommand if any");
  help->positionals_at_end();
  help->callback([&] {
    run = [&]() {
      const std::optional<std::string> text = help_of(kyo, topic);
      if (!text) {
        err << "kyo help: no command '" << CLI::detail::join(topic, " ") << "'\n";
        return exit_usage;
      }
      out << *text;
      return exit_ok;
    };
  });

  // CLI11 takes its arguments last first.
  std::vector<std::string> reversed(args.rbegin(), args.rend());
  try {
    kyo.parse(reversed);
  } catch (const CLI::ParseError& e) {
    const int code = kyo.exit(e, out, err);
    return code == 0 ? exit_ok : exit_usage;
  }
  return run ? run() : exit_usage;
}

}  // namespace kyo::cli
