// The paged one-based stack, and the stream forms of the int stacks.
//
// IterLargeStack<T> is a paged array (bulk/pagedarray.h) with a count behind it: it keeps
// the one-based rule of the other stacks (slot 0 unused, elements at 1..count, the capacity
// counting slot 0), and it inherits paging and sparse pages, so an element on a missing
// page reads as zero and pages come from the host's memory manager.
//
// Stream form of an int stack, the same for IterStack, IterBlockStack and IterLargeStack:
// the count as one 32-bit value, then the elements 1 to count, each a 32-bit value, all
// big-endian. A stack of three elements takes 16 bytes.
#pragma once
#include <cstdint>

#include "base/iterstack.h"
#include "bulk/pagedarray.h"

class BinOutput;
class BinInput;

// A one-based stack on pages from the memory manager. Reading past the capacity answers
// the zero value and does not grow the stack; writing grows it by growCapacity and resize.
// Negative indices, a pop from an empty stack and negative counts are not checked.
template <class T>
class IterLargeStack : public QorMM::Array<T, QorMM::Splitter<T>> {
  using Base = QorMM::Array<T, QorMM::Splitter<T>>;

 public:
  // Room for n elements: capacity n + 1, no page yet, count 0.
  explicit IterLargeStack(int32_t n = 0) : Base(n + 1) {}

  // Slot i for writing. At or past the capacity the stack first grows to the capacity
  // growCapacity gives for i; the page of i is made when absent.
  T& at(int32_t i) {
    if (i >= this->size_) [[unlikely]]
      growFor(i);
    return this->ref(i);
  }
  // Stores a value at slot i, growing as at does; zero into an absent page makes none.
  void put(int32_t i, const T& value) {
    if (i >= this->size_) [[unlikely]]
      growFor(i);
    this->set(i, value);
  }

  // count + 1, then the value goes to slot count.
  void push(const T& value) { put(++count_, value); }
  // The value at count, and count - 1.
  T pop() { return this->get(count_--); }
  // The value at count.
  const T& top() const { return this->get(count_); }
  // Moves the elements i + 1 .. count one place down when i is below count; count - 1 in
  // every case.
  void removeAt(int32_t i) {
    for (int32_t k = i; k < count_; ++k) this->set(k, this->get(k + 1));
    --count_;
  }

  int32_t count() const { return count_; }
  bool isEmpty() const { return count_ <= 0; }
  // Slots, slot 0 included.
  int32_t capacity() const { return this->size_; }
  // Sets the count, growing the capacity to hold slot n; slots keep their contents.
  void setCount(int32_t n) {
    if (n >= this->size_) growFor(n);
    count_ = n;
  }
  // Count 0; the pages stay.
  void clear() { count_ = 0; }
  // Capacity at least n + 1.
  void reserve(int32_t n) {
    if (n + 1 > this->size_) this->resize(n + 1, true);
  }

 private:
  [[gnu::noinline]] void growFor(int32_t i) {
    int32_t cap = this->size_;
    QorMM::growCapacity(i, &cap, static_cast<uint32_t>(sizeof(T)));
    this->resize(cap, true);
  }

  int32_t count_ = 0;
};

// Writes the stream form of a stack: its count, then elements 1 to count. True when the
// stream took all of it.
bool writeStack(BinOutput& out, const IterStack<int>& stack);
bool writeStack(BinOutput& out, const IterBlockStack<int>& stack);
bool writeStack(BinOutput& out, const IterLargeStack<int>& stack);

// Reads the stream form into a stack. An IterStack gets a new array of exactly count + 1
// slots; an IterBlockStack is resized to count + 2 slots first; an IterLargeStack is
// resized to hold count + 1 slots, and zero elements make no page. False, with the stack
// as it was, when the count is negative or more than the stream has left; false when the
// elements run short, with the count set and the elements read so far in place.
bool readStack(BinInput& in, IterStack<int>& stack);
bool readStack(BinInput& in, IterBlockStack<int>& stack);
bool readStack(BinInput& in, IterLargeStack<int>& stack);

// Maps the elements of a stack through an array: each element e (1 to count) with e below
// the array's capacity and a non-zero entry at e becomes that entry; the others stay.
void remapThrough(IterStack<int>& stack, const QorMM::Array<int>& array);
