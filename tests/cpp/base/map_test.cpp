// Hash maps and name maps: the prime table, bucket counts and rehash points, chain order,
// the hashes of key types, missing keys, and the ordered name map.
#include "base/map.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/qorcstringmap.h"
#include "core/classfactory.h"

namespace {

struct AssertLog {
  struct Entry {
    std::string expr, file;
    int32_t line;
  };
  static inline std::vector<Entry> entries;
  static int record(void*, const char* e, const char* f, int32_t l) {
    entries.push_back({e, f, l});
    return 0;
  }
};

class WithAsserts : public ::testing::Test {
 protected:
  void SetUp() override {
    AssertLog::entries.clear();
    wexSetAssertCallback(&AssertLog::record, nullptr);
  }
  void TearDown() override { wexSetAssertCallback(nullptr, nullptr); }
};

TEST(Primes, NextPrimeIsTheFirstTableEntryAbove) {
  const int32_t table[] = {2,         3,         5,         11,       17,       37,       67,
                           131,       257,       521,       1031,     2053,     4099,     8209,
                           16411,     32771,     65537,     131101,   262147,   524309,   1048583,
                           2097169,   4194319,   8388617,   16777259, 33554467, 67108879, 134217757,
                           268435459, 536870923, 1073741827};
  EXPECT_EQ(qor::kPrimeTableSize, 31);
  for (int i = 0; i < 31; ++i) EXPECT_EQ(qor::kPrimeTable[i], table[i]);
  EXPECT_EQ(nextPrime(-5), 2);
  EXPECT_EQ(nextPrime(1), 2);
  EXPECT_EQ(nextPrime(2), 3);
  EXPECT_EQ(nextPrime(6), 11);
  EXPECT_EQ(nextPrime(11), 17);
  EXPECT_EQ(nextPrime(99), 131);
  EXPECT_EQ(nextPrime(1073741826), 1073741827);
  // Past the last entry that a signed count can hold, the last entry.
  EXPECT_EQ(nextPrime(1073741827), 1073741827);
  EXPECT_EQ(nextPrime(0x7FFFFFFF), 1073741827);
}

TEST(MapSize, BucketCountsFromTheSizeHint) {
  EXPECT_EQ((Map<int, int>().bucketCount()), 11);
  EXPECT_EQ((Map<int, int>(2).bucketCount()), 17);
  EXPECT_EQ((Map<int, int>(0).bucketCount()), 17);
  EXPECT_EQ((Map<int, int>(-3).bucketCount()), 17);
  EXPECT_EQ((Map<int, int>(3).bucketCount()), 3);
  EXPECT_EQ((Map<int, int>(11).bucketCount()), 11);
  EXPECT_EQ((Map<int, int>(12).bucketCount()), 17);
  EXPECT_EQ((Map<int, int>(100).bucketCount()), 131);
}

TEST(MapSize, RehashPointsFollowTheEightyPercentLoad) {
  // Bucket count after each insertion, against a model of the schedule written out by hand
  // for the first steps: 11 holds 8 (9 >= 8.8), 17 holds 13, 37 holds 29, 67 holds 53.
  Map<int, int> m;
  for (int k = 1; k <= 8; ++k) {
    m[k] = k;
    EXPECT_EQ(m.bucketCount(), 11) << k;
  }
  m[9] = 9;
  EXPECT_EQ(m.bucketCount(), 17);
  for (int k = 10; k <= 13; ++k) m[k] = k;
  EXPECT_EQ(m.bucketCount(), 17);
  m[14] = 14;
  EXPECT_EQ(m.bucketCount(), 37);
  for (int k = 15; k <= 29; ++k) m[k] = k;
  EXPECT_EQ(m.bucketCount(), 37);
  m[30] = 30;
  EXPECT_EQ(m.bucketCount(), 67);
  for (int k = 31; k <= 53; ++k) m[k] = k;
  EXPECT_EQ(m.bucketCount(), 67);
  m[54] = 54;
  EXPECT_EQ(m.bucketCount(), 131);

  // Further on, against the rule itself: count >= 0.8 * buckets moves to the next prime.
  int32_t buckets = m.bucketCount();
  for (int k = 55; k <= 200000; ++k) {
    m[k] = k;
    if (static_cast<double>(k) >= 0.8 * buckets) buckets = nextPrime(buckets);
    ASSERT_EQ(m.bucketCount(), buckets) << k;
  }
  EXPECT_EQ(buckets, 262147);
  EXPECT_EQ(m.count(), 200000);
  // A key that is already there adds nothing.
  m[5] = 6;
  EXPECT_EQ(m.count(), 200000);
}

TEST(MapOps, ValuesKeepTheirAddressAcrossRehash) {
  Map<int, std::string> m;
  std::string& first = m[1];
  first = "one";
  for (int k = 2; k < 1000; ++k) m[k] = std::to_string(k);
  EXPECT_GT(m.bucketCount(), 11);
  EXPECT_EQ(&m[1], &first);
  EXPECT_EQ(first, "one");
}

TEST(MapOps, IntKeysHashToThemselvesAndNewNodesGoToTheChainHead) {
  Map<int, int> m(3);  // 3 buckets: keys 1, 4 share bucket 1 (load 2 of 3 -> rehash at 3)
  m[1] = 10;
  m[4] = 40;
  EXPECT_EQ(m.chainLength(1), 2);
  std::vector<int> order;
  m.forEach([&](const int& k, int&) { order.push_back(k); });
  EXPECT_EQ(order, (std::vector<int>{4, 1}));
  // Negative keys hash as unsigned: -1 is 0xFFFFFFFF, and 0xFFFFFFFF % 3 == 0.
  Map<int, int> n(3);
  n[-1] = 1;
  EXPECT_EQ(n.chainLength(0), 1);
  // Pointers hash to their address.
  Map<const void*, int> p(3);
  const void* a = reinterpret_cast<const void*>(uintptr_t{0x1000});  // 4096 % 3 == 1
  p[a] = 5;
  EXPECT_EQ(p.chainLength(1), 1);
}

TEST(MapOps, CStringKeysHashByDjb2OverSignedBytes) {
  MapHash<QorCString> h;
  EXPECT_EQ(h(QorCString()), 0u);
  EXPECT_EQ(h(QorCString("")), 5381u);
  EXPECT_EQ(h(QorCString("a")), 5381u * 33 + 97);
  EXPECT_EQ(h(QorCString("\xE9")), 0x2b58eu);  // the byte counts as -23
  Map<QorCString, int> m;
  m[QorCString("alpha")] = 1;
  m[QorCString("beta")] = 2;
  EXPECT_EQ(m.get(QorCString("alpha")), 1);
  EXPECT_TRUE(m.contains(QorCString("beta")));
  EXPECT_FALSE(m.contains(QorCString("gamma")));
}

TEST_F(WithAsserts, GetOfAMissingKeyAssertsAtTheMapSource) {
  Map<int, int> m;
  m[3] = 33;
  EXPECT_EQ(m.get(3), 33);
  EXPECT_TRUE(AssertLog::entries.empty());
  EXPECT_EQ(m.get(4), 0);
  ASSERT_EQ(AssertLog::entries.size(), 1u);
  EXPECT_EQ(AssertLog::entries[0].expr, "0");
  EXPECT_EQ(AssertLog::entries[0].file, "packages/core/qorcore/include/basic_types/map");
  EXPECT_EQ(AssertLog::entries[0].line, 250);
  EXPECT_EQ(m.count(), 1);
}

TEST(MapOps, ClearKeepsTheBucketCountAndRemoveUnlinks) {
  Map<int, int> m;
  for (int k = 0; k < 20; ++k) m[k] = k;
  EXPECT_EQ(m.bucketCount(), 37);
  EXPECT_TRUE(m.remove(7));
  EXPECT_FALSE(m.remove(7));
  EXPECT_FALSE(m.contains(7));
  EXPECT_EQ(m.count(), 19);
  m.clear();
  EXPECT_EQ(m.count(), 0);
  EXPECT_EQ(m.bucketCount(), 37);
  EXPECT_FALSE(m.contains(3));
  m[3] = 1;
  EXPECT_EQ(m.count(), 1);
}

TEST(MapOps, MatchesAnUnorderedMapModel) {
  Map<uint32_t, int> m;
  std::unordered_map<uint32_t, int> model;
  std::mt19937 rng(5);
  for (int step = 0; step < 100000; ++step) {
    uint32_t k = rng() % 5000;
    switch (rng() % 3) {
      case 0:
        m[k] = step;
        model[k] = step;
        break;
      case 1:
        ASSERT_EQ(m.remove(k), model.erase(k) == 1);
        break;
      default:
        ASSERT_EQ(m.contains(k), model.count(k) == 1);
    }
  }
  ASSERT_EQ(m.count(), static_cast<int32_t>(model.size()));
  for (auto& [k, v] : model) ASSERT_EQ(*m.find(k), v);
  Map<uint32_t, int> copy(m);
  EXPECT_EQ(copy.count(), m.count());
  for (auto& [k, v] : model) ASSERT_EQ(copy.get(k), v);
}

// ---- QorCStringMap ----

TEST_F(WithAsserts, NameMapFindsByTextAndLeavesTheOutPointerOnAMiss) {
  QorCStringMap<int> m;
  m["width"] = 3;
  m[QorCString("height")] = 4;
  int* v = nullptr;
  ASSERT_TRUE(m.find("width", &v));
  EXPECT_EQ(*v, 3);
  *v = 30;
  int marker = 0;
  int* w = &marker;
  EXPECT_FALSE(m.find("depth", &w));
  EXPECT_EQ(w, &marker);
  EXPECT_TRUE(m.contains(QorCString("height")));
  EXPECT_FALSE(m.contains("Height"));  // case-sensitive
  ASSERT_TRUE(m.find(QorCString("width"), &v));
  EXPECT_EQ(*v, 30);
  EXPECT_TRUE(AssertLog::entries.empty());
}

TEST_F(WithAsserts, NameMapNullKeyAsserts) {
  QorCStringMap<int> m;
  m["a"] = 1;
  int* v = nullptr;
  EXPECT_FALSE(m.find(static_cast<const char*>(nullptr), &v));
  EXPECT_FALSE(m.contains(QorCString()));
  ASSERT_EQ(AssertLog::entries.size(), 2u);
  EXPECT_EQ(AssertLog::entries[0].expr, "data_");
  EXPECT_EQ(AssertLog::entries[0].file, "packages/core/qorcore/include/basic_types/qorcstringmap");
  EXPECT_EQ(AssertLog::entries[0].line, 40);
}

TEST(NameMap, IteratesInUnsignedByteOrderAndKeepsItsOwnKeys) {
  QorCStringMap<int> m;
  std::vector<std::string> keys = {"b", "a", "ab", "\xE9t\xE9", "Z", "", "a\x7F", "~"};
  std::string scratch;
  for (size_t i = 0; i < keys.size(); ++i) {
    scratch = keys[i];
    // A borrowed key whose text changes after the insertion.
    EXPECT_TRUE(m.insert(QorCString(kBorrow, scratch.c_str()), static_cast<int>(i)));
    scratch.assign(scratch.size(), '#');
  }
  EXPECT_FALSE(m.insert("a", 100));
  EXPECT_EQ(m.count(), 8);
  std::vector<std::string> expected = keys;
  std::sort(expected.begin(), expected.end(), [](const std::string& x, const std::string& y) {
    return std::memcmp(x.c_str(), y.c_str(), std::min(x.size(), y.size()) + 1) < 0;
  });
  std::vector<std::string> seen;
  m.forEach([&](const QorCString& k, int&) { seen.push_back(k.c_str()); });
  EXPECT_EQ(seen, expected);
  EXPECT_EQ(seen.back(), "\xE9t\xE9");  // 0xE9 sorts above every ASCII byte
  int* v = nullptr;
  ASSERT_TRUE(m.find("a", &v));
  EXPECT_EQ(*v, 100);
  EXPECT_TRUE(m.remove("a"));
  EXPECT_FALSE(m.contains("a"));
  EXPECT_EQ(m.count(), 7);
}

}  // namespace

// ---- the component's class table, a Map keyed by GUID ----

namespace {

void* makeMarker() {
  static int marker;
  return &marker;
}

TEST(ClassTable, StartsAtTheNextPrimeAfter99AndWalksEveryClass) {
  QorDefaultClassFactory factory;
  EXPECT_EQ(QorDefaultClassFactory::bucketCount(), 131);
  ASSERT_EQ(factory.classCount(), 0);  // the module registers none of its own
  std::vector<GUID> ids;
  for (uint32_t i = 0; i < 105; ++i) {
    GUID g{};
    g.Data1 = 0xC0DE0000u + i;
    g.Data4[7] = static_cast<uint8_t>(i);
    ids.push_back(g);
    QorDefaultClassFactory::registerClass({g, &makeMarker, "marker"});
    // 0.8 * 131 = 104.8: the table grows at the 105th class.
    ASSERT_EQ(QorDefaultClassFactory::bucketCount(), i + 1 < 105 ? 131 : 257) << i;
  }
  EXPECT_EQ(factory.classCount(), 105);
  // Registering an id again replaces its entry.
  QorDefaultClassFactory::registerClass({ids[3], &makeMarker, "again"});
  EXPECT_EQ(factory.classCount(), 105);
  EXPECT_STREQ(factory.classInfo(&ids[3]), "again");

  std::vector<GUID> walked;
  GUID g{};
  for (bool more = factory.firstClass(&g); more; more = factory.nextClass(&g)) walked.push_back(g);
  EXPECT_EQ(walked.size(), 105u);
  for (const GUID& id : ids) EXPECT_NE(std::find(walked.begin(), walked.end(), id), walked.end());
  EXPECT_FALSE(factory.nextClass(&g));

  void* out = nullptr;
  EXPECT_EQ(factory.createInstance(&ids[0], &out), 1);
  EXPECT_EQ(out, makeMarker());
  GUID unknown{};
  unknown.Data1 = 1;
  EXPECT_EQ(factory.createInstance(&unknown, &out), 0);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(factory.classInfo(&unknown), nullptr);
}

TEST(MapWalk, VisitsEveryEntryOnceInForEachOrder) {
  Map<int, int> m;
  Map<int, int>::Position at;
  EXPECT_FALSE(m.first(at));
  for (int k = 0; k < 500; ++k) m[k * 7] = k;
  std::vector<int> byForEach, byWalk;
  m.forEach([&](const int& k, int&) { byForEach.push_back(k); });
  for (bool more = m.first(at); more; more = m.next(at)) {
    byWalk.push_back(m.keyAt(at));
    EXPECT_EQ(m.valueAt(at) * 7, m.keyAt(at));
  }
  EXPECT_EQ(byWalk, byForEach);
  EXPECT_EQ(byWalk.size(), 500u);
  EXPECT_FALSE(m.next(at));
}

}  // namespace
