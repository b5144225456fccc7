// Hash maps and name maps: the prime table, bucket counts and rehash points, chain order,
// the hashes of key types, missing keys, a model run, and the ordered name map.
#include "base/map.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/qorcstringmap.h"
#include "core/classfactory.h"
#include "testkit.h"

namespace {

using Ints = std::vector<int32_t>;

TEST(Primes, NextPrimeIsTheFirstTableEntryAbove) {
  const Ints table = {2,         3,         5,         11,       17,       37,       67,
                      131,       257,       521,       1031,     2053,     4099,     8209,
                      16411,     32771,     65537,     131101,   262147,   524309,   1048583,
                      2097169,   4194319,   8388617,   16777259, 33554467, 67108879, 134217757,
                      268435459, 536870923, 1073741827};
  EXPECT_EQ(Ints(qor::kPrimeTable, qor::kPrimeTable + qor::kPrimeTableSize), table);
  // Past the last entry that a signed count can hold, the last entry.
  Ints next;
  for (int32_t n : {-5, 1, 2, 6, 11, 99, 1073741826, 1073741827, 0x7FFFFFFF})
    next.push_back(nextPrime(n));
  EXPECT_EQ(next, Ints({2, 2, 3, 11, 17, 131, 1073741827, 1073741827, 1073741827}));
}

TEST(MapSize, BucketCountsFromTheSizeHintAndTheEightyPercentRehash) {
  Ints buckets;
  for (int32_t hint : {2, 0, -3, 3, 11, 12, 100})
    buckets.push_back(Map<int, int>(hint).bucketCount());
  EXPECT_EQ(buckets, Ints({17, 17, 17, 3, 11, 17, 131}));
  // The first growth points written out by hand (11 holds 8, 17 holds 13, 37 holds 29, 67
  // holds 53), then the rule itself: count >= 0.8 * buckets moves to the next prime.
  Map<int, int> m;
  EXPECT_EQ(m.bucketCount(), 11);
  Ints grewAt;
  int32_t rule = 11;
  for (int k = 1; k <= 200000; ++k) {
    const int32_t before = m.bucketCount();
    m[k] = k;
    if (m.bucketCount() != before && k <= 54)
      grewAt.push_back(k), grewAt.push_back(m.bucketCount());
    if (static_cast<double>(k) >= 0.8 * rule) rule = nextPrime(rule);
    ASSERT_EQ(m.bucketCount(), rule) << k;
  }
  EXPECT_EQ(grewAt, Ints({9, 17, 14, 37, 30, 67, 54, 131}));
  EXPECT_EQ(rule, 262147);
  m[5] = 6;  // a key that is already there adds nothing
  EXPECT_EQ(m.count(), 200000);
}

TEST(MapOps, KeysHashToThemselvesAndNewNodesGoToTheChainHead) {
  // 3 buckets: keys 1, 4 share bucket 1 (load 2 of 3); negative keys hash as unsigned
  // (0xFFFFFFFF % 3 == 0); pointers hash to their address (4096 % 3 == 1).
  Map<int, int> m(3), n(3);
  Map<const void*, int> p(3);
  m[1] = 10;
  m[4] = 40;
  n[-1] = 1;
  p[reinterpret_cast<const void*>(uintptr_t{0x1000})] = 5;
  Ints order;
  m.forEach([&](const int& k, int&) { order.push_back(k); });
  EXPECT_EQ(order, Ints({4, 1}));
  EXPECT_EQ(Ints({m.chainLength(1), n.chainLength(0), p.chainLength(1)}), Ints({2, 1, 1}));

  MapHash<QorCString> h;  // djb2 over signed bytes
  EXPECT_EQ(std::vector<uint32_t>(
                {h(QorCString()), h(QorCString("")), h(QorCString("a")), h(QorCString("\xE9"))}),
            std::vector<uint32_t>({0, 5381, 5381 * 33 + 97, 0x2b58e}));  // 0xE9 counts as -23
  Map<QorCString, int> c;
  c[QorCString("alpha")] = 1;
  c[QorCString("beta")] = 2;
  EXPECT_TRUE(c.get(QorCString("alpha")) == 1 && c.contains(QorCString("beta")));
  EXPECT_FALSE(c.contains(QorCString("gamma")));
}

TEST(MapOps, GetOfAMissingKeyAssertsAtTheMapSource) {
  testkit::AssertRecorder asserts;
  Map<int, int> m;
  m[3] = 33;
  EXPECT_TRUE(m.get(3) == 33 && asserts.entries.empty() && m.get(4) == 0);
  ASSERT_EQ(asserts.exprs(), std::vector<std::string>{"0"});
  EXPECT_EQ(asserts.entries[0].file + ":" + std::to_string(asserts.entries[0].line),
            "packages/core/qorcore/include/basic_types/map:250");
  EXPECT_EQ(m.count(), 1);
}

TEST(MapOps, MatchesAnUnorderedMapModelAndWalksInForEachOrder) {
  Map<uint32_t, int> m;
  std::unordered_map<uint32_t, int> model;
  std::mt19937 rng(5);
  m[7777] = -1;
  const int* kept = &m[7777];  // values keep their address across rehashing
  for (int step = 0; step < 100000; ++step) {
    const uint32_t k = rng() % 5000, op = rng() % 3;
    if (op == 0) {
      m[k] = step;
      model[k] = step;
    } else if (op == 1) {
      ASSERT_EQ(m.remove(k), model.erase(k) == 1);
    } else {
      ASSERT_EQ(m.contains(k), model.count(k) == 1);
    }
  }
  EXPECT_EQ(&m[7777], kept);
  ASSERT_TRUE(m.remove(7777) && m.count() == static_cast<int32_t>(model.size()));
  Map<uint32_t, int> copy(m);
  for (auto& [k, v] : model) ASSERT_TRUE(*m.find(k) == v && copy.get(k) == v);

  std::vector<uint32_t> byForEach, byWalk;
  m.forEach([&](const uint32_t& k, int&) { byForEach.push_back(k); });
  Map<uint32_t, int>::Position at;
  for (bool more = m.first(at); more; more = m.next(at)) {
    byWalk.push_back(m.keyAt(at));
    EXPECT_EQ(m.valueAt(at), model[m.keyAt(at)]);
  }
  EXPECT_TRUE(byWalk == byForEach && byWalk.size() == model.size() && !m.next(at));
  const int32_t buckets = m.bucketCount();
  m.clear();  // keeps the bucket count
  EXPECT_TRUE(m.count() == 0 && m.bucketCount() == buckets && !m.first(at));
}

// ---- QorCStringMap ----

TEST(NameMap, FindsByTextLeavesTheOutPointerOnAMissAndAssertsOnANullKey) {
  testkit::AssertRecorder asserts;
  QorCStringMap<int> m;
  m["width"] = 3;
  m[QorCString("height")] = 4;
  int *v = nullptr, marker = 0, *w = &marker;
  ASSERT_TRUE(m.find("width", &v));
  *v = 30;
  // Case-sensitive.
  EXPECT_TRUE(!m.find("depth", &w) && w == &marker && m.contains(QorCString("height")) &&
              !m.contains("Height"));
  ASSERT_TRUE(m.find(QorCString("width"), &v));
  EXPECT_TRUE(*v == 30 && asserts.entries.empty());
  EXPECT_FALSE(m.find(static_cast<const char*>(nullptr), &v) || m.contains(QorCString()));
  EXPECT_EQ(asserts.exprs(), (std::vector<std::string>{"data_", "data_"}));
  EXPECT_EQ(asserts.entries[0].file + ":" + std::to_string(asserts.entries[0].line),
            "packages/core/qorcore/include/basic_types/qorcstringmap:40");
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
  EXPECT_TRUE(!m.insert("a", 100) && m.count() == 8);
  std::vector<std::string> expected = keys, seen;
  std::sort(expected.begin(), expected.end(), [](const std::string& x, const std::string& y) {
    return std::memcmp(x.c_str(), y.c_str(), std::min(x.size(), y.size()) + 1) < 0;
  });
  m.forEach([&](const QorCString& k, int&) { seen.push_back(k.c_str()); });
  // 0xE9 sorts above every ASCII byte.
  EXPECT_TRUE(seen == expected && seen.back() == "\xE9t\xE9");
  int* v = nullptr;
  ASSERT_TRUE(m.find("a", &v) && *v == 100);
  EXPECT_TRUE(m.remove("a") && !m.contains("a") && m.count() == 7);
}

// ---- the component's class table, a Map keyed by GUID ----

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
  QorDefaultClassFactory::registerClass({ids[3], &makeMarker, "again"});  // replaces its entry
  EXPECT_EQ(factory.classCount(), 105);
  EXPECT_STREQ(factory.classInfo(&ids[3]), "again");

  std::vector<GUID> walked;
  GUID g{};
  for (bool more = factory.firstClass(&g); more; more = factory.nextClass(&g)) walked.push_back(g);
  EXPECT_TRUE(walked.size() == 105u && !factory.nextClass(&g));
  for (const GUID& id : ids) EXPECT_NE(std::find(walked.begin(), walked.end(), id), walked.end());
  void* out = nullptr;
  EXPECT_TRUE(factory.createInstance(&ids[0], &out) == 1 && out == makeMarker());
  GUID unknown{};
  unknown.Data1 = 1;
  EXPECT_TRUE(factory.createInstance(&unknown, &out) == 0 && out == nullptr);
  EXPECT_EQ(factory.classInfo(&unknown), nullptr);
}

}  // namespace
