#include "surfacing/nurbcurve.h"

#include <vector>

#include "core/listing.h"
#include "datamodel/arrayproperties.h"
#include "hostapi/iqorpersistable.h"
#include "persistence/iqordatamodel.h"
#include "persistence/qorfile.h"

namespace surfacing {

namespace {
constexpr const char* kClass = "NurbCurve";
constexpr const char* kRangeClass = "NURB Curve";

void requireIndex(int32_t index, int32_t size, const char* text) {
  if (index < 0 || index >= size) fail(kClass, text);
}

int32_t poleCount(::IQorNurbCurve* host) {
  return host ? host->numControlPoints() : 0;
}
}  // namespace

void clampedUniformKnots(int32_t n, int32_t d, double* out) {
  const double step = 1.0 / (n - d);
  for (int32_t i = 0; i <= d; ++i) out[i] = 0.0;
  for (int32_t i = d + 1; i < n; ++i) out[i] = (i - d) * step;
  for (int32_t i = n; i <= n + d; ++i) out[i] = 1.0;
}

// ---- the views ----

CtrlPointsArray::CtrlPointsArray(::IQorNurbCurve* host) : host_(host) {
  cursor_ = -1;
  fixedSize_ = true;
}

int32_t CtrlPointsArray::size() {
  return poleCount(host_.get());
}

bool CtrlPointsArray::next() {
  return ++cursor_ < size();
}

QorVector& CtrlPointsArray::current(QorVector& out) {
  out = QorVector();
  return host_ ? host_->controlPoint(cursor_, out) : out;
}

QorVector& CtrlPointsArray::at(QorVector& out, int32_t index) {
  requireIndex(index, size(), "ctrlPoint index is out of range");
  return host_->controlPoint(index, out);
}

void CtrlPointsArray::set(int32_t index, const QorVector& value) {
  requireIndex(index, size(), "ctrlPoint index is out of range");
  host_->setControlPoint(index, value, host_->weight(index));
}

Vector3DIter* CtrlPointsArray::newIterator() {
  return new PointViewIter<CtrlPointsArray>(this, "CtrlPointsIter");
}

KnotsArray::KnotsArray(::IQorNurbCurve* host) : host_(host) {
  cursor_ = -1;
  fixedSize_ = true;
}

int32_t KnotsArray::size() {
  return host_ ? host_->numKnots() : 0;
}

bool KnotsArray::next() {
  return ++cursor_ < size();
}

double KnotsArray::current() {
  return host_ ? host_->knot(cursor_) : 0.0;
}

double KnotsArray::at(int32_t index) {
  requireIndex(index, size(), "knot index is out of range");
  return host_->knot(index);
}

void KnotsArray::set(int32_t index, double value) {
  requireIndex(index, size(), "knot index is out of range");
  host_->setKnot(index, value);
}

DoubleIter* KnotsArray::newIterator() {
  return new DoubleViewIter<KnotsArray>(this, "KnotsIter");
}

WeightsArray::WeightsArray(::IQorNurbCurve* host) : host_(host) {
  cursor_ = -1;
  fixedSize_ = true;
}

int32_t WeightsArray::size() {
  return poleCount(host_.get());
}

bool WeightsArray::next() {
  return ++cursor_ < size();
}

double WeightsArray::current() {
  return host_ ? host_->weight(cursor_) : 0.0;
}

double WeightsArray::at(int32_t index) {
  requireIndex(index, size(), "weight index is out of range");
  return host_->weight(index);
}

void WeightsArray::set(int32_t index, double value) {
  if (value == 0.0) fail(kClass, "Cannot set weight to 0.0. Invalid weight.");
  requireIndex(index, size(), "weight index is out of range");
  host_->setWeight(index, value);
}

DoubleIter* WeightsArray::newIterator() {
  return new DoubleViewIter<WeightsArray>(this, "WeightsIter");
}

// ---- NurbCurve ----

NurbCurve::NurbCurve(Bare) {
  controlPointArray_ = new CtrlPointsArray(nullptr);
  knotArray_ = new KnotsArray(nullptr);
  weightArray_ = new WeightsArray(nullptr);
  controlPointArray_->addRef();
  knotArray_->addRef();
  weightArray_->addRef();
  using C = NurbCurve;
  features::addInt(this, u"degree", &C::degreeValue);
  features::detail::addHeld(this,
                            new DoubleArrayProperty(QorString(u"knots"), knotArray_, false, true));
  features::detail::addHeld(
      this, new DoubleArrayProperty(QorString(u"weights"), weightArray_, false, true));
  features::detail::addHeld(this, new Vector3DArrayProperty(QorString(u"controlPoints"),
                                                            controlPointArray_, false, true));
  features::addVector2D(this, u"range", &C::rangeValue, &C::setRangeValue);
  features::addBool(this, u"isRational", &C::isRationalValue);
  features::addBool(this, u"isDegenerate", &C::isDegenerateValue);
  features::addBool(this, u"isClosed", &C::isClosedValue);
  addBoundingBox(this, &C::boundingBoxValue);
}

NurbCurve::NurbCurve() : NurbCurve(Bare{}) {
  void* out = nullptr;
  getService("IQorNurbCurve", &out);
  setHost(static_cast<::IQorNurbCurve*>(out));
  if (curve_) {
    curve_->initialize(false, 3, 4);
    const double knots[8] = {0, 0, 0, 0, 1, 1, 1, 1};
    curve_->setKnots(knots);
    for (int32_t i = 0; i < 4; ++i) curve_->setControlPoint(i, QorVector(), 1.0);
  }
  setRangeValue(Vector2D(0.0, 1.0));
  logLifetime(this, "Created");
}

NurbCurve::~NurbCurve() {
  logLifetime(this, "Destroyed");
  // A script may still hold a view: it keeps the host alive and goes on reading it.
  controlPointArray_->release();
  knotArray_->release();
  weightArray_->release();
  curveView_ = nullptr;
  curve_.reset();
}

void NurbCurve::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("NurbCurve", out);
    walkAddInterface("surfacing::INurbCurve", out);
    walkAddInterface("surfacing::ICurveShell", out);
    DataObject::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "NurbCurve"))
    *out = this;
  else if (qorNameIs(name, "surfacing::INurbCurve"))
    *out = static_cast<INurbCurve*>(this);
  else if (qorNameIs(name, "surfacing::ICurveShell"))
    *out = static_cast<ICurveShell*>(this);
  else
    DataObject::queryInterface(name, out, reserved);
}

QorID NurbCurve::classIdentifier() {
  return QorID(0xD636EF89, 0xBEAD, 0x4D93, {0xBA, 0xEC, 0x0F, 0x86, 0x4B, 0x82, 0xD5, 0x35});
}

int64_t NurbCurve::memorySize() {
  return int64_t{16} * poleCount(curve_.get());
}

IQorDataObject* NurbCurve::clone() {
  auto* copy = new NurbCurve(Bare{});
  copy->setHost(cloneOf(curve_.get(), "IQorNurbCurve").get());
  copy->DataObject::setName(nameValue());
  return copy;
}

IQorUndoInfo* NurbCurve::createUndoInfo() {
  return new NurbCurveUndoInfo(this);
}

void NurbCurve::bindViews() {
  controlPointArray_->bind(curve_.get());
  knotArray_->bind(curve_.get());
  weightArray_->bind(curve_.get());
  curveView_ = qorQuery<::IQorCurve>(curve_.get(), "IQorCurve");
}

void NurbCurve::setHost(::IQorNurbCurve* host) {
  curve_ = host;
  bindViews();
}

::IQorCurve* NurbCurve::hostCurve() {
  return curveView_;
}

void NurbCurve::initialize(int32_t degree, int32_t numControlPoints) {
  if (numControlPoints < 0) fail(kClass, "numControlPoints must be a positive integer.");
  if (degree < 1) fail(kClass, "degree must be a positive integer.");
  if (numControlPoints <= degree) fail(kClass, "numControlPoints must be greater than degree.");
  if (!curve_) return;
  curve_->initialize(true, degree, numControlPoints);
  std::vector<double> knots(static_cast<size_t>(numControlPoints) + degree + 1);
  clampedUniformKnots(numControlPoints, degree, knots.data());
  curve_->setKnots(knots.data());
  for (int32_t i = 0; i < numControlPoints; ++i) curve_->setControlPoint(i, QorVector(), 1.0);
}

QorVector NurbCurve::evaluatePoint(double t) {
  QorVector out;
  if (!curveView_) return out;
  checkCurveRange(curveView_, t, kRangeClass);
  curveView_->evaluatePoint(out, t);
  return out;
}

QorVector NurbCurve::evaluateTangent(double t) {
  if (!curveView_) return QorVector();
  checkCurveRange(curveView_, t, kRangeClass);
  QorVector d[2];
  curveView_->evaluate(t, 1, d);
  return d[1];
}

QorVector NurbCurve::evaluateCurvature(double t) {
  QorVector out;
  if (!curveView_) return out;
  checkCurveRange(curveView_, t, kRangeClass);
  SPtr<IQorCurveUtil> util("IQorCurveUtil");
  if (!util) return out;
  QorVector tangent;
  double kappa = 0.0;
  util->curvature(curveView_, t, tangent, kappa, out);
  return out;
}

void NurbCurve::transform(const QorMatrix& matrix) {
  if (auto* feature = qorQuery<::IQorFeature>(curve_.get(), "IQorFeature"))
    feature->transform(matrix);
  fireUpdated(this);
}

void NurbCurve::prepare() {
  if (curveView_) curveView_->prepare();
}

void NurbCurve::copyFrom(::IQorNurbCurve* source) {
  bindViews();
  if (!curve_ || !source) return;
  // Copying from the own host reads a copy: initialize would clear what it reads.
  IPtr<::IQorNurbCurve> own;
  if (source == curve_.get()) {
    own = cloneOf(source, "IQorNurbCurve");
    source = own.get();
    if (!source) return;
  }
  const int32_t count = source->numControlPoints();
  curve_->initialize(true, source->degree(), count);
  if (const double* knots = source->knots()) curve_->setKnots(knots);
  QorVector p;
  for (int32_t i = 0; i < count; ++i)
    curve_->setControlPoint(i, source->controlPoint(i, p), source->weight(i));
}

// ---- persistence ----

bool NurbCurve::write(IQorDataModelWriter* writer) {
  writer->beginObject(this, 2);
  auto* file = qorQuery<QorFileWrite>(writer, "QorFileWrite");
  auto* persistable = qorQuery<IQorPersistable>(curve_.get(), "IQorPersistable");
  if (file && persistable) persistable->write(file);
  DataObject::write(writer);
  writer->endObject();
  return true;
}

bool NurbCurve::read(IQorDataModelReader* reader) {
  int32_t version = 0;
  reader->beginObject(this, &version);
  auto* file = qorQuery<QorFileRead>(reader, "QorFileRead");
  auto* persistable = qorQuery<IQorPersistable>(curve_.get(), "IQorPersistable");
  if (file && persistable) persistable->read(file);
  if (version >= 2) DataObject::read(reader);
  reader->endObject();
  bindViews();
  holdView<DoubleArrayProperty>(this, "knots", knotArray_);
  holdView<DoubleArrayProperty>(this, "weights", weightArray_);
  holdView<Vector3DArrayProperty>(this, "controlPoints", controlPointArray_);
  return true;
}

// ---- routed properties ----

int32_t NurbCurve::degreeValue() const {
  return curve_ ? curve_->degree() : 0;
}

Vector2D NurbCurve::rangeValue() const {
  return curveView_ ? Vector2D(curveView_->range(0), curveView_->range(1)) : Vector2D(0.0, 0.0);
}

void NurbCurve::setRangeValue(const Vector2D& v) {
  if (curveView_) curveView_->setRange(v.x, v.y);
}

bool NurbCurve::isRationalValue() const {
  return curve_ && curve_->isRational();
}

bool NurbCurve::isDegenerateValue() const {
  return curveView_ && curveView_->isDegenerate();
}

bool NurbCurve::isClosedValue() const {
  return curveView_ && curveView_->isClosed();
}

QorBounds NurbCurve::boundingBoxValue() const {
  return boundsOf(curve_.get());
}

// ---- undo ----

NurbCurveUndoInfo::NurbCurveUndoInfo(NurbCurve* curve) : curveObject_(curve) {
  beforeHost_ = cloneOf(curve->nurbCurve(), "IQorNurbCurve");
  beforeName_ = curve->nameValue();
}

NurbCurveUndoInfo::~NurbCurveUndoInfo() = default;

void NurbCurveUndoInfo::captureAfter() {
  afterHost_ = cloneOf(curveObject_->nurbCurve(), "IQorNurbCurve");
  afterName_ = curveObject_->nameValue();
}

void NurbCurveUndoInfo::undo() {
  curveObject_->copyFrom(beforeHost_.get());
  curveObject_->setName(beforeName_);
  fireUpdated(curveObject_.get());
}

void NurbCurveUndoInfo::redo() {
  curveObject_->copyFrom(afterHost_.get());
  curveObject_->setName(afterName_);
  fireUpdated(curveObject_.get());
}

int64_t NurbCurveUndoInfo::undoSize() {
  return int64_t{16} * (poleCount(beforeHost_.get()) + poleCount(afterHost_.get()));
}

}  // namespace surfacing
