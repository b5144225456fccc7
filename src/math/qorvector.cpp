#include "math/qorvector.h"

#include <cmath>
#include <istream>
#include <ostream>

#include "math/vector2d.h"
#include "math/vector2f.h"
#include "persistence/binio.h"

namespace {
// The sign used by normalise: +1 for 0.
inline double signOf(double v) {
  return v < 0.0 ? -1.0 : 1.0;
}
// |base|² at or below this makes a projection the zero vector.
constexpr double kTinyBase = 2.220446049250313e-16;
}  // namespace

const QorVector& QorVector::zero() {
  static const QorVector z;
  return z;
}

double QorVector::length() const {
  return std::sqrt(lengthSquared());
}

bool QorVector::normalise() {
  double a = x * x;
  double b = y * y;
  double c = z * z;
  double l = a + b + c;
  if (!(l > 0.0)) return false;
  double nx = signOf(x) * std::sqrt(std::fmax(0.0, 1.0 - (b + c) / l));
  double ny = signOf(y) * std::sqrt(std::fmax(0.0, 1.0 - (a + c) / l));
  double nz = signOf(z) * std::sqrt(std::fmax(0.0, 1.0 - (a + b) / l));
  set(nx, ny, nz);
  return true;
}

bool QorVector::normalised(QorVector& out) const {
  out = *this;
  return out.normalise();
}

bool QorVector::isUnit(double tolerance) const {
  double len = length();
  return len >= 1.0 - tolerance && len <= 1.0 + tolerance;
}

bool QorVector::isParallel(const QorVector& other, double tolerance) const {
  double d = dot(other);
  return d * d >= lengthSquared() * (1.0 - tolerance * tolerance) * other.lengthSquared();
}

bool QorVector::isParallelDirection(const QorVector& other, double tolerance,
                                    double minLength) const {
  if (length() < minLength || other.length() < minLength) return true;
  QorVector a;
  QorVector b;
  normalised(a);
  other.normalised(b);
  return std::fabs(a.dot(b)) > tolerance;
}

bool QorVector::isPerpendicular(const QorVector& other, double tolerance) const {
  double d = dot(other);
  return lengthSquared() * tolerance * tolerance * other.lengthSquared() >= d * d;
}

bool QorVector::isPerpendicularDirection(const QorVector& other, double tolerance,
                                         double minLength) const {
  if (length() < minLength || other.length() < minLength) return true;
  QorVector a;
  QorVector b;
  normalised(a);
  other.normalised(b);
  return 1.0 - tolerance > std::fabs(a.dot(b));
}

void QorVector::projectOnto(const QorVector& base, QorVector& out) const {
  double bb = base.lengthSquared();
  if (bb <= kTinyBase) {
    out = QorVector();
    return;
  }
  out = base * (dot(base) / bb);
}

void QorVector::rejectFrom(const QorVector& base, QorVector& out) const {
  QorVector p;
  projectOnto(base, p);
  out = *this - p;
}

void QorVector::anyPerpendicular(QorVector& out) const {
  double ax = std::fabs(x);
  double ay = std::fabs(y);
  double az = std::fabs(z);
  if (ax > ay) {
    if (ay > az)
      out.set(-z / x, 0.0, 1.0);
    else if (ax > az)
      out.set(-y / x, 1.0, 0.0);
    else
      out.set(0.0, 1.0, -y / z);
  } else {
    if (ax > az)
      out.set(-z / x, 0.0, 1.0);
    else if (ay > az)
      out.set(0.0, -z / y, 1.0);
    else
      out.set(1.0, 0.0, -x / z);
  }
  out.normalise();
}

bool QorVector::frame(QorVector* first, QorVector* second) const {
  QorVector t = *this;
  t.normalise();
  if (t.length() < 0.5) return false;
  QorVector e = 0.8 > std::fabs(t.x) ? QorVector(1.0, 0.0, 0.0) : QorVector(0.0, 1.0, 0.0);
  QorVector s = t.cross(e);
  s.normalise();
  QorVector f = s.cross(t);
  f.normalise();
  if (first) *first = f;
  if (second) *second = s;
  return true;
}

bool QorVector::write(BinOutput& out) const {
  return out.write(data(), 3);
}

bool QorVector::read(BinInput& in) {
  return in.read(data(), 3);
}

std::ostream& operator<<(std::ostream& os, const QorVector& v) {
  return os << '(' << v.x << ',' << v.y << ',' << v.z << ')';
}

namespace {
// Reads one expected punctuation character, setting the fail state if another comes.
bool expect(std::istream& is, char wanted) {
  char ch = 0;
  if (!(is >> ch)) return false;
  if (ch != wanted) {
    is.setstate(std::ios::failbit);
    return false;
  }
  return true;
}
}  // namespace

std::istream& operator>>(std::istream& is, QorVector& v) {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
  if (expect(is, '(') && (is >> x) && expect(is, ',') && (is >> y) && expect(is, ',') &&
      (is >> z) && expect(is, ')'))
    v.set(x, y, z);
  return is;
}

// ---- the 2D vectors ----

bool Vector2D::write(BinOutput& out) const {
  return out.write(data(), 2);
}

bool Vector2D::read(BinInput& in) {
  return in.read(data(), 2);
}

std::ostream& operator<<(std::ostream& os, const Vector2D& v) {
  return os << '(' << v.x << ',' << v.y << ')';
}

bool Vector2F::write(BinOutput& out) const {
  return out.write(data(), 2);
}

bool Vector2F::read(BinInput& in) {
  return in.read(data(), 2);
}

std::ostream& operator<<(std::ostream& os, const Vector2F& v) {
  return os << '(' << v.x << ',' << v.y << ')';
}
