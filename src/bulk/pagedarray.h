// Paged arrays: an array kept as a table of fixed-size pages from the host's memory
// manager (the service "IQorMManager"). A page that was never written does not exist, and
// reads from it give the element type's zero; no single allocation ever has to carry the
// whole array. Indices are zero-based.
//
// The manager must be registered before the first array is built: the page operations
// call it without a test. Page classes in use:
//
//   Array<int>                          2048 per 8192-byte page, index >> 11, index & 0x7FF
//   Array<unsigned int>                 the same
//
// One array belongs to one thread at a time. Reads never allocate, so concurrent readers
// of a finished array are safe.
#pragma once
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "base/wexrealloc.h"

class IQorMManager;
class QorString;

namespace QorMM {

// The process's memory manager, looked up once: the pointer is tested first, then fetched
// under a lock. A miss stays a miss.
IQorMManager* memoryManager();

// The untyped part of a paged array: capacity, page geometry and the page table.
class ArrayBase {
 public:
  // Capacity `size` elements of `elementSize` bytes, `pageElements` to a page of
  // `pageBytes` bytes. The table gets ceil(size / pageElements) entries (room for at
  // least 1), all absent. The capacity is kept as given; a resize makes it whole pages.
  ArrayBase(int32_t size, uint32_t elementSize, int32_t pageElements, uint32_t pageBytes);
  // Gives the pages back to the manager from the last to the first, then frees the table.
  virtual ~ArrayBase();
  ArrayBase(const ArrayBase&) = delete;
  ArrayBase& operator=(const ArrayBase&) = delete;

  // Capacity becomes ceil(newSize / pageElements) whole pages. Pages past the new end go
  // back to the manager, and pages added at the end are absent. With clearTail, growth
  // from a capacity that was not whole pages zeroes the rest of the old last page up to
  // the new size, so that nothing written past the old capacity shows.
  void resize(int32_t newSize, bool clearTail = false);
  // Resizes to `size`, then mirrors `other` page by page: a page present there is copied
  // whole into a page here, a page absent there is freed here.
  void copyFrom(const ArrayBase& other, int32_t size);
  // The capacity becomes pageCount() whole pages.
  void roundUp() { size_ = pageCount() * pageElements_; }
  // Whether every page of the table exists.
  bool allPresent() const;
  // Creates every absent page of the table, cleared when `zeroFill`.
  void materialise(bool zeroFill);
  // Zero-fills to - from elements, from the first element of the page that holds `from`.
  // Absent pages count as zero: their elements are subtracted from the number to do.
  void clear(int32_t from, int32_t to);
  // Pages needed for `count` elements: ceil(count / pageElements).
  int32_t pagesFor(int32_t count) const {
    return static_cast<int32_t>((int64_t{count} + pageElements_ - 1) / pageElements_);
  }
  // Pages of the present capacity.
  int32_t pageCount() const { return pagesFor(size_); }
  // Exchanges the page tables, and only them: capacities and geometry stay.
  void swapPages(ArrayBase& other);

  // Capacity in elements.
  int32_t size() const { return size_; }
  uint32_t elementSize() const { return elementSize_; }
  int32_t pageElements() const { return pageElements_; }
  uint32_t pageBytes() const { return pageBytes_; }
  // Entries in use and room of the page table.
  int32_t tableCount() const { return pages_.count; }
  int32_t tableCapacity() const { return pages_.capacity; }
  // Whether page p exists.
  bool pagePresent(int32_t p) const { return page(p) != nullptr; }
  // Pages that exist.
  int32_t pagesPresent() const;
  // Page p, or null when absent or past the table.
  void* page(int32_t p) const {
    return static_cast<uint32_t>(p) < static_cast<uint32_t>(pages_.count) ? pages_.entries[p]
                                                                          : nullptr;
  }

 protected:
  // The page table: entries from wexMalloc, the count in use and a capacity of at least 1.
  // Entries between the count and the capacity are kept null.
  struct PageTable {
    void** entries = nullptr;
    int32_t count = 0;
    int32_t capacity = 1;
  };
  // Sets the table's count to n. Within the capacity that is all; beyond it the capacity
  // grows by one while below 3 and by 0.4 of itself (truncated) from then on, until it
  // reaches n. Entries dropped from the end are given back; new entries are null.
  void growTable(int32_t n);
  void* newPage(bool zeroFill);
  void freePage(void* page);
  // Gives page p back and nulls its entry.
  void dropPage(int32_t p);
  // Page p, made zero-filled when absent; the table grows when p lies past it.
  void* pageForWrite(int32_t p) {
    if (static_cast<uint32_t>(p) < static_cast<uint32_t>(pages_.count)) [[likely]]
      if (void* e = pages_.entries[p]) [[likely]]
        return e;
    return makePage(p);
  }
  void* makePage(int32_t p);

  IQorMManager* manager_;
  int32_t size_;
  uint32_t elementSize_;
  int32_t pageElements_;
  uint32_t pageBytes_;
  PageTable pages_;
};

// The index split of an element type: log2 of the elements per page, the elements per page
// and the bytes asked of the manager for a page.
template <class T>
struct Splitter;
template <>
struct Splitter<int> {
  static constexpr int32_t kShift = 11;
  static constexpr int32_t kPageElements = 2048;
  static constexpr uint32_t kPageBytes = 8192;
};
template <>
struct Splitter<unsigned int> {
  static constexpr int32_t kShift = 11;
  static constexpr int32_t kPageElements = 2048;
  static constexpr uint32_t kPageBytes = 8192;
};

// A typed paged array of plain values. Element i lies on page i >> S::kShift, slot
// i & (S::kPageElements - 1).
template <class T, class S = Splitter<T>>
class Array : public ArrayBase {
  static_assert(std::is_trivially_copyable_v<T>, "paged arrays hold plain values");
  static_assert((int32_t{1} << S::kShift) == S::kPageElements, "a page is a power of two");
  static_assert(S::kPageBytes >= S::kPageElements * sizeof(T), "a page holds its elements");

 public:
  static constexpr int32_t kMask = S::kPageElements - 1;

  // Capacity `size` elements, no page yet.
  explicit Array(int32_t size = 0)
      : ArrayBase(size, static_cast<uint32_t>(sizeof(T)), S::kPageElements, S::kPageBytes) {}

  // The element; the zero element at or past the capacity, past the table or on an
  // absent page. Nothing is created.
  const T& get(int32_t i) const {
    if (static_cast<uint32_t>(i) >= static_cast<uint32_t>(size_)) [[unlikely]]
      return zero();
    const void* p = page(i >> S::kShift);
    if (!p) [[unlikely]]
      return zero();
    return static_cast<const T*>(p)[i & kMask];
  }
  const T& operator[](int32_t i) const { return get(i); }

  // Stores a value. The zero value into an absent page does nothing; otherwise the page
  // is made (zero-filled) when absent, and the table grows when i lies past it. The
  // capacity does not grow: a value stored at or past it reads as zero until a resize
  // takes it in, so grow with growCapacity and resize first.
  void set(int32_t i, const T& value) {
    if (i < 0) [[unlikely]]
      return;
    const int32_t p = i >> S::kShift;
    if (!page(p) && std::memcmp(&value, &zero(), sizeof(T)) == 0) return;
    static_cast<T*>(pageForWrite(p))[i & kMask] = value;
  }

  // The element's address, for writing; its page is made, zero-filled, when absent.
  // i must not be negative.
  T& ref(int32_t i) { return static_cast<T*>(pageForWrite(i >> S::kShift))[i & kMask]; }

  // The one zero element of T, which reads of absent elements hand out.
  static const T& zero() {
    static const T z{};
    return z;
  }
};

// The capacity an array grows to when `index` must fit, worked out in bytes from
// max(*capacity, 1) * elementSize: while index * elementSize is at or above the running
// value, the value grows by itself below 4 MiB, by half below 32 MiB, by a quarter below
// 256 MiB and by an eighth from there on. *capacity becomes the value / elementSize
// (at most INT32_MAX).
void growCapacity(int32_t index, int32_t* capacity, uint32_t elementSize);

}  // namespace QorMM

// A new name for a temporary spill file: the settings store's "Directories/Temp Directory"
// (or, when that is empty, $TMPDIR, else /tmp), followed by "/qor-PPPPPPPP-CCCCCCCC-temp"
// with the process id and the low 32 bits of the monotonic clock in nanoseconds, each as
// eight hex digits. Each call gives a new name; the name tells which process made it.
// Always answers true. Whoever opens the file unlinks it right away.
bool wexTempFileName(QorString* name);
