// QorVector: the 3D point and direction of the whole system, three doubles and nothing
// else, so that arrays of them and their stored form are plain runs of doubles.
#pragma once
#include <iosfwd>
#include <type_traits>

class BinOutput;
class BinInput;

// A point or direction in space: x, y, z as doubles, (0, 0, 0) by default. Plain data with
// no virtual operations; the fields are public and come in this order.
class QorVector {
 public:
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;

  // The zero vector.
  constexpr QorVector() = default;
  // The vector (x, y, z).
  constexpr QorVector(double xv, double yv, double zv) : x(xv), y(yv), z(zv) {}
  // The vector held in values[0..2].
  explicit constexpr QorVector(const double* values) : x(values[0]), y(values[1]), z(values[2]) {}

  // The process-wide zero vector.
  static const QorVector& zero();

  // The coordinate i (0, 1 or 2).
  double& operator[](int i) { return i == 0 ? x : (i == 1 ? y : z); }
  // The coordinate i (0, 1 or 2).
  double operator[](int i) const { return i == 0 ? x : (i == 1 ? y : z); }
  // The three coordinates as an array.
  double* data() { return &x; }
  // The three coordinates as an array.
  const double* data() const { return &x; }
  // Sets all three coordinates.
  void set(double xv, double yv, double zv) {
    x = xv;
    y = yv;
    z = zv;
  }

  // x² + y² + z².
  double lengthSquared() const { return x * x + y * y + z * z; }
  // The Euclidean length.
  double length() const;
  // The dot product with `o`.
  double dot(const QorVector& o) const { return x * o.x + y * o.y + z * o.z; }
  // The cross product this x o.
  QorVector cross(const QorVector& o) const {
    return {y * o.z - z * o.y, z * o.x - x * o.z, x * o.y - y * o.x};
  }

  // Makes this a unit vector, component by component: each coordinate becomes its sign
  // times sqrt(1 - (sum of the other two squares) / (sum of all three)), so that the
  // squares of the result sum to 1 very accurately and a tiny component becomes 0.
  // Answers false, changing nothing, when the squared length is 0 (also by underflow).
  bool normalise();
  // Gives a normalised copy in `out`; answers as normalise does (out is then this vector).
  bool normalised(QorVector& out) const;
  // True when limit² is above the squared length.
  bool isShorterThan(double limit) const { return limit * limit > lengthSquared(); }
  // True when the length lies in [1 - tolerance, 1 + tolerance].
  bool isUnit(double tolerance) const;
  // True when dot² >= |a|² (1 - tolerance²) |b|²: a tolerance is the sine of the angle.
  bool isParallel(const QorVector& other, double tolerance) const;
  // True when either length is below minLength, or else the absolute dot product of both
  // normalised vectors is above tolerance (a cosine).
  bool isParallelDirection(const QorVector& other, double tolerance, double minLength) const;
  // True when |a|² tolerance² |b|² >= dot²: a tolerance is the cosine of the angle.
  bool isPerpendicular(const QorVector& other, double tolerance) const;
  // True when either length is below minLength, or else 1 - tolerance is above the absolute
  // dot product of both normalised vectors.
  bool isPerpendicularDirection(const QorVector& other, double tolerance, double minLength) const;
  // out = base (a . base) / |base|²; the zero vector when |base|² is at most 2^-52.
  void projectOnto(const QorVector& base, QorVector& out) const;
  // out = this minus its projection on base; this vector itself for a tiny base.
  void rejectFrom(const QorVector& base, QorVector& out) const;
  // A unit vector perpendicular to this one, keeping the coordinate picked by the sizes of
  // the three at 1 before normalising. Divides by a coordinate: not for the zero vector.
  void anyPerpendicular(QorVector& out) const;
  // Two unit vectors that make a right-handed frame with this direction t, such that
  // first x second = t. False when this vector cannot be made a unit vector.
  bool frame(QorVector* first, QorVector* second) const;
  // Adds to the coordinates.
  void translate(double dx, double dy, double dz) {
    x += dx;
    y += dy;
    z += dz;
  }

  // Three doubles on the stream, in field order; answers the stream's outcome.
  bool write(BinOutput& out) const;
  // Three doubles from the stream; answers the stream's outcome.
  bool read(BinInput& in);

  // Sum.
  QorVector operator+(const QorVector& o) const { return {x + o.x, y + o.y, z + o.z}; }
  // Difference.
  QorVector operator-(const QorVector& o) const { return {x - o.x, y - o.y, z - o.z}; }
  // Negation.
  QorVector operator-() const { return {-x, -y, -z}; }
  // Scaled by s.
  QorVector operator*(double s) const { return {x * s, y * s, z * s}; }
  // Adds o.
  QorVector& operator+=(const QorVector& o) {
    x += o.x;
    y += o.y;
    z += o.z;
    return *this;
  }
  // Subtracts o.
  QorVector& operator-=(const QorVector& o) {
    x -= o.x;
    y -= o.y;
    z -= o.z;
    return *this;
  }
  // Scales by s.
  QorVector& operator*=(double s) {
    x *= s;
    y *= s;
    z *= s;
    return *this;
  }
  // Exact comparison of the three coordinates (a NaN is unequal to everything).
  bool operator==(const QorVector& o) const { return x == o.x && y == o.y && z == o.z; }
};

// The name under which the script layer and the properties know the 3D vector.
using Vector3D = QorVector;

static_assert(std::is_standard_layout_v<QorVector> && sizeof(QorVector) == 3 * sizeof(double),
              "QorVector is stored and streamed as three doubles");
static_assert(std::is_trivially_copyable_v<QorVector>);

// s times v.
inline QorVector operator*(double s, const QorVector& v) {
  return v * s;
}

// "(x,y,z)" with the stream's number format.
std::ostream& operator<<(std::ostream& os, const QorVector& v);
// Reads "(x,y,z)"; any other character in place of the punctuation sets the fail state and
// leaves the vector alone.
std::istream& operator>>(std::istream& is, QorVector& v);
