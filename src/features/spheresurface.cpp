#include "features/spheresurface.h"

#include "core/translate.h"
#include "features/surfacekit.h"

namespace features {

namespace {
constexpr const char* kClass = "SphereSurface";
const QorVector kXAxis(1.0, 0.0, 0.0);
const QorVector kZAxis(0.0, 0.0, 1.0);

void checkRadius(double radius) {
  if (radius < 0) qor::classError(kClass, "initialize: radius must be non-negative.");
}
}  // namespace

SphereSurface::SphereSurface() {
  logLifetime("Created");
}

SphereSurface::~SphereSurface() {
  retire("IQorSphere", sphere_.get());
  sphere_.reset();
}

namespace {
const bool kRegistered = registerShell("IQorSphere", classIdOf("IQorSphere"),
                                       []() -> Feature* { return new SphereSurface(); });
}  // namespace

void SphereSurface::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("SphereSurface", out);
    walkAddInterface("features::IQorSphere", out);
    SurfaceFeature::queryInterface(nullptr, out, reserved);
    return;
  }
  if (qorNameIs(name, "features::IQorSphere")) {
    *out = static_cast<IQorSphere*>(this);
    return;
  }
  if (qorNameIs(name, "SphereSurface")) {
    *out = this;
    return;
  }
  SurfaceFeature::queryInterface(name, out, reserved);
}

IQorDataObject* SphereSurface::clone() {
  auto* copy = new SphereSurface();
  if (::IQorFeature* h = host()) copy->connect(IPtr<::IQorFeature>(h->clone()).get());
  return copy;
}

void SphereSurface::connect(::IQorFeature* host) {
  using S = SphereSurface;
  sphere_ = qorQuery<::IQorSphere>(host, "IQorSphere");
  addVector(this, u"center", &S::center, &S::setCenter);
  addVector(this, u"axis", &S::axis, &S::setAxis);
  addDouble(this, u"radius", &S::radius, &S::setRadius, 0.0, kEmptyBound);
  addVector(this, u"radDir", &S::radDir, &S::setRadDir);
  addVector2D(this, u"latitudeRange", &S::latitudeRange, &S::setLatitudeRange);
  addVector2D(this, u"longitudeRange", &S::longitudeRange, &S::setLongitudeRange);
  addSolidity(this);
  reattach(host);
}

void SphereSurface::createHost() {
  createHostAs("IQorSphere");
}

void SphereSurface::initialize(const QorVector& center, double radius, const QorVector& axis,
                               const QorVector& radDir) {
  if (!sphere_) return;
  const QorVector a = repaired(axis);
  checkRadius(radius);
  const QorVector dir = repaired(radDir);
  if (!a.isPerpendicular(dir, kPerpendicularTolerance))
    qor::classError(kClass, "initialize: radialDir must be perpendicular to the axis.");
  sphere_->initialize(center, radius, a, dir, 0, 0, 0, 0);
}

void SphereSurface::initialize(const QorVector& center, double radius, const QorVector& axis) {
  if (!sphere_) return;
  const QorVector a = repaired(axis);
  checkRadius(radius);
  sphere_->initialize(center, radius, a, kXAxis, 0, 0, 0, 0);
}

void SphereSurface::initialize(const QorVector& center, double radius) {
  if (!sphere_) return;
  checkRadius(radius);
  sphere_->initialize(center, radius, kZAxis, kXAxis, 0, 0, 0, 0);
}

QorVector SphereSurface::center() const {
  QorVector v;
  if (sphere_) sphere_->center(v);
  return v;
}
QorVector SphereSurface::axis() const {
  QorVector v;
  if (sphere_) sphere_->axis(v);
  return v;
}
QorVector SphereSurface::radDir() const {
  QorVector v;
  if (sphere_) sphere_->radDir(v);
  return v;
}
double SphereSurface::radius() const {
  return sphere_ ? sphere_->radius() : 0.0;
}
Vector2D SphereSurface::latitudeRange() const {
  return sphere_ ? Vector2D(sphere_->latitudeFrom(), sphere_->latitudeTo()) : Vector2D(0.0, 0.0);
}
Vector2D SphereSurface::longitudeRange() const {
  return sphere_ ? Vector2D(sphere_->longitudeFrom(), sphere_->longitudeTo()) : Vector2D(0.0, 0.0);
}
int32_t SphereSurface::solidityValue() const {
  return solidity(const_cast<SphereSurface*>(this)->host());
}

void SphereSurface::setCenter(const QorVector& v) {
  if (sphere_) sphere_->initialize(v, radius(), axis(), radDir(), 0, 0, 0, 0);
}
// No repair here: a new axis must already be a unit vector, and radDir starts again at X.
void SphereSurface::setAxis(const QorVector& v) {
  if (!sphere_) return;
  if (!v.isUnit(kUnitTolerance)) qor::classError(kClass, "axis must be a normalized vector.");
  sphere_->initialize(center(), radius(), v, kXAxis, 0, 0, 0, 0);
}
void SphereSurface::setRadius(double v) {
  if (!sphere_) return;
  if (v < 0) qor::classError(kClass, "radius must be non-negative.");
  sphere_->setRadius(v);
}
void SphereSurface::setRadDir(const QorVector& v) {
  if (!sphere_) return;
  if (!v.isUnit(kUnitTolerance)) qor::classError(kClass, "radDir must be a normalized vector.");
  sphere_->setRadDir(v);
}
void SphereSurface::setLatitudeRange(const Vector2D& v) {
  if (!sphere_) return;
  sphere_->setLatitudeFrom(v.x);
  sphere_->setLatitudeTo(v.y);
}
void SphereSurface::setLongitudeRange(const Vector2D& v) {
  if (!sphere_) return;
  sphere_->setLongitudeFrom(v.x);
  sphere_->setLongitudeTo(v.y);
}
void SphereSurface::setSolidityValue(int32_t v) {
  setSolidity(host(), v);
}

}  // namespace features
