#include <kyo/core/string_array.h>

#include <algorithm>
#include <cassert>

#include <kyo/core/object_stream.h>

namespace kyo {

namespace {

// Reserving ahead is only a hint; a careless upper bound must not allocate without limit.
constexpr std::size_t max_reserve = 4096;

// A stored string takes at least its 32-bit length.
constexpr std::uint64_t min_string_bytes = 4;

}  // namespace

string_array::string_array(int upper, int lower, int delta)
    : lower_(lower), delta_(delta > 0 ? static_cast<std::size_t>(delta) : 0) {
  const long long wanted = static_cast<long long>(upper) - lower + 1;
  if (wanted > 0) items_.reserve(std::min(static_cast<std::size_t>(wanted), max_reserve));
}

void string_array::make_room() {
  if (delta_ != 0 && items_.size() == items_.capacity()) items_.reserve(items_.size() + delta_);
}

void string_array::add(const std::string& s) {
  make_room();
  items_.push_back(s);
}

bool string_array::add_at(const std::string& s, int index) {
  const long long at = static_cast<long long>(index) - lower_;
  if (at < 0 || at > static_cast<long long>(items_.size())) return false;
  make_room();
  items_.insert(items_.begin() + at, s);
  return true;
}

bool string_array::destroy(const std::string& s) {
  const auto it = std::find(items_.begin(), items_.end(), s);
  if (it == items_.end()) return false;
  items_.erase(it);
  return true;
}

bool string_array::destroy(int index) {
  const long long at = static_cast<long long>(index) - lower_;
  if (at < 0 || at >= static_cast<long long>(items_.size())) return false;
  items_.erase(items_.begin() + at);
  return true;
}

void string_array::flush() {
  items_.clear();
}

int string_array::find(const std::string& s) const {
  const auto it = std::find(items_.begin(), items_.end(), s);
  if (it == items_.end()) return npos;
  return lower_ + static_cast<int>(it - items_.begin());
}

void string_array::for_each(void (*f)(std::string&, void*), void* arg) {
  for (auto& s : items_)
    f(s, arg);
}

const std::string* string_array::first_that(int (*f)(const std::string&, void*), void* arg) const {
  for (const auto& s : items_) {
    if (f(s, arg) != 0) return &s;
  }
  return nullptr;
}

std::string& string_array::operator[](int index) {
  assert(index >= lower_ && index <= upper_bound());
  return items_[static_cast<std::size_t>(index - lower_)];
}

const std::string& string_array::operator[](int index) const {
  assert(index >= lower_ && index <= upper_bound());
  return items_[static_cast<std::size_t>(index - lower_)];
}

opstream& operator<<(opstream& os, const string_array& a) {
  os.writeWord32(static_cast<std::uint32_t>(a.size()));
  for (const auto& s : a)
    os << s;
  return os;
}

ipstream& operator>>(ipstream& is, string_array& a) {
  const std::uint32_t count = is.readWord32();
  if (!is.good() || !is.check_count(count, min_string_bytes)) return is;
  std::vector<std::string> read;
  read.reserve(count);
  for (std::uint32_t i = 0; i < count && is.good(); ++i) {
    std::string s;
    is >> s;
    read.push_back(std::move(s));
  }
  if (!is.good()) return is;
  a.flush();
  for (auto& s : read)
    a.add(s);
  return is;
}

}  // namespace kyo
