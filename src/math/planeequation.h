// PlaneEquation: a plane as the points where a x + b y + c z = d.
#pragma once
#include <iosfwd>
#include <type_traits>

#include "math/qorvector.h"

class BinOutput;
class BinInput;

// The value form of a plane: a x + b y + c z = d, with (a, b, c) its normal.
class PlaneEquation {
 public:
  double a = 0.0;
  double b = 0.0;
  double c = 0.0;
  double d = 0.0;

  // All four 0.
  constexpr PlaneEquation() = default;
  // The plane through `point` with `normal`: (a, b, c) is the normal after normalise, and d
  // its dot product with the point.
  PlaneEquation(const QorVector& point, const QorVector& normal);
  // The normal and d as given.
  constexpr PlaneEquation(const QorVector& normal, double dv)
      : a(normal.x), b(normal.y), c(normal.z), d(dv) {}

  // The plane of coefficients written as a x + b y + c z + d = 0: a, b, c as given, d
  // negated.
  static PlaneEquation fromCoefficients(const PlaneEquation& other);
  // (a, b, c).
  QorVector normal() const { return {a, b, c}; }
  // Negates all four by their sign bits (so 0 becomes -0).
  void flip();
  // a x + b y + c z - d is 0 or above.
  bool isAbove(const QorVector& p) const;
  // a x + b y + c z - d: the signed distance for a unit normal.
  double evaluate(const QorVector& p) const { return a * p.x + b * p.y + c * p.z - d; }

  // Four doubles in field order, no magic; answers the stream's good.
  bool write(BinOutput& out) const;
  // Four doubles in field order; answers the stream's good.
  bool read(BinInput& in);

  // All four compared exactly.
  bool operator==(const PlaneEquation& o) const {
    return a == o.a && b == o.b && c == o.c && d == o.d;
  }
};

static_assert(std::is_standard_layout_v<PlaneEquation> &&
              sizeof(PlaneEquation) == 4 * sizeof(double));

// "(a b c : d) ".
std::ostream& operator<<(std::ostream& os, const PlaneEquation& p);
