// The reference host's curves and surfaces: the NURB curve and surface, the polyline, the
// planar polyline and the composite curve, and the two curvature services.
//
// Each host is a RefFeatureHost (see refhost/featurehosts.h): it answers "IQorFeature",
// "IQorSubject", "IQorPersistable", "IQorCurve" (curves) or "IQorSurface" (the surface),
// and its typed interfaces. Its parameter table holds only "Name"; the geometry is a flat
// record beside it. No operation throws: a fault is caught and logged as
// "<class>.<operation>: <what>".
//
// Services (a new host at count 0 on every fetch, the pointer handed out being the view of
// the name fetched):
//   "IQorNurbCurve"      -> IQorNurbCurve*
//   "IQorNurbSurface"    -> IQorNurbSurface*
//   "IQorSurface"        -> IQorSurface* (a new NURB surface)
//   "IQorPolyLine"       -> IQorPolyLine*   (the same kind of host as "IQorPolyLineV2")
//   "IQorPolyLineV2"     -> IQorPolyLineV2*
//   "IQorPolyLine2D"     -> IQorPolyLine2D*
//   "IQorCompositeCurve" -> IQorCompositeCurve*
// A fetched pointer is cast to the interface of the name fetched (never to another one)
// and the object's other views are queried from it, e.g.
//   void* p = nullptr; getService("IQorNurbCurve", &p);
//   IQorFeature* f = qorQuery<IQorFeature>(static_cast<IQorNurbCurve*>(p), "IQorFeature");
// "IQorCurveUtil" and "IQorSurfaceUtil" are one object each for the process.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "hostapi/iqorcurves.h"
#include "refhost/featurehosts.h"

namespace refhost {

class RefComponentManager;

// The class ids of the records, {6b1e2a0K-3c4d-4e5f-8011-22334455660K}, continuing the
// feature hosts' family.
extern const QorID kNurbCurveClassId;       // K = 08
extern const QorID kNurbSurfaceClassId;     // K = 09
extern const QorID kPolyLineClassId;        // K = 0a
extern const QorID kPolyLine2DClassId;      // K = 0b
extern const QorID kCompositeCurveClassId;  // K = 0c

// Registers the host services listed above.
void registerCurveHosts(RefComponentManager& manager);

// A new host (count 0) of the kind with that record class id, or null. Reading a record:
// make the host by the chunk's class id, then IQorPersistable::read.
RefFeatureHost* makeCurveHost(const QorID& classId);

// New hosts at count 0, in their default states: a NURB curve with no poles; a NURB surface
// with no poles; a polyline with no points, range (0, 0); a planar polyline with no points;
// a composite with no members, range (0, 1).
RefFeatureHost* makeNurbCurveHost();
RefFeatureHost* makeNurbSurfaceHost();
RefFeatureHost* makePolyLineHost();
RefFeatureHost* makePolyLine2DHost();
RefFeatureHost* makeCompositeCurveHost();

// The curvature services.
IQorCurveUtil& curveUtil();
IQorSurfaceUtil& surfaceUtil();

}  // namespace refhost
