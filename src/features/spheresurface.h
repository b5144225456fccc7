// SphereSurface: the script shell of a host sphere.
#pragma once
#include "core/iptr.h"
#include "features/feature.h"
#include "hostapi/iqorfeature.h"

namespace features {

// The sphere shell's own interface, queried as "features::IQorSphere". Slot order as
// declared.
class IQorSphere : public virtual IQorUnknown {
 public:
  virtual void createHost() = 0;            // 0
  virtual ::IQorSphere* hostSphere() = 0;   // 1
  virtual ::IQorSphere* hostSphere2() = 0;  // 2
  // axis and radDir repaired; radDir must be perpendicular to the axis.
  virtual void initialize(const QorVector& center, double radius, const QorVector& axis,
                          const QorVector& radDir) = 0;  // 3
  // radDir is the X axis.
  virtual void initialize(const QorVector& center, double radius, const QorVector& axis) = 0;  // 4
  // The axis is Z, radDir X.
  virtual void initialize(const QorVector& center, double radius) = 0;  // 5
};

class SphereSurface : public SurfaceFeature, public IQorSphere {
 public:
  // The data object's own initialize stays visible beside the shapes of the feature.
  using DataObject::initialize;
  // A shell without a host.
  SphereSurface();
  ~SphereSurface() override;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "SphereSurface"; }
  const char* typeString() override { return "qorapi.features.SphereFeature"; }
  const char* interfaceName() const override { return "IQorSphere"; }
  IQorDataObject* clone() override;

  void connect(::IQorFeature* host) override;
  void createHost() override;
  ::IQorSphere* hostSphere() override { return sphere_.get(); }
  ::IQorSphere* hostSphere2() override { return sphere_.get(); }
  void initialize(const QorVector& center, double radius, const QorVector& axis,
                  const QorVector& radDir) override;
  void initialize(const QorVector& center, double radius, const QorVector& axis) override;
  void initialize(const QorVector& center, double radius) override;

  // Routed values: zero without a host.
  QorVector center() const;
  QorVector axis() const;
  double radius() const;
  QorVector radDir() const;
  Vector2D latitudeRange() const;
  Vector2D longitudeRange() const;
  int32_t solidityValue() const;
  void setCenter(const QorVector& v);
  void setAxis(const QorVector& v);
  void setRadius(double v);
  void setRadDir(const QorVector& v);
  void setLatitudeRange(const Vector2D& v);
  void setLongitudeRange(const Vector2D& v);
  void setSolidityValue(int32_t v);

 private:
  IPtr<::IQorSphere> sphere_;
};

}  // namespace features
