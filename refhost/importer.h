// Reading meshes and point clouds from files into the host's geometry record.
#pragma once
#include <functional>
#include <string>
#include <vector>

#include "refhost/geometry.h"

namespace refhost {

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
// The extensions importGeometry knows, lower case, with the dot.
const std::vector<std::string>& importExtensions();

}  // namespace refhost
