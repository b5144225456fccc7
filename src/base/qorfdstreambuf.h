// A stream buffer over a plain file descriptor with one buffer for both directions, and
// the input, output and input-output streams on top of it.
//
// The buffer serves either reading or writing: after a first read, writing refuses (and the
// reverse) until a seek. Transfers of at least a buffer's size go straight to the
// descriptor; smaller ones go through the buffer. A read takes what the buffer still holds
// first, and the current position counts what is buffered, so tellg() after peek() is the
// position of the byte peeked at.
#pragma once
#include <cstdint>
#include <istream>
#include <ostream>
#include <streambuf>

#include "base/qorstring.h"

// The stream's open mode: a word of these flags.
namespace QorOpenMode {
constexpr int kIn = 1;
constexpr int kOut = 2;
constexpr int kAte = 4;  // accepted; the file position stays at the start
constexpr int kApp = 8;
constexpr int kTrunc = 16;
constexpr int kBinary = 32;  // no effect on this platform
}  // namespace QorOpenMode

// The system open flags for a mode word (see the table in qorfdstreambuf.cpp).
int qorOpenFlags(int mode);

// Plain descriptor calls; every count is capped at kMaxTransfer bytes.
constexpr int64_t kMaxTransfer = 0x7FFFFFFF;
int fdOpen(const QorString& path, int flags, int permission);
int64_t fdRead(int fd, void* data, int64_t count);
int64_t fdWrite(int fd, const void* data, int64_t count);
int64_t fdSeek(int fd, int64_t offset, int way);

class QorFdStreambuf : public std::streambuf {
 public:
  static constexpr int64_t kDefaultBufferSize = 1024;
  // state_ bits
  static constexpr uint32_t kStateIn = 1, kStateOut = 2, kStateGet = 4, kStatePut = 8;

  QorFdStreambuf() = default;
  ~QorFdStreambuf() override;
  QorFdStreambuf(const QorFdStreambuf&) = delete;
  QorFdStreambuf& operator=(const QorFdStreambuf&) = delete;

  // Null when a file is open already or the system refuses.
  QorFdStreambuf* open(const QorString& path, int mode);
  QorFdStreambuf* open(const char* path, int mode);
  // Takes an open descriptor, closed here later; null when one is open or fd is -1.
  QorFdStreambuf* attach(int fd, int mode);
  // Writes what is pending and closes; null when none was open or the write or close failed.
  // The buffer stays.
  QorFdStreambuf* close();
  bool isOpen() const { return fd_ != -1; }
  int fd() const { return fd_; }
  uint32_t state() const { return state_; }
  int64_t bufferSize() const { return bufferSize_; }
  void setBufferSize(int64_t n);
  void releaseBuffer();

 protected:
  int_type overflow(int_type c) override;
  int_type pbackfail(int_type c) override;
  std::streamsize showmanyc() override;
  int_type underflow() override;
  int_type uflow() override;
  std::streamsize xsgetn(char* s, std::streamsize n) override;
  std::streamsize xsputn(const char* s, std::streamsize n) override;
  pos_type seekoff(off_type off, std::ios_base::seekdir way,
                   std::ios_base::openmode which) override;
  pos_type seekpos(pos_type pos, std::ios_base::openmode which) override;
  int sync() override;
  std::streambuf* setbuf(char* buffer, std::streamsize size) override;

 private:
  bool flush();
  void resetPointers();
  void ensureBuffer();
  bool canRead() const { return (state_ & (kStateIn | kStatePut)) == kStateIn; }
  bool canWrite() const { return (state_ & (kStateOut | kStateGet)) == kStateOut; }

  bool ownsBuffer_ = false;
  int32_t fd_ = -1;
  uint32_t state_ = 0;
  int64_t bufferSize_ = 0;
  char* buffer_ = nullptr;
};

// The stream classes: (path, mode) opens at once and sets fail and bad when that fails.
class QorIfstream : public std::istream {
 public:
  QorIfstream() : std::istream(nullptr) { init(&buf_); }
  explicit QorIfstream(const QorString& path, int mode = QorOpenMode::kIn) : QorIfstream() {
    open(path, mode);
  }
  void open(const QorString& path, int mode = QorOpenMode::kIn);
  void close();
  bool isOpen() const { return buf_.isOpen(); }
  QorFdStreambuf* rdbuf() { return &buf_; }

 private:
  QorFdStreambuf buf_;
};

class QorOfstream : public std::ostream {
 public:
  QorOfstream() : std::ostream(nullptr) { init(&buf_); }
  explicit QorOfstream(const QorString& path, int mode = QorOpenMode::kOut) : QorOfstream() {
    open(path, mode);
  }
  void open(const QorString& path, int mode = QorOpenMode::kOut);
  void close();
  bool isOpen() const { return buf_.isOpen(); }
  QorFdStreambuf* rdbuf() { return &buf_; }

 private:
  QorFdStreambuf buf_;
};

class QorFstream : public std::iostream {
 public:
  QorFstream() : std::iostream(nullptr) { init(&buf_); }
  explicit QorFstream(const QorString& path, int mode = QorOpenMode::kIn | QorOpenMode::kOut)
      : QorFstream() {
    open(path, mode);
  }
  void open(const QorString& path, int mode = QorOpenMode::kIn | QorOpenMode::kOut);
  void close();
  bool isOpen() const { return buf_.isOpen(); }
  QorFdStreambuf* rdbuf() { return &buf_; }

 private:
  QorFdStreambuf buf_;
};
