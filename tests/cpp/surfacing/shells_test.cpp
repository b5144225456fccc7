// The curve and surface shells over the reference host's curves and surfaces: every check
// text in its order, the clamped uniform knots bit for bit, the views, undo records, the
// converter's kinds and documents holding each kind.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "core/locator.h"
#include "datamodel/arrayproperties.h"
#include "dataobject/support.h"
#include "features/arccurve.h"
#include "features/linefeature.h"
#include "surfacing/compositecurve.h"
#include "surfacing/curveconverter.h"
#include "surfacing/nurbcurve.h"
#include "surfacing/nurbsurface.h"
#include "surfacing/polylinecurve.h"
#include "testkit.h"

using namespace surfacing;
using testkit::raised;

namespace {

// A new host of the service `name`, held.
template <class T>
IPtr<T> newHost(const char* name) {
  void* out = nullptr;
  getService(name, &out);
  return IPtr<T>(static_cast<T*>(out));
}

std::string error(const char* cls, const char* text) {
  return std::string("Error in class ") + cls + ": " + text + ".";
}

// The knots by the rule, computed here.
std::vector<double> rule(int32_t n, int32_t d) {
  std::vector<double> k(n + d + 1, 1.0);
  for (int32_t i = 0; i < n; ++i) k[i] = i <= d ? 0.0 : (i - d) * (1.0 / (n - d));
  return k;
}

template <class A>
std::vector<double> all(A* a) {
  std::vector<double> out;
  for (int32_t i = 0; i < a->size(); ++i) out.push_back(a->at(i));
  return out;
}

DoubleArray* doubles(DataObject* o, const char* name) {
  return qorQuery<DoubleArrayProperty>(o->getProperty(name), "DoubleArrayProperty")->getValue();
}
Vector3DArray* points(DataObject* o, const char* name) {
  return qorQuery<Vector3DArrayProperty>(o->getProperty(name), "Vector3DArrayProperty")->getValue();
}
DoubleArray2D* doubles2D(DataObject* o, const char* name) {
  return qorQuery<DoubleArray2DProperty>(o->getProperty(name), "DoubleArray2DProperty")->getValue();
}
Vector3DArray2D* points2D(DataObject* o, const char* name) {
  return qorQuery<Vector3DArray2DProperty>(o->getProperty(name), "Vector3DArray2DProperty")
      ->getValue();
}

IPtr<features::LineFeature> line(const QorVector& a, const QorVector& b) {
  IPtr<features::LineFeature> l(new features::LineFeature());
  l->initialize(a, b);
  return l;
}

TEST(CurveShells, EveryCheckFailsWithItsTextInItsOrder) {
  IPtr<NurbCurve> c(new NurbCurve());
  IPtr<NurbSurface> s(new NurbSurface());
  IPtr<PolylineCurve> p(new PolylineCurve());
  IPtr<CompositeCurve> k(new CompositeCurve());
  IPtr<DoubleArray> noKnots(new DoubleArray()), oneKnot(new DoubleArray());
  IPtr<Vector3DArray> noPoints(new Vector3DArray()), twoPoints(new Vector3DArray());
  oneKnot->append(0.0), twoPoints->append(QorVector()), twoPoints->append(QorVector());
  p->initialize(3);
  QorVector v;
  double a = 0, b = 0;
  const char* nc = "NurbCurve";
  const char* ns = "NurbSurface";
  const char* pc = "PolylineCurve";
  const char* cc = "COMPOSITECURVE";
  const char* noArc = "CompositeCurve: can not get an arc entity";
  const char* wrong = "CompositeCurve: the entity is wrong";
  const char* zeroWeight = "Cannot set weight to 0.0. Invalid weight.";
  const std::vector<std::pair<std::function<void()>, std::string>> cases = {
      {[&] { c->initialize(3, -1); }, error(nc, "numControlPoints must be a positive integer.")},
      {[&] { c->initialize(0, -1); }, error(nc, "numControlPoints must be a positive integer.")},
      {[&] { c->initialize(0, 4); }, error(nc, "degree must be a positive integer.")},
      {[&] { c->initialize(3, 0); }, error(nc, "numControlPoints must be greater than degree.")},
      {[&] { c->initialize(3, 3); }, error(nc, "numControlPoints must be greater than degree.")},
      {[&] { points(c.get(), "controlPoints")->at(v, -1); },
       error(nc, "ctrlPoint index is out of range")},
      {[&] { points(c.get(), "controlPoints")->set(4, v); },
       error(nc, "ctrlPoint index is out of range")},
      {[&] { doubles(c.get(), "knots")->at(8); }, error(nc, "knot index is out of range")},
      {[&] { doubles(c.get(), "knots")->set(-1, 0.5); }, error(nc, "knot index is out of range")},
      {[&] { doubles(c.get(), "weights")->at(4); }, error(nc, "weight index is out of range")},
      {[&] { doubles(c.get(), "weights")->set(0, 0.0); }, error(nc, zeroWeight)},
      {[&] { doubles(c.get(), "weights")->set(99, 0.0); }, error(nc, zeroWeight)},
      {[&] { doubles(c.get(), "weights")->set(99, 1.0); },
       error(nc, "weight index is out of range")},
      {[&] { doubles(c.get(), "weights")->append(1.0); },
       error("Collection", "Collection has a fixed size")},
      {[&] { c->evaluatePoint(1.5); }, error("NURB Curve", "parameter is out of the curve range")},
      {[&] { c->evaluateCurvature(-0.5); },
       error("NURB Curve", "parameter is out of the curve range")},
      {[&] { s->initialize(3, 3, 0, 0); },
       error(ns, "numControlPointsInU must be a positive integer.")},
      {[&] { s->initialize(0, 0, 4, 0); },
       error(ns, "numControlPointsInV must be a positive integer.")},
      {[&] { s->initialize(0, 0, 4, 4); }, error(ns, "degreeInU must be a positive integer.")},
      {[&] { s->initialize(3, 0, 4, 4); }, error(ns, "degreeInV must be a positive integer.")},
      {[&] { s->initialize(3, 3, 3, 3); },
       error(ns, "numControlPointsInU must be greater than degreeInU.")},
      {[&] { s->initialize(3, 3, 4, 3); },
       error(ns, "numControlPointsInV must be greater than degreeInV.")},
      {[&] { points2D(s.get(), "controlPoints")->at(v, -5, 9); },
       error(ns, "ctrlPoint u is out of range")},
      {[&] { points2D(s.get(), "controlPoints")->set(4, 0, v); },
       error(ns, "ctrlPoint u is out of range")},
      {[&] { points2D(s.get(), "controlPoints")->at(v, 0, -5); },
       error(ns, "ctrlPoint v is out of range")},
      {[&] { doubles2D(s.get(), "weights")->set(9, 9, 0.0); }, error(ns, zeroWeight)},
      {[&] { doubles2D(s.get(), "weights")->set(-5, 0, 1.0); },
       error(ns, "weight u is out of range")},
      {[&] { doubles2D(s.get(), "weights")->at(0, 4); }, error(ns, "weight v is out of range")},
      {[&] { doubles(s.get(), "knotsU")->at(-1); }, error(ns, "u knot index is out of range")},
      {[&] { doubles(s.get(), "knotsV")->at(8); }, error(ns, "v knot index is out of range")},
      {[&] { doubles(s.get(), "knotsU")->set(-9, 0.0); },
       error(ns, "knot u index is out of range")},
      {[&] { doubles(s.get(), "knotsV")->set(8, 0.0); }, error(ns, "knot v index is out of range")},
      {[&] { s->evaluatePoint(1.5, 7.0); },
       error("evaluatePoint", "u parameter is out of the surface range")},
      {[&] { s->evaluateTangent(0.5, -1.0, v, v); },
       error("evaluateTangent", "v parameter is out of the surface range")},
      {[&] { s->evaluateCurvature(-1, 0, a, b); },
       error("evaluateCurvature", "u parameter is out of the surface range")},
      {[&] { p->initialize(-1); }, error(pc, "numpPoints must be a positive integer.")},
      {[&] { p->initialize(noPoints.get(), noKnots.get()); },
       error(pc, "Points must contain at least one point.")},
      {[&] { p->initialize(twoPoints.get(), oneKnot.get()); },
       error(pc, "Number of knots must equal number of points.")},
      {[&] { points(p.get(), "points")->append(v); },
       error(pc, "Cannot append to points. Call initialize() to change number of points or knots")},
      {[&] { points(p.get(), "points")->at(v, 3); }, error(pc, "point index is out of range")},
      {[&] { doubles(p.get(), "knots")->set(-1, 0.0); }, error(pc, "knot index is out of range")},
      {[&] { p->evaluateCurvature(-1.0); }, error(pc, "parameter is out of the curve range")},
      {[&] { k->addCurve(nullptr); }, error(cc, noArc)},
      {[&] { k->addCurve(static_cast<DataObject*>(p.get())); }, error(cc, noArc)},
      {[&] { k->addCurve(static_cast<DataObject*>(k.get())); }, error(cc, noArc)},
      {[&] { k->setCurve(0, nullptr); }, error(cc, wrong)},
      {[&] { k->setCurve(0, static_cast<DataObject*>(p.get())); }, error(cc, wrong)},
      {[&] { k->evaluateTangent(1.5); }, error(cc, "parameter is out of the curve range")},
  };
  for (size_t i = 0; i < cases.size(); ++i) {
    const testkit::Raised r = raised(cases[i].first);
    EXPECT_EQ(r.code, 6) << "case " << i;
    EXPECT_EQ(r.text, cases[i].second) << "case " << i;
  }
  // Nothing changed on the way: the default shapes stand.
  EXPECT_EQ(all(doubles(c.get(), "knots")), rule(4, 3));
  EXPECT_EQ(all(doubles(s.get(), "knotsV")), rule(4, 3));
  EXPECT_EQ(p->polyline()->numPoints(), 3);
  EXPECT_EQ(k->numCurves(), 0);
  EXPECT_TRUE(p->evaluateCurvature(1.0) == QorVector());
  EXPECT_NO_THROW(c->evaluateTangent(1.0));
  EXPECT_NO_THROW(s->evaluateTangent(1.0, 1.0, v, v));
}

TEST(CurveShells, KnotsFollowTheRuleBitForBitAndTheRationalFlagIsStored) {
  for (auto [d, n] :
       std::vector<std::pair<int, int>>{{3, 4}, {2, 5}, {1, 6}, {1, 11}, {4, 17}, {5, 45}}) {
    IPtr<NurbCurve> c(new NurbCurve());
    EXPECT_FALSE(c->isRationalValue());
    c->initialize(d, n);
    EXPECT_EQ(all(doubles(c.get(), "knots")), rule(n, d)) << d << " " << n;
    EXPECT_TRUE(c->isRationalValue());
    EXPECT_EQ(c->memorySize(), 16 * n);
  }
  IPtr<NurbCurve> c(new NurbCurve());
  c->initialize(1, 6);
  EXPECT_EQ(doubles(c.get(), "knots")->at(4), 0.6000000000000001);  // not 3 / 5
  c->initialize(1, 11);
  EXPECT_EQ(doubles(c.get(), "knots")->at(4), 0.30000000000000004);
  IPtr<NurbSurface> s(new NurbSurface());
  s->initialize(3, 2, 4, 5);
  EXPECT_EQ(all(doubles(s.get(), "knotsU")), rule(4, 3));
  EXPECT_EQ(all(doubles(s.get(), "knotsV")),
            (std::vector<double>{0, 0, 0, 1.0 / 3, 2 * (1.0 / 3), 1, 1, 1}));
  EXPECT_EQ(s->isRationalValue(), 0);
  EXPECT_EQ(s->degreeInVValue(), 2);
}

TEST(CurveShells, ViewsKeepWeightsCountFromTheEndAndIterateTheHost) {
  IPtr<NurbCurve> c(new NurbCurve());
  const QorVector p(1, 2, 3);
  doubles(c.get(), "weights")->set(1, 2.5);
  points(c.get(), "controlPoints")->set(1, p);
  EXPECT_EQ(c->nurbCurve()->weight(1), 2.5);
  QorVector out;
  EXPECT_TRUE(c->nurbCurve()->controlPoint(1, out) == p);
  IPtr<NurbSurface> s(new NurbSurface());
  doubles2D(s.get(), "weights")->set(3, 3, 0.5);
  points2D(s.get(), "controlPoints")->set(-1, -1, p);
  EXPECT_EQ(s->nurbSurface()->weight(3, 3), 0.5);
  EXPECT_TRUE(points2D(s.get(), "controlPoints")->at(out, 3, 3) == p);
  EXPECT_EQ(doubles2D(s.get(), "weights")->at(-1, -4), s->nurbSurface()->weight(3, 0));
  doubles(s.get(), "knotsU")->set(-1, 2.0);
  EXPECT_EQ(s->nurbSurface()->knotU(7), 2.0);
  s->initialize(3, 2, 4, 7);
  // Each view walks its host: the iterators (which must follow the host initialize
  // fetched) and the built-in cursor.
  auto steps = [](DoubleArray* a) {
    IPtr<DoubleIter> it(a->newIterator());
    std::vector<double> seen;
    while (it->next()) seen.push_back(it->current());
    EXPECT_EQ(it->size(), static_cast<int32_t>(seen.size()));
    a->reset();
    for (size_t i = 0; a->next(); ++i) EXPECT_EQ(a->current(), seen.at(i));
    return seen;
  };
  EXPECT_EQ(steps(doubles(s.get(), "knotsU")), rule(4, 3));
  EXPECT_EQ(steps(doubles(s.get(), "knotsV")), rule(7, 2));
  EXPECT_EQ(steps(doubles(c.get(), "knots")), rule(4, 3));
  EXPECT_EQ(steps(doubles(c.get(), "weights")), (std::vector<double>{1, 2.5, 1, 1}));
  IPtr<PolylineCurve> pl(new PolylineCurve());
  IPtr<Vector3DArray> pts(new Vector3DArray());
  IPtr<DoubleArray> ks(new DoubleArray());
  for (int i = 0; i < 3; ++i) pts->append(QorVector(i, 2 * i, 0)), ks->append(0.5 * i);
  pl->initialize(pts.get(), ks.get());
  EXPECT_EQ(steps(doubles(pl.get(), "knots")), (std::vector<double>{0, 0.5, 1}));
  IPtr<Vector3DIter> it(points(pl.get(), "points")->newIterator());
  std::vector<double> ys;
  while (it->next()) ys.push_back(it->current().y);
  EXPECT_EQ(ys, (std::vector<double>{0, 2, 4}));
  EXPECT_TRUE(pl->evaluatePoint(0.5) == QorVector(1, 2, 0));
  EXPECT_TRUE(pl->evaluateTangent(0.25) == QorVector(2, 4, 0));
  pl->initialize(0);
  EXPECT_EQ(points(pl.get(), "points")->size(), 0);
}

TEST(CurveShells, UndoRedoUndoRestoresEachTime) {
  IPtr<NurbCurve> c(new NurbCurve());
  c->setName(QorString(u"before"));
  IPtr<IQorUndoInfo> u(c->createUndoInfo());
  EXPECT_EQ(u->undoSize(), 64);
  c->initialize(2, 6);
  c->setName(QorString(u"after"));
  u->captureAfter();
  EXPECT_EQ(u->undoSize(), 64 + 96);
  testkit::EventRecorder rec;
  ASSERT_TRUE(c->subscribe(QorCString("updated"), &rec));
  for (int round = 0; round < 2; ++round) {
    u->undo();
    EXPECT_EQ(c->degreeValue(), 3);
    EXPECT_EQ(std::string(c->nameValue().utf8()), "before");
    EXPECT_TRUE(c->isRationalValue()) << "copyFrom makes the curve rational";
    u->redo();
    EXPECT_EQ(all(doubles(c.get(), "knots")), rule(6, 2));
  }
  EXPECT_EQ(rec.heard.size(), 4u);
  c->unsubscribe(QorCString("updated"), &rec);

  IPtr<CompositeCurve> k(new CompositeCurve());
  IPtr<IQorUndoInfo> ku(k->createUndoInfo());
  IPtr<features::LineFeature> l = line(QorVector(), QorVector(1, 0, 0));
  k->addCurve(static_cast<DataObject*>(l.get()));
  k->addCurve(static_cast<DataObject*>(c.get()));
  EXPECT_EQ(k->memorySize(), 80) << "a line is no NURB curve";
  ku->captureAfter();
  for (int round = 0; round < 2; ++round) {
    ku->undo();
    EXPECT_EQ(k->numCurvesValue(), 0);
    EXPECT_EQ(k->memorySize(), 0);
    ku->redo();
    EXPECT_EQ(k->numCurvesValue(), 2);
  }
  EXPECT_EQ(ku->undoSize(), 80);
  k->setCurve(0, static_cast<DataObject*>(c.get()));
  EXPECT_EQ(k->memorySize(), 2 * 16 * 6);

  IPtr<NurbSurface> s(new NurbSurface());
  IPtr<IQorUndoInfo> su(s->createUndoInfo());
  s->initialize(2, 2, 3, 5);
  su->captureAfter();
  for (int round = 0; round < 2; ++round) {
    su->undo();
    EXPECT_EQ(points2D(s.get(), "controlPoints")->columnCount(), 4) << "the views follow undo";
    su->redo();
    EXPECT_EQ(doubles(s.get(), "knotsV")->size(), 8);
  }
}

TEST(CurveConverter, EachKindAndWhetherItSharesTheHost) {
  CurveDataObjectConverter conv;
  EXPECT_EQ(conv.convert(nullptr), nullptr);
  auto lineHost = newHost<::IQorLine>("IQorLine");
  lineHost->initialize(QorVector(), QorVector(1, 0, 0), nullptr, 0.0);
  auto arcHost = newHost<::IQorArc>("IQorArc");
  auto nurbHost = newHost<::IQorNurbCurve>("IQorNurbCurve");
  nurbHost->initialize(false, 1, 2);
  auto polyHost = newHost<::IQorPolyLine>("IQorPolyLine");
  auto compHost = newHost<::IQorCompositeCurve>("IQorCompositeCurve");
  auto planar = newHost<::IQorPolyLine2D>("IQorPolyLine2D");
  IterStack<Vector2D> flat(3);
  for (int i = 1; i <= 3; ++i) flat.push(Vector2D(i, -i));
  planar->setPoints(flat);
  auto curve = [](IQorUnknown* h) { return qorQuery<::IQorCurve>(h, "IQorCurve"); };
  struct Kind {
    ::IQorCurve* curve;
    const char* className;
    bool shares;
    std::function<void()> mutate;
    std::function<double(DataObject*)> probe;
  };
  const std::vector<Kind> kinds = {
      {curve(lineHost.get()), "LineFeature", true,
       [&] { lineHost->initialize(QorVector(), QorVector(5, 0, 0), nullptr, 0.0); },
       [](DataObject* o) { return o->getDouble("length"); }},
      {curve(arcHost.get()), "ArcCurve", true, [&] { arcHost->setRadius(3.0); },
       [](DataObject* o) { return o->getDouble("radius"); }},
      {curve(compHost.get()), "CompositeCurve", false,
       [&] { compHost->addCurve(curve(lineHost.get())); },
       [](DataObject* o) { return double(o->getInt("numCurves")); }},
      {curve(nurbHost.get()), "NurbCurve", false, [&] { nurbHost->setKnot(1, 7.0); },
       [](DataObject* o) { return doubles(o, "knots")->at(1); }},
      {curve(polyHost.get()), "PolylineCurve", true,
       [&] { polyHost->setPoints(IterStack<QorVector>(0)); },
       [](DataObject* o) { return double(points(o, "points")->size()); }},
      {curve(planar.get()), nullptr, false, nullptr, nullptr},
  };
  IterStack<QorVector> two(2);
  two.push(QorVector()), two.push(QorVector(1, 1, 1));
  polyHost->setPoints(two);
  for (const Kind& k : kinds) {
    IPtr<DataObject> made(conv.convert(k.curve));
    if (!k.className) {
      EXPECT_EQ(made.get(), nullptr);
      continue;
    }
    ASSERT_NE(made.get(), nullptr) << k.className;
    EXPECT_STREQ(made->className(), k.className);
    const double before = k.probe(made.get());
    k.mutate();
    EXPECT_EQ(k.probe(made.get()) != before, k.shares) << k.className;
  }
  IPtr<DataObject> poly(conv.convertPolyline2D(planar.get()));
  ASSERT_NE(poly.get(), nullptr);
  Vector3DArray* pts = points(poly.get(), "points");
  ASSERT_EQ(pts->size(), 3);
  QorVector p;
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(pts->at(p, i) == QorVector(i + 1, -(i + 1), 0.0));
}

TEST(CurveShells, DocumentsHoldEveryKindAndTheViewsReadTheReadHost) {
  IPtr<NurbCurve> c(new NurbCurve());
  c->initialize(2, 5);
  doubles(c.get(), "weights")->set(2, 3.0);
  IPtr<NurbSurface> s(new NurbSurface());
  s->initialize(2, 1, 3, 2);
  points2D(s.get(), "controlPoints")->set(1, 1, QorVector(4, 5, 6));
  IPtr<PolylineCurve> p(new PolylineCurve());
  p->initialize(2);
  points(p.get(), "points")->set(1, QorVector(0, 9, 0));
  IPtr<CompositeCurve> k(new CompositeCurve());
  IPtr<features::LineFeature> l = line(QorVector(), QorVector(0, 0, 2));
  k->addCurve(static_cast<DataObject*>(l.get()));
  k->setName(QorString(u"joined"));
  IPtr<DataObject> root(new DataObject());
  root->set("curve", static_cast<DataObject*>(c.get()));
  root->set("surface", static_cast<DataObject*>(s.get()));
  root->set("polyline", static_cast<DataObject*>(p.get()));
  root->set("composite", static_cast<DataObject*>(k.get()));
  IPtr<DataObject> back = dobj_test::loaded(dobj_test::saved(root.get()));
  auto* c2 = qorQuery<NurbCurve>(back->getObject("curve"), "NurbCurve");
  auto* s2 = qorQuery<NurbSurface>(back->getObject("surface"), "NurbSurface");
  auto* p2 = qorQuery<PolylineCurve>(back->getObject("polyline"), "PolylineCurve");
  auto* k2 = qorQuery<CompositeCurve>(back->getObject("composite"), "CompositeCurve");
  ASSERT_TRUE(c2 && s2 && p2 && k2);
  EXPECT_EQ(all(doubles(c2, "knots")), rule(5, 2));
  EXPECT_EQ(doubles(c2, "weights")->at(2), 3.0);
  doubles(c2, "weights")->set(0, 0.25);  // the view in the property is the read host's
  EXPECT_EQ(c2->nurbCurve()->weight(0), 0.25);
  QorVector v;
  EXPECT_TRUE(points2D(s2, "controlPoints")->at(v, 1, 1) == QorVector(4, 5, 6));
  EXPECT_EQ(doubles(s2, "knotsV")->size(), 4);
  EXPECT_EQ(s2->degreeInUValue(), 2);
  doubles2D(s2, "weights")->set(0, 0, 2.0);
  EXPECT_EQ(s2->nurbSurface()->weight(0, 0), 2.0);
  EXPECT_TRUE(points(p2, "points")->at(v, 1) == QorVector(0, 9, 0));
  EXPECT_EQ(k2->numCurves(), 1);
  EXPECT_EQ(std::string(k2->nameValue().utf8()), "joined");
  IPtr<DataObject> member(k2->curve(0));
  ASSERT_NE(member.get(), nullptr);
  EXPECT_EQ(member->getDouble("length"), 2.0);
  IPtr<IQorDataObject> copy(s2->clone());
  auto* s3 = dynamic_cast<NurbSurface*>(copy.get());
  ASSERT_NE(s3, nullptr);
  EXPECT_NE(s3->nurbSurface(), s2->nurbSurface());
  EXPECT_TRUE(points2D(s3, "controlPoints")->at(v, 1, 1) == QorVector(4, 5, 6));
  IPtr<IQorDataObject> curveCopy(c2->clone());
  EXPECT_EQ(dynamic_cast<NurbCurve*>(curveCopy.get())->memorySize(), 80);
}

}  // namespace
