// The three one-based stacks side by side: the paged stack's sparse growth, one vector
// model for all three, their stream forms (hand-written bytes) and remapThrough.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "base/iterlargestack.h"
#include "persistence/memstream.h"
#include "refhost/memorymanager.h"
#include "testkit.h"

namespace {

using testkit::Bytes;

refhost::RefMemoryManager& mm() {
  return refhost::memoryManager();
}

template <class Stack>
Bytes written(const Stack& s) {
  return testkit::streamed([&](BinOutput& o) { return writeStack(o, s); });
}

const Bytes kThree = testkit::hex("00000003 00000001 FFFFFFFE 01020304");

TEST(IterLargeStack, OneBasedGrowthBySparsePages) {
  // growCapacity(1, 1) = 2 slots, then whole pages; reads past the capacity answer zero
  // and do not grow; a far write grows to growCapacity's figure and makes one page only.
  IterLargeStack<int> s(0);
  EXPECT_EQ(s.capacity(), 1);
  const int64_t allocs = mm().allocateCalls();
  s.push(5);
  std::vector<int64_t> seen = {
      s.count(),      s.capacity(), s.get(1), s.get(0), mm().allocateCalls() - allocs,
      s.get(1 << 20), s.capacity()};
  s.at(100000) = 3;
  seen.insert(seen.end(), {s.capacity(), s.pagesPresent(), s.get(100000), s.get(99999)});
  EXPECT_EQ(seen, (std::vector<int64_t>{1, 2048, 5, 0, 1, 0, 2048, 131072, 2, 3, 0}));

  IterLargeStack<int> z(10000);  // zeros pushed onto absent pages make none
  for (int i = 0; i < 5000; ++i) z.push(0);
  EXPECT_TRUE(z.pagesPresent() == 0 && z.pop() == 0 && z.count() == 4999);
}

// Random pushes (a quarter of them zeros), pops and removals against a vector.
template <class Stack>
void matchesAVector(Stack& s, uint32_t seed, int steps) {
  std::mt19937 rng(seed);
  std::vector<int> model;  // elements 1..count
  for (int step = 0; step < steps; ++step) {
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
  const int32_t n = s.count();  // removeAt at the last index only lowers the count
  const int last = s.get(n);
  s.removeAt(n);
  EXPECT_TRUE(s.count() == n - 1 && s.get(n) == last);
}

TEST(Stacks, PushPopAndRemoveAtMatchAVector) {
  IterStack<int> plain(3);
  IterBlockStack<int> blocks(0, 3);  // blocks of 8
  IterLargeStack<int> paged(3);
  matchesAVector(plain, 7, 20000);
  matchesAVector(blocks, 11, 5000);
  matchesAVector(paged, 7, 20000);
}

TEST(StackStreams, EveryStackWritesTheSameBytesAndReadsThemItsOwnWay) {
  IterStack<int> a(0), la(0);
  IterBlockStack<int> b(0), lb(0);
  IterLargeStack<int> c(0), lc(0);
  for (int v : {1, -2, 0x01020304}) a.push(v), b.push(v), c.push(v);
  EXPECT_EQ(std::vector<Bytes>({written(a), written(b), written(c), written(IterStack<int>(5)),
                                written(IterLargeStack<int>(5))}),
            std::vector<Bytes>({kThree, kThree, kThree, Bytes(4, 0), Bytes(4, 0)}));
  // Long stacks, over pages and the writers' chunks, with sparse stretches.
  for (int i = 1; i <= 7000; ++i) {
    int v = (i > 2100 && i < 4200) ? 0 : i * 3;
    la.push(v), lb.push(v), lc.push(v);
  }
  Bytes ba = written(la);
  ASSERT_EQ(ba.size(), 4u + 4 * 7000);
  // 7000.
  // 21000 last.
  EXPECT_TRUE(Bytes(ba.begin(), ba.begin() + 4) == testkit::hex("00001B58") &&
              Bytes(ba.end() - 4, ba.end()) == testkit::hex("00005208") && written(lb) == ba &&
              written(lc) == ba);

  IterStack<int> ra(50);
  IterBlockStack<int> rb(0);
  IterLargeStack<int> rc(0), zeros(0);
  ra.push(9);
  BinInputMemory in1(kThree.data(), kThree.size()), in2(kThree.data(), kThree.size()),
      in3(kThree.data(), kThree.size());
  ASSERT_TRUE(readStack(in1, ra) && readStack(in2, rb) && readStack(in3, rc));
  EXPECT_EQ(std::vector<int64_t>({in1.tell(), ra.capacity(), rb.capacity()}),
            std::vector<int64_t>({16, 4, 5}));
  for (int32_t i = 1; i <= 3; ++i) {
    EXPECT_TRUE(ra.get(i) == a.get(i) && rb.get(i) == a.get(i) && rc.get(i) == a.get(i));
  }
  EXPECT_EQ(std::vector<int>({ra.count(), rb.count(), rc.count()}), std::vector<int>(3, 3));
  const Bytes two = testkit::hex("00000002 00000000 00000000");
  BinInputMemory in4(two.data(), two.size());
  ASSERT_TRUE(readStack(in4, zeros));
  EXPECT_TRUE(zeros.count() == 2 && zeros.pagesPresent() == 0);
}

TEST(StackStreams, BadCountsLeaveTheStackAsItWas) {
  for (const Bytes& bytes :
       {testkit::hex("FFFFFFFF"), testkit::hex("00000005 00000001 00000002")}) {
    IterStack<int> a(0);
    IterBlockStack<int> b(0);
    IterLargeStack<int> c(0);
    a.push(42), b.push(42), c.push(42);
    BinInputMemory i1(bytes.data(), bytes.size()), i2(bytes.data(), bytes.size()),
        i3(bytes.data(), bytes.size());
    EXPECT_FALSE(readStack(i1, a) || readStack(i2, b) || readStack(i3, c));
    EXPECT_EQ(std::vector<int>({a.count(), a.get(1), b.count(), b.get(1), c.count(), c.get(1)}),
              std::vector<int>({1, 42, 1, 42, 1, 42}));
  }
  IterStack<int> e(0);
  BinInputMemory in(nullptr, 0);
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
