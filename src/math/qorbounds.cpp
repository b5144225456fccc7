#include "math/qorbounds.h"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <utility>

#include "persistence/binio.h"

// ---- QorBounds ----

QorBounds::QorBounds(const QorVector& a, const QorVector& b)
    : minX(std::min(a.x, b.x)),
      minY(std::min(a.y, b.y)),
      minZ(std::min(a.z, b.z)),
      maxX(std::max(a.x, b.x)),
      maxY(std::max(a.y, b.y)),
      maxZ(std::max(a.z, b.z)) {}

const QorBounds& QorBounds::empty() {
  static const QorBounds e;
  return e;
}

const QorBounds& QorBounds::infinite() {
  static const QorBounds i(-kInfiniteMax, -kInfiniteMax, -kInfiniteMax, kInfiniteMax, kInfiniteMax,
                           kInfiniteMax);
  return i;
}

void QorBounds::extend(const QorVector& p) {
  if (isEmpty()) {
    *this = QorBounds(p.x, p.y, p.z, p.x, p.y, p.z);
    return;
  }
  minX = std::min(minX, p.x);
  minY = std::min(minY, p.y);
  minZ = std::min(minZ, p.z);
  maxX = std::max(maxX, p.x);
  maxY = std::max(maxY, p.y);
  maxZ = std::max(maxZ, p.z);
}

void QorBounds::unite(const QorBounds& o) {
  if (o.isEmpty()) return;
  if (isEmpty()) {
    *this = o;
    return;
  }
  minX = std::min(minX, o.minX);
  minY = std::min(minY, o.minY);
  minZ = std::min(minZ, o.minZ);
  maxX = std::max(maxX, o.maxX);
  maxY = std::max(maxY, o.maxY);
  maxZ = std::max(maxZ, o.maxZ);
}

void QorBounds::intersect(const QorBounds& o) {
  if (isEmpty()) return;
  QorBounds r(std::max(minX, o.minX), std::max(minY, o.minY), std::max(minZ, o.minZ),
              std::min(maxX, o.maxX), std::min(maxY, o.maxY), std::min(maxZ, o.maxZ));
  if (o.isEmpty() || r.minX > r.maxX || r.minY > r.maxY || r.minZ > r.maxZ)
    reset();
  else
    *this = r;
}

bool QorBounds::contains(const QorVector& p) const {
  return p.x >= minX && p.x <= maxX && p.y >= minY && p.y <= maxY && p.z >= minZ && p.z <= maxZ;
}

QorVector QorBounds::centre() const {
  return {(minX + maxX) / 2, (minY + maxY) / 2, (minZ + maxZ) / 2};
}

bool QorBounds::write(BinOutput& out) const {
  double v[6] = {minX, minY, minZ, maxX, maxY, maxZ};
  return out.write(v, 6);
}

bool QorBounds::read(BinInput& in) {
  double v[6];
  if (!in.read(v, 6)) return false;
  *this = QorBounds(v[0], v[1], v[2], v[3], v[4], v[5]);
  return true;
}

std::ostream& operator<<(std::ostream& os, const QorBounds& b) {
  return os << '(' << b.minimum() << ' ' << b.maximum() << ") ";
}

// ---- QorBoundsF ----

QorBoundsF::QorBoundsF(const float* a, const float* b)
    : minX(std::min(a[0], b[0])),
      minY(std::min(a[1], b[1])),
      minZ(std::min(a[2], b[2])),
      maxX(std::max(a[0], b[0])),
      maxY(std::max(a[1], b[1])),
      maxZ(std::max(a[2], b[2])) {}

const QorBoundsF& QorBoundsF::empty() {
  static const QorBoundsF e;
  return e;
}

const QorBoundsF& QorBoundsF::infinite() {
  static const QorBoundsF i(-kEmptyMin, -kEmptyMin, -kEmptyMin, kEmptyMin, kEmptyMin, kEmptyMin);
  return i;
}

std::ostream& operator<<(std::ostream& os, const QorBoundsF& b) {
  return os << "((" << b.minX << ',' << b.minY << ',' << b.minZ << ") (" << b.maxX << ',' << b.maxY
            << ',' << b.maxZ << ")) ";
}

// ---- QorBounds2D ----

QorBounds2D::QorBounds2D(const Vector2D& a, const Vector2D& b)
    : minX(std::min(a.x, b.x)),
      minY(std::min(a.y, b.y)),
      maxX(std::max(a.x, b.x)),
      maxY(std::max(a.y, b.y)) {}

void QorBounds2D::intersect(const QorBounds2D& o) {
  if (isEmpty()) return;
  QorBounds2D r(std::max(minX, o.minX), std::max(minY, o.minY), std::min(maxX, o.maxX),
                std::min(maxY, o.maxY));
  if (o.isEmpty() || r.minX > r.maxX || r.minY > r.maxY)
    reset();
  else
    *this = r;
}

void QorBounds2D::unite(const QorBounds2D& o) {
  if (o.isEmpty()) return;
  if (isEmpty()) {
    *this = o;
    return;
  }
  minX = std::min(minX, o.minX);
  minY = std::min(minY, o.minY);
  maxX = std::max(maxX, o.maxX);
  maxY = std::max(maxY, o.maxY);
}

void QorBounds2D::inflate(double d) {
  if (isEmpty()) return;
  minX -= d;
  minY -= d;
  maxX += d;
  maxY += d;
}

void QorBounds2D::scale(double factor, bool aboutCentre) {
  if (isEmpty()) return;
  double cx = aboutCentre ? (minX + maxX) / 2 : 0.0;
  double cy = aboutCentre ? (minY + maxY) / 2 : 0.0;
  minX = cx + (minX - cx) * factor;
  minY = cy + (minY - cy) * factor;
  maxX = cx + (maxX - cx) * factor;
  maxY = cy + (maxY - cy) * factor;
  if (factor < 0) {
    std::swap(minX, maxX);
    std::swap(minY, maxY);
  }
}

double QorBounds2D::size() const {
  if (isEmpty()) return 0.0;
  return std::max(maxX - minX, maxY - minY);
}

Vector2D QorBounds2D::centre() const {
  return {(minX + maxX) / 2, (minY + maxY) / 2};
}

bool QorBounds2D::isDisjoint(const QorBounds2D& other) const {
  QorBounds2D r = *this;
  r.intersect(other);
  return r.isEmpty();
}

bool QorBounds2D::overlapsWithArea(const QorBounds2D& other) const {
  QorBounds2D r = *this;
  r.intersect(other);
  return !r.isEmpty() && (r.maxX - r.minX) * (r.maxY - r.minY) > 0.0;
}

void QorBounds2D::corners(Vector2D* min, Vector2D* max) const {
  if (min) *min = Vector2D(minX, minY);
  if (max) *max = Vector2D(maxX, maxY);
}

std::ostream& operator<<(std::ostream& os, const QorBounds2D& b) {
  return os << "((" << b.minX << ", " << b.minY << ") (" << b.maxX << ", " << b.maxY << ") ) ";
}
