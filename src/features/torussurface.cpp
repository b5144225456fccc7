#include "features/torussurface.h"

#include "core/translate.h"
#include "features/surfacekit.h"

namespace features {

namespace {
constexpr const char* kClass = "TorusSurface";
}  // namespace

TorusSurface::TorusSurface() {
  logLifetime("Created");
}

TorusSurface::~TorusSurface() {
  retire("IQorTorus", torus_.get());
  torus_.reset();
}

namespace {
const bool kRegistered = registerShell("IQorTorus", classIdOf("IQorTorus"),
                                       []() -> Feature* { return new TorusSurface(); });
}  // namespace

void TorusSurface::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("TorusSurface", out);
    walkAddInterface("features::IQorTorus", out);
    SurfaceFeature::queryInterface(nullptr, out, reserved);
    return;
  }
  if (qorNameIs(name, "features::IQorTorus")) {
    *out = static_cast<IQorTorus*>(this);
    return;
  }
  if (qorNameIs(name, "TorusSurface")) {
    *out = this;
    return;
  }
  SurfaceFeature::queryInterface(name, out, reserved);
}

IQorDataObject* TorusSurface::clone() {
  auto* copy = new TorusSurface();
  if (::IQorFeature* h = host()) copy->connect(IPtr<::IQorFeature>(h->clone()).get());
  return copy;
}

void TorusSurface::connect(::IQorFeature* host) {
  using S = TorusSurface;
  torus_ = qorQuery<::IQorTorus>(host, "IQorTorus");
  addVector(this, u"center", &S::center, &S::setCenter);
  addVector(this, u"axis", &S::axis, &S::setAxis);
  addDouble(this, u"centerRadius", &S::centerRadius, &S::setCenterRadius, 0.0, kEmptyBound);
  addDouble(this, u"profileRadius", &S::profileRadius, &S::setProfileRadius, 0.0, kEmptyBound);
  addVector(this, u"radDir", &S::radDir);
  addVector2D(this, u"latitudeRange", &S::latitudeRange, &S::setLatitudeRange);
  addVector2D(this, u"longitudeRange", &S::longitudeRange, &S::setLongitudeRange);
  addSolidity(this);
  reattach(host);
}

void TorusSurface::createHost() {
  createHostAs("IQorTorus");
}

void TorusSurface::build(const QorVector& center, const QorVector& axis, double centerRadius,
                         double profileRadius, const QorVector* radDir) {
  if (!torus_) return;
  const QorVector a = repaired(axis);
  if (centerRadius < 0 || profileRadius < 0)
    qor::classError(kClass, "initialize: radiuses must be non-negative.");
  const QorVector dir = radDir ? radDirAcross(*radDir, a) : torusRadDir(a);
  torus_->initialize(center, a, centerRadius, profileRadius, dir, 0, 0, 0, 0);
}

void TorusSurface::initialize(const QorVector& center, const QorVector& axis, double centerRadius,
                              double profileRadius, const QorVector& radDir) {
  build(center, axis, centerRadius, profileRadius, &radDir);
}

void TorusSurface::initialize(const QorVector& center, const QorVector& axis, double centerRadius,
                              double profileRadius) {
  build(center, axis, centerRadius, profileRadius, nullptr);
}

QorVector TorusSurface::center() const {
  QorVector v;
  if (torus_) torus_->center(v);
  return v;
}
QorVector TorusSurface::axis() const {
  QorVector v;
  if (torus_) torus_->axis(v);
  return v;
}
QorVector TorusSurface::radDir() const {
  QorVector v;
  if (torus_) torus_->radDir(v);
  return v;
}
double TorusSurface::centerRadius() const {
  return torus_ ? torus_->centerRadius() : 0.0;
}
double TorusSurface::profileRadius() const {
  return torus_ ? torus_->profileRadius() : 0.0;
}
Vector2D TorusSurface::latitudeRange() const {
  return torus_ ? Vector2D(torus_->latitudeFrom(), torus_->latitudeTo()) : Vector2D(0.0, 0.0);
}
Vector2D TorusSurface::longitudeRange() const {
  return torus_ ? Vector2D(torus_->longitudeFrom(), torus_->longitudeTo()) : Vector2D(0.0, 0.0);
}
int32_t TorusSurface::solidityValue() const {
  return solidity(const_cast<TorusSurface*>(this)->host());
}

void TorusSurface::setCenter(const QorVector& v) {
  if (torus_) torus_->setCenter(v);
}
// No repair here: a new axis must already be a unit vector.
void TorusSurface::setAxis(const QorVector& v) {
  if (!torus_) return;
  if (!v.isUnit(kUnitTolerance)) qor::classError(kClass, "axis must be a normalized vector.");
  torus_->setAxis(v);
}
void TorusSurface::setCenterRadius(double v) {
  if (!torus_) return;
  if (v < 0) qor::classError(kClass, "radius must be non-negative.");
  torus_->setCenterRadius(v);
}
void TorusSurface::setProfileRadius(double v) {
  if (!torus_) return;
  if (v < 0) qor::classError(kClass, "radius must be non-negative.");
  torus_->setProfileRadius(v);
}
void TorusSurface::setLatitudeRange(const Vector2D& v) {
  if (!torus_) return;
  torus_->setLatitudeFrom(v.x);
  torus_->setLatitudeTo(v.y);
}
void TorusSurface::setLongitudeRange(const Vector2D& v) {
  if (!torus_) return;
  torus_->setLongitudeFrom(v.x);
  torus_->setLongitudeTo(v.y);
}
void TorusSurface::setSolidityValue(int32_t v) {
  setSolidity(host(), v);
}

}  // namespace features
