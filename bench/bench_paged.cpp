// Paged arrays of 10^7 ints against std::vector<int>: sequential and random reads and
// writes over a filled array. The host's page manager is installed before any benchmark
// runs. Each run prints "ratio <name>: ours/peer = X" (time per iteration; below 1 means
// ours is faster).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bulk/pagedarray.h"
#include "core/locator.h"
#include "ratio_reporter.h"
#include "refhost/host.h"

namespace {

constexpr int kCount = 10000000;

const std::vector<int>& probes() {
  static const std::vector<int> v = [] {
    std::mt19937 rng(11);
    std::vector<int> p(1 << 20);
    for (int& x : p) x = static_cast<int>(rng() % kCount);
    return p;
  }();
  return v;
}

std::unique_ptr<QorMM::Array<int>> filledArray() {
  auto a = std::make_unique<QorMM::Array<int>>(0);
  a->resize(kCount);
  for (int i = 0; i < kCount; ++i) a->set(i, i + 1);
  return a;
}

std::unique_ptr<std::vector<int>> filledVector() {
  auto v = std::make_unique<std::vector<int>>(kCount);
  for (int i = 0; i < kCount; ++i) (*v)[static_cast<size_t>(i)] = i + 1;
  return v;
}

void seqGetOurs(benchmark::State& state) {
  auto a = filledArray();
  for (auto _ : state) {
    int64_t sum = 0;
    for (int i = 0; i < kCount; ++i) sum += a->get(i);
    benchmark::DoNotOptimize(sum);
  }
}
void seqGetVector(benchmark::State& state) {
  auto v = filledVector();
  for (auto _ : state) {
    int64_t sum = 0;
    for (int i = 0; i < kCount; ++i) sum += (*v)[static_cast<size_t>(i)];
    benchmark::DoNotOptimize(sum);
  }
}
void seqSetOurs(benchmark::State& state) {
  auto a = filledArray();
  int round = 0;
  for (auto _ : state) {
    ++round;
    for (int i = 0; i < kCount; ++i) a->set(i, i ^ round);
    benchmark::ClobberMemory();
  }
}
void seqSetVector(benchmark::State& state) {
  auto v = filledVector();
  int round = 0;
  for (auto _ : state) {
    ++round;
    for (int i = 0; i < kCount; ++i) (*v)[static_cast<size_t>(i)] = i ^ round;
    benchmark::ClobberMemory();
  }
}
void randGetOurs(benchmark::State& state) {
  auto a = filledArray();
  const std::vector<int>& p = probes();
  for (auto _ : state) {
    int64_t sum = 0;
    for (int i : p) sum += a->get(i);
    benchmark::DoNotOptimize(sum);
  }
}
void randGetVector(benchmark::State& state) {
  auto v = filledVector();
  const std::vector<int>& p = probes();
  for (auto _ : state) {
    int64_t sum = 0;
    for (int i : p) sum += (*v)[static_cast<size_t>(i)];
    benchmark::DoNotOptimize(sum);
  }
}
void randSetOurs(benchmark::State& state) {
  auto a = filledArray();
  const std::vector<int>& p = probes();
  int round = 0;
  for (auto _ : state) {
    ++round;
    for (int i : p) a->set(i, i ^ round);
    benchmark::ClobberMemory();
  }
}
void randSetVector(benchmark::State& state) {
  auto v = filledVector();
  const std::vector<int>& p = probes();
  int round = 0;
  for (auto _ : state) {
    ++round;
    for (int i : p) (*v)[static_cast<size_t>(i)] = i ^ round;
    benchmark::ClobberMemory();
  }
}
// Filling from empty: pages made on first write against a vector built in place. Giving
// the memory back is left out of the timing (with the host's manager it is glibc trimming
// its heap, which dominates on a virtual machine).
template <class Fill>
void fill(benchmark::State& state, Fill make) {
  for (auto _ : state) {
    auto c = make();
    benchmark::DoNotOptimize(c.get());
    state.PauseTiming();
    c.reset();
    state.ResumeTiming();
  }
}
void fillOurs(benchmark::State& state) {
  fill(state, filledArray);
}
void fillVector(benchmark::State& state) {
  fill(state, filledVector);
}

}  // namespace

int main(int argc, char** argv) {
  if (!refhost::boot("full")) return 2;
  qor::setLocator(&refhost::manager());

  auto ms = benchmark::kMillisecond;
  benchmark::RegisterBenchmark("seq_get/ours", seqGetOurs)->Unit(ms);
  benchmark::RegisterBenchmark("seq_get/vector", seqGetVector)->Unit(ms);
  benchmark::RegisterBenchmark("seq_set/ours", seqSetOurs)->Unit(ms);
  benchmark::RegisterBenchmark("seq_set/vector", seqSetVector)->Unit(ms);
  benchmark::RegisterBenchmark("rand_get/ours", randGetOurs)->Unit(ms);
  benchmark::RegisterBenchmark("rand_get/vector", randGetVector)->Unit(ms);
  benchmark::RegisterBenchmark("rand_set/ours", randSetOurs)->Unit(ms);
  benchmark::RegisterBenchmark("rand_set/vector", randSetVector)->Unit(ms);
  benchmark::RegisterBenchmark("fill/ours", fillOurs)->Unit(ms);
  benchmark::RegisterBenchmark("fill/vector", fillVector)->Unit(ms);

  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  for (const char* name : {"seq_get", "seq_set", "rand_get", "rand_set", "fill"})
    reporter.printRatio(name, std::string(name) + "/ours", std::string(name) + "/vector");
  return 0;
}
