// QorMatrix (also Transform3D): a 4 by 4 transform of doubles, row by row, acting on
// column vectors. The translation sits in elements 3, 7 and 11.
#pragma once
#include <cstdio>
#include <iosfwd>
#include <type_traits>

#include "math/qorquaternion.h"
#include "math/qorvector.h"

class BinOutput;
class BinInput;
class QorRect;

// A 4 by 4 matrix of doubles, the identity by default. Element r * 4 + c is row r, column c;
// a point p goes to M p. The sixteen doubles are the whole object, so arrays of matrices
// and their stored form are plain runs of doubles.
class QorMatrix {
 public:
  // The identity.
  constexpr QorMatrix() : m_{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1} {}
  // Copies 16 doubles, row by row; a null pointer gives the identity.
  explicit QorMatrix(const double* values);
  // The sixteen elements row by row.
  constexpr QorMatrix(double m0, double m1, double m2, double m3, double m4, double m5, double m6,
                      double m7, double m8, double m9, double m10, double m11, double m12,
                      double m13, double m14, double m15)
      : m_{m0, m1, m2, m3, m4, m5, m6, m7, m8, m9, m10, m11, m12, m13, m14, m15} {}

  // The process-wide identity.
  static const QorMatrix& identity();

  // ---- builders ----

  // The three vectors as the rows of the upper left 3 by 3 part; the rest identity.
  static QorMatrix fromRows(const QorVector& r0, const QorVector& r1, const QorVector& r2);
  // The four vectors as the columns of the upper 3 by 4 part; last row (0, 0, 0, 1).
  static QorMatrix fromColumns(const QorVector& c0, const QorVector& c1, const QorVector& c2,
                               const QorVector& c3);
  // The rotation of q, taken as given (not normalised).
  static QorMatrix fromQuaternion(const QorQuaternion& q);
  // The rotation of q followed by the translation t.
  static QorMatrix fromQuaternion(const QorQuaternion& q, const QorVector& t);
  // The rotation by `angle` radians about `axis` (normalised first), by Rodrigues' formula.
  static QorMatrix fromAxisAngle(const QorVector& axis, double angle);
  // A rotation taking the direction of `from` to that of `to`: the identity for angles
  // below 1e-7, a half turn about a perpendicular of `from` for opposite directions.
  static QorMatrix fromVectors(const QorVector& from, const QorVector& to);
  // The identity with t in the last column.
  static QorMatrix fromTranslation(const QorVector& t);
  // Maps the square from -1 to 1 onto rect; only elements 0, 3, 5, 7, 10 and 15 are set,
  // all others are 0.
  static QorMatrix fromRect(const QorRect& rect);
  // s on the three first diagonal elements, 1 on the last.
  static QorMatrix uniformScale(double s);
  // sx, sy, sz on the diagonal, 1 on the last.
  static QorMatrix scale(double sx, double sy, double sz);
  // The reflection I - 2 n n^T through the origin, with n taken as given.
  static QorMatrix mirror(const QorVector& normal);
  // The row-by-column product a b.
  static QorMatrix multiply(const QorMatrix& a, const QorMatrix& b);

  // The identity with this matrix's translation.
  void translationPart(QorMatrix& out) const;
  // The upper left 3 by 3 part of this matrix inside an identity.
  void upper3(QorMatrix& out) const;

  // ---- elements ----

  // Element i (row i / 4, column i % 4).
  double& operator[](int i) { return m_[i]; }
  // Element i (row i / 4, column i % 4).
  double operator[](int i) const { return m_[i]; }
  // The element at row r, column c.
  double& at(int r, int c) { return m_[r * 4 + c]; }
  // The element at row r, column c.
  double at(int r, int c) const { return m_[r * 4 + c]; }
  // The sixteen elements, row by row.
  double* data() { return m_; }
  // The sixteen elements, row by row.
  const double* data() const { return m_; }
  // The first three elements of column i; the zero vector for i above 3.
  QorVector column(int i) const;
  // The first three elements of row i; the zero vector for i above 3.
  QorVector row(int i) const;
  // Sets the first three elements of column i; ignored for i above 3.
  void setColumn(int i, const QorVector& v);
  // Sets the first three elements of row i; ignored for i above 3.
  void setRow(int i, const QorVector& v);
  // Swaps the four values with the four elements of column i; ignored outside 0 to 3.
  void exchangeColumn(int i, double* values);
  // Elements 3, 7 and 11.
  void translation(QorVector& out) const { out.set(m_[3], m_[7], m_[11]); }
  // Sets elements 3, 7 and 11.
  void setTranslation(const QorVector& t);

  // ---- operations ----

  // The inverse by Gauss-Jordan elimination with partial pivoting. `out` starts as the
  // identity; false, with out undefined, when a pivot is not above 0 (singular).
  bool inverse(QorMatrix& out) const;
  // Transposes in place.
  void transpose();
  // out = M p with the divide by the last row's result (skipped when that is 0).
  void transformPoint(const QorVector& in, QorVector& out) const;
  // The same for three doubles; in and out may be the same.
  void transformPoint(const double* in, double* out) const;
  // The same for three floats, worked in double; in and out may be the same.
  void transformPoint(const float* in, float* out) const;
  // out = upper 3 by 3 part times v.
  void transformVector(const QorVector& in, QorVector& out) const;
  // The same for three doubles; in and out may be the same.
  void transformVector(const double* in, double* out) const;
  // The same for three floats, worked in double; in and out may be the same.
  void transformVector(const float* in, float* out) const;
  // The determinant of the upper 3 by 3 part.
  double determinant3() const;
  // The determinant of the whole matrix.
  double determinant4() const;
  // The cube root of the absolute 3 by 3 determinant.
  double scaleFactor() const;
  // The lengths of the first three columns.
  void columnLengths(QorVector& out) const;
  // The quaternion of the rotation part, by Shepperd's method.
  void toQuaternion(QorQuaternion& out) const;
  // 2 acos(w) of toQuaternion (w clamped to [-1, 1] against rounding).
  double rotationAngle() const;
  // (x, y, z) / sin(acos(w)) of toQuaternion; not for an angle of 0.
  void rotationAxis(QorVector& out) const;
  // Angles (about x, y, z) such that the rotation part, cleaned as cleanRotation does, is
  // Rz(z) Ry(y) Rx(x). Simple rotations give exact answers.
  void toEuler(QorVector& out) const;
  // Per column of the 3 by 3 part: elements below 0.0001 in size become 0, then a column
  // whose squared length is not exactly 1 is divided by its length.
  void cleanRotation();
  // Gram-Schmidt on the first three columns; answers the last normalise.
  bool orthonormalise();
  // Solves (upper 3 by 3) x = rhs by Cramer's rule; false if the determinant is exactly 0.
  bool solve3(const QorVector& rhs, QorVector& out) const;
  // The same for the matrix with columns c0, c1, c2.
  static bool solve3(const QorVector& c0, const QorVector& c1, const QorVector& c2,
                     const QorVector& rhs, QorVector& out);
  // Solves M x = rhs by Cramer's rule; false unless the absolute determinant is above 1e-16.
  bool solve4(const double* rhs, double* out) const;
  // The sum of the squares of all differences from the identity.
  double distanceToIdentity() const;
  // Element by element; a NaN on either side makes the matrices unequal.
  bool equals(const QorMatrix& other) const;
  // equals the identity.
  bool isIdentity() const { return equals(identity()); }

  // ---- predicates (none looks at the translation unless said) ----

  // The last row is exactly (0, 0, 0, 1).
  bool isAffine() const;
  // All sixteen off-diagonal elements are exactly 0.
  bool isDiagonal() const;
  // Any of the elements 1, 2, 4, 6, 8, 9 exceeds tolerance in size.
  bool hasRotation(double tolerance) const;
  // The upper 3 by 3 part is exactly the identity and the last row (0, 0, 0, 1).
  bool isRotationIdentity() const;
  // The first three columns have length 1 and are pairwise orthogonal, within 1e-7.
  bool isOrthonormal() const;
  // A diagonal matrix with no translation, last row (0, 0, 0, 1), and three diagonal
  // elements each within 1e-10 of the signed cube root of their product.
  bool isUniformScale() const;
  // The three columns have equal squared length x and are pairwise orthogonal, within
  // bounds of 8 machine epsilons scaled by x. `scale` (if given) gets sqrt(x), negative when
  // the test held and the 3 by 3 determinant is negative.
  bool isSimilarity(double* scale = nullptr) const;

  // Prints each row as "(%12.6f %12.6f %12.6f %12.6f\n", then a line feed.
  void debugPrint(FILE* out = stdout) const;
  // Prints "title\n", then as debugPrint.
  void debugPrint(const char* title, FILE* out = stdout) const;

  // Sixteen doubles on the stream, row by row; answers the stream's outcome.
  bool write(BinOutput& out) const;
  // Sixteen doubles from the stream; answers the stream's outcome.
  bool read(BinInput& in);

  // The product this * o.
  QorMatrix operator*(const QorMatrix& o) const { return multiply(*this, o); }
  // As equals.
  bool operator==(const QorMatrix& o) const { return equals(o); }

 private:
  double m_[16];
};

// The name under which the data model and the script layer know the transform.
using Transform3D = QorMatrix;

static_assert(std::is_standard_layout_v<QorMatrix> && sizeof(QorMatrix) == 16 * sizeof(double),
              "QorMatrix is stored and streamed as sixteen doubles, row by row");
static_assert(std::is_trivially_copyable_v<QorMatrix>);

// The sixteen elements in order, each followed by a blank, in the stream's number format.
std::ostream& operator<<(std::ostream& os, const QorMatrix& m);
