// QorRect: an axis-aligned rectangle in a plane, four doubles, all 0 by default.
#pragma once
#include <iosfwd>
#include <type_traits>

#include "math/vector2d.h"

class BinOutput;
class BinInput;

// A rectangle: xMin, yMin, xMax, yMax as doubles. Sides are inclusive.
class QorRect {
 public:
  double xMin = 0.0;
  double yMin = 0.0;
  double xMax = 0.0;
  double yMax = 0.0;

  // All four 0.
  constexpr QorRect() = default;
  // The rectangle spanned by the corners (x0, y0) and (x1, y1); each pair is sorted.
  QorRect(double x0, double y0, double x1, double y1);
  // The rectangle spanned by two points; each pair is sorted.
  QorRect(const Vector2D& a, const Vector2D& b);

  // Sorts each pair so that the minimum comes first (as after reading stored corners).
  void sort();
  // Width, xMax - xMin.
  double width() const { return xMax - xMin; }
  // Height, yMax - yMin.
  double height() const { return yMax - yMin; }
  // Moves both corners.
  void translate(double dx, double dy);
  // Moves both corners outward by dx and dy.
  void inflate(double dx, double dy);
  // True when (x, y) lies inside or on a side.
  bool contains(double x, double y) const;
  // True when p lies inside or on a side.
  bool contains(const Vector2D& p) const { return contains(p.x, p.y); }
  // True when r lies inside, sides included.
  bool contains(const QorRect& r) const;
  // True when the two have no point in common; touching counts as common.
  bool isOutside(const QorRect& r) const;
  // Moves the nearer side out to the point, if it lies outside.
  void extendTo(double x, double y);
  // Moves the nearer side out to p, if it lies outside.
  void extendTo(const Vector2D& p) { extendTo(p.x, p.y); }
  // Moves the point inside this rectangle; answers whether it moved.
  bool clamp(Vector2D* p) const;
  // Moves each side of r that lies outside this rectangle onto it; answers whether any
  // moved.
  bool clamp(QorRect* r) const;

  // Four doubles on the stream, in field order; answers the stream's outcome.
  bool write(BinOutput& out) const;
  // Four doubles from the stream, then each pair sorted; answers the stream's outcome.
  bool read(BinInput& in);

  // Exact comparison of the four fields.
  bool operator==(const QorRect& o) const {
    return xMin == o.xMin && yMin == o.yMin && xMax == o.xMax && yMax == o.yMax;
  }
};

static_assert(std::is_standard_layout_v<QorRect> && sizeof(QorRect) == 4 * sizeof(double),
              "QorRect is stored as xMin, yMin, xMax, yMax");
static_assert(std::is_trivially_copyable_v<QorRect>);

// "xMin: ", "xMax: ", "yMin: ", "yMax: ", each with its value and a line end.
std::ostream& operator<<(std::ostream& os, const QorRect& r);
