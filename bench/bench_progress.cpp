// The reporter's update on an unchanged position, as a long loop calls it each turn,
// against a bare loop doing the same arithmetic on the loop counter. Rows:
//   update_cancellable    stops honoured: each call also asks the display for a stop
//   update_plain          stops not honoured: a multiplication and a comparison
// Each row runs 10^8 calls per iteration. The display is the reference host's. Prints
// "ratio <name>: ours/peer = X" (below 1 means ours is faster) and "ns <name>: X" per call.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "core/locator.h"
#include "datamodel/progress.h"
#include "ratio_reporter.h"
#include "refhost/host.h"
#include "refhost/progress.h"

namespace {

constexpr int64_t kCalls = 100000000;

void update(benchmark::State& state, bool cancellable) {
  IPtr<ProgressCallbackObject> reporter(new ProgressCallbackObject());
  reporter->setCancellable(cancellable);
  IQorProgressObject* o = reporter.get();
  benchmark::DoNotOptimize(o);
  o->update(0.5f);  // the position every call below computes again
  for (auto _ : state) {
    int64_t goOn = 0;
    for (int64_t i = 0; i < kCalls; ++i) goOn += o->update(0.5f);
    benchmark::DoNotOptimize(goOn);
  }
}

// The same position arithmetic and comparison on a fraction the compiler can't see.
void bareLoop(benchmark::State& state) {
  float fraction = 0.5f;
  int32_t low = 0, high = 1000, last = 500;
  benchmark::DoNotOptimize(fraction);
  benchmark::DoNotOptimize(low);
  for (auto _ : state) {
    int64_t same = 0;
    for (int64_t i = 0; i < kCalls; ++i) {
      float f = fraction;
      benchmark::DoNotOptimize(f);
      same += low + static_cast<int32_t>(static_cast<float>(high - low) * f) == last;
    }
    benchmark::DoNotOptimize(same);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (!refhost::boot("full")) return 2;
  qor::setLocator(&refhost::manager());
  refhost::progress().setShowBar(false);
  benchmark::RegisterBenchmark("update_cancellable/ours", update, true)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("update_plain/ours", update, false)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("update/bare_loop", bareLoop)->Unit(benchmark::kMillisecond);
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  std::printf("\n");
  for (const char* row : {"update_cancellable", "update_plain", "update"}) {
    const std::string name =
        std::string(row) + (std::string(row) == "update" ? "/bare_loop" : "/ours");
    auto t = reporter.times.find(name);
    if (t != reporter.times.end())
      std::printf("ns %s: %.2f\n", name.c_str(), t->second * 1e6 / kCalls);
  }
  reporter.printRatio("update_cancellable", "update_cancellable/ours", "update/bare_loop");
  reporter.printRatio("update_plain", "update_plain/ours", "update/bare_loop");
  return 0;
}
