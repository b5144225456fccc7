// The reference host's shared pool of small blocks, offered as "IBucketMemoryPool". It is a
// pool of the host's own, with the host's own lock and block allocator: it never becomes
// the module's current pool by being made, and a module gives its local pool to it once it
// finds the service.
#pragma once
#include "base/bucketpool.h"

namespace refhost {

class HostBucketPool : public BucketMemoryPool {
 public:
  // Grain 4, linear range to 8192, pooled up to 0x40000, like the module's own pools.
  HostBucketPool();
  // Answers "HostBucketPool", "BucketMemoryPool", "IBucketMemoryPool" and "IQorUnknown".
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "HostBucketPool"; }
};

// The host's pool, made on first use and never destroyed.
HostBucketPool& bucketPoolService();
// The host's pool lock and the allocator that its blocks name.
BucketPoolLock& hostPoolLock();
BucketMemoryAllocator* hostPoolAllocator();

}  // namespace refhost
