#include "features/conesurface.h"

#include "core/translate.h"
#include "features/surfacekit.h"

namespace features {

namespace {
constexpr const char* kClass = "ConeSurface";
constexpr double kHalfPi = 1.5707963267948966;
const QorVector kXAxis(1.0, 0.0, 0.0);
}  // namespace

ConeSurface::ConeSurface() {
  logLifetime("Created");
}

ConeSurface::~ConeSurface() {
  retire("IQorCone", cone_.get());
  cone_.reset();
}

namespace {
const bool kRegistered = registerShell("IQorCone", classIdOf("IQorCone"),
                                       []() -> Feature* { return new ConeSurface(); });
}  // namespace

void ConeSurface::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("ConeSurface", out);
    walkAddInterface("features::IQorCone", out);
    SurfaceFeature::queryInterface(nullptr, out, reserved);
    return;
  }
  if (qorNameIs(name, "features::IQorCone")) {
    *out = static_cast<IQorCone*>(this);
    return;
  }
  if (qorNameIs(name, "ConeSurface")) {
    *out = this;
    return;
  }
  SurfaceFeature::queryInterface(name, out, reserved);
}

IQorDataObject* ConeSurface::clone() {
  auto* copy = new ConeSurface();
  if (::IQorFeature* h = host()) copy->connect(IPtr<::IQorFeature>(h->clone()).get());
  return copy;
}

void ConeSurface::connect(::IQorFeature* host) {
  cone_ = qorQuery<::IQorCone>(host, "IQorCone");
  addVector(this, u"centerFrom", &ConeSurface::centerFrom, &ConeSurface::setCenterFrom);
  addVector(this, u"centerTo", &ConeSurface::centerTo, &ConeSurface::setCenterTo);
  addDouble(this, u"radiusFrom", &ConeSurface::radiusFrom, &ConeSurface::setRadiusFrom);
  addDouble(this, u"radiusTo", &ConeSurface::radiusTo, &ConeSurface::setRadiusTo);
  addVector(this, u"axis", &ConeSurface::axis);
  addVector(this, u"apex", &ConeSurface::apex);
  addDouble(this, u"halfAngle", &ConeSurface::halfAngle);
  addDouble(this, u"height", &ConeSurface::height);
  addVector(this, u"radialDir", &ConeSurface::radialDir);
  addDouble(this, u"angleFrom", &ConeSurface::angleFrom, &ConeSurface::setAngleFrom);
  addDouble(this, u"angleTo", &ConeSurface::angleTo, &ConeSurface::setAngleTo);
  addSolidity(this);
  reattach(host);
}

void ConeSurface::createHost() {
  createHostAs("IQorCone");
}

void ConeSurface::byCircles(const QorVector& centerFrom, const QorVector& centerTo,
                            double radiusFrom, double radiusTo, const QorVector* radialDir) {
  if (radiusFrom < 0) qor::classError(kClass, "initialize: radiusFrom must be non-negative.");
  if (radiusTo < 0) qor::classError(kClass, "initialize: radiusTo must be non-negative.");
  if (radiusFrom > radiusTo)
    qor::classError(kClass, "initialize: radiusFrom must be less than or equal to radiusTo.");
  if (!cone_) return;
  QorVector dir = kXAxis;
  if (radialDir) {
    dir = repaired(*radialDir);
    if (!unitOf(centerTo - centerFrom).isPerpendicular(dir, kPerpendicularTolerance))
      qor::classError(kClass, "initialize: radialDir must be perpendicular to the axis.");
  }
  cone_->initialize(centerFrom, centerTo, radiusFrom, radiusTo, dir, 0, 0, 0);
}

void ConeSurface::byApex(const QorVector& apex, const QorVector& axis, double halfAngle,
                         const double* range, const QorVector* radialDir) {
  if (!cone_) return;
  const QorVector a = repaired(axis);
  QorVector dir = kXAxis;
  if (radialDir) {
    dir = repaired(*radialDir);
    if (!a.isPerpendicular(dir, kPerpendicularTolerance))
      qor::classError(kClass, "initialize: radialDir must be perpendicular to the axis.");
  }
  if (halfAngle < 0 || halfAngle > kHalfPi)
    qor::classError(kClass, "initialize: halfAngle must between 0 and pi/2.");
  cone_->initialize(apex, a, dir, halfAngle, 0, range, 0, 0);
}

void ConeSurface::initialize(const QorVector& centerFrom, const QorVector& centerTo,
                             double radiusFrom, double radiusTo, const QorVector& radialDir) {
  byCircles(centerFrom, centerTo, radiusFrom, radiusTo, &radialDir);
}

void ConeSurface::initialize(const QorVector& centerFrom, const QorVector& centerTo,
                             double radiusFrom, double radiusTo) {
  byCircles(centerFrom, centerTo, radiusFrom, radiusTo, nullptr);
}

void ConeSurface::initialize(const QorVector& apex, const QorVector& axis, double halfAngle,
                             double heightFrom, double heightTo, const QorVector& radialDir) {
  const double range[2] = {heightFrom, heightTo};
  byApex(apex, axis, halfAngle, range, &radialDir);
}

void ConeSurface::initialize(const QorVector& apex, const QorVector& axis, double halfAngle,
                             double heightFrom, double heightTo) {
  const double range[2] = {heightFrom, heightTo};
  byApex(apex, axis, halfAngle, range, nullptr);
}

void ConeSurface::initialize(const QorVector& apex, const QorVector& axis, double halfAngle) {
  byApex(apex, axis, halfAngle, nullptr, nullptr);
}

QorVector ConeSurface::centerFrom() const {
  QorVector v;
  if (cone_) cone_->centerFrom(v);
  return v;
}
QorVector ConeSurface::centerTo() const {
  QorVector v;
  if (cone_) cone_->centerTo(v);
  return v;
}
QorVector ConeSurface::axis() const {
  QorVector v;
  if (cone_) cone_->axis(v);
  return v;
}
QorVector ConeSurface::apex() const {
  QorVector v;
  if (cone_) cone_->apex(v);
  return v;
}
QorVector ConeSurface::radialDir() const {
  QorVector v;
  if (cone_) cone_->radialDir(v);
  return v;
}
double ConeSurface::radiusFrom() const {
  return cone_ ? cone_->radiusFrom() : 0.0;
}
double ConeSurface::radiusTo() const {
  return cone_ ? cone_->radiusTo() : 0.0;
}
double ConeSurface::halfAngle() const {
  return cone_ ? cone_->halfAngle() : 0.0;
}
double ConeSurface::height() const {
  return cone_ ? cone_->heightTo() - cone_->heightFrom() : 0.0;
}
double ConeSurface::angleFrom() const {
  return cone_ ? cone_->angleFrom() : 0.0;
}
double ConeSurface::angleTo() const {
  return cone_ ? cone_->angleTo() : 0.0;
}
int32_t ConeSurface::solidityValue() const {
  return solidity(const_cast<ConeSurface*>(this)->host());
}

// The step rule: every other value is read back and the host is made anew by circles.
void ConeSurface::setCenterFrom(const QorVector& v) {
  if (!cone_) return;
  QorVector dir;
  cone_->initialize(v, centerTo(), radiusFrom(), radiusTo(), cone_->radialDir(dir), 0, 0, 0);
}
void ConeSurface::setCenterTo(const QorVector& v) {
  if (!cone_) return;
  QorVector dir;
  cone_->initialize(centerFrom(), v, radiusFrom(), radiusTo(), cone_->radialDir(dir), 0, 0, 0);
}
void ConeSurface::setRadiusFrom(double v) {
  if (!cone_) return;
  if (v < 0) qor::classError(kClass, "radiusFrom must be non-negative.");
  if (v > cone_->radiusTo())
    qor::classError(kClass, "radiusFrom must be less than or equal to radiusTo.");
  QorVector dir;
  cone_->initialize(centerFrom(), centerTo(), v, radiusTo(), cone_->radialDir(dir), 0, 0, 0);
}
void ConeSurface::setRadiusTo(double v) {
  if (!cone_) return;
  if (v < 0) qor::classError(kClass, "radiusTo must be non-negative.");
  if (v < cone_->radiusFrom())
    qor::classError(kClass, "radiusTo must greater than or equal to radiusFrom.");
  QorVector dir;
  cone_->initialize(centerFrom(), centerTo(), radiusFrom(), v, cone_->radialDir(dir), 0, 0, 0);
}
void ConeSurface::setAngleFrom(double v) {
  if (cone_) cone_->setAngleFrom(v);
}
void ConeSurface::setAngleTo(double v) {
  if (cone_) cone_->setAngleTo(v);
}
void ConeSurface::setSolidityValue(int32_t v) {
  setSolidity(host(), v);
}

}  // namespace features
