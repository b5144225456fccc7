#include "math/qorrect.h"

#include <algorithm>
#include <ostream>
#include <utility>

#include "persistence/binio.h"

QorRect::QorRect(double x0, double y0, double x1, double y1)
    : xMin(x0), yMin(y0), xMax(x1), yMax(y1) {
  sort();
}

QorRect::QorRect(const Vector2D& a, const Vector2D& b) : QorRect(a.x, a.y, b.x, b.y) {}

void QorRect::sort() {
  if (xMin > xMax) std::swap(xMin, xMax);
  if (yMin > yMax) std::swap(yMin, yMax);
}

void QorRect::translate(double dx, double dy) {
  xMin += dx;
  xMax += dx;
  yMin += dy;
  yMax += dy;
}

void QorRect::inflate(double dx, double dy) {
  xMin -= dx;
  xMax += dx;
  yMin -= dy;
  yMax += dy;
}

bool QorRect::contains(double x, double y) const {
  return x >= xMin && x <= xMax && y >= yMin && y <= yMax;
}

bool QorRect::contains(const QorRect& r) const {
  return r.xMin >= xMin && r.xMax <= xMax && r.yMin >= yMin && r.yMax <= yMax;
}

bool QorRect::isOutside(const QorRect& r) const {
  return r.xMax < xMin || r.xMin > xMax || r.yMax < yMin || r.yMin > yMax;
}

void QorRect::extendTo(double x, double y) {
  if (x < xMin) xMin = x;
  if (x > xMax) xMax = x;
  if (y < yMin) yMin = y;
  if (y > yMax) yMax = y;
}

bool QorRect::clamp(Vector2D* p) const {
  if (!p) return false;
  Vector2D before = *p;
  p->x = std::clamp(p->x, xMin, xMax);
  p->y = std::clamp(p->y, yMin, yMax);
  return !(before == *p);
}

bool QorRect::clamp(QorRect* r) const {
  if (!r) return false;
  QorRect before = *r;
  r->xMin = std::clamp(r->xMin, xMin, xMax);
  r->xMax = std::clamp(r->xMax, xMin, xMax);
  r->yMin = std::clamp(r->yMin, yMin, yMax);
  r->yMax = std::clamp(r->yMax, yMin, yMax);
  return !(before == *r);
}

bool QorRect::write(BinOutput& out) const {
  double v[4] = {xMin, yMin, xMax, yMax};
  return out.write(v, 4);
}

bool QorRect::read(BinInput& in) {
  double v[4];
  if (!in.read(v, 4)) return false;
  *this = QorRect(v[0], v[1], v[2], v[3]);
  return true;
}

std::ostream& operator<<(std::ostream& os, const QorRect& r) {
  return os << "xMin: " << r.xMin << '\n'
            << "xMax: " << r.xMax << '\n'
            << "yMin: " << r.yMin << '\n'
            << "yMax: " << r.yMax << '\n';
}
