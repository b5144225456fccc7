// The curve set's own stored chunks byte for byte and the reads that must leave no set, its
// iterator over gaps, and the proxy registry entry that follows the set it holds.
#include "surfacing/curves.h"

#include <gtest/gtest.h>

#include <vector>

#include "core/iptr.h"
#include "core/locator.h"
#include "features/linefeature.h"
#include "hostapi/iqorappproxymanager.h"
#include "hostapi/iqorpersistable.h"
#include "persistence/qorfile.h"
#include "surfacing/compositecurve.h"
#include "testkit.h"

using curves::Curves;
using curves::CurvesIter;
using namespace testkit;

namespace {

// A Curves holding n lines, the i-th from (i, 0, 0) to (i + 1, 0, 0).
IPtr<Curves> lines(int n) {
  IPtr<Curves> c(new Curves());
  for (int i = 0; i < n; ++i) {
    IPtr<features::LineFeature> l(new features::LineFeature());
    l->initialize(QorVector(i, 0, 0), QorVector(i + 1, 0, 0));
    c->addCurve(l.get());
  }
  return c;
}

template <class Fn>
Bytes bytesOf(Fn fn) {
  return filed(0, [&](QorFileWrite& w) { EXPECT_TRUE(fn(&w)); });
}

TEST(Curves, StoredFormHoldsTheDataObjectAndTheSetAndAFailedSetLeavesNone) {
  IPtr<Curves> c = lines(2);
  c->setName(QorString(u"profile"));
  auto* set = qorQuery<IQorPersistable>(c->curveSet(), "IQorPersistable");
  ASSERT_NE(set, nullptr);
  const Bytes data = bytesOf([&](QorFileWrite* w) { return c->DataObject::write(w); });
  const Bytes record = bytesOf([&](QorFileWrite* w) { return set->write(w); });
  const Bytes head = hex("CB692529 1C3F 4A0A 9217 5099 41FB 08C7");
  auto stored = [&](const Bytes& setId, const Bytes& setRecord) {
    return chunk(0x0B0002, 1,
                 head + chunk(0, 0, data) + chunk(1, 0, chunk(0x010008, 0, setId) + setRecord));
  };
  const Bytes whole = stored(hex("6B1E2A0D 3C4D 4E5F 8011 2233 4455 660D"), record);
  EXPECT_EQ(bytesOf([&](QorFileWrite* w) { return c->write(w); }), whole);
  // Made by class id, as a reader makes it, it reads back to the same bytes.
  void* made = nullptr;
  const QorID id = Curves::classIdentifier();
  ASSERT_TRUE(createInstance(&id, QorCString("DataObject"), &made));
  IPtr<Curves> back(dynamic_cast<Curves*>(static_cast<DataObject*>(made)));
  ASSERT_TRUE(back);
  FileReader f(whole);
  EXPECT_TRUE(back->read(&f.r));
  EXPECT_EQ(back->nameValue(), QorString(u"profile"));
  EXPECT_EQ(bytesOf([&](QorFileWrite* w) { return back->write(w); }), whole);
  // A set of a class nobody makes, or a cut record, fails and leaves no set (not even the
  // one held before); an object without a set writes no chunk 1.
  Bytes longer = record + Bytes(4, 0);  // four bytes no field claims: the host refuses it
  longer[11] = static_cast<uint8_t>(longer[11] + 4);
  const Bytes setId = hex("6B1E2A0D 3C4D 4E5F 8011 2233 4455 660D");
  for (const Bytes& bad : {stored(Bytes(16, 0xFF), record), stored(setId, longer)}) {
    FileReader g(bad);
    EXPECT_FALSE(back->read(&g.r));
    EXPECT_EQ(back->curveSet(), nullptr);
  }
  IPtr<Curves> empty(new Curves());
  EXPECT_EQ(bytesOf([&](QorFileWrite* w) { return empty->write(w); }),
            chunk(0x0B0002, 1, head + chunk(0, 0, bytesOf([&](QorFileWrite* w) {
                                              return empty->DataObject::write(w);
                                            }))));
}

TEST(Curves, IteratorVisitsFilledIndicesOnly) {
  IPtr<Curves> c = lines(6);
  for (int i : {0, 2, 3}) c->removeCurve(i);
  IPtr<CurvesIter> it(c->iterator());
  EXPECT_EQ(it->index(), -1);
  EXPECT_EQ(it->count(), 3);
  std::vector<int32_t> seen;
  while (it->advance()) seen.push_back(it->index());
  EXPECT_EQ(seen, (std::vector<int32_t>{1, 4, 5}));
  EXPECT_TRUE(it->atEnd());
  it->rewind();
  EXPECT_TRUE(it->advance());
  EXPECT_EQ(it->index(), 1);
  c->removeCurve(5);  // the last curve leaves while the iterator stands before it
  EXPECT_TRUE(it->advance() && it->index() == 4);
  EXPECT_FALSE(it->advance());
  // A curve of a known kind whose host gives no copy is refused with the small "i", and the
  // set is left as it was.
  IPtr<surfacing::CompositeCurve> hostless(new surfacing::CompositeCurve());
  hostless->setHost(nullptr);
  const Raised r = raised([&] { c->setCurve(1, hostless.get()); });
  EXPECT_EQ(r.text, "Error in class Curves: invalid curve.");
  EXPECT_EQ(r.code, 6);
  EXPECT_TRUE(qorQuery<void>(c->curveSet()->curve(2), "IQorLine"));
  for (IQorUnknown* other : {static_cast<IQorUnknown*>(nullptr),
                             static_cast<IQorUnknown*>(static_cast<DataObject*>(new Curves()))}) {
    IPtr<IQorUnknown> hold(other);
    it->setCurves(other);
    EXPECT_TRUE(it->atEnd() && it->count() == 0 && !it->advance());
  }
}

TEST(Curves, RegistryFollowsTheSetItWasGiven) {
  SPtr<IQorAppProxyManager> manager("IQorAppProxyManager");
  IQorProxyRegistry* registry = manager->registry(QorCString("ICurveSet"));
  IPtr<Curves> c = lines(1);
  IQorUnknown* self = static_cast<curves::IQorCurves*>(c.get());
  IPtr<ICurveSet> first(c->curveSet());
  EXPECT_EQ(registry->find(first.get()), self);
  IPtr<Curves> copy(static_cast<Curves*>(c->clone()));
  EXPECT_NE(copy->curveSet(), first.get());
  EXPECT_EQ(copy->curveSet()->count(), 1);
  EXPECT_EQ(registry->find(first.get()), self) << "the copy's own set is not registered";
  IPtr<ICurveSet> second(first->clone());
  c->adoptCurveSet(second.get());
  EXPECT_EQ(registry->find(first.get()), nullptr);
  EXPECT_EQ(registry->find(second.get()), nullptr) << "adopting leaves the registry alone";
  c->setCurveSet(first.get());
  copy.reset();
  EXPECT_EQ(registry->find(first.get()), self);
  c.reset();
  EXPECT_EQ(registry->find(first.get()), nullptr);
}

}  // namespace
