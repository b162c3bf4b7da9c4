// Notifying the clients of a server, beside the least any notification costs: one uncontended
// lock and a loop of virtual calls over the same clients.
#include <memory>
#include <mutex>
#include <vector>

#include <kyo/notify/server.h>

#include "bench_support.h"

namespace {

using kyo::bench::set_goal;

// A client with a little work to do. Not inlined: the baseline must make a call per client, as the
// library does, rather than let the optimiser fold the loop.
class counting_client : public kyo::client {
 public:
  [[gnu::noinline]] void notify(kyo::server&, int code, long arg) override { sum_ += code + arg; }
  [[nodiscard]] long sum() const noexcept { return sum_; }

 private:
  long sum_ = 0;
};

void path_notify(benchmark::State& state) {
  kyo::server source(nullptr, "source");
  std::vector<std::unique_ptr<counting_client>> clients;
  for (int i = 0; i < state.range(0); ++i) {
    clients.push_back(std::make_unique<counting_client>());
    source.attach_client(*clients.back());
  }
  for (auto _ : state)
    source.notify_clients(600, 1, false);
  benchmark::DoNotOptimize(clients.front()->sum());
  set_goal(state, 1.5);
}
BENCHMARK(path_notify)->Name("path/notify")->Arg(1)->Arg(10)->Arg(100);

void baseline_notify(benchmark::State& state) {
  kyo::server source(nullptr, "source");
  std::mutex lock;
  std::vector<std::unique_ptr<counting_client>> owned;
  std::vector<kyo::client*> clients;
  for (int i = 0; i < state.range(0); ++i) {
    owned.push_back(std::make_unique<counting_client>());
    clients.push_back(owned.back().get());
  }
  benchmark::DoNotOptimize(clients.data());
  for (auto _ : state) {
    std::lock_guard guard(lock);
    for (kyo::client* c : clients)
      c->notify(source, 600, 1);
  }
  benchmark::DoNotOptimize(owned.front()->sum());
}
BENCHMARK(baseline_notify)->Name("baseline/notify")->Arg(1)->Arg(10)->Arg(100);

}  // namespace

BENCHMARK_MAIN();
