// The NURBS evaluator against closed forms (worked basis values, circles, a bilinear patch,
// cylinder, sphere and torus curvatures, lengths), a brute-force span search, the gate's
// reasons, the clamped knot rule to the bit, and OpenCASCADE's flat-array evaluators on
// random valid curves and surfaces.
#include "refhost/nurbsmath.h"

#include <gtest/gtest.h>

#include <BSplCLib.hxx>
#include <BSplSLib.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColStd_Array2OfReal.hxx>
#include <TColgp_Array1OfPnt.hxx>
#include <TColgp_Array2OfPnt.hxx>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace refhost::nurbs;
const double kHalfRoot = std::sqrt(0.5);
const double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Curve {
  int32_t p = 0;
  std::vector<double> U, W;
  std::vector<QorVector> P;
  bool rational = true;
  CurveView view() const {
    return {p, static_cast<int32_t>(P.size()), U.data(), P.data(), W.data(), rational};
  }
};

struct Surface {
  int32_t p = 0, q = 0, nu = 0, nv = 0;
  std::vector<double> U, V, W;
  std::vector<QorVector> P;
  bool rational = true;
  SurfaceView view() const {
    return {p, q, nu, nv, U.data(), V.data(), P.data(), W.data(), rational};
  }
};

// The quarter arc of radius r about c in the plane of x and y, from angle 0 to pi / 2.
const std::vector<QorVector> kQuarter = {{1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
const std::vector<double> kQuarterW = {1, kHalfRoot, 1}, kBezier2 = {0, 0, 0, 1, 1, 1};

Curve fullCircle() {
  Curve c{2, {0, 0, 0, 0.25, 0.25, 0.5, 0.5, 0.75, 0.75, 1, 1, 1}, {}, {}};
  const double xy[9][2] = {{1, 0},   {1, 1},  {0, 1},  {-1, 1}, {-1, 0},
                           {-1, -1}, {0, -1}, {1, -1}, {1, 0}};
  for (int i = 0; i < 9; ++i) {
    c.P.emplace_back(xy[i][0], xy[i][1], 0);
    c.W.push_back(i % 2 ? kHalfRoot : 1);
  }
  return c;
}

// The surface of revolution about z of a planar profile given as (radius, height) poles.
Surface revolve(const std::vector<QorVector>& profile, const std::vector<double>& w,
                const std::vector<double>& knots, int32_t degree) {
  Surface s{2, degree, 3, static_cast<int32_t>(profile.size()), kBezier2, knots, {}, {}};
  for (int i = 0; i < 3; ++i)
    for (size_t j = 0; j < profile.size(); ++j) {
      s.P.emplace_back(kQuarter[i].x * profile[j].x, kQuarter[i].y * profile[j].x, profile[j].y);
      s.W.push_back(kQuarterW[i] * w[j]);
    }
  return s;
}

TEST(NurbsBasis, WorkedValuesAndDerivatives) {
  struct Case {
    std::vector<double> U;
    int32_t p;
    double t;
    int32_t span;
    std::vector<double> N, dN;
  };
  const Case cases[] = {
      {{0, 0, 0, 1, 2, 3, 4, 4, 5, 5, 5}, 2, 2.5, 4, {1 / 8., 6 / 8., 1 / 8.}, {-0.5, 0, 0.5}},
      {{0, 0, 0, 0, 1, 1, 1, 1},
       3,
       0.5,
       3,
       {1 / 8., 3 / 8., 3 / 8., 1 / 8.},
       {-0.75, -0.75, 0.75, 0.75}},
      {{0, 0, 1, 1}, 1, 0.25, 1, {0.75, 0.25}, {-1, 1}},
  };
  for (const Case& c : cases) {
    const int32_t n = static_cast<int32_t>(c.U.size()) - c.p - 1;
    ASSERT_EQ(findSpan(n, c.p, c.t, c.U.data()), c.span);
    std::vector<double> N(c.p + 1), D(3 * (c.p + 1));
    basisFuns(c.span, c.t, c.p, c.U.data(), N.data());
    dersBasisFuns(c.span, c.t, c.p, 2, c.U.data(), D.data());
    for (int32_t j = 0; j <= c.p; ++j) {
      EXPECT_DOUBLE_EQ(N[j], c.N[j]) << j;
      EXPECT_EQ(D[j], N[j]) << j;
      EXPECT_DOUBLE_EQ(D[c.p + 1 + j], c.dN[j]) << j;
    }
    if (c.p == 1) {
      EXPECT_EQ(D[4], 0.0);  // above the degree
    }
  }
}

TEST(NurbsBasis, SpanSearchMatchesALinearScan) {
  // Ends, repeated knots, clamping, and random knots (the guess misses, the search runs).
  const std::vector<double> U = {0, 0, 0, 1, 2, 2, 3, 4, 4, 4};  // n = 7, p = 2
  const std::pair<double, int32_t> fixed[] = {{0, 2},     {-5, 2}, {1, 3}, {2, 5},
                                              {1.999, 3}, {4, 6},  {9, 6}, {3.5, 6}};
  for (auto [t, span] : fixed) EXPECT_EQ(findSpan(7, 2, t, U.data()), span) << t;
  const std::vector<double> openEnds = {0, 0, 0, 1, 1, 1, 1};  // last knot repeated past p + 1
  EXPECT_EQ(findSpan(4, 2, 1, openEnds.data()), 2);
  const int32_t span = findSpan(7, 2, kNaN, U.data());
  EXPECT_TRUE(span >= 2 && span <= 6);
  std::mt19937_64 rng(7);
  std::uniform_real_distribution<double> unit(0, 1);
  std::vector<double> K = {0, 0, 0};
  for (int i = 0; i < 300; ++i) K.push_back(K.back() + (i % 7 == 0 ? 0 : unit(rng) * unit(rng)));
  K.insert(K.end(), {K.back() + 1, K.back() + 1, K.back() + 1});
  const int32_t n = static_cast<int32_t>(K.size()) - 3;
  for (int k = 0; k < 2000; ++k) {
    const double t = K[2] + unit(rng) * (K[n] - K[2]);
    int32_t expect = 2;
    while (K[expect + 1] <= t) ++expect;
    ASSERT_EQ(findSpan(n, 2, t, K.data()), expect) << t;
  }
}

TEST(NurbsCurves, CirclesHaveUnitRadiusCurvatureAndLength) {
  const Curve quarter{2, kBezier2, kQuarterW, kQuarter}, full = fullCircle();
  for (const Curve* c : {&quarter, &full}) {
    ASSERT_EQ(curveGate(c->view()), nullptr);
    for (int i = 0; i <= 40; ++i) {
      QorVector d[4], tangent, kn;
      double kappa = 0;
      curveDerivs(c->view(), i / 40.0, 3, d);
      EXPECT_NEAR(curvePoint(c->view(), i / 40.0).length(), 1, 1e-15);
      EXPECT_EQ(curvePoint(c->view(), i / 40.0), d[0]);
      curveCurvature(d[1], d[2], tangent, kappa, kn);
      EXPECT_NEAR(kappa, 1, 1e-13) << i;
      EXPECT_NEAR((kn + d[0]).length(), 0, 1e-13) << i;  // towards the centre
      EXPECT_NEAR(tangent.dot(d[0]), 0, 1e-15);
      EXPECT_NEAR(tangent.length(), 1, 1e-15);
    }
  }
  const double pi = std::numbers::pi;
  EXPECT_NEAR(curveLength(full.view(), 0, 1), 2 * pi, 1e-13);
  EXPECT_NEAR(curveLength(full.view(), 0.625, 0.375), pi / 2, 1e-13);  // swapped ends
  EXPECT_NEAR(curveLength(full.view(), -3, 0.25), pi / 2, 1e-13);      // clamped
  EXPECT_NEAR(curveLength(quarter.view(), 0, 1), pi / 2, 1e-13);
  // Outside the domain, the ends; NaN stays NaN.
  EXPECT_EQ(curvePoint(full.view(), 7), curvePoint(full.view(), 1));
  EXPECT_TRUE(std::isnan(curvePoint(full.view(), kNaN).x));
  QorVector t, kn;
  double kappa = 1;
  curveCurvature(QorVector(), QorVector(1, 0, 0), t, kappa, kn);
  EXPECT_EQ(kappa, 0.0);
  EXPECT_EQ(kn, QorVector());
}

TEST(NurbsCurves, HighDegreesReproduceALine) {
  // Poles evenly along a line give C(t) = t at every degree (linear precision); degrees
  // above kMaxFastDegree take the heap.
  for (int32_t p : {4, 9, kMaxFastDegree, kMaxFastDegree + 1, 24}) {
    Curve c{p, std::vector<double>(p + 1, 0.0), {}, {}};
    c.U.insert(c.U.end(), p + 1, 1.0);
    for (int32_t i = 0; i <= p; ++i) {
      c.P.emplace_back(double(i) / p, 1, 0);
      c.W.push_back(2.5);
    }
    Surface s{p, 2, p + 1, 3, c.U, kBezier2, std::vector<double>(3 * (p + 1), 1.0), {}};
    for (const QorVector& pole : c.P)
      for (int j = 0; j < 3; ++j) s.P.push_back(pole + QorVector(0, 0, j));
    for (double t : {0.0, 0.3, 0.71, 1.0}) {
      QorVector d[4], rows[3][3];
      curveDerivs(c.view(), t, 3, d);
      EXPECT_NEAR((d[0] - QorVector(t, 1, 0)).length(), 0, 1e-14) << p;
      EXPECT_NEAR((d[1] - QorVector(1, 0, 0)).length(), 0, 1e-11) << p;
      EXPECT_NEAR(d[2].length() + d[3].length(), 0, 1e-8) << p;
      surfaceDerivs(s.view(), t, 0.5, 2, rows);
      EXPECT_NEAR((rows[0][0] - QorVector(t, 1, 1)).length(), 0, 1e-14) << p;
      EXPECT_NEAR((rows[1][0] - QorVector(1, 0, 0)).length(), 0, 1e-11) << p;
      EXPECT_NEAR((rows[1][1] - QorVector(0, 0, 2)).length(), 0, 1e-14) << p;
      std::vector<double> N(p + 1), D(2 * (p + 1));
      basisFuns(p, t, p, c.U.data(), N.data());
      dersBasisFuns(p, t, p, 1, c.U.data(), D.data());
      double sum = 0, dsum = 0;
      for (int32_t j = 0; j <= p; ++j) sum += N[j], dsum += D[p + 1 + j];
      EXPECT_NEAR(sum, 1, 1e-14);
      EXPECT_NEAR(dsum, 0, 1e-11);
    }
  }
}

TEST(NurbsSurfaces, BilinearPatchPartials) {
  const QorVector a(0, 0, 0), b(2, 0, 1), c(0, 3, 0), d(2, 3, 5);  // poles (u, v)
  const Surface s{1, 1, 2, 2, {0, 0, 1, 1}, {0, 0, 1, 1}, {}, {a, c, b, d}, false};
  for (double u : {0.0, 0.3, 1.0})
    for (double v : {0.0, 0.6, 1.0}) {
      QorVector rows[3][3];
      surfaceDerivs(s.view(), u, v, 2, rows);
      const QorVector expect =
          a * ((1 - u) * (1 - v)) + b * (u * (1 - v)) + c * ((1 - u) * v) + d * (u * v);
      EXPECT_NEAR((rows[0][0] - expect).length(), 0, 1e-15);
      EXPECT_NEAR((surfacePoint(s.view(), u, v) - expect).length(), 0, 1e-15);
      EXPECT_NEAR((rows[1][0] - ((b - a) * (1 - v) + (d - c) * v)).length(), 0, 1e-15);
      EXPECT_NEAR((rows[1][1] - ((c - a) * (1 - u) + (d - b) * u)).length(), 0, 1e-15);
      EXPECT_EQ(rows[2][0], QorVector());
      EXPECT_EQ(rows[2][1], d - b - c + a);
      EXPECT_EQ(rows[2][2], QorVector());
    }
}

TEST(NurbsSurfaces, PrincipalCurvaturesOfCylinderSphereAndTorus) {
  const double r = 2, R = 5;
  // Cylinder: the quarter arc swept along z; sphere and torus: revolved quarter arcs.
  Surface cylinder{2, 1, 3, 2, kBezier2, {0, 0, 1, 1}, {}, {}};
  for (int i = 0; i < 3; ++i)
    for (double z : {0.0, 4.0}) {
      cylinder.P.push_back(kQuarter[i] * r + QorVector(0, 0, z));
      cylinder.W.push_back(kQuarterW[i]);
    }
  const Surface sphere = revolve({{r, 0, 0}, {r, r, 0}, {0, r, 0}}, kQuarterW, kBezier2, 2);
  const Surface torus = revolve({{R + r, 0, 0}, {R + r, r, 0}, {R, r, 0}}, kQuarterW, kBezier2, 2);
  struct Case {
    const Surface* s;
    double v, k1, k2;  // magnitudes, |k1| <= |k2|; the sign follows the normal
  };
  const Case cases[] = {
      {&cylinder, 0.3, 0, 1 / r}, {&sphere, 0.4, 1 / r, 1 / r}, {&torus, 0.0, 1 / (R + r), 1 / r}};
  for (const Case& c : cases) {
    ASSERT_EQ(surfaceGate(c.s->view()), nullptr);
    for (double u : {0.0, 0.2, 0.7, 1.0}) {
      QorVector rows[3][3], n, dMin, dMax;
      double kMin, K, kMax;
      surfaceDerivs(c.s->view(), u, c.v, 2, rows);
      principalCurvatures(rows[1][0], rows[1][1], rows[2][0], rows[2][1], rows[2][2], n, dMin, dMax,
                          kMin, K, kMax);
      const QorVector p = rows[0][0];
      const QorVector out = c.s == &cylinder ? QorVector(p.x, p.y, 0) : p;  // outward-ish
      const double sign = n.dot(out) > 0 ? -1 : 1;  // bending away from an outward normal
      EXPECT_NEAR(n.length(), 1, 1e-15);
      EXPECT_NEAR(n.dot(rows[1][0]), 0, 1e-14);
      EXPECT_NEAR(sign > 0 ? kMin : kMax, sign * c.k1, 1e-13) << u;
      EXPECT_NEAR(sign > 0 ? kMax : kMin, sign * c.k2, 1e-13) << u;
      EXPECT_LE(kMin, kMax);
      EXPECT_EQ(K, kMin * kMax);
      EXPECT_NEAR(dMin.dot(dMax), 0, 1e-14);
      EXPECT_NEAR(dMin.dot(n), 0, 1e-14);
      EXPECT_NEAR(dMax.length(), 1, 1e-14);
      if (c.s == &cylinder) {
        EXPECT_NEAR(std::abs((sign > 0 ? dMin : dMax).z), 1, 1e-13);
      }
    }
  }
  QorVector n, dMin, dMax, x(1, 0, 0);
  double kMin = 1, K = 1, kMax = 1;
  principalCurvatures(x, x * 2, x, x, x, n, dMin, dMax, kMin, K, kMax);  // degenerate
  EXPECT_EQ(n, QorVector());
  EXPECT_EQ(kMin + K + kMax, 0.0);
}

TEST(NurbsGate, NamesEachReason) {
  const Curve good{2, kBezier2, kQuarterW, kQuarter};
  struct Case {
    const char* why;
    void (*spoil)(Curve&);
  };
  const Case cases[] = {
      {nullptr, [](Curve&) {}},
      {nullptr, [](Curve& c) { c.rational = false, c.W[1] = 0; }},
      {"degree below 1", [](Curve& c) { c.p = 0, c.U.pop_back(), c.U.pop_back(); }},
      {"no more poles than the degree", [](Curve& c) { c.p = 3, c.U.push_back(1); }},
      {"a knot is not finite", [](Curve& c) { c.U[5] = kNaN; }},
      {"knots decrease", [](Curve& c) { c.U[1] = 0.5; }},
      {"empty knot domain", [](Curve& c) { c.U = {0, 0, 0, 0, 0, 0}; }},
      {"a pole is not finite", [](Curve& c) { c.P[1].y = INFINITY; }},
      {"a weight is not above 0", [](Curve& c) { c.W[1] = 0; }},
      {"a weight is not above 0", [](Curve& c) { c.W[2] = -1; }},
      {"a weight is not finite", [](Curve& c) { c.W[0] = kNaN; }},
  };
  for (const Case& c : cases) {
    Curve spoilt = good;
    c.spoil(spoilt);
    const char* why = curveGate(spoilt.view());
    EXPECT_EQ(std::string(why ? why : "null"), std::string(c.why ? c.why : "null"));
  }
  Surface s = revolve(kQuarter, kQuarterW, kBezier2, 2);
  EXPECT_EQ(surfaceGate(s.view()), nullptr);
  s.V[4] = -1;
  EXPECT_STREQ(surfaceGate(s.view()), "knots decrease");
  s.V[4] = 1, s.W[4] = 0;
  EXPECT_STREQ(surfaceGate(s.view()), "a weight is not above 0");
}

TEST(NurbsKnots, ClampedUniformByTheReciprocal) {
  // The rule multiplies by 1 / (n - p); dividing would differ in 769 of these entries.
  int differ = 0;
  for (int32_t p = 1; p <= 5; ++p)
    for (int32_t n = p + 1; n <= 45; ++n) {
      std::vector<double> k(n + p + 1, -1);
      clampedUniformKnots(n, p, k.data());
      for (int32_t i = 0; i <= n + p; ++i) {
        const double expect = i <= p ? 0.0 : i >= n ? 1.0 : (i - p) * (1.0 / (n - p));
        ASSERT_EQ(std::bit_cast<uint64_t>(k[i]), std::bit_cast<uint64_t>(expect)) << n << p;
        differ += i > p && i < n && k[i] != double(i - p) / (n - p);
      }
    }
  EXPECT_EQ(differ, 769);
  double k[13];
  clampedUniformKnots(6, 1, k);
  EXPECT_EQ(k[4], 0.6000000000000001);
  clampedUniformKnots(11, 1, k);
  EXPECT_EQ(k[4], 0.30000000000000004);
}

// ---- against OpenCASCADE on random records ----

std::vector<double> randomKnots(std::mt19937_64& rng, int32_t n, int32_t p) {
  std::uniform_real_distribution<double> unit(0, 1);
  std::vector<double> U(p + 1, -0.5);
  while (static_cast<int32_t>(U.size()) < n) {
    const double next = U.back() + 0.1 + unit(rng);
    for (int m = 1 + (unit(rng) < 0.3) * (p - 1); m > 0 && int32_t(U.size()) < n; --m)
      U.push_back(next);
  }
  U.insert(U.end(), p + 1, U.back() + 0.1 + unit(rng));
  return U;
}

double gap(const QorVector& a, const gp_XYZ& b) {
  const double scale = std::max(1.0, b.Modulus());
  return (a - QorVector(b.X(), b.Y(), b.Z())).length() / scale;
}

TEST(NurbsAgainstOpenCascade, RandomCurvesAndSurfaces) {
  std::mt19937_64 rng(11);
  std::uniform_real_distribution<double> coord(-3, 3), weight(0.3, 3);
  for (int round = 0; round < 60; ++round) {
    const int32_t p = 1 + round % 5, n = p + 1 + round % 7;
    const bool rational = round % 2;
    Curve c{p, randomKnots(rng, n, p), {}, {}, rational};
    TColgp_Array1OfPnt poles(1, n);
    TColStd_Array1OfReal weights(1, n), knots(1, n + p + 1);
    for (int32_t i = 0; i < n; ++i) {
      c.P.emplace_back(coord(rng), coord(rng), coord(rng));
      c.W.push_back(rational ? weight(rng) : 1);
      poles(i + 1) = gp_Pnt(c.P[i].x, c.P[i].y, c.P[i].z);
      weights(i + 1) = c.W[i];
    }
    for (int32_t i = 0; i <= n + p; ++i) knots(i + 1) = c.U[i];
    ASSERT_EQ(curveGate(c.view()), nullptr);
    for (int k = 0; k < 20; ++k) {
      const double t = c.U[p] + (c.U[n] - c.U[p]) * (k / 19.0);
      gp_Pnt P;
      gp_Vec D1, D2;
      BSplCLib::D2(t, 0, p, false, poles, rational ? &weights : nullptr, knots, nullptr, P, D1, D2);
      QorVector d[3];
      curveDerivs(c.view(), t, 2, d);
      EXPECT_LE(gap(d[0], P.XYZ()), 1e-12) << round << " " << t;
      EXPECT_LE(gap(d[1], D1.XYZ()), 1e-12) << round << " " << t;
      EXPECT_LE(gap(d[2], D2.XYZ()), 1e-12) << round << " " << t;
    }
    const int32_t q = 1 + (round / 5) % 5, nv = q + 1 + round % 4;
    Surface s{p, q, n, nv, c.U, randomKnots(rng, nv, q), {}, {}, rational};
    TColgp_Array2OfPnt net(1, n, 1, nv);
    TColStd_Array2OfReal netW(1, n, 1, nv);
    TColStd_Array1OfReal knotsV(1, nv + q + 1);
    for (int32_t i = 0; i <= nv + q; ++i) knotsV(i + 1) = s.V[i];
    for (int32_t i = 0; i < n; ++i)
      for (int32_t j = 0; j < nv; ++j) {
        s.P.emplace_back(coord(rng), coord(rng), coord(rng));
        s.W.push_back(rational ? weight(rng) : 1);
        net(i + 1, j + 1) = gp_Pnt(s.P.back().x, s.P.back().y, s.P.back().z);
        netW(i + 1, j + 1) = s.W.back();
      }
    ASSERT_EQ(surfaceGate(s.view()), nullptr);
    for (int k = 0; k < 20; ++k) {
      const double u = s.U[p] + (s.U[n] - s.U[p]) * (k / 19.0);
      const double v = s.V[q] + (s.V[nv] - s.V[q]) * ((k * 7 % 20) / 19.0);
      gp_Pnt P;
      gp_Vec Su, Sv, Suu, Svv, Suv;
      BSplSLib::D2(u, v, 0, 0, net, rational ? &netW : nullptr, knots, knotsV, nullptr, nullptr, p,
                   q, rational, rational, false, false, P, Su, Sv, Suu, Svv, Suv);
      QorVector rows[3][3];
      surfaceDerivs(s.view(), u, v, 2, rows);
      const gp_XYZ expect[6] = {P.XYZ(), Su.XYZ(), Sv.XYZ(), Suu.XYZ(), Suv.XYZ(), Svv.XYZ()};
      const QorVector ours[6] = {rows[0][0], rows[1][0], rows[1][1],
                                 rows[2][0], rows[2][1], rows[2][2]};
      for (int m = 0; m < 6; ++m) EXPECT_LE(gap(ours[m], expect[m]), 1e-12) << round << m;
      EXPECT_EQ(surfacePoint(s.view(), u, v), rows[0][0]);
    }
  }
}

}  // namespace
