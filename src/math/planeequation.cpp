#include "math/planeequation.h"

#include <cmath>
#include <ostream>

#include "persistence/binio.h"

PlaneEquation::PlaneEquation(const QorVector& point, const QorVector& normal) {
  QorVector n = normal;
  n.normalise();
  a = n.x;
  b = n.y;
  c = n.z;
  d = n.dot(point);
}

PlaneEquation PlaneEquation::fromCoefficients(const PlaneEquation& other) {
  return PlaneEquation(QorVector(other.a, other.b, other.c), -other.d);
}

void PlaneEquation::flip() {
  a = std::copysign(a, std::signbit(a) ? 1.0 : -1.0);
  b = std::copysign(b, std::signbit(b) ? 1.0 : -1.0);
  c = std::copysign(c, std::signbit(c) ? 1.0 : -1.0);
  d = std::copysign(d, std::signbit(d) ? 1.0 : -1.0);
}

bool PlaneEquation::isAbove(const QorVector& p) const {
  return evaluate(p) >= 0.0;
}

bool PlaneEquation::write(BinOutput& out) const {
  double v[4] = {a, b, c, d};
  return out.write(v, 4) && out.good();
}

bool PlaneEquation::read(BinInput& in) {
  double v[4];
  if (!in.read(v, 4)) return false;
  a = v[0];
  b = v[1];
  c = v[2];
  d = v[3];
  return in.good();
}

std::ostream& operator<<(std::ostream& os, const PlaneEquation& p) {
  return os << '(' << p.a << ' ' << p.b << ' ' << p.c << " : " << p.d << ") ";
}
