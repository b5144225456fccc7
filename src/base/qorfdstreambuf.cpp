#include "base/qorfdstreambuf.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "base/wexrealloc.h"

namespace {
// Read and write for the owner only.
constexpr int kPermission = S_IRUSR | S_IWUSR;
// Windows' text and binary modes and its sharing flag have no counterpart here.
constexpr int kBinaryFlag = 0;
constexpr int kTextFlag = 0;
}  // namespace

// The mode word to system flags:
//   binary                          no flag (text mode: none either)
//   in and out                      O_RDWR | O_CREAT
//   in only                         O_RDONLY
//   out only                        O_WRONLY | O_CREAT
//   neither                         assertion, then O_RDONLY | O_CREAT
//   trunc, or none of in, ate, app  O_TRUNC
//   app                             O_APPEND
int qorOpenFlags(int mode) {
  using namespace QorOpenMode;
  int flags = (mode & kBinary) ? kBinaryFlag : kTextFlag;
  const bool in = mode & kIn, out = mode & kOut;
  if (in && out)
    flags |= O_RDWR | O_CREAT;
  else if (out)
    flags |= O_WRONLY | O_CREAT;
  else if (!in) {
    QOR_ASSERT(in || out);
    flags |= O_RDONLY | O_CREAT;
  }
  if ((mode & kTrunc) || !(mode & (kIn | kAte | kApp))) flags |= O_TRUNC;
  if (mode & kApp) flags |= O_APPEND;
  return flags | O_CLOEXEC;
}

int fdOpen(const QorString& path, int flags, int permission) {
  if (path.isEmpty()) return -1;
  int fd;
  do fd = ::open(path.utf8(), flags, permission);
  while (fd < 0 && errno == EINTR);
  return fd;
}

int64_t fdRead(int fd, void* data, int64_t count) {
  return ::read(fd, data, static_cast<size_t>(std::min(count, kMaxTransfer)));
}

int64_t fdWrite(int fd, const void* data, int64_t count) {
  return ::write(fd, data, static_cast<size_t>(std::min(count, kMaxTransfer)));
}

int64_t fdSeek(int fd, int64_t offset, int way) {
  return ::lseek(fd, static_cast<off_t>(offset), way);
}

QorFdStreambuf::~QorFdStreambuf() {
  close();
  releaseBuffer();
}

void QorFdStreambuf::resetPointers() {
  setg(nullptr, nullptr, nullptr);
  setp(nullptr, nullptr);
}

void QorFdStreambuf::ensureBuffer() {
  if (!buffer_) setBufferSize(kDefaultBufferSize);
}

void QorFdStreambuf::setBufferSize(int64_t n) {
  if (buffer_ || n <= 0) return;
  buffer_ = static_cast<char*>(std::malloc(static_cast<size_t>(n)));
  if (!buffer_) return;
  bufferSize_ = n;
  ownsBuffer_ = true;
}

void QorFdStreambuf::releaseBuffer() {
  if (ownsBuffer_) std::free(buffer_);
  if (ownsBuffer_ || !buffer_) {
    buffer_ = nullptr;
    bufferSize_ = 0;
    ownsBuffer_ = false;
    resetPointers();
  }
}

QorFdStreambuf* QorFdStreambuf::open(const QorString& path, int mode) {
  if (fd_ != -1) return nullptr;
  const int fd = fdOpen(path, qorOpenFlags(mode), kPermission);
  if (fd < 0) return nullptr;
  fd_ = fd;
  ensureBuffer();
  state_ = static_cast<uint32_t>(mode) & (kStateIn | kStateOut);
  resetPointers();
  return this;
}

QorFdStreambuf* QorFdStreambuf::open(const char* path, int mode) {
  return path ? open(QorString::fromUtf8(path), mode) : nullptr;
}

QorFdStreambuf* QorFdStreambuf::attach(int fd, int mode) {
  if (fd_ != -1 || fd == -1) return nullptr;
  fd_ = fd;
  ensureBuffer();
  state_ = static_cast<uint32_t>(mode) & (kStateIn | kStateOut);
  resetPointers();
  return this;
}

QorFdStreambuf* QorFdStreambuf::close() {
  if (fd_ == -1) return nullptr;
  const bool flushed = !(state_ & kStatePut) || flush();
  const bool closed = ::close(fd_) == 0;
  fd_ = -1;
  state_ = 0;
  resetPointers();
  return flushed && closed ? this : nullptr;
}

bool QorFdStreambuf::flush() {
  const int64_t n = pptr() - pbase();
  if (n <= 0) return true;
  const int64_t written = fdWrite(fd_, pbase(), n);
  if (written < n) return false;
  setp(pbase(), epptr());
  return true;
}

QorFdStreambuf::int_type QorFdStreambuf::overflow(int_type c) {
  if (!canWrite()) return traits_type::eof();
  state_ |= kStatePut;
  const bool isEof = traits_type::eq_int_type(c, traits_type::eof());
  if (isEof) return flush() ? traits_type::not_eof(c) : traits_type::eof();
  if (!pbase()) {
    if (bufferSize_ > 1) {
      // The last byte stays free for the character that overflows a full area.
      setp(buffer_, buffer_ + bufferSize_ - 1);
      *pptr() = traits_type::to_char_type(c);
      pbump(1);
      return c;
    }
    const char one = traits_type::to_char_type(c);
    return fdWrite(fd_, &one, 1) == 1 ? c : traits_type::eof();
  }
  *pptr() = traits_type::to_char_type(c);
  pbump(1);
  return flush() ? c : traits_type::eof();
}

QorFdStreambuf::int_type QorFdStreambuf::underflow() {
  if (!canRead()) return traits_type::eof();
  state_ |= kStateGet;
  if (gptr() && gptr() < egptr()) return traits_type::to_int_type(*gptr());
  if (!buffer_) return traits_type::eof();
  const int64_t got = fdRead(fd_, buffer_, bufferSize_);
  if (got <= 0) {
    setg(buffer_, buffer_, buffer_);
    return traits_type::eof();
  }
  setg(buffer_, buffer_, buffer_ + got);
  return traits_type::to_int_type(*gptr());
}

// One byte through the buffer: the same bytes as a read of one byte from the descriptor,
// without a system call per byte.
QorFdStreambuf::int_type QorFdStreambuf::uflow() {
  const int_type c = underflow();
  if (!traits_type::eq_int_type(c, traits_type::eof())) gbump(1);
  return c;
}

QorFdStreambuf::int_type QorFdStreambuf::pbackfail(int_type c) {
  if (!(state_ & (kStateIn | kStateGet))) return traits_type::eof();
  int_type byte;
  if (gptr() && gptr() > eback()) {
    gbump(-1);
    byte = traits_type::to_int_type(*gptr());
  } else {
    // The descriptor stands behind what is still buffered.
    const int64_t buffered = gptr() ? egptr() - gptr() : 0;
    if (fdSeek(fd_, -buffered - 1, SEEK_CUR) < 0) return traits_type::eof();
    setg(nullptr, nullptr, nullptr);
    byte = underflow();
  }
  if (!traits_type::eq_int_type(c, traits_type::eof()) && !traits_type::eq_int_type(c, byte))
    return traits_type::eof();
  return byte;
}

std::streamsize QorFdStreambuf::showmanyc() {
  return (state_ & kStateGet) && gptr() ? egptr() - gptr() : -1;
}

std::streamsize QorFdStreambuf::xsgetn(char* s, std::streamsize n) {
  if (n <= 0 || !canRead()) return 0;
  state_ |= kStateGet;
  std::streamsize done = 0;
  // What the buffer still holds comes first.
  if (gptr() && gptr() < egptr()) {
    done = std::min<std::streamsize>(n, egptr() - gptr());
    std::memcpy(s, gptr(), static_cast<size_t>(done));
    gbump(static_cast<int>(done));
  }
  while (done < n) {
    const std::streamsize left = n - done;
    if (left < bufferSize_) {
      // A short rest goes through the buffer, so that small reads stay one call per buffer.
      if (traits_type::eq_int_type(underflow(), traits_type::eof())) break;
      const std::streamsize take = std::min<std::streamsize>(left, egptr() - gptr());
      std::memcpy(s + done, gptr(), static_cast<size_t>(take));
      gbump(static_cast<int>(take));
      done += take;
      continue;
    }
    const int64_t got = fdRead(fd_, s + done, left);
    if (got <= 0) break;
    done += got;
  }
  return done;
}

std::streamsize QorFdStreambuf::xsputn(const char* s, std::streamsize n) {
  if (n <= 0 || !canWrite()) return 0;
  state_ |= kStatePut;
  if (!pbase() && bufferSize_ > 1) setp(buffer_, buffer_ + bufferSize_ - 1);
  // A short write that fits joins the put area.
  if (n < epptr() - pptr()) {
    std::memcpy(pptr(), s, static_cast<size_t>(n));
    pbump(static_cast<int>(n));
    return n;
  }
  if (!flush()) return 0;
  std::streamsize done = 0;
  while (done < n) {
    const int64_t put = fdWrite(fd_, s + done, n - done);
    if (put <= 0) break;
    done += put;
  }
  return done;
}

QorFdStreambuf::pos_type QorFdStreambuf::seekoff(off_type off, std::ios_base::seekdir way,
                                                 std::ios_base::openmode) {
  if (fd_ == -1) return pos_type(off_type(-1));
  if ((state_ & kStatePut) && !flush()) return pos_type(off_type(-1));
  int whence;
  switch (way) {
    case std::ios_base::beg:
      whence = SEEK_SET;
      break;
    case std::ios_base::cur:
      whence = SEEK_CUR;
      // The descriptor stands behind the bytes still buffered for reading.
      if (gptr()) off -= egptr() - gptr();
      break;
    case std::ios_base::end:
      whence = SEEK_END;
      break;
    default:
      std::abort();
  }
  state_ &= ~(kStateGet | kStatePut);
  resetPointers();
  return pos_type(off_type(fdSeek(fd_, off, whence)));
}

QorFdStreambuf::pos_type QorFdStreambuf::seekpos(pos_type pos, std::ios_base::openmode which) {
  return seekoff(off_type(pos), std::ios_base::beg, which);
}

int QorFdStreambuf::sync() {
  return flush() ? 0 : -1;
}

std::streambuf* QorFdStreambuf::setbuf(char* buffer, std::streamsize size) {
  if (ownsBuffer_) std::free(buffer_);
  buffer_ = buffer;
  bufferSize_ = buffer ? size : 0;
  ownsBuffer_ = false;
  resetPointers();
  return this;
}

namespace {
template <class Stream>
void openStream(Stream& s, QorFdStreambuf& buf, const QorString& path, int mode) {
  if (buf.open(path, mode))
    s.clear();
  else
    s.setstate(std::ios_base::failbit | std::ios_base::badbit);
}
template <class Stream>
void closeStream(Stream& s, QorFdStreambuf& buf) {
  if (!buf.close()) s.setstate(std::ios_base::failbit);
}
}  // namespace

void QorIfstream::open(const QorString& path, int mode) {
  openStream(*this, buf_, path, mode | QorOpenMode::kIn);
}
void QorIfstream::close() {
  closeStream(*this, buf_);
}
void QorOfstream::open(const QorString& path, int mode) {
  openStream(*this, buf_, path, mode | QorOpenMode::kOut);
}
void QorOfstream::close() {
  closeStream(*this, buf_);
}
void QorFstream::open(const QorString& path, int mode) {
  openStream(*this, buf_, path, mode);
}
void QorFstream::close() {
  closeStream(*this, buf_);
}
