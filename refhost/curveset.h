// The reference host's curve set: curves by counted reference at one-based indices with
// gaps, and the connectivity between their ends (see hostapi/icurveset.h).
//
// Service "ICurveSet" -> ICurveSet*: a new empty set (count 0) on every fetch, at the
// default tolerance. The same object answers "ICurveTopology" and "IQorPersistable"; the
// class id below is registered, so createInstance(id, "ICurveSet") makes one for a reader.
//
// Connectivity is built in linear time: the ends are hashed into a grid of cubic cells whose
// edge is the tolerance, and each end is compared only with the ends of its own and the 26
// neighbouring cells; ends that meet are joined by union-find into junctions.
//
// Record: an object chunk of kCurveSetClassId, version 1, holding the tolerance (double),
// maxIndex (int32), the number of filled indices (int32), then per filled index, in rising
// order, the index (int32) and the curve's own record (its host's class id and layout). A
// record reads whole or not at all.
#pragma once
#include <cstdint>

#include "hostapi/icurveset.h"
#include "persistence/qorid.h"

namespace refhost {

class RefComponentManager;

// {6b1e2a0d-3c4d-4e5f-8011-22334455660d}, continuing the curve hosts' family.
extern const QorID kCurveSetClassId;

// The tolerance of a new set and of rebuild with a negative tolerance.
inline constexpr double kDefaultCurveSetTolerance = 1e-6;
// The highest index a set takes (append past it adds nothing; a record naming more is
// refused).
inline constexpr int32_t kMaxCurveSetIndex = int32_t(1) << 22;

// A new empty set (count 0).
ICurveSet* makeCurveSet();

// Registers the "ICurveSet" service and the class id.
void registerCurveSet(RefComponentManager& manager);

}  // namespace refhost
