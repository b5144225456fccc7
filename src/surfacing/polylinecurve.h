// PolylineCurve: the script shell of a host polyline ("IQorPolyLine"/"IQorPolyLineV2"),
// with views of its points and knots. A DataObject, not a Feature.
#pragma once
#include <cstdint>

#include "core/iptr.h"
#include "datamodel/arrays.h"
#include "datamodel/dataobject.h"
#include "hostapi/iqorcurves.h"
#include "surfacing/curveshell.h"

namespace surfacing {

// The shell's own interface ("surfacing::IPolylineCurve"). Slot order as declared.
class IPolylineCurve : public virtual IQorUnknown {
 public:
  virtual void initialize(Vector3DArray* points, DoubleArray* knots) = 0;  // 0
  virtual void initialize(int32_t numPoints) = 0;                          // 1
  virtual QorVector evaluatePoint(double t) = 0;                           // 2
  virtual QorVector evaluateTangent(double t) = 0;                         // 3
  virtual QorVector evaluateCurvature(double t) = 0;                       // 4
  virtual void transform(const QorMatrix& matrix) = 0;                     // 5
  virtual void prepare() = 0;                                              // 6
};

// Views over a raw IQorPolyLineV2*; cursor from 0, the host's one-based index. Class
// errors of class "PolylineCurve".
class PointsArray : public Vector3DArray {
 public:
  explicit PointsArray(::IQorPolyLineV2* host);
  void bind(::IQorPolyLineV2* host) { host_ = host; }
  const char* className() override { return "PointsArray"; }
  int32_t size() override;
  bool next() override;
  QorVector& current(QorVector& out) override;
  QorVector& at(QorVector& out, int32_t index) override;
  void set(int32_t index, const QorVector& value) override;
  // Always fails: "Cannot append to points. Call initialize() to change number of points
  // or knots".
  void append(const QorVector& value) override;
  void reset() override { cursor_ = 0; }
  Vector3DIter* newIterator() override;

 private:
  IPtr<::IQorPolyLineV2> host_;  // counted: a view held past its shell still reads the host
};

class PolyKnotsArray : public DoubleArray {
 public:
  explicit PolyKnotsArray(::IQorPolyLineV2* host);
  void bind(::IQorPolyLineV2* host) { host_ = host; }
  const char* className() override { return "PolyKnotsArray"; }
  int32_t size() override;
  bool next() override;
  double current() override;
  double at(int32_t index) override;
  void set(int32_t index, double value) override;
  void reset() override { cursor_ = 0; }
  // Walks the host's knots, as the points' iterator walks the points.
  DoubleIter* newIterator() override;

 private:
  IPtr<::IQorPolyLineV2> host_;  // counted: a view held past its shell still reads the host
};

class PolylineCurve : public DataObject, public IPolylineCurve, public ICurveShell {
 public:
  using DataObject::initialize;
  // Fetches a host under "IQorPolyLine"; range (0.0, 2147483647.0); no points.
  PolylineCurve();
  ~PolylineCurve() override;
  PolylineCurve(const PolylineCurve&) = delete;
  PolylineCurve& operator=(const PolylineCurve&) = delete;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "PolylineCurve"; }
  const char* typeString() override { return "qorapi.surfacing.PolylineCurve"; }
  QorID classId() override { return classIdentifier(); }
  // The class id the class factory makes this class by.
  static QorID classIdentifier();

  // One setPointsAndKnots after the checks.
  void initialize(Vector3DArray* points, DoubleArray* knots) override;
  void initialize(int32_t numPoints) override;
  QorVector evaluatePoint(double t) override;
  QorVector evaluateTangent(double t) override;
  // Zero in range, without asking the host.
  QorVector evaluateCurvature(double t) override;
  void transform(const QorMatrix& matrix) override;
  void prepare() override;
  ::IQorCurve* hostCurve() override;
  // Replaces the host and hands it to both views as IQorPolyLineV2.
  void setHost(::IQorPolyLine* host);
  ::IQorPolyLine* polyline() { return polyline_.get(); }

  bool write(IQorDataModelWriter* writer) override;
  bool read(IQorDataModelReader* reader) override;
  using DataObject::read;
  using DataObject::write;

  // ---- routed property bodies ----
  Vector2D rangeValue() const;
  void setRangeValue(const Vector2D& v);
  bool isDegenerateValue() const;
  bool isClosedValue() const;
  QorBounds boundingBoxValue() const;

 private:
  IPtr<::IQorPolyLine> polyline_;
  ::IQorCurve* curveView_ = nullptr;  // the same host as IQorCurve (borrowed)
  PointsArray* pointArray_ = nullptr;
  PolyKnotsArray* knotArray_ = nullptr;
};

}  // namespace surfacing
