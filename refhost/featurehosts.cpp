#include "refhost/featurehosts.h"

#include <cmath>
#include <numbers>
#include <string>

#include "persistence/memstream.h"
#include "persistence/qorfile.h"
#include "refhost/componentmanager.h"
#include "refhost/curvehosts.h"
#include "refhost/host.h"
#include "refhost/services.h"
#include "refhost/strsupport.h"

namespace refhost {

namespace {
constexpr double kTwoPi = 2 * std::numbers::pi;
// Set when a point handed to the bounds is not finite.
thread_local bool gNotFinite = false;

void put(QorBounds& out, const QorVector& p) {
  if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) {
    gNotFinite = true;
    return;
  }
  out.extend(p);
}
}  // namespace

// ---- geometry ----

Similarity similarityOf(const QorMatrix& m) {
  Similarity s;
  QorVector c0 = m.column(0), c1 = m.column(1), c2 = m.column(2);
  double det = m.determinant3();
  m.translation(s.shift);
  if (!std::isfinite(det) || std::fabs(det) < 1e-300) {
    s.valid = false;
    return s;
  }
  s.scale = std::cbrt(std::fabs(det));
  s.mirrors = det < 0;
  double l0 = c0.length(), l1 = c1.length(), l2 = c2.length();
  double tol = 1e-9 * s.scale;
  s.exact = std::fabs(l0 - s.scale) <= tol && std::fabs(l1 - s.scale) <= tol &&
            std::fabs(l2 - s.scale) <= tol && std::fabs(c0.dot(c1)) <= tol * s.scale &&
            std::fabs(c0.dot(c2)) <= tol * s.scale && std::fabs(c1.dot(c2)) <= tol * s.scale;
  // Gram-Schmidt keeps the orientation: a mirroring matrix gives a reflection.
  QorVector e0 = c0, e1, e2;
  e0.normalise();
  e1 = c1 - e0 * e0.dot(c1);
  e1.normalise();
  e2 = c2 - e0 * e0.dot(c2) - e1 * e1.dot(c2);
  e2.normalise();
  s.r0 = {e0.x, e1.x, e2.x};
  s.r1 = {e0.y, e1.y, e2.y};
  s.r2 = {e0.z, e1.z, e2.z};
  return s;
}

void frameOf(const QorVector& axis, const QorVector& radial, QorVector& w, QorVector& u,
             QorVector& v) {
  if (!axis.normalised(w)) w = {0, 0, 1};
  radial.rejectFrom(w, u);
  if (!u.normalise()) w.anyPerpendicular(u);
  v = w.cross(u);
}

bool angleIn(double a, double a0, double a1) {
  if (a1 - a0 >= kTwoPi) return true;
  double d = std::fmod(a - a0, kTwoPi);
  if (d < 0) d += kTwoPi;
  return d <= a1 - a0;
}

void extendByArc(QorBounds& out, const QorVector& c, double rho, const QorVector& u,
                 const QorVector& v, double a0, double a1) {
  if (a1 < a0) std::swap(a0, a1);
  auto at = [&](double a) { return c + (u * std::cos(a) + v * std::sin(a)) * rho; };
  put(out, at(a0));
  put(out, at(a1));
  for (int k = 0; k < 3; ++k) {
    // c_k + rho (cos a u_k + sin a v_k) is extremal where tan a = v_k / u_k.
    double e = std::atan2(v[k], u[k]);
    for (double a : {e, e + std::numbers::pi}) {
      if (!angleIn(a, a0, a1)) continue;
      // The extremal coordinate itself, so that the box is touched exactly there.
      QorVector p = at(a);
      double reach = std::hypot(u[k], v[k]) * std::fabs(rho);
      double sign = (std::cos(a) * u[k] + std::sin(a) * v[k]) * rho >= 0 ? 1 : -1;
      p[k] = c[k] + sign * reach;
      put(out, p);
    }
  }
}

// ---- the base ----

RefFeatureHost::RefFeatureHost(const FeatureKind& kind)
    : table_(new RefParameterTable()), kind_(kind) {}

void RefFeatureHost::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "IQorFeature"))
    *out = static_cast<IQorFeature*>(this);
  else if (qorNameIs(name, "IQorSubject"))
    *out = static_cast<IQorSubject*>(this);
  else if (qorNameIs(name, "IQorPersistable"))
    *out = static_cast<IQorPersistable*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(static_cast<IQorFeature*>(this));
  else if (qorNameIs(name, "RefFeatureHost"))
    *out = this;
  else
    *out = typedView(name);
}

void RefFeatureHost::fault(const char* what, const char* text) {
  log().logError(utf8ToWide((std::string(kind_.className) + "." + what + ": " + text).c_str()));
}

void RefFeatureHost::tableChanged(const QorString&) {
  if (muted_ == 0) guarded("update", [&] { recompute(); });
}

IQorFeature* RefFeatureHost::clone() {
  RefFeatureHost* c = makeEmpty();
  IPtr<RefParameterTable> copy(dynamic_cast<RefParameterTable*>(table_->clone()));
  c->table_->setOwner(nullptr, nullptr);
  c->table_ = copy;
  copy->setOwner(c, static_cast<IQorSubject*>(c));
  c->guarded("clone", [&] { c->recompute(); });
  return static_cast<IQorFeature*>(c);
}

void RefFeatureHost::setParameterTable(IQorParameterTable* table) {
  IPtr<IQorParameterTable> hold(table);
  auto* next = dynamic_cast<RefParameterTable*>(table);
  if (!next) {
    fault("setParameterTable", "not a table of this host; ignored");
    return;
  }
  if (next == table_.get()) return;
  std::vector<QorString> changed;
  for (int32_t i = 0; i < next->size(); ++i) {
    RefValue* old = table_->find(next->nameAt(i));
    if (!old || !old->sameAs(*next->valueAt(i))) changed.push_back(next->nameAt(i));
  }
  for (int32_t i = 0; i < table_->size(); ++i)
    if (!next->find(table_->nameAt(i))) changed.push_back(table_->nameAt(i));
  table_->moveListeners(*next);
  table_->setOwner(nullptr, nullptr);
  table_ = next;
  next->setOwner(this, static_cast<IQorSubject*>(this));
  batch([&] {
    for (const QorString& n : changed) next->notify(n);
  });
}

void RefFeatureHost::setParameter(const QorString& name, IQorParameter* parameter) {
  IPtr<IQorParameter> hold(parameter);
  if (!asRefValue(parameter)) {
    fault("setParameter", "not a value of this host; ignored");
    return;
  }
  guarded("setParameter", [&] { table_->set(name, parameter); });
}

void RefFeatureHost::transform(const QorMatrix& matrix) {
  guarded("transform", [&] {
    Similarity s = similarityOf(matrix);
    if (!s.valid) {
      fault("transform", "the matrix is singular; the feature stays");
      return;
    }
    bool partial = false;
    batch([&] { partial = moveBy(matrix, s); });
    if (partial && !s.exact)
      log().logInfo(
          utf8ToWide((std::string(kind_.className) +
                      ".transform: not a similarity; applied its similarity part (scale " +
                      std::to_string(s.scale) + ")")
                         .c_str()));
  });
}

void RefFeatureHost::boundingBox(QorBounds& out) {
  guarded("boundingBox", [&] {
    QorBounds b;
    gNotFinite = false;
    extend(b);
    if (gNotFinite) {
      fault("boundingBox", "its numbers are not finite; the bounds stay");
      return;
    }
    out.unite(b);
  });
}

bool RefFeatureHost::write(QorFileWrite* writer) {
  if (!writer) return false;
  bool ok = writer->beginObjectChunk(kind_.classId, 1);
  ok = table_->write(*writer) && ok;
  ok = writer->endChunk() && ok;
  return ok && writer->good();
}

bool RefFeatureHost::read(QorFileRead* reader) {
  if (!reader || !reader->beginChunk(qor::tag::kObject, 1)) return false;
  bool ok = reader->objectId() == kind_.classId;
  if (ok) {
    ok = table_->read(*reader);
    if (ok) batch([] {});
  }
  reader->endChunk();
  return ok && reader->good();
}

// ---- the arc ----

namespace {

const FeatureKind kArc{
    "RefArcHost", "IQorArc",
    QorID(0x6b1e2a01, 0x3c4d, 0x4e5f, {0x80, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x01})};
const FeatureKind kLine{
    "RefLineHost", "IQorLine",
    QorID(0x6b1e2a02, 0x3c4d, 0x4e5f, {0x80, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x02})};

// theta(t) = start + f (end - start), f = (t - r0) / (r1 - r0), f = 0 for an empty range.
class ArcHost : public RefFeatureHost, public IQorArc, public IQorCurve {
 public:
  ArcHost() : RefFeatureHost(kArc) { init(); }
  // IQorArc
  void initialize(const QorVector& center, double radius, const QorVector& normal,
                  const QorVector& radialDir, double startAngle, double endAngle,
                  const double range[2], double) override {
    batch([&] {
      table_->setVector("Center", center);
      table_->setNumber("Radius", radius);
      table_->setVector("Normal", normal);
      table_->setVector("RadialDir", radialDir);
      table_->setNumber("StartAngle", startAngle);
      table_->setNumber("EndAngle", endAngle);
      if (range) table_->setPair("<Range>", {range[0], range[1]});
    });
  }
  void setCenter(const QorVector& c) override { table_->setVector("Center", c); }
  void setRadius(double r) override { table_->setNumber("Radius", r); }
  void setStartPoint(const QorVector& p, bool keepEnd) override {
    double a = angleOf(p);
    if (!std::isfinite(a)) return fault("setStartPoint", "the point is not finite");
    double span = e_ - s_;
    if (keepEnd) {
      // The new start lies less than a turn before the end.
      a += std::ceil((e_ - a) / kTwoPi - 1) * kTwoPi;
      table_->setNumber("StartAngle", a);
    } else {
      batch([&] {
        table_->setNumber("StartAngle", a);
        table_->setNumber("EndAngle", a + span);
      });
    }
  }
  void setEndPoint(const QorVector& p, bool keepStart) override {
    double a = angleOf(p);
    if (!std::isfinite(a)) return fault("setEndPoint", "the point is not finite");
    double span = e_ - s_;
    if (keepStart) {
      // The new end lies at most a turn after the start, and after it.
      a -= std::floor((a - s_) / kTwoPi) * kTwoPi;
      if (a <= s_) a += kTwoPi;
      table_->setNumber("EndAngle", a);
    } else {
      batch([&] {
        table_->setNumber("StartAngle", a - span);
        table_->setNumber("EndAngle", a);
      });
    }
  }
  QorVector& center(QorVector& out) override { return out = c_; }
  QorVector& normal(QorVector& out) override { return out = w_; }
  QorVector& radialDir(QorVector& out) override { return out = u_; }
  QorVector& yAxis(QorVector& out) override { return out = v_; }
  double radius() override { return r_; }
  double startAngle() override { return s_; }
  double endAngle() override { return e_; }
  QorVector& startPoint(QorVector& out) override { return out = at(s_); }
  QorVector& endPoint(QorVector& out) override { return out = at(e_); }
  double range(int32_t index) override { return index == 0 ? r0_ : r1_; }
  // IQorCurve
  void setRange(double lower, double upper) override { table_->setPair("<Range>", {lower, upper}); }
  bool isClosed() override { return std::fabs(e_ - s_) >= kTwoPi - 1e-9; }
  bool isDegenerate() override { return !(std::fabs(r_) > 1e-12) || !(std::fabs(e_ - s_) > 1e-12); }
  void prepare() override {}
  void evaluate(double t, int32_t order, QorVector* out) override {
    if (!out || order < 0) return;
    double a = theta(t), k = slope();
    QorVector radial = u_ * std::cos(a) + v_ * std::sin(a);
    QorVector along = v_ * std::cos(a) - u_ * std::sin(a);
    out[0] = c_ + radial * r_;
    // Derivative i turns the radial direction by i quarter turns and scales by (r k^i).
    double f = r_;
    for (int32_t i = 1; i <= order; ++i) {
      f *= k;
      QorVector d = (i % 2 == 1) ? along : radial;
      out[i] = d * (((i % 4) == 2 || (i % 4) == 3) ? -f : f);
    }
  }
  void evaluatePoint(QorVector& out, double t) override {
    double a = theta(t);
    out = c_ + (u_ * std::cos(a) + v_ * std::sin(a)) * r_;
  }
  void transform(const QorMatrix& matrix) override { RefFeatureHost::transform(matrix); }
  // r |span| whatever the range: the range only reparameterises the arc.
  double length() override { return std::fabs(r_ * (e_ - s_)); }

 protected:
  void defaults() override {
    table_->setText("Name", "Arc");
    table_->setVector("Center", {0, 0, 0});
    table_->setNumber("Radius", 1);
    table_->setVector("Normal", {0, 0, 1});
    table_->setVector("RadialDir", {1, 0, 0});
    table_->setNumber("StartAngle", 0);
    table_->setNumber("EndAngle", kTwoPi);
    table_->setPair("<Range>", {0, 1});
  }
  void recompute() override {
    const RefParameterTable& t = *table_;
    c_ = t.vector("Center", {});
    r_ = t.number("Radius", 1);
    frameOf(t.vector("Normal", {0, 0, 1}), t.vector("RadialDir", {1, 0, 0}), w_, u_, v_);
    s_ = t.number("StartAngle", 0);
    e_ = t.number("EndAngle", kTwoPi);
    Vector2D r = t.pair("<Range>", {0, 1});
    r0_ = r.x;
    r1_ = r.y;
    if (std::isnan(r_)) fault("update", "the radius is not a number");
  }
  bool moveBy(const QorMatrix&, const Similarity& s) override {
    // A mirror turns the normal over so that the angles keep their points.
    QorVector w = s.direction(w_);
    table_->setVector("Center", s.point(c_));
    table_->setNumber("Radius", r_ * s.scale);
    table_->setVector("Normal", s.mirrors ? -w : w);
    table_->setVector("RadialDir", s.direction(u_));
    return true;
  }
  void extend(QorBounds& out) override { extendByArc(out, c_, r_, u_, v_, s_, e_); }
  RefFeatureHost* makeEmpty() override { return new ArcHost(); }
  void* typedView(const char* name) override {
    if (qorNameIs(name, "IQorArc")) return static_cast<IQorArc*>(this);
    if (qorNameIs(name, "IQorCurve")) return static_cast<IQorCurve*>(this);
    return nullptr;
  }

 private:
  double slope() const { return r1_ != r0_ ? (e_ - s_) / (r1_ - r0_) : 0.0; }
  double theta(double t) const {
    return r1_ != r0_ ? s_ + (t - r0_) / (r1_ - r0_) * (e_ - s_) : s_;
  }
  QorVector at(double a) const { return c_ + (u_ * std::cos(a) + v_ * std::sin(a)) * r_; }
  double angleOf(const QorVector& p) const {
    QorVector d = p - c_;
    return std::atan2(d.dot(v_), d.dot(u_));
  }
  QorVector c_, w_, u_, v_;
  double r_ = 1, s_ = 0, e_ = kTwoPi, r0_ = 0, r1_ = 1;
};

// C(t) = start + f (end - start), f as for the arc; the range is read from the table.
class LineHost : public RefFeatureHost, public IQorLine, public IQorCurve {
 public:
  LineHost() : RefFeatureHost(kLine) { init(); }
  void initialize(const QorVector& start, const QorVector& end, const double* range,
                  double) override {
    batch([&] {
      table_->setVector("Start", start);
      table_->setVector("End", end);
      if (range) table_->setPair("<Range>", {range[0], range[1]});
    });
  }
  QorVector& start(QorVector& out) override { return out = s_; }
  QorVector& end(QorVector& out) override { return out = e_; }
  double range(int32_t index) override {
    Vector2D r = table_->pair("<Range>", {0, 1});
    return index == 0 ? r.x : r.y;
  }
  void setRange(double lower, double upper) override { table_->setPair("<Range>", {lower, upper}); }
  bool isClosed() override { return false; }
  bool isDegenerate() override { return !((e_ - s_).lengthSquared() > 1e-24); }
  void prepare() override {}
  void evaluate(double t, int32_t order, QorVector* out) override {
    if (!out || order < 0) return;
    Vector2D r = table_->pair("<Range>", {0, 1});
    double span = r.y - r.x;
    evaluatePoint(out[0], t);
    for (int32_t i = 1; i <= order; ++i)
      out[i] = i == 1 && span != 0 ? (e_ - s_) * (1 / span) : QorVector();
  }
  void evaluatePoint(QorVector& out, double t) override {
    Vector2D r = table_->pair("<Range>", {0, 1});
    double f = r.y != r.x ? (t - r.x) / (r.y - r.x) : 0.0;
    out = s_ + (e_ - s_) * f;
  }
  void transform(const QorMatrix& matrix) override { RefFeatureHost::transform(matrix); }
  double length() override { return (e_ - s_).length(); }

 protected:
  void defaults() override {
    table_->setText("Name", "Line");
    table_->setVector("Start", {0, 0, 0});
    table_->setVector("End", {1, 0, 0});
    table_->setPair("<Range>", {0, 1});
  }
  void recompute() override {
    s_ = table_->vector("Start", {});
    e_ = table_->vector("End", {1, 0, 0});
  }
  bool moveBy(const QorMatrix& m, const Similarity&) override {
    // An affine map keeps a segment a segment: the whole matrix applies.
    QorVector a, b;
    m.transformPoint(s_, a);
    m.transformPoint(e_, b);
    table_->setVector("Start", a);
    table_->setVector("End", b);
    return false;
  }
  void extend(QorBounds& out) override {
    put(out, s_);
    put(out, e_);
  }
  RefFeatureHost* makeEmpty() override { return new LineHost(); }
  void* typedView(const char* name) override {
    if (qorNameIs(name, "IQorLine")) return static_cast<IQorLine*>(this);
    if (qorNameIs(name, "IQorCurve")) return static_cast<IQorCurve*>(this);
    return nullptr;
  }

 private:
  QorVector s_, e_{1, 0, 0};
};

}  // namespace

RefFeatureHost* makeArcHost() {
  return new ArcHost();
}
RefFeatureHost* makeLineHost() {
  return new LineHost();
}

void putPoint(QorBounds& out, const QorVector& p) {
  put(out, p);
}

// ---- the kinds ----

namespace {
struct KindEntry {
  const char* service;
  RefFeatureHost* (*make)();
};
const KindEntry kKinds[] = {{"IQorArc", makeArcHost},     {"IQorLine", makeLineHost},
                            {"IQorCone", makeConeHost},   {"IQorCylinder", makeCylinderHost},
                            {"IQorPlane", makePlaneHost}, {"IQorSphere", makeSphereHost},
                            {"IQorTorus", makeTorusHost}};
}  // namespace

RefFeatureHost* makeFeatureHost(const char* service) {
  if (!service) return nullptr;
  for (const KindEntry& k : kKinds)
    if (qorNameIs(service, k.service)) return k.make();
  return nullptr;
}

RefFeatureHost* makeFeatureHost(const QorID& classId) {
  for (const KindEntry& k : kKinds) {
    RefFeatureHost* h = k.make();
    if (h->classId() == classId) return h;
    h->addRef();
    h->release();
  }
  return makeCurveHost(classId);  // the curves and surfaces, which documents hold too
}

std::vector<uint8_t> featureRecord(IQorPersistable& feature) {
  BinOutputMemory out;
  bool ok;
  {
    QorFileWrite w(&out, false);
    ok = feature.write(&w) && w.good();
  }
  ok = out.flush() && ok;
  return ok ? std::vector<uint8_t>(out.data(), out.data() + out.size()) : std::vector<uint8_t>();
}

IQorPersistable* readStoredRecord(const std::vector<uint8_t>& record, std::string* why,
                                  const char* what, IQorPersistable* (*make)(const QorID&)) {
  std::string scratch;
  if (!why) why = &scratch;
  BinInputMemory in(record.data(), record.size());
  in.setLengthWidth64();
  QorFileRead r;
  r.attach(&in);
  if (record.size() < 12 || r.peekTag() != qor::tag::kObject) {
    *why = "it is not an object chunk";
    return nullptr;
  }
  IQorPersistable* made = make(r.peekObjectId());
  if (!made) {
    *why = "its class id " + std::string(r.peekObjectId().toString().c_str()) + " names no " + what;
    return nullptr;
  }
  if (!made->read(&r) || in.tell() != static_cast<int64_t>(record.size())) {
    *why = "its record of " + std::to_string(record.size()) + " bytes does not read";
    made->addRef();
    made->release();  // never given out: it goes at count 0
    return nullptr;
  }
  return made;
}

RefFeatureHost* readFeatureRecord(const std::vector<uint8_t>& record, std::string* why) {
  return dynamic_cast<RefFeatureHost*>(
      readStoredRecord(record, why, "feature",
                       [](const QorID& id) -> IQorPersistable* { return makeFeatureHost(id); }));
}

void registerFeatureHosts(RefComponentManager& m) {
  for (const KindEntry& k : kKinds)
    m.registerFactory(k.service, [make = k.make] { return static_cast<IQorFeature*>(make()); });
}

}  // namespace refhost
