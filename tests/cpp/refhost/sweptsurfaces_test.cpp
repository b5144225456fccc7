// The extruded, drafted, rotational and sweep hosts: exact shapes (planes, cylinders, cones, a
// sphere) through points and principal curvatures, OpenCASCADE's surfaces over one B-spline,
// iso curves against the surface, derivatives against differences, moves by similarities
// only, copies and the stored records.
#include "refhost/sweptsurfaces.h"

#include <gtest/gtest.h>

#include <GeomLProp_SLProps.hxx>
#include <Geom_BSplineCurve.hxx>
#include <Geom_OffsetCurve.hxx>
#include <Geom_SurfaceOfLinearExtrusion.hxx>
#include <Geom_SurfaceOfRevolution.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColgp_Array1OfPnt.hxx>
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
IPtr<I> fetch(const char* name) {
  void* p = nullptr;
  getService(name, &p);
  return IPtr<I>(static_cast<I*>(p));
}
IPtr<IQorCurve> line(const QorVector& a, const QorVector& b) {
  auto l = fetch<IQorLine>("IQorLine");
  l->initialize(a, b, nullptr, 0);  // range (0, 1)
  return IPtr<IQorCurve>(qorQuery<IQorCurve>(l.get(), "IQorCurve"));
}
IPtr<IQorCurve> arc(const QorVector& normal, double r, double a0, double a1) {
  auto a = fetch<IQorArc>("IQorArc");
  a->initialize({0, 0, 0}, r, normal, {1, 0, 0}, a0, a1, nullptr, 0);  // range (0, 1)
  return IPtr<IQorCurve>(qorQuery<IQorCurve>(a.get(), "IQorCurve"));
}
QorVector at(IQorSurface* s, double u, double v) {
  QorVector p;
  s->evaluatePoint(p, u, v, nullptr);
  return p;
}
// The larger |k| of the two principal curvatures, and the Gaussian curvature.
void bends(IQorSurface* s, double u, double v, double& large, double& gauss) {
  QorVector n, d0, d1;
  double k0, k1;
  fetch<IQorSurfaceUtil>("IQorSurfaceUtil")->curvature(s, u, v, n, d0, d1, k0, gauss, k1);
  large = std::fmax(std::fabs(k0), std::fabs(k1));
}
// An extruded (I = IQorExtruded) or drafted host over `sketch`.
template <class I>
IPtr<IQorSurface> lifted(I* h, IQorCurve* sketch, const QorVector& origin, const QorVector& dir,
                         double h0, double h1) {
  h->setOrigin(origin);
  h->setDirection(dir);
  h->setSketch(sketch);
  h->setHeightFrom(h0);
  h->setHeightTo(h1);
  return IPtr<IQorSurface>(qorQuery<IQorSurface>(h, "IQorSurface"));
}
IPtr<IQorSurface> extruded(IQorCurve* sketch, const QorVector& origin, const QorVector& dir,
                           double h0, double h1) {
  return lifted(fetch<IQorExtruded>("IQorExtruded").get(), sketch, origin, dir, h0, h1);
}
IPtr<IQorSurface> drafted(IQorCurve* sketch, double angle, bool conic) {
  auto d = fetch<IQorDrafted>("IQorDrafted");
  d->setDraftAngle(angle);
  d->setIsConic(conic);
  return lifted(d.get(), sketch, {1, 0, 0}, {1, 0, 1}, 1, 4);
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
  return IPtr<IQorSurface>(qorQuery<IQorSurface>(r.get(), "IQorSurface"));
}
IPtr<IQorSurface> swept(IQorCurve* sketch, IQorCurve* spine, IQorCurve* ruler) {
  auto w = fetch<IQorSweep>("IQorSweep");
  w->setSketch(sketch);
  w->setSpine(spine);
  w->setRuler(ruler);
  return IPtr<IQorSurface>(qorQuery<IQorSurface>(w.get(), "IQorSurface"));
}
IPtr<IQorCurve> quadratic(const QorVector& a, const QorVector& b, const QorVector& c) {
  auto nurb = fetch<IQorNurbCurve>("IQorNurbCurve");
  nurb->initialize(false, 2, 3);
  nurb->setControlPoint(0, a, 1);
  nurb->setControlPoint(1, b, 1);
  nurb->setControlPoint(2, c, 1);
  return IPtr<IQorCurve>(qorQuery<IQorCurve>(nurb.get(), "IQorCurve"));
}

// A centred circle drafts to the same cone either way; a line to a tilted plane, or with no
// draft to the plane it extrudes to; an arc extrudes to a cylinder.
TEST(SweptSurfaces, ExtrusionsAndDraftsArePlanesCylindersAndCones) {
  auto circle = arc({0, 0, 1}, 1, 0, 2 * kPi);
  auto conic = drafted(circle.get(), 0.3, true), offset = drafted(circle.get(), 0.3, false);
  auto tilted = drafted(line({0, 0, 0}, {2, 0, 0}).get(), 0.3, false);
  auto plane = extruded(line({0, 0, 0}, {2, 0, 0}).get(), {1, 0, 0}, {1, 0, 1}, 1, 4);
  EXPECT_EQ(qorQuery<IQorExtruded>(tilted.get(), "IQorExtruded"), nullptr);
  QorMatrix f;
  qorQuery<IQorSwept>(tilted.get(), "IQorSwept")->frame(f);
  for (double u : {0.1, 0.6})
    for (double v : {0.0, 0.5, 1.0}) {
      const double h = 1 + 3 * v, t = std::tan(0.3);
      EXPECT_LT((at(conic.get(), u, v) - at(offset.get(), u, v)).length(), 1e-12);
      QorVector p, n;
      f.transformPoint(
          {std::cos(2 * kPi * u) * (1 + h * t), std::sin(2 * kPi * u) * (1 + h * t), h}, p);
      EXPECT_LT((at(conic.get(), u, v) - p).length(), 1e-12);
      f.transformPoint({2 * u, -h * t, h}, p);
      EXPECT_LT((at(tilted.get(), u, v) - p).length(), 1e-12);
      f.transformPoint({2 * u, 0, h}, p);
      EXPECT_LT((at(plane.get(), u, v) - p).length(), 1e-12);
      plane->evaluatePoint(p, u, v, &n);
      EXPECT_LT((n + QorVector(f[1], f[5], f[9])).length(), 1e-14);  // -y of the frame
    }
  auto cylinder = extruded(arc({0, 0, 1}, 2, 0, kPi).get(), {0, 0, 0}, {0, 1, 1}, -1, 1);
  double large, gauss;  // the smaller is 0 as the product is
  bends(cylinder.get(), 0.3, 0.6, large, gauss);
  EXPECT_NEAR(large, 0.5, 1e-12);
  EXPECT_NEAR(gauss, 0, 1e-12);
}

TEST(SweptSurfaces, RevolutionsAreExactCylindersConesAndSpheres) {
  const QorVector o(1, 2, 3), axis(1, 1, 0), radial(0, 0, 1);
  const QorVector z = axis * (1 / std::sqrt(2.0));
  struct Case {
    IPtr<IQorCurve> sketch;
    double gauss, large;                                            // large < 0: not checked
  } cases[] = {{line({1, 0, 0}, {1, 0, 2}), 0, 1},                  // cylinder of radius 1
               {line({-1, 0, 0}, {1, 0, 2}), 0, -1},                // cone, apex at z = 1
               {arc({0, 1, 0}, 2, -kPi / 2, kPi / 2), 0.25, 0.5}};  // sphere of radius 2
  for (int k = 0; k < 3; ++k) {
    auto s = revolved(cases[k].sketch.get(), o, axis, radial, 0, 2 * kPi);
    for (double u : {0.1, 0.5, 0.9})
      for (double v : {0.2, 0.7}) {
        QorVector p = at(s.get(), u, v), onSketch;
        cases[k].sketch->evaluatePoint(onSketch, v);
        EXPECT_NEAR(z.dot(p - o), onSketch.z, 1e-12);
        EXPECT_NEAR((p - o - z * z.dot(p - o)).length(), std::hypot(onSketch.x, onSketch.y), 1e-12);
        double large, gauss;
        bends(s.get(), u, v, large, gauss);
        EXPECT_NEAR(gauss, cases[k].gauss, 1e-9);
        EXPECT_TRUE(cases[k].large < 0 || std::fabs(large - cases[k].large) < 1e-9) << large;
      }
  }
  auto cone = revolved(cases[1].sketch.get(), o, axis, radial, 0, 1);
  auto* r = qorQuery<IQorRotational>(cone.get(), "IQorRotational");
  EXPECT_EQ(std::make_pair(r->heightFrom(), r->heightTo()), std::make_pair(0.0, 2.0));
}

// All kinds over non-default windows: iso curves run on the surface, the rows agree with
// central differences of the point, and only similarities move the surface.
TEST(SweptSurfaces, IsoCurvesDerivativesAndMovesFollowTheSurface) {
  auto e = extruded(arc({0, 0, 1}, 2, 0, 2).get(), {1, 0, 0}, {1, 0, 1}, 1, 4);
  auto r = revolved(arc({0, 1, 0}, 1, 0, 2).get(), {0, 1, 0}, {0, 1, 1}, {1, 0, 0}, 0.5, 2);
  auto d = drafted(arc({0, 0, 1}, 2, 0, 2).get(), 0.4, false);
  auto k = drafted(arc({0, 0, 1}, 2, 0, 2).get(), -0.4, true);
  auto n = drafted(quadratic({0, 0, 0}, {1, 0.5, 0}, {2, 2, 0}).get(), 0.4, false);
  auto w = swept(arc({0, 0, 1}, 0.5, 0, 2).get(), quadratic({0, 0, 0}, {1, 0, 2}, {3, 1, 2}).get(),
                 line({0, -2, 0}, {3, -1, 3}).get());
  const QorMatrix m = QorMatrix::fromTranslation({1, -2, 3}) * QorMatrix::uniformScale(2) *
                      QorMatrix::mirror({0, 1, 0}) * QorMatrix::fromAxisAngle({1, 2, 3}, 0.7);
  QorMatrix shear = QorMatrix::identity();
  shear[1] = 0.5;
  for (IQorSurface* s : {e.get(), r.get(), d.get(), k.get(), n.get(), w.get()}) {
    s->setRanges(s == r.get() ? Vector2D(-1, 3) : Vector2D(0, 1), s == r.get() ? Vector2D(0, 1)
                                                                  : s == w.get()
                                                                      ? Vector2D(0.9, 0.2)
                                                                      : Vector2D(2, 5));
    Vector2D a, b;
    s->parameterRange(a, b);
    const double u = a.x + 0.3 * (a.y - a.x), v = b.x + 0.6 * (b.y - b.x), h = 1e-5;
    for (int dir : {0, 1}) {
      IQorCurve* c = nullptr;
      s->isoCurve(dir, dir == 0 ? u : v, &c);
      ASSERT_NE(c, nullptr);
      // The offset of a NURB curve and the sweep's path are sampled; the rest is exact.
      const bool sampled = (s == n.get() && dir == 1) || (s == w.get() && dir == 0);
      IPtr<IQorCurve> hold(c);
      for (double t : {0.0, 0.4, 1.0}) {
        const double pu = dir == 0 ? u : a.x + t * (a.y - a.x),
                     pv = dir == 0 ? b.x + t * (b.y - b.x) : v;
        QorVector p;
        c->evaluatePoint(p, dir == 0 ? pv : pu);
        EXPECT_LT((p - at(s, pu, pv)).length(), sampled ? 1e-8 : 1e-12) << dir << " " << t;
      }
    }
    SurfaceRows rows;
    s->evaluate(u, v, 2, rows);
    // The central difference along (a, b) at (uu, vv).
    auto diff = [&](double uu, double vv, double a, double b) {
      return (at(s, uu + a, vv + b) - at(s, uu - a, vv - b)) * (1 / (2 * h));
    };
    auto mixed = [&](double a, double b, double c, double d) {
      return (diff(u + c, v + d, a, b) - diff(u - c, v - d, a, b)) * (1 / (2 * h));
    };
    EXPECT_LT((rows[1][0] - diff(u, v, h, 0)).length(), 1e-8);
    EXPECT_LT((rows[1][1] - diff(u, v, 0, h)).length(), 1e-8);
    EXPECT_LT((rows[2][0] - mixed(h, 0, h, 0)).length(), 1e-4);
    EXPECT_LT((rows[2][1] - mixed(0, h, h, 0)).length(), 1e-4);
    EXPECT_LT((rows[2][2] - mixed(0, h, 0, h)).length(), 1e-4);
    // A similarity (mirror included) moves the surface point by point and leaves the copy
    // taken before; a shear is refused and changes nothing.
    IQorSurface* copy = nullptr;
    s->workingCopy(&copy);
    IPtr<IQorSurface> hold(copy);
    const QorVector before = at(s, u, v);
    EXPECT_FALSE(s->transformSurface(shear));
    EXPECT_EQ(at(s, u, v), before);
    EXPECT_TRUE(s->transformSurface(m));
    QorVector moved;
    m.transformPoint(before, moved);
    EXPECT_LT((at(s, u, v) - moved).length(), 1e-12);
    EXPECT_EQ(at(copy, u, v), before);
  }
}

// A rational cubic over uneven knots in world coordinates: OpenCASCADE's curve, and the
// host's, moved into the frame of `s` and given to it as its sketch.
Handle(Geom_BSplineCurve) splineSketch(IQorSurface* s) {
  const QorVector poles[7] = {{2, 0, 0},   {2.5, 1, 0.5}, {1.5, 2, 1}, {0.5, 1.5, 1.5},
                              {1, 0.5, 2}, {2, 1, 2.5},   {3, 2, 3}};
  const double weights[7] = {1, 0.7, 1.4, 1, 0.6, 1.2, 1};
  const double knots[11] = {0, 0, 0, 0, 0.2, 0.5, 0.7, 1, 1, 1, 1};
  auto nurb = fetch<IQorNurbCurve>("IQorNurbCurve");
  nurb->initialize(true, 3, 7);
  nurb->setKnots(knots);
  TColgp_Array1OfPnt occPoles(1, 7);
  TColStd_Array1OfReal occWeights(1, 7), occKnots(1, 5);
  TColStd_Array1OfInteger mults(1, 5);
  for (int i = 0; i < 7; ++i) {
    nurb->setControlPoint(i, poles[i], weights[i]);
    occPoles(i + 1) = gp_Pnt(poles[i].x, poles[i].y, poles[i].z);
    occWeights(i + 1) = weights[i];
  }
  for (int i = 0; i < 5; ++i) occKnots(i + 1) = knots[i + 3], mults(i + 1) = i % 4 ? 1 : 4;
  auto* c = qorQuery<IQorCurve>(nurb.get(), "IQorCurve");
  QorMatrix f, back;
  qorQuery<IQorSwept>(s, "IQorSwept")->frame(f);
  EXPECT_TRUE(f.inverse(back));
  c->transform(back);
  if (auto* e = qorQuery<IQorExtruded>(s, "IQorExtruded")) e->setSketch(c);
  if (auto* d = qorQuery<IQorDrafted>(s, "IQorDrafted")) d->setSketch(c);
  if (auto* r = qorQuery<IQorRotational>(s, "IQorRotational")) r->setSketch(c);
  if (auto* w = qorQuery<IQorSweep>(s, "IQorSweep")) w->setSketch(c);
  return new Geom_BSplineCurve(occPoles, occWeights, occKnots, mults, 3);
}
double gap(const QorVector& a, const gp_XYZ& b) {
  return (a - QorVector(b.X(), b.Y(), b.Z())).length() / std::fmax(1.0, b.Modulus());
}

// The extruded and rotational hosts, and a sweep along a circle (a revolution of the sketch
// as carried to the spine's start), against OpenCASCADE's surfaces over the same world
// B-spline: points, first and second partials, normals and principal curvatures on a grid.
// The peer's (U, V) is (a + b x, c + d y), (x, y) = (u, v), or (v, u) for the sweep.
TEST(SweptSurfaces, AgreeWithOpenCascadeOverOneSpline) {
  const QorVector o(1, -2, 0.5), dir(0.3, -0.4, 1);
  const gp_Dir axis(dir.x, dir.y, dir.z);
  IPtr<IQorSurface> ours[3] = {
      extruded(nullptr, o, dir, -1, 2), revolved(nullptr, o, dir, {1, 1, 0}, 0.5, 2),
      swept(nullptr, arc({0, 0, 1}, 4, 0, 2 * kPi).get(), arc({0, 0, 1}, 5, 0, 2 * kPi).get())};
  Handle(Geom_Surface)
      peers[3] = {new Geom_SurfaceOfLinearExtrusion(splineSketch(ours[0].get()), axis),
                  new Geom_SurfaceOfRevolution(splineSketch(ours[1].get()),
                                               gp_Ax1(gp_Pnt(o.x, o.y, o.z), axis)),
                  new Geom_SurfaceOfRevolution(splineSketch(ours[2].get()), gp_Ax1())};
  const Vector2D windows[3][2] = {{{0, 1}, {2, 5}}, {{-1, 3}, {0, 1}}, {{0, 1}, {0, 1}}};
  const double maps[3][4] = {{0, 1, -3, 1}, {0.875, 0.375, 0, 1}, {0, 2 * kPi, 0, 1}};
  for (int k = 0; k < 3; ++k) {
    const Vector2D &wu = windows[k][0], &wv = windows[k][1];
    const double a = maps[k][0], b = maps[k][1], c = maps[k][2], d = maps[k][3];
    ours[k]->setRanges(wu, wv);
    for (double fu : {0.05, 0.4, 0.75, 1.0})
      for (double fv : {0.0, 0.3, 0.65, 0.95}) {
        const double u = wu.x + fu * (wu.y - wu.x), v = wv.x + fv * (wv.y - wv.x);
        const double x = a + b * (k == 2 ? v : u), y = c + d * (k == 2 ? u : v);
        gp_Pnt p;
        gp_Vec dx, dy, dxx, dyy, dxy;
        peers[k]->D2(x, y, p, dx, dy, dxx, dyy, dxy);
        dx *= b, dy *= d, dxx *= b * b, dyy *= d * d, dxy *= b * d;
        if (k == 2) std::swap(dx, dy), std::swap(dxx, dyy);
        SurfaceRows rows;
        ours[k]->evaluate(u, v, 2, rows);
        const gp_XYZ expect[6] = {p.XYZ(), dx.XYZ(), dy.XYZ(), dxx.XYZ(), dxy.XYZ(), dyy.XYZ()};
        const QorVector got[6] = {rows[0][0], rows[1][0], rows[1][1],
                                  rows[2][0], rows[2][1], rows[2][2]};
        for (int i = 0; i < 6; ++i) EXPECT_LT(gap(got[i], expect[i]), 1e-12) << k << i << u << v;
        GeomLProp_SLProps props(peers[k], x, y, 2, 1e-12);
        ASSERT_TRUE(props.IsNormalDefined() && props.IsCurvatureDefined());
        QorVector n, d0, d1;
        double k0, gauss, k1;
        fetch<IQorSurfaceUtil>("IQorSurfaceUtil")
            ->curvature(ours[k].get(), u, v, n, d0, d1, k0, gauss, k1);
        // A turned-over normal turns the signs of the curvatures and their order.
        const double side = gap(n, props.Normal().XYZ()) < 1e-9 ? 1 : -1;
        EXPECT_LT(gap(n * side, props.Normal().XYZ()), 1e-9);
        EXPECT_NEAR(side > 0 ? k0 : -k1, props.MinCurvature(), 1e-9);
        EXPECT_NEAR(side > 0 ? k1 : -k0, props.MaxCurvature(), 1e-9);
        EXPECT_NEAR(gauss, props.GaussianCurvature(), 1e-9);
      }
  }
  // The drafted section of the spline is sampled: it follows OpenCASCADE's offset of the world
  // sketch lifted to the section's height (h = 1 + 3 v) within the stated tolerance.
  auto drafts = drafted(nullptr, 0.35, false);
  Handle(Geom_Curve) world = splineSketch(drafts.get());
  QorMatrix f;
  qorQuery<IQorSwept>(drafts.get(), "IQorSwept")->frame(f);
  const gp_Vec z(f[2], f[6], f[10]);
  for (double v : {0.0, 0.6}) {
    Geom_OffsetCurve peer(Handle(Geom_Curve)::DownCast(world->Translated(z * (1 + 3 * v))),
                          (1 + 3 * v) * std::tan(0.35), gp_Dir(z));
    IQorCurve* c = nullptr;
    drafts->isoCurve(1, v, &c);
    IPtr<IQorCurve> hold(c);
    ASSERT_NE(qorQuery<IQorNurbCurve>(c, "IQorNurbCurve"), nullptr);
    for (int i = 0; i <= 40; ++i) {
      QorVector p;
      c->evaluatePoint(p, i / 40.0);
      EXPECT_LT(gap(p, peer.Value(i / 40.0).XYZ()), 1e-8) << v << " " << i;
    }
  }
}

TEST(SweptSurfaces, RecordHasItsLayoutAndReadsBack) {
  auto f64 = [](std::initializer_list<double> values) {
    Bytes b;
    for (double d : values) be(b, std::bit_cast<uint64_t>(d), 8);
    return b;
  };
  // The class id, one table entry "Name": a text (3), "ExtrudedSurface" in UTF-16; the body.
  const Bytes
      pair01 = chunk(0x010009, 0, f64({0, 1})),
      name =
          chunk(0x010005, 0,
                hex("0045 0078 0074 0072 0075 0064 0065 0064 0053 0075 0072 0066 0061 0063 0065"));
  const Bytes expected =
      chunk(0x0B0002, 1,
            hex("6B1E2A0E 3C4D 4E5F 8011 2233 4455 660E 00000001") +
                chunk(0x010005, 0, hex("004E 0061 006D 0065")) + hex("00000003") + name +
                chunk(0x010000, 0, f64({1, 2, 3})) + chunk(0x010000, 0, f64({0, 0, 1})) +
                chunk(0x010000, 0, f64({1, 0, 0})) + pair01 + pair01 + f64({0, 2}) + hex("00"));
  auto write = [](IQorUnknown* o) {
    return filed(0, [&](QorFileWrite& w) {
      EXPECT_TRUE(qorQuery<IQorPersistable>(o, "IQorPersistable")->write(&w));
    });
  };
  EXPECT_EQ(write(extruded(nullptr, {1, 2, 3}, {0, 0, 1}, 0, 2).get()), expected);
  IPtr<RefFeatureHost> back(makeSweptHost(kExtrudedClassId));
  FileReader f(expected);
  ASSERT_TRUE(back->read(&f.r));
  EXPECT_EQ(write(back.get()), expected);
  // The drafted record adds the angle and the conic flag; the sketch's own record follows.
  auto d = drafted(arc({0, 0, 1}, 2, 0, 2).get(), -0.4, true);
  IPtr<RefFeatureHost> other(makeSweptHost(kDraftedClassId));
  FileReader g(write(d.get()));
  ASSERT_TRUE(other->read(&g.r));
  EXPECT_EQ(write(other.get()), write(d.get()));
  EXPECT_EQ(at(qorQuery<IQorSurface>(other.get(), "IQorSurface"), 0.3, 0.6), at(d.get(), 0.3, 0.6));
  // The sweep: the windows, then no sketch, no spine, no ruler. A full one reads back whole.
  const Bytes sweepName =
      chunk(0x010005, 0, hex("0053 0077 0065 0065 0070 0053 0075 0072 0066 0061 0063 0065"));
  const Bytes empty =
      chunk(0x0B0002, 1,
            hex("6B1E2A11 3C4D 4E5F 8011 2233 4455 6611 00000001") +
                chunk(0x010005, 0, hex("004E 0061 006D 0065")) + hex("00000003") + sweepName +
                pair01 + chunk(0x010009, 0, f64({0.25, 1})) + hex("00 00 00"));
  auto blank = fetch<IQorSweep>("IQorSweep");
  qorQuery<IQorSurface>(blank.get(), "IQorSurface")->setVRange(0.25, 1);
  EXPECT_EQ(write(blank.get()), empty);
  auto full = fetch<IQorSweep>("IQorSweep");
  full->setSpine(arc({0, 1, 0}, 2, 0, 1).get());
  full->setRuler(line({0, -2, 0}, {3, -1, 3}).get());
  full->setArcProfileRadius(0.5);
  const Bytes circle = write(full.get());
  full->setArcProfileRadius(-1);  // refused: nothing changes
  EXPECT_EQ(write(full.get()), circle);
  for (const Bytes& bytes : {empty, circle}) {
    IPtr<RefFeatureHost> h(makeSweptHost(kSweepClassId));
    FileReader g(bytes);
    ASSERT_TRUE(h->read(&g.r));
    EXPECT_EQ(write(h.get()), bytes);
  }
}

}  // namespace
