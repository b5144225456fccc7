// The swept surface shells: ExtrudedSurface ("IQorExtruded"), DraftedSurface
// ("IQorDrafted"), RotationalSurface ("IQorRotational") and SweepSurface ("IQorSweep"). Each
// host also answers "IQorSurface", "IQorSwept" and "IQorFeature".
//
// The first three hold the script's sketch curve (in world coordinates) beside the host,
// which keeps a clone of it in the surface's own frame: the "sketch" setter places the
// frame and carries the curve across, and transform moves both. SweepSurface only shows
// its host's curves, as new script objects at each read.
#pragma once
#include <cstdint>

#include "core/iptr.h"
#include "features/feature.h"
#include "hostapi/iqorcurves.h"
#include "hostapi/iqorswept.h"

namespace surfacing {

// The three operations of every swept shell's own interface. Slot order as declared.
// Neither evaluation tests a range.
class ISweptOperations : public virtual IQorUnknown {
 public:
  // The host's IQorSurface::evaluatePoint: the point, then its unit normal.
  virtual QorVector evaluatePoint(double u, double v) = 0;   // 0
  virtual QorVector evaluateNormal(double u, double v) = 0;  // 1
  virtual void transform(const QorMatrix& matrix) = 0;       // 2
};
// Queried as "surfacing::IExtrudedSurface", "surfacing::IDraftedSurface", ...
class IExtrudedSurface : public ISweptOperations {};
class IDraftedSurface : public ISweptOperations {};
class IRotationalSurface : public ISweptOperations {};
class ISweepSurface : public ISweptOperations {};

// The host curve of a script curve, asked in the order composite, line, arc, NURB curve,
// polyline; null for none.
::IQorCurve* hostCurveOf(DataObject* object);

// A new script curve of `curve`'s kind in world coordinates: a clone of it moved by
// `frame` (count 0), or null for a null curve or a kind the converter does not know.
DataObject* worldCurve(::IQorCurve* curve, const QorMatrix& frame);

// What the four shells share: the host as IQorSurface and IQorSwept, the class errors of
// the class, the two parameter windows, the evaluations and the host's move.
class SweptShell : public features::SurfaceFeature {
 public:
  // makeSurface on the host (null for a sweep).
  IQorDataObject* clone() override;
  // The host as IQorSurface, or null.
  IQorUnknown* surfaceExtra() override { return surfaceView_; }
  ::IQorSurface* surface() const { return surfaceView_; }
  ::IQorSwept* swept() const { return swept_; }

  QorVector pointAt(double u, double v);
  QorVector normalAt(double u, double v);
  // The first and the second pair of IQorSurface::ranges; each setter replaces its pair
  // and writes both back.
  Vector2D firstRange() const;
  void setFirstRange(const Vector2D& value);
  Vector2D secondRange() const;
  void setSecondRange(const Vector2D& value);

  // The class error "<class>: <text>" of this class.
  [[noreturn]] void failWith(const char* text) const;
  // Fails with "can not get a surface entity" without a host.
  void requireHost() const;

 protected:
  explicit SweptShell(const char* label) : label_(label) {}
  // The views of `host`; null for null.
  void bindViews(::IQorFeature* host);
  // IQorSurface::transformSurface; false fails with "transfomation failed".
  void moveHost(const QorMatrix& matrix);
  // isoCurve of the host (or of `from`) through the converter: a new script curve, or null.
  DataObject* isoObject(::IQorSurface* from, int32_t direction, double parameter);

  const char* label_;
  ::IQorSurface* surfaceView_ = nullptr;  // borrowed from the typed host
  ::IQorSwept* swept_ = nullptr;
};

// The shells with a script sketch: the typed host `Host`, the sketch, the sections at the
// ends of the second window, the move of both, and the stored form with the sketch first.
template <class Host, class Iface>
class SketchedSurface : public SweptShell, public Iface {
 public:
  ~SketchedSurface() override;
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;

  // The base part without the mirror, then the views; with a new host the sketch becomes
  // a new script curve of the host's (null without one), so undo and reading never leave
  // the script's sketch apart from the host's.
  void connect(::IQorFeature* host) override;
  void createHost() override { createHostAs(this->interfaceName()); }

  QorVector evaluatePoint(double u, double v) override { return pointAt(u, v); }
  QorVector evaluateNormal(double u, double v) override { return normalAt(u, v); }
  // The host first, then the script's sketch by its own kind.
  void transform(const QorMatrix& matrix) override;

  Host* typedHost() const { return surface_.get(); }
  DataObject* sketchValue() const { return sketch_.get(); }
  DataObject* topSketch() const;
  DataObject* bottomSketch() const;

  // Version 2: the sketch object (an all-zero object chunk without one), the host, the
  // DataObject part, inside one object chunk.
  bool write(IQorDataModelWriter* writer) override;
  bool read(IQorDataModelReader* reader) override;
  using DataObject::read;
  using DataObject::write;

 protected:
  SketchedSurface(const char* label, const char* wrongType)
      : SweptShell(label), wrongType_(wrongType) {}
  // The first steps of every sketch setter: the host, the kind of the object, then the
  // field takes it; answers the object's host curve, or null when the setter ends there.
  ::IQorCurve* takeSketch(DataObject* object);
  // The clone of `curve` in the host's frame, given to the host.
  void giveSketch(::IQorCurve* curve);
  // The iso curve of a working copy at the lower (`upper` false) or upper end of the
  // second window, kept until the next read.
  DataObject* sketchAt(bool upper) const;
  // Adds the read-only "topSketch" and "bottomSketch" (extruded and drafted surfaces).
  void addSketchViews();

  IPtr<Host> surface_;
  IPtr<DataObject> sketch_;
  mutable IPtr<DataObject> topObject_;
  mutable IPtr<DataObject> bottomObject_;
  const char* wrongType_;  // the setter's text for a wrong kind of curve
};

// Extruded and drafted: the direction, the heights and the frame matrix "coordinate".
template <class Host, class Iface>
class StraightSurface : public SketchedSurface<Host, Iface> {
 public:
  // The frame: columns xAxis, yAxis, direction, origin; last row (0, 0, 0, 1).
  void coordinate(QorMatrix& out) override;
  QorMatrix coordinateValue() const;
  QorVector direction() const;
  void setDirection(const QorVector& value);
  double heightFrom() const;
  void setHeightFrom(double value);
  double heightTo() const;
  void setHeightTo(double value);
  // The setter of "sketch": the origin at the curve's middle point, then the curve.
  void setSketch(DataObject* object);

 protected:
  StraightSurface(const char* label, const char* wrongType, bool directionFirst)
      : SketchedSurface<Host, Iface>(label, wrongType), directionFirst_(directionFirst) {}
  // Fails with "no extruded direction" unless "extrudeDir" is a vector property.
  void requireDirection();
  // The constructor's defaults.
  void setDefaults();

  bool directionFirst_;  // whether the direction is tested before the kind of the curve
};

class ExtrudedSurface : public StraightSurface<::IQorExtruded, IExtrudedSurface> {
 public:
  // Fetches a host; "extrudeDir" (0, 0, 1), both windows (0, 1), heights 0.
  ExtrudedSurface();
  ~ExtrudedSurface() override;
  const char* className() override { return "ExtrudedSurface"; }
  const char* typeString() override { return "qorapi.surfacing.ExtrudedSurface"; }
  const char* interfaceName() const override { return "IQorExtruded"; }
};

class DraftedSurface : public StraightSurface<::IQorDrafted, IDraftedSurface> {
 public:
  // As ExtrudedSurface, with "draftAngle" 0 and "isConic" false.
  DraftedSurface();
  ~DraftedSurface() override;
  const char* className() override { return "DraftedSurface"; }
  const char* typeString() override { return "qorapi.surfacing.DraftedSurface"; }
  const char* interfaceName() const override { return "IQorDrafted"; }
  double draftAngle() const;
  void setDraftAngle(double value);
  bool isConic() const;
  void setIsConic(bool value);
};

class RotationalSurface : public SketchedSurface<::IQorRotational, IRotationalSurface> {
 public:
  // Fetches a host; "axisDirection" (0, 0, 1), "originPt" 0, both windows (0, 1), angles 0.
  RotationalSurface();
  ~RotationalSurface() override;
  const char* className() override { return "RotationalSurface"; }
  const char* typeString() override { return "qorapi.surfacing.RotationalSurface"; }
  const char* interfaceName() const override { return "IQorRotational"; }
  // The constructor fetches the host; there is nothing to make later.
  void createHost() override {}

  QorVector origin() const;
  void setOrigin(const QorVector& value);
  QorVector axis() const;
  void setAxis(const QorVector& value);
  bool isClosedRotational() const;
  double angleFrom() const;
  void setAngleFrom(double value);
  double angleTo() const;
  void setAngleTo(double value);
  double heightFrom() const;
  double heightTo() const;
  // The setter of "sketch": the radial direction towards the curve's middle point, then
  // the curve; a sketch without a host curve ends the setter silently.
  void setSketch(DataObject* object);
};

class SweepSurface : public SweptShell, public ISweepSurface {
 public:
  // Fetches a host; both windows (0, 1).
  SweepSurface();
  ~SweepSurface() override;
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "SweepSurface"; }
  const char* typeString() override { return "qorapi.surfacing.SweepSurface"; }
  const char* interfaceName() const override { return "IQorSweep"; }
  void createHost() override {}
  void connect(::IQorFeature* host) override;

  QorVector evaluatePoint(double u, double v) override { return pointAt(u, v); }
  QorVector evaluateNormal(double u, double v) override { return normalAt(u, v); }
  // The host alone; false fails with "transfomation failed".
  void transform(const QorMatrix& matrix) override;

  // ---- the class's own operations ----
  // Replaces the host; the same object as IQorFeature becomes the feature's host.
  virtual void setHost(::IQorSweep* host);
  // The host's iso curve at first (U) or second (V) parameter t, as a new script curve.
  virtual DataObject* isoCurveU(double t);
  virtual DataObject* isoCurveV(double t);

  ::IQorSweep* typedHost() const { return surface_.get(); }
  // The read-only views: new objects at each read, kept until the next.
  DataObject* sketchView() const;
  DataObject* spineView() const;
  DataObject* rulerView() const;
  // The radius of a profile that is a composite of exactly one arc, else 0.
  double arcProfileRadius() const;
  void setArcProfileRadius(double value);

  // Version 2: the host, then the DataObject part; the typed host is queried anew after.
  bool write(IQorDataModelWriter* writer) override;
  bool read(IQorDataModelReader* reader) override;
  using DataObject::read;
  using DataObject::write;

 private:
  void bindSweep(::IQorFeature* host);

  IPtr<::IQorSweep> surface_;
  mutable IPtr<DataObject> sketchObject_;
  mutable IPtr<DataObject> spineObject_;
  mutable IPtr<DataObject> rulerObject_;
};

}  // namespace surfacing
