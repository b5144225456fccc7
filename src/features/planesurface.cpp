#include "features/planesurface.h"

#include "core/translate.h"

namespace features {

namespace {
constexpr const char* kClass = "PlaneSurface";
}  // namespace

PlaneSurface::PlaneSurface() {
  logLifetime("Created");
}

PlaneSurface::~PlaneSurface() {
  retire("IQorPlane", plane_.get());
  plane_.reset();
}

namespace {
const bool kRegistered = registerShell("IQorPlane", classIdOf("IQorPlane"),
                                       []() -> Feature* { return new PlaneSurface(); });
}  // namespace

void PlaneSurface::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("PlaneSurface", out);
    walkAddInterface("features::IQorPlane", out);
    SurfaceFeature::queryInterface(nullptr, out, reserved);
    return;
  }
  if (qorNameIs(name, "features::IQorPlane")) {
    *out = static_cast<IQorPlane*>(this);
    return;
  }
  if (qorNameIs(name, "PlaneSurface")) {
    *out = this;
    return;
  }
  SurfaceFeature::queryInterface(name, out, reserved);
}

IQorDataObject* PlaneSurface::clone() {
  auto* copy = new PlaneSurface();
  if (::IQorFeature* h = host()) copy->connect(IPtr<::IQorFeature>(h->clone()).get());
  return copy;
}

void PlaneSurface::connect(::IQorFeature* host) {
  using S = PlaneSurface;
  plane_ = qorQuery<::IQorPlane>(host, "IQorPlane");
  addVector(this, u"origin", &S::origin, &S::setOrigin);
  addVector(this, u"normal", &S::normal, &S::setNormal);
  addVector2D(this, u"uRange", &S::uRange, &S::setURange);
  addVector2D(this, u"vRange", &S::vRange, &S::setVRange);
  addVector(this, u"center", &S::center);
  addVector(this, u"uDir", &S::uDir);
  reattach(host);
}

void PlaneSurface::createHost() {
  createHostAs("IQorPlane");
}

void PlaneSurface::initialize(const QorVector& origin, const QorVector& normal,
                              const QorVector& uDir, const Vector2D& uRange,
                              const Vector2D& vRange) {
  if (!plane_) return;
  const QorVector n = repaired(normal);
  const QorVector u = repaired(uDir);
  if (!n.isPerpendicular(u, kPerpendicularTolerance))
    qor::classError(kClass, "initialize: uDir must be perpendicular to normal.");
  plane_->initialize(origin, n, u, uRange, vRange);
}

void PlaneSurface::initialize(const QorVector& origin, const QorVector& normal,
                              const QorVector& uDir) {
  if (!plane_) return;
  Vector2D u, v;
  ranges(u, v);
  initialize(origin, normal, uDir, u, v);
}

// The plane rule's uDir goes to the host unchecked, a zero one for a normal along -X too.
void PlaneSurface::initialize(const QorVector& origin, const QorVector& normal) {
  if (!plane_) return;
  Vector2D u, v;
  ranges(u, v);
  const QorVector n = repaired(normal);
  plane_->initialize(origin, n, planeUDir(n), u, v);
}

PlaneValue PlaneSurface::value() const {
  if (!plane_) return {};
  QorVector o, n;
  plane_->origin(o);
  plane_->normal(n);
  return {o, n};
}

double PlaneSurface::distance(const QorVector& point) {
  return value().distance(point);
}

QorVector& PlaneSurface::project(QorVector& out, const QorVector& point) {
  out = value().project(point);
  return out;
}

bool PlaneSurface::intersectLine(const QorVector& point, const QorVector& direction,
                                 QorVector& out) {
  return value().intersectLine(point, direction, out);
}

bool PlaneSurface::intersectPlane(IQorPlane* other, QorVector& outPoint, QorVector& outDirection) {
  PlaneValue b;
  if (::IQorPlane* h = other ? other->hostPlane() : nullptr) {
    QorVector o, n;
    h->origin(o);
    h->normal(n);
    b = PlaneValue(o, n);
  }
  return value().intersectPlane(b, outPoint, outDirection);
}

void PlaneSurface::ranges(Vector2D& u, Vector2D& v) const {
  u = Vector2D(0.0, 0.0);
  v = Vector2D(0.0, 0.0);
  if (plane_) plane_->ranges(u, v);
}

QorVector PlaneSurface::origin() const {
  QorVector v;
  if (plane_) plane_->origin(v);
  return v;
}
QorVector PlaneSurface::normal() const {
  QorVector v;
  if (plane_) plane_->normal(v);
  return v;
}
QorVector PlaneSurface::uDir() const {
  QorVector v;
  if (plane_) plane_->uDir(v);
  return v;
}
Vector2D PlaneSurface::uRange() const {
  Vector2D u, v;
  ranges(u, v);
  return u;
}
Vector2D PlaneSurface::vRange() const {
  Vector2D u, v;
  ranges(u, v);
  return v;
}

// "<Center>" of the table when present (a value holding none reads zero), else the origin.
QorVector PlaneSurface::center() const {
  ::IQorFeature* h = plane_ ? const_cast<PlaneSurface*>(this)->host() : nullptr;
  IQorParameterTable* table = h ? h->parameterTable() : nullptr;
  IQorParameter* entry = table ? table->parameter(QorString(u"<Center>")) : nullptr;
  if (!entry) return origin();
  auto* value = qorQuery<IQorVectorValue>(entry, "IQorVectorValue");
  const QorVector* p = value ? value->value() : nullptr;
  return p ? *p : QorVector();
}

void PlaneSurface::setOrigin(const QorVector& v) {
  if (plane_) plane_->setOrigin(v);
}
void PlaneSurface::setNormal(const QorVector& v) {
  if (!plane_) return;
  Vector2D u, r;
  ranges(u, r);
  const QorVector n = repaired(v);
  plane_->initialize(origin(), n, planeUDir(n), u, r);
}
void PlaneSurface::setURange(const Vector2D& v) {
  if (plane_) plane_->setRanges(v, vRange());
}
void PlaneSurface::setVRange(const Vector2D& v) {
  if (plane_) plane_->setRanges(uRange(), v);
}

}  // namespace features
