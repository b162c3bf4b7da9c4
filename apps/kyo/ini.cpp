// kyo ini: reads and edits profile (INI) files from the command line with the
// same rules the library applies (case-insensitive names, first duplicate wins,
// everything else in the file kept byte for byte).
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <kyo/platform/ascii.h>
#include <kyo/platform/message_format.h>
#include <kyo/platform/profile.h>

#include "kyo/commands.h"

namespace kyo::cli {

namespace {

std::string reason(const std::error_code& ec) {
  if (ec == std::errc::invalid_argument) {
    return "a name or value would break the file (line break, ']' in a section, '=' in a key, "
           "or a key starting with ';' or '[')";
  }
  if (ec == std::errc::value_too_large) return "the line would be too long";
  if (ec.category() == profile_category()) return ec.message();
  return system_error_text(ec.value());
}

/// What one ini subcommand was given.
struct ini_args {
  std::string file, section, key, value;
};

class ini_command {
 public:
  explicit ini_command(const streams& io) : io_(io) {}

  int get(const ini_args& a) const {
    if (auto failed = unreadable(a.file)) return *failed;
    const std::optional<std::string> value = profile_read(a.file, a.section, a.key);
    if (!value) return no_key(a);
    io_.out << *value << '\n';
    return exit_ok;
  }

  int set(const ini_args& a) const {
    const std::error_code ec = profile_write(a.file, a.section, a.key, a.value);
    return ec ? failure("write", a.file, ec) : exit_ok;
  }

  int erase(const ini_args& a, bool whole_section) const {
    if (auto failed = unreadable(a.file)) return *failed;
    std::error_code ec;
    if (whole_section) {
      if (!has_section(a)) return no_section(a);
      ec = profile_erase_section(a.file, a.section);
    } else {
      if (!profile_read(a.file, a.section, a.key)) return no_key(a);
      ec = profile_erase_key(a.file, a.section, a.key);
    }
    return ec ? failure("write", a.file, ec) : exit_ok;
  }

  int list(const ini_args& a, bool sections) const {
    if (auto failed = unreadable(a.file)) return *failed;
    if (sections) {
      for (const std::string& name : profile_sections(a.file))
        io_.out << name << '\n';
      return exit_ok;
    }
    if (!has_section(a)) return no_section(a);
    for (const auto& [key, value] : profile_entries(a.file, a.section))
      io_.out << key << '=' << value << '\n';
    return exit_ok;
  }

 private:
  int failure(std::string_view what, const std::string& file, const std::error_code& ec) const {
    io_.err << "kyo ini: cannot " << what << " '" << file << "': " << reason(ec) << '\n';
    return exit_failure;
  }

  std::optional<int> unreadable(const std::string& file) const {
    if (const std::error_code ec = profile_status(file)) return failure("read", file, ec);
    return std::nullopt;
  }

  static bool has_section(const ini_args& a) {
    for (const std::string& name : profile_sections(a.file)) {
      if (ascii_iequal(name, a.section)) return true;
    }
    return false;
  }

  int no_section(const ini_args& a) const {
    io_.err << "kyo ini: no section [" << a.section << "] in '" << a.file << "'\n";
    return exit_failure;
  }

  int no_key(const ini_args& a) const {
    io_.err << "kyo ini: no key '" << a.key << "' in section [" << a.section << "] of '" << a.file
            << "'\n";
    return exit_failure;
  }

  const streams& io_;
};

}  // namespace

void add_ini(CLI::App& kyo, const streams& io, action& run) {
  CLI::App* ini = kyo.add_subcommand("ini", "read and edit profile (INI) files");
  ini->require_subcommand(1);
  ini->footer(
      "Names are matched without regard to case; FILE may be a DOS-style path.\n"
      "Options come before the arguments; '--' ends them.");
  auto args = std::make_shared<ini_args>();
  auto command = std::make_shared<ini_command>(io);

  // Adds an action taking the named positional arguments, all required but the last `optional`.
  const auto add = [&](const char* name, const char* about,
                       std::vector<std::pair<const char*, std::string*>> positionals,
                       std::size_t optional, std::function<int(const CLI::App&)> work) {
    CLI::App* sub = ini->add_subcommand(name, about);
    sub->positionals_at_end();
    for (std::size_t i = 0; i < positionals.size(); ++i) {
      CLI::Option* o = sub->add_option(positionals[i].first, *positionals[i].second);
      if (i + optional < positionals.size()) o->required();
    }
    sub->callback([&run, work, sub] { run = [work, sub] { return work(*sub); }; });
  };
  ini_args& a = *args;
  add("get", "print the value of KEY",
      {{"FILE", &a.file}, {"SECTION", &a.section}, {"KEY", &a.key}}, 0,
      [args, command](const CLI::App&) { return command->get(*args); });
  add("set", "set KEY to VALUE (creating file and section as needed)",
      {{"FILE", &a.file}, {"SECTION", &a.section}, {"KEY", &a.key}, {"VALUE", &a.value}}, 0,
      [args, command](const CLI::App&) { return command->set(*args); });
  add("delete", "delete KEY, or the whole SECTION",
      {{"FILE", &a.file}, {"SECTION", &a.section}, {"KEY", &a.key}}, 1,
      [args, command](const CLI::App& sub) {
        return command->erase(*args, sub.count("KEY") == 0);
      });
  add("list", "list section names, or the KEY=VALUE lines of SECTION",
      {{"FILE", &a.file}, {"SECTION", &a.section}}, 1, [args, command](const CLI::App& sub) {
        return command->list(*args, sub.count("SECTION") == 0);
      });
}

}  // namespace kyo::cli
