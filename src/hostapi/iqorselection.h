// Selections: the script selection classes of the host's data modules, the selection
// sub-objects a host object stores, and the status bar the selection commands refresh.
//
// The script selection classes are data objects made by the host's services
// "mesh::IQorMeshTriangleSelection", "mesh::IEdgeSelection", "mesh::IVertexSelection",
// "points::IQorPointSelection", "griddedpoints::IQuadSelection", "cad::IQorCADFaceSelection"
// and "curves::IQorCurveSelection" (a new object on each fetch, at count 0). Each holds one
// bit set of its model's elements (numbered from 1, see iqormodeldata.h) and a property
// with its model: "mesh", "points", "griddedPoints", "cadModel" or "curveSet". The module
// only queries them by the names below and calls these operations.
#pragma once
#include <cstdint>

#include "base/qorstring.h"
#include "core/qorobject.h"
#include "datamodel/dataobject.h"

class BitVector;

// What every script selection has, answered as "ISelectionBits": its bit set, to read and
// change in place. The script layer reads and writes selections through it.
class ISelectionBits : public virtual IQorUnknown {
 public:
  virtual BitVector& selectionBits() = 0;  // 0
};

// The common base of the script selection classes: the type the binding passes as
// "Selection *". It answers "Selection" and "ISelectionBits" beside the names of DataObject.
class Selection : public DataObject, public ISelectionBits {};

namespace mesh {
// Answers "TriangleSelection" and "mesh::IQorMeshTriangleSelection".
class TriangleSelection : public virtual IQorUnknown {
 public:
  // The script Mesh of the property "mesh" (borrowed), or null.
  virtual IQorUnknown* meshObject() = 0;      // 0
  virtual const BitVector& markedBits() = 0;  // 1
  // Takes ownership of `bits`; the selection may keep its own vector instead, and then
  // copies from `bits` and leaves it to the caller (see markedBitsPointer).
  virtual void setMarkedBits(BitVector* bits) = 0;  // 2
  // The vector the selection holds now.
  virtual BitVector* markedBitsPointer() = 0;  // 3
};

// Answers "EdgeSelection" and "mesh::IEdgeSelection".
class EdgeSelection : public virtual IQorUnknown {
 public:
  virtual IQorUnknown* meshObject() = 0;      // 0
  virtual const BitVector& markedBits() = 0;  // 1
};

// Answers "VertexSelection" and "mesh::IVertexSelection".
class VertexSelection : public virtual IQorUnknown {
 public:
  virtual IQorUnknown* meshObject() = 0;      // 0
  virtual const BitVector& markedBits() = 0;  // 1
};
}  // namespace mesh

namespace cad {
// Answers "CADFaceSelection" and "cad::IQorCADFaceSelection". Its bits are CAD faces.
class CADFaceSelection : public virtual IQorUnknown {
 public:
  // The host mesh of the model in the property "cadModel", or null.
  virtual IQorUnknown* hostMesh() = 0;         // 0
  virtual const BitVector& markedFaces() = 0;  // 1
};
}  // namespace cad

namespace points {
// Answers "PointSelection" and "points::IQorPointSelection".
class PointSelection : public virtual IQorUnknown {
 public:
  // The script Points of the property "points" (borrowed), or null.
  virtual IQorUnknown* pointsObject() = 0;    // 0
  virtual const BitVector& markedBits() = 0;  // 1
  // The member that is assigned to.
  virtual BitVector& bits() = 0;  // 2
};
}  // namespace points

namespace griddedpoints {
// Answers "QuadSelection" and "griddedpoints::IQuadSelection".
class QuadSelection : public virtual IQorUnknown {
 public:
  // The script GriddedPoints of the property "griddedPoints" (borrowed), or null.
  virtual IQorUnknown* griddedPointsObject() = 0;         // 0
  virtual const BitVector& markedBits() = 0;              // 1
  virtual void setMarkedBits(const BitVector& bits) = 0;  // 2
};
}  // namespace griddedpoints

namespace curves {
// Answers "CurveSelection" and "curves::IQorCurveSelection".
class IQorCurveSelection : public virtual IQorUnknown {
 public:
  virtual BitVector& bits() = 0;  // 0
};
}  // namespace curves

// ---- stored selections ----

// The selections manager of a host object (qor::kSelectionsManagerId) answers this beside
// IQorSubObjectMgr: it stores a named copy of a selection's bits.
class IQorSelectionSubObjectMgr : public virtual IQorUnknown {
 public:
  // A new sub-object named after the selection's data object name, holding `bits`.
  virtual void addSelection(IQorUnknown* selection, const BitVector& bits) = 0;  // 0
};

class IQorSelectionSubObject : public virtual IQorUnknown {
 public:
  virtual const BitVector& bits() = 0;  // 0
};

// ---- screen ----

// The status bar, a service; the selection commands refresh it after a change.
class IGuiStatusBar : public virtual IQorUnknown {
 public:
  virtual void reserved0() = 0;  // 0
  virtual void reserved1() = 0;  // 1
  virtual void reserved2() = 0;  // 2
  virtual void reserved3() = 0;  // 3
  virtual void refresh() = 0;    // 4
};
