// Paged arrays against the host's page manager: the manager's figures, growth rules, page
// table growth, the order pages go back in, copies, and a random walk against a page model.
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

TEST(PagedManager, TheHostsManagerCountsUnitsOf24KiBAndReleaseAnswersOnDemand) {
  EXPECT_EQ(QorMM::memoryManager(), static_cast<IQorMManager*>(&mm()));
  ASSERT_EQ(mm().pagesInUse(), 0);
  {
    IntArray a(0);
    a.resize(8 * 2048);
    std::vector<int64_t> core;  // after 1, 2, 3, 5 and 6 pages of 8 KiB
    for (int p = 0; p < 6; ++p) {
      a.set(p * 2048, 1);
      if (p != 3) core.push_back(mm().coreInUse());
    }
    EXPECT_EQ(core, (std::vector<int64_t>{0, 0, 1, 1, 2}));
    EXPECT_EQ(mm().pagesInUse(), 6);
    QorMM::Array<Vec3, Vec3Splitter> v(10);
    v.resize(1025);  // whole pages of 1024
    EXPECT_TRUE(v.pageBytes() == 24576 && v.size() == 2048);
    v.set(1500, Vec3{1, 0, 0});
    EXPECT_TRUE(v.get(1500).x + v.get(1499).x == 1.0 && mm().coreInUse() == 3);
  }
  EXPECT_EQ(mm().pagesInUse() + mm().coreInUse() + mm().swapLimit() + mm().swapInUse(), 0);
  EXPECT_GT(mm().coreLimit(), 0);
  int64_t calls = mm().releaseCalls();
  EXPECT_FALSE(mm().releaseMemory());
  mm().setReleaseAnswers(2);
  EXPECT_TRUE(mm().releaseMemory() && mm().releaseMemory() && !mm().releaseMemory() &&
              mm().releaseCalls() == calls + 4);
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
  a.resize(0);  // shrinking the count keeps the room
  EXPECT_TRUE(a.tableCount() == 0 && a.tableCapacity() == 12 && a.pagesPresent() == 0);
}

TEST(PagedArray, DestructionFreesPagesLastToFirst) {
  std::vector<void*> expected;
  const int64_t frees = mm().freeCalls();
  mm().setRecording(true);
  {
    IntArray a(0);
    a.resize(5 * 2048);
    for (int p : {0, 2, 3, 4}) a.set(p * 2048 + 1, p + 1);
    for (int p : {4, 3, 2, 0}) expected.push_back(a.page(p));
  }
  std::vector<void*> freed = mm().freedPages();
  mm().setRecording(false);
  EXPECT_TRUE(freed == expected && mm().freeCalls() - frees == 4);
}

TEST(PagedArray, CopyMirrorsAbsentPagesMaterialiseAndSwap) {
  IntArray src(3 * 2048), dst(3 * 2048);
  src.set(10, 1);
  src.set(2 * 2048 + 10, 3);
  dst.set(20, 5);
  dst.set(2048 + 20, 6);
  int64_t inUse = mm().pagesInUse();
  dst.copyFrom(src, 3 * 2048);
  EXPECT_EQ(std::vector<bool>({dst.pagePresent(0), dst.pagePresent(1), dst.pagePresent(2)}),
            std::vector<bool>({true, false, true}));
  // One freed, one made.
  EXPECT_TRUE(dst.page(2) != src.page(2) && dst.size() == 3 * 2048 && mm().pagesInUse() == inUse);
  EXPECT_EQ(
      std::vector<int>({dst.get(10), dst.get(20), dst.get(2048 + 20), dst.get(2 * 2048 + 10)}),
      std::vector<int>({1, 0, 0, 3}))
      << "whole pages are copied";
  src.set(10, 99);
  EXPECT_EQ(dst.get(10), 1);

  int64_t allocs = mm().allocateCalls();
  IntArray a(5000), b(2048);
  EXPECT_FALSE(a.allPresent());
  a.set(1, 3);
  a.materialise(true);
  EXPECT_TRUE(a.allPresent() && mm().allocateCalls() == allocs + 3 && a.get(4999) == 0);
  b.set(7, 70);
  a.swapPages(b);
  EXPECT_EQ(
      std::vector<int>({a.size(), b.size(), a.get(7), b.get(1), a.tableCount(), b.tableCount()}),
      std::vector<int>({5000, 2048, 70, 3, 1, 3}))
      << "capacities stay";
}

// A page-level model: capacity, values by index and the set of pages that exist. A set
// past the capacity makes its page, but reads see it only when a resize from capacity 0
// takes it in; a resize from any other capacity drops such pages.
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
  void set(int32_t i, int v, bool ref) {
    if (!pages.count(i / kPage) && v == 0 && !ref) return;
    pages.insert(i / kPage);
    values[i] = v;
  }
  int get(int32_t i) const {
    auto it = values.find(i);
    return i < 0 || i >= size || it == values.end() ? 0 : it->second;
  }
  void resize(int32_t n, bool clearTail) {
    const int32_t newPages = pagesFor(n), oldPages = pagesFor(size);
    for (int32_t p : std::set<int32_t>(pages))
      if (p >= newPages || (size != 0 && p >= oldPages)) dropPage(p);
    if (size != 0 && clearTail && n > size && size % kPage != 0 && pages.count(oldPages - 1))
      values.erase(values.lower_bound(size), values.lower_bound(std::min(n, oldPages * kPage)));
    size = newPages * kPage;
  }
  void clear(int32_t from, int32_t to) {  // whole stretches from the start of from's page
    for (int32_t p = from / kPage, left = to - from; left > 0; ++p, left -= kPage)
      if (pages.count(p))
        values.erase(values.lower_bound(p * kPage),
                     values.lower_bound(p * kPage + std::min(left, kPage)));
  }
};

TEST(PagedArray, RandomOperationsMatchAPageModel) {
  std::mt19937 rng(20240611);
  for (int round = 0; round < 8; ++round) {
    const int64_t inUse = mm().pagesInUse();
    Model m;
    m.size = static_cast<int32_t>(rng() % 9000);
    IntArray a(m.size);
    for (int step = 0; step < 300; ++step) {
      const unsigned op = rng() % 12;
      if (op < 6) {  // now and then past the capacity
        int32_t i =
            static_cast<int32_t>(rng() % static_cast<unsigned>(m.size + (op == 0 ? 4096 : 1)));
        int v = rng() % 3 == 0 ? 0 : static_cast<int>(rng() % 1000) - 500;
        const bool ref = op == 1 && i < m.size;
        ref ? void(a.ref(i) = v) : a.set(i, v);
        m.set(i, v, ref);
      } else if (op < 8) {
        int32_t n = static_cast<int32_t>(rng() % 12000);
        bool ct = rng() % 2;
        a.resize(n, ct);
        m.resize(n, ct);
      } else if (op < 10) {
        int32_t from = op == 8 ? 0 : static_cast<int32_t>(rng() % 9000);
        int32_t to = from + static_cast<int32_t>(rng() % 9000);
        a.clear(from, to);
        m.clear(from, to);
      } else if (op == 10) {
        a.roundUp();
        m.size = m.pagesFor(m.size) * Model::kPage;
      }
      ASSERT_EQ(a.size(), m.size);
      for (int32_t i = -1; i < m.size + 2100; ++i) ASSERT_EQ(a[i], m.get(i)) << i;
      for (int32_t p = 0; p < 8; ++p) ASSERT_EQ(a.pagePresent(p), m.pages.count(p) == 1) << p;
      ASSERT_EQ(mm().pagesInUse() - inUse, static_cast<int64_t>(m.pages.size()));
    }
  }
}

TEST(PagedTempName, TempDirectoryProcessAndCounter) {
  refhost::MemoryDataStore& store = refhost::dataStore();
  const char* old = store.getCString("Directories/Temp Directory", 0);
  std::string saved = old ? old : "", keepTmp = std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "";
  char pid[16];
  std::snprintf(pid, sizeof pid, "%08x", static_cast<unsigned>(getpid()));
  QorString a, b, c;
  store.setCString(nullptr, "Directories/Temp Directory", "/data/spill");
  EXPECT_TRUE(wexTempFileName(&a) && wexTempFileName(&b));
  store.setCString(nullptr, "Directories/Temp Directory", "");  // then $TMPDIR
  setenv("TMPDIR", "/var/spool/x", 1);
  EXPECT_TRUE(wexTempFileName(&c));
  for (const QorString* name : {&a, &b, &c})
    EXPECT_TRUE(
        std::regex_match(std::string(name->utf8()),
                         std::regex(std::string(name == &c ? "/var/spool/x" : "/data/spill") +
                                    "/qor-" + pid + "-[0-9a-f]{8}-temp")))
        << name->utf8();
  EXPECT_STRNE(a.utf8(), b.utf8());
  keepTmp.empty() ? unsetenv("TMPDIR") : setenv("TMPDIR", keepTmp.c_str(), 1);
  store.setCString(nullptr, "Directories/Temp Directory", saved.c_str());
}

}  // namespace
