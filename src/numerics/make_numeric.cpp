#include <kyo/numerics/make_numeric.h>

#include <kyo/numerics/geog_nmrc.h>
#include <kyo/numerics/numeric_nmrc.h>
#include <kyo/numerics/timedate_nmrc.h>

namespace kyo {

numeric* make_numeric(const numeric_server& s, int index) {
  nmrc_info info;
  s.describe(index, info);
  const int width = info.width;
  const int precision = info.precision;
  switch (info.type_id()) {
    case numeric_type::text:
      return new numeric(s, index);
    case numeric_type::date_time:
      return new timedate_nmrc(s, index, timedate_flags::long_date | timedate_flags::time,
                               precision);
    case numeric_type::latitude:
    case numeric_type::longitude:
      return new geog_nmrc(s, index, geog_format::seconds);
    case numeric_type::number:
    case numeric_type::number_alt:
      return new numeric_nmrc(s, index, width, precision, 1.0, "");
    case numeric_type::distance:
      return new distance_nmrc(s, index, width, precision);
    case numeric_type::time_interval:
      return new time_interval_nmrc(s, index, width, precision);
    case numeric_type::speed:
      return new speed_nmrc(s, index, width, precision);
    case numeric_type::true_bearing:
      return new bearing_nmrc(s, index, width, precision, "\xB0T");
    case numeric_type::grid_bearing:
      return new bearing_nmrc(s, index, width, precision, "\xB0G");
    case numeric_type::angle:
      return new bearing_nmrc(s, index, width, precision, "\xB0");
    case numeric_type::tension:
      return new tension_nmrc(s, index, width, precision);
    case numeric_type::pressure:
      return new pressure_nmrc(s, index, width, precision);
    case numeric_type::emf:
      return new emf_nmrc(s, index, width, precision);
    case numeric_type::percentage:
      return new numeric_nmrc(s, index, width, precision, 1.0, "%");
    case numeric_type::memory:
      return new memory_nmrc(s, index, width, precision);
    default:
      // A boolean (4) has no text of its own; ids from 18 up are not numeric types.
      return nullptr;
  }
}

}  // namespace kyo
