// Block allocation with a managed failure road, the one growth rule of every array and
// stack, and the assertion road of every check in the base types.
#pragma once
#include <cstddef>
#include <cstdint>

// Allocates elementSize * count bytes into *block (not cleared) and returns count. A
// failure that the memory manager cannot relieve ends the process.
int32_t wexMalloc(void** block, int32_t elementSize, int32_t count);

// Grows, shrinks or first-allocates *block: asks for maxNewSize elements and accepts
// anything down to minNewSize (0xFFFFFFFF means "the same as minNewSize"). Returns the
// count obtained. Old contents up to curSize are kept; new elements are zero-filled.
int32_t wexRealloc(void** block, uint32_t elementSize, int32_t curSize, int32_t minNewSize,
                   uint32_t maxNewSize);

// Frees a block from wexMalloc or wexRealloc (null is fine).
void wexFree(void* block);

// The capacity an array of `current` elements grows to when it needs `needed`.
int32_t wexGrowCapacity(int32_t current, int32_t needed);

// The one place a failed check goes. Returns what the host's handler returns; code after
// an assertion goes on if it returns, and takes a safe way out.
using WexAssertCallback = int (*)(void* context, const char* expression, const char* file,
                                  int32_t line);
int wexAssertFailed(const char* expression, const char* file, int32_t line);
// Replaces the callback and its context (null to remove).
void wexSetAssertCallback(WexAssertCallback callback, void* context);

// Checks an invariant; a failure takes the assertion road and the statement after it runs.
#define QOR_ASSERT(expr) \
  ((expr) ? true : (wexAssertFailed(#expr, __FILE__, static_cast<int32_t>(__LINE__)), false))

namespace qor {
// Raw allocation that every wex call goes through; a test may replace these to make
// allocation fail. Null restores the C library's functions.
using RawMalloc = void* (*)(std::size_t);
using RawRealloc = void* (*)(void*, std::size_t);
void setRawAllocators(RawMalloc mallocFn, RawRealloc reallocFn);
}  // namespace qor
