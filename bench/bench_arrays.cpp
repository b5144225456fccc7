// Int arrays.
//  - removeAll of 10^4 values from 10^6 entries, values spread over 0..2*10^6 (the dense bit
//    road) and over the whole int range (the hash road), against a std::unordered_set of
//    the values to drop and a filtering copy into a std::vector.
//  - removeDuplicates of 10^6 entries, values in 0..5*10^5 and over the whole int range,
//    against a std::unordered_set and a copy of the first occurrences.
//  - appendAll of 10^6 entries between plain stacks, against one memcpy.
// The array is refilled outside the timing for the removals. Each pair prints
// "ratio <name>: ours/peer = X" (time; below 1 means ours is faster).
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <unordered_set>
#include <vector>

#include "datamodel/arrays.h"
#include "ratio_reporter.h"

namespace {

constexpr int kEntries = 1000000;
constexpr int kDrop = 10000;

std::vector<int32_t> randomValues(int n, bool wide, uint32_t range, uint32_t seed) {
  std::mt19937 rng(seed);
  std::vector<int32_t> v(static_cast<size_t>(n));
  for (int32_t& x : v) x = wide ? static_cast<int32_t>(rng()) : static_cast<int32_t>(rng() % range);
  return v;
}

void fill(IntArray& a, const std::vector<int32_t>& v) {
  IterStack<int32_t>& s = *a.plainStack();
  s.setCount(static_cast<int32_t>(v.size()));
  std::memcpy(s.items() + 1, v.data(), v.size() * sizeof(int32_t));
}

void removeAllOurs(benchmark::State& state, bool wide) {
  const auto entries = randomValues(kEntries, wide, 2 * kEntries, 1);
  auto drop = randomValues(kDrop, wide, 2 * kEntries, 2);
  for (int k = 0; k < kDrop; k += 2)
    drop[static_cast<size_t>(k)] = entries[static_cast<size_t>(k * 97)];
  IntArray a, other;
  fill(other, drop);
  for (auto _ : state) {
    state.PauseTiming();
    fill(a, entries);
    state.ResumeTiming();
    a.removeAll(&other);
    benchmark::DoNotOptimize(a.size());
  }
}

void removeAllPeer(benchmark::State& state, bool wide) {
  const auto entries = randomValues(kEntries, wide, 2 * kEntries, 1);
  auto drop = randomValues(kDrop, wide, 2 * kEntries, 2);
  for (int k = 0; k < kDrop; k += 2)
    drop[static_cast<size_t>(k)] = entries[static_cast<size_t>(k * 97)];
  for (auto _ : state) {
    std::unordered_set<int32_t> set(drop.begin(), drop.end());
    std::vector<int32_t> kept;
    kept.reserve(entries.size());
    for (int32_t v : entries)
      if (!set.count(v)) kept.push_back(v);
    benchmark::DoNotOptimize(kept.data());
  }
}

void dedupOurs(benchmark::State& state, bool wide) {
  const auto entries = randomValues(kEntries, wide, kEntries / 2, 3);
  IntArray a;
  for (auto _ : state) {
    state.PauseTiming();
    fill(a, entries);
    state.ResumeTiming();
    a.removeDuplicates();
    benchmark::DoNotOptimize(a.size());
  }
}

void dedupPeer(benchmark::State& state, bool wide) {
  const auto entries = randomValues(kEntries, wide, kEntries / 2, 3);
  for (auto _ : state) {
    std::unordered_set<int32_t> seen;
    seen.reserve(entries.size());
    std::vector<int32_t> kept;
    kept.reserve(entries.size());
    for (int32_t v : entries)
      if (seen.insert(v).second) kept.push_back(v);
    benchmark::DoNotOptimize(kept.data());
  }
}

void appendAllOurs(benchmark::State& state) {
  IntArray source, a;
  fill(source, randomValues(kEntries, true, 0, 4));
  a.appendAll(&source);  // the room exists before timing, as for the peer
  for (auto _ : state) {
    a.plainStack()->clear();
    a.appendAll(&source);
    benchmark::DoNotOptimize(a.size());
  }
}

void appendAllPeer(benchmark::State& state) {
  const auto source = randomValues(kEntries, true, 0, 4);
  std::vector<int32_t> into(source.size() + 1);
  for (auto _ : state) {
    std::memcpy(into.data() + 1, source.data(), source.size() * sizeof(int32_t));
    benchmark::DoNotOptimize(into.data());
  }
}

}  // namespace

int main(int argc, char** argv) {
  auto ms = benchmark::kMillisecond;
  benchmark::RegisterBenchmark("removeAll/dense/ours", removeAllOurs, false)->Unit(ms);
  benchmark::RegisterBenchmark("removeAll/dense/unordered_set", removeAllPeer, false)->Unit(ms);
  benchmark::RegisterBenchmark("removeAll/wide/ours", removeAllOurs, true)->Unit(ms);
  benchmark::RegisterBenchmark("removeAll/wide/unordered_set", removeAllPeer, true)->Unit(ms);
  benchmark::RegisterBenchmark("removeDuplicates/dense/ours", dedupOurs, false)->Unit(ms);
  benchmark::RegisterBenchmark("removeDuplicates/dense/unordered_set", dedupPeer, false)->Unit(ms);
  benchmark::RegisterBenchmark("removeDuplicates/wide/ours", dedupOurs, true)->Unit(ms);
  benchmark::RegisterBenchmark("removeDuplicates/wide/unordered_set", dedupPeer, true)->Unit(ms);
  benchmark::RegisterBenchmark("appendAll/ours", appendAllOurs)->Unit(ms);
  benchmark::RegisterBenchmark("appendAll/memcpy", appendAllPeer)->Unit(ms);
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  for (const char* road : {"dense", "wide"}) {
    const std::string r = road;
    reporter.printRatio("removeAll " + r, "removeAll/" + r + "/ours",
                        "removeAll/" + r + "/unordered_set");
    reporter.printRatio("removeDuplicates " + r, "removeDuplicates/" + r + "/ours",
                        "removeDuplicates/" + r + "/unordered_set");
  }
  reporter.printRatio("appendAll", "appendAll/ours", "appendAll/memcpy");
  benchmark::Shutdown();
  return 0;
}
