// The host's curve set ("ICurveSet") and its connectivity ("ICurveTopology"). Slot order as
// declared (counted from 0).
//
// Indices and keys:
// - Curves sit at one-based host indices 1 .. maxIndex(). A removed curve leaves its index
//   empty (curve(i) answers null); the other indices never move. append fills a new index
//   past maxIndex(), never a gap.
// - A key names one curve with an orientation, and equally one of its two ends:
//       key = host index * 2 + bit
//   Bit 0 is the curve as stored, starting at its start point (range(0)); bit 1 is the curve
//   reversed, starting at its end point (range(1)). Read as an end, key k is the point where
//   the oriented curve k starts; the oriented curve k finishes at end k ^ 1. Key 0 (host
//   index 0) is never a curve and stands for "none". The module's end keys are the same
//   numbers: (script index + 1) * 2 + direction bit.
// - Two ends meet when their points lie within the set's tolerance (Euclidean distance at
//   most the tolerance), taken transitively: the ends that meet form one junction. A
//   junction of exactly two ends links two oriented curves; an end alone is free; a
//   junction of three or more ends is a branch point, where chains stop.
// - A chain is a maximal walk of oriented curves, each starting at the junction where the
//   one before finishes. A chain whose last curve finishes where its first starts is a
//   closed loop (a single curve closed on itself is a loop of one).
// - Connectivity is rebuilt on demand: every change of the curves marks it stale, and the
//   next connectivity query (startOf excepted) rebuilds it at the present tolerance.
//
// No operation throws. A key or index that names no curve answers "none" (0, null, false,
// an empty stack, the zero vector) and changes nothing.
#pragma once
#include <cstdint>

#include "base/iterstack.h"
#include "hostapi/iqorfeature.h"
#include "math/qorvector.h"

class BitVector;

// The connectivity of a curve set (borrowed from the set, valid as long as the set).
class ICurveTopology : public virtual IQorUnknown {
 public:
  // The oriented curve that precedes `in` (finishes where `in` starts) in its chain, in
  // `out`; 0 when `in` starts at a free end or a branch point. Answers `out`.
  virtual int32_t& previousEnd(int32_t in, int32_t& out) = 0;  // 0
  // The oriented curve that follows `in` (starts where `in` finishes), in `out`; 0 when
  // `in` finishes at a free end or a branch point. Answers `out`.
  virtual int32_t& nextEnd(int32_t in, int32_t& out) = 0;  // 1
  // Whether end `key` meets at least one other end (of this or another curve).
  virtual bool testEnd(int32_t key) = 0;  // 2
  // Whether ends `first` and `second` (different keys) are in the same junction.
  // `reserved` is 0.
  virtual bool testPair(int32_t first, int32_t second, int32_t reserved) = 0;  // 3
};

class ICurveSet : public virtual IQorUnknown {
 public:
  // The highest host index in use, empty ones included (0 for a set never filled).
  virtual int32_t maxIndex() = 0;  // 0
  // The curve at host index i (borrowed), or null for an empty or out-of-range index.
  virtual IQorCurve* curve(int32_t i) = 0;  // 1
  // The point at which the oriented curve `key` starts: its curve evaluated at range(0) for
  // bit 0, at range(1) for bit 1. Answers `out`.
  virtual QorVector& startOf(int32_t key, QorVector& out) = 0;  // 2
  // Replaces the one-based stack's contents with the keys of the chain that holds the
  // oriented curve `key`, in walk order: from the chain's first curve for an open chain,
  // from `key` itself for a closed loop. Every key of the chain follows the orientation of
  // `key`.
  virtual void chain(IterStack<int32_t>& stack, int32_t key) = 0;  // 3
  // The connectivity, rebuilt first when stale.
  virtual ICurveTopology* topology() = 0;  // 4
  // Adds a curve at index maxIndex() + 1; the set takes its own reference. Answers the new
  // index; a null curve adds nothing and answers 0.
  virtual int32_t append(IQorCurve* curve) = 0;  // 5
  // Puts a curve at index i (1 .. maxIndex(); an empty index is filled), taking its own
  // reference and releasing the old one. A null curve or an index out of range: nothing.
  virtual void setCurve(int32_t i, IQorCurve* curve) = 0;  // 6
  // Empties the host indices whose bits are set; maxIndex() stays.
  virtual void removeCurves(const BitVector& indices) = 0;  // 7
  // The box of all curves. With no curve: min at +3.4028234663852886e+38 and max at
  // -3.4028234663852886e+38 in every coordinate (the empty marker).
  virtual void bounds(QorVector& min, QorVector& max) = 0;  // 8
  // Sets the tolerance within which ends meet (a negative value: the default, 1e-6; 0:
  // only coincident points meet). `now` true rebuilds at once; false leaves it stale until
  // the next connectivity query.
  virtual void rebuild(double tolerance, bool now) = 0;  // 9
  // The number of filled indices.
  virtual int32_t count() = 0;  // 10
  // The present tolerance.
  virtual double tolerance() = 0;  // 11
  // A new set (count 0) holding deep copies of the curves (IQorFeature::clone) at the same
  // indices, gaps kept, at the same tolerance; the caller owns it.
  virtual ICurveSet* clone() = 0;  // 12
};
