// Vector2F: a point in a plane in single precision, as texture coordinates use it.
#pragma once
#include <iosfwd>
#include <type_traits>

class BinOutput;
class BinInput;

// A 2D point in floats: x, y, (0, 0) by default.
class Vector2F {
 public:
  float x = 0.0f;
  float y = 0.0f;

  // The origin.
  constexpr Vector2F() = default;
  // The point (x, y).
  constexpr Vector2F(float xv, float yv) : x(xv), y(yv) {}

  // The two coordinates as an array.
  float* data() { return &x; }
  // The two coordinates as an array.
  const float* data() const { return &x; }

  // Two floats on the stream, in field order; answers the stream's outcome.
  bool write(BinOutput& out) const;
  // Two floats from the stream; answers the stream's outcome.
  bool read(BinInput& in);

  // Exact comparison of both coordinates.
  bool operator==(const Vector2F& o) const { return x == o.x && y == o.y; }
};

static_assert(std::is_standard_layout_v<Vector2F> && sizeof(Vector2F) == 2 * sizeof(float),
              "Vector2F is stored and streamed as two floats");
static_assert(std::is_trivially_copyable_v<Vector2F>);

// "(x,y)" with the stream's number format.
std::ostream& operator<<(std::ostream& os, const Vector2F& v);
