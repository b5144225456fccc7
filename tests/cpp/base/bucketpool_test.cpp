// The bucket pool without a host: size classes against an independent model, real sizes at
// every class boundary, pooling off and on, clear, a model of the buckets (through a pool's
// own operations, and through the module's functions and the thread stacks in front of
// its pool), the module's current pool (local pool, release, successor inheriting the
// blocks), and threads: shared use, frees on another thread, clears and thread ends.
#include "base/bucketpool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "core/iptr.h"

namespace {

// The size classes, written independently: sizes up to 8192 round up to a multiple of 4,
// one class per 4 bytes; above, they round up to the next power of two, one class each,
// continuing the index after the last linear class (2047).
int32_t modelIndex(int32_t s, int32_t* rounded) {
  if (s <= 8192) return (*rounded = (s + 3) / 4 * 4) / 4 - 1;
  int bits = std::bit_width(static_cast<uint32_t>(s - 1));  // 2^bits >= s
  *rounded = 1 << bits;
  return 2047 + (bits - 13);
}

// A pool with its own lock and allocator, as another module would make it: it stays out of
// this module's current pool, so each test sees only its own blocks.
BucketPoolLock testLock;
BucketMemoryAllocator testAllocator(&testLock);
struct DetachedPool : BucketMemoryPool {
  DetachedPool() : BucketMemoryPool(4, 8192, 0x40000, &testLock, &testAllocator) {}
};

// Records the raw blocks given back to the C library while installed.
struct Frees {
  static inline std::vector<void*> freed;
  static void fn(void* p) {
    freed.push_back(p);
    std::free(p);
  }
  static void install() {
    freed.clear();
    qor::setRawAllocators(nullptr, nullptr, &fn);
  }
  // Whether the block of this payload went back to the C library.
  static bool gone(void* payload) {
    return std::count(freed.begin(), freed.end(), static_cast<char*>(payload) - 8) > 0;
  }
};

class Pool : public ::testing::Test {
 protected:
  void SetUp() override {
    Frees::install();
    pool = new DetachedPool();
  }
  void TearDown() override {
    pool.reset();
    qor::setRawAllocators(nullptr, nullptr);
  }
  IPtr<BucketMemoryPool> pool;
};

TEST_F(Pool, SizeClassesMatchTheModelToSize300000AndRealSizesAtEveryClassBoundary) {
  for (int32_t s = 1; s <= 300000; ++s) {
    int32_t r1 = 0, r2 = 0;
    ASSERT_EQ(pool->bucketIndex(s, &r1), modelIndex(s, &r2)) << s;
    ASSERT_EQ(r1, r2) << s;
  }
  // Only blocks above the pooled limit leave at once.
  const int32_t cases[][2] = {
      {1, 4},           {4, 4},           {5, 8},           {8, 8},           {4093, 4096},
      {8189, 8192},     {8192, 8192},     {8193, 16384},    {16384, 16384},   {16385, 32768},
      {32768, 32768},   {32769, 65536},   {65536, 65536},   {65537, 131072},  {131072, 131072},
      {131073, 262144}, {262144, 262144}, {262145, 262145}, {300000, 300000},
  };
  for (auto [size, real] : cases) {
    int32_t r = -1;
    void* p = pool->allocate(size, &r);
    EXPECT_EQ(r, real) << size;
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 8, 0u);
    std::memset(p, 0x5A, static_cast<size_t>(r));  // the whole real size is usable
    void* keep = p;
    EXPECT_TRUE(pool->free(r, &p) && p == nullptr && Frees::gone(keep) == (size > 262144)) << size;
    EXPECT_EQ(pool->holds(keep), size <= 262144) << size;
  }
}

TEST_F(Pool, PoolingOffSendsEverythingToTheHeapAndOnBringsTheLimitBack) {
  EXPECT_TRUE(pool->setPooling(false) && pool->maxPooled() < 0);
  int32_t r5, r8;
  void* p = pool->allocate(5, &r5);
  void* q = pool->allocate(8, &r8);
  // No rounding.
  EXPECT_TRUE(r5 == 5 && r8 == 8);
  void* keep[] = {p, q};
  pool->free(8, &q);
  // Twice on stays on.
  EXPECT_TRUE(Frees::gone(keep[1]) && pool->setPooling(true) && pool->setPooling(true) &&
              pool->maxPooled() == 0x40000);
  pool->free(5, &p);  // no block of the 8-byte class
  EXPECT_TRUE(Frees::gone(keep[0]) && pool->waiting(1) == 0);
  p = pool->allocate(5, &r5);
  EXPECT_EQ(r5, 8);
  pool->free(r5, &p);
  EXPECT_EQ(pool->waiting(1), 1);
}

TEST_F(Pool, ClearFreesEveryWaitingBlockThroughItsAllocator) {
  std::vector<std::pair<void*, int32_t>> blocks;
  for (int32_t s : {1, 2, 9, 100, 4000, 9000, 70000, 262144}) {
    int32_t r;
    blocks.push_back({pool->allocate(s, &r), r});
  }
  void* none = nullptr;
  // Answers false and keeps nothing.
  EXPECT_TRUE(!pool->free(0, &blocks[0].first) && !pool->free(8, &none) &&
              !pool->free(8, nullptr) && pool->waiting(0) == 0);
  for (auto [p, r] : blocks) pool->free(r, &p);
  // Grown for 262144: wexGrowCapacity(2050, 2053).
  // Sizes 1 and 2.
  EXPECT_TRUE(Frees::freed.empty() && pool->bucketCount() == 4100 && pool->waiting(0) == 2 &&
              pool->clear());
  for (auto [p, r] : blocks) EXPECT_TRUE(Frees::gone(p));
  EXPECT_EQ(pool->waiting(0), 0);
}

// Random traffic against a model of the buckets: per class, the stack of waiting blocks.
// Every allocation must give the model's top block (last in first out) and every class
// must end with the model's count. Phases of 10000 steps, alternately three allocations to
// a free and the reverse, fill the classes and empty them again.
template <class Alloc, class Release>
void matchesTheBucketModel(BucketMemoryPool* pool, Alloc alloc, Release release) {
  std::vector<std::vector<void*>> model(2053);
  std::vector<std::pair<void*, int32_t>> live;
  srand(3);
  for (int step = 0; step < 40000; ++step) {
    int32_t r, rounded;
    if (live.empty() || rand() % 4 < (step / 10000 % 2 ? 1 : 3)) {
      int32_t s = 1 + rand() % (rand() % 8 ? 300 : 100000);
      std::vector<void*>& waiting = model[modelIndex(s, &rounded)];
      void* p = alloc(s, &r);
      ASSERT_EQ(r, rounded);
      if (!waiting.empty()) {
        ASSERT_EQ(p, waiting.back());
        waiting.pop_back();
      }
      std::memset(p, step & 0xFF, static_cast<size_t>(r));
      live.push_back({p, r});
    } else {
      size_t k = static_cast<size_t>(rand()) % live.size();
      auto [p, size] = live[k];
      live[k] = live.back();
      live.pop_back();
      model[modelIndex(size, &rounded)].push_back(p);
      release(size, p);
    }
  }
  for (int32_t i = 0; i < 2053; ++i)
    ASSERT_EQ(pool->waiting(i), static_cast<int32_t>(model[i].size())) << i;
  for (auto [p, r] : live) release(r, p);
}

TEST(BucketModel, APoolAndTheThreadStacksInFrontOfTheModulesPoolMatchIt) {
  IPtr<BucketMemoryPool> pool(new DetachedPool());
  matchesTheBucketModel(
      pool.get(), [&](int32_t s, int32_t* r) { return pool->allocate(s, r); },
      [&](int32_t r, void* p) { pool->free(r, &p); });

  bucketReleasePool();
  int32_t r;
  bucketFree(4, bucketAllocate(1, nullptr));  // makes the local pool
  BucketMemoryPool* local = qor::bucketCurrentPool();
  local->clear();
  matchesTheBucketModel(local, bucketAllocate, bucketFree);
  // Pooling switched off reaches the thread's stacks: exact sizes, no waiting block given.
  void* p = bucketAllocate(45, &r);
  bucketFree(r, p);
  local->setPooling(false);
  void* q = bucketAllocate(45, &r);
  EXPECT_EQ(r, 45);
  bucketFree(r, q);
  local->setPooling(true);
  // It kept waiting.
  EXPECT_TRUE(bucketAllocate(45, &r) == p && r == 48);
  bucketFree(r, p);
}

// ---- the module's current pool ----

TEST(ModulePool, TheFirstAllocationMakesALocalPoolAReleaseForgetsItASuccessorInherits) {
  bucketReleasePool();
  int32_t r;
  void* p = bucketAllocate(30, &r);
  EXPECT_EQ(r, 32);
  BucketMemoryPool* local = qor::bucketCurrentPool();
  // Grain 4, linear to 8192.
  EXPECT_TRUE(qor::bucketOnLocalPool() && local->bucketCount() == 2050 &&
              local->maxPooled() == 0x40000 && local->refCount() == 1u &&
              qorQuery<IQorUnknown>(local, "IQorUnknown") == static_cast<IQorUnknown*>(local));
  EXPECT_EQ(*reinterpret_cast<BucketMemoryAllocator**>(static_cast<char*>(p) - 8),
            qor::bucketAllocator());
  bucketFree(0, p);        // nothing
  bucketFree(8, nullptr);  // nothing
  // No host here.
  EXPECT_TRUE(!local->holds(p) && !bucketAttachHost());
  bucketReleasePool();
  EXPECT_TRUE(qor::bucketCurrentPool() == nullptr && !qor::bucketOnLocalPool());
  Frees::install();
  bucketFree(r, p);  // through its header
  qor::setRawAllocators(nullptr, nullptr);
  EXPECT_EQ(Frees::freed, std::vector<void*>{static_cast<char*>(p) - 8});

  // A new pool becomes current and inherits the waiting blocks.
  p = bucketAllocate(64, &r);
  bucketFree(r, p);
  ASSERT_TRUE(qor::bucketCurrentPool()->holds(p));
  auto* successor = new BucketMemoryPool(4, 8192, 0x40000);
  EXPECT_TRUE(qor::bucketCurrentPool() == successor && qor::bucketOnLocalPool() &&
              successor->holds(p) && bucketAllocate(64, &r) == p);
  bucketFree(r, p);

  // Other parameters: no exchange; the old pool goes with its blocks.
  Frees::install();
  auto* other = new BucketMemoryPool(8, 4096, 0x10000);
  EXPECT_TRUE(qor::bucketCurrentPool() == other && !other->holds(p) && Frees::gone(p));
  qor::setRawAllocators(nullptr, nullptr);
  bucketReleasePool();
}

// ---- threads on the module's pool ----

TEST(ModulePoolThreads, BlocksStayIntactAcrossThreadsAndCrossThreadFrees) {
  // Each thread fills its blocks with its own byte and checks them before handing every
  // other block to the other thread to free. A lost lock shows as a block given twice.
  struct Handoff {
    std::mutex m;
    std::vector<std::pair<void*, int32_t>> blocks;
  } toA, toB;
  std::atomic<int> corrupt{0}, ready{0};
  auto work = [&](unsigned seed, unsigned char mark, Handoff& mine, Handoff& other) {
    std::mt19937 rng(seed);
    std::vector<std::pair<unsigned char*, int32_t>> held;
    for (++ready; ready.load() < 2;) std::this_thread::yield();  // start together
    for (int i = 0; i < 100000; ++i) {
      int32_t r;
      void* p = bucketAllocate(static_cast<int32_t>(1 + rng() % 400), &r);
      held.push_back({static_cast<unsigned char*>(std::memset(p, mark, size_t(r))), r});
      for (size_t k = 0; held.size() == 16 && k < 16; ++k) {
        auto [q, n] = held[k];
        corrupt += std::count(q, q + n, mark) != n;
        std::lock_guard<std::mutex> g(other.m);
        k % 2 ? other.blocks.push_back({q, n}) : bucketFree(n, q);
      }
      if (held.size() == 16) held.clear();
      std::lock_guard<std::mutex> g(mine.m);
      for (auto [q, n] : mine.blocks) bucketFree(n, q);
      mine.blocks.clear();
    }
    for (auto [q, n] : held) bucketFree(n, q);
  };
  std::thread a(work, 1u, 0xA1, std::ref(toA), std::ref(toB));
  std::thread b(work, 2u, 0xB2, std::ref(toB), std::ref(toA));
  a.join();
  b.join();
  for (Handoff* h : {&toA, &toB})
    for (auto [q, n] : h->blocks) bucketFree(n, q);
  EXPECT_EQ(corrupt.load(), 0);
}

TEST(ModulePoolThreads, ThreadStacksTakeForeignBlocksMeetAClearAndGoBackAtTheThreadsEnd) {
  bucketReleasePool();
  int32_t r;
  void* p = bucketAllocate(40, &r);  // made here, freed on the other thread
  std::atomic<int> step{0};
  void *again = nullptr, *last = nullptr;
  std::thread t([&] {
    int32_t rt;
    bucketFree(r, p);
    again = bucketAllocate(37, &rt);  // its own stack gives it back
    bucketFree(rt, again);
    for (step = 1; step != 2;) std::this_thread::yield();
    last = bucketAllocate(40, &rt);  // meets the clear first: p goes to the heap
    bucketFree(rt, last);            // and this one to the pool when the thread ends
  });
  while (step != 1) std::this_thread::yield();
  EXPECT_EQ(again, p);
  Frees::install();
  void* own = bucketAllocate(40, &r);
  bucketFree(r, own);
  EXPECT_TRUE(qor::bucketCurrentPool()->clear() && Frees::gone(own));
  step = 2;
  t.join();
  qor::setRawAllocators(nullptr, nullptr);
  // From the pool's bucket.
  EXPECT_TRUE(Frees::gone(p) && bucketAllocate(40, &r) == last);
  bucketFree(r, last);
}

}  // namespace
