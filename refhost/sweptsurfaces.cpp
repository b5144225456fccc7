#include "refhost/sweptsurfaces.h"

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

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
const QorID kSweepClassId = sweptId(0x11);

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kTwoPi = 6.283185307179586;
// Bounding boxes and heights sample the sketch at this many even steps of its range.
constexpr int kSamples = 64;

const FeatureKind kExtrudedKind{"RefExtrudedHost", "IQorExtruded", kExtrudedClassId};
const FeatureKind kRotationalKind{"RefRotationalHost", "IQorRotational", kRotationalClassId};
const FeatureKind kDraftedKind{"RefDraftedHost", "IQorDrafted", kDraftedClassId};
const FeatureKind kSweepKind{"RefSweepHost", "IQorSweep", kSweepClassId};

void nanRows(int32_t order, SurfaceRows& rows) {
  for (int32_t k = 0; k <= order; ++k)
    for (int32_t j = 0; j <= k; ++j) rows[k][j] = {kNaN, kNaN, kNaN};
}

bool finite(const QorVector& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

// The operations of QorMatrix::transformPoint and transformVector and of
// QorVector::normalise, in the same order (so with the same bits), inline for the
// evaluation paths. fmax(0, x) is x > 0 ? x : 0, equal for every x, NaN and -0 included.
inline QorVector mapPoint(const QorMatrix& m, const QorVector& p) {
  const double x = p.x, y = p.y, z = p.z;
  double rx = m[0] * x + m[1] * y + m[2] * z + m[3];
  double ry = m[4] * x + m[5] * y + m[6] * z + m[7];
  double rz = m[8] * x + m[9] * y + m[10] * z + m[11];
  const double w = m[12] * x + m[13] * y + m[14] * z + m[15];
  if (w != 1.0 && w != 0.0) {
    rx /= w;
    ry /= w;
    rz /= w;
  }
  return {rx, ry, rz};
}
inline QorVector mapVector(const QorMatrix& m, const QorVector& v) {
  const double x = v.x, y = v.y, z = v.z;
  return {m[0] * x + m[1] * y + m[2] * z, m[4] * x + m[5] * y + m[6] * z,
          m[8] * x + m[9] * y + m[10] * z};
}
inline bool normalised(QorVector& v) {
  const double a = v.x * v.x, b = v.y * v.y, c = v.z * v.z, l = a + b + c;
  if (!(l > 0.0)) return false;
  auto part = [](double sign, double rest) {
    const double q = 1.0 - rest;
    return (sign < 0.0 ? -1.0 : 1.0) * std::sqrt(q > 0.0 ? q : 0.0);
  };
  v = {part(v.x, (b + c) / l), part(v.y, (a + c) / l), part(v.z, (a + b) / l)};
  return true;
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

// A held curve in a record: uint8 1 and the curve's own record, or uint8 0 for none.
bool writeCurve(QorFileWrite& w, IQorCurve* curve) {
  bool ok = w.write(static_cast<uint8_t>(curve ? 1 : 0));
  if (!curve) return ok;
  auto* p = qorQuery<IQorPersistable>(curve, "IQorPersistable");
  return p && p->write(&w) && ok;
}
bool readCurve(QorFileRead& r, IPtr<IQorCurve>& out) {
  uint8_t has = 0;
  if (!r.read(has) || has > 1) return false;
  out = nullptr;
  if (has == 0) return true;
  IPtr<RefFeatureHost> h(curvekit::makeAnyHost(r.peekObjectId()));
  IQorCurve* c = h ? qorQuery<IQorCurve>(h.get(), "IQorCurve") : nullptr;
  if (!c || !h->read(&r)) return false;
  out = IPtr<IQorCurve>(c);
  return true;
}

// The iso curves that are no curve of a simple kind are cubic NURB curves through samples of
// the true curve: piecewise cubic Hermite (a C1 curve, knots doubled inside, running through
// the true point at every knot with the true first derivative). [a, b] starts as 16 even
// spans; round by round, every span whose Hermite middle is more than kIsoTolerance times
// (1 + the first samples' extent) from the true middle is halved, for at most kIsoRounds
// rounds and kMaxIsoSpans spans, so spans gather only where the curve bends fast or has a
// kink (and a curve that never settles stays small enough to measure).
constexpr double kIsoTolerance = 1e-9;
constexpr int kIsoSpans = 16, kIsoRounds = 8, kMaxIsoSpans = 512;

struct IsoSample {
  double t;
  QorVector p, d;  // the point and the first derivative
};

class HermiteSampler {
 public:
  explicit HermiteSampler(const std::function<void(double, QorVector*)>& at) : at_(at) {}

  // The samples over [a, b], or empty where a sample is not finite.
  std::vector<IsoSample> run(double a, double b) {
    std::vector<IsoSample> s;
    QorBounds box;
    for (int i = 0; i <= kIsoSpans; ++i) {
      s.push_back(sample(i == kIsoSpans ? b : a + (b - a) / kIsoSpans * i));
      putPoint(box, s.back().p);
    }
    const double tolerance = kIsoTolerance * (1 + (box.maximum() - box.minimum()).length());
    std::vector<bool> open(kIsoSpans, true);  // per span: not yet within the tolerance
    for (int round = 0; round < kIsoRounds && good_; ++round) {
      std::vector<IsoSample> t{s[0]};
      std::vector<bool> next;
      size_t spans = open.size();
      for (size_t i = 0; i + 1 < s.size() && good_; ++i) {
        bool keep = open[i];  // whether the span ending at s[i + 1] stays open
        if (open[i] && spans < kMaxIsoSpans) {
          const double h = s[i + 1].t - s[i].t;
          const IsoSample m = sample(s[i].t + h / 2);
          const QorVector mid = (s[i].p + s[i + 1].p) * 0.5 + (s[i].d - s[i + 1].d) * (h / 8);
          keep = !((mid - m.p).length() <= tolerance);
          if (keep) {
            t.push_back(m);
            next.push_back(true);
            ++spans;
          }
        }
        t.push_back(s[i + 1]);
        next.push_back(keep);
      }
      const bool split = t.size() > s.size();
      s.swap(t);
      open.swap(next);
      if (!split) break;
    }
    if (!good_) s.clear();
    return s;
  }

 private:
  IsoSample sample(double t) {
    IsoSample s{t, {}, {}};
    QorVector d[2];
    at_(t, d);
    s.p = d[0];
    s.d = d[1];
    good_ = good_ && finite(s.p) && finite(s.d);
    return s;
  }

  const std::function<void(double, QorVector*)>& at_;
  bool good_ = true;
};

// `at(t, out)` writes the point and the first derivative at t. The curve runs over [a, b] or
// [b, a]; null (count 0) for an empty or non-finite interval or a non-finite sample. Over a span of
// width h the inner poles are p0 + d0 h / 3 and p1 - d1 h / 3; a double knot between spans of
// widths h0 and h1 then runs through its sample, the h-weighted mean of the two poles beside it.
RefFeatureHost* hermiteCurve(double a, double b,
                             const std::function<void(double, QorVector*)>& at) {
  if (b < a) std::swap(a, b);  // a window given the other way round
  if (!(a < b) || !std::isfinite(a) || !std::isfinite(b) || !std::isfinite(b - a)) return nullptr;
  const std::vector<IsoSample> s = HermiteSampler(at).run(a, b);
  if (s.size() < 2) return nullptr;
  std::vector<double> knots{a, a, a, a};
  std::vector<QorVector> poles{s[0].p};
  for (size_t i = 1; i + 1 < s.size(); ++i) knots.insert(knots.end(), 2, s[i].t);
  knots.insert(knots.end(), 4, b);
  for (size_t i = 0; i + 1 < s.size(); ++i) {
    const double h = s[i + 1].t - s[i].t;
    poles.push_back(s[i].p + s[i].d * (h / 3));
    poles.push_back(s[i + 1].p - s[i + 1].d * (h / 3));
  }
  poles.push_back(s.back().p);
  RefFeatureHost* made = makeNurbCurveHost();
  std::vector<double> weights(poles.size(), 1.0);
  curvekit::adoptCurveRecord(*made, false, 3, std::move(knots), std::move(poles),
                             std::move(weights), a, b);
  return made;
}

// What every swept surface shares: the two windows, the held sketch, the normal rule, the
// iso curve gate, the working copy, the sampled bounds and the moves (by similarities).
class SurfaceBase : public CurveHostBase, public IQorSurface, public IQorSwept {
 public:
  // IQorSwept
  IQorCurve* sketch() override { return sketch_.get(); }

  // IQorSurface
  void ranges(Vector2D& u, Vector2D& v) override { parameterRange(u, v); }
  void setURange(double from, double to) override { first_ = Vector2D(from, to); }
  void setVRange(double from, double to) override { second_ = Vector2D(from, to); }
  // The normal is the unit of Su x Sv; where that is zero (a point on the axis, a
  // collapsed edge) it is taken a millionth of the windows towards their middle.
  void evaluatePoint(QorVector& point, double u, double v, QorVector* normal) override {
    SurfaceRows rows;
    evaluate(u, v, normal ? 1 : 0, rows);
    point = rows[0][0];
    if (!normal) return;
    QorVector n = rows[1][0].cross(rows[1][1]);
    if (!normalised(n) && finite(point)) {
      double du = (first_.x + first_.y) / 2 - u, dv = (second_.x + second_.y) / 2 - v;
      evaluate(u + du * 1e-6, v + dv * 1e-6, 1, rows);
      n = rows[1][0].cross(rows[1][1]);
      if (!normalised(n)) n = QorVector();
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
    guarded("transformSurface", [&] { moved = moveChecked("transformSurface", matrix); });
    return moved;
  }
  void transform(const QorMatrix& matrix) override {
    guarded("transform", [&] { moveChecked("transform", matrix); });
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
  SurfaceBase(const FeatureKind& kind, const char* name) : CurveHostBase(kind, name) {}

  // The iso curve in world coordinates (count 0), or null.
  virtual RefFeatureHost* iso(int32_t direction, double parameter) = 0;
  // Moves the geometry by p -> s R p + t.
  virtual void moveSimilar(const Similarity& s) = 0;
  // Whether every curve the surface needs is there.
  virtual bool complete() const { return static_cast<bool>(sketch_); }
  // complete(), with one log line per state when not.
  bool ready() {
    if (complete()) return true;
    noteOnce("evaluate", sketch_ ? "it has no spine or no ruler; answers NaN"
                                 : "it has no sketch; answers NaN");
    return false;
  }

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
  // Holds a copy of `curve` in `slot` (null drops it).
  void take(const char* what, IPtr<IQorCurve>& slot, IQorCurve* curve) {
    if (!curve) {
      slot = nullptr;
      return forgetNote();
    }
    IPtr<IQorCurve> copy = copyOf(curve);
    if (!copy) return fault(what, "the curve does not copy; the old one stays");
    slot = copy;
    forgetNote();
  }
  void takeSketch(IQorCurve* curve) { take("setSketch", sketch_, curve); }
  void extend(QorBounds& out) override {
    if (!complete()) return;
    for (int i = 0; i <= kSamples; ++i)
      for (int j = 0; j <= kSamples; ++j) {
        double a = double(i) / kSamples, b = double(j) / kSamples;
        QorVector p;
        evaluatePoint(p, first_.x + (first_.y - first_.x) * a,
                      second_.x + (second_.y - second_.x) * b, nullptr);
        putPoint(out, p);
      }
  }
  void moveAffine(const QorMatrix& m) override { moveChecked("transform", m); }

  Vector2D first_{0, 1}, second_{0, 1};
  IPtr<IQorCurve> sketch_;

 private:
  bool moveChecked(const char* what, const QorMatrix& m) {
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
    moveSimilar(s);
    return true;
  }
};

// The surfaces with one fixed frame (extruded, drafted, rotational): evaluation asks the kind
// for the local rows (in the surface frame) and maps them by the frame.
class SweptHost : public SurfaceBase {
 public:
  QorMatrix& frame(QorMatrix& out) override {
    QorVector x, y, z;
    axes(x, y, z);
    return out = QorMatrix::fromColumns(x, y, z, origin_);
  }
  void evaluate(double u, double v, int32_t order, SurfaceRows& rows) override {
    const int32_t nd = order < 0 ? 0 : (order > 2 ? 2 : order);
    if (!ready() || std::isnan(u) || std::isnan(v)) return nanRows(nd, rows);
    local(u, v, nd, rows);
    const QorMatrix& f = framed();
    rows[0][0] = mapPoint(f, rows[0][0]);
    for (int32_t k = 1; k <= nd; ++k)
      for (int32_t j = 0; j <= k; ++j) rows[k][j] = mapVector(f, rows[k][j]);
  }

 protected:
  using SurfaceBase::SurfaceBase;

  // Rows 0 .. order in the surface frame at (u, v); the sketch is there.
  virtual void local(double u, double v, int32_t order, SurfaceRows& rows) = 0;
  // The two numbers after a move that scales the frame's z coordinates by `zScale`.
  virtual void scaleNumbers(double zScale) = 0;
  // Whether the record holds the draft fields.
  virtual bool drafted() const { return false; }

  void axes(QorVector& x, QorVector& y, QorVector& z) const { frameOf(axis_, radial_, z, x, y); }
  void setAxis(const char* what, const QorVector& axis) {
    if (!finite(axis) || axis.lengthSquared() == 0)
      return fault(what, "the direction is zero or not finite; it stays");
    axis_ = axis;
  }
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
    return writeCurve(w, sketch_.get()) && ok;
  }
  std::function<void()> readBody(QorFileRead& r) override {
    QorVector origin, axis, radial;
    Vector2D first, second;
    double n0 = 0, n1 = 0;
    if (!r.read(origin) || !r.read(axis) || !r.read(radial) || !r.read(first) || !r.read(second) ||
        !r.read(n0) || !r.read(n1))
      return {};
    double draft = 0;
    uint8_t conic = 0;
    if (drafted() && (!r.read(draft) || !r.read(conic) || conic > 1)) return {};
    IPtr<IQorCurve> sketch;
    if (!readCurve(r, sketch)) return {};
    if (!finite(axis) || axis.lengthSquared() == 0) return {};
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

  // The frame, made again only when the origin, the axis or the radial direction it was made
  // from differ (a NaN origin makes it every time).
  const QorMatrix& framed() {
    if (!(madeFrom_[0] == origin_ && madeFrom_[1] == axis_ && madeFrom_[2] == radial_)) {
      frame(frame_);
      madeFrom_[0] = origin_;
      madeFrom_[1] = axis_;
      madeFrom_[2] = radial_;
    }
    return frame_;
  }

  QorVector origin_, axis_{0, 0, 1}, radial_{1, 0, 0};
  double n0_ = 0, n1_ = 0;  // the heights or the angles
  double draft_ = 0;        // drafted only
  bool conic_ = false;      // drafted only

 private:
  QorMatrix frame_;
  QorVector madeFrom_[3] = {{kNaN, kNaN, kNaN}, {kNaN, kNaN, kNaN}, {kNaN, kNaN, kNaN}};

 protected:
  // The frame turns by R (the third axis over as well when R mirrors), the origin moves, and
  // the sketch scales by s in the frame (z by -s for a mirror).
  void moveSimilar(const Similarity& s) override {
    QorVector x, y, z;
    axes(x, y, z);
    const double zScale = s.mirrors ? -s.scale : s.scale;
    if (sketch_) sketch_->transform(QorMatrix::scale(s.scale, s.scale, zScale));
    origin_ = s.point(origin_);
    radial_ = s.direction(x);
    axis_ = s.direction(z) * (s.mirrors ? -1.0 : 1.0);
    scaleNumbers(zScale);
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
// plane). Conic: s_h scales c in x and y about the sketch's centre C by k = 1 + d / r0, r0
// the distance of the sketch's middle point (the frame origin, where the shell puts it) from
// C (k = 1 for r0 = 0). C is an arc's centre, else the middle of the box of the sketch at 64
// even steps of its range, in the frame's x and y; so a drafted circle is a cone whose
// half-angle is the draft. C is kept until the sketch is replaced or moved.

class DraftedHost : public StraightSweptHost<IQorDrafted> {
 public:
  DraftedHost() : StraightSweptHost(kDraftedKind, "DraftedSurface") { init(); }

  // IQorDrafted beside the straight sweep's
  void setDraftAngle(double angle) override { draft_ = angle; }
  void setIsConic(bool conic) override { conic_ = conic; }
  double draftAngle() override { return draft_; }
  bool isConic() override { return conic_; }

 protected:
  void moveSimilar(const Similarity& s) override {
    StraightSweptHost::moveSimilar(s);
    centreFor_ = nullptr;  // the sketch was scaled in place
  }
  // The conic scale's centre (z = 0), computed once per sketch.
  const QorVector& conicCentre() {
    if (centreFor_ == sketch_.get()) return centre_;
    centreFor_ = sketch_.get();
    QorVector c;
    if (auto* arc = qorQuery<IQorArc>(sketch_.get(), "IQorArc")) {
      arc->center(c);
    } else {
      const double a = sketch_->range(0), b = sketch_->range(1);
      QorVector lo{HUGE_VAL, HUGE_VAL, 0}, hi{-HUGE_VAL, -HUGE_VAL, 0}, p;
      for (int i = 0; i <= 64; ++i) {
        sketch_->evaluatePoint(p, a + (b - a) * i / 64);
        lo = {std::min(lo.x, p.x), std::min(lo.y, p.y), 0};
        hi = {std::max(hi.x, p.x), std::max(hi.y, p.y), 0};
      }
      c = (lo + hi) * 0.5;
    }
    return centre_ = QorVector{c.x, c.y, 0};
  }
  // d(k)/dh of the conic scale.
  double conicRate() {
    QorVector mid;
    sketch_->evaluatePoint(mid, (sketch_->range(0) + sketch_->range(1)) / 2);
    const QorVector& c = conicCentre();
    const double r0 = std::hypot(mid.x - c.x, mid.y - c.y);
    return r0 > 0 ? std::tan(draft_) / r0 : 0.0;
  }
  void local(double u, double v, int32_t order, SurfaceRows& rows) override {
    const double h = height(v), hs = slope(), t = std::tan(draft_);
    QorVector c[4];
    if (conic_) {
      sketch_->evaluate(u, order, c);
      const double q = conicRate(), k = 1 + h * q, kv = hs * q;
      const QorVector& o = conicCentre();
      auto scaled = [](const QorVector& p, double f) { return QorVector{p.x * f, p.y * f, p.z}; };
      rows[0][0] = o + scaled(c[0] - o, k) + QorVector{0, 0, h};
      if (order < 1) return;
      rows[1][0] = scaled(c[1], k);
      rows[1][1] = {(c[0].x - o.x) * kv, (c[0].y - o.y) * kv, hs};
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
  // Fixed v: the same kind where the section is one, exactly: conic (a uniform scale about
  // the axis point at the sketch's plane), or a line or an arc across the axis. Any other
  // offset section is a cubic NURB curve through samples over the u window (see
  // hermiteCurve). Fixed u: the line along the sweep, as extruded.
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
      const QorVector& o = conicCentre();
      const QorVector at{o.x, o.y, c[0].z};
      return movedSketch(lift * QorMatrix::fromTranslation(at) *
                         QorMatrix::uniformScale(1 + h * conicRate()) *
                         QorMatrix::fromTranslation(at * -1.0));
    }
    QorVector n{c[1].y, -c[1].x, 0};
    if (n.normalise()) {
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
    }
    RefFeatureHost* made = hermiteCurve(first_.x, first_.y, [&](double u, QorVector* out) {
      SurfaceRows rows;
      evaluate(u, parameter, 1, rows);
      out[0] = rows[0][0];
      out[1] = rows[1][0];
    });
    if (!made)
      fault("isoCurve", "the u window is empty or the section is not finite; answers null");
    return made;
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

 private:
  const IQorCurve* centreFor_ = nullptr;  // the sketch centre_ was computed for
  QorVector centre_;
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

// ---- sweep: S(u, v) = P(v) + M(v) c(u) ----
// P the spine, R the ruler, both at the parameter v; M(v) has the columns x, y, z: z the unit
// of P'(v), x the unit of R(v) - P(v) across z, y = z x x. Where P' is zero or the ruler
// point lies on the tangent line, the frame falls back to any right-handed one around the
// tangent (or the world z) and its derivatives there are taken as zero.

// The unit n = w / |w| and its derivatives from those of w (rows 0 .. order); false for a
// zero w. With L = |w|: n' = (w' - L' n) / L, n'' = (w'' - L'' n - 2 L' n') / L, where
// L' = n . w' and L'' = n' . w' + n . w''.
bool unitRows(const QorVector* w, int32_t order, QorVector* n) {
  const double len = w[0].length();
  if (!(len > 0) || !std::isfinite(len)) return false;
  n[0] = w[0] * (1 / len);
  if (order < 1) return true;
  const double l1 = n[0].dot(w[1]);
  n[1] = (w[1] - n[0] * l1) * (1 / len);
  if (order < 2) return true;
  const double l2 = n[1].dot(w[1]) + n[0].dot(w[2]);
  n[2] = (w[2] - n[0] * l2 - n[1] * (2 * l1)) * (1 / len);
  return true;
}

class SweepHost : public SurfaceBase, public IQorSweep {
 public:
  SweepHost() : SurfaceBase(kSweepKind, "SweepSurface") { init(); }

  // IQorSweep
  IQorCurve* spine() override { return spine_.get(); }
  IQorCurve* ruler() override { return ruler_.get(); }
  void setArcProfileRadius(double r) override {
    if (!(r >= 0)) return fault("setArcProfileRadius", "the radius is negative or NaN; it stays");
    guarded("setArcProfileRadius", [&] {
      IPtr<RefFeatureHost> circle(makeArcHost()), whole(makeCompositeCurveHost());
      const double range[2] = {0, 1};
      qorQuery<IQorArc>(circle.get(), "IQorArc")
          ->initialize({0, 0, 0}, r, {0, 0, 1}, {1, 0, 0}, 0, kTwoPi, range, 0);
      qorQuery<IQorCompositeCurve>(whole.get(), "IQorCompositeCurve")
          ->addCurve(qorQuery<IQorCurve>(circle.get(), "IQorCurve"));
      sketch_ = IPtr<IQorCurve>(qorQuery<IQorCurve>(whole.get(), "IQorCurve"));
      forgetNote();
    });
  }
  void setSketch(IQorCurve* curve) override { takeSketch(curve); }
  void setSpine(IQorCurve* curve) override { take("setSpine", spine_, curve); }
  void setRuler(IQorCurve* curve) override { take("setRuler", ruler_, curve); }

  // IQorSwept: the frame at the lower end of the v window (the identity without a spine and
  // a ruler).
  QorMatrix& frame(QorMatrix& out) override {
    out = QorMatrix::identity();
    if (!spine_ || !ruler_ || !std::isfinite(second_.x)) return out;
    QorVector p[3], m[3][3];
    frameRows(second_.x, 0, p, m);
    return out = QorMatrix::fromColumns(m[0][0], m[1][0], m[2][0], p[0]);
  }

  // IQorSurface. Closed in u with the sketch, in v with the spine and the ruler.
  bool isClosedInU() override { return sketch_ && sketch_->isClosed(); }
  bool isClosedInV() override {
    return spine_ && ruler_ && spine_->isClosed() && ruler_->isClosed();
  }
  // Su = M c', Sv = P' + M' c, Suu = M c'', Suv = M' c', Svv = P'' + M'' c.
  void evaluate(double u, double v, int32_t order, SurfaceRows& rows) override {
    const int32_t nd = order < 0 ? 0 : (order > 2 ? 2 : order);
    if (!ready() || std::isnan(u) || std::isnan(v)) return nanRows(nd, rows);
    QorVector p[3], m[3][3], c[3];
    frameRows(v, nd, p, m);
    sketch_->evaluate(u, nd, c);
    auto map = [&](int k, const QorVector& q) {
      return m[0][k] * q.x + m[1][k] * q.y + m[2][k] * q.z;
    };
    rows[0][0] = p[0] + map(0, c[0]);
    if (nd < 1) return;
    rows[1][0] = map(0, c[1]);
    rows[1][1] = p[1] + map(1, c[0]);
    if (nd < 2) return;
    rows[2][0] = map(0, c[2]);
    rows[2][1] = map(1, c[1]);
    rows[2][2] = p[2] + map(2, c[0]);
  }

 protected:
  bool complete() const override { return sketch_ && spine_ && ruler_; }
  // The spine point p and the frame's columns m[x, y, z][k] with k derivatives in v.
  void frameRows(double v, int32_t order, QorVector* p, QorVector (*m)[3]) {
    QorVector s[4], r[3], d[3];
    spine_->evaluate(v, order + 1, s);
    ruler_->evaluate(v, order, r);
    for (int k = 0; k <= order; ++k) {
      p[k] = s[k];
      d[k] = r[k] - s[k];
      for (int j = 0; j < 3; ++j) m[j][k] = QorVector();
    }
    QorVector* x = m[0];
    QorVector* y = m[1];
    QorVector* z = m[2];
    // w = d - z (z . d), the part of d across the tangent, with its derivatives.
    bool ok = unitRows(s + 1, order, z);
    if (ok) {
      QorVector w[3];
      const double a = z[0].dot(d[0]);
      w[0] = d[0] - z[0] * a;
      if (order >= 1) {
        const double a1 = z[1].dot(d[0]) + z[0].dot(d[1]);
        w[1] = d[1] - z[1] * a - z[0] * a1;
        if (order >= 2) {
          const double a2 = z[2].dot(d[0]) + z[1].dot(d[1]) * 2 + z[0].dot(d[2]);
          w[2] = d[2] - z[2] * a - z[1] * (2 * a1) - z[0] * a2;
        }
      }
      ok = unitRows(w, order, x);
    }
    if (!ok) {
      for (int k = 0; k <= order; ++k) x[k] = y[k] = z[k] = QorVector();
      frameOf(s[1], d[0], z[0], x[0], y[0]);
      return;
    }
    y[0] = z[0].cross(x[0]);
    if (order >= 1) y[1] = z[1].cross(x[0]) + z[0].cross(x[1]);
    if (order >= 2) y[2] = z[2].cross(x[0]) + z[1].cross(x[1]) * 2 + z[0].cross(x[2]);
  }
  // Fixed v: the sketch carried by M(v) to P(v), the same kind. Fixed u: the path of the
  // sketch point, a cubic NURB curve over the v window (see hermiteCurve).
  RefFeatureHost* iso(int32_t direction, double parameter) override {
    if (direction == 1) {
      QorVector p[3], m[3][3];
      frameRows(parameter, 0, p, m);
      if (!finite(p[0]) || !finite(m[0][0]) || !finite(m[1][0]) || !finite(m[2][0]))
        return nullptr;  // the spine or the ruler is not finite there
      return movedSketch(QorMatrix::fromColumns(m[0][0], m[1][0], m[2][0], p[0]));
    }
    RefFeatureHost* made = hermiteCurve(second_.x, second_.y, [&](double v, QorVector* out) {
      SurfaceRows rows;
      evaluate(parameter, v, 1, rows);
      out[0] = rows[0][0];
      out[1] = rows[1][1];
    });
    if (!made) fault("isoCurve", "the v window is empty or the path is not finite; answers null");
    return made;
  }
  // The spine and the ruler move with the world; the frame turns by R (y over as well when
  // R mirrors), so the sketch scales by s in the frame (y by -s for a mirror).
  void moveSimilar(const Similarity& s) override {
    QorMatrix m = QorMatrix::identity();
    for (int i = 0; i < 3; ++i) {
      const QorVector row = (i == 0 ? s.r0 : i == 1 ? s.r1 : s.r2) * s.scale;
      m[4 * i] = row.x;
      m[4 * i + 1] = row.y;
      m[4 * i + 2] = row.z;
      m[4 * i + 3] = i == 0 ? s.shift.x : i == 1 ? s.shift.y : s.shift.z;
    }
    if (spine_) spine_->transform(m);
    if (ruler_) ruler_->transform(m);
    if (sketch_)
      sketch_->transform(QorMatrix::scale(s.scale, s.mirrors ? -s.scale : s.scale, s.scale));
  }
  void copyInto(CurveHostBase& other) override {
    auto& o = static_cast<SweepHost&>(other);
    o.first_ = first_;
    o.second_ = second_;
    o.sketch_ = sketch_ ? copyOf(sketch_.get()) : nullptr;
    o.spine_ = spine_ ? copyOf(spine_.get()) : nullptr;
    o.ruler_ = ruler_ ? copyOf(ruler_.get()) : nullptr;
    if ((sketch_ && !o.sketch_) || (spine_ && !o.spine_) || (ruler_ && !o.ruler_))
      fault("clone", "a curve does not copy; the copy goes without");
  }
  // Body: the first and the second window, then the sketch, the spine and the ruler, each as
  // uint8 1 and the curve's own record or uint8 0 for none.
  bool writeBody(QorFileWrite& w) override {
    bool ok = w.write(first_);
    ok = w.write(second_) && ok;
    ok = writeCurve(w, sketch_.get()) && ok;
    ok = writeCurve(w, spine_.get()) && ok;
    return writeCurve(w, ruler_.get()) && ok;
  }
  std::function<void()> readBody(QorFileRead& r) override {
    Vector2D first, second;
    IPtr<IQorCurve> sketch, spine, ruler;
    if (!r.read(first) || !r.read(second) || !readCurve(r, sketch) || !readCurve(r, spine) ||
        !readCurve(r, ruler))
      return {};
    return [=, this]() {
      first_ = first;
      second_ = second;
      sketch_ = sketch;
      spine_ = spine;
      ruler_ = ruler;
      forgetNote();
    };
  }
  RefFeatureHost* makeEmpty() override { return new SweepHost(); }
  void* typedView(const char* name) override {
    if (qorNameIs(name, "IQorSweep")) return static_cast<IQorSweep*>(this);
    if (qorNameIs(name, "IQorSurface")) return static_cast<IQorSurface*>(this);
    if (qorNameIs(name, "IQorSwept")) return static_cast<IQorSwept*>(this);
    return nullptr;
  }

 private:
  IPtr<IQorCurve> spine_, ruler_;
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
RefFeatureHost* makeSweepHost() {
  return new SweepHost();
}
RefFeatureHost* makeSweptHost(const QorID& classId) {
  if (classId == kSweepClassId) return makeSweepHost();
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
  m.registerFactory("IQorSweep", feature(makeSweepHost));
}

}  // namespace refhost
