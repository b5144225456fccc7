// The data of host models and the script data classes that stand for them.
//
// Host side: a mesh (IQorMesh, and IQorMeshExt for a CAD model's mesh), a point cloud
// (IQorPoints), gridded points (IQorScan) and a holder of one curve set (IQorCurveSet).
// Script side: the data objects Mesh, Points, GriddedPoints, CADModel and Curves, each
// answering exactly one of those kind names and offering its host data through the
// interfaces below.
#pragma once
#include <cstdint>

#include "core/qorobject.h"

// ---- host data ----
class IQorMesh : public virtual IQorUnknown {
 public:
  virtual uint8_t hasExtension() = 0;                    // 0
  virtual void invalidate(int32_t what, void* arg) = 0;  // 1
};

class IQorMeshExt : public virtual IQorUnknown {};
class IQorPoints : public virtual IQorUnknown {};
class IQorScan : public virtual IQorUnknown {};

// A holder of one curve set (a new holder per fetch of the service "IQorCurveSet").
class IQorCurveSet : public virtual IQorUnknown {
 public:
  virtual void setCurves(IQorUnknown* curves) = 0;  // 0
  virtual IQorUnknown* curves() = 0;                // 1
};

namespace mesh {
class IQorMeshConverter : public virtual IQorUnknown {
 public:
  // 0: the host data of a script Mesh (made and bound when it has none yet), or null.
  virtual IQorUnknown* toHostMesh(IQorUnknown* mesh) = 0;
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

namespace curves {
class IQorCurves : public virtual IQorUnknown {
 public:
  virtual IQorUnknown* hostData() = 0;  // 0
};
}  // namespace curves
