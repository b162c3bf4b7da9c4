// A `numeric_wrapper` holds one numeric for an owner that shows several (a custom output line)
// and watches the numeric's server: when the server dies the wrapper deletes itself and tells its
// owner through `wrapper_owner::numeric_destroyed`, so that the owner's list loses the entry.
#pragma once

#include <kyo/kyoutils_export.h>
#include <kyo/numerics/numeric_server.h>

namespace kyo {

class numeric;
class numeric_wrapper;

/// What a wrapper tells the object that keeps it.
class KYO_EXPORT wrapper_owner {
 public:
  /// Called from the destructor of a wrapper of this owner, before the wrapper lets its numeric
  /// go. The owner forgets the wrapper here; it must not delete it (it is being destroyed).
  virtual void numeric_destroyed(numeric_wrapper& w) = 0;

 protected:
  wrapper_owner() = default;
  wrapper_owner(const wrapper_owner&) = default;
  wrapper_owner& operator=(const wrapper_owner&) = default;
  ~wrapper_owner() = default;
};

/// A numeric client that owns one numeric and watches that numeric's server. It must be made
/// with new: when the server is destroyed, the wrapper deletes itself.
class KYO_EXPORT numeric_wrapper : public numeric_client {
 public:
  /// Takes over `n` (made with new) and attaches itself to `n`'s server, if it has one.
  numeric_wrapper(wrapper_owner& owner, numeric& n);
  numeric_wrapper(const numeric_wrapper&) = delete;
  numeric_wrapper& operator=(const numeric_wrapper&) = delete;
  /// Tells the owner (numeric_destroyed), then, while it still holds its numeric, detaches from
  /// the numeric's server and deletes the numeric.
  ~numeric_wrapper() override;

  /// Detaches from the numeric's server and forgets the numeric without deleting it: the caller
  /// has taken it over. Nothing happens when the numeric is already gone.
  void set_null();

  /// The numeric, null after set_null.
  [[nodiscard]] numeric* get_numeric() const noexcept { return numeric_; }
  [[nodiscard]] wrapper_owner& get_owner() const noexcept { return owner_; }

  /// New data are read when the owner asks for them: nothing to do here.
  void new_data() override;
  /// The watched server is going away: deletes the wrapper.
  void nmrc_srvr_destroyed(numeric_server& s) override;

 private:
  wrapper_owner& owner_;
  numeric* numeric_;
};

}  // namespace kyo
