// The bucket pool without a host: size classes against an independent model, real sizes at
// every class boundary, last-in-first-out reuse, pooling off and on, table growth, and the
// module's current pool (local pool, release, successor inheriting the blocks).
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
  if (s <= 8192) {
    *rounded = (s + 3) / 4 * 4;
    return *rounded / 4 - 1;
  }
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

// Records the raw blocks given back to the C library.
struct Frees {
  static inline std::vector<void*> freed;
  static void fn(void* p) {
    freed.push_back(p);
    std::free(p);
  }
  // Whether the block of this payload went back to the C library.
  static bool gone(void* payload) {
    void* header = static_cast<char*>(payload) - 8;
    return std::find(freed.begin(), freed.end(), header) != freed.end();
  }
};

class Pool : public ::testing::Test {
 protected:
  void SetUp() override {
    Frees::freed.clear();
    qor::setRawAllocators(nullptr, nullptr, &Frees::fn);
    pool = new DetachedPool();
  }
  void TearDown() override {
    pool.reset();
    qor::setRawAllocators(nullptr, nullptr);
  }
  IPtr<BucketMemoryPool> pool;
};

TEST_F(Pool, SizeClassesMatchTheModelForEverySizeUpTo300000) {
  for (int32_t s = 1; s <= 300000; ++s) {
    int32_t r1 = 0, r2 = 0;
    int32_t i1 = pool->bucketIndex(s, &r1);
    int32_t i2 = modelIndex(s, &r2);
    ASSERT_EQ(i1, i2) << s;
    ASSERT_EQ(r1, r2) << s;
  }
}

TEST_F(Pool, RealSizesAtEveryClassBoundary) {
  struct Case {
    int32_t size, real;
  };
  const Case cases[] = {
      {1, 4},           {4, 4},           {5, 8},           {8, 8},           {4093, 4096},
      {8189, 8192},     {8192, 8192},     {8193, 16384},    {16384, 16384},   {16385, 32768},
      {32768, 32768},   {32769, 65536},   {65536, 65536},   {65537, 131072},  {131072, 131072},
      {131073, 262144}, {262144, 262144}, {262145, 262145}, {300000, 300000},
  };
  for (const Case& c : cases) {
    int32_t r = -1;
    void* p = pool->allocate(c.size, &r);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(r, c.real) << c.size;
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 8, 0u);
    std::memset(p, 0x5A, static_cast<size_t>(r));  // the whole real size is usable
    EXPECT_TRUE(pool->free(r, &p));
    EXPECT_EQ(p, nullptr);
  }
  // Every size up to 20000 gets the model's rounded size.
  for (int32_t s = 1; s <= 20000; ++s) {
    int32_t r = 0, expected = 0;
    modelIndex(s, &expected);
    void* p = pool->allocate(s, &r);
    ASSERT_EQ(r, expected) << s;
    pool->free(r, &p);
  }
}

TEST_F(Pool, TheHeaderNamesTheAllocator) {
  int32_t r;
  void* p = pool->allocate(10, &r);
  EXPECT_EQ(*reinterpret_cast<BucketMemoryAllocator**>(static_cast<char*>(p) - 8), &testAllocator);
  pool->free(r, &p);
}

TEST_F(Pool, FreedBlocksComeBackLastInFirstOut) {
  int32_t r1, r2, r3;
  void* a = pool->allocate(20, &r1);
  void* b = pool->allocate(17, &r2);
  void* c = pool->allocate(24, &r3);
  ASSERT_EQ(r1, 20);
  ASSERT_EQ(r2, 20);
  ASSERT_EQ(r3, 24);
  void* keepA = a;
  void* keepB = b;
  pool->free(r1, &a);
  pool->free(r2, &b);
  EXPECT_EQ(pool->waiting(4), 2);
  int32_t r;
  EXPECT_EQ(pool->allocate(19, &r), keepB);
  EXPECT_EQ(r, 20);
  EXPECT_EQ(pool->allocate(18, &r), keepA);
  EXPECT_EQ(pool->waiting(4), 0);
  void* d = pool->allocate(20, &r);  // the bucket is empty: a new block
  EXPECT_NE(d, keepA);
  EXPECT_NE(d, keepB);
  EXPECT_NE(d, c);
  for (void* p : {keepA, keepB, d}) pool->free(20, &p);
  pool->free(24, &c);
  EXPECT_TRUE(Frees::freed.empty());
  EXPECT_EQ(pool->waiting(4), 3);
  EXPECT_EQ(pool->waiting(5), 1);
}

TEST_F(Pool, LargeBlocksNeverEnterABucket) {
  int32_t r;
  void* p = pool->allocate(262145, &r);
  EXPECT_EQ(r, 262145);
  void* keep = p;
  EXPECT_TRUE(pool->free(r, &p));
  EXPECT_TRUE(Frees::gone(keep));
  EXPECT_FALSE(pool->holds(keep));
}

TEST_F(Pool, FreeOfNullOrSizeZeroAnswersFalse) {
  int32_t r;
  void* p = pool->allocate(8, &r);
  void* keep = p;
  EXPECT_FALSE(pool->free(0, &p));
  EXPECT_EQ(p, keep);
  void* none = nullptr;
  EXPECT_FALSE(pool->free(8, &none));
  EXPECT_FALSE(pool->free(8, nullptr));
  EXPECT_EQ(pool->waiting(1), 0);
  EXPECT_TRUE(pool->free(8, &p));
  EXPECT_EQ(pool->waiting(1), 1);
}

TEST_F(Pool, PoolingOffSendsEverythingToTheHeapAndOnBringsTheLimitBack) {
  EXPECT_TRUE(pool->setPooling(false));
  EXPECT_LT(pool->maxPooled(), 0);
  int32_t r;
  void* p = pool->allocate(5, &r);
  EXPECT_EQ(r, 5);  // no rounding
  void* q = pool->allocate(8, &r);
  EXPECT_EQ(r, 8);
  void* keepQ = q;
  pool->free(8, &q);
  EXPECT_TRUE(Frees::gone(keepQ));
  EXPECT_TRUE(pool->setPooling(true));
  EXPECT_EQ(pool->maxPooled(), 0x40000);
  // A 5-byte block made while pooling was off is no block of the 8-byte class.
  void* keepP = p;
  pool->free(5, &p);
  EXPECT_TRUE(Frees::gone(keepP));
  EXPECT_EQ(pool->waiting(1), 0);
  p = pool->allocate(5, &r);
  EXPECT_EQ(r, 8);
  pool->free(r, &p);
  EXPECT_EQ(pool->waiting(1), 1);
  EXPECT_TRUE(pool->setPooling(true));  // twice on stays on
  EXPECT_EQ(pool->maxPooled(), 0x40000);
}

TEST_F(Pool, TheTableGrowsForTheTopClasses) {
  EXPECT_EQ(pool->bucketCount(), 2050);
  int32_t r;
  void* p = pool->allocate(262144, &r);
  pool->free(r, &p);
  EXPECT_EQ(pool->bucketCount(), 4100);  // wexGrowCapacity(2050, 2053)
  EXPECT_EQ(pool->waiting(2052), 1);
  void* again = pool->allocate(200000, &r);
  EXPECT_EQ(r, 262144);
  EXPECT_EQ(pool->waiting(2052), 0);
  pool->free(r, &again);
}

TEST_F(Pool, ClearFreesEveryWaitingBlockThroughItsAllocator) {
  std::vector<void*> blocks;
  std::vector<int32_t> sizes;
  for (int32_t s : {1, 2, 9, 100, 4000, 9000, 70000, 262144}) {
    int32_t r;
    blocks.push_back(pool->allocate(s, &r));
    sizes.push_back(r);
  }
  std::vector<void*> keep = blocks;
  for (size_t i = 0; i < blocks.size(); ++i) pool->free(sizes[i], &blocks[i]);
  EXPECT_TRUE(Frees::freed.empty());
  EXPECT_TRUE(pool->clear());
  for (void* p : keep) EXPECT_TRUE(Frees::gone(p));
  EXPECT_EQ(pool->waiting(0), 0);
  EXPECT_EQ(pool->bucketCount(), 4100);
}

TEST_F(Pool, AnswersToItsNames) {
  auto* root = static_cast<IQorUnknown*>(pool.get());
  EXPECT_EQ(qorQuery<BucketMemoryPool>(root, "BucketMemoryPool"), pool.get());
  EXPECT_EQ(qorQuery<IBucketMemoryPool>(root, "IBucketMemoryPool"),
            static_cast<IBucketMemoryPool*>(pool.get()));
  EXPECT_EQ(qorQuery<IQorUnknown>(root, "IQorUnknown"), root);
  EXPECT_EQ(qorQuery<void>(root, "IQorMManager"), nullptr);
}

// Random traffic against a model of the buckets: per class, the stack of waiting blocks.
// Every allocation must give the model's top block (last in first out) and every class the
// model's count. `pool` answers waiting(); alloc and release are the allocator under test.
template <class Alloc, class Release>
void matchesTheBucketModel(BucketMemoryPool* pool, Alloc alloc, Release release) {
  std::vector<std::vector<void*>> model(2053);
  std::vector<std::pair<void*, int32_t>> live;
  srand(3);
  // Phases of 10000 steps, alternately three allocations to a free and the reverse, so that
  // classes fill up and empty again.
  for (int step = 0; step < 40000; ++step) {
    if (live.empty() || rand() % 4 < (step / 10000 % 2 ? 1 : 3)) {
      int32_t s = 1 + rand() % (rand() % 8 ? 300 : 100000);
      int32_t rounded;
      int32_t idx = modelIndex(s, &rounded);
      void* expected = model[idx].empty() ? nullptr : model[idx].back();
      int32_t r;
      void* p = alloc(s, &r);
      ASSERT_EQ(r, rounded);
      if (expected) {
        ASSERT_EQ(p, expected);
        model[idx].pop_back();
      }
      std::memset(p, step & 0xFF, static_cast<size_t>(r));
      live.push_back({p, r});
    } else {
      size_t k = static_cast<size_t>(rand()) % live.size();
      auto [p, r] = live[k];
      live[k] = live.back();
      live.pop_back();
      int32_t rounded;
      model[modelIndex(r, &rounded)].push_back(p);
      release(r, p);
    }
  }
  for (int32_t i = 0; i < 2053; ++i)
    ASSERT_EQ(pool->waiting(i), static_cast<int32_t>(model[i].size())) << i;
  for (auto [p, r] : live) release(r, p);
}

TEST_F(Pool, MatchesAModelOfBucketsUnderRandomTraffic) {
  matchesTheBucketModel(
      pool.get(), [&](int32_t s, int32_t* r) { return pool->allocate(s, r); },
      [&](int32_t r, void* p) { pool->free(r, &p); });
}

// ---- the module's current pool ----

TEST(ModulePool, FirstAllocationMakesALocalPool) {
  bucketReleasePool();
  EXPECT_EQ(qor::bucketCurrentPool(), nullptr);
  int32_t r;
  void* p = bucketAllocate(30, &r);
  EXPECT_EQ(r, 32);
  BucketMemoryPool* local = qor::bucketCurrentPool();
  ASSERT_NE(local, nullptr);
  EXPECT_TRUE(qor::bucketOnLocalPool());
  EXPECT_EQ(local->grain(), 4);
  EXPECT_EQ(local->linearLimit(), 8192);
  EXPECT_EQ(local->maxPooled(), 0x40000);
  EXPECT_EQ(local->refCount(), 1u);
  EXPECT_EQ(*reinterpret_cast<BucketMemoryAllocator**>(static_cast<char*>(p) - 8),
            qor::bucketAllocator());
  bucketFree(r, p);
  EXPECT_TRUE(local->holds(p));
  EXPECT_EQ(bucketAllocate(29, &r), p);
  bucketFree(r, p);
  bucketFree(0, p);                  // nothing
  bucketFree(8, nullptr);            // nothing
  EXPECT_FALSE(bucketAttachHost());  // no host here
  EXPECT_TRUE(qor::bucketOnLocalPool());
}

TEST(ModulePool, TheThreadStacksAndTheBucketsBelowThemMatchTheModel) {
  bucketReleasePool();
  int32_t r;
  bucketFree(r, bucketAllocate(1, &r));  // makes the local pool
  BucketMemoryPool* local = qor::bucketCurrentPool();
  local->clear();
  matchesTheBucketModel(local, bucketAllocate, bucketFree);
  // Pooling switched off reaches the thread's stacks: exact sizes, no waiting block given.
  void* p = bucketAllocate(45, &r);
  bucketFree(r, p);
  local->setPooling(false);
  void* q = bucketAllocate(45, &r);
  EXPECT_EQ(r, 45);
  EXPECT_NE(q, p);
  bucketFree(r, q);
  local->setPooling(true);
  EXPECT_EQ(bucketAllocate(45, &r), p);  // it kept waiting
  EXPECT_EQ(r, 48);
  bucketFree(r, p);
}

TEST(ModulePool, AfterReleaseBlocksAreFreedThroughTheirHeader) {
  int32_t r;
  void* p = bucketAllocate(8, &r);
  bucketReleasePool();
  EXPECT_EQ(qor::bucketCurrentPool(), nullptr);
  EXPECT_FALSE(qor::bucketOnLocalPool());
  Frees::freed.clear();
  qor::setRawAllocators(nullptr, nullptr, &Frees::fn);
  bucketFree(r, p);
  EXPECT_TRUE(Frees::gone(p));
  EXPECT_EQ(Frees::freed.size(), 1u);
  qor::setRawAllocators(nullptr, nullptr);
  EXPECT_EQ(qor::bucketCurrentPool(), nullptr);
}

TEST(ModulePool, ANewPoolBecomesCurrentAndInheritsTheWaitingBlocks) {
  int32_t r;
  void* p = bucketAllocate(64, &r);
  bucketFree(r, p);
  BucketMemoryPool* old = qor::bucketCurrentPool();
  ASSERT_TRUE(old->holds(p));

  auto* successor = new BucketMemoryPool(4, 8192, 0x40000);
  EXPECT_EQ(qor::bucketCurrentPool(), successor);
  EXPECT_TRUE(qor::bucketOnLocalPool());
  EXPECT_TRUE(successor->holds(p));
  EXPECT_EQ(bucketAllocate(64, &r), p);
  bucketFree(r, p);

  // Other parameters: no exchange; the old pool goes with its blocks.
  Frees::freed.clear();
  qor::setRawAllocators(nullptr, nullptr, &Frees::fn);
  auto* other = new BucketMemoryPool(8, 4096, 0x10000);
  EXPECT_EQ(qor::bucketCurrentPool(), other);
  EXPECT_FALSE(other->holds(p));
  EXPECT_TRUE(Frees::gone(p));
  qor::setRawAllocators(nullptr, nullptr);
  bucketReleasePool();
}

}  // namespace

// ---- two threads on the module's pool ----

namespace {

TEST(ModulePoolThreads, BlocksStayIntactAcrossThreadsAndCrossThreadFrees) {
  // Each thread fills its blocks with its own byte and checks them before handing every
  // other block to the other thread to free. A lost lock shows as a block given twice.
  constexpr int kRounds = 100000;
  struct Handoff {
    std::mutex m;
    std::vector<std::pair<void*, int32_t>> blocks;
  };
  Handoff toA, toB;
  std::atomic<int> corrupt{0};
  std::atomic<int> ready{0};
  auto work = [&](unsigned seed, unsigned char mark, Handoff& mine, Handoff& other) {
    std::mt19937 rng(seed);
    std::vector<std::pair<void*, int32_t>> held;
    ++ready;
    while (ready.load() < 2) std::this_thread::yield();  // start together
    for (int i = 0; i < kRounds; ++i) {
      int32_t size = 1 + static_cast<int32_t>(rng() % 400);
      int32_t r;
      auto* p = static_cast<unsigned char*>(bucketAllocate(size, &r));
      std::memset(p, mark, static_cast<size_t>(r));
      held.push_back({p, r});
      if (held.size() >= 16) {
        for (size_t k = 0; k < held.size(); ++k) {
          auto* q = static_cast<unsigned char*>(held[k].first);
          for (int32_t b = 0; b < held[k].second; ++b)
            if (q[b] != mark) {
              ++corrupt;
              break;
            }
          if (k % 2) {
            std::lock_guard<std::mutex> g(other.m);
            other.blocks.push_back(held[k]);
          } else {
            bucketFree(held[k].second, held[k].first);
          }
        }
        held.clear();
      }
      std::vector<std::pair<void*, int32_t>> given;
      {
        std::lock_guard<std::mutex> g(mine.m);
        given.swap(mine.blocks);
      }
      for (auto [q, n] : given) bucketFree(n, q);
    }
    for (auto [q, n] : held) bucketFree(n, q);
  };
  std::thread a(work, 1u, 0xA1, std::ref(toA), std::ref(toB));
  std::thread b(work, 2u, 0xB2, std::ref(toB), std::ref(toA));
  a.join();
  b.join();
  for (auto [q, n] : toA.blocks) bucketFree(n, q);
  for (auto [q, n] : toB.blocks) bucketFree(n, q);
  EXPECT_EQ(corrupt.load(), 0);
}

TEST(ModulePoolThreads, ABlockFreedOnAnotherThreadServesItAndReturnsToThePoolAtItsEnd) {
  bucketReleasePool();
  int32_t r, r2;
  void* p = bucketAllocate(40, &r);
  BucketMemoryPool* local = qor::bucketCurrentPool();
  void* again = nullptr;
  std::thread([&] {
    bucketFree(r, p);
    again = bucketAllocate(37, &r2);
    bucketFree(r2, again);
  }).join();
  EXPECT_EQ(again, p);
  EXPECT_TRUE(local->holds(p));  // not in this thread's stacks: in the pool's bucket
  EXPECT_EQ(bucketAllocate(40, &r), p);
  bucketFree(r, p);
}

TEST(ModulePoolThreads, ClearFreesTheBlocksWaitingInEveryThreadsStacks) {
  bucketReleasePool();
  std::atomic<int> step{0};
  void* q = nullptr;
  std::thread t([&] {
    int32_t rq;
    q = bucketAllocate(48, &rq);
    bucketFree(rq, q);
    step = 1;
    while (step != 2) std::this_thread::yield();
    bucketFree(rq, bucketAllocate(48, &rq));  // meets the clear first
  });
  while (step != 1) std::this_thread::yield();
  int32_t r;
  void* p = bucketAllocate(48, &r);
  bucketFree(r, p);
  Frees::freed.clear();
  qor::setRawAllocators(nullptr, nullptr, &Frees::fn);
  EXPECT_TRUE(qor::bucketCurrentPool()->clear());
  EXPECT_TRUE(Frees::gone(p));
  step = 2;
  t.join();
  EXPECT_TRUE(Frees::gone(q));
  qor::setRawAllocators(nullptr, nullptr);
}

}  // namespace
