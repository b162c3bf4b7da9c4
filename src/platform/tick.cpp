#include <kyo/platform/tick.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>

namespace kyo {

namespace {

using tick_fn = std::function<std::uint32_t()>;

// The flag keeps the per-tick path free of the lock while no source is installed.
std::atomic<bool> has_source{false};
std::mutex source_mutex;
std::shared_ptr<const tick_fn> source;

std::uint32_t real_tick() {
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now().time_since_epoch());
  // Conversion to an unsigned type is modular, which is the wrap the counter needs.
  return static_cast<std::uint32_t>(ms.count());
}

}  // namespace

std::uint32_t tick_count() {
  if (!has_source.load(std::memory_order_acquire)) return real_tick();
  std::shared_ptr<const tick_fn> current;
  {
    std::lock_guard lock(source_mutex);
    current = source;
  }
  // Called outside the lock so that a source may itself read ticks or be replaced.
  return current ? (*current)() : real_tick();
}

void set_tick_source(std::function<std::uint32_t()> new_source) {
  std::lock_guard lock(source_mutex);
  if (new_source) {
    source = std::make_shared<const tick_fn>(std::move(new_source));
    has_source.store(true, std::memory_order_release);
  } else {
    source.reset();
    has_source.store(false, std::memory_order_release);
  }
}

}  // namespace kyo
