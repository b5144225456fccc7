// The curve set: closedness and components through its chains, the order of a chain and the
// walk of its ends, branch points, gaps, bounds, copies and its record.
#include "refhost/curveset.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "base/bitvector.h"
#include "core/locator.h"
#include "hostapi/iqorpersistable.h"
#include "refhost/componentmanager.h"
#include "refhost/host.h"
#include "testkit.h"

namespace {

using namespace testkit;
using Path = std::vector<QorVector>;

template <class I>
IPtr<I> fetch(const char* name) {
  void* p = nullptr;
  getService(name, &p);
  return IPtr<I>(static_cast<I*>(p));
}
// Appends one line per step of the path; answers the last index.
int32_t add(ICurveSet& set, const Path& path) {
  int32_t index = 0;
  for (size_t i = 1; i < path.size(); ++i) {
    IPtr<IQorLine> line = fetch<IQorLine>("IQorLine");
    line->initialize(path[i - 1], path[i], nullptr, 0);
    index = set.append(qorQuery<IQorCurve>(line.get(), "IQorCurve"));
  }
  return index;
}
std::vector<int32_t> chainOf(ICurveSet& set, int32_t key) {
  IterStack<int32_t> s;
  set.chain(s, key);
  std::vector<int32_t> v;
  for (int32_t i = 1; i <= s.count(); ++i) v.push_back(s.get(i));
  return v;
}
// The walk a user of the set makes: every chain once; closed when each chain's last curve
// finishes within 1e-8 of where its first starts.
struct Walk {
  int components = 0, free = 0;
  bool closed = true;
  double length = 0;
};
Walk walk(ICurveSet& set) {
  Walk w;
  BitVector seen;
  for (int32_t i = 1; i <= set.maxIndex(); ++i) {
    if (!set.curve(i)) continue;
    w.length += set.curve(i)->length();
    w.free += !set.topology()->testEnd(i * 2) + !set.topology()->testEnd(i * 2 + 1);
    if (seen.test(i)) continue;
    const std::vector<int32_t> keys = chainOf(set, i * 2);
    QorVector a, b;
    w.closed = w.closed &&
               !((set.startOf(keys.front(), a) - set.startOf(keys.back() ^ 1, b)).length() > 1e-8);
    for (int32_t k : keys) seen.set(k >> 1);
    ++w.components;
  }
  return w;
}

TEST(CurveSet, ChainsGiveClosednessAndComponents) {
  const QorVector o{0, 0, 0}, x{1, 0, 0}, xy{1, 1, 0}, y{0, 1, 0}, a{5, 0, 0}, b{6, 0, 0},
      c{5, 1, 0}, near{0, -1e-9, 0}, off{0, 1e-7, 0};
  // near and the origin fall in neighbouring cells of the end grid.
  // A long thin loop of 100002 unit lines: out along y = 0, back along y = 1.
  const int n = 50000;
  Path big;
  for (int i = 0; i <= 2 * n + 1; ++i)
    big.push_back({double(i <= n ? i : 2 * n + 1 - i), double(i > n), 0});
  big.push_back(o);
  struct Case {
    const char* name;
    std::vector<Path> paths;
    double tolerance;
    int components, free;
    bool closed;
    double length;
  } cases[] = {
      {"unit square", {{o, x, xy, y, o}}, -1, 1, 0, true, 4},
      {"square, one side reversed", {{o, x}, {xy, x}, {xy, y, o}}, -1, 1, 0, true, 4},
      {"two loops", {{o, x, xy, o}, {a, b, c, a}}, -1, 2, 0, true, 4 + 2 * std::sqrt(2.0)},
      {"open polyline", {{o, x, {2, 0, 0}, {2, 1, 0}}}, -1, 1, 2, false, 3},
      {"gap 1e-9", {{o, x, xy, y, near}}, 1e-8, 1, 0, true, 4},
      {"gap 1e-7", {{o, x, xy, y, off}}, 1e-8, 1, 2, false, 4},
      // Chained at the default tolerance, yet open by the 1e-8 test of the walk.
      {"gap 1e-7, default tolerance", {{o, x, xy, y, off}}, -1, 1, 0, false, 4},
      {"branch point", {{o, x}, {o, y}, {o, {-1, 0, 0}}}, -1, 3, 3, false, 3},
      {"long loop", {big}, -1, 1, 0, true, 2.0 * n + 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    IPtr<ICurveSet> set = fetch<ICurveSet>("ICurveSet");
    for (const Path& p : c.paths) add(*set, p);
    set->rebuild(c.tolerance, true);
    EXPECT_EQ(set->tolerance(), c.tolerance < 0 ? 1e-6 : c.tolerance);
    const Walk w = walk(*set);
    EXPECT_EQ(w.components, c.components);
    EXPECT_EQ(w.free, c.free);
    EXPECT_EQ(w.closed, c.closed);
    EXPECT_NEAR(w.length, c.length, 1e-6);
  }
}

TEST(CurveSet, ChainsRunInWalkOrderAndStopAtBranchPoints) {
  IPtr<ICurveSet> set = fetch<ICurveSet>("ICurveSet");
  // Stored out of order, the middle one reversed: C = 1, A = 2, B = 3.
  add(*set, {{2, 0, 0}, {3, 0, 0}});
  add(*set, {{0, 0, 0}, {1, 0, 0}});
  add(*set, {{2, 0, 0}, {1, 0, 0}});
  EXPECT_EQ(chainOf(*set, 2), (std::vector<int32_t>{4, 7, 2}));
  EXPECT_EQ(chainOf(*set, 3), (std::vector<int32_t>{3, 6, 5}));
  ICurveTopology* t = set->topology();
  int32_t out = -1;
  const int32_t walks[][3] = {{4, 7, 0}, {7, 2, 4}, {2, 0, 7}, {5, 0, 6}, {6, 5, 3}};
  for (const auto& w : walks) {
    EXPECT_EQ(t->nextEnd(w[0], out), w[1]) << w[0];
    EXPECT_EQ(t->previousEnd(w[0], out), w[2]) << w[0];
  }
  EXPECT_TRUE(!t->testEnd(4) && t->testEnd(5) && t->testPair(5, 7, 0) && !t->testPair(4, 7, 0));
  EXPECT_EQ(t->nextEnd(9, out), 0);  // no curve at 4
  // A fourth end at (1, 0) makes a branch point: the chain through it breaks there.
  add(*set, {{1, 0, 0}, {1, 5, 0}});
  EXPECT_EQ(chainOf(*set, 4), (std::vector<int32_t>{4}));
  EXPECT_EQ(chainOf(*set, 2), (std::vector<int32_t>{7, 2}));
  EXPECT_TRUE(set->topology()->testPair(5, 8, 0));
}

TEST(CurveSet, RemovalKeepsGapsAndCopiesKeepThem) {
  IPtr<ICurveSet> set = fetch<ICurveSet>("ICurveSet");
  QorVector lo, hi;
  set->bounds(lo, hi);
  EXPECT_TRUE(lo.x == 3.4028234663852886e38 && hi.z == -3.4028234663852886e38);
  // A zigzag (0, 0) (1, 2) (2, 0) (3, 2).
  auto at = [](int i) { return QorVector(i, i % 2 * 2, 0); };
  EXPECT_EQ(add(*set, {at(0), at(1), at(2), at(3)}), 3);
  BitVector gone;
  gone.set(2);
  set->removeCurves(gone);
  EXPECT_TRUE(set->count() == 2 && set->maxIndex() == 3 && !set->curve(2));
  EXPECT_EQ(walk(*set).components, 2);  // the chain is cut at the gap
  set->bounds(lo, hi);
  EXPECT_TRUE(lo == QorVector(0, 0, 0) && hi == QorVector(3, 2, 0));
  IPtr<ICurveSet> copy(set->clone());
  EXPECT_TRUE(copy->count() == 2 && copy->maxIndex() == 3 && copy->curve(1) != set->curve(1));
  EXPECT_EQ(add(*set, {at(1), at(2)}), 4);  // appends never fill a gap
  EXPECT_EQ(walk(*set).components, 1);
  EXPECT_EQ(walk(*copy).components, 2);
}

TEST(CurveSet, RecordHasItsLayoutAndReadsOnlyWhole) {
  IPtr<ICurveSet> set = fetch<ICurveSet>("ICurveSet");
  add(*set, {{1, 0, 0}, {0, 0, 0}, {0, 1, 0}});
  BitVector first;
  first.set(1);
  set->removeCurves(first);
  set->rebuild(1e-8, false);
  auto bytesOf = [](IQorUnknown* o) {
    return filed(0, [&](QorFileWrite& w) {
      EXPECT_TRUE(qorQuery<IQorPersistable>(o, "IQorPersistable")->write(&w));
    });
  };
  const Bytes line = bytesOf(set->curve(2));
  const Bytes record = chunk(0x0B0002, 1,
                             hex("6B1E2A0D 3C4D 4E5F 8011 2233 4455 660D") +
                                 be({0x3E45798E, 0xE2308C3A}) + be({2, 1, 2}) + line);
  EXPECT_EQ(bytesOf(set.get()), record);
  // Made by class id, as a reader does, it reads back to the same bytes.
  void* p = nullptr;
  ASSERT_EQ(refhost::manager().createInstance(&refhost::kCurveSetClassId, "ICurveSet", &p), 1);
  IPtr<ICurveSet> back(static_cast<ICurveSet*>(p));
  FileReader f(record);
  ASSERT_TRUE(qorQuery<IQorPersistable>(back.get(), "IQorPersistable")->read(&f.r));
  EXPECT_EQ(bytesOf(back.get()), record);
  // Every cut, and the record with 4 bytes more in its chunk, is refused and changes nothing.
  Bytes longer = record + Bytes(4, 0);
  longer[11] = static_cast<uint8_t>(longer[11] + 4);
  const Bytes empty = bytesOf(fetch<ICurveSet>("ICurveSet").get());
  for (size_t n = 0; n <= record.size(); ++n) {
    IPtr<ICurveSet> other = fetch<ICurveSet>("ICurveSet");
    FileReader g(n < record.size() ? Bytes(record.begin(), record.begin() + n) : longer);
    EXPECT_FALSE(qorQuery<IQorPersistable>(other.get(), "IQorPersistable")->read(&g.r)) << n;
    EXPECT_EQ(bytesOf(other.get()), empty) << n;
  }
}

}  // namespace
