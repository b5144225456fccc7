#include "features/linefeature.h"

#include "core/listing.h"

namespace features {

namespace {
constexpr const char* kLabel = "LineFeature";

Feature* makeBare() {
  return new LineFeature(LineFeature::NoHost{});
}

const bool kRegistered = registerShell("IQorLine", classIdOf("IQorLine"), &makeBare);

// The table entry `name` of the line's host, or null.
IQorParameter* entry(::IQorLine* line, const char16_t* name) {
  auto* f = qorQuery<::IQorFeature>(line, "IQorFeature");
  IQorParameterTable* table = f ? f->parameterTable() : nullptr;
  return table ? table->parameter(QorString(name)) : nullptr;
}
}  // namespace

LineFeature::LineFeature() {
  (void)kRegistered;
  createHostAs("IQorLine");
  setRangeValue(Vector2D(0.0, 1.0));
  logLifetime("Created");
}

LineFeature::LineFeature(NoHost) {
  logLifetime("Created");
}

LineFeature::~LineFeature() {
  retire("IQorLine", line_.get());
  line_.reset();
  curve_ = nullptr;
}

void LineFeature::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("LineFeature", out);
    walkAddInterface("features::IQorLine", out);
    Feature::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "LineFeature"))
    *out = this;
  else if (qorNameIs(name, "features::IQorLine"))
    *out = static_cast<IQorLine*>(this);
  else
    Feature::queryInterface(name, out, reserved);
}

void LineFeature::connect(::IQorFeature* host) {
  Feature::connect(host);
  line_ = qorQuery<::IQorLine>(host, "IQorLine");
  curve_ = qorQuery<::IQorCurve>(line_.get(), "IQorCurve");
  addVector(this, u"start", &LineFeature::startValue, &LineFeature::setStartValue);
  addVector(this, u"end", &LineFeature::endValue, &LineFeature::setEndValue);
  addVector(this, u"planeNormal", &LineFeature::planeNormalValue,
            &LineFeature::setPlaneNormalValue);
  addDouble(this, u"length", &LineFeature::lengthValue);
  addVector(this, u"direction", &LineFeature::directionValue);
  addVector2D(this, u"range", &LineFeature::rangeValue, &LineFeature::setRangeValue);
  addBool(this, u"isDegenerate", &LineFeature::isDegenerateValue);
  addBool(this, u"isClosed", &LineFeature::isClosedValue);
}

IQorDataObject* LineFeature::clone() {
  auto* copy = new LineFeature(NoHost{});
  ::IQorFeature* h = host() ? host()->clone() : nullptr;
  copy->connect(h);
  return copy;
}

void LineFeature::createHost() {
  createHostAs("IQorLine");
}

::IQorCurve* LineFeature::curve() const {
  return curve_;
}

void LineFeature::initialize(const QorVector& start, const QorVector& direction, double length) {
  if (!line_) return;
  QorVector d = direction;
  if (!isNormalized(d, 1e-6)) d.normalise();
  if (length < 0) fail(kLabel, "initialize: length must be non-negative.");
  line_->initialize(start, start + length * d, nullptr, 0.0);
}

void LineFeature::initialize(const QorVector& start, const QorVector& end) {
  if (line_) line_->initialize(start, end, nullptr, 0.0);
}

void LineFeature::checkRange(double t) const {
  ::IQorCurve* c = curve();
  if (t < c->range(0) || t > c->range(1)) fail("Line", "parameter is out of the curve range");
}

QorVector LineFeature::evaluatePoint(double t) {
  ::IQorCurve* c = curve();
  if (!c) return QorVector();
  checkRange(t);
  QorVector out;
  c->evaluatePoint(out, t);
  return out;
}

QorVector LineFeature::evaluateTangent(double t) {
  ::IQorCurve* c = curve();
  if (!c) return QorVector();
  checkRange(t);
  QorVector d[2];
  c->evaluate(t, 1, d);
  return d[1];
}

QorVector LineFeature::evaluateCurvature(double t) {
  if (curve()) checkRange(t);
  return QorVector();
}

void LineFeature::prepare() {
  if (::IQorCurve* c = curve()) c->prepare();
}

// ---- routed properties ----

void LineFeature::reinitialize(const QorVector& start, const QorVector& end) {
  ::IQorCurve* c = curve();
  double range[2] = {c ? c->range(0) : 0.0, c ? c->range(1) : 0.0};
  line_->initialize(start, end, range, 0.0);
}

QorVector LineFeature::startValue() const {
  QorVector v;
  if (line_) line_->start(v);
  return v;
}

void LineFeature::setStartValue(const QorVector& v) {
  if (line_) reinitialize(v, endValue());
}

QorVector LineFeature::endValue() const {
  QorVector v;
  if (line_) line_->end(v);
  return v;
}

void LineFeature::setEndValue(const QorVector& v) {
  if (line_) reinitialize(startValue(), v);
}

double LineFeature::lengthValue() const {
  return line_ ? (endValue() - startValue()).length() : 0.0;
}

QorVector LineFeature::directionValue() const {
  if (!line_) return QorVector();
  IQorParameter* p = entry(line_.get(), u"<Direction>");
  if (!p) return QorVector(0.0, 0.0, 1.0);
  auto* value = qorQuery<IQorVectorValue>(p, "IQorVectorValue");
  const QorVector* v = value ? value->value() : nullptr;
  return v ? *v : QorVector();
}

Vector2D LineFeature::rangeValue() const {
  if (!line_) return Vector2D(0.0, 0.0);
  auto* value = qorQuery<IQorVector2DValue>(entry(line_.get(), u"<Range>"), "IQorVector2DValue");
  return value ? value->value() : Vector2D(0.0, 0.0);
}

void LineFeature::setRangeValue(const Vector2D& v) {
  auto* f = qorQuery<::IQorFeature>(line_.get(), "IQorFeature");
  IQorParameterTable* table = f ? f->parameterTable() : nullptr;
  if (!table) return;
  void* out = nullptr;
  getService("IQorVector2DValue", &out);
  IPtr<IQorVector2DValue> value(static_cast<IQorVector2DValue*>(out));
  if (!value) return;
  value->setValue(v);
  table->set(QorString(u"<Range>"), qorQuery<IQorParameter>(value.get(), "IQorParameter"));
}

bool LineFeature::isDegenerateValue() const {
  ::IQorCurve* c = curve();
  return c && c->isDegenerate();
}

bool LineFeature::isClosedValue() const {
  ::IQorCurve* c = curve();
  return c && c->isClosed();
}

}  // namespace features
