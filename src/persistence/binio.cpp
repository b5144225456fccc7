#include "persistence/binio.h"

#include <ostream>

#include "base/qorstring.h"
#include "base/wexrealloc.h"
#include "platform/file.h"

// ---- scrambler ----

BinIO_Scrambler* BinIO_Scrambler::current_ = nullptr;

BinIO_Scrambler::~BinIO_Scrambler() = default;

void BinIO_Scrambler::install(BinIO_Scrambler* scrambler) {
  if (scrambler == current_) return;
  BinIO_Scrambler* old = current_;
  current_ = scrambler;
  delete old;
}

// ---- BinOutput ----

BinOutput::~BinOutput() = default;

bool BinOutput::flush() {
  return false;
}

bool BinOutput::spare() {
  return false;
}

bool BinOutput::emptyBuffer() {
  if (used_ == 0) return true;
  if (BinIO_Scrambler* s = BinIO_Scrambler::installed()) s->scramble(buffer_, tell(), used_);
  uint64_t written = writeRaw(buffer_, used_);
  used_ = 0;
  return written > 0;
}

bool BinOutput::writeBytes(const void* data, uint64_t count) {
  auto* from = static_cast<const uint8_t*>(data);
  while (count) {
    uint64_t n = kBufferSize - used_;
    if (n > count) n = count;
    std::memcpy(buffer_ + used_, from, n);
    used_ += n;
    from += n;
    count -= n;
    if (used_ == kBufferSize && !emptyBuffer()) return false;
  }
  return true;
}

uint64_t BinOutput::reserve(uint8_t** pointer, uint64_t wanted) {
  uint64_t room = kBufferSize - used_;
  *pointer = buffer_ + used_;
  return wanted < room ? wanted : room;
}

bool BinOutput::commit(uint64_t count) {
  if (count > kBufferSize - used_) return false;
  used_ += count;
  if (used_ == kBufferSize) return emptyBuffer();
  return true;
}

bool BinOutput::seekTo(int64_t position, bool fromStart) {
  bool emptied = emptyBuffer();
  return seek(position, fromStart) && emptied;
}

bool BinOutput::closeStream() {
  bool emptied = emptyBuffer();
  return close() && emptied;
}

uint64_t BinOutput::readBack(void* buffer, uint64_t count) {
  if (!emptyBuffer()) return 0;
  BinIO_Scrambler* s = BinIO_Scrambler::installed();
  int64_t at = s ? tell() : 0;
  uint64_t got = readRaw(buffer, count);
  if (s && got) s->unscramble(static_cast<uint8_t*>(buffer), at, got);
  return got;
}

bool BinOutput::patchPending(int64_t position, const void* bytes, uint64_t count) {
  int64_t base = tell();
  if (position < base) return false;
  uint64_t offset = static_cast<uint64_t>(position - base);
  if (offset > used_ || count > used_ - offset) return false;
  std::memcpy(buffer_ + offset, bytes, count);
  return true;
}

// ---- BinInput ----

BinInput::~BinInput() = default;

uint64_t BinInput::fetch(uint8_t* into, uint64_t count) {
  BinIO_Scrambler* s = BinIO_Scrambler::installed();
  int64_t at = s ? tell() : 0;
  uint64_t got = readRaw(into, count);
  if (s && got) s->unscramble(into, at, got);
  return got;
}

bool BinInput::readBytes(void* data, uint64_t count) {
  auto* to = static_cast<uint8_t*>(data);
  while (count) {
    uint64_t got = fetch(to, count);
    if (got == 0) return false;
    to += got;
    count -= got;
  }
  return true;
}

uint64_t BinInput::readBuffered(const uint8_t** pointer, uint64_t wanted) {
  *pointer = buffer_;
  return fetch(buffer_, wanted < kBufferSize ? wanted : kBufferSize);
}

int32_t BinInput::peekInt() {
  int64_t start = tell();
  int32_t value = -1;
  if (!read(&value, 1)) value = -1;
  seek(start, true);
  return value;
}

bool BinInput::setLengthWidth32() {
  if (lengthWidth_ != 0) return false;
  lengthWidth_ = 32;
  return true;
}

bool BinInput::setLengthWidth64() {
  if (lengthWidth_ != 0) return false;
  lengthWidth_ = 64;
  return true;
}

// ---- BinOutputFile ----

BinOutputFile::BinOutputFile(const QorString& path) : file_(Platform::openFile(path, "w+bc")) {}

BinOutputFile::BinOutputFile(std::FILE* file) : file_(file) {
  if (!file_) return;
  int64_t here = Platform::tellFile(file_);
  seekable_ = here >= 0;
  position_ = windowStart_ = filePosition_ = seekable_ ? here : 0;
}

BinOutputFile::~BinOutputFile() {
  close();
  delete[] window_;
}

bool BinOutputFile::placeFile(int64_t position) {
  if (!seekable_ || filePosition_ == position) return true;
  if (!Platform::seekFile(file_, position, true)) {
    filePosition_ = -1;
    return false;
  }
  filePosition_ = position;
  return true;
}

bool BinOutputFile::drain() {
  if (windowBytes_ == 0) return true;
  uint64_t want = windowBytes_;
  uint64_t written = placeFile(windowStart_) ? fwrite_unlocked(window_, 1, want, file_) : 0;
  bool ok = written == want;
  filePosition_ = seekable_ && ok ? windowStart_ + static_cast<int64_t>(want) : -1;
  if (!ok) failed_ = true;
  windowStart_ += static_cast<int64_t>(want);
  windowBytes_ = 0;
  return ok;
}

bool BinOutputFile::flush() {
  if (!file_) return false;
  bool emptied = emptyBuffer();
  bool drained = drain();
  return Platform::commitFile(file_) && emptied && drained && good();
}

uint64_t BinOutputFile::writeRaw(const void* buffer, uint64_t count) {
  if (!file_ || count == 0) return 0;
  int64_t windowEnd = windowStart_ + static_cast<int64_t>(windowBytes_);
  bool inside = position_ >= windowStart_ && position_ <= windowEnd &&
                static_cast<uint64_t>(position_ - windowStart_) + count <= kWindow;
  if (!inside) {
    drain();
    windowStart_ = position_;
    if (count >= kWindow) {  // large blocks go straight to the file
      if (!placeFile(position_)) return 0;
      uint64_t written = fwrite_unlocked(buffer, 1, count, file_);
      filePosition_ = seekable_ ? position_ + static_cast<int64_t>(written) : -1;
      position_ += static_cast<int64_t>(written);
      windowStart_ = position_;
      return written;
    }
  }
  if (!window_) window_ = new uint8_t[kWindow];
  uint64_t offset = static_cast<uint64_t>(position_ - windowStart_);
  std::memcpy(window_ + offset, buffer, count);
  if (offset + count > windowBytes_) windowBytes_ = offset + count;
  position_ += static_cast<int64_t>(count);
  return count;
}

uint64_t BinOutputFile::readRaw(void* buffer, uint64_t count) {
  if (!file_ || count == 0) return 0;
  drain();
  // The C runtime wants a positioning call between writing and reading, and back.
  if (!seekable_ || !Platform::seekFile(file_, position_, true)) return 0;
  uint64_t got = fread_unlocked(buffer, 1, count, file_);
  position_ += static_cast<int64_t>(got);
  Platform::seekFile(file_, position_, true);
  filePosition_ = position_;
  windowStart_ = position_;
  return got;
}

int64_t BinOutputFile::tell() {
  return file_ ? position_ : 0;
}

bool BinOutputFile::seek(int64_t position, bool fromStart) {
  if (!file_ || !seekable_) return false;
  if (fromStart) {
    if (position < 0) return false;
    position_ = position;  // the window goes to the file when a write lands elsewhere
    return true;
  }
  drain();
  if (!Platform::seekFile(file_, position, false)) {
    filePosition_ = -1;
    return false;
  }
  position_ = windowStart_ = filePosition_ = Platform::tellFile(file_);
  return true;
}

bool BinOutputFile::good() {
  return file_ && !failed_ && !writerFailed() && !std::ferror(file_);
}

bool BinOutputFile::close() {
  if (!file_) return false;
  bool drained = drain();
  bool ok = std::fclose(file_) == 0;
  file_ = nullptr;
  return ok && drained;
}

// ---- BinInputFile ----

BinInputFile::BinInputFile(const QorString& path) : file_(Platform::openFile(path, "rb")) {
  measure();
}

BinInputFile::BinInputFile(std::FILE* file) : file_(file) {
  measure();
}

BinInputFile::~BinInputFile() {
  close();
  delete[] window_;
}

void BinInputFile::measure() {
  size_ = 0;
  if (!file_) return;
  int64_t here = Platform::tellFile(file_);
  if (here < 0) return;
  position_ = filePosition_ = here;
  if (!Platform::seekFile(file_, 0, false)) return;
  int64_t end = Platform::tellFile(file_);
  size_ = end < 0 ? 0 : end;
  Platform::seekFile(file_, here, true);
}

bool BinInputFile::placeFile() {
  if (filePosition_ == position_) return true;
  if (!Platform::seekFile(file_, position_, true)) return false;
  filePosition_ = position_;
  return true;
}

uint64_t BinInputFile::readRaw(void* buffer, uint64_t count) {
  if (!file_ || count == 0) return 0;
  auto* to = static_cast<uint8_t*>(buffer);
  uint64_t done = 0;
  while (done < count) {
    uint64_t want = count - done;
    if (position_ >= windowStart_ &&
        position_ < windowStart_ + static_cast<int64_t>(windowBytes_)) {
      uint64_t offset = static_cast<uint64_t>(position_ - windowStart_);
      uint64_t n = windowBytes_ - offset < want ? windowBytes_ - offset : want;
      std::memcpy(to + done, window_ + offset, n);
      position_ += static_cast<int64_t>(n);
      done += n;
      continue;
    }
    if (!placeFile()) break;
    if (want >= kWindow) {  // large reads go straight to the caller
      uint64_t got = fread_unlocked(to + done, 1, want, file_);
      filePosition_ += static_cast<int64_t>(got);
      position_ = filePosition_;
      done += got;
      if (got < want) break;
      continue;
    }
    if (!window_) window_ = new uint8_t[kWindow];
    windowStart_ = filePosition_;
    windowBytes_ = fread_unlocked(window_, 1, kWindow, file_);
    filePosition_ += static_cast<int64_t>(windowBytes_);
    if (windowBytes_ == 0) break;
  }
  return done;
}

int64_t BinInputFile::tell() {
  return file_ ? position_ : 0;
}

bool BinInputFile::seek(int64_t position, bool fromStart) {
  if (!file_) return false;
  int64_t to = position;
  if (!fromStart && __builtin_add_overflow(size_, position, &to)) return false;
  if (to < 0) return false;
  position_ = to;
  // Inside the window nothing else moves; elsewhere the file goes there now, so that a
  // medium that cannot seek says so here.
  if (to >= windowStart_ && to < windowStart_ + static_cast<int64_t>(windowBytes_)) return true;
  return placeFile();
}

bool BinInputFile::good() {
  return file_ && !std::ferror(file_);
}

bool BinInputFile::close() {
  if (!file_) return false;
  bool ok = std::fclose(file_) == 0;
  file_ = nullptr;
  windowBytes_ = 0;
  return ok;
}

// ---- BinMagic ----

BinMagic::BinMagic(BinInput& in, const BinMagic& magic) : magic_(0) {
  in.read(&magic_, 1);
  QOR_ASSERT(magic_ == magic);
}

bool BinMagic::read(BinInput& in) {
  int32_t v;
  if (!in.read(&v, 1)) return false;
  bool same = BinMagic(static_cast<uint32_t>(v)).id() == id();
  magic_ = v;
  return same;
}

bool BinMagic::read(BinInput& in, const BinMagic& expected) {
  int32_t v;
  if (!in.read(&v, 1)) return false;
  magic_ = v;
  return magic_ == expected.magic_;
}

bool BinMagic::write(BinOutput& out) const {
  return out.write(&magic_, 1);
}

std::ostream& operator<<(std::ostream& os, const BinMagic& magic) {
  return os << magic.id() << ' ' << magic.version();
}
