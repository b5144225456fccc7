// The bucket memory pool: small blocks come and go in great numbers, so freed blocks wait in
// buckets by size and are handed out again, last in first out.
//
// Every block has an 8-byte header in front of the caller's address: a pointer to the
// BucketMemoryAllocator that made it, so that a block made by one module can be freed by
// another after the modules have shared a pool. Payloads are 8-byte aligned only.
//
// Sizes up to linearLimit_ have one bucket per grain_ bytes; above it one per power of two
// up to maxPooled_; larger blocks go to the heap and back directly.
//
// A module works on its "current pool": the host's IBucketMemoryPool when the host offers
// one, else a pool of its own (a "local pool"), which it gives to the host's pool as soon
// as that exists (checked every 601st allocation). One recursive lock per module guards
// the current pool, the pools' tables, and the module's allocation counter.
//
// bucketAllocate and bucketFree keep, per thread, a small last-in-first-out stack for each
// class up to 256 bytes in front of the current pool. A thread takes blocks from its own
// stacks and gives blocks back to them without any lock; it refills an empty stack from the
// pool's bucket and spills the older half of a full one into it, under the lock. For one
// thread the stack and the bucket below it form one stack, so reuse is exactly last in
// first out. A block may be freed by another thread than the one that made it: it simply
// joins that thread's stacks. A thread's stacks go back to the pool when the thread ends.
// When the current pool changes, is cleared, or has its pooling switched, the calling
// thread's stacks go back (or to the heap, for a clear) at once; every other thread's go at
// its next call into the pool, or at its end. The allocation counter runs ahead by up to 256
// allocations a thread, so the check for the host's pool comes at the 602nd allocation with
// one thread and may come earlier with several.
#pragma once
#include <sys/single_threaded.h>

#include <atomic>
#include <cstdint>

#include "base/iterstack.h"
#include "hostapi/ibucketmemorypool.h"
#include "platform/sync.h"

// The lock of a module's pools, with the behaviour of a critical section: recursive
// (freeing a block through its allocator takes the lock again while a merge or a release
// holds it), a short spin, then a sleep in the kernel. While the process has a single
// thread no other thread can hold it, and it is taken without atomic instructions, as the
// C library does for its own locks. Constant-initialised and trivially destructible, so a
// lock at namespace scope works from the library's load to its unload.
class BucketPoolLock {
 public:
  constexpr BucketPoolLock() = default;
  BucketPoolLock(const BucketPoolLock&) = delete;
  BucketPoolLock& operator=(const BucketPoolLock&) = delete;

  void lock() {
    // With a single thread in the process nobody else can hold the lock or take it
    // meanwhile (no thread is made while it is held): unless this thread took it the
    // atomic way before, there is nothing to do.
    if (__libc_single_threaded && state_.load(std::memory_order_relaxed) == 0) return;
    const uintptr_t self = threadTag();
    if (owner_.load(std::memory_order_relaxed) == self) {
      ++depth_;
      return;
    }
    uint32_t expected = 0;
    if (!state_.compare_exchange_strong(expected, 1, std::memory_order_acquire,
                                        std::memory_order_relaxed))
      lockContended();
    owner_.store(self, std::memory_order_relaxed);
    depth_ = 1;
  }
  void unlock() {
    if (__libc_single_threaded && state_.load(std::memory_order_relaxed) == 0) return;
    if (--depth_ != 0) return;
    owner_.store(0, std::memory_order_relaxed);
    if (state_.exchange(0, std::memory_order_release) == 2) wake();
  }

 private:
  static uintptr_t threadTag() { return reinterpret_cast<uintptr_t>(__builtin_thread_pointer()); }
  void lockContended();  // spins, then sleeps until the lock is free (state 2: sleepers)
  void wake();

  std::atomic<uint32_t> state_{0};  // 0 free, 1 held, 2 held with sleepers
  std::atomic<uintptr_t> owner_{0};
  uint32_t depth_ = 0;
};

// Names the maker of a block in the block's header and frees such blocks: under its
// module's pool lock, with the C library.
class BucketMemoryAllocator {
 public:
  explicit BucketMemoryAllocator(BucketPoolLock* lock) : lock_(lock) {}
  virtual ~BucketMemoryAllocator();
  // Frees a whole block, header included.
  virtual void free(void* block);

 private:
  BucketPoolLock* lock_;
};

// One waiting block: its usable size and its address. The address kept is the block's
// start, its header, so that memory checkers see waiting blocks as reachable; the payload
// lies 8 bytes behind it.
struct BucketEntry {
  int32_t size;
  void* block;
};
// A bucket: a one-based stack of waiting blocks.
using Bucket = IterStack<BucketEntry>;

class BucketMemoryPool : public virtual IBucketMemoryPool {
 public:
  // A pool of this module. It becomes the module's current pool at once; when a current
  // pool with the same three parameters exists, the two exchange their tables first, so
  // that this one inherits all waiting blocks. The old pool loses the module's reference.
  BucketMemoryPool(int32_t grain, int32_t linearLimit, int32_t maxPooled);
  // Frees every waiting block, then the table.
  ~BucketMemoryPool() override;
  BucketMemoryPool(const BucketMemoryPool&) = delete;
  BucketMemoryPool& operator=(const BucketMemoryPool&) = delete;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "BucketMemoryPool"; }

  // For the module's current pool, the calling thread's stacks are emptied to the heap at
  // once, and every other thread's at its next call into the pool or at its end.
  bool clear() override;
  // Above maxPooled_ (or with pooling off): a heap block with realSize = size. Otherwise
  // the last block freed into the size's bucket, or a new block of the rounded size.
  void* allocate(int32_t size, int32_t* realSize) override;
  // Above maxPooled_: freed at once through the block's allocator. Otherwise the block
  // waits in the bucket of its size. A size that is not the rounded size of its bucket
  // (a block made while pooling was off) cannot serve that bucket and is freed at once.
  bool free(int32_t size, void** block) override;
  bool setPooling(bool on) override;

  // The bucket of a size, with the rounded size in *rounded. Above linearLimit_ the index
  // starts at (linearLimit_ - 1) / grain_ and the rounded size at linearLimit_, which
  // doubles, adding 1 to the index, until it reaches the size; otherwise the index is
  // (size - 1) / grain_ and the rounded size (index + 1) * grain_.
  int32_t bucketIndex(int32_t size, int32_t* rounded) const;

  // Moves every waiting block of `old` into this pool, bucket by bucket: a bucket this pool
  // lacks moves across whole, otherwise the entries are pushed from the first upward. The
  // old pool is left empty. Takes this pool's lock; the caller holds the old pool's.
  void absorb(BucketMemoryPool* old);

  int32_t bucketCount() const { return bucketCount_; }
  int32_t grain() const { return grain_; }
  int32_t linearLimit() const { return linearLimit_; }
  int32_t maxPooled() const { return maxPooled_; }
  // Blocks waiting in bucket `index`, in the calling thread's stacks in front of this pool
  // included.
  int32_t waiting(int32_t index);
  // Whether `block` waits in this pool or in the calling thread's stacks in front of it.
  bool holds(const void* block);

 protected:
  friend struct BucketPoolAccess;  // the module's fast paths
  // A pool of another module, with that module's lock and allocator; it does not touch
  // this module's current pool.
  BucketMemoryPool(int32_t grain, int32_t linearLimit, int32_t maxPooled, BucketPoolLock* lock,
                   BucketMemoryAllocator* allocator);

 private:
  void init();
  // The table with room for `index`; false if it could not grow.
  bool ensureSlot(int32_t index);
  static void freeTable(Bucket** table, int32_t count);

  int32_t bucketCount_ = 0;
  Bucket** buckets_ = nullptr;
  int32_t grain_;
  int32_t linearLimit_;
  int32_t maxPooled_;
  int32_t grainShift_;  // log2 of grain_ when it is a power of two, else -1
  BucketPoolLock* lock_;
  BucketMemoryAllocator* allocator_;
};

// A block of at least `size` bytes from the module's current pool, made on first need (the
// host's pool if it has one, else a local BucketMemoryPool(4, 8192, 0x40000)).
// *realSize gets the usable size, which bucketFree needs back.
void* bucketAllocate(int32_t size, int32_t* realSize);
// Gives a block back: nothing for a size or block of 0; with no current pool the block's
// own allocator frees it, else it goes to the current pool.
void bucketFree(int32_t size, void* block);
// Whether a host pool is in use; tries to reach one first, merging a local pool into it.
bool bucketAttachHost();
// Clears the current pool, drops the module's reference and forgets it.
void bucketReleasePool();

namespace qor {
// The module's lock and allocator.
BucketPoolLock& bucketPoolLock();
BucketMemoryAllocator* bucketAllocator();
// The module's current pool (borrowed, may be null) and whether it is a local one.
BucketMemoryPool* bucketCurrentPool();
bool bucketOnLocalPool();
}  // namespace qor
