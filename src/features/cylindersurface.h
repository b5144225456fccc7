// CylinderSurface: the script shell of a host cylinder.
#pragma once
#include "core/iptr.h"
#include "features/feature.h"
#include "hostapi/iqorfeature.h"

namespace features {

// The cylinder shell's own interface, queried as "features::IQorCylinder". Slot order as
// declared.
class IQorCylinder : public virtual IQorUnknown {
 public:
  virtual void createHost() = 0;                // 0
  virtual ::IQorCylinder* hostCylinder() = 0;   // 1
  virtual ::IQorCylinder* hostCylinder2() = 0;  // 2
  // centerTo = centerFrom + height axis (axis repaired); radialDir repaired and tested.
  virtual void initialize(const QorVector& centerFrom, const QorVector& axis, double height,
                          double radius, const QorVector& radialDir) = 0;  // 3
  virtual void initialize(const QorVector& centerFrom, const QorVector& centerTo, double radius,
                          const QorVector& radialDir) = 0;  // 4
  // The radial direction is the X axis.
  virtual void initialize(const QorVector& centerFrom, const QorVector& axis, double height,
                          double radius) = 0;  // 5
  virtual void initialize(const QorVector& centerFrom, const QorVector& centerTo,
                          double radius) = 0;  // 6
};

class CylinderSurface : public SurfaceFeature, public IQorCylinder {
 public:
  // The data object's own initialize stays visible beside the shapes of the feature.
  using DataObject::initialize;
  // A shell without a host.
  CylinderSurface();
  ~CylinderSurface() override;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "CylinderSurface"; }
  const char* typeString() override { return "qorapi.features.CylinderFeature"; }
  const char* interfaceName() const override { return "IQorCylinder"; }
  IQorDataObject* clone() override;

  void connect(::IQorFeature* host) override;
  void createHost() override;
  ::IQorCylinder* hostCylinder() override { return cylinder_.get(); }
  ::IQorCylinder* hostCylinder2() override { return cylinder_.get(); }
  void initialize(const QorVector& centerFrom, const QorVector& axis, double height, double radius,
                  const QorVector& radialDir) override;
  void initialize(const QorVector& centerFrom, const QorVector& centerTo, double radius,
                  const QorVector& radialDir) override;
  void initialize(const QorVector& centerFrom, const QorVector& axis, double height,
                  double radius) override;
  void initialize(const QorVector& centerFrom, const QorVector& centerTo, double radius) override;

  // Routed values: zero without a host.
  QorVector centerFrom() const;
  QorVector axis() const;
  double radius() const;
  double height() const;
  QorVector radialDir() const;
  QorVector centerTo() const;
  double angleFrom() const;
  double angleTo() const;
  int32_t solidityValue() const;
  void setCenterFrom(const QorVector& v);
  void setAxis(const QorVector& v);
  void setRadius(double v);
  void setHeight(double v);
  void setAngleFrom(double v);
  void setAngleTo(double v);
  void setSolidityValue(int32_t v);

 private:
  void checkRadius(double radius);
  void checkAcross(const QorVector& axis, const QorVector& radialDir);
  // The host's initialize with the current radius and radial direction.
  void reshape(const QorVector& centerFrom, const QorVector& centerTo);

  IPtr<::IQorCylinder> cylinder_;
};

}  // namespace features
