// NurbCurve: the script shell of a host NURB curve ("IQorNurbCurve"), with three array
// views that read and write the host element by element. A DataObject, not a Feature.
#pragma once
#include <cstdint>

#include "core/iptr.h"
#include "datamodel/arrays.h"
#include "datamodel/dataobject.h"
#include "features/feature.h"
#include "hostapi/iqorcurves.h"
#include "surfacing/curveshell.h"

namespace surfacing {

// The shell's own interface ("surfacing::INurbCurve"). Slot order as declared.
class INurbCurve : public virtual IQorUnknown {
 public:
  virtual void initialize(int32_t degree, int32_t numControlPoints) = 0;  // 0
  virtual QorVector evaluatePoint(double t) = 0;                          // 1
  virtual QorVector evaluateTangent(double t) = 0;                        // 2
  virtual QorVector evaluateCurvature(double t) = 0;                      // 3
  virtual void transform(const QorMatrix& matrix) = 0;                    // 4
  virtual void prepare() = 0;                                             // 5
  virtual void copyFrom(::IQorNurbCurve* source) = 0;                     // 6
  virtual ::IQorNurbCurve* nurbCurve() = 0;                               // 7
};

// The views hold a counted host reference (a view outlives its shell), zero-based cursor -1 at
// start, fixed size. Class errors of class "NurbCurve".
class CtrlPointsArray : public Vector3DArray {
 public:
  explicit CtrlPointsArray(::IQorNurbCurve* host);
  void bind(::IQorNurbCurve* host) { host_ = host; }
  const char* className() override { return "CtrlPointsArray"; }
  int32_t size() override;
  bool next() override;
  QorVector& current(QorVector& out) override;
  QorVector& at(QorVector& out, int32_t index) override;
  // setControlPoint(i, value, weight(i)): keeps the weight.
  void set(int32_t index, const QorVector& value) override;
  void reset() override { cursor_ = -1; }
  Vector3DIter* newIterator() override;

 private:
  IPtr<::IQorNurbCurve> host_;  // counted: a view held past its shell still reads the host
};

class KnotsArray : public DoubleArray {
 public:
  explicit KnotsArray(::IQorNurbCurve* host);
  void bind(::IQorNurbCurve* host) { host_ = host; }
  const char* className() override { return "KnotsArray"; }
  int32_t size() override;
  bool next() override;
  double current() override;
  double at(int32_t index) override;
  void set(int32_t index, double value) override;
  void reset() override { cursor_ = -1; }
  DoubleIter* newIterator() override;

 private:
  IPtr<::IQorNurbCurve> host_;  // counted: a view held past its shell still reads the host
};

class WeightsArray : public DoubleArray {
 public:
  explicit WeightsArray(::IQorNurbCurve* host);
  void bind(::IQorNurbCurve* host) { host_ = host; }
  const char* className() override { return "WeightsArray"; }
  int32_t size() override;
  bool next() override;
  double current() override;
  double at(int32_t index) override;
  // A weight equal to 0.0 fails before the index is tested; NaN passes.
  void set(int32_t index, double value) override;
  void reset() override { cursor_ = -1; }
  DoubleIter* newIterator() override;

 private:
  IPtr<::IQorNurbCurve> host_;  // counted: a view held past its shell still reads the host
};

class NurbCurve : public DataObject, public INurbCurve, public ICurveShell {
 public:
  using DataObject::initialize;
  // Fetches a host under "IQorNurbCurve": initialize(false, 3, 4), knots
  // (0,0,0,0,1,1,1,1), four zero poles of weight 1; range (0, 1).
  NurbCurve();
  ~NurbCurve() override;
  NurbCurve(const NurbCurve&) = delete;
  NurbCurve& operator=(const NurbCurve&) = delete;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "NurbCurve"; }
  const char* typeString() override { return "qorapi.surfacing.NurbCurve"; }
  QorID classId() override { return classIdentifier(); }
  // The class id the class factory makes this class by.
  static QorID classIdentifier();
  // 16 bytes per control point.
  int64_t memorySize() override;
  // A new NurbCurve over a clone of the host, with this curve's name.
  IQorDataObject* clone() override;
  IQorUndoInfo* createUndoInfo() override;

  void initialize(int32_t degree, int32_t numControlPoints) override;
  QorVector evaluatePoint(double t) override;
  QorVector evaluateTangent(double t) override;
  QorVector evaluateCurvature(double t) override;
  // The host's transform, then "updated".
  void transform(const QorMatrix& matrix) override;
  void prepare() override;
  void copyFrom(::IQorNurbCurve* source) override;
  ::IQorNurbCurve* nurbCurve() override { return curve_.get(); }
  ::IQorCurve* hostCurve() override;
  // Replaces the host (new reference first) and re-binds the three views.
  void setHost(::IQorNurbCurve* host);

  // Version 2: the host's record and the DataObject part inside the object record.
  bool write(IQorDataModelWriter* writer) override;
  bool read(IQorDataModelReader* reader) override;
  using DataObject::read;
  using DataObject::write;

  // ---- routed property bodies ----
  int32_t degreeValue() const;
  Vector2D rangeValue() const;
  void setRangeValue(const Vector2D& v);
  bool isRationalValue() const;
  bool isDegenerateValue() const;
  bool isClosedValue() const;
  QorBounds boundingBoxValue() const;

 private:
  struct Bare {};
  // The views and the properties, over no host yet.
  explicit NurbCurve(Bare);
  // Hands the host to the three views and takes its IQorCurve view.
  void bindViews();

  IPtr<::IQorNurbCurve> curve_;
  ::IQorCurve* curveView_ = nullptr;  // the same host as IQorCurve (borrowed)
  CtrlPointsArray* controlPointArray_ = nullptr;
  KnotsArray* knotArray_ = nullptr;
  WeightsArray* weightArray_ = nullptr;
};

// The undo record: whole host clones before and after, and the names; no proxy lock.
class NurbCurveUndoInfo : public features::UndoInfo {
 public:
  explicit NurbCurveUndoInfo(NurbCurve* curve);
  ~NurbCurveUndoInfo() override;
  NurbCurveUndoInfo(const NurbCurveUndoInfo&) = delete;
  NurbCurveUndoInfo& operator=(const NurbCurveUndoInfo&) = delete;
  const char* className() override { return "NurbCurveUndoInfo"; }
  void captureAfter() override;
  // copyFrom(before), setName(before), "updated"; redo the same from after.
  void undo() override;
  void redo() override;
  // 16 x numControlPoints of each clone held.
  int64_t undoSize() override;

 private:
  IPtr<NurbCurve> curveObject_;
  IPtr<::IQorNurbCurve> beforeHost_;
  QorString beforeName_;
  IPtr<::IQorNurbCurve> afterHost_;
  QorString afterName_;
};

// The clamped uniform knots of n control points of degree d (n + d + 1 values): 0.0 for
// the first d + 1, 1.0 for the last d + 1, (i - d) * (1.0 / (n - d)) between.
void clampedUniformKnots(int32_t n, int32_t d, double* out);

}  // namespace surfacing
