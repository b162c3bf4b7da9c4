// The application's list of alarms: it owns them, and drops an alarm that deletes itself (when
// the numeric server it watches dies) as soon as the alarm announces its end (code 610).
#pragma once

#include <vector>

#include <kyo/alarms/alarm.h>
#include <kyo/kyoutils_export.h>
#include <kyo/notify/server.h>

namespace kyo {

/// An owning, ordered list of alarms. Alarms persist through their configuration texts
/// (alarm::saveData), not through object streams.
class KYO_EXPORT alarm_list : public client {
 public:
  alarm_list() = default;
  alarm_list(const alarm_list&) = delete;
  alarm_list& operator=(const alarm_list&) = delete;
  /// Deletes every alarm, the last first.
  ~alarm_list() override;

  /// Takes `a` (allocated with new) over and appends it; false, and nothing changes, for null or
  /// an alarm already listed.
  bool add(alarm* a);
  /// Deletes the alarm at `index`; false out of range.
  bool destroy(int index);
  /// Hands the alarm at `index` back to the caller, who then owns it; null out of range.
  [[nodiscard]] alarm* release(int index);

  [[nodiscard]] int count() const noexcept { return static_cast<int>(items_.size()); }
  /// The alarm at `index`, null out of range.
  [[nodiscard]] alarm* at(int index) const noexcept;
  /// Calls `f(alarm, arg)` for each alarm in list order.
  void for_each(void (*f)(alarm&, void*), void* arg);
  /// The first alarm, in list order, for which `f(alarm, arg)` is true; null if none.
  [[nodiscard]] alarm* first_that(bool (*f)(const alarm&, void*), void* arg) const;

  /// alarm::destroyed from a listed alarm takes it out of the list.
  void notify(server& source, int code, long arg) override;

 private:
  std::vector<alarm*> items_;
};

}  // namespace kyo
