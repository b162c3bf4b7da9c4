#include "support/test_numeric_server.h"

#include <atomic>
#include <stdexcept>

namespace kyo::test {

namespace {

std::atomic<long> live{0};

}  // namespace

test_numeric_server::test_numeric_server(numeric_server* parent, const std::string& name,
                                         bool hidden, long timeout, bool browsable)
    : numeric_server(parent, name, hidden, timeout, browsable) {
  ++live;
}

test_numeric_server::~test_numeric_server() {
  --live;
}

long test_numeric_server::live_instances() noexcept {
  return live.load();
}

int test_numeric_server::add(const std::string& name, int type, int width, int precision) {
  entry e;
  e.name = name;
  e.info = nmrc_info{type, width, precision};
  entries_.push_back(std::move(e));
  return static_cast<int>(entries_.size());
}

void test_numeric_server::add_every_type(int width, int precision) {
  for (int type = 0; type < 18; ++type)
    add("type " + std::to_string(type), type, width, precision);
}

test_numeric_server::entry& test_numeric_server::at(int index) {
  if (find(index) == nullptr) {
    throw std::out_of_range("test_numeric_server: no entry " + std::to_string(index));
  }
  return entries_[static_cast<std::size_t>(index - 1)];
}

const test_numeric_server::entry* test_numeric_server::find(int index) const {
  if (index < 1 || index > static_cast<int>(entries_.size())) return nullptr;
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
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    if (entries_[i].name == name) return static_cast<int>(i + 1);
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
