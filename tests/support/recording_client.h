// A client that records every notification it receives, for tests of anything that
// notifies (servers, server lists, outputs, alarms, the message log). Several recorders
// can share one journal to check the order in which they were called. Thread-safe.
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

/// A shared, ordered record of who was told what: entries are "label:code".
class notification_journal {
 public:
  void add(const std::string& label, int code) {
    std::lock_guard guard(mutex_);
    entries_.push_back(label + ":" + std::to_string(code));
  }
  std::vector<std::string> entries() const {
    std::lock_guard guard(mutex_);
    return entries_;
  }
  void clear() {
    std::lock_guard guard(mutex_);
    entries_.clear();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> entries_;
};

/// Records what it is told; optionally writes to a journal and runs a reaction.
class recording_client : public client {
 public:
  using reaction = std::function<void(server& source, int code, long arg)>;

  recording_client() = default;
  /// Also writes "label:code" to `journal` (which must outlive the client).
  recording_client(std::string label, notification_journal& journal)
      : label_(std::move(label)), journal_(&journal) {}

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
    if (journal_ != nullptr) journal_->add(label_, code);
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
  std::string label_;
  notification_journal* journal_ = nullptr;
};

}  // namespace kyo::test
