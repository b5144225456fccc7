#include "refhost/curvehosts.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "persistence/qorfile.h"
#include "refhost/componentmanager.h"
#include "refhost/curvekit.h"
#include "refhost/host.h"
#include "refhost/nurbsmath.h"
#include "refhost/strsupport.h"
#include "refhost/sweptsurfaces.h"

namespace refhost {

using curvekit::CurveHostBase;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
const QorVector kNaNVector{kNaN, kNaN, kNaN};
// Two ends closer than this close a curve (absolute, in model units).
constexpr double kClosedTolerance = 1e-10;

QorID familyId(uint32_t k) {
  return QorID(0x6b1e2a00 + k, 0x3c4d, 0x4e5f,
               {0x80, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, static_cast<uint8_t>(k)});
}

void logError(const std::string& text) {
  log().logError(utf8ToWide(text.c_str()));
}

std::string indexText(int64_t index, int64_t first, int64_t count) {
  return "index " + std::to_string(index) + " is outside " + std::to_string(first) + ".." +
         std::to_string(first + count - 1) + "; nothing changes";
}

}  // namespace

const QorID kNurbCurveClassId = familyId(8);
const QorID kNurbSurfaceClassId = familyId(9);
const QorID kPolyLineClassId = familyId(10);
const QorID kPolyLine2DClassId = familyId(11);
const QorID kCompositeCurveClassId = familyId(12);

namespace {

const FeatureKind kNurbCurveKind{"RefNurbCurveHost", "IQorNurbCurve", kNurbCurveClassId};
const FeatureKind kPolyLineKind{"RefPolyLineHost", "IQorPolyLine", kPolyLineClassId};
const FeatureKind kPolyLine2DKind{"RefPolyLine2DHost", "IQorPolyLine2D", kPolyLine2DClassId};
const FeatureKind kCompositeKind{"RefCompositeCurveHost", "IQorCompositeCurve",
                                 kCompositeCurveClassId};

// ---- NURB curve ----

// The flat record. knots holds n + degree + 1 values at all times.
struct CurveRecord {
  bool rational = false;
  int32_t degree = 0;
  int32_t n = 0;
  std::vector<double> knots{0.0};
  std::vector<QorVector> poles;
  std::vector<double> weights;
  double r0 = 0, r1 = 0;  // the window
};

// The knots of initialize: clamped uniform where n > p; with too few poles for the degree
// the first p + 1 knots are 0 and the rest 1.
void initialKnots(int32_t n, int32_t p, std::vector<double>& out) {
  out.assign(static_cast<size_t>(n) + p + 1, 0.0);
  if (n > p)
    nurbs::clampedUniformKnots(n, p, out.data());
  else
    for (size_t i = static_cast<size_t>(p) + 1; i < out.size(); ++i) out[i] = 1;
}

// The knot domain: (U[p], U[n]) when n > p, else the first and last knot.
void knotDomain(const CurveRecord& c, double& a, double& b) {
  if (c.n > c.degree) {
    a = c.knots[c.degree];
    b = c.knots[c.n];
  } else {
    a = c.knots.front();
    b = c.knots.back();
  }
}

class NurbCurveHost : public CurveHostBase, public IQorNurbCurve, public IQorCurve {
 public:
  NurbCurveHost() : CurveHostBase(kNurbCurveKind, "NurbCurve") { init(); }

  // IQorNurbCurve
  void initialize(bool rational, int32_t degree, int32_t numControlPoints) override {
    guarded("initialize", [&] {
      int32_t p = std::max(degree, 0), n = std::max(numControlPoints, 0);
      if (int64_t(n) + p + 1 > curvekit::kMaxCount)
        return fault("initialize", ("degree " + std::to_string(p) + " with " + std::to_string(n) +
                                    " poles is too large; nothing changes")
                                       .c_str());
      CurveRecord c;
      c.rational = rational;
      c.degree = p;
      c.n = n;
      initialKnots(n, p, c.knots);
      c.poles.assign(static_cast<size_t>(n), QorVector());
      c.weights.assign(static_cast<size_t>(n), 1.0);
      knotDomain(c, c.r0, c.r1);
      rec_ = std::move(c);
      changed();
    });
  }
  bool isRational() override { return rec_.rational; }
  int32_t degree() override { return rec_.degree; }
  int32_t numKnots() override { return static_cast<int32_t>(rec_.knots.size()); }
  void setKnot(int32_t index, double value) override {
    if (!knotIndex("setKnot", index)) return;
    rec_.knots[index] = value;
    changed();
  }
  double knot(int32_t index) override { return knotIndex("knot", index) ? rec_.knots[index] : 0; }
  void setKnots(const double* knots) override {
    if (!knots) return fault("setKnots", "no knots given; nothing changes");
    std::copy(knots, knots + rec_.knots.size(), rec_.knots.begin());
    knotDomain(rec_, rec_.r0, rec_.r1);
    changed();
  }
  const double* knots() override { return rec_.knots.empty() ? nullptr : rec_.knots.data(); }
  int32_t numControlPoints() override { return rec_.n; }
  void setControlPoint(int32_t index, const QorVector& point, double weight) override {
    if (!poleIndex("setControlPoint", index)) return;
    rec_.poles[index] = point;
    rec_.weights[index] = weight;
    changed();
  }
  QorVector& controlPoint(int32_t index, QorVector& out) override {
    out = poleIndex("controlPoint", index) ? rec_.poles[index] : QorVector();
    return out;
  }
  void setWeight(int32_t index, double weight) override {
    if (!poleIndex("setWeight", index)) return;
    rec_.weights[index] = weight;
    changed();
  }
  double weight(int32_t index) override {
    return poleIndex("weight", index) ? rec_.weights[index] : 0;
  }

  // IQorCurve
  double range(int32_t index) override { return index == 0 ? rec_.r0 : rec_.r1; }
  void setRange(double lower, double upper) override {
    rec_.r0 = lower;
    rec_.r1 = upper;
  }
  bool isClosed() override {
    if (!ready()) return false;
    QorVector a = point(rec_.r0), b = point(rec_.r1);
    return (a - b).length() <= kClosedTolerance;
  }
  bool isDegenerate() override {
    for (const QorVector& p : rec_.poles)
      if (!((p - rec_.poles[0]).lengthSquared() <= 1e-24)) return false;
    return true;
  }
  void prepare() override {}
  void evaluate(double t, int32_t order, QorVector* out) override {
    if (!out || order < 0) return;
    if (!ready() || std::isnan(t)) {
      std::fill(out, out + order + 1, kNaNVector);
      return;
    }
    if (order <= 3)
      nurbs::curveDerivs(view_, clamp(t), order, out);
    else
      anyOrder(clamp(t), order, out);
  }
  void evaluatePoint(QorVector& out, double t) override {
    out = ready() && !std::isnan(t) ? nurbs::curvePoint(view_, clamp(t)) : kNaNVector;
  }
  void transform(const QorMatrix& matrix) override { CurveHostBase::transform(matrix); }
  double length() override {
    if (!ready() || std::isnan(rec_.r0) || std::isnan(rec_.r1)) return kNaN;
    return nurbs::curveLength(view_, clamp(rec_.r0), clamp(rec_.r1));
  }

  // For the surface's iso curves: takes a whole record.
  void adopt(CurveRecord&& c) {
    rec_ = std::move(c);
    changed();
  }

 protected:
  void moveAffine(const QorMatrix& m) override {
    curvekit::movePoles(rec_.poles, m);
    changed();
  }
  // Each span's piece of the window as a Bezier segment (its poles by blossoming), halved
  // kBoundsHalvings times by de Casteljau: the box of those poles holds the curve by the
  // convex hull property (the gate keeps the weights above 0) and comes within a small
  // fraction of the tight box.
  void extend(QorBounds& out) override {
    if (!ready() || rec_.n == 0) return;
    double a = clamp(rec_.r0), b = clamp(rec_.r1);
    if (std::isnan(a) || std::isnan(b)) return;
    if (a > b) std::swap(a, b);
    const int32_t p = rec_.degree;
    const double* U = rec_.knots.data();
    putPoint(out, nurbs::curvePoint(view_, a));
    putPoint(out, nurbs::curvePoint(view_, b));
    const int32_t first = nurbs::findSpan(rec_.n, p, a, U), last = nurbs::findSpan(rec_.n, p, b, U);
    const size_t m = static_cast<size_t>(p) + 1;
    std::vector<Homogeneous> bezier(m), work(m), scratch(m * (2 * kBoundsHalvings + 1));
    for (int32_t s = first; s <= last; ++s) {
      const double ta = std::max(a, U[s]), tb = std::min(b, U[s + 1]);
      if (!(ta < tb)) continue;
      for (int32_t j = 0; j <= p; ++j) bezier[j] = blossom(s, ta, tb, p - j, work);
      halve(bezier.data(), m, kBoundsHalvings, scratch.data(), out);
    }
  }
  RefFeatureHost* makeEmpty() override { return new NurbCurveHost(); }
  void* typedView(const char* name) override {
    if (qorNameIs(name, "IQorNurbCurve")) return static_cast<IQorNurbCurve*>(this);
    if (qorNameIs(name, "IQorCurve")) return static_cast<IQorCurve*>(this);
    return nullptr;
  }
  void copyInto(CurveHostBase& other) override {
    static_cast<NurbCurveHost&>(other).adopt(CurveRecord(rec_));
  }
  // Body: uint8 rational, int32 degree, int32 n, the window (a pair chunk), the knots, the
  // poles and the weights (array chunks).
  bool writeBody(QorFileWrite& w) override {
    bool ok = w.write(static_cast<uint8_t>(rec_.rational ? 1 : 0));
    ok = w.write(rec_.degree) && ok;
    ok = w.write(rec_.n) && ok;
    ok = w.write(Vector2D(rec_.r0, rec_.r1)) && ok;
    ok = curvekit::writeDoubles(w, curvekit::kKnotsTag, rec_.knots.data(),
                                static_cast<int64_t>(rec_.knots.size())) &&
         ok;
    ok = curvekit::writePoles(w, rec_.poles.data(), rec_.n) && ok;
    ok = curvekit::writeDoubles(w, curvekit::kWeightsTag, rec_.weights.data(), rec_.n) && ok;
    return ok;
  }
  std::function<void()> readBody(QorFileRead& r) override {
    CurveRecord c;
    uint8_t rational = 0;
    Vector2D window;
    if (!r.read(rational) || rational > 1 || !r.read(c.degree) || !r.read(c.n) || !r.read(window))
      return {};
    c.rational = rational == 1;
    if (c.degree < 0 || c.n < 0 || int64_t(c.n) + c.degree + 1 > curvekit::kMaxCount ||
        (int64_t(c.n) * 4 + c.degree) * 8 > r.remaining())
      return {};
    if (!curvekit::readDoubles(r, curvekit::kKnotsTag, int64_t(c.n) + c.degree + 1, c.knots) ||
        !curvekit::readPoles(r, c.n, c.poles) ||
        !curvekit::readDoubles(r, curvekit::kWeightsTag, c.n, c.weights))
      return {};
    c.r0 = window.x;
    c.r1 = window.y;
    return [this, c = std::move(c)]() mutable { adopt(std::move(c)); };
  }

 private:
  void changed() {
    gateRun_ = false;
    forgetNote();
  }
  // Whether the record passes the gate; run only after a change, logging once per state.
  bool ready() {
    if (gateRun_) return gatePassed_;
    view_ = {rec_.degree,         rec_.n,       rec_.knots.data(), rec_.poles.data(),
             rec_.weights.data(), rec_.rational};
    const char* why = nurbs::curveGate(view_);
    gateRun_ = true;
    gatePassed_ = why == nullptr;
    knotDomain(rec_, lo_, hi_);
    if (why)
      noteOnce("evaluate", (std::string("cannot evaluate (") + why + "); answers NaN").c_str());
    return gatePassed_;
  }
  double clamp(double t) const { return t < lo_ ? lo_ : (t > hi_ ? hi_ : t); }
  QorVector point(double t) {
    return std::isnan(t) ? kNaNVector : nurbs::curvePoint(view_, clamp(t));
  }
  // Derivatives above the third: the homogeneous derivatives by the basis derivatives, then
  // the quotient rule.
  void anyOrder(double t, int32_t order, QorVector* out) {
    const int32_t p = rec_.degree, nd = std::min(order, p);
    const int32_t span = nurbs::findSpan(rec_.n, p, t, rec_.knots.data());
    std::vector<double> ders(static_cast<size_t>(nd + 1) * (p + 1));
    nurbs::dersBasisFuns(span, t, p, nd, rec_.knots.data(), ders.data());
    std::vector<QorVector> a(static_cast<size_t>(order) + 1);
    std::vector<double> w(static_cast<size_t>(order) + 1, 0.0);
    for (int32_t k = 0; k <= nd; ++k)
      for (int32_t j = 0; j <= p; ++j) {
        int32_t i = span - p + j;
        double wi = rec_.rational ? rec_.weights[i] : 1.0, f = ders[k * (p + 1) + j];
        a[k] = a[k] + rec_.poles[i] * (f * wi);
        w[k] += f * wi;
      }
    for (int32_t k = 0; k <= order; ++k) {
      QorVector v = a[k];
      double binom = 1;
      for (int32_t i = 1; i <= k; ++i) {
        binom = binom * (k - i + 1) / i;
        v = v - out[k - i] * (binom * w[i]);
      }
      out[k] = v * (1 / w[0]);
    }
  }
  // A homogeneous pole (w x, w y, w z, w).
  struct Homogeneous {
    double x = 0, y = 0, z = 0, w = 0;
    Homogeneous mix(const Homogeneous& o, double f) const {
      return {x + (o.x - x) * f, y + (o.y - y) * f, z + (o.z - z) * f, w + (o.w - w) * f};
    }
  };
  static constexpr int32_t kBoundsHalvings = 4;
  // The blossom of span s at (ta repeated k times, tb the other p - k times), by de Boor's
  // triangle with one argument per level.
  Homogeneous blossom(int32_t s, double ta, double tb, int32_t k, std::vector<Homogeneous>& d) {
    const int32_t p = rec_.degree;
    const double* U = rec_.knots.data();
    for (int32_t j = 0; j <= p; ++j) {
      const QorVector& q = rec_.poles[s - p + j];
      double w = rec_.rational ? rec_.weights[s - p + j] : 1.0;
      d[j] = {q.x * w, q.y * w, q.z * w, w};
    }
    for (int32_t r = 1; r <= p; ++r) {
      const double x = r <= k ? ta : tb;
      for (int32_t j = p; j >= r; --j) {
        const double lo = U[s - p + j], hi = U[s + 1 + j - r];
        d[j] = d[j - 1].mix(d[j], (x - lo) / (hi - lo));
      }
    }
    return d[p];
  }
  // Puts the box of the m poles after `depth` halvings of the Bezier polygon; `scratch`
  // holds 2 m depth + m poles.
  static void halve(const Homogeneous* poly, size_t m, int32_t depth, Homogeneous* scratch,
                    QorBounds& out) {
    if (depth == 0) {
      for (size_t j = 0; j < m; ++j)
        putPoint(out, {poly[j].x / poly[j].w, poly[j].y / poly[j].w, poly[j].z / poly[j].w});
      return;
    }
    Homogeneous *left = scratch, *right = scratch + m, *level = scratch + 2 * m * depth;
    std::copy(poly, poly + m, level);
    for (size_t r = 0; r < m; ++r) {
      left[r] = level[0];
      right[m - 1 - r] = level[m - 1 - r];
      for (size_t j = 0; j + r + 1 < m; ++j) level[j] = level[j].mix(level[j + 1], 0.5);
    }
    halve(left, m, depth - 1, scratch + 2 * m, out);
    halve(right, m, depth - 1, scratch + 2 * m, out);
  }
  bool knotIndex(const char* what, int32_t index) {
    if (index >= 0 && index < numKnots()) return true;
    fault(what, indexText(index, 0, numKnots()).c_str());
    return false;
  }
  bool poleIndex(const char* what, int32_t index) {
    if (index >= 0 && index < rec_.n) return true;
    fault(what, indexText(index, 0, rec_.n).c_str());
    return false;
  }

  CurveRecord rec_;
  nurbs::CurveView view_;
  bool gateRun_ = false, gatePassed_ = false;
  double lo_ = 0, hi_ = 0;
};

// ---- polylines ----

// Piecewise linear in knot space over n points p and knots k (zero-based arrays).
struct Piecewise {
  const QorVector* p;
  const double* k;
  int32_t n;
  // The segment i (0 .. n - 2) holding t: the last i with k[i] <= t, found by halving (any
  // knots, ordered or not, give some segment).
  int32_t segment(double t) const {
    int32_t lo = 0, hi = n - 1;  // k[lo] <= t assumed, answer in [lo, hi - 1]
    while (hi - lo > 1) {
      int32_t mid = lo + (hi - lo) / 2;
      if (k[mid] <= t)
        lo = mid;
      else
        hi = mid;
    }
    return lo;
  }
  double fraction(int32_t i, double t) const {
    // A zero interval can only close the knots (the search passes those before): its end.
    double d = k[i + 1] - k[i];
    if (!(d > 0)) return t >= k[i] ? 1 : 0;
    double f = (t - k[i]) / d;
    return f < 0 ? 0 : (f > 1 ? 1 : f);
  }
};

class PolyLineHost : public CurveHostBase, public IQorPolyLineV2, public IQorCurve {
 public:
  PolyLineHost() : PolyLineHost(kPolyLineKind, "Polyline") {}

  // IQorPolyLine
  void setPointsAndKnots(const IterStack<QorVector>& points,
                         const IterStack<double>& knots) override {
    guarded("setPointsAndKnots", [&] { replace(points, &knots); });
  }
  int32_t numPoints() override { return pts_.count(); }
  void setPoints(const IterStack<QorVector>& points) override {
    guarded("setPoints", [&] { replace(points, nullptr); });
  }
  const IterStack<QorVector>& points() override { return pts_; }
  const IterStack<double>& knots() override { return knots_; }
  void setPoint(int32_t index, const QorVector& point) override {
    if (!checked("setPoint", index)) return;
    pts_.at(index) = point;
    forgetNote();
  }
  QorVector& point(int32_t index, QorVector& out) override {
    out = checked("point", index) ? pts_.get(index) : QorVector();
    return out;
  }
  double knot(int32_t index) override { return checked("knot", index) ? knots_.get(index) : 0; }
  void setKnot(int32_t index, double value) override {
    if (!checked("setKnot", index)) return;
    knots_.at(index) = value;
    followKnots();
  }

  // IQorCurve
  double range(int32_t index) override { return index == 0 ? r0_ : r1_; }
  void setRange(double lower, double upper) override {
    r0_ = lower;
    r1_ = upper;
  }
  bool isClosed() override {
    int32_t n = pts_.count();
    return n >= 2 && (pts_.get(1) - pts_.get(n)).length() <= kClosedTolerance;
  }
  bool isDegenerate() override {
    for (int32_t i = 2; i <= pts_.count(); ++i)
      if (!((pts_.get(i) - pts_.get(1)).lengthSquared() <= 1e-24)) return false;
    return true;
  }
  void prepare() override {}
  void evaluate(double t, int32_t order, QorVector* out) override {
    if (!out || order < 0) return;
    if (!usable(t)) {
      std::fill(out, out + order + 1, kNaNVector);
      return;
    }
    Piecewise c = curve();
    t = clamp(t);
    if (c.n == 1) {
      out[0] = c.p[0];
      std::fill(out + 1, out + order + 1, QorVector());
      return;
    }
    int32_t i = c.segment(t);
    QorVector d = c.p[i + 1] - c.p[i];
    double f = c.fraction(i, t);
    // A segment's end is the next point itself, so polylines that share a point meet there.
    out[0] = f == 1 ? c.p[i + 1] : c.p[i] + d * f;
    double span = c.k[i + 1] - c.k[i];
    if (order >= 1) out[1] = span > 0 ? d * (1 / span) : QorVector();
    if (order >= 2) std::fill(out + 2, out + order + 1, QorVector());
  }
  void evaluatePoint(QorVector& out, double t) override {
    QorVector d[1];
    evaluate(t, 0, d);
    out = d[0];
  }
  void transform(const QorMatrix& matrix) override { CurveHostBase::transform(matrix); }
  // The length of the window's part (the window clamped into the knot domain).
  double length() override {
    if (pts_.count() == 0 || std::isnan(r0_) || std::isnan(r1_)) return kNaN;
    return std::fabs(arc(clamp(r1_)) - arc(clamp(r0_)));
  }

 protected:
  PolyLineHost(const FeatureKind& kind, const char* name) : CurveHostBase(kind, name) { init(); }
  // Replaces the points; the knots from `knots` as far as it reaches, index knots (0 for
  // the first point) past it. The window follows the knot domain.
  void replace(const IterStack<QorVector>& points, const IterStack<double>* knots) {
    int32_t n = std::max(points.count(), 0);
    IterStack<QorVector> p(n);
    IterStack<double> k(n);
    for (int32_t i = 1; i <= n; ++i) {
      p.push(points.get(i));
      k.push(knots && i <= knots->count() ? knots->get(i) : i - 1);
    }
    pts_.swap(p);
    knots_.swap(k);
    followKnots();
  }
  void followKnots() {
    int32_t n = knots_.count();
    r0_ = n > 0 ? knots_.get(1) : 0;
    r1_ = n > 0 ? knots_.get(n) : 0;
    forgetNote();
  }
  void moveAffine(const QorMatrix& m) override {
    for (int32_t i = 1; i <= pts_.count(); ++i) {
      QorVector q;
      m.transformPoint(pts_.get(i), q);
      pts_.at(i) = q;
    }
  }
  void extend(QorBounds& out) override {
    for (int32_t i = 1; i <= pts_.count(); ++i) putPoint(out, pts_.get(i));
  }
  RefFeatureHost* makeEmpty() override { return new PolyLineHost(); }
  void* typedView(const char* name) override {
    if (qorNameIs(name, "IQorPolyLine")) return static_cast<IQorPolyLine*>(this);
    if (qorNameIs(name, "IQorPolyLineV2")) return static_cast<IQorPolyLineV2*>(this);
    if (qorNameIs(name, "IQorCurve")) return static_cast<IQorCurve*>(this);
    return nullptr;
  }
  void copyInto(CurveHostBase& other) override {
    auto& o = static_cast<PolyLineHost&>(other);
    o.pts_ = pts_;
    o.knots_ = knots_;
    o.r0_ = r0_;
    o.r1_ = r1_;
  }
  // Body: int32 n, the window, the points and the knots (array chunks).
  bool writeBody(QorFileWrite& w) override {
    int32_t n = pts_.count();
    bool ok = w.write(n);
    ok = w.write(Vector2D(r0_, r1_)) && ok;
    ok = curvekit::writePoles(w, pts_.items() + 1, n) && ok;
    ok = curvekit::writeDoubles(w, curvekit::kKnotsTag, knots_.items() + 1, n) && ok;
    return ok;
  }
  std::function<void()> readBody(QorFileRead& r) override {
    int32_t n = 0;
    Vector2D window;
    std::vector<QorVector> p;
    std::vector<double> k;
    if (!r.read(n) || !r.read(window) || n < 0 || int64_t(n) * 32 > r.remaining() ||
        !curvekit::readPoles(r, n, p) || !curvekit::readDoubles(r, curvekit::kKnotsTag, n, k))
      return {};
    return [this, n, window, p = std::move(p), k = std::move(k)] {
      install(p.data(), k.data(), n);
      r0_ = window.x;
      r1_ = window.y;
    };
  }
  void install(const QorVector* p, const double* k, int32_t n) {
    IterStack<QorVector> ps(n);
    IterStack<double> ks(n);
    for (int32_t i = 0; i < n; ++i) {
      ps.push(p[i]);
      ks.push(k[i]);
    }
    pts_.swap(ps);
    knots_.swap(ks);
    forgetNote();
  }
  bool checked(const char* what, int32_t index) {
    if (index >= 1 && index <= pts_.count()) return true;
    fault(what, indexText(index, 1, pts_.count()).c_str());
    return false;
  }

  IterStack<QorVector> pts_;
  IterStack<double> knots_;
  double r0_ = 0, r1_ = 0;

 private:
  Piecewise curve() const { return {pts_.items() + 1, knots_.items() + 1, pts_.count()}; }
  // t clamped into the knot domain (the smaller to the larger end knot).
  double clamp(double t) const {
    int32_t n = knots_.count();
    double a = knots_.get(1), b = knots_.get(n);
    if (a > b) std::swap(a, b);
    return t < a ? a : (t > b ? b : t);
  }
  bool usable(double t) {
    if (pts_.count() == 0) {
      noteOnce("evaluate", "it has no points; answers NaN");
      return false;
    }
    return !std::isnan(t);
  }
  // The arc length from the first point to the point at t.
  double arc(double t) const {
    Piecewise c = curve();
    if (c.n < 2) return 0;
    int32_t i = c.segment(t);
    double s = 0;
    for (int32_t j = 0; j < i; ++j) s += (c.p[j + 1] - c.p[j]).length();
    return s + (c.p[i + 1] - c.p[i]).length() * c.fraction(i, t);
  }
};

// The planar polyline: points (x, y, 0) with index knots. It answers "IQorPolyLine2D" and
// "IQorCurve", not the polyline interfaces; a transform keeps x and y of each moved point.
class PolyLine2DHost : public PolyLineHost, public IQorPolyLine2D {
 public:
  PolyLine2DHost() : PolyLineHost(kPolyLine2DKind, "Polyline2D") {}
  int32_t count() override { return pts_.count(); }
  Vector2D point(int32_t index) override {
    if (!checked("point", index)) return {};
    const QorVector& p = pts_.get(index);
    return {p.x, p.y};
  }
  using PolyLineHost::point;
  void setPoints(const IterStack<Vector2D>& points) override {
    guarded("setPoints", [&] {
      IterStack<QorVector> p(std::max(points.count(), 0));
      for (int32_t i = 1; i <= points.count(); ++i) p.push({points.get(i).x, points.get(i).y, 0});
      replace(p, nullptr);
    });
  }
  using PolyLineHost::setPoints;

 protected:
  void moveAffine(const QorMatrix& m) override {
    PolyLineHost::moveAffine(m);
    for (int32_t i = 1; i <= pts_.count(); ++i) pts_.at(i).z = 0;
  }
  RefFeatureHost* makeEmpty() override { return new PolyLine2DHost(); }
  void* typedView(const char* name) override {
    if (qorNameIs(name, "IQorPolyLine2D")) return static_cast<IQorPolyLine2D*>(this);
    if (qorNameIs(name, "IQorCurve")) return static_cast<IQorCurve*>(this);
    return nullptr;
  }
  // Body: int32 n, the window, the points as (x, y) (an array chunk); the knots are the
  // indices.
  bool writeBody(QorFileWrite& w) override {
    int32_t n = pts_.count();
    std::vector<double> xy;
    xy.reserve(static_cast<size_t>(n) * 2);
    for (int32_t i = 1; i <= n; ++i) {
      xy.push_back(pts_.get(i).x);
      xy.push_back(pts_.get(i).y);
    }
    bool ok = w.write(n);
    ok = w.write(Vector2D(r0_, r1_)) && ok;
    return curvekit::writeDoubles(w, curvekit::kPoints2DTag, xy.data(), int64_t(n) * 2) && ok;
  }
  std::function<void()> readBody(QorFileRead& r) override {
    int32_t n = 0;
    Vector2D window;
    std::vector<double> xy;
    if (!r.read(n) || !r.read(window) || n < 0 || int64_t(n) * 16 > r.remaining() ||
        !curvekit::readDoubles(r, curvekit::kPoints2DTag, int64_t(n) * 2, xy))
      return {};
    return [this, n, window, xy = std::move(xy)] {
      std::vector<QorVector> p(static_cast<size_t>(n));
      std::vector<double> k(static_cast<size_t>(n));
      for (int32_t i = 0; i < n; ++i) {
        p[i] = {xy[2 * i], xy[2 * i + 1], 0};
        k[i] = i;
      }
      install(p.data(), k.data(), n);
      r0_ = window.x;
      r1_ = window.y;
    };
  }
};

// ---- composite ----

// Nested composite records read at most this deep.
constexpr int32_t kMaxNesting = 32;
thread_local int32_t gNesting = 0;

class CompositeHost : public CurveHostBase, public IQorCompositeCurve, public IQorCurve {
 public:
  CompositeHost() : CurveHostBase(kCompositeKind, "CompositeCurve") { init(); }

  // IQorCompositeCurve
  int32_t numCurves() override { return static_cast<int32_t>(members_.size()); }
  IQorCurve* curve(int32_t index) override {
    return checked("curve", index) ? members_[index].get() : nullptr;
  }
  void setCurve(int32_t index, IQorCurve* curve, void*) override {
    IPtr<IQorCurve> hold(curve);
    if (!checked("setCurve", index) || !acceptable("setCurve", curve)) return;
    members_[index] = hold;
  }
  void addCurve(IQorCurve* curve) override {
    IPtr<IQorCurve> hold(curve);
    if (!acceptable("addCurve", curve)) return;
    guarded("addCurve", [&] {
      members_.push_back(hold);
      forgetNote();
    });
  }

  // IQorCurve. The window (r0, r1) is split among the members in proportion to their
  // parameter widths |range(1) - range(0)| (equal shares when they are all 0); a member's
  // part maps linearly onto its own range.
  double range(int32_t index) override { return index == 0 ? r0_ : r1_; }
  void setRange(double lower, double upper) override {
    r0_ = lower;
    r1_ = upper;
  }
  bool isClosed() override {
    if (members_.empty()) return false;
    QorVector a, b;
    IQorCurve* first = members_.front().get();
    IQorCurve* last = members_.back().get();
    first->evaluatePoint(a, first->range(0));
    last->evaluatePoint(b, last->range(1));
    return (a - b).length() <= kClosedTolerance;
  }
  bool isDegenerate() override {
    for (const IPtr<IQorCurve>& m : members_)
      if (!m->isDegenerate()) return false;
    return true;
  }
  void prepare() override {}
  void evaluate(double t, int32_t order, QorVector* out) override {
    if (!out || order < 0) return;
    Place at;
    if (!place(t, at)) {
      std::fill(out, out + order + 1, kNaNVector);
      return;
    }
    at.member->evaluate(at.local, order, out);
    double f = 1;
    for (int32_t k = 1; k <= order; ++k) {
      f *= at.slope;
      out[k] = out[k] * f;
    }
  }
  void evaluatePoint(QorVector& out, double t) override {
    Place at;
    if (!place(t, at)) {
      out = kNaNVector;
      return;
    }
    at.member->evaluatePoint(out, at.local);
  }
  void transform(const QorMatrix& matrix) override { CurveHostBase::transform(matrix); }
  double length() override {
    double s = 0;
    for (const IPtr<IQorCurve>& m : members_) s += m->length();
    return members_.empty() ? 0 : s;
  }

 protected:
  void moveAffine(const QorMatrix& m) override {
    for (const IPtr<IQorCurve>& c : members_) c->transform(m);
  }
  void extend(QorBounds& out) override {
    for (const IPtr<IQorCurve>& c : members_)
      if (auto* f = qorQuery<IQorFeature>(c.get(), "IQorFeature")) f->boundingBox(out);
  }
  RefFeatureHost* makeEmpty() override { return new CompositeHost(); }
  void* typedView(const char* name) override {
    if (qorNameIs(name, "IQorCompositeCurve")) return static_cast<IQorCompositeCurve*>(this);
    if (qorNameIs(name, "IQorCurve")) return static_cast<IQorCurve*>(this);
    return nullptr;
  }
  void copyInto(CurveHostBase& other) override {
    auto& o = static_cast<CompositeHost&>(other);
    std::vector<IPtr<IQorCurve>> copies;
    for (const IPtr<IQorCurve>& c : members_) {
      auto* f = qorQuery<IQorFeature>(c.get(), "IQorFeature");
      IQorFeature* made = f ? f->clone() : nullptr;
      IPtr<IQorCurve> copy(qorQuery<IQorCurve>(made, "IQorCurve"));
      if (!copy) {
        if (made) {
          made->addRef();
          made->release();
        }
        fault("clone", "a member does not copy; the copy goes without it");
        continue;
      }
      copies.push_back(copy);
    }
    o.members_.swap(copies);
    o.r0_ = r0_;
    o.r1_ = r1_;
  }
  // Body: the window, int32 count, then each member's own record.
  bool writeBody(QorFileWrite& w) override {
    bool ok = w.write(Vector2D(r0_, r1_));
    ok = w.write(numCurves()) && ok;
    for (const IPtr<IQorCurve>& c : members_) {
      auto* p = qorQuery<IQorPersistable>(c.get(), "IQorPersistable");
      ok = p && p->write(&w) && ok;
    }
    return ok;
  }
  std::function<void()> readBody(QorFileRead& r) override {
    Vector2D window;
    int32_t count = 0;
    // A member record is at least a chunk header and a class id.
    if (!r.read(window) || !r.read(count) || count < 0 || int64_t(count) * 28 > r.remaining())
      return {};
    if (gNesting >= kMaxNesting) return {};
    struct Deeper {
      Deeper() { ++gNesting; }
      ~Deeper() { --gNesting; }
    } deeper;
    std::vector<IPtr<IQorCurve>> read;
    bool ok = true;
    for (int32_t i = 0; ok && i < count; ++i) {
      IPtr<RefFeatureHost> h(curvekit::makeAnyHost(r.peekObjectId()));
      IQorCurve* c = h ? qorQuery<IQorCurve>(h.get(), "IQorCurve") : nullptr;
      ok = c && h->read(&r);
      if (ok) read.push_back(IPtr<IQorCurve>(c));
    }
    if (!ok) return {};
    return [this, window, read = std::move(read)]() mutable {
      members_.swap(read);
      forgetNote();
      r0_ = window.x;
      r1_ = window.y;
    };
  }

 private:
  struct Place {
    IQorCurve* member = nullptr;
    double local = 0;
    double slope = 0;  // d local / d t
  };
  // The member at t (t clamped into the window) and its own parameter there.
  bool place(double t, Place& at) {
    if (members_.empty() || std::isnan(t)) {
      if (members_.empty()) noteOnce("evaluate", "it has no members; answers NaN");
      return false;
    }
    const size_t count = members_.size();
    double total = 0;
    for (const IPtr<IQorCurve>& m : members_) total += width(m.get());
    const bool equal = !(total > 0) || !std::isfinite(total);
    if (equal) total = static_cast<double>(count);
    double lo = std::min(r0_, r1_), hi = std::max(r0_, r1_);
    t = t < lo ? lo : (t > hi ? hi : t);
    double span = r1_ - r0_;
    double s = span != 0 ? (t - r0_) / span * total : 0;  // in [0, total]
    double scale = span != 0 ? total / span : 0;
    double start = 0;
    for (size_t i = 0; i < count; ++i) {
      IQorCurve* m = members_[i].get();
      double w = equal ? 1 : width(m);
      if (s <= start + w || i + 1 == count) {
        double a = m->range(0), b = m->range(1);
        double f = w > 0 ? std::clamp((s - start) / w, 0.0, 1.0) : 0;
        at.member = m;
        at.local = a + f * (b - a);
        at.slope = w > 0 ? (b - a) / w * scale : 0;
        return true;
      }
      start += w;
    }
    return false;
  }
  static double width(IQorCurve* m) {
    double w = std::fabs(m->range(1) - m->range(0));
    return std::isfinite(w) ? w : 0;
  }
  bool checked(const char* what, int32_t index) {
    if (index >= 0 && index < numCurves()) return true;
    fault(what, indexText(index, 0, numCurves()).c_str());
    return false;
  }
  // A member must be a curve and must not hold this composite (a cycle).
  bool acceptable(const char* what, IQorCurve* c) {
    if (!c) {
      fault(what, "no curve given; nothing changes");
      return false;
    }
    if (holds(c, this)) {
      fault(what, "the curve holds this composite; nothing changes");
      return false;
    }
    return true;
  }
  static bool holds(IQorCurve* c, CompositeHost* target) {
    auto* k = dynamic_cast<CompositeHost*>(c);
    if (!k) return false;
    if (k == target) return true;
    for (const IPtr<IQorCurve>& m : k->members_)
      if (holds(m.get(), target)) return true;
    return false;
  }

  std::vector<IPtr<IQorCurve>> members_;
  double r0_ = 0, r1_ = 1;
};

// ---- curvature services ----

class RefCurveUtil : public IQorCurveUtil {
 public:
  void queryInterface(const char* name, void** out, uintptr_t) override {
    if (!out || !name) return;
    *out = nullptr;
    if (qorNameIs(name, "IQorCurveUtil") || qorNameIs(name, "IQorUnknown"))
      *out = static_cast<IQorCurveUtil*>(this);
  }
  const char* className() override { return "RefCurveUtil"; }
  void curvature(IQorCurve* curve, double t, QorVector& tangent, double& kappa,
                 QorVector& curvatureVector) override {
    if (!curve) {
      logError("RefCurveUtil.curvature: no curve given");
      tangent = curvatureVector = kNaNVector;
      kappa = kNaN;
      return;
    }
    QorVector d[3];
    curve->evaluate(t, 2, d);
    nurbs::curveCurvature(d[1], d[2], tangent, kappa, curvatureVector);
  }
};

class RefSurfaceUtil : public IQorSurfaceUtil {
 public:
  void queryInterface(const char* name, void** out, uintptr_t) override {
    if (!out || !name) return;
    *out = nullptr;
    if (qorNameIs(name, "IQorSurfaceUtil") || qorNameIs(name, "IQorUnknown"))
      *out = static_cast<IQorSurfaceUtil*>(this);
  }
  const char* className() override { return "RefSurfaceUtil"; }
  void curvature(IQorSurface* surface, double u, double v, QorVector& normal,
                 QorVector& directionMin, QorVector& directionMax, double& kMin, double& gaussian,
                 double& kMax) override {
    if (!surface) {
      logError("RefSurfaceUtil.curvature: no surface given");
      normal = directionMin = directionMax = kNaNVector;
      kMin = gaussian = kMax = kNaN;
      return;
    }
    SurfaceRows rows;
    surface->evaluate(u, v, 2, rows);
    nurbs::principalCurvatures(rows[1][0], rows[1][1], rows[2][0], rows[2][1], rows[2][2], normal,
                               directionMin, directionMax, kMin, gaussian, kMax);
  }
};

}  // namespace

// ---- factories ----

RefFeatureHost* makeNurbCurveHost() {
  return new NurbCurveHost();
}
RefFeatureHost* makePolyLineHost() {
  return new PolyLineHost();
}
RefFeatureHost* makePolyLine2DHost() {
  return new PolyLine2DHost();
}
RefFeatureHost* makeCompositeCurveHost() {
  return new CompositeHost();
}

// Gives a NURB curve host a whole record (the surface's iso curves).
void curvekit::adoptCurveRecord(RefFeatureHost& host, bool rational, int32_t degree,
                                std::vector<double>&& knots, std::vector<QorVector>&& poles,
                                std::vector<double>&& weights, double r0, double r1) {
  CurveRecord c;
  c.rational = rational;
  c.degree = degree;
  c.n = static_cast<int32_t>(poles.size());
  c.knots = std::move(knots);
  c.poles = std::move(poles);
  c.weights = std::move(weights);
  c.r0 = r0;
  c.r1 = r1;
  dynamic_cast<NurbCurveHost&>(host).adopt(std::move(c));
}

RefFeatureHost* makeCurveHost(const QorID& classId) {
  if (classId == kNurbCurveClassId) return makeNurbCurveHost();
  if (classId == kNurbSurfaceClassId) return makeNurbSurfaceHost();
  if (classId == kPolyLineClassId) return makePolyLineHost();
  if (classId == kPolyLine2DClassId) return makePolyLine2DHost();
  if (classId == kCompositeCurveClassId) return makeCompositeCurveHost();
  return makeSweptHost(classId);
}

RefFeatureHost* curvekit::makeAnyHost(const QorID& classId) {
  if (RefFeatureHost* h = makeCurveHost(classId)) return h;
  return makeFeatureHost(classId);
}

IQorCurveUtil& curveUtil() {
  return immortal<RefCurveUtil>();
}
IQorSurfaceUtil& surfaceUtil() {
  return immortal<RefSurfaceUtil>();
}

void registerCurveHosts(RefComponentManager& m) {
  auto feature = [](RefFeatureHost* (*make)()) {
    return [make] { return static_cast<IQorUnknown*>(static_cast<IQorFeature*>(make())); };
  };
  m.registerFactory("IQorNurbCurve", feature(makeNurbCurveHost));
  m.registerFactory("IQorNurbSurface", feature(makeNurbSurfaceHost));
  m.registerFactory("IQorSurface", feature(makeNurbSurfaceHost));
  m.registerFactory("IQorPolyLine", feature(makePolyLineHost));
  m.registerFactory("IQorPolyLineV2", feature(makePolyLineHost));
  m.registerFactory("IQorPolyLine2D", feature(makePolyLine2DHost));
  m.registerFactory("IQorCompositeCurve", feature(makeCompositeCurveHost));
  m.registerService("IQorCurveUtil", &curveUtil());
  m.registerService("IQorSurfaceUtil", &surfaceUtil());
}

}  // namespace refhost
