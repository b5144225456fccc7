// Pushing 10^7 ints: IterStack<int> against std::vector<int>::push_back, and
// IterBlockStack<int> against std::deque<int>::push_back, each from an empty container.
// Also random reads of the filled containers. Each run prints
// "ratio <name>: ours/peer = X" (time per iteration; below 1 means ours is faster).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <deque>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "base/iterstack.h"
#include "ratio_reporter.h"

namespace {

constexpr int kCount = 10000000;

void pushIterStack(benchmark::State& state) {
  for (auto _ : state) {
    IterStack<int> s(0);
    for (int i = 0; i < kCount; ++i) s.push(i);
    benchmark::DoNotOptimize(s.items());
  }
}
void pushVector(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<int> v;
    for (int i = 0; i < kCount; ++i) v.push_back(i);
    benchmark::DoNotOptimize(v.data());
  }
}
void pushBlockStack(benchmark::State& state) {
  for (auto _ : state) {
    IterBlockStack<int> s(0);
    for (int i = 0; i < kCount; ++i) s.push(i);
    benchmark::DoNotOptimize(s.get(1));
  }
}
void pushDeque(benchmark::State& state) {
  for (auto _ : state) {
    std::deque<int> d;
    for (int i = 0; i < kCount; ++i) d.push_back(i);
    benchmark::DoNotOptimize(d.front());
  }
}

const std::vector<int>& probes() {
  static const std::vector<int> v = [] {
    std::mt19937 rng(3);
    std::vector<int> p(1 << 20);
    for (int& x : p) x = static_cast<int>(rng() % kCount);
    return p;
  }();
  return v;
}

template <class Fill, class Read>
void randomGet(benchmark::State& state, Fill fill, Read read) {
  auto c = fill();
  const std::vector<int>& p = probes();
  for (auto _ : state) {
    int64_t sum = 0;
    for (int i : p) sum += read(*c, i);
    benchmark::DoNotOptimize(sum);
  }
}

}  // namespace

int main(int argc, char** argv) {
  auto ms = benchmark::kMillisecond;
  benchmark::RegisterBenchmark("push/ours_stack", pushIterStack)->Unit(ms);
  benchmark::RegisterBenchmark("push/vector", pushVector)->Unit(ms);
  benchmark::RegisterBenchmark("push/ours_block", pushBlockStack)->Unit(ms);
  benchmark::RegisterBenchmark("push/deque", pushDeque)->Unit(ms);
  benchmark::RegisterBenchmark("get/ours_stack", [](benchmark::State& s) {
    randomGet(
        s,
        [] {
          auto c = std::make_unique<IterStack<int>>(kCount);
          for (int i = 1; i <= kCount; ++i) c->push(i);
          return c;
        },
        [](const IterStack<int>& c, int i) { return c.get(i + 1); });
  })->Unit(ms);
  benchmark::RegisterBenchmark("get/vector", [](benchmark::State& s) {
    randomGet(
        s,
        [] {
          auto c = std::make_unique<std::vector<int>>(kCount + 1);
          for (int i = 1; i <= kCount; ++i) (*c)[static_cast<size_t>(i)] = i;
          return c;
        },
        [](const std::vector<int>& c, int i) { return c[static_cast<size_t>(i) + 1]; });
  })->Unit(ms);
  benchmark::RegisterBenchmark("get/ours_block", [](benchmark::State& s) {
    randomGet(
        s,
        [] {
          auto c = std::make_unique<IterBlockStack<int>>(kCount);
          for (int i = 1; i <= kCount; ++i) c->push(i);
          return c;
        },
        [](const IterBlockStack<int>& c, int i) { return c.get(i + 1); });
  })->Unit(ms);
  benchmark::RegisterBenchmark("get/deque", [](benchmark::State& s) {
    randomGet(
        s,
        [] {
          auto c = std::make_unique<std::deque<int>>();
          for (int i = 1; i <= kCount; ++i) c->push_back(i);
          return c;
        },
        [](const std::deque<int>& c, int i) { return c[static_cast<size_t>(i)]; });
  })->Unit(ms);

  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  const char* pairs[][3] = {{"push_stack", "push/ours_stack", "push/vector"},
                            {"push_block", "push/ours_block", "push/deque"},
                            {"get_stack", "get/ours_stack", "get/vector"},
                            {"get_block", "get/ours_block", "get/deque"}};
  for (auto& p : pairs) {
    auto o = reporter.times.find(p[1]);
    auto q = reporter.times.find(p[2]);
    if (o == reporter.times.end() || q == reporter.times.end() || q->second <= 0) continue;
    std::printf("ratio %s: ours/peer = %.3f\n", p[0], o->second / q->second);
  }
  return 0;
}
