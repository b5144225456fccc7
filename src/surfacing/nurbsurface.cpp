#include "surfacing/nurbsurface.h"

#include <vector>

#include "core/listing.h"
#include "datamodel/arrayproperties.h"
#include "surfacing/curveconverter.h"
#include "surfacing/curveshell.h"
#include "surfacing/nurbcurve.h"

namespace surfacing {

namespace {
constexpr const char* kClass = "NurbSurface";

features::Feature* makeBare() {
  return new NurbSurface(NurbSurface::NoHost{});
}

const bool kRegistered =
    features::registerShell("IQorNurbSurface", features::classIdOf("IQorNurbSurface"), &makeBare);

// A negative index counts from the end; the result must lie in 0 .. count - 1.
int32_t fromEnd(int32_t index, int32_t count, const char* text) {
  if (index < 0) index += count;
  if (index < 0 || index >= count) fail(kClass, text);
  return index;
}

int32_t rowsOf(::IQorNurbSurface* host) {
  return host ? host->numControlPointsInU() : 0;
}

int32_t columnsOf(::IQorNurbSurface* host) {
  return host ? host->numControlPointsInV() : 0;
}

// The clamped uniform knots of n poles of degree d.
std::vector<double> knotsOf(int32_t n, int32_t d) {
  std::vector<double> knots(static_cast<size_t>(n) + d + 1);
  clampedUniformKnots(n, d, knots.data());
  return knots;
}
}  // namespace

// ---- the views ----

int32_t CtrlPointsArray2D::rowCount() {
  return rowsOf(host_.get());
}

int32_t CtrlPointsArray2D::columnCount() {
  return columnsOf(host_.get());
}

QorVector& CtrlPointsArray2D::at(QorVector& out, int32_t u, int32_t v) {
  u = fromEnd(u, rowCount(), "ctrlPoint u is out of range");
  v = fromEnd(v, columnCount(), "ctrlPoint v is out of range");
  return host_->controlPoint(u, v, out);
}

void CtrlPointsArray2D::set(int32_t u, int32_t v, const QorVector& value) {
  u = fromEnd(u, rowCount(), "ctrlPoint u is out of range");
  v = fromEnd(v, columnCount(), "ctrlPoint v is out of range");
  host_->setControlPoint(u, v, value, host_->weight(u, v));
}

int32_t WeightsArray2D::rowCount() {
  return rowsOf(host_.get());
}

int32_t WeightsArray2D::columnCount() {
  return columnsOf(host_.get());
}

double WeightsArray2D::at(int32_t u, int32_t v) {
  u = fromEnd(u, rowCount(), "weight u is out of range");
  v = fromEnd(v, columnCount(), "weight v is out of range");
  return host_->weight(u, v);
}

void WeightsArray2D::set(int32_t u, int32_t v, double value) {
  if (value == 0.0) fail(kClass, "Cannot set weight to 0.0. Invalid weight.");
  u = fromEnd(u, rowCount(), "weight u is out of range");
  v = fromEnd(v, columnCount(), "weight v is out of range");
  host_->setWeight(u, v, value);
}

KnotsArraySurface::KnotsArraySurface(::IQorNurbSurface* host, bool directionU)
    : host_(host), directionU_(directionU ? 1 : 0) {
  cursor_ = -1;
  fixedSize_ = true;
}

int32_t KnotsArraySurface::size() {
  if (!host_) return 0;
  return directionU_ ? host_->numKnotsU() : host_->numKnotsV();
}

bool KnotsArraySurface::next() {
  return ++cursor_ < size();
}

double KnotsArraySurface::current() {
  if (!host_) return 0.0;
  return directionU_ ? host_->knotU(cursor_) : host_->knotV(cursor_);
}

double KnotsArraySurface::at(int32_t index) {
  if (index < 0 || index >= size())
    fail(kClass, directionU_ ? "u knot index is out of range" : "v knot index is out of range");
  return directionU_ ? host_->knotU(index) : host_->knotV(index);
}

void KnotsArraySurface::set(int32_t index, double value) {
  index = fromEnd(index, size(),
                  directionU_ ? "knot u index is out of range" : "knot v index is out of range");
  if (directionU_)
    host_->setKnotU(index, value);
  else
    host_->setKnotV(index, value);
}

DoubleIter* KnotsArraySurface::newIterator() {
  return new DoubleViewIter<KnotsArraySurface>(this, "KnotsSurfaceIter");
}

// ---- NurbSurface ----

void NurbSurface::makeViews() {
  controlPointArray_ = new CtrlPointsArray2D(nullptr);
  knotArrayU_ = new KnotsArraySurface(nullptr, true);
  knotArrayV_ = new KnotsArraySurface(nullptr, false);
  weightArray_ = new WeightsArray2D(nullptr);
  controlPointArray_->addRef();
  knotArrayU_->addRef();
  knotArrayV_->addRef();
  weightArray_->addRef();
  using S = NurbSurface;
  using features::detail::addHeld;
  features::addInt(this, u"degreeInU", &S::degreeInUValue);
  features::addInt(this, u"degreeInV", &S::degreeInVValue);
  features::addBool(this, u"isClosedInU", &S::isClosedInUValue);
  features::addBool(this, u"isClosedInV", &S::isClosedInVValue);
  features::addVector2D(this, u"uRange", &S::uRangeValue, &S::setURangeValue);
  features::addVector2D(this, u"vRange", &S::vRangeValue, &S::setVRangeValue);
  addHeld(this, new Vector3DArray2DProperty(QorString(u"controlPoints"), controlPointArray_, false,
                                            true));
  addHeld(this, new DoubleArrayProperty(QorString(u"knotsU"), knotArrayU_, false, true));
  addHeld(this, new DoubleArrayProperty(QorString(u"knotsV"), knotArrayV_, false, true));
  addHeld(this, new DoubleArray2DProperty(QorString(u"weights"), weightArray_, false, true));
  auto* rational = new RoutedPropertyTemplate<int32_t, IntProperty, S>(
      QorString(u"isRational"), true, new QorRetMsgRtr_const<S, int32_t>(this, &S::isRationalValue),
      nullptr);
  rational->setBounds(0, 1);
  addHeld(this, rational);
}

NurbSurface::NurbSurface() {
  (void)kRegistered;
  makeViews();
  createHost();
  if (surface_) {
    surface_->initialize(false, 3, 3, 4, 4);
    const double knots[8] = {0, 0, 0, 0, 1, 1, 1, 1};
    surface_->setKnotsU(knots);
    surface_->setKnotsV(knots);
    for (int32_t v = 0; v < 4; ++v)
      for (int32_t u = 0; u < 4; ++u) surface_->setControlPoint(u, v, QorVector(), 1.0);
  }
  logLifetime("Created");
}

NurbSurface::NurbSurface(NoHost) {
  makeViews();
  logLifetime("Created");
}

NurbSurface::~NurbSurface() {
  retire("IQorNurbSurface", surface_.get());
  // A script may still hold a view: it keeps the host alive and goes on reading it.
  surfaceView_ = nullptr;
  surface_.reset();
  controlPointArray_->release();
  knotArrayU_->release();
  knotArrayV_->release();
  weightArray_->release();
}

void NurbSurface::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("NurbSurface", out);
    walkAddInterface("surfacing::INurbSurface", out);
    SurfaceFeature::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "NurbSurface"))
    *out = this;
  else if (qorNameIs(name, "surfacing::INurbSurface"))
    *out = static_cast<INurbSurface*>(this);
  else
    SurfaceFeature::queryInterface(name, out, reserved);
}

void NurbSurface::connect(::IQorFeature* host) {
  reattach(host);
  bindSurface(qorQuery<::IQorNurbSurface>(host, "IQorNurbSurface"));
}

void NurbSurface::createHost() {
  createHostAs("IQorNurbSurface");
}

IQorDataObject* NurbSurface::clone() {
  return makeSurface(surfaceView_);
}

IQorUnknown* NurbSurface::surfaceExtra() {
  return surfaceView_;
}

void NurbSurface::bindSurface(::IQorNurbSurface* host) {
  if (host != surface_.get()) surface_ = host;
  surfaceView_ = qorQuery<::IQorSurface>(host, "IQorSurface");
  controlPointArray_->bind(host);
  knotArrayU_->bind(host);
  knotArrayV_->bind(host);
  weightArray_->bind(host);
}

void NurbSurface::setHost(::IQorNurbSurface* host) {
  IPtr<::IQorNurbSurface> held(host);  // the host may come at count 0
  bindSurface(host);
  auto* feature = qorQuery<::IQorFeature>(host, "IQorFeature");
  if (feature != this->host()) reattach(feature);
}

::IQorSurface* NurbSurface::surface() {
  return surfaceView_;
}

const ::IQorSurface* NurbSurface::surfaceView() const {
  return surfaceView_;
}

void NurbSurface::initialize(int32_t degreeInU, int32_t degreeInV, int32_t numControlPointsInU,
                             int32_t numControlPointsInV) {
  if (numControlPointsInU < 1) fail(kClass, "numControlPointsInU must be a positive integer.");
  if (numControlPointsInV < 1) fail(kClass, "numControlPointsInV must be a positive integer.");
  if (degreeInU < 1) fail(kClass, "degreeInU must be a positive integer.");
  if (degreeInV < 1) fail(kClass, "degreeInV must be a positive integer.");
  if (numControlPointsInU <= degreeInU)
    fail(kClass, "numControlPointsInU must be greater than degreeInU.");
  if (numControlPointsInV <= degreeInV)
    fail(kClass, "numControlPointsInV must be greater than degreeInV.");
  const std::vector<double> knotsU = knotsOf(numControlPointsInU, degreeInU);
  const std::vector<double> knotsV = knotsOf(numControlPointsInV, degreeInV);
  void* out = nullptr;
  getService("IQorNurbSurface", &out);
  IPtr<::IQorNurbSurface> fresh(static_cast<::IQorNurbSurface*>(out));
  if (!fresh) return;
  // The new host carries the shell's name, which attaching it reads back.
  if (auto* feature = qorQuery<::IQorFeature>(fresh.get(), "IQorFeature")) {
    void* value = nullptr;
    getService("IQorStringValue", &value);
    IPtr<IQorStringValue> name(static_cast<IQorStringValue*>(value));
    if (name) {
      name->setValue(nameValue());
      feature->setParameter(QorString(u"Name"),
                            qorQuery<IQorParameter>(name.get(), "IQorParameter"));
    }
  }
  setHost(fresh.get());
  surface_->initialize(false, degreeInU, degreeInV, numControlPointsInU, numControlPointsInV);
  surface_->setKnotsU(knotsU.data());
  surface_->setKnotsV(knotsV.data());
  for (int32_t v = 0; v < numControlPointsInV; ++v)
    for (int32_t u = 0; u < numControlPointsInU; ++u)
      surface_->setControlPoint(u, v, QorVector(), 1.0);
}

void NurbSurface::checkRanges(double u, double v, const char* operation) {
  Vector2D ur(0.0, 0.0), vr(0.0, 0.0);
  surfaceView_->parameterRange(ur, vr);
  if (u < ur.x || u > ur.y) fail(operation, "u parameter is out of the surface range");
  if (v < vr.x || v > vr.y) fail(operation, "v parameter is out of the surface range");
}

QorVector NurbSurface::evaluatePoint(double u, double v) {
  QorVector out;
  if (!surfaceView_) return out;
  checkRanges(u, v, "evaluatePoint");
  surfaceView_->evaluatePoint(out, u, v, nullptr);
  return out;
}

void NurbSurface::evaluateTangent(double u, double v, QorVector& outU, QorVector& outV) {
  if (!surfaceView_) return;
  checkRanges(u, v, "evaluateTangent");
  SurfaceRows rows;
  surfaceView_->evaluate(u, v, 1, rows);
  outU = rows[1][0];
  outV = rows[1][1];
}

void NurbSurface::evaluateCurvature(double u, double v, double& first, double& second) {
  if (!surfaceView_) return;
  checkRanges(u, v, "evaluateCurvature");
  SPtr<IQorSurfaceUtil> util("IQorSurfaceUtil");
  if (!util) return;
  QorVector normal, dMin, dMax;
  double gaussian = 0.0;
  util->curvature(surfaceView_, u, v, normal, dMin, dMax, first, gaussian, second);
}

void NurbSurface::transform(const QorMatrix& matrix) {
  if (::IQorFeature* h = host()) h->transform(matrix);
}

bool NurbSurface::read(IQorDataModelReader* reader) {
  const bool ok = SurfaceFeature::read(reader);
  holdView<Vector3DArray2DProperty>(this, "controlPoints", controlPointArray_);
  holdView<DoubleArrayProperty>(this, "knotsU", knotArrayU_);
  holdView<DoubleArrayProperty>(this, "knotsV", knotArrayV_);
  holdView<DoubleArray2DProperty>(this, "weights", weightArray_);
  return ok;
}

// ---- routed properties ----

int32_t NurbSurface::degreeInUValue() const {
  return surface_ ? surface_->degreeInU() : 0;
}

int32_t NurbSurface::degreeInVValue() const {
  return surface_ ? surface_->degreeInV() : 0;
}

bool NurbSurface::isClosedInUValue() const {
  return surfaceView_ && surfaceView_->isClosedInU();
}

bool NurbSurface::isClosedInVValue() const {
  return surfaceView_ && surfaceView_->isClosedInV();
}

Vector2D NurbSurface::uRangeValue() const {
  Vector2D u(0.0, 0.0), v(0.0, 0.0);
  if (surfaceView_) surfaceView_->ranges(u, v);
  return u;
}

void NurbSurface::setURangeValue(const Vector2D& v) {
  if (surfaceView_) surfaceView_->setURange(v.x, v.y);
}

Vector2D NurbSurface::vRangeValue() const {
  Vector2D u(0.0, 0.0), v(0.0, 0.0);
  if (surfaceView_) surfaceView_->ranges(u, v);
  return v;
}

void NurbSurface::setVRangeValue(const Vector2D& v) {
  if (surfaceView_) surfaceView_->setVRange(v.x, v.y);
}

int32_t NurbSurface::isRationalValue() const {
  return surface_ && surface_->isRational() ? 1 : 0;
}

}  // namespace surfacing
