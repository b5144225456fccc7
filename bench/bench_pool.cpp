// Small-block allocation: the module's bucket pool (bucketAllocate/bucketFree) against
// glibc malloc, mimalloc and jemalloc, for blocks of 8 to 256 bytes.
//
//   lifo:   64 allocations, then 64 frees in reverse order
//   random: 4096 steps over 512 slots; a step frees a full slot or fills an empty one
//
// glibc is called as __libc_malloc/__libc_free, so that no preloaded allocator stands in
// for it. mimalloc is loaded with dlopen(RTLD_LOCAL) and called as mi_malloc/mi_free, so
// that it replaces nothing else in this process. jemalloc cannot be dlopen'ed (it needs
// static TLS), and linking it would replace malloc everywhere: it is measured in a child
// run of this program with LD_PRELOAD=libjemalloc.so.2, which reports its times back.
//
// Each run prints "ratio <name>: ours/peer = X" (time per iteration; below 1 means ours is
// faster). BENCH_POOL_THREADED=1 measures a process that has had a second thread.
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

const std::vector<int32_t>& sizes() {
  static const std::vector<int32_t> v = [] {
    std::mt19937 rng(42);
    std::vector<int32_t> s(kSteps);
    for (int32_t& x : s) x = 8 + static_cast<int32_t>(rng() % 249);
    return s;
  }();
  return v;
}
const std::vector<int32_t>& slotsToTouch() {
  static const std::vector<int32_t> v = [] {
    std::mt19937 rng(7);
    std::vector<int32_t> s(kSteps);
    for (int32_t& x : s) x = static_cast<int32_t>(rng() % kSlots);
    return s;
  }();
  return v;
}

void lifo(benchmark::State& state, Allocator a) {
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
  state.SetItemsProcessed(state.iterations() * kBatch);
}

void randomOrder(benchmark::State& state, Allocator a) {
  const std::vector<int32_t>& sz = sizes();
  const std::vector<int32_t>& slot = slotsToTouch();
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
  state.SetItemsProcessed(pairs);
  state.counters["ns_per_pair"] = benchmark::Counter(
      static_cast<double>(pairs), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// Keeps the time per iteration of every run, to print the ratios at the end.

void registerAll(const char* peer, Allocator a) {
  benchmark::RegisterBenchmark((std::string("lifo/") + peer).c_str(), lifo, a);
  benchmark::RegisterBenchmark((std::string("random/") + peer).c_str(), randomOrder, a);
}

// Runs this program again with jemalloc preloaded; its times come back on a pipe.
// The child gets this run's arguments.
void measureJemalloc(int argc, char** argv, std::map<std::string, double>& times) {
  std::string cmd = std::string("LD_PRELOAD=libjemalloc.so.2 BENCH_POOL_CHILD=1 '") + argv[0] + "'";
  for (int i = 1; i < argc; ++i) cmd += std::string(" '") + argv[i] + "'";
  cmd += " 2>&1";
  FILE* f = popen(cmd.c_str(), "r");
  if (!f) return;
  char line[512];
  while (std::fgets(line, sizeof line, f)) {
    char name[256];
    double t;
    const char* at = std::strstr(line, "child ");  // colour codes may come first
    if (at && std::sscanf(at, "child %255s %lf", name, &t) == 2)
      times[name] = t;
    else if (std::strncmp(line, "child-error", 11) == 0)
      std::fputs(line, stdout);
  }
  pclose(f);
}

}  // namespace

int main(int argc, char** argv) {
  // With BENCH_POOL_THREADED set, a thread is made (and joined) first, so that the
  // process counts as multi-threaded: locks then need atomic instructions, ours as well
  // as the C library's.
  if (std::getenv("BENCH_POOL_THREADED")) std::thread([] {}).join();
  const bool child = std::getenv("BENCH_POOL_CHILD") != nullptr;
  if (child) {
    // malloc must be jemalloc's here.
    Dl_info info{};
    if (!dlsym(RTLD_DEFAULT, "mallocx") || !dladdr(reinterpret_cast<void*>(&malloc), &info) ||
        !info.dli_fname || !std::strstr(info.dli_fname, "jemalloc")) {
      std::printf("child-error: malloc is not jemalloc's\n");
      return 1;
    }
    registerAll("jemalloc", plain());
  } else {
    registerAll("ours", ours());
    registerAll("glibc", glibc());
    if (void* h = dlopen("libmimalloc.so.2", RTLD_NOW | RTLD_LOCAL)) {
      miMalloc = reinterpret_cast<void* (*)(size_t)>(dlsym(h, "mi_malloc"));
      miFree = reinterpret_cast<void (*)(void*)>(dlsym(h, "mi_free"));
    }
    if (miMalloc && miFree) registerAll("mimalloc", mimalloc());
  }
  std::vector<char*> args(argv, argv + argc);  // before Initialize takes its flags out
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  if (child) {
    for (auto& [name, t] : reporter.times) std::printf("child %s %.6f\n", name.c_str(), t);
    return 0;
  }
  measureJemalloc(static_cast<int>(args.size()), args.data(), reporter.times);
  for (const char* pattern : {"lifo", "random"}) {
    auto o = reporter.times.find(std::string(pattern) + "/ours");
    if (o == reporter.times.end()) continue;
    for (const char* peer : {"glibc", "mimalloc", "jemalloc"}) {
      auto p = reporter.times.find(std::string(pattern) + "/" + peer);
      if (p == reporter.times.end() || p->second <= 0) continue;
      std::printf("%s/%s: %.2f ns per iteration\n", pattern, peer, p->second);
      std::printf("ratio pool_%s_vs_%s: ours/peer = %.3f\n", pattern, peer, o->second / p->second);
    }
    std::printf("%s/ours: %.2f ns per iteration\n", pattern, o->second);
  }
  return 0;
}
