#include "base/strstorage.h"

#include <cstdlib>

#include "platform/process.h"

namespace qor {

void* strAllocate(int32_t bytes, int32_t* granted) {
  if (bytes < 1) bytes = 1;
  void* p = std::malloc(static_cast<size_t>(bytes));
  if (!p) {
    Platform::messageBox("brindle", "Out of memory while allocating a string.");
    Platform::exitProcess(255);
  }
  if (granted) *granted = bytes;
  return p;
}

void strFree(void* block, int32_t size) {
  (void)size;
  std::free(block);
}

}  // namespace qor
