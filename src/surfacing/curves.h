// Curves: the script form of a host curve set (ICurveSet). The host numbers its curves from
// 1 and may leave empty indices where curves were removed; a script index is the host index
// less 1, and an empty index fails every indexed operation like one out of range.
//
// Curves adds the index checks, the counts and total length read as properties, the
// closedness test and the count of components (both walk the host's chains), the
// translation between script curves and host curves, and its own stored form. The set
// itself, its connectivity and the geometry of each curve stay with the host.
//
// End keys: a DirIndex holds (script index + 1) * 2 + direction, which is the host's key
// (host index * 2 + direction) as it stands.
#pragma once
#include <cstdint>

#include "core/iptr.h"
#include "datamodel/dataobject.h"
#include "datamodel/dirindex.h"
#include "hostapi/icurveset.h"
#include "math/qorbounds.h"
#include "math/qorvector.h"
#include "persistence/qorid.h"

namespace curves {

class CurvesIter;

// "curves::IQorCurves". Slot order as declared; an index is a script index.
class IQorCurves : public virtual IQorUnknown {
 public:
  // Replaces the set (counted) and enters the pair in the proxy registry "ICurveSet".
  virtual void setCurveSet(ICurveSet* set) = 0;     // 0
  virtual QorVector startPoint(int32_t index) = 0;  // 1
  virtual QorVector endPoint(int32_t index) = 0;    // 2
  // Passed on to the set as it stands (tolerance within which ends meet, rebuild now or at
  // the next query); nothing without a set.
  virtual void rebuild(double tolerance, bool now) = 0;  // 3
  // The oriented curve after / before `end` in its chain: a new DirIndex (count 0), raw
  // value 0 for none.
  virtual DirIndex* nextEnd(const DirIndex& end) = 0;                        // 4
  virtual DirIndex* previousEnd(const DirIndex& end) = 0;                    // 5
  virtual bool testPair(const DirIndex& first, const DirIndex& second) = 0;  // 6
  virtual bool testEnd(const DirIndex& end) = 0;                             // 7
  // A script curve over the host's curve (count 0); line, arc and polyline share it.
  virtual DataObject* curve(int32_t index) = 0;  // 8
  // Stores a clone of the script curve's host curve; answers its script index.
  virtual int32_t addCurve(DataObject* curve) = 0;              // 9
  virtual void setCurve(int32_t index, DataObject* curve) = 0;  // 10
  // Leaves the index empty and fires "updated" with "delCurveId" = the host index.
  virtual void removeCurve(int32_t index) = 0;  // 11
  // Replaces the set (counted) and rebuilds its connectivity at the default tolerance; the
  // registry is left alone.
  virtual void adoptCurveSet(ICurveSet* set) = 0;  // 12
  // The set, borrowed; null for an empty Curves. The host data of a curve model.
  virtual ICurveSet* curveSet() = 0;  // 13
};

// "curves::IQorCurvesIter". Slot order as declared.
class IQorCurvesIter : public virtual IQorUnknown {
 public:
  // Null clears; anything else is queried under "Curves".
  virtual void setCurves(IQorUnknown* object) = 0;  // 0
  virtual bool atEnd() = 0;                         // 1
  // The number of filled indices (0 without a set).
  virtual int32_t count() = 0;  // 2
  // The script index of the present curve; -1 before the first advance.
  virtual int32_t index() = 0;  // 3
  // On to the next filled index; false past the last.
  virtual bool advance() = 0;  // 4
  virtual void rewind() = 0;   // 5
};

class Curves : public DataObject, public IQorCurves {
 public:
  // An empty Curves: no set.
  Curves();
  // A Curves over a clone of the other's set (none when it has none).
  Curves(const Curves& other);
  Curves& operator=(const Curves&) = delete;
  ~Curves() override;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "Curves"; }
  const char* typeString() override { return "qorapi.curveset.Curves"; }
  QorID classId() override { return classIdentifier(); }
  // CB692529-1C3F-4A0A-9217-509941FB08C7.
  static QorID classIdentifier();
  // A new Curves by the copy constructor (count 0).
  IQorDataObject* clone() override;
  // Adds the event "updated" and the read-only properties.
  void initialize() override;
  // A new iterator over this object (count 0).
  virtual CurvesIter* iterator();

  bool write(IQorDataModelWriter* writer) override;
  bool read(IQorDataModelReader* reader) override;
  using DataObject::read;
  using DataObject::write;

  // ---- IQorCurves ----
  void setCurveSet(ICurveSet* set) override;
  QorVector startPoint(int32_t index) override;
  QorVector endPoint(int32_t index) override;
  void rebuild(double tolerance, bool now) override;
  DirIndex* nextEnd(const DirIndex& end) override;
  DirIndex* previousEnd(const DirIndex& end) override;
  bool testPair(const DirIndex& first, const DirIndex& second) override;
  bool testEnd(const DirIndex& end) override;
  DataObject* curve(int32_t index) override;
  int32_t addCurve(DataObject* curve) override;
  void setCurve(int32_t index, DataObject* curve) override;
  void removeCurve(int32_t index) override;
  void adoptCurveSet(ICurveSet* set) override;
  ICurveSet* curveSet() override { return set_.get(); }

  // ---- routed property bodies ----
  int32_t numCurvesValue() const;
  int32_t maxCurvesIndexValue() const;
  int32_t numLinesValue() const;
  int32_t numArcsValue() const;
  int32_t numSplinesValue() const;
  int32_t numPolylinesValue() const;
  int32_t numCompositeCurvesValue() const;
  int32_t numComponentsValue() const;
  bool isClosedValue() const;
  double lengthValue() const;
  QorBounds boundingBoxValue() const;

 private:
  // The host curve at script index `index`, or the class error "invalid index".
  ::IQorCurve* checked(int32_t index) const;
  // The filled indices whose curve answers `kind`.
  int32_t countOf(const char* kind) const;
  // The chain walk: the number of chains, or (closedOnly) 1 when every chain closes within
  // 1e-8 and 0 at the first that does not.
  int32_t walkChains(bool closedOnly) const;
  // Replaces the set without touching the registry, dropping the registry entry this object
  // holds for the old one.
  void replaceSet(ICurveSet* set);

  IPtr<ICurveSet> set_;
};

class CurvesIter : public Primitive, public IQorCurvesIter {
 public:
  explicit CurvesIter(IQorUnknown* curves = nullptr) { setCurves(curves); }
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "CurvesIter"; }

  void setCurves(IQorUnknown* object) override;
  bool atEnd() override;
  int32_t count() override;
  int32_t index() override { return position_ - 1; }
  bool advance() override;
  void rewind() override { position_ = 0; }

 private:
  Curves* curves_ = nullptr;  // not counted
  int32_t position_ = 0;      // a host index; -1 past the end
};

}  // namespace curves
