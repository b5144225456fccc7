// Small-block allocation: the module's bucket pool (bucketAllocate/bucketFree) against
// glibc malloc, mimalloc and jemalloc.
//
//   lifo:   64 allocations of 8 to 256 bytes, then 64 frees in reverse order
//   random: 4096 steps over 512 slots; a step frees a full slot or fills an empty one
//   churn:  10^5 live blocks of 16 to 256 bytes, made before timing; a step frees the
//           block of a random slot and allocates a new one into it (65536 steps an
//           iteration)
//
// Every pattern runs twice in one process: first while the process has a single thread,
// then, as "<pattern>_threaded", after a thread has been started and joined. From then on
// the process counts as multi-threaded for good, and locks need atomic instructions, ours
// as well as the C library's; every real host is in that state.
//
// glibc is called as __libc_malloc/__libc_free, so that no preloaded allocator stands in
// for it. mimalloc is loaded with dlopen(RTLD_LOCAL) and called as mi_malloc/mi_free, so
// that it replaces nothing else in this process. jemalloc cannot be dlopen'ed (it needs
// static TLS), and linking it would replace malloc everywhere: it is measured in a child
// run of this program with LD_PRELOAD=libjemalloc.so.2, which reports its times back.
//
// Each row prints its time per alloc+free pair and "ratio pool_<row>_vs_<peer>: ours/peer
// = X" (below 1 means ours is faster). Every allocator sees the same sizes in the same order.
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "base/bucketpool.h"
#include "ratio_reporter.h"

extern "C" {
void* __libc_malloc(size_t);
void __libc_free(void*);
}

namespace {

constexpr int kBatch = 64;
constexpr int kSlots = 512;
constexpr int kSteps = 4096;
constexpr int kLive = 100000;
constexpr int kChurnSteps = 65536;

// One allocator under test: alloc returns a block and its size token, free takes both.
struct Allocator {
  void* (*alloc)(int32_t size, int32_t* token);
  void (*release)(void* p, int32_t token);
};

Allocator ours() {
  return {[](int32_t s, int32_t* t) { return bucketAllocate(s, t); },
          [](void* p, int32_t t) { bucketFree(t, p); }};
}
Allocator glibc() {
  return {[](int32_t s, int32_t*) { return __libc_malloc(static_cast<size_t>(s)); },
          [](void* p, int32_t) { __libc_free(p); }};
}
// Plain malloc/free: jemalloc in the child run.
Allocator plain() {
  return {[](int32_t s, int32_t*) { return std::malloc(static_cast<size_t>(s)); },
          [](void* p, int32_t) { std::free(p); }};
}

void* (*miMalloc)(size_t) = nullptr;
void (*miFree)(void*) = nullptr;
Allocator mimalloc() {
  return {[](int32_t s, int32_t*) { return miMalloc(static_cast<size_t>(s)); },
          [](void* p, int32_t) { miFree(p); }};
}

// Alloc+free pairs per iteration of each benchmark, by its name.
std::map<std::string, double> gPairs;

// n values drawn uniformly from [lo, hi] with a fixed seed.
std::vector<int32_t> draws(unsigned seed, size_t n, int32_t lo, int32_t hi) {
  std::mt19937 rng(seed);
  std::vector<int32_t> v(n);
  for (int32_t& x : v) x = lo + static_cast<int32_t>(rng() % static_cast<uint32_t>(hi - lo + 1));
  return v;
}

const std::vector<int32_t>& sizes() {
  static const std::vector<int32_t> v = draws(42, kSteps, 8, 256);
  return v;
}

void lifo(benchmark::State& state, Allocator a, std::string name) {
  const std::vector<int32_t>& sz = sizes();
  void* blocks[kBatch];
  int32_t tokens[kBatch];
  size_t at = 0;
  for (auto _ : state) {
    for (int i = 0; i < kBatch; ++i) {
      blocks[i] = a.alloc(sz[at + i], &tokens[i]);
      static_cast<char*>(blocks[i])[0] = 1;
    }
    for (int i = kBatch - 1; i >= 0; --i) a.release(blocks[i], tokens[i]);
    at = (at + kBatch) % (kSteps - kBatch);
    benchmark::ClobberMemory();
  }
  gPairs[name] = kBatch;
  state.SetItemsProcessed(state.iterations() * kBatch);
}

void randomOrder(benchmark::State& state, Allocator a, std::string name) {
  const std::vector<int32_t>& sz = sizes();
  static const std::vector<int32_t> slot = draws(7, kSteps, 0, kSlots - 1);
  std::vector<void*> blocks(kSlots, nullptr);
  std::vector<int32_t> tokens(kSlots, 0);
  int64_t pairs = 0;
  for (auto _ : state) {
    for (int i = 0; i < kSteps; ++i) {
      int32_t k = slot[static_cast<size_t>(i)];
      if (blocks[k]) {
        a.release(blocks[k], tokens[k]);
        blocks[k] = nullptr;
        ++pairs;
      } else {
        blocks[k] = a.alloc(sz[static_cast<size_t>(i)], &tokens[k]);
        static_cast<char*>(blocks[k])[0] = 1;
      }
    }
    benchmark::ClobberMemory();
  }
  for (int k = 0; k < kSlots; ++k)
    if (blocks[k]) a.release(blocks[k], tokens[k]);
  gPairs[name] = static_cast<double>(pairs) / static_cast<double>(state.iterations());
  state.SetItemsProcessed(pairs);
}

void churn(benchmark::State& state, Allocator a, std::string name) {
  static const std::vector<int32_t> first = draws(11, kLive, 16, 256);
  static const std::vector<int32_t> slot = draws(12, kChurnSteps, 0, kLive - 1);
  static const std::vector<int32_t> size = draws(13, kChurnSteps, 16, 256);
  std::vector<void*> blocks(kLive);
  std::vector<int32_t> tokens(kLive);
  for (int k = 0; k < kLive; ++k) {
    blocks[k] = a.alloc(first[static_cast<size_t>(k)], &tokens[k]);
    static_cast<char*>(blocks[k])[0] = 1;
  }
  for (auto _ : state) {
    for (int i = 0; i < kChurnSteps; ++i) {
      const int32_t k = slot[static_cast<size_t>(i)];
      a.release(blocks[k], tokens[k]);
      blocks[k] = a.alloc(size[static_cast<size_t>(i)], &tokens[k]);
      static_cast<char*>(blocks[k])[0] = 1;
    }
    benchmark::ClobberMemory();
  }
  for (int k = 0; k < kLive; ++k) a.release(blocks[k], tokens[k]);
  gPairs[name] = kChurnSteps;
  state.SetItemsProcessed(state.iterations() * kChurnSteps);
}

const char* const kPatterns[] = {"lifo", "random", "churn"};

// The patterns as rows "<pattern><mode>/<peer>".
void registerAll(const std::string& mode, const char* peer, Allocator a) {
  auto add = [&](const char* pattern, void (*fn)(benchmark::State&, Allocator, std::string)) {
    std::string name = std::string(pattern) + mode + "/" + peer;
    benchmark::RegisterBenchmark(name.c_str(), fn, a, name);
  };
  add("lifo", lifo);
  add("random", randomOrder);
  add("churn", churn);
}

void registerPeers(const std::string& mode, bool child) {
  if (child) {
    registerAll(mode, "jemalloc", plain());
    return;
  }
  registerAll(mode, "ours", ours());
  registerAll(mode, "glibc", glibc());
  if (miMalloc && miFree) registerAll(mode, "mimalloc", mimalloc());
}

// Runs this program again with jemalloc preloaded; its times and pairs come back on a
// pipe. The child gets this run's arguments.
void measureJemalloc(int argc, char** argv, std::map<std::string, double>& times) {
  std::string cmd = std::string("LD_PRELOAD=libjemalloc.so.2 BENCH_POOL_CHILD=1 '") + argv[0] + "'";
  for (int i = 1; i < argc; ++i) cmd += std::string(" '") + argv[i] + "'";
  cmd += " 2>&1";
  FILE* f = popen(cmd.c_str(), "r");
  if (!f) return;
  char line[512];
  while (std::fgets(line, sizeof line, f)) {
    char name[256];
    double t, pairs;
    const char* at = std::strstr(line, "child ");  // colour codes may come first
    if (at && std::sscanf(at, "child %255s %lf %lf", name, &t, &pairs) == 3) {
      times[name] = t;
      gPairs[name] = pairs;
    } else if (std::strncmp(line, "child-error", 11) == 0) {
      std::fputs(line, stdout);
    }
  }
  pclose(f);
}

}  // namespace

int main(int argc, char** argv) {
  const bool child = std::getenv("BENCH_POOL_CHILD") != nullptr;
  if (child) {
    // malloc must be jemalloc's here.
    Dl_info info{};
    if (!dlsym(RTLD_DEFAULT, "mallocx") || !dladdr(reinterpret_cast<void*>(&malloc), &info) ||
        !info.dli_fname || !std::strstr(info.dli_fname, "jemalloc")) {
      std::printf("child-error: malloc is not jemalloc's\n");
      return 1;
    }
  } else if (void* h = dlopen("libmimalloc.so.2", RTLD_NOW | RTLD_LOCAL)) {
    miMalloc = reinterpret_cast<void* (*)(size_t)>(dlsym(h, "mi_malloc"));
    miFree = reinterpret_cast<void (*)(void*)>(dlsym(h, "mi_free"));
  }
  std::vector<char*> args(argv, argv + argc);  // before Initialize takes its flags out
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  registerPeers("", child);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  // From here on the process has had a second thread.
  std::thread([] {}).join();
  benchmark::ClearRegisteredBenchmarks();
  registerPeers("_threaded", child);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  if (child) {
    for (auto& [name, t] : reporter.times)
      std::printf("child %s %.6f %.3f\n", name.c_str(), t, gPairs[name]);
    return 0;
  }
  measureJemalloc(static_cast<int>(args.size()), args.data(), reporter.times);
  for (const char* mode : {"", "_threaded"}) {
    for (const char* pattern : kPatterns) {
      const std::string row = std::string(pattern) + mode;
      auto perPair = [&](const std::string& peer) {
        auto t = reporter.times.find(row + "/" + peer);
        auto n = gPairs.find(row + "/" + peer);
        if (t == reporter.times.end() || n == gPairs.end() || n->second <= 0) return -1.0;
        return t->second / n->second;
      };
      const double o = perPair("ours");
      if (o <= 0) continue;
      std::printf("%s/ours: %.2f ns per pair\n", row.c_str(), o);
      for (const char* peer : {"glibc", "mimalloc", "jemalloc"}) {
        const double p = perPair(peer);
        if (p <= 0) continue;
        std::printf("%s/%s: %.2f ns per pair\n", row.c_str(), peer, p);
        std::printf("ratio pool_%s_vs_%s: ours/peer = %.3f\n", row.c_str(), peer, o / p);
      }
    }
  }
  return 0;
}
