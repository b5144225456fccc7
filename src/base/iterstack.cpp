#include "base/iterstack.h"

namespace {

int32_t blocksFor(int32_t capacity, int32_t shift) {
  return capacity > 0 ? ((capacity - 1) >> shift) + 1 : 0;
}

// Slots of block b in a stack of `capacity` slots.
int32_t blockSlots(int32_t b, int32_t capacity, int32_t shift) {
  int64_t rest = static_cast<int64_t>(capacity) - (static_cast<int64_t>(b) << shift);
  int64_t full = int64_t{1} << shift;
  return static_cast<int32_t>(rest < full ? rest : full);
}

}  // namespace

void blockResize(void*** table, int32_t elementSize, int32_t shift, int32_t* capacity,
                 int32_t newCapacity, int exact, int32_t* blockCount, bool zeroFill) {
  if (newCapacity < 0) newCapacity = 0;
  const int32_t oldCapacity = *capacity;
  if (!exact) {
    if (newCapacity <= oldCapacity) return;
    int64_t blockEnd = (static_cast<int64_t>(newCapacity >> shift) + 1) << shift;
    int64_t grown = wexGrowCapacity(oldCapacity, newCapacity);
    newCapacity = static_cast<int32_t>(grown < blockEnd ? grown : blockEnd);
  }
  if (newCapacity == oldCapacity) return;

  const int32_t oldBlocks = blocksFor(oldCapacity, shift);
  const int32_t newBlocks = blocksFor(newCapacity, shift);
  const uint32_t es = static_cast<uint32_t>(elementSize);

  if (newCapacity > oldCapacity) {
    if (newBlocks > *blockCount) {
      void* t = *table;
      *blockCount = wexRealloc(&t, sizeof(void*), *blockCount,
                               wexGrowCapacity(*blockCount, newBlocks), 0xFFFFFFFFu);
      *table = static_cast<void**>(t);
    }
    void** blocks = *table;
    // A partly used last block grows to its new size; wexRealloc zeroes the new part.
    if (oldBlocks > 0) {
      int32_t b = oldBlocks - 1;
      int32_t had = blockSlots(b, oldCapacity, shift);
      int32_t want = blockSlots(b, newCapacity, shift);
      if (want > had) wexRealloc(&blocks[b], es, had, want, 0xFFFFFFFFu);
    }
    for (int32_t b = oldBlocks; b < newBlocks; ++b) {
      int32_t n = blockSlots(b, newCapacity, shift);
      wexMalloc(&blocks[b], elementSize, n);
      if (zeroFill && blocks[b])
        std::memset(blocks[b], 0, static_cast<size_t>(n) * static_cast<size_t>(es));
    }
  } else {
    void** blocks = *table;
    for (int32_t b = newBlocks; b < oldBlocks; ++b) {
      wexFree(blocks[b]);
      blocks[b] = nullptr;
    }
    // A last block that the capacity now ends inside shrinks to the exact size.
    if (newBlocks > 0) {
      int32_t b = newBlocks - 1;
      int32_t had = blockSlots(b, oldCapacity, shift);
      int32_t want = blockSlots(b, newCapacity, shift);
      if (want < had) wexRealloc(&blocks[b], es, had, want, 0xFFFFFFFFu);
    }
    if (newBlocks < *blockCount / 2) {
      void* t = *table;
      *blockCount = wexRealloc(&t, sizeof(void*), *blockCount, *blockCount / 2, 0xFFFFFFFFu);
      *table = static_cast<void**>(t);
    }
  }
  *capacity = newCapacity;
}
