// The library's version, as built.
#pragma once

#include <kyo/kyoutils_export.h>

namespace kyo {

/// The version of the library the program runs with, "major.minor.patch".
KYO_EXPORT const char* version() noexcept;

}  // namespace kyo
