#include "refhost/bucketpoolservice.h"

namespace refhost {

BucketPoolLock& hostPoolLock() {
  static auto* lock = new BucketPoolLock();
  return *lock;
}

BucketMemoryAllocator* hostPoolAllocator() {
  static auto* a = new BucketMemoryAllocator(&hostPoolLock());
  return a;
}

HostBucketPool::HostBucketPool()
    : BucketMemoryPool(4, 8192, 0x40000, &hostPoolLock(), hostPoolAllocator()) {}

void HostBucketPool::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "HostBucketPool"))
    *out = this;
  else
    BucketMemoryPool::queryInterface(name, out, reserved);
}

HostBucketPool& bucketPoolService() {
  static auto* pool = [] {
    auto* p = new HostBucketPool();
    p->addRef();  // the host's own reference, never given up
    return p;
  }();
  return *pool;
}

}  // namespace refhost
