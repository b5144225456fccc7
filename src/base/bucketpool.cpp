#include "base/bucketpool.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstring>

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

// Makes `host` current. A local pool is merged into it first and loses the module's
// reference. Under the module lock.
void adoptHost(BucketMemoryPool* host) {
  gLocal = false;
  BucketMemoryPool* old = gCurrent.load(std::memory_order_relaxed);
  if (old == host) return;
  host->addRef();
  if (old) host->absorb(old);
  gCurrent.store(host, std::memory_order_release);
  if (old) old->release();
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

  // Under the pool's lock: the last block freed into the size's bucket, or null.
  static void* pop(BucketMemoryPool& p, int32_t size, int32_t* realSize) {
    if (size > p.maxPooled_) return nullptr;
    int32_t rounded;
    int32_t i = index(p, size, &rounded);
    if (i >= p.bucketCount_) return nullptr;
    Bucket* b = p.buckets_[i];
    if (!b) return nullptr;
    while (b->count() > 0) {
      BucketEntry e = b->pop();
      if (e.block) [[likely]] {
        if (realSize) *realSize = e.size;
        return payloadOf(e.block);
      }
    }
    return nullptr;
  }

  // Under the pool's lock: a waiting block, else a new one from the heap.
  [[gnu::noinline]] static void* take(BucketMemoryPool& p, int32_t size, int32_t* realSize) {
    if (size < 1) size = 1;
    if (void* block = pop(p, size, realSize)) return block;
    int32_t rounded = size;
    if (size <= p.maxPooled_) index(p, size, &rounded);
    void* block = newBlock(rounded, p.allocator_);
    if (realSize) *realSize = block ? rounded : 0;
    return block;
  }

  // Under the pool's lock: the block waits in its bucket, when its bucket and room for it
  // exist already. False otherwise (give then finishes the work).
  static bool push(BucketMemoryPool& p, int32_t size, void* block) {
    if (size > p.maxPooled_) return false;
    int32_t rounded;
    int32_t i = index(p, size, &rounded);
    if (rounded != size || i >= p.bucketCount_) return false;
    Bucket* b = p.buckets_[i];
    if (!b || b->count() + 1 >= b->capacity()) return false;
    b->items()[b->count() + 1] = BucketEntry{rounded, headerOf(block)};
    b->setCount(b->count() + 1);
    return true;
  }

  // Under the pool's lock. False when the block belongs in no bucket and is to be freed
  // through its header, after the lock is let go.
  [[gnu::noinline]] static bool give(BucketMemoryPool& p, int32_t size, void* block) {
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

  static BucketPoolLock* lockOf(const BucketMemoryPool& p) { return p.lock_; }
};

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
    kept = BucketPoolAccess::push(*this, size, p) || BucketPoolAccess::give(*this, size, p);
  }
  if (!kept) freeThroughHeader(p);
  return true;
}

bool BucketMemoryPool::setPooling(bool on) {
  Platform::ScopedLock<BucketPoolLock> g(*lock_);
  int32_t limit = maxPooled_ < 0 ? -maxPooled_ : maxPooled_;
  maxPooled_ = on ? limit : -limit;
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
  Platform::ScopedLock<BucketPoolLock> g(*lock_);
  if (index < 0 || index >= bucketCount_ || !buckets_[index]) return 0;
  return buckets_[index]->count();
}

bool BucketMemoryPool::holds(const void* block) {
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

// Everything but a local pool's ordinary allocation: the first pool, the check for the
// host's pool, and allocation from a host's pool.
[[gnu::noinline]] void* allocateSlow(int32_t size, int32_t* realSize) {
  BucketMemoryPool* pool = gCurrent.load(std::memory_order_acquire);
  if (pool) {
    gModuleLock.lock();
    if (gLocal) {
      if (gCounter <= kHostCheckAfter) {  // the state changed meanwhile: the ordinary way
        ++gCounter;
        void* p = BucketPoolAccess::take(*pool, size, realSize);
        gModuleLock.unlock();
        return p;
      }
      gCounter = 1;  // reset, and this allocation counts if the pool stays local
      gModuleLock.unlock();
      if (BucketMemoryPool* host = hostPool()) {
        Platform::ScopedLock<BucketPoolLock> g(gModuleLock);
        adoptHost(host);
      }
      pool = gCurrent.load(std::memory_order_acquire);
    } else {
      gModuleLock.unlock();
    }
    return pool->allocate(size, realSize);
  }

  // No pool yet: the host's, or one of our own.
  BucketMemoryPool* host = hostPool();
  {
    Platform::ScopedLock<BucketPoolLock> g(gModuleLock);
    if (!gCurrent.load(std::memory_order_relaxed)) {
      if (host)
        adoptHost(host);
      else
        new BucketMemoryPool(kGrain, kLinearLimit, kMaxPooled);  // becomes current, local
    }
    pool = gCurrent.load(std::memory_order_relaxed);
    if (gLocal) ++gCounter;
  }
  return pool->allocate(size, realSize);
}

// A block for a pool of this module, when no room waits for it in its bucket.
[[gnu::noinline]] void freeSlow(BucketMemoryPool* pool, int32_t size, void* block) {
  bool kept;
  {
    Platform::ScopedLock<BucketPoolLock> g(gModuleLock);
    kept = BucketPoolAccess::give(*pool, size, block);
  }
  if (!kept) freeThroughHeader(block);
}

}  // namespace

void* bucketAllocate(int32_t size, int32_t* realSize) {
  // The ordinary case: on a local pool, short of the check for the host's pool. Under the
  // lock, counting the allocation.
  BucketMemoryPool* pool = gCurrent.load(std::memory_order_acquire);
  if (pool) [[likely]] {
    gModuleLock.lock();
    if (gLocal && gCounter <= kHostCheckAfter) [[likely]] {
      ++gCounter;
      void* p = BucketPoolAccess::pop(*pool, size, realSize);
      if (!p) p = BucketPoolAccess::take(*pool, size, realSize);
      gModuleLock.unlock();
      return p;
    }
    gModuleLock.unlock();
  }
  return allocateSlow(size, realSize);
}

void bucketFree(int32_t size, void* block) {
  if (!size || !block) return;
  BucketMemoryPool* pool = gCurrent.load(std::memory_order_acquire);
  if (!pool) {
    freeThroughHeader(block);
    return;
  }
  if (BucketPoolAccess::lockOf(*pool) != &gModuleLock) {
    pool->free(size, &block);
    return;
  }
  // A pool of this module: the same as its free, without the call.
  gModuleLock.lock();
  bool kept = BucketPoolAccess::push(*pool, size, block);
  gModuleLock.unlock();
  if (!kept) freeSlow(pool, size, block);
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
  pool->clear();
  gCurrent.store(nullptr, std::memory_order_release);
  gLocal = false;
  gCounter = 0;
  pool->release();
}
