// Reading meshes and point clouds from files into the host's geometry record.
#pragma once
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "refhost/geometry.h"

class ICurveSet;

namespace refhost {

// The polylines of a file (OBJ `l` elements), in file order: the vertex numbers (from 0) of
// every line one after the other, and where each line's numbers start.
struct Polylines {
  std::vector<int32_t> vertices;
  std::vector<size_t> starts;
  size_t count() const { return starts.size(); }
  // The vertex numbers of line i.
  std::pair<const int32_t*, const int32_t*> line(size_t i) const {
    size_t end = i + 1 < starts.size() ? starts[i + 1] : vertices.size();
    return {vertices.data() + starts[i], vertices.data() + end};
  }
};

// Reads a mesh or point cloud by the file's extension (case-insensitive): .ply .obj .off .stl
// .xyz .asc .pts .csv. PLY and OBJ keep the file's vertices, in its order, and its faces
// (polygons fanned into triangles, PLY triangle strips unrolled); OFF and STL go through
// assimp (STL corners that share a position become one vertex). Text point files hold one
// point a line, whose column count says what follows x y z (see the architecture notes).
// Answers false with `why` (a sentence naming the file and the reason) when the file can't
// be read or `progress` answers false ("cancelled"); `out` is then left empty. `progress`
// (may be empty) gets fractions from 0 to 1, at most about a thousand times.
bool importGeometry(const std::string& path, Geometry* out, std::string* why,
                    const std::function<bool(float)>& progress = {});
// The same, and the file's polylines into `lines` (may be null; left empty on failure). A
// file of vertices and lines without faces reads as points.
bool importGeometry(const std::string& path, Geometry* out, Polylines* lines, std::string* why,
                    const std::function<bool(float)>& progress = {});
// A new curve set (count 0) of one polyline host per line, in order: its points are the
// line's vertices of `g`, its knots 0, 1, ..., n - 1.
ICurveSet* polylineCurveSet(const Geometry& g, const Polylines& lines);
// The extensions importGeometry knows, lower case, with the dot.
const std::vector<std::string>& importExtensions();

}  // namespace refhost
