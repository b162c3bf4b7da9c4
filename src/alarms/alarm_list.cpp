#include <kyo/alarms/alarm_list.h>

#include <algorithm>

namespace kyo {

alarm_list::~alarm_list() {
  while (!items_.empty()) {
    alarm* a = items_.back();
    items_.pop_back();
    a->detach_client(*this);
    delete a;
  }
}

bool alarm_list::add(alarm* a) {
  if (a == nullptr || std::find(items_.begin(), items_.end(), a) != items_.end()) return false;
  items_.push_back(a);
  a->attach_client(*this);
  return true;
}

bool alarm_list::destroy(int index) {
  alarm* a = release(index);
  delete a;
  return a != nullptr;
}

alarm* alarm_list::release(int index) {
  if (index < 0 || index >= count()) return nullptr;
  alarm* a = items_[static_cast<std::size_t>(index)];
  items_.erase(items_.begin() + index);
  a->detach_client(*this);
  return a;
}

alarm* alarm_list::at(int index) const noexcept {
  return index >= 0 && index < count() ? items_[static_cast<std::size_t>(index)] : nullptr;
}

void alarm_list::for_each(void (*f)(alarm&, void*), void* arg) {
  // By index, read afresh: an alarm may delete itself during the walk.
  for (std::size_t i = 0; i < items_.size(); ++i)
    f(*items_[i], arg);
}

alarm* alarm_list::first_that(bool (*f)(const alarm&, void*), void* arg) const {
  for (alarm* a : items_) {
    if (f(*a, arg)) return a;
  }
  return nullptr;
}

void alarm_list::notify(server& /*source*/, int code, long arg) {
  if (code != alarm::destroyed) return;
  const auto it = std::find(items_.begin(), items_.end(), from_notify_arg<alarm>(arg));
  if (it != items_.end()) items_.erase(it);
}

}  // namespace kyo
