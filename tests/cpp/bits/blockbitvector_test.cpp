// Block bit vectors: blocks without words for clear and full runs, the block pool and its
// limit, stream bytes written out by hand, and a random run against a std::vector<bool>.
#include "base/blockbitvector.h"

#include <gtest/gtest.h>

#include <random>
#include <thread>

#include "base/bitvector.h"
#include "support.h"

using namespace bits_test;

namespace {

TEST(BlockBitVectorBits, BlocksAreMadeForTheGivenSize) {
  EXPECT_EQ(BlockBitVector(10).lastBlock(), 0);
  EXPECT_EQ(BlockBitVector(100000).lastBlock(), 2);  // 100000 >> 15 = 3 blocks
  BlockBitVector v(100000);
  EXPECT_EQ(v.count(), 0);
  EXPECT_EQ(v.blockCapacity(), 0);
  EXPECT_TRUE(v.set(70000));
  EXPECT_FALSE(v.set(70000));
  EXPECT_EQ(v.blockCapacity(), 3 * 32768);
  EXPECT_TRUE(v.set(200000));  // grows the tables to block 6
  EXPECT_EQ(v.lastBlock(), 6);
  EXPECT_FALSE(v.clear(10000000));  // past the tables
  EXPECT_FALSE(v.clear(5));         // a clear block
  EXPECT_FALSE(v.set(-1));
  EXPECT_FALSE(v.test(-1));
  EXPECT_EQ(v.count(), 2);
  v.normalise();
  EXPECT_EQ(v.lastBlock(), 6);
  EXPECT_FALSE(v.hasWords(0));
  v.clear(200000);
  v.normalise();  // the tables fall to the last block with a set bit
  EXPECT_EQ(v.lastBlock(), 2);
  EXPECT_EQ(v.prevSet(INT32_MAX), 70000);
}

TEST(BlockBitVectorBits, AFullBlockHasNoWordsAndWritesOnes) {
  BlockBitVector v;
  for (int32_t i = 0; i < 32768; ++i) v.set(i);
  EXPECT_TRUE(v.hasWords(0));
  v.normalise();
  EXPECT_FALSE(v.hasWords(0));
  EXPECT_EQ(v.blockCount(0), 32768);
  EXPECT_EQ(v.count(), 32768);
  EXPECT_TRUE(v.test(5));
  EXPECT_FALSE(v.set(9));  // a full block takes nothing
  EXPECT_EQ(v.nextSet(100), 101);
  EXPECT_EQ(v.prevSet(100), 99);
  EXPECT_EQ(v.nextSet(32767), -1);

  Bytes expected = be({0x315E97D6, 1024, 32767, 0, 32768});
  for (int k = 0; k < 1024; ++k) expected = expected + be({0xFFFFFFFF});
  const Bytes bytes = written(v);
  EXPECT_EQ(bytes, expected);
  BitVector dense;
  BinInputMemory in(bytes.data(), bytes.size());
  ASSERT_TRUE(dense.read(in));
  EXPECT_EQ(dense.maxBit(), 32767);
  EXPECT_EQ(dense.count(), 32768);
  EXPECT_TRUE(dense.test(0));
  EXPECT_EQ(BlockBitVector(dense).cachedCount(), -1);  // counts are made on demand

  EXPECT_TRUE(v.clear(5));  // the full block gets words of all ones first
  EXPECT_TRUE(v.hasWords(0));
  EXPECT_EQ(v.count(), 32767);
  EXPECT_FALSE(v.test(5));
  EXPECT_TRUE(v.test(6));
}

TEST(BlockBitVectorBits, BlockOperationsOnFullAndClearBlocks) {
  BlockBitVector full, part;
  for (int32_t i = 0; i < 32768; ++i) full.set(i);
  full.normalise();
  for (int32_t i : {3, 40000, 70000}) part.set(i);
  BlockBitVector u(part);
  u.unite(full);
  EXPECT_EQ(u.count(), 32768 + 2);
  EXPECT_FALSE(u.hasWords(0));
  BlockBitVector x(full);
  x.intersect(part);
  EXPECT_EQ(members(x), (std::vector<int32_t>{3}));
  BlockBitVector s(full);
  s.subtract(part);
  EXPECT_EQ(s.count(), 32767);
  EXPECT_FALSE(s.test(3));
  EXPECT_TRUE(s.equals(s));
  BlockBitVector t(full);
  t.clear(3);
  EXPECT_TRUE(s.equals(t));
  t.swap(part);
  EXPECT_EQ(t.count(), 3);
  EXPECT_EQ(part.count(), 32767);
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
    switch (pick(10)) {
      case 0:
      case 1:
      case 2:
        EXPECT_EQ(v.set(i), !m[i]);
        m[i] = true;
        break;
      case 3:
        EXPECT_EQ(v.clear(i), static_cast<bool>(m[i]));
        m[i] = false;
        break;
      case 4:
        v.normalise();
        break;
      case 5:
      case 6:
      case 7: {
        std::vector<bool> om(kSpan + 1);
        BlockBitVector o = randomOther(om);
        const int op = step % 3;
        if (op == 0) v.unite(o);
        if (op == 1) v.intersect(o);
        if (op == 2) v.subtract(o);
        for (size_t k = 0; k < m.size(); ++k)
          m[k] = op == 0 ? (m[k] || om[k]) : op == 1 ? (m[k] && om[k]) : (m[k] && !om[k]);
        break;
      }
      case 8: {
        const Bytes b = written(v, pick(2) ? 0 : 12);
        BlockBitVector r(pick(kSpan));
        BinInputMemory in(b.data(), b.size());
        ASSERT_TRUE(r.read(in));
        EXPECT_TRUE(r.equals(v));
        EXPECT_TRUE(v.equals(r));
        BitVector d;
        BinInputMemory in2(b.data(), b.size());
        ASSERT_TRUE(d.read(in2));
        EXPECT_EQ(members(d), members(m));
        BitVector viaBlocks(v);
        EXPECT_TRUE(viaBlocks.equals(d));
        break;
      }
      default:
        if (pick(20) == 0) {
          v.clearAll();
          m.assign(m.size(), false);
        }
        break;
    }
    EXPECT_EQ(v.test(i), static_cast<bool>(m[i]));
    if (step % 8 != 0) continue;  // the scanning checks
    int32_t ns = -1, ps = -1;
    for (int32_t k = i + 1; k <= kSpan && ns < 0; ++k)
      if (m[k]) ns = k;
    for (int32_t k = i - 1; k >= 0 && ps < 0; --k)
      if (m[k]) ps = k;
    EXPECT_EQ(v.nextSet(i), ns);
    EXPECT_EQ(v.prevSet(i), ps);
    ASSERT_EQ(v.count(), static_cast<int32_t>(members(m).size())) << step;
  }
  EXPECT_EQ(members(v), members(m));
}

}  // namespace
