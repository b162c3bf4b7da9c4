#include <kyo/numerics/numeric_wrapper.h>

#include <kyo/numerics/numeric.h>

namespace kyo {

numeric_wrapper::numeric_wrapper(wrapper_owner& owner, numeric& n) : owner_(owner), numeric_(&n) {
  if (const numeric_server* s = n.get_server(); s != nullptr) s->attach_nmrc_client(*this);
}

numeric_wrapper::~numeric_wrapper() {
  owner_.numeric_destroyed(*this);
  if (numeric_ == nullptr) return;
  numeric* n = numeric_;
  set_null();
  delete n;
}

void numeric_wrapper::set_null() {
  if (numeric_ == nullptr) return;
  if (const numeric_server* s = numeric_->get_server(); s != nullptr) s->detach_nmrc_client(*this);
  numeric_ = nullptr;
}

void numeric_wrapper::new_data() {}

void numeric_wrapper::nmrc_srvr_destroyed(numeric_server& /*s*/) {
  delete this;
}

}  // namespace kyo
