// Axis-aligned boxes: QorBounds (also QorBounds3D) in doubles, QorBoundsF in floats and
// QorBounds2D in a plane. A box is empty when its minimum x exceeds its maximum x; each
// class has its own empty value.
#pragma once
#include <iosfwd>
#include <type_traits>

#include "math/qorvector.h"
#include "math/vector2d.h"

class BinOutput;
class BinInput;

// A box in space: the minimum corner, then the maximum corner, as six doubles. The empty
// box, the default, has the float maximum 3.4028234663852886e38 as its minimum and the
// negative of it as its maximum on each axis.
class QorBounds {
 public:
  // The coordinate of the empty box's minimum (its maximum is the negative).
  static constexpr double kEmptyMin = 3.4028234663852886e38;
  // The coordinate of the infinite box's maximum (its minimum is the negative).
  static constexpr double kInfiniteMax = 1.7976931348623157e308;

  double minX = kEmptyMin;
  double minY = kEmptyMin;
  double minZ = kEmptyMin;
  double maxX = -kEmptyMin;
  double maxY = -kEmptyMin;
  double maxZ = -kEmptyMin;

  // The empty box.
  constexpr QorBounds() = default;
  // The box spanned by two points: each coordinate sorted into minimum and maximum.
  QorBounds(const QorVector& a, const QorVector& b);
  // The six fields as given, in field order, not sorted (so an empty value can be built).
  constexpr QorBounds(double x0, double y0, double z0, double x1, double y1, double z1)
      : minX(x0), minY(y0), minZ(z0), maxX(x1), maxY(y1), maxZ(z1) {}

  // The process-wide empty box.
  static const QorBounds& empty();
  // The process-wide infinite box: -/+1.7976931348623157e308 on each axis.
  static const QorBounds& infinite();

  // Makes this the empty box.
  void reset() { *this = QorBounds(); }
  // Minimum x above maximum x.
  bool isEmpty() const { return minX > maxX; }
  // The minimum corner.
  QorVector minimum() const { return {minX, minY, minZ}; }
  // The maximum corner.
  QorVector maximum() const { return {maxX, maxY, maxZ}; }
  // Sets the minimum corner as given.
  void setMinimum(const QorVector& v) {
    minX = v.x;
    minY = v.y;
    minZ = v.z;
  }
  // Sets the maximum corner as given.
  void setMaximum(const QorVector& v) {
    maxX = v.x;
    maxY = v.y;
    maxZ = v.z;
  }
  // Grows to hold p; an empty box becomes the point.
  void extend(const QorVector& p);
  // Grows to hold other; nothing for an empty other, a copy for an empty box.
  void unite(const QorBounds& other);
  // Shrinks to the common part; an empty other, or no common part, makes this empty. Does
  // nothing on an empty box.
  void intersect(const QorBounds& other);
  // True when p lies inside or on the box.
  bool contains(const QorVector& p) const;
  // The means of the corners' coordinates.
  QorVector centre() const;

  // Six doubles on the stream, in field order; answers the stream's outcome.
  bool write(BinOutput& out) const;
  // Six doubles from the stream; answers the stream's outcome.
  bool read(BinInput& in);

  // Exact comparison of the six fields.
  bool operator==(const QorBounds& o) const {
    return minX == o.minX && minY == o.minY && minZ == o.minZ && maxX == o.maxX && maxY == o.maxY &&
           maxZ == o.maxZ;
  }
};

// The name under which the script layer also knows the 3D box.
using QorBounds3D = QorBounds;

static_assert(std::is_standard_layout_v<QorBounds> && sizeof(QorBounds) == 6 * sizeof(double));
static_assert(std::is_trivially_copyable_v<QorBounds>);

// A box in space in floats: minimum x, y, z, then maximum x, y, z. Empty by default: the
// float maximum as minimum and its negative as maximum.
class QorBoundsF {
 public:
  // The coordinate of the empty box's minimum, the float maximum.
  static constexpr float kEmptyMin = 3.4028234663852886e38f;

  float minX = kEmptyMin;
  float minY = kEmptyMin;
  float minZ = kEmptyMin;
  float maxX = -kEmptyMin;
  float maxY = -kEmptyMin;
  float maxZ = -kEmptyMin;

  // The empty box.
  constexpr QorBoundsF() = default;
  // The box spanned by two points, each coordinate sorted.
  QorBoundsF(const float* a, const float* b);
  // The six fields as given, not sorted.
  constexpr QorBoundsF(float x0, float y0, float z0, float x1, float y1, float z1)
      : minX(x0), minY(y0), minZ(z0), maxX(x1), maxY(y1), maxZ(z1) {}

  // The process-wide empty box.
  static const QorBoundsF& empty();
  // The process-wide infinite box: the negative float maximum to the float maximum.
  static const QorBoundsF& infinite();

  // Makes this the empty box.
  void reset() { *this = QorBoundsF(); }
  // Minimum x above maximum x.
  bool isEmpty() const { return minX > maxX; }

  // Exact comparison of the six fields.
  bool operator==(const QorBoundsF& o) const {
    return minX == o.minX && minY == o.minY && minZ == o.minZ && maxX == o.maxX && maxY == o.maxY &&
           maxZ == o.maxZ;
  }
};

static_assert(std::is_standard_layout_v<QorBoundsF> && sizeof(QorBoundsF) == 6 * sizeof(float));

// A box in a plane: minimum x, y, then maximum x, y, as doubles. Empty by default, with
// +1.7976931348623157e308 as minimum and its negative as maximum.
class QorBounds2D {
 public:
  // The coordinate of the empty box's minimum, the double maximum.
  static constexpr double kEmptyMin = 1.7976931348623157e308;

  double minX = kEmptyMin;
  double minY = kEmptyMin;
  double maxX = -kEmptyMin;
  double maxY = -kEmptyMin;

  // The empty box.
  constexpr QorBounds2D() = default;
  // The box spanned by two points, each coordinate sorted.
  QorBounds2D(const Vector2D& a, const Vector2D& b);
  // The four fields as given, not sorted.
  constexpr QorBounds2D(double x0, double y0, double x1, double y1)
      : minX(x0), minY(y0), maxX(x1), maxY(y1) {}

  // Makes this the empty box.
  void reset() { *this = QorBounds2D(); }
  // Minimum x above maximum x.
  bool isEmpty() const { return minX > maxX; }
  // Shrinks to the common part; an empty other, or no common part, makes this empty. Does
  // nothing on an empty box.
  void intersect(const QorBounds2D& other);
  // Grows to hold other; an empty box takes a copy, an empty other changes nothing.
  void unite(const QorBounds2D& other);
  // Moves the minimum down and the maximum up by d; not on an empty box.
  void inflate(double d);
  // Multiplies the coordinates by factor, about the box's centre if aboutCentre, else about
  // the origin. A negative factor exchanges minimum and maximum, so the box stays sound.
  // Not on an empty box.
  void scale(double factor, bool aboutCentre);
  // The larger of both extents; 0 for an empty box.
  double size() const;
  // The means of the corners' coordinates.
  Vector2D centre() const;
  // The intersection is empty.
  bool isDisjoint(const QorBounds2D& other) const;
  // The intersection is not empty and its area is above 0.
  bool overlapsWithArea(const QorBounds2D& other) const;
  // Gives both corners; either pointer may be null.
  void corners(Vector2D* min, Vector2D* max) const;

  // Exact comparison of the four fields.
  bool operator==(const QorBounds2D& o) const {
    return minX == o.minX && minY == o.minY && maxX == o.maxX && maxY == o.maxY;
  }
};

static_assert(std::is_standard_layout_v<QorBounds2D> && sizeof(QorBounds2D) == 4 * sizeof(double));

// "(" minimum " " maximum ") ", each corner as a QorVector prints.
std::ostream& operator<<(std::ostream& os, const QorBounds& b);
// The same for the float box.
std::ostream& operator<<(std::ostream& os, const QorBoundsF& b);
// "(" then "(x, y) " for each corner, then ") ".
std::ostream& operator<<(std::ostream& os, const QorBounds2D& b);
