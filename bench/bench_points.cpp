// Point arrays against plain peers on 10^7 points: sort (all distinct, and half of them
// repeated) against std::sort of std::array<double, 3>, bounds against a plain loop over a
// contiguous buffer, and the bulk copy-out that numpy uses against memcpy of the same bytes.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <vector>

#include "bulk/qorvectorarray.h"
#include "core/locator.h"
#include "ratio_reporter.h"
#include "refhost/host.h"

namespace {

constexpr int kN = 10'000'000;
using P = std::array<double, 3>;

std::vector<P> cloud(bool duplicates) {
  std::mt19937_64 rng(42);
  std::uniform_real_distribution<double> u(-1000, 1000);
  std::vector<P> v(kN);
  for (int i = 0; i < kN; ++i)
    v[i] = duplicates && i % 2 && i ? v[rng() % i] : P{u(rng), u(rng), u(rng)};
  return v;
}

void fill(QorVectorArray& a, const std::vector<P>& v) {
  a.clearAll();
  a.reserve(kN + 1);
  a.setSize(kN);
  a.copyIn(1, kN, v[0].data());
}

void sortOurs(benchmark::State& state) {
  const auto v = cloud(state.range(0));
  QorVectorArray a;
  for (auto _ : state) {
    state.PauseTiming();
    fill(a, v);
    state.ResumeTiming();
    a.sort(false, nullptr, nullptr);
  }
}
void sortStd(benchmark::State& state) {
  const auto v = cloud(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    auto w = v;
    state.ResumeTiming();
    std::sort(w.begin(), w.end());
    benchmark::DoNotOptimize(w.data());
  }
}

void boundsOurs(benchmark::State& state) {
  QorVectorArray a;
  fill(a, cloud(false));
  for (auto _ : state) {
    QorVector lo, hi;
    a.bounds(&lo, &hi);
    benchmark::DoNotOptimize(lo);
    benchmark::DoNotOptimize(hi);
  }
}
void boundsLoop(benchmark::State& state) {
  const auto v = cloud(false);
  for (auto _ : state) {
    P lo = {1e42, 1e42, 1e42}, hi = {-1e42, -1e42, -1e42};
    for (const P& p : v)
      for (int k = 0; k < 3; ++k) lo[k] = std::min(lo[k], p[k]), hi[k] = std::max(hi[k], p[k]);
    benchmark::DoNotOptimize(lo);
    benchmark::DoNotOptimize(hi);
  }
}

void copyOutOurs(benchmark::State& state) {
  QorVectorArray a;
  fill(a, cloud(false));
  std::vector<double> out(size_t(3) * kN);
  for (auto _ : state) {
    a.copyOut(1, kN, out.data());
    benchmark::DoNotOptimize(out.data());
  }
}
void copyOutMemcpy(benchmark::State& state) {
  const auto v = cloud(false);
  std::vector<double> out(size_t(3) * kN);
  for (auto _ : state) {
    std::memcpy(out.data(), v.data(), out.size() * sizeof(double));
    benchmark::DoNotOptimize(out.data());
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (!refhost::boot("full")) return 2;
  qor::setLocator(&refhost::manager());
  auto ms = benchmark::kMillisecond;
  benchmark::RegisterBenchmark("sort/ours", sortOurs)->Arg(0)->Unit(ms)->Iterations(2);
  benchmark::RegisterBenchmark("sort/std", sortStd)->Arg(0)->Unit(ms)->Iterations(2);
  benchmark::RegisterBenchmark("sort_dup/ours", sortOurs)->Arg(1)->Unit(ms)->Iterations(2);
  benchmark::RegisterBenchmark("sort_dup/std", sortStd)->Arg(1)->Unit(ms)->Iterations(2);
  benchmark::RegisterBenchmark("bounds/ours", boundsOurs)->Unit(ms);
  benchmark::RegisterBenchmark("bounds/loop", boundsLoop)->Unit(ms);
  benchmark::RegisterBenchmark("copy_out/ours", copyOutOurs)->Unit(ms);
  benchmark::RegisterBenchmark("copy_out/memcpy", copyOutMemcpy)->Unit(ms);
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  reporter.printRatio("sort", "sort/ours/0/iterations:2", "sort/std/0/iterations:2");
  reporter.printRatio("sort_dup", "sort_dup/ours/1/iterations:2", "sort_dup/std/1/iterations:2");
  reporter.printRatio("bounds", "bounds/ours", "bounds/loop");
  reporter.printRatio("copy_out", "copy_out/ours", "copy_out/memcpy");
  return 0;
}
