// Streams on memory: a writing stream that grows a block of bytes, and a reading stream on a
// block of bytes. They behave as the file forms do (positions, seeking past the end, reading
// back), so code and tests can run on them without a file.
#pragma once
#include <cstdint>

#include "persistence/binio.h"

// A writing stream into a growing block. Writing past the end extends the block, with zeros
// in any gap that a seek left. flush empties the buffer into the block.
class BinOutputMemory : public BinOutput {
 public:
  BinOutputMemory() = default;
  // A stream into the caller's block of `capacity` bytes, which must outlive the stream and
  // stays the caller's. It never grows: a write beyond the capacity is cut short and the
  // stream turns bad.
  BinOutputMemory(void* block, uint64_t capacity);
  ~BinOutputMemory() override;

  bool flush() override;
  uint64_t writeRaw(const void* buffer, uint64_t count) override;
  uint64_t readRaw(void* buffer, uint64_t count) override;
  int64_t tell() override { return position_; }
  bool seek(int64_t position, bool fromStart) override;
  bool good() override { return !closed_ && !failed_ && !writerFailed(); }
  bool close() override;

  // The bytes that have reached the block; pending bytes of the buffer are not among them.
  const uint8_t* data() const { return data_; }
  uint64_t size() const { return size_; }
  // Caps the block at `bytes`: a write beyond it is cut short and the stream turns bad.
  void setLimit(uint64_t bytes) { limit_ = bytes; }

 private:
  bool reserveBlock(uint64_t bytes);

  uint8_t* data_ = nullptr;
  uint64_t size_ = 0;
  uint64_t capacity_ = 0;
  int64_t position_ = 0;
  uint64_t limit_ = UINT64_MAX;
  bool closed_ = false;
  bool failed_ = false;
  bool borrowed_ = false;  // the block is the caller's
};

// A reading stream on a block of bytes, borrowed or copied.
class BinInputMemory : public BinInput {
 public:
  // Reads `bytes` bytes at `data`. With `copy` the stream keeps its own copy; otherwise the
  // block must outlive the stream.
  BinInputMemory(const void* data, uint64_t bytes, bool copy = false);
  ~BinInputMemory() override;

  uint64_t readRaw(void* buffer, uint64_t count) override;
  int64_t tell() override { return position_; }
  // Any position from 0 on is accepted, as on a file; reads beyond the end give nothing.
  bool seek(int64_t position, bool fromStart) override;
  bool good() override { return !closed_; }
  bool close() override;

 private:
  const uint8_t* data_;
  uint8_t* owned_ = nullptr;
  bool closed_ = false;
};
