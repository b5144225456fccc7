// Storage of string blocks. Every block a string owns comes from here and goes back here
// with the size it was given.
#pragma once
#include <cstdint>

namespace qor {

// A block of at least `bytes` bytes; `*granted` receives its real size.
void* strAllocate(int32_t bytes, int32_t* granted);
// Gives a block back, with the size that strAllocate granted.
void strFree(void* block, int32_t size);

}  // namespace qor
