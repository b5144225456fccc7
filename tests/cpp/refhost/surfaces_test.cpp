// Surface shells where a script can't look: the direction rules' zero results (the host
// repairs what it is given), the "<Solidity>" entry of the host's table, shells without a
// host, and shells made for existing hosts.
#include <gtest/gtest.h>

#include "core/iptr.h"
#include "core/platformexception.h"
#include "features/conesurface.h"
#include "features/planesurface.h"
#include "features/surfacekit.h"
#include "features/torussurface.h"

namespace {

using features::PlaneValue;

TEST(SurfaceRules, ZeroDirectionsStayZero) {
  const QorVector x(1, 0, 0), minusX(-1, 0, 0), zero;
  EXPECT_EQ(features::planeUDir(minusX), zero);  // h x n vanishes only for -X
  EXPECT_EQ(features::planeUDir(x), QorVector(0, 0, -1));
  QorVector axis(1, 1, 1);
  axis.normalise();
  EXPECT_EQ(features::radDirAcross(QorVector(2, 2, 2), axis), zero);
  EXPECT_EQ(features::radDirAcross(QorVector(0, 0, 5), QorVector(0, 0, 1)), zero);
  EXPECT_EQ(features::repaired(zero), zero);
  EXPECT_EQ(features::repaired(QorVector(0, 3, 0)), QorVector(0, 1, 0));
  const QorVector nearUnit(1 + 5e-7, 0, 0);  // within 1e-6: passed on as given
  EXPECT_EQ(features::repaired(nearUnit), nearUnit);
  // A zero normal gives no plane value to intersect with.
  QorVector p, d;
  EXPECT_FALSE(PlaneValue(zero, QorVector(0, 0, 1)).intersectPlane(PlaneValue(zero, zero), p, d));
}

TEST(SurfaceShells, SolidityIsATableEntry) {
  IPtr<features::ConeSurface> cone(new features::ConeSurface());
  cone->createHost();
  ASSERT_NE(cone->host(), nullptr);
  IQorParameterTable* table = cone->host()->parameterTable();
  const QorString key(u"<Solidity>");
  cone->setSolidityValue(2);
  auto* entry = qorQuery<IQorIntValue>(table->parameter(key), "IQorIntValue");
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->value(), 2);
  cone->setSolidityValue(0);
  EXPECT_EQ(table->parameter(key), nullptr);
  EXPECT_EQ(cone->solidityValue(), 0);
}

TEST(SurfaceShells, WithoutAHostNothingHappens) {
  IPtr<features::TorusSurface> torus(new features::TorusSurface());
  torus->initialize(QorVector(), QorVector(0, 0, 1), -1.0, 1.0);  // no host: no check either
  EXPECT_EQ(torus->centerRadius(), 0.0);
  EXPECT_EQ(torus->solidityValue(), 0);
  IPtr<features::ConeSurface> cone(new features::ConeSurface());
  try {  // the radii are checked before the host is looked at
    cone->initialize(QorVector(), QorVector(0, 0, 1), -1.0, 1.0);
    ADD_FAILURE() << "a negative radiusFrom passed";
  } catch (PlatformException* e) {
    EXPECT_EQ(e->code, 6);
    delete e;
  }
  cone->initialize(QorVector(), QorVector(0, 0, 1), 1.0, 2.0, QorVector(0, 0, 1));  // no host
}

TEST(SurfaceShells, ProxiesOfHostsAreTheirClass) {
  IPtr<features::PlaneSurface> plane(new features::PlaneSurface());
  plane->createHost();
  ASSERT_NE(plane->host(), nullptr);
  IPtr<::IQorFeature> copy(plane->host()->clone());
  IPtr<features::IQorFeature> shell(features::createProxy(copy.get()));
  ASSERT_NE(shell.get(), nullptr);
  auto* made = qorQuery<features::PlaneSurface>(shell.get(), "PlaneSurface");
  ASSERT_NE(made, nullptr);
  EXPECT_STREQ(made->typeString(), "qorapi.features.PlaneFeature");
  EXPECT_EQ(features::findProxy(copy.get()), shell.get());
  EXPECT_TRUE(made->classId() == features::classIdOf("IQorPlane"));
}

}  // namespace
