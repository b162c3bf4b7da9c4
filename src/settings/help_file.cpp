#include <kyo/settings/help_file.h>

#include <memory>

namespace kyo {

namespace {
std::unique_ptr<TPlimHelp> current_help;
}  // namespace

void allocHelpFile(const std::string& path) {
  current_help = std::make_unique<TPlimHelp>();
  current_help->set_help_file(path);
}

void deAllocHelpFile() {
  current_help.reset();
}

std::string getHelpFile() {
  return current_help ? current_help->get_help_file() : std::string();
}

}  // namespace kyo
