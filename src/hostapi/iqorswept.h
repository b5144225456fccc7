// Host swept surfaces: extruded, drafted, rotational and sweep surfaces, made from a sketch
// curve. Slot order as declared (counted from 0).
//
// Conventions (beside those of hostapi/iqorcurves.h):
// - Every swept host answers "IQorSurface", "IQorSwept", "IQorFeature", "IQorSubject" and
//   "IQorPersistable" beside exactly one typed interface. The sets are disjoint: a drafted
//   host never answers "IQorExtruded", an extruded host never "IQorDrafted".
// - The sketch is held as a clone, in the surface's own frame. setSketch takes its own copy
//   (IQorFeature::clone of the curve given; the caller keeps its curve); sketch() answers
//   the held curve, borrowed (null before any sketch). A null curve drops the sketch.
// - The frame F maps the surface frame to world coordinates: columns x axis, y axis, the
//   third axis (the extrusion direction or the rotation axis) and the origin, last row
//   (0, 0, 0, 1). The axes are orthonormal and right-handed (x x y = z).
// - Outputs written to `out` are also answered. No operation throws.
#pragma once
#include <cstdint>

#include "hostapi/iqorcurves.h"
#include "hostapi/iqorfeature.h"
#include "math/qormatrix.h"
#include "math/qorvector.h"

// ---- what every swept surface shares ("IQorSwept") ----
class IQorSwept : public virtual IQorUnknown {
 public:
  // The held sketch in the surface's frame (borrowed), or null.
  virtual IQorCurve* sketch() = 0;  // 0
  // The matrix that takes the surface's frame to world coordinates.
  virtual QorMatrix& frame(QorMatrix& out) = 0;  // 1
};

// ---- extruded surface ("IQorExtruded") ----
// S(u, v) = F (c(u) + h(v) e_z), c the held sketch, h mapping v linearly from the stored v
// window onto [heightFrom, heightTo]. The window pairs (IQorSurface::ranges): first = the
// curve's parameter u, second = the sweep parameter v; both default to (0, 1), so a new
// surface with heights (0, 0) has zero height. The frame's z axis is the unit direction,
// its origin the origin, x a held direction (at first (1, 0, 0); a move turns it with the
// surface) made perpendicular to z and unit (any perpendicular when it has no such part),
// y = z x x. A zero or non-finite direction is refused with a log line.
class IQorExtruded : public virtual IQorUnknown {
 public:
  virtual void setSketch(IQorCurve* curve) = 0;               // 0
  virtual void setOrigin(const QorVector& point) = 0;         // 1
  virtual void setDirection(const QorVector& direction) = 0;  // 2
  virtual void setHeightFrom(double h) = 0;                   // 3
  virtual void setHeightTo(double h) = 0;                     // 4
  virtual IQorCurve* sketch() = 0;                            // 5
  virtual QorVector& origin(QorVector& out) = 0;              // 6
  virtual QorVector& direction(QorVector& out) = 0;           // 7
  virtual QorVector& xAxis(QorVector& out) = 0;               // 8
  virtual QorVector& yAxis(QorVector& out) = 0;               // 9
  virtual double heightFrom() = 0;                            // 10
  virtual double heightTo() = 0;                              // 11
};

// ---- drafted surface ("IQorDrafted") ----
// As extruded, with a draft angle a and d = h tan(a): the section at height h is, when not
// conic, the sketch offset by d in its plane along the unit of c'(u) x e_z (its right-hand
// side), or, when conic, the sketch scaled in x and y about its centre C by 1 + d / r0, r0
// the distance of the sketch's middle point from C (no scaling for r0 = 0); C is an arc's
// centre, else the middle of the sketch's sampled box, so a drafted circle is a cone whose
// half-angle is the draft. A section that is no curve of the sketch's kind (the offset of a NURB
// curve) comes from isoCurve as a cubic NURB curve through samples over the u window: C1, through
// the true point and first derivative at every knot; from 16 even spans, each span whose
// middle is more than 1e-9 times (1 + the extent) off is halved, round by round, up to 8
// rounds and 512 spans (a section with cusps may stay coarser than that tolerance).
class IQorDrafted : public virtual IQorUnknown {
 public:
  virtual void setSketch(IQorCurve* curve) = 0;               // 0
  virtual void setOrigin(const QorVector& point) = 0;         // 1
  virtual void setDirection(const QorVector& direction) = 0;  // 2
  virtual void setDraftAngle(double angle) = 0;               // 3
  virtual void setHeightFrom(double h) = 0;                   // 4
  virtual void setHeightTo(double h) = 0;                     // 5
  virtual void setIsConic(bool conic) = 0;                    // 6
  virtual IQorCurve* sketch() = 0;                            // 7
  virtual QorVector& origin(QorVector& out) = 0;              // 8
  virtual QorVector& direction(QorVector& out) = 0;           // 9
  virtual QorVector& xAxis(QorVector& out) = 0;               // 10
  virtual QorVector& yAxis(QorVector& out) = 0;               // 11
  virtual double draftAngle() = 0;                            // 12
  virtual double heightFrom() = 0;                            // 13
  virtual double heightTo() = 0;                              // 14
  virtual bool isConic() = 0;                                 // 15
};

// ---- rotational surface ("IQorRotational") ----
// S(u, v) = O + R(axis, theta(u)) (F c(v) - O): F c(v) turned about the line through the
// origin O along the axis, theta mapping u linearly from the stored u window onto
// [angleFrom, angleTo]. The window pairs: first = the sweep (angle) parameter u, second =
// the curve's parameter v; both default to (0, 1). The frame's z axis is the unit axis, x
// the unit of the radial direction's part across it (any perpendicular when it has none),
// origin O. Heights are the least and the greatest frame z of the held sketch, sampled at
// 64 even steps of its range (0 without a sketch), read-only. Closed in u when the angle
// span is 2 pi (within 1e-12).
class IQorRotational : public virtual IQorUnknown {
 public:
  virtual void setSketch(IQorCurve* curve) = 0;            // 0
  virtual void setOrigin(const QorVector& point) = 0;      // 1
  virtual void setAxis(const QorVector& axis) = 0;         // 2
  virtual void setRadialDir(const QorVector& radial) = 0;  // 3
  virtual void setAngleFrom(double angle) = 0;             // 4
  virtual void setAngleTo(double angle) = 0;               // 5
  virtual IQorCurve* sketch() = 0;                         // 6
  virtual QorVector& origin(QorVector& out) = 0;           // 7
  virtual QorVector& axis(QorVector& out) = 0;             // 8
  virtual double angleFrom() = 0;                          // 9
  virtual double angleTo() = 0;                            // 10
  virtual double heightFrom() = 0;                         // 11
  virtual double heightTo() = 0;                           // 12
};

// ---- sweep surface ("IQorSweep") ----
// S(u, v) = spine(v) + M(v) c(u): c the held sketch (in the sweep frame), M(v) the frame at
// the spine point (z the spine's unit tangent, x the unit of ruler(v) - spine(v) across the
// tangent, y = z x x). Spine and ruler are held in world coordinates, as clones. The
// construction setters follow the three views a script reads.
// - Both windows are parameters as given: u goes to the sketch, v to the spine and to the
//   ruler alike (no reparameterisation); the defaults are (0, 1) and (0, 1).
// - The frame is not rotation-minimising: the ruler alone fixes x. Where the spine's tangent
//   is zero or the ruler point lies on the tangent line, any right-handed frame around the
//   tangent is taken and its derivatives there are zero.
// - IQorSwept::frame is M at the lower end of the v window with the spine point there as
//   its origin (the identity without a spine and a ruler), so a world sketch drawn at the
//   start of the spine maps into the sweep frame by its inverse.
// - isoCurve at fixed v: the sketch carried by M(v) to spine(v), a curve of the sketch's
//   kind. At fixed u: a cubic NURB curve through samples over the v window, as the drafted
//   surface's offset sections (null for an empty window).
// - A move takes similarities only: the spine and the ruler move, the sketch scales in the
//   frame (its y over for a mirror, since y = z x x turns over).
// - Record (class id {6b1e2a11-3c4d-4e5f-8011-223344556611}): the two windows, then the
//   sketch, the spine and the ruler, each as uint8 1 and the curve's record, or uint8 0.
class IQorSweep : public virtual IQorUnknown {
 public:
  // The held curves (borrowed), or null.
  virtual IQorCurve* spine() = 0;  // 0
  virtual IQorCurve* ruler() = 0;  // 1
  // Replaces the sketch by a one-member composite of a full circle of radius r in the
  // frame's xy plane; a negative or NaN radius is refused with a log line.
  virtual void setArcProfileRadius(double r) = 0;  // 2
  virtual void setSketch(IQorCurve* curve) = 0;    // 3
  virtual void setSpine(IQorCurve* curve) = 0;     // 4
  virtual void setRuler(IQorCurve* curve) = 0;     // 5
};
