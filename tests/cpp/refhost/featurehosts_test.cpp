// The host features: tables and their listeners, the closed forms of every kind against
// random input, exact bounds checked against sampled points and against OpenCASCADE's
// bounding boxes, deep clones, transforms and the stored records.
#include "refhost/featurehosts.h"

#include <gtest/gtest.h>

#include <BndLib_Add3dCurve.hxx>
#include <BndLib_AddSurface.hxx>
#include <Bnd_Box.hxx>
#include <GeomAdaptor_Curve.hxx>
#include <GeomAdaptor_Surface.hxx>
#include <Geom_Circle.hxx>
#include <Geom_ConicalSurface.hxx>
#include <Geom_CylindricalSurface.hxx>
#include <Geom_Plane.hxx>
#include <Geom_SphericalSurface.hxx>
#include <Geom_ToroidalSurface.hxx>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <numbers>
#include <random>
#include <sstream>

#include "persistence/qorfile.h"
#include "refhost/docfile.h"
#include "refhost/document.h"
#include "refhost/host.h"
#include "refhost/services.h"
#include "testkit.h"

namespace {

using namespace refhost;
using namespace testkit;
constexpr double kPi = std::numbers::pi;

struct Heard : IQorListener {
  void queryInterface(const char*, void** out, uintptr_t) override { *out = nullptr; }
  const char* className() override { return "Heard"; }
  void notify(const char* m, IQorSubject* s, void* a) override {
    names.push_back(std::string(m) + ":" + static_cast<const QorString*>(a)->utf8());
    if (leave) s->unsubscribe(this);
  }
  std::vector<std::string> names;
  bool leave = false;
};

template <class I>
I* as(IQorUnknown* o, const char* name) {
  return qorQuery<I>(o, name);
}
IPtr<RefFeatureHost> host(const char* service) {
  return IPtr<RefFeatureHost>(makeFeatureHost(service));
}
IQorParameter* number(double v) {
  auto* d = new RefDoubleValue();
  d->setValue(v);
  return d;
}
std::vector<std::string> names(IQorParameterTable* t) {
  IterStack<QorString> n;
  IterStack<IQorParameter*> p;
  t->list(n, p);
  std::vector<std::string> out;
  for (int32_t i = 1; i <= n.count(); ++i) out.push_back(n.at(i).utf8());
  return out;
}

TEST(FeatureHosts, TablesKeepOrderTellListenersAndCloneDeep) {
  RefParameterTable t;
  Heard a, b;
  b.leave = true;  // leaves while it is told
  t.subscribe(&a);
  t.subscribe(&b);
  t.add("A", number(1), 0);
  t.add("B", number(2), 0);
  t.add("A", number(3), 0);  // replaced in place
  t.set("C", number(4));
  t.remove("B");
  t.remove("missing");
  EXPECT_EQ(names(&t), (std::vector<std::string>{"A", "C"}));
  EXPECT_EQ(a.names, (std::vector<std::string>{"setParameter:A", "setParameter:B", "setParameter:A",
                                               "setParameter:C", "setParameter:B"}));
  EXPECT_EQ(b.names, (std::vector<std::string>{"setParameter:A"}));
  IPtr<IQorParameterTable> c(t.clone());
  as<IQorDoubleValue>(t.parameter("A"), "IQorDoubleValue")->setValue(9);
  EXPECT_EQ(as<IQorDoubleValue>(c->parameter("A"), "IQorDoubleValue")->value(), 3);
  EXPECT_EQ(a.names.size(), 5u);  // the clone has no listeners, the value set no message

  // A host's listeners hear its setters, move with setParameterTable (hearing only what
  // changed) and stay off its clone, whose table is its own.
  IPtr<RefFeatureHost> arc = host("IQorArc");
  Heard h;
  arc->subscribe(&h);
  as<IQorArc>(arc.get(), "IQorArc")->setRadius(2);
  IPtr<IQorFeature> twin(arc->clone());
  IPtr<IQorParameterTable> other(arc->parameterTable()->clone());
  other->set("Radius", number(5));
  arc->setParameterTable(other.get());
  EXPECT_EQ(h.names, (std::vector<std::string>{"setParameter:Radius", "setParameter:Radius"}));
  EXPECT_EQ(as<IQorArc>(arc.get(), "IQorArc")->radius(), 5);
  EXPECT_EQ(as<IQorArc>(twin.get(), "IQorArc")->radius(), 2);
  twin->setParameter("Radius", number(7));
  EXPECT_EQ(h.names.size(), 2u);
  EXPECT_EQ(names(arc->parameterTable()),
            (std::vector<std::string>{"Name", "Center", "Radius", "Normal", "RadialDir",
                                      "StartAngle", "EndAngle", "<Range>"}));
}

std::mt19937_64 rng(20261124);
double uni(double a, double b) {
  return std::uniform_real_distribution<double>(a, b)(rng);
}
QorVector anyVector(double s = 3) {
  return {uni(-s, s), uni(-s, s), uni(-s, s)};
}
gp_Pnt pnt(const QorVector& v) {
  return gp_Pnt(v.x, v.y, v.z);
}
gp_Ax3 ax3(const QorVector& o, const QorVector& w, const QorVector& u) {
  return gp_Ax3(pnt(o), gp_Dir(w.x, w.y, w.z), gp_Dir(u.x, u.y, u.z));
}

// One random host with its point function over [u0, u1] x [v0, v1] and OpenCASCADE's box.
struct Case {
  IPtr<RefFeatureHost> h;
  std::function<QorVector(double, double)> at;
  double u0, u1, v0, v1;
  Bnd_Box occt;
};

Case randomCase(int kind) {
  QorVector c = anyVector(), w = anyVector(), r = anyVector();
  double a0 = uni(-kPi, kPi), a1 = a0 + (kind % 2 ? 2 * kPi : uni(0.1, 2 * kPi));
  Case k;
  const double tol = 1e-12;
  if (kind < 2) {  // arc
    k.h = host("IQorArc");
    auto* arc = as<IQorArc>(k.h.get(), "IQorArc");
    double range[2] = {uni(-2, 2), uni(3, 5)};
    arc->initialize(c, uni(0.01, 4), w, r, a0, a1, range, 0);
    auto* curve = as<IQorCurve>(k.h.get(), "IQorCurve");
    k.at = [curve](double t, double) {
      QorVector p;
      curve->evaluatePoint(p, t);
      return p;
    };
    k.u0 = range[0], k.u1 = range[1], k.v0 = k.v1 = 0;
    QorVector n, u;
    arc->normal(n), arc->radialDir(u);
    Handle(Geom_Circle) g = new Geom_Circle(
        gp_Ax2(pnt(c), gp_Dir(n.x, n.y, n.z), gp_Dir(u.x, u.y, u.z)), arc->radius());
    BndLib_Add3dCurve::AddOptimal(GeomAdaptor_Curve(g, a0, a1), a0, a1, tol, k.occt);
    return k;
  }
  double rad = uni(0.1, 3), h0 = uni(0.1, 3);
  QorVector ct = c + w * (h0 / w.length());
  if (kind < 4) {
    bool cone = kind == 3;
    double rt = cone ? uni(0.1, 3) : rad;
    k.h = host(cone ? "IQorCone" : "IQorCylinder");
    if (cone) {
      auto* s = as<IQorCone>(k.h.get(), "IQorCone");
      s->initialize(c, ct, rad, rt, r, 0, 0, 0);
      s->setAngleFrom(a0), s->setAngleTo(a1);
    } else {
      auto* s = as<IQorCylinder>(k.h.get(), "IQorCylinder");
      s->initialize(c, ct, rad, r, 0, 0, 0);
      s->setAngleFrom(a0), s->setAngleTo(a1);
    }
    QorVector ax, u;
    frameOf(ct - c, r, ax, u, w);
    k.at = [=](double a, double s) {
      return c + (ct - c) * s + (u * std::cos(a) + w * std::sin(a)) * (rad + (rt - rad) * s);
    };
    k.u0 = a0, k.u1 = a1, k.v0 = 0, k.v1 = 1;
    double ang = std::atan2(rt - rad, h0);
    Handle(Geom_Surface) g;
    if (cone)
      g = new Geom_ConicalSurface(ax3(c, ax, u), ang, rad);
    else
      g = new Geom_CylindricalSurface(ax3(c, ax, u), rad);
    BndLib_AddSurface::AddOptimal(GeomAdaptor_Surface(g), a0, a1, 0, h0 / std::cos(ang), tol,
                                  k.occt);
    return k;
  }
  QorVector ax, u, v;
  frameOf(w, r, ax, u, v);
  if (kind < 6) {
    k.h = host("IQorPlane");
    Vector2D ur(uni(-3, 0), uni(0, 3)), vr(uni(-3, 0), uni(0, 3));
    as<IQorPlane>(k.h.get(), "IQorPlane")->initialize(c, w, r, ur, vr);
    k.at = [=](double a, double b) { return c + u * a + v * b; };
    k.u0 = ur.x, k.u1 = ur.y, k.v0 = vr.x, k.v1 = vr.y;
    BndLib_AddSurface::AddOptimal(GeomAdaptor_Surface(new Geom_Plane(ax3(c, ax, u))), ur.x, ur.y,
                                  vr.x, vr.y, tol, k.occt);
    return k;
  }
  double l0 = uni(-kPi / 2, kPi / 2), l1 = kind % 2 ? kPi / 2 : uni(l0, kPi / 2);
  if (kind < 8) {
    k.h = host("IQorSphere");
    auto* s = as<IQorSphere>(k.h.get(), "IQorSphere");
    s->initialize(c, rad, w, r, 0, 0, 0, 0);
    s->setLatitudeFrom(l0), s->setLatitudeTo(l1), s->setLongitudeFrom(a0), s->setLongitudeTo(a1);
    k.at = [=](double lon, double lat) {
      return c + (u * std::cos(lon) + v * std::sin(lon)) * (rad * std::cos(lat)) +
             ax * (rad * std::sin(lat));
    };
    BndLib_AddSurface::AddOptimal(
        GeomAdaptor_Surface(new Geom_SphericalSurface(ax3(c, ax, u), rad)), a0, a1, l0, l1, tol,
        k.occt);
  } else {
    k.h = host("IQorTorus");
    auto* s = as<IQorTorus>(k.h.get(), "IQorTorus");
    double big = rad + uni(0.1, 2);
    l0 = uni(-kPi, kPi), l1 = kind % 2 ? l0 + 2 * kPi : uni(l0, l0 + 2 * kPi);
    s->initialize(c, w, big, rad, r, 0, 0, 0, 0);
    s->setLatitudeFrom(l0), s->setLatitudeTo(l1), s->setLongitudeFrom(a0), s->setLongitudeTo(a1);
    k.at = [=](double lon, double lat) {
      return c + (u * std::cos(lon) + v * std::sin(lon)) * (big + rad * std::cos(lat)) +
             ax * (rad * std::sin(lat));
    };
    BndLib_AddSurface::AddOptimal(
        GeomAdaptor_Surface(new Geom_ToroidalSurface(ax3(c, ax, u), big, rad)), a0, a1, l0, l1, tol,
        k.occt);
  }
  k.u0 = a0, k.u1 = a1, k.v0 = l0, k.v1 = l1;
  return k;
}

// The largest value of f over the box: the best grid points, each refined by pattern search
// (several, since a closed span's best may sit across the seam from its grid point).
double largest(const std::function<double(double, double)>& f, const Case& k) {
  const int n = 40;
  std::vector<std::tuple<double, double, double>> grid;
  for (int i = 0; i <= n; ++i)
    for (int j = 0; j <= (k.v1 > k.v0 ? n : 0); ++j) {
      double a = k.u0 + (k.u1 - k.u0) * i / n, b = k.v0 + (k.v1 - k.v0) * j / n;
      grid.emplace_back(f(a, b), a, b);
    }
  std::partial_sort(grid.begin(), grid.begin() + 6, grid.end(), std::greater<>());
  double top = -INFINITY;
  for (int g = 0; g < 6; ++g) {
    auto [best, bu, bv] = grid[g];
    for (double su = (k.u1 - k.u0) / n, sv = (k.v1 - k.v0) / n; su > 1e-13 || sv > 1e-13;) {
      bool moved = false;
      for (int du = -1; du <= 1; ++du)
        for (int dv = -1; dv <= 1; ++dv) {
          double a = std::clamp(bu + du * su, k.u0, k.u1), b = std::clamp(bv + dv * sv, k.v0, k.v1);
          if (double y = f(a, b); y > best) best = y, bu = a, bv = b, moved = true;
        }
      if (!moved) su /= 2, sv /= 2;
    }
    top = std::max(top, best);
  }
  return top;
}

TEST(FeatureHosts, BoundsAreExactForEveryKindAndAgreeWithOpenCascade) {
  for (int i = 0; i < 2000; ++i) {
    Case k = randomCase(i % 10);
    QorBounds b;
    k.h->boundingBox(b);
    ASSERT_FALSE(b.isEmpty()) << i;
    double lo[3], hi[3];
    k.occt.Get(lo[0], lo[1], lo[2], hi[0], hi[1], hi[2]);
    for (int a = 0; a < 3; ++a) {
      double mine[2] = {b.minimum()[a], b.maximum()[a]};
      double top = largest([&](double u, double v) { return k.at(u, v)[a]; }, k);
      double bottom = -largest([&](double u, double v) { return -k.at(u, v)[a]; }, k);
      EXPECT_LE(mine[0], bottom + 1e-12) << i << " axis " << a;
      EXPECT_GE(mine[1], top - 1e-12) << i << " axis " << a;
      EXPECT_NEAR(mine[0], bottom, 1e-9) << i << " axis " << a;
      EXPECT_NEAR(mine[1], top, 1e-9) << i << " axis " << a;
      EXPECT_NEAR(mine[0], lo[a], 1e-6) << i << " axis " << a;
      EXPECT_NEAR(mine[1], hi[a], 1e-6) << i << " axis " << a;
    }
  }
}

TEST(FeatureHosts, ArcAndLineFollowTheirClosedFormsAndMoveWithTheirMatrix) {
  for (int i = 0; i < 2000; ++i) {
    Case k = randomCase(i % 2);
    auto* arc = as<IQorArc>(k.h.get(), "IQorArc");
    auto* curve = as<IQorCurve>(k.h.get(), "IQorCurve");
    QorVector c, p, d[3], e;
    arc->center(c);
    double r = arc->radius(), slope = (arc->endAngle() - arc->startAngle()) / (k.u1 - k.u0);
    for (double t : {k.u0, uni(k.u0, k.u1), k.u1}) {
      curve->evaluate(t, 2, d);
      curve->evaluatePoint(p, t);
      EXPECT_NEAR((p - c).length(), r, 1e-12 * (1 + r)) << i;
      EXPECT_NEAR(d[1].dot(p - c), 0, 1e-11 * (1 + r * r)) << i;
      EXPECT_NEAR(d[1].length(), r * std::fabs(slope), 1e-11 * (1 + r)) << i;
      EXPECT_NEAR((d[2] + (p - c) * (slope * slope)).length(), 0, 1e-10) << i;
      EXPECT_EQ((d[0] - p).length(), 0) << i;
    }
    EXPECT_EQ(curve->isClosed(), i % 2 == 1) << i;
    EXPECT_NEAR((arc->startPoint(e) - k.at(k.u0, 0)).length(), 0, 1e-12) << i;
    // A start point set with the end kept: the angle found by atan2, the end untouched.
    double end = arc->endAngle(), mid = uni(k.u0, k.u1);
    QorVector at = k.at(mid, 0);
    arc->setStartPoint(at, true);
    EXPECT_EQ(arc->endAngle(), end) << i;
    EXPECT_NEAR((arc->startPoint(e) - at).length(), 0, 1e-9 * (1 + r)) << i;
    EXPECT_GT(end - arc->startAngle(), 0) << i;
    EXPECT_LE(end - arc->startAngle(), 2 * kPi) << i;
    // A similarity, mirrored every other time, moves every point with it.
    QorVector axis = anyVector(), plane = anyVector();
    axis.normalise(), plane.normalise();
    QorMatrix m = QorMatrix::fromAxisAngle(axis, uni(-kPi, kPi));
    if (i % 4 < 2) m = QorMatrix::multiply(m, QorMatrix::mirror(plane));
    m = QorMatrix::multiply(QorMatrix::uniformScale(uni(0.2, 3)), m);
    m.setTranslation(anyVector());
    std::vector<QorVector> before;
    for (int j = 0; j <= 8; ++j) before.push_back(k.at(k.u0 + (k.u1 - k.u0) * j / 8, 0));
    k.h->transform(m);
    for (int j = 0; j <= 8; ++j) {
      m.transformPoint(before[j], e);
      EXPECT_NEAR((k.at(k.u0 + (k.u1 - k.u0) * j / 8, 0) - e).length(), 0, 1e-9 * (1 + r)) << i;
    }
  }
  // The line reads its range live; a shear keeps it a segment through the sheared ends.
  IPtr<RefFeatureHost> line = host("IQorLine");
  double range[2] = {2, 4};
  as<IQorLine>(line.get(), "IQorLine")->initialize({1, 2, 3}, {5, 2, 3}, range, 0);
  auto* curve = as<IQorCurve>(line.get(), "IQorCurve");
  auto* span = new RefVector2DValue();
  span->setValue({0, 1});
  line->setParameter("<Range>", span);
  QorVector d[2];
  curve->evaluate(0.25, 1, d);
  EXPECT_EQ(d[0].x, 2);
  EXPECT_EQ(d[1].x, 4);
  line->transform(QorMatrix(1, 1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1));
  curve->evaluatePoint(d[0], 1);
  EXPECT_EQ(d[0].x, 7);
}

size_t errors() {
  size_t n = 0;
  for (auto& l : refhost::log().lines()) n += l.level == RecordingLog::kError;
  return n;
}

TEST(FeatureHosts, BadNumbersAreLoggedNeverCrashOrLeakNaN) {
  refhost::log().clear();
  IPtr<RefFeatureHost> arc = host("IQorArc");
  as<IQorArc>(arc.get(), "IQorArc")->setRadius(NAN);
  QorBounds b(0, 0, 0, 1, 1, 1);
  arc->boundingBox(b);
  EXPECT_EQ(b, QorBounds(0, 0, 0, 1, 1, 1));
  EXPECT_EQ(errors(), 2u);  // the update and the bounds
  IPtr<RefFeatureHost> cone = host("IQorCone");
  auto* k = as<IQorCone>(cone.get(), "IQorCone");
  double heights[2] = {1, 2};
  k->initialize({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, kPi / 2, 0, heights, 0, 0);
  EXPECT_EQ(k->radiusFrom(), 1);  // refused: the defaults stay
  k->initialize({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, kPi / 4, 0, heights, 0, 0);
  EXPECT_NEAR(k->radiusTo(), 2, 1e-15);
  EXPECT_NEAR(k->halfAngle(), kPi / 4, 1e-15);
  QorVector apex;
  EXPECT_NEAR(k->apex(apex).length(), 0, 1e-15);
  k->initialize({1, 1, 1}, {1, 1, 1}, 2, 2, {1, 0, 0}, 0, 0, 0);  // equal centres and radii
  k->apex(apex);
  EXPECT_TRUE(std::isfinite(apex.x + k->halfAngle() + k->heightFrom() + k->heightTo()));
  EXPECT_EQ(errors(), 4u);  // the half angle and the missing apex
  arc->transform(QorMatrix::scale(1, 2, 3));
  EXPECT_EQ(refhost::log().lines().back().text,
            "RefArcHost.transform: not a similarity; applied its similarity part (scale 1.817121)");
}

Bytes f64(std::initializer_list<double> values) {
  Bytes b;
  for (double d : values) be(b, std::bit_cast<uint64_t>(d), 8);
  return b;
}
Bytes i32(int32_t v) {
  Bytes b;
  be(b, static_cast<uint32_t>(v), 4);
  return b;
}
Bytes text(const std::u16string& s) {
  Bytes b;
  for (char16_t u : s) be(b, u, 2);
  return chunk(0x010005, 0, b);
}
Bytes vec(const char16_t* name, double x, double y, double z) {
  return text(name) + i32(4) + hex("01") + chunk(0x010000, 0, f64({x, y, z}));
}
Bytes num(const char16_t* name, double v) {
  return text(name) + i32(2) + f64({v});
}
Bytes pair(const char16_t* name, double a, double b) {
  return text(name) + i32(5) + chunk(0x010009, 0, f64({a, b}));
}
Bytes record(IQorPersistable* p) {
  return filed(0, [&](QorFileWrite& w) { EXPECT_TRUE(p->write(&w)); });
}

TEST(FeatureHosts, RecordsHaveTheirLayoutAndEveryKindReadsBackEqual) {
  IPtr<RefFeatureHost> arc = host("IQorArc"), plane = host("IQorPlane");
  double range[2] = {0, 2};
  as<IQorArc>(arc.get(), "IQorArc")
      ->initialize({1, 2, 3}, 2, {0, 0, 2}, {1, 1, 0}, 0, kPi, range, 0);
  as<IQorPlane>(plane.get(), "IQorPlane")
      ->initialize({0, 0, 1}, {0, 0, 1}, {1, 0, 0}, {-1, 1}, {0, 2});
  const Bytes arcBytes =
      chunk(0x0B0002, 1,
            hex("6B1E2A01 3C4D 4E5F 8011 2233 4455 6601") + i32(8) + text(u"Name") + i32(3) +
                text(u"Arc") + vec(u"Center", 1, 2, 3) + num(u"Radius", 2) +
                vec(u"Normal", 0, 0, 2) + vec(u"RadialDir", 1, 1, 0) + num(u"StartAngle", 0) +
                num(u"EndAngle", kPi) + pair(u"<Range>", 0, 2));
  const Bytes planeBytes =
      chunk(0x0B0002, 1,
            hex("6B1E2A05 3C4D 4E5F 8011 2233 4455 6605") + i32(6) + text(u"Name") + i32(3) +
                text(u"Plane") + vec(u"Origin", 0, 0, 1) + vec(u"Normal", 0, 0, 1) +
                vec(u"UDir", 1, 0, 0) + pair(u"URange", -1, 1) + pair(u"VRange", 0, 2));
  EXPECT_EQ(record(arc.get()), arcBytes);
  EXPECT_EQ(record(plane.get()), planeBytes);
  // Every cut of a record is refused and leaves the host as it was.
  for (size_t n = 0; n < arcBytes.size(); ++n) {
    IPtr<RefFeatureHost> other = host("IQorArc");
    FileReader f(Bytes(arcBytes.begin(), arcBytes.begin() + n));
    EXPECT_FALSE(other->read(&f.r)) << n;
    EXPECT_EQ(as<IQorArc>(other.get(), "IQorArc")->radius(), 1) << n;
  }
  for (int i = 0; i < 10; ++i) {
    Case k = randomCase(i);
    Bytes b = record(k.h.get());
    IPtr<RefFeatureHost> back(makeFeatureHost(k.h->classId()));
    FileReader f(b);
    ASSERT_TRUE(back->read(&f.r)) << i;
    EXPECT_EQ(record(back.get()), b) << i;
    QorBounds x, y;
    k.h->boundingBox(x);
    back->boundingBox(y);
    EXPECT_EQ(x, y) << i;
  }
}

// Every feature of the document: name, flag, record bytes, bounds and a curve's mid point.
std::string featureDump(RefDoc& doc) {
  std::ostringstream s;
  s << std::hexfloat;
  for (auto& o : doc.objects())
    if (RefSubObjectMgr* m = o->manager(RefSubObject::Kind::Feature))
      for (auto& sub : m->subObjects()) {
        auto* h = dynamic_cast<RefFeatureHost*>(sub->feature());
        s << sub->nameUtf8() << ' ' << int(sub->visible());
        for (uint8_t b : featureRecord(*h)) s << ' ' << int(b);
        QorBounds b;
        h->boundingBox(b);
        s << ' ' << b.minX << ' ' << b.minY << ' ' << b.minZ << ' ' << b.maxX << ' ' << b.maxY
          << ' ' << b.maxZ;
        if (auto* c = as<IQorCurve>(h, "IQorCurve")) {
          QorVector p;
          c->evaluatePoint(p, (c->range(0) + c->range(1)) / 2);
          s << ' ' << p.x << ' ' << p.y << ' ' << p.z;
        }
        s << '\n';
      }
  return s.str();
}

TEST(FeatureHosts, DocumentsKeepTheirFeaturesInAFreshProcess) {
  std::string why;
  if (const char* path = std::getenv("BRINDLE_FEATURE_DOC")) {  // the fresh process
    DocumentSnapshot d;
    ASSERT_TRUE(readDocumentFile(path, &d, &why)) << why;
    document().restore(d);
    std::ofstream(std::string(path) + ".seen") << featureDump(document());
    return;
  }
  RefSubObjectMgr* m =
      document().append("Curve", QorString(u"wires"))->manager(RefSubObject::Kind::Feature);
  for (int i = 0; i < 10; ++i) {
    IPtr<IQorUnknown> sub(m->newSubObject(static_cast<IQorFeature*>(randomCase(i).h.get())));
    qorQuery<IQorSubObject>(sub.get(), "IQorSubObject")->setName(QorString(i % 2 ? "odd" : "even"));
    m->addSubObject(sub.get());
  }
  TempDir dir;
  std::string path = dir.file("features.doc");
  ASSERT_TRUE(writeDocumentFile(path, document().snapshot(), &why)) << why;
  std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
  ASSERT_EQ(std::system(("BRINDLE_FEATURE_DOC=" + path + " " + self +
                         " --gtest_filter=FeatureHosts.DocumentsKeep* > /dev/null")
                            .c_str()),
            0);
  Bytes seen = readFile(path + ".seen");
  std::string expected = featureDump(document());
  EXPECT_EQ(std::string(seen.begin(), seen.end()), expected);
  EXPECT_EQ(std::count(expected.begin(), expected.end(), '\n'), 10);
}

}  // namespace
