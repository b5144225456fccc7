// ConeSurface: the script shell of a host cone. It checks and repairs what a script gives,
// passes the result to the host, and reads every value back from the host.
#pragma once
#include "core/iptr.h"
#include "features/feature.h"
#include "hostapi/iqorfeature.h"

namespace features {

// The cone shell's own interface, queried as "features::IQorCone". Slot order as declared.
class IQorCone : public virtual IQorUnknown {
 public:
  virtual void createHost() = 0;  // 0
  // By two circles; radialDir repaired and tested against the axis.
  virtual void initialize(const QorVector& centerFrom, const QorVector& centerTo, double radiusFrom,
                          double radiusTo, const QorVector& radialDir) = 0;  // 1
  // By two circles; the radial direction is the X axis.
  virtual void initialize(const QorVector& centerFrom, const QorVector& centerTo, double radiusFrom,
                          double radiusTo) = 0;  // 2
  // By apex, with heights and a radial direction.
  virtual void initialize(const QorVector& apex, const QorVector& axis, double halfAngle,
                          double heightFrom, double heightTo, const QorVector& radialDir) = 0;  // 3
  // By apex, with heights.
  virtual void initialize(const QorVector& apex, const QorVector& axis, double halfAngle,
                          double heightFrom, double heightTo) = 0;  // 4
  // By apex alone.
  virtual void initialize(const QorVector& apex, const QorVector& axis, double halfAngle) = 0;  // 5
  virtual ::IQorCone* hostCone() = 0;                                                           // 6
  virtual ::IQorCone* hostCone2() = 0;                                                          // 7
};

class ConeSurface : public SurfaceFeature, public IQorCone {
 public:
  // The data object's own initialize stays visible beside the shapes of the feature.
  using DataObject::initialize;
  // A shell without a host.
  ConeSurface();
  ~ConeSurface() override;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "ConeSurface"; }
  const char* typeString() override { return "qorapi.features.ConeFeature"; }
  const char* interfaceName() const override { return "IQorCone"; }
  IQorDataObject* clone() override;

  void connect(::IQorFeature* host) override;
  void createHost() override;

  void initialize(const QorVector& centerFrom, const QorVector& centerTo, double radiusFrom,
                  double radiusTo, const QorVector& radialDir) override;
  void initialize(const QorVector& centerFrom, const QorVector& centerTo, double radiusFrom,
                  double radiusTo) override;
  void initialize(const QorVector& apex, const QorVector& axis, double halfAngle, double heightFrom,
                  double heightTo, const QorVector& radialDir) override;
  void initialize(const QorVector& apex, const QorVector& axis, double halfAngle, double heightFrom,
                  double heightTo) override;
  void initialize(const QorVector& apex, const QorVector& axis, double halfAngle) override;
  ::IQorCone* hostCone() override { return cone_.get(); }
  ::IQorCone* hostCone2() override { return cone_.get(); }

  // Routed values: zero without a host.
  QorVector centerFrom() const;
  QorVector centerTo() const;
  double radiusFrom() const;
  double radiusTo() const;
  QorVector axis() const;
  QorVector apex() const;
  double halfAngle() const;
  double height() const;
  QorVector radialDir() const;
  double angleFrom() const;
  double angleTo() const;
  int32_t solidityValue() const;
  void setCenterFrom(const QorVector& v);
  void setCenterTo(const QorVector& v);
  void setRadiusFrom(double v);
  void setRadiusTo(double v);
  void setAngleFrom(double v);
  void setAngleTo(double v);
  void setSolidityValue(int32_t v);

 private:
  void byCircles(const QorVector& centerFrom, const QorVector& centerTo, double radiusFrom,
                 double radiusTo, const QorVector* radialDir);
  void byApex(const QorVector& apex, const QorVector& axis, double halfAngle, const double* range,
              const QorVector* radialDir);

  IPtr<::IQorCone> cone_;
};

}  // namespace features
