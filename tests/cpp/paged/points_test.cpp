// Point arrays on paged vector storage: growth and sparse pages, the stream form
// (hand-written bytes), transforms, sort and unique against std::sort, compaction, colours.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <set>
#include <vector>

#include "base/bitvector.h"
#include "bulk/qorvectorarray.h"
#include "math/qormatrix.h"
#include "persistence/memstream.h"
#include "testkit.h"

namespace {

using testkit::Bytes;
using testkit::operator+;
using P = std::array<double, 3>;

std::vector<P> points(QorVectorArray& a) {
  std::vector<P> out;
  for (int32_t i = 1; i <= a.size(); ++i) {
    QorVector v = a.point(i);
    out.push_back({v.x, v.y, v.z});
  }
  return out;
}

TEST(QorVectorArray, GrowthSparsePagesAndEdits) {
  QorVectorArray a;
  a.push(QorVector(1, 2, 3));
  EXPECT_EQ(a.capacity(), 1024);
  for (int i = 2; i <= 1024; ++i) a.push(QorVector(i, 0, 0));
  EXPECT_EQ(a.capacity(), 2048);  // index 1024 opens the second page
  QorVectorArray s;
  s.setSize(2000);
  EXPECT_TRUE(s.point(1500) == QorVector::zero() && s.storage().pagesPresent() == 0);
  QorVectorArray e;
  for (int i = 1; i <= 3; ++i) e.push(QorVector(i, i, i));
  e.insert(2, QorVector(9, 9, 9));
  e.insert(5, QorVector(7, 7, 7));
  e.remove(1);
  e.reverse();
  EXPECT_EQ(points(e), (std::vector<P>{{7, 7, 7}, {3, 3, 3}, {2, 2, 2}, {9, 9, 9}}));
  e.remove(10);  // past the end: pops the last
  e.pop(1000);
  EXPECT_EQ(e.size(), 0);
}

TEST(QorVectorArray, StreamBytesAndRejects) {
  QorVectorArray one;
  one.push(QorVector::zero());
  const Bytes golden = testkit::hex("0B916B00 00000001") + Bytes(24, 0);
  EXPECT_EQ(testkit::streamed([&](BinOutput& o) { return one.write(o); }), golden);

  QorVectorArray sparse;
  sparse.setSize(3000);
  sparse.set(2500, QorVector(1, -2, 0.5));
  const Bytes b = testkit::streamed([&](BinOutput& o) { return sparse.write(o); });
  EXPECT_EQ(b.size(), 8u + 24 * 3000);
  QorVectorArray back;
  BinInputMemory in(b.data(), b.size());
  EXPECT_TRUE(back.read(in) && back.equals(sparse) && back.storage().allPresent());

  for (const char* bad : {"0B916C00 00000001", "0B916B01 00000001", "0B916B00 FFFFFFFF"}) {
    const Bytes w = testkit::hex(bad) + Bytes(24, 0);
    BinInputMemory r(w.data(), w.size());
    EXPECT_FALSE(back.read(r)) << bad;
    EXPECT_EQ(back.size(), 0) << bad;
  }
}

TEST(QorVectorArray, TransformDividesByW) {
  QorVectorArray a;
  a.push(QorVector(2, 4, 6));
  QorMatrix m = QorMatrix::identity();
  m.at(3, 3) = 2.0;
  a.transform(m);
  EXPECT_TRUE(a.point(1) == QorVector(1, 2, 3));
  m = QorMatrix::identity();
  m.at(0, 3) = 5;  // a translation through the base's route
  a.RealPArray::transform(m);
  EXPECT_TRUE(a.point(1) == QorVector(6, 2, 3));
}

TEST(RealPArray, BoundsAndEmptyCases) {
  QorVectorArray a;
  QorVector lo, hi;
  a.bounds(&lo, &hi);
  EXPECT_TRUE(lo == QorVector::zero() && hi == QorVector::zero());
  a.push(QorVector(1, -5, 2));
  a.push(QorVector(-3, 4, 0));
  a.bounds(&lo, &hi, BitVector(4));
  EXPECT_TRUE(lo == QorVector(1e42, 1e42, 1e42) && hi == QorVector(-1e42, -1e42, -1e42));
  a.bounds(&lo, &hi);
  EXPECT_TRUE(lo == QorVector(-3, -5, 0) && hi == QorVector(1, 4, 2));
  EXPECT_EQ(a.maxMagnitude(), 5.0);
}

// B, A, A with colours: the A's sort to 1 and 2, B to 3; the first A survives.
TEST(RealPArray, SortUniqueKeepsTheFirstOfARunWithItsColour) {
  QorVectorArray a;
  for (double x : {2.0, 1.0, 1.0}) a.push(QorVector(x, 0, 0));
  ASSERT_TRUE(a.enableExtra(true));
  EXPECT_FALSE(a.enableExtra(true));
  for (int i = 1; i <= 3; ++i) a.setColor(i, 0.1 * i, 1.0, 0.0);
  BitVector kept(8);
  a.sort(true, nullptr, &kept);
  EXPECT_EQ(points(a), (std::vector<P>{{1, 0, 0}, {2, 0, 0}}));
  EXPECT_TRUE(kept.test(1) && !kept.test(2) && kept.test(3) && kept.count() == 2);
  EXPECT_FLOAT_EQ(a.pointColor(2).red, 0.1f);
  EXPECT_EQ(a.pointColor(1).alpha, 1.0f);
  ASSERT_TRUE(a.toGrey());
  EXPECT_FLOAT_EQ(a.pointColor(1).green, float(RealPArray::grey(0.2f, 1, 0)));
}

// Random clouds with half of the points repeated: the order and the survivors agree with
// std::sort and a set, and the index table is the permutation that was applied.
TEST(RealPArray, SortMatchesStdSortOnDuplicates) {
  std::mt19937 rng(7);
  for (int n : {0, 1, 4, 5, 6, 37, 5000}) {
    std::vector<P> src;
    for (int i = 0; i < n; ++i)
      src.push_back(i % 2 && i ? src[rng() % i]
                               : P{double(rng() % 9), double(rng() % 9), double(rng() % 9)});
    QorVectorArray a, u;
    for (const P& p : src) a.push(QorVector(p.data())), u.push(QorVector(p.data()));
    QorMM::Array<int> idx;
    a.sort(false, &idx, nullptr);
    std::vector<P> expect = src;
    std::sort(expect.begin(), expect.end());
    EXPECT_EQ(points(a), expect) << n;
    for (int i = 1; i <= n; ++i) EXPECT_EQ(points(a)[i - 1], src[idx.get(i) - 1]);
    u.sort(true, nullptr, nullptr);
    std::set<P> distinct(src.begin(), src.end());
    EXPECT_EQ(points(u), std::vector<P>(distinct.begin(), distinct.end())) << n;
  }
}

TEST(RealPArray, CompactKeepsTheLastPointAndSetsTheSize) {
  QorVectorArray a;
  for (int i = 1; i <= 5; ++i) a.push(QorVector(i, 0, 0));
  BitVector keep(8);
  for (int i : {2, 4, 5}) keep.set(i);
  a.compact(keep);
  EXPECT_EQ(points(a), (std::vector<P>{{2, 0, 0}, {4, 0, 0}, {5, 0, 0}}));
  QorVectorArray c(a, false);
  EXPECT_TRUE(c.equals(a));
  c.set(1, QorVector(0, 0, std::nan("")));
  EXPECT_FALSE(c.equals(a));
}

}  // namespace
