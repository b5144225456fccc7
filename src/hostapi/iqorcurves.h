// Host curves and surfaces: NURB curves and surfaces, polylines, composite curves, the
// planar polyline, and the curvature services. Slot order as declared (counted from 0).
//
// Conventions (as in hostapi/iqorfeature.h):
// - Every host curve answers "IQorCurve", "IQorFeature", "IQorSubject" and
//   "IQorPersistable" beside its typed interface; every host surface answers "IQorSurface",
//   "IQorFeature", "IQorSubject" and "IQorPersistable". A copy is IQorFeature::clone.
// - The hosts store plain records and accept every state a script passes through on the
//   way to a valid one (knots set one at a time, negative or NaN weights, any degree).
//   Evaluation goes through a gate; a state that fails it answers NaN components and logs
//   one line. An index out of range reads zero and writes nothing (with a log line). No
//   operation throws.
// - Zero-based indices unless a comment says one-based.
#pragma once
#include <cstdint>

#include "base/iterstack.h"
#include "hostapi/iqorfeature.h"
#include "math/qormatrix.h"
#include "math/qorvector.h"
#include "math/vector2d.h"

// ---- NURB curve ("IQorNurbCurve") ----
// Parameterisation: the curve's "range" (IQorCurve::range) is a window in knot space; t is
// a knot value, used directly and clamped into the knot domain before evaluation. A new
// window follows the knot domain when initialize or setKnots replaces the knots.
class IQorNurbCurve : public virtual IQorUnknown {
 public:
  // numControlPoints poles at the origin of weight 1, numControlPoints + degree + 1 knots
  // (clamped uniform), the rational flag stored as given (never inferred from weights).
  // Negative counts or degrees count as 0.
  virtual void initialize(bool rational, int32_t degree, int32_t numControlPoints) = 0;  // 0
  virtual bool isRational() = 0;                                                         // 1
  virtual int32_t degree() = 0;                                                          // 2
  virtual int32_t numKnots() = 0;                                                        // 3
  virtual void setKnot(int32_t index, double value) = 0;                                 // 4
  virtual double knot(int32_t index) = 0;                                                // 5
  // The whole vector: numKnots() values are read from `knots`.
  virtual void setKnots(const double* knots) = 0;  // 6
  // The whole vector (numKnots() values), borrowed until the next change; null when empty.
  virtual const double* knots() = 0;                                                       // 7
  virtual int32_t numControlPoints() = 0;                                                  // 8
  virtual void setControlPoint(int32_t index, const QorVector& point, double weight) = 0;  // 9
  virtual QorVector& controlPoint(int32_t index, QorVector& out) = 0;                      // 10
  virtual void setWeight(int32_t index, double weight) = 0;                                // 11
  virtual double weight(int32_t index) = 0;                                                // 12
};

// ---- surfaces ("IQorSurface") ----
// The derivatives of S at (u, v): rows[k][j] = d^k S / du^(k-j) dv^j, j <= k; row 0 holds
// S, row 1 (Su, Sv), row 2 (Suu, Suv, Svv).
using SurfaceRows = QorVector[3][3];

class IQorSurface : public virtual IQorUnknown {
 public:
  // The stored parameter window: u (first) and v (second) pairs.
  virtual void ranges(Vector2D& u, Vector2D& v) = 0;   // 0
  virtual bool isClosedInU() = 0;                      // 1
  virtual bool isClosedInV() = 0;                      // 2
  virtual void setURange(double from, double to) = 0;  // 3
  virtual void setVRange(double from, double to) = 0;  // 4
  // Rows 0 to `order` (0 to 2; a larger order counts as 2) at (u, v).
  virtual void evaluate(double u, double v, int32_t order, SurfaceRows& rows) = 0;  // 5
  // The point, and the unit normal (Su x Sv) when `normal` is not null.
  virtual void evaluatePoint(QorVector& point, double u, double v, QorVector* normal) = 0;  // 6
  // The range evaluation accepts (closed at both ends).
  virtual void parameterRange(Vector2D& u, Vector2D& v) = 0;                  // 7
  virtual void setRanges(const Vector2D& first, const Vector2D& second) = 0;  // 8
  // Moves the surface; false (nothing moved) for a matrix the kind cannot take.
  virtual bool transformSurface(const QorMatrix& matrix) = 0;  // 9
  // A new deep copy (count 0) in *out; the caller owns it.
  virtual void workingCopy(IQorSurface** out) = 0;  // 10
  // The curve of constant parameter (count 0) in *out, null when the kind has none:
  // direction 1 holds v (the second parameter) at `parameter`, 0 holds u.
  virtual void isoCurve(int32_t direction, double parameter, IQorCurve** out) = 0;  // 11
};

// ---- NURB surface ("IQorNurbSurface") ----
// Parameterisation: one stored window (ranges = parameterRange), in knot space, set to the
// knot domain by initialize and by setKnotsU/V; evaluation clamps into the knot domain.
// Poles are indexed (u, v).
class IQorNurbSurface : public virtual IQorUnknown {
 public:
  virtual void initialize(bool rational, int32_t degreeInU, int32_t degreeInV,
                          int32_t numControlPointsInU, int32_t numControlPointsInV) = 0;  // 0
  virtual bool isRational() = 0;                                                          // 1
  virtual int32_t degreeInU() = 0;                                                        // 2
  virtual int32_t degreeInV() = 0;                                                        // 3
  virtual int32_t numKnotsU() = 0;                                                        // 4
  virtual int32_t numKnotsV() = 0;                                                        // 5
  virtual int32_t numControlPointsInU() = 0;                                              // 6
  virtual int32_t numControlPointsInV() = 0;                                              // 7
  virtual void setKnotU(int32_t index, double value) = 0;                                 // 8
  virtual void setKnotV(int32_t index, double value) = 0;                                 // 9
  virtual double knotU(int32_t index) = 0;                                                // 10
  virtual double knotV(int32_t index) = 0;                                                // 11
  virtual void setKnotsU(const double* knots) = 0;                                        // 12
  virtual void setKnotsV(const double* knots) = 0;                                        // 13
  virtual void setControlPoint(int32_t u, int32_t v, const QorVector& point,
                               double weight) = 0;                            // 14
  virtual QorVector& controlPoint(int32_t u, int32_t v, QorVector& out) = 0;  // 15
  virtual void setWeight(int32_t u, int32_t v, double weight) = 0;            // 16
  virtual double weight(int32_t u, int32_t v) = 0;                            // 17
};

// ---- polylines ("IQorPolyLine", "IQorPolyLineV2") ----
// One knot per point, one-based. Parameterisation: piecewise linear in knot space; the
// range follows the knot domain whenever the points or knots are replaced, and evaluation
// clamps t into the knot domain, so a range wider than the knots (the script's default
// (0, 2147483647)) reads the end points. setPoints gives the points the index knots
// 0 .. n-1.
class IQorPolyLine : public virtual IQorUnknown {
 public:
  // Replaces both (one-based stacks of equal count; a shorter knot stack is filled with
  // index knots).
  virtual void setPointsAndKnots(const IterStack<QorVector>& points,
                                 const IterStack<double>& knots) = 0;  // 0
  virtual int32_t numPoints() = 0;                                     // 1
  virtual void setPoints(const IterStack<QorVector>& points) = 0;      // 2
  // Borrowed until the next change.
  virtual const IterStack<QorVector>& points() = 0;                  // 3
  virtual const IterStack<double>& knots() = 0;                      // 4
  virtual void setPoint(int32_t index, const QorVector& point) = 0;  // 5 (one-based)
  virtual QorVector& point(int32_t index, QorVector& out) = 0;       // 6 (one-based)
};

class IQorPolyLineV2 : public IQorPolyLine {
 public:
  virtual double knot(int32_t index) = 0;                 // 7 (one-based)
  virtual void setKnot(int32_t index, double value) = 0;  // 8 (one-based)
};

// A planar polyline ("IQorPolyLine2D"): points in the xy plane, one-based.
class IQorPolyLine2D : public virtual IQorUnknown {
 public:
  virtual int32_t count() = 0;                                    // 0
  virtual Vector2D point(int32_t index) = 0;                      // 1 (one-based)
  virtual void setPoints(const IterStack<Vector2D>& points) = 0;  // 2
};

// ---- composite curve ("IQorCompositeCurve") ----
// Members are stored as given (no reorientation). Parameterisation: the composite's range
// is split among the members in proportion to their parameter widths; t maps linearly into
// the member it falls in. Indices are checked (an index out of range reads null and writes
// nothing, with a log line).
class IQorCompositeCurve : public virtual IQorUnknown {
 public:
  virtual int32_t numCurves() = 0;  // 0
  // The member as IQorCurve (borrowed), or null.
  virtual IQorCurve* curve(int32_t index) = 0;  // 1
  // Replaces a member; the host takes its own reference. `reserved` is null.
  virtual void setCurve(int32_t index, IQorCurve* curve, void* reserved) = 0;  // 2
  virtual void addCurve(IQorCurve* curve) = 0;                                 // 3
};

// ---- curvature services ("IQorCurveUtil", "IQorSurfaceUtil") ----
class IQorCurveUtil : public virtual IQorUnknown {
 public:
  // At t: the unit tangent, the curvature kappa = |C' x C''| / |C'|^3 and the curvature
  // vector kappa N = (C'' |C'|^2 - C' (C' . C'')) / |C'|^4 (pointing to the centre).
  virtual void curvature(IQorCurve* curve, double t, QorVector& tangent, double& kappa,
                         QorVector& curvatureVector) = 0;  // 0
};

class IQorSurfaceUtil : public virtual IQorUnknown {
 public:
  // At (u, v): the unit normal, the principal directions of the smaller and the larger
  // principal curvature, k_min, the Gaussian curvature and k_max (signed against the
  // normal).
  virtual void curvature(IQorSurface* surface, double u, double v, QorVector& normal,
                         QorVector& directionMin, QorVector& directionMax, double& kMin,
                         double& gaussian, double& kMax) = 0;  // 0
};
