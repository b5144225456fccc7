// Dense bit vectors: sizes and the plain/paged switch, the literal corner rules, stream
// bytes written out by hand, and long random runs against a std::vector<bool> model.
#include "base/bitvector.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <random>
#include <sstream>

#include "base/bitvectorpool.h"
#include "base/blockbitvector.h"
#include "refhost/host.h"
#include "refhost/progress.h"
#include "refhost/random.h"
#include "testkit.h"

using namespace testkit;

namespace {

using Members = std::vector<int32_t>;

bool bare() {
  return std::getenv("BRINDLE_TEST_NO_HOST") != nullptr;
}

TEST(BitVectorSize, WordsOfConstructorAndResizeAndThePlainPagedSwitch) {
  if (bare()) GTEST_SKIP();
  // From 4096 words the constructor pages, resize from 4097 (127 doubled up to 260096
  // bits); paged goes back to plain only below 1536 words, else keeps whole pages of 2048.
  struct Case {
    int32_t made, resized, words;
    bool paged;
  } cases[] = {{10, -1, 1, false},
               {32, -1, 2, false},
               {-7, -1, 1, false},
               {32, 5, 1, false},  // below 31 counts as 31
               {4095 * 32 - 1, -1, 4095, false},
               {4095 * 32, -1, 4096, true},
               {100, 4096 * 32 - 1, 6144, false},  // one step of 6144 words
               {100, 4096 * 32, 8129, true},
               {200000, 1536 * 32 - 1, 2048, true},
               {200000, 1535 * 32 - 1, 1535, false}};
  for (const Case& c : cases) {
    BitVector v(c.made);
    Members kept;
    for (int32_t b : {1, 100, 49119, 49130})
      if (b < c.made) v.set(b);
    if (c.resized >= 0) v.resize(c.resized);
    for (int32_t b : {1, 100, 49119, 49130})
      if (b < c.made && b <= v.maxBit()) kept.push_back(b);
    SCOPED_TRACE(testing::Message() << c.made << " -> " << c.resized);
    EXPECT_TRUE(v.wordCount() == c.words && v.maxBit() == c.words * 32 - 1 &&
                v.isPaged() == c.paged && members(v) == kept &&
                v.count() == static_cast<int32_t>(kept.size()));
  }
  BitVector b(32);
  b.set(64);  // the target maxBit doubles 63 -> 126: four words, not twice the words
  EXPECT_EQ(b.maxBit(), 127);
  b.resize(5);  // fewer words make the count unknown
  EXPECT_TRUE(b.cachedCount() == BitVector::kUnknownCount && b.count() == 0);
}

TEST(BitVectorSize, WithoutAManagerEverythingStaysPlain) {
  if (!bare()) GTEST_SKIP() << "runs in the process started by the next test";
  BitVector big(4095 * 32);
  EXPECT_TRUE(!big.isPaged() && big.wordCount() == 4096);
  big.set(10000000);  // grows straight from required to the doubled target
  EXPECT_TRUE(!big.isPaged() && big.maxBit() > 10000000 && members(big) == Members{10000000});
  BitVector copy;
  Bytes b = written(big, 12);
  BinInputMemory in(b.data(), b.size());
  ASSERT_TRUE(copy.read(in));
  // No IQorRandom: nothing changes.
  EXPECT_TRUE(!copy.isPaged() && copy.equals(big) && !copy.randomSubset(0.5) && copy.count() == 1);
}

TEST(BitVectorSize, TheBareTestsPassInAProcessWithoutHost) {
  if (bare()) GTEST_SKIP();
  pid_t pid = fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    setenv("BRINDLE_TEST_NO_HOST", "1", 1);
    // Only the exit status counts; the child's report of its skipped tests would read as
    // this test's own.
    const int null = open("/dev/null", O_WRONLY);
    if (null >= 0) dup2(null, STDOUT_FILENO);
    execl("/proc/self/exe", "test_bits",
          "--gtest_filter=BitVectorSize.*:BitVectorStream.*:BlockBitVectorBits.*",
          static_cast<char*>(nullptr));
    _exit(127);
  }
  int status = 0;
  ASSERT_TRUE(waitpid(pid, &status, 0) == pid && WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(BitVectorRules, LiteralCornerCases) {
  BitVector v(10);
  v.setFirst(3);
  EXPECT_TRUE(v.word(0) == 0b1110u && v.count() == 3);
  v.setAll();
  EXPECT_TRUE(!v.test(0) && v.count() == 31);
  v.invertAll();  // bit 0 flips too
  EXPECT_EQ(members(v), Members{0});
  EXPECT_EQ(Members({v.nextSet(-1), v.nextSet(0), v.prevSet(0), v.prevSet(1)}),
            Members({0, -1, -1, 0}));

  BitVector c(100);
  for (int32_t i : {5, 9, 40}) c.set(i);
  EXPECT_EQ(Members({c.countBelow(10), c.countBelow(9), c.countBelow(1000), c.countFrom(5)}),
            Members({2, 1, 3, 2}));
  c.set(0);  // a set bit 0 makes countBelow 0, whatever else is set
  EXPECT_EQ(Members({c.countBelow(10), c.countBelow(1000), c.countFrom(-1)}), Members({0, 0, 4}));

  BitVector f(10);
  f.setFirst(40);  // grows, then bits 1..40
  EXPECT_TRUE(f.maxBit() == 63 && f.word(0) == 0xFFFFFFFEu && f.word(1) == 0x1FFu);
  f.invertFirst(35);  // bits 1..35 flip, 36..40 and bit 0 stay
  EXPECT_EQ(members(f), Members({36, 37, 38, 39, 40}));
  EXPECT_TRUE(!f.clearRange(64, 70) && f.clearRange(38, 1000) && f.count() == 2);
  // Above maxBit the search starts from the top.
  EXPECT_EQ(Members({f.prevSet(1000), f.prevClear(37), f.nextClear(35)}), Members({37, 35, 38}));
}

TEST(BitVectorRules, AssignKeepsALongerPlainTargetsLength) {
  BitVector target(1000), small(10), shorter(10);
  target.set(900);
  small.set(3);
  target.assign(small);  // keeps its length
  EXPECT_TRUE(target.maxBit() == 1023 && members(target) == Members{3});
  shorter.assign(target);  // takes the source's length
  EXPECT_TRUE(shorter.maxBit() == 1023 && shorter.equals(target));
  BitVector moved(std::move(shorter));
  EXPECT_TRUE(shorter.maxBit() == -1 && moved.test(3));
  shorter.assign(moved);  // a moved-from vector takes an assignment
  EXPECT_TRUE(shorter.equals(moved));
}

TEST(BitVectorRules, SelectRemapShiftSplitAndText) {
  BitVector v(100), mask(100), w(100), s(40), e(100);
  for (int32_t i : {2, 4, 7}) v.set(i);
  for (int32_t m : {1, 2, 4, 6, 7}) mask.set(m);  // k = 1..5 take bits 1, 2, 4, 6, 7
  v.select(mask);
  EXPECT_EQ(members(v), Members({2, 3, 5}));

  for (int32_t i : {1, 3, 5, 70}) w.set(i);
  QorMM::Array<int> map(6);
  map.set(1, 10);
  map.set(3, 0);  // cleared
  map.set(5, 2);
  w.remap(map);
  EXPECT_EQ(members(w), Members({2, 10, 70}));  // 70 lies past the map

  for (int32_t i : {0, 31, 33}) s.set(i);
  s.shiftUp(33);
  EXPECT_TRUE(members(s) == Members({33, 64, 66}) && s.count() == 3);

  for (int32_t i = 10; i < 20; ++i) e.set(i);
  int32_t first[3], counts[3];
  ASSERT_TRUE(e.splitEven(3, first, counts));
  EXPECT_EQ(Members(first, first + 3), Members({10, 13, 16}));
  EXPECT_EQ(Members(counts, counts + 3), Members({10, 7, 4}));

  BitVector t(100);
  for (int32_t i = 1; i <= 9; ++i) t.set(i * 3);
  std::ostringstream os;
  os << t;  // eight indices to a line
  EXPECT_EQ(os.str(), "numSet=9\n3 6 9 12 15 18 21 24 \n27 ");
}

// ---- stream bytes ----

const Bytes kMagic = be({0x315E97D6});

TEST(BitVectorStream, DenseAndSparseBytesByHandAndTheVersionRule) {
  BitVector v(10), w(100), s(2000);  // s: 63 words, maxBit 2015
  v.set(3);
  EXPECT_EQ(written(v), kMagic + be({1, 0x1F, 0, 1, 8}));
  for (int32_t i : {1, 33, 64, 127}) w.set(i);
  const Bytes dense = kMagic + be({4, 0x7F, 0, 4, 2, 2, 1, 0x80000000});
  EXPECT_EQ(written(w), dense);
  BlockBitVector block;  // a dense stream read by the other class
  BinInputMemory in(dense.data(), dense.size());
  ASSERT_TRUE(block.read(in));
  EXPECT_EQ(members(block), Members({1, 33, 64, 127}));

  for (int32_t i : {5, 1000, 2015}) s.set(i);
  const Bytes sparse = kMagic + be({63, 2015, 1, 3, 5, 1000, 2015});
  EXPECT_TRUE(written(s, 0) == sparse && written(s, 13) == sparse);
  Bytes words = written(s, 12);  // versions 1 to 12 write words
  ASSERT_EQ(words.size(), 20u + 63 * 4);
  EXPECT_EQ(Bytes(words.begin(), words.begin() + 24), kMagic + be({63, 2015, 0, 3, 0x20}));
  EXPECT_EQ(Bytes(words.begin() + 20 + 31 * 4, words.begin() + 24 + 31 * 4), be({0x100}));
  EXPECT_EQ(Bytes(words.end() - 4, words.end()), be({0x80000000}));

  BlockBitVector fromSparse;
  BinInputMemory in2(sparse.data(), sparse.size());
  ASSERT_TRUE(fromSparse.read(in2));
  EXPECT_EQ(fromSparse.count(), 3);
  // The block writer counts whole blocks: 1024 words, maxBit 32767, still a list.
  EXPECT_EQ(written(fromSparse), kMagic + be({1024, 32767, 1, 3, 5, 1000, 2015}));
  BitVector back;
  BinInputMemory in3(words.data(), words.size());
  ASSERT_TRUE(back.read(in3));
  EXPECT_TRUE(back.equals(s));

  // Five thousand bits in a hundred thousand words: a list, or words at version 12.
  BitVector big(100000 * 32 - 1);
  for (int32_t k = 0; k < 5000; ++k) big.set(1 + k * 631);
  Bytes list = written(big, 0), all = written(big, 12);
  EXPECT_EQ(Bytes(list.begin(), list.begin() + 20), kMagic + be({100000, 3199999, 1, 5000}));
  EXPECT_EQ(list.size(), 20u + 5000 * 4);
  EXPECT_EQ(Bytes(all.begin(), all.begin() + 20), kMagic + be({100000, 3199999, 0, 5000}));
  EXPECT_EQ(all.size(), 20u + 100000 * 4);
  BitVector r(5);
  BinInputMemory in4(list.data(), list.size());
  ASSERT_TRUE(r.read(in4));
  EXPECT_TRUE(r.isPaged() == !bare() && r.equals(big));
}

TEST(BitVectorStream, OddStreams) {
  // Only the id of the magic counts; a vector writes its own. Flag 2 reads nothing past the
  // header; a short body and another id fail and leave the vector as it was.
  struct Case {
    Bytes bytes;
    bool ok;
    int32_t maxBit;
    Members set;
    int64_t end;
  } cases[] = {{be({0x315E98D6, 1, 31, 0, 1, 8}), false, 127, {7}, -1},
               {be({0x315E9701, 1, 31, 0, -1u, 0x10}), true, 31, {4}, 24},
               {kMagic + be({0, 500, 0, 0}), true, 31, {}, 20},
               {kMagic + be({2, 63, 2, 1, 5}), true, 63, {}, 20},
               {kMagic + be({3, 95, 0, 1, 5}), false, 127, {7}, -1}};
  for (const Case& c : cases) {
    BitVector v(100);
    v.set(7);
    BinInputMemory in(c.bytes.data(), c.bytes.size());
    EXPECT_TRUE(v.read(in) == c.ok && v.maxBit() == c.maxBit && members(v) == c.set &&
                (c.ok ? in.tell() : -1) == c.end);
  }
  const Bytes otherVersion = be({0x315E9701, 1, 31, 0, -1u, 0x10});
  BitVector v;
  BinInputMemory in(otherVersion.data(), otherVersion.size());
  ASSERT_TRUE(v.read(in));
  EXPECT_EQ(v.cachedCount(), BitVector::kUnknownCount);
  EXPECT_EQ(written(v), kMagic + be({1, 31, 0, -1u, 0x10}));
}

// ---- random runs against a model ----

// One random run of `steps` operations on a vector of about `span` bits, checked against a
// std::vector<bool> that follows the documented rules; the whole-vector checks run every
// `every` steps.
void randomRun(uint32_t seed, int32_t span, int steps, int every) {
  std::mt19937 rng(seed);
  auto pick = [&](int32_t n) { return static_cast<int32_t>(rng() % static_cast<uint32_t>(n)); };
  BitVector v(span / 4);
  std::vector<bool> m(static_cast<size_t>(v.maxBit()) + 1);
  auto follow = [&] { m.resize(static_cast<size_t>(v.maxBit()) + 1); };
  auto bit = [&](int32_t i) { return i >= 0 && i < static_cast<int32_t>(m.size()) && m[i]; };
  auto modelCount = [&] { return static_cast<int32_t>(members(m).size()); };

  for (int step = 0; step < steps; ++step) {
    const int32_t i = pick(span), j = pick(span), op = pick(17);
    if (op < 3) {
      v.set(i);
      follow();
      m[i] = true;
    } else if (op == 3) {
      v.clear(i);
      if (i < static_cast<int32_t>(m.size())) m[i] = false;
    } else if (op == 4) {
      const bool in = i <= v.maxBit();
      EXPECT_EQ(v.clearRange(i, j), in);
      for (int32_t k = i; in && k <= std::min(j, v.maxBit()); ++k) m[k] = false;
    } else if (op == 5) {
      v.setFirst(i / 8);
      follow();
      for (size_t k = 0; k < m.size(); ++k) m[k] = k >= 1 && k <= static_cast<size_t>(i / 8);
      EXPECT_EQ(v.cachedCount(), static_cast<uint32_t>(i / 8));
    } else if (op == 6) {
      v.invertFirst(i);
      follow();
      for (int32_t k = 1; k <= i; ++k) m[k] = !m[k];
    } else if (op == 7) {  // a long run of sets around one spot, so that whole words fill
      for (int32_t k = i; k < i + 200 && k < span; ++k) v.set(k);
      follow();
      for (int32_t k = i; k < i + 200 && k < span; ++k) m[k] = true;
    } else if (op == 8) {
      v.resize(i);
      ASSERT_TRUE(v.maxBit() >= std::max(i, 31) && (v.maxBit() + 1) % 32 == 0);
      follow();  // bits above the new end are gone, the kept words keep theirs
    } else if (op < 13) {
      BitVector o(pick(span));
      std::vector<bool> om;
      for (int k = pick(3) == 0 ? 2000 : 30; k > 0; --k) {
        int32_t b = pick(o.maxBit() + 1);
        o.set(b);
        if (om.size() <= static_cast<size_t>(b)) om.resize(static_cast<size_t>(b) + 1);
        om[b] = true;
      }
      const int kind = step % 4;
      BitVector viaBlocks(v);  // the same step with a block operand, bit by bit
      const BlockBitVector ob(o);
      if (kind == 0) v.unite(o), viaBlocks.unite(ob);
      if (kind == 1) v.intersect(o), viaBlocks.intersect(ob);
      if (kind == 2) v.subtract(o), viaBlocks.subtract(ob);
      if (kind == 3) v.exclusiveOr(o), viaBlocks.exclusiveOr(ob);
      EXPECT_TRUE(viaBlocks.equals(v) && v.maxBit() >= o.prevSet(INT32_MAX));
      follow();
      om.resize(m.size());
      bool common = false;
      for (size_t k = 0; k < m.size(); ++k) {
        m[k] = kind == 0   ? m[k] || om[k]
               : kind == 1 ? m[k] && om[k]
               : kind == 2 ? m[k] && !om[k]
                           : m[k] != om[k];
        common = common || (m[k] && om[k]);
      }
      EXPECT_EQ(v.disjoint(o), !common);
    } else if (op == 13) {
      Bytes b = written(v, pick(2) ? 0 : 12);
      BitVector r(pick(span));
      BlockBitVector block;
      BinInputMemory in(b.data(), b.size()), in2(b.data(), b.size());
      ASSERT_TRUE(r.read(in) && block.read(in2));
      EXPECT_TRUE(r.equals(v) && r.maxBit() == v.maxBit() && members(block) == members(m) &&
                  BitVector(block).equals(v) && BitVector(BlockBitVector(v)).equals(v));
    } else if (op == 14) {
      BitVector copy(v);
      EXPECT_EQ(copy.isPaged(), v.isPaged());
      copy.set(span + 5 + step);  // a bit v has never had
      EXPECT_FALSE(copy.equals(v));
      v.assign(copy);
      follow();
      m[span + 5 + step] = true;
    }
    EXPECT_TRUE(v.test(i) == bit(i) && v.test(j) == bit(j));
    if (step % every != 0 && step + 1 < steps) continue;  // the scanning checks
    ASSERT_EQ(v.count(), modelCount()) << "step " << step;
    EXPECT_EQ(v.recount(), modelCount());
    int32_t ns = -1, nc = -1, ps = -1, pc = -1, from = 0, below = 0;
    for (int32_t k = 0; k < static_cast<int32_t>(m.size()); ++k) {
      if (k > i && m[k] && ns < 0) ns = k;
      if (k > i && !m[k] && nc < 0) nc = k;
      if (k < i) (m[k] ? ps : pc) = k;
      from += m[k] && k > i;
      below += m[k] && k >= 1 && k < j;
    }
    EXPECT_EQ(Members({v.nextSet(i), v.nextClear(i), v.prevSet(i), v.prevClear(i)}),
              Members({ns, nc, ps, pc}));
    EXPECT_TRUE(v.countFrom(i) == from && v.countBelow(j) == (bit(0) ? 0 : below) &&
                v.isEmpty() == (modelCount() == 0));
  }
  EXPECT_EQ(members(v), members(m));
}

TEST(BitVectorModel, ThousandsOfOperationsOnSmallPlainVectors) {
  for (uint32_t seed = 1; seed <= 4; ++seed) randomRun(seed, 3000, 700, 1);
}

TEST(BitVectorModel, ThousandsOfOperationsAcrossThePagedSwitch) {
  randomRun(77, 400000, 800, 40);
  randomRun(78, 140000, 800, 40);
}

// ---- host services ----

TEST(BitVectorHost, RandomSubsetFollowsTheSeededGenerator) {
  BitVector v(1000);
  for (int32_t i = 3; i < 1000; i += 3) v.set(i);  // 333 bits
  const Members before = members(v);
  ASSERT_TRUE(v.randomSubset(0.25));
  EXPECT_EQ(refhost::random().lastSeed(), 333 * 2 + 412);
  // The same walk with the generator written out here.
  uint64_t state = 333 * 2 + 412;
  int32_t needed = static_cast<int32_t>(333 * 0.25 + 0.5), remaining = 333;
  Members kept;
  for (int32_t bit : before) {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    if (static_cast<int32_t>(((state >> 32) * static_cast<uint64_t>(remaining)) >> 32) < needed) {
      kept.push_back(bit);
      --needed;
    }
    --remaining;
  }
  EXPECT_TRUE(kept.size() == 83u && members(v) == kept && v.count() == 83);
}

TEST(BitVectorHost, WalkerReportsEachHundredthAndOneAtTheEnd) {
  refhost::RefProgress& p = refhost::progress();
  p.reset();
  BitVector v(1000);
  v.setAll();
  v.clear(500);
  Members seen;
  {
    ProgBitVectorIter it(v);
    EXPECT_TRUE(it.step() == 10 && it.position() == -1);  // 1023 / 100
    for (int32_t i = it.next(); i >= 0; i = it.next()) seen.push_back(i);
    EXPECT_TRUE(it.next() == -1 && !it.stopRequested());
  }
  EXPECT_EQ(seen.size(), 1022u);
  std::vector<float> r = p.reports();
  ASSERT_EQ(r.size(), 103u);  // 10, 20, .., 1020, then 1.0
  EXPECT_FLOAT_EQ(r[0], 10.0f / 1023.0f);
  EXPECT_FLOAT_EQ(r[101], 1020.0f / 1023.0f);
  EXPECT_EQ(r.back(), 1.0f);
  p.reset();
  p.stopAfter(2);
  {
    ProgBitVectorIter clearBits(v, false);
    EXPECT_EQ(Members({clearBits.next(), clearBits.next(), clearBits.next()}),
              Members({0, 500, -1}));
    EXPECT_FALSE(clearBits.stopRequested());  // 500 gave the first report
  }
  p.reset();
}

TEST(BitVectorHost, ThePoolLendsTheSameVectorBackCleared) {
  BitVector* a = getBitVector();
  EXPECT_EQ(a->maxBit(), 31);
  a->set(300);
  putBitVector(&a);
  const int32_t pooled = qor::pooledBitVectors();
  EXPECT_TRUE(a == nullptr && pooled >= 1);
  BitVector* b = getBitVector();  // the storage stays
  EXPECT_TRUE(b->count() == 0 && b->maxBit() == 511 && qor::pooledBitVectors() == pooled - 1);
  putBitVector(&b);
}

}  // namespace
