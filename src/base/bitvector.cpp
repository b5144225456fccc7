#include "base/bitvector.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <ostream>
#include <vector>

#include "base/blockbitvector.h"
#include "core/locator.h"
#include "hostapi/iqorprogress.h"
#include "hostapi/iqorrandom.h"
#include "persistence/binio.h"

namespace {

constexpr int32_t kChunk = BitVectorSplitter::kPageElements;  // words per page
constexpr int32_t kMaxWords = int32_t{1} << 26;               // bits 0 .. 2^31 - 1

// Set bits in n words. Pairs of words are counted as one 64-bit value; the machine's
// population count instruction is used where the processor has one.
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__)
__attribute__((target_clones("popcnt", "default")))
#endif
int64_t
popcountWords(const uint32_t* w, int32_t n) {
  int64_t total = 0;
  int32_t i = 0;
  for (; i + 1 < n; i += 2) {
    uint64_t v;
    std::memcpy(&v, w + i, sizeof v);
    total += std::popcount(v);
  }
  if (i < n) total += std::popcount(w[i]);
  return total;
}

// dst op= src over n words.
template <class F>
inline void applyWords(uint32_t* dst, const uint32_t* src, int32_t n, F f) {
  for (int32_t i = 0; i < n; ++i) dst[i] = f(dst[i], src[i]);
}

// The zero words that stand for an absent page on a stream.
const uint32_t* zeroChunk() {
  static const std::vector<uint32_t> z(kChunk, 0u);
  return z.data();
}

bool haveManager() {
  return QorMM::memoryManager() != nullptr;
}

}  // namespace

// ---- construction ----

BitVector::BitVector(int32_t n) : magic_(new BinMagic(kMagic)) {
  int32_t words = (n < 0 ? 0 : (n >> kWordShift)) + 1;
  makeStorage(words);
  numSet_ = 0;
}

BitVector::BitVector(const BitVector& other)
    : QorShared(), magic_(new BinMagic(kMagic)), maxBit_(other.maxBit_), numSet_(other.numSet_) {
  if (other.bvwordsLarge_) {
    bvwordsLarge_ = new PagedWords(0);
    bvwordsLarge_->copyFrom(*other.bvwordsLarge_, other.bvwordsLarge_->size());
  } else if (other.bvwords_) {
    void* block = nullptr;
    wexMalloc(&block, 4, wordCount());
    bvwords_ = static_cast<uint32_t*>(block);
    std::memcpy(bvwords_, other.bvwords_, sizeof(uint32_t) * static_cast<size_t>(wordCount()));
  } else {
    makeStorage(1);  // a moved-from source: an empty vector
    numSet_ = 0;
  }
}

BitVector::BitVector(BitVector&& other) noexcept
    : QorShared(),
      bvwords_(other.bvwords_),
      bvwordsLarge_(other.bvwordsLarge_),
      magic_(other.magic_),
      maxBit_(other.maxBit_),
      numSet_(other.numSet_) {
  other.bvwords_ = nullptr;
  other.bvwordsLarge_ = nullptr;
  other.magic_ = nullptr;
  other.maxBit_ = -1;
  other.numSet_ = 0;
}

BitVector::BitVector(const BlockBitVector& other) : BitVector(0) {
  assign(other);
}

BitVector::~BitVector() {
  freeStorage();
  delete magic_;
}

BitVector& BitVector::operator=(const BitVector& other) {
  assign(other);
  return *this;
}

BitVector& BitVector::operator=(BitVector&& other) noexcept {
  if (this != &other) swap(other);
  return *this;
}

const BitVector& BitVector::empty() {
  static const BitVector* e = new BitVector(10);  // kept to the end of the process
  return *e;
}

void BitVector::swap(BitVector& other) noexcept {
  std::swap(bvwords_, other.bvwords_);
  std::swap(bvwordsLarge_, other.bvwordsLarge_);
  std::swap(magic_, other.magic_);
  std::swap(maxBit_, other.maxBit_);
  std::swap(numSet_, other.numSet_);
}

void BitVector::freeStorage() {
  wexFree(bvwords_);
  bvwords_ = nullptr;
  delete bvwordsLarge_;
  bvwordsLarge_ = nullptr;
}

void BitVector::makeStorage(int32_t words) {
  if (words >= kPagedFromWords && haveManager()) {
    bvwordsLarge_ = new PagedWords(words);
  } else {
    void* block = nullptr;
    wexRealloc(&block, 4, 0, words, 0xFFFFFFFFu);  // zero-filled
    bvwords_ = static_cast<uint32_t*>(block);
  }
  maxBit_ = static_cast<int32_t>(int64_t{words} * 32 - 1);
}

// ---- storage access ----

const uint32_t* BitVector::chunk(int32_t c) const {
  if (bvwords_) return bvwords_ + c;
  if (!bvwordsLarge_) return nullptr;
  return static_cast<const uint32_t*>(bvwordsLarge_->page(c >> BitVectorSplitter::kShift));
}

uint32_t* BitVector::chunkForWrite(int32_t c, bool create) {
  if (bvwords_) return bvwords_ + c;
  if (!bvwordsLarge_) return nullptr;
  if (void* p = bvwordsLarge_->page(c >> BitVectorSplitter::kShift))
    return static_cast<uint32_t*>(p);
  return create ? &bvwordsLarge_->ref(c) : nullptr;
}

// ---- single bits ----

void BitVector::clear(int32_t i) {
  if (static_cast<uint32_t>(i) > static_cast<uint32_t>(maxBit_)) return;
  const uint32_t mask = 1u << (i & 31);
  const int32_t w = i >> kWordShift;
  if (bvwordsLarge_) {
    if (!(bvwordsLarge_->get(w) & mask)) return;
    bvwordsLarge_->ref(w) &= ~mask;
  } else {
    if (!(bvwords_[w] & mask)) return;
    bvwords_[w] &= ~mask;
  }
  if (numSet_ != kUnknownCount) --numSet_;
}

// ---- ranges and whole sets ----

bool BitVector::clearRange(int32_t a, int32_t b) {
  if (a > maxBit_) return false;
  if (a < 0) a = 0;
  if (b > maxBit_) b = maxBit_;
  numSet_ = kUnknownCount;
  if (b < a) return true;
  const int32_t wa = a >> kWordShift, wb = b >> kWordShift;
  const uint32_t lowMask = ~0u << (a & 31);          // bits >= a in wa
  const uint32_t highMask = ~0u >> (31 - (b & 31));  // bits <= b in wb
  if (wa == wb) {
    if (uint32_t* p = chunkForWrite(wa & ~(kChunk - 1), false))
      p[wa & (kChunk - 1)] &= ~(lowMask & highMask);
    return true;
  }
  if (uint32_t* p = chunkForWrite(wa & ~(kChunk - 1), false)) p[wa & (kChunk - 1)] &= ~lowMask;
  if (uint32_t* p = chunkForWrite(wb & ~(kChunk - 1), false)) p[wb & (kChunk - 1)] &= ~highMask;
  for (int32_t w = wa + 1; w < wb;) {
    const int32_t c = w & ~(kChunk - 1);
    const int32_t end = std::min(wb, c + kChunk);
    if (uint32_t* p = chunkForWrite(c, false))
      std::memset(p + (w - c), 0, sizeof(uint32_t) * static_cast<size_t>(end - w));
    w = end;
  }
  return true;
}

void BitVector::clearAll() {
  if (numSet_ == 0) return;
  const int32_t words = wordCount();
  if (bvwords_) {
    std::memset(bvwords_, 0, sizeof(uint32_t) * static_cast<size_t>(words));
  } else if (bvwordsLarge_) {
    for (int32_t c = 0; c < words; c += kChunk)
      if (uint32_t* p = chunkForWrite(c, false))
        std::memset(p, 0, sizeof(uint32_t) * static_cast<size_t>(std::min(kChunk, words - c)));
  }
  numSet_ = 0;
}

void BitVector::setAll() {
  const int32_t words = wordCount();
  for (int32_t c = 0; c < words; c += kChunk) {
    uint32_t* p = chunkForWrite(c, true);
    if (!p) return;
    std::memset(p, 0xFF, sizeof(uint32_t) * static_cast<size_t>(std::min(kChunk, words - c)));
  }
  if (uint32_t* p = chunkForWrite(0, true)) p[0] &= ~1u;
  numSet_ = static_cast<uint32_t>(maxBit_);
}

void BitVector::setFirst(int32_t n) {
  if (n < 0) n = 0;
  if (n > maxBit_) resize(n);
  clearAll();
  numSet_ = kUnknownCount;  // clearAll may have stopped at a known 0; the words are clear
  const int32_t full = n >> kWordShift;  // words wholly inside 0 .. n
  for (int32_t c = 0; c < full; c += kChunk) {
    uint32_t* p = chunkForWrite(c, true);
    std::memset(p, 0xFF, sizeof(uint32_t) * static_cast<size_t>(std::min(kChunk, full - c)));
  }
  const uint32_t lastMask = ~0u >> (31 - (n & 31));  // bits 0 .. n & 31 of word `full`
  if (bvwords_) {
    bvwords_[full] |= lastMask;
    bvwords_[0] &= ~1u;
  } else {
    bvwordsLarge_->ref(full) |= lastMask;
    bvwordsLarge_->ref(0) &= ~1u;
  }
  numSet_ = static_cast<uint32_t>(n);
}

void BitVector::invertAll() {
  const int32_t words = wordCount();
  for (int32_t c = 0; c < words; c += kChunk) {
    uint32_t* p = chunkForWrite(c, true);
    if (!p) return;
    const int32_t n = std::min(kChunk, words - c);
    for (int32_t i = 0; i < n; ++i) p[i] = ~p[i];
  }
  numSet_ = kUnknownCount;
}

void BitVector::invertFirst(int32_t n) {
  if (n > maxBit_) resize(n);
  numSet_ = kUnknownCount;
  if (n < 1) return;
  // Bits 1 .. n: whole words below n's word, then the part of n's word up to n.
  const int32_t last = n >> kWordShift;
  for (int32_t w = 0; w <= last; ++w) {
    uint32_t mask = ~0u;
    if (w == 0) mask &= ~1u;
    if (w == last) mask &= ~0u >> (31 - (n & 31));
    if (bvwords_)
      bvwords_[w] ^= mask;
    else
      bvwordsLarge_->ref(w) ^= mask;
  }
}

// ---- searching ----

int32_t BitVector::nextSetAfter(int32_t i) const {
  if (i >= maxBit_) return -1;
  const int32_t b = i < 0 ? 0 : i + 1;
  const int32_t words = wordCount();
  int32_t w = b >> kWordShift;
  uint32_t cur = word(w) & (~0u << (b & 31));
  if (cur) return (w << kWordShift) + std::countr_zero(cur);
  ++w;
  while (w < words) {
    const int32_t c = w & ~(kChunk - 1);
    const int32_t end = std::min(words, c + kChunk);
    if (const uint32_t* p = chunk(c)) {
      for (; w < end; ++w)
        if (p[w - c]) return (w << kWordShift) + std::countr_zero(p[w - c]);
    }
    w = end;
  }
  return -1;
}

int32_t BitVector::nextClear(int32_t i) const {
  if (i >= maxBit_) return -1;
  const int32_t b = i < 0 ? 0 : i + 1;
  const int32_t words = wordCount();
  int32_t w = b >> kWordShift;
  uint32_t cur = ~word(w) & (~0u << (b & 31));
  if (cur) return (w << kWordShift) + std::countr_zero(cur);
  ++w;
  while (w < words) {
    const int32_t c = w & ~(kChunk - 1);
    const int32_t end = std::min(words, c + kChunk);
    const uint32_t* p = chunk(c);
    if (!p) return w << kWordShift;  // an absent page is all clear
    for (; w < end; ++w)
      if (~p[w - c]) return (w << kWordShift) + std::countr_zero(~p[w - c]);
  }
  return -1;
}

int32_t BitVector::prevSet(int32_t i) const {
  if (i < 1 || maxBit_ < 0) return -1;
  const int32_t b = i > maxBit_ ? maxBit_ : i - 1;  // the highest bit looked at
  int32_t w = b >> kWordShift;
  uint32_t cur = word(w) & (~0u >> (31 - (b & 31)));
  if (cur) return (w << kWordShift) + 31 - std::countl_zero(cur);
  --w;
  while (w >= 0) {
    const int32_t c = w & ~(kChunk - 1);
    if (const uint32_t* p = chunk(c)) {
      for (; w >= c; --w)
        if (p[w - c]) return (w << kWordShift) + 31 - std::countl_zero(p[w - c]);
    }
    w = c - 1;
  }
  return -1;
}

int32_t BitVector::prevClear(int32_t i) const {
  if (i < 1 || maxBit_ < 0) return -1;
  const int32_t b = i > maxBit_ ? maxBit_ : i - 1;
  int32_t w = b >> kWordShift;
  uint32_t cur = ~word(w) & (~0u >> (31 - (b & 31)));
  if (cur) return (w << kWordShift) + 31 - std::countl_zero(cur);
  --w;
  while (w >= 0) {
    const int32_t c = w & ~(kChunk - 1);
    const uint32_t* p = chunk(c);
    if (!p) return (w << kWordShift) + 31;  // an absent page is all clear
    for (; w >= c; --w)
      if (~p[w - c]) return (w << kWordShift) + 31 - std::countl_zero(~p[w - c]);
    w = c - 1;
  }
  return -1;
}

// ---- counting ----

int64_t BitVector::countWords(int32_t from, int32_t to) const {
  int64_t total = 0;
  for (int32_t w = from; w < to;) {
    const int32_t c = w & ~(kChunk - 1);
    const int32_t end = std::min(to, c + kChunk);
    if (const uint32_t* p = chunk(c)) total += popcountWords(p + (w - c), end - w);
    w = end;
  }
  return total;
}

int32_t BitVector::count() const {
  if (numSet_ != kUnknownCount) return static_cast<int32_t>(numSet_);
  return recount();
}

int32_t BitVector::recount() const {
  numSet_ = static_cast<uint32_t>(countWords(0, wordCount()));
  return static_cast<int32_t>(numSet_);
}

int32_t BitVector::countFrom(int32_t i) const {
  if (i >= maxBit_) return 0;
  const int32_t b = i < 0 ? 0 : i + 1;
  const int32_t w = b >> kWordShift;
  int64_t total = std::popcount(word(w) & (~0u << (b & 31)));
  total += countWords(w + 1, wordCount());
  return static_cast<int32_t>(total);
}

int32_t BitVector::countBelow(int32_t i) const {
  if (nextSet(-1) < 1) return 0;  // nothing set, or bit 0 set
  if (i <= 1) return 0;
  const int32_t top = i > maxBit_ ? maxBit_ : i - 1;  // the last bit counted
  const int32_t w = top >> kWordShift;
  int64_t total = countWords(0, w);
  total += std::popcount(word(w) & (~0u >> (31 - (top & 31))));
  return static_cast<int32_t>(total);  // bit 0 is clear here
}

// ---- size and form ----

void BitVector::resize(int32_t n) {
  if (n < 31) n = 31;
  if (n == maxBit_) return;
  const bool growing = n > maxBit_;
  int64_t target = n;
  if (growing) {
    target = maxBit_ < 31 ? 31 : maxBit_;
    while (target <= n) target *= 2;
    if (target > INT32_MAX) target = INT32_MAX;
  }
  const int32_t required = (n >> kWordShift) + 1;
  const int32_t targetWords = static_cast<int32_t>((target >> kWordShift) + 1);
  const int32_t present = wordCount();
  if (required == present) return;
  if (required < present) numSet_ = kUnknownCount;

  int32_t obtained;
  if (bvwordsLarge_ && required < kPlainBelowWords && !growing) {
    QOR_ASSERT(!bvwords_);
    void* block = nullptr;
    wexMalloc(&block, 4, required);
    auto* words = static_cast<uint32_t*>(block);
    for (int32_t w = 0; w < required; ++w) words[w] = bvwordsLarge_->get(w);
    delete bvwordsLarge_;
    bvwordsLarge_ = nullptr;
    bvwords_ = words;
    obtained = required;
  } else if (bvwords_ && required >= kPagedGrowWords && growing) {
    QOR_ASSERT(!bvwordsLarge_);
    if (haveManager()) {
      auto* paged = new PagedWords(targetWords);
      for (int32_t w = 0; w < present; ++w)
        if (bvwords_[w]) paged->set(w, bvwords_[w]);
      wexFree(bvwords_);
      bvwords_ = nullptr;
      bvwordsLarge_ = paged;
      obtained = paged->size();
    } else {
      void* block = bvwords_;
      obtained = wexRealloc(&block, 4, present, required, static_cast<uint32_t>(targetWords));
      bvwords_ = static_cast<uint32_t*>(block);
    }
  } else if (bvwords_) {
    // A plain step asks for at most 6144 words; a shrink asks for exactly what it keeps.
    int32_t most = std::max(required, std::min(targetWords, kPlainStepWords));
    void* block = bvwords_;
    obtained = wexRealloc(&block, 4, present, required, static_cast<uint32_t>(most));
    bvwords_ = static_cast<uint32_t*>(block);
  } else {
    if (!bvwordsLarge_) {
      wexAssertFailed("0", __FILE__, static_cast<int32_t>(__LINE__));
      return;
    }
    bvwordsLarge_->resize(growing ? targetWords : required, true);
    obtained = bvwordsLarge_->size();
  }
  maxBit_ = static_cast<int32_t>(int64_t{obtained} * 32 - 1);
}

bool BitVector::isEmpty() const {
  const int32_t words = wordCount();
  for (int32_t c = 0; c < words; c += kChunk) {
    const uint32_t* p = chunk(c);
    if (!p) continue;
    const int32_t n = std::min(kChunk, words - c);
    for (int32_t i = 0; i < n; ++i)
      if (p[i]) return false;
  }
  return true;
}

int32_t BitVector::highestWord() const {
  for (int32_t w = wordCount() - 1; w >= 0;) {
    const int32_t c = w & ~(kChunk - 1);
    if (const uint32_t* p = chunk(c)) {
      for (; w >= c; --w)
        if (p[w - c]) return w;
    }
    w = c - 1;
  }
  return -1;
}

// ---- comparing and combining ----

bool BitVector::equals(const BitVector& other) const {
  if (this == &other) return true;
  if (numSet_ != kUnknownCount && other.numSet_ != kUnknownCount && numSet_ != other.numSet_)
    return false;
  const int32_t a = wordCount(), b = other.wordCount();
  const int32_t words = std::max(a, b);
  for (int32_t c = 0; c < words; c += kChunk) {
    const int32_t n = std::min(kChunk, words - c);
    const uint32_t* p = c < a ? chunk(c) : nullptr;
    const uint32_t* q = c < b ? other.chunk(c) : nullptr;
    if (!p && !q) continue;  // absent pages or missing words on both sides
    const int32_t na = std::clamp(a - c, 0, n), nb = std::clamp(b - c, 0, n);
    for (int32_t i = 0; i < n; ++i) {
      const uint32_t x = (p && i < na) ? p[i] : 0u;
      const uint32_t y = (q && i < nb) ? q[i] : 0u;
      if (x != y) return false;
    }
  }
  return true;
}

bool BitVector::disjoint(const BitVector& other) const {
  const int32_t words = std::min(wordCount(), other.wordCount());
  for (int32_t c = 0; c < words; c += kChunk) {
    const uint32_t* p = chunk(c);
    const uint32_t* q = other.chunk(c);
    if (!p || !q) continue;
    const int32_t n = std::min(kChunk, words - c);
    uint32_t any = 0;
    for (int32_t i = 0; i < n; ++i) any |= p[i] & q[i];
    if (any) return false;
  }
  return true;
}

void BitVector::assign(const BitVector& other) {
  if (this == &other) return;
  if (other.bvwordsLarge_) {
    if (!bvwordsLarge_) {
      wexFree(bvwords_);
      bvwords_ = nullptr;
      bvwordsLarge_ = new PagedWords(0);
    }
    bvwordsLarge_->copyFrom(*other.bvwordsLarge_, other.bvwordsLarge_->size());
    maxBit_ = other.maxBit_;
  } else {
    const int32_t theirs = other.bvwords_ ? other.wordCount() : 0;
    if (bvwordsLarge_) {
      delete bvwordsLarge_;
      bvwordsLarge_ = nullptr;
      maxBit_ = -1;  // no plain words yet
    }
    const int32_t mine = bvwords_ ? wordCount() : 0;
    if (bvwords_ && mine >= theirs) {
      if (numSet_ != 0)
        std::memset(bvwords_ + theirs, 0, sizeof(uint32_t) * static_cast<size_t>(mine - theirs));
    } else {
      wexFree(bvwords_);
      void* block = nullptr;
      wexRealloc(&block, 4, 0, std::max(theirs, 1), 0xFFFFFFFFu);
      bvwords_ = static_cast<uint32_t*>(block);
      maxBit_ = std::max(other.maxBit_, 31);
    }
    if (theirs)
      std::memcpy(bvwords_, other.bvwords_, sizeof(uint32_t) * static_cast<size_t>(theirs));
  }
  numSet_ = other.numSet_;
}

void BitVector::assign(const BlockBitVector& other) {
  const int32_t bits = other.blockCapacity();  // whole blocks up to the last non-empty one
  clearAll();
  numSet_ = kUnknownCount;
  if (bits > 0 && bits - 1 > maxBit_) resize(bits - 1);
  const int32_t blocks = bits >> BlockBitVector::kBlockShift;
  for (int32_t b = 0; b < blocks; ++b) {
    const int32_t cnt = other.blockCounts_[b];
    if (cnt == 0) continue;
    const uint32_t* src = other.blocks_[b];
    for (int32_t k = 0; k < BlockBitVector::kBlockWords; k += kChunk) {
      const int32_t w = b * BlockBitVector::kBlockWords + k;
      uint32_t* dst = chunkForWrite(w & ~(kChunk - 1), true);
      const int32_t n = std::min(kChunk, BlockBitVector::kBlockWords - k);
      uint32_t* d = dst + (w & (kChunk - 1));
      if (src)
        std::memcpy(d, src + k, sizeof(uint32_t) * static_cast<size_t>(n));
      else
        std::memset(d, 0xFF, sizeof(uint32_t) * static_cast<size_t>(n));  // a full block
    }
  }
  numSet_ = other.numSet_ >= 0 ? static_cast<uint32_t>(other.numSet_) : kUnknownCount;
}

void BitVector::combine(const BitVector& other, Op op) {
  const int32_t high = other.highestWord();
  if (high >= wordCount()) resize(high * 32 + 31);
  numSet_ = kUnknownCount;
  const int32_t words = wordCount();
  // Words of other from `high` + 1 on are 0: or, and-not and xor leave ours alone there,
  // and clears them.
  const int32_t limit = op == Op::kAnd ? words : high + 1;
  for (int32_t c = 0; c < limit; c += kChunk) {
    const int32_t n = std::min(kChunk, limit - c);
    const uint32_t* src = c <= high ? other.chunk(c) : nullptr;
    const int32_t ns = std::clamp(high + 1 - c, 0, n);  // words of other in this chunk
    switch (op) {
      case Op::kOr:
      case Op::kXor: {
        if (!src) break;
        uint32_t* dst = chunkForWrite(c, true);
        if (op == Op::kOr)
          applyWords(dst, src, ns, [](uint32_t a, uint32_t b) { return a | b; });
        else
          applyWords(dst, src, ns, [](uint32_t a, uint32_t b) { return a ^ b; });
        break;
      }
      case Op::kAndNot: {
        uint32_t* dst = src ? chunkForWrite(c, false) : nullptr;
        if (dst) applyWords(dst, src, ns, [](uint32_t a, uint32_t b) { return a & ~b; });
        break;
      }
      case Op::kAnd: {
        uint32_t* dst = chunkForWrite(c, false);
        if (!dst) break;
        if (src) applyWords(dst, src, ns, [](uint32_t a, uint32_t b) { return a & b; });
        const int32_t from = src ? ns : 0;
        if (from < n) std::memset(dst + from, 0, sizeof(uint32_t) * static_cast<size_t>(n - from));
        break;
      }
    }
  }
}

void BitVector::unite(const BitVector& other) {
  combine(other, Op::kOr);
}
void BitVector::intersect(const BitVector& other) {
  combine(other, Op::kAnd);
}
void BitVector::subtract(const BitVector& other) {
  combine(other, Op::kAndNot);
}
void BitVector::exclusiveOr(const BitVector& other) {
  combine(other, Op::kXor);
}

void BitVector::unite(const BlockBitVector& other) {
  for (int32_t i = other.nextSet(-1); i >= 0; i = other.nextSet(i)) set(i);
}
void BitVector::intersect(const BlockBitVector& other) {
  for (int32_t i = nextSet(-1); i >= 0; i = nextSet(i))
    if (!other.test(i)) clear(i);
}
void BitVector::subtract(const BlockBitVector& other) {
  for (int32_t i = other.nextSet(-1); i >= 0; i = other.nextSet(i)) clear(i);
}
void BitVector::exclusiveOr(const BlockBitVector& other) {
  for (int32_t i = other.nextSet(-1); i >= 0; i = other.nextSet(i)) {
    if (test(i))
      clear(i);
    else
      set(i);
  }
}

// ---- rearranging ----

void BitVector::select(const BitVector& mask) {
  // Reading at the k-th set bit of mask never falls behind writing at k unless mask has
  // bit 0; then the bits are read from a copy.
  const BitVector* from = this;
  BitVector copy(1);
  if (mask.test(0)) {
    copy.assign(*this);
    from = &copy;
  }
  int32_t k = 0;
  for (int32_t m = mask.nextSet(-1); m >= 0; m = mask.nextSet(m)) {
    ++k;
    if (from->test(m))
      set(k);
    else
      clear(k);
  }
  clearRange(k + 1, maxBit_);
  numSet_ = kUnknownCount;
  resize(k);
}

void BitVector::remap(const QorMM::Array<int>& array) {
  const int32_t size = array.size();
  BitVector result(1);
  int32_t lastTarget = -1;
  for (int32_t i = nextSet(-1); i >= 0; i = nextSet(i)) {
    if (i >= size) {
      result.set(i);
      continue;
    }
    const int32_t e = array.get(i);
    if (e == 0) continue;
    result.set(e);
    lastTarget = e;
  }
  const int32_t high = result.prevSet(INT32_MAX);
  assign(result);
  const int32_t keep = std::max(lastTarget, high);
  if (keep >= 0) resize(keep);
}

void BitVector::shiftUp(int32_t n) {
  if (n <= 0) return;
  const int32_t high = prevSet(INT32_MAX);
  if (high < 0) return;
  if (int64_t{high} + n > INT32_MAX) n = INT32_MAX - high;  // keeps the top bit
  if (high + n > maxBit_) resize(high + n);
  const int32_t ws = n >> kWordShift, bs = n & 31;
  const int32_t words = wordCount();
  for (int32_t w = words - 1; w >= 0; --w) {
    const int32_t s = w - ws;
    uint32_t v = 0;
    if (s >= 0) {
      v = word(s) << bs;
      if (bs && s - 1 >= 0) v |= word(s - 1) >> (32 - bs);
    }
    if (bvwords_)
      bvwords_[w] = v;
    else
      bvwordsLarge_->set(w, v);
  }
}

bool BitVector::splitEven(int32_t parts, int32_t* firstBit, int32_t* counts) const {
  if (parts < 1 || !firstBit || !counts) return false;
  const int32_t total = count();
  int32_t ordinal = 0;
  int32_t bit = nextSet(-1);
  for (int32_t k = 0; k < parts; ++k) {
    const auto want = static_cast<int32_t>(static_cast<double>(k) / parts * total);
    while (bit >= 0 && ordinal < want) {
      bit = nextSet(bit);
      ++ordinal;
    }
    firstBit[k] = ordinal < total ? bit : -1;
    counts[k] = total - want;
  }
  return true;
}

bool BitVector::randomSubset(double fraction, IQorRandom* random) {
  const int32_t total = count();
  if (!random) {
    void* out = nullptr;
    getService("IQorRandom", &out);
    random = static_cast<IQorRandom*>(out);
    if (!random) return false;
    random->seed(total * 2 + 412);
  }
  auto needed = static_cast<int32_t>(total * fraction + 0.5);
  int32_t remaining = total;
  for (int32_t i = nextSet(-1); i >= 0; i = nextSet(i)) {
    if (random->next(remaining) < needed)
      --needed;
    else
      clear(i);
    --remaining;
  }
  return true;
}

// ---- streams ----

bool BitVector::write(BinOutput& out) const {
  const int32_t words = wordCount();
  const int32_t version = out.version();
  const bool sparse =
      words > 32 && (version == 0 || version >= 13) && int64_t{count()} * 2 < int64_t{words};
  const BinMagic magic = magic_ ? *magic_ : BinMagic(kMagic);
  const int32_t header[4] = {words, maxBit_, sparse ? 1 : 0, static_cast<int32_t>(numSet_)};
  if (!magic.write(out) || !out.write(header, uint64_t{4})) return false;
  if (sparse) return qor::writeSetBitList(out, *this);
  for (int32_t c = 0; c < words; c += kChunk) {
    const uint32_t* p = chunk(c);
    if (!out.write(p ? p : zeroChunk(), static_cast<uint64_t>(std::min(kChunk, words - c))))
      return false;
  }
  return true;
}

bool BitVector::read(BinInput& in) {
  BinMagic magic = magic_ ? *magic_ : BinMagic(kMagic);
  if (!magic.read(in)) return false;
  int32_t header[4];
  if (!in.read(header, uint64_t{4})) return false;
  const int32_t words = header[0], maxBit = header[1], sparse = header[2], listed = header[3];
  if (words > kMaxWords) return false;
  const bool emptyForm = words <= 0 || maxBit < 1;
  if (!emptyForm && in.size() >= in.tell()) {
    const int64_t left = in.size() - in.tell();
    if (sparse == 0 && int64_t{words} * 4 > left) return false;
    if (sparse == 1 && int64_t{listed} * 4 > left) return false;
  }

  freeStorage();
  numSet_ = kUnknownCount;
  if (emptyForm) {
    makeStorage(1);
    numSet_ = 0;
    return true;
  }
  makeStorage(words);
  if (sparse == 0) {
    std::vector<uint32_t> buffer(static_cast<size_t>(std::min(words, kChunk)));
    for (int32_t c = 0; c < words; c += kChunk) {
      const int32_t n = std::min(kChunk, words - c);
      if (bvwords_) {
        if (!in.read(bvwords_ + c, static_cast<uint64_t>(n))) return false;
        continue;
      }
      if (!in.read(buffer.data(), static_cast<uint64_t>(n))) return false;
      bool any = false;
      for (int32_t i = 0; i < n && !any; ++i) any = buffer[static_cast<size_t>(i)] != 0;
      if (any)
        std::memcpy(chunkForWrite(c, true), buffer.data(),
                    sizeof(uint32_t) * static_cast<size_t>(n));
    }
    return true;
  }
  if (sparse == 1) {
    numSet_ = 0;
    int32_t batch[256];
    for (int32_t left = listed; left > 0;) {
      const int32_t n = std::min(left, 256);
      if (!in.read(batch, static_cast<uint64_t>(n))) return false;
      for (int32_t k = 0; k < n; ++k) set(batch[k]);
      left -= n;
    }
  }
  return true;
}

std::ostream& operator<<(std::ostream& os, const BitVector& bits) {
  os << "numSet=" << bits.count() << '\n';
  int32_t onLine = 0;
  for (int32_t i = bits.nextSet(-1); i >= 0; i = bits.nextSet(i)) {
    os << i << ' ';
    if (++onLine == 8) {
      os << '\n';
      onLine = 0;
    }
  }
  return os;
}

// ---- the progress walker ----

ProgBitVectorIter::ProgBitVectorIter(const BitVector& bits, bool setBits)
    : bits_(bits),
      progress_(nullptr),
      step_(std::max(bits.maxBit() / 100, 1)),
      nextReport_(step_),
      setBits_(setBits) {
  void* out = nullptr;
  getService("IQorProgress", &out);
  progress_ = static_cast<IQorProgress*>(out);
}

ProgBitVectorIter::~ProgBitVectorIter() {
  if (progress_) progress_->report(1.0f);
}

int32_t ProgBitVectorIter::next() {
  if (done_) return -1;
  const int32_t at = setBits_ ? bits_.nextSet(position_) : bits_.nextClear(position_);
  if (at < 0) {
    done_ = true;
    position_ = -1;
    return -1;
  }
  position_ = at;
  if (at >= nextReport_) {
    if (progress_ && bits_.maxBit() > 0 &&
        !progress_->report(static_cast<float>(at) / static_cast<float>(bits_.maxBit())))
      stop_ = true;
    nextReport_ =
        static_cast<int32_t>(std::min<int64_t>(INT32_MAX, (int64_t{at} / step_ + 1) * step_));
  }
  return at;
}
