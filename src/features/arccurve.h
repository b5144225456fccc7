// ArcCurve: the shell of a host arc ("IQorArc", which also answers "IQorCurve").
#pragma once
#include "features/feature.h"

namespace features {

// The arc shell's own interface, queried as "features::IQorArc". Slot order as declared.
class IQorArc : public virtual IQorUnknown {
 public:
  virtual void createHost() = 0;  // 0
  // Checks (unit normal and radDir within 1e-6, perpendicular within 1e-4, radius not
  // below 0), then replaces the arc keeping the host's angles and range.
  virtual void initialize(const QorVector& center, double radius, const QorVector& normal,
                          const QorVector& radDir) = 0;  // 1
  // The same with the host's radDir and no perpendicular check.
  virtual void initialize(const QorVector& center, double radius,
                          const QorVector& normal) = 0;  // 2
  // The evaluations at `t`, which must lie in the host curve's closed range.
  virtual QorVector evaluatePoint(double t) = 0;      // 3
  virtual QorVector evaluateTangent(double t) = 0;    // 4
  virtual QorVector evaluateCurvature(double t) = 0;  // 5
  // Passed on to the host curve's prepare.
  virtual void prepare() = 0;  // 6
  // The host as ::IQorArc, borrowed (two slots, one answer).
  virtual ::IQorArc* arc() = 0;      // 7
  virtual ::IQorArc* arcView() = 0;  // 8
};

class ArcCurve : public Feature, public IQorArc {
 public:
  // The data object's own initialize stays visible beside the shapes of the feature.
  using DataObject::initialize;
  // For a shell made around a host that exists: no host yet.
  struct NoHost {};
  // With its own host from the locator: xAxis (1, 0, 0), angles 0 to 2 pi, range (0, 1).
  ArcCurve();
  explicit ArcCurve(NoHost);
  // Leaves the registry, logs, lets go of the typed host.
  ~ArcCurve() override;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "ArcCurve"; }
  const char* typeString() override { return "qorapi.features.ArcCurve"; }
  const char* interfaceName() const override { return "IQorArc"; }

  // The base part, then the typed view and the arc's routed properties.
  void connect(::IQorFeature* host) override;
  // A new shell over a clone of the host.
  IQorDataObject* clone() override;
  void createHost() override;

  void initialize(const QorVector& center, double radius, const QorVector& normal,
                  const QorVector& radDir) override;
  void initialize(const QorVector& center, double radius, const QorVector& normal) override;
  QorVector evaluatePoint(double t) override;
  QorVector evaluateTangent(double t) override;
  QorVector evaluateCurvature(double t) override;
  void prepare() override;
  ::IQorArc* arc() override { return arc_.get(); }
  ::IQorArc* arcView() override { return arc_.get(); }
  // The host as a curve, or null.
  ::IQorCurve* curve() const;

  // ---- routed property bodies: getters read the host, zero without one; setters
  // re-initialise the host with one value replaced ----
  QorVector centerValue() const;
  void setCenterValue(const QorVector& v);
  QorVector normalValue() const;
  void setNormalValue(const QorVector& v);
  double radiusValue() const;
  void setRadiusValue(double v);
  QorVector radialDirValue() const;
  void setXAxisValue(const QorVector& v);
  QorVector yAxisValue() const;
  double startAngleValue() const;
  void setStartAngleValue(double v);
  double endAngleValue() const;
  void setEndAngleValue(double v);
  QorVector startPtValue() const;
  void setStartPtValue(const QorVector& v);
  QorVector endPtValue() const;
  void setEndPtValue(const QorVector& v);
  bool isDegenerateValue() const;
  bool isClosedValue() const;
  Vector2D rangeValue() const;
  void setRangeValue(const Vector2D& v);

 private:
  struct State {
    QorVector center, normal, radDir;
    double radius, startAngle, endAngle;
    double range[2];
  };
  State state() const;
  void apply(const State& s);
  void checkRange(double t) const;

  IPtr<::IQorArc> arc_;
  // The same host as a curve, taken when it is connected (a borrowed view of arc_).
  ::IQorCurve* curve_ = nullptr;
};

}  // namespace features
