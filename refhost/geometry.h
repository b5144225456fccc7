// The geometry the reference host keeps for a model: positions in double (a scan's
// coordinates keep their digits whatever their offset), normals and colours in float
// (colours as red, green, blue from 0 to 1), triangles as zero-based vertex numbers.
#pragma once
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "math/qorbounds.h"

namespace refhost {

// An allocator whose vectors leave new elements of a trivial type uninitialised when they
// grow without a value (resize(n)), so that a reader can size an array and fill it once.
// Everything else (copies, values given, element types with constructors) is as usual.
template <class T>
struct DefaultInitAllocator : std::allocator<T> {
  template <class U>
  struct rebind {
    using other = DefaultInitAllocator<U>;
  };
  DefaultInitAllocator() = default;
  template <class U>
  DefaultInitAllocator(const DefaultInitAllocator<U>&) noexcept {}

  template <class U>
  void construct(U* p) noexcept(std::is_nothrow_default_constructible_v<U>) {
    ::new (static_cast<void*>(p)) U;
  }
  template <class U, class... Args>
  void construct(U* p, Args&&... args) {
    std::allocator_traits<std::allocator<T>>::construct(static_cast<std::allocator<T>&>(*this), p,
                                                        std::forward<Args>(args)...);
  }
};

template <class T>
using GeometryArray = std::vector<T, DefaultInitAllocator<T>>;
using Positions = GeometryArray<double>;
using Normals = GeometryArray<float>;
using Colors = GeometryArray<float>;
using Triangles = GeometryArray<int32_t>;

struct Geometry {
  enum class Kind : uint8_t { Points = 0, Mesh = 1, Scan = 2 };
  Kind kind = Kind::Points;
  Positions positions;  // x, y, z per vertex
  Normals normals;      // empty, or x, y, z per vertex
  Colors colors;        // empty, or r, g, b per vertex
  Triangles triangles;  // empty, or three vertex numbers per triangle (Mesh)
  int32_t rows = 0;     // Scan: rows * columns == vertex count
  int32_t columns = 0;

  int64_t vertexCount() const { return static_cast<int64_t>(positions.size() / 3); }
  int64_t triangleCount() const { return static_cast<int64_t>(triangles.size() / 3); }
  // The box of the positions (the empty box for none).
  QorBounds bounds() const;
};

}  // namespace refhost
