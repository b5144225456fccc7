#include "surfacing/sweptsurface.h"

#include <string>

#include "core/listing.h"
#include "core/locator.h"
#include "datamodel/transform3dproperty.h"
#include "datamodel/vector3dproperty.h"
#include "features/arccurve.h"
#include "features/linefeature.h"
#include "hostapi/iqorpersistable.h"
#include "persistence/iqordatamodel.h"
#include "persistence/qorfile.h"
#include "surfacing/compositecurve.h"
#include "surfacing/curveconverter.h"
#include "surfacing/curveshell.h"
#include "surfacing/nurbcurve.h"
#include "surfacing/polylinecurve.h"

namespace surfacing {

namespace {

constexpr double kLargest = 1.7976931348623157e308;
const Vector2D kUnitWindow(0.0, 1.0);

template <class Iface>
struct ShellInterface;
template <>
struct ShellInterface<IExtrudedSurface> {
  static constexpr const char* kName = "surfacing::IExtrudedSurface";
};
template <>
struct ShellInterface<IDraftedSurface> {
  static constexpr const char* kName = "surfacing::IDraftedSurface";
};
template <>
struct ShellInterface<IRotationalSurface> {
  static constexpr const char* kName = "surfacing::IRotationalSurface";
};

// Whether a script object is one of the five curve kinds a sketch may be.
bool isSketchKind(DataObject* object) {
  for (const char* name :
       {"NurbCurve", "CompositeCurve", "LineFeature", "ArcCurve", "PolylineCurve"})
    if (qorQuery<void>(object, name)) return true;
  return false;
}

// The point in the middle of a curve's range.
QorVector middleOf(::IQorCurve* curve) {
  const double t = (curve->range(0) + curve->range(1)) * 0.5;
  QorVector p;
  curve->evaluatePoint(p, t);
  return p;
}

// A new script curve (count 0) over a clone of `curve`, moved by `frame` when given.
DataObject* convertedCopy(::IQorCurve* curve, const QorMatrix* frame) {
  IPtr<::IQorCurve> copy = cloneOf(curve, "IQorCurve");
  if (!copy) return nullptr;
  if (frame) copy->transform(*frame);
  CurveDataObjectConverter converter;
  return converter.convert(copy.get());
}

template <class Owner>
void addObject(Owner* owner, const char16_t* name, DataObject* (Owner::*get)() const,
               void (Owner::*set)(DataObject*) = nullptr) {
  using Get = QorRetMsgRtr_const<Owner, DataObject*>;
  using Set = QorSingleMsgRtr<Owner, DataObject*>;
  features::detail::addHeld(owner,
                            new RoutedObjectPropertyTemplate<DataObject, ObjectProperty, Owner>(
                                QorString(name), set == nullptr, new Get(owner, get),
                                set ? new Set(owner, set) : nullptr));
}

template <class Owner>
void addMatrix(Owner* owner, const char16_t* name, QorMatrix (Owner::*get)() const) {
  using Get = QorRetMsgRtr_const<Owner, QorMatrix>;
  features::detail::addHeld(owner,
                            new RoutedPropertyTemplate<QorMatrix, Transform3DProperty, Owner>(
                                QorString(name), true, new Get(owner, get), nullptr));
}

}  // namespace

::IQorCurve* hostCurveOf(DataObject* object) {
  if (auto* c = qorQuery<CompositeCurve>(object, "CompositeCurve")) return c->hostCurve();
  if (auto* l = qorQuery<features::LineFeature>(object, "LineFeature")) return l->curve();
  if (auto* a = qorQuery<features::ArcCurve>(object, "ArcCurve")) return a->curve();
  if (auto* n = qorQuery<NurbCurve>(object, "NurbCurve")) return n->hostCurve();
  if (auto* p = qorQuery<PolylineCurve>(object, "PolylineCurve")) return p->hostCurve();
  return nullptr;
}

DataObject* worldCurve(::IQorCurve* curve, const QorMatrix& frame) {
  return convertedCopy(curve, &frame);
}

// ---- SweptShell ----

IQorDataObject* SweptShell::clone() {
  return makeSurface(surfaceView_);
}

void SweptShell::failWith(const char* text) const {
  const std::string full = std::string(label_) + ": " + text;
  fail(label_, full.c_str());
}

void SweptShell::requireHost() const {
  if (!surfaceView_) failWith("can not get a surface entity");
}

void SweptShell::bindViews(::IQorFeature* host) {
  surfaceView_ = qorQuery<::IQorSurface>(host, "IQorSurface");
  swept_ = qorQuery<::IQorSwept>(host, "IQorSwept");
}

QorVector SweptShell::pointAt(double u, double v) {
  requireHost();
  QorVector p;
  surfaceView_->evaluatePoint(p, u, v, nullptr);
  return p;
}

QorVector SweptShell::normalAt(double u, double v) {
  requireHost();
  QorVector p, n;
  surfaceView_->evaluatePoint(p, u, v, &n);
  return n;
}

Vector2D SweptShell::firstRange() const {
  requireHost();
  Vector2D a, b;
  surfaceView_->ranges(a, b);
  return a;
}

void SweptShell::setFirstRange(const Vector2D& value) {
  requireHost();
  Vector2D a, b;
  surfaceView_->ranges(a, b);
  surfaceView_->setRanges(value, b);
}

Vector2D SweptShell::secondRange() const {
  requireHost();
  Vector2D a, b;
  surfaceView_->ranges(a, b);
  return b;
}

void SweptShell::setSecondRange(const Vector2D& value) {
  requireHost();
  Vector2D a, b;
  surfaceView_->ranges(a, b);
  surfaceView_->setRanges(a, value);
}

void SweptShell::moveHost(const QorMatrix& matrix) {
  requireHost();
  if (!surfaceView_->transformSurface(matrix)) failWith("transfomation failed");
}

DataObject* SweptShell::isoObject(::IQorSurface* from, int32_t direction, double parameter) {
  ::IQorCurve* made = nullptr;
  from->isoCurve(direction, parameter, &made);
  IPtr<::IQorCurve> curve(made);  // the caller owns it; the converter counts what it keeps
  CurveDataObjectConverter converter;
  return converter.convert(curve.get());
}

// ---- SketchedSurface ----

template <class Host, class Iface>
SketchedSurface<Host, Iface>::~SketchedSurface() = default;

template <class Host, class Iface>
void SketchedSurface<Host, Iface>::queryInterface(const char* name, void** out,
                                                  uintptr_t reserved) {
  if (!out) return;
  const char* iface = ShellInterface<Iface>::kName;
  if (!name) {
    walkEnterClass(this->className(), out);
    walkAddInterface(iface, out);
    SurfaceFeature::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, this->className()))
    *out = this;
  else if (qorNameIs(name, iface))
    *out = static_cast<Iface*>(this);
  else
    SurfaceFeature::queryInterface(name, out, reserved);
}

template <class Host, class Iface>
void SketchedSurface<Host, Iface>::connect(::IQorFeature* host) {
  const bool fresh = host != Feature::host();
  reattach(host);
  surface_ = qorQuery<Host>(host, this->interfaceName());
  bindViews(host);
  if (!fresh) return;
  ::IQorCurve* held = swept_ ? swept_->sketch() : nullptr;
  QorMatrix frame;
  if (held) swept_->frame(frame);
  sketch_ = held ? worldCurve(held, frame) : nullptr;
}

template <class Host, class Iface>
void SketchedSurface<Host, Iface>::transform(const QorMatrix& matrix) {
  moveHost(matrix);
  DataObject* s = sketch_.get();
  if (auto* c = qorQuery<CompositeCurve>(s, "CompositeCurve"))
    c->transform(matrix);
  else if (auto* l = qorQuery<features::LineFeature>(s, "LineFeature"))
    l->transform(matrix);
  else if (auto* a = qorQuery<features::ArcCurve>(s, "ArcCurve"))
    a->transform(matrix);
  else if (auto* n = qorQuery<NurbCurve>(s, "NurbCurve"))
    n->transform(matrix);
  else if (auto* p = qorQuery<PolylineCurve>(s, "PolylineCurve"))
    p->transform(matrix);
  else
    failWith("the curve type is wrong");
}

template <class Host, class Iface>
::IQorCurve* SketchedSurface<Host, Iface>::takeSketch(DataObject* object) {
  if (object && !isSketchKind(object)) failWith(wrongType_);
  sketch_ = object;
  return object ? hostCurveOf(object) : nullptr;
}

template <class Host, class Iface>
void SketchedSurface<Host, Iface>::giveSketch(::IQorCurve* curve) {
  QorMatrix frame, inverse;
  swept_->frame(frame);
  frame.inverse(inverse);
  IPtr<::IQorCurve> copy = cloneOf(curve, "IQorCurve");
  if (copy) copy->transform(inverse);
  surface_->setSketch(copy.get());
}

template <class Host, class Iface>
DataObject* SketchedSurface<Host, Iface>::sketchAt(bool upper) const {
  requireHost();
  ::IQorSurface* made = nullptr;
  surfaceView_->workingCopy(&made);
  IPtr<::IQorSurface> copy(made);  // destroyed on the way out
  if (!copy) return nullptr;
  Vector2D first, second;
  copy->parameterRange(first, second);
  auto* self = const_cast<SketchedSurface*>(this);
  IPtr<DataObject>& keep = upper ? bottomObject_ : topObject_;
  keep = self->isoObject(copy.get(), 1, upper ? second.y : second.x);
  return keep.get();
}

template <class Host, class Iface>
DataObject* SketchedSurface<Host, Iface>::topSketch() const {
  return sketchAt(false);
}

template <class Host, class Iface>
DataObject* SketchedSurface<Host, Iface>::bottomSketch() const {
  return sketchAt(true);
}

template <class Host, class Iface>
void SketchedSurface<Host, Iface>::addSketchViews() {
  addObject<SketchedSurface>(this, u"topSketch", &SketchedSurface::topSketch);
  addObject<SketchedSurface>(this, u"bottomSketch", &SketchedSurface::bottomSketch);
}

template <class Host, class Iface>
bool SketchedSurface<Host, Iface>::write(IQorDataModelWriter* writer) {
  writer->beginObject(this, 2);
  if (sketch_) {
    sketch_->write(writer);
  } else {
    // No sketch: an object chunk of the all-zero id stands in its place.
    writer->beginObjectChunk(QorID(), 1);
    writer->endObject();
  }
  auto* file = qorQuery<QorFileWrite>(writer, "QorFileWrite");
  auto* persistable = qorQuery<IQorPersistable>(Feature::host(), "IQorPersistable");
  if (file && persistable) persistable->write(file);
  DataObject::write(writer);
  writer->endObject();
  return writer->good();
}

template <class Host, class Iface>
bool SketchedSurface<Host, Iface>::read(IQorDataModelReader* reader) {
  int32_t version = 0;
  reader->beginObject(this, &version);
  QorID id = reader->peekObjectId();
  sketch_.reset();
  IPtr<DataObject> made;
  if (!(id == QorID())) {
    void* out = nullptr;
    createInstance(&id, QorCString(kBorrow, "DataObject"), &out);
    made = static_cast<DataObject*>(out);
  }
  if (made) {
    made->read(reader);
    sketch_ = made;
  } else {
    reader->beginChunk();  // the all-zero marker, or a class that cannot be made
    reader->endChunk();
  }
  if (!Feature::host()) createHost();
  auto* file = qorQuery<QorFileRead>(reader, "QorFileRead");
  auto* persistable = qorQuery<IQorPersistable>(Feature::host(), "IQorPersistable");
  if (file && persistable) persistable->read(file);
  if (version >= 2) DataObject::read(reader);
  reader->endObject();
  return true;
}

// ---- StraightSurface: extruded and drafted ----

template <class Host, class Iface>
void StraightSurface<Host, Iface>::coordinate(QorMatrix& out) {
  this->requireHost();
  QorVector x, y, d, o;
  Host* h = this->surface_.get();
  out = QorMatrix::fromColumns(h->xAxis(x), h->yAxis(y), h->direction(d), h->origin(o));
}

template <class Host, class Iface>
QorMatrix StraightSurface<Host, Iface>::coordinateValue() const {
  QorMatrix m;
  const_cast<StraightSurface*>(this)->coordinate(m);
  return m;
}

template <class Host, class Iface>
QorVector StraightSurface<Host, Iface>::direction() const {
  this->requireHost();
  QorVector d;
  return this->surface_->direction(d);
}

template <class Host, class Iface>
void StraightSurface<Host, Iface>::setDirection(const QorVector& value) {
  this->requireHost();
  this->surface_->setDirection(value);
}

template <class Host, class Iface>
double StraightSurface<Host, Iface>::heightFrom() const {
  this->requireHost();
  return this->surface_->heightFrom();
}

template <class Host, class Iface>
void StraightSurface<Host, Iface>::setHeightFrom(double value) {
  this->requireHost();
  this->surface_->setHeightFrom(value);
}

template <class Host, class Iface>
double StraightSurface<Host, Iface>::heightTo() const {
  this->requireHost();
  return this->surface_->heightTo();
}

template <class Host, class Iface>
void StraightSurface<Host, Iface>::setHeightTo(double value) {
  this->requireHost();
  this->surface_->setHeightTo(value);
}

template <class Host, class Iface>
void StraightSurface<Host, Iface>::requireDirection() {
  if (!qorQuery<IQorVectorProperty>(this->getProperty("extrudeDir"), "IQorVectorProperty"))
    this->failWith("no extruded direction");
}

template <class Host, class Iface>
void StraightSurface<Host, Iface>::setSketch(DataObject* object) {
  this->requireHost();
  if (directionFirst_) requireDirection();
  ::IQorCurve* curve = this->takeSketch(object);
  if (!object) return;
  if (!directionFirst_) requireDirection();
  if (!curve) this->failWith("no valid curves");
  this->surface_->setOrigin(middleOf(curve));
  this->giveSketch(curve);  // the frame has its new origin by now
}

template <class Host, class Iface>
void StraightSurface<Host, Iface>::setDefaults() {
  if (!this->surface_) return;
  this->surface_->setDirection(QorVector(0.0, 0.0, 1.0));
  this->surfaceView_->setRanges(kUnitWindow, kUnitWindow);
  this->surface_->setHeightFrom(0.0);
  this->surface_->setHeightTo(0.0);
}

template class SketchedSurface<::IQorExtruded, IExtrudedSurface>;
template class SketchedSurface<::IQorDrafted, IDraftedSurface>;
template class SketchedSurface<::IQorRotational, IRotationalSurface>;
template class StraightSurface<::IQorExtruded, IExtrudedSurface>;
template class StraightSurface<::IQorDrafted, IDraftedSurface>;

// ---- the concrete classes ----

namespace {

// The properties the extruded and drafted surfaces share, after their own first ones.
template <class Host, class Iface>
void addStraight(StraightSurface<Host, Iface>* s) {
  using S = StraightSurface<Host, Iface>;
  features::addVector<S>(s, u"extrudeDir", &S::direction, &S::setDirection);
  addObject<S>(s, u"sketch", &S::sketchValue, &S::setSketch);
  features::addVector2D<SweptShell>(s, u"curveParamRange", &SweptShell::firstRange,
                                    &SweptShell::setFirstRange);
  features::addVector2D<SweptShell>(s, u"sweepParamRange", &SweptShell::secondRange,
                                    &SweptShell::setSecondRange);
  features::addDouble<S>(s, u"heightFrom", &S::heightFrom, &S::setHeightFrom);
  features::addDouble<S>(s, u"heightTo", &S::heightTo, &S::setHeightTo);
}

template <class Shell>
features::Feature* makeShell() {
  return new Shell();
}

const bool kRegistered[] = {
    features::registerShell("IQorExtruded", features::classIdOf("IQorExtruded"),
                            &makeShell<ExtrudedSurface>),
    features::registerShell("IQorDrafted", features::classIdOf("IQorDrafted"),
                            &makeShell<DraftedSurface>),
    features::registerShell("IQorRotational", features::classIdOf("IQorRotational"),
                            &makeShell<RotationalSurface>),
    features::registerShell("IQorSweep", features::classIdOf("IQorSweep"),
                            &makeShell<SweepSurface>),
};

}  // namespace

ExtrudedSurface::ExtrudedSurface()
    : StraightSurface("ExtrudedSurface", "curve type is wrong", true) {
  (void)kRegistered;
  createHost();
  using S = ExtrudedSurface;
  addMatrix<S>(this, u"coordinate", &S::coordinateValue);
  addStraight<::IQorExtruded, IExtrudedSurface>(this);
  addSketchViews();
  setDefaults();
  logLifetime("Created");
}

ExtrudedSurface::~ExtrudedSurface() {
  retire("IQorExtruded", surface_.get());
}

DraftedSurface::DraftedSurface()
    : StraightSurface("DraftedSurface", "the curve type is wrong", false) {
  createHost();
  using S = DraftedSurface;
  addMatrix<S>(this, u"coordinate", &S::coordinateValue);
  features::addDouble<S>(this, u"draftAngle", &S::draftAngle, &S::setDraftAngle,
                         -features::kTwoPi / 2, features::kTwoPi / 2);
  addStraight<::IQorDrafted, IDraftedSurface>(this);
  features::addBool<S>(this, u"isConic", &S::isConic, &S::setIsConic);
  addSketchViews();
  setDefaults();
  if (surface_) {
    surface_->setDraftAngle(0.0);
    surface_->setIsConic(false);
  }
  logLifetime("Created");
}

DraftedSurface::~DraftedSurface() {
  retire("IQorDrafted", surface_.get());
}

double DraftedSurface::draftAngle() const {
  requireHost();
  return surface_->draftAngle();
}

void DraftedSurface::setDraftAngle(double value) {
  requireHost();
  surface_->setDraftAngle(value);
}

bool DraftedSurface::isConic() const {
  requireHost();
  return surface_->isConic();
}

void DraftedSurface::setIsConic(bool value) {
  requireHost();
  surface_->setIsConic(value);
}

RotationalSurface::RotationalSurface()
    : SketchedSurface("RotationalSurface", "the curve type is wrong") {
  createHostAs("IQorRotational");
  using S = RotationalSurface;
  features::addVector<S>(this, u"originPt", &S::origin, &S::setOrigin);
  features::addVector<S>(this, u"axisDirection", &S::axis, &S::setAxis);
  addObject<S>(this, u"sketch", &S::sketchValue, &S::setSketch);
  features::addVector2D<SweptShell>(this, u"sweepParamRange", &SweptShell::firstRange,
                                    &SweptShell::setFirstRange);
  features::addVector2D<SweptShell>(this, u"curveParamRange", &SweptShell::secondRange,
                                    &SweptShell::setSecondRange);
  features::addBool<S>(this, u"isClosedRotational", &S::isClosedRotational);
  features::addDouble<S>(this, u"angleFrom", &S::angleFrom, &S::setAngleFrom, 0.0,
                         features::kTwoPi);
  features::addDouble<S>(this, u"angleTo", &S::angleTo, &S::setAngleTo, 0.0, features::kTwoPi);
  features::addDouble<S>(this, u"heightFrom", &S::heightFrom);
  features::addDouble<S>(this, u"heightTo", &S::heightTo);
  if (surface_) {
    surface_->setAxis(QorVector(0.0, 0.0, 1.0));
    surface_->setOrigin(QorVector());
    surfaceView_->setRanges(kUnitWindow, kUnitWindow);
    surface_->setAngleFrom(0.0);
    surface_->setAngleTo(0.0);
  }
  logLifetime("Created");
}

RotationalSurface::~RotationalSurface() {
  retire("IQorRotational", surface_.get());
}

QorVector RotationalSurface::origin() const {
  requireHost();
  QorVector o;
  return surface_->origin(o);
}

void RotationalSurface::setOrigin(const QorVector& value) {
  requireHost();
  surface_->setOrigin(value);
}

QorVector RotationalSurface::axis() const {
  requireHost();
  QorVector a;
  return surface_->axis(a);
}

void RotationalSurface::setAxis(const QorVector& value) {
  requireHost();
  surface_->setAxis(value);
}

bool RotationalSurface::isClosedRotational() const {
  requireHost();
  return surfaceView_->isClosedInU();
}

double RotationalSurface::angleFrom() const {
  requireHost();
  return surface_->angleFrom();
}

void RotationalSurface::setAngleFrom(double value) {
  requireHost();
  surface_->setAngleFrom(value);
}

double RotationalSurface::angleTo() const {
  requireHost();
  return surface_->angleTo();
}

void RotationalSurface::setAngleTo(double value) {
  requireHost();
  surface_->setAngleTo(value);
}

double RotationalSurface::heightFrom() const {
  requireHost();
  return surface_->heightFrom();
}

double RotationalSurface::heightTo() const {
  requireHost();
  return surface_->heightTo();
}

void RotationalSurface::setSketch(DataObject* object) {
  requireHost();
  ::IQorCurve* curve = takeSketch(object);
  if (!object) return;
  const QorVector o = origin();
  if (!curve) return;
  const QorVector d = middleOf(curve) - o;
  const QorVector a = axis();
  QorVector r = a.cross(d.cross(a));
  r.normalise();  // the part across the axis; zero stays zero
  surface_->setRadialDir(r);
  giveSketch(curve);
}

// ---- SweepSurface ----

SweepSurface::SweepSurface() : SweptShell("SweepSurface") {
  createHostAs("IQorSweep");
  using S = SweepSurface;
  addObject<S>(this, u"sketch", &S::sketchView);
  addObject<S>(this, u"spine", &S::spineView);
  addObject<S>(this, u"ruler", &S::rulerView);
  features::addVector2D<SweptShell>(this, u"uRange", &SweptShell::firstRange,
                                    &SweptShell::setFirstRange);
  features::addVector2D<SweptShell>(this, u"vRange", &SweptShell::secondRange,
                                    &SweptShell::setSecondRange);
  features::addDouble<S>(this, u"arcProfileRadius", &S::arcProfileRadius, &S::setArcProfileRadius,
                         0.0, kLargest);
  if (surfaceView_) surfaceView_->setRanges(kUnitWindow, kUnitWindow);
  logLifetime("Created");
}

SweepSurface::~SweepSurface() {
  retire("IQorSweep", surface_.get());
}

void SweepSurface::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("SweepSurface", out);
    walkAddInterface("surfacing::ISweepSurface", out);
    SurfaceFeature::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "SweepSurface"))
    *out = this;
  else if (qorNameIs(name, "surfacing::ISweepSurface"))
    *out = static_cast<ISweepSurface*>(this);
  else
    SurfaceFeature::queryInterface(name, out, reserved);
}

void SweepSurface::bindSweep(::IQorFeature* host) {
  surface_ = qorQuery<::IQorSweep>(host, "IQorSweep");
  bindViews(host);
}

void SweepSurface::connect(::IQorFeature* host) {
  reattach(host);
  bindSweep(host);
}

void SweepSurface::setHost(::IQorSweep* host) {
  IPtr<::IQorSweep> held(host);  // the host may come at count 0
  auto* feature = qorQuery<::IQorFeature>(host, "IQorFeature");
  if (feature != Feature::host()) reattach(feature);
  bindSweep(feature);
}

void SweepSurface::transform(const QorMatrix& matrix) {
  moveHost(matrix);
}

DataObject* SweepSurface::isoCurveU(double t) {
  requireHost();
  return isoObject(surfaceView_, 0, t);
}

DataObject* SweepSurface::isoCurveV(double t) {
  requireHost();
  return isoObject(surfaceView_, 1, t);
}

DataObject* SweepSurface::sketchView() const {
  requireHost();
  ::IQorCurve* held = swept_->sketch();
  if (!held) return nullptr;
  QorMatrix frame;
  swept_->frame(frame);
  sketchObject_ = worldCurve(held, frame);
  return sketchObject_.get();
}

DataObject* SweepSurface::spineView() const {
  requireHost();
  spineObject_ = convertedCopy(surface_->spine(), nullptr);
  return spineObject_.get();
}

DataObject* SweepSurface::rulerView() const {
  requireHost();
  rulerObject_ = convertedCopy(surface_->ruler(), nullptr);
  return rulerObject_.get();
}

double SweepSurface::arcProfileRadius() const {
  requireHost();
  auto* composite = qorQuery<::IQorCompositeCurve>(swept_->sketch(), "IQorCompositeCurve");
  if (!composite || composite->numCurves() != 1) return 0.0;
  auto* arc = qorQuery<::IQorArc>(composite->curve(0), "IQorArc");
  return arc ? arc->radius() : 0.0;
}

void SweepSurface::setArcProfileRadius(double value) {
  requireHost();
  surface_->setArcProfileRadius(value);
}

bool SweepSurface::write(IQorDataModelWriter* writer) {
  writer->beginObject(this, 2);
  auto* file = qorQuery<QorFileWrite>(writer, "QorFileWrite");
  auto* persistable = qorQuery<IQorPersistable>(Feature::host(), "IQorPersistable");
  if (file && persistable) persistable->write(file);
  DataObject::write(writer);
  writer->endObject();
  return writer->good();
}

bool SweepSurface::read(IQorDataModelReader* reader) {
  int32_t version = 0;
  reader->beginObject(this, &version);
  auto* file = qorQuery<QorFileRead>(reader, "QorFileRead");
  auto* persistable = qorQuery<IQorPersistable>(Feature::host(), "IQorPersistable");
  if (file && persistable) persistable->read(file);
  if (version >= 2) DataObject::read(reader);
  reader->endObject();
  bindSweep(Feature::host());
  return true;
}

}  // namespace surfacing
