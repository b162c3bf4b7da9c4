#include <kyo/numerics/numeric_server_list.h>

#include <algorithm>

#include <kyo/numerics/numeric_server.h>

namespace kyo {

namespace {
// Reserving for absurd bounds would allocate for servers that never come.
constexpr long long max_reserve = 256;
}  // namespace

numeric_server_list::numeric_server_list(int upper, int lower, int delta)
    : lower_(lower), delta_(delta > 0 ? delta : 1) {
  const long long capacity = static_cast<long long>(upper) - lower + 1;
  if (capacity > 0) items_.reserve(static_cast<std::size_t>(std::min(capacity, max_reserve)));
}

numeric_server_list::~numeric_server_list() {
  flush();
}

bool numeric_server_list::add(numeric_server* s) {
  if (s == nullptr || s->get_parent() != nullptr) return false;
  if (std::find(items_.begin(), items_.end(), s) != items_.end()) return false;
  items_.push_back(s);
  return true;
}

void numeric_server_list::for_each(void (*f)(numeric_server&, void*), void* arg) {
  for (std::size_t i = 0; i < items_.size(); ++i)
    f(*items_[i], arg);
}

numeric_server* numeric_server_list::first_that(int (*f)(const numeric_server&, void*),
                                                void* arg) const {
  for (numeric_server* s : items_) {
    if (f(*s, arg) != 0) return s;
  }
  return nullptr;
}

void numeric_server_list::flush() {
  // Taken out of the list before deletion, so that a member's clients see a consistent list.
  while (!items_.empty()) {
    numeric_server* s = items_.back();
    items_.pop_back();
    delete s;
  }
}

numeric_server* numeric_server_list::at(int index) const noexcept {
  const long long i = static_cast<long long>(index) - lower_;
  if (i < 0 || i >= static_cast<long long>(items_.size())) return nullptr;
  return items_[static_cast<std::size_t>(i)];
}

}  // namespace kyo
