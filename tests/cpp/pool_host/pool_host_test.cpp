// With a host: the local pool given to the host's pool (at the check every 601st allocation,
// and through bucketAttachHost), the memory manager asked on the failure road of wexMalloc
// and wexRealloc, and the host's assertion handler.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "base/bucketpool.h"
#include "base/wexrealloc.h"
#include "core/locator.h"
#include "fakes.h"
#include "platform/process.h"
#include "refhost/bucketpoolservice.h"
#include "refhost/host.h"
#include "refhost/services.h"

namespace {

using refhost::ServiceMode;

BucketMemoryPool* host() {
  return &refhost::bucketPoolService();
}

// Starts over on a fresh local pool: the host's pool is hidden while the first allocation
// makes one.
void startOnLocalPool() {
  refhost::manager().setMode("IBucketMemoryPool", ServiceMode::Absent);
  bucketReleasePool();
}

TEST(HostPool, LocalBlocksMoveToTheHostAtTheCheckAfter601Allocations) {
  startOnLocalPool();
  int32_t ra, rb, r;
  void* a = bucketAllocate(40, &ra);  // allocation 1 makes the local pool
  void* b = bucketAllocate(5000, &rb);
  BucketMemoryPool* local = qor::bucketCurrentPool();
  ASSERT_TRUE(qor::bucketOnLocalPool());
  bucketFree(ra, a);
  bucketFree(rb, b);

  refhost::manager().setMode("IBucketMemoryPool", ServiceMode::Normal);
  for (int i = 3; i <= 601; ++i) {
    void* q = bucketAllocate(100, &r);
    bucketFree(r, q);
  }
  // 601 allocations done: the pool is still the local one.
  EXPECT_TRUE(qor::bucketCurrentPool() == local && local->holds(a) && local->holds(b) &&
              !host()->holds(a));

  void* c = bucketAllocate(100, &r);  // the 602nd looks for the host's pool
  EXPECT_TRUE(qor::bucketCurrentPool() == host() && !qor::bucketOnLocalPool() && host()->holds(a) &&
              host()->holds(b) && !host()->holds(c));
  // The merged blocks serve the host's pool now, last in first out.
  EXPECT_TRUE(host()->allocate(5000, &r) == b && r == 5000);
  bucketFree(r, b);
  bucketFree(100, c);
  EXPECT_TRUE(host()->holds(c));
}

TEST(HostPool, AttachHostMergesAtOnce) {
  startOnLocalPool();
  int32_t r;
  void* p = bucketAllocate(12, &r);
  bucketFree(r, p);
  ASSERT_TRUE(qor::bucketOnLocalPool());
  EXPECT_FALSE(bucketAttachHost());  // still hidden
  refhost::manager().setMode("IBucketMemoryPool", ServiceMode::Normal);
  // Already there.
  EXPECT_TRUE(bucketAttachHost() && qor::bucketCurrentPool() == host() && host()->holds(p) &&
              bucketAttachHost());
}

TEST(HostPool, WithTheServicePresentTheFirstAllocationUsesIt) {
  refhost::manager().setMode("IBucketMemoryPool", ServiceMode::Normal);
  bucketReleasePool();
  uint32_t before = host()->refCount();
  int32_t r;
  void* p = bucketAllocate(24, &r);
  EXPECT_TRUE(qor::bucketCurrentPool() == host() && !qor::bucketOnLocalPool() &&
              host()->refCount() == before + 1);
  // Its blocks name the host's allocator, not the module's.
  EXPECT_EQ(*reinterpret_cast<BucketMemoryAllocator**>(static_cast<char*>(p) - 8),
            refhost::hostPoolAllocator());
  EXPECT_NE(refhost::hostPoolAllocator(), qor::bucketAllocator());
  bucketFree(r, p);
  EXPECT_TRUE(host()->holds(p));
  bucketReleasePool();  // clears the host's pool and drops the module's reference
  EXPECT_TRUE(!host()->holds(p) && host()->refCount() == before);
}

// ---- the memory manager on the failure road ----

struct Raw {
  static inline std::vector<size_t> tried;
  static inline size_t limit = SIZE_MAX;
  // Refuses sizes above the limit until the manager has released this often.
  static inline int releasesNeeded = 1 << 30;
  static bool allowed(size_t n) {
    tried.push_back(n);
    return n <= limit || fakeManager().releases >= releasesNeeded;
  }
  static void* m(size_t n) { return allowed(n) ? std::malloc(n) : nullptr; }
  static void* r(void* p, size_t n) { return allowed(n) ? std::realloc(p, n) : nullptr; }
};

std::vector<int> gExits;

constexpr int32_t kElement = 24576;

TEST(ManagerRoad, NarrowingAndRetriesAskTheManagerAsOftenAsItHelps) {
  // grow: a block of one 24576-byte element grown to 2..10 while the C library refuses
  // anything larger; else wexMalloc of 4 x 16 bytes while it refuses everything. The
  // manager answers true trueAnswers times (-1: always); the C library gives in once the
  // manager has released releasesNeeded times. The sizes tried are in elements or bytes.
  struct Case {
    bool grow;
    int trueAnswers, releasesNeeded, result, releases;
    std::vector<size_t> tried;
    std::vector<int> exits;
  };
  const Case cases[] = {
      // From the third narrowing on the manager is asked (pages + 1) times: at 3 the growth
      // is 2 pages, so 4 rounds; at 2 it is 1 page: 3 rounds; then the minimum is reached,
      // the old block goes to a spill file and the minimum is asked of malloc, which the
      // manager no longer relieves: the block is given up and the road ends.
      {true, 7, 1 << 30, 0, 8, {10, 6, 4, 3, 3, 3, 3, 3, 2, 2, 2, 2, 2}, {-1}},
      {true, 2, 1 << 30, 0, 4, {10, 6, 4, 3, 3, 3, 2, 2}, {-1}},  // a false answer ends it
      {true, -1, 1, 3, 1, {10, 6, 4, 3, 3}, {}},                  // a release that helps
      {false, -1, 2, 4, 2, {64, 64, 64}, {}},
      {false, 0, 1 << 30, 0, 1, {64}, {-1}},  // nothing to give: one question, the end
  };
  Platform::setExitHook([](int code) { gExits.push_back(code); });
  Platform::setMessageHook([](const char*, const char*) {});
  refhost::dataStore().setCString(nullptr, "Directories/Logs Directory", "");
  for (const Case& c : cases) {
    SCOPED_TRACE(&c - cases);
    Raw::tried.clear();
    Raw::releasesNeeded = c.releasesNeeded;
    fakeManager().releases = 0;
    fakeManager().trueAnswers = c.trueAnswers;
    gExits.clear();
    void* p = &p;
    if (c.grow) wexMalloc(&p, kElement, 1);
    if (c.grow) static_cast<unsigned char*>(p)[0] = 77;
    Raw::limit = c.grow ? kElement : 0;
    qor::setRawAllocators(&Raw::m, &Raw::r);
    int32_t got = c.grow ? wexRealloc(&p, kElement, 1, 2, 10) : wexMalloc(&p, 16, 4);
    qor::setRawAllocators(nullptr, nullptr);
    EXPECT_EQ(got, c.result);
    std::vector<size_t> tried, asked;
    for (size_t n : c.tried) tried.push_back(n * (c.grow ? kElement : 1));
    // Leaving out the small texts of the road itself (spill name, message).
    for (size_t n : Raw::tried)
      if (n % (c.grow ? kElement : 64) == 0) asked.push_back(n);
    EXPECT_TRUE(asked == tried && fakeManager().releases == c.releases && gExits == c.exits &&
                (p != nullptr) == (got > 0));
    if (c.grow && got > 0) {  // the old bytes kept, the new ones zero
      auto* b = static_cast<unsigned char*>(p);
      EXPECT_EQ(b[0], 77);
      for (int i = kElement; i < got * kElement; ++i) ASSERT_EQ(b[i], 0) << i;
    }
    wexFree(p);
  }
  Platform::setExitHook(nullptr);
  Platform::setMessageHook(nullptr);
}

// ---- the host's assertion handler ----

TEST(AssertHandler, TheHostsHandlerHearsFailedChecksWhenNoCallbackIsSet) {
  assertHandler().seen.clear();
  wexSetAssertCallback(nullptr, nullptr);
  EXPECT_EQ(wexAssertFailed("n > 0", "src/x", 12), 5);
  EXPECT_EQ(assertHandler().seen, std::vector<std::string>{"n > 0|src/x|12"});

  // A callback comes first.
  wexSetAssertCallback([](void*, const char*, const char*, int32_t) { return 9; }, nullptr);
  EXPECT_TRUE(wexAssertFailed("m", "f", 1) == 9 && assertHandler().seen.size() == 1u);
  wexSetAssertCallback(nullptr, nullptr);

  // Looked up on each failure: once it is gone, the process ends with 255.
  refhost::manager().setMode("IQorAssertHandlerCB", ServiceMode::Absent);
  static std::vector<int> exits;
  Platform::setExitHook([](int code) { exits.push_back(code); });
  wexAssertFailed("k", "f", 2);
  EXPECT_EQ(exits, std::vector<int>{255});
  Platform::setExitHook(nullptr);
  refhost::manager().setMode("IQorAssertHandlerCB", ServiceMode::Normal);
  wexAssertFailed("back", "f", 3);
  EXPECT_EQ(assertHandler().seen.size(), 2u);
}

}  // namespace
