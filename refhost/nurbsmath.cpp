// The reference host's NURBS evaluator. Each kernel is written once over a runtime degree
// and inlined into a switch over the common degrees, so that the compiler unrolls the
// loops of those degrees while every degree runs the same operations in the same order
// (the results do not depend on which path ran). Scratch arrays live on the stack up to
// kMaxFastDegree and on the heap above it.
#include "refhost/nurbsmath.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <vector>

#define NURBS_INLINE [[gnu::always_inline]] inline

namespace refhost::nurbs {

namespace {

constexpr int kFast = kMaxFastDegree + 1;

// Two doubles in one register (SSE2, which every x86-64 has; elsewhere two scalars).
using Pair = double __attribute__((vector_size(16)));

NURBS_INLINE Pair firstTwo(const QorVector& p) {
  Pair r;
  std::memcpy(&r, &p.x, sizeof r);
  return r;
}

// Scratch doubles: on the stack when `n` fits in N, else on the heap.
template <size_t N>
class Scratch {
 public:
  explicit Scratch(size_t n) {
    if (n > N) {
      heap_.resize(n);
      data_ = heap_.data();
    }
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  double* get() { return data_; }

 private:
  double stack_[N];
  std::vector<double> heap_;
  double* data_ = stack_;
};

// ---- span search ----

// The span of t, which lies in [U[p], U[n]) and is not NaN: the i in [p, n - 1] with
// U[i] <= t < U[i + 1]. A guess from the knot domain (exact for uniform knots) is checked;
// when it misses, steps of 1, 2, 4, ... away from it bracket the span and a binary search
// inside the bracket finishes, so knots close to uniform cost few reads.
NURBS_INLINE int32_t spanInside(int32_t n, int32_t p, double t, const double* U) {
  const double lo = U[p], hi = U[n];
  double g = (t - lo) / (hi - lo) * static_cast<double>(n - p);
  int32_t i = p + static_cast<int32_t>(g);
  if (i > n - 1) i = n - 1;
  if (i < p) i = p;
  // The answer lies in [a, b): U[a] <= t < U[b].
  int32_t a, b;
  if (t < U[i]) {
    b = i;
    a = i - 1;
    for (int32_t step = 2; a > p && U[a] > t; step <<= 1) {
      b = a;
      a = std::max(p, i - step);
    }
  } else if (t >= U[i + 1]) {
    a = i + 1;
    b = i + 2;
    for (int32_t step = 2; b < n && U[b] <= t; step <<= 1) {
      a = b;
      b = std::min(n, i + 1 + step);
    }
  } else {
    return i;
  }
  int32_t count = b - a;
  while (count > 1) {
    int32_t half = count / 2;
    if (U[a + half] <= t) a += half;
    count -= half;
  }
  return a;
}

// The last non-empty span: the largest i in [p, n - 1] with U[i] < U[n].
NURBS_INLINE int32_t lastSpan(int32_t n, int32_t p, const double* U) {
  int32_t i = n - 1;
  while (i > p && !(U[i] < U[n])) --i;
  return i;
}

// The span and the parameter clamped into the domain. NaN stays NaN (and so makes a NaN
// result) but takes the first span, so that no index leaves the record.
NURBS_INLINE int32_t locate(int32_t n, int32_t p, const double* U, double& t) {
  const double lo = U[p], hi = U[n];
  if (t >= hi) {
    t = hi;
    return lastSpan(n, p, U);
  }
  if (t > lo) return spanInside(n, p, t, U);
  if (t <= lo) t = lo;
  return spanInside(n, p, lo, U);
}

// ---- basis functions ----

NURBS_INLINE void basisKernel(int32_t span, double t, int32_t p, const double* U, double* N,
                              double* left, double* right) {
  N[0] = 1.0;
  for (int32_t j = 1; j <= p; ++j) {
    left[j] = t - U[span + 1 - j];
    right[j] = U[span + j] - t;
    double saved = 0.0;
    for (int32_t r = 0; r < j; ++r) {
      double temp = N[r] / (right[r + 1] + left[j - r]);
      N[r] = saved + right[r + 1] * temp;
      saved = left[j - r] * temp;
    }
    N[j] = saved;
  }
}

// ders[k * (p + 1) + j] for k <= nd; derivatives above p are zero. ndu holds
// (p + 1)^2 doubles, a 2 (p + 1), left and right p + 1 each.
NURBS_INLINE void dersKernel(int32_t span, double t, int32_t p, int32_t nd, const double* U,
                             double* ders, double* ndu, double* a, double* left, double* right) {
  const int32_t w = p + 1;
  ndu[0] = 1.0;
  for (int32_t j = 1; j <= p; ++j) {
    left[j] = t - U[span + 1 - j];
    right[j] = U[span + j] - t;
    double saved = 0.0;
    for (int32_t r = 0; r < j; ++r) {
      // Lower triangle: the knot differences; upper: the basis functions.
      ndu[j * w + r] = right[r + 1] + left[j - r];
      double temp = ndu[r * w + j - 1] / ndu[j * w + r];
      ndu[r * w + j] = saved + right[r + 1] * temp;
      saved = left[j - r] * temp;
    }
    ndu[j * w + j] = saved;
  }
  for (int32_t j = 0; j <= p; ++j) ders[j] = ndu[j * w + p];
  const int32_t top = std::min(nd, p);
  double* a0 = a;
  double* a1 = a + w;
  for (int32_t r = 0; r <= p; ++r) {
    double* s1 = a0;
    double* s2 = a1;
    s1[0] = 1.0;
    for (int32_t k = 1; k <= top; ++k) {
      double d = 0.0;
      int32_t rk = r - k, pk = p - k;
      if (r >= k) {
        s2[0] = s1[0] / ndu[(pk + 1) * w + rk];
        d = s2[0] * ndu[rk * w + pk];
      }
      int32_t j1 = rk >= -1 ? 1 : -rk;
      int32_t j2 = (r - 1 <= pk) ? k - 1 : p - r;
      for (int32_t j = j1; j <= j2; ++j) {
        s2[j] = (s1[j] - s1[j - 1]) / ndu[(pk + 1) * w + rk + j];
        d += s2[j] * ndu[(rk + j) * w + pk];
      }
      if (r <= pk) {
        s2[k] = -s1[k - 1] / ndu[(pk + 1) * w + r];
        d += s2[k] * ndu[r * w + pk];
      }
      ders[k * w + r] = d;
      std::swap(s1, s2);
    }
  }
  double f = p;
  for (int32_t k = 1; k <= top; ++k) {
    for (int32_t j = 0; j <= p; ++j) ders[k * w + j] *= f;
    f *= p - k;
  }
  for (int32_t k = top + 1; k <= nd; ++k)
    for (int32_t j = 0; j <= p; ++j) ders[k * w + j] = 0.0;
}

// ---- curves ----

NURBS_INLINE QorVector curvePointKernel(const CurveView& c, double t, int32_t p, double* N,
                                        double* left, double* right) {
  int32_t span = locate(c.n, p, c.knots, t);
  basisKernel(span, t, p, c.knots, N, left, right);
  const QorVector* P = c.poles + (span - p);
  if (!c.rational) {
    double x = 0, y = 0, z = 0;
    for (int32_t j = 0; j <= p; ++j) {
      x += N[j] * P[j].x;
      y += N[j] * P[j].y;
      z += N[j] * P[j].z;
    }
    return {x, y, z};
  }
  const double* W = c.weights + (span - p);
  double x = 0, y = 0, z = 0, w = 0;
  for (int32_t j = 0; j <= p; ++j) {
    double b = N[j] * W[j];
    x += b * P[j].x;
    y += b * P[j].y;
    z += b * P[j].z;
    w += b;
  }
  double inv = 1.0 / w;
  return {x * inv, y * inv, z * inv};
}

template <int32_t P>
QorVector curvePointFixed(const CurveView& c, double t) {
  double N[P + 1], left[P + 1], right[P + 1];
  return curvePointKernel(c, t, P, N, left, right);
}

// Homogeneous derivatives A (point part) and w, 0..nd, then the quotient rule
// C^(k) = (A^(k) - sum_{i=1..k} binom(k, i) w^(i) C^(k-i)) / w.
NURBS_INLINE void curveDerivsKernel(const CurveView& c, double t, int32_t nd, int32_t p,
                                    QorVector* out, double* ders, double* ndu, double* a,
                                    double* left, double* right) {
  int32_t span = locate(c.n, p, c.knots, t);
  dersKernel(span, t, p, nd, c.knots, ders, ndu, a, left, right);
  const int32_t w = p + 1;
  const QorVector* P = c.poles + (span - p);
  if (!c.rational) {
    for (int32_t k = 0; k <= nd; ++k) {
      const double* D = ders + k * w;
      double x = 0, y = 0, z = 0;
      for (int32_t j = 0; j <= p; ++j) {
        x += D[j] * P[j].x;
        y += D[j] * P[j].y;
        z += D[j] * P[j].z;
      }
      out[k] = {x, y, z};
    }
    return;
  }
  const double* W = c.weights + (span - p);
  double wd[4];
  QorVector A[4];
  for (int32_t k = 0; k <= nd; ++k) {
    const double* D = ders + k * w;
    Pair xy = {0, 0}, zw = {0, 0};
    for (int32_t j = 0; j <= p; ++j) {
      const double b = D[j] * W[j];
      xy += Pair{b, b} * firstTwo(P[j]);
      zw += Pair{b, b} * Pair{P[j].z, 1.0};
    }
    A[k] = {xy[0], xy[1], zw[0]};
    wd[k] = zw[1];
  }
  static constexpr double kBinom[4][4] = {{1, 0, 0, 0}, {1, 1, 0, 0}, {1, 2, 1, 0}, {1, 3, 3, 1}};
  double inv = 1.0 / wd[0];
  for (int32_t k = 0; k <= nd; ++k) {
    QorVector v = A[k];
    for (int32_t i = 1; i <= k; ++i) v -= out[k - i] * (kBinom[k][i] * wd[i]);
    out[k] = v * inv;
  }
}

template <int32_t P>
void curveDerivsFixed(const CurveView& c, double t, int32_t nd, QorVector* out) {
  double ders[4 * (P + 1)], ndu[(P + 1) * (P + 1)], a[2 * (P + 1)], left[P + 1], right[P + 1];
  if (nd == 1)
    curveDerivsKernel(c, t, 1, P, out, ders, ndu, a, left, right);
  else if (nd == 2)
    curveDerivsKernel(c, t, 2, P, out, ders, ndu, a, left, right);
  else
    curveDerivsKernel(c, t, 3, P, out, ders, ndu, a, left, right);
}

// ---- surfaces ----

// Homogeneous partials H[k][l] (x, y, z, w) for k + l <= nd, nd <= 2, by rows of the net:
// per pole row r, the v sums of each order l, then the u sums of each order k. The order is
// a template argument so that the small sums stay in registers.
template <int32_t nd>
NURBS_INLINE void surfaceDerivsKernel(const SurfaceView& s, double u, double v, int32_t p,
                                      int32_t q, QorVector rows[3][3], double* du, double* dv,
                                      double* ndu, double* a, double* left, double* right) {
  int32_t su = locate(s.nu, p, s.knotsU, u);
  int32_t sv = locate(s.nv, q, s.knotsV, v);
  dersKernel(su, u, p, nd, s.knotsU, du, ndu, a, left, right);
  dersKernel(sv, v, q, nd, s.knotsV, dv, ndu, a, left, right);
  const int32_t wu = p + 1, wv = q + 1;
  // (x, y) and (z, w) travel as pairs: each lane does the scalar operations, in the same
  // order, so the bits are those of four scalar sums.
  Pair H[nd + 1][nd + 1][2] = {};
  for (int32_t r = 0; r <= p; ++r) {
    const size_t row = static_cast<size_t>(su - p + r) * static_cast<size_t>(s.nv) + (sv - q);
    const QorVector* P = s.poles + row;
    Pair T[nd + 1][2];
    for (int32_t l = 0; l <= nd; ++l) {
      const double* D = dv + l * wv;
      Pair xy = {0, 0}, zw = {0, 0};
      if (s.rational) {
        const double* W = s.weights + row;
        for (int32_t j = 0; j <= q; ++j) {
          const double b = D[j] * W[j];
          xy += Pair{b, b} * firstTwo(P[j]);
          zw += Pair{b, b} * Pair{P[j].z, 1.0};
        }
      } else {
        for (int32_t j = 0; j <= q; ++j) {
          xy += Pair{D[j], D[j]} * firstTwo(P[j]);
          zw += Pair{D[j], D[j]} * Pair{P[j].z, 0.0};
        }
      }
      T[l][0] = xy;
      T[l][1] = zw;
    }
    for (int32_t k = 0; k <= nd; ++k) {
      const Pair b = {du[k * wu + r], du[k * wu + r]};
      for (int32_t l = 0; k + l <= nd; ++l) {
        H[k][l][0] += b * T[l][0];
        H[k][l][1] += b * T[l][1];
      }
    }
  }
  QorVector S[nd + 1][nd + 1];
  if (!s.rational) {
    for (int32_t k = 0; k <= nd; ++k)
      for (int32_t l = 0; k + l <= nd; ++l) S[k][l] = {H[k][l][0][0], H[k][l][0][1], H[k][l][1][0]};
  } else {
    static constexpr double kBinom[3][3] = {{1, 0, 0}, {1, 1, 0}, {1, 2, 1}};
    double inv = 1.0 / H[0][0][1][1];
    for (int32_t k = 0; k <= nd; ++k) {
      for (int32_t l = 0; k + l <= nd; ++l) {
        QorVector t(H[k][l][0][0], H[k][l][0][1], H[k][l][1][0]);
        for (int32_t j = 1; j <= l; ++j) t -= S[k][l - j] * (kBinom[l][j] * H[0][j][1][1]);
        for (int32_t i = 1; i <= k; ++i) {
          t -= S[k - i][l] * (kBinom[k][i] * H[i][0][1][1]);
          QorVector t2;
          for (int32_t j = 1; j <= l; ++j) t2 += S[k - i][l - j] * (kBinom[l][j] * H[i][j][1][1]);
          t -= t2 * kBinom[k][i];
        }
        S[k][l] = t * inv;
      }
    }
  }
  for (int32_t k = 0; k <= nd; ++k)
    for (int32_t j = 0; j < 3; ++j) rows[k][j] = j <= k ? S[k - j][j] : QorVector();
}

template <int32_t P, int32_t Q>
void surfaceDerivsFixed(const SurfaceView& s, double u, double v, int32_t nd,
                        QorVector rows[3][3]) {
  constexpr int32_t M = P > Q ? P : Q;
  double du[3 * (P + 1)], dv[3 * (Q + 1)], ndu[(M + 1) * (M + 1)], a[2 * (M + 1)], left[M + 1],
      right[M + 1];
  if (nd == 0)
    surfaceDerivsKernel<0>(s, u, v, P, Q, rows, du, dv, ndu, a, left, right);
  else if (nd == 1)
    surfaceDerivsKernel<1>(s, u, v, P, Q, rows, du, dv, ndu, a, left, right);
  else
    surfaceDerivsKernel<2>(s, u, v, P, Q, rows, du, dv, ndu, a, left, right);
}

// The unrolled pairs of degrees, each with its function.
using SurfaceDerivsFn = void (*)(const SurfaceView&, double, double, int32_t, QorVector[3][3]);
constexpr SurfaceDerivsFn kSurfaceDerivs[3][3] = {
    {surfaceDerivsFixed<1, 1>, surfaceDerivsFixed<1, 2>, surfaceDerivsFixed<1, 3>},
    {surfaceDerivsFixed<2, 1>, surfaceDerivsFixed<2, 2>, surfaceDerivsFixed<2, 3>},
    {surfaceDerivsFixed<3, 1>, surfaceDerivsFixed<3, 2>, surfaceDerivsFixed<3, 3>}};

bool finite(double x) {
  return std::isfinite(x);
}

const char* knotGate(int32_t n, int32_t p, const double* U) {
  if (p < 1) return "degree below 1";
  if (n <= p) return "no more poles than the degree";
  if (U == nullptr) return "no knots";
  const int32_t count = n + p + 1;
  for (int32_t i = 0; i < count; ++i)
    if (!finite(U[i])) return "a knot is not finite";
  for (int32_t i = 1; i < count; ++i)
    if (U[i] < U[i - 1]) return "knots decrease";
  if (!(U[p] < U[n])) return "empty knot domain";
  return nullptr;
}

const char* polesGate(size_t count, const QorVector* poles, const double* weights, bool rational) {
  if (poles == nullptr) return "no poles";
  for (size_t i = 0; i < count; ++i)
    if (!finite(poles[i].x) || !finite(poles[i].y) || !finite(poles[i].z))
      return "a pole is not finite";
  if (!rational) return nullptr;
  if (weights == nullptr) return "no weights";
  for (size_t i = 0; i < count; ++i) {
    if (!finite(weights[i])) return "a weight is not finite";
    if (!(weights[i] > 0.0)) return "a weight is not above 0";
  }
  return nullptr;
}

}  // namespace

const char* curveGate(const CurveView& c) {
  if (const char* why = knotGate(c.n, c.degree, c.knots)) return why;
  return polesGate(static_cast<size_t>(c.n), c.poles, c.weights, c.rational);
}

const char* surfaceGate(const SurfaceView& s) {
  if (const char* why = knotGate(s.nu, s.degreeU, s.knotsU)) return why;
  if (const char* why = knotGate(s.nv, s.degreeV, s.knotsV)) return why;
  return polesGate(static_cast<size_t>(s.nu) * static_cast<size_t>(s.nv), s.poles, s.weights,
                   s.rational);
}

int32_t findSpan(int32_t n, int32_t p, double t, const double* U) {
  return locate(n, p, U, t);
}

void basisFuns(int32_t span, double t, int32_t p, const double* U, double* N) {
  Scratch<2 * kFast> scratch(2 * static_cast<size_t>(p + 1));
  double* left = scratch.get();
  basisKernel(span, t, p, U, N, left, left + p + 1);
}

void dersBasisFuns(int32_t span, double t, int32_t p, int32_t nd, const double* U, double* ders) {
  const size_t w = static_cast<size_t>(p) + 1;
  Scratch<kFast * kFast + 4 * kFast> scratch(w * w + 4 * w);
  double* ndu = scratch.get();
  double* a = ndu + w * w;
  dersKernel(span, t, p, nd, U, ders, ndu, a, a + 2 * w, a + 3 * w);
}

QorVector curvePoint(const CurveView& c, double t) {
  switch (c.degree) {
    case 1:
      return curvePointFixed<1>(c, t);
    case 2:
      return curvePointFixed<2>(c, t);
    case 3:
      return curvePointFixed<3>(c, t);
    case 4:
      return curvePointFixed<4>(c, t);
    case 5:
      return curvePointFixed<5>(c, t);
    default:
      break;
  }
  const size_t w = static_cast<size_t>(c.degree) + 1;
  Scratch<3 * kFast> scratch(3 * w);
  double* N = scratch.get();
  return curvePointKernel(c, t, c.degree, N, N + w, N + 2 * w);
}

void curveDerivs(const CurveView& c, double t, int32_t nd, QorVector* out) {
  nd = std::clamp(nd, 0, 3);
  if (nd == 0) {
    out[0] = curvePoint(c, t);
    return;
  }
  switch (c.degree) {
    case 1:
      return curveDerivsFixed<1>(c, t, nd, out);
    case 2:
      return curveDerivsFixed<2>(c, t, nd, out);
    case 3:
      return curveDerivsFixed<3>(c, t, nd, out);
    default:
      break;
  }
  const size_t w = static_cast<size_t>(c.degree) + 1;
  Scratch<4 * kFast + kFast * kFast + 4 * kFast> scratch(4 * w + w * w + 4 * w);
  double* ders = scratch.get();
  double* ndu = ders + 4 * w;
  double* a = ndu + w * w;
  curveDerivsKernel(c, t, nd, c.degree, out, ders, ndu, a, a + 2 * w, a + 3 * w);
}

QorVector surfacePoint(const SurfaceView& s, double u, double v) {
  QorVector rows[3][3];
  surfaceDerivs(s, u, v, 0, rows);
  return rows[0][0];
}

void surfaceDerivs(const SurfaceView& s, double u, double v, int32_t nd, QorVector rows[3][3]) {
  nd = std::clamp(nd, 0, 2);
  if (s.degreeU >= 1 && s.degreeU <= 3 && s.degreeV >= 1 && s.degreeV <= 3)
    return kSurfaceDerivs[s.degreeU - 1][s.degreeV - 1](s, u, v, nd, rows);
  const int32_t p = s.degreeU, q = s.degreeV;
  const size_t wu = static_cast<size_t>(p) + 1, wv = static_cast<size_t>(q) + 1;
  const size_t wm = std::max(wu, wv);
  Scratch<6 * kFast + kFast * kFast + 4 * kFast> scratch(3 * wu + 3 * wv + wm * wm + 4 * wm);
  double* du = scratch.get();
  double* dv = du + 3 * wu;
  double* ndu = dv + 3 * wv;
  double* a = ndu + wm * wm;
  double* left = a + 2 * wm;
  double* right = a + 3 * wm;
  if (nd == 0)
    surfaceDerivsKernel<0>(s, u, v, p, q, rows, du, dv, ndu, a, left, right);
  else if (nd == 1)
    surfaceDerivsKernel<1>(s, u, v, p, q, rows, du, dv, ndu, a, left, right);
  else
    surfaceDerivsKernel<2>(s, u, v, p, q, rows, du, dv, ndu, a, left, right);
}

void curveCurvature(const QorVector& d1, const QorVector& d2, QorVector& tangent, double& kappa,
                    QorVector& curvatureVector) {
  const double s2 = d1.lengthSquared();
  if (!(s2 > 0.0)) {
    tangent = QorVector();
    kappa = 0.0;
    curvatureVector = QorVector();
    return;
  }
  const double s = std::sqrt(s2);
  tangent = d1 * (1.0 / s);
  kappa = d1.cross(d2).length() / (s2 * s);
  curvatureVector = (d2 * s2 - d1 * d1.dot(d2)) * (1.0 / (s2 * s2));
}

void principalCurvatures(const QorVector& su, const QorVector& sv, const QorVector& suu,
                         const QorVector& suv, const QorVector& svv, QorVector& normal,
                         QorVector& directionMin, QorVector& directionMax, double& kMin,
                         double& gaussian, double& kMax) {
  const QorVector cross = su.cross(sv);
  const double area = cross.length();
  const double a = su.length();
  if (!(area > 0.0) || !(a > 0.0) || !std::isfinite(area)) {
    normal = directionMin = directionMax = QorVector();
    kMin = gaussian = kMax = 0.0;
    return;
  }
  const QorVector n = cross * (1.0 / area);
  // An orthonormal tangent frame: e1 along Su, e2 = n x e1. There Su = (a, 0) and
  // Sv = (b, c) with c > 0, and the shape operator is J^-T II J^-1 with J = [[a, b], [0, c]].
  const QorVector e1 = su * (1.0 / a);
  const QorVector e2 = n.cross(e1);
  const double b = sv.dot(e1), c = sv.dot(e2);
  const double L = suu.dot(n), M = suv.dot(n), N = svv.dot(n);
  const double ia = 1.0 / a, ic = 1.0 / c, ib = -b * ia * ic;
  const double s11 = L * ia * ia;
  const double s12 = ia * (L * ib + M * ic);
  const double s22 = ib * (L * ib + M * ic) + ic * (M * ib + N * ic);
  const double mean = 0.5 * (s11 + s22);
  const double r = std::hypot(0.5 * (s11 - s22), s12);
  kMin = mean - r;
  kMax = mean + r;
  gaussian = kMin * kMax;
  const double theta = 0.5 * std::atan2(2.0 * s12, s11 - s22);
  const double ct = std::cos(theta), st = std::sin(theta);
  normal = n;
  directionMax = e1 * ct + e2 * st;
  directionMin = e2 * ct - e1 * st;
}

namespace {

// 10-point Gauss-Legendre nodes (positive half) and weights on [-1, 1].
constexpr double kNodes[5] = {0.1488743389816312108848260, 0.4333953941292471907992659,
                              0.6794095682990244062343274, 0.8650633666889845107320967,
                              0.9739065285171717200779640};
constexpr double kWeights[5] = {0.2955242247147528701738930, 0.2692667193099963550912269,
                                0.2190863625159820439955349, 0.1494513491505805931457763,
                                0.0666713443086881375935688};

double speed(const CurveView& c, double t) {
  QorVector d[2];
  curveDerivs(c, t, 1, d);
  return d[1].length();
}

double gauss(const CurveView& c, double a, double b) {
  const double mid = 0.5 * (a + b), half = 0.5 * (b - a);
  double sum = 0.0;
  for (int i = 0; i < 5; ++i)
    sum += kWeights[i] * (speed(c, mid - half * kNodes[i]) + speed(c, mid + half * kNodes[i]));
  return sum * half;
}

// Halves the interval until the rule agrees with itself on the two halves, at most `depth`
// times; `budget` counts the halvings left for the whole curve, so a curve that never
// settles (kinks in every span, wild weights) costs a bounded time.
double adaptive(const CurveView& c, double a, double b, double whole, int depth, int64_t& budget) {
  const double mid = 0.5 * (a + b);
  const double left = gauss(c, a, mid), right = gauss(c, mid, b);
  const double sum = left + right;
  if (depth == 0 || budget <= 0 || std::abs(sum - whole) <= 1e-13 * std::abs(sum)) return sum;
  --budget;
  return adaptive(c, a, mid, left, depth - 1, budget) +
         adaptive(c, mid, b, right, depth - 1, budget);
}

}  // namespace

double curveLength(const CurveView& c, double t0, double t1) {
  const int32_t p = c.degree, n = c.n;
  const double* U = c.knots;
  const double lo = U[p], hi = U[n];
  if (t0 > t1) std::swap(t0, t1);
  t0 = std::clamp(t0, lo, hi);
  t1 = std::clamp(t1, lo, hi);
  if (!(t0 < t1)) return 0.0;
  double total = 0.0;
  // 32 halvings a span on average, and never fewer than 16384 for the curve.
  int64_t budget = std::max<int64_t>(int64_t(1) << 14, int64_t(32) * (n - p));
  for (int32_t i = p; i < n; ++i) {
    const double a = std::max(U[i], t0), b = std::min(U[i + 1], t1);
    if (!(a < b)) continue;
    total += adaptive(c, a, b, gauss(c, a, b), 10, budget);
  }
  return total;
}

void clampedUniformKnots(int32_t n, int32_t p, double* out) {
  const double step = 1.0 / (n - p);
  for (int32_t i = 0; i < n + p + 1; ++i) {
    if (i <= p)
      out[i] = 0.0;
    else if (i >= n)
      out[i] = 1.0;
    else
      out[i] = (i - p) * step;
  }
}

}  // namespace refhost::nurbs
