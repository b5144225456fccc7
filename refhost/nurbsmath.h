// The reference host's NURBS evaluator: span search, basis functions and their
// derivatives, curve and surface points with derivatives (rational by the quotient rule),
// curvature from the derivatives, lengths, and the gate that says whether a record can be
// evaluated at all. Plain functions over flat records; no allocation on the evaluation
// paths for degrees up to kMaxFastDegree.
#pragma once
#include <cstdint>

#include "math/qorvector.h"

namespace refhost::nurbs {

// Degrees up to this one evaluate on the stack; higher degrees (legal, slower) use the heap.
inline constexpr int32_t kMaxFastDegree = 15;

// A curve record. `poles` holds n points; `weights` n weights (read only when `rational`);
// `knots` n + degree + 1 values.
struct CurveView {
  int32_t degree = 0;
  int32_t n = 0;
  const double* knots = nullptr;
  const QorVector* poles = nullptr;
  const double* weights = nullptr;
  bool rational = false;
};

// A surface record: poles and weights indexed [u * nv + v]; knotsU nu + degreeU + 1 values,
// knotsV nv + degreeV + 1.
struct SurfaceView {
  int32_t degreeU = 0, degreeV = 0;
  int32_t nu = 0, nv = 0;
  const double* knotsU = nullptr;
  const double* knotsV = nullptr;
  const QorVector* poles = nullptr;
  const double* weights = nullptr;
  bool rational = false;
};

// Null when the record can be evaluated: degree >= 1, n > degree, knots finite and
// non-decreasing, a non-empty domain knots[degree] < knots[n], poles finite, and (when
// rational) every weight finite and above 0. Otherwise a short static text saying why.
const char* curveGate(const CurveView& c);
const char* surfaceGate(const SurfaceView& s);

// The knot span index i in [p, n - 1] with U[i] <= t < U[i + 1] (t at the upper end of the
// domain gives the last non-empty span), for knots U of n + p + 1 values. t is clamped
// into [U[p], U[n]] first.
int32_t findSpan(int32_t n, int32_t p, double t, const double* U);
// The p + 1 non-zero basis functions N[span - p .. span] at t.
void basisFuns(int32_t span, double t, int32_t p, const double* U, double* N);
// Basis functions and derivatives up to order nd: ders[k * (p + 1) + j] is the k-th
// derivative of N[span - p + j].
void dersBasisFuns(int32_t span, double t, int32_t p, int32_t nd, const double* U, double* ders);

// The point at t (clamped into the domain). The record must have passed the gate.
QorVector curvePoint(const CurveView& c, double t);
// The point and derivatives 1..nd (nd from 0 to 3; higher derivatives are zero above the
// degree) into out[0..nd]. The record must have passed the gate.
void curveDerivs(const CurveView& c, double t, int32_t nd, QorVector* out);

// The point at (u, v), clamped into the domain; the record must have passed the gate.
QorVector surfacePoint(const SurfaceView& s, double u, double v);
// Partial derivatives up to total order nd (0..2): rows[k][j] = d^k S / du^(k-j) dv^j.
void surfaceDerivs(const SurfaceView& s, double u, double v, int32_t nd, QorVector rows[3][3]);

// From C' and C'': the unit tangent, kappa = |C' x C''| / |C'|^3 and the curvature vector
// (C'' |C'|^2 - C' (C' . C'')) / |C'|^4. A zero C' gives zeros.
void curveCurvature(const QorVector& d1, const QorVector& d2, QorVector& tangent, double& kappa,
                    QorVector& curvatureVector);

// Principal curvatures from the partials (first and second fundamental forms): the unit
// normal Su x Sv, the principal directions (unit, tangent to the surface) of k_min and
// k_max, k_min <= k_max (signed against the normal), and the Gaussian curvature
// k_min * k_max. At a degenerate point (Su x Sv = 0) everything is zero.
void principalCurvatures(const QorVector& su, const QorVector& sv, const QorVector& suu,
                         const QorVector& suv, const QorVector& svv, QorVector& normal,
                         QorVector& directionMin, QorVector& directionMax, double& kMin,
                         double& gaussian, double& kMax);

// The arc length between t0 and t1 (clamped into the domain; t0 > t1 swaps), by
// Gauss-Legendre quadrature per knot span. The record must have passed the gate.
double curveLength(const CurveView& c, double t0, double t1);

// Clamped uniform knots: n + p + 1 values, 0 for the first p + 1, 1 for the last p + 1,
// (i - p) * (1 / (n - p)) between.
void clampedUniformKnots(int32_t n, int32_t p, double* out);

}  // namespace refhost::nurbs
