// An owning array of numeric servers (used, for example, by variables that list the servers a
// report table repeats over), with iteration by callback.
#pragma once

#include <cstddef>
#include <vector>

#include <kyo/kyoutils_export.h>

namespace kyo {

class numeric_server;

/// An ordered, owning array of numeric servers: the list deletes its members when it is flushed
/// or destroyed, so members must be allocated with new and deleted only through the list.
class KYO_EXPORT numeric_server_list {
 public:
  /// An empty list with room for upper - lower + 1 servers (at most 256 are reserved up front;
  /// the array grows as needed). `lower` is the index of the first member; `delta`, the growth
  /// step, must be positive and is otherwise taken as 1.
  explicit numeric_server_list(int upper = 9, int lower = 0, int delta = 10);
  numeric_server_list(const numeric_server_list&) = delete;
  numeric_server_list& operator=(const numeric_server_list&) = delete;
  /// Deletes the members.
  ~numeric_server_list();

  /// Appends `s` and takes it over. Refused (false, nothing changes) for null, for a server
  /// already in the list and for one that has a numeric parent, which owns it already.
  bool add(numeric_server* s);
  /// Calls `f(server, arg)` for every member in index order.
  void for_each(void (*f)(numeric_server&, void*), void* arg);
  /// The first member for which `f(server, arg)` returns nonzero, or null.
  [[nodiscard]] numeric_server* first_that(int (*f)(const numeric_server&, void*), void* arg) const;
  /// Deletes every member and empties the list.
  void flush();

  /// The number of members.
  [[nodiscard]] int count() const noexcept { return static_cast<int>(items_.size()); }
  /// The member at `index` (counted from the lower bound), null outside the list.
  [[nodiscard]] numeric_server* at(int index) const noexcept;
  [[nodiscard]] int lower_bound() const noexcept { return lower_; }
  [[nodiscard]] int delta() const noexcept { return delta_; }

 private:
  std::vector<numeric_server*> items_;
  int lower_ = 0;
  int delta_ = 1;
};

}  // namespace kyo
