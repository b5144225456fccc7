// The data of host models and the script data classes that stand for them.
//
// Host side: a mesh (IQorMesh, and IQorMeshExt for a CAD model's mesh), a point cloud
// (IQorPoints), gridded points (IQorScan) and a holder of one curve set (IQorCurveSet).
// Script side: the data objects Mesh, Points, GriddedPoints and CADModel, each answering
// exactly one of those kind names and offering its host data through the interfaces below
// (Curves, the module's curve set, holds a host ICurveSet: surfacing/curves.h).
#pragma once
#include <cstdint>

#include "core/qorobject.h"

class BitVector;
class IMarkedTriangleSet;
class IQorMeshElementData;
class IQorParamComplex;

// ---- host data ----
// Element numbers in every bit set below start at 1: triangle t of a mesh (counted from 0
// in its geometry) is bit t + 1, vertex v is bit v + 1, edge k (0..2, from corner k to
// corner k + 1) of triangle t is bit 3t + k + 1, point p is bit p + 1, grid cell c is bit
// c + 1, and CAD faces are numbered from 1.
class IQorMesh : public virtual IQorUnknown {
 public:
  virtual uint8_t hasExtension() = 0;                    // 0
  virtual void invalidate(int32_t what, void* arg) = 0;  // 1
  // The vertex and edge data, each with the holder of its active set; never null.
  virtual IQorMeshElementData* vertexData() = 0;  // 2
  virtual IQorMeshElementData* edgeData() = 0;    // 3
  // The marked (selected) triangles; never null on the reference host.
  virtual IMarkedTriangleSet* markedTriangleSet() = 0;  // 4
};

// A CAD model's mesh: its internal mesh with the faces.
class IQorMeshExt : public virtual IQorUnknown {
 public:
  virtual IQorParamComplex* paramComplex() = 0;  // 0
};

// Host points.
class IQorPoints : public virtual IQorUnknown {
 public:
  // The active (selected) points, held by the host; callers may change it in place.
  virtual BitVector& activeBits() = 0;  // 0
  // Tells the host that the points changed (the argument is the host's).
  virtual void markChanged(int32_t what) = 0;  // 1
  virtual void notifySelectionChanged() = 0;   // 2
};

// Host gridded points (a scan).
class IQorScan : public virtual IQorUnknown {
 public:
  virtual const BitVector& activeBits() = 0;              // 0
  virtual void setActiveBits(const BitVector& bits) = 0;  // 1
};

// ---- the parts of a host mesh ----

// A set of mesh elements (vertices or edges) as the host keeps them.
class IQorElementSet : public virtual IQorUnknown {
 public:
  virtual const BitVector& bits() = 0;  // 0
};

// The holder of a mesh's active vertex or edge set.
class IQorActiveSetHolder : public virtual IQorUnknown {
 public:
  // The active set, or null when nothing is active.
  virtual IQorElementSet* current() = 0;             // 0
  virtual void setCurrent(IQorElementSet* set) = 0;  // 1: counted by the holder
  virtual void clear() = 0;                          // 2
};

class IQorMeshElementData : public virtual IQorUnknown {
 public:
  virtual IQorActiveSetHolder* activeSet() = 0;  // 0
};

class IMarkedTriangleSet : public virtual IQorUnknown {
 public:
  // The marked triangles; the arguments are the host's (callers pass 4, 1, 0, 0).
  virtual const BitVector& markedTriangles(int32_t a, int32_t b, int32_t c, int32_t d) = 0;  // 0
  virtual void setMarkedTriangles(const BitVector& bits) = 0;                                // 1
};

// The internal mesh of a CAD model: its triangles grouped into faces.
class IQorParamComplex : public virtual IQorUnknown {
 public:
  // The face (from 1) of triangle element `index` (from 1); 0 for no such triangle.
  virtual int32_t faceOfTriangle(int32_t index) = 0;  // 0
  // Sets in `bits` the bit of every triangle of the faces set in `faces`.
  virtual void facesToTriangles(const BitVector& faces, BitVector& bits) = 0;  // 1
};

// The selection of a host curve model ("IQorModelSelection" on its IQorModel "CurveModel").
class IQorModelSelection : public virtual IQorUnknown {
 public:
  virtual void getBits(BitVector& out) = 0;         // 0
  virtual void setBits(const BitVector& bits) = 0;  // 1
};

// A holder of one curve set (a new holder per fetch of the service "IQorCurveSet").
class IQorCurveSet : public virtual IQorUnknown {
 public:
  virtual void setCurves(IQorUnknown* curves) = 0;  // 0
  virtual IQorUnknown* curves() = 0;                // 1
};

namespace mesh {
// Translates between the script's data classes and host data. A new set it gives is at
// count 0 (callers hold it counted).
class IQorMeshConverter : public virtual IQorUnknown {
 public:
  // A new host vertex set with the selection's marked vertices, or null when none is marked.
  virtual IQorElementSet* toHostVertexSet(IQorUnknown* selection) = 0;  // 0
  // The same for an EdgeSelection.
  virtual IQorElementSet* toHostEdgeSet(IQorUnknown* selection) = 0;  // 1
  // The marked triangles of a TriangleSelection (an empty vector for anything else).
  virtual BitVector toHostTriangleBits(IQorUnknown* selection) = 0;  // 2
  // The host data of a script Mesh (made and bound when it has none yet), or null.
  virtual IQorUnknown* toHostMesh(IQorUnknown* mesh) = 0;  // 3
  // Fill a VertexSelection / EdgeSelection / TriangleSelection from host data; a null set
  // empties the selection.
  virtual void fromHostVertexSet(IQorUnknown* selection, IQorElementSet* set) = 0;       // 4
  virtual void fromHostEdgeSet(IQorUnknown* selection, IQorElementSet* set) = 0;         // 5
  virtual void fromHostTriangleBits(IQorUnknown* selection, const BitVector& bits) = 0;  // 6
};

// The script Mesh.
class IQorMeshProxy : public virtual IQorUnknown {
 public:
  virtual IQorUnknown* hostData() = 0;  // 0
};
}  // namespace mesh

namespace points {
class IQorPoints : public virtual IQorUnknown {
 public:
  virtual IQorUnknown* hostData() = 0;  // 0
};
}  // namespace points

namespace griddedpoints {
class IGriddedPoints : public virtual IQorUnknown {
 public:
  virtual IQorUnknown* hostData() = 0;  // 0
  virtual IQorUnknown* hostScan() = 0;  // 1
};
}  // namespace griddedpoints

namespace cad {
class IQorCADModel : public virtual IQorUnknown {
 public:
  virtual IQorUnknown* mesh() = 0;      // 0
  virtual IQorUnknown* hostData() = 0;  // 1
};
}  // namespace cad

// The script curve set, curves::IQorCurves, is declared with its class in
// surfacing/curves.h; its host data is the set itself (curveSet()).
