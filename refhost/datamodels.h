// Host data of the reference host's models and the script data classes that stand for it.
//
// Host data holds its geometry shared (never copied) and knows the script object made for
// it, without a count: the proxy table of its interface holds that one.
// Script data classes answer exactly one kind name ("Mesh", "Points", "GriddedPoints",
// "CADModel") and their interface of hostapi/iqormodeldata.h, and give the
// script type their model properties take (qor::names); their size
// properties are plain read-only values taken from the geometry when they are made.
#pragma once
#include <memory>
#include <string>
#include <vector>

#include "base/bitvector.h"
#include "core/iptr.h"
#include "datamodel/dataobject.h"
#include "datamodel/objectproperty.h"
#include "hostapi/iqormodeldata.h"
#include "refhost/geometry.h"

namespace refhost {

// What every kind of host data shares.
class RefHostData : public virtual IQorUnknown {
 public:
  std::shared_ptr<const Geometry> geometry;
  IQorUnknown* script = nullptr;  // the script data object made for this data, not counted
};

// A set of mesh elements as the host keeps it: one bit vector.
class RefElementSet : public IQorElementSet {
 public:
  explicit RefElementSet(const BitVector& bits) : bits_(bits) {}
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefElementSet"; }
  const BitVector& bits() override { return bits_; }

 private:
  BitVector bits_;
};

// The vertex or edge data of a mesh, which is also the holder of its active set. Changes
// are logged as "<what>.setCurrent <count>" and "<what>.clear".
class RefMeshElementData : public IQorMeshElementData, public IQorActiveSetHolder {
 public:
  explicit RefMeshElementData(const char* what) : what_(what) {}
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefMeshElementData"; }
  IQorActiveSetHolder* activeSet() override { return this; }
  IQorElementSet* current() override { return current_.get(); }
  void setCurrent(IQorElementSet* set) override;
  void clear() override;

 private:
  const char* what_;
  IPtr<IQorElementSet> current_;
};

// The marked triangles of a mesh. setMarkedTriangles is logged with the count.
class RefMarkedTriangles : public IMarkedTriangleSet {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefMarkedTriangles"; }
  // Logged with the arguments, which change nothing here.
  const BitVector& markedTriangles(int32_t a, int32_t b, int32_t c, int32_t d) override;
  void setMarkedTriangles(const BitVector& bits) override;
  BitVector& bits() { return bits_; }

 private:
  BitVector bits_;
};

// The faces of a CAD model's mesh. A face is a connected region of triangles that share
// an edge (two vertex numbers) and whose unit normals agree with the normal of the
// region's first triangle to within 1e-3 radians: a planar patch. Faces are numbered from
// 1 in the order of their lowest triangle; a triangle without area is a face of its own.
// The map is computed on first need and kept.
class RefParamComplex : public IQorParamComplex {
 public:
  explicit RefParamComplex(std::shared_ptr<const Geometry> g) : geometry_(std::move(g)) {}
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefParamComplex"; }
  int32_t faceOfTriangle(int32_t index) override;
  void facesToTriangles(const BitVector& faces, BitVector& bits) override;
  // The face of each triangle (from 0 in the geometry).
  const std::vector<int32_t>& faceOf();
  int32_t faceCount();

 private:
  void build();
  std::shared_ptr<const Geometry> geometry_;
  bool built_ = false;
  std::vector<int32_t> faceOf_;     // per triangle
  std::vector<int32_t> faceStart_;  // face f's triangles: [faceStart_[f-1], faceStart_[f])
  std::vector<int32_t> triangles_;  // triangle numbers grouped by face
};

// A mesh; with the extension it is a CAD model's mesh and answers "IQorMeshExt" too.
class RefMeshData : public RefHostData, public IQorMesh, public IQorMeshExt {
 public:
  RefMeshData(std::shared_ptr<const Geometry> g, bool extension);
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefMeshData"; }
  uint8_t hasExtension() override { return extension_ ? 1 : 0; }
  // Logged.
  void invalidate(int32_t what, void* arg) override;
  IQorMeshElementData* vertexData() override { return vertices_.get(); }
  IQorMeshElementData* edgeData() override { return edges_.get(); }
  IMarkedTriangleSet* markedTriangleSet() override { return marked_.get(); }
  // Made on first call; null without the extension.
  IQorParamComplex* paramComplex() override;
  RefMarkedTriangles& marked() { return *marked_; }

 private:
  bool extension_;
  IPtr<RefMeshElementData> vertices_, edges_;
  IPtr<RefMarkedTriangles> marked_;
  IPtr<RefParamComplex> faces_;
};

// Points; markChanged and notifySelectionChanged are logged.
class RefPointsData : public RefHostData, public IQorPoints {
 public:
  explicit RefPointsData(std::shared_ptr<const Geometry> g) { geometry = std::move(g); }
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefPointsData"; }
  BitVector& activeBits() override { return active_; }
  void markChanged(int32_t what) override;
  void notifySelectionChanged() override;

 private:
  BitVector active_;
};

// Gridded points; setActiveBits is logged with the count.
class RefScanData : public RefHostData, public IQorScan {
 public:
  explicit RefScanData(std::shared_ptr<const Geometry> g) { geometry = std::move(g); }
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefScanData"; }
  const BitVector& activeBits() override { return active_; }
  void setActiveBits(const BitVector& bits) override;
  // The active bits for the host itself (not logged).
  BitVector& bits() { return active_; }

 private:
  BitVector active_;
};

// A holder of one curve set (an ICurveSet, kept as its IQorUnknown root), the data of a
// curve model.
class RefCurveSet : public IQorCurveSet {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefCurveSet"; }
  void setCurves(IQorUnknown* curves) override { curves_ = curves; }
  IQorUnknown* curves() override { return curves_.get(); }

 private:
  IPtr<IQorUnknown> curves_;
};

// The part the script data classes share: the host data (counted) and the kind name.
class ModelDataObject : public DataObject {
 public:
  ~ModelDataObject() override;
  RefHostData* host() const { return host_.get(); }
  // Gives the object its host data and tells the data about its script object.
  void attach(RefHostData* data);
  const std::shared_ptr<const Geometry>& geometry() const { return geometry_; }

 protected:
  explicit ModelDataObject(std::shared_ptr<const Geometry> g) : geometry_(std::move(g)) {}
  void addInt(const char16_t* name, int64_t value);
  void addBool(const char16_t* name, bool value);
  std::shared_ptr<const Geometry> geometry_;
  IPtr<RefHostData> host_;
};

// A mesh: its host data is made by the mesh converter (toHostMesh) on first need.
class Mesh : public ModelDataObject, public mesh::IQorMeshProxy {
 public:
  explicit Mesh(std::shared_ptr<const Geometry> g);
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "Mesh"; }
  const char* typeString() override { return qor::names::kMesh; }
  IQorUnknown* hostData() override;
};

class Points : public ModelDataObject, public points::IQorPoints {
 public:
  explicit Points(std::shared_ptr<const Geometry> g);
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "Points"; }
  const char* typeString() override { return qor::names::kPoints; }
  IQorUnknown* hostData() override;
};

class GriddedPoints : public ModelDataObject, public griddedpoints::IGriddedPoints {
 public:
  explicit GriddedPoints(std::shared_ptr<const Geometry> g);
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "GriddedPoints"; }
  const char* typeString() override { return qor::names::kGriddedPoints; }
  IQorUnknown* hostData() override;
  IQorUnknown* hostScan() override { return hostData(); }
};

// A CAD model: a mesh with the extension.
class CADModel : public ModelDataObject, public cad::IQorCADModel {
 public:
  explicit CADModel(std::shared_ptr<const Geometry> g);
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "CADModel"; }
  const char* typeString() override { return qor::names::kCADModel; }
  IQorUnknown* mesh() override { return hostData(); }
  IQorUnknown* hostData() override;
};

// mesh::IQorMeshConverter: toHostMesh gives a Mesh's host data, made and bound in the
// "IQorMesh" table when it has none; anything but a Mesh gives null. The set conversions
// work on the selection classes of refhost/selections.h; an object of another kind gives
// null (or an empty vector) and is left alone by the fill operations.
class RefMeshConverter : public mesh::IQorMeshConverter {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefMeshConverter"; }
  IQorElementSet* toHostVertexSet(IQorUnknown* selection) override;
  IQorElementSet* toHostEdgeSet(IQorUnknown* selection) override;
  BitVector toHostTriangleBits(IQorUnknown* selection) override;
  IQorUnknown* toHostMesh(IQorUnknown* mesh) override;
  void fromHostVertexSet(IQorUnknown* selection, IQorElementSet* set) override;
  void fromHostEdgeSet(IQorUnknown* selection, IQorElementSet* set) override;
  void fromHostTriangleBits(IQorUnknown* selection, const BitVector& bits) override;
};

// The script object bound to host data in its proxy table, made (and bound) from the
// data's geometry when there is none: Mesh for a mesh, CADModel for a mesh with the
// extension, Points, GriddedPoints, and for a curve set holder's set the module's Curves
// (the one registered for the set under "ICurveSet", else a new one over the set).
IQorUnknown* scriptObjectForData(IQorUnknown* data);

class RefProxyTable;
// The proxy table of a data's interface and the key the data is bound under there (a
// curve set holder's curves); null for data of no known kind.
RefProxyTable* tableForData(IQorUnknown* data, IQorUnknown** key);
// New host data (count 0) for an object of `phase` holding `g`: a mesh for "Polygon", a mesh
// with the extension for "CAD", points for "Point", gridded points for "Scan", a holder with
// a new empty host curve set for "Curve"; null for other phases and for model phases without
// geometry (but "Curve").
IQorUnknown* makeHostData(const std::string& phase, std::shared_ptr<const Geometry> g);

}  // namespace refhost
