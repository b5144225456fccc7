// The extruded and rotational hosts: exact shapes (plane, cylinder, cone, sphere) through
// points and principal curvatures, iso curves against the surface, derivatives against
// differences, moves by similarities only, copies and the stored record.
#include "refhost/sweptsurfaces.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <numbers>

#include "core/locator.h"
#include "persistence/qorfile.h"
#include "refhost/curvehosts.h"
#include "refhost/host.h"
#include "testkit.h"

namespace {

using namespace refhost;
using namespace testkit;
constexpr double kPi = std::numbers::pi;

template <class I>
I* as(IQorUnknown* o, const char* name) {
  return qorQuery<I>(o, name);
}
template <class I>
IPtr<I> fetch(const char* name) {
  void* p = nullptr;
  getService(name, &p);
  return IPtr<I>(static_cast<I*>(p));
}
IPtr<IQorCurve> line(const QorVector& a, const QorVector& b) {
  auto l = fetch<IQorLine>("IQorLine");
  const double range[2] = {0, 1};
  l->initialize(a, b, range, 0);
  return IPtr<IQorCurve>(as<IQorCurve>(l.get(), "IQorCurve"));
}
IPtr<IQorCurve> arc(const QorVector& normal, double r, double a0, double a1) {
  auto a = fetch<IQorArc>("IQorArc");
  const double range[2] = {0, 1};
  a->initialize({0, 0, 0}, r, normal, {1, 0, 0}, a0, a1, range, 0);
  return IPtr<IQorCurve>(as<IQorCurve>(a.get(), "IQorCurve"));
}
QorVector at(IQorSurface* s, double u, double v) {
  QorVector p;
  s->evaluatePoint(p, u, v, nullptr);
  return p;
}
// |k| of the two principal curvatures, smaller first, and the Gaussian curvature.
void bends(IQorSurface* s, double u, double v, double& small, double& large, double& gauss) {
  QorVector n, d0, d1;
  double k0, k1;
  fetch<IQorSurfaceUtil>("IQorSurfaceUtil")->curvature(s, u, v, n, d0, d1, k0, gauss, k1);
  small = std::fmin(std::fabs(k0), std::fabs(k1));
  large = std::fmax(std::fabs(k0), std::fabs(k1));
}
IPtr<IQorSurface> extruded(IQorCurve* sketch, const QorVector& origin, const QorVector& dir,
                           double h0, double h1) {
  auto e = fetch<IQorExtruded>("IQorExtruded");
  e->setOrigin(origin);
  e->setDirection(dir);
  e->setSketch(sketch);
  e->setHeightFrom(h0);
  e->setHeightTo(h1);
  return IPtr<IQorSurface>(as<IQorSurface>(e.get(), "IQorSurface"));
}
IPtr<IQorSurface> drafted(IQorCurve* sketch, double angle, bool conic) {
  auto d = fetch<IQorDrafted>("IQorDrafted");
  d->setOrigin({1, 0, 0});
  d->setDirection({1, 0, 1});
  d->setSketch(sketch);
  d->setHeightFrom(1);
  d->setHeightTo(4);
  d->setDraftAngle(angle);
  d->setIsConic(conic);
  return IPtr<IQorSurface>(as<IQorSurface>(d.get(), "IQorSurface"));
}
IPtr<IQorSurface> revolved(IQorCurve* sketch, const QorVector& origin, const QorVector& axis,
                           const QorVector& radial, double a0, double a1) {
  auto r = fetch<IQorRotational>("IQorRotational");
  r->setOrigin(origin);
  r->setAxis(axis);
  r->setRadialDir(radial);
  r->setSketch(sketch);
  r->setAngleFrom(a0);
  r->setAngleTo(a1);
  return IPtr<IQorSurface>(as<IQorSurface>(r.get(), "IQorSurface"));
}

TEST(SweptSurfaces, ExtrusionsAreExactPlanesAndCylinders) {
  auto plane = extruded(line({0, 0, 0}, {2, 0, 0}).get(), {1, 2, 3}, {0, 0, 2}, 0, 3);
  EXPECT_EQ(as<IQorExtruded>(plane.get(), "IQorExtruded")->heightTo(), 3);
  EXPECT_EQ(as<IQorRotational>(plane.get(), "IQorRotational"), nullptr);
  EXPECT_EQ(as<IQorDrafted>(plane.get(), "IQorDrafted"), nullptr);
  for (double u : {0.0, 0.25, 1.0})
    for (double v : {0.0, 0.5, 1.0}) {
      QorVector p, n;
      plane->evaluatePoint(p, u, v, &n);
      EXPECT_LT((p - QorVector(1 + 2 * u, 2, 3 + 3 * v)).length(), 1e-14);
      EXPECT_LT((n - QorVector(0, -1, 0)).length(), 1e-14);
    }
  auto cylinder = extruded(arc({0, 0, 1}, 2, 0, kPi).get(), {0, 0, 0}, {0, 1, 1}, -1, 1);
  double small, large, gauss;
  bends(cylinder.get(), 0.3, 0.6, small, large, gauss);
  EXPECT_NEAR(small, 0, 1e-12);
  EXPECT_NEAR(large, 0.5, 1e-12);
  EXPECT_NEAR(gauss, 0, 1e-12);
}

// A centred circle drafts to the same cone either way; a line to a tilted plane.
TEST(SweptSurfaces, DraftsAreConesAndTiltedPlanes) {
  auto circle = arc({0, 0, 1}, 1, 0, 2 * kPi);
  auto conic = drafted(circle.get(), 0.3, true), offset = drafted(circle.get(), 0.3, false);
  auto tilted = drafted(line({0, 0, 0}, {2, 0, 0}).get(), 0.3, false);
  EXPECT_EQ(as<IQorExtruded>(tilted.get(), "IQorExtruded"), nullptr);
  QorMatrix f;
  as<IQorSwept>(tilted.get(), "IQorSwept")->frame(f);
  const double t = std::tan(0.3);
  for (double u : {0.1, 0.6})
    for (double v : {0.0, 0.5, 1.0}) {
      const double h = 1 + 3 * v;
      EXPECT_LT((at(conic.get(), u, v) - at(offset.get(), u, v)).length(), 1e-12);
      QorVector p;
      f.transformPoint(
          {std::cos(2 * kPi * u) * (1 + h * t), std::sin(2 * kPi * u) * (1 + h * t), h}, p);
      EXPECT_LT((at(conic.get(), u, v) - p).length(), 1e-12);
      f.transformPoint({2 * u, -h * t, h}, p);
      EXPECT_LT((at(tilted.get(), u, v) - p).length(), 1e-12);
    }
}

TEST(SweptSurfaces, RevolutionsAreExactCylindersConesAndSpheres) {
  const QorVector o(1, 2, 3), axis(1, 1, 0), radial(0, 0, 1);
  QorVector z = axis;
  z.normalise();
  auto offAxis = [&](const QorVector& p) { return (p - o - z * z.dot(p - o)).length(); };
  struct Case {
    IPtr<IQorCurve> sketch;
    double gauss;
  } cases[] = {{line({1, 0, 0}, {1, 0, 2}), 0},                // cylinder of radius 1
               {line({-1, 0, 0}, {1, 0, 2}), 0},               // cone, apex at z = 1
               {arc({0, 1, 0}, 2, -kPi / 2, kPi / 2), 0.25}};  // sphere of radius 2
  for (int k = 0; k < 3; ++k) {
    SCOPED_TRACE(k);
    auto s = revolved(cases[k].sketch.get(), o, axis, radial, 0, 2 * kPi);
    EXPECT_TRUE(s->isClosedInU());
    for (double u : {0.1, 0.5, 0.9})
      for (double v : {0.2, 0.7}) {
        QorVector p = at(s.get(), u, v), onSketch;
        cases[k].sketch->evaluatePoint(onSketch, v);
        const double height = z.dot(p - o);
        EXPECT_NEAR(height, onSketch.z, 1e-12);
        EXPECT_NEAR(offAxis(p), std::hypot(onSketch.x, onSketch.y), 1e-12);
        double small, large, gauss;
        bends(s.get(), u, v, small, large, gauss);
        EXPECT_NEAR(gauss, cases[k].gauss, 1e-9);
        if (k == 0) {
          EXPECT_NEAR(large, 1, 1e-12);
        }
        if (k == 2) {
          EXPECT_NEAR(small, 0.5, 1e-9);
        }
      }
  }
  auto cone = revolved(cases[1].sketch.get(), o, axis, radial, 0, 1);
  auto* r = as<IQorRotational>(cone.get(), "IQorRotational");
  EXPECT_EQ(r->heightFrom(), 0);
  EXPECT_EQ(r->heightTo(), 2);
}

// Both kinds over non-default windows: iso curves run on the surface, and the rows agree
// with central differences of the point.
TEST(SweptSurfaces, IsoCurvesAndDerivativesFollowTheSurface) {
  auto e = extruded(arc({0, 0, 1}, 2, 0, 2).get(), {1, 0, 0}, {1, 0, 1}, 1, 4);
  auto r = revolved(arc({0, 1, 0}, 1, 0, 2).get(), {0, 1, 0}, {0, 1, 1}, {1, 0, 0}, 0.5, 2);
  auto d = drafted(arc({0, 0, 1}, 2, 0, 2).get(), 0.4, false);
  auto c = drafted(arc({0, 0, 1}, 2, 0, 2).get(), -0.4, true);
  auto nurb = fetch<IQorNurbCurve>("IQorNurbCurve");
  nurb->initialize(false, 2, 3);
  for (int i = 0; i < 3; ++i) nurb->setControlPoint(i, {i * 1.0, i * i * 0.5, 0}, 1);
  auto n = drafted(as<IQorCurve>(nurb.get(), "IQorCurve"), 0.4, false);
  for (IQorSurface* s : {e.get(), r.get(), d.get(), c.get(), n.get()}) {
    s->setRanges({0, 1}, {0, 1});
    if (s == r.get()) s->setRanges({-1, 3}, {0, 1});
    if (s != r.get()) s->setRanges({0, 1}, {2, 5});
    Vector2D a, b;
    s->parameterRange(a, b);
    const double u = a.x + 0.3 * (a.y - a.x), v = b.x + 0.6 * (b.y - b.x), h = 1e-5;
    for (int dir : {0, 1}) {
      IQorCurve* c = nullptr;
      s->isoCurve(dir, dir == 0 ? u : v, &c);
      if (s == n.get() && dir == 1) {  // the offset of a NURB curve is none
        EXPECT_EQ(c, nullptr);
        continue;
      }
      ASSERT_NE(c, nullptr);
      IPtr<IQorCurve> hold(c);
      for (double t : {0.0, 0.4, 1.0}) {
        const double pu = dir == 0 ? u : a.x + t * (a.y - a.x);
        const double pv = dir == 0 ? b.x + t * (b.y - b.x) : v;
        QorVector p;
        c->evaluatePoint(p, dir == 0 ? pv : pu);
        EXPECT_LT((p - at(s, pu, pv)).length(), 1e-12) << dir << " " << t;
      }
    }
    SurfaceRows rows;
    s->evaluate(u, v, 2, rows);
    auto du = [&](double uu, double vv) {
      return (at(s, uu + h, vv) - at(s, uu - h, vv)) * (1 / (2 * h));
    };
    auto dv = [&](double uu, double vv) {
      return (at(s, uu, vv + h) - at(s, uu, vv - h)) * (1 / (2 * h));
    };
    EXPECT_LT((rows[1][0] - du(u, v)).length(), 1e-8);
    EXPECT_LT((rows[1][1] - dv(u, v)).length(), 1e-8);
    EXPECT_LT((rows[2][0] - (du(u + h, v) - du(u - h, v)) * (1 / (2 * h))).length(), 1e-4);
    EXPECT_LT((rows[2][1] - (dv(u + h, v) - dv(u - h, v)) * (1 / (2 * h))).length(), 1e-4);
    EXPECT_LT((rows[2][2] - (dv(u, v + h) - dv(u, v - h)) * (1 / (2 * h))).length(), 1e-4);
  }
}

// A similarity (mirror included) moves the surface point by point and leaves the copy
// taken before; a shear is refused and changes nothing.
TEST(SweptSurfaces, SimilaritiesMoveShearsAreRefused) {
  auto e = extruded(arc({0, 0, 1}, 2, 0, 2).get(), {1, 0, 0}, {1, 0, 1}, 1, 4);
  auto r = revolved(line({1, 0, 0}, {2, 0, 1}).get(), {0, 1, 0}, {0, 1, 1}, {1, 0, 0}, 0.5, 2);
  auto d = drafted(arc({0, 0, 1}, 2, 0, 2).get(), 0.4, false);
  const QorMatrix m = QorMatrix::fromTranslation({1, -2, 3}) * QorMatrix::uniformScale(2) *
                      QorMatrix::mirror({0, 1, 0}) * QorMatrix::fromAxisAngle({1, 2, 3}, 0.7);
  QorMatrix shear = QorMatrix::identity();
  shear[1] = 0.5;
  for (IQorSurface* s : {e.get(), r.get(), d.get()}) {
    IQorSurface* copy = nullptr;
    s->workingCopy(&copy);
    IPtr<IQorSurface> hold(copy);
    const QorVector before = at(s, 0.3, 0.6);
    EXPECT_FALSE(s->transformSurface(shear));
    EXPECT_EQ(at(s, 0.3, 0.6), before);
    EXPECT_TRUE(s->transformSurface(m));
    QorVector moved;
    m.transformPoint(before, moved);
    EXPECT_LT((at(s, 0.3, 0.6) - moved).length(), 1e-12);
    EXPECT_EQ(at(copy, 0.3, 0.6), before);
  }
}

TEST(SweptSurfaces, RecordHasItsLayoutAndReadsBack) {
  auto poly = fetch<IQorPolyLine>("IQorPolyLine");
  IterStack<QorVector> points;
  points.push({0, 0, 0});
  points.push({1, 0, 0});
  poly->setPoints(points);
  auto e = extruded(as<IQorCurve>(poly.get(), "IQorCurve"), {1, 2, 3}, {0, 0, 1}, 0, 2);
  auto f64 = [](std::initializer_list<double> values) {
    Bytes b;
    for (double d : values) be(b, std::bit_cast<uint64_t>(d), 8);
    return b;
  };
  auto named = [](const std::u16string& s) {
    Bytes b;
    for (char16_t u : s) be(b, u, 2);
    return chunk(0x010005, 0, b);
  };
  auto record = [&](const char* k, const std::u16string& name, const Bytes& body) {
    Bytes b = hex(std::string("6B1E2A") + k + " 3C4D 4E5F 8011 2233 4455 66" + k);
    be(b, 1, 4);
    b = b + named(u"Name");
    be(b, 3, 4);  // a text entry
    return chunk(0x0B0002, 1, b + named(name) + body);
  };
  Bytes two;
  be(two, 2, 4);
  const Bytes pair01 = chunk(0x010009, 0, f64({0, 1}));
  const Bytes sketch = record(
      "0A", u"Polyline",
      two + pair01 + chunk(0x0D0C22, 0, f64({0, 0, 0, 1, 0, 0})) + chunk(0x0D0C21, 0, f64({0, 1})));
  const Bytes expected = record(
      "0E", u"ExtrudedSurface",
      chunk(0x010000, 0, f64({1, 2, 3})) + chunk(0x010000, 0, f64({0, 0, 1})) +
          chunk(0x010000, 0, f64({1, 0, 0})) + pair01 + pair01 + f64({0, 2}) + hex("01") + sketch);
  auto write = [](IQorUnknown* o) {
    return filed(0, [&](QorFileWrite& w) {
      EXPECT_TRUE(as<IQorPersistable>(o, "IQorPersistable")->write(&w));
    });
  };
  EXPECT_EQ(write(e.get()), expected);
  IPtr<RefFeatureHost> back(makeSweptHost(kExtrudedClassId));
  FileReader f(expected);
  ASSERT_TRUE(back->read(&f.r));
  EXPECT_EQ(write(back.get()), expected);
  EXPECT_EQ(at(as<IQorSurface>(back.get(), "IQorSurface"), 0.5, 0.5), QorVector(1.5, 2, 4));
  FileReader cut(Bytes(expected.begin(), expected.end() - 8));
  EXPECT_FALSE(back->read(&cut.r));
  // The drafted record adds the angle and the conic flag.
  auto d = drafted(arc({0, 0, 1}, 2, 0, 2).get(), -0.4, true);
  const Bytes bytes = write(d.get());
  IPtr<RefFeatureHost> other(makeSweptHost(kDraftedClassId));
  FileReader g(bytes);
  ASSERT_TRUE(other->read(&g.r));
  EXPECT_EQ(write(other.get()), bytes);
  EXPECT_EQ(at(as<IQorSurface>(other.get(), "IQorSurface"), 0.3, 0.6), at(d.get(), 0.3, 0.6));
}

}  // namespace
