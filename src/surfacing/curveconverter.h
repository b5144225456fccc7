// Curve conversion: a host curve of unknown kind to its script object, and a host surface
// to a new script surface with an equal host.
#pragma once
#include "core/qorobject.h"
#include "datamodel/dataobject.h"
#include "features/feature.h"
#include "hostapi/iqorcurves.h"

namespace surfacing {

// "surfacing::IQorCurveDataObjectConverter". Slot order as declared.
class IQorCurveDataObjectConverter : public virtual IQorUnknown {
 public:
  // A new script curve (count 0) of the curve's kind, or null: "IQorLine" gives a
  // LineFeature, "IQorArc" an ArcCurve (both connected to the curve itself),
  // "IQorCompositeCurve" a CompositeCurve over a clone, "IQorNurbCurve" a NurbCurve by
  // copyFrom, "IQorPolyLine" a PolylineCurve over the curve itself.
  virtual DataObject* convert(::IQorCurve* curve) = 0;  // 0
  // A new PolylineCurve from a planar polyline (z = 0.0).
  virtual DataObject* convertPolyline2D(::IQorPolyLine2D* polyline) = 0;  // 1
};

// Made on the stack for each use; answers "CurveDataObjectConverter" and its interface.
class CurveDataObjectConverter : public IQorCurveDataObjectConverter {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "CurveDataObjectConverter"; }
  DataObject* convert(::IQorCurve* curve) override;
  DataObject* convertPolyline2D(::IQorPolyLine2D* polyline) override;
};

// A new script surface (count 0) with a host equal to `host`, or null for a kind it does
// not know (a sweep among them). NURB surfaces: setHost(clone). Extruded, drafted and
// rotational surfaces: a new shell with a host of its own, brought to the source's state
// through its property setters in a fixed order (the direction, or axis and origin, before
// the sketch, whose setter reads them); their failures pass through.
features::SurfaceFeature* makeSurface(::IQorSurface* host);

}  // namespace surfacing
