// Paged arrays against the host's page manager: sparse pages, resize, growth rules, page
// table growth, the order pages go back in, and a random walk against a page model.
#include "bulk/pagedarray.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "base/qorstring.h"
#include "hostapi/iqormmanager.h"
#include "refhost/host.h"
#include "refhost/memorymanager.h"

namespace {

refhost::RefMemoryManager& mm() {
  return refhost::memoryManager();
}

// A 24-byte element on 24576-byte pages of 1024, the geometry of the vector arrays.
struct Vec3 {
  double x, y, z;
};
struct Vec3Splitter {
  static constexpr int32_t kShift = 10;
  static constexpr int32_t kPageElements = 1024;
  static constexpr uint32_t kPageBytes = 24576;
};

using IntArray = QorMM::Array<int>;

TEST(PagedManager, TheArraysUseTheHostsManager) {
  EXPECT_EQ(QorMM::memoryManager(), static_cast<IQorMManager*>(&mm()));
}

TEST(PagedManager, FiguresCountUnitsOf24KiBAndReleaseAnswersOnDemand) {
  ASSERT_EQ(mm().pagesInUse(), 0);
  {
    IntArray a(0);
    a.resize(8 * 2048);
    for (int p = 0; p < 2; ++p) a.set(p * 2048, 1);
    EXPECT_EQ(mm().coreInUse(), 0);  // 16384 bytes
    a.set(2 * 2048, 1);
    EXPECT_EQ(mm().coreInUse(), 1);  // 24576 bytes
    for (int p = 3; p < 5; ++p) a.set(p * 2048, 1);
    EXPECT_EQ(mm().coreInUse(), 1);  // 40960 bytes
    a.set(5 * 2048, 1);
    EXPECT_EQ(mm().coreInUse(), 2);  // 49152 bytes
    EXPECT_EQ(mm().pagesInUse(), 6);
    QorMM::Array<Vec3, Vec3Splitter> v(10);
    v.set(3, Vec3{1, 2, 3});
    EXPECT_EQ(mm().coreInUse(), 3);
  }
  EXPECT_EQ(mm().pagesInUse(), 0);
  EXPECT_EQ(mm().coreInUse(), 0);
  EXPECT_GT(mm().coreLimit(), 0);
  EXPECT_EQ(mm().swapLimit(), 0);
  EXPECT_EQ(mm().swapInUse(), 0);

  int64_t calls = mm().releaseCalls();
  EXPECT_FALSE(mm().releaseMemory());
  mm().setReleaseAnswers(2);
  EXPECT_TRUE(mm().releaseMemory());
  EXPECT_TRUE(mm().releaseMemory());
  EXPECT_FALSE(mm().releaseMemory());
  EXPECT_EQ(mm().releaseCalls(), calls + 4);
}

TEST(PagedArray, ReadsAndZeroWritesCreateNoPage) {
  int64_t allocs = mm().allocateCalls();
  IntArray a(0);
  EXPECT_EQ(a.get(5), 0);
  EXPECT_EQ(a[5], 0);
  EXPECT_EQ(a.get(-1), 0);
  EXPECT_EQ(a.tableCount(), 0);
  EXPECT_EQ(a.tableCapacity(), 1);

  a.resize(4096);
  EXPECT_EQ(a.size(), 4096);
  EXPECT_EQ(a.get(3000), 0);
  a.set(3000, 0);
  a.set(100, 0);
  EXPECT_EQ(mm().allocateCalls(), allocs);
  EXPECT_EQ(a.pagesPresent(), 0);

  a.set(3000, 7);
  EXPECT_EQ(mm().allocateCalls(), allocs + 1);
  EXPECT_FALSE(a.pagePresent(0));
  EXPECT_TRUE(a.pagePresent(1));
  for (int i = 2048; i < 4096; ++i) ASSERT_EQ(a.get(i), i == 3000 ? 7 : 0) << i;
  // On a page that exists, zero is stored like any value.
  a.set(3000, 0);
  EXPECT_EQ(a.get(3000), 0);
  EXPECT_TRUE(a.pagePresent(1));

  a.ref(5) = 9;  // ref makes the page
  EXPECT_TRUE(a.pagePresent(0));
  EXPECT_EQ(a.get(5), 9);
  EXPECT_EQ(a.get(4), 0);
}

TEST(PagedArray, SetPastTheCapacityGrowsTheTableButReadsZero) {
  IntArray a(100);
  a.set(5000, 4);  // page 2, past the capacity
  EXPECT_EQ(a.tableCount(), 3);
  EXPECT_TRUE(a.pagePresent(2));
  EXPECT_EQ(a.get(5000), 0);
  EXPECT_EQ(a.size(), 100);

  // Growth from a non-zero capacity makes the new room empty: the page goes back.
  int64_t inUse = mm().pagesInUse();
  a.resize(3 * 2048);
  EXPECT_EQ(a.get(5000), 0);
  EXPECT_FALSE(a.pagePresent(2));
  EXPECT_EQ(mm().pagesInUse(), inUse - 1);

  // From capacity 0 the table only grows, so what was set past it comes into view.
  IntArray b(0);
  b.set(2048 + 1, 6);
  EXPECT_EQ(b.get(2048 + 1), 0);
  b.resize(2 * 2048);
  EXPECT_EQ(b.get(2048 + 1), 6);
}

TEST(PagedArray, ResizeRoundsToWholePages) {
  QorMM::Array<Vec3, Vec3Splitter> v(1000);
  EXPECT_EQ(v.size(), 1000);
  EXPECT_EQ(v.pageBytes(), 24576u);
  EXPECT_EQ(v.tableCount(), 1);
  v.resize(1000, false);
  EXPECT_EQ(v.size(), 1024);
  v.resize(1025, false);
  EXPECT_EQ(v.size(), 2048);
  v.set(1500, Vec3{1, 0, 0});
  EXPECT_EQ(v.get(1500).x, 1.0);
  EXPECT_EQ(v.get(1499).x, 0.0);

  IntArray a(1000);
  a.resize(1000, false);
  EXPECT_EQ(a.size(), 2048);
  a.resize(0);
  EXPECT_EQ(a.size(), 0);
  EXPECT_EQ(a.tableCount(), 0);
  a.resize(1);
  EXPECT_EQ(a.size(), 2048);
  a.roundUp();
  EXPECT_EQ(a.size(), 2048);
  IntArray b(5000);
  EXPECT_EQ(b.tableCount(), 3);
  b.roundUp();
  EXPECT_EQ(b.size(), 6144);
}

TEST(PagedArray, ClearTailHidesWhatLayPastTheOldCapacity) {
  // Without clearTail, a value written past a capacity that was not whole pages shows.
  IntArray kept(1000);
  kept.ref(1500) = 9;
  EXPECT_EQ(kept.get(1500), 0);
  kept.resize(3000, false);
  EXPECT_EQ(kept.get(1500), 9);

  // With it, the old last page is zeroed from the old capacity up to the new one.
  IntArray a(1000);
  a.ref(999) = 1;
  a.ref(1500) = 9;
  a.ref(1900) = 8;
  a.resize(1600, true);
  EXPECT_EQ(a.size(), 2048);
  EXPECT_EQ(a.get(999), 1);
  EXPECT_EQ(a.get(1500), 0);
  EXPECT_EQ(a.get(1900), 8);  // past the new size: not cleared

  // Shrinking gives pages back; growing again shows none of their contents.
  IntArray s(0);
  s.resize(3 * 2048);
  s.set(100, 1);
  s.set(2048 + 5, 2);
  s.set(4096 + 7, 3);
  int64_t frees = mm().freeCalls();
  s.resize(2048, true);
  EXPECT_EQ(mm().freeCalls(), frees + 2);
  EXPECT_EQ(s.get(2048 + 5), 0);
  s.resize(3 * 2048, true);
  EXPECT_EQ(s.get(100), 1);
  EXPECT_EQ(s.get(2048 + 5), 0);
  EXPECT_EQ(s.get(4096 + 7), 0);
  EXPECT_FALSE(s.pagePresent(1));
  EXPECT_FALSE(s.pagePresent(2));
}

TEST(PagedArray, GrowCapacityTiers) {
  struct Case {
    int32_t index, capacity;
    uint32_t elementSize;
    int32_t expected;
  };
  const Case cases[] = {
      {100, 0, 4, 128},                         // 4, 8, ... 512 bytes
      {0, 0, 4, 1},                             // already fits
      {5, 10, 4, 10},                           // already fits
      {10, 10, 4, 20},                          // at the capacity: grows
      {0x3FFFFF, 0x3FFFFF, 1, 0x7FFFFE},        // below 4 MiB: doubles
      {0x400000, 0x400000, 1, 0x600000},        // from 4 MiB: by half
      {0x1FFFFFF, 0x1FFFFFF, 1, 0x2FFFFFE},     // below 32 MiB: by half (truncated)
      {0x2000000, 0x2000000, 1, 0x2800000},     // from 32 MiB: by a quarter
      {0xFFFFFFF, 0xFFFFFFF, 1, 0x13FFFFFE},    // below 256 MiB: by a quarter
      {0x10000000, 0x10000000, 1, 0x12000000},  // from 256 MiB: by an eighth
      {0x500000, 0x100000, 1, 0x600000},        // 1, 2, 4 MiB doubling, then by half
      {0x100000, 0x100000, 4, 0x180000},        // the tiers are in bytes
      {0x7FFFFFFF, 0x7FFFFFF0, 4, 0x7FFFFFFF},  // capped
  };
  for (const Case& c : cases) {
    int32_t cap = c.capacity;
    QorMM::growCapacity(c.index, &cap, c.elementSize);
    EXPECT_EQ(cap, c.expected) << c.index << " " << c.capacity << " " << c.elementSize;
  }
}

TEST(PagedArray, PageTableGrowsByOneThenByFourTenths) {
  IntArray a(0);
  std::vector<int32_t> caps{a.tableCapacity()};
  for (int p = 1; p <= 9; ++p) {
    a.set(p * 2048, 1);
    if (caps.back() != a.tableCapacity()) caps.push_back(a.tableCapacity());
    EXPECT_EQ(a.tableCount(), p + 1);
  }
  EXPECT_EQ(caps, (std::vector<int32_t>{1, 2, 3, 4, 5, 7, 9, 12}));
  // Shrinking the count keeps the room.
  a.resize(0);
  EXPECT_EQ(a.tableCount(), 0);
  EXPECT_EQ(a.tableCapacity(), 12);
  EXPECT_EQ(a.pagesPresent(), 0);
}

TEST(PagedArray, DestructionFreesPagesLastToFirst) {
  std::vector<void*> expected;
  mm().setRecording(true);
  {
    IntArray a(0);
    a.resize(5 * 2048);
    for (int p : {0, 2, 3, 4}) a.set(p * 2048 + 1, p + 1);
    for (int p : {4, 3, 2, 0}) expected.push_back(a.page(p));
  }
  std::vector<void*> freed = mm().freedPages();
  mm().setRecording(false);
  EXPECT_EQ(freed, expected);
}

TEST(PagedArray, CopyFromMirrorsAbsentPages) {
  IntArray src(3 * 2048);
  src.set(10, 1);
  src.set(2 * 2048 + 10, 3);
  IntArray dst(3 * 2048);
  dst.set(20, 5);
  dst.set(2048 + 20, 6);

  int64_t inUse = mm().pagesInUse();
  dst.copyFrom(src, 3 * 2048);
  EXPECT_EQ(dst.size(), 3 * 2048);
  EXPECT_TRUE(dst.pagePresent(0));
  EXPECT_FALSE(dst.pagePresent(1));
  EXPECT_TRUE(dst.pagePresent(2));
  EXPECT_NE(dst.page(2), src.page(2));
  EXPECT_EQ(mm().pagesInUse(), inUse);  // one freed, one made
  EXPECT_EQ(dst.get(10), 1);
  EXPECT_EQ(dst.get(20), 0);  // whole pages are copied
  EXPECT_EQ(dst.get(2048 + 20), 0);
  EXPECT_EQ(dst.get(2 * 2048 + 10), 3);
  src.set(10, 99);
  EXPECT_EQ(dst.get(10), 1);
}

TEST(PagedArray, ClearStartsAtThePageOfFromAndCountsAbsentPages) {
  IntArray a(4 * 2048);
  for (int p : {0, 2, 3}) a.set(p * 2048 + 100, 7);
  a.set(2 * 2048 + 5, 8);
  a.set(2 * 2048 + 4, 8);
  // 2048 + 2048 (absent) + 5 elements: page 0, then 5 elements of page 2.
  a.clear(0, 2 * 2048 + 5);
  EXPECT_EQ(a.get(100), 0);
  EXPECT_EQ(a.get(2 * 2048 + 4), 0);
  EXPECT_EQ(a.get(2 * 2048 + 5), 8);
  EXPECT_EQ(a.get(2 * 2048 + 100), 7);
  EXPECT_TRUE(a.pagePresent(0));  // cleared, not freed
  // From 7000 (page 3) for 1 element: the first element of page 3 only.
  a.set(3 * 2048, 4);
  a.clear(7000, 7001);
  EXPECT_EQ(a.get(3 * 2048), 0);
  EXPECT_EQ(a.get(3 * 2048 + 100), 7);
}

TEST(PagedArray, MaterialiseSwapPagesAndAllPresent) {
  int64_t allocs = mm().allocateCalls();
  IntArray a(5000);
  EXPECT_FALSE(a.allPresent());
  a.set(1, 3);
  a.materialise(true);
  EXPECT_TRUE(a.allPresent());
  EXPECT_EQ(mm().allocateCalls(), allocs + 3);
  EXPECT_EQ(a.get(1), 3);
  EXPECT_EQ(a.get(4999), 0);

  IntArray b(2048);
  b.set(7, 70);
  a.swapPages(b);
  EXPECT_EQ(a.size(), 5000);  // capacities stay
  EXPECT_EQ(b.size(), 2048);
  EXPECT_EQ(a.get(7), 70);
  EXPECT_EQ(b.get(1), 3);
  EXPECT_EQ(a.tableCount(), 1);
  EXPECT_EQ(b.tableCount(), 3);
}

// A page-level model: capacity, values by index and the set of pages that exist.
struct Model {
  static constexpr int kPage = 2048;
  int32_t size = 0;
  std::map<int32_t, int> values;
  std::set<int32_t> pages;
  int32_t pagesFor(int32_t n) const { return (n + kPage - 1) / kPage; }
  void dropPage(int32_t p) {
    pages.erase(p);
    values.erase(values.lower_bound(p * kPage), values.lower_bound((p + 1) * kPage));
  }
  void set(int32_t i, int v) {
    if (!pages.count(i / kPage) && v == 0) return;
    pages.insert(i / kPage);
    values[i] = v;
  }
  int get(int32_t i) const {
    if (i < 0 || i >= size) return 0;
    auto it = values.find(i);
    return it == values.end() ? 0 : it->second;
  }
  void resize(int32_t n, bool clearTail) {
    int32_t newPages = pagesFor(n), oldPages = pagesFor(size);
    std::vector<int32_t> drop;
    for (int32_t p : pages)
      if (p >= newPages) drop.push_back(p);
    for (int32_t p : drop) dropPage(p);
    if (size != 0 && clearTail && n > size && size % kPage != 0 && pages.count(oldPages - 1)) {
      int32_t end = std::min(n, oldPages * kPage);
      values.erase(values.lower_bound(size), values.lower_bound(end));
    }
    size = newPages * kPage;
  }
  void clear(int32_t to) {
    int32_t left = to;
    for (int32_t p = 0; left > 0; ++p) {
      int32_t n = std::min(left, kPage);
      if (pages.count(p))
        values.erase(values.lower_bound(p * kPage), values.lower_bound(p * kPage + n));
      left -= n;
    }
  }
};

TEST(PagedArray, RandomOperationsMatchAPageModel) {
  std::mt19937 rng(20240611);
  for (int round = 0; round < 6; ++round) {
    const int64_t inUse = mm().pagesInUse();
    Model m;
    m.size = static_cast<int32_t>(rng() % 9000);
    IntArray a(m.size);
    for (int step = 0; step < 300; ++step) {
      const unsigned op = rng() % 10;
      if (op < 6 && m.size > 0) {
        int32_t i = static_cast<int32_t>(rng() % static_cast<unsigned>(m.size));
        int v = rng() % 3 == 0 ? 0 : static_cast<int>(rng() % 1000) - 500;
        a.set(i, v);
        m.set(i, v);
      } else if (op < 8) {
        int32_t n = static_cast<int32_t>(rng() % 12000);
        bool ct = rng() % 2;
        a.resize(n, ct);
        m.resize(n, ct);
      } else if (op == 8) {
        int32_t to = static_cast<int32_t>(rng() % 14000);
        a.clear(0, to);
        m.clear(to);
      } else {
        a.roundUp();
        m.size = m.pagesFor(m.size) * Model::kPage;
      }
      ASSERT_EQ(a.size(), m.size);
      for (int32_t i = -1; i < m.size + 2100; ++i) ASSERT_EQ(a.get(i), m.get(i)) << i;
      for (int32_t p = 0; p < 8; ++p) ASSERT_EQ(a.pagePresent(p), m.pages.count(p) == 1) << p;
      ASSERT_EQ(mm().pagesInUse() - inUse, static_cast<int64_t>(m.pages.size()));
    }
  }
}

TEST(PagedTempName, TempDirectoryProcessAndCounter) {
  refhost::MemoryDataStore& store = refhost::dataStore();
  std::string saved = store.getCString("Directories/Temp Directory", 0)
                          ? store.getCString("Directories/Temp Directory", 0)
                          : "";
  store.setCString(nullptr, "Directories/Temp Directory", "/data/spill");
  QorString a, b;
  EXPECT_TRUE(wexTempFileName(&a));
  EXPECT_TRUE(wexTempFileName(&b));
  char pid[16];
  std::snprintf(pid, sizeof pid, "%08x", static_cast<unsigned>(getpid()));
  std::regex form("/data/spill/qor-" + std::string(pid) + "-[0-9a-f]{8}-temp");
  EXPECT_TRUE(std::regex_match(std::string(a.utf8()), form)) << a.utf8();
  EXPECT_TRUE(std::regex_match(std::string(b.utf8()), form)) << b.utf8();
  EXPECT_STRNE(a.utf8(), b.utf8());

  // Without a directory in the store, the system's temporary directory.
  store.setCString(nullptr, "Directories/Temp Directory", "");
  const char* oldTmp = std::getenv("TMPDIR");
  std::string keepTmp = oldTmp ? oldTmp : "";
  setenv("TMPDIR", "/var/spool/x", 1);
  QorString c;
  EXPECT_TRUE(wexTempFileName(&c));
  EXPECT_EQ(std::string(c.utf8()).rfind("/var/spool/x/qor-" + std::string(pid) + "-", 0), 0u)
      << c.utf8();
  if (oldTmp)
    setenv("TMPDIR", keepTmp.c_str(), 1);
  else
    unsetenv("TMPDIR");
  store.setCString(nullptr, "Directories/Temp Directory", saved.c_str());
}

}  // namespace
