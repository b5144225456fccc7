// LineFeature: the shell of a host line segment ("IQorLine", which also answers
// "IQorCurve").
#pragma once
#include "features/feature.h"

namespace features {

// The line shell's own interface, queried as "features::IQorLine". Slot order as declared.
class IQorLine : public virtual IQorUnknown {
 public:
  virtual void createHost() = 0;  // 0
  // The host as ::IQorLine, borrowed (two slots, one answer).
  virtual ::IQorLine* line() = 0;      // 1
  virtual ::IQorLine* lineView() = 0;  // 2
  // From `start` along `direction` (made a unit vector when it is not one within 1e-6)
  // for `length`, which must not be below 0.
  virtual void initialize(const QorVector& start, const QorVector& direction,
                          double length) = 0;                                 // 3
  virtual void initialize(const QorVector& start, const QorVector& end) = 0;  // 4
};

class LineFeature : public Feature, public IQorLine {
 public:
  // The data object's own initialize stays visible beside the shapes of the feature.
  using DataObject::initialize;
  struct NoHost {};
  // With its own host from the locator and range (0, 1).
  LineFeature();
  explicit LineFeature(NoHost);
  ~LineFeature() override;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "LineFeature"; }
  const char* typeString() override { return "qorapi.features.LineFeature"; }
  const char* interfaceName() const override { return "IQorLine"; }

  void connect(::IQorFeature* host) override;
  IQorDataObject* clone() override;
  void createHost() override;

  ::IQorLine* line() override { return line_.get(); }
  ::IQorLine* lineView() override { return line_.get(); }
  void initialize(const QorVector& start, const QorVector& direction, double length) override;
  void initialize(const QorVector& start, const QorVector& end) override;
  // The evaluations at `t`, which must lie in the host curve's closed range; the
  // curvature of a line is zero.
  QorVector evaluatePoint(double t);
  QorVector evaluateTangent(double t);
  QorVector evaluateCurvature(double t);
  void prepare();
  ::IQorCurve* curve() const;

  // ---- routed property bodies ----
  QorVector startValue() const;
  void setStartValue(const QorVector& v);
  QorVector endValue() const;
  void setEndValue(const QorVector& v);
  QorVector planeNormalValue() const { return planeNormal_; }
  void setPlaneNormalValue(const QorVector& v) { planeNormal_ = v; }
  double lengthValue() const;
  QorVector directionValue() const;
  Vector2D rangeValue() const;
  void setRangeValue(const Vector2D& v);
  bool isDegenerateValue() const;
  bool isClosedValue() const;

 private:
  void checkRange(double t) const;
  // Re-initialises the host with both ends, keeping the range.
  void reinitialize(const QorVector& start, const QorVector& end);

  IPtr<::IQorLine> line_;
  // The same host as a curve, taken when it is connected (a borrowed view of line_).
  ::IQorCurve* curve_ = nullptr;
  QorVector planeNormal_;  // the shell's own: neither stored nor cloned
};

}  // namespace features
