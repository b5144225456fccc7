#include "math/qormatrix.h"

#include <cmath>
#include <cstring>
#include <numbers>
#include <ostream>
#include <utility>

#include "math/qorrect.h"
#include "persistence/binio.h"

namespace {

// Angles below this make fromVectors answer the identity.
constexpr double kTinyAngle = 1e-7;
// Angles above this (pi - 1e-7) count as opposite directions in fromVectors.
constexpr double kOppositeAngle = 3.1415925535897933;
// Elements below this in size are rounding noise to cleanRotation.
constexpr double kCleanLimit = 0.0001;
// Tolerance of isOrthonormal.
constexpr double kOrthonormalTolerance = 1e-7;
// Tolerance of isUniformScale.
constexpr double kUniformTolerance = 1e-10;
// Eight machine epsilons, the relative bound of isSimilarity.
constexpr double kSimilarityEpsilon = 1.7763568394002505e-15;
// The determinant that solve4 must exceed in size.
constexpr double kSolve4Limit = 1e-16;

// The 3 by 3 determinant of the rows (a b c / d e f / g h i).
double det3(double a, double b, double c, double d, double e, double f, double g, double h,
            double i) {
  return a * (e * i - f * h) - b * (d * i - f * g) + c * (d * h - e * g);
}

// The 4 by 4 determinant of 16 elements row by row, by cofactors of the first row.
double det4(const double* m) {
  double r = 0.0;
  for (int c = 0; c < 4; ++c) {
    double sub[9];
    int k = 0;
    for (int row = 1; row < 4; ++row)
      for (int col = 0; col < 4; ++col)
        if (col != c) sub[k++] = m[row * 4 + col];
    double minor = det3(sub[0], sub[1], sub[2], sub[3], sub[4], sub[5], sub[6], sub[7], sub[8]);
    r += (c % 2 == 0 ? 1.0 : -1.0) * m[c] * minor;
  }
  return r;
}

// The rotation part Rz(z) Ry(y) Rx(x), row by row.
void composeEuler(double x, double y, double z, double* r) {
  double cx = std::cos(x), sx = std::sin(x);
  double cy = std::cos(y), sy = std::sin(y);
  double cz = std::cos(z), sz = std::sin(z);
  r[0] = cz * cy;
  r[1] = cz * sy * sx - sz * cx;
  r[2] = cz * sy * cx + sz * sx;
  r[3] = sz * cy;
  r[4] = sz * sy * sx + cz * cx;
  r[5] = sz * sy * cx - cz * sx;
  r[6] = -sy;
  r[7] = cy * sx;
  r[8] = cy * cx;
}

// Whether the cleaned 3 by 3 part m (row by row, 9 values) agrees with Rz Ry Rx of the
// angles within the cleaning limit.
bool agreesWithEuler(const double* m, double x, double y, double z) {
  double r[9];
  composeEuler(x, y, z, r);
  for (int i = 0; i < 9; ++i)
    if (!(std::fabs(r[i] - m[i]) <= kCleanLimit)) return false;
  return true;
}

}  // namespace

QorMatrix::QorMatrix(const double* values) : QorMatrix() {
  if (values) std::memcpy(m_, values, sizeof m_);
}

const QorMatrix& QorMatrix::identity() {
  static const QorMatrix id;
  return id;
}

QorMatrix QorMatrix::fromRows(const QorVector& r0, const QorVector& r1, const QorVector& r2) {
  QorMatrix m;
  m.setRow(0, r0);
  m.setRow(1, r1);
  m.setRow(2, r2);
  return m;
}

QorMatrix QorMatrix::fromColumns(const QorVector& c0, const QorVector& c1, const QorVector& c2,
                                 const QorVector& c3) {
  QorMatrix m;
  m.setColumn(0, c0);
  m.setColumn(1, c1);
  m.setColumn(2, c2);
  m.setColumn(3, c3);
  return m;
}

QorMatrix QorMatrix::fromQuaternion(const QorQuaternion& q) {
  double w = q.w, x = q.x, y = q.y, z = q.z;
  return QorMatrix(w * w + x * x - y * y - z * z, 2 * (x * y - w * z), 2 * (w * y + x * z), 0,
                   2 * (w * z + x * y), w * w - x * x + y * y - z * z, 2 * (y * z - w * x), 0,
                   2 * (x * z - w * y), 2 * (w * x + y * z), w * w - x * x - y * y + z * z, 0, 0, 0,
                   0, 1);
}

QorMatrix QorMatrix::fromQuaternion(const QorQuaternion& q, const QorVector& t) {
  QorMatrix m = fromQuaternion(q);
  m.setTranslation(t);
  return m;
}

QorMatrix QorMatrix::fromAxisAngle(const QorVector& axis, double angle) {
  QorVector k = axis;
  k.normalise();
  double c = std::cos(angle);
  double s = std::sin(angle);
  double t = 1.0 - c;
  return QorMatrix(c + t * k.x * k.x, t * k.x * k.y - s * k.z, t * k.x * k.z + s * k.y, 0,
                   t * k.x * k.y + s * k.z, c + t * k.y * k.y, t * k.y * k.z - s * k.x, 0,
                   t * k.x * k.z - s * k.y, t * k.y * k.z + s * k.x, c + t * k.z * k.z, 0, 0, 0, 0,
                   1);
}

QorMatrix QorMatrix::fromVectors(const QorVector& from, const QorVector& to) {
  QorVector a = from;
  QorVector b = to;
  a.normalise();
  b.normalise();
  double c = std::fmin(1.0, std::fmax(-1.0, a.dot(b)));
  double angle = std::acos(c);
  if (angle < kTinyAngle) return QorMatrix();
  if (angle > kOppositeAngle) {
    QorVector first;
    QorVector second;
    from.frame(&first, &second);
    return fromAxisAngle(first, std::numbers::pi);
  }
  return fromAxisAngle(a.cross(b), angle);
}

QorMatrix QorMatrix::fromTranslation(const QorVector& t) {
  QorMatrix m;
  m.setTranslation(t);
  return m;
}

QorMatrix QorMatrix::fromRect(const QorRect& r) {
  QorMatrix m(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
  m.m_[0] = (r.xMax - r.xMin) / 2;
  m.m_[3] = (r.xMin + r.xMax) / 2;
  m.m_[5] = (r.yMax - r.yMin) / 2;
  m.m_[7] = (r.yMax + r.yMin) / 2;
  m.m_[10] = 1;
  m.m_[15] = 1;
  return m;
}

QorMatrix QorMatrix::uniformScale(double s) {
  return scale(s, s, s);
}

QorMatrix QorMatrix::scale(double sx, double sy, double sz) {
  QorMatrix m;
  m.m_[0] = sx;
  m.m_[5] = sy;
  m.m_[10] = sz;
  return m;
}

QorMatrix QorMatrix::mirror(const QorVector& n) {
  QorMatrix m;
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) m.m_[r * 4 + c] -= 2.0 * n[r] * n[c];
  return m;
}

QorMatrix QorMatrix::multiply(const QorMatrix& a, const QorMatrix& b) {
  QorMatrix p;
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) {
      double s = 0.0;
      for (int k = 0; k < 4; ++k) s += a.m_[r * 4 + k] * b.m_[k * 4 + c];
      p.m_[r * 4 + c] = s;
    }
  return p;
}

void QorMatrix::translationPart(QorMatrix& out) const {
  out = QorMatrix();
  out.m_[3] = m_[3];
  out.m_[7] = m_[7];
  out.m_[11] = m_[11];
}

void QorMatrix::upper3(QorMatrix& out) const {
  out = QorMatrix();
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) out.m_[r * 4 + c] = m_[r * 4 + c];
}

QorVector QorMatrix::column(int i) const {
  if (i < 0 || i > 3) return QorVector();
  return {m_[i], m_[4 + i], m_[8 + i]};
}

QorVector QorMatrix::row(int i) const {
  if (i < 0 || i > 3) return QorVector();
  return {m_[i * 4], m_[i * 4 + 1], m_[i * 4 + 2]};
}

void QorMatrix::setColumn(int i, const QorVector& v) {
  if (i < 0 || i > 3) return;
  m_[i] = v.x;
  m_[4 + i] = v.y;
  m_[8 + i] = v.z;
}

void QorMatrix::setRow(int i, const QorVector& v) {
  if (i < 0 || i > 3) return;
  m_[i * 4] = v.x;
  m_[i * 4 + 1] = v.y;
  m_[i * 4 + 2] = v.z;
}

void QorMatrix::exchangeColumn(int i, double* values) {
  if (i < 0 || i > 3 || !values) return;
  for (int r = 0; r < 4; ++r) std::swap(m_[r * 4 + i], values[r]);
}

void QorMatrix::setTranslation(const QorVector& t) {
  m_[3] = t.x;
  m_[7] = t.y;
  m_[11] = t.z;
}

bool QorMatrix::inverse(QorMatrix& out) const {
  out = QorMatrix();
  QorMatrix a = *this;
  for (int j = 0; j < 4; ++j) {
    int pivotRow = j;
    double best = std::fabs(a.m_[j * 4 + j]);
    for (int r = j + 1; r < 4; ++r) {
      double v = std::fabs(a.m_[r * 4 + j]);
      if (v > best) {
        best = v;
        pivotRow = r;
      }
    }
    if (!(best > 0.0)) return false;
    if (pivotRow != j)
      for (int c = 0; c < 4; ++c) {
        std::swap(a.m_[j * 4 + c], a.m_[pivotRow * 4 + c]);
        std::swap(out.m_[j * 4 + c], out.m_[pivotRow * 4 + c]);
      }
    double pivot = a.m_[j * 4 + j];
    for (int c = 0; c < 4; ++c) {
      a.m_[j * 4 + c] /= pivot;
      out.m_[j * 4 + c] /= pivot;
    }
    for (int r = 0; r < 4; ++r) {
      if (r == j) continue;
      double f = a.m_[r * 4 + j];
      if (f == 0.0) continue;
      for (int c = 0; c < 4; ++c) {
        a.m_[r * 4 + c] -= f * a.m_[j * 4 + c];
        out.m_[r * 4 + c] -= f * out.m_[j * 4 + c];
      }
    }
  }
  return true;
}

void QorMatrix::transpose() {
  for (int r = 0; r < 4; ++r)
    for (int c = r + 1; c < 4; ++c) std::swap(m_[r * 4 + c], m_[c * 4 + r]);
}

void QorMatrix::transformPoint(const double* in, double* out) const {
  double x = in[0], y = in[1], z = in[2];
  double rx = m_[0] * x + m_[1] * y + m_[2] * z + m_[3];
  double ry = m_[4] * x + m_[5] * y + m_[6] * z + m_[7];
  double rz = m_[8] * x + m_[9] * y + m_[10] * z + m_[11];
  double w = m_[12] * x + m_[13] * y + m_[14] * z + m_[15];
  if (w != 1.0 && w != 0.0) {
    rx /= w;
    ry /= w;
    rz /= w;
  }
  out[0] = rx;
  out[1] = ry;
  out[2] = rz;
}

void QorMatrix::transformPoint(const QorVector& in, QorVector& out) const {
  transformPoint(in.data(), out.data());
}

void QorMatrix::transformPoint(const float* in, float* out) const {
  double p[3] = {in[0], in[1], in[2]};
  transformPoint(p, p);
  for (int i = 0; i < 3; ++i) out[i] = static_cast<float>(p[i]);
}

void QorMatrix::transformVector(const double* in, double* out) const {
  double x = in[0], y = in[1], z = in[2];
  out[0] = m_[0] * x + m_[1] * y + m_[2] * z;
  out[1] = m_[4] * x + m_[5] * y + m_[6] * z;
  out[2] = m_[8] * x + m_[9] * y + m_[10] * z;
}

void QorMatrix::transformVector(const QorVector& in, QorVector& out) const {
  transformVector(in.data(), out.data());
}

void QorMatrix::transformVector(const float* in, float* out) const {
  double v[3] = {in[0], in[1], in[2]};
  transformVector(v, v);
  for (int i = 0; i < 3; ++i) out[i] = static_cast<float>(v[i]);
}

double QorMatrix::determinant3() const {
  return det3(m_[0], m_[1], m_[2], m_[4], m_[5], m_[6], m_[8], m_[9], m_[10]);
}

double QorMatrix::determinant4() const {
  return det4(m_);
}

double QorMatrix::scaleFactor() const {
  return std::cbrt(std::fabs(determinant3()));
}

void QorMatrix::columnLengths(QorVector& out) const {
  out.set(column(0).length(), column(1).length(), column(2).length());
}

void QorMatrix::toQuaternion(QorQuaternion& q) const {
  const double* m = m_;
  double t = m[0] + m[5] + m[10];
  if (t > 0.0) {
    double s = std::sqrt(t + 1.0);
    q.w = s / 2;
    double f = 0.5 / s;
    q.x = (m[9] - m[6]) * f;
    q.y = (m[2] - m[8]) * f;
    q.z = (m[4] - m[1]) * f;
  } else if (m[0] > m[5] && m[0] > m[10]) {
    double s = 2 * std::sqrt(m[0] + 1.0 - m[5] - m[10]);
    q.w = (m[9] - m[6]) / s;
    q.x = s / 4;
    q.y = (m[4] + m[1]) / s;
    q.z = (m[8] + m[2]) / s;
  } else if (m[5] > m[10]) {
    double s = 2 * std::sqrt(m[5] + 1.0 - m[0] - m[10]);
    q.w = (m[2] - m[8]) / s;
    q.x = (m[4] + m[1]) / s;
    q.y = s / 4;
    q.z = (m[6] + m[9]) / s;
  } else {
    double s = 2 * std::sqrt(m[10] + 1.0 - m[0] - m[5]);
    q.w = (m[4] - m[1]) / s;
    q.x = (m[2] + m[8]) / s;
    q.y = (m[6] + m[9]) / s;
    q.z = s / 4;
  }
}

double QorMatrix::rotationAngle() const {
  QorQuaternion q;
  toQuaternion(q);
  return 2.0 * std::acos(std::fmin(1.0, std::fmax(-1.0, q.w)));
}

void QorMatrix::rotationAxis(QorVector& out) const {
  QorQuaternion q;
  toQuaternion(q);
  double s = std::sin(std::acos(std::fmin(1.0, std::fmax(-1.0, q.w))));
  out.set(q.x / s, q.y / s, q.z / s);
}

void QorMatrix::cleanRotation() {
  for (int c = 0; c < 3; ++c) {
    for (int r = 0; r < 3; ++r)
      if (std::fabs(m_[r * 4 + c]) < kCleanLimit) m_[r * 4 + c] = 0.0;
    double sq = column(c).lengthSquared();
    if (sq != 1.0) {
      double len = std::sqrt(sq);
      if (len > 0.0)
        for (int r = 0; r < 3; ++r) m_[r * 4 + c] /= len;
    }
  }
}

void QorMatrix::toEuler(QorVector& out) const {
  QorMatrix clean;
  upper3(clean);
  clean.cleanRotation();
  const double* m = clean.m_;
  constexpr double pi = std::numbers::pi;
  // Only a rotation about x, about y or about z: exact answers.
  if (m[1] == 0 && m[2] == 0 && m[4] == 0 && m[8] == 0 && m[0] > 0) {
    out.set(std::atan2(m[9], m[5]), 0, 0);
    return;
  }
  if (m[1] == 0 && m[4] == 0 && m[6] == 0 && m[9] == 0 && m[5] > 0) {
    out.set(0, std::atan2(-m[8], m[0]), 0);
    return;
  }
  if (m[2] == 0 && m[6] == 0 && m[8] == 0 && m[9] == 0 && m[10] > 0) {
    out.set(0, 0, std::atan2(m[4], m[0]));
    return;
  }
  // A quarter turn about y: x and z turn about the same axis, so z is taken as 0.
  if (m[0] == 0 && m[4] == 0 && m[9] == 0 && m[10] == 0) {
    if (m[8] < 0)
      out.set(std::atan2(m[1], m[2]), pi / 2, 0);
    else
      out.set(std::atan2(-m[1], -m[2]), -pi / 2, 0);
    return;
  }
  // One of the three angles is 0: the other two come from two plain elements each.
  double rows[9] = {m[0], m[1], m[2], m[4], m[5], m[6], m[8], m[9], m[10]};
  if (m[4] == 0) {  // no z rotation: Ry Rx
    double x = std::atan2(-m[6], m[5]);
    double y = std::atan2(-m[8], m[0]);
    if (agreesWithEuler(rows, x, y, 0)) {
      out.set(x, y, 0);
      return;
    }
  }
  if (m[8] == 0) {  // no y rotation: Rz Rx
    double x = std::atan2(m[9], m[10]);
    double z = std::atan2(m[4], m[0]);
    if (agreesWithEuler(rows, x, 0, z)) {
      out.set(x, 0, z);
      return;
    }
  }
  if (m[9] == 0) {  // no x rotation: Rz Ry
    double y = std::atan2(-m[8], m[10]);
    double z = std::atan2(-m[1], m[5]);
    if (agreesWithEuler(rows, 0, y, z)) {
      out.set(0, y, z);
      return;
    }
  }
  // The general case; a negative y is taken on the other branch, pi - y.
  double y = -std::asin(std::fmin(1.0, std::fmax(-1.0, m[8])));
  if (y < 0) y = pi - y;
  double c = 1.0 / std::cos(y);
  out.set(std::atan2(c * m[9], c * m[10]), y, std::atan2(c * m[4], c * m[0]));
}

bool QorMatrix::orthonormalise() {
  QorVector c0 = column(0);
  QorVector c1 = column(1);
  QorVector c2 = column(2);
  c0.normalise();
  QorVector p;
  c1.projectOnto(c0, p);
  c1 -= p;
  c1.normalise();
  c2.projectOnto(c0, p);
  c2 -= p;
  c2.projectOnto(c1, p);
  c2 -= p;
  bool ok = c2.normalise();
  setColumn(0, c0);
  setColumn(1, c1);
  setColumn(2, c2);
  return ok;
}

bool QorMatrix::solve3(const QorVector& rhs, QorVector& out) const {
  return solve3(column(0), column(1), column(2), rhs, out);
}

bool QorMatrix::solve3(const QorVector& c0, const QorVector& c1, const QorVector& c2,
                       const QorVector& rhs, QorVector& out) {
  double d = det3(c0.x, c1.x, c2.x, c0.y, c1.y, c2.y, c0.z, c1.z, c2.z);
  if (d == 0.0) return false;
  double dx = det3(rhs.x, c1.x, c2.x, rhs.y, c1.y, c2.y, rhs.z, c1.z, c2.z);
  double dy = det3(c0.x, rhs.x, c2.x, c0.y, rhs.y, c2.y, c0.z, rhs.z, c2.z);
  double dz = det3(c0.x, c1.x, rhs.x, c0.y, c1.y, rhs.y, c0.z, c1.z, rhs.z);
  out.set(dx / d, dy / d, dz / d);
  return true;
}

bool QorMatrix::solve4(const double* rhs, double* out) const {
  double d = det4(m_);
  if (!(std::fabs(d) > kSolve4Limit)) return false;
  double result[4];
  for (int c = 0; c < 4; ++c) {
    double a[16];
    std::memcpy(a, m_, sizeof a);
    for (int r = 0; r < 4; ++r) a[r * 4 + c] = rhs[r];
    result[c] = det4(a) / d;
  }
  std::memcpy(out, result, sizeof result);
  return true;
}

double QorMatrix::distanceToIdentity() const {
  const QorMatrix& id = identity();
  double s = 0.0;
  for (int i = 0; i < 16; ++i) {
    double d = m_[i] - id.m_[i];
    s += d * d;
  }
  return s;
}

bool QorMatrix::equals(const QorMatrix& other) const {
  for (int i = 0; i < 16; ++i)
    if (!(m_[i] == other.m_[i])) return false;
  return true;
}

bool QorMatrix::isAffine() const {
  return m_[12] == 0 && m_[13] == 0 && m_[14] == 0 && m_[15] == 1;
}

bool QorMatrix::isDiagonal() const {
  for (int i = 0; i < 16; ++i)
    if (i % 5 != 0 && m_[i] != 0) return false;
  return true;
}

bool QorMatrix::hasRotation(double tolerance) const {
  for (int i : {1, 2, 4, 6, 8, 9})
    if (std::fabs(m_[i]) > tolerance) return true;
  return false;
}

bool QorMatrix::isRotationIdentity() const {
  return m_[1] == 0 && m_[2] == 0 && m_[4] == 0 && m_[6] == 0 && m_[8] == 0 && m_[9] == 0 &&
         m_[0] == 1 && m_[5] == 1 && m_[10] == 1 && isAffine();
}

bool QorMatrix::isOrthonormal() const {
  QorVector c[3] = {column(0), column(1), column(2)};
  for (const QorVector& v : c)
    if (!(std::fabs(v.length() - 1.0) <= kOrthonormalTolerance)) return false;
  return std::fabs(c[0].dot(c[1])) <= kOrthonormalTolerance &&
         std::fabs(c[0].dot(c[2])) <= kOrthonormalTolerance &&
         std::fabs(c[1].dot(c[2])) <= kOrthonormalTolerance;
}

bool QorMatrix::isUniformScale() const {
  if (!isDiagonal() || m_[15] != 1) return false;
  double root = std::cbrt(m_[0] * m_[5] * m_[10]);
  return std::fabs(m_[0] - root) <= kUniformTolerance &&
         std::fabs(m_[5] - root) <= kUniformTolerance &&
         std::fabs(m_[10] - root) <= kUniformTolerance;
}

bool QorMatrix::isSimilarity(double* scale) const {
  QorVector c0 = column(0), c1 = column(1), c2 = column(2);
  double x = c0.lengthSquared();
  double bound = x >= 1.0 ? x * kSimilarityEpsilon : kSimilarityEpsilon;
  double orthoBound = x * kSimilarityEpsilon;
  bool held = std::fabs(c1.lengthSquared() - x) <= bound &&
              std::fabs(c2.lengthSquared() - x) <= bound && std::fabs(c0.dot(c1)) <= orthoBound &&
              std::fabs(c0.dot(c2)) <= orthoBound && std::fabs(c1.dot(c2)) <= orthoBound;
  if (scale) {
    *scale = std::sqrt(x);
    if (held && determinant3() < 0) *scale = -*scale;
  }
  return held;
}

void QorMatrix::debugPrint(FILE* out) const {
  for (int r = 0; r < 4; ++r)
    std::fprintf(out, "(%12.6f %12.6f %12.6f %12.6f\n", m_[r * 4], m_[r * 4 + 1], m_[r * 4 + 2],
                 m_[r * 4 + 3]);
  std::fputc('\n', out);
}

void QorMatrix::debugPrint(const char* title, FILE* out) const {
  std::fprintf(out, "%s\n", title ? title : "");
  debugPrint(out);
}

bool QorMatrix::write(BinOutput& out) const {
  return out.write(m_, 16);
}

bool QorMatrix::read(BinInput& in) {
  return in.read(m_, 16);
}

std::ostream& operator<<(std::ostream& os, const QorMatrix& m) {
  for (int i = 0; i < 16; ++i) os << m[i] << ' ';
  return os;
}

// ---- the quaternion's matrix conversions ----

QorMatrix QorQuaternion::toMatrix() const {
  return QorMatrix::fromQuaternion(*this);
}

QorQuaternion QorQuaternion::fromMatrix(const QorMatrix& m) {
  QorQuaternion q;
  m.toQuaternion(q);
  return q;
}

bool QorQuaternion::write(BinOutput& out) const {
  double v[4] = {w, x, y, z};
  return out.write(v, 4);
}

bool QorQuaternion::read(BinInput& in) {
  double v[4];
  if (!in.read(v, 4)) return false;
  *this = QorQuaternion(v[0], v[1], v[2], v[3]);
  return true;
}

std::ostream& operator<<(std::ostream& os, const QorQuaternion& q) {
  return os << '(' << q.w << ',' << q.x << ',' << q.y << ',' << q.z << ')';
}
