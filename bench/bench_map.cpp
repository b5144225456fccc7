// Map<K, V> against std::unordered_map and absl::flat_hash_map, with 10^6 int keys and
// 10^6 string keys: building the map by insertion, and finding every key once.
//
// Int keys are distinct random 32-bit numbers; string keys are "key" plus a random number.
// Ours keys strings as QorCString, the peers as std::string, each with its own hash.
// Each run prints "ratio <name>: ours/peer = X" (time per iteration; below 1 means ours is
// faster).
#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/map.h"
#include "ratio_reporter.h"

namespace {

constexpr int kKeys = 1000000;

const std::vector<int>& intKeys() {
  static const std::vector<int> v = [] {
    std::mt19937 rng(1);
    std::vector<int> k;
    k.reserve(kKeys);
    std::unordered_map<int, bool> seen;
    while (static_cast<int>(k.size()) < kKeys) {
      int x = static_cast<int>(rng());
      if (seen.emplace(x, true).second) k.push_back(x);
    }
    return k;
  }();
  return v;
}
// The same keys in another order, for finding.
const std::vector<int>& intProbe() {
  static const std::vector<int> v = [] {
    std::vector<int> k = intKeys();
    std::shuffle(k.begin(), k.end(), std::mt19937(2));
    return k;
  }();
  return v;
}
const std::vector<std::string>& stringKeys() {
  static const std::vector<std::string> v = [] {
    std::vector<std::string> k;
    for (int x : intKeys()) k.push_back("key" + std::to_string(static_cast<unsigned>(x)));
    return k;
  }();
  return v;
}
const std::vector<std::string>& stringProbe() {
  static const std::vector<std::string> v = [] {
    std::vector<std::string> k = stringKeys();
    std::shuffle(k.begin(), k.end(), std::mt19937(2));
    return k;
  }();
  return v;
}
const std::vector<QorCString>& cstringKeys() {
  static const std::vector<QorCString> v = [] {
    std::vector<QorCString> k;
    for (const std::string& s : stringKeys()) k.emplace_back(s.c_str());
    return k;
  }();
  return v;
}
const std::vector<QorCString>& cstringProbe() {
  static const std::vector<QorCString> v = [] {
    std::vector<QorCString> k;
    for (const std::string& s : stringProbe()) k.emplace_back(s.c_str());
    return k;
  }();
  return v;
}

// Insertion of every key into an empty map.
template <class M, class K>
void insertAll(benchmark::State& state, const std::vector<K>& keys) {
  for (auto _ : state) {
    M m;
    for (size_t i = 0; i < keys.size(); ++i) m[keys[i]] = static_cast<int>(i);
    benchmark::DoNotOptimize(m);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(keys.size()));
}

template <class M, class K>
void findAll(benchmark::State& state, const std::vector<K>& keys, const std::vector<K>& probe) {
  M m;
  for (size_t i = 0; i < keys.size(); ++i) m[keys[i]] = static_cast<int>(i);
  for (auto _ : state) {
    int64_t sum = 0;
    for (const K& k : probe) sum += m.find(k)->second;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(probe.size()));
}
// Ours answers a pointer to the value.
template <class K>
void findAllOurs(benchmark::State& state, const std::vector<K>& keys, const std::vector<K>& probe) {
  Map<K, int> m;
  for (size_t i = 0; i < keys.size(); ++i) m[keys[i]] = static_cast<int>(i);
  for (auto _ : state) {
    int64_t sum = 0;
    for (const K& k : probe) sum += *m.find(k);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(probe.size()));
}

}  // namespace

int main(int argc, char** argv) {
  using benchmark::RegisterBenchmark;
  auto ms = benchmark::kMillisecond;
  RegisterBenchmark("insert_int/ours", [](benchmark::State& s) {
    insertAll<Map<int, int>>(s, intKeys());
  })->Unit(ms);
  RegisterBenchmark("insert_int/std", [](benchmark::State& s) {
    insertAll<std::unordered_map<int, int>>(s, intKeys());
  })->Unit(ms);
  RegisterBenchmark("insert_int/absl", [](benchmark::State& s) {
    insertAll<absl::flat_hash_map<int, int>>(s, intKeys());
  })->Unit(ms);
  RegisterBenchmark("find_int/ours", [](benchmark::State& s) {
    findAllOurs(s, intKeys(), intProbe());
  })->Unit(ms);
  RegisterBenchmark("find_int/std", [](benchmark::State& s) {
    findAll<std::unordered_map<int, int>>(s, intKeys(), intProbe());
  })->Unit(ms);
  RegisterBenchmark("find_int/absl", [](benchmark::State& s) {
    findAll<absl::flat_hash_map<int, int>>(s, intKeys(), intProbe());
  })->Unit(ms);
  RegisterBenchmark("insert_string/ours", [](benchmark::State& s) {
    insertAll<Map<QorCString, int>>(s, cstringKeys());
  })->Unit(ms);
  RegisterBenchmark("insert_string/std", [](benchmark::State& s) {
    insertAll<std::unordered_map<std::string, int>>(s, stringKeys());
  })->Unit(ms);
  RegisterBenchmark("insert_string/absl", [](benchmark::State& s) {
    insertAll<absl::flat_hash_map<std::string, int>>(s, stringKeys());
  })->Unit(ms);
  RegisterBenchmark("find_string/ours", [](benchmark::State& s) {
    findAllOurs(s, cstringKeys(), cstringProbe());
  })->Unit(ms);
  RegisterBenchmark("find_string/std", [](benchmark::State& s) {
    findAll<std::unordered_map<std::string, int>>(s, stringKeys(), stringProbe());
  })->Unit(ms);
  RegisterBenchmark("find_string/absl", [](benchmark::State& s) {
    findAll<absl::flat_hash_map<std::string, int>>(s, stringKeys(), stringProbe());
  })->Unit(ms);

  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  for (const char* what : {"insert_int", "find_int", "insert_string", "find_string"}) {
    auto o = reporter.times.find(std::string(what) + "/ours");
    if (o == reporter.times.end()) continue;
    for (const char* peer : {"std", "absl"}) {
      auto p = reporter.times.find(std::string(what) + "/" + peer);
      if (p == reporter.times.end() || p->second <= 0) continue;
      std::printf("ratio map_%s_vs_%s: ours/peer = %.3f\n", what, peer, o->second / p->second);
    }
  }
  return 0;
}
