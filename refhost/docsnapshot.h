// A plain record of a whole document, apart from the live objects: what the document file
// stores and what opening a file hands back to the document. Geometry is shared, not
// copied.
#pragma once
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "refhost/geometry.h"

namespace refhost {

// A feature attached to an object: its name, whether it shows, and the host feature's own
// stored record (an object chunk of its kind's class id, with 8-byte lengths).
struct FeatureRecord {
  std::string name;  // UTF-8
  bool visible = true;
  std::vector<uint8_t> record;
  bool operator==(const FeatureRecord&) const = default;
};

struct ObjectRecord {
  int32_t id = 0;
  std::u16string name;  // the units of the object's name, as they are
  std::string phase;    // "World", "Section", "Point", "Scan", "Polygon", "Curve", "CAD", ...
  bool isGroup = false;
  int32_t parentId = 0;  // the group it belongs to, 0 for none
  bool visible = true;
  bool active = false;
  std::map<std::string, bool> prims;  // display primitives set so far
  double matrix[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};  // row by row
  std::shared_ptr<const Geometry> geometry;  // null for groups, World, Section, curves
  std::vector<FeatureRecord> features;       // in the order they were attached
  // A "Curve" object's set: the host set's own stored record (an object chunk of its class
  // id, with 8-byte lengths); empty for every other object and for a set that stores nothing.
  std::vector<uint8_t> curveSet;
};

struct DocumentSnapshot {
  std::vector<ObjectRecord> objects;                             // in document order
  std::vector<std::pair<std::string, int32_t>> namedReferences;  // name, object id
  int32_t nextId = 1;                                            // the id the next object gets
};

}  // namespace refhost
