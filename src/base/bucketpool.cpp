#include "base/bucketpool.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstring>
#include <new>

#include "base/wexrealloc.h"
#include "core/locator.h"

namespace {

constexpr int32_t kHeader = 8;
static_assert(sizeof(BucketMemoryAllocator*) <= kHeader, "the header holds one pointer");

// Parameters of every pool the module makes for itself.
constexpr int32_t kGrain = 4;
constexpr int32_t kLinearLimit = 8192;
constexpr int32_t kMaxPooled = 0x40000;
// The check for the host's pool runs when the counter has passed this.
constexpr int32_t kHostCheckAfter = 600;

// The module lock exists from load on (constant-initialised, never destroyed), so that
// blocks can come and go from any static constructor or destructor.
constinit BucketPoolLock gModuleLock;

// Module state, guarded by the module lock; the current pool is also read without it.
std::atomic<BucketMemoryPool*> gCurrent{nullptr};
bool gLocal = false;
int32_t gCounter = 0;
// Changes (under the lock) whenever the thread stacks must meet the module state again: the
// current pool changed, was cleared, or had its pooling switched. Read without the lock.
std::atomic<uint64_t> gEpoch{1};
// The last change after which stacks give their blocks to the heap and not to the pool.
uint64_t gFreeEpoch = 0;

// The per-thread stacks: classes of 4 bytes up to 256, 32 blocks deep, moved 16 at a time.
constexpr int32_t kCachedLimit = 256;
constexpr int32_t kCachedClasses = kCachedLimit / kGrain;
constexpr int32_t kCacheDepth = 32;
constexpr int32_t kCacheBatch = 16;
// Allocations a thread counts ahead on a local pool.
constexpr int32_t kCredit = 256;
// On a host's pool nothing is counted.
constexpr int32_t kUncounted = INT32_MAX;

struct ThreadCache {
  uint64_t epoch = 0;                // gEpoch when the stacks last met the module state
  BucketMemoryPool* pool = nullptr;  // the pool in front of which they stand then
  uint32_t limit = 0;                // sizes 1 to limit are kept (0: none; pooling off)
  int32_t credit = 0;                // allocations already counted
  uint8_t count[kCachedClasses] = {};
  void* blocks[kCachedClasses][kCacheDepth];  // headers, oldest first
};

// In static TLS, so that the fast paths reach it with one load; two words only, which a
// library loaded late still finds room for.
struct ThreadSlot {
  ThreadCache* cache;
  bool gone;  // the thread is ending: its calls go to the pool under the lock
};
constinit thread_local ThreadSlot tSlot [[gnu::tls_model("initial-exec")]] = {nullptr, false};

void retireThreadCache();
// Gives the thread's stacks back when the thread ends (for the main thread: at exit, before
// static destructors run).
struct ThreadCacheOwner {
  bool armed = false;
  ~ThreadCacheOwner() {
    if (armed) retireThreadCache();
  }
};
thread_local ThreadCacheOwner tOwner;

inline void* headerOf(void* payload) {
  return static_cast<char*>(payload) - kHeader;
}
inline void* payloadOf(void* header) {
  return static_cast<char*>(header) + kHeader;
}
inline BucketMemoryAllocator* allocatorOf(void* payload) {
  return *static_cast<BucketMemoryAllocator**>(headerOf(payload));
}
inline void freeThroughHeader(void* payload) {
  allocatorOf(payload)->free(headerOf(payload));
}

// A heap block of payload `bytes` with its header set; the payload address.
void* newBlock(int64_t bytes, BucketMemoryAllocator* allocator) {
  void* p = nullptr;
  // In 8-byte units, so that sizes near 2^31 need no 32-bit sum.
  wexMalloc(&p, kHeader, static_cast<int32_t>((bytes + kHeader + 7) / 8));
  if (!p) return nullptr;
  *static_cast<BucketMemoryAllocator**>(p) = allocator;
  return static_cast<char*>(p) + kHeader;
}

// The host's pool object, through the query of its root for "BucketMemoryPool", or null.
BucketMemoryPool* hostPool() {
  void* out = nullptr;
  if (getService("IBucketMemoryPool", &out) != 1 || !out) return nullptr;
  auto* root = static_cast<IQorUnknown*>(static_cast<IBucketMemoryPool*>(out));
  return qorQuery<BucketMemoryPool>(root, "BucketMemoryPool");
}

}  // namespace

// The work of allocate and free without the locking, so that the module's own functions
// can do it under the lock they already hold. Internal to this library.
#define BRINDLE_INTERNAL __attribute__((visibility("hidden")))
struct BRINDLE_INTERNAL BucketPoolAccess {
  static int32_t index(const BucketMemoryPool& p, int32_t size, int32_t* rounded) {
    if (size > p.linearLimit_) [[unlikely]]
      return exponentialIndex(p, size, rounded);
    if (size < 1) size = 1;
    int32_t index = p.grainShift_ >= 0 ? (size - 1) >> p.grainShift_ : (size - 1) / p.grain_;
    *rounded = (index + 1) * p.grain_;
    return index;
  }
  static int32_t exponentialIndex(const BucketMemoryPool& p, int32_t size, int32_t* rounded) {
    int32_t index = (p.linearLimit_ - 1) / p.grain_;
    int64_t r = p.linearLimit_;
    while (r < size) {
      r *= 2;
      ++index;
    }
    *rounded = static_cast<int32_t>(r < INT32_MAX ? r : INT32_MAX);
    return index;
  }

  // Under the pool's lock: a waiting block, else a new one from the heap.
  static void* take(BucketMemoryPool& p, int32_t size, int32_t* realSize) {
    if (size < 1) size = 1;
    int32_t rounded = size;
    if (size <= p.maxPooled_) {
      int32_t i = index(p, size, &rounded);
      if (Bucket* b = i < p.bucketCount_ ? p.buckets_[i] : nullptr) {
        while (b->count() > 0) {
          BucketEntry e = b->pop();
          if (e.block) [[likely]] {
            if (realSize) *realSize = e.size;
            return payloadOf(e.block);
          }
        }
      }
    }
    void* block = newBlock(rounded, p.allocator_);
    if (realSize) *realSize = block ? rounded : 0;
    return block;
  }

  // Under the pool's lock. The block waits in the bucket of its size; false when it belongs
  // in no bucket and is to be freed through its header, after the lock is let go.
  static bool give(BucketMemoryPool& p, int32_t size, void* block) {
    if (size > p.maxPooled_) return false;
    int32_t rounded;
    int32_t i = index(p, size, &rounded);
    if (rounded != size) return false;
    if (i >= p.bucketCount_ && !p.ensureSlot(i)) return false;
    Bucket*& b = p.buckets_[i];
    if (!b) b = new Bucket(8);
    b->push(BucketEntry{rounded, headerOf(block)});
    return true;
  }

  // Whether the thread stacks may stand in front of the pool: its classes up to 256 bytes
  // are theirs, one per 4 bytes, and pooled.
  static bool cacheable(const BucketMemoryPool* p) {
    return p && p->grain_ == kGrain && p->linearLimit_ >= kCachedLimit &&
           p->maxPooled_ >= kCachedLimit;
  }

  // Under the module lock: moves up to kCacheBatch blocks from the top of the pool's bucket
  // for class `cls` onto the thread's empty stack, keeping their order, so that the last
  // block freed comes out first.
  static void refill(BucketMemoryPool& p, ThreadCache* c, int32_t cls) {
    Platform::ScopedLock<BucketPoolLock> g(*p.lock_);
    if (cls >= p.bucketCount_ || !p.buckets_[cls]) return;
    Bucket* b = p.buckets_[cls];
    const int32_t from = b->count() > kCacheBatch ? b->count() - kCacheBatch + 1 : 1;
    uint8_t n = 0;
    for (int32_t k = from; k <= b->count(); ++k)
      if (void* h = b->get(k).block) c->blocks[cls][n++] = h;
    b->setCount(from - 1);
    c->count[cls] = n;
  }

  // Under the module lock: n blocks of one class go onto the pool's bucket, oldest first.
  // They were waiting in a thread's stack, so pooling switched off since keeps them waiting,
  // like the blocks already in the bucket; a pool with other classes frees them.
  static void stash(BucketMemoryPool& p, int32_t size, void* const* headers, int32_t n) {
    Platform::ScopedLock<BucketPoolLock> g(*p.lock_);
    int32_t rounded;
    const int32_t i = index(p, size, &rounded);
    const int32_t limit = p.maxPooled_ < 0 ? -p.maxPooled_ : p.maxPooled_;
    Bucket* b = nullptr;
    if (rounded == size && size <= limit && p.ensureSlot(i)) {
      if (!p.buckets_[i]) p.buckets_[i] = new Bucket(n > 8 ? n : 8);
      b = p.buckets_[i];
    }
    for (int32_t k = 0; k < n; ++k) {
      if (b)
        b->push(BucketEntry{size, headers[k]});
      else
        freeThroughHeader(payloadOf(headers[k]));
    }
  }

  // A new block for the pool, named by its allocator.
  static void* fresh(const BucketMemoryPool& p, int32_t rounded) {
    return newBlock(rounded, p.allocator_);
  }
  static BucketPoolLock* lockOf(const BucketMemoryPool& p) { return p.lock_; }
};

namespace {

// ---- the thread stacks; everything here runs under the module lock ----

// Empties the stacks: to the heap, or onto the current pool's buckets.
void drain(ThreadCache* c, bool toHeap) {
  BucketMemoryPool* pool = gCurrent.load(std::memory_order_relaxed);
  for (int32_t cls = 0; cls < kCachedClasses; ++cls) {
    const int32_t n = c->count[cls];
    if (!n) continue;
    c->count[cls] = 0;
    if (toHeap || !pool) {
      for (int32_t k = 0; k < n; ++k) freeThroughHeader(payloadOf(c->blocks[cls][k]));
    } else {
      BucketPoolAccess::stash(*pool, (cls + 1) * kGrain, c->blocks[cls], n);
    }
  }
}

// Brings the stacks up to date with the module state: after a change they empty themselves
// (to the heap after a clear or a release) and stand in front of the current pool.
void meet(ThreadCache* c) {
  const uint64_t epoch = gEpoch.load(std::memory_order_relaxed);
  if (c->epoch == epoch) return;
  drain(c, c->epoch < gFreeEpoch);
  BucketMemoryPool* pool = gCurrent.load(std::memory_order_relaxed);
  c->epoch = epoch;
  c->pool = pool;
  c->limit = BucketPoolAccess::cacheable(pool) ? kCachedLimit : 0;
  c->credit = pool && !gLocal ? kUncounted : 0;  // counting on a local pool starts afresh
}

// Gives back the allocations the thread counted ahead and did not make.
void returnCredit(ThreadCache* c) {
  if (gLocal && c->credit != kUncounted && c->epoch == gEpoch.load(std::memory_order_relaxed))
    gCounter = gCounter > c->credit ? gCounter - c->credit : 0;
  c->credit = 0;
}

// Empties the calling thread's stacks before a change of the module state.
void flushOwnCache(bool toHeap) {
  if (ThreadCache* c = tSlot.cache) {
    returnCredit(c);
    drain(c, toHeap || c->epoch < gFreeEpoch);
  }
}

void newEpoch(bool toHeap) {
  const uint64_t epoch = gEpoch.load(std::memory_order_relaxed) + 1;
  gEpoch.store(epoch, std::memory_order_relaxed);
  if (toHeap) gFreeEpoch = epoch;
}

// The calling thread's stacks, made on its first call; null once the thread is ending.
ThreadCache* threadCache() {
  if (ThreadCache* c = tSlot.cache) return c;
  if (tSlot.gone) return nullptr;
  auto* c = new (std::nothrow) ThreadCache();
  if (!c) return nullptr;
  tOwner.armed = true;  // registers the owner's destructor for this thread
  tSlot.cache = c;
  return c;
}

void retireThreadCache() {
  ThreadCache* c = tSlot.cache;
  tSlot.gone = true;
  if (!c) return;
  {
    Platform::ScopedLock<BucketPoolLock> g(gModuleLock);
    returnCredit(c);
    drain(c, c->epoch < gFreeEpoch);
  }
  tSlot.cache = nullptr;
  delete c;
}

// The calling thread's stacks if they stand in front of `pool` now.
ThreadCache* cacheBefore(const BucketMemoryPool* pool) {
  ThreadCache* c = tSlot.cache;
  return c && c->pool == pool && c->epoch == gEpoch.load(std::memory_order_relaxed) ? c : nullptr;
}

// Counts an allocation on a local pool; true when the check for the host's pool is due.
// A thread counts kCredit allocations at a time, never past the check.
bool countAllocation(ThreadCache* c) {
  if (!gLocal) {
    if (c) c->credit = kUncounted;  // in case a thread used up even that
    return false;
  }
  if (c && c->credit > 0) {
    --c->credit;
    return false;
  }
  if (gCounter > kHostCheckAfter) return true;
  ++gCounter;
  if (c) {
    const int32_t grant = std::min(kCredit, kHostCheckAfter + 1 - gCounter);
    if (grant > 0) {
      c->credit = grant;
      gCounter += grant;
    }
  }
  return false;
}

// Makes `host` current. A local pool is merged into it first and loses the module's
// reference; the calling thread's stacks go into it before.
void adoptHost(BucketMemoryPool* host) {
  gLocal = false;
  BucketMemoryPool* old = gCurrent.load(std::memory_order_relaxed);
  if (old == host) return;
  flushOwnCache(false);
  host->addRef();
  if (old) host->absorb(old);
  gCurrent.store(host, std::memory_order_release);
  newEpoch(false);
  if (old) old->release();
}

}  // namespace

namespace qor {

BucketPoolLock& bucketPoolLock() {
  return gModuleLock;
}

BucketMemoryAllocator* bucketAllocator() {
  static BucketMemoryAllocator* a = new BucketMemoryAllocator(&gModuleLock);
  return a;
}

BucketMemoryPool* bucketCurrentPool() {
  return gCurrent.load(std::memory_order_acquire);
}

bool bucketOnLocalPool() {
  Platform::ScopedLock<BucketPoolLock> g(bucketPoolLock());
  return gLocal;
}

}  // namespace qor

// ---- BucketPoolLock ----

void BucketPoolLock::lockContended() {
  for (int spin = 0; spin < 64; ++spin) {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
    uint32_t expected = 0;
    if (state_.load(std::memory_order_relaxed) == 0 &&
        state_.compare_exchange_weak(expected, 1, std::memory_order_acquire,
                                     std::memory_order_relaxed))
      return;
  }
  // Mark the lock as having sleepers, and sleep until it was free when marked.
  while (state_.exchange(2, std::memory_order_acquire) != 0)
    syscall(SYS_futex, reinterpret_cast<uint32_t*>(&state_), FUTEX_WAIT_PRIVATE, 2, nullptr,
            nullptr, 0);
}

void BucketPoolLock::wake() {
  syscall(SYS_futex, reinterpret_cast<uint32_t*>(&state_), FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr,
          0);
}

// ---- BucketMemoryAllocator ----

BucketMemoryAllocator::~BucketMemoryAllocator() = default;

void BucketMemoryAllocator::free(void* block) {
  Platform::ScopedLock<BucketPoolLock> g(*lock_);
  wexFree(block);
}

// ---- BucketMemoryPool ----

BucketMemoryPool::BucketMemoryPool(int32_t grain, int32_t linearLimit, int32_t maxPooled)
    : grain_(grain),
      linearLimit_(linearLimit),
      maxPooled_(maxPooled),
      lock_(&gModuleLock),
      allocator_(qor::bucketAllocator()) {
  init();
  Platform::ScopedLock<BucketPoolLock> g(*lock_);
  BucketMemoryPool* old = gCurrent.load(std::memory_order_relaxed);
  flushOwnCache(false);  // into the old pool, whose blocks this one may inherit
  if (old && old->grain_ == grain_ && old->linearLimit_ == linearLimit_ &&
      old->maxPooled_ == maxPooled_) {
    Platform::ScopedLock<BucketPoolLock> g2(*old->lock_);
    std::swap(bucketCount_, old->bucketCount_);
    std::swap(buckets_, old->buckets_);
  }
  addRef();
  gCurrent.store(this, std::memory_order_release);
  gLocal = true;
  gCounter = 0;
  newEpoch(false);
  if (old) old->release();
}

BucketMemoryPool::BucketMemoryPool(int32_t grain, int32_t linearLimit, int32_t maxPooled,
                                   BucketPoolLock* lock, BucketMemoryAllocator* allocator)
    : grain_(grain),
      linearLimit_(linearLimit),
      maxPooled_(maxPooled),
      lock_(lock),
      allocator_(allocator) {
  init();
}

void BucketMemoryPool::init() {
  if (grain_ < 1) grain_ = 1;
  if (linearLimit_ < grain_) linearLimit_ = grain_;
  grainShift_ = -1;
  for (int32_t k = 0; k < 31; ++k)
    if ((int32_t{1} << k) == grain_) grainShift_ = k;
  void* t = nullptr;
  int32_t n = linearLimit_ / grain_ + 2;
  wexMalloc(&t, static_cast<int32_t>(sizeof(Bucket*)), n);
  if (t) std::memset(t, 0, sizeof(Bucket*) * static_cast<size_t>(n));
  buckets_ = static_cast<Bucket**>(t);
  bucketCount_ = t ? n : 0;
}

BucketMemoryPool::~BucketMemoryPool() {
  clear();
  wexFree(buckets_);
}

void BucketMemoryPool::freeTable(Bucket** table, int32_t count) {
  for (int32_t i = 0; i < count; ++i) {
    Bucket* b = table[i];
    if (!b) continue;
    for (int32_t k = 1; k <= b->count(); ++k)
      if (void* h = b->get(k).block) freeThroughHeader(payloadOf(h));
    delete b;
  }
  wexFree(table);
}

bool BucketMemoryPool::clear() {
  // The blocks in the thread stacks in front of the module's current pool are its blocks
  // too: the caller's go now, the other threads' when those threads next meet the state.
  if (gCurrent.load(std::memory_order_acquire) == this) {
    Platform::ScopedLock<BucketPoolLock> g(gModuleLock);
    if (gCurrent.load(std::memory_order_relaxed) == this) {
      flushOwnCache(true);
      newEpoch(true);
    }
  }
  // The table is taken out under the lock and emptied after it: each block goes back
  // through its own allocator, which may be another module's and take that module's lock.
  Bucket** old;
  int32_t count;
  {
    Platform::ScopedLock<BucketPoolLock> g(*lock_);
    old = buckets_;
    count = bucketCount_;
    void* t = nullptr;
    wexMalloc(&t, static_cast<int32_t>(sizeof(Bucket*)), count);
    if (t) std::memset(t, 0, sizeof(Bucket*) * static_cast<size_t>(count));
    buckets_ = static_cast<Bucket**>(t);
    bucketCount_ = t ? count : 0;
  }
  freeTable(old, count);
  return true;
}

int32_t BucketMemoryPool::bucketIndex(int32_t size, int32_t* rounded) const {
  return BucketPoolAccess::index(*this, size, rounded);
}

bool BucketMemoryPool::ensureSlot(int32_t index) {
  if (index < bucketCount_) return true;
  void* t = buckets_;
  int32_t got = wexRealloc(&t, sizeof(Bucket*), bucketCount_,
                           wexGrowCapacity(bucketCount_, index + 1), 0xFFFFFFFFu);
  buckets_ = static_cast<Bucket**>(t);
  bucketCount_ = got;
  return index < bucketCount_;
}

void* BucketMemoryPool::allocate(int32_t size, int32_t* realSize) {
  Platform::ScopedLock<BucketPoolLock> g(*lock_);
  return BucketPoolAccess::take(*this, size, realSize);
}

bool BucketMemoryPool::free(int32_t size, void** block) {
  if (!block || !*block || size == 0) return false;
  void* p = *block;
  *block = nullptr;
  bool kept;
  {
    Platform::ScopedLock<BucketPoolLock> g(*lock_);
    kept = BucketPoolAccess::give(*this, size, p);
  }
  if (!kept) freeThroughHeader(p);
  return true;
}

bool BucketMemoryPool::setPooling(bool on) {
  // The thread stacks must not serve a pool whose pooling is off, nor miss it coming back.
  Platform::ScopedLock<BucketPoolLock> m(gModuleLock);
  const bool current = gCurrent.load(std::memory_order_relaxed) == this;
  if (current) flushOwnCache(false);
  Platform::ScopedLock<BucketPoolLock> g(*lock_);
  int32_t limit = maxPooled_ < 0 ? -maxPooled_ : maxPooled_;
  maxPooled_ = on ? limit : -limit;
  if (current) newEpoch(false);
  return true;
}

void BucketMemoryPool::absorb(BucketMemoryPool* old) {
  if (!old || old == this) return;
  Platform::ScopedLock<BucketPoolLock> g(*lock_);
  const bool sameClasses = old->grain_ == grain_ && old->linearLimit_ == linearLimit_;
  for (int32_t i = 0; i < old->bucketCount_; ++i) {
    Bucket* from = old->buckets_[i];
    if (!from) continue;
    old->buckets_[i] = nullptr;
    if (sameClasses) {
      if (!ensureSlot(i)) continue;
      Bucket*& to = buckets_[i];
      if (!to) {
        to = from;
        continue;
      }
      for (int32_t k = 1; k <= from->count(); ++k) to->push(from->get(k));
      delete from;
      continue;
    }
    // Other size classes: each block finds its own bucket here, or leaves.
    for (int32_t k = 1; k <= from->count(); ++k) {
      BucketEntry e = from->get(k);
      if (!e.block) continue;
      int32_t rounded;
      int32_t index = bucketIndex(e.size, &rounded);
      if (e.size <= maxPooled_ && rounded == e.size && ensureSlot(index)) {
        Bucket*& to = buckets_[index];
        if (!to) to = new Bucket(8);
        to->push(e);
      } else {
        freeThroughHeader(payloadOf(e.block));
      }
    }
    delete from;
  }
}

int32_t BucketMemoryPool::waiting(int32_t index) {
  int32_t n = 0;
  if (ThreadCache* c = cacheBefore(this); c && index >= 0 && index < kCachedClasses)
    n = c->count[index];
  Platform::ScopedLock<BucketPoolLock> g(*lock_);
  if (index < 0 || index >= bucketCount_ || !buckets_[index]) return n;
  return n + buckets_[index]->count();
}

bool BucketMemoryPool::holds(const void* block) {
  if (ThreadCache* c = cacheBefore(this))
    for (int32_t cls = 0; cls < kCachedClasses; ++cls)
      for (int32_t k = 0; k < c->count[cls]; ++k)
        if (payloadOf(c->blocks[cls][k]) == block) return true;
  Platform::ScopedLock<BucketPoolLock> g(*lock_);
  for (int32_t i = 0; i < bucketCount_; ++i) {
    if (Bucket* b = buckets_[i])
      for (int32_t k = 1; k <= b->count(); ++k)
        if (b->get(k).block && payloadOf(b->get(k).block) == block) return true;
  }
  return false;
}

void BucketMemoryPool::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "BucketMemoryPool"))
    *out = this;
  else if (qorNameIs(name, "IBucketMemoryPool"))
    *out = static_cast<IBucketMemoryPool*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

// ---- module functions ----

namespace {

// Under the module lock: a block from the current pool, through the thread's stacks when
// they keep the size.
void* takeFor(ThreadCache* c, BucketMemoryPool* pool, int32_t size, int32_t* realSize) {
  if (c && c->pool == pool && static_cast<uint32_t>(size) - 1 < c->limit) {
    const int32_t cls = (size - 1) / kGrain;
    if (!c->count[cls]) BucketPoolAccess::refill(*pool, c, cls);
    const int32_t rounded = (cls + 1) * kGrain;
    if (realSize) *realSize = rounded;
    if (c->count[cls]) return payloadOf(c->blocks[cls][--c->count[cls]]);
    void* block = BucketPoolAccess::fresh(*pool, rounded);
    if (realSize && !block) *realSize = 0;
    return block;
  }
  Platform::ScopedLock<BucketPoolLock> g(*BucketPoolAccess::lockOf(*pool));
  return BucketPoolAccess::take(*pool, size, realSize);
}

// Everything but a hit in the thread's stacks: the first pool, the count and the check for
// the host's pool, refills, sizes the stacks do not keep, and threads without stacks.
[[gnu::noinline]] void* allocateSlow(int32_t size, int32_t* realSize) {
  ThreadCache* c = threadCache();
  Platform::ScopedLock<BucketPoolLock> g(gModuleLock);
  BucketMemoryPool* pool = gCurrent.load(std::memory_order_relaxed);
  if (c) meet(c);
  bool lookUp = !pool;
  if (pool && countAllocation(c)) {
    gCounter = 1;  // reset, and this allocation counts if the pool stays local
    lookUp = true;
  }
  if (lookUp) {
    BucketMemoryPool* host;
    {
      // The host is asked without the lock held.
      struct Unlocked {
        Unlocked() { gModuleLock.unlock(); }
        ~Unlocked() { gModuleLock.lock(); }
      } unlocked;
      host = hostPool();
    }
    if (host) {
      adoptHost(host);
    } else if (!gCurrent.load(std::memory_order_relaxed)) {
      new BucketMemoryPool(kGrain, kLinearLimit, kMaxPooled);  // becomes current, local
      gCounter = 1;
    }
    pool = gCurrent.load(std::memory_order_relaxed);
    if (c) {
      meet(c);
      if (gLocal) {  // this allocation is counted: give the thread its next allocations
        gCounter -= 1;
        countAllocation(c);
      }
    }
  }
  return takeFor(c, pool, size, realSize);
}

// A block the thread's stacks did not take at once.
[[gnu::noinline]] void freeSlow(int32_t size, void* block) {
  const uint32_t s = static_cast<uint32_t>(size);
  ThreadCache* c = s - 1 < kCachedLimit && s % kGrain == 0 ? threadCache() : nullptr;
  bool kept = false;
  {
    Platform::ScopedLock<BucketPoolLock> g(gModuleLock);
    BucketMemoryPool* pool = gCurrent.load(std::memory_order_relaxed);
    if (c) meet(c);
    if (pool && c && s - 1 < c->limit) {
      // The stack is full: its older half goes to the pool's bucket.
      const int32_t cls = static_cast<int32_t>(s / kGrain) - 1;
      if (c->count[cls] == kCacheDepth) {
        BucketPoolAccess::stash(*pool, size, c->blocks[cls], kCacheBatch);
        std::memmove(c->blocks[cls], c->blocks[cls] + kCacheBatch,
                     sizeof(void*) * (kCacheDepth - kCacheBatch));
        c->count[cls] = kCacheDepth - kCacheBatch;
      }
      c->blocks[cls][c->count[cls]++] = headerOf(block);
      return;
    }
    if (pool) {
      Platform::ScopedLock<BucketPoolLock> g2(*BucketPoolAccess::lockOf(*pool));
      kept = BucketPoolAccess::give(*pool, size, block);
    }
  }
  if (!kept) freeThroughHeader(block);
}

}  // namespace

void* bucketAllocate(int32_t size, int32_t* realSize) {
  // The ordinary case: the last block of the size's class in the thread's stacks.
  ThreadCache* c = tSlot.cache;
  const uint32_t s = static_cast<uint32_t>(size);
  if (c && c->epoch == gEpoch.load(std::memory_order_relaxed) && s - 1 < c->limit && c->credit > 0)
      [[likely]] {
    const uint32_t cls = (s - 1) / kGrain;
    const uint32_t n = c->count[cls];
    if (n) [[likely]] {
      c->count[cls] = static_cast<uint8_t>(n - 1);
      --c->credit;
      if (realSize) *realSize = static_cast<int32_t>(cls + 1) * kGrain;
      return payloadOf(c->blocks[cls][n - 1]);
    }
  }
  return allocateSlow(size, realSize);
}

void bucketFree(int32_t size, void* block) {
  if (!size || !block) return;
  // The ordinary case: onto the thread's stack of the size's class.
  ThreadCache* c = tSlot.cache;
  const uint32_t s = static_cast<uint32_t>(size);
  if (c && c->epoch == gEpoch.load(std::memory_order_relaxed) && s - 1 < c->limit &&
      s % kGrain == 0) [[likely]] {
    const uint32_t cls = s / kGrain - 1;
    const uint32_t n = c->count[cls];
    if (n < kCacheDepth) [[likely]] {
      c->blocks[cls][n] = headerOf(block);
      c->count[cls] = static_cast<uint8_t>(n + 1);
      return;
    }
  }
  freeSlow(size, block);
}

bool bucketAttachHost() {
  {
    Platform::ScopedLock<BucketPoolLock> g(gModuleLock);
    if (gCurrent.load(std::memory_order_relaxed) && !gLocal) return true;
  }
  BucketMemoryPool* host = hostPool();
  if (!host) return false;
  Platform::ScopedLock<BucketPoolLock> g(gModuleLock);
  adoptHost(host);
  return true;
}

void bucketReleasePool() {
  Platform::ScopedLock<BucketPoolLock> g(gModuleLock);
  BucketMemoryPool* pool = gCurrent.load(std::memory_order_relaxed);
  if (!pool) return;
  pool->clear();  // the calling thread's stacks with it
  gCurrent.store(nullptr, std::memory_order_release);
  gLocal = false;
  gCounter = 0;
  newEpoch(true);
  pool->release();
}
