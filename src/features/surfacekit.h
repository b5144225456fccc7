// What the five surface shells share: the silent repair of direction arguments, the two
// rules that pick a second direction from a normal, the plane's own value form with its
// distance, projection and intersections, the "<Solidity>" entry of a host's table, and
// the shells' routed "solidity". All unit vectors come from QorVector::normalise, so
// results match the rest of the system bit for bit.
#pragma once
#include "core/iptr.h"
#include "datamodel/intproperty.h"
#include "datamodel/messagerouter.h"
#include "datamodel/routedproperty.h"
#include "hostapi/iqorfeature.h"
#include "math/qorvector.h"

namespace features {

// The tolerances of the shells' tests.
inline constexpr double kUnitTolerance = 1e-6;
inline constexpr double kPerpendicularTolerance = 0.0001;

// `v` when its length is 1 within 1e-6, else its unit vector; the zero vector stays zero.
QorVector repaired(const QorVector& v);
// The unit vector of `v`, or `v` itself (zero) when it has no direction.
QorVector unitOf(const QorVector& v);

// The plane's u direction for a normal: unit of h x n, h being (0, 1, 0) when n is exactly
// (1, 0, 0), else (1, 0, 0). A normal along -X gives the zero vector.
QorVector planeUDir(const QorVector& normal);
// The torus frame's radial direction for a unit axis n: h = (1, 0, 0) when |n.x| < 0.8,
// else (0, 1, 0); t = unit of n x h; answers unit of t x n.
QorVector torusRadDir(const QorVector& axis);
// `radDir` without its component along the unit `axis`, as a unit vector (zero when it lay
// along the axis).
QorVector radDirAcross(const QorVector& radDir, const QorVector& axis);

// A plane as n . p = d, n the unit vector of the host's normal and d = n . origin.
struct PlaneValue {
  QorVector n;
  double d = 0.0;

  PlaneValue() = default;
  PlaneValue(const QorVector& origin, const QorVector& normal);

  // n . p - d, signed.
  double distance(const QorVector& p) const { return n.dot(p) - d; }
  // p - n (n . p - d).
  QorVector project(const QorVector& p) const { return p - n * distance(p); }
  // The point where the line through `point` along `direction` meets the plane; false when
  // the unit direction u has |n . u| below 1e-10.
  bool intersectLine(const QorVector& point, const QorVector& direction, QorVector& out) const;
  // The line where this plane meets `other`: direction unit of a x b, point k1 a + k2 b.
  // False for a cross product of no length or a zero determinant.
  bool intersectPlane(const PlaneValue& other, QorVector& outPoint, QorVector& outDirection) const;
};

// The "<Solidity>" entry of the host's table as an int: 0 when it, the table or the host is
// missing.
int32_t solidity(::IQorFeature* host);
// Above 0 adds a new IQorIntValue of that value under "<Solidity>"; 0 or less removes the
// entry. Nothing without a host or table.
void setSolidity(::IQorFeature* host, int32_t value);

// "solidity": an int bounded 0 to 2, kept in the host's table.
template <class O>
void addSolidity(O* owner) {
  using P = RoutedPropertyTemplate<int32_t, IntProperty, O>;
  auto* p = new P(QorString(u"solidity"), false,
                  new QorRetMsgRtr_const<O, int32_t>(owner, &O::solidityValue),
                  new QorSingleMsgRtr<O, int32_t>(owner, &O::setSolidityValue));
  p->setBounds(0, 2);
  IPtr<IQorProperty> held(p);
  owner->addProperty(held.get());
}

}  // namespace features
