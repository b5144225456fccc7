#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/listing.h"
#include "datamodel/arrays.h"

namespace {

using Plain = IterStack<int32_t>;

// Stores a value in slot i of any of the counted stores.
template <class S>
inline void put(S& s, int32_t i, int32_t v) {
  s.at(i) = v;
}
inline void put(IterLargeStack<int32_t>& s, int32_t i, int32_t v) {
  s.put(i, v);
}

// Moves the entries that `keep` accepts to the front, in order, and sets the count to
// their number.
template <class S, class Keep>
void compact(S& s, Keep keep) {
  const int32_t n = s.count();
  int32_t w = 1;
  if constexpr (std::is_same_v<S, Plain>) {
    int32_t* a = s.items();
    for (int32_t r = 1; r <= n; ++r) {
      const int32_t v = a[r];
      a[w] = v;
      w += keep(v) ? 1 : 0;
    }
  } else {
    for (int32_t r = 1; r <= n; ++r) {
      const int32_t v = s.get(r);
      if (!keep(v)) continue;
      if (w != r) put(s, w, v);
      ++w;
    }
  }
  s.setCount(w - 1);
}

// A set of the mapped bits of int values: a dense bit array when the bits span little
// (for the other array's values, or the array's own, up to 32 bits a value or 8 Mbit),
// else an open-addressing hash table, so that values spread over the whole int range cost
// memory in proportion to their number.
class ValueBits {
 public:
  // For `count` values whose largest bit is maxBit.
  ValueBits(uint32_t maxBit, int64_t count) {
    const uint64_t span = uint64_t{maxBit} + 1;
    if (span <= std::max<uint64_t>(uint64_t{1} << 23, uint64_t(count) * 32)) {
      dense_ = true;
      words_.assign(static_cast<size_t>((span + 63) >> 6), 0);
    } else {
      int bits = 6;
      while ((int64_t{1} << bits) < count * 2) ++bits;
      shift_ = 32 - bits;
      mask_ = (size_t{1} << bits) - 1;
      slots_.assign(mask_ + 1, kEmpty);
      // A filter of eight bits a slot, one bit a value: most values that are absent are
      // told so by one read of a table small enough for the nearest cache.
      filterShift_ = shift_ - 3;
      words_.assign((mask_ + 1) / 8, 0);
    }
  }

  bool test(uint32_t b) const {
    if (dense_) return (words_[b >> 6] >> (b & 63)) & 1;
    const uint32_t f = filterBit(b);
    if (!((words_[f >> 6] >> (f & 63)) & 1)) return false;
    if (b == kEmpty) return hasEmptyKey_;
    for (size_t i = home(b);; i = (i + 1) & mask_) {
      if (slots_[i] == b) return true;
      if (slots_[i] == kEmpty) return false;
    }
  }

  // Sets the bit; true when it was clear.
  bool add(uint32_t b) {
    if (dense_) {
      uint64_t& w = words_[b >> 6];
      const uint64_t m = uint64_t{1} << (b & 63);
      const bool was = w & m;
      w |= m;
      return !was;
    }
    const uint32_t f = filterBit(b);
    words_[f >> 6] |= uint64_t{1} << (f & 63);
    if (b == kEmpty) return !std::exchange(hasEmptyKey_, true);
    for (size_t i = home(b);; i = (i + 1) & mask_) {
      if (slots_[i] == b) return false;
      if (slots_[i] == kEmpty) {
        slots_[i] = b;
        return true;
      }
    }
  }

 private:
  static constexpr uint32_t kEmpty = 0xFFFFFFFFu;
  size_t home(uint32_t b) const { return (b * 0x9E3779B1u) >> shift_; }
  uint32_t filterBit(uint32_t b) const { return (b * 0x85EBCA77u) >> filterShift_; }

  bool dense_ = false;
  std::vector<uint64_t> words_;  // the bits when dense, else the filter
  std::vector<uint32_t> slots_;
  int shift_ = 0;
  int filterShift_ = 0;
  size_t mask_ = 0;
  bool hasEmptyKey_ = false;
};

template <class S>
uint32_t maxBitOf(const S& s) {
  uint32_t m = 0;
  const int32_t n = s.count();
  if constexpr (std::is_same_v<S, Plain>) {
    const int32_t* a = s.items();
    for (int32_t k = 1; k <= n; ++k) m = std::max(m, intArrayBit(a[k]));
  } else {
    for (int32_t k = 1; k <= n; ++k) m = std::max(m, intArrayBit(s.get(k)));
  }
  return m;
}

// Below this many values in the other array a removal searches it linearly.
constexpr size_t kBitsFrom = 24;

}  // namespace

template <class F>
decltype(auto) IntArray::visit(F&& f) {
  if (stack_) return f(*stack_);
  if (block_) return f(*block_);
  return f(*large_);
}

IntArray::IntArray() : stack_(new Plain(20)) {}
// A null store leaves the array on a plain stack of its own.
IntArray::IntArray(IterStack<int32_t>* stack) : stack_(stack ? stack : new Plain(20)) {}
IntArray::IntArray(IterBlockStack<int32_t>* blockStack) : block_(blockStack) {
  if (!block_) stack_ = new Plain(20);
}
IntArray::IntArray(IterLargeStack<int32_t>* largeStack) : large_(largeStack) {
  if (!large_) stack_ = new Plain(20);
}
IntArray::IntArray(PagedStore* pagedArray) : paged_(pagedArray) {
  if (paged_)
    readOnly_ = true;
  else
    stack_ = new Plain(20);
}

IntArray::IntArray(const IntArray& other) : IQorUnknown(), Collection(other), IQorIntArray() {
  auto capacityFor = [](int32_t count, int32_t oldCapacity) {
    return std::min(count >= 10 ? count + 1 : 10, oldCapacity);
  };
  if (other.stack_) {
    stack_ = new Plain(*other.stack_);
  } else if (other.block_) {
    const IterBlockStack<int32_t>& o = *other.block_;
    block_ = new IterBlockStack<int32_t>(capacityFor(o.count(), o.capacity()) - 1, o.shift());
    for (int32_t k = 1; k <= o.count(); ++k) block_->at(k) = o.get(k);
    block_->setCount(o.count());
  } else if (other.large_) {
    const IterLargeStack<int32_t>& o = *other.large_;
    large_ = new IterLargeStack<int32_t>(capacityFor(o.count(), o.capacity()) - 1);
    for (int32_t k = 1; k <= o.count(); ++k) large_->put(k, o.get(k));
    large_->setCount(o.count());
  } else if (other.paged_) {
    paged_ = new PagedStore(other.paged_->size());
    paged_->copyFrom(*other.paged_, other.paged_->size());
  }
}

IntArray::~IntArray() {
  delete stack_;
  delete block_;
  delete large_;
  delete paged_;
}

void IntArray::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("IntArray", out);
    walkAddInterface("IQorIntArray", out);
    Primitive::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "IntArray"))
    *out = this;
  else if (qorNameIs(name, "IQorIntArray"))
    *out = static_cast<IQorIntArray*>(this);
  else
    Primitive::queryInterface(name, out, reserved);
}

int32_t IntArray::size() {
  if (paged_) return 0;
  return visit([](auto& s) { return s.count(); });
}

int32_t IntArray::current() {
  if (paged_) return paged_->get(cursor_);
  return visit([this](auto& s) -> int32_t { return s.get(cursor_); });
}

int32_t IntArray::at(int32_t index) {
  const int32_t slot = ZeroToOneIndexConverter::toOneBased(index);
  checkIndex(slot, 1, size());
  return visit([slot](auto& s) -> int32_t { return s.get(slot); });
}

void IntArray::set(int32_t index, int32_t value) {
  const int32_t slot = ZeroToOneIndexConverter::toOneBased(index);
  checkReadOnly();
  checkIndex(slot, 1, size());
  visit([&](auto& s) { put(s, slot, value); });
}

void IntArray::append(int32_t value) {
  checkReadOnly();
  checkFixedSize();
  visit([value](auto& s) { s.push(value); });
}

int32_t IntArray::pop() {
  checkReadOnly();
  checkFixedSize();
  checkIndex(1, 1, size());
  return visit([](auto& s) -> int32_t { return s.pop(); });
}

void IntArray::insertAt(int32_t index, int32_t value) {
  const int32_t slot = ZeroToOneIndexConverter::toOneBased(index);
  checkReadOnly();
  checkFixedSize();
  const int32_t n = size();
  checkIndex(slot, 1, n + 1);
  visit([&](auto& s) {
    if (slot == n + 1) {
      s.push(value);
      return;
    }
    s.push(s.get(n));
    if constexpr (std::is_same_v<std::decay_t<decltype(s)>, Plain>) {
      int32_t* a = s.items();
      std::memmove(a + slot + 1, a + slot, sizeof(int32_t) * static_cast<size_t>(n - slot));
    } else {
      for (int32_t k = n; k > slot; --k) put(s, k, s.get(k - 1));
    }
    put(s, slot, value);
  });
}

void IntArray::removeAt(int32_t index) {
  const int32_t slot = ZeroToOneIndexConverter::toOneBased(index);
  checkReadOnly();
  checkFixedSize();
  checkIndex(slot, 1, size());
  visit([slot](auto& s) { s.removeAt(slot); });
}

int32_t IntArray::indexOf(int32_t value) {
  if (paged_) return -1;
  return visit([value](auto& s) -> int32_t {
    for (int32_t k = s.count(); k >= 1; --k)
      if (s.get(k) == value) return ZeroToOneIndexConverter::toZeroBased(k);
    return -1;
  });
}

void IntArray::clear() {
  checkReadOnly();
  checkFixedSize();
  visit([](auto& s) { s.clear(); });
}

IQorIntIter* IntArray::newIterator() {
  if (stack_) return new IntIterBase<Plain>(stack_, "IntIterBase<IterStack<int>>");
  if (block_)
    return new IntIterBase<IterBlockStack<int32_t>>(block_, "IntIterBase<IterBlockStack<int>>");
  if (large_)
    return new IntIterBase<IterLargeStack<int32_t>>(large_, "IntIterBase<IterLargeStack<int>>");
  // The paged store has no count: its iterator is empty.
  return new IntIterBase<Plain>(nullptr, "IntIterBase<IterStack<int>>");
}

void IntArray::appendAll(IntArray* other) {
  if (!other) return;
  if (stack_ && other->stack_) {
    const int32_t m = stack_->count();
    const int32_t n = other->stack_->count();
    if (n == 0) return;
    stack_->at(m + n);  // grows by the stack's rule
    stack_->setCount(m + n);
    std::memcpy(stack_->items() + m + 1, other->stack_->items() + 1,
                sizeof(int32_t) * static_cast<size_t>(n));
    return;
  }
  const int32_t n = other->size();
  for (int32_t i = 0; i < n; ++i) append(other->at(i));
}

void IntArray::removeAll(IntArray* other) {
  if (!other || paged_) return;
  // The values to remove, copied first, since `other` may be this array.
  std::vector<int32_t> drop;
  if (!other->paged_)
    other->visit([&](auto& s) {
      const int32_t m = s.count();
      drop.resize(static_cast<size_t>(m));
      for (int32_t k = 1; k <= m; ++k) drop[static_cast<size_t>(k - 1)] = s.get(k);
    });
  if (drop.empty()) return;
  if (drop.size() < kBitsFrom) {
    visit([&](auto& s) {
      compact(s, [&](int32_t v) { return std::find(drop.begin(), drop.end(), v) == drop.end(); });
    });
    return;
  }
  uint32_t maxBit = 0;
  for (int32_t v : drop) maxBit = std::max(maxBit, intArrayBit(v));
  ValueBits bits(maxBit, static_cast<int64_t>(drop.size()));
  for (int32_t v : drop) bits.add(intArrayBit(v));
  visit([&](auto& s) {
    compact(s, [&](int32_t v) {
      const uint32_t b = intArrayBit(v);
      return b > maxBit || !bits.test(b);
    });
  });
}

void IntArray::removeDuplicates() {
  if (paged_) return;
  visit([](auto& s) {
    if (s.count() < 2) return;
    ValueBits seen(maxBitOf(s), s.count());
    compact(s, [&](int32_t v) { return seen.add(intArrayBit(v)); });
  });
}
