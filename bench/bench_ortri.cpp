// Disjoint sets on a paged int array (findRoot stores the root at the start node only, and
// unite links the higher root under the lower) against a path-compressed union-by-rank
// forest on std::vector, both fed the same operations. "random": 2*10^5 random unions then
// a root query per element, lowest first; "chain": 5000 unions that build one long chain,
// then a root query per element from the far end of the chain back, so that each query
// walks the whole chain. Prints "ratio <name>: ours/peer = X" (below 1: ours is faster).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "bulk/ortri.h"
#include "core/locator.h"
#include "ratio_reporter.h"
#include "refhost/host.h"

namespace {

struct Forest {
  std::vector<int> parent, rank;
  explicit Forest(int n) : parent(static_cast<size_t>(n)), rank(static_cast<size_t>(n)) {
    std::iota(parent.begin(), parent.end(), 0);
  }
  int find(int x) {
    while (parent[x] != x) x = parent[x] = parent[parent[x]];
    return x;
  }
  int unite(int a, int b) {
    a = find(a), b = find(b);
    if (a == b) return a;
    if (rank[a] < rank[b]) std::swap(a, b);
    parent[b] = a;
    if (rank[a] == rank[b]) ++rank[a];
    return a;
  }
};

std::vector<std::pair<int, int>> operations(const std::string& kind, int n) {
  std::vector<std::pair<int, int>> ops;
  if (kind == "random") {
    std::mt19937 rng(5);
    for (int k = 0; k < n; ++k) ops.emplace_back(rng() % n, rng() % n);
  } else {
    for (int i = n - 2; i >= 0; --i) ops.emplace_back(i, i + 1);
  }
  return ops;
}

std::vector<int> queries(const std::string& kind, int n) {
  std::vector<int> q(static_cast<size_t>(n));
  std::iota(q.begin(), q.end(), 0);
  if (kind != "random") std::reverse(q.begin(), q.end());
  return q;
}

int sizeOf(const std::string& kind) {
  return kind == "random" ? 200000 : 5000;
}

void ours(benchmark::State& st, std::string kind) {
  const int n = sizeOf(kind);
  const auto ops = operations(kind, n);
  for (auto _ : st) {
    QorMM::Array<int> a(n);
    QorMM::setIdentity(a, 0, n - 1);
    for (auto [i, j] : ops) QorMM::unite(a, i, j);
    long sum = 0;
    for (int i : queries(kind, n)) sum += QorMM::findRoot(a, i);
    benchmark::DoNotOptimize(sum);
  }
}

void peer(benchmark::State& st, std::string kind) {
  const int n = sizeOf(kind);
  const auto ops = operations(kind, n);
  for (auto _ : st) {
    Forest f(n);
    for (auto [i, j] : ops) f.unite(i, j);
    long sum = 0;
    for (int i : queries(kind, n)) sum += f.find(i);
    benchmark::DoNotOptimize(sum);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (!refhost::boot("full")) return 2;
  qor::setLocator(&refhost::manager());
  for (const char* kind : {"random", "chain"}) {
    benchmark::RegisterBenchmark((std::string(kind) + "/ours").c_str(), ours, kind)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((std::string(kind) + "/peer").c_str(), peer, kind)
        ->Unit(benchmark::kMillisecond);
  }
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  for (const char* kind : {"random", "chain"})
    reporter.printRatio(kind, std::string(kind) + "/ours", std::string(kind) + "/peer");
  return 0;
}
