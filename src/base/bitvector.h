// Dense sets of indices: one bit per index in an array of 32-bit words. Bit i lies in word
// i >> 5 at position i & 31, bit 0 the least significant. The words live in one plain
// block while the vector is small and move to paged storage (2048 words a page, pages from
// the host's memory manager) when it grows large; a page that was never written reads as
// zeros, so sparse large vectors stay cheap.
//
// Arrays of this system are one-based, so bit 0 is normally not a member: the operations
// that make a full set (setAll, setFirst) leave it clear.
//
// The form rules: a constructor makes the paged form from 4096 words on, resize moves a
// plain vector to pages when it needs 4097 words or more, and a paged vector goes back to
// the plain form only when it shrinks below 1536 words; the gap keeps a vector near the
// limit from going back and forth. Without a memory manager everything stays plain.
//
// The stream form (written at the stream's current position, big-endian):
//   magic 0x315E97D6, words, maxBit, sparse (1 list / 0 words), numSet (-1: not known),
//   then either numSet ascending 32-bit indices or `words` 32-bit words.
// A vector has no lock; one thread uses it at a time.
#pragma once
#include <cstdint>
#include <iosfwd>

#include "bulk/pagedarray.h"
#include "core/qorobject.h"

class BinInput;
class BinOutput;
class BinMagic;
class BlockBitVector;
class IQorProgress;
class IQorRandom;

// The page split of bit vector words: page = word >> 11, slot = word & 0x7FF, 8192-byte
// pages.
struct BitVectorSplitter {
  static constexpr int32_t kShift = 11;
  static constexpr int32_t kPageElements = 2048;
  static constexpr uint32_t kPageBytes = 8192;
};

// A dense bit set over bit indices 0 .. maxBit(), growing on demand. The count of set bits
// is cached: set and clear keep it current, operations that change many bits at once make
// it "not known" and count rebuilds it.
class BitVector : public QorShared {
 public:
  // The paged word storage.
  using PagedWords = QorMM::Array<unsigned int, BitVectorSplitter>;

  // The stream identifier word.
  static constexpr uint32_t kMagic = 0x315E97D6;
  // The cached count's value for "not known".
  static constexpr uint32_t kUnknownCount = 0xFFFFFFFF;
  // log2 of the bits in a word.
  static constexpr int32_t kWordShift = 5;
  // Words from which a constructor (and a stream read) chooses the paged form.
  static constexpr int32_t kPagedFromWords = 4096;
  // Required words from which a growing resize moves a plain vector to pages.
  static constexpr int32_t kPagedGrowWords = 4097;
  // Required words below which a shrinking paged vector goes back to the plain form.
  static constexpr int32_t kPlainBelowWords = 1536;
  // The most words one growth step of a plain vector asks for (with a manager present).
  static constexpr int32_t kPlainStepWords = 6144;

  // Room for bits 0 .. n at least: max(n >> 5, 0) + 1 words, maxBit = words * 32 - 1, all
  // clear, count 0. From 4096 words on, with a memory manager present, the paged form.
  explicit BitVector(int32_t n = 10);
  // The same form as the source, its words and its cached count.
  BitVector(const BitVector& other);
  // Takes over the storage and the stream identifier; the source is left without storage
  // (maxBit -1), fit only to be destroyed or assigned to.
  BitVector(BitVector&& other) noexcept;
  // A plain vector of one word, then assign(other), which grows it.
  explicit BitVector(const BlockBitVector& other);
  ~BitVector() override;

  // assign(other).
  BitVector& operator=(const BitVector& other);
  // Exchanges storage with the source; the source gets this vector's old storage.
  BitVector& operator=(BitVector&& other) noexcept;

  // The module-wide empty vector, BitVector(10), made on first use.
  static const BitVector& empty();

  // ---- single bits ----

  // Sets bit i, growing the vector first when i is above maxBit. The cached count goes up
  // by one when the bit was clear and the count is known. A negative i does nothing.
  void set(int32_t i) {
    if (static_cast<uint32_t>(i) > static_cast<uint32_t>(maxBit_)) [[unlikely]] {
      if (i < 0) return;
      resize(i);
    }
    const uint32_t mask = 1u << (i & 31);
    uint32_t& w = bvwords_ ? bvwords_[i >> kWordShift] : bvwordsLarge_->ref(i >> kWordShift);
    if (!(w & mask)) {
      w |= mask;
      if (numSet_ != kUnknownCount) ++numSet_;
    }
  }
  // Clears bit i; nothing above maxBit or below 0. The cached count goes down by one when
  // the bit was set and the count is known.
  void clear(int32_t i);
  // Whether bit i is set; false above maxBit and below 0.
  bool test(int32_t i) const {
    if (static_cast<uint32_t>(i) > static_cast<uint32_t>(maxBit_)) [[unlikely]]
      return false;
    const uint32_t w = bvwords_ ? bvwords_[i >> kWordShift] : bvwordsLarge_->get(i >> kWordShift);
    return (w >> (i & 31)) & 1u;
  }

  // ---- ranges and whole sets ----

  // Clears bits a .. min(b, maxBit) (a below 0 counts as 0). The count becomes not known.
  // False, with nothing changed, when a is above maxBit.
  bool clearRange(int32_t a, int32_t b);
  // All words 0 and count 0; nothing to do when the count is already 0.
  void clearAll();
  // Bits 1 .. maxBit set, bit 0 clear; count = maxBit.
  void setAll();
  // Grows to hold bit n, sets bits 1 .. n, clears bit 0 and every bit above n; count = n.
  // A negative n counts as 0.
  void setFirst(int32_t n);
  // Inverts every word, bit 0 included. The count becomes not known.
  void invertAll();
  // Grows to hold bit n and inverts bits 1 .. n; bit 0 and the bits above n stay. The
  // count becomes not known.
  void invertFirst(int32_t n);

  // ---- searching ----

  // The lowest set bit above i, or -1. i = -1 also looks at bit 0; i at or above maxBit
  // gives -1. Zero words (and absent pages) are skipped whole. A set bit later in the
  // same word is found inline.
  int32_t nextSet(int32_t i) const {
    if (i >= -1 && i < maxBit_) [[likely]] {
      const int32_t b = i + 1;
      const int32_t w = b >> kWordShift;
      const uint32_t cur = (bvwords_ ? bvwords_[w] : bvwordsLarge_->get(w)) >> (b & 31);
      if (cur) return b + __builtin_ctz(cur);
    }
    return nextSetAfter(i);
  }
  // The lowest clear bit above i, or -1; words of all ones are skipped whole.
  int32_t nextClear(int32_t i) const;
  // The highest set bit below i, or -1; i below 1 gives -1, and for i above maxBit the
  // search starts from maxBit.
  int32_t prevSet(int32_t i) const;
  // The highest clear bit below i, or -1, with the same limits as prevSet.
  int32_t prevClear(int32_t i) const;

  // ---- counting ----

  // The number of set bits: the cached count, else counted and cached.
  int32_t count() const;
  // Counts again whatever the cache says, and caches the result.
  int32_t recount() const;
  // Set bits above i.
  int32_t countFrom(int32_t i) const;
  // Set bits from bit 1 up to, not including, i. Answers 0 whenever the first set bit lies
  // below 1, that is when bit 0 is set, whatever else is set.
  int32_t countBelow(int32_t i) const;
  // The cached count as it stands: kUnknownCount when not known.
  uint32_t cachedCount() const { return numSet_; }

  // ---- size and form ----

  // Sets the highest usable bit to about n (n below 31 counts as 31). Growth goes by
  // doubling the highest bit until it is above n; a shrink cuts whole words and makes the
  // count not known. Bits in the words kept stay. The form may change (see the top).
  void resize(int32_t n);
  // The highest usable bit: words * 32 - 1.
  int32_t maxBit() const { return maxBit_; }
  // Words in use: (maxBit >> 5) + 1.
  int32_t wordCount() const { return (maxBit_ >> kWordShift) + 1; }
  // Word w (0 <= w < wordCount()); absent pages read as 0.
  uint32_t word(int32_t w) const {
    return bvwords_ ? bvwords_[w] : (bvwordsLarge_ ? bvwordsLarge_->get(w) : 0u);
  }
  // Whether the words live in paged storage.
  bool isPaged() const { return bvwordsLarge_ != nullptr; }
  // The paged storage, or null in the plain form.
  const PagedWords* pagedWords() const { return bvwordsLarge_; }
  // Replaces word w (0 <= w < wordCount()); the count becomes not known.
  void setWord(int32_t w, uint32_t value) {
    (bvwords_ ? bvwords_[w] : bvwordsLarge_->ref(w)) = value;
    numSet_ = kUnknownCount;
  }
  // Whether no bit is set (the words are looked at, not the cached count).
  bool isEmpty() const;

  // ---- comparing and combining ----

  // Same set bits: cached counts are compared first when both are known, then the words;
  // words missing in the shorter vector count as 0.
  bool equals(const BitVector& other) const;
  // True when no bit is set in both.
  bool disjoint(const BitVector& other) const;
  // Becomes a copy of other: its bits, its count and, where other is paged, its form. A
  // plain other into a plain vector at least as long keeps this vector's length (the words
  // past other's are cleared unless the count is known to be 0).
  void assign(const BitVector& other);
  // Becomes a copy of the block vector's bits, growing as needed.
  void assign(const BlockBitVector& other);
  // this |= other, this &= other, this &= ~other, this ^= other, word by word. The result is
  // at least long enough for other's highest non-zero word; the count becomes not known.
  void unite(const BitVector& other);
  void intersect(const BitVector& other);
  void subtract(const BitVector& other);
  void exclusiveOr(const BitVector& other);
  // The same four with a block vector operand, walking its set bits.
  void unite(const BlockBitVector& other);
  void intersect(const BlockBitVector& other);
  void subtract(const BlockBitVector& other);
  void exclusiveOr(const BlockBitVector& other);

  // ---- rearranging ----

  // Bit k (k counted from 1) becomes this vector's bit at the k-th set bit of mask; every
  // bit above the last such k is cleared and the vector is resized to that k. Bit 0 stays.
  void select(const BitVector& mask);
  // For each index i below the array's size: an entry of 0 clears bit i, another entry
  // moves a set bit i to the index the entry holds. Bits at or above the size stay. The
  // vector then shrinks to the last target, never below a bit that is still set.
  void remap(const QorMM::Array<int>& array);
  // Every bit moves up by n (n <= 0 does nothing); the low n bits become clear. Grows first
  // when the highest set bit would move past maxBit. The count stays.
  void shiftUp(int32_t n);
  // Cuts the set bits into `parts` runs of nearly equal size: run k starts at the set bit
  // whose ordinal (from 0, ascending) is trunc(k / parts * count); firstBit[k] gets that
  // bit (-1 when there is none) and counts[k] the set bits from there to the end. Both
  // arrays hold `parts` entries. False for parts below 1.
  bool splitEven(int32_t parts, int32_t* firstBit, int32_t* counts) const;
  // Keeps round(count * fraction) of the set bits, each with the same chance, and clears
  // the others. Without a source, the host's IQorRandom is fetched and seeded with
  // count * 2 + 412; without that service nothing changes and the answer is false.
  bool randomSubset(double fraction, IQorRandom* random = nullptr);

  // ---- streams ----

  // Writes the stream form. The list form is chosen when there are more than 32 words,
  // the stream's version is 0 or at least 13, and fewer than half the words' count of
  // bits is set; otherwise the words. True when the stream took everything.
  bool write(BinOutput& out) const;
  // Reads the stream form. A different magic id, a short header, a word count beyond the
  // 2^26 words a vector can have, or a body longer than what is left of the stream answers
  // false with the vector unchanged. Otherwise the old contents go and the count becomes
  // not known: a count of 0 words or a maxBit below 1 gives one clear word (maxBit 31); a
  // word list fills the same form a constructor would choose (paged from more than 4095
  // words, storing only non-zero words); an index list sets each index in turn (the
  // count is then known); any other form flag reads nothing further. The vector's length
  // follows from the word count; the stream's maxBit is only tested. False when the body
  // ends short (the vector holds what came).
  bool read(BinInput& in);

  // Exchanges everything with other.
  void swap(BitVector& other) noexcept;

 private:
  friend class BlockBitVector;
  friend class ProgBitVectorIter;

  // Words [c, c + n) for reading, c a multiple of 2048 words: a pointer, or null where a
  // page is absent (zeros). n is min(2048, limit - c).
  const uint32_t* chunk(int32_t c) const;
  // The same for writing; with create an absent page is made, else null is answered.
  uint32_t* chunkForWrite(int32_t c, bool create);
  // nextSet past the word of bit i + 1 (or for an i outside -1 .. maxBit - 1).
  int32_t nextSetAfter(int32_t i) const;
  // Frees both storages.
  void freeStorage();
  // Makes cleared storage of `words` words in the form a constructor picks; maxBit follows.
  void makeStorage(int32_t words);
  // The index of the highest non-zero word, or -1.
  int32_t highestWord() const;
  // Set bits in words [from, to).
  int64_t countWords(int32_t from, int32_t to) const;
  // The combining step of unite and its kin.
  enum class Op { kOr, kAnd, kAndNot, kXor };
  void combine(const BitVector& other, Op op);

  uint32_t* bvwords_ = nullptr;         // the plain form
  PagedWords* bvwordsLarge_ = nullptr;  // the paged form
  BinMagic* magic_ = nullptr;           // the stream identifier
  int32_t maxBit_ = 31;                 // words * 32 - 1
  mutable uint32_t numSet_ = 0;         // the cached count, or kUnknownCount
};

// "numSet=" and the count on one line, then the indices of the set bits, each followed by
// a blank, eight to a line.
std::ostream& operator<<(std::ostream& os, const BitVector& bits);

// A walker over the set bits of a vector (or its clear bits), reporting its progress to
// the host's IQorProgress: each time the position passes another hundredth of maxBit
// (a step of max(maxBit / 100, 1) bits) it reports position / maxBit, and its destructor
// reports 1.0. Without the service it walks silently. The vector must not change while
// the walker lives.
class ProgBitVectorIter {
 public:
  // Starts before bit 0 (position -1). setBits false walks the clear bits.
  explicit ProgBitVectorIter(const BitVector& bits, bool setBits = true);
  // Tells the service that the work is finished (report(1.0)).
  ~ProgBitVectorIter();
  ProgBitVectorIter(const ProgBitVectorIter&) = delete;
  ProgBitVectorIter& operator=(const ProgBitVectorIter&) = delete;

  // The next bit of the walked kind, or -1 at the end (which stays the end).
  int32_t next();
  // The last bit answered, -1 before the first and at the end.
  int32_t position() const { return position_; }
  // The step between reports, in bits.
  int32_t step() const { return step_; }
  // Whether a report came back with a request to stop.
  bool stopRequested() const { return stop_; }

 private:
  const BitVector& bits_;
  IQorProgress* progress_;
  int32_t position_ = -1;
  int32_t step_;
  int32_t nextReport_;
  bool setBits_;
  bool done_ = false;
  bool stop_ = false;
};

namespace qor {
// The sparse stream form's body: the index of every set bit, in ascending order, written in
// batches on a BinOutput. V is BitVector or BlockBitVector (anything with nextSet).
template <class Out, class V>
bool writeSetBitList(Out& out, const V& v) {
  int32_t batch[256];
  int32_t n = 0;
  for (int32_t i = v.nextSet(-1); i >= 0; i = v.nextSet(i)) {
    batch[n++] = i;
    if (n == 256) {
      if (!out.write(batch, uint64_t{256})) return false;
      n = 0;
    }
  }
  return n == 0 || out.write(batch, static_cast<uint64_t>(n));
}
}  // namespace qor
