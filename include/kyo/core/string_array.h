// An owning, indexable, growable array of strings, with the search and iteration calls of the
// library's containers and a stream form (a 32-bit count, then each string).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <kyo/kyoutils_export.h>

namespace kyo {

class opstream;
class ipstream;

/// A growable array of strings whose indices start at its lower bound.
class KYO_EXPORT string_array {
 public:
  /// The index that means "not found".
  static constexpr int npos = 0x7FFFFFFF;

  /// Room for the indices lower..upper to begin with (at most 4096 are reserved ahead); `delta`
  /// is the step by which the room grows (0 grows as the vector does). The array always grows.
  explicit string_array(int upper = 9, int lower = 0, int delta = 0);

  /// Appends `s`.
  void add(const std::string& s);
  /// Inserts `s` before the element at `index`; an index one past the last appends. False (and
  /// nothing added) for an index outside lower..lower + size().
  bool add_at(const std::string& s, int index);
  /// Removes the first element equal to `s`; false when there is none.
  bool destroy(const std::string& s);
  /// Removes the element at `index`; false for an index outside the array.
  bool destroy(int index);
  /// Removes every element.
  void flush();

  /// The index of the first element equal to `s`, or npos.
  [[nodiscard]] int find(const std::string& s) const;
  /// Calls `f(element, arg)` for every element in order.
  void for_each(void (*f)(std::string&, void*), void* arg);
  /// The first element for which `f(element, arg)` is non-zero, or null.
  [[nodiscard]] const std::string* first_that(int (*f)(const std::string&, void*), void* arg) const;

  [[nodiscard]] int lower_bound() const noexcept { return lower_; }
  /// How many elements fit before the array must grow.
  [[nodiscard]] std::size_t capacity() const noexcept { return items_.capacity(); }
  /// The index of the last element (lower_bound() - 1 when empty).
  [[nodiscard]] int upper_bound() const noexcept {
    return lower_ + static_cast<int>(items_.size()) - 1;
  }
  [[nodiscard]] std::size_t size() const noexcept { return items_.size(); }
  [[nodiscard]] bool empty() const noexcept { return items_.empty(); }

  /// The element at `index`, which must lie in lower_bound()..upper_bound().
  [[nodiscard]] std::string& operator[](int index);
  [[nodiscard]] const std::string& operator[](int index) const;

  [[nodiscard]] auto begin() noexcept { return items_.begin(); }
  [[nodiscard]] auto end() noexcept { return items_.end(); }
  [[nodiscard]] auto begin() const noexcept { return items_.begin(); }
  [[nodiscard]] auto end() const noexcept { return items_.end(); }

  friend bool operator==(const string_array& a, const string_array& b) {
    return a.lower_ == b.lower_ && a.items_ == b.items_;
  }

 private:
  void make_room();

  std::vector<std::string> items_;
  int lower_ = 0;
  std::size_t delta_ = 0;
};

/// Writes the count as a 32-bit word, then each string (32-bit length and bytes).
KYO_EXPORT opstream& operator<<(opstream& os, const string_array& a);
/// Reads what operator<< wrote, replacing the elements (the lower bound stays). A count that the
/// input cannot hold, or any failed read, fails the stream and leaves the array as it was.
KYO_EXPORT ipstream& operator>>(ipstream& is, string_array& a);

}  // namespace kyo
