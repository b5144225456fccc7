// CompositeCurve: the script shell of a host composite ("IQorCompositeCurve"): one curve
// made of member curves (arcs, lines, NURB curves), each held by the host as a clone.
#pragma once
#include <cstdint>

#include "core/iptr.h"
#include "datamodel/dataobject.h"
#include "features/feature.h"
#include "hostapi/iqorcurves.h"
#include "surfacing/curveshell.h"

namespace surfacing {

// The shell's own interface ("surfacing::ICompositeCurve"). Slot order as declared.
class ICompositeCurve : public virtual IQorUnknown {
 public:
  virtual QorVector evaluatePoint(double t) = 0;        // 0
  virtual QorVector evaluateTangent(double t) = 0;      // 1
  virtual QorVector evaluateCurvature(double t) = 0;    // 2
  virtual void transform(const QorMatrix& matrix) = 0;  // 3
  virtual int32_t numCurves() = 0;                      // 4
  virtual void addCurve(IQorUnknown* object) = 0;       // 5
  virtual void prepare() = 0;                           // 6
  // A new script object over a clone of the member (count 0), or null.
  virtual DataObject* curve(int32_t index) = 0;                   // 7
  virtual void setCurve(int32_t index, IQorUnknown* object) = 0;  // 8
};

class CompositeCurve : public DataObject, public ICompositeCurve, public ICurveShell {
 public:
  // Fetches a host under "IQorCompositeCurve"; range (0.0, 1.0).
  CompositeCurve();
  ~CompositeCurve() override;
  CompositeCurve(const CompositeCurve&) = delete;
  CompositeCurve& operator=(const CompositeCurve&) = delete;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "CompositeCurve"; }
  const char* typeString() override { return "qorapi.surfacing.CompositeCurve"; }
  QorID classId() override { return classIdentifier(); }
  // The class id the class factory makes this class by.
  static QorID classIdentifier();
  // The members' sizes (16 per NURB control point); 80 once a member is null or not a
  // NURB curve; 0 without members.
  int64_t memorySize() override;
  IQorUndoInfo* createUndoInfo() override;

  QorVector evaluatePoint(double t) override;
  QorVector evaluateTangent(double t) override;
  QorVector evaluateCurvature(double t) override;
  void transform(const QorMatrix& matrix) override;
  int32_t numCurves() override;
  void addCurve(IQorUnknown* object) override;
  void prepare() override;
  DataObject* curve(int32_t index) override;
  void setCurve(int32_t index, IQorUnknown* object) override;
  ::IQorCurve* hostCurve() override;
  void setHost(::IQorCompositeCurve* host);
  ::IQorCompositeCurve* composite() { return composite_.get(); }

  bool write(IQorDataModelWriter* writer) override;
  bool read(IQorDataModelReader* reader) override;
  using DataObject::read;
  using DataObject::write;

  // ---- routed property bodies ----
  Vector2D rangeValue() const;
  void setRangeValue(const Vector2D& v);
  bool isDegenerateValue() const;
  int32_t numCurvesValue() const;
  bool isClosedValue() const;
  QorBounds boundingBoxValue() const;

 private:
  // Raises the missing host's class error unless the composite has a host.
  void requireHost() const;
  // The host curve of a script curve addCurve and setCurve take (arc, line, NURB curve in
  // that order of query), or null.
  static ::IQorCurve* memberOf(IQorUnknown* object);

  IPtr<::IQorCompositeCurve> composite_;
  ::IQorCurve* curveView_ = nullptr;  // the same host as IQorCurve (borrowed)
};

// The undo record: the record clones its host again on every use, so it can run again.
class CompositeCurveUndoInfo : public features::UndoInfo {
 public:
  explicit CompositeCurveUndoInfo(CompositeCurve* curve);
  const char* className() override { return "CompositeCurveUndoInfo"; }
  void captureAfter() override;
  void undo() override;
  void redo() override;
  int64_t undoSize() override;

 private:
  IPtr<CompositeCurve> curveObject_;
  IPtr<::IQorCompositeCurve> beforeHost_;
  QorString beforeName_;
  IPtr<::IQorCompositeCurve> afterHost_;
  QorString afterName_;
};

// The memorySize rule on a host composite.
int64_t compositeSize(::IQorCompositeCurve* composite);

}  // namespace surfacing
