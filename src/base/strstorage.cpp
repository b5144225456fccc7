#include "base/strstorage.h"

#include "base/bucketpool.h"

namespace qor {

// String blocks come from the module's bucket pool; a failure there ends the process on
// the road of wexMalloc, so the answer is never null.
void* strAllocate(int32_t bytes, int32_t* granted) {
  if (bytes < 1) bytes = 1;
  int32_t real = 0;
  void* p = bucketAllocate(bytes, &real);
  if (granted) *granted = real;
  return p;
}

void strFree(void* block, int32_t size) {
  bucketFree(size, block);
}

}  // namespace qor
