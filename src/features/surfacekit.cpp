#include "features/surfacekit.h"

#include <cmath>

namespace features {

QorVector repaired(const QorVector& v) {
  if (v.isUnit(kUnitTolerance)) return v;
  return unitOf(v);
}

QorVector unitOf(const QorVector& v) {
  QorVector out = v;
  out.normalise();
  return out;
}

QorVector planeUDir(const QorVector& normal) {
  const bool alongX = normal.x == 1.0 && normal.y == 0.0 && normal.z == 0.0;
  const QorVector h = alongX ? QorVector(0.0, 1.0, 0.0) : QorVector(1.0, 0.0, 0.0);
  return unitOf(h.cross(normal));
}

QorVector torusRadDir(const QorVector& axis) {
  const QorVector h = std::fabs(axis.x) < 0.8 ? QorVector(1.0, 0.0, 0.0) : QorVector(0.0, 1.0, 0.0);
  const QorVector t = unitOf(axis.cross(h));
  return unitOf(t.cross(axis));
}

QorVector radDirAcross(const QorVector& radDir, const QorVector& axis) {
  const QorVector rest = radDir - axis * axis.dot(radDir);
  // Along the axis the rest is rounding noise: it stays zero rather than pointing anywhere.
  if (rest.lengthSquared() <= 1e-24 * (radDir.lengthSquared() + 1.0)) return {};
  return unitOf(rest);
}

PlaneValue::PlaneValue(const QorVector& origin, const QorVector& normal)
    : n(unitOf(normal)), d(n.dot(origin)) {}

bool PlaneValue::intersectLine(const QorVector& point, const QorVector& direction,
                               QorVector& out) const {
  const QorVector u = unitOf(direction);
  const double nu = n.dot(u);
  if (std::fabs(nu) < 1e-10) return false;
  out = point + u * ((d - n.dot(point)) / nu);
  return true;
}

bool PlaneValue::intersectPlane(const PlaneValue& other, QorVector& outPoint,
                                QorVector& outDirection) const {
  const QorVector& a = n;
  const QorVector& b = other.n;
  outDirection = unitOf(a.cross(b));
  if (outDirection.length() < 0.5) return false;
  const double c = a.dot(b);
  const double aa = a.lengthSquared();
  const double bb = b.lengthSquared();
  const double det = c * c - aa * bb;
  if (det == 0.0) return false;
  const double k1 = (c * other.d - bb * d) / det;
  const double k2 = (c * d - aa * other.d) / det;
  outPoint = a * k1 + b * k2;
  return true;
}

namespace {
const QorString& solidityName() {
  static const QorString name(u"<Solidity>");
  return name;
}
}  // namespace

int32_t solidity(::IQorFeature* host) {
  IQorParameterTable* table = host ? host->parameterTable() : nullptr;
  IQorParameter* entry = table ? table->parameter(solidityName()) : nullptr;
  auto* value = entry ? qorQuery<IQorIntValue>(entry, "IQorIntValue") : nullptr;
  return value ? value->value() : 0;
}

void setSolidity(::IQorFeature* host, int32_t value) {
  IQorParameterTable* table = host ? host->parameterTable() : nullptr;
  if (!table) return;
  if (value <= 0) {
    table->remove(solidityName());
    return;
  }
  SPtr<IQorIntValue> entry("IQorIntValue");
  if (!entry) return;
  entry->setValue(value);
  table->add(solidityName(), qorQuery<IQorParameter>(entry.get(), "IQorParameter"), 0);
}

}  // namespace features
