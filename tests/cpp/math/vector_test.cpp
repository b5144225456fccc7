// QorVector against closed forms: the component-wise normalise, projections, the
// perpendicular picks and frames, the tolerance predicates and the text forms.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <sstream>

#include "math/qorvector.h"

namespace {

TEST(QorVector, NormaliseIsComponentWiseAndRefusesZeroAndUnderflow) {
  QorVector v(3, 0, 4);
  ASSERT_TRUE(v.normalise());
  EXPECT_EQ(v, QorVector(0.6, 0, 0.8)) << "exact, not divided by the length";

  QorVector zero;
  EXPECT_TRUE(!zero.normalise() && zero == QorVector());
  QorVector tiny(-1e-200, 0, 0), small(1e-9, 1, 0);
  EXPECT_TRUE(!tiny.normalise() && tiny.x == -1e-200) << "the square underflows to 0";
  ASSERT_TRUE(small.normalise());
  EXPECT_EQ(small, QorVector(0, 1, 0)) << "a tiny component rounds to 0, where v / |v| keeps 1e-9";

  QorVector n;  // within 3 units in the last place of the unit length
  ASSERT_TRUE(QorVector(-3.7, 2.1, 9.3).normalised(n));
  EXPECT_NEAR(n.lengthSquared(), 1.0, 7e-16);
}

TEST(QorVector, ProjectionAndRejectionWithTheTinyBaseRule) {
  // Onto a base whose square length 1e-18 is below 2^-52 nothing projects; just above
  // the limit the projection works.
  const QorVector a(1, 2, 3);
  QorVector p[5];
  a.projectOnto(QorVector(0, 0, 2), p[0]);
  a.rejectFrom(QorVector(0, 0, 2), p[1]);
  a.projectOnto(QorVector(1e-9, 0, 0), p[2]);
  a.rejectFrom(QorVector(1e-9, 0, 0), p[3]);
  a.projectOnto(QorVector(2e-8, 0, 0), p[4]);
  EXPECT_EQ(std::vector<QorVector>(p, p + 4),
            std::vector<QorVector>({{0, 0, 3}, {1, 2, 0}, {0, 0, 0}, a}));
  EXPECT_NEAR(p[4].x, 1.0, 1e-12);
}

TEST(QorVector, ToleranceSenseOfTheParallelAndPerpendicularTests) {
  const double angle = 0.01;  // radians between a and b
  QorVector a(2, 0, 0);
  QorVector b(std::cos(angle) * 3, std::sin(angle) * 3, 0);
  // isParallel takes the sine of the allowed angle; isPerpendicular the cosine. The
  // direction forms: a cosine above tolerance, and 1 - tolerance above the cosine. A vector
  // shorter than minLength is both parallel and perpendicular to anything.
  const QorVector c(std::sin(angle), std::cos(angle), 0), shortOne(1e-9, 0, 0);
  const double above = std::sin(angle) * 1.001, below = std::sin(angle) * 0.999;
  EXPECT_EQ(
      std::vector<bool>(
          {a.isParallel(b, above), a.isParallel(b, below), a.isPerpendicular(c, above),
           a.isPerpendicular(c, below), a.isParallelDirection(b, 0.99, 1e-6),
           a.isParallelDirection(c, 0.99, 1e-6), a.isPerpendicularDirection(c, 0.5, 1e-6),
           a.isPerpendicularDirection(b, 0.5, 1e-6), shortOne.isParallelDirection(c, 0.99, 1e-6),
           shortOne.isPerpendicularDirection(a, 0.5, 1e-6)}),
      std::vector<bool>({true, false, true, false, true, false, true, false, true, true}));
}

TEST(QorVector, AnyPerpendicularFollowsTheSixCasesAndFramesAreRightHanded) {
  struct Case {
    QorVector in, unnormalised;
  } cases[] = {
      {{3, 2, 1}, {-1.0 / 3, 0, 1}},  // ax > ay > az
      {{3, 1, 2}, {-1.0 / 3, 1, 0}},  // ax > ay, az >= ay, ax > az
      {{2, 1, 3}, {0, 1, -1.0 / 3}},  // ax > ay, az >= ax
      {{2, 3, 1}, {-0.5, 0, 1}},      // ay >= ax > az
      {{1, 3, 2}, {0, -2.0 / 3, 1}},  // ay >= ax, az >= ax, ay > az
      {{1, 2, 3}, {1, 0, -1.0 / 3}},  // az >= ay >= ax
  };
  for (const Case& c : cases) {
    QorVector got;
    c.in.anyPerpendicular(got);
    QorVector want = c.unnormalised;
    want.normalise();
    EXPECT_EQ(got, want) << c.in;
    EXPECT_NEAR(got.dot(c.in), 0.0, 1e-15);
  }

  std::mt19937_64 rng(11);
  std::uniform_real_distribution<double> u(-1, 1);
  for (int i = 0; i < 500; ++i) {
    QorVector t(u(rng), u(rng), u(rng));
    if (i % 5 == 0) t.x = 5;  // the branch with e = (0, 1, 0)
    QorVector first, second, unit;
    ASSERT_TRUE(t.frame(&first, &second) && t.normalised(unit));
    EXPECT_NEAR((first.cross(second) - unit).length(), 0.0, 1e-9);
    EXPECT_NEAR(first.dot(second), 0.0, 1e-9);  // component-wise units
    EXPECT_NEAR(first.length(), 1.0, 1e-15);
  }
  QorVector f, s;
  EXPECT_FALSE(QorVector().frame(&f, &s));
}

TEST(QorVector, TextFormsAndStrictReading) {
  std::ostringstream os;
  os << QorVector(1, 2.5, -3) << QorVector(1.0 / 3, 1e20, 0);
  EXPECT_EQ(os.str(), "(1,2.5,-3)(0.333333,1e+20,0)");

  QorVector v;
  std::istringstream good("(1, 2.5,-3)");
  EXPECT_TRUE(good >> v && v == QorVector(1, 2.5, -3));
  for (const char* bad : {"(1;2,3)", "[1,2,3]", "(1,2,3]", "(1,2"}) {
    QorVector keep(7, 8, 9);
    std::istringstream is(bad);
    is >> keep;
    EXPECT_TRUE(is.fail() && keep == QorVector(7, 8, 9)) << bad;
  }
}

}  // namespace
