// Boxes, rectangles and planes: the marker values of each class, growth and intersection,
// the 2D box operations, inclusive rectangle tests, and planes through known points.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <random>
#include <sstream>

#include "math/planeequation.h"
#include "math/qorbounds.h"
#include "math/qorrect.h"

namespace {

template <class T>
std::string text(const T& v) {
  std::ostringstream os;
  os << v;
  return os.str();
}

TEST(QorBounds, MarkerValuesOfEachClass) {
  QorBounds b;
  EXPECT_TRUE(b.minX == 3.4028234663852886e38 && b.maxZ == -3.4028234663852886e38 && b.isEmpty() &&
              QorBounds::empty() == b);
  EXPECT_EQ(QorBounds::infinite(),
            QorBounds(-DBL_MAX, -DBL_MAX, -DBL_MAX, DBL_MAX, DBL_MAX, DBL_MAX));
  EXPECT_EQ(std::vector<double>({QorBoundsF::empty().minY, QorBoundsF::infinite().minY,
                                 QorBounds2D().minX, QorBounds2D().maxY, Vector2D().x}),
            std::vector<double>({FLT_MAX, -FLT_MAX, DBL_MAX, -DBL_MAX, 3.4028234663852886e38}));
  EXPECT_TRUE(Vector2D().isUnset() && QorRect() == QorRect(0, 0, 0, 0));
  const float fa[3] = {3, -1, 2}, fb[3] = {1, 4, 2};  // corners sorted per axis
  EXPECT_EQ(text(QorBoundsF(fa, fb)), "((1,-1,2) (3,4,2)) ");
  EXPECT_EQ(QorBounds2D(Vector2D(3, 4), Vector2D(1, 2)), QorBounds2D(1, 2, 3, 4));
}

TEST(QorBounds, GrowthAndIntersectionAgainstAPointModel) {
  EXPECT_EQ(QorBounds(QorVector(3, -1, 2), QorVector(1, 4, 2)), QorBounds(1, -1, 2, 3, 4, 2))
      << "corners sorted per axis";
  // Growing by points matches the plain minimum and maximum over them.
  std::mt19937_64 rng(4);
  std::uniform_real_distribution<double> u(-100, 100);
  QorBounds grown;
  double lo[3] = {DBL_MAX, DBL_MAX, DBL_MAX}, hi[3] = {-DBL_MAX, -DBL_MAX, -DBL_MAX};
  for (int i = 0; i < 200; ++i) {
    QorVector p(u(rng), u(rng), u(rng));
    grown.extend(p);
    for (int k = 0; k < 3; ++k) lo[k] = std::fmin(lo[k], p[k]), hi[k] = std::fmax(hi[k], p[k]);
    EXPECT_TRUE(grown.contains(p));
  }
  EXPECT_EQ(grown, QorBounds(lo[0], lo[1], lo[2], hi[0], hi[1], hi[2]));

  const QorBounds a(0, 0, 0, 2, 2, 2);
  auto meet = [&](const QorBounds& o) {
    QorBounds c = a;
    c.intersect(o);
    return c;
  };
  EXPECT_TRUE(meet(QorBounds(1, -5, 1, 9, 1.5, 9)) == QorBounds(1, 0, 1, 2, 1.5, 2) &&
              meet(QorBounds(3, 0, 0, 4, 2, 2)) == QorBounds::empty() &&
              meet(QorBounds()).isEmpty());
  QorBounds c = a, e;
  c.unite(QorBounds());
  EXPECT_EQ(c, a);
  e.unite(a);
  EXPECT_EQ(e, a);
  e.unite(QorBounds(-1, 5, 0, 0, 6, 1));
  EXPECT_TRUE(e == QorBounds(-1, 0, 0, 2, 6, 2) && e.centre() == QorVector(0.5, 3, 1));
  e.reset();
  EXPECT_TRUE(e.isEmpty() && text(a) == "((0,0,0) (2,2,2)) ");
}

TEST(QorBounds2D, OperationsOnSoundAndEmptyBoxes) {
  QorBounds2D b(1, 1, 2, 2), empty;
  b.scale(-1, false);
  EXPECT_EQ(b, QorBounds2D(-2, -2, -1, -1));
  b = QorBounds2D(1, 1, 3, 2);
  b.scale(2, true);
  EXPECT_TRUE(b == QorBounds2D(0, 0.5, 4, 2.5) && b.size() == 4.0 &&
              b.centre() == Vector2D(2, 1.5));
  b.inflate(0.5);
  EXPECT_EQ(b, QorBounds2D(-0.5, 0, 4.5, 3));
  empty.inflate(1);
  empty.scale(2, true);
  empty.intersect(b);
  EXPECT_EQ(empty, QorBounds2D()) << "an empty box stays as it is";
  EXPECT_EQ(empty.size(), 0.0);
  empty.unite(b);
  EXPECT_EQ(empty, b);
  QorBounds2D left(0, 0, 1, 1), touching(1, 0, 2, 1), apart(1.5, 0, 2, 1);
  EXPECT_EQ(std::vector<bool>({left.isDisjoint(touching), left.overlapsWithArea(touching),
                               left.isDisjoint(apart),
                               left.overlapsWithArea(QorBounds2D(0.5, 0.5, 3, 3))}),
            std::vector<bool>({false, false, true, true}));  // a shared edge has no area
  EXPECT_EQ(text(QorBounds2D(1, 2, 3, 4)), "((1, 2) (3, 4) ) ");
}

TEST(QorRect, SortedCornersInclusiveSidesAndClamping) {
  QorRect r(3, 4, 1, 2), g = r, big(0, 0, 10, 3);
  EXPECT_EQ(r, QorRect(1, 2, 3, 4));
  EXPECT_EQ(QorRect(Vector2D(5, -1), Vector2D(0, 1)), QorRect(0, -1, 5, 1));
  // Touching at a corner is common.
  EXPECT_EQ(
      std::vector<bool>({r.contains(1, 4), r.contains(3.0000001, 3),
                         r.contains(QorRect(1, 2, 3, 4)), r.contains(QorRect(1, 2, 3, 4.5)),
                         r.isOutside(QorRect(3, 4, 5, 5)), r.isOutside(QorRect(3.5, 0, 5, 5))}),
      std::vector<bool>({true, false, true, false, false, true}));
  g.extendTo(0, 3);
  EXPECT_EQ(g, QorRect(0, 2, 3, 4));
  g.extendTo(Vector2D(5, 9));
  g.translate(1, -2);
  g.inflate(1, 0.5);
  EXPECT_EQ(g, QorRect(0, -0.5, 7, 7.5));
  Vector2D p(7, 3);
  EXPECT_TRUE(r.clamp(&p) && p == Vector2D(3, 3) && !r.clamp(&p) && r.clamp(&big) &&
              big == QorRect(1, 2, 3, 3) &&
              text(QorRect(1, 2, 3.5, 4)) == "xMin: 1\nxMax: 3.5\nyMin: 2\nyMax: 4\n");
}

TEST(PlaneEquation, PlanesThroughThreePointsAndTheSignBits) {
  std::mt19937_64 rng(8);
  std::uniform_real_distribution<double> u(-10, 10);
  for (int i = 0; i < 200; ++i) {
    QorVector p0(u(rng), u(rng), u(rng)), p1(u(rng), u(rng), u(rng)), p2(u(rng), u(rng), u(rng));
    PlaneEquation pl(p0, (p1 - p0).cross(p2 - p0));
    EXPECT_NEAR(pl.normal().length(), 1.0, 1e-15);
    for (const QorVector& p : {p0, p1, p2}) EXPECT_NEAR(pl.evaluate(p), 0.0, 1e-11);
  }
  // z = 2, normal up, through the plane's own point: d is the dot product.
  PlaneEquation z2(QorVector(5, -3, 2), QorVector(0, 0, 7));
  EXPECT_TRUE(z2 == PlaneEquation(QorVector(0, 0, 1), 2) && z2.isAbove(QorVector(0, 0, 2)) &&
              !z2.isAbove(QorVector(0, 0, 1.999)) &&
              PlaneEquation::fromCoefficients(z2) == PlaneEquation(QorVector(0, 0, 1), -2));
  z2.flip();
  EXPECT_TRUE(std::signbit(z2.a)) << "0 becomes -0";
  EXPECT_TRUE(z2.c + z2.d == -3.0 && !z2.isAbove(QorVector(0, 0, 3)) &&
              text(PlaneEquation(QorVector(0, 0.5, 1), -2)) == "(0 0.5 1 : -2) ");
}

}  // namespace
