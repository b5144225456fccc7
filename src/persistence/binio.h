// Big-endian byte streams. BinOutput and BinInput hold a 1024-byte buffer and convert values
// to and from the wire order; their file forms put them on a C runtime FILE. Whatever the
// machine, every multi-byte value goes out most significant byte first.
#pragma once
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iosfwd>
#include <type_traits>

class QorString;

// Reals go out as their bytes reversed from memory order, which is big-endian only on a
// little-endian host.
static_assert(std::endian::native == std::endian::little,
              "the wire conversion reverses memory order and assumes a little-endian host");

// The value types a stream converts: integers of 1, 2, 4 or 8 bytes, float and double.
template <class T>
concept BinWireValue = (std::is_integral_v<T> && !std::is_same_v<T, bool> &&
                        (sizeof(T) == 1 || sizeof(T) == 2 || sizeof(T) == 4 || sizeof(T) == 8)) ||
                       std::is_same_v<T, float> || std::is_same_v<T, double>;

namespace qor::wire {

// The unsigned integer of the same size as T, holding T's bits.
template <class T>
using Bits =
    std::conditional_t<sizeof(T) == 1, uint8_t,
                       std::conditional_t<sizeof(T) == 2, uint16_t,
                                          std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>>>;

inline uint8_t swapBytes(uint8_t v) {
  return v;
}
inline uint16_t swapBytes(uint16_t v) {
  return __builtin_bswap16(v);
}
inline uint32_t swapBytes(uint32_t v) {
  return __builtin_bswap32(v);
}
inline uint64_t swapBytes(uint64_t v) {
  return __builtin_bswap64(v);
}

// Stores n values at dst in wire order (sizeof(T) bytes each).
template <BinWireValue T>
inline void storeBig(uint8_t* dst, const T* src, uint64_t n) {
  if constexpr (sizeof(T) == 1) {
    std::memcpy(dst, src, n);
  } else {
    for (uint64_t i = 0; i < n; ++i) {
      Bits<T> b;
      std::memcpy(&b, src + i, sizeof b);
      b = swapBytes(b);
      std::memcpy(dst + i * sizeof b, &b, sizeof b);
    }
  }
}

// Loads n values of sizeof(T) wire bytes each from src.
template <BinWireValue T>
inline void loadBig(T* dst, const uint8_t* src, uint64_t n) {
  if constexpr (sizeof(T) == 1) {
    std::memcpy(dst, src, n);
  } else {
    for (uint64_t i = 0; i < n; ++i) {
      Bits<T> b;
      std::memcpy(&b, src + i * sizeof b, sizeof b);
      b = swapBytes(b);
      std::memcpy(dst + i, &b, sizeof b);
    }
  }
}

// Stores the low `wire` bytes of an integer, most significant of those first.
template <BinWireValue T>
inline void storeLow(uint8_t* dst, T value, uint32_t wire) {
  uint64_t u = static_cast<uint64_t>(static_cast<Bits<T>>(value));
  for (uint32_t k = 0; k < wire; ++k) dst[k] = static_cast<uint8_t>(u >> (8 * (wire - 1 - k)));
}

// Loads `wire` bytes into an integer: signed types extend the sign of the first byte,
// unsigned ones are filled with zeros.
template <BinWireValue T>
inline T loadLow(const uint8_t* src, uint32_t wire) {
  uint64_t u = 0;
  for (uint32_t k = 0; k < wire; ++k) u = u << 8 | src[k];
  if (std::is_signed_v<T> && wire < 8 && (src[0] & 0x80)) u |= ~uint64_t(0) << (8 * wire);
  return static_cast<T>(static_cast<Bits<T>>(u));
}

}  // namespace qor::wire

// A hook that a host may install to scramble every byte on its way to a medium and back.
// It works in place, keeps the length, and may depend on the medium position of the first
// byte of each block. None is installed unless a host does so.
class BinIO_Scrambler {
 public:
  virtual ~BinIO_Scrambler();
  // Scrambles `count` bytes in place that go to the medium at `position`.
  virtual void scramble(uint8_t* buffer, int64_t position, uint64_t count) = 0;
  // Undoes scramble for `count` bytes read from `position`.
  virtual void unscramble(uint8_t* buffer, int64_t position, uint64_t count) = 0;

  // Replaces the process-wide scrambler (null removes it). The same pointer does nothing;
  // otherwise the old one is deleted. Not locked: install before any stream is in use.
  static void install(BinIO_Scrambler* scrambler);
  // The installed scrambler, or null.
  static BinIO_Scrambler* installed() { return current_; }

 private:
  static BinIO_Scrambler* current_;
};

// The writing stream. Values are converted into a 1024-byte buffer and handed to the
// medium through writeRaw when it fills; a value is never split across two buffers, and a
// buffer with fewer than 256 bytes free is emptied before the next call's values go in.
class BinOutput {
 public:
  static constexpr uint64_t kBufferSize = 1024;
  static constexpr uint64_t kLowWater = 256;

  BinOutput() = default;
  BinOutput(const BinOutput&) = delete;
  BinOutput& operator=(const BinOutput&) = delete;
  virtual ~BinOutput();

  // Empties the buffer and flushes the medium. The base has no medium and answers false.
  virtual bool flush();
  // Answers false in every stream; kept for its place among the operations, nothing calls it.
  virtual bool spare();
  // Writes raw bytes to the medium at its position; returns the bytes written.
  virtual uint64_t writeRaw(const void* buffer, uint64_t count) = 0;
  // Reads raw bytes back from the medium at its position; returns the bytes read.
  virtual uint64_t readRaw(void* buffer, uint64_t count) = 0;
  // The medium's position, not counting the buffer.
  virtual int64_t tell() = 0;
  // Moves the medium to `position` from its start, or from its end when fromStart is false.
  virtual bool seek(int64_t position, bool fromStart) = 0;
  // Whether the medium is there and has seen no error.
  virtual bool good() = 0;
  // Closes the medium (without emptying the buffer).
  virtual bool close() = 0;

  // Writes `count` values in wire order; true on success. A count of 0 touches nothing.
  template <BinWireValue T>
  bool write(const T* values, uint64_t count);
  // Writes the low `wireSize` bytes of each value, most significant first. Reals need
  // wireSize equal to their size; a wire size of 0 or above the value's size fails.
  template <BinWireValue T>
  bool write(const T* values, uint32_t wireSize, uint64_t count);
  // One value.
  template <BinWireValue T>
  bool write(T value) {
    return write(&value, uint64_t(1));
  }

  // Plain bytes: copies up to the free room at a time and empties the buffer whenever it
  // holds 1024 bytes, with no low-water rule. True on success.
  bool writeBytes(const void* data, uint64_t count);
  // Gives out a pointer into the buffer for a caller that formats in place, and answers
  // how many bytes may be put there (at most `wanted`). Record them with commit.
  uint64_t reserve(uint8_t** pointer, uint64_t wanted);
  // Records `count` bytes written through reserve; empties the buffer at exactly 1024.
  bool commit(uint64_t count);

  // The position the next byte will have: tell plus the pending bytes.
  int64_t logicalTell() { return tell() + static_cast<int64_t>(used_); }
  // Empties the buffer, then seeks.
  bool seekTo(int64_t position, bool fromStart);
  // Empties the buffer, then closes the medium.
  bool closeStream();
  // Empties the buffer, then reads from the medium; 0 if emptying failed.
  uint64_t readBack(void* buffer, uint64_t count);
  // Hands the pending bytes to the medium (scrambled if a scrambler is installed). True
  // when nothing was pending or writeRaw wrote something: a short write shows in good.
  bool emptyBuffer();

  // Overwrites `count` bytes at the stream position `position` if all of them are still
  // pending in the buffer, and answers whether it did. Nothing changes otherwise. This lets
  // a writer fill in a length it reserved earlier without a round trip through the medium.
  bool patchPending(int64_t position, const void* bytes, uint64_t count);

  uint64_t pending() const { return used_; }
  // Format generation of the stream: 0, the start value, means the current one.
  int32_t version() const { return version_; }
  void setVersion(int32_t version) { version_ = version; }
  // A plain setting, true at start; nothing in the streams acts on it.
  bool swap() const { return swap_; }
  void setSwap(bool swap) { swap_ = swap; }
  // False at start; consulted by writers of compressible data.
  bool compress() const { return compress_; }
  void setCompress(bool compress) { compress_ = compress; }
  // Turns the stream bad for good: a writer that cannot write what it owes the stream says
  // so here, and good() answers false from then on (each medium consults writerFailed()).
  void markWriterFailed() { writerFailed_ = true; }
  bool writerFailed() const { return writerFailed_; }

 private:
  uint8_t buffer_[kBufferSize];
  uint64_t used_ = 0;
  int32_t version_ = 0;
  bool swap_ = true;
  bool compress_ = false;
  bool writerFailed_ = false;
};

// The reading stream. It keeps nothing between calls, so tell is always exact: each call
// reads what it needs, at most 1024 bytes at a time, and converts it.
class BinInput {
 public:
  static constexpr uint64_t kBufferSize = 1024;

  BinInput() = default;
  BinInput(const BinInput&) = delete;
  BinInput& operator=(const BinInput&) = delete;
  virtual ~BinInput();

  // Reads raw bytes from the source at its position; returns the bytes read.
  virtual uint64_t readRaw(void* buffer, uint64_t count) = 0;
  // The source's position.
  virtual int64_t tell() = 0;
  // Moves to `position` from the start, or from the end when fromStart is false.
  virtual bool seek(int64_t position, bool fromStart) = 0;
  // Whether the source is there and has seen no error.
  virtual bool good() = 0;
  // Closes the source.
  virtual bool close() = 0;

  // Reads `count` values in wire order; true on success. A read past the end fails, and
  // the values converted before it stay in `values`.
  template <BinWireValue T>
  bool read(T* values, uint64_t count);
  // Reads `wireSize` bytes per value. Integers read narrower than their size are extended:
  // signed ones by the sign of the first byte, unsigned ones with zeros. Reals need
  // wireSize equal to their size.
  template <BinWireValue T>
  bool read(T* values, uint32_t wireSize, uint64_t count);

  // Plain bytes straight to the caller; true when all of them came.
  bool readBytes(void* data, uint64_t count);
  // Reads at most min(wanted, 1024) bytes into the internal buffer and points *pointer at
  // it; returns the bytes read. The bytes stay valid until the next call on this stream.
  uint64_t readBuffered(const uint8_t** pointer, uint64_t wanted);
  // A 32-bit value read at the current position, which is then restored; -1 on failure.
  int32_t peekInt();

  // Total size of the source in bytes.
  int64_t size() const { return size_; }
  // Width in bits of the chunk lengths in this source: 0 while unset, else 32 or 64.
  int32_t lengthWidth() const { return lengthWidth_; }
  // Set the width only while it is unset, and answer whether they did.
  bool setLengthWidth32();
  bool setLengthWidth64();
  // Sets the width unconditionally.
  void setLengthWidth(int32_t width) { lengthWidth_ = width; }
  // A plain setting, true at start; nothing in the streams acts on it.
  bool swap() const { return swap_; }
  void setSwap(bool swap) { swap_ = swap; }

 protected:
  // Reads up to `count` raw bytes at the current position and unscrambles them.
  uint64_t fetch(uint8_t* into, uint64_t count);

  uint8_t buffer_[kBufferSize];
  int64_t position_ = 0;
  int64_t size_ = 0;
  int32_t lengthWidth_ = 0;
  bool swap_ = true;

 private:
  template <BinWireValue T>
  bool readConverted(T* values, uint32_t wireSize, uint64_t count);
};

// A writing stream on a C runtime file, which it owns. Bytes handed to writeRaw gather in a
// write-behind window of this class and go to the file in large blocks, as the runtime's
// own buffer would send them; a seek back into the window and a write there (a chunk
// writer filling in a length) cost no call into the runtime. The window reaches the file
// before any read, flush, close, or seek to its end.
class BinOutputFile : public BinOutput {
 public:
  static constexpr uint64_t kWindow = 1024 * 1024;

  // Opens `path` for reading and writing, truncated ("w+bc"). good() tells the outcome.
  explicit BinOutputFile(const QorString& path);
  // Takes an open file and owns it from now on.
  explicit BinOutputFile(std::FILE* file);
  // Closes the file. The stream's buffer is not emptied: call flush or closeStream first.
  ~BinOutputFile() override;

  // Empties the buffer, then flushes the file to the disk. False with no file or on failure.
  bool flush() override;
  uint64_t writeRaw(const void* buffer, uint64_t count) override;
  uint64_t readRaw(void* buffer, uint64_t count) override;
  int64_t tell() override;
  bool seek(int64_t position, bool fromStart) override;
  bool good() override;
  bool close() override;

  std::FILE* file() const { return file_; }

 private:
  // Hands the window to the file; false if the file did not take all of it.
  bool drain();
  // Moves the runtime's file to `position` if it stands elsewhere.
  bool placeFile(int64_t position);

  std::FILE* file_ = nullptr;
  uint8_t* window_ = nullptr;
  int64_t windowStart_ = 0;  // file position of window_[0]
  uint64_t windowBytes_ = 0;
  int64_t position_ = 0;      // where the next byte goes
  int64_t filePosition_ = 0;  // where the runtime's file stands; -1 unknown
  bool seekable_ = true;      // false for a medium without positions (a pipe)
  bool failed_ = false;       // the file refused bytes of the window
};

// A reading stream on a C runtime file, which it owns. It measures the file when it opens.
// Bytes come from the file through a read-ahead window of this class, so that a seek that
// stays inside the window (a reader skipping small chunks) costs no call into the runtime;
// tell is the exact position of the next byte a caller gets.
class BinInputFile : public BinInput {
 public:
  static constexpr uint64_t kWindow = 64 * 1024;

  // Opens `path` with mode "rb". good() tells the outcome; with no file the size is 0.
  explicit BinInputFile(const QorString& path);
  // Takes an open file and owns it from now on.
  explicit BinInputFile(std::FILE* file);
  ~BinInputFile() override;

  uint64_t readRaw(void* buffer, uint64_t count) override;
  int64_t tell() override;
  bool seek(int64_t position, bool fromStart) override;
  bool good() override;
  bool close() override;

  std::FILE* file() const { return file_; }

 private:
  void measure();
  // Moves the file itself to position_, if it is elsewhere.
  bool placeFile();

  std::FILE* file_ = nullptr;
  uint8_t* window_ = nullptr;
  int64_t windowStart_ = 0;  // file position of window_[0]
  uint64_t windowBytes_ = 0;
  int64_t filePosition_ = 0;  // where the runtime's file stands
};

// A 32-bit mark of a data kind (high 24 bits) and its format version (low 8 bits), written
// in front of data that persists straight on a stream.
class BinMagic {
 public:
  // The raw value, stored as it is.
  explicit BinMagic(uint32_t raw = 0) : magic_(static_cast<int32_t>(raw)) {}
  // (id << 8) | version; a negative id is stored as it is.
  BinMagic(int32_t id, int32_t version)
      : magic_(id < 0 ? id
                      : static_cast<int32_t>(static_cast<uint32_t>(id) << 8 |
                                             static_cast<uint32_t>(version))) {}
  // Reads 4 bytes and takes the assertion road if they differ from `magic`; the object
  // holds what was read either way.
  BinMagic(BinInput& in, const BinMagic& magic);

  // -1 for a negative value, else the high 24 bits.
  int32_t id() const { return magic_ < 0 ? -1 : magic_ >> 8; }
  // -1 for a negative value, else the low 8 bits.
  int32_t version() const { return magic_ < 0 ? -1 : magic_ & 0xFF; }
  uint32_t value() const { return static_cast<uint32_t>(magic_); }

  // Reads 4 bytes into this object and answers whether their id part matches the one held
  // before; the version may differ. False, with nothing changed, if the read fails.
  bool read(BinInput& in);
  // Reads 4 bytes into this object and answers whether they equal `expected` exactly.
  bool read(BinInput& in, const BinMagic& expected);
  // 4 bytes, big-endian.
  bool write(BinOutput& out) const;

  bool operator==(const BinMagic& o) const { return magic_ == o.magic_; }
  // Against a raw value as read from a stream.
  bool operator==(int32_t raw) const { return magic_ == raw; }

 private:
  int32_t magic_;
};

// "id version" in decimal.
std::ostream& operator<<(std::ostream& os, const BinMagic& magic);

// ---- conversion loops, in the header so that one-value calls inline ----

template <BinWireValue T>
bool BinOutput::write(const T* values, uint64_t count) {
  while (count) {
    if (kBufferSize - used_ < kLowWater && !emptyBuffer()) return false;
    uint64_t room = (kBufferSize - used_) / sizeof(T);
    uint64_t n = count < room ? count : room;
    if (n == 0) return false;
    qor::wire::storeBig(buffer_ + used_, values, n);
    used_ += n * sizeof(T);
    values += n;
    count -= n;
    if (used_ == kBufferSize && !emptyBuffer()) return false;
  }
  return true;
}

template <BinWireValue T>
bool BinOutput::write(const T* values, uint32_t wireSize, uint64_t count) {
  if (wireSize == sizeof(T)) return write(values, count);
  if (!std::is_integral_v<T> || wireSize == 0 || wireSize > sizeof(T)) return false;
  while (count) {
    if (kBufferSize - used_ < kLowWater && !emptyBuffer()) return false;
    uint64_t room = (kBufferSize - used_) / wireSize;
    uint64_t n = count < room ? count : room;
    if (n == 0) return false;
    for (uint64_t i = 0; i < n; ++i)
      qor::wire::storeLow(buffer_ + used_ + i * wireSize, values[i], wireSize);
    used_ += n * wireSize;
    values += n;
    count -= n;
    if (used_ == kBufferSize && !emptyBuffer()) return false;
  }
  return true;
}

template <BinWireValue T>
bool BinInput::read(T* values, uint64_t count) {
  return readConverted(values, sizeof(T), count);
}

template <BinWireValue T>
bool BinInput::read(T* values, uint32_t wireSize, uint64_t count) {
  if (wireSize == 0 || wireSize > sizeof(T)) return false;
  if (wireSize != sizeof(T) && !std::is_integral_v<T>) return false;
  return readConverted(values, wireSize, count);
}

template <BinWireValue T>
bool BinInput::readConverted(T* values, uint32_t wireSize, uint64_t count) {
  auto convert = [&](T* dst, const uint8_t* src, uint64_t n) {
    if (wireSize == sizeof(T)) {
      qor::wire::loadBig(dst, src, n);
    } else if constexpr (std::is_integral_v<T>) {
      for (uint64_t i = 0; i < n; ++i) dst[i] = qor::wire::loadLow<T>(src + i * wireSize, wireSize);
    }
  };
  while (count) {
    uint64_t want = count * wireSize;  // wireSize <= 8: overflow needs count > 2^61
    if (want > kBufferSize || want / wireSize != count) want = kBufferSize;
    uint64_t got = fetch(buffer_, want);
    if (got == 0) return false;
    uint64_t whole = got / wireSize;
    convert(values, buffer_, whole);
    values += whole;
    count -= whole;
    uint64_t part = got % wireSize;
    if (part) {
      // Part of a value came: complete it with exactly the missing bytes.
      uint8_t one[8];
      std::memcpy(one, buffer_ + whole * wireSize, part);
      while (part < wireSize) {
        uint64_t more = fetch(one + part, wireSize - part);
        if (more == 0) return false;
        part += more;
      }
      convert(values, one, 1);
      ++values;
      --count;
    }
  }
  return true;
}
