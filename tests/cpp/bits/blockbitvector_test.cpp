// Block bit vectors: blocks without words for clear and full runs, the block pool and its
// limit, stream bytes written out by hand, and a random run against a std::vector<bool>.
#include "base/blockbitvector.h"

#include <gtest/gtest.h>

#include <random>
#include <thread>

#include "base/bitvector.h"
#include "testkit.h"

using namespace testkit;

namespace {

TEST(BlockBitVectorBits, TablesFollowTheLastSetBitAndAFullBlockHasNoWordsAndWritesOnes) {
  BlockBitVector v(100000);  // 100000 >> 15 = 3 blocks, no words yet
  EXPECT_EQ(std::vector<int64_t>({v.lastBlock(), v.blockCapacity()}), std::vector<int64_t>({2, 0}));
  // Grows the tables to block 6.
  // Past, clear block.
  EXPECT_TRUE(v.set(70000) && !v.set(70000) && v.blockCapacity() == 3 * 32768 && v.set(200000) &&
              !(v.clear(10000000) || v.clear(5) || v.set(-1) || v.test(-1)));
  EXPECT_EQ(std::vector<int32_t>({v.lastBlock(), v.count()}), std::vector<int32_t>({6, 2}));
  v.clear(200000);
  v.normalise();  // the tables fall to the last block with a set bit
  EXPECT_TRUE(v.lastBlock() == 2 && v.prevSet(INT32_MAX) == 70000);

  BlockBitVector full, part;
  for (int32_t i = 0; i < 32768; ++i) full.set(i);
  EXPECT_TRUE(full.hasWords(0));
  full.normalise();
  EXPECT_TRUE(!full.hasWords(0) && !full.set(9)) << "a full block takes nothing";
  EXPECT_EQ(std::vector<int32_t>({full.blockCount(0), full.count(), full.nextSet(100),
                                  full.prevSet(100), full.nextSet(32767)}),
            std::vector<int32_t>({32768, 32768, 101, 99, -1}));
  Bytes expected = be({0x315E97D6, 1024, 32767, 0, 32768});
  for (int k = 0; k < 1024; ++k) expected = expected + be({0xFFFFFFFF});
  const Bytes bytes = written(full);
  EXPECT_EQ(bytes, expected);
  BitVector dense;
  BinInputMemory in(bytes.data(), bytes.size());
  ASSERT_TRUE(dense.read(in));
  EXPECT_TRUE(dense.maxBit() == 32767 && dense.count() == 32768 && dense.test(0));
  EXPECT_EQ(BlockBitVector(dense).cachedCount(), -1);  // counts are made on demand

  for (int32_t i : {3, 40000, 70000}) part.set(i);
  BlockBitVector u(part), t(full);
  u.unite(full);
  EXPECT_FALSE(u.hasWords(0)) << "a full block stays without words";
  // The full block gets words of all ones first.
  EXPECT_TRUE(u.equals(u) && !u.equals(full) && u.count() == 32768 + 2 && full.clear(5) &&
              full.hasWords(0) && !full.test(5) && full.test(6) && full.count() == 32767);
  t.swap(full);
  EXPECT_EQ(t.count() + full.count(), 32767 + 32768);
}

TEST(BlockBitVectorPool, KeepsAtMostTheLimit) {
  BlockBitVector::setBlockPoolLimit(0);
  EXPECT_EQ(BlockBitVector::pooledBlocks(), 0);
  BlockBitVector::setBlockPoolLimit(3);
  {
    BlockBitVector v;
    for (int32_t b = 0; b < 6; ++b) v.set(b * 32768 + 1);
  }
  EXPECT_EQ(BlockBitVector::pooledBlocks(), 3);
  BlockBitVector::setBlockPoolLimit(1);  // frees down to the new limit at once
  EXPECT_EQ(BlockBitVector::pooledBlocks(), 1);
  {
    BlockBitVector w;
    w.set(5);  // takes the pooled block, which must come back cleared
    EXPECT_EQ(BlockBitVector::pooledBlocks(), 0);
    EXPECT_EQ(members(w), (std::vector<int32_t>{5}));
  }
  BlockBitVector::setBlockPoolLimit(BlockBitVector::kDefaultPoolLimit);
  EXPECT_EQ(BlockBitVector::blockPoolLimit(), 512);
}

TEST(BlockBitVectorPool, VectorsDieOnAnyThread) {
  std::vector<std::thread> threads;
  std::vector<int32_t> counts(4, -1);
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([t, &counts] {
      for (int round = 0; round < 50; ++round) {
        BlockBitVector v;
        for (int32_t b = 0; b < 8; ++b) v.set(b * 32768 + t + round);
        counts[static_cast<size_t>(t)] = v.count();
      }
    });
  for (std::thread& th : threads) th.join();
  EXPECT_EQ(counts, std::vector<int32_t>(4, 8));
}

TEST(BlockBitVectorModel, ThousandsOfOperationsAgainstAModel) {
  std::mt19937 rng(2024);
  constexpr int32_t kSpan = 6 * 32768;
  auto pick = [&](int32_t n) { return static_cast<int32_t>(rng() % static_cast<uint32_t>(n)); };
  BlockBitVector v;
  std::vector<bool> m(kSpan + 1);
  auto randomOther = [&](std::vector<bool>& om) {
    BlockBitVector o;
    for (int k = pick(300); k > 0; --k) {
      const int32_t b = pick(kSpan);
      o.set(b);
      om[b] = true;
    }
    if (pick(2)) {  // a full block now and then
      const int32_t blk = pick(6);
      for (int32_t i = blk * 32768; i < (blk + 1) * 32768; ++i) o.set(i), om[i] = true;
      o.normalise();
    }
    return o;
  };
  for (int step = 0; step < 2000; ++step) {
    const int32_t i = pick(kSpan);
    const int32_t op = pick(10);
    if (op < 3) {
      EXPECT_EQ(v.set(i), !m[i]);
      m[i] = true;
    } else if (op == 3) {
      EXPECT_EQ(v.clear(i), static_cast<bool>(m[i]));
      m[i] = false;
    } else if (op == 4) {
      v.normalise();
    } else if (op < 8) {
      std::vector<bool> om(kSpan + 1);
      BlockBitVector o = randomOther(om);
      const int kind = step % 3;
      if (kind == 0) v.unite(o);
      if (kind == 1) v.intersect(o);
      if (kind == 2) v.subtract(o);
      for (size_t k = 0; k < m.size(); ++k)
        m[k] = kind == 0 ? (m[k] || om[k]) : kind == 1 ? (m[k] && om[k]) : (m[k] && !om[k]);
    } else if (op == 8) {
      const Bytes b = written(v, pick(2) ? 0 : 12);
      BlockBitVector r(pick(kSpan));
      BitVector d;
      BinInputMemory in(b.data(), b.size()), in2(b.data(), b.size());
      ASSERT_TRUE(r.read(in) && d.read(in2));
      EXPECT_TRUE(r.equals(v) && v.equals(r) && members(d) == members(m) && BitVector(v).equals(d));
    } else if (pick(20) == 0) {
      v.clearAll();
      m.assign(m.size(), false);
    }
    EXPECT_EQ(v.test(i), static_cast<bool>(m[i]));
    if (step % 8 != 0) continue;  // the scanning checks
    int32_t ns = -1, ps = -1;
    for (int32_t k = i + 1; k <= kSpan && ns < 0; ++k)
      if (m[k]) ns = k;
    for (int32_t k = i - 1; k >= 0 && ps < 0; --k)
      if (m[k]) ps = k;
    EXPECT_TRUE(v.nextSet(i) == ns && v.prevSet(i) == ps);
    ASSERT_EQ(v.count(), static_cast<int32_t>(members(m).size())) << step;
  }
  EXPECT_EQ(members(v), members(m));
}

}  // namespace
