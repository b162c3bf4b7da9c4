#include <kyo/output/custom_output.h>

#include <algorithm>
#include <cstdint>
#include <string_view>

#include <kyo/numerics/make_numeric.h>
#include <kyo/platform/profile.h>

namespace kyo {

namespace {

constexpr const char* count_key = "OutputNmrcsCount";
constexpr const char* count_default = "0,,32";

// The fields of a comma-separated value; empty fields are skipped, so "a,,b" gives two.
std::vector<std::string_view> split_fields(std::string_view text) {
  std::vector<std::string_view> fields;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t comma = text.find(',', start);
    if (comma == std::string_view::npos) comma = text.size();
    if (comma > start) fields.push_back(text.substr(start, comma - start));
    start = comma + 1;
  }
  return fields;
}

// A field read as the C library's atoi reads it: leading white space, a sign, decimal digits up
// to the first other character ("12x" is 12, "x" is 0); too many digits wrap modulo 2^32
// instead of overflowing.
int leading_int(std::string_view s) {
  std::size_t i = 0;
  while (i < s.size() && (s[i] == ' ' || (s[i] >= '\t' && s[i] <= '\r')))
    ++i;
  const bool negative = i < s.size() && s[i] == '-';
  if (i < s.size() && (s[i] == '-' || s[i] == '+')) ++i;
  std::uint32_t v = 0;
  for (; i < s.size() && s[i] >= '0' && s[i] <= '9'; ++i)
    v = v * 10 + static_cast<std::uint32_t>(s[i] - '0');
  return static_cast<int>(negative ? 0u - v : v);
}

std::string read_value(const std::string& file, const std::string& section, const char* key,
                       const char* default_value) {
  char buffer[custom_output::value_buffer];
  const std::size_t n = get_private_profile_string(section.c_str(), key, default_value, buffer,
                                                   sizeof buffer, file.c_str());
  return std::string(buffer, n);
}

std::string section_name(int n) {
  return "CustomOutput" + std::to_string(n);
}

std::string entry_key(int i) {
  return "OutNumeric" + std::to_string(i);
}

}  // namespace

custom_output::custom_output() = default;

custom_output::~custom_output() {
  flush();
}

void custom_output::flush() {
  alive_ = false;
  std::vector<numeric_wrapper*> old;
  old.swap(numerics_);
  for (numeric_wrapper* w : old)
    delete w;
  alive_ = true;
}

std::string custom_output::build_string(clock_tick t, bool line_break) const {
  const char separator[2] = {static_cast<char>(separator_), '\0'};
  std::string line;
  std::string text;
  bool first = true;
  for (const numeric_wrapper* w : numerics_) {
    if (!first) line += separator;
    first = false;
    w->get_numeric()->as_string(t, text, false);
    line += text;
    text.clear();
  }
  if (!line.empty() && line_break) line += "\r\n";
  return line;
}

const numeric* custom_output::get_numeric(int index) const noexcept {
  if (index < 0 || index >= get_nmrcs_count()) return nullptr;
  return numerics_[static_cast<std::size_t>(index)]->get_numeric();
}

std::string custom_output::get_nmrcs_names(int index) const {
  const numeric* n = get_numeric(index);
  return n != nullptr ? n->get_path(false) : std::string();
}

void custom_output::add_numeric(numeric& n) {
  numerics_.push_back(new numeric_wrapper(*this, n));
}

void custom_output::numeric_destroyed(numeric_wrapper& w) {
  if (!alive_) return;
  const auto it = std::find(numerics_.begin(), numerics_.end(), &w);
  if (it != numerics_.end()) numerics_.erase(it);
}

void custom_output::loadData(const std::string& file, const std::string& section,
                             const numeric_server& root) {
  const std::string header = read_value(file, section, count_key, count_default);
  const std::vector<std::string_view> fields = split_fields(header);
  if (fields.empty()) return;
  const int count = leading_int(fields[0]);
  if (fields.size() < 2) return;
  name_ = std::string(fields[1]);
  if (fields.size() < 3) return;
  separator_ = static_cast<signed char>(leading_int(fields[2]));
  for (int i = 0; i < count; ++i) {
    const std::string value = read_value(file, section, entry_key(i).c_str(), "");
    const std::vector<std::string_view> entry = split_fields(value);
    if (entry.size() < 2) return;
    const numeric_server* server = root.get(entry[0]);
    if (server == nullptr) return;
    numeric* n = make_numeric(*server, leading_int(entry[1]));
    if (n == nullptr) return;
    if (entry.size() > 2) n->read_config(std::string(entry[2]).c_str());
    add_numeric(*n);
  }
}

void custom_output::loadData(const std::string& file, int n, const numeric_server& root) {
  loadData(file, section_name(n), root);
}

bool custom_output::saveData(const std::string& file, const std::string& section) const {
  std::string header = std::to_string(get_nmrcs_count());
  header += ',';
  header += name_;
  header += ',';
  header += std::to_string(static_cast<int>(separator_));
  bool ok = write_private_profile_string(section.c_str(), count_key, header.c_str(), file.c_str());
  for (int i = 0; i < get_nmrcs_count(); ++i) {
    const numeric& n = *get_numeric(i);
    std::string value = n.get_server() != nullptr ? n.get_server()->get_path(true) : "";
    value += ',';
    value += std::to_string(n.get_index());
    value += ',';
    n.write_config(value);
    ok = write_private_profile_string(section.c_str(), entry_key(i).c_str(), value.c_str(),
                                      file.c_str()) &&
         ok;
  }
  return ok;
}

bool custom_output::saveData(const std::string& file, int n) const {
  return saveData(file, section_name(n));
}

void custom_output::transfer(transfer_s& t, int direction) {
  if (direction == transfer_get) {
    t.name = name_;
    t.separator = separator_;
    t.numerics.clear();
    for (const numeric_wrapper* w : numerics_)
      t.numerics.emplace_back(w->get_numeric()->clone());
    return;
  }
  if (direction != transfer_set) return;
  flush();
  for (std::unique_ptr<numeric>& n : t.numerics) {
    if (n) add_numeric(*n.release());
  }
  t.numerics.clear();
  separator_ = t.separator;
  name_ = t.name;
}

void custom_output::toConfigStr(char* /*text*/) {}

void custom_output::fromConfigStr(char* /*text*/) {}

custom_output_string::custom_output_string(const std::string& name, const custom_output& line)
    : output_string(name), line_(line) {}

std::string custom_output_string::get_line(long data) {
  return line_.build_string(clock_tick(static_cast<std::uint32_t>(data)), true);
}

}  // namespace kyo
