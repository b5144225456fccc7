#include "surfacing/compositecurve.h"

#include "core/listing.h"
#include "features/arccurve.h"
#include "features/linefeature.h"
#include "hostapi/iqorpersistable.h"
#include "persistence/iqordatamodel.h"
#include "persistence/qorfile.h"
#include "surfacing/curveconverter.h"
#include "surfacing/nurbcurve.h"

namespace surfacing {

namespace {
constexpr const char* kClass = "COMPOSITECURVE";
constexpr const char* kNoEntity = "CompositeCurve: can not get an arc entity";
}  // namespace

int64_t compositeSize(::IQorCompositeCurve* composite) {
  const int32_t count = composite ? composite->numCurves() : 0;
  int64_t size = 0;
  for (int32_t i = 0; i < count; ++i) {
    auto* nurb = qorQuery<::IQorNurbCurve>(composite->curve(i), "IQorNurbCurve");
    if (!nurb) return 80;
    size += int64_t{16} * nurb->numControlPoints();
  }
  return size;
}

CompositeCurve::CompositeCurve() {
  void* out = nullptr;
  getService("IQorCompositeCurve", &out);
  setHost(static_cast<::IQorCompositeCurve*>(out));
  using C = CompositeCurve;
  features::addVector2D(this, u"range", &C::rangeValue, &C::setRangeValue);
  features::addBool(this, u"isDegenerate", &C::isDegenerateValue);
  features::addInt(this, u"numCurves", &C::numCurvesValue);
  features::addBool(this, u"isClosed", &C::isClosedValue);
  addBoundingBox(this, &C::boundingBoxValue);
  setRangeValue(Vector2D(0.0, 1.0));
  logLifetime(this, "Created");
}

CompositeCurve::~CompositeCurve() {
  logLifetime(this, "Destroyed");
  curveView_ = nullptr;
  composite_.reset();
}

void CompositeCurve::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("CompositeCurve", out);
    walkAddInterface("surfacing::ICompositeCurve", out);
    walkAddInterface("surfacing::ICurveShell", out);
    DataObject::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "CompositeCurve"))
    *out = this;
  else if (qorNameIs(name, "surfacing::ICompositeCurve"))
    *out = static_cast<ICompositeCurve*>(this);
  else if (qorNameIs(name, "surfacing::ICurveShell"))
    *out = static_cast<ICurveShell*>(this);
  else
    DataObject::queryInterface(name, out, reserved);
}

QorID CompositeCurve::classIdentifier() {
  return QorID(0xAE428659, 0x426D, 0x4975, {0xA6, 0x5F, 0xD6, 0x37, 0x2A, 0x2E, 0x9F, 0x26});
}

int64_t CompositeCurve::memorySize() {
  return compositeSize(composite_.get());
}

IQorUndoInfo* CompositeCurve::createUndoInfo() {
  return new CompositeCurveUndoInfo(this);
}

void CompositeCurve::setHost(::IQorCompositeCurve* host) {
  composite_ = host;
  curveView_ = qorQuery<::IQorCurve>(host, "IQorCurve");
}

::IQorCurve* CompositeCurve::hostCurve() {
  return curveView_;
}

void CompositeCurve::requireHost() const {
  if (!composite_) fail(kClass, kNoEntity);
}

::IQorCurve* CompositeCurve::memberOf(IQorUnknown* object) {
  if (auto* arc = qorQuery<features::ArcCurve>(object, "ArcCurve")) return arc->curve();
  if (auto* line = qorQuery<features::LineFeature>(object, "LineFeature")) return line->curve();
  if (auto* nurb = qorQuery<NurbCurve>(object, "NurbCurve")) return nurb->hostCurve();
  return nullptr;
}

QorVector CompositeCurve::evaluatePoint(double t) {
  requireHost();
  checkCurveRange(curveView_, t, kClass);
  QorVector out;
  if (curveView_) curveView_->evaluatePoint(out, t);
  return out;
}

QorVector CompositeCurve::evaluateTangent(double t) {
  requireHost();
  checkCurveRange(curveView_, t, kClass);
  QorVector d[2];
  if (curveView_) curveView_->evaluate(t, 1, d);
  return d[1];
}

QorVector CompositeCurve::evaluateCurvature(double t) {
  requireHost();
  checkCurveRange(curveView_, t, kClass);
  QorVector out;
  SPtr<IQorCurveUtil> util("IQorCurveUtil");
  if (!util || !curveView_) return out;
  QorVector tangent;
  double kappa = 0.0;
  util->curvature(curveView_, t, tangent, kappa, out);
  return out;
}

void CompositeCurve::transform(const QorMatrix& matrix) {
  requireHost();
  if (curveView_) curveView_->transform(matrix);
  fireUpdated(this);
}

int32_t CompositeCurve::numCurves() {
  requireHost();
  return composite_->numCurves();
}

void CompositeCurve::addCurve(IQorUnknown* object) {
  requireHost();
  if (!qorQuery<DataObject>(object, "DataObject")) fail(kClass, kNoEntity);
  ::IQorCurve* member = memberOf(object);
  if (!member) fail(kClass, kNoEntity);
  IPtr<::IQorCurve> copy = cloneOf(member, "IQorCurve");
  composite_->addCurve(copy.get());
}

void CompositeCurve::prepare() {
  requireHost();
  if (curveView_) curveView_->prepare();
}

DataObject* CompositeCurve::curve(int32_t index) {
  requireHost();
  ::IQorCurve* member = composite_->curve(index);
  if (!member) return nullptr;
  IPtr<::IQorCurve> copy = cloneOf(member, "IQorCurve");
  CurveDataObjectConverter converter;
  return converter.convert(copy.get());
}

void CompositeCurve::setCurve(int32_t index, IQorUnknown* object) {
  requireHost();
  ::IQorCurve* member = memberOf(object);
  if (!member) fail(kClass, "CompositeCurve: the entity is wrong");
  IPtr<::IQorCurve> copy = cloneOf(member, "IQorCurve");
  composite_->setCurve(index, copy.get(), nullptr);
}

// ---- persistence: the host's record, then the DataObject part, inside the record ----

bool CompositeCurve::write(IQorDataModelWriter* writer) {
  writer->beginObject(this, 2);
  auto* file = qorQuery<QorFileWrite>(writer, "QorFileWrite");
  auto* persistable = qorQuery<IQorPersistable>(composite_.get(), "IQorPersistable");
  if (file && persistable) persistable->write(file);
  DataObject::write(writer);
  writer->endObject();
  return true;
}

bool CompositeCurve::read(IQorDataModelReader* reader) {
  int32_t version = 0;
  reader->beginObject(this, &version);
  auto* file = qorQuery<QorFileRead>(reader, "QorFileRead");
  auto* persistable = qorQuery<IQorPersistable>(composite_.get(), "IQorPersistable");
  if (file && persistable) persistable->read(file);
  if (version >= 2) DataObject::read(reader);
  reader->endObject();
  return true;
}

// ---- routed properties ----

Vector2D CompositeCurve::rangeValue() const {
  requireHost();
  return curveView_ ? Vector2D(curveView_->range(0), curveView_->range(1)) : Vector2D(0.0, 0.0);
}

void CompositeCurve::setRangeValue(const Vector2D& v) {
  requireHost();
  if (curveView_) curveView_->setRange(v.x, v.y);
}

bool CompositeCurve::isDegenerateValue() const {
  if (!composite_) fail(kClass, "COMPOSITECURVE: can not get an arc entity");
  return curveView_ && curveView_->isDegenerate();
}

int32_t CompositeCurve::numCurvesValue() const {
  requireHost();
  return composite_->numCurves();
}

bool CompositeCurve::isClosedValue() const {
  requireHost();
  return curveView_ && curveView_->isClosed();
}

QorBounds CompositeCurve::boundingBoxValue() const {
  requireHost();
  return boundsOf(composite_.get());
}

// ---- undo: the record clones its clone on every use, so it can run again ----

CompositeCurveUndoInfo::CompositeCurveUndoInfo(CompositeCurve* curve) : curveObject_(curve) {
  beforeHost_ = cloneOf(curve->composite(), "IQorCompositeCurve");
  beforeName_ = curve->nameValue();
}

void CompositeCurveUndoInfo::captureAfter() {
  afterHost_ = cloneOf(curveObject_->composite(), "IQorCompositeCurve");
  afterName_ = curveObject_->nameValue();
}

void CompositeCurveUndoInfo::undo() {
  if (!beforeHost_) return;
  curveObject_->setHost(cloneOf(beforeHost_.get(), "IQorCompositeCurve").get());
  curveObject_->setName(beforeName_);
  fireUpdated(curveObject_.get());
}

void CompositeCurveUndoInfo::redo() {
  if (!afterHost_) return;
  curveObject_->setHost(cloneOf(afterHost_.get(), "IQorCompositeCurve").get());
  curveObject_->setName(afterName_);
  fireUpdated(curveObject_.get());
}

int64_t CompositeCurveUndoInfo::undoSize() {
  return (beforeHost_ ? compositeSize(beforeHost_.get()) : 0) +
         (afterHost_ ? compositeSize(afterHost_.get()) : 0);
}

}  // namespace surfacing
