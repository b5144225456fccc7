// Bit vectors of 10^8 bits (paged, on the host's page manager) against their peers, in the
// same run: union, intersection and count against raw uint64_t loops over the same bits;
// set and test against std::vector<bool>; the walk of set bits with nextSet against a raw
// word loop with count-trailing-zeros, on a sparse (1%) and a dense (99%) vector. Each run
// prints "ratio <name>: ours/peer = X" (time per iteration; below 1 means ours is faster).
#include <benchmark/benchmark.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "base/bitvector.h"
#include "core/locator.h"
#include "ratio_reporter.h"
#include "refhost/host.h"

namespace {

constexpr int32_t kBits = 100000000;
constexpr size_t kWords64 = (kBits + 63) / 64;

// Random bits with the given chance per bit, as raw 64-bit words (bits past kBits clear).
std::vector<uint64_t> rawBits(uint32_t seed, double density) {
  std::mt19937_64 rng(seed);
  std::vector<uint64_t> w(kWords64, 0);
  if (density == 0.5) {
    for (uint64_t& x : w) x = rng();
  } else {
    std::bernoulli_distribution on(density);
    for (int32_t i = 0; i < kBits; ++i)
      if (on(rng)) w[static_cast<size_t>(i) >> 6] |= uint64_t{1} << (i & 63);
  }
  w.back() &= (uint64_t{1} << (kBits % 64)) - 1;
  return w;
}

// The same bits in our vector.
std::unique_ptr<BitVector> ours(const std::vector<uint64_t>& w) {
  auto v = std::make_unique<BitVector>(kBits - 1);
  for (size_t k = 0; k < w.size(); ++k)
    for (uint64_t x = w[k]; x; x &= x - 1)
      v->set(static_cast<int32_t>(k * 64 + static_cast<size_t>(std::countr_zero(x))));
  return v;
}

// The same bits as a std::vector<bool>.
std::vector<bool> asBools(const std::vector<uint64_t>& w) {
  std::vector<bool> b(kBits);
  for (int32_t i = 0; i < kBits; ++i)
    b[static_cast<size_t>(i)] = (w[static_cast<size_t>(i) >> 6] >> (i & 63)) & 1;
  return b;
}

// Everything the benchmarks read, built once before any timing.
struct Data {
  std::vector<uint64_t> a = rawBits(1, 0.5), b = rawBits(2, 0.5);
  std::vector<uint64_t> sparse = rawBits(3, 0.01), dense = rawBits(4, 0.99);
  std::unique_ptr<BitVector> oa = ours(a), ob = ours(b);
  std::unique_ptr<BitVector> osparse = ours(sparse), odense = ours(dense);
  std::vector<int32_t> probes = [] {
    std::mt19937 rng(11);
    std::vector<int32_t> p(1 << 20);
    for (int32_t& x : p) x = static_cast<int32_t>(rng() % kBits);
    return p;
  }();
};

// The shared data, made on first use.
Data& data() {
  static Data* d = new Data();
  return *d;
}

// ---- union, intersection, count ----

// this |= other over the whole vector, ours and the raw loop.
void uniteOurs(benchmark::State& state) {
  BitVector a(*data().oa);
  for (auto _ : state) {
    a.unite(*data().ob);
    benchmark::ClobberMemory();
  }
}
void uniteRaw(benchmark::State& state) {
  std::vector<uint64_t> a = data().a;
  const std::vector<uint64_t>& b = data().b;
  for (auto _ : state) {
    for (size_t i = 0; i < kWords64; ++i) a[i] |= b[i];
    benchmark::ClobberMemory();
  }
}
// this &= other over the whole vector, ours and the raw loop.
void intersectOurs(benchmark::State& state) {
  BitVector a(*data().oa);
  for (auto _ : state) {
    a.intersect(*data().ob);
    benchmark::ClobberMemory();
  }
}
void intersectRaw(benchmark::State& state) {
  std::vector<uint64_t> a = data().a;
  const std::vector<uint64_t>& b = data().b;
  for (auto _ : state) {
    for (size_t i = 0; i < kWords64; ++i) a[i] &= b[i];
    benchmark::ClobberMemory();
  }
}
// Counting every set bit (ours without its cache).
void countOurs(benchmark::State& state) {
  const BitVector& a = *data().oa;
  for (auto _ : state) benchmark::DoNotOptimize(a.recount());
}
// The peer counts with the processor's population count instruction where it has one, as
// ours does.
#if defined(__x86_64__)
__attribute__((target("popcnt")))
#endif
int64_t
rawCount(const uint64_t* w, size_t n) {
  int64_t total = 0;
  for (size_t i = 0; i < n; ++i) total += std::popcount(w[i]);
  return total;
}
// The raw count over the same words.
void countRaw(benchmark::State& state) {
  const std::vector<uint64_t>& a = data().a;
  for (auto _ : state) benchmark::DoNotOptimize(rawCount(a.data(), a.size()));
}

// ---- single bits ----

// 2^20 random sets into a 10^8-bit vector, ours and std::vector<bool>.
void setOurs(benchmark::State& state) {
  BitVector v(kBits - 1);
  const std::vector<int32_t>& p = data().probes;
  for (auto _ : state) {
    for (int32_t i : p) v.set(i);
    benchmark::ClobberMemory();
  }
}
void setBools(benchmark::State& state) {
  std::vector<bool> v(kBits);
  const std::vector<int32_t>& p = data().probes;
  for (auto _ : state) {
    for (int32_t i : p) v[static_cast<size_t>(i)] = true;
    benchmark::ClobberMemory();
  }
}
// 2^20 random tests on the sparse or the dense vector, ours and std::vector<bool>.
template <bool Dense>
void testOurs(benchmark::State& state) {
  const BitVector& v = Dense ? *data().odense : *data().osparse;
  const std::vector<int32_t>& p = data().probes;
  for (auto _ : state) {
    int32_t n = 0;
    for (int32_t i : p) n += v.test(i);
    benchmark::DoNotOptimize(n);
  }
}
template <bool Dense>
void testBools(benchmark::State& state) {
  static const std::vector<bool> v = asBools(Dense ? data().dense : data().sparse);
  const std::vector<int32_t>& p = data().probes;
  for (auto _ : state) {
    int32_t n = 0;
    for (int32_t i : p) n += v[static_cast<size_t>(i)];
    benchmark::DoNotOptimize(n);
  }
}
// Visiting every set bit in order, with nextSet and with a raw word loop.
template <bool Dense>
void walkOurs(benchmark::State& state) {
  const BitVector& v = Dense ? *data().odense : *data().osparse;
  for (auto _ : state) {
    int64_t sum = 0;
    for (int32_t i = v.nextSet(-1); i >= 0; i = v.nextSet(i)) sum += i;
    benchmark::DoNotOptimize(sum);
  }
}
template <bool Dense>
void walkRaw(benchmark::State& state) {
  const std::vector<uint64_t>& w = Dense ? data().dense : data().sparse;
  for (auto _ : state) {
    int64_t sum = 0;
    for (size_t k = 0; k < w.size(); ++k)
      for (uint64_t x = w[k]; x; x &= x - 1)
        sum += static_cast<int64_t>(k * 64) + std::countr_zero(x);
    benchmark::DoNotOptimize(sum);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (!refhost::boot("full")) return 2;
  qor::setLocator(&refhost::manager());
  data();  // built before any timing
  if (!data().oa->isPaged()) std::printf("note: the vectors are not paged\n");

  auto ms = benchmark::kMillisecond;
  benchmark::RegisterBenchmark("union/ours", uniteOurs)->Unit(ms);
  benchmark::RegisterBenchmark("union/raw", uniteRaw)->Unit(ms);
  benchmark::RegisterBenchmark("intersect/ours", intersectOurs)->Unit(ms);
  benchmark::RegisterBenchmark("intersect/raw", intersectRaw)->Unit(ms);
  benchmark::RegisterBenchmark("count/ours", countOurs)->Unit(ms);
  benchmark::RegisterBenchmark("count/raw", countRaw)->Unit(ms);
  benchmark::RegisterBenchmark("set/ours", setOurs)->Unit(ms);
  benchmark::RegisterBenchmark("set/bools", setBools)->Unit(ms);
  benchmark::RegisterBenchmark("test_sparse/ours", testOurs<false>)->Unit(ms);
  benchmark::RegisterBenchmark("test_sparse/bools", testBools<false>)->Unit(ms);
  benchmark::RegisterBenchmark("test_dense/ours", testOurs<true>)->Unit(ms);
  benchmark::RegisterBenchmark("test_dense/bools", testBools<true>)->Unit(ms);
  benchmark::RegisterBenchmark("next_sparse/ours", walkOurs<false>)->Unit(ms);
  benchmark::RegisterBenchmark("next_sparse/raw", walkRaw<false>)->Unit(ms);
  benchmark::RegisterBenchmark("next_dense/ours", walkOurs<true>)->Unit(ms);
  benchmark::RegisterBenchmark("next_dense/raw", walkRaw<true>)->Unit(ms);

  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  reporter.printRatio("union", "union/ours", "union/raw");
  reporter.printRatio("intersect", "intersect/ours", "intersect/raw");
  reporter.printRatio("count", "count/ours", "count/raw");
  reporter.printRatio("set", "set/ours", "set/bools");
  for (const char* k : {"test_sparse", "test_dense"})
    reporter.printRatio(k, std::string(k) + "/ours", std::string(k) + "/bools");
  for (const char* k : {"next_sparse", "next_dense"})
    reporter.printRatio(k, std::string(k) + "/ours", std::string(k) + "/raw");
  return 0;
}
