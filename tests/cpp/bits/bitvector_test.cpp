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
#include "support.h"

using namespace bits_test;

namespace {

bool bare() {
  return std::getenv("BRINDLE_TEST_NO_HOST") != nullptr;
}

TEST(BitVectorSize, ConstructorWordsAndTheDoublingGrowth) {
  BitVector a(10), b(32), c(-7);
  EXPECT_EQ(a.wordCount(), 1);
  EXPECT_EQ(a.maxBit(), 31);
  EXPECT_EQ(a.cachedCount(), 0u);
  EXPECT_EQ(b.wordCount(), 2);
  EXPECT_EQ(b.maxBit(), 63);
  EXPECT_EQ(c.maxBit(), 31);
  b.set(64);  // the target maxBit doubles 63 -> 126: four words, not twice the words
  EXPECT_EQ(b.maxBit(), 127);
  EXPECT_EQ(b.count(), 1);
  b.resize(5);  // below 31 counts as 31; fewer words make the count unknown
  EXPECT_EQ(b.maxBit(), 31);
  EXPECT_EQ(b.cachedCount(), BitVector::kUnknownCount);
  EXPECT_EQ(b.count(), 0);
}

TEST(BitVectorSize, PagedFrom4096WordsInTheConstructorBut4097InResize) {
  if (bare()) GTEST_SKIP();
  EXPECT_FALSE(BitVector(4095 * 32 - 1).isPaged());  // 4095 words
  EXPECT_TRUE(BitVector(4095 * 32).isPaged());       // 4096 words
  BitVector grow(100);
  grow.resize(4096 * 32 - 1);  // 4096 words required: still plain, one step of 6144 words
  EXPECT_FALSE(grow.isPaged());
  EXPECT_EQ(grow.wordCount(), 6144);
  BitVector jump(100);
  jump.set(1);
  jump.resize(4096 * 32);  // 4097 words required: paged, 127 doubled up to 260096
  EXPECT_TRUE(jump.isPaged());
  EXPECT_EQ(jump.wordCount(), 8129);
  EXPECT_EQ(jump.maxBit(), 8129 * 32 - 1);
  EXPECT_TRUE(jump.test(1));
  EXPECT_EQ(jump.count(), 1);
}

TEST(BitVectorSize, PagedGoesBackToPlainOnlyBelow1536Words) {
  if (bare()) GTEST_SKIP();
  BitVector v(200000);
  ASSERT_TRUE(v.isPaged());
  v.set(100);
  v.set(49119);
  v.set(49130);
  v.resize(1536 * 32 - 1);  // 1536 words: paged still, whole pages of 2048 words
  EXPECT_TRUE(v.isPaged());
  EXPECT_EQ(v.wordCount(), 2048);
  v.resize(1535 * 32 - 1);  // 1535 words: plain
  EXPECT_FALSE(v.isPaged());
  EXPECT_EQ(v.wordCount(), 1535);
  EXPECT_EQ(members(v), (std::vector<int32_t>{100, 49119}));
}

TEST(BitVectorSize, WithoutAManagerEverythingStaysPlain) {
  if (!bare()) GTEST_SKIP() << "runs in the process started by the next test";
  BitVector big(4095 * 32);
  EXPECT_FALSE(big.isPaged());
  EXPECT_EQ(big.wordCount(), 4096);
  big.set(10000000);  // grows straight from required to the doubled target
  EXPECT_FALSE(big.isPaged());
  EXPECT_GT(big.maxBit(), 10000000);
  EXPECT_EQ(members(big), (std::vector<int32_t>{10000000}));
  BitVector copy;
  Bytes b = written(big, 12);
  BinInputMemory in(b.data(), b.size());
  ASSERT_TRUE(copy.read(in));
  EXPECT_FALSE(copy.isPaged());
  EXPECT_TRUE(copy.equals(big));
  EXPECT_FALSE(copy.randomSubset(0.5));  // no IQorRandom: nothing changes
  EXPECT_EQ(copy.count(), 1);
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
    execl("/proc/self/exe", "test_bits", "--gtest_filter=BitVectorSize.*:BlockBitVectorBits.*",
          static_cast<char*>(nullptr));
    _exit(127);
  }
  int status = 0;
  ASSERT_EQ(waitpid(pid, &status, 0), pid);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(BitVectorRules, LiteralCornerCases) {
  BitVector v(10);
  v.setFirst(3);
  EXPECT_EQ(v.word(0), 0b1110u);
  EXPECT_EQ(v.count(), 3);
  v.setAll();
  EXPECT_FALSE(v.test(0));
  EXPECT_EQ(v.count(), 31);
  v.invertAll();  // bit 0 flips too
  EXPECT_EQ(members(v), (std::vector<int32_t>{0}));
  EXPECT_EQ(v.nextSet(-1), 0);
  EXPECT_EQ(v.nextSet(0), -1);
  EXPECT_EQ(v.prevSet(0), -1);
  EXPECT_EQ(v.prevSet(1), 0);

  BitVector c(100);
  for (int32_t i : {5, 9, 40}) c.set(i);
  EXPECT_EQ(c.countBelow(10), 2);
  EXPECT_EQ(c.countBelow(9), 1);
  EXPECT_EQ(c.countBelow(1000), 3);
  EXPECT_EQ(c.countFrom(5), 2);
  c.set(0);  // a set bit 0 makes countBelow 0, whatever else is set
  EXPECT_EQ(c.countBelow(10), 0);
  EXPECT_EQ(c.countBelow(1000), 0);
  EXPECT_EQ(c.countFrom(-1), 4);

  BitVector f(10);
  f.setFirst(40);  // grows, then bits 1..40
  EXPECT_EQ(f.maxBit(), 63);
  EXPECT_EQ(f.word(0), 0xFFFFFFFEu);
  EXPECT_EQ(f.word(1), 0x1FFu);
  f.invertFirst(35);  // bits 1..35 flip, 36..40 and bit 0 stay
  EXPECT_EQ(members(f), (std::vector<int32_t>{36, 37, 38, 39, 40}));
  EXPECT_FALSE(f.clearRange(64, 70));
  EXPECT_TRUE(f.clearRange(38, 1000));
  EXPECT_EQ(f.count(), 2);
  EXPECT_EQ(f.prevSet(1000), 37);  // above maxBit the search starts from the top
  EXPECT_EQ(f.prevClear(37), 35);
  EXPECT_EQ(f.nextClear(35), 38);
}

TEST(BitVectorRules, AssignKeepsALongerPlainTargetsLength) {
  BitVector target(1000), small(10);
  target.set(900);
  small.set(3);
  target.assign(small);
  EXPECT_EQ(target.maxBit(), 1023);  // kept
  EXPECT_EQ(members(target), (std::vector<int32_t>{3}));
  BitVector shorter(10);
  shorter.assign(target);
  EXPECT_EQ(shorter.maxBit(), 1023);  // took the source's length
  EXPECT_TRUE(shorter.equals(target));
  BitVector moved(std::move(shorter));
  EXPECT_EQ(shorter.maxBit(), -1);
  EXPECT_TRUE(moved.test(3));
  shorter.assign(moved);  // a moved-from vector takes an assignment
  EXPECT_TRUE(shorter.equals(moved));
}

TEST(BitVectorRules, SelectRemapShiftAndSplit) {
  BitVector v(100), mask(100);
  for (int32_t i : {2, 4, 7}) v.set(i);
  for (int32_t m : {1, 2, 4, 6, 7}) mask.set(m);  // k = 1..5 take bits 1, 2, 4, 6, 7
  v.select(mask);
  EXPECT_EQ(members(v), (std::vector<int32_t>{2, 3, 5}));

  BitVector w(100);
  for (int32_t i : {1, 3, 5, 70}) w.set(i);
  QorMM::Array<int> map(6);
  map.set(1, 10);
  map.set(3, 0);  // cleared
  map.set(5, 2);
  w.remap(map);
  EXPECT_EQ(members(w), (std::vector<int32_t>{2, 10, 70}));  // 70 lies past the map

  BitVector s(40);
  for (int32_t i : {0, 31, 33}) s.set(i);
  s.shiftUp(33);
  EXPECT_EQ(members(s), (std::vector<int32_t>{33, 64, 66}));
  EXPECT_EQ(s.count(), 3);

  BitVector e(100);
  for (int32_t i = 10; i < 20; ++i) e.set(i);
  int32_t first[3], counts[3];
  ASSERT_TRUE(e.splitEven(3, first, counts));
  EXPECT_EQ(std::vector<int32_t>(first, first + 3), (std::vector<int32_t>{10, 13, 16}));
  EXPECT_EQ(std::vector<int32_t>(counts, counts + 3), (std::vector<int32_t>{10, 7, 4}));
}

TEST(BitVectorRules, TextFormEightIndicesToALine) {
  BitVector v(100);
  for (int32_t i = 1; i <= 9; ++i) v.set(i * 3);
  std::ostringstream os;
  os << v;
  EXPECT_EQ(os.str(), "numSet=9\n3 6 9 12 15 18 21 24 \n27 ");
}

// ---- stream bytes ----

const Bytes kMagic = be({0x315E97D6});

TEST(BitVectorStream, DenseBytesByHand) {
  BitVector v(10);
  v.set(3);
  EXPECT_EQ(written(v), kMagic + be({1, 0x1F, 0, 1, 8}));
  BitVector w(100);
  for (int32_t i : {1, 33, 64, 127}) w.set(i);
  const Bytes dense = kMagic + be({4, 0x7F, 0, 4, 2, 2, 1, 0x80000000});
  EXPECT_EQ(written(w), dense);
  BlockBitVector block;  // a dense stream read by the other class
  BinInputMemory in(dense.data(), dense.size());
  ASSERT_TRUE(block.read(in));
  EXPECT_EQ(members(block), (std::vector<int32_t>{1, 33, 64, 127}));
}

TEST(BitVectorStream, SparseBytesByHandAndTheVersionRule) {
  BitVector v(2000);  // 63 words, maxBit 2015
  for (int32_t i : {5, 1000, 2015}) v.set(i);
  const Bytes sparse = kMagic + be({63, 2015, 1, 3, 5, 1000, 2015});
  EXPECT_EQ(written(v, 0), sparse);
  EXPECT_EQ(written(v, 13), sparse);
  Bytes dense = written(v, 12);  // versions 1 to 12 write words
  ASSERT_EQ(dense.size(), 20u + 63 * 4);
  EXPECT_EQ(Bytes(dense.begin(), dense.begin() + 20), kMagic + be({63, 2015, 0, 3}));
  EXPECT_EQ(Bytes(dense.begin() + 20, dense.begin() + 24), be({0x20}));
  EXPECT_EQ(Bytes(dense.begin() + 20 + 31 * 4, dense.begin() + 24 + 31 * 4), be({0x100}));
  EXPECT_EQ(Bytes(dense.end() - 4, dense.end()), be({0x80000000}));

  BlockBitVector block;
  BinInputMemory in(sparse.data(), sparse.size());
  ASSERT_TRUE(block.read(in));
  EXPECT_EQ(block.count(), 3);
  // The block writer counts whole blocks: 1024 words, maxBit 32767, still a list.
  EXPECT_EQ(written(block), kMagic + be({1024, 32767, 1, 3, 5, 1000, 2015}));
  BitVector back;
  BinInputMemory in2(dense.data(), dense.size());
  ASSERT_TRUE(back.read(in2));
  EXPECT_TRUE(back.equals(v));
}

TEST(BitVectorStream, FiveThousandBitsInAHundredThousandWords) {
  BitVector v(100000 * 32 - 1);
  ASSERT_EQ(v.wordCount(), 100000);
  for (int32_t k = 0; k < 5000; ++k) v.set(1 + k * 631);
  Bytes list = written(v, 0), words = written(v, 12);
  EXPECT_EQ(list.size(), 20u + 5000 * 4);
  EXPECT_EQ(Bytes(list.begin() + 4, list.begin() + 20), be({100000, 3199999, 1, 5000}));
  EXPECT_EQ(words.size(), 20u + 100000 * 4);
  EXPECT_EQ(Bytes(words.begin() + 4, words.begin() + 20), be({100000, 3199999, 0, 5000}));
  for (const Bytes* b : {&list, &words}) {
    BitVector r(5);
    BinInputMemory in(b->data(), b->size());
    ASSERT_TRUE(r.read(in));
    EXPECT_EQ(r.isPaged(), !bare());
    EXPECT_TRUE(r.equals(v));
  }
}

TEST(BitVectorStream, OddStreams) {
  BitVector v(100);
  v.set(7);
  const Bytes wrongId = be({0x315E98D6, 1, 31, 0, 1, 8});
  BinInputMemory a(wrongId.data(), wrongId.size());
  EXPECT_FALSE(v.read(a));
  EXPECT_EQ(members(v), (std::vector<int32_t>{7}));
  EXPECT_EQ(v.maxBit(), 127);

  const Bytes otherVersion = be({0x315E9701, 1, 31, 0, -1u, 0x10});  // only the id counts
  BinInputMemory b(otherVersion.data(), otherVersion.size());
  ASSERT_TRUE(v.read(b));
  EXPECT_EQ(members(v), (std::vector<int32_t>{4}));
  EXPECT_EQ(v.cachedCount(), BitVector::kUnknownCount);
  EXPECT_EQ(written(v), kMagic + be({1, 31, 0, -1u, 0x10}));  // the vector's own magic

  const Bytes noWords = kMagic + be({0, 500, 0, 0});
  BinInputMemory c(noWords.data(), noWords.size());
  ASSERT_TRUE(v.read(c));
  EXPECT_EQ(v.maxBit(), 31);
  EXPECT_EQ(v.cachedCount(), 0u);

  const Bytes flag2 = kMagic + be({2, 63, 2, 1, 5});  // nothing read past the header
  BinInputMemory d(flag2.data(), flag2.size());
  ASSERT_TRUE(v.read(d));
  EXPECT_EQ(d.tell(), 20);
  EXPECT_EQ(v.maxBit(), 63);
  EXPECT_TRUE(v.isEmpty());

  const Bytes shortBody = kMagic + be({3, 95, 0, 1, 5});  // 3 words promised, 1 there
  BinInputMemory e(shortBody.data(), shortBody.size());
  EXPECT_FALSE(v.read(e));
  EXPECT_EQ(v.maxBit(), 63);
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
    const int32_t i = pick(span), j = pick(span);
    switch (pick(17)) {
      case 0:
      case 1:
      case 2:
        v.set(i);
        follow();
        m[i] = true;
        break;
      case 3:
        v.clear(i);
        if (i < static_cast<int32_t>(m.size())) m[i] = false;
        break;
      case 4: {
        const bool in = i <= v.maxBit();
        EXPECT_EQ(v.clearRange(i, j), in);
        for (int32_t k = i; in && k <= std::min(j, v.maxBit()); ++k) m[k] = false;
        break;
      }
      case 5:
        v.setFirst(i / 8);
        follow();
        for (size_t k = 0; k < m.size(); ++k) m[k] = k >= 1 && k <= static_cast<size_t>(i / 8);
        EXPECT_EQ(v.cachedCount(), static_cast<uint32_t>(i / 8));
        break;
      case 6:
        v.invertFirst(i);
        follow();
        for (int32_t k = 1; k <= i; ++k) m[k] = !m[k];
        break;
      case 7: {  // a long run of sets around one spot, so that whole words fill
        for (int32_t k = i; k < i + 200 && k < span; ++k) v.set(k);
        follow();
        for (int32_t k = i; k < i + 200 && k < span; ++k) m[k] = true;
        break;
      }
      case 8: {
        v.resize(i);
        ASSERT_GE(v.maxBit(), std::max(i, 31));
        ASSERT_EQ((v.maxBit() + 1) % 32, 0);
        follow();  // bits above the new end are gone, the kept words keep theirs
        break;
      }
      case 9:
      case 10:
      case 11:
      case 12: {
        BitVector o(pick(span));
        std::vector<bool> om;
        for (int k = pick(3) == 0 ? 2000 : 30; k > 0; --k) {
          int32_t b = pick(o.maxBit() + 1);
          o.set(b);
          if (om.size() <= static_cast<size_t>(b)) om.resize(static_cast<size_t>(b) + 1);
          om[b] = true;
        }
        const int op = step % 4;
        BitVector viaBlocks(v);  // the same step with a block operand, bit by bit
        const BlockBitVector ob(o);
        if (op == 0) v.unite(o), viaBlocks.unite(ob);
        if (op == 1) v.intersect(o), viaBlocks.intersect(ob);
        if (op == 2) v.subtract(o), viaBlocks.subtract(ob);
        if (op == 3) v.exclusiveOr(o), viaBlocks.exclusiveOr(ob);
        EXPECT_TRUE(viaBlocks.equals(v));
        EXPECT_GE(v.maxBit(), o.prevSet(INT32_MAX));
        follow();
        om.resize(m.size());
        for (size_t k = 0; k < m.size(); ++k) {
          if (op == 0) m[k] = m[k] || om[k];
          if (op == 1) m[k] = m[k] && om[k];
          if (op == 2) m[k] = m[k] && !om[k];
          if (op == 3) m[k] = m[k] != om[k];
        }
        bool common = false;
        for (size_t k = 0; k < m.size(); ++k) common = common || (m[k] && om[k]);
        EXPECT_EQ(v.disjoint(o), !common);
        break;
      }
      case 13: {
        Bytes b = written(v, pick(2) ? 0 : 12);
        BitVector r(pick(span));
        BinInputMemory in(b.data(), b.size());
        ASSERT_TRUE(r.read(in));
        EXPECT_TRUE(r.equals(v));
        EXPECT_EQ(r.maxBit(), v.maxBit());
        BlockBitVector block;
        BinInputMemory in2(b.data(), b.size());
        ASSERT_TRUE(block.read(in2));
        EXPECT_EQ(members(block), members(m));
        EXPECT_TRUE(BitVector(block).equals(v));
        EXPECT_TRUE(BitVector(BlockBitVector(v)).equals(v));
        break;
      }
      case 14: {
        BitVector copy(v);
        EXPECT_EQ(copy.isPaged(), v.isPaged());
        copy.set(span + 5 + step);  // a bit v has never had
        EXPECT_FALSE(copy.equals(v));
        v.assign(copy);
        follow();
        m[span + 5 + step] = true;
        break;
      }
      default:
        break;
    }
    EXPECT_EQ(v.test(i), bit(i));
    EXPECT_EQ(v.test(j), bit(j));
    if (step % every != 0 && step + 1 < steps) continue;  // the scanning checks
    ASSERT_EQ(v.count(), modelCount()) << "step " << step;
    EXPECT_EQ(v.recount(), modelCount());
    int32_t ns = -1, nc = -1, ps = -1, pc = -1;
    for (int32_t k = i + 1; k <= v.maxBit() && (ns < 0 || nc < 0); ++k) {
      if (ns < 0 && m[k]) ns = k;
      if (nc < 0 && !m[k]) nc = k;
    }
    for (int32_t k = std::min(i, v.maxBit() + 1) - 1; k >= 0 && (ps < 0 || pc < 0); --k) {
      if (ps < 0 && m[k]) ps = k;
      if (pc < 0 && !m[k]) pc = k;
    }
    EXPECT_EQ(v.nextSet(i), ns);
    EXPECT_EQ(v.nextClear(i), nc);
    EXPECT_EQ(v.prevSet(i), ps);
    EXPECT_EQ(v.prevClear(i), pc);
    int32_t from = 0, below = 0;
    for (size_t k = 0; k < m.size(); ++k) {
      from += m[k] && static_cast<int32_t>(k) > i;
      below += m[k] && k >= 1 && static_cast<int32_t>(k) < j;
    }
    EXPECT_EQ(v.countFrom(i), from);
    EXPECT_EQ(v.countBelow(j), bit(0) ? 0 : below);
    EXPECT_EQ(v.isEmpty(), modelCount() == 0);
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
  const std::vector<int32_t> before = members(v);
  ASSERT_TRUE(v.randomSubset(0.25));
  EXPECT_EQ(refhost::random().lastSeed(), 333 * 2 + 412);
  // The same walk with the generator written out here.
  uint64_t state = 333 * 2 + 412;
  int32_t needed = static_cast<int32_t>(333 * 0.25 + 0.5), remaining = 333;
  std::vector<int32_t> kept;
  for (int32_t bit : before) {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    const auto r = static_cast<int32_t>(((state >> 32) * static_cast<uint64_t>(remaining)) >> 32);
    if (r < needed) {
      kept.push_back(bit);
      --needed;
    }
    --remaining;
  }
  EXPECT_EQ(kept.size(), 83u);
  EXPECT_EQ(members(v), kept);
  EXPECT_EQ(v.count(), 83);
}

TEST(BitVectorHost, WalkerReportsEachHundredthAndOneAtTheEnd) {
  refhost::RefProgress& p = refhost::progress();
  p.reset();
  BitVector v(1000);
  v.setAll();
  v.clear(500);
  std::vector<int32_t> seen;
  {
    ProgBitVectorIter it(v);
    EXPECT_EQ(it.step(), 10);  // 1023 / 100
    EXPECT_EQ(it.position(), -1);
    for (int32_t i = it.next(); i >= 0; i = it.next()) seen.push_back(i);
    EXPECT_EQ(it.next(), -1);
    EXPECT_FALSE(it.stopRequested());
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
    EXPECT_EQ(clearBits.next(), 0);
    EXPECT_EQ(clearBits.next(), 500);
    EXPECT_EQ(clearBits.next(), -1);
    EXPECT_FALSE(clearBits.stopRequested());  // 500 gave the first report
  }
  p.reset();
}

TEST(BitVectorHost, ThePoolLendsTheSameVectorBackCleared) {
  BitVector* a = getBitVector();
  EXPECT_EQ(a->maxBit(), 31);
  a->set(300);
  putBitVector(&a);
  EXPECT_EQ(a, nullptr);
  const int32_t pooled = qor::pooledBitVectors();
  EXPECT_GE(pooled, 1);
  BitVector* b = getBitVector();
  EXPECT_EQ(b->count(), 0);
  EXPECT_EQ(b->maxBit(), 511);  // the storage stays
  EXPECT_EQ(qor::pooledBitVectors(), pooled - 1);
  putBitVector(&b);
}

}  // namespace
