// The NURBS evaluator against closed forms (worked basis values, circles, cylinder, sphere
// and torus curvatures, lengths), a brute-force span search, the gate's
// reasons, the clamped knot rule to the bit, and OpenCASCADE's flat-array evaluators on
// random valid curves and surfaces (degrees past the stack path included).
#include "refhost/nurbsmath.h"

#include <gtest/gtest.h>

#include <BSplCLib.hxx>
#include <BSplSLib.hxx>
#include <TColStd_Array2OfReal.hxx>
#include <TColgp_Array2OfPnt.hxx>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

namespace {

using namespace refhost::nurbs;
using Doubles = std::vector<double>;
using Poles = std::vector<QorVector>;
const double kRoot = std::sqrt(0.5);

struct Curve {
  int32_t p;
  Doubles U, W;
  Poles P;
  bool rational = true;
  CurveView view() const { return {p, int32_t(P.size()), U.data(), P.data(), W.data(), rational}; }
};

struct Surface {
  int32_t p, q, nu, nv;
  Doubles U, V, W;
  Poles P;
  bool rational = true;
  SurfaceView view() const {
    return {p, q, nu, nv, U.data(), V.data(), P.data(), W.data(), rational};
  }
};

const Poles kArc = {{1, 0, 0}, {1, 1, 0}, {0, 1, 0}};  // a quarter of the unit circle
const Doubles kArcW = {1, kRoot, 1}, kBezier2 = {0, 0, 0, 1, 1, 1};

// The surface of revolution about z of the profile poles (radius, height, 0), a quarter turn.
Surface revolve(const Poles& profile, const Doubles& w, const Doubles& knots, int32_t degree) {
  Surface s{2, degree, 3, int32_t(profile.size()), kBezier2, knots, {}, {}};
  for (int i = 0; i < 3; ++i)
    for (size_t j = 0; j < profile.size(); ++j) {
      s.P.emplace_back(kArc[i].x * profile[j].x, kArc[i].y * profile[j].x, profile[j].y);
      s.W.push_back(kArcW[i] * w[j]);
    }
  return s;
}

TEST(NurbsBasis, WorkedValuesAndSpans) {
  auto check = [](const Doubles& U, int32_t p, double t, int32_t span, const Doubles& N,
                  const Doubles& dN) {
    ASSERT_EQ(findSpan(int32_t(U.size()) - p - 1, p, t, U.data()), span);
    Doubles values(p + 1), D(2 * (p + 1));
    basisFuns(span, t, p, U.data(), values.data());
    dersBasisFuns(span, t, p, 1, U.data(), D.data());
    for (int32_t j = 0; j <= p; ++j) {
      EXPECT_EQ(values[j], N[j]);
      EXPECT_EQ(D[j], N[j]);
      EXPECT_EQ(D[p + 1 + j], dN[j]);
    }
  };
  check({0, 0, 0, 1, 2, 3, 4, 4, 5, 5, 5}, 2, 2.5, 4, {1 / 8., 6 / 8., 1 / 8.}, {-.5, 0, .5});
  check({0, 0, 0, 0, 1, 1, 1, 1}, 3, 0.5, 3, {1 / 8., 3 / 8., 3 / 8., 1 / 8.},
        {-.75, -.75, .75, .75});
  // Ends, repeated knots and clamping; the last knot repeated past p + 1; NaN stays inside.
  const Doubles U = {0, 0, 0, 1, 2, 2, 3, 4, 4, 4}, open = {0, 0, 0, 1, 1, 1, 1};
  const double ts[] = {0, -5, 1, 2, 1.999, 4, 9, 3.5, NAN};
  const int32_t spans[] = {2, 2, 3, 5, 3, 6, 6, 6, 2};
  for (int i = 0; i < 9; ++i) EXPECT_EQ(findSpan(7, 2, ts[i], U.data()), spans[i]) << ts[i];
  EXPECT_EQ(findSpan(4, 2, 1, open.data()), 2);
  // Uneven random knots with repeats: the guess misses and the search must finish the job.
  std::mt19937_64 rng(7);
  std::uniform_real_distribution<double> unit(0, 1);
  Doubles K = {0, 0, 0};
  for (int i = 0; i < 300; ++i) K.push_back(K.back() + (i % 7 ? unit(rng) * unit(rng) : 0));
  K.insert(K.end(), 3, K.back() + 1);
  const int32_t n = int32_t(K.size()) - 3;
  for (int k = 0; k < 2000; ++k) {
    const double t = K[2] + unit(rng) * (K[n] - K[2]);
    int32_t expect = 2;
    while (K[expect + 1] <= t) ++expect;
    ASSERT_EQ(findSpan(n, 2, t, K.data()), expect) << t;
  }
}

TEST(NurbsCurves, CirclesHaveUnitRadiusCurvatureAndLength) {
  const double pi = std::numbers::pi;
  Curve quarter{2, kBezier2, kArcW, kArc};
  Curve full{2, {0, 0, 0, .25, .25, .5, .5, .75, .75, 1, 1, 1}, {}, {}};
  for (int i = 0; i < 9; ++i) {  // the corners and mid-sides of the square around it
    full.P.emplace_back(std::round(1.2 * std::cos(i * pi / 4)),
                        std::round(1.2 * std::sin(i * pi / 4)), 0);
    full.W.push_back(i % 2 ? kRoot : 1);
  }
  for (const Curve* c : {&quarter, &full}) {
    ASSERT_EQ(curveGate(c->view()), nullptr);
    for (double t = 0; t <= 1; t += 1 / 64.) {
      QorVector d[4], tangent, kn;
      double kappa = 0;
      curveDerivs(c->view(), t, 3, d);
      EXPECT_EQ(curvePoint(c->view(), t), d[0]);
      EXPECT_NEAR(d[0].length(), 1, 1e-15);
      curveCurvature(d[1], d[2], tangent, kappa, kn);
      EXPECT_NEAR(kappa, 1, 1e-13);
      EXPECT_NEAR((kn + d[0]).length() + (tangent - d[1] * (1 / d[1].length())).length(), 0, 1e-13);
    }
  }
  EXPECT_NEAR(curveLength(full.view(), 0, 1), 2 * pi, 1e-13);
  EXPECT_NEAR(curveLength(full.view(), 0.625, 0.375), pi / 2, 1e-13);  // swapped ends
  EXPECT_NEAR(curveLength(full.view(), -3, 0.25), pi / 2, 1e-13);      // clamped
  EXPECT_NEAR(curveLength(quarter.view(), 0, 1), pi / 2, 1e-13);
  EXPECT_EQ(curvePoint(full.view(), 7), curvePoint(full.view(), 1));
  EXPECT_TRUE(std::isnan(curvePoint(full.view(), NAN).x));
  QorVector t, kn(1, 1, 1);
  double kappa = 1;
  curveCurvature(QorVector(), QorVector(1, 0, 0), t, kappa, kn);  // no tangent: zeros
  EXPECT_EQ(kappa + kn.length() + t.length(), 0.0);
}

TEST(NurbsSurfaces, PrincipalCurvaturesOfCylinderSphereAndTorus) {
  // A cylinder (the arc swept along z), a sphere and a torus (arcs revolved about z).
  const double r = 2, R = 5;
  Surface cylinder{2, 1, 3, 2, kBezier2, {0, 0, 1, 1}, {}, {}};
  for (int i = 0; i < 6; ++i) {
    cylinder.P.push_back(kArc[i / 2] * r + QorVector(0, 0, 4.0 * (i % 2)));
    cylinder.W.push_back(kArcW[i / 2]);
  }
  const Surface sphere = revolve({{r, 0, 0}, {r, r, 0}, {0, r, 0}}, kArcW, kBezier2, 2);
  const Surface torus = revolve({{R + r, 0, 0}, {R + r, r, 0}, {R, r, 0}}, kArcW, kBezier2, 2);
  struct Case {
    const Surface* s;
    double v, k1, k2;  // magnitudes, |k1| <= |k2|; the sign follows the normal
  } const cases[] = {
      {&cylinder, 0.3, 0, 1 / r}, {&sphere, 0.4, 1 / r, 1 / r}, {&torus, 0, 1 / (R + r), 1 / r}};
  for (const Case& c : cases)
    for (double u : {0.0, 0.2, 0.7, 1.0}) {
      QorVector rows[3][3], n, dMin, dMax;
      double kMin, K, kMax;
      surfaceDerivs(c.s->view(), u, c.v, 2, rows);
      principalCurvatures(rows[1][0], rows[1][1], rows[2][0], rows[2][1], rows[2][2], n, dMin, dMax,
                          kMin, K, kMax);
      const QorVector out =
          c.s == &cylinder ? QorVector(rows[0][0].x, rows[0][0].y, 0) : rows[0][0];
      const bool inward = n.dot(out) < 0;  // an outward normal gives negative curvatures
      EXPECT_NEAR(inward ? kMin : -kMax, c.k1, 1e-13) << u;
      EXPECT_NEAR(inward ? kMax : -kMin, c.k2, 1e-13) << u;
      EXPECT_EQ(K, kMin * kMax);
      const double frame[] = {n.length() - 1, n.dot(rows[1][0]), dMin.dot(dMax), dMin.dot(n),
                              dMax.length() - 1};
      for (double e : frame) EXPECT_NEAR(e, 0, 1e-14);
      EXPECT_NEAR(c.s == &cylinder ? std::abs((inward ? dMin : dMax).z) : 1, 1, 1e-13);
    }
  QorVector n, dMin, dMax, x(1, 0, 0);
  double kMin = 1, K = 1, kMax = 1;
  principalCurvatures(x, x * 2, x, x, x, n, dMin, dMax, kMin, K, kMax);  // no normal: zeros
  EXPECT_EQ(n.length() + std::abs(kMin) + std::abs(K) + std::abs(kMax), 0.0);
}

TEST(NurbsGate, NamesEachReason) {
  const std::pair<const char*, void (*)(Curve&)> cases[] = {
      {"", [](Curve&) {}},
      {"", [](Curve& c) { c.rational = false, c.W[1] = 0; }},
      {"degree below 1", [](Curve& c) { c.p = 0, c.U.resize(4); }},
      {"no more poles than the degree", [](Curve& c) { c.p = 3, c.U.push_back(1); }},
      {"a knot is not finite", [](Curve& c) { c.U[5] = NAN; }},
      {"knots decrease", [](Curve& c) { c.U[1] = 0.5; }},
      {"empty knot domain", [](Curve& c) { c.U = {0, 0, 0, 0, 0, 0}; }},
      {"a pole is not finite", [](Curve& c) { c.P[1].y = INFINITY; }},
      {"a weight is not above 0", [](Curve& c) { c.W[1] = 0; }},
      {"a weight is not above 0", [](Curve& c) { c.W[2] = -1; }},
      {"a weight is not finite", [](Curve& c) { c.W[0] = NAN; }}};
  for (auto [why, spoil] : cases) {
    Curve c{2, kBezier2, kArcW, kArc};
    spoil(c);
    const char* got = curveGate(c.view());
    EXPECT_STREQ(got ? got : "", why);
  }
  Surface s = revolve(kArc, kArcW, kBezier2, 2);
  EXPECT_EQ(surfaceGate(s.view()), nullptr);
  s.V[4] = -1;
  EXPECT_STREQ(surfaceGate(s.view()), "knots decrease");
  s.V[4] = 1, s.W[4] = 0;
  EXPECT_STREQ(surfaceGate(s.view()), "a weight is not above 0");
}

TEST(NurbsKnots, ClampedUniformByTheReciprocal) {
  int differ = 0;  // entries where dividing by n - p would give other bits
  for (int32_t p = 1; p <= 5; ++p)
    for (int32_t n = p + 1; n <= 45; ++n) {
      Doubles k(n + p + 1, -1);
      clampedUniformKnots(n, p, k.data());
      for (int32_t i = 0; i <= n + p; ++i) {
        ASSERT_EQ(k[i], i <= p ? 0.0 : i >= n ? 1.0 : (i - p) * (1.0 / (n - p))) << n << p;
        differ += i > p && i < n && k[i] != double(i - p) / (n - p);
      }
    }
  EXPECT_EQ(differ, 769);  // (1, 6) entry 4 is 0.6000000000000001, for one
}

// Clamped knots with random gaps and some repeats (at most p), the domain from -0.5.
Doubles randomKnots(std::mt19937_64& rng, int32_t n, int32_t p) {
  std::uniform_real_distribution<double> unit(0, 1);
  Doubles U(p + 1, -0.5);
  for (double next = 0; int32_t(U.size()) < n;) {
    next = U.back() + 0.1 + unit(rng);
    for (int m = unit(rng) < 0.3 ? p : 1; m > 0 && int32_t(U.size()) < n; --m) U.push_back(next);
  }
  U.insert(U.end(), p + 1, U.back() + 0.1 + unit(rng));
  return U;
}

template <typename Array>
Array occ(const Doubles& v) {
  Array a(1, int(v.size()));
  for (size_t i = 0; i < v.size(); ++i) a(int(i) + 1) = v[i];
  return a;
}

double gap(const QorVector& a, const gp_XYZ& b) {
  return (a - QorVector(b.X(), b.Y(), b.Z())).length() / std::max(1.0, b.Modulus());
}

TEST(NurbsAgainstOpenCascade, RandomCurvesAndSurfaces) {
  std::mt19937_64 rng(11);
  std::uniform_real_distribution<double> coord(-3, 3), weight(0.3, 3);
  for (int round = 0; round < 66; ++round) {
    const int32_t p = round < 60 ? 1 + round % 5 : 14 + round % 6;  // 16 and up: the heap
    const int32_t n = p + 1 + round % 7, q = 1 + (round / 5) % 5, nv = q + 1 + round % 4;
    const bool rational = round % 2;
    Curve c{p, randomKnots(rng, n, p), {}, {}, rational};
    Surface s{p, q, n, nv, c.U, randomKnots(rng, nv, q), {}, {}, rational};
    TColgp_Array1OfPnt poles(1, n);
    TColgp_Array2OfPnt net(1, n, 1, nv);
    TColStd_Array2OfReal netW(1, n, 1, nv);
    for (int32_t i = 0; i < n; ++i) {
      c.P.emplace_back(coord(rng), coord(rng), coord(rng));
      c.W.push_back(rational ? weight(rng) : 1);
      poles(i + 1) = gp_Pnt(c.P[i].x, c.P[i].y, c.P[i].z);
      for (int32_t j = 0; j < nv; ++j) {
        s.P.emplace_back(coord(rng), coord(rng), coord(rng));
        s.W.push_back(rational ? weight(rng) : 1);
        net(i + 1, j + 1) = gp_Pnt(s.P.back().x, s.P.back().y, s.P.back().z);
        netW(i + 1, j + 1) = s.W.back();
      }
    }
    const auto weights = occ<TColStd_Array1OfReal>(c.W), knots = occ<TColStd_Array1OfReal>(c.U);
    const auto knotsV = occ<TColStd_Array1OfReal>(s.V);
    for (int k = 0; k < 20; ++k) {
      const double t = c.U[p] + (c.U[n] - c.U[p]) * (k / 19.0);
      const double v = s.V[q] + (s.V[nv] - s.V[q]) * ((k * 7 % 20) / 19.0);
      gp_Pnt P, S;
      gp_Vec D1, D2, Su, Sv, Suu, Svv, Suv;
      BSplCLib::D2(t, 0, p, false, poles, rational ? &weights : nullptr, knots, nullptr, P, D1, D2);
      BSplSLib::D2(t, v, 0, 0, net, rational ? &netW : nullptr, knots, knotsV, nullptr, nullptr, p,
                   q, rational, rational, false, false, S, Su, Sv, Suu, Svv, Suv);
      QorVector d[3], rows[3][3];
      curveDerivs(c.view(), t, 2, d);
      surfaceDerivs(s.view(), t, v, 2, rows);
      const gp_XYZ expect[9] = {P.XYZ(),  D1.XYZ(),  D2.XYZ(),  S.XYZ(),  Su.XYZ(),
                                Sv.XYZ(), Suu.XYZ(), Suv.XYZ(), Svv.XYZ()};
      const QorVector ours[9] = {d[0],       d[1],       d[2],       rows[0][0], rows[1][0],
                                 rows[1][1], rows[2][0], rows[2][1], rows[2][2]};
      // OpenCASCADE's second-order evaluators lose digits at high degrees (their points
      // leave its own D0's by up to 1e-8 there).
      for (int m = 0; m < 9; ++m)
        EXPECT_LE(gap(ours[m], expect[m]), round < 60 ? 1e-12 : 1e-7) << round << " " << m;
      QorVector first[3][3];  // order 1 runs its own kernel: the same bits
      surfaceDerivs(s.view(), t, v, 1, first);
      EXPECT_TRUE(first[1][0] == rows[1][0] && first[1][1] == rows[1][1]);
      EXPECT_EQ(surfacePoint(s.view(), t, v), rows[0][0]);
      EXPECT_EQ(curvePoint(c.view(), t), d[0]);
    }
  }
}

}  // namespace
