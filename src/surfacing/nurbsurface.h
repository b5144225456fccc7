// NurbSurface: the script shell of a host NURB surface ("IQorNurbSurface", which also
// answers "IQorSurface" and "IQorFeature"). A SurfaceFeature with views of the control
// net, the weights and the two knot vectors.
#pragma once
#include <cstdint>

#include "core/iptr.h"
#include "datamodel/arrays.h"
#include "features/feature.h"
#include "hostapi/iqorcurves.h"

namespace surfacing {

// The shell's own interface ("surfacing::INurbSurface"). Slot order as declared.
class INurbSurface : public virtual IQorUnknown {
 public:
  virtual void initialize(int32_t degreeInU, int32_t degreeInV, int32_t numControlPointsInU,
                          int32_t numControlPointsInV) = 0;                                // 0
  virtual QorVector evaluatePoint(double u, double v) = 0;                                 // 1
  virtual void evaluateTangent(double u, double v, QorVector& outU, QorVector& outV) = 0;  // 2
  // The host's principal curvatures: first = k_min, second = k_max.
  virtual void evaluateCurvature(double u, double v, double& first, double& second) = 0;  // 3
  virtual void transform(const QorMatrix& matrix) = 0;                                    // 4
  virtual void setHost(::IQorNurbSurface* host) = 0;                                      // 5
  virtual ::IQorSurface* surface() = 0;                                                   // 6
  virtual const ::IQorSurface* surfaceView() const = 0;                                   // 7
  virtual ::IQorNurbSurface* nurbSurface() = 0;                                           // 8
  virtual const ::IQorNurbSurface* nurbSurfaceView() const = 0;                           // 9
};

// Views over a counted host reference (a view outlives its shell); class errors of class
// "NurbSurface". Negative (u, v) count from the end; u is tested before v.
class CtrlPointsArray2D : public Vector3DArray2D {
 public:
  explicit CtrlPointsArray2D(::IQorNurbSurface* host) : host_(host) {}
  void bind(::IQorNurbSurface* host) { host_ = host; }
  const char* className() override { return "CtrlPointsArray2D"; }
  int32_t rowCount() override;     // numControlPointsInU
  int32_t columnCount() override;  // numControlPointsInV
  QorVector& at(QorVector& out, int32_t u, int32_t v) override;
  // Keeps the position's weight.
  void set(int32_t u, int32_t v, const QorVector& value) override;

 private:
  IPtr<::IQorNurbSurface> host_;  // counted: a view held past its shell still reads the host
};

class WeightsArray2D : public DoubleArray2D {
 public:
  explicit WeightsArray2D(::IQorNurbSurface* host) : host_(host) {}
  void bind(::IQorNurbSurface* host) { host_ = host; }
  const char* className() override { return "WeightsArray2D"; }
  int32_t rowCount() override;
  int32_t columnCount() override;
  double at(int32_t u, int32_t v) override;
  // A weight equal to 0.0 fails first; NaN passes.
  void set(int32_t u, int32_t v, double value) override;

 private:
  IPtr<::IQorNurbSurface> host_;  // counted: a view held past its shell still reads the host
};

// One knot vector; `at` takes no negative index, `set` counts a negative one from the end.
class KnotsArraySurface : public DoubleArray {
 public:
  KnotsArraySurface(::IQorNurbSurface* host, bool directionU);
  void bind(::IQorNurbSurface* host) { host_ = host; }
  const char* className() override { return "KnotsArraySurface"; }
  int32_t size() override;
  bool next() override;
  double current() override;
  double at(int32_t index) override;
  void set(int32_t index, double value) override;
  void reset() override { cursor_ = -1; }
  DoubleIter* newIterator() override;

 private:
  IPtr<::IQorNurbSurface> host_;  // counted: a view held past its shell still reads the host
  uint8_t directionU_;
};

class NurbSurface : public features::SurfaceFeature, public INurbSurface {
 public:
  using DataObject::initialize;
  // Fetches a host: initialize(false, 3, 3, 4, 4), knots (0,0,0,0,1,1,1,1) both ways,
  // 4 x 4 zero poles of weight 1.
  NurbSurface();
  struct NoHost {};
  // Without a host, for reading from a file and for makeSurface.
  explicit NurbSurface(NoHost);
  ~NurbSurface() override;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "NurbSurface"; }
  const char* typeString() override { return "qorapi.surfacing.NurbSurface"; }
  const char* interfaceName() const override { return "IQorNurbSurface"; }
  // The base part, then setHost with the host as IQorNurbSurface: undo and file reading
  // re-bind the views.
  void connect(::IQorFeature* host) override;
  void createHost() override;
  // makeSurface on the host.
  IQorDataObject* clone() override;
  IQorUnknown* surfaceExtra() override;

  void initialize(int32_t degreeInU, int32_t degreeInV, int32_t numControlPointsInU,
                  int32_t numControlPointsInV) override;
  QorVector evaluatePoint(double u, double v) override;
  void evaluateTangent(double u, double v, QorVector& outU, QorVector& outV) override;
  void evaluateCurvature(double u, double v, double& first, double& second) override;
  void transform(const QorMatrix& matrix) override;
  void setHost(::IQorNurbSurface* host) override;
  ::IQorSurface* surface() override;
  const ::IQorSurface* surfaceView() const override;
  ::IQorNurbSurface* nurbSurface() override { return surface_.get(); }
  const ::IQorNurbSurface* nurbSurfaceView() const override { return surface_.get(); }

  // ---- routed property bodies ----
  int32_t degreeInUValue() const;
  int32_t degreeInVValue() const;
  bool isClosedInUValue() const;
  bool isClosedInVValue() const;
  Vector2D uRangeValue() const;
  void setURangeValue(const Vector2D& v);
  Vector2D vRangeValue() const;
  void setVRangeValue(const Vector2D& v);
  int32_t isRationalValue() const;

  // Feature's reading, then the views go back into the array properties (reading replaces
  // what those hold).
  bool read(IQorDataModelReader* reader) override;
  using DataObject::read;

 private:
  // The four views over no host and the properties, the routed box aside (connect adds it).
  void makeViews();
  // Steps 1 and 3 of setHost: the typed host and the views.
  void bindSurface(::IQorNurbSurface* host);
  // The range test of the evaluations, u first; `operation` names the class of the error.
  void checkRanges(double u, double v, const char* operation);

  IPtr<::IQorNurbSurface> surface_;
  ::IQorSurface* surfaceView_ = nullptr;  // the same host as IQorSurface (borrowed)
  CtrlPointsArray2D* controlPointArray_ = nullptr;
  KnotsArraySurface* knotArrayU_ = nullptr;
  KnotsArraySurface* knotArrayV_ = nullptr;
  WeightsArray2D* weightArray_ = nullptr;
};

}  // namespace surfacing
