#include "persistence/memstream.h"

#include <climits>
#include <cstring>

#include "base/wexrealloc.h"

// ---- BinOutputMemory ----

BinOutputMemory::BinOutputMemory(void* block, uint64_t capacity)
    : data_(static_cast<uint8_t*>(block)),
      capacity_(block ? capacity : 0),
      limit_(capacity_),
      borrowed_(true) {}

BinOutputMemory::~BinOutputMemory() {
  if (!borrowed_) wexFree(data_);
}

bool BinOutputMemory::flush() {
  return emptyBuffer() && good();
}

bool BinOutputMemory::reserveBlock(uint64_t bytes) {
  if (bytes <= capacity_) return true;
  if (borrowed_) return false;
  if (bytes > static_cast<uint64_t>(INT32_MAX)) return false;
  int32_t want = wexGrowCapacity(static_cast<int32_t>(capacity_), static_cast<int32_t>(bytes));
  void* block = data_;
  wexRealloc(&block, 1, static_cast<int32_t>(size_), want, static_cast<uint32_t>(want));
  data_ = static_cast<uint8_t*>(block);
  capacity_ = static_cast<uint64_t>(want);
  return true;
}

uint64_t BinOutputMemory::writeRaw(const void* buffer, uint64_t count) {
  if (closed_ || count == 0) return 0;
  uint64_t at = static_cast<uint64_t>(position_);
  if (at >= limit_) {
    failed_ = true;
    return 0;
  }
  if (count > limit_ - at) {
    count = limit_ - at;
    failed_ = true;
  }
  if (!reserveBlock(at + count)) {
    failed_ = true;
    return 0;
  }
  if (at > size_) std::memset(data_ + size_, 0, at - size_);
  std::memcpy(data_ + at, buffer, count);
  position_ += static_cast<int64_t>(count);
  if (static_cast<uint64_t>(position_) > size_) size_ = static_cast<uint64_t>(position_);
  return count;
}

uint64_t BinOutputMemory::readRaw(void* buffer, uint64_t count) {
  uint64_t at = static_cast<uint64_t>(position_);
  if (closed_ || at >= size_) return 0;
  if (count > size_ - at) count = size_ - at;
  std::memcpy(buffer, data_ + at, count);
  position_ += static_cast<int64_t>(count);
  return count;
}

bool BinOutputMemory::seek(int64_t position, bool fromStart) {
  if (closed_) return false;
  int64_t to = position;
  if (!fromStart && __builtin_add_overflow(static_cast<int64_t>(size_), position, &to))
    return false;
  if (to < 0) return false;
  position_ = to;
  return true;
}

bool BinOutputMemory::close() {
  if (closed_) return false;
  closed_ = true;
  return true;
}

// ---- BinInputMemory ----

BinInputMemory::BinInputMemory(const void* data, uint64_t bytes, bool copy)
    : data_(static_cast<const uint8_t*>(data)) {
  size_ = static_cast<int64_t>(bytes);
  if (copy && bytes) {
    owned_ = new uint8_t[bytes];
    std::memcpy(owned_, data, bytes);
    data_ = owned_;
  }
}

BinInputMemory::~BinInputMemory() {
  delete[] owned_;
}

uint64_t BinInputMemory::readRaw(void* buffer, uint64_t count) {
  uint64_t at = static_cast<uint64_t>(position_);
  uint64_t size = static_cast<uint64_t>(size_);
  if (closed_ || at >= size) return 0;
  if (count > size - at) count = size - at;
  std::memcpy(buffer, data_ + at, count);
  position_ += static_cast<int64_t>(count);
  return count;
}

bool BinInputMemory::seek(int64_t position, bool fromStart) {
  if (closed_) return false;
  int64_t to = position;
  if (!fromStart && __builtin_add_overflow(size_, position, &to)) return false;
  if (to < 0) return false;
  position_ = to;
  return true;
}

bool BinInputMemory::close() {
  if (closed_) return false;
  closed_ = true;
  return true;
}
