#include <kyo/core/version.h>

namespace kyo {

const char* version() noexcept {
  return KYO_VERSION;
}

}  // namespace kyo
