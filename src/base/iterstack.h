// One-based stacks, the common array type of the system. Slot 0 exists and stays unused,
// so a stack of count n holds its elements at 1..n and its capacity counts slot 0: a stack
// made for n elements has capacity n + 1. An index of 0 can thus mean "no element" in
// stored indices. Stacks have no lock; one thread uses a stack at a time.
//
//   IterStack<T>       one contiguous array
//   IterBlockStack<T>  equal blocks (16 KiB by default), so that growth never moves data
//
// Growth follows wexGrowCapacity. Negative indices, a pop from an empty stack and negative
// counts are not checked: callers test count() first.
#pragma once
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "base/wexrealloc.h"

namespace qor {
// Whether a stack of T keeps its elements in a raw block (wexMalloc, wexRealloc, zero bytes
// as the zero value) rather than in a new[] array of constructed objects.
template <class T>
inline constexpr bool kPlainElement =
    std::is_trivially_copyable_v<T>&& std::is_trivially_destructible_v<T>;
}  // namespace qor

// A one-based stack in one contiguous array: a wexMalloc block for plain element types, a
// new[] array for a class with a constructor (such a stack grows by making a new array and
// assigning the old elements over).
template <class T>
class IterStack {
 public:
  // Room for n elements: capacity n + 1, every slot zero, count 0.
  explicit IterStack(int32_t n = 0) { allocate(n + 1); }

  // A copy whose capacity is the larger of 10 and count + 1, but never more than the
  // source's capacity; that many slots are copied.
  IterStack(const IterStack& other) {
    int32_t cap = other.count_ + 1 > 10 ? other.count_ + 1 : 10;
    if (cap > other.capacity_) cap = other.capacity_;
    allocate(cap);
    copySlots(other, cap);
    count_ = other.count_;
  }
  IterStack(IterStack&& other) noexcept
      : capacity_(other.capacity_), items_(other.items_), count_(other.count_) {
    other.capacity_ = 0;
    other.items_ = nullptr;
    other.count_ = 0;
  }
  IterStack& operator=(const IterStack& other) {
    if (this != &other) {
      IterStack copy(other);
      swap(copy);
    }
    return *this;
  }
  IterStack& operator=(IterStack&& other) noexcept {
    if (this != &other) {
      release();
      capacity_ = other.capacity_, items_ = other.items_, count_ = other.count_;
      other.capacity_ = 0, other.items_ = nullptr, other.count_ = 0;
    }
    return *this;
  }
  ~IterStack() { release(); }

  // Slot i for writing; an index at or past the capacity grows the stack first, to
  // wexGrowCapacity(capacity, i + 1).
  T& at(int32_t i) {
    if (i >= capacity_) [[unlikely]]
      grow(wexGrowCapacity(capacity_, i + 1));
    return items_[i];
  }
  // Slot i for reading; past the capacity the zero value, and the stack stays as it is.
  const T& get(int32_t i) const {
    if (i >= capacity_) [[unlikely]]
      return zero();
    return items_[i];
  }

  // count + 1, then the value goes to slot count.
  void push(const T& value) {
    if (count_ + 1 >= capacity_) [[unlikely]] {
      T copy(value);  // the value may live in this stack
      at(++count_) = std::move(copy);
      return;
    }
    items_[++count_] = value;
  }
  // The value at count, and count - 1.
  T pop() { return std::move(items_[count_--]); }
  // The value at count, for reading.
  const T& top() const { return items_[count_]; }

  // Moves the elements i + 1 .. count one place down when i is below count; count - 1 in
  // every case.
  void removeAt(int32_t i) {
    if (i < count_) {
      if constexpr (qor::kPlainElement<T>)
        std::memmove(static_cast<void*>(items_ + i), items_ + i + 1,
                     sizeof(T) * static_cast<size_t>(count_ - i));
      else
        for (int32_t k = i; k < count_; ++k) items_[k] = std::move(items_[k + 1]);
    }
    --count_;
  }

  int32_t count() const { return count_; }
  bool isEmpty() const { return count_ <= 0; }
  int32_t capacity() const { return capacity_; }
  // Sets the count, growing the capacity to n + 1 when needed; slots keep their contents.
  void setCount(int32_t n) {
    if (n >= capacity_) grow(n + 1);
    count_ = n;
  }
  // Count 0; the storage stays.
  void clear() { count_ = 0; }
  // Capacity at least n + 1.
  void reserve(int32_t n) {
    if (n + 1 > capacity_) grow(n + 1);
  }

  // The slots, slot 0 first.
  T* items() { return items_; }
  const T* items() const { return items_; }

  void swap(IterStack& o) noexcept {
    std::swap(capacity_, o.capacity_);
    std::swap(items_, o.items_);
    std::swap(count_, o.count_);
  }

 protected:
  static const T& zero() {
    static const T z{};
    return z;
  }

  void allocate(int32_t cap) {
    if (cap < 1) cap = 1;
    if constexpr (qor::kPlainElement<T>) {
      void* p = nullptr;
      wexMalloc(&p, static_cast<int32_t>(sizeof(T)), cap);
      if (p) std::memset(p, 0, sizeof(T) * static_cast<size_t>(cap));
      items_ = static_cast<T*>(p);
    } else {
      items_ = new T[static_cast<size_t>(cap)]();
    }
    capacity_ = items_ ? cap : 0;
  }

  void copySlots(const IterStack& other, int32_t n) {
    if (!items_ || !other.items_) return;
    if constexpr (qor::kPlainElement<T>)
      std::memcpy(static_cast<void*>(items_), other.items_, sizeof(T) * static_cast<size_t>(n));
    else
      for (int32_t k = 0; k < n; ++k) items_[k] = other.items_[k];
  }

  [[gnu::noinline]] void grow(int32_t newCapacity) {
    if (newCapacity <= capacity_) return;
    if constexpr (qor::kPlainElement<T>) {
      void* p = items_;
      int32_t got =
          wexRealloc(&p, static_cast<uint32_t>(sizeof(T)), capacity_, newCapacity, 0xFFFFFFFFu);
      items_ = static_cast<T*>(p);
      capacity_ = got;
    } else {
      T* fresh = new T[static_cast<size_t>(newCapacity)]();
      for (int32_t k = 0; k < capacity_; ++k) fresh[k] = std::move(items_[k]);
      delete[] items_;
      items_ = fresh;
      capacity_ = newCapacity;
    }
  }

  void release() {
    if constexpr (qor::kPlainElement<T>)
      wexFree(items_);
    else
      delete[] items_;
    items_ = nullptr;
    capacity_ = 0;
    count_ = 0;
  }

  int32_t capacity_ = 0;
  T* items_ = nullptr;
  int32_t count_ = 0;
};

// The smallest k for which elementSize << k is at least 16384: the default block shift of a
// block stack, so that a block holds 16 KiB. 0 for elements of 16384 bytes or more.
inline int32_t blockShift(int32_t elementSize) {
  int32_t k = 0;
  if (elementSize < 1) elementSize = 1;
  while ((static_cast<int64_t>(elementSize) << k) < 16384) ++k;
  return k;
}

// Resizes the block table of a block stack of `elementSize`-byte elements in blocks of
// 2^shift elements. With `exact` 0 it only grows: a request at or below *capacity does
// nothing, and the capacity becomes the smaller of wexGrowCapacity(*capacity, newCapacity)
// and the end of the block that holds index newCapacity. With `exact` set the capacity
// becomes newCapacity: a shrink frees whole blocks and halves the table when the block
// count falls below half the table. The last block holds only the slots the capacity
// needs, and is reallocated to that size when the capacity ends inside it. New blocks are
// zeroed when `zeroFill`; a grown last block always is.
void blockResize(void*** table, int32_t elementSize, int32_t shift, int32_t* capacity,
                 int32_t newCapacity, int exact, int32_t* blockCount, bool zeroFill);

// A one-based stack whose elements lie in equal blocks, so that stacks of millions of
// elements grow without moving data and without one huge allocation. Element i lies in
// block i >> shift, slot i & mask. Reading past the capacity answers the zero value and
// never grows the stack. For plain element types.
template <class T>
class IterBlockStack {
  static_assert(qor::kPlainElement<T>, "block stacks hold plain values");

 public:
  // Room for n elements (capacity n + 1, every slot zero) in blocks of 2^shift elements;
  // a negative shift takes blockShift(sizeof(T)).
  explicit IterBlockStack(int32_t n = 0, int32_t shift = -1)
      : shift_(shift < 0 ? blockShift(static_cast<int32_t>(sizeof(T))) : shift),
        mask_((uint32_t{1} << shift_) - 1) {
    resize(n + 1);
  }
  IterBlockStack(const IterBlockStack&) = delete;
  IterBlockStack& operator=(const IterBlockStack&) = delete;
  ~IterBlockStack() {
    resize(0);
    wexFree(blocks_);
  }

  // Slot i for writing; at or past the capacity the stack grows first.
  T& at(int32_t i) {
    if (i >= capacity_) [[unlikely]]
      growTo(i + 1);
    return blocks_[i >> shift_][static_cast<uint32_t>(i) & mask_];
  }
  // Slot i for reading; past the capacity the zero value.
  const T& get(int32_t i) const {
    if (i >= capacity_) [[unlikely]]
      return zero();
    return blocks_[i >> shift_][static_cast<uint32_t>(i) & mask_];
  }

  void push(T value) { at(++count_) = value; }
  T pop() {
    T v = get(count_);
    --count_;
    return v;
  }
  // Moves the elements i + 1 .. count one place down when i is below count; count - 1 in
  // every case.
  void removeAt(int32_t i) {
    for (int32_t k = i; k < count_; ++k) at(k) = get(k + 1);
    --count_;
  }

  int32_t count() const { return count_; }
  bool isEmpty() const { return count_ <= 0; }
  int32_t capacity() const { return capacity_; }
  int32_t shift() const { return shift_; }
  uint32_t mask() const { return mask_; }
  // Capacity of the block table.
  int32_t blockCount() const { return blockCount_; }
  // Blocks in use.
  int32_t blocksInUse() const { return capacity_ > 0 ? ((capacity_ - 1) >> shift_) + 1 : 0; }
  void setCount(int32_t n) {
    if (n >= capacity_) growTo(n + 1);
    count_ = n;
  }
  void clear() { count_ = 0; }
  // Capacity at least n + 1.
  void reserve(int32_t n) { growTo(n + 1); }
  // Capacity exactly `slots` (slot 0 included); shrinking frees whole blocks.
  void resize(int32_t slots) {
    blockResize(reinterpret_cast<void***>(&blocks_), static_cast<int32_t>(sizeof(T)), shift_,
                &capacity_, slots, 1, &blockCount_, true);
    if (count_ >= capacity_) count_ = capacity_ > 0 ? capacity_ - 1 : 0;
  }

 private:
  static const T& zero() {
    static const T z{};
    return z;
  }
  [[gnu::noinline]] void growTo(int32_t slots) {
    blockResize(reinterpret_cast<void***>(&blocks_), static_cast<int32_t>(sizeof(T)), shift_,
                &capacity_, slots, 0, &blockCount_, true);
  }

  int32_t capacity_ = 0;
  int32_t shift_;
  uint32_t mask_;
  int32_t blockCount_ = 0;
  T** blocks_ = nullptr;
  int32_t count_ = 0;
};
