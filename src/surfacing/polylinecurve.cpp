#include "surfacing/polylinecurve.h"

#include "core/listing.h"
#include "datamodel/arrayproperties.h"
#include "hostapi/iqorpersistable.h"
#include "persistence/iqordatamodel.h"
#include "persistence/qorfile.h"

namespace surfacing {

namespace {
constexpr const char* kClass = "PolylineCurve";

int32_t pointCount(::IQorPolyLine* host) {
  return host ? host->numPoints() : 0;
}

void requireIndex(int32_t index, int32_t size, const char* text) {
  if (index < 0 || index >= size) fail(kClass, text);
}
}  // namespace

// ---- the views ----

PointsArray::PointsArray(::IQorPolyLineV2* host) : host_(host) {
  fixedSize_ = true;
}

int32_t PointsArray::size() {
  return pointCount(host_.get());
}

bool PointsArray::next() {
  return ++cursor_ <= size();
}

QorVector& PointsArray::current(QorVector& out) {
  out = QorVector();
  return host_ ? host_->point(cursor_, out) : out;
}

QorVector& PointsArray::at(QorVector& out, int32_t index) {
  requireIndex(index, size(), "point index is out of range");
  return host_->point(index + 1, out);
}

void PointsArray::set(int32_t index, const QorVector& value) {
  requireIndex(index, size(), "point index is out of range");
  host_->setPoint(index + 1, value);
}

void PointsArray::append(const QorVector&) {
  fail(kClass, "Cannot append to points. Call initialize() to change number of points or knots");
}

Vector3DIter* PointsArray::newIterator() {
  return new PointViewIter<PointsArray>(this, "Vector3DIter");
}

PolyKnotsArray::PolyKnotsArray(::IQorPolyLineV2* host) : host_(host) {
  fixedSize_ = true;
}

int32_t PolyKnotsArray::size() {
  return pointCount(host_.get());
}

bool PolyKnotsArray::next() {
  return ++cursor_ <= size();
}

double PolyKnotsArray::current() {
  return host_ ? host_->knot(cursor_) : 0.0;
}

double PolyKnotsArray::at(int32_t index) {
  requireIndex(index, size(), "knot index is out of range");
  return host_->knot(index + 1);
}

void PolyKnotsArray::set(int32_t index, double value) {
  requireIndex(index, size(), "knot index is out of range");
  host_->setKnot(index + 1, value);
}

DoubleIter* PolyKnotsArray::newIterator() {
  return new DoubleViewIter<PolyKnotsArray>(this, "DoubleIter");
}

// ---- PolylineCurve ----

PolylineCurve::PolylineCurve() {
  pointArray_ = new PointsArray(nullptr);
  knotArray_ = new PolyKnotsArray(nullptr);
  pointArray_->addRef();
  knotArray_->addRef();
  void* out = nullptr;
  getService("IQorPolyLine", &out);
  setHost(static_cast<::IQorPolyLine*>(out));
  using C = PolylineCurve;
  using features::detail::addHeld;
  addHeld(this, new DoubleArrayProperty(QorString(u"knots"), knotArray_, false, true));
  addHeld(this, new Vector3DArrayProperty(QorString(u"points"), pointArray_, false, true));
  features::addVector2D(this, u"range", &C::rangeValue, &C::setRangeValue);
  features::addBool(this, u"isDegenerate", &C::isDegenerateValue);
  features::addBool(this, u"isClosed", &C::isClosedValue);
  addBoundingBox(this, &C::boundingBoxValue);
  setRangeValue(Vector2D(0.0, 2147483647.0));
  logLifetime(this, "Created");
}

PolylineCurve::~PolylineCurve() {
  logLifetime(this, "Destroyed");
  // A script may still hold a view: it keeps the host alive and goes on reading it.
  pointArray_->release();
  knotArray_->release();
  curveView_ = nullptr;
  polyline_.reset();
}

void PolylineCurve::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("PolylineCurve", out);
    walkAddInterface("surfacing::IPolylineCurve", out);
    walkAddInterface("surfacing::ICurveShell", out);
    DataObject::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "PolylineCurve"))
    *out = this;
  else if (qorNameIs(name, "surfacing::IPolylineCurve"))
    *out = static_cast<IPolylineCurve*>(this);
  else if (qorNameIs(name, "surfacing::ICurveShell"))
    *out = static_cast<ICurveShell*>(this);
  else
    DataObject::queryInterface(name, out, reserved);
}

QorID PolylineCurve::classIdentifier() {
  return QorID(0xC14E0163, 0x752D, 0x4EBA, {0x9A, 0xD9, 0xD5, 0xFB, 0xFA, 0x5F, 0x6C, 0xA9});
}

void PolylineCurve::setHost(::IQorPolyLine* host) {
  polyline_ = host;
  auto* v2 = qorQuery<::IQorPolyLineV2>(host, "IQorPolyLineV2");
  pointArray_->bind(v2);
  knotArray_->bind(v2);
  curveView_ = qorQuery<::IQorCurve>(host, "IQorCurve");
}

::IQorCurve* PolylineCurve::hostCurve() {
  return curveView_;
}

void PolylineCurve::initialize(int32_t numPoints) {
  if (numPoints < 0) fail(kClass, "numpPoints must be a positive integer.");
  if (!polyline_) return;
  IterStack<QorVector> points(numPoints);
  points.setCount(numPoints);  // zero vectors: a new stack's slots are zero
  polyline_->setPoints(points);
}

// One replacement of points and knots: the same final state as giving the host each index
// in turn, without reading and writing both stacks once per point.
void PolylineCurve::initialize(Vector3DArray* points, DoubleArray* knots) {
  const int32_t count = points ? points->size() : 0;
  if (count < 1) fail(kClass, "Points must contain at least one point.");
  if (!knots || knots->size() != count)
    fail(kClass, "Number of knots must equal number of points.");
  if (!polyline_) return;
  IterStack<QorVector> pointStack(count);
  IterStack<double> knotStack(count);
  QorVector p;
  for (int32_t i = 0; i < count; ++i) {
    pointStack.push(points->at(p, i));
    knotStack.push(knots->at(i));
  }
  polyline_->setPointsAndKnots(pointStack, knotStack);
}

QorVector PolylineCurve::evaluatePoint(double t) {
  QorVector out;
  if (!curveView_) return out;
  checkCurveRange(curveView_, t, kClass);
  curveView_->evaluatePoint(out, t);
  return out;
}

QorVector PolylineCurve::evaluateTangent(double t) {
  if (!curveView_) return QorVector();
  checkCurveRange(curveView_, t, kClass);
  QorVector d[2];
  curveView_->evaluate(t, 1, d);
  return d[1];
}

QorVector PolylineCurve::evaluateCurvature(double t) {
  checkCurveRange(curveView_, t, kClass);
  return QorVector();
}

void PolylineCurve::transform(const QorMatrix& matrix) {
  if (curveView_) curveView_->transform(matrix);
}

void PolylineCurve::prepare() {
  if (curveView_) curveView_->prepare();
}

bool PolylineCurve::write(IQorDataModelWriter* writer) {
  writer->beginObject(this, 2);
  auto* file = qorQuery<QorFileWrite>(writer, "QorFileWrite");
  auto* persistable = qorQuery<IQorPersistable>(polyline_.get(), "IQorPersistable");
  if (file && persistable) persistable->write(file);
  DataObject::write(writer);
  writer->endObject();
  return true;
}

bool PolylineCurve::read(IQorDataModelReader* reader) {
  int32_t version = 0;
  reader->beginObject(this, &version);
  auto* file = qorQuery<QorFileRead>(reader, "QorFileRead");
  auto* persistable = qorQuery<IQorPersistable>(polyline_.get(), "IQorPersistable");
  if (file && persistable) persistable->read(file);
  if (version >= 2) DataObject::read(reader);
  reader->endObject();
  holdView<DoubleArrayProperty>(this, "knots", knotArray_);
  holdView<Vector3DArrayProperty>(this, "points", pointArray_);
  return true;
}

// ---- routed properties ----

Vector2D PolylineCurve::rangeValue() const {
  return curveView_ ? Vector2D(curveView_->range(0), curveView_->range(1)) : Vector2D(0.0, 0.0);
}

void PolylineCurve::setRangeValue(const Vector2D& v) {
  if (curveView_) curveView_->setRange(v.x, v.y);
}

bool PolylineCurve::isDegenerateValue() const {
  return curveView_ && curveView_->isDegenerate();
}

bool PolylineCurve::isClosedValue() const {
  return curveView_ && curveView_->isClosed();
}

QorBounds PolylineCurve::boundingBoxValue() const {
  return boundsOf(polyline_.get());
}

}  // namespace surfacing
