// A client that records every notification it receives, for tests of anything that
// notifies (servers, server lists, outputs, alarms, the message log). Thread-safe.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <kyo/notify/server.h>

namespace kyo::test {

/// One notification as a client received it.
struct notification {
  const server* source = nullptr;
  int code = 0;
  long arg = 0;

  bool operator==(const notification&) const = default;
};

/// Records what it is told and optionally runs a reaction.
class recording_client : public client {
 public:
  using reaction = std::function<void(server& source, int code, long arg)>;

  /// Runs `r` after recording each later notification (e.g. to call back into the source).
  void on_notify(reaction r) {
    std::lock_guard guard(mutex_);
    reaction_ = std::make_shared<reaction>(std::move(r));
  }

  void notify(server& source, int code, long arg) override {
    std::shared_ptr<reaction> r;
    {
      std::lock_guard guard(mutex_);
      received_.push_back({&source, code, arg});
      r = reaction_;
    }
    if (r) (*r)(source, code, arg);
  }

  std::vector<notification> received() const {
    std::lock_guard guard(mutex_);
    return received_;
  }
  /// The codes received, in order.
  std::vector<int> codes() const {
    std::vector<int> out;
    for (const notification& n : received())
      out.push_back(n.code);
    return out;
  }
  std::size_t count() const { return received().size(); }
  void clear() {
    std::lock_guard guard(mutex_);
    received_.clear();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<notification> received_;
  std::shared_ptr<reaction> reaction_;
};

}  // namespace kyo::test
