// Timedate values for the time tests, worked out with the standard library's civil calendar so
// that expected texts do not depend on the calendar under test.
#pragma once

#include <chrono>

namespace kyo::test {

/// The timedate of a GMT date and time: seconds since 1 January 1901 00:00 GMT. Read as a local
/// clock reading it is also the count from_local and local_value work with.
inline double at(int year, unsigned month, unsigned day, int hour = 0, int minute = 0,
                 double second = 0) {
  namespace chr = std::chrono;
  const auto days =
      (chr::sys_days(chr::year{year} / month / day) - chr::sys_days(chr::year{1901} / 1 / 1))
          .count();
  return static_cast<double>(days) * 86400 + hour * 3600.0 + minute * 60.0 + second;
}

}  // namespace kyo::test
