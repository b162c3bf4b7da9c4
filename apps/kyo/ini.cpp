// kyo ini: reads and edits profile (INI) files from the command line with the
// same rules the library applies (case-insensitive names, first duplicate wins,
// everything else in the file kept byte for byte).
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <system_error>

#include <kyo/platform/message_format.h>
#include <kyo/platform/profile.h>

#include "kyo/commands.h"

namespace kyo::cli {

namespace {

void print_usage(std::ostream& out) {
  out << "usage: kyo ini get FILE SECTION KEY          print the value of KEY\n"
         "       kyo ini set FILE SECTION KEY VALUE    set KEY (creating file and section)\n"
         "       kyo ini delete FILE SECTION [KEY]     delete KEY, or the whole SECTION\n"
         "       kyo ini list FILE [SECTION]           list section names, or KEY=VALUE lines\n"
         "\n"
         "Names are matched without regard to case; FILE may be a DOS-style path.\n";
}

int usage_error(std::ostream& err, std::string_view problem) {
  err << "kyo ini: " << problem << "\n\n";
  print_usage(err);
  return exit_usage;
}

std::string reason(const std::error_code& ec) {
  if (ec == std::errc::invalid_argument) {
    return "a name or value would break the file (line break, ']' in a section, '=' in a key, "
           "or a key starting with ';' or '[')";
  }
  if (ec == std::errc::value_too_large) return "the line would be too long";
  return system_error_text(ec.value());
}

int failure(std::ostream& err, std::string_view what, const std::string& file,
            const std::error_code& ec) {
  err << "kyo ini: cannot " << what << " '" << file << "': " << reason(ec) << '\n';
  return exit_failure;
}

bool names_equal(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

bool has_section(const std::string& file, std::string_view section) {
  for (const std::string& name : profile_sections(file)) {
    if (names_equal(name, section)) return true;
  }
  return false;
}

int no_section(std::ostream& err, const std::string& file, std::string_view section) {
  err << "kyo ini: no section [" << section << "] in '" << file << "'\n";
  return exit_failure;
}

int no_key(std::ostream& err, const std::string& file, std::string_view section,
           std::string_view key) {
  err << "kyo ini: no key '" << key << "' in section [" << section << "] of '" << file << "'\n";
  return exit_failure;
}

int run_get(args_t args, std::ostream& out, std::ostream& err) {
  if (args.size() != 3) return usage_error(err, "get takes FILE SECTION KEY");
  const std::string& file = args[0];
  if (const std::error_code ec = profile_status(file)) return failure(err, "read", file, ec);
  const std::optional<std::string> value = profile_read(file, args[1], args[2]);
  if (!value) return no_key(err, file, args[1], args[2]);
  out << *value << '\n';
  return exit_ok;
}

int run_set(args_t args, std::ostream&, std::ostream& err) {
  if (args.size() != 4) return usage_error(err, "set takes FILE SECTION KEY VALUE");
  const std::string& file = args[0];
  if (const std::error_code ec = profile_write(file, args[1], args[2], args[3])) {
    return failure(err, "write", file, ec);
  }
  return exit_ok;
}

int run_delete(args_t args, std::ostream&, std::ostream& err) {
  if (args.size() != 2 && args.size() != 3) {
    return usage_error(err, "delete takes FILE SECTION [KEY]");
  }
  const std::string& file = args[0];
  if (const std::error_code ec = profile_status(file)) return failure(err, "read", file, ec);
  std::error_code ec;
  if (args.size() == 3) {
    if (!profile_read(file, args[1], args[2])) return no_key(err, file, args[1], args[2]);
    ec = profile_erase_key(file, args[1], args[2]);
  } else {
    if (!has_section(file, args[1])) return no_section(err, file, args[1]);
    ec = profile_erase_section(file, args[1]);
  }
  return ec ? failure(err, "write", file, ec) : exit_ok;
}

int run_list(args_t args, std::ostream& out, std::ostream& err) {
  if (args.size() != 1 && args.size() != 2) return usage_error(err, "list takes FILE [SECTION]");
  const std::string& file = args[0];
  if (const std::error_code ec = profile_status(file)) return failure(err, "read", file, ec);
  if (args.size() == 1) {
    for (const std::string& name : profile_sections(file))
      out << name << '\n';
    return exit_ok;
  }
  if (!has_section(file, args[1])) return no_section(err, file, args[1]);
  for (const auto& [key, value] : profile_entries(file, args[1])) {
    out << key << '=' << value << '\n';
  }
  return exit_ok;
}

}  // namespace

int run_ini(args_t args, std::ostream& out, std::ostream& err) {
  if (wants_help(args)) {
    print_usage(out);
    return exit_ok;
  }
  if (args.empty()) return usage_error(err, "an action is required");
  const std::string& action = args.front();
  const args_t rest = args.subspan(1);
  if (action == "get") return run_get(rest, out, err);
  if (action == "set") return run_set(rest, out, err);
  if (action == "delete") return run_delete(rest, out, err);
  if (action == "list") return run_list(rest, out, err);
  return usage_error(err, "unknown action '" + action + "'");
}

}  // namespace kyo::cli
