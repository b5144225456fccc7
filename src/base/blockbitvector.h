// Sparse sets of indices: blocks of 32768 bits (1024 words, 4096 bytes) that exist only
// where bits are set, and where a block that is all ones costs no memory either. Bit i lies
// in block i >> 15, word (i >> 5) & 0x3FF, position i & 31.
//
// Each block has a count: 0 (all clear), 32768 (all set), a number between, or -1 for
// "not known". A block with a count of 0 or 32768 needs no words, and normalise gives them
// back; a null block with any other count never occurs.
//
// Free blocks go to one process-wide pool guarded by a mutex of its own, so that a vector
// may be destroyed on any thread. The pool keeps at most 512 blocks (setBlockPoolLimit
// changes that); blocks beyond the limit are freed at once.
//
// The stream form is the one of BitVector, so either class reads what the other wrote.
#pragma once
#include <cstdint>

#include "core/qorobject.h"

class BinInput;
class BinOutput;
class BitVector;

// A sparse bit set of whole blocks. A vector always has at least one block. No lock: one
// thread uses a vector at a time (the block pool is the shared part, and it is locked).
class BlockBitVector : public QorShared {
 public:
  // log2 of the bits in a block.
  static constexpr int32_t kBlockShift = 15;
  static constexpr int32_t kBlockBits = 32768;
  static constexpr int32_t kBlockWords = 1024;
  // The pool's limit at start.
  static constexpr int32_t kDefaultPoolLimit = 512;

  // max(n >> 15, 1) empty blocks.
  explicit BlockBitVector(int32_t n = 0);
  // One block for each 1024 words of the dense vector (the last one filled up with
  // zeros), each with its count not known so that counts are made on demand.
  explicit BlockBitVector(const BitVector& bits);
  // A deep copy: the same blocks, counts and total.
  BlockBitVector(const BlockBitVector& other);
  BlockBitVector& operator=(const BlockBitVector& other);
  // Gives every block to the pool.
  ~BlockBitVector() override;

  // ---- single bits ----

  // Sets bit i; the tables grow when i's block lies past them. True when the bit was
  // clear; false for a negative i and for a block that is all set.
  bool set(int32_t i);
  // Clears bit i. False when i's block lies past the tables or is clear (or i is
  // negative); otherwise answers whether the bit was set. A full block without words gets
  // words of all ones first.
  bool clear(int32_t i);
  // Whether bit i is set; false past the tables and for a negative i.
  bool test(int32_t i) const;

  // ---- searching and counting ----

  // The lowest set bit above i, or -1 (i = -1 also looks at bit 0).
  int32_t nextSet(int32_t i) const;
  // The highest set bit below i, or -1 (i below 1 gives -1).
  int32_t prevSet(int32_t i) const;
  // The number of set bits; block counts that are not known are made first. Cached.
  int32_t count() const;
  // (index of the last block with a count other than 0, + 1) << 15: the bits a dense
  // copy needs. 0 when every block is clear.
  int64_t blockCapacity() const;

  // ---- whole sets ----

  // Every block clear (its words go to the pool); the tables stay.
  void clearAll();
  // this |= other, this &= other, this &= ~other, block by block; the total becomes not
  // known wherever a block had to be merged word by word.
  void unite(const BlockBitVector& other);
  void intersect(const BlockBitVector& other);
  void subtract(const BlockBitVector& other);
  // Same set bits (blocks missing on one side count as clear).
  bool equals(const BlockBitVector& other) const;
  // Exchanges everything with other.
  void swap(BlockBitVector& other) noexcept;
  // Makes every count known, gives back the words of clear and full blocks, and shrinks
  // the tables to the last block with a set bit (keeping at least one block).
  void normalise();

  // ---- inspection ----

  // Index of the last block in the tables.
  int32_t lastBlock() const { return lastBlock_; }
  // The count of block b (0 past the tables).
  int32_t blockCount(int32_t b) const { return b >= 0 && b <= lastBlock_ ? blockCounts_[b] : 0; }
  // Whether block b has words of its own.
  bool hasWords(int32_t b) const { return b >= 0 && b <= lastBlock_ && blocks_[b]; }
  // The cached total, -1 when not known.
  int32_t cachedCount() const { return numSet_; }

  // ---- streams ----

  // Writes the stream form of BitVector: words = (index of the last block with a set bit
  // + 1) * 1024 and maxBit = words * 32 - 1, the list form under the same rule, and full
  // blocks as words of all ones.
  bool write(BinOutput& out) const;
  // Reads the stream form. A different magic id, a short header, a word count beyond 2^26
  // or a body longer than the stream answers false, the vector unchanged. Otherwise the vector is
  // cleared, then filled from the words (blocks of up to 1024 words, counted afterwards) or from
  // the index list, and normalised. False when the body ends short (what came is kept).
  bool read(BinInput& in);

  // ---- the block pool ----

  // Sets the most blocks the pool keeps, first freeing blocks down to it.
  static void setBlockPoolLimit(int32_t n);
  // The pool's present limit.
  static int32_t blockPoolLimit();
  // Blocks waiting in the pool.
  static int32_t pooledBlocks();

 private:
  friend class BitVector;

  // A block of 1024 words from the pool (or newly allocated), cleared when `zero`.
  static uint32_t* takeBlock(bool zero);
  // Gives a block to the pool, or frees it when the pool is full or closed.
  static void giveBlock(uint32_t* block);
  // Grows both tables to hold block b; new blocks are clear.
  void growTo(int32_t b);
  // Makes block b's count known.
  int32_t countBlock(int32_t b) const;
  // Gives block b words of its own (all ones for a full block, zeros for a clear one).
  uint32_t* materialise(int32_t b);
  // Word w of block b, whether it has words or not.
  uint32_t wordOf(int32_t b, int32_t w) const {
    if (blocks_[b]) return blocks_[b][w];
    return blockCounts_[b] == kBlockBits ? ~0u : 0u;
  }
  // Frees every block and the tables.
  void freeBlocks();

  uint32_t** blocks_ = nullptr;             // one per block; null: all clear or all set
  mutable int32_t* blockCounts_ = nullptr;  // set bits per block, -1 not known
  int32_t lastBlock_ = 0;                   // index of the last block in the tables
  mutable int32_t numSet_ = 0;              // set bits in all, -1 not known
};
