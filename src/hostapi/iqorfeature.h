// Host features: the geometry objects behind the script's feature shells, their parameter
// tables and the value objects the tables hold. Host interfaces are used by slot order:
// the order of the operations below is part of the contract (counted from 0). The module
// only calls them; the host implements them.
//
// Conventions:
// - A host object, table or value a "new"/"clone" operation gives is at count 0: the
//   caller holds it counted. Everything else given out is borrowed.
// - Vector getters write into `out` and answer it.
// - The trailing integer arguments of the initialize operations are the host's; the module
//   passes 0.
// - The "setParameter" message a host feature (or its table) sends its listeners carries
//   the parameter's name as `const QorString*` in `argument`. "startUpdate", "endUpdate"
//   and "updated" carry null.
// - Host operations never throw into the module.
#pragma once
#include <cstdint>

#include "base/iterstack.h"
#include "base/qorstring.h"
#include "core/qorobject.h"
#include "datamodel/iqordataevent.h"
#include "math/qorbounds.h"
#include "math/qormatrix.h"
#include "math/qorvector.h"
#include "math/vector2d.h"

class IQorSubject;

// ---- parameters ----

// A value object. The locator makes a new one on each fetch of its value interface's name
// ("IQorIntValue", "IQorDoubleValue", "IQorStringValue", "IQorVectorValue",
// "IQorVector2DValue"); each answers "IQorParameter" and its value interface.
class IQorParameter : public virtual IQorUnknown {};

class IQorIntValue : public virtual IQorUnknown {
 public:
  virtual int32_t value() = 0;               // 0
  virtual void setValue(int32_t value) = 0;  // 1
};

class IQorDoubleValue : public virtual IQorUnknown {
 public:
  virtual double value() = 0;               // 0
  virtual void setValue(double value) = 0;  // 1
};

class IQorStringValue : public virtual IQorUnknown {
 public:
  virtual const QorString& value() = 0;               // 0
  virtual void setValue(const QorString& value) = 0;  // 1
};

class IQorVectorValue : public virtual IQorUnknown {
 public:
  // The vector, or null when it holds none (reads as the zero vector).
  virtual const QorVector* value() = 0;               // 0
  virtual void setValue(const QorVector& value) = 0;  // 1
};

class IQorVector2DValue : public virtual IQorUnknown {
 public:
  virtual Vector2D value() = 0;                      // 0
  virtual void setValue(const Vector2D& value) = 0;  // 1
};

// A feature's ordered table of named parameters. It also answers "IQorSubject": its
// listeners hear "setParameter" (with the name) for every add, set and remove.
class IQorParameterTable : public virtual IQorUnknown {
 public:
  // Fills two parallel one-based stacks (slot 0 unused) with the entries, in table order;
  // the parameters are borrowed.
  virtual void list(IterStack<QorString>& names, IterStack<IQorParameter*>& parameters) = 0;  // 0
  // The entry of that name (borrowed), or null.
  virtual IQorParameter* parameter(const QorString& name) = 0;  // 1
  // Adds an entry at the end; an existing entry of that name is replaced in its place.
  virtual void add(const QorString& name, IQorParameter* parameter, int32_t flags) = 0;  // 2
  // Replaces an entry (adds it when missing).
  virtual void set(const QorString& name, IQorParameter* parameter) = 0;  // 3
  virtual void remove(const QorString& name) = 0;                         // 4
  // A deep copy (new value objects), without the listeners.
  virtual IQorParameterTable* clone() = 0;  // 5
};

// ---- features ----

// What every host feature is ("IQorFeature"). It also answers "IQorSubject" (its
// listeners hear its own and its table's messages) and "IQorPersistable".
class IQorFeature : public virtual IQorUnknown {
 public:
  // A new host object of the same kind with equal state, its table deep-copied.
  virtual IQorFeature* clone() = 0;  // 0
  // Replaces the table as a whole; listeners carry over and hear "setParameter" for each
  // entry that changed.
  virtual void setParameterTable(IQorParameterTable* table) = 0;  // 1
  virtual IQorParameterTable* parameterTable() = 0;               // 2
  // Sets one parameter (taking the value object), recomputes, and sends "setParameter".
  virtual void setParameter(const QorString& name, IQorParameter* parameter) = 0;  // 3
  virtual void transform(const QorMatrix& matrix) = 0;                             // 4
  // Extends `out` by the feature.
  virtual void boundingBox(QorBounds& out) = 0;  // 5
};

// A parametric curve ("IQorCurve"): the arc, the line and every curve of
// hostapi/iqorcurves.h answer it. Every operation is defined for every state (an
// evaluation the curve cannot make answers NaN components); none throws.
class IQorCurve : public virtual IQorUnknown {
 public:
  // The parameter range: 0 the lower end, 1 the upper end.
  virtual double range(int32_t index) = 0;                // 0
  virtual void setRange(double lower, double upper) = 0;  // 1
  virtual bool isClosed() = 0;                            // 2
  virtual bool isDegenerate() = 0;                        // 3
  // The operation that stands before evaluate; no effect on the reference host.
  virtual void prepare() = 0;  // 4
  // Writes the point and `order` derivatives at `t` into out[0 .. order].
  virtual void evaluate(double t, int32_t order, QorVector* out) = 0;  // 5
  virtual void evaluatePoint(QorVector& out, double t) = 0;            // 6
  // Moves the curve by `matrix` (the same as IQorFeature::transform).
  virtual void transform(const QorMatrix& matrix) = 0;  // 7
  // The arc length over the present range; NaN for a curve that cannot be evaluated.
  virtual double length() = 0;  // 8
  // (A copy of a curve is IQorFeature::clone, queried for "IQorCurve": both interfaces
  // sit on the same object, and one operation cannot answer both types.)
};

// A circular arc ("IQorArc"; it answers "IQorCurve" too). range is a pair of doubles.
class IQorArc : public virtual IQorUnknown {
 public:
  virtual void initialize(const QorVector& center, double radius, const QorVector& normal,
                          const QorVector& radialDir, double startAngle, double endAngle,
                          const double range[2], double reserved) = 0;   // 0
  virtual void setCenter(const QorVector& center) = 0;                   // 1
  virtual void setRadius(double radius) = 0;                             // 2
  virtual void setStartPoint(const QorVector& point, bool keepEnd) = 0;  // 3
  virtual void setEndPoint(const QorVector& point, bool keepStart) = 0;  // 4
  virtual QorVector& center(QorVector& out) = 0;                         // 5
  virtual QorVector& normal(QorVector& out) = 0;                         // 6
  virtual QorVector& radialDir(QorVector& out) = 0;                      // 7
  virtual QorVector& yAxis(QorVector& out) = 0;                          // 8
  virtual double radius() = 0;                                           // 9
  virtual double startAngle() = 0;                                       // 10
  virtual double endAngle() = 0;                                         // 11
  virtual QorVector& startPoint(QorVector& out) = 0;                     // 12
  virtual QorVector& endPoint(QorVector& out) = 0;                       // 13
  virtual double range(int32_t index) = 0;                               // 14
};

// A line segment ("IQorLine"; it answers "IQorCurve" too). Its parameter range is kept as
// the table entry "<Range>" (an IQorVector2DValue), read live.
class IQorLine : public virtual IQorUnknown {
 public:
  // `range` may be null: the range stays.
  virtual void initialize(const QorVector& start, const QorVector& end, const double* range,
                          double reserved) = 0;  // 0
  virtual QorVector& start(QorVector& out) = 0;  // 1
  virtual QorVector& end(QorVector& out) = 0;    // 2
};

// ---- surfaces ----

class IQorCone : public virtual IQorUnknown {
 public:
  // By two circles.
  virtual void initialize(const QorVector& centerFrom, const QorVector& centerTo, double radiusFrom,
                          double radiusTo, const QorVector& radialDir, int32_t a, int32_t b,
                          int32_t c) = 0;  // 0
  // By apex; `range` is (heightFrom, heightTo) or null.
  virtual void initialize(const QorVector& apex, const QorVector& axis, const QorVector& radialDir,
                          double halfAngle, int32_t a, const double* range, int32_t b,
                          int32_t c) = 0;             // 1
  virtual void setAngleFrom(double value) = 0;        // 2
  virtual void setAngleTo(double value) = 0;          // 3
  virtual QorVector& apex(QorVector& out) = 0;        // 4
  virtual QorVector& axis(QorVector& out) = 0;        // 5
  virtual QorVector& radialDir(QorVector& out) = 0;   // 6
  virtual QorVector& centerFrom(QorVector& out) = 0;  // 7
  virtual QorVector& centerTo(QorVector& out) = 0;    // 8
  virtual double halfAngle() = 0;                     // 9
  virtual double radiusFrom() = 0;                    // 10
  virtual double radiusTo() = 0;                      // 11
  virtual double angleFrom() = 0;                     // 12
  virtual double angleTo() = 0;                       // 13
  virtual double heightFrom() = 0;                    // 14
  virtual double heightTo() = 0;                      // 15
};

class IQorCylinder : public virtual IQorUnknown {
 public:
  virtual void initialize(const QorVector& centerFrom, const QorVector& centerTo, double radius,
                          const QorVector& radialDir, int32_t a, int32_t b,
                          int32_t c) = 0;             // 0
  virtual void setRadius(double radius) = 0;          // 1
  virtual void setAngleFrom(double value) = 0;        // 2
  virtual void setAngleTo(double value) = 0;          // 3
  virtual QorVector& centerFrom(QorVector& out) = 0;  // 4
  virtual QorVector& centerTo(QorVector& out) = 0;    // 5
  virtual QorVector& axis(QorVector& out) = 0;        // 6
  virtual QorVector& radialDir(QorVector& out) = 0;   // 7
  virtual double radius() = 0;                        // 8
  virtual double heightFrom() = 0;                    // 9
  virtual double heightTo() = 0;                      // 10
  virtual double angleFrom() = 0;                     // 11
  virtual double angleTo() = 0;                       // 12
};

class IQorSphere : public virtual IQorUnknown {
 public:
  virtual void initialize(const QorVector& center, double radius, const QorVector& axis,
                          const QorVector& radDir, int32_t a, int32_t b, int32_t c,
                          int32_t d) = 0;               // 0
  virtual void setRadius(double radius) = 0;            // 1
  virtual void setRadDir(const QorVector& radDir) = 0;  // 2
  virtual void setLatitudeFrom(double value) = 0;       // 3
  virtual void setLatitudeTo(double value) = 0;         // 4
  virtual void setLongitudeFrom(double value) = 0;      // 5
  virtual void setLongitudeTo(double value) = 0;        // 6
  virtual QorVector& center(QorVector& out) = 0;        // 7
  virtual QorVector& axis(QorVector& out) = 0;          // 8
  virtual QorVector& radDir(QorVector& out) = 0;        // 9
  virtual double radius() = 0;                          // 10
  virtual double latitudeFrom() = 0;                    // 11
  virtual double latitudeTo() = 0;                      // 12
  virtual double longitudeFrom() = 0;                   // 13
  virtual double longitudeTo() = 0;                     // 14
};

class IQorTorus : public virtual IQorUnknown {
 public:
  virtual void initialize(const QorVector& center, const QorVector& axis, double centerRadius,
                          double profileRadius, const QorVector& radDir, int32_t a, int32_t b,
                          int32_t c, int32_t d) = 0;    // 0
  virtual void setCenter(const QorVector& center) = 0;  // 1
  virtual void setAxis(const QorVector& axis) = 0;      // 2
  virtual void setCenterRadius(double radius) = 0;      // 3
  virtual void setProfileRadius(double radius) = 0;     // 4
  virtual void setLatitudeFrom(double value) = 0;       // 5
  virtual void setLatitudeTo(double value) = 0;         // 6
  virtual void setLongitudeFrom(double value) = 0;      // 7
  virtual void setLongitudeTo(double value) = 0;        // 8
  virtual QorVector& center(QorVector& out) = 0;        // 9
  virtual QorVector& axis(QorVector& out) = 0;          // 10
  virtual QorVector& radDir(QorVector& out) = 0;        // 11
  virtual double centerRadius() = 0;                    // 12
  virtual double profileRadius() = 0;                   // 13
  virtual double latitudeFrom() = 0;                    // 14
  virtual double latitudeTo() = 0;                      // 15
  virtual double longitudeFrom() = 0;                   // 16
  virtual double longitudeTo() = 0;                     // 17
};

class IQorPlane : public virtual IQorUnknown {
 public:
  virtual void initialize(const QorVector& origin, const QorVector& normal, const QorVector& uDir,
                          const Vector2D& uRange, const Vector2D& vRange) = 0;  // 0
  virtual void setOrigin(const QorVector& origin) = 0;                          // 1
  virtual QorVector& origin(QorVector& out) = 0;                                // 2
  virtual QorVector& normal(QorVector& out) = 0;                                // 3
  virtual QorVector& uDir(QorVector& out) = 0;                                  // 4
  virtual void setRanges(const Vector2D& u, const Vector2D& v) = 0;             // 5
  virtual void ranges(Vector2D& u, Vector2D& v) = 0;                            // 6
};
