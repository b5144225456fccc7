#include "bulk/pagedarray.h"

#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "base/qorpath.h"
#include "base/qorstring.h"
#include "core/locator.h"
#include "hostapi/idatastore.h"
#include "hostapi/iqormmanager.h"
#include "platform/sync.h"

namespace QorMM {

IQorMManager* memoryManager() {
  static std::atomic<IQorMManager*> cached{nullptr};
  static std::atomic<bool> looked{false};
  static Platform::Mutex lock;
  if (looked.load(std::memory_order_acquire)) return cached.load(std::memory_order_acquire);
  Platform::ScopedLock<Platform::Mutex> g(lock);
  if (!looked.load(std::memory_order_relaxed)) {
    void* out = nullptr;
    ::getService("IQorMManager", &out);
    auto* m = static_cast<IQorMManager*>(out);
    if (m) m->addRef();  // kept for the process
    cached.store(m, std::memory_order_release);
    looked.store(true, std::memory_order_release);
  }
  return cached.load(std::memory_order_acquire);
}

ArrayBase::ArrayBase(int32_t size, uint32_t elementSize, int32_t pageElements, uint32_t pageBytes)
    : manager_(memoryManager()),
      size_(size < 0 ? 0 : size),
      elementSize_(elementSize),
      pageElements_(pageElements),
      pageBytes_(pageBytes) {
  int32_t n = pagesFor(size_);
  int32_t room = n < 1 ? 1 : n;
  void* block = nullptr;
  wexMalloc(&block, static_cast<int32_t>(sizeof(void*)), room);
  pages_.entries = static_cast<void**>(block);
  for (int32_t i = 0; i < room; ++i) pages_.entries[i] = nullptr;
  pages_.capacity = room;
  pages_.count = n;
}

ArrayBase::~ArrayBase() {
  for (int32_t p = pages_.count - 1; p >= 0; --p) freePage(pages_.entries[p]);
  wexFree(pages_.entries);
}

void* ArrayBase::newPage(bool zeroFill) {
  return manager_->allocatePage(static_cast<int32_t>(pageBytes_), zeroFill);
}

void ArrayBase::freePage(void* page) {
  if (page) manager_->freePage(page);
}

void ArrayBase::dropPage(int32_t p) {
  freePage(pages_.entries[p]);
  pages_.entries[p] = nullptr;
}

void ArrayBase::growTable(int32_t n) {
  if (n < 0) n = 0;
  // Entries dropped from the end would otherwise be lost with their pages.
  for (int32_t p = n; p < pages_.count; ++p) dropPage(p);
  if (n <= pages_.capacity) {
    pages_.count = n;
    return;
  }
  int32_t cap = pages_.capacity;
  while (cap < n) cap = cap < 3 ? cap + 1 : cap + static_cast<int32_t>(cap * 0.4);
  void* block = pages_.entries;
  wexRealloc(&block, static_cast<uint32_t>(sizeof(void*)), pages_.capacity, cap, 0xFFFFFFFFu);
  pages_.entries = static_cast<void**>(block);
  for (int32_t i = pages_.capacity; i < cap; ++i) pages_.entries[i] = nullptr;
  pages_.capacity = cap;
  pages_.count = n;
}

void* ArrayBase::makePage(int32_t p) {
  if (p >= pages_.count) growTable(p + 1);
  void*& e = pages_.entries[p];
  if (!e) e = newPage(true);
  return e;
}

void ArrayBase::resize(int32_t newSize, bool clearTail) {
  if (newSize < 0) newSize = 0;
  const int32_t newPages = pagesFor(newSize);
  if (size_ == 0) {
    growTable(newPages);
    size_ = newPages * pageElements_;
    return;
  }
  const int32_t oldSize = size_;
  const int32_t oldPages = pagesFor(oldSize);
  for (int32_t p = newPages; p < oldPages && p < pages_.count; ++p) dropPage(p);
  growTable(newPages);
  size_ = newPages * pageElements_;
  if (clearTail && oldPages >= 1 && newSize > oldSize && oldSize % pageElements_ != 0) {
    if (void* last = page(oldPages - 1)) {
      const int32_t start = (oldPages - 1) * pageElements_;
      const int32_t from = oldSize - start;
      const int32_t to = newSize - start < pageElements_ ? newSize - start : pageElements_;
      std::memset(static_cast<char*>(last) + size_t(from) * elementSize_, 0,
                  size_t(to - from) * elementSize_);
    }
  }
  // Pages that a set past the old capacity made are not taken in: the new room is empty.
  for (int32_t p = oldPages; p < newPages; ++p) dropPage(p);
}

void ArrayBase::copyFrom(const ArrayBase& other, int32_t size) {
  resize(size);
  const int32_t n = pagesFor(size);
  const size_t bytes = size_t(pageElements_) * elementSize_;
  for (int32_t p = 0; p < n; ++p) {
    if (const void* src = other.page(p))
      std::memcpy(pageForWrite(p), src, bytes);
    else if (p < pages_.count)
      dropPage(p);
  }
}

bool ArrayBase::allPresent() const {
  for (int32_t p = 0; p < pages_.count; ++p)
    if (!pages_.entries[p]) return false;
  return true;
}

int32_t ArrayBase::pagesPresent() const {
  int32_t n = 0;
  for (int32_t p = 0; p < pages_.count; ++p) n += pages_.entries[p] != nullptr;
  return n;
}

void ArrayBase::materialise(bool zeroFill) {
  for (int32_t p = 0; p < pages_.count; ++p)
    if (!pages_.entries[p]) pages_.entries[p] = newPage(zeroFill);
}

void ArrayBase::clear(int32_t from, int32_t to) {
  int64_t remaining = int64_t{to} - from;
  for (int32_t p = from / pageElements_; remaining > 0 && p < pages_.count; ++p) {
    const int64_t n = remaining < pageElements_ ? remaining : pageElements_;
    if (void* pg = pages_.entries[p]) std::memset(pg, 0, size_t(n) * elementSize_);
    remaining -= n;
  }
}

void ArrayBase::swapPages(ArrayBase& other) {
  std::swap(pages_, other.pages_);
}

void growCapacity(int32_t index, int32_t* capacity, uint32_t elementSize) {
  if (elementSize == 0) elementSize = 1;
  uint64_t value = uint64_t(*capacity < 1 ? 1 : *capacity) * elementSize;
  const uint64_t need = uint64_t(index < 0 ? 0 : index) * elementSize;
  while (need >= value) {
    if (value < 0x400000u)
      value += value;
    else if (value < 0x2000000u)
      value += value / 2;
    else if (value < 0x10000000u)
      value += value / 4;
    else
      value += value / 8;
  }
  const uint64_t result = value / elementSize;
  *capacity = result > 0x7FFFFFFFu ? 0x7FFFFFFF : static_cast<int32_t>(result);
}

}  // namespace QorMM

bool wexTempFileName(QorString* name) {
  if (!name) return true;
  void* out = nullptr;
  ::getService("IDataStore", &out);
  if (auto* store = static_cast<IDataStore*>(out))
    *name = store->getString("Directories/Temp Directory", 0);
  else
    *name = QorString();
  if (name->isEmpty()) *name = wexDirectory("temp");
  if (name->isEmpty()) {
    // Where the host has no directory service, the system's temporary directory stands in
    // for its "temp" directory.
    const char* tmp = std::getenv("TMPDIR");
    name->assign(tmp && *tmp ? tmp : "/tmp");
  }
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  const uint64_t ns = uint64_t(ts.tv_sec) * 1000000000u + uint64_t(ts.tv_nsec);
  char tail[64];
  std::snprintf(tail, sizeof tail, "/qor-%08x-%08x-temp", static_cast<unsigned>(getpid()),
                static_cast<unsigned>(ns & 0xFFFFFFFFu));
  name->append(tail);
  return true;
}
