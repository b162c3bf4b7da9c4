#include "support/test_numeric_server.h"

#include <atomic>

namespace kyo::test {

namespace {

std::atomic<long> live{0};

}  // namespace

test_numeric_server::test_numeric_server(numeric_server* parent, const std::string& name,
                                         bool hidden, long timeout)
    : numeric_server(parent, name, hidden, timeout, true) {
  ++live;
}

test_numeric_server::~test_numeric_server() {
  --live;
}

long test_numeric_server::live_instances() noexcept {
  return live.load();
}

int test_numeric_server::add(const std::string& name, int type, int width, int precision) {
  entries_.push_back({name, nmrc_info{type, width, precision}, 0, "", numeric_status::fresh});
  return static_cast<int>(entries_.size());
}

void test_numeric_server::add_every_type(int width, int precision) {
  for (int type = 0; type < 18; ++type)
    add("type " + std::to_string(type), type, width, precision);
}

const test_numeric_server::entry* test_numeric_server::find(int index) const {
  if (index < 1 || index > entry_count()) return nullptr;
  return &entries_[static_cast<std::size_t>(index - 1)];
}

void test_numeric_server::describe(int index, nmrc_info& info) const {
  const entry* e = find(index);
  info = e != nullptr ? e->info : nmrc_info{};
}

std::string test_numeric_server::entry_name(int index) const {
  const entry* e = find(index);
  return e != nullptr ? e->name : std::string();
}

int test_numeric_server::entry_index(std::string_view name) const {
  for (int i = 1; i <= entry_count(); ++i) {
    if (find(i)->name == name) return i;
  }
  return 0;
}

int test_numeric_server::get_value(int index, clock_tick, void* data) const {
  const entry* e = find(index);
  if (e == nullptr || e->status == numeric_status::no_data || data == nullptr) return 0;
  if (e->info.type_id() == 0) {
    *static_cast<std::string*>(data) = e->text;
  } else {
    *static_cast<double*>(data) = e->value;
  }
  return e->status;
}

}  // namespace kyo::test
