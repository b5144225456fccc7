// The curve and surface hosts: stored records against hand-written bytes, the evaluation
// gate and its log, clamping, exact iso curves, the composite's parameterisation, clones,
// transforms and the curvature services.
#include "refhost/curvehosts.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <numbers>
#include <random>

#include "core/locator.h"
#include "persistence/qorfile.h"
#include "refhost/host.h"
#include "refhost/services.h"
#include "testkit.h"

namespace {

using namespace refhost;
using namespace testkit;

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
Bytes named(const std::u16string& s) {
  Bytes b;
  for (char16_t u : s) be(b, u, 2);
  return chunk(0x010005, 0, b);
}
// An object chunk of the family's class K holding the table {"Name": name} and `body`.
Bytes recordOf(const char* k, const std::u16string& name, const Bytes& body) {
  return chunk(0x0B0002, 1,
               hex(std::string("6B1E2A") + k + " 3C4D 4E5F 8011 2233 4455 66" + k) + i32(1) +
                   named(u"Name") + i32(3) + named(name) + body);
}
Bytes written(IQorUnknown* o) {
  return filed(0, [&](QorFileWrite& w) {
    EXPECT_TRUE(as<IQorPersistable>(o, "IQorPersistable")->write(&w));
  });
}
size_t errors() {
  size_t n = 0;
  for (auto& l : refhost::log().lines()) n += l.level == RecordingLog::kError;
  return n;
}
double dist(const QorVector& a, const QorVector& b) {
  return (a - b).length();
}
template <class T>
IterStack<T> stack(std::initializer_list<T> v) {
  IterStack<T> s;
  for (const T& x : v) s.push(x);
  return s;
}
QorVector at(IQorCurve* c, double t) {
  QorVector p;
  c->evaluatePoint(p, t);
  return p;
}

TEST(CurveHosts, RecordsHaveTheirLayoutReadOnlyWholeAndRoundTrip) {
  auto curve = fetch<IQorNurbCurve>("IQorNurbCurve");
  curve->initialize(true, 1, 2);
  curve->setControlPoint(0, {1, 2, 3}, 1);
  curve->setControlPoint(1, {4, 5, 6}, 2);
  auto surface = fetch<IQorNurbSurface>("IQorNurbSurface");
  surface->initialize(false, 1, 1, 2, 2);
  const QorVector net[4] = {{0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {1, 1, 1}};
  for (int i = 0; i < 4; ++i) surface->setControlPoint(i / 2, i % 2, net[i], 1);
  auto poly = fetch<IQorPolyLine>("IQorPolyLine");
  poly->setPointsAndKnots(stack<QorVector>({{0, 0, 0}, {1, 0, 0}}), stack<double>({0, 2}));
  auto flat = fetch<IQorPolyLine2D>("IQorPolyLine2D");
  flat->setPoints(stack<Vector2D>({{1, 2}, {3, 4}}));
  auto composite = fetch<IQorCompositeCurve>("IQorCompositeCurve");
  composite->addCurve(
      as<IQorCurve>(as<IQorFeature>(poly.get(), "IQorFeature")->clone(), "IQorCurve"));

  const Bytes pair01 = chunk(0x010009, 0, f64({0, 1})),
              knots0011 = chunk(0x0D0C21, 0, f64({0, 0, 1, 1}));
  const Bytes polyBytes =
      recordOf("0A", u"Polyline",
               i32(2) + chunk(0x010009, 0, f64({0, 2})) +
                   chunk(0x0D0C22, 0, f64({0, 0, 0, 1, 0, 0})) + chunk(0x0D0C21, 0, f64({0, 2})));
  const std::pair<IQorUnknown*, Bytes> cases[] = {
      {curve.get(),
       recordOf("08", u"NurbCurve",
                hex("01") + i32(1) + i32(2) + pair01 + knots0011 +
                    chunk(0x0D0C22, 0, f64({1, 2, 3, 4, 5, 6})) + chunk(0x0D0C23, 0, f64({1, 2})))},
      {surface.get(),
       recordOf("09", u"NurbSurface",
                hex("00") + i32(1) + i32(1) + i32(2) + i32(2) + pair01 + pair01 + knots0011 +
                    knots0011 + chunk(0x0D0C22, 0, f64({0, 0, 0, 0, 1, 0, 1, 0, 0, 1, 1, 1})) +
                    chunk(0x0D0C23, 0, f64({1, 1, 1, 1})))},
      {poly.get(), polyBytes},
      {flat.get(),
       recordOf("0B", u"Polyline2D", i32(2) + pair01 + chunk(0x0D0C24, 0, f64({1, 2, 3, 4})))},
      {composite.get(), recordOf("0C", u"CompositeCurve", pair01 + i32(1) + polyBytes)},
  };
  for (const auto& [host, bytes] : cases) {
    SCOPED_TRACE(host->className());
    EXPECT_EQ(written(host), bytes);
    // Read back by class id (as a document does), it writes the same bytes.
    std::string why;
    IPtr<RefFeatureHost> back(readFeatureRecord(bytes, &why));
    ASSERT_TRUE(back) << why;
    EXPECT_EQ(written(back.get()), bytes);
    // Every cut, and the record with 4 bytes more in its chunk, is refused and changes nothing.
    Bytes longer = bytes + Bytes(4, 0);
    longer[11] = static_cast<uint8_t>(longer[11] + 4);
    for (size_t n = 0; n <= bytes.size(); ++n) {
      IPtr<RefFeatureHost> other(makeCurveHost(back->classId()));
      const Bytes before = written(other.get());
      FileReader f(n < bytes.size() ? Bytes(bytes.begin(), bytes.begin() + n) : longer);
      EXPECT_FALSE(other->read(&f.r)) << n;
      EXPECT_EQ(written(other.get()), before) << n;
    }
  }
  // A count far beyond the record's length is refused before anything is allocated.
  Bytes huge = cases[0].second;
  huge[91] = 0x7f;  // the first byte of n: header, id, table, flag and degree come before
  EXPECT_FALSE(readFeatureRecord(huge, nullptr));
}

TEST(CurveHosts, TheGateAnswersNaNAndLogsOncePerFailingState) {
  auto curve = fetch<IQorNurbCurve>("IQorNurbCurve");
  auto* c = as<IQorCurve>(curve.get(), "IQorCurve");
  curve->initialize(true, 2, 3);
  for (int i = 0; i < 3; ++i) curve->setControlPoint(i, {double(i), double(i * i), 0}, 1);
  QorVector d[3];
  c->evaluate(0.5, 2, d);
  ASSERT_TRUE(std::isfinite(d[2].x));
  // Transient states on the way to another valid curve (weight 1, knot 3, knot 4): each
  // answers NaN and logs one line, however often it is asked.
  const double states[][3] = {{-1, 1, 1}, {NAN, 1, 1}, {2, 2, 1}, {2, 2, 2}};
  size_t expected = errors();
  for (const auto& state : states) {
    curve->setWeight(1, state[0]);
    curve->setKnot(3, state[1]);
    curve->setKnot(4, state[2]);
    ++expected;
    for (int k = 0; k < 3; ++k) {
      c->evaluate(0.25 * k, 2, d);
      EXPECT_TRUE(std::isnan(d[0].x) && std::isnan(d[1].y) && std::isnan(d[2].z));
      EXPECT_TRUE(std::isnan(at(c, 0.5).z) && std::isnan(c->length()));
    }
    EXPECT_EQ(errors(), expected);
  }
  EXPECT_EQ(
      refhost::log().lines().back().text.rfind("RefNurbCurveHost.evaluate: cannot evaluate (", 0),
      0u);
  curve->setKnot(5, 2);
  EXPECT_LT(dist(at(c, 3), {2, 4, 0}), 1e-12);  // past the domain (0, 2): clamped to the end
  EXPECT_EQ(errors(), expected);
  // Degree 30, far above what most kernels take, evaluates.
  curve->initialize(false, 30, 31);
  for (int i = 0; i < 31; ++i) curve->setControlPoint(i, {double(i), 0, 0}, 1);
  EXPECT_NEAR(at(c, 0.5).x, 15, 1e-9);
  EXPECT_EQ(errors(), expected);
}

TEST(CurveHosts, PolylinesAreLinearInKnotSpaceAndClampTheirWindow) {
  auto poly = fetch<IQorPolyLineV2>("IQorPolyLineV2");
  auto* c = as<IQorCurve>(poly.get(), "IQorCurve");
  poly->setPoints(stack<QorVector>({{0, 0, 0}, {2, 0, 0}, {2, 4, 0}}));
  EXPECT_EQ(c->range(1), 2);
  c->setRange(0, 2147483647.0);
  QorVector p, d[3];
  EXPECT_EQ(at(c, c->range(1)), QorVector(2, 4, 0));
  EXPECT_EQ(at(c, -7), QorVector(0, 0, 0));
  poly->setKnot(2, 0.5);  // the window follows the knots
  EXPECT_EQ(c->range(1), 2);
  c->evaluate(1.25, 2, d);
  EXPECT_EQ(d[0], QorVector(2, 2, 0));
  EXPECT_LT(dist(d[1], {0, 4 / 1.5, 0}), 1e-15);
  EXPECT_DOUBLE_EQ(c->length(), 6);
  poly->setKnot(3, 0.5);  // a zero interval: the last point, no derivative
  c->evaluate(9, 1, d);
  EXPECT_EQ(d[0], QorVector(2, 4, 0));
  EXPECT_EQ(d[1], QorVector());
  poly->setKnot(1, 3);  // not ordered: some point of the polyline, never a crash
  for (double t : {-1.0, 0.5, 1.0, 2.0, 4.0}) EXPECT_TRUE(std::isfinite(at(c, t).length())) << t;
  QorBounds b;
  as<IQorFeature>(poly.get(), "IQorFeature")->boundingBox(b);
  EXPECT_EQ(b.minimum(), QorVector(0, 0, 0));
  EXPECT_EQ(b.maximum(), QorVector(2, 4, 0));
  EXPECT_EQ(poly->point(4, p), QorVector());  // one-based, checked
  EXPECT_FALSE(c->isClosed());
  poly->setPoint(3, {0, 0, 0});
  EXPECT_TRUE(c->isClosed());
}

// A rational bicubic-by-quadratic net with uneven knots.
void randomSurface(IQorNurbSurface* s, std::mt19937& rng) {
  std::uniform_real_distribution<double> x(-2, 2), w(0.3, 3);
  s->initialize(true, 3, 2, 6, 5);
  const double u[] = {0, 0, 0, 0, 0.2, 0.7, 1, 1, 1, 1}, v[] = {-1, -1, -1, 0.5, 0.5, 2, 2, 2};
  s->setKnotsU(u);
  s->setKnotsV(v);
  for (int i = 0; i < 6; ++i)
    for (int j = 0; j < 5; ++j) s->setControlPoint(i, j, {x(rng), x(rng), x(rng)}, w(rng));
}

TEST(CurveHosts, IsoCurvesAreTheSurfaceAtEveryPoint) {
  std::mt19937 rng(7);
  auto s = fetch<IQorNurbSurface>("IQorNurbSurface");
  randomSurface(s.get(), rng);
  auto* surface = as<IQorSurface>(s.get(), "IQorSurface");
  Vector2D ur, vr;
  surface->parameterRange(ur, vr);
  EXPECT_EQ(ur, Vector2D(0, 1));
  EXPECT_EQ(vr, Vector2D(-1, 2));
  for (double held : {-1.0, 0.1, 0.5, 1.3, 2.0}) {
    IQorCurve* raw = nullptr;
    surface->isoCurve(1, held, &raw);
    IPtr<IQorCurve> alongU(raw);
    ASSERT_TRUE(alongU);
    EXPECT_EQ(alongU->range(1), 1);
    double a = (held + 1) / 3;  // the same place in u's domain
    surface->isoCurve(0, a, &raw);
    IPtr<IQorCurve> alongV(raw);
    for (int k = 0; k <= 20; ++k) {
      double u = k / 20.0, v = -1 + 3 * k / 20.0;
      SurfaceRows rows;
      QorVector c[2];
      surface->evaluate(u, held, 1, rows);
      alongU->evaluate(u, 1, c);
      EXPECT_LT(dist(c[0], rows[0][0]), 1e-12) << held << " " << u;
      EXPECT_LT(dist(c[1], rows[1][0]), 1e-9 * (1 + rows[1][0].length()));
      surface->evaluate(a, v, 1, rows);
      alongV->evaluate(v, 1, c);
      EXPECT_LT(dist(c[0], rows[0][0]), 1e-12) << a << " " << v;
      EXPECT_LT(dist(c[1], rows[1][1]), 1e-9 * (1 + rows[1][1].length()));
    }
  }
}

TEST(CurveHosts, SurfacesCloneMoveAndAnswerTheirRanges) {
  std::mt19937 rng(3);
  auto s = fetch<IQorNurbSurface>("IQorNurbSurface");
  randomSurface(s.get(), rng);
  auto* surface = as<IQorSurface>(s.get(), "IQorSurface");
  IQorSurface* raw = nullptr;
  surface->workingCopy(&raw);
  IPtr<IQorSurface> copy(raw);
  const QorMatrix m(2, 1, 0, 1, 0, 3, 0, -2, 1, 0, 1, 5, 0, 0, 0, 1);
  ASSERT_TRUE(copy->transformSurface(m));
  EXPECT_FALSE(copy->transformSurface(QorMatrix::scale(1, 0, 1)));
  EXPECT_FALSE(copy->transformSurface(QorMatrix(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0.5, 1)));
  for (double u : {0.0, 0.3, 1.0}) {
    QorVector p, q, n, moved;
    surface->evaluatePoint(p, u, 0.7, &n);
    copy->evaluatePoint(q, u, 0.7, nullptr);
    m.transformPoint(p, moved);
    EXPECT_LT(dist(q, moved), 1e-12);  // affine maps commute with the evaluation
    EXPECT_NEAR(n.length(), 1, 1e-12);
  }
  copy->setRanges({0.2, 0.4}, {0, 1});
  Vector2D ur, vr;
  copy->ranges(ur, vr);
  EXPECT_EQ(ur, Vector2D(0.2, 0.4));
  EXPECT_FALSE(surface->isClosedInU());
  for (int j = 0; j < 5; ++j) {
    QorVector p;
    s->setControlPoint(5, j, s->controlPoint(0, j, p), 1);
  }
  EXPECT_TRUE(surface->isClosedInU());
  EXPECT_FALSE(surface->isClosedInV());
}

// Two lines as an L: widths 1 and 3 share the composite's (0, 1) as 1 to 3.
TEST(CurveHosts, CompositesSplitTheirRangeByMemberWidths) {
  auto line = [](QorVector a, QorVector b, double r1) {
    IPtr<IQorLine> l = fetch<IQorLine>("IQorLine");
    double range[2] = {0, r1};
    l->initialize(a, b, range, 0);
    return IPtr<IQorCurve>(as<IQorCurve>(l.get(), "IQorCurve"));
  };
  auto k = fetch<IQorCompositeCurve>("IQorCompositeCurve");
  auto* c = as<IQorCurve>(k.get(), "IQorCurve");
  k->addCurve(line({0, 0, 0}, {1, 0, 0}, 1).get());
  k->addCurve(line({1, 0, 0}, {1, 3, 0}, 3).get());
  QorVector d[2], p;
  c->evaluate(0.125, 1, d);
  EXPECT_LT(dist(d[0], {0.5, 0, 0}), 1e-15);
  EXPECT_LT(dist(d[1], {4, 0, 0}), 1e-12);  // d/dt of the first line's (0, 1) over 1/4
  c->evaluatePoint(p, 0.25);                // the junction: the first member's end
  EXPECT_LT(dist(p, {1, 0, 0}), 1e-15);
  c->evaluate(0.625, 1, d);
  EXPECT_LT(dist(d[0], {1, 1.5, 0}), 1e-12);
  EXPECT_LT(dist(d[1], {0, 4, 0}), 1e-12);
  EXPECT_LT(dist(at(c, 5), {1, 3, 0}), 1e-15);  // clamped to the end
  EXPECT_DOUBLE_EQ(c->length(), 4);
  EXPECT_FALSE(c->isClosed());
  // Checked indices and no cycles.
  const size_t before = errors();
  EXPECT_EQ(k->curve(-1), nullptr);
  k->setCurve(99, line({}, {}, 1).get(), nullptr);
  k->addCurve(c);
  EXPECT_EQ(k->numCurves(), 2);
  EXPECT_EQ(errors(), before + 3);
  // A clone owns copies of the members; a transform moves the members.
  IPtr<IQorCurve> copy(
      as<IQorCurve>(as<IQorFeature>(k.get(), "IQorFeature")->clone(), "IQorCurve"));
  copy->transform(QorMatrix::scale(2, 2, 2));
  EXPECT_LT(dist(at(c, 1), {1, 3, 0}), 1e-15);
  EXPECT_LT(dist(at(copy.get(), 1), {2, 6, 0}), 1e-15);
  k->addCurve(line({1, 3, 0}, {0, 0, 0}, 1).get());
  EXPECT_TRUE(c->isClosed());
  QorBounds b;
  as<IQorFeature>(k.get(), "IQorFeature")->boundingBox(b);
  EXPECT_EQ(b.maximum(), QorVector(1, 3, 0));
}

TEST(CurveHosts, CurvesCloneDeepMoveAffinelyAndGiveTheirCurvature) {
  // A rational quarter of the unit circle.
  auto q = fetch<IQorNurbCurve>("IQorNurbCurve");
  q->initialize(true, 2, 3);
  q->setControlPoint(0, {1, 0, 0}, 1);
  q->setControlPoint(1, {1, 1, 0}, std::sqrt(0.5));
  q->setControlPoint(2, {0, 1, 0}, 1);
  auto* c = as<IQorCurve>(q.get(), "IQorCurve");
  auto util = fetch<IQorCurveUtil>("IQorCurveUtil");
  QorVector tangent, kn, p;
  double kappa = 0;
  for (double t : {0.0, 0.3, 1.0}) {
    util->curvature(c, t, tangent, kappa, kn);
    EXPECT_NEAR(kappa, 1, 1e-12);
    EXPECT_LT(dist(kn, -at(c, t)), 1e-12);  // towards the centre
  }
  EXPECT_NEAR(c->length(), std::numbers::pi / 2, 1e-12);
  // Bounds hold the curve and come close to it: y of this cubic reaches +-sqrt(3) / 2,
  // its poles +-3.
  auto wave = fetch<IQorNurbCurve>("IQorNurbCurve");
  wave->initialize(false, 3, 4);
  for (int i = 0; i < 4; ++i)
    wave->setControlPoint(i, {double(i), i % 3 ? 3.0 - 6 * (i - 1) : 0, 0}, 1);
  QorBounds b;
  as<IQorFeature>(wave.get(), "IQorFeature")->boundingBox(b);
  for (int k = 0; k <= 100; ++k)
    EXPECT_TRUE(b.contains(at(as<IQorCurve>(wave.get(), "IQorCurve"), k / 100.0)));
  EXPECT_LT(b.maxY, std::sqrt(3) / 2 * 1.01);
  IPtr<IQorCurve> copy(
      as<IQorCurve>(as<IQorFeature>(q.get(), "IQorFeature")->clone(), "IQorCurve"));
  const QorMatrix shear(1, 2, 0, 5, 0, 1, 0, 0, 0, 0, 3, 0, 0, 0, 0, 1);
  copy->transform(shear);
  for (double t : {0.0, 0.4, 0.9}) {
    QorVector moved;
    shear.transformPoint(at(c, t), moved);
    EXPECT_LT(dist(at(copy.get(), t), moved), 1e-12);
  }
  EXPECT_DOUBLE_EQ(as<IQorNurbCurve>(copy.get(), "IQorNurbCurve")->weight(1), std::sqrt(0.5));
  // A cylinder of radius 2 from the quarter swept along z: k_min -1/2 (against the outward
  // normal), k_max 0.
  auto s = fetch<IQorNurbSurface>("IQorNurbSurface");
  s->initialize(true, 2, 1, 3, 2);
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 2; ++j)
      s->setControlPoint(i, j, q->controlPoint(i, p) * 2 + QorVector(0, 0, j), q->weight(i));
  QorVector n, dMin, dMax;
  double kMin, gauss, kMax;
  fetch<IQorSurfaceUtil>("IQorSurfaceUtil")
      ->curvature(as<IQorSurface>(s.get(), "IQorSurface"), 0.3, 0.5, n, dMin, dMax, kMin, gauss,
                  kMax);
  EXPECT_NEAR(kMin, -0.5, 1e-12);
  EXPECT_NEAR(kMax, 0, 1e-12);
  EXPECT_NEAR(gauss, 0, 1e-12);
  EXPECT_NEAR(std::fabs(dMax.z), 1, 1e-12);
}

}  // namespace
