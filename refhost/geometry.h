// The geometry the reference host keeps for a model: positions in double (a scan's
// coordinates keep their digits whatever their offset), normals and colours in float
// (colours as red, green, blue from 0 to 1), triangles as zero-based vertex numbers.
#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "math/qorbounds.h"

namespace refhost {

struct Geometry {
  enum class Kind : uint8_t { Points = 0, Mesh = 1, Scan = 2 };
  Kind kind = Kind::Points;
  std::vector<double> positions;   // x, y, z per vertex
  std::vector<float> normals;      // empty, or x, y, z per vertex
  std::vector<float> colors;       // empty, or r, g, b per vertex
  std::vector<int32_t> triangles;  // empty, or three vertex numbers per triangle (Mesh)
  int32_t rows = 0;                // Scan: rows * columns == vertex count
  int32_t columns = 0;

  int64_t vertexCount() const { return static_cast<int64_t>(positions.size() / 3); }
  int64_t triangleCount() const { return static_cast<int64_t>(triangles.size() / 3); }
  // The box of the positions (the empty box for none).
  QorBounds bounds() const;
};

}  // namespace refhost
