#include "base/blockbitvector.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "base/bitvector.h"
#include "base/iterstack.h"
#include "base/wexrealloc.h"
#include "persistence/binio.h"
#include "platform/sync.h"

namespace {

constexpr int32_t kWords = BlockBitVector::kBlockWords;
constexpr int32_t kFull = BlockBitVector::kBlockBits;
constexpr size_t kBlockBytes = sizeof(uint32_t) * kWords;

// The pool of free blocks. The mutex is constant-initialised, so it exists from the
// library's load; the closer frees the pool when the library unloads, and blocks given
// back after that are freed directly.
Platform::Mutex gPoolMutex;
IterStack<uint32_t*>* gPool = nullptr;
int32_t gPoolLimit = BlockBitVector::kDefaultPoolLimit;
bool gPoolClosed = false;

struct PoolCloser {
  ~PoolCloser() {
    Platform::ScopedLock<Platform::Mutex> g(gPoolMutex);
    if (gPool) {
      while (gPool->count() > 0) wexFree(gPool->pop());
      delete gPool;
      gPool = nullptr;
    }
    gPoolClosed = true;
  }
} gPoolCloser;

int32_t popcountBlock(const uint32_t* w) {
  int32_t total = 0;
  for (int32_t i = 0; i < kWords; ++i) total += std::popcount(w[i]);
  return total;
}

}  // namespace

// ---- the block pool ----

uint32_t* BlockBitVector::takeBlock(bool zero) {
  uint32_t* block = nullptr;
  {
    Platform::ScopedLock<Platform::Mutex> g(gPoolMutex);
    if (gPool && gPool->count() > 0) block = gPool->pop();
  }
  if (!block) {
    void* p = nullptr;
    wexMalloc(&p, static_cast<int32_t>(kBlockBytes), 1);
    block = static_cast<uint32_t*>(p);
  }
  if (zero) std::memset(block, 0, kBlockBytes);
  return block;
}

void BlockBitVector::giveBlock(uint32_t* block) {
  if (!block) return;
  {
    Platform::ScopedLock<Platform::Mutex> g(gPoolMutex);
    if (!gPoolClosed) {
      if (!gPool) gPool = new IterStack<uint32_t*>(16);
      if (gPool->count() < gPoolLimit) {
        gPool->push(block);
        return;
      }
    }
  }
  wexFree(block);
}

void BlockBitVector::setBlockPoolLimit(int32_t n) {
  if (n < 0) n = 0;
  Platform::ScopedLock<Platform::Mutex> g(gPoolMutex);
  gPoolLimit = n;
  if (gPool)
    while (gPool->count() > n) wexFree(gPool->pop());
}

int32_t BlockBitVector::blockPoolLimit() {
  Platform::ScopedLock<Platform::Mutex> g(gPoolMutex);
  return gPoolLimit;
}

int32_t BlockBitVector::pooledBlocks() {
  Platform::ScopedLock<Platform::Mutex> g(gPoolMutex);
  return gPool ? gPool->count() : 0;
}

// ---- construction ----

BlockBitVector::BlockBitVector(int32_t n) {
  const int32_t blocks = std::max(n >> kBlockShift, 1);
  lastBlock_ = -1;
  growTo(blocks - 1);
  numSet_ = 0;
}

BlockBitVector::BlockBitVector(const BitVector& bits) {
  const int32_t words = bits.wordCount();
  const int32_t blocks = std::max((words + kWords - 1) / kWords, 1);
  lastBlock_ = -1;
  growTo(blocks - 1);
  for (int32_t b = 0; b < blocks; ++b) {
    uint32_t* block = takeBlock(true);
    const int32_t n = std::min(kWords, words - b * kWords);
    for (int32_t k = 0; k < n; ++k) block[k] = bits.word(b * kWords + k);
    blocks_[b] = block;
    blockCounts_[b] = -1;
  }
  numSet_ = -1;
}

BlockBitVector::BlockBitVector(const BlockBitVector& other) : QorShared() {
  lastBlock_ = -1;
  growTo(other.lastBlock_);
  for (int32_t b = 0; b <= other.lastBlock_; ++b) {
    blockCounts_[b] = other.blockCounts_[b];
    if (other.blocks_[b]) {
      blocks_[b] = takeBlock(false);
      std::memcpy(blocks_[b], other.blocks_[b], kBlockBytes);
    }
  }
  numSet_ = other.numSet_;
}

BlockBitVector& BlockBitVector::operator=(const BlockBitVector& other) {
  if (this != &other) {
    BlockBitVector copy(other);
    swap(copy);
  }
  return *this;
}

BlockBitVector::~BlockBitVector() {
  freeBlocks();
}

void BlockBitVector::freeBlocks() {
  for (int32_t b = 0; b <= lastBlock_; ++b) giveBlock(blocks_[b]);
  wexFree(blocks_);
  wexFree(blockCounts_);
  blocks_ = nullptr;
  blockCounts_ = nullptr;
  lastBlock_ = -1;
}

void BlockBitVector::swap(BlockBitVector& other) noexcept {
  std::swap(blocks_, other.blocks_);
  std::swap(blockCounts_, other.blockCounts_);
  std::swap(lastBlock_, other.lastBlock_);
  std::swap(numSet_, other.numSet_);
}

void BlockBitVector::growTo(int32_t b) {
  if (b <= lastBlock_) return;
  const int32_t have = lastBlock_ + 1, want = b + 1;
  void* p = blocks_;
  wexRealloc(&p, sizeof(uint32_t*), have, want, 0xFFFFFFFFu);
  blocks_ = static_cast<uint32_t**>(p);
  void* q = blockCounts_;
  wexRealloc(&q, sizeof(int32_t), have, want, 0xFFFFFFFFu);
  blockCounts_ = static_cast<int32_t*>(q);
  for (int32_t k = have; k < want; ++k) {  // new entries are zero-filled; say it plainly
    blocks_[k] = nullptr;
    blockCounts_[k] = 0;
  }
  lastBlock_ = b;
}

int32_t BlockBitVector::countBlock(int32_t b) const {
  if (blockCounts_[b] < 0) blockCounts_[b] = blocks_[b] ? popcountBlock(blocks_[b]) : 0;
  return blockCounts_[b];
}

uint32_t* BlockBitVector::materialise(int32_t b) {
  if (!blocks_[b]) {
    const bool full = blockCounts_[b] == kFull;
    blocks_[b] = takeBlock(!full);
    if (full) std::memset(blocks_[b], 0xFF, kBlockBytes);
  }
  return blocks_[b];
}

// ---- single bits ----

bool BlockBitVector::set(int32_t i) {
  if (i < 0) return false;
  const int32_t b = i >> kBlockShift;
  if (b > lastBlock_) growTo(b);
  if (blockCounts_[b] == kFull) return false;
  if (!blocks_[b]) blocks_[b] = takeBlock(true);
  uint32_t& w = blocks_[b][(i >> 5) & (kWords - 1)];
  const uint32_t mask = 1u << (i & 31);
  if (w & mask) return false;
  w |= mask;
  if (blockCounts_[b] >= 0) ++blockCounts_[b];
  if (numSet_ >= 0) ++numSet_;
  return true;
}

bool BlockBitVector::clear(int32_t i) {
  if (i < 0) return false;
  const int32_t b = i >> kBlockShift;
  if (b > lastBlock_ || blockCounts_[b] == 0) return false;
  uint32_t* block = materialise(b);  // a null pointer here is a full block
  uint32_t& w = block[(i >> 5) & (kWords - 1)];
  const uint32_t mask = 1u << (i & 31);
  if (!(w & mask)) return false;
  w &= ~mask;
  if (blockCounts_[b] > 0) --blockCounts_[b];
  if (numSet_ > 0) --numSet_;
  return true;
}

bool BlockBitVector::test(int32_t i) const {
  if (i < 0) return false;
  const int32_t b = i >> kBlockShift;
  if (b > lastBlock_) return false;
  if (!blocks_[b]) return blockCounts_[b] == kFull;
  return (blocks_[b][(i >> 5) & (kWords - 1)] >> (i & 31)) & 1u;
}

// ---- searching and counting ----

int32_t BlockBitVector::nextSet(int32_t i) const {
  if (i == INT32_MAX) return -1;
  const int32_t start = i < 0 ? 0 : i + 1;
  for (int32_t b = start >> kBlockShift; b <= lastBlock_; ++b) {
    const int32_t from = b == (start >> kBlockShift) ? start & (kFull - 1) : 0;
    if (!blocks_[b]) {
      if (blockCounts_[b] == kFull) return (b << kBlockShift) + from;
      continue;
    }
    if (blockCounts_[b] == 0) continue;
    int32_t w = from >> 5;
    uint32_t cur = blocks_[b][w] & (~0u << (from & 31));
    while (true) {
      if (cur) return (b << kBlockShift) + (w << 5) + std::countr_zero(cur);
      if (++w == kWords) break;
      cur = blocks_[b][w];
    }
  }
  return -1;
}

int32_t BlockBitVector::prevSet(int32_t i) const {
  if (i < 1) return -1;
  int64_t top = int64_t{i} - 1;  // the highest bit looked at
  const int64_t end = (int64_t{lastBlock_} + 1) << kBlockShift;
  if (top >= end) top = end - 1;
  for (int32_t b = static_cast<int32_t>(top >> kBlockShift); b >= 0; --b) {
    const int32_t to =
        b == (top >> kBlockShift) ? static_cast<int32_t>(top & (kFull - 1)) : kFull - 1;
    if (!blocks_[b]) {
      if (blockCounts_[b] == kFull) return (b << kBlockShift) + to;
      continue;
    }
    if (blockCounts_[b] == 0) continue;
    int32_t w = to >> 5;
    uint32_t cur = blocks_[b][w] & (~0u >> (31 - (to & 31)));
    while (true) {
      if (cur) return (b << kBlockShift) + (w << 5) + 31 - std::countl_zero(cur);
      if (--w < 0) break;
      cur = blocks_[b][w];
    }
  }
  return -1;
}

int32_t BlockBitVector::count() const {
  if (numSet_ >= 0) return numSet_;
  int64_t total = 0;
  for (int32_t b = 0; b <= lastBlock_; ++b) total += countBlock(b);
  numSet_ = static_cast<int32_t>(total);
  return numSet_;
}

int64_t BlockBitVector::blockCapacity() const {
  for (int32_t b = lastBlock_; b >= 0; --b)
    if (blockCounts_[b] != 0) return (int64_t{b} + 1) << kBlockShift;
  return 0;
}

// ---- whole sets ----

void BlockBitVector::clearAll() {
  for (int32_t b = 0; b <= lastBlock_; ++b) {
    giveBlock(blocks_[b]);
    blocks_[b] = nullptr;
    blockCounts_[b] = 0;
  }
  numSet_ = 0;
}

void BlockBitVector::normalise() {
  count();
  int32_t last = 0;
  for (int32_t b = 0; b <= lastBlock_; ++b) {
    const int32_t c = blockCounts_[b];
    if ((c == 0 || c == kFull) && blocks_[b]) {
      giveBlock(blocks_[b]);
      blocks_[b] = nullptr;
    }
    if (c > 0) last = b;
  }
  if (last < lastBlock_) {
    void* p = blocks_;
    wexRealloc(&p, sizeof(uint32_t*), lastBlock_ + 1, last + 1, 0xFFFFFFFFu);
    blocks_ = static_cast<uint32_t**>(p);
    void* q = blockCounts_;
    wexRealloc(&q, sizeof(int32_t), lastBlock_ + 1, last + 1, 0xFFFFFFFFu);
    blockCounts_ = static_cast<int32_t*>(q);
    lastBlock_ = last;
  }
}

void BlockBitVector::unite(const BlockBitVector& other) {
  if (this == &other) return;
  growTo(other.lastBlock_);
  for (int32_t b = 0; b <= other.lastBlock_; ++b) {
    const int32_t oc = other.blockCounts_[b];
    if (oc == 0 || blockCounts_[b] == kFull) continue;
    if (oc == kFull) {
      giveBlock(blocks_[b]);
      blocks_[b] = nullptr;
      blockCounts_[b] = kFull;
    } else if (blockCounts_[b] == 0) {
      if (!blocks_[b]) blocks_[b] = takeBlock(false);
      std::memcpy(blocks_[b], other.blocks_[b], kBlockBytes);
      blockCounts_[b] = oc;
    } else {
      uint32_t* d = materialise(b);
      const uint32_t* s = other.blocks_[b];
      for (int32_t k = 0; k < kWords; ++k) d[k] |= s[k];
      blockCounts_[b] = -1;
    }
  }
  numSet_ = -1;
}

void BlockBitVector::intersect(const BlockBitVector& other) {
  if (this == &other) return;
  for (int32_t b = 0; b <= lastBlock_; ++b) {
    const int32_t oc = b <= other.lastBlock_ ? other.blockCounts_[b] : 0;
    if (oc == kFull || blockCounts_[b] == 0) continue;
    if (oc == 0) {
      giveBlock(blocks_[b]);
      blocks_[b] = nullptr;
      blockCounts_[b] = 0;
    } else if (blockCounts_[b] == kFull) {
      uint32_t* d = materialise(b);
      std::memcpy(d, other.blocks_[b], kBlockBytes);
      blockCounts_[b] = oc;
    } else {
      uint32_t* d = blocks_[b];
      const uint32_t* s = other.blocks_[b];
      for (int32_t k = 0; k < kWords; ++k) d[k] &= s[k];
      blockCounts_[b] = -1;
    }
  }
  numSet_ = -1;
}

void BlockBitVector::subtract(const BlockBitVector& other) {
  if (this == &other) {
    clearAll();
    return;
  }
  const int32_t last = std::min(lastBlock_, other.lastBlock_);
  for (int32_t b = 0; b <= last; ++b) {
    const int32_t oc = other.blockCounts_[b];
    if (oc == 0 || blockCounts_[b] == 0) continue;
    if (oc == kFull) {
      giveBlock(blocks_[b]);
      blocks_[b] = nullptr;
      blockCounts_[b] = 0;
      continue;
    }
    const bool wasFull = blockCounts_[b] == kFull;
    uint32_t* d = materialise(b);
    const uint32_t* s = other.blocks_[b];
    for (int32_t k = 0; k < kWords; ++k) d[k] &= ~s[k];
    blockCounts_[b] = wasFull && oc > 0 ? kFull - oc : -1;
  }
  numSet_ = -1;
}

bool BlockBitVector::equals(const BlockBitVector& other) const {
  if (this == &other) return true;
  if (numSet_ >= 0 && other.numSet_ >= 0 && numSet_ != other.numSet_) return false;
  const int32_t last = std::max(lastBlock_, other.lastBlock_);
  for (int32_t b = 0; b <= last; ++b) {
    const bool mine = b <= lastBlock_, theirs = b <= other.lastBlock_;
    const int32_t c = mine ? blockCounts_[b] : 0, oc = theirs ? other.blockCounts_[b] : 0;
    if (c >= 0 && oc >= 0 && c != oc) return false;
    if ((c == 0 || c == kFull) && c == oc) continue;
    for (int32_t k = 0; k < kWords; ++k) {
      const uint32_t x = mine ? wordOf(b, k) : 0u;
      const uint32_t y = theirs ? other.wordOf(b, k) : 0u;
      if (x != y) return false;
    }
  }
  return true;
}

// ---- streams ----

bool BlockBitVector::write(BinOutput& out) const {
  int32_t lastSet = -1;
  for (int32_t b = lastBlock_; b >= 0 && lastSet < 0; --b)
    if (countBlock(b) > 0) lastSet = b;
  const int32_t words = (lastSet + 1) * kWords;
  const int32_t total = count();
  const int32_t version = out.version();
  const bool sparse =
      words > 32 && (version == 0 || version >= 13) && int64_t{total} * 2 < int64_t{words};
  const int32_t header[4] = {words, static_cast<int32_t>(int64_t{words} * 32 - 1), sparse ? 1 : 0,
                             total};
  if (!BinMagic(BitVector::kMagic).write(out) || !out.write(header, uint64_t{4})) return false;
  if (sparse) return qor::writeSetBitList(out, *this);
  static const uint32_t kOnes[kWords] = {
#define QOR_ONES8 ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u
#define QOR_ONES64 \
  QOR_ONES8, QOR_ONES8, QOR_ONES8, QOR_ONES8, QOR_ONES8, QOR_ONES8, QOR_ONES8, QOR_ONES8
      QOR_ONES64, QOR_ONES64, QOR_ONES64, QOR_ONES64, QOR_ONES64, QOR_ONES64,
      QOR_ONES64, QOR_ONES64, QOR_ONES64, QOR_ONES64, QOR_ONES64, QOR_ONES64,
      QOR_ONES64, QOR_ONES64, QOR_ONES64, QOR_ONES64};
#undef QOR_ONES64
#undef QOR_ONES8
  static const uint32_t kZeros[kWords] = {};
  for (int32_t b = 0; b <= lastSet; ++b) {
    const uint32_t* w = blocks_[b] ? blocks_[b] : (blockCounts_[b] == kFull ? kOnes : kZeros);
    if (!out.write(w, uint64_t{kWords})) return false;
  }
  return true;
}

bool BlockBitVector::read(BinInput& in) {
  if (!BinMagic(BitVector::kMagic).read(in)) return false;
  int32_t header[4];
  if (!in.read(header, uint64_t{4})) return false;
  const int32_t words = header[0], maxBit = header[1], sparse = header[2], listed = header[3];
  if (words > (int32_t{1} << 26)) return false;  // more than bits 0 .. 2^31 - 1
  const bool emptyForm = words <= 0 || maxBit < 1;
  if (!emptyForm && in.size() >= in.tell()) {
    const int64_t left = in.size() - in.tell();
    if (sparse == 0 && int64_t{words} * 4 > left) return false;
    if (sparse == 1 && int64_t{listed} * 4 > left) return false;
  }
  clearAll();
  if (emptyForm) {
    normalise();
    return true;
  }
  bool ok = true;
  if (sparse == 0) {
    const int32_t blocks = ((words - 1) >> 10) + 1;
    growTo(blocks - 1);
    numSet_ = -1;
    for (int32_t b = 0; b < blocks && ok; ++b) {
      const int32_t n = std::min(kWords, words - b * kWords);
      uint32_t* block = takeBlock(true);  // a short read leaves zeros
      ok = in.read(block, static_cast<uint64_t>(n));
      blocks_[b] = block;
      blockCounts_[b] = -1;
    }
  } else if (sparse == 1) {
    int32_t batch[256];
    for (int32_t left = listed; left > 0 && ok;) {
      const int32_t n = std::min(left, 256);
      ok = in.read(batch, static_cast<uint64_t>(n));
      if (ok)
        for (int32_t k = 0; k < n; ++k) set(batch[k]);
      left -= n;
    }
  }
  normalise();
  return ok;
}
