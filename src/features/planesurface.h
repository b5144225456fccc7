// PlaneSurface: the script shell of a host plane. Besides checking and passing values on,
// it measures against the plane itself: distance, projection and intersections come from
// the host's normal and origin.
#pragma once
#include "core/iptr.h"
#include "features/feature.h"
#include "features/surfacekit.h"
#include "hostapi/iqorfeature.h"

namespace features {

// The plane shell's own interface, queried as "features::IQorPlane". Slot order as
// declared.
class IQorPlane : public virtual IQorUnknown {
 public:
  virtual void createHost() = 0;  // 0
  // normal and uDir repaired; they must be perpendicular.
  virtual void initialize(const QorVector& origin, const QorVector& normal, const QorVector& uDir,
                          const Vector2D& uRange, const Vector2D& vRange) = 0;  // 1
  // The ranges stay as the host has them.
  virtual void initialize(const QorVector& origin, const QorVector& normal,
                          const QorVector& uDir) = 0;  // 2
  // uDir from the normal by the plane rule.
  virtual void initialize(const QorVector& origin, const QorVector& normal) = 0;  // 3
  // Signed distance of `point` along the unit normal.
  virtual double distance(const QorVector& point) = 0;  // 4
  // The foot of `point` on the plane, into `out`.
  virtual QorVector& project(QorVector& out, const QorVector& point) = 0;  // 5
  // Where the line meets the plane; false when it runs along it.
  virtual bool intersectLine(const QorVector& point, const QorVector& direction,
                             QorVector& out) = 0;  // 6
  // The line where the planes meet; false for parallel planes.
  virtual bool intersectPlane(IQorPlane* other, QorVector& outPoint,
                              QorVector& outDirection) = 0;  // 7
  virtual ::IQorPlane* hostPlane() = 0;                      // 8
  virtual ::IQorPlane* hostPlane2() = 0;                     // 9
};

class PlaneSurface : public SurfaceFeature, public IQorPlane {
 public:
  // The data object's own initialize stays visible beside the shapes of the feature.
  using DataObject::initialize;
  // A shell without a host.
  PlaneSurface();
  ~PlaneSurface() override;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "PlaneSurface"; }
  const char* typeString() override { return "qorapi.features.PlaneFeature"; }
  const char* interfaceName() const override { return "IQorPlane"; }
  IQorDataObject* clone() override;

  void connect(::IQorFeature* host) override;
  void createHost() override;
  void initialize(const QorVector& origin, const QorVector& normal, const QorVector& uDir,
                  const Vector2D& uRange, const Vector2D& vRange) override;
  void initialize(const QorVector& origin, const QorVector& normal, const QorVector& uDir) override;
  void initialize(const QorVector& origin, const QorVector& normal) override;
  double distance(const QorVector& point) override;
  QorVector& project(QorVector& out, const QorVector& point) override;
  bool intersectLine(const QorVector& point, const QorVector& direction, QorVector& out) override;
  bool intersectPlane(IQorPlane* other, QorVector& outPoint, QorVector& outDirection) override;
  ::IQorPlane* hostPlane() override { return plane_.get(); }
  ::IQorPlane* hostPlane2() override { return plane_.get(); }

  // The plane as n . p = d from the host (all zero without one).
  PlaneValue value() const;

  // Routed values: zero without a host.
  QorVector origin() const;
  QorVector normal() const;
  Vector2D uRange() const;
  Vector2D vRange() const;
  QorVector center() const;
  QorVector uDir() const;
  void setOrigin(const QorVector& v);
  void setNormal(const QorVector& v);
  void setURange(const Vector2D& v);
  void setVRange(const Vector2D& v);

 private:
  void ranges(Vector2D& u, Vector2D& v) const;

  IPtr<::IQorPlane> plane_;
};

}  // namespace features
