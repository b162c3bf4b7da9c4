// A small concrete numeric server for tests and benchmarks: entries are added with a name and a
// description, and each holds a settable number (or text, for type-0 entries) and status. It needs
// no test framework.
#pragma once

#include <atomic>
#include <string>
#include <string_view>
#include <vector>

#include <kyo/numerics/numeric_server.h>

namespace kyo::test {

/// A numeric server whose entries the test sets by hand. Entries are numbered from 1; setting an
/// entry that does not exist throws std::out_of_range.
class test_numeric_server : public numeric_server {
 public:
  /// A server with no entries and a timeout of 1000 ticks.
  explicit test_numeric_server(numeric_server* parent = nullptr, const std::string& name = "test",
                               bool hidden = false, long timeout = 1000)
      : numeric_server(parent, name, hidden, timeout, true) {
    ++live_;
  }
  ~test_numeric_server() override { --live_; }

  /// How many test_numeric_server objects exist, so that tests can tell a leak from a clean
  /// failure in every build.
  [[nodiscard]] static long live_instances() noexcept { return live_.load(); }

  /// Adds an entry and returns its index; it starts with value 0, empty text and status fresh.
  int add(const std::string& name, int type, int width = -1, int precision = -1) {
    entries_.push_back({name, nmrc_info{type, width, precision}, 0, "", numeric_status::fresh});
    return entry_count();
  }
  /// Adds one entry per type id 0 to 17, named "type <id>": entry index = type id + 1.
  void add_every_type(int width = -1, int precision = -1) {
    for (int type = 0; type < 18; ++type)
      add("type " + std::to_string(type), type, width, precision);
  }

  void set_value(int index, double value) { entry_at(index).value = value; }
  void set_text(int index, const std::string& text) { entry_at(index).text = text; }
  /// The status the value query returns; 0 makes it write nothing.
  void set_status(int index, int status) { entry_at(index).status = status; }

  int entry_count() const override { return static_cast<int>(entries_.size()); }
  void describe(int index, nmrc_info& info) const override {
    info = index >= 1 && index <= entry_count() ? at(index).info : nmrc_info{};
  }
  std::string entry_name(int index) const override {
    return index >= 1 && index <= entry_count() ? at(index).name : std::string();
  }
  int entry_index(std::string_view name) const override {
    for (int i = 1; i <= entry_count(); ++i)
      if (at(i).name == name) return i;
    return 0;
  }
  /// Writes the entry's text (type id 0) or value into `data` and returns the entry's status;
  /// writes nothing for status 0 or an unknown index (returns 0).
  int get_value(int index, clock_tick, void* data) const override {
    if (index < 1 || index > entry_count() || data == nullptr) return 0;
    const entry& e = at(index);
    if (e.status == numeric_status::no_data) return 0;
    if (e.info.type_id() == 0) {
      *static_cast<std::string*>(data) = e.text;
    } else {
      *static_cast<double*>(data) = e.value;
    }
    return e.status;
  }

 private:
  struct entry {
    std::string name;
    nmrc_info info;
    double value = 0;
    std::string text;
    int status = numeric_status::fresh;
  };
  entry& entry_at(int index) { return entries_.at(static_cast<std::size_t>(index - 1)); }
  const entry& at(int index) const { return entries_[static_cast<std::size_t>(index - 1)]; }

  static inline std::atomic<long> live_{0};
  std::vector<entry> entries_;
};

}  // namespace kyo::test
