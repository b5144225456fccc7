// The script view of oriented triangles: the number's rules, the stack's checks and lenient
// reads, and the references a list of stacks holds.
#include "datamodel/orientedtriangle.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "testkit.h"

namespace {

using testkit::raised;
using Tri = std::unique_ptr<OrientedTriangle>;

TEST(OrientedTriangle, NumberRulesAndTurns) {
  EXPECT_EQ(OrientedTriangle(-1, 0).rawValue(), 0u);
  OrientedTriangle far(-5, 3), t(4, 5), d;
  EXPECT_EQ(
      std::vector<int>({far.index(), far.version(), t.index(), t.isOdd(), d.version(), d.index()}),
      std::vector<int>({-1, 3, 4, 1, 0, -1}));
  EXPECT_EQ(t.rawValue(), 45u);
  testkit::Raised r = raised([&] { t.set(4, 6); });
  EXPECT_EQ(r.code, 6);
  EXPECT_EQ(r.text, "Error in class OrientedTriangle: version must have a value >= 0 and <= 5.");
  EXPECT_EQ(t.rawValue(), 45u);
  EXPECT_EQ(raised([&] { t.set(1, -1); }).code, 6);
  t.setRawValue(0x57);
  EXPECT_EQ(t.rawValue(), 0x55u);
  for (uint32_t v = 0; v < 6; ++v) {  // three turns either way, or two flips, come back
    OrientedTriangle s(9, static_cast<int32_t>(v)), r(s), b(s);
    Tri f2(Tri(s.flipped())->flipped()), rb(Tri(s.rotated())->rotatedBack());
    r.rotate(), r.rotate(), r.rotate(), b.rotateBack(), b.rotateBack(), b.rotateBack();
    EXPECT_EQ(std::vector<uint32_t>({r.rawValue(), b.rawValue(), f2->rawValue(), rb->rawValue()}),
              std::vector<uint32_t>(4, s.rawValue()));
  }
}

TEST(OrientedTriangleStack, ChecksLenientReadsAndCursor) {
  OrientedTriangleStack s;
  EXPECT_EQ(Tri(s.getOrInvalid(0))->index(), -1);
  EXPECT_EQ(Tri(s.first())->rawValue(), 0u);
  EXPECT_EQ(raised([&] { s.at(0); }).text, "Error in class Collection: Invalid index.");
  EXPECT_EQ(raised([&] { s.pop(); }).text, "Error in class Collection: Invalid index.");
  const OrientedTriangle a(0, 1), b(2, 2), c(5, 4);
  EXPECT_EQ(s.append(&a), 0);
  EXPECT_TRUE(s.appendChecked(&c));
  s.insertAt(1, &b);
  s.insertAt(3, &a);
  EXPECT_EQ(raised([&] { s.insertAt(5, &a); }).code, 6);
  std::vector<uint32_t> seen;
  s.reset();
  do seen.push_back(Tri(s.current())->rawValue());
  while (s.next());
  EXPECT_EQ(seen, (std::vector<uint32_t>{a.rawValue(), b.rawValue(), c.rawValue(), a.rawValue()}));
  EXPECT_EQ(s.indexOf(&a), 3);
  EXPECT_FALSE(s.setIfValid(4, &c));
  EXPECT_TRUE(s.setIfValid(3, &c));
  s.removeAt(0);
  EXPECT_EQ(Tri(s.pop())->rawValue(), c.rawValue());
  EXPECT_EQ(Tri(s.last())->rawValue(), c.rawValue());
  EXPECT_EQ(s.indexOf(&a), -1);
  s.clear();
  EXPECT_EQ(s.count(), 0);
}

TEST(OrientedTriangleStackList, HoldsOneReferencePerEntry) {
  std::vector<OrientedTriangleStack*> stacks;
  OrientedTriangleStackList list;
  for (int i = 0; i < 10; ++i) {
    stacks.push_back(new OrientedTriangleStack(i));
    stacks.back()->addRef();
    list.append(stacks.back());
  }
  list.append(nullptr);
  EXPECT_EQ(list.indexOf(nullptr), 10);
  list.pop();
  EXPECT_EQ(stacks[3]->refCount(), 2u);
  list.set(3, stacks[4]);
  list.insertAt(0, stacks[4]);
  EXPECT_EQ(std::vector<uint32_t>({stacks[3]->refCount(), stacks[4]->refCount()}),
            std::vector<uint32_t>({1, 4}));
  EXPECT_EQ(list.indexOf(stacks[4]), 5);
  list.removeAt(0);
  EXPECT_EQ(list.current(), nullptr);
  EXPECT_TRUE(list.next());
  EXPECT_EQ(list.current(), stacks[0]);
  list.clear();
  for (OrientedTriangleStack* s : stacks) {
    EXPECT_EQ(s->refCount(), 1u);
    s->release();
  }
}

}  // namespace
