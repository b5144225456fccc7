// One-based stacks: capacities after growth, zero reads past the end, removal, copies,
// block layout of the block stack, and the scratch pool of int stacks.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "base/iterstack.h"
#include "base/scratchpool.h"

namespace {

TEST(IterStack, GrowthRuleZeroReadsAndRemovalPastTheCount) {
  IterStack<int> s(0), t(2);
  EXPECT_EQ(s.capacity(), 1);
  s.push(9);  // a zero-capacity stack grows to two; slot 0 stays unused
  EXPECT_EQ(std::vector<int>({s.capacity(), s.count(), s.get(1), s.get(0)}),
            std::vector<int>({2, 1, 9, 0}));
  std::vector<int> caps;
  for (int i : {2, 5, 6, 100}) t.at(i) = i, caps.push_back(t.capacity());
  EXPECT_EQ(caps, std::vector<int>({3, 6, 12, 192}));
  for (int i = 0; i < 192; ++i) ASSERT_EQ(t.get(i), i == 2 || i == 5 || i == 6 || i == 100 ? i : 0);
  EXPECT_EQ(t.count(), 0) << "at never counts";
  EXPECT_TRUE(t.get(1000) == 0 && t.capacity() == 192) << "reads past the capacity do not grow";
  for (int v : {10, 20, 30}) t.push(v);
  t.removeAt(9);  // past the count: still one fewer
  EXPECT_TRUE(t.count() == 2 && t.get(3) == 30);
}

TEST(IterStack, CopyCapacityIsBetweenTenAndTheSourceCapacity) {
  struct Case {
    int32_t n, pushes, expected;
  };
  // min(max(10, count + 1), source capacity)
  const Case cases[] = {{2, 2, 3}, {20, 3, 10}, {40, 25, 26}, {9, 0, 10}, {0, 0, 1}};
  for (const Case& c : cases) {
    IterStack<int> src(c.n);
    for (int i = 0; i < c.pushes; ++i) src.push(i * 3 + 1);
    IterStack<int> copy(src);
    EXPECT_EQ(copy.capacity(), c.expected) << c.n << "/" << c.pushes;
    EXPECT_EQ(copy.count(), src.count());
    for (int i = 1; i <= c.pushes; ++i) EXPECT_EQ(copy.get(i), i * 3 - 2);
  }
}

TEST(IterStack, ClassElementsGrowByAssignmentEvenFromAnElementOfTheirOwn) {
  IterStack<std::string> s(1), own(0);
  EXPECT_EQ(s.get(1), "");
  for (int i = 0; i < 40; ++i) s.push(std::to_string(i));
  EXPECT_EQ(s.capacity(), 64);
  s.removeAt(1);
  EXPECT_EQ(std::vector<std::string>({s.get(1), s.get(39), s.get(64)}),
            std::vector<std::string>({"1", "39", ""}));
  IterStack<std::string> c(s);
  EXPECT_TRUE(c.get(39) == "39" && c.capacity() == 40);
  own.push("first");
  for (int i = 0; i < 6; ++i) own.push(own.get(1));
  for (int i = 1; i <= 7; ++i) EXPECT_EQ(own.get(i), "first");
}

TEST(IterStack, ReserveAndSetCount) {
  IterStack<int> s(0);
  s.reserve(10);
  s.reserve(5);
  EXPECT_EQ(s.capacity(), 11);
  s.setCount(30);
  EXPECT_EQ(std::vector<int>({s.count(), s.capacity(), s.get(30)}), std::vector<int>({30, 31, 0}));
}

TEST(BlockStack, BlockShiftMakesSixteenKilobyteBlocks) {
  std::vector<int32_t> shifts;
  for (int32_t size : {4, 24, 1, 8, 16383, 16384, 40000}) shifts.push_back(blockShift(size));
  EXPECT_EQ(shifts, (std::vector<int32_t>{12, 10, 14, 11, 1, 0, 0}));
  IterBlockStack<int> s;
  EXPECT_TRUE(s.shift() == 12 && s.mask() == 4095u);
}

// Counts the raw blocks that block stacks ask for.
struct Sizes {
  static inline std::vector<size_t> mallocs;
  static inline std::vector<size_t> reallocs;
  static void* m(size_t n) {
    mallocs.push_back(n);
    return std::malloc(n);
  }
  static void* r(void* p, size_t n) {
    reallocs.push_back(n);
    return std::realloc(p, n);
  }
};

class BlockStackAlloc : public ::testing::Test {
 protected:
  void SetUp() override {
    Sizes::mallocs.clear();
    Sizes::reallocs.clear();
    qor::setRawAllocators(&Sizes::m, &Sizes::r);
  }
  void TearDown() override { qor::setRawAllocators(nullptr, nullptr); }
};

TEST_F(BlockStackAlloc, FiveThousandIntsLieInAFullBlockAndOneOf905Slots) {
  IterBlockStack<int> s(5000);
  EXPECT_TRUE(s.capacity() == 5001 && s.blocksInUse() == 2);
  // The block table (2 pointers), then the blocks: 4096 ints and 905 ints.
  EXPECT_EQ(Sizes::mallocs, (std::vector<size_t>{16, 4096 * 4, 905 * 4}));
  s.at(5000) = 7;
  EXPECT_EQ(s.get(5000), 7);
  EXPECT_EQ(s.get(5001) + s.get(1 << 20), 0) << "reads past the capacity do not grow";
  EXPECT_EQ(s.capacity(), 5001);
}

TEST_F(BlockStackAlloc, GrowthDoublesInsideTheFirstBlockThenAddsOneBlockAtATime) {
  IterBlockStack<int> s(2);
  std::vector<int32_t> caps = {s.capacity()};
  for (int32_t i : {5, 6, 3000}) s.at(i) = 1, caps.push_back(s.capacity());
  EXPECT_EQ(caps, std::vector<int32_t>({3, 6, 12, 3072}));
  Sizes::mallocs.clear();
  Sizes::reallocs.clear();
  // Slot 4095 is the last of block 0, but the cap is (4096 >> 12) + 1 blocks: the doubling
  // to 6144 stands, and block 1 gets the 2048 slots the capacity needs.
  s.at(4095) = 1;
  EXPECT_EQ(s.capacity(), 6144);
  // The table grows from 1 to 2 pointers, block 0 fills up to 4096 ints.
  EXPECT_EQ(Sizes::reallocs, (std::vector<size_t>{16, 4096 * 4}));
  EXPECT_EQ(Sizes::mallocs, (std::vector<size_t>{2048 * 4}));
  Sizes::mallocs.clear();
  Sizes::reallocs.clear();
  // From here the end of the block holding the new capacity caps each step.
  s.at(6144) = 1;
  EXPECT_EQ(s.capacity(), 8192);
  EXPECT_EQ(Sizes::reallocs, (std::vector<size_t>{4096 * 4}));  // block 1 fills up
  EXPECT_TRUE(Sizes::mallocs.empty());
  s.at(8192) = 1;
  EXPECT_EQ(s.capacity(), 12288);
  s.at(20000) = 1;
  EXPECT_EQ(std::vector<int32_t>({s.capacity(), s.blocksInUse(), s.blockCount()}),
            std::vector<int32_t>({20480, 5, 8}));
}

TEST_F(BlockStackAlloc, GrowthNeverMovesElementsOfFullBlocks) {
  IterBlockStack<int> s(4095);  // block 0 is full
  s.at(50) = 11;
  const int* where = &s.get(50);
  for (int i = 1; i <= 100000; ++i) s.push(i);
  EXPECT_EQ(&s.get(50), where);
  EXPECT_TRUE(s.get(50) == 50 && s.count() == 100000 && s.get(100000) == 100000);
}

TEST_F(BlockStackAlloc, ShrinkFreesWholeBlocksCutsTheLastAndHalvesTheTable) {
  IterBlockStack<int> s(8 * 4096);
  EXPECT_TRUE(s.blocksInUse() == 9 && s.blockCount() == 16) << "32769 slots";
  for (int i = 1; i <= 8 * 4096; ++i) s.at(i) = i;
  Sizes::reallocs.clear();
  s.resize(5001);
  EXPECT_EQ(std::vector<int32_t>({s.capacity(), s.blocksInUse(), s.blockCount()}),
            std::vector<int32_t>({5001, 2, 8}));
  // The last block shrinks to 905 ints, then the table halves once: 16 -> 8 pointers.
  EXPECT_EQ(Sizes::reallocs, (std::vector<size_t>{905 * 4, 8 * 8}));
  EXPECT_TRUE(s.get(5000) == 5000 && s.get(5001) == 0);
}

TEST(ScratchPool, ReturnedStackComesBackEmpty) {
  IterStack<int>* a = getIntStack();
  ASSERT_TRUE(a != nullptr && a->capacity() == 41);
  a->push(1);
  IterStack<int>* keep = a;
  int before = qor::pooledIntStacks();
  putIntStack(&a);
  EXPECT_TRUE(a == nullptr && qor::pooledIntStacks() == before + 1);
  IterStack<int>* b = getIntStack();
  EXPECT_TRUE(b == keep && b->isEmpty());
  IterStack<int>* c = getIntStack();  // the pool is empty again: a new one
  EXPECT_TRUE(c != b && c->capacity() == 41);
  putIntStack(&b);
  putIntStack(&c);
  EXPECT_EQ(qor::pooledIntStacks(), before + 2);
  IterStack<int>* none = nullptr;
  putIntStack(&none);  // nothing happens
  EXPECT_EQ(qor::pooledIntStacks(), before + 2);
}

}  // namespace
