#include "features/arccurve.h"

#include "core/listing.h"

namespace features {

namespace {
constexpr const char* kLabel = "ArcCurve";

Feature* makeBare() {
  return new ArcCurve(ArcCurve::NoHost{});
}

const bool kRegistered = registerShell("IQorArc", classIdOf("IQorArc"), &makeBare);
}  // namespace

ArcCurve::ArcCurve() {
  (void)kRegistered;
  createHostAs("IQorArc");
  setXAxisValue(QorVector(1.0, 0.0, 0.0));
  setStartAngleValue(0.0);
  setEndAngleValue(kTwoPi);
  setRangeValue(Vector2D(0.0, 1.0));
  logLifetime("Created");
}

ArcCurve::ArcCurve(NoHost) {
  logLifetime("Created");
}

ArcCurve::~ArcCurve() {
  retire("IQorArc", arc_.get());
  arc_.reset();
  curve_ = nullptr;
}

void ArcCurve::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("ArcCurve", out);
    walkAddInterface("features::IQorArc", out);
    Feature::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "ArcCurve"))
    *out = this;
  else if (qorNameIs(name, "features::IQorArc"))
    *out = static_cast<IQorArc*>(this);
  else
    Feature::queryInterface(name, out, reserved);
}

void ArcCurve::connect(::IQorFeature* host) {
  Feature::connect(host);
  arc_ = qorQuery<::IQorArc>(host, "IQorArc");
  curve_ = qorQuery<::IQorCurve>(arc_.get(), "IQorCurve");
  addVector(this, u"center", &ArcCurve::centerValue, &ArcCurve::setCenterValue);
  addVector(this, u"normal", &ArcCurve::normalValue, &ArcCurve::setNormalValue);
  addDouble(this, u"radius", &ArcCurve::radiusValue, &ArcCurve::setRadiusValue, 0.0, kEmptyBound);
  addVector(this, u"xAxis", &ArcCurve::radialDirValue, &ArcCurve::setXAxisValue);
  addVector(this, u"radialDir", &ArcCurve::radialDirValue);
  addVector(this, u"yAxis", &ArcCurve::yAxisValue);
  addDouble(this, u"startAngle", &ArcCurve::startAngleValue, &ArcCurve::setStartAngleValue, -kTwoPi,
            kTwoPi);
  addDouble(this, u"endAngle", &ArcCurve::endAngleValue, &ArcCurve::setEndAngleValue, -kTwoPi,
            kTwoPi);
  addVector(this, u"startPt", &ArcCurve::startPtValue, &ArcCurve::setStartPtValue);
  addVector(this, u"endPt", &ArcCurve::endPtValue, &ArcCurve::setEndPtValue);
  addBool(this, u"isDegenerate", &ArcCurve::isDegenerateValue);
  addBool(this, u"isClosed", &ArcCurve::isClosedValue);
  addVector2D(this, u"range", &ArcCurve::rangeValue, &ArcCurve::setRangeValue);
}

IQorDataObject* ArcCurve::clone() {
  auto* copy = new ArcCurve(NoHost{});
  ::IQorFeature* h = host() ? host()->clone() : nullptr;
  copy->connect(h);
  return copy;
}

void ArcCurve::createHost() {
  createHostAs("IQorArc");
}

::IQorCurve* ArcCurve::curve() const {
  return curve_;
}

// ---- initialize ----

void ArcCurve::initialize(const QorVector& center, double radius, const QorVector& normal,
                          const QorVector& radDir) {
  if (!arc_) return;
  if (!isNormalized(normal, 1e-6)) fail(kLabel, "initialize: normal must be a normalized vector.");
  if (!isNormalized(radDir, 1e-6)) fail(kLabel, "initialize: radDir must be a normalized vector.");
  if (!isPerpendicular(normal, radDir, 0.0001))
    fail(kLabel, "initialize: normal must be perpendicular to the radialDir.");
  if (radius < 0) fail(kLabel, "initialize: radius must be non-negative.");
  State s = state();
  s.center = center;
  s.radius = radius;
  s.normal = normal;
  s.radDir = radDir;
  apply(s);
}

void ArcCurve::initialize(const QorVector& center, double radius, const QorVector& normal) {
  if (!arc_) return;
  if (!isNormalized(normal, 1e-6)) fail(kLabel, "initialize: normal must be a normalized vector.");
  if (radius < 0) fail(kLabel, "initialize: radius must be non-negative.");
  State s = state();
  s.center = center;
  s.radius = radius;
  s.normal = normal;
  apply(s);
}

// ---- evaluations ----

void ArcCurve::checkRange(double t) const {
  ::IQorCurve* c = curve();
  if (t < c->range(0) || t > c->range(1)) fail("ARC", "parameter is out of the curve range");
}

QorVector ArcCurve::evaluatePoint(double t) {
  ::IQorCurve* c = curve();
  if (!c) return QorVector();
  checkRange(t);
  QorVector out;
  c->evaluatePoint(out, t);
  return out;
}

QorVector ArcCurve::evaluateTangent(double t) {
  ::IQorCurve* c = curve();
  if (!c) return QorVector();
  checkRange(t);
  QorVector d[2];
  c->evaluate(t, 1, d);
  return d[1];
}

QorVector ArcCurve::evaluateCurvature(double t) {
  if (!curve()) return QorVector();
  return evaluatePoint(t) - centerValue();
}

void ArcCurve::prepare() {
  if (::IQorCurve* c = curve()) c->prepare();
}

// ---- the step rule ----

ArcCurve::State ArcCurve::state() const {
  State s{};
  arc_->center(s.center);
  arc_->normal(s.normal);
  arc_->radialDir(s.radDir);
  s.radius = arc_->radius();
  s.startAngle = arc_->startAngle();
  s.endAngle = arc_->endAngle();
  s.range[0] = arc_->range(0);
  s.range[1] = arc_->range(1);
  return s;
}

void ArcCurve::apply(const State& s) {
  arc_->initialize(s.center, s.radius, s.normal, s.radDir, s.startAngle, s.endAngle, s.range, 0.0);
}

QorVector ArcCurve::centerValue() const {
  QorVector v;
  if (arc_) arc_->center(v);
  return v;
}

void ArcCurve::setCenterValue(const QorVector& v) {
  if (!arc_) return;
  arc_->setCenter(v);
  State s = state();
  s.center = v;
  apply(s);
}

QorVector ArcCurve::normalValue() const {
  QorVector v;
  if (arc_) arc_->normal(v);
  return v;
}

void ArcCurve::setNormalValue(const QorVector& v) {
  if (!arc_) return;
  if (!isNormalized(v, 1e-6)) fail(kLabel, "normal must be a normalized vector.");
  State s = state();
  s.normal = v;
  apply(s);
}

double ArcCurve::radiusValue() const {
  return arc_ ? arc_->radius() : 0.0;
}

void ArcCurve::setRadiusValue(double v) {
  if (!arc_) return;
  arc_->setRadius(v);
  State s = state();
  s.radius = v;
  apply(s);
}

QorVector ArcCurve::radialDirValue() const {
  QorVector v;
  if (arc_) arc_->radialDir(v);
  return v;
}

void ArcCurve::setXAxisValue(const QorVector& v) {
  if (!arc_) return;
  State s = state();
  s.radDir = v;
  apply(s);
}

QorVector ArcCurve::yAxisValue() const {
  QorVector v;
  if (arc_) arc_->yAxis(v);
  return v;
}

double ArcCurve::startAngleValue() const {
  return arc_ ? arc_->startAngle() : 0.0;
}

void ArcCurve::setStartAngleValue(double v) {
  if (!arc_) return;
  State s = state();
  s.startAngle = v;
  apply(s);
}

double ArcCurve::endAngleValue() const {
  return arc_ ? arc_->endAngle() : 0.0;
}

void ArcCurve::setEndAngleValue(double v) {
  if (!arc_) return;
  State s = state();
  s.endAngle = v;
  apply(s);
}

QorVector ArcCurve::startPtValue() const {
  QorVector v;
  if (arc_) arc_->startPoint(v);
  return v;
}

void ArcCurve::setStartPtValue(const QorVector& v) {
  if (arc_) arc_->setStartPoint(v, true);
}

QorVector ArcCurve::endPtValue() const {
  QorVector v;
  if (arc_) arc_->endPoint(v);
  return v;
}

void ArcCurve::setEndPtValue(const QorVector& v) {
  if (arc_) arc_->setEndPoint(v, true);
}

bool ArcCurve::isDegenerateValue() const {
  ::IQorCurve* c = curve();
  return c && c->isDegenerate();
}

bool ArcCurve::isClosedValue() const {
  ::IQorCurve* c = curve();
  return c && c->isClosed();
}

Vector2D ArcCurve::rangeValue() const {
  ::IQorCurve* c = curve();
  return c ? Vector2D(c->range(0), c->range(1)) : Vector2D(0.0, 0.0);
}

void ArcCurve::setRangeValue(const Vector2D& v) {
  if (!arc_) return;
  State s = state();
  s.range[0] = v.x;
  s.range[1] = v.y;
  apply(s);
}

}  // namespace features
