// The numeric factory: builds the kind of numeric that suits an entry of a numeric server from
// the entry's description (type id, width, precision).
#pragma once

#include <kyo/kyoutils_export.h>
#include <kyo/numerics/numeric.h>

namespace kyo {

/// A new numeric for entry `index` of `s`, owned by the caller, chosen by the low byte of the
/// entry's type (the bits above it are ignored):
///   0 numeric; 1 timedate_nmrc (long date and time, time decimals = the entry's precision);
///   2, 3 geog_nmrc (format 2); 5, 6 numeric_nmrc (no label); 7 distance_nmrc; 8
///   time_interval_nmrc; 9 speed_nmrc; 10, 11, 12 bearing_nmrc labelled "°T", "°G", "°";
///   13 tension_nmrc; 14 pressure_nmrc; 15 emf_nmrc; 16 numeric_nmrc labelled "%";
///   17 memory_nmrc (automatic unit); null for 4 (a boolean) and for 18 to 255.
/// Number kinds take the entry's width (-1 gives 12, above 31 gives 31) and precision (a
/// negative one gives the kind's default: 2 for distances, 0 for time intervals, else 1), and
/// the first row of their unit table.
[[nodiscard]] KYO_EXPORT numeric* make_numeric(const numeric_server& s, int index);

}  // namespace kyo
