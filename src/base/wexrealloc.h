// Block allocation with a managed failure road, the one growth rule of every array and
// stack, and the assertion road of every check in the base types.
#pragma once
#include <cstddef>
#include <cstdint>

// Allocates elementSize * count bytes into *block (not cleared) and returns count. When the
// C library refuses, the host's memory manager is asked to release memory and the call is
// retried; a failure that the manager cannot relieve ends the memory road (memoryroad.h):
// the report file "memory.log", the message to the user, and the process ends with -1. A
// negative count allocates nothing useful (0 bytes).
int32_t wexMalloc(void** block, int32_t elementSize, int32_t count);

// Grows, shrinks or first-allocates *block: asks for maxNewSize elements and accepts
// anything down to minNewSize (0xFFFFFFFF means "the same as minNewSize"). Returns the
// count obtained. Old contents up to curSize are kept; new elements are zero-filled, a
// first allocation included. When the full size is refused the request narrows towards
// minNewSize, asking the host's memory manager to release memory on the way; if even
// minNewSize cannot be had, the contents move aside to a spill file so the old block can be
// freed before minNewSize elements are taken, and when that fails too the memory road ends
// the process with -1. Sizes are compared in 64 bits.
int32_t wexRealloc(void** block, uint32_t elementSize, int32_t curSize, int32_t minNewSize,
                   uint32_t maxNewSize);

// Frees a block from wexMalloc or wexRealloc (null is fine).
void wexFree(void* block);

// The capacity an array of `current` elements grows to when it needs `needed`: `current`
// if that is enough, else max(current, 1) doubled while below `needed` and below 2^30,
// and `needed` itself where doubling stops short.
int32_t wexGrowCapacity(int32_t current, int32_t needed);

// When on, wexMalloc and wexRealloc print one line per call to standard output, the
// function's name, then the arguments and the size in bytes separated by " : ". Off at
// start; nothing in the system switches it on.
void wexSetTrace(bool on);

// The one place a failed check goes: the callback if one is set (its answer is returned),
// else the host's IQorAssertHandlerCB (its answer is returned), else the process ends with
// exit code 255. Code after an assertion goes on if this returns, and takes a safe way out.
using WexAssertCallback = int (*)(void* context, const char* expression, const char* file,
                                  int32_t line);
int wexAssertFailed(const char* expression, const char* file, int32_t line);
// Replaces the callback and its context (null to remove).
void wexSetAssertCallback(WexAssertCallback callback, void* context);

// Checks an invariant; a failure takes the assertion road and the statement after it runs.
// Evaluates to whether the check held.
#define QOR_ASSERT(expr) \
  ((expr) ? true : (wexAssertFailed(#expr, __FILE__, static_cast<int32_t>(__LINE__)), false))

namespace qor {
// Raw allocation that every wex call goes through; a test may replace these to make
// allocation fail or to count frees. Null restores the C library's function. Blocks must
// stay compatible with the C library's free: a replacement allocates through malloc or
// refuses.
using RawMalloc = void* (*)(std::size_t);
using RawRealloc = void* (*)(void*, std::size_t);
using RawFree = void (*)(void*);
void setRawAllocators(RawMalloc mallocFn, RawRealloc reallocFn, RawFree freeFn = nullptr);
}  // namespace qor
