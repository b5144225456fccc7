#include "refhost/sweptsurfaces.h"

#include <cmath>
#include <limits>
#include <string>

#include "persistence/qorfile.h"
#include "refhost/componentmanager.h"
#include "refhost/curvekit.h"

namespace refhost {

using curvekit::CurveHostBase;

namespace {

QorID sweptId(uint32_t k) {
  return QorID(0x6b1e2a00 + k, 0x3c4d, 0x4e5f,
               {0x80, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, static_cast<uint8_t>(k)});
}

}  // namespace

const QorID kExtrudedClassId = sweptId(0x0e);
const QorID kRotationalClassId = sweptId(0x0f);
const QorID kDraftedClassId = sweptId(0x10);

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kTwoPi = 6.283185307179586;
// Bounding boxes and heights sample the sketch at this many even steps of its range.
constexpr int kSamples = 64;

const FeatureKind kExtrudedKind{"RefExtrudedHost", "IQorExtruded", kExtrudedClassId};
const FeatureKind kRotationalKind{"RefRotationalHost", "IQorRotational", kRotationalClassId};
const FeatureKind kDraftedKind{"RefDraftedHost", "IQorDrafted", kDraftedClassId};

void nanRows(int32_t order, SurfaceRows& rows) {
  for (int32_t k = 0; k <= order; ++k)
    for (int32_t j = 0; j <= k; ++j) rows[k][j] = {kNaN, kNaN, kNaN};
}

bool finite(const QorVector& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

// A counted copy of a curve, or null.
IPtr<IQorCurve> copyOf(IQorCurve* curve) {
  auto* f = qorQuery<IQorFeature>(curve, "IQorFeature");
  IQorFeature* made = f ? f->clone() : nullptr;
  IPtr<IQorCurve> copy(qorQuery<IQorCurve>(made, "IQorCurve"));
  if (!copy && made) {
    made->addRef();
    made->release();
  }
  return copy;
}

// What both kinds share: the frame, the windows, the two numbers, the held sketch, the
// record and the moves. Evaluation asks the kind for the local rows (in the surface frame)
// and maps them by the frame.
class SweptHost : public CurveHostBase, public IQorSurface, public IQorSwept {
 public:
  // IQorSwept
  IQorCurve* sketch() override { return sketch_.get(); }
  QorMatrix& frame(QorMatrix& out) override {
    QorVector x, y, z;
    axes(x, y, z);
    return out = QorMatrix::fromColumns(x, y, z, origin_);
  }

  // IQorSurface
  void ranges(Vector2D& u, Vector2D& v) override { parameterRange(u, v); }
  void setURange(double from, double to) override { first_ = Vector2D(from, to); }
  void setVRange(double from, double to) override { second_ = Vector2D(from, to); }
  void evaluate(double u, double v, int32_t order, SurfaceRows& rows) override {
    const int32_t nd = order < 0 ? 0 : (order > 2 ? 2 : order);
    if (!ready() || std::isnan(u) || std::isnan(v)) return nanRows(nd, rows);
    local(u, v, nd, rows);
    QorMatrix f;
    frame(f);
    QorVector q;
    f.transformPoint(rows[0][0], q);
    rows[0][0] = q;
    for (int32_t k = 1; k <= nd; ++k)
      for (int32_t j = 0; j <= k; ++j) {
        f.transformVector(rows[k][j], q);
        rows[k][j] = q;
      }
  }
  // The normal is the unit of Su x Sv; where that is zero (a point on the axis, a
  // collapsed edge) it is taken a millionth of the windows towards their middle.
  void evaluatePoint(QorVector& point, double u, double v, QorVector* normal) override {
    SurfaceRows rows;
    evaluate(u, v, normal ? 1 : 0, rows);
    point = rows[0][0];
    if (!normal) return;
    QorVector n = rows[1][0].cross(rows[1][1]);
    if (!n.normalise() && finite(point)) {
      double du = (first_.x + first_.y) / 2 - u, dv = (second_.x + second_.y) / 2 - v;
      evaluate(u + du * 1e-6, v + dv * 1e-6, 1, rows);
      n = rows[1][0].cross(rows[1][1]);
      if (!n.normalise()) n = QorVector();
    }
    *normal = finite(point) ? n : QorVector{kNaN, kNaN, kNaN};
  }
  void parameterRange(Vector2D& u, Vector2D& v) override {
    u = first_;
    v = second_;
  }
  void setRanges(const Vector2D& first, const Vector2D& second) override {
    first_ = first;
    second_ = second;
  }
  bool transformSurface(const QorMatrix& matrix) override {
    bool moved = false;
    guarded("transformSurface", [&] { moved = moveSimilar("transformSurface", matrix); });
    return moved;
  }
  void transform(const QorMatrix& matrix) override {
    guarded("transform", [&] { moveSimilar("transform", matrix); });
  }
  void workingCopy(IQorSurface** out) override {
    if (!out) return;
    *out = qorQuery<IQorSurface>(clone(), "IQorSurface");
  }
  void isoCurve(int32_t direction, double parameter, IQorCurve** out) override {
    if (!out) return;
    *out = nullptr;
    if (direction != 0 && direction != 1)
      return fault("isoCurve",
                   ("direction " + std::to_string(direction) + " is not 0 or 1").c_str());
    if (!ready() || std::isnan(parameter)) return;
    guarded("isoCurve", [&] {
      RefFeatureHost* made = iso(direction, parameter);  // count 0
      *out = made ? qorQuery<IQorCurve>(made, "IQorCurve") : nullptr;
    });
  }

 protected:
  SweptHost(const FeatureKind& kind, const char* name) : CurveHostBase(kind, name) {}

  // Rows 0 .. order in the surface frame at (u, v); the sketch is there.
  virtual void local(double u, double v, int32_t order, SurfaceRows& rows) = 0;
  // The iso curve in world coordinates (count 0), or null.
  virtual RefFeatureHost* iso(int32_t direction, double parameter) = 0;
  // The two numbers after a move that scales the frame's z coordinates by `zScale`.
  virtual void scaleNumbers(double zScale) = 0;
  // Whether the record holds the draft fields.
  virtual bool drafted() const { return false; }

  void axes(QorVector& x, QorVector& y, QorVector& z) const { frameOf(axis_, radial_, z, x, y); }
  // A copy of the sketch moved by `m` (count 0), or null.
  RefFeatureHost* movedSketch(const QorMatrix& m) {
    auto* f = qorQuery<IQorFeature>(sketch_.get(), "IQorFeature");
    IQorFeature* made = f ? f->clone() : nullptr;  // count 0
    auto* host = dynamic_cast<RefFeatureHost*>(made);
    IQorCurve* curve = qorQuery<IQorCurve>(made, "IQorCurve");
    if (!host || !curve) {
      if (made) {
        made->addRef();
        made->release();
      }
      return nullptr;
    }
    curve->transform(m);
    return host;
  }
  void takeSketch(IQorCurve* curve) {
    if (!curve) {
      sketch_ = nullptr;
      return forgetNote();
    }
    IPtr<IQorCurve> copy = copyOf(curve);
    if (!copy) return fault("setSketch", "the curve does not copy; the sketch stays");
    sketch_ = copy;
    forgetNote();
  }
  void setAxis(const char* what, const QorVector& axis) {
    if (!finite(axis) || axis.lengthSquared() == 0)
      return fault(what, "the direction is zero or not finite; it stays");
    axis_ = axis;
  }
  bool ready() {
    if (sketch_) return true;
    noteOnce("evaluate", "it has no sketch; answers NaN");
    return false;
  }
  void extend(QorBounds& out) override {
    if (!sketch_) return;
    for (int i = 0; i <= kSamples; ++i)
      for (int j = 0; j <= kSamples; ++j) {
        double a = double(i) / kSamples, b = double(j) / kSamples;
        QorVector p;
        evaluatePoint(p, first_.x + (first_.y - first_.x) * a,
                      second_.x + (second_.y - second_.x) * b, nullptr);
        putPoint(out, p);
      }
  }
  void moveAffine(const QorMatrix& m) override { moveSimilar("transform", m); }
  void copyInto(CurveHostBase& other) override {
    auto& o = static_cast<SweptHost&>(other);
    o.origin_ = origin_;
    o.axis_ = axis_;
    o.radial_ = radial_;
    o.first_ = first_;
    o.second_ = second_;
    o.n0_ = n0_;
    o.n1_ = n1_;
    o.draft_ = draft_;
    o.conic_ = conic_;
    o.sketch_ = sketch_ ? copyOf(sketch_.get()) : nullptr;
    if (sketch_ && !o.sketch_) fault("clone", "the sketch does not copy; the copy goes without");
  }
  // Body: the origin, the third axis, the radial direction, the first and the second window,
  // the two numbers, for a drafted surface the draft angle and uint8 conic, then uint8 1 and
  // the sketch's own record (or uint8 0 without a sketch).
  bool writeBody(QorFileWrite& w) override {
    bool ok = w.write(origin_);
    ok = w.write(axis_) && ok;
    ok = w.write(radial_) && ok;
    ok = w.write(first_) && ok;
    ok = w.write(second_) && ok;
    ok = w.write(n0_) && ok;
    ok = w.write(n1_) && ok;
    if (drafted()) {
      ok = w.write(draft_) && ok;
      ok = w.write(static_cast<uint8_t>(conic_ ? 1 : 0)) && ok;
    }
    ok = w.write(static_cast<uint8_t>(sketch_ ? 1 : 0)) && ok;
    if (sketch_) {
      auto* p = qorQuery<IQorPersistable>(sketch_.get(), "IQorPersistable");
      ok = p && p->write(&w) && ok;
    }
    return ok;
  }
  std::function<void()> readBody(QorFileRead& r) override {
    QorVector origin, axis, radial;
    Vector2D first, second;
    double n0 = 0, n1 = 0;
    uint8_t has = 0;
    if (!r.read(origin) || !r.read(axis) || !r.read(radial) || !r.read(first) || !r.read(second) ||
        !r.read(n0) || !r.read(n1))
      return {};
    double draft = 0;
    uint8_t conic = 0;
    if (drafted() && (!r.read(draft) || !r.read(conic) || conic > 1)) return {};
    if (!r.read(has) || has > 1) return {};
    if (!finite(axis) || axis.lengthSquared() == 0) return {};
    IPtr<IQorCurve> sketch;
    if (has == 1) {
      IPtr<RefFeatureHost> h(curvekit::makeAnyHost(r.peekObjectId()));
      IQorCurve* c = h ? qorQuery<IQorCurve>(h.get(), "IQorCurve") : nullptr;
      if (!c || !h->read(&r)) return {};
      sketch = IPtr<IQorCurve>(c);
    }
    return [=, this]() {
      origin_ = origin;
      axis_ = axis;
      radial_ = radial;
      first_ = first;
      second_ = second;
      n0_ = n0;
      n1_ = n1;
      draft_ = draft;
      conic_ = conic == 1;
      sketch_ = sketch;
      forgetNote();
    };
  }

  QorVector origin_, axis_{0, 0, 1}, radial_{1, 0, 0};
  Vector2D first_{0, 1}, second_{0, 1};
  double n0_ = 0, n1_ = 0;  // the heights or the angles
  double draft_ = 0;        // drafted only
  bool conic_ = false;      // drafted only
  IPtr<IQorCurve> sketch_;

 private:
  // p -> s R p + t: the frame turns by R (the third axis over as well when R mirrors), the
  // origin moves, and the sketch scales by s in the frame (z by -s for a mirror).
  bool moveSimilar(const char* what, const QorMatrix& m) {
    const char* why = curvekit::affineFault(m);
    Similarity s;
    if (!why) {
      s = similarityOf(m);
      if (!s.valid || !s.exact) why = "the matrix is not a similarity";
    }
    if (why) {
      fault(what, (std::string(why) + "; the surface stays").c_str());
      return false;
    }
    QorVector x, y, z;
    axes(x, y, z);
    const double zScale = s.mirrors ? -s.scale : s.scale;
    if (sketch_) sketch_->transform(QorMatrix::scale(s.scale, s.scale, zScale));
    origin_ = s.point(origin_);
    radial_ = s.direction(x);
    axis_ = s.direction(z) * (s.mirrors ? -1.0 : 1.0);
    scaleNumbers(zScale);
    return true;
  }
};

// ---- extruded and drafted share the straight sweep: a sketch moved along the frame's z
// axis, v mapped linearly onto the heights ----

template <class Iface>
class StraightSweptHost : public SweptHost, public Iface {
 public:
  void setSketch(IQorCurve* curve) override { takeSketch(curve); }
  void setOrigin(const QorVector& point) override { origin_ = point; }
  void setDirection(const QorVector& direction) override { setAxis("setDirection", direction); }
  void setHeightFrom(double h) override { n0_ = h; }
  void setHeightTo(double h) override { n1_ = h; }
  IQorCurve* sketch() override { return sketch_.get(); }
  QorVector& origin(QorVector& out) override { return out = origin_; }
  QorVector& direction(QorVector& out) override { return out = axis_; }
  QorVector& xAxis(QorVector& out) override {
    QorVector y, z;
    axes(out, y, z);
    return out;
  }
  QorVector& yAxis(QorVector& out) override {
    QorVector x, z;
    axes(x, out, z);
    return out;
  }
  double heightFrom() override { return n0_; }
  double heightTo() override { return n1_; }

  // IQorSurface: closed in u with the sketch.
  bool isClosedInU() override { return sketch_ && sketch_->isClosed(); }
  bool isClosedInV() override { return false; }

 protected:
  using SweptHost::SweptHost;
  // h(v) maps the second window linearly onto the heights (h = heightFrom for an empty one).
  double slope() const {
    double w = second_.y - second_.x;
    return w != 0 ? (n1_ - n0_) / w : 0.0;
  }
  double height(double v) const { return n0_ + (v - second_.x) * slope(); }
  void scaleNumbers(double zScale) override {
    n0_ *= zScale;
    n1_ *= zScale;
  }
};

// ---- extruded: S(u, v) = F (c(u) + h(v) e_z) ----

class ExtrudedHost : public StraightSweptHost<IQorExtruded> {
 public:
  ExtrudedHost() : StraightSweptHost(kExtrudedKind, "ExtrudedSurface") { init(); }

 protected:
  void local(double u, double v, int32_t order, SurfaceRows& rows) override {
    QorVector c[3];
    sketch_->evaluate(u, order, c);
    rows[0][0] = c[0] + QorVector{0, 0, height(v)};
    if (order < 1) return;
    rows[1][0] = c[1];
    rows[1][1] = {0, 0, slope()};
    if (order < 2) return;
    rows[2][0] = c[2];
    rows[2][1] = rows[2][2] = QorVector();
  }
  // Fixed v: the sketch lifted to h(v), the same kind. Fixed u: the line along the sweep,
  // ranged over the second window.
  RefFeatureHost* iso(int32_t direction, double parameter) override {
    QorMatrix f;
    frame(f);
    if (direction == 1)
      return movedSketch(f * QorMatrix::fromTranslation({0, 0, height(parameter)}));
    QorVector a, b;
    evaluatePoint(a, parameter, second_.x, nullptr);
    evaluatePoint(b, parameter, second_.y, nullptr);
    RefFeatureHost* line = makeLineHost();
    const double range[2] = {second_.x, second_.y};
    qorQuery<IQorLine>(line, "IQorLine")->initialize(a, b, range, 0);
    return line;
  }
  RefFeatureHost* makeEmpty() override { return new ExtrudedHost(); }
  void* typedView(const char* name) override {
    if (qorNameIs(name, "IQorExtruded")) return static_cast<IQorExtruded*>(this);
    if (qorNameIs(name, "IQorSurface")) return static_cast<IQorSurface*>(this);
    if (qorNameIs(name, "IQorSwept")) return static_cast<IQorSwept*>(this);
    return nullptr;
  }
};

// ---- drafted: S(u, v) = F (s_h(u) + h e_z), h = h(v) as extruded, d = h tan(angle) ----
// Not conic: s_h = c + d n, n the unit of c' x e_z (the sketch's right-hand side in its
// plane). Conic: s_h scales c about the z axis by k = 1 + d / r0 in x and y, r0 the distance
// of the sketch's middle point from the axis (k = 1 for r0 = 0).

class DraftedHost : public StraightSweptHost<IQorDrafted> {
 public:
  DraftedHost() : StraightSweptHost(kDraftedKind, "DraftedSurface") { init(); }

  // IQorDrafted beside the straight sweep's
  void setDraftAngle(double angle) override { draft_ = angle; }
  void setIsConic(bool conic) override { conic_ = conic; }
  double draftAngle() override { return draft_; }
  bool isConic() override { return conic_; }

 protected:
  // d(k)/dh of the conic scale.
  double conicRate() {
    QorVector mid;
    sketch_->evaluatePoint(mid, (sketch_->range(0) + sketch_->range(1)) / 2);
    const double r0 = std::hypot(mid.x, mid.y);
    return r0 > 0 ? std::tan(draft_) / r0 : 0.0;
  }
  void local(double u, double v, int32_t order, SurfaceRows& rows) override {
    const double h = height(v), hs = slope(), t = std::tan(draft_);
    QorVector c[4];
    if (conic_) {
      sketch_->evaluate(u, order, c);
      const double q = conicRate(), k = 1 + h * q, kv = hs * q;
      auto scaled = [](const QorVector& p, double f) { return QorVector{p.x * f, p.y * f, p.z}; };
      rows[0][0] = scaled(c[0], k) + QorVector{0, 0, h};
      if (order < 1) return;
      rows[1][0] = scaled(c[1], k);
      rows[1][1] = {c[0].x * kv, c[0].y * kv, hs};
      if (order < 2) return;
      rows[2][0] = scaled(c[2], k);
      rows[2][1] = {c[1].x * kv, c[1].y * kv, 0};
      rows[2][2] = QorVector();
      return;
    }
    // n = w / L with w = (c'y, -c'x, 0), L = |w|: n' = (w' - L' n) / L,
    // n'' = (w'' - L'' n - 2 L' n') / L, L' = n . w', L'' = n' . w' + n . w''.
    sketch_->evaluate(u, order + 1, c);
    auto w = [](const QorVector& d) { return QorVector{d.y, -d.x, 0}; };
    const double len = w(c[1]).length();
    const double d = h * t;
    QorVector n, n1, n2;
    if (len > 0) {
      n = w(c[1]) * (1 / len);
      if (order >= 1) {
        const double l1 = n.dot(w(c[2]));
        n1 = (w(c[2]) - n * l1) * (1 / len);
        if (order >= 2) {
          const double l2 = n1.dot(w(c[2])) + n.dot(w(c[3]));
          n2 = (w(c[3]) - n * l2 - n1 * (2 * l1)) * (1 / len);
        }
      }
    }
    rows[0][0] = c[0] + n * d + QorVector{0, 0, h};
    if (order < 1) return;
    rows[1][0] = c[1] + n1 * d;
    rows[1][1] = n * (hs * t) + QorVector{0, 0, hs};
    if (order < 2) return;
    rows[2][0] = c[2] + n2 * d;
    rows[2][1] = n1 * (hs * t);
    rows[2][2] = QorVector();
  }
  // Fixed v, exact only where the section is a curve of the same kind: conic (a uniform
  // scale about the axis point at the sketch's plane), or a line or an arc across the axis;
  // otherwise null with a log line. Fixed u: the line along the sweep, as extruded.
  RefFeatureHost* iso(int32_t direction, double parameter) override {
    QorMatrix f;
    frame(f);
    if (direction == 0) {
      QorVector a, b;
      evaluatePoint(a, parameter, second_.x, nullptr);
      evaluatePoint(b, parameter, second_.y, nullptr);
      RefFeatureHost* line = makeLineHost();
      const double range[2] = {second_.x, second_.y};
      qorQuery<IQorLine>(line, "IQorLine")->initialize(a, b, range, 0);
      return line;
    }
    const double h = height(parameter), d = h * std::tan(draft_);
    const double mid = (sketch_->range(0) + sketch_->range(1)) / 2;
    QorVector c[2];
    sketch_->evaluate(mid, 1, c);
    const QorMatrix lift = f * QorMatrix::fromTranslation({0, 0, h});
    if (conic_) {
      const QorVector at{0, 0, c[0].z};
      return movedSketch(lift * QorMatrix::fromTranslation(at) *
                         QorMatrix::uniformScale(1 + h * conicRate()) *
                         QorMatrix::fromTranslation(at * -1.0));
    }
    QorVector n{c[1].y, -c[1].x, 0};
    if (!n.normalise()) return nullptr;
    if (qorQuery<IQorLine>(sketch_.get(), "IQorLine"))
      return movedSketch(lift * QorMatrix::fromTranslation(n * d));
    if (auto* arc = qorQuery<IQorArc>(sketch_.get(), "IQorArc")) {
      QorVector centre, normal;
      arc->center(centre);
      arc->normal(normal);
      const QorVector radial = c[0] - centre;
      const double r = arc->radius() + d * n.dot(radial) / radial.length();
      if (std::fabs(std::fabs(normal.z) - 1) <= 1e-12 && r > 0) {
        RefFeatureHost* moved = movedSketch(lift);
        if (moved) qorQuery<IQorArc>(moved, "IQorArc")->setRadius(r);
        return moved;
      }
    }
    fault("isoCurve", "the offset of this sketch is no curve of its kind; answers null");
    return nullptr;
  }
  // A mirror turns the heights over and the draft with them (the offset keeps its side).
  void scaleNumbers(double zScale) override {
    StraightSweptHost::scaleNumbers(zScale);
    if (zScale < 0) draft_ = -draft_;
  }
  bool drafted() const override { return true; }
  RefFeatureHost* makeEmpty() override { return new DraftedHost(); }
  void* typedView(const char* name) override {
    if (qorNameIs(name, "IQorDrafted")) return static_cast<IQorDrafted*>(this);
    if (qorNameIs(name, "IQorSurface")) return static_cast<IQorSurface*>(this);
    if (qorNameIs(name, "IQorSwept")) return static_cast<IQorSwept*>(this);
    return nullptr;
  }
};

// ---- rotational: S(u, v) = F Rz(theta(u)) c(v) ----

class RotationalHost : public SweptHost, public IQorRotational {
 public:
  RotationalHost() : SweptHost(kRotationalKind, "RotationalSurface") { init(); }

  // IQorRotational
  void setSketch(IQorCurve* curve) override { takeSketch(curve); }
  void setOrigin(const QorVector& point) override { origin_ = point; }
  void setAxis(const QorVector& axis) override { SweptHost::setAxis("setAxis", axis); }
  void setRadialDir(const QorVector& radial) override { radial_ = radial; }
  void setAngleFrom(double a) override { n0_ = a; }
  void setAngleTo(double a) override { n1_ = a; }
  IQorCurve* sketch() override { return sketch_.get(); }
  QorVector& origin(QorVector& out) override { return out = origin_; }
  QorVector& axis(QorVector& out) override { return out = axis_; }
  double angleFrom() override { return n0_; }
  double angleTo() override { return n1_; }
  // The extent of the sketch along the axis, from the frame's origin, sampled at 64 even
  // steps of its range (exact when the extremes lie on those steps, as for lines).
  double heightFrom() override { return extent(false); }
  double heightTo() override { return extent(true); }

  // IQorSurface
  bool isClosedInU() override { return std::fabs(std::fabs(n1_ - n0_) - kTwoPi) <= 1e-12; }
  bool isClosedInV() override { return sketch_ && sketch_->isClosed(); }

 protected:
  double slope() const {
    double w = first_.y - first_.x;
    return w != 0 ? (n1_ - n0_) / w : 0.0;
  }
  double angle(double u) const { return n0_ + (u - first_.x) * slope(); }
  // With P = Rz c: dP/dtheta = Rz J c, J the quarter turn about z (z dropped).
  void local(double u, double v, int32_t order, SurfaceRows& rows) override {
    QorVector c[3];
    sketch_->evaluate(v, order, c);
    const double t = angle(u), cs = std::cos(t), sn = std::sin(t), k = slope();
    auto turn = [&](const QorVector& p) {
      return QorVector{cs * p.x - sn * p.y, sn * p.x + cs * p.y, p.z};
    };
    auto quarter = [](const QorVector& p) { return QorVector{-p.y, p.x, 0}; };
    rows[0][0] = turn(c[0]);
    if (order < 1) return;
    rows[1][0] = turn(quarter(c[0])) * k;
    rows[1][1] = turn(c[1]);
    if (order < 2) return;
    rows[2][0] = turn(quarter(quarter(c[0]))) * (k * k);
    rows[2][1] = turn(quarter(c[1])) * k;
    rows[2][2] = turn(c[2]);
  }
  // Fixed u: the sketch turned to theta(u), the same kind. Fixed v: the arc the sketch point
  // runs on, ranged over the first window (null on the axis, where it has no radius).
  RefFeatureHost* iso(int32_t direction, double parameter) override {
    QorMatrix f;
    frame(f);
    if (direction == 0)
      return movedSketch(f * QorMatrix::fromAxisAngle({0, 0, 1}, angle(parameter)));
    QorVector c;
    sketch_->evaluatePoint(c, parameter);
    QorVector x, y, z;
    axes(x, y, z);
    QorVector p;
    f.transformPoint(c, p);
    const QorVector centre = origin_ + z * z.dot(p - origin_);
    const QorVector radial = p - centre;
    const double radius = radial.length();
    if (!(radius > 1e-300)) return nullptr;
    RefFeatureHost* arc = makeArcHost();
    const double range[2] = {first_.x, first_.y};
    qorQuery<IQorArc>(arc, "IQorArc")->initialize(centre, radius, z, radial, n0_, n1_, range, 0);
    return arc;
  }
  void scaleNumbers(double) override {}
  RefFeatureHost* makeEmpty() override { return new RotationalHost(); }
  void* typedView(const char* name) override {
    if (qorNameIs(name, "IQorRotational")) return static_cast<IQorRotational*>(this);
    if (qorNameIs(name, "IQorSurface")) return static_cast<IQorSurface*>(this);
    if (qorNameIs(name, "IQorSwept")) return static_cast<IQorSwept*>(this);
    return nullptr;
  }

 private:
  double extent(bool upper) {
    if (!sketch_) return 0;
    const double a = sketch_->range(0), b = sketch_->range(1);
    double lo = kNaN, hi = kNaN;
    for (int i = 0; i <= kSamples; ++i) {
      QorVector p;
      sketch_->evaluatePoint(p, a + (b - a) * i / kSamples);
      lo = std::fmin(lo, p.z);
      hi = std::fmax(hi, p.z);
    }
    return upper ? hi : lo;
  }
};

}  // namespace

RefFeatureHost* makeExtrudedHost() {
  return new ExtrudedHost();
}
RefFeatureHost* makeRotationalHost() {
  return new RotationalHost();
}
RefFeatureHost* makeDraftedHost() {
  return new DraftedHost();
}
RefFeatureHost* makeSweptHost(const QorID& classId) {
  if (classId == kDraftedClassId) return makeDraftedHost();
  if (classId == kExtrudedClassId) return makeExtrudedHost();
  if (classId == kRotationalClassId) return makeRotationalHost();
  return nullptr;
}

void registerSweptSurfaces(RefComponentManager& m) {
  auto feature = [](RefFeatureHost* (*make)()) {
    return [make] { return static_cast<IQorUnknown*>(static_cast<IQorFeature*>(make())); };
  };
  m.registerFactory("IQorExtruded", feature(makeExtrudedHost));
  m.registerFactory("IQorRotational", feature(makeRotationalHost));
  m.registerFactory("IQorDrafted", feature(makeDraftedHost));
}

}  // namespace refhost
