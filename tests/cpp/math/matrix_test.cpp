// QorMatrix and QorQuaternion against closed forms: rotations of known angles, inverses,
// determinants against the permutation sum, Cramer's solves, Euler angles by rebuilding the
// matrix, and the predicates at their exact boundaries.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <random>
#include <sstream>
#include <string>

#include "math/qormatrix.h"
#include "math/qorrect.h"

namespace {

constexpr double kPi = std::numbers::pi;

double maxDiff(const QorMatrix& a, const QorMatrix& b) {
  double d = 0;
  for (int i = 0; i < 16; ++i) d = std::max(d, std::fabs(a[i] - b[i]));
  return d;
}

// Rz(z) Ry(y) Rx(x), built from the three textbook axis matrices by products.
QorMatrix eulerRebuild(const QorVector& e) {
  QorMatrix rx(1, 0, 0, 0, 0, std::cos(e.x), -std::sin(e.x), 0, 0, std::sin(e.x), std::cos(e.x), 0,
               0, 0, 0, 1);
  QorMatrix ry(std::cos(e.y), 0, std::sin(e.y), 0, 0, 1, 0, 0, -std::sin(e.y), 0, std::cos(e.y), 0,
               0, 0, 0, 1);
  QorMatrix rz(std::cos(e.z), -std::sin(e.z), 0, 0, std::sin(e.z), std::cos(e.z), 0, 0, 0, 0, 1, 0,
               0, 0, 0, 1);
  return rz * ry * rx;
}

QorMatrix randomRotation(std::mt19937_64& rng) {
  std::normal_distribution<double> g;
  QorQuaternion q(g(rng), g(rng), g(rng), g(rng));
  double n = std::sqrt(q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z);
  return QorMatrix::fromQuaternion(QorQuaternion(q.w / n, q.x / n, q.y / n, q.z / n));
}

// The determinant as the signed sum over all 24 permutations.
double leibniz(const QorMatrix& m) {
  std::array<int, 4> p = {0, 1, 2, 3};
  double sum = 0;
  do {
    int inversions = 0;
    for (int i = 0; i < 4; ++i)
      for (int j = i + 1; j < 4; ++j) inversions += p[i] > p[j];
    double term = inversions % 2 ? -1 : 1;
    for (int r = 0; r < 4; ++r) term *= m.at(r, p[r]);
    sum += term;
  } while (std::next_permutation(p.begin(), p.end()));
  return sum;
}

TEST(QorMatrix, RotationsOfKnownAnglesAndTheirQuaternions) {
  QorMatrix rz = QorMatrix::fromAxisAngle(QorVector(0, 0, 5), kPi / 2);
  QorMatrix want(0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
  QorVector p;
  rz.transformPoint(QorVector(1, 0, 0), p);
  EXPECT_TRUE(maxDiff(rz, want) < 1e-15 && std::fabs(p.y - 1) < 1e-15);
  // 120 degrees about (1, 1, 1) cycles the axes.
  EXPECT_LT(maxDiff(QorMatrix::fromAxisAngle(QorVector(1, 1, 1), 2 * kPi / 3),
                    QorMatrix(0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1)),
            1e-15);

  // The quaternion table for a quarter turn about z, and the half turns about each axis,
  // whose traces of -1 take the three non-trace branches of the conversion.
  double h = std::sqrt(0.5);
  EXPECT_LT(maxDiff(QorMatrix::fromQuaternion(QorQuaternion(h, 0, 0, h)), want), 1e-15);
  QorQuaternion q;
  QorVector axis;
  want.toQuaternion(q);
  want.rotationAxis(axis);
  EXPECT_TRUE(std::fabs(q.w - h) < 1e-15 && std::fabs(q.z - h) < 1e-15) << q.w << " " << q.z;
  EXPECT_NEAR(want.rotationAngle(), kPi / 2, 1e-15);
  EXPECT_NEAR((axis - QorVector(0, 0, 1)).length(), 0.0, 1e-15);
  for (int i = 0; i < 3; ++i) {
    QorVector a;
    a[i] = 1;
    QorMatrix half = QorMatrix::fromAxisAngle(a, kPi);
    half.toQuaternion(q);
    EXPECT_NEAR(std::fabs(i == 0 ? q.x : i == 1 ? q.y : q.z), 1.0, 1e-15) << i;
    EXPECT_NEAR(q.w, 0.0, 1e-15);
    EXPECT_LT(maxDiff(q.toMatrix(), half), 1e-15);
  }

  std::mt19937_64 rng(3);
  std::uniform_real_distribution<double> u(-1, 1);
  for (int i = 0; i < 500; ++i) {
    QorVector axis(u(rng), u(rng), u(rng));
    double angle = u(rng) * kPi;
    QorVector k = axis * (1 / axis.length());
    QorMatrix a = QorMatrix::fromAxisAngle(axis, angle);
    QorQuaternion qa(std::cos(angle / 2), k.x * std::sin(angle / 2), k.y * std::sin(angle / 2),
                     k.z * std::sin(angle / 2));
    EXPECT_LT(maxDiff(a, QorMatrix::fromQuaternion(qa)), 1e-7);
    EXPECT_LT(maxDiff(QorQuaternion::fromMatrix(a).toMatrix(), a), 1e-14);
  }
}

TEST(QorMatrix, FromVectorsIdentityOppositeAndGeneral) {
  QorVector v(0.3, -2, 7);
  EXPECT_TRUE(QorMatrix::fromVectors(v, v * 3).isIdentity()) << "exactly the identity";

  QorVector from(1, 2, 3), to = -from;
  QorMatrix flip = QorMatrix::fromVectors(from, to);
  QorVector got;
  flip.transformVector(from, got);
  EXPECT_LT((got - to).length(), 1e-13);
  QorVector first, second;
  from.frame(&first, &second);
  EXPECT_LT(maxDiff(flip, QorMatrix::fromAxisAngle(first, kPi)), 1e-15);

  std::mt19937_64 rng(5);
  std::uniform_real_distribution<double> u(-1, 1);
  for (int i = 0; i < 300; ++i) {
    QorVector a(u(rng), u(rng), u(rng)), b(u(rng), u(rng), u(rng));
    QorMatrix m = QorMatrix::fromVectors(a, b);
    m.transformVector(a * (1 / a.length()), got);
    EXPECT_TRUE((got - b * (1 / b.length())).length() < (1e-9) && m.isOrthonormal());
  }
}

TEST(QorMatrix, InverseDeterminantsAndSolves) {
  std::mt19937_64 rng(9);
  std::uniform_real_distribution<double> u(-3, 3);
  for (int i = 0; i < 300; ++i) {
    QorMatrix m;
    for (int k = 0; k < 16; ++k) m[k] = u(rng);
    QorMatrix inv, upper;
    m.upper3(upper);
    ASSERT_TRUE(m.inverse(inv));
    EXPECT_LT(maxDiff(inv * m, QorMatrix()), 1e-9);
    EXPECT_NEAR(m.determinant4(), leibniz(m), 1e-10);
    EXPECT_NEAR(m.determinant3(), leibniz(upper), 1e-10);

    double rhs[4] = {u(rng), u(rng), u(rng), u(rng)}, x[4];
    ASSERT_TRUE(m.solve4(rhs, x));
    for (int r = 0; r < 4; ++r)
      EXPECT_NEAR(m.at(r, 0) * x[0] + m.at(r, 1) * x[1] + m.at(r, 2) * x[2] + m.at(r, 3) * x[3],
                  rhs[r], 1e-8);
    QorVector b(rhs[0], rhs[1], rhs[2]), y, back;
    ASSERT_TRUE(m.solve3(b, y));
    m.transformVector(y, back);
    EXPECT_LT((back - b).length(), 1e-8);
  }

  // A permutation needs the row exchanges and inverts exactly to its transpose.
  QorMatrix perm(0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0), inv, t = perm, zeroColumn;
  t.transpose();
  EXPECT_TRUE(perm.inverse(inv) && inv.equals(t));
  zeroColumn.setColumn(1, QorVector());
  QorVector out(5, 5, 5);
  EXPECT_FALSE(zeroColumn.inverse(inv) || zeroColumn.solve3(QorVector(1, 1, 1), out));
  EXPECT_EQ(out, QorVector(5, 5, 5));
  // solve4 needs |det| above 1e-16; solve3 only a non-zero one.
  QorMatrix small = QorMatrix::scale(1e-6, 1e-6, 1e-5);
  double rhs[4] = {1, 1, 1, 1}, x[4];
  EXPECT_TRUE(!small.solve4(rhs, x) && small.solve3(QorVector(1, 1, 1), out));
  EXPECT_NEAR(out.z, 1e5, 1e-6);
}

TEST(QorMatrix, ProductsTransformsAndBuilders) {
  QorMatrix t = QorMatrix::fromTranslation(QorVector(1, 2, 3)), s = QorMatrix::scale(2, 3, 4);
  EXPECT_TRUE((t * s).equals(QorMatrix(2, 0, 0, 1, 0, 3, 0, 2, 0, 0, 4, 3, 0, 0, 0, 1)));
  EXPECT_TRUE((s * t).equals(QorMatrix(2, 0, 0, 2, 0, 3, 0, 6, 0, 0, 4, 12, 0, 0, 0, 1)));
  QorMatrix projective;
  projective[14] = 1;
  projective[15] = 0;  // w = z
  QorVector p, v, m;
  projective.transformPoint(QorVector(2, 4, 2), p);
  t.transformVector(QorVector(1, 1, 1), v);  // vectors ignore the translation
  QorMatrix::mirror(QorVector(0, 0, 1)).transformPoint(QorVector(1, 2, 3), m);
  EXPECT_EQ(std::vector<QorVector>({p, v, m}),
            std::vector<QorVector>({{1, 2, 1}, {1, 1, 1}, {1, 2, -3}}));
  EXPECT_TRUE(QorMatrix::fromRect(QorRect(-1, 2, 3, 6))
                  .equals(QorMatrix(2, 0, 0, 1, 0, 2, 0, 4, 0, 0, 1, 0, 0, 0, 0, 1)));
  QorMatrix cols = QorMatrix::fromColumns({1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12});
  EXPECT_TRUE(cols.equals(QorMatrix(1, 4, 7, 10, 2, 5, 8, 11, 3, 6, 9, 12, 0, 0, 0, 1)));
  // Out-of-range indices read zero and change nothing.
  EXPECT_EQ(cols.column(4) + cols.row(-1), QorVector());
  QorMatrix keep = cols;
  keep.setRow(4, {9, 9, 9});
  keep.setColumn(4, {9, 9, 9});
  double four[4] = {-1, -2, -3, -4};
  keep.exchangeColumn(4, four);
  EXPECT_TRUE(keep.equals(cols));
  keep.exchangeColumn(3, four);
  EXPECT_TRUE(four[0] == 10 && keep.column(3) == QorVector(-1, -2, -3) && keep[15] == -4);
  EXPECT_TRUE(QorMatrix::fromTranslation({1, 0, 0}).distanceToIdentity() == 1.0 &&
              QorMatrix(nullptr).isIdentity());
}

TEST(QorMatrix, EulerAnglesRebuildTheRotation) {
  // Simple rotations come out exact in the other two angles.
  QorVector e;
  for (int axis = 0; axis < 3; ++axis) {
    const double angle[3] = {0.3, -0.7, 2.0};
    QorVector about, want;
    about[axis] = 1;
    want[axis] = angle[axis];
    QorMatrix::fromAxisAngle(about, angle[axis]).toEuler(e);
    EXPECT_LT((e - want).length(), 1e-15) << axis << ": " << e;
    EXPECT_EQ(e[(axis + 1) % 3] + e[(axis + 2) % 3], 0.0) << axis;
  }
  QorMatrix::identity().toEuler(e);
  EXPECT_EQ(e, QorVector());
  // Two angles of three, and the quarter turns about y of both signs.
  for (QorVector angles :
       {QorVector(0.2, 0.4, 0), QorVector(0.2, 0, -1.1), QorVector(0, 0.5, 2.5),
        QorVector(0.3, kPi / 2, 0), QorVector(0.3, -kPi / 2, 0), QorVector(1.0, kPi / 2, 0.4)}) {
    QorMatrix m = eulerRebuild(angles);
    m.toEuler(e);
    EXPECT_LT(maxDiff(eulerRebuild(e), m), 1e-12) << angles << " gave " << e;
  }
  // Random rotations, with and without a translation and a scale in the columns; the
  // cleaning of elements below 0.0001 bounds the error.
  std::mt19937_64 rng(21);
  for (int i = 0; i < 3000; ++i) {
    QorMatrix r = randomRotation(rng);
    QorMatrix m = i % 2 ? r * QorMatrix::uniformScale(2.5) : r;
    m.setTranslation({4, 5, 6});
    m.toEuler(e);
    EXPECT_LT(maxDiff(eulerRebuild(e), r), 3e-4) << i;
  }
}

TEST(QorMatrix, CleaningOrthonormalisingAndPredicates) {
  QorMatrix m(1, 0.00009, 0, 0, 0.0001, 1, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1);
  m.cleanRotation();  // 0.00009 is noise; 0.0001 stays, the column rescaled
  EXPECT_EQ(std::vector<double>({m[1], m[0], m[10]}),
            std::vector<double>({0.0, 1 / std::sqrt(1 + 0.0001 * 0.0001), 1.0}));
  QorMatrix skew = QorMatrix::fromColumns({2, 0, 0}, {1, 1, 0}, {1, 1, 1}, {});
  EXPECT_TRUE(!skew.isOrthonormal() && skew.orthonormalise() && skew.isOrthonormal() &&
              maxDiff(skew, QorMatrix()) < (1e-15));

  QorMatrix moved = QorMatrix::uniformScale(2), tilt = QorMatrix::fromAxisAngle({0, 0, 1}, 1e-3),
            nan;
  moved.setTranslation({0, 0, 1});
  nan[6] = std::nan("");
  EXPECT_EQ(
      std::vector<bool>({QorMatrix::uniformScale(-2).isUniformScale(),
                         QorMatrix::scale(2, 2, 2.001).isUniformScale(), moved.isUniformScale(),
                         moved.isDiagonal(), moved.isRotationIdentity(), moved.isAffine(),
                         tilt.hasRotation(1e-4), tilt.hasRotation(1e-2),
                         QorMatrix::fromTranslation({1, 2, 3}).isRotationIdentity(),
                         nan.equals(nan), nan.isIdentity()}),
      std::vector<bool>({true, false, false, false, false, true, true, false, true, false, false}));
  double mirrored = 0, scaled = 0, none = 0;
  std::mt19937_64 rng(2);
  EXPECT_TRUE(QorMatrix::mirror({0, 1, 0}).isSimilarity(&mirrored) &&
              (randomRotation(rng) * QorMatrix::uniformScale(3)).isSimilarity(&scaled));
  EXPECT_FALSE(QorMatrix::scale(1, 1, 1.001).isSimilarity(&none));
  EXPECT_EQ(std::vector<double>({mirrored, none}), std::vector<double>({-1.0, 1.0}));
  EXPECT_NEAR(scaled, 3.0, 1e-14);
}

TEST(QorMatrix, TextAndDebugForms) {
  std::ostringstream os;
  os << QorMatrix::fromTranslation({1.5, -2, 1e-7});
  EXPECT_EQ(os.str(), "1 0 0 1.5 0 1 0 -2 0 0 1 1e-07 0 0 0 1 ");
  char buffer[512] = {};
  FILE* f = fmemopen(buffer, sizeof buffer, "w");
  ASSERT_NE(f, nullptr);
  QorMatrix::scale(2, -3.25, 1).debugPrint("T", f);
  std::fclose(f);
  EXPECT_EQ(std::string(buffer).substr(0, 56),
            "T\n(    2.000000     0.000000     0.000000     0.000000\n(");
  EXPECT_NE(std::string(buffer).find("    -3.250000 "), std::string::npos);
}

}  // namespace
