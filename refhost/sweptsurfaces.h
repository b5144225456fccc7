// The reference host's swept surfaces: the extruded surface ("IQorExtruded"), the drafted
// surface ("IQorDrafted"), the rotational surface ("IQorRotational") and the sweep
// ("IQorSweep"), as declared in hostapi/iqorswept.h. Each answers "IQorSurface", "IQorSwept",
// "IQorFeature", "IQorSubject" and "IQorPersistable" beside its typed interface, and nothing
// of the other kind.
//
// The first three hold an origin, a third axis (the extrusion direction or the rotation axis,
// as given), a radial direction (the x axis is its unit part across the third axis; any
// perpendicular when it has none), the two parameter windows, two numbers (the heights or
// the angles) and a clone of the sketch in the surface frame. The sweep holds the windows,
// the sketch in its moving frame, and clones of the spine and the ruler in world
// coordinates; its IQorSwept::frame is the moving frame at the lower end of the v window.
// Evaluation is exact through the curves' own IQorCurve::evaluate; without its curves a
// surface answers NaN (one log line). Iso curves that are no curve of a simple kind (the
// sweep's at fixed u, the offset of a NURB sketch) are cubic NURB curves through samples,
// within 1e-9 times (1 + their extent) at the spans' middles, or at most 512 spans.
// IQorFeature::transform and IQorSurface::transformSurface take similarities only (a
// mirror turns the third axis over and the sketch with it).
#pragma once
#include "hostapi/iqorswept.h"
#include "refhost/featurehosts.h"

namespace refhost {

class RefComponentManager;

// Record class ids, continuing {6b1e2a0K-3c4d-4e5f-8011-22334455660K}.
extern const QorID kExtrudedClassId;    // K = 0e
extern const QorID kRotationalClassId;  // K = 0f
extern const QorID kDraftedClassId;     // K = 10
extern const QorID kSweepClassId;       // K = 11

// New hosts at count 0: no sketch, origin 0, third axis (0, 0, 1), radial (1, 0, 0),
// windows (0, 1) and (0, 1), numbers 0 and 0.
RefFeatureHost* makeExtrudedHost();
RefFeatureHost* makeRotationalHost();
RefFeatureHost* makeDraftedHost();  // draft angle 0, not conic
// A new sweep at count 0: no sketch, spine or ruler, windows (0, 1) and (0, 1).
RefFeatureHost* makeSweepHost();
// The host of a record's class id, or null.
RefFeatureHost* makeSweptHost(const QorID& classId);

// Registers "IQorExtruded", "IQorRotational", "IQorDrafted" and "IQorSweep" (a new host on
// every fetch).
void registerSweptSurfaces(RefComponentManager& manager);

}  // namespace refhost
