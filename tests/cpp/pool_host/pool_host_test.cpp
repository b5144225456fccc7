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

TEST(HostPool, TheServiceIsTheHostsOwnPool) {
  void* out = nullptr;
  ASSERT_EQ(getService("IBucketMemoryPool", &out), 1);
  auto* root = static_cast<IQorUnknown*>(static_cast<IBucketMemoryPool*>(out));
  EXPECT_EQ(qorQuery<BucketMemoryPool>(root, "BucketMemoryPool"), host());
  EXPECT_STREQ(root->className(), "HostBucketPool");
  // Its blocks name the host's allocator, not the module's.
  int32_t r;
  void* p = host()->allocate(12, &r);
  EXPECT_EQ(*reinterpret_cast<BucketMemoryAllocator**>(static_cast<char*>(p) - 8),
            refhost::hostPoolAllocator());
  EXPECT_NE(refhost::hostPoolAllocator(), qor::bucketAllocator());
  host()->free(r, &p);
}

TEST(HostPool, LocalBlocksMoveToTheHostAtTheCheckAfter601Allocations) {
  startOnLocalPool();
  int32_t ra, rb, r;
  void* a = bucketAllocate(40, &ra);  // allocation 1 makes the local pool
  void* b = bucketAllocate(5000, &rb);
  BucketMemoryPool* local = qor::bucketCurrentPool();
  ASSERT_NE(local, host());
  ASSERT_TRUE(qor::bucketOnLocalPool());
  bucketFree(ra, a);
  bucketFree(rb, b);
  ASSERT_TRUE(local->holds(a));
  ASSERT_TRUE(local->holds(b));

  refhost::manager().setMode("IBucketMemoryPool", ServiceMode::Normal);
  for (int i = 3; i <= 601; ++i) bucketFree(r, bucketAllocate(100, &r));
  // 601 allocations done: the pool is still the local one.
  EXPECT_EQ(qor::bucketCurrentPool(), local);
  EXPECT_TRUE(local->holds(a));
  EXPECT_FALSE(host()->holds(a));

  void* c = bucketAllocate(100, &r);  // the 602nd looks for the host's pool
  EXPECT_EQ(qor::bucketCurrentPool(), host());
  EXPECT_FALSE(qor::bucketOnLocalPool());
  EXPECT_TRUE(host()->holds(a));
  EXPECT_TRUE(host()->holds(b));
  EXPECT_FALSE(host()->holds(c));
  // The merged blocks serve the host's pool now, last in first out.
  EXPECT_EQ(host()->allocate(5000, &r), b);
  EXPECT_EQ(r, 5000);
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
  EXPECT_TRUE(bucketAttachHost());
  EXPECT_EQ(qor::bucketCurrentPool(), host());
  EXPECT_TRUE(host()->holds(p));
  EXPECT_TRUE(bucketAttachHost());  // already there
}

TEST(HostPool, WithTheServicePresentTheFirstAllocationUsesIt) {
  refhost::manager().setMode("IBucketMemoryPool", ServiceMode::Normal);
  bucketReleasePool();
  uint32_t before = host()->refCount();
  int32_t r;
  void* p = bucketAllocate(24, &r);
  EXPECT_EQ(qor::bucketCurrentPool(), host());
  EXPECT_FALSE(qor::bucketOnLocalPool());
  EXPECT_EQ(host()->refCount(), before + 1);
  bucketFree(r, p);
  EXPECT_TRUE(host()->holds(p));
  bucketReleasePool();  // clears the host's pool and drops the module's reference
  EXPECT_FALSE(host()->holds(p));
  EXPECT_EQ(host()->refCount(), before);
}

// ---- the memory manager on the failure road ----

struct Raw {
  static inline std::vector<size_t> tried;
  static inline size_t limit = SIZE_MAX;
  // Refuses sizes above the limit until the manager has released this often.
  static inline int releasesNeeded = 1 << 30;
  static bool allowed(size_t n) { return n <= limit || fakeManager().releases >= releasesNeeded; }
  static void* m(size_t n) {
    tried.push_back(n);
    return allowed(n) ? std::malloc(n) : nullptr;
  }
  static void* r(void* p, size_t n) {
    tried.push_back(n);
    return allowed(n) ? std::realloc(p, n) : nullptr;
  }
};

std::vector<int> gExits;

class ManagerRoad : public ::testing::Test {
 protected:
  void SetUp() override {
    Raw::tried.clear();
    Raw::limit = SIZE_MAX;
    Raw::releasesNeeded = 1 << 30;
    fakeManager().releases = 0;
    fakeManager().trueAnswers = 0;
    gExits.clear();
    Platform::setExitHook([](int code) { gExits.push_back(code); });
    Platform::setMessageHook([](const char*, const char*) {});
  }
  void TearDown() override {
    qor::setRawAllocators(nullptr, nullptr);
    Platform::setExitHook(nullptr);
    Platform::setMessageHook(nullptr);
  }
  // A block of one 24576-byte element, then the allocator refuses anything larger.
  void* oneElement() {
    void* p = nullptr;
    wexMalloc(&p, kElement, 1);
    Raw::limit = kElement;
    qor::setRawAllocators(&Raw::m, &Raw::r);
    return p;
  }
  static constexpr int32_t kElement = 24576;
};

std::vector<size_t> elements(std::initializer_list<size_t> counts) {
  std::vector<size_t> v;
  for (size_t c : counts) v.push_back(c * 24576);
  return v;
}

TEST_F(ManagerRoad, FromTheThirdNarrowingOnTheManagerIsAskedPagesPlusOneTimes) {
  fakeManager().trueAnswers = -1;  // always claims to have released something
  void* p = oneElement();
  EXPECT_EQ(wexRealloc(&p, kElement, 1, 2, 10), 1);
  // 10, then 6 and 4 without asking; at 3 the growth is 2 pages, so (2 + 1) + 1 = 4
  // rounds; at 2 it is 1 page: 3 rounds; then the minimum is reached.
  EXPECT_EQ(Raw::tried, elements({10, 6, 4, 3, 3, 3, 3, 3, 2, 2, 2, 2}));
  EXPECT_EQ(fakeManager().releases, 7);
  EXPECT_EQ(gExits, std::vector<int>{-1});
  qor::setRawAllocators(nullptr, nullptr);
  wexFree(p);
}

TEST_F(ManagerRoad, AFalseAnswerEndsTheAskingForGood) {
  fakeManager().trueAnswers = 2;
  void* p = oneElement();
  wexRealloc(&p, kElement, 1, 2, 10);
  EXPECT_EQ(Raw::tried, elements({10, 6, 4, 3, 3, 3, 2}));
  EXPECT_EQ(fakeManager().releases, 3);
  EXPECT_EQ(gExits, std::vector<int>{-1});
  qor::setRawAllocators(nullptr, nullptr);
  wexFree(p);
}

TEST_F(ManagerRoad, AReleaseThatHelpsEndsTheRoad) {
  fakeManager().trueAnswers = -1;
  void* p = oneElement();
  static_cast<unsigned char*>(p)[0] = 77;
  Raw::releasesNeeded = 1;
  EXPECT_EQ(wexRealloc(&p, kElement, 1, 2, 10), 3);
  EXPECT_EQ(Raw::tried, elements({10, 6, 4, 3, 3}));
  EXPECT_EQ(fakeManager().releases, 1);
  EXPECT_TRUE(gExits.empty());
  auto* b = static_cast<unsigned char*>(p);
  EXPECT_EQ(b[0], 77);
  for (int i = kElement; i < 3 * kElement; ++i) ASSERT_EQ(b[i], 0) << i;
  qor::setRawAllocators(nullptr, nullptr);
  wexFree(p);
}

TEST_F(ManagerRoad, MallocRetriesWhileTheManagerReleases) {
  fakeManager().trueAnswers = -1;
  Raw::limit = 0;
  Raw::releasesNeeded = 2;
  qor::setRawAllocators(&Raw::m, &Raw::r);
  void* p = nullptr;
  EXPECT_EQ(wexMalloc(&p, 16, 4), 4);
  EXPECT_NE(p, nullptr);
  EXPECT_EQ(fakeManager().releases, 2);
  EXPECT_EQ(Raw::tried, (std::vector<size_t>{64, 64, 64}));
  EXPECT_TRUE(gExits.empty());
  qor::setRawAllocators(nullptr, nullptr);
  wexFree(p);

  // A manager with nothing to give: one question, then the end of the road.
  fakeManager().releases = 0;
  fakeManager().trueAnswers = 0;
  Raw::releasesNeeded = 1 << 30;
  qor::setRawAllocators(&Raw::m, &Raw::r);
  p = &p;
  EXPECT_EQ(wexMalloc(&p, 16, 4), 0);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(fakeManager().releases, 1);
  EXPECT_EQ(gExits, std::vector<int>{-1});
}

// ---- the host's assertion handler ----

TEST(AssertHandler, TheHostsHandlerHearsFailedChecksWhenNoCallbackIsSet) {
  assertHandler().seen.clear();
  wexSetAssertCallback(nullptr, nullptr);
  EXPECT_EQ(wexAssertFailed("n > 0", "src/x", 12), 5);
  EXPECT_EQ(assertHandler().seen, std::vector<std::string>{"n > 0|src/x|12"});

  // A callback comes first.
  struct Cb {
    static int f(void*, const char*, const char*, int32_t) { return 9; }
  };
  wexSetAssertCallback(&Cb::f, nullptr);
  EXPECT_EQ(wexAssertFailed("m", "f", 1), 9);
  EXPECT_EQ(assertHandler().seen.size(), 1u);
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
