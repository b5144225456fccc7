// Test support for the stream and file tests: recording streams, a trickling source, the
// assertion recorder and a private temporary directory.
#pragma once
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/wexrealloc.h"
#include "persistence/memstream.h"

namespace persist_test {

using Bytes = std::vector<uint8_t>;

// A memory stream that records the size of every raw write and counts seeks.
class RecordingOutput : public BinOutputMemory {
 public:
  uint64_t writeRaw(const void* buffer, uint64_t count) override {
    rawWrites.push_back(count);
    return BinOutputMemory::writeRaw(buffer, count);
  }
  bool seek(int64_t position, bool fromStart) override {
    ++seeks;
    return BinOutputMemory::seek(position, fromStart);
  }
  Bytes bytes() const { return Bytes(data(), data() + size()); }
  std::vector<uint64_t> rawWrites;
  int seeks = 0;
};

// A source that hands out at most `step` bytes per raw read, as a pipe might.
class TricklingInput : public BinInputMemory {
 public:
  TricklingInput(const Bytes& b, uint64_t step) : BinInputMemory(b.data(), b.size()), step_(step) {}
  uint64_t readRaw(void* buffer, uint64_t count) override {
    ++reads;
    return BinInputMemory::readRaw(buffer, count < step_ ? count : step_);
  }
  int reads = 0;

 private:
  uint64_t step_;
};

// Records failed checks instead of ending the process, for the lifetime of the object.
struct AssertRecorder {
  AssertRecorder() {
    seen().clear();
    wexSetAssertCallback(&record, nullptr);
  }
  ~AssertRecorder() { wexSetAssertCallback(nullptr, nullptr); }
  static int record(void*, const char* expression, const char*, int32_t) {
    seen().push_back(expression);
    return 0;
  }
  static std::vector<std::string>& seen() {
    static std::vector<std::string> s;
    return s;
  }
};

// A fresh directory under the system's temporary directory, removed with its contents.
struct TempDir {
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "persist-XXXXXX").string();
    path = mkdtemp(pattern.data()) ? pattern : std::string();
  }
  ~TempDir() {
    std::error_code ec;
    if (!path.empty()) std::filesystem::remove_all(path, ec);
  }
  std::string file(const char* name) const { return path + "/" + name; }
  std::string path;
};

inline Bytes readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeFile(const std::string& path, const Bytes& b) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(b.data()), static_cast<std::streamsize>(b.size()));
}

// Appends `v` big-endian in `n` bytes: the tests' own encoder, independent of the streams.
inline void be(Bytes& out, uint64_t v, int n) {
  for (int i = n - 1; i >= 0; --i) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

}  // namespace persist_test
