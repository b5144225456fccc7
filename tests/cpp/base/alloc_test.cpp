// Block allocation without a host: the growth rule, the cases of wexRealloc, the narrowing
// road with a failing allocator, the end of the memory road, the assertion road and the
// break flag read at load.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "base/wexrealloc.h"
#include "core/component.h"
#include "platform/process.h"

namespace {

TEST(GrowCapacity, DoublesFromAtLeastOneAndStopsAtTwoToThe30) {
  struct Case {
    int32_t current, needed, expected;
  };
  const Case cases[] = {
      {0, 1, 1},
      {0, 5, 8},
      {6, 7, 12},
      {5, 5, 5},
      {9, 3, 9},
      {1, 2, 2},
      {3, 6, 6},
      {3, 7, 12},
      {0, 0, 0},
      {-4, 3, 4},
      {100, 101, 200},
      {0x20000000, 0x30000000, 0x40000000},
      {0x40000000, 0x40000001, 0x40000001},
      {1, 0x7FFFFFFF, 0x7FFFFFFF},
      {0x30000000, 0x40000001, 0x60000000},
  };
  for (const Case& c : cases)
    EXPECT_EQ(wexGrowCapacity(c.current, c.needed), c.expected) << c.current << " -> " << c.needed;
}

// Records what the raw allocator was asked for and refuses sizes above a limit.
struct RawLog {
  static inline std::vector<size_t> reallocs;
  static inline std::vector<size_t> mallocs;
  static inline size_t limit = SIZE_MAX;
  static inline int frees = 0;
  static void* mallocFn(size_t n) {
    mallocs.push_back(n);
    return n > limit ? nullptr : std::malloc(n);
  }
  static void* reallocFn(void* p, size_t n) {
    reallocs.push_back(n);
    return n > limit ? nullptr : std::realloc(p, n);
  }
  static void freeFn(void* p) {
    ++frees;
    std::free(p);
  }
};

struct Exits {
  static inline std::vector<int> codes;
  static inline std::vector<std::string> messages;
  static void onExit(int code) { codes.push_back(code); }
  static void onMessage(const char* title, const char* text) {
    messages.push_back(std::string(title) + "|" + text);
  }
};

class Alloc : public ::testing::Test {
 protected:
  void SetUp() override {
    RawLog::reallocs.clear();
    RawLog::mallocs.clear();
    RawLog::limit = SIZE_MAX;
    RawLog::frees = 0;
    Exits::codes.clear();
    Exits::messages.clear();
    qor::setRawAllocators(&RawLog::mallocFn, &RawLog::reallocFn, &RawLog::freeFn);
    Platform::setExitHook(&Exits::onExit);
    Platform::setMessageHook(&Exits::onMessage);
  }
  void TearDown() override {
    qor::setRawAllocators(nullptr, nullptr);
    Platform::setExitHook(nullptr);
    Platform::setMessageHook(nullptr);
  }
};

int32_t* filled(int32_t n, int32_t first) {
  void* p = nullptr;
  EXPECT_EQ(wexMalloc(&p, 4, n), n);
  auto* a = static_cast<int32_t*>(p);
  for (int32_t i = 0; i < n; ++i) a[i] = first + i;
  return a;
}

TEST_F(Alloc, MallocAsksForTheProductAndReturnsTheCount) {
  void* p = nullptr;
  EXPECT_EQ(wexMalloc(&p, 12, 5), 5);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(RawLog::mallocs, std::vector<size_t>{60});
  wexFree(p);
  EXPECT_EQ(RawLog::frees, 1);
  wexFree(nullptr);
  EXPECT_EQ(RawLog::frees, 1);
}

TEST_F(Alloc, MallocOfNothingIsNoFailureEvenIfTheLibraryAnswersNull) {
  RawLog::limit = 0;  // every non-empty request fails; malloc(0) gives a block or null
  qor::setRawAllocators([](size_t) -> void* { return nullptr; }, &RawLog::reallocFn);
  void* p = &p;
  EXPECT_EQ(wexMalloc(&p, 4, 0), 0);
  EXPECT_EQ(p, nullptr);
  EXPECT_TRUE(Exits::codes.empty());
}

TEST_F(Alloc, ReallocWithCurrentEqualToMinimumDoesNothing) {
  int32_t* a = filled(4, 10);
  void* p = a;
  EXPECT_EQ(wexRealloc(&p, 4, 4, 4, 100), 4);
  EXPECT_EQ(p, a);
  EXPECT_TRUE(RawLog::reallocs.empty());
  wexFree(p);
}

TEST_F(Alloc, ReallocShrinksToMinimumWhenMaximumIsTheSentinel) {
  void* p = filled(10, 1);
  RawLog::reallocs.clear();
  EXPECT_EQ(wexRealloc(&p, 4, 10, 5, 0xFFFFFFFFu), 5);
  EXPECT_EQ(RawLog::reallocs, std::vector<size_t>{20});
  for (int i = 0; i < 5; ++i) EXPECT_EQ(static_cast<int32_t*>(p)[i], i + 1);
  wexFree(p);
}

TEST_F(Alloc, ReallocWithinCurrentSizeTouchesNothing) {
  int32_t* a = filled(10, 1);
  void* p = a;
  EXPECT_EQ(wexRealloc(&p, 4, 10, 5, 20), 10);
  EXPECT_EQ(p, a);
  EXPECT_TRUE(RawLog::reallocs.empty());
  wexFree(p);
}

TEST_F(Alloc, ReallocToZeroFreesAndNulls) {
  void* p = filled(3, 1);
  EXPECT_EQ(wexRealloc(&p, 4, 3, 0, 0xFFFFFFFFu), 0);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(RawLog::frees, 1);
}

TEST_F(Alloc, GrowthKeepsOldDataAndZeroesOnlyTheNewPart) {
  void* p = filled(3, 7);
  EXPECT_EQ(wexRealloc(&p, 4, 3, 5, 9), 9);
  EXPECT_EQ(RawLog::reallocs, std::vector<size_t>{36});
  auto* a = static_cast<int32_t*>(p);
  const int32_t expected[] = {7, 8, 9, 0, 0, 0, 0, 0, 0};
  for (int i = 0; i < 9; ++i) EXPECT_EQ(a[i], expected[i]) << i;
  wexFree(p);
}

TEST_F(Alloc, FirstAllocationTakesTheMinimumAndIsZeroed) {
  // Dirty memory first, so that a missing clear would show.
  void* dirty = nullptr;
  wexMalloc(&dirty, 1, 64);
  std::memset(dirty, 0xAB, 64);
  wexFree(dirty);

  void* p = nullptr;
  EXPECT_EQ(wexRealloc(&p, 4, 0, 16, 1000), 16);
  ASSERT_NE(p, nullptr);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(static_cast<int32_t*>(p)[i], 0);
  wexFree(p);
}

TEST_F(Alloc, MaximumBelowMinimumAsserts) {
  struct Rec {
    static int cb(void* ctx, const char* expr, const char*, int32_t) {
      *static_cast<std::string*>(ctx) = expr;
      return 7;
    }
  };
  std::string seen;
  wexSetAssertCallback(&Rec::cb, &seen);
  void* p = filled(4, 1);
  EXPECT_EQ(wexRealloc(&p, 4, 4, 8, 6), 4);
  EXPECT_EQ(seen, "maxNewSize >= minNewSize");
  wexSetAssertCallback(nullptr, nullptr);
  wexFree(p);
}

TEST_F(Alloc, SizesAreComparedInSixtyFourBits) {
  // A maximum above 2^31 is a large unsigned request, not a negative one: the block grows
  // to what the allocator can give on the narrowing road.
  void* p = filled(2, 1);
  RawLog::reallocs.clear();
  RawLog::limit = 4 * 1000;
  int32_t got = wexRealloc(&p, 1, 8, 16, 0x80000000u);
  EXPECT_GE(got, 16);
  EXPECT_LE(got, 4000);
  EXPECT_EQ(RawLog::reallocs.front(), size_t{0x80000000u});
  EXPECT_TRUE(Exits::codes.empty());
  wexFree(p);
}

TEST_F(Alloc, NarrowingHalvesTowardsMinimumSevenTimesThenTriesMinimumThenGivesUp) {
  void* p = filled(1, 42);
  void* before = p;
  RawLog::reallocs.clear();
  RawLog::limit = 0;  // everything fails
  EXPECT_EQ(wexRealloc(&p, 1, 1, 2, 1026), 1);
  const std::vector<size_t> tried = {1026, 514, 258, 130, 66, 34, 18, 10, 2};
  EXPECT_EQ(RawLog::reallocs, tried);
  // No manager in this process, so the road ends: the process would exit with -1.
  EXPECT_EQ(Exits::codes, std::vector<int>{-1});
  ASSERT_EQ(Exits::messages.size(), 1u);
  EXPECT_EQ(Exits::messages[0].rfind("Out of Memory|", 0), 0u);
  // The block is as it was.
  EXPECT_EQ(p, before);
  EXPECT_EQ(*static_cast<int32_t*>(p), 42);
  RawLog::limit = SIZE_MAX;
  wexFree(p);
}

TEST_F(Alloc, NarrowingStopsEarlyWhenHalvingReachesTheMinimum) {
  void* p = filled(1, 0);
  RawLog::reallocs.clear();
  RawLog::limit = 0;
  wexRealloc(&p, 4, 1, 4, 6);
  // 6 -> (6+4)/2 = 5 -> (5+4)/2 = 4, and 4 is the minimum: the loop is done.
  EXPECT_EQ(RawLog::reallocs, (std::vector<size_t>{24, 20, 16}));
  EXPECT_EQ(Exits::codes, std::vector<int>{-1});
  RawLog::limit = SIZE_MAX;
  wexFree(p);
}

TEST_F(Alloc, NarrowingSucceedsAtTheFirstSizeThatFits) {
  void* p = filled(1, 5);
  RawLog::reallocs.clear();
  RawLog::limit = 300;
  EXPECT_EQ(wexRealloc(&p, 1, 1, 2, 1026), 258);
  EXPECT_EQ(RawLog::reallocs, (std::vector<size_t>{1026, 514, 258}));
  auto* b = static_cast<unsigned char*>(p);
  for (int i = 4; i < 258; ++i) ASSERT_EQ(b[i], 0) << i;
  EXPECT_TRUE(Exits::codes.empty());
  wexFree(p);
}

TEST_F(Alloc, MallocFailureEndsTheProcessWithMinusOne) {
  RawLog::limit = 100;
  void* p = &p;
  EXPECT_EQ(wexMalloc(&p, 8, 1000), 0);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(Exits::codes, std::vector<int>{-1});
  ASSERT_EQ(Exits::messages.size(), 1u);
  EXPECT_NE(Exits::messages[0].find("8000 bytes"), std::string::npos) << Exits::messages[0];
}

TEST_F(Alloc, TraceLinesNameTheFunctionAndTheBytes) {
  testing::internal::CaptureStdout();
  wexSetTrace(true);
  void* p = nullptr;
  wexMalloc(&p, 4, 3);
  wexRealloc(&p, 4, 3, 5, 0xFFFFFFFFu);
  wexSetTrace(false);
  void* q = nullptr;
  wexMalloc(&q, 4, 1);  // not traced
  wexFree(q);
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(out, "wexMalloc: 4 : 3 : 12\nwexRealloc: 4 : 3 : 5 : 4294967295 : 20\n");
  wexFree(p);
}

// ---- assertions ----

struct Seen {
  std::string expr, file;
  int32_t line = 0;
  int calls = 0;
};
int recordAssert(void* ctx, const char* expr, const char* file, int32_t line) {
  auto* s = static_cast<Seen*>(ctx);
  s->expr = expr, s->file = file, s->line = line, ++s->calls;
  return 31;
}

TEST_F(Alloc, AssertionCallbackGetsContextAndTextsAndItsAnswerIsPassedOn) {
  Seen seen;
  wexSetAssertCallback(&recordAssert, &seen);
  EXPECT_EQ(wexAssertFailed("a < b", "some/path", 77), 31);
  EXPECT_EQ(seen.expr, "a < b");
  EXPECT_EQ(seen.file, "some/path");
  EXPECT_EQ(seen.line, 77);
  int x = 3;
  bool held = QOR_ASSERT(x == 4);
  EXPECT_FALSE(held);
  EXPECT_EQ(seen.expr, "x == 4");
  EXPECT_TRUE(QOR_ASSERT(x == 3));
  EXPECT_EQ(seen.calls, 2);
  EXPECT_TRUE(Exits::codes.empty());

  // A new pair replaces the old one.
  Seen other;
  wexSetAssertCallback(&recordAssert, &other);
  wexAssertFailed("e", "f", 1);
  EXPECT_EQ(seen.calls, 2);
  EXPECT_EQ(other.calls, 1);
  wexSetAssertCallback(nullptr, nullptr);
}

TEST_F(Alloc, AssertionWithoutCallbackOrHandlerExitsWith255) {
  wexSetAssertCallback(nullptr, nullptr);
  EXPECT_EQ(wexAssertFailed("p", "q", 1), 0);
  EXPECT_EQ(Exits::codes, std::vector<int>{255});
}

// ---- the break flag, read from the environment when the library loads ----

// Runs in a fresh process (the threadsafe death test re-executes this binary), so the
// library's load sees the variable as set here.
void expectBreakFlag(const char* value, int expectedExit) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  if (value)
    setenv("QOR_BREAK_ENABLED", value, 1);
  else
    unsetenv("QOR_BREAK_ENABLED");
  EXPECT_EXIT(std::_Exit(qor::breakEnabled() ? 1 : 2), ::testing::ExitedWithCode(expectedExit), "")
      << (value ? value : "(unset)");
  unsetenv("QOR_BREAK_ENABLED");
}

TEST(BreakFlag, OnlyExactlyZeroSwitchesItOff) {
  expectBreakFlag("0", 2);
  expectBreakFlag("00", 1);
  expectBreakFlag("", 1);
  expectBreakFlag("1", 1);
  expectBreakFlag(" 0", 1);
  expectBreakFlag(nullptr, 1);
}

}  // namespace
