// Storage of string blocks. Every block a string owns comes from here and goes back here
// with the size it was given. The blocks come from the module's bucket pool: their real
// size is rounded up to the pool's size class, and they are 8-byte aligned.
#pragma once
#include <cstdint>

namespace qor {

// A block of at least `bytes` bytes; `*granted` receives its real size.
void* strAllocate(int32_t bytes, int32_t* granted);
// Gives a block back, with the size that strAllocate granted.
void strFree(void* block, int32_t size);

}  // namespace qor
