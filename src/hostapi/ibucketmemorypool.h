// A pool of small blocks kept in buckets by size, shared by the modules of a process. Used
// by slot order.
#pragma once
#include <cstdint>

#include "core/qorobject.h"

class IBucketMemoryPool : public virtual IQorUnknown {
 public:
  // Frees every block in every bucket, then the buckets; answers true.
  virtual bool clear() = 0;
  // A block of at least `size` bytes; *realSize receives its usable size, which is the size
  // to give back to free.
  virtual void* allocate(int32_t size, int32_t* realSize) = 0;
  // Takes the block back and nulls *block; false for a null block or a size of 0.
  virtual bool free(int32_t size, void** block) = 0;
  // Pooling on or off (off: every block comes from and goes back to the heap); true.
  virtual bool setPooling(bool on) = 0;
};
