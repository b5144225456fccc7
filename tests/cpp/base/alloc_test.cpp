// Block allocation without a host: the growth rule, the cases of wexRealloc, the narrowing
// road with a failing allocator, the spill and the end of the memory road (entered once),
// the assertion road and the break flag read at load.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "base/wexrealloc.h"
#include "core/component.h"
#include "platform/process.h"
#include "testkit.h"

namespace {

using Sizes = std::vector<size_t>;

const std::string kOutOfMemory =
    "Out of Memory|While running this function, you have run out of memory.\nThe application "
    "will close. After restarting, please read\nthe online help about \"Memory Optimization\".";

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

// Records what the raw allocator was asked for and refuses sizes above a limit, and what
// would have ended the process.
struct RawLog {
  static inline Sizes reallocs, mallocs;
  static inline size_t limit = SIZE_MAX;
  static inline int frees = 0;
  static inline std::vector<int> exits;
  static inline std::vector<std::string> messages;
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

class Alloc : public ::testing::Test {
 protected:
  void SetUp() override {
    RawLog::reallocs.clear();
    RawLog::mallocs.clear();
    RawLog::limit = SIZE_MAX;
    RawLog::frees = 0;
    RawLog::exits.clear();
    RawLog::messages.clear();
    qor::setRawAllocators(&RawLog::mallocFn, &RawLog::reallocFn, &RawLog::freeFn);
    Platform::setExitHook([](int code) { RawLog::exits.push_back(code); });
    Platform::setMessageHook([](const char* title, const char* text) {
      RawLog::messages.push_back(std::string(title) + "|" + text);
    });
  }
  void TearDown() override {
    qor::setRawAllocators(nullptr, nullptr);
    Platform::setExitHook(nullptr);
    Platform::setMessageHook(nullptr);
  }
};

// A block of n 32-bit values first, first + 1, ...; the allocator's log starts afresh.
void* filled(int32_t n, int32_t first) {
  void* p = nullptr;
  EXPECT_EQ(wexMalloc(&p, 4, n), n);
  for (int32_t i = 0; i < n; ++i) static_cast<int32_t*>(p)[i] = first + i;
  RawLog::reallocs.clear();
  return p;
}

TEST_F(Alloc, MallocAsksForTheProductAndNothingIsNoFailure) {
  void* p = nullptr;
  EXPECT_TRUE(wexMalloc(&p, 12, 5) == 5 && p != nullptr);
  EXPECT_EQ(RawLog::mallocs, Sizes{60});
  wexFree(p);
  wexFree(nullptr);
  EXPECT_EQ(RawLog::frees, 1);
  // malloc(0) may answer null: no failure.
  qor::setRawAllocators([](size_t) -> void* { return nullptr; }, &RawLog::reallocFn);
  EXPECT_TRUE(wexMalloc(&p, 4, 0) == 0 && p == nullptr && RawLog::exits.empty());
}

TEST_F(Alloc, ReallocCases) {
  // Dirty memory first, so that a missing clear would show.
  void* dirty = nullptr;
  wexMalloc(&dirty, 1, 64);
  std::memset(dirty, 0xAB, 64);
  wexFree(dirty);
  struct Case {
    const char* what;
    int32_t filled, current, min;
    uint32_t max;
    int32_t result;
    Sizes reallocs;
  } cases[] = {{"current equals minimum", 4, 4, 4, 100, 4, {}},
               {"shrinks to the minimum below the sentinel", 10, 10, 5, 0xFFFFFFFFu, 5, {20}},
               {"fits in the current size", 10, 10, 5, 20, 10, {}},
               {"to zero frees", 3, 3, 0, 0xFFFFFFFFu, 0, {}},
               {"grows keeping the old part", 3, 3, 5, 9, 9, {36}},
               {"first allocation takes the minimum", 0, 0, 16, 1000, 16, {}},
               {"a stale block of no elements is reused", 1, 0, 4, 100, 4, {16}}};
  for (const Case& c : cases) {
    RawLog::reallocs.clear();
    void* p = c.filled ? filled(c.filled, 7) : nullptr;
    void* before = p;
    const int frees = RawLog::frees;
    EXPECT_EQ(wexRealloc(&p, 4, c.current, c.min, c.max), c.result) << c.what;
    EXPECT_EQ(RawLog::reallocs, c.reallocs) << c.what;
    EXPECT_TRUE(p == before || !c.reallocs.empty() || c.result != c.current) << c.what;
    EXPECT_TRUE((p == nullptr) == (c.result == 0) && RawLog::frees - frees == (c.result == 0))
        << c.what;
    for (int32_t i = 0; i < c.result; ++i)
      ASSERT_EQ(static_cast<int32_t*>(p)[i], i < c.filled && c.current ? 7 + i : 0) << c.what << i;
    wexFree(p);
  }
  testkit::AssertRecorder asserts(7);
  void* p = filled(4, 1);
  EXPECT_EQ(wexRealloc(&p, 4, 4, 8, 6), 4);
  EXPECT_EQ(asserts.exprs(), std::vector<std::string>{"maxNewSize >= minNewSize"});
  wexFree(p);
}

TEST_F(Alloc, NarrowingHalvesTowardsTheMinimumSevenTimesThenTriesTheMinimumThenGivesUp) {
  struct Case {
    size_t limit;
    uint32_t elementSize;
    int32_t min, max, result;
    Sizes tried;
  } cases[] = {
      {0, 1, 2, 1026, 0, {1026, 514, 258, 130, 66, 34, 18, 10, 2}},
      {0, 4, 4, 6, 0, {24, 20, 16}},             // 6 -> (6+4)/2 = 5 -> 4, the minimum: done early
      {300, 1, 2, 1026, 258, {1026, 514, 258}},  // the first size that fits
  };
  for (const Case& c : cases) {
    void* p = filled(1, 42);
    RawLog::limit = c.limit;
    RawLog::exits.clear();
    RawLog::messages.clear();
    EXPECT_EQ(wexRealloc(&p, c.elementSize, 1, c.min, c.max), c.result);
    EXPECT_EQ(RawLog::reallocs, c.tried);
    if (c.result > 1) {
      EXPECT_TRUE(RawLog::exits.empty());
      for (int i = 4; i < c.result; ++i) ASSERT_EQ(static_cast<unsigned char*>(p)[i], 0) << i;
      EXPECT_EQ(*static_cast<int32_t*>(p), 42);
    } else {  // the old block went to a spill file, the new one is refused: the road ends
      EXPECT_EQ(RawLog::exits, std::vector<int>{-1});
      EXPECT_EQ(RawLog::messages, std::vector<std::string>{kOutOfMemory});
      EXPECT_EQ(p, nullptr);
    }
    RawLog::limit = SIZE_MAX;
    wexFree(p);
  }
  // A maximum above 2^31 is a large unsigned request, not a negative one: the block grows
  // to what the allocator can give on the narrowing road.
  void* p = filled(2, 1);
  RawLog::limit = 4000;
  int32_t got = wexRealloc(&p, 1, 8, 16, 0x80000000u);
  EXPECT_TRUE(got >= 16 && got <= 4000) << got;
  EXPECT_EQ(RawLog::reallocs.front(), size_t{0x80000000u});
  EXPECT_TRUE(RawLog::exits.empty());
  wexFree(p);
}

TEST_F(Alloc, MallocFailureEndsTheProcessWithMinusOneOnceAndTraceLinesNameTheBytes) {
  // The message allocates while everything is refused: the road is not entered again, the
  // block comes from its reserve and goes back to nothing.
  Platform::setMessageHook([](const char* title, const char* text) {
    void* q = nullptr;
    EXPECT_EQ(wexMalloc(&q, 1, 5000), 5000);
    EXPECT_NE(q, nullptr);
    wexFree(q);
    RawLog::messages.push_back(std::string(title) + "|" + text);
  });
  RawLog::limit = 0;
  void* p = &p;
  EXPECT_TRUE(wexMalloc(&p, 8, 1000) == 0 && p == nullptr);
  EXPECT_EQ(RawLog::exits, std::vector<int>{-1});
  EXPECT_EQ(RawLog::messages, std::vector<std::string>{kOutOfMemory});
  RawLog::limit = SIZE_MAX;

  testing::internal::CaptureStdout();
  wexSetTrace(true);
  wexMalloc(&p, 4, 3);
  wexRealloc(&p, 4, 3, 5, 0xFFFFFFFFu);
  wexSetTrace(false);
  void* q = nullptr;
  wexMalloc(&q, 4, 1);  // not traced
  wexFree(q);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "wexMalloc: 4 : 3 : 12\nwexRealloc: 4 : 3 : 5 : 4294967295 : 20\n");
  wexFree(p);
}

TEST_F(Alloc, AssertionCallbackGetsContextAndTextsItsAnswerIsPassedOnElseTheProcessEnds) {
  {
    testkit::AssertRecorder seen(31), other;  // the later pair replaces the earlier one
    wexSetAssertCallback(&testkit::AssertRecorder::record, &seen);
    EXPECT_EQ(wexAssertFailed("a < b", "some/path", 77), 31);
    int x = 3;
    EXPECT_TRUE(!QOR_ASSERT(x == 4) && QOR_ASSERT(x == 3));
    EXPECT_EQ(seen.exprs(), (std::vector<std::string>{"a < b", "x == 4"}));
    EXPECT_EQ(seen.entries[0].file + ":" + std::to_string(seen.entries[0].line), "some/path:77");
    EXPECT_TRUE(other.entries.empty() && RawLog::exits.empty());
  }
  EXPECT_EQ(wexAssertFailed("p", "q", 1), 0);
  EXPECT_EQ(RawLog::exits, std::vector<int>{255}) << "without callback or handler";
}

// The break flag is read from the environment when the library loads: each case runs in a
// fresh process (the threadsafe death test re-executes this binary).
TEST(BreakFlag, OnlyExactlyZeroSwitchesItOff) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const char* value : {"0", "00", "", "1", " 0", static_cast<const char*>(nullptr)}) {
    value ? setenv("QOR_BREAK_ENABLED", value, 1) : unsetenv("QOR_BREAK_ENABLED");
    EXPECT_EXIT(std::_Exit(qor::breakEnabled() ? 1 : 2),
                ::testing::ExitedWithCode(value && std::string(value) == "0" ? 2 : 1), "")
        << (value ? value : "(unset)");
  }
  unsetenv("QOR_BREAK_ENABLED");
}

}  // namespace
