// Vector2D: a point in a plane, two doubles, whose default marks "not set".
#pragma once
#include <iosfwd>
#include <type_traits>

class BinOutput;
class BinInput;

// A 2D point or direction: x, y as doubles. A default-made one holds the float maximum,
// 3.4028234663852886e38, in both coordinates as its mark for "not set".
class Vector2D {
 public:
  // The "not set" mark of a default Vector2D: the float maximum, as a double.
  static constexpr double kUnset = 3.4028234663852886e38;

  double x = kUnset;
  double y = kUnset;

  // The "not set" value.
  constexpr Vector2D() = default;
  // The point (x, y).
  constexpr Vector2D(double xv, double yv) : x(xv), y(yv) {}

  // True while both coordinates hold the "not set" mark.
  bool isUnset() const { return x == kUnset && y == kUnset; }
  // The two coordinates as an array.
  double* data() { return &x; }
  // The two coordinates as an array.
  const double* data() const { return &x; }

  // Two doubles on the stream, in field order; answers the stream's outcome.
  bool write(BinOutput& out) const;
  // Two doubles from the stream; answers the stream's outcome.
  bool read(BinInput& in);

  // Exact comparison of both coordinates.
  bool operator==(const Vector2D& o) const { return x == o.x && y == o.y; }
};

static_assert(std::is_standard_layout_v<Vector2D> && sizeof(Vector2D) == 2 * sizeof(double),
              "Vector2D is stored and streamed as two doubles");
static_assert(std::is_trivially_copyable_v<Vector2D>);

// "(x,y)" with the stream's number format.
std::ostream& operator<<(std::ostream& os, const Vector2D& v);
