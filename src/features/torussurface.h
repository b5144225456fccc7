// TorusSurface: the script shell of a host torus.
#pragma once
#include "core/iptr.h"
#include "features/feature.h"
#include "hostapi/iqorfeature.h"

namespace features {

// The torus shell's own interface, queried as "features::IQorTorus". Slot order as
// declared.
class IQorTorus : public virtual IQorUnknown {
 public:
  virtual void createHost() = 0;          // 0
  virtual ::IQorTorus* hostTorus() = 0;   // 1
  virtual ::IQorTorus* hostTorus2() = 0;  // 2
  // axis repaired; radDir loses its part along the axis and is made a unit vector.
  virtual void initialize(const QorVector& center, const QorVector& axis, double centerRadius,
                          double profileRadius, const QorVector& radDir) = 0;  // 3
  // radDir from the frame of the axis.
  virtual void initialize(const QorVector& center, const QorVector& axis, double centerRadius,
                          double profileRadius) = 0;  // 4
};

class TorusSurface : public SurfaceFeature, public IQorTorus {
 public:
  // The data object's own initialize stays visible beside the shapes of the feature.
  using DataObject::initialize;
  // A shell without a host.
  TorusSurface();
  ~TorusSurface() override;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "TorusSurface"; }
  const char* typeString() override { return "qorapi.features.TorusFeature"; }
  const char* interfaceName() const override { return "IQorTorus"; }
  IQorDataObject* clone() override;

  void connect(::IQorFeature* host) override;
  void createHost() override;
  ::IQorTorus* hostTorus() override { return torus_.get(); }
  ::IQorTorus* hostTorus2() override { return torus_.get(); }
  void initialize(const QorVector& center, const QorVector& axis, double centerRadius,
                  double profileRadius, const QorVector& radDir) override;
  void initialize(const QorVector& center, const QorVector& axis, double centerRadius,
                  double profileRadius) override;

  // Routed values: zero without a host.
  QorVector center() const;
  QorVector axis() const;
  double centerRadius() const;
  double profileRadius() const;
  QorVector radDir() const;
  Vector2D latitudeRange() const;
  Vector2D longitudeRange() const;
  int32_t solidityValue() const;
  void setCenter(const QorVector& v);
  void setAxis(const QorVector& v);
  void setCenterRadius(double v);
  void setProfileRadius(double v);
  void setLatitudeRange(const Vector2D& v);
  void setLongitudeRange(const Vector2D& v);
  void setSolidityValue(int32_t v);

 private:
  void build(const QorVector& center, const QorVector& axis, double centerRadius,
             double profileRadius, const QorVector* radDir);

  IPtr<::IQorTorus> torus_;
};

}  // namespace features
