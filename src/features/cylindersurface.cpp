#include "features/cylindersurface.h"

#include "core/translate.h"
#include "features/surfacekit.h"

namespace features {

namespace {
constexpr const char* kClass = "CylinderSurface";
const QorVector kXAxis(1.0, 0.0, 0.0);
}  // namespace

CylinderSurface::CylinderSurface() {
  logLifetime("Created");
}

CylinderSurface::~CylinderSurface() {
  retire("IQorCylinder", cylinder_.get());
  cylinder_.reset();
}

namespace {
const bool kRegistered = registerShell("IQorCylinder", classIdOf("IQorCylinder"),
                                       []() -> Feature* { return new CylinderSurface(); });
}  // namespace

void CylinderSurface::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("CylinderSurface", out);
    walkAddInterface("features::IQorCylinder", out);
    SurfaceFeature::queryInterface(nullptr, out, reserved);
    return;
  }
  if (qorNameIs(name, "features::IQorCylinder")) {
    *out = static_cast<IQorCylinder*>(this);
    return;
  }
  if (qorNameIs(name, "CylinderSurface")) {
    *out = this;
    return;
  }
  SurfaceFeature::queryInterface(name, out, reserved);
}

IQorDataObject* CylinderSurface::clone() {
  auto* copy = new CylinderSurface();
  if (::IQorFeature* h = host()) copy->connect(IPtr<::IQorFeature>(h->clone()).get());
  return copy;
}

void CylinderSurface::connect(::IQorFeature* host) {
  using S = CylinderSurface;
  cylinder_ = qorQuery<::IQorCylinder>(host, "IQorCylinder");
  addVector(this, u"centerFrom", &S::centerFrom, &S::setCenterFrom);
  addVector(this, u"axis", &S::axis, &S::setAxis);
  addDouble(this, u"radius", &S::radius, &S::setRadius, 0.0, kEmptyBound);
  addDouble(this, u"height", &S::height, &S::setHeight, 0.0, kEmptyBound);
  addVector(this, u"radialDir", &S::radialDir);
  addVector(this, u"centerTo", &S::centerTo);
  addDouble(this, u"angleFrom", &S::angleFrom, &S::setAngleFrom);
  addDouble(this, u"angleTo", &S::angleTo, &S::setAngleTo);
  addSolidity(this);
  reattach(host);
}

void CylinderSurface::createHost() {
  createHostAs("IQorCylinder");
}

void CylinderSurface::checkRadius(double radius) {
  if (radius < 0) qor::classError(kClass, "initialize: radius must be non-negative.");
}

void CylinderSurface::checkAcross(const QorVector& axis, const QorVector& radialDir) {
  if (!axis.isPerpendicular(radialDir, kPerpendicularTolerance))
    qor::classError(kClass, "initialize: radialDir must be perpendicular to the axis.");
}

void CylinderSurface::initialize(const QorVector& centerFrom, const QorVector& axis, double height,
                                 double radius, const QorVector& radialDir) {
  if (!cylinder_) return;
  const QorVector a = repaired(axis);
  checkRadius(radius);
  const QorVector dir = repaired(radialDir);
  checkAcross(a, dir);
  cylinder_->initialize(centerFrom, centerFrom + a * height, radius, dir, 0, 0, 0);
}

void CylinderSurface::initialize(const QorVector& centerFrom, const QorVector& centerTo,
                                 double radius, const QorVector& radialDir) {
  if (!cylinder_) return;
  checkRadius(radius);
  const QorVector dir = repaired(radialDir);
  checkAcross(unitOf(centerTo - centerFrom), dir);
  cylinder_->initialize(centerFrom, centerTo, radius, dir, 0, 0, 0);
}

void CylinderSurface::initialize(const QorVector& centerFrom, const QorVector& axis, double height,
                                 double radius) {
  if (!cylinder_) return;
  const QorVector a = repaired(axis);
  checkRadius(radius);
  cylinder_->initialize(centerFrom, centerFrom + a * height, radius, kXAxis, 0, 0, 0);
}

void CylinderSurface::initialize(const QorVector& centerFrom, const QorVector& centerTo,
                                 double radius) {
  if (!cylinder_) return;
  checkRadius(radius);
  cylinder_->initialize(centerFrom, centerTo, radius, kXAxis, 0, 0, 0);
}

QorVector CylinderSurface::centerFrom() const {
  QorVector v;
  if (cylinder_) cylinder_->centerFrom(v);
  return v;
}
QorVector CylinderSurface::centerTo() const {
  QorVector v;
  if (cylinder_) cylinder_->centerTo(v);
  return v;
}
QorVector CylinderSurface::axis() const {
  QorVector v;
  if (cylinder_) cylinder_->axis(v);
  return v;
}
QorVector CylinderSurface::radialDir() const {
  QorVector v;
  if (cylinder_) cylinder_->radialDir(v);
  return v;
}
double CylinderSurface::radius() const {
  return cylinder_ ? cylinder_->radius() : 0.0;
}
double CylinderSurface::height() const {
  return cylinder_ ? cylinder_->heightTo() - cylinder_->heightFrom() : 0.0;
}
double CylinderSurface::angleFrom() const {
  return cylinder_ ? cylinder_->angleFrom() : 0.0;
}
double CylinderSurface::angleTo() const {
  return cylinder_ ? cylinder_->angleTo() : 0.0;
}
int32_t CylinderSurface::solidityValue() const {
  return solidity(const_cast<CylinderSurface*>(this)->host());
}

void CylinderSurface::reshape(const QorVector& centerFrom, const QorVector& centerTo) {
  cylinder_->initialize(centerFrom, centerTo, radius(), radialDir(), 0, 0, 0);
}

// The height is kept.
void CylinderSurface::setCenterFrom(const QorVector& v) {
  if (cylinder_) reshape(v, v + axis() * height());
}
void CylinderSurface::setAxis(const QorVector& v) {
  if (!cylinder_) return;
  const QorVector from = centerFrom();
  reshape(from, from + repaired(v) * height());
}
void CylinderSurface::setHeight(double v) {
  if (!cylinder_) return;
  const QorVector from = centerFrom();
  reshape(from, from + axis() * v);
}
void CylinderSurface::setRadius(double v) {
  if (cylinder_) cylinder_->setRadius(v);
}
void CylinderSurface::setAngleFrom(double v) {
  if (cylinder_) cylinder_->setAngleFrom(v);
}
void CylinderSurface::setAngleTo(double v) {
  if (cylinder_) cylinder_->setAngleTo(v);
}
void CylinderSurface::setSolidityValue(int32_t v) {
  setSolidity(host(), v);
}

}  // namespace features
