#include <kyo/output/host_strings.h>

#include <mutex>
#include <utility>

namespace kyo {

namespace {

std::mutex table_mutex;
std::function<std::string(unsigned long)>& installed_table() {
  static std::function<std::string(unsigned long)> table;
  return table;
}

std::string built_in(unsigned long id) {
  switch (id) {
    case host_string_id::overwrite_caption:
      return "Output File";
    case host_string_id::overwrite_question:
      return " already exists. Overwrite it?";
    case host_string_id::no_alarm_server:
      return "No quantity selected";
    default:
      return {};
  }
}

}  // namespace

std::string host_string(unsigned long id) {
  std::function<std::string(unsigned long)> table;
  {
    std::lock_guard guard(table_mutex);
    table = installed_table();
  }
  // Called without the lock, so that a table may itself ask for host strings.
  if (table) {
    std::string text = table(id);
    if (!text.empty()) return text;
  }
  return built_in(id);
}

void set_host_strings(std::function<std::string(unsigned long id)> table) {
  std::lock_guard guard(table_mutex);
  installed_table() = std::move(table);
}

}  // namespace kyo
