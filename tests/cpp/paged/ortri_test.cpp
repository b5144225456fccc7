// Oriented triangles against a model built from the corner definitions, edge stacks with
// hand-written stream bytes and their text form, the owning list, and the paged int helpers
// as maps and disjoint sets.
#include "bulk/ortri.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "datamodel/progress.h"
#include "persistence/memstream.h"
#include "testkit.h"

namespace {

using testkit::Bytes;

ClassifiedEdgeStack stackOf(std::vector<OrTri> v, uint8_t flags = 0) {
  ClassifiedEdgeStack s;
  for (OrTri t : v) s.push(t);
  s.setFlags(flags);
  return s;
}

std::vector<OrTri> entries(const ClassifiedEdgeStack& s) {
  return {s.items() + 1, s.items() + 1 + s.count()};
}

TEST(OrTri, TablesAndComposeFollowTheCornerDefinitions) {
  // Each version as (from, to); the next side in the same sense starts where it ends.
  const int from[6] = {0, 1, 1, 2, 2, 0}, to[6] = {1, 0, 2, 1, 0, 2};
  for (uint32_t v = 0; v < 6; ++v) {
    const int f = from[v], t = to[v], third = 3 - f - t;
    ASSERT_EQ(ortri::versionOf(f, t), v);
    const uint32_t rot = ortri::versionOf(t, third), back = ortri::versionOf(third, f);
    EXPECT_EQ(ortri::rotated(ortri::make(9, v)), ortri::make(9, rot)) << v;
    EXPECT_EQ(ortri::rotatedBack(ortri::make(9, v)), ortri::make(9, back)) << v;
    EXPECT_EQ(ortri::flipped(ortri::make(9, v)), ortri::make(9, ortri::versionOf(t, f)));
    for (uint32_t w = 0; w < 6; ++w) {
      // The turn selected by w: none, flip, rotate or rotate back, each optionally flipped.
      uint32_t turned = w / 2 == 0 ? v : w / 2 == 1 ? rot : back;
      turned ^= w & 1u;
      EXPECT_EQ(ortri::compose(ortri::make(4, w), ortri::make(7, v)), ortri::make(7, turned));
      EXPECT_EQ(ortri::composeVersions(v, w), turned);
    }
  }
  EXPECT_EQ(ortri::compose(ortri::make(2, 3), ortri::make(5, 0)), ortri::make(5, 3));
  std::ostringstream os;
  ortri::print(os, 13);
  EXPECT_EQ(os.str(), "(1, 5) ");
}

TEST(OrTri, CorruptVersionsTakeTheAssertionRoad) {
  testkit::AssertRecorder checks;
  EXPECT_EQ(ortri::compose(ortri::make(1, 6), 42), 42u);
  EXPECT_EQ(ortri::composeVersions(3, 7), 3u);
  EXPECT_EQ(checks.exprs(), (std::vector<std::string>{"0", "0"}));
}

TEST(EdgeStack, PathArithmetic) {
  ClassifiedEdgeStack s = stackOf({8, 17, 26});
  EXPECT_TRUE(s.reverseDirection());
  EXPECT_EQ(entries(s), (std::vector<OrTri>{27, 16, 9}));
  ClassifiedEdgeStack one = stackOf({8}), none;
  EXPECT_TRUE(one.reverseDirection());
  EXPECT_EQ(entries(one), std::vector<OrTri>{9});
  EXPECT_FALSE(none.reverseDirection());

  ClassifiedEdgeStack c = stackOf({8, 9, 10, 11, 12, 13});
  EXPECT_TRUE(c.swapCorners());
  EXPECT_EQ(entries(c), (std::vector<OrTri>{9, 8, 13, 12, 11, 10}));
  c.swapCorners();
  EXPECT_EQ(entries(c), (std::vector<OrTri>{8, 9, 10, 11, 12, 13}));

  // Triangle 1 goes to triangle 3 turned by version 2; triangle 2 lies outside the map.
  QorMM::Array<int> map(2);
  map.set(1, static_cast<int>(ortri::make(3, 2)));
  ClassifiedEdgeStack r = stackOf({ortri::make(1, 0), ortri::make(1, 3), ortri::make(2, 4)});
  EXPECT_TRUE(r.remap(map));
  EXPECT_EQ(entries(r), (std::vector<OrTri>{ortri::make(3, 2), ortri::make(3, 5),
                                            ortri::make(0, ortri::kRotatedBack[0])}));

  // Assignment: exact capacity, flags from an edge stack only; append keeps the flags.
  ClassifiedEdgeStack a(40);
  a = stackOf({1, 2}, 5);
  EXPECT_EQ(a.capacity(), 3);
  EXPECT_EQ(a.flags(), 5);
  a.append(a);
  EXPECT_EQ(entries(a), (std::vector<OrTri>{1, 2, 1, 2}));
  EXPECT_EQ(a.flags(), 5);
  a = static_cast<const IterStack<OrTri>&>(stackOf({7}, 3));
  EXPECT_EQ(a.flags(), 0);
  a.setFlags(15);
  a.setClosed(false);
  EXPECT_EQ(std::vector<int>({a.isBoundary(), a.isClosed(), a.flag4(), a.flag8()}),
            std::vector<int>({1, 0, 1, 1}));
}

TEST(EdgeStack, StreamBytesTextAndShortStreams) {
  const Bytes three = testkit::hex("00000003 00000008 00000011 FFFFFFFE");
  EXPECT_EQ(testkit::written(stackOf({8, 17, 0xFFFFFFFE}, 3)), three);
  ClassifiedEdgeStack back = stackOf({99}, 3);
  BinInputMemory in(three.data(), three.size());
  EXPECT_TRUE(back.read(in));
  EXPECT_EQ(entries(back), (std::vector<OrTri>{8, 17, 0xFFFFFFFE}));
  EXPECT_EQ(back.flags(), 3);
  // A count that promises more than the stream holds stops at the first failed read; a
  // count below 1 reads nothing.
  for (const auto& [hex, count] : std::vector<std::pair<std::string, int>>{
           {"00000005 00000001 00000002 0003", 2}, {"FFFFFFFF 00000001", 0}, {"0000", 0}}) {
    const Bytes b = testkit::hex(hex);
    BinInputMemory shortIn(b.data(), b.size());
    EXPECT_TRUE(back.read(shortIn));
    EXPECT_EQ(back.count(), count) << hex;
  }

  std::ostringstream os;
  stackOf({8, 13}, ClassifiedEdgeStack::kClosed).dump(os);
  EXPECT_EQ(os.str(), "Edge Stack (size = 2, closed, non-bd)\n\t1: (1, 0) \n\t2: (1, 5) \n\n");
  os.str("");
  stackOf({}, ClassifiedEdgeStack::kBoundary).dump(os);
  EXPECT_EQ(os.str(), "Edge Stack (size = 0, open, bd)\n\n");
}

TEST(EdgeStackList, RemovalCompactionSortAndDeepCopies) {
  ClassifiedEdgeStackList list;
  EXPECT_EQ(list.capacity(), 21);
  for (auto [n, flags] : std::vector<std::pair<int, uint8_t>>{{1, 1}, {3, 2}, {2, 3}})
    list.push(new ClassifiedEdgeStack(stackOf(std::vector<OrTri>(n, 8), flags)));
  ClassifiedEdgeStackList copy(list);
  copy = copy;
  list.remove(2, false);
  EXPECT_EQ(list.totalEdges(), 3);
  EXPECT_EQ(list.count(), 3);
  list.compact();
  EXPECT_EQ(list.count(), 2);

  EXPECT_EQ(copy.totalEdges(), 6);
  EXPECT_EQ(copy.items()[3]->flags(), 3);
  EXPECT_NE(copy.items()[1], list.items()[1]);
  copy.sortBySize();
  std::vector<int> sizes;
  for (int i = 1; i <= copy.count(); ++i) sizes.push_back(copy.items()[i]->count());
  EXPECT_EQ(sizes, (std::vector<int>{3, 2, 1}));
  ClassifiedEdgeStackList open(copy), bd(copy);
  open.removeClosed();  // keeps the 1-edge stack
  bd.removeNonBoundary();
  EXPECT_EQ(open.totalEdges() * 10 + bd.totalEdges(), 13);
}

TEST(PagedInts, DisjointSetsMapsAndStreams) {
  QorMM::Array<int> a(10);
  QorMM::setIdentity(a, 0, -1);
  EXPECT_EQ(QorMM::unite(a, 3, 7), 3);
  EXPECT_EQ(a.get(7), 3);
  EXPECT_EQ(QorMM::unite(a, 7, 5), 3);
  EXPECT_EQ(QorMM::unite(a, 9, 5), 3);
  EXPECT_EQ(std::vector<int>({a.get(5), a.get(9)}), std::vector<int>({3, 3}));
  // Only the start node learns its root; the nodes on the way keep their parents.
  a.set(8, 9);
  a.set(9, 5);
  EXPECT_EQ(QorMM::findRoot(a, 8), 3);
  EXPECT_EQ(std::vector<int>({a.get(8), a.get(9)}), std::vector<int>({3, 5}));
  EXPECT_EQ(QorMM::findRoot(a, 5000), 0);  // past the end: root 0, and the array grows
  EXPECT_GT(a.size(), 5000);

  QorMM::Array<int> small(2048), big(4096);
  small.set(5, 1), big.set(5, 1);
  EXPECT_TRUE(QorMM::equals(small, big));
  big.set(4000, 1);
  EXPECT_FALSE(QorMM::equals(big, small));

  // Elements move towards lower places; a map entry of 0 clears. The size is whole pages.
  QorMM::Array<int> v(6), map(6), inv;
  for (int i : {2, 4, 5}) v.set(i, 10 + i), map.set(i, i - 1);
  v.set(1, 9);
  QorMM::moveByMap(v, map);
  EXPECT_EQ(std::vector<int>({v.size(), v.get(0), v.get(1), v.get(2), v.get(3), v.get(4)}),
            std::vector<int>({2048, 0, 12, 0, 14, 15}));
  QorMM::invertInto(v, inv);
  EXPECT_EQ(std::vector<int>({inv.get(12), inv.get(14), inv.get(15)}), std::vector<int>({1, 3, 4}));

  const Bytes bytes = testkit::streamed([&](BinOutput& o) { return QorMM::write(o, v, 3); });
  EXPECT_EQ(bytes, testkit::hex("00000003 00000000 0000000C 00000000"));
  QorMM::Array<int> back(9000);
  back.set(8000, 7);
  BinInputMemory in(bytes.data(), bytes.size());
  EXPECT_TRUE(QorMM::read(in, back));
  EXPECT_EQ(std::vector<int>({back.size(), back.get(1), back.get(2), back.get(8000)}),
            std::vector<int>({2048, 12, 0, 0}));
}

// Records each fraction reported and asks to stop after `stopAfter` reports.
struct Fractions : ProgressCallbackBase {
  explicit Fractions(size_t stopAfter = 1000) : stopAfter(stopAfter) {}
  bool update(float f) override {
    seen.push_back(f);
    return seen.size() < stopAfter;
  }
  std::vector<float> seen;
  size_t stopAfter;
};

TEST(EdgeStack, ProgressKeepsTheBytesAndReportsEveryStep) {
  // 120 entries: a report after every third, the last at exactly 1.
  ClassifiedEdgeStack s = stackOf(std::vector<OrTri>(120, 77));
  Fractions w, r;
  const Bytes bytes = testkit::streamed([&](BinOutput& o) { return s.write(o, &w); });
  EXPECT_EQ(bytes, testkit::written(s));
  BinInputMemory in(bytes.data(), bytes.size());
  ClassifiedEdgeStack back;
  EXPECT_TRUE(back.read(in, &r));
  EXPECT_EQ(entries(back), entries(s));
  ASSERT_EQ(w.seen.size(), 40u);
  EXPECT_EQ(w.seen, r.seen);
  EXPECT_FLOAT_EQ(w.seen[0], 3.0f / 120);
  EXPECT_EQ(w.seen.back(), 1.0f);

  // A paged range of three pages stops when the first report asks it to.
  QorMM::Array<int> a(6000);
  Fractions stop(1);
  BinOutputMemory out;
  EXPECT_FALSE(QorMM::writeRange(out, a, 0, 5999, &stop));
  out.flush();
  EXPECT_EQ(out.size(), 2048u * 4);
  EXPECT_FLOAT_EQ(stop.seen.at(0), 2048.0f / 6000);
  EXPECT_EQ(a.pagesPresent(), 1);
}

}  // namespace
