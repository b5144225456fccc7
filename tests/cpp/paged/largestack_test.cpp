// The paged one-based stack, the stream forms of the int stacks (hand-written bytes) and
// remapThrough.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "base/iterlargestack.h"
#include "persistence/memstream.h"
#include "refhost/memorymanager.h"

namespace {

using Bytes = std::vector<uint8_t>;

refhost::RefMemoryManager& mm() {
  return refhost::memoryManager();
}

template <class Stack>
Bytes written(const Stack& s) {
  BinOutputMemory out;
  EXPECT_TRUE(writeStack(out, s));
  out.flush();
  return Bytes(out.data(), out.data() + out.size());
}

const Bytes kThree = {0x00, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00, 0x01,
                      0xFF, 0xFF, 0xFF, 0xFE, 0x01, 0x02, 0x03, 0x04};

TEST(IterLargeStack, OneBasedGrowthBySparsePages) {
  IterLargeStack<int> s(0);
  EXPECT_EQ(s.capacity(), 1);
  EXPECT_EQ(s.count(), 0);
  int64_t allocs = mm().allocateCalls();
  s.push(5);
  EXPECT_EQ(s.count(), 1);
  EXPECT_EQ(s.capacity(), 2048);  // growCapacity(1, 1) = 2 slots, then whole pages
  EXPECT_EQ(s.get(1), 5);
  EXPECT_EQ(s.get(0), 0);
  EXPECT_EQ(mm().allocateCalls(), allocs + 1);

  // Reads past the capacity answer zero and do not grow.
  EXPECT_EQ(s.get(1 << 20), 0);
  EXPECT_EQ(s.capacity(), 2048);

  // A far write grows to growCapacity's figure and makes one page only.
  s.at(100000) = 3;
  EXPECT_EQ(s.capacity(), 131072);
  EXPECT_EQ(s.pagesPresent(), 2);
  EXPECT_EQ(s.get(100000), 3);
  EXPECT_EQ(s.get(99999), 0);

  // Zeros pushed onto absent pages make none.
  IterLargeStack<int> z(10000);
  for (int i = 0; i < 5000; ++i) z.push(0);
  EXPECT_EQ(z.count(), 5000);
  EXPECT_EQ(z.pagesPresent(), 0);
  EXPECT_EQ(z.pop(), 0);
  EXPECT_EQ(z.count(), 4999);
}

TEST(IterLargeStack, PushPopRemoveAtMatchAVector) {
  std::mt19937 rng(7);
  IterLargeStack<int> s(3);
  std::vector<int> model;  // elements 1..count
  for (int step = 0; step < 20000; ++step) {
    unsigned op = rng() % 8;
    if (op < 5 || model.empty()) {
      int v = rng() % 4 == 0 ? 0 : static_cast<int>(rng());
      s.push(v);
      model.push_back(v);
    } else if (op < 7) {
      ASSERT_EQ(s.pop(), model.back());
      model.pop_back();
    } else {
      int32_t i = 1 + static_cast<int32_t>(rng() % model.size());
      s.removeAt(i);
      model.erase(model.begin() + (i - 1));
    }
    ASSERT_EQ(s.count(), static_cast<int32_t>(model.size()));
  }
  for (size_t k = 0; k < model.size(); ++k) ASSERT_EQ(s.get(static_cast<int32_t>(k) + 1), model[k]);
  // removeAt at the last index only lowers the count.
  int32_t n = s.count();
  int last = s.get(n);
  s.removeAt(n);
  EXPECT_EQ(s.count(), n - 1);
  EXPECT_EQ(s.get(n), last);
}

TEST(StackStreams, EveryStackWritesTheSameBytes) {
  IterStack<int> a(0);
  IterBlockStack<int> b(0);
  IterLargeStack<int> c(0);
  for (int v : {1, -2, 0x01020304}) {
    a.push(v);
    b.push(v);
    c.push(v);
  }
  EXPECT_EQ(written(a), kThree);
  EXPECT_EQ(written(b), kThree);
  EXPECT_EQ(written(c), kThree);
  EXPECT_EQ(written(IterStack<int>(5)), (Bytes{0, 0, 0, 0}));
  EXPECT_EQ(written(IterLargeStack<int>(5)), (Bytes{0, 0, 0, 0}));

  // Long stacks, over pages and the writers' chunks, with sparse stretches.
  IterStack<int> la(0);
  IterBlockStack<int> lb(0);
  IterLargeStack<int> lc(0);
  for (int i = 1; i <= 7000; ++i) {
    int v = (i > 2100 && i < 4200) ? 0 : i * 3;
    la.push(v);
    lb.push(v);
    lc.push(v);
  }
  Bytes ba = written(la);
  ASSERT_EQ(ba.size(), 4u + 4 * 7000);
  EXPECT_EQ(ba[0], 0x00);
  EXPECT_EQ(ba[2], 0x1B);  // 7000 = 0x1B58
  EXPECT_EQ(ba[3], 0x58);
  // Element 7000 = 21000 = 0x5208 last.
  EXPECT_EQ(ba[ba.size() - 2], 0x52);
  EXPECT_EQ(ba[ba.size() - 1], 0x08);
  EXPECT_EQ(written(lb), ba);
  EXPECT_EQ(written(lc), ba);
}

TEST(StackStreams, ReadingSizesEachStackItsOwnWay) {
  IterStack<int> a(50);
  a.push(9);
  BinInputMemory in1(kThree.data(), kThree.size());
  ASSERT_TRUE(readStack(in1, a));
  EXPECT_EQ(a.capacity(), 4);
  EXPECT_EQ(a.count(), 3);
  EXPECT_EQ(a.get(1), 1);
  EXPECT_EQ(a.get(2), -2);
  EXPECT_EQ(a.get(3), 0x01020304);
  EXPECT_EQ(in1.tell(), 16);

  IterBlockStack<int> b(0);
  BinInputMemory in2(kThree.data(), kThree.size());
  ASSERT_TRUE(readStack(in2, b));
  EXPECT_EQ(b.capacity(), 5);
  EXPECT_EQ(b.count(), 3);
  EXPECT_EQ(b.get(2), -2);
  EXPECT_EQ(b.get(3), 0x01020304);

  IterLargeStack<int> c(0);
  BinInputMemory in3(kThree.data(), kThree.size());
  ASSERT_TRUE(readStack(in3, c));
  EXPECT_EQ(c.count(), 3);
  EXPECT_EQ(c.get(1), 1);
  EXPECT_EQ(c.get(3), 0x01020304);

  const Bytes zeros = {0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0};
  IterLargeStack<int> d(0);
  BinInputMemory in4(zeros.data(), zeros.size());
  ASSERT_TRUE(readStack(in4, d));
  EXPECT_EQ(d.count(), 2);
  EXPECT_EQ(d.pagesPresent(), 0);
}

TEST(StackStreams, BadCountsLeaveTheStackAsItWas) {
  const Bytes negative = {0xFF, 0xFF, 0xFF, 0xFF};
  const Bytes shortOne = {0, 0, 0, 5, 0, 0, 0, 1, 0, 0, 0, 2};
  for (const Bytes* bytes : {&negative, &shortOne}) {
    IterStack<int> a(0);
    a.push(42);
    IterBlockStack<int> b(0);
    b.push(42);
    IterLargeStack<int> c(0);
    c.push(42);
    BinInputMemory i1(bytes->data(), bytes->size());
    BinInputMemory i2(bytes->data(), bytes->size());
    BinInputMemory i3(bytes->data(), bytes->size());
    EXPECT_FALSE(readStack(i1, a));
    EXPECT_FALSE(readStack(i2, b));
    EXPECT_FALSE(readStack(i3, c));
    EXPECT_EQ(a.count(), 1);
    EXPECT_EQ(a.get(1), 42);
    EXPECT_EQ(b.count(), 1);
    EXPECT_EQ(b.get(1), 42);
    EXPECT_EQ(c.count(), 1);
    EXPECT_EQ(c.get(1), 42);
  }
  const Bytes empty;
  IterStack<int> e(0);
  BinInputMemory in(empty.data(), 0);
  EXPECT_FALSE(readStack(in, e));
}

TEST(StackStreams, RemapThroughChangesOnlyMappedElements) {
  QorMM::Array<int> map(6);
  map.set(1, 10);
  map.set(5, 50);
  map.set(9, 90);  // past the capacity: reads zero
  IterStack<int> s(0);
  for (int v : {1, 3, 5, 9, 6, 0, -4}) s.push(v);
  remapThrough(s, map);
  std::vector<int> got;
  for (int32_t i = 1; i <= s.count(); ++i) got.push_back(s.get(i));
  EXPECT_EQ(got, (std::vector<int>{10, 3, 50, 9, 6, 0, -4}));
}

}  // namespace
