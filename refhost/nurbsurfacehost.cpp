// The reference host's NURB surface ("IQorNurbSurface", "IQorSurface").
#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "persistence/qorfile.h"
#include "refhost/curvehosts.h"
#include "refhost/curvekit.h"
#include "refhost/nurbsmath.h"

namespace refhost {

using curvekit::CurveHostBase;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
const QorVector kNaNVector{kNaN, kNaN, kNaN};
// First and last pole rows this close (absolute, per pole) close the surface.
constexpr double kClosedTolerance = 1e-10;

const FeatureKind kSurfaceKind{"RefNurbSurfaceHost", "IQorNurbSurface", kNurbSurfaceClassId};

// One direction's knots: n + p + 1 values at all times.
struct Direction {
  int32_t degree = 0;
  int32_t n = 0;
  std::vector<double> knots{0.0};
  double r0 = 0, r1 = 0;  // the window

  void reset(int32_t p, int32_t count) {
    degree = p;
    n = count;
    knots.assign(static_cast<size_t>(count) + p + 1, 0.0);
    if (count > p)
      nurbs::clampedUniformKnots(count, p, knots.data());
    else
      for (size_t i = static_cast<size_t>(p) + 1; i < knots.size(); ++i) knots[i] = 1;
    follow();
  }
  void domain(double& a, double& b) const {
    a = n > degree ? knots[degree] : knots.front();
    b = n > degree ? knots[n] : knots.back();
  }
  void follow() { domain(r0, r1); }
  double clamp(double t) const {
    double a, b;
    domain(a, b);
    return t < a ? a : (t > b ? b : t);
  }
};

struct SurfaceRecord {
  bool rational = false;
  Direction u, v;
  std::vector<QorVector> poles;  // [iu * v.n + iv]
  std::vector<double> weights;
};

class NurbSurfaceHost : public CurveHostBase, public IQorNurbSurface, public IQorSurface {
 public:
  NurbSurfaceHost() : CurveHostBase(kSurfaceKind, "NurbSurface") { init(); }

  // IQorNurbSurface
  void initialize(bool rational, int32_t degreeInU, int32_t degreeInV, int32_t numU,
                  int32_t numV) override {
    guarded("initialize", [&] {
      int32_t pu = std::max(degreeInU, 0), pv = std::max(degreeInV, 0);
      int32_t nu = std::max(numU, 0), nv = std::max(numV, 0);
      if (int64_t(nu) * nv > curvekit::kMaxCount || int64_t(nu) + pu + 1 > curvekit::kMaxCount ||
          int64_t(nv) + pv + 1 > curvekit::kMaxCount)
        return fault("initialize", ("degrees " + std::to_string(pu) + ", " + std::to_string(pv) +
                                    " with " + std::to_string(nu) + " x " + std::to_string(nv) +
                                    " poles are too large; nothing changes")
                                       .c_str());
      SurfaceRecord s;
      s.rational = rational;
      s.u.reset(pu, nu);
      s.v.reset(pv, nv);
      s.poles.assign(static_cast<size_t>(nu) * nv, QorVector());
      s.weights.assign(s.poles.size(), 1.0);
      adopt(std::move(s));
    });
  }
  bool isRational() override { return rec_.rational; }
  int32_t degreeInU() override { return rec_.u.degree; }
  int32_t degreeInV() override { return rec_.v.degree; }
  int32_t numKnotsU() override { return static_cast<int32_t>(rec_.u.knots.size()); }
  int32_t numKnotsV() override { return static_cast<int32_t>(rec_.v.knots.size()); }
  int32_t numControlPointsInU() override { return rec_.u.n; }
  int32_t numControlPointsInV() override { return rec_.v.n; }
  void setKnotU(int32_t index, double value) override { setKnot("setKnotU", rec_.u, index, value); }
  void setKnotV(int32_t index, double value) override { setKnot("setKnotV", rec_.v, index, value); }
  double knotU(int32_t index) override { return knot("knotU", rec_.u, index); }
  double knotV(int32_t index) override { return knot("knotV", rec_.v, index); }
  void setKnotsU(const double* knots) override { setKnots("setKnotsU", rec_.u, knots); }
  void setKnotsV(const double* knots) override { setKnots("setKnotsV", rec_.v, knots); }
  void setControlPoint(int32_t u, int32_t v, const QorVector& point, double weight) override {
    if (!poleIndex("setControlPoint", u, v)) return;
    rec_.poles[at(u, v)] = point;
    rec_.weights[at(u, v)] = weight;
    changed();
  }
  QorVector& controlPoint(int32_t u, int32_t v, QorVector& out) override {
    out = poleIndex("controlPoint", u, v) ? rec_.poles[at(u, v)] : QorVector();
    return out;
  }
  void setWeight(int32_t u, int32_t v, double weight) override {
    if (!poleIndex("setWeight", u, v)) return;
    rec_.weights[at(u, v)] = weight;
    changed();
  }
  double weight(int32_t u, int32_t v) override {
    return poleIndex("weight", u, v) ? rec_.weights[at(u, v)] : 0;
  }

  // IQorSurface
  void ranges(Vector2D& u, Vector2D& v) override { parameterRange(u, v); }
  bool isClosedInU() override {
    const int32_t nu = rec_.u.n, nv = rec_.v.n;
    if (nu < 2 || nv < 1) return false;
    for (int32_t j = 0; j < nv; ++j)
      if (!((rec_.poles[at(0, j)] - rec_.poles[at(nu - 1, j)]).length() <= kClosedTolerance))
        return false;
    return true;
  }
  bool isClosedInV() override {
    const int32_t nu = rec_.u.n, nv = rec_.v.n;
    if (nv < 2 || nu < 1) return false;
    for (int32_t i = 0; i < nu; ++i)
      if (!((rec_.poles[at(i, 0)] - rec_.poles[at(i, nv - 1)]).length() <= kClosedTolerance))
        return false;
    return true;
  }
  void setURange(double from, double to) override {
    rec_.u.r0 = from;
    rec_.u.r1 = to;
  }
  void setVRange(double from, double to) override {
    rec_.v.r0 = from;
    rec_.v.r1 = to;
  }
  void evaluate(double u, double v, int32_t order, SurfaceRows& rows) override {
    const int32_t nd = std::clamp(order, 0, 2);
    if (!ready() || std::isnan(u) || std::isnan(v)) {
      for (int32_t k = 0; k <= nd; ++k)
        for (int32_t j = 0; j <= k; ++j) rows[k][j] = kNaNVector;
      return;
    }
    nurbs::surfaceDerivs(view_, rec_.u.clamp(u), rec_.v.clamp(v), nd, rows);
  }
  // The normal is the unit of Su x Sv; where that is zero (a collapsed edge) it is taken a
  // millionth of the domain towards its middle.
  void evaluatePoint(QorVector& point, double u, double v, QorVector* normal) override {
    if (!ready() || std::isnan(u) || std::isnan(v)) {
      point = kNaNVector;
      if (normal) *normal = kNaNVector;
      return;
    }
    u = rec_.u.clamp(u);
    v = rec_.v.clamp(v);
    if (!normal) {
      point = nurbs::surfacePoint(view_, u, v);
      return;
    }
    QorVector rows[3][3];
    nurbs::surfaceDerivs(view_, u, v, 1, rows);
    point = rows[0][0];
    QorVector n = rows[1][0].cross(rows[1][1]);
    if (!n.normalise()) {
      double u0, u1, v0, v1;
      rec_.u.domain(u0, u1);
      rec_.v.domain(v0, v1);
      double du = (u0 + u1) / 2 - u, dv = (v0 + v1) / 2 - v;
      nurbs::surfaceDerivs(view_, u + du * 1e-6, v + dv * 1e-6, 1, rows);
      n = rows[1][0].cross(rows[1][1]);
      if (!n.normalise()) n = QorVector();
    }
    *normal = n;
  }
  void parameterRange(Vector2D& u, Vector2D& v) override {
    u = Vector2D(rec_.u.r0, rec_.u.r1);
    v = Vector2D(rec_.v.r0, rec_.v.r1);
  }
  void setRanges(const Vector2D& first, const Vector2D& second) override {
    setURange(first.x, first.y);
    setVRange(second.x, second.y);
  }
  bool transformSurface(const QorMatrix& matrix) override {
    if (const char* why = curvekit::affineFault(matrix)) {
      fault("transformSurface", (std::string(why) + "; the surface stays").c_str());
      return false;
    }
    bool moved = false;
    guarded("transformSurface", [&] {
      moveAffine(matrix);
      moved = true;
    });
    return moved;
  }
  void workingCopy(IQorSurface** out) override {
    if (!out) return;
    *out = qorQuery<IQorSurface>(clone(), "IQorSurface");
  }
  // Exact: the poles of the curve are the homogeneous combinations of the pole rows with
  // the basis functions of the held parameter.
  void isoCurve(int32_t direction, double parameter, IQorCurve** out) override {
    if (!out) return;
    *out = nullptr;
    if (direction != 0 && direction != 1)
      return fault("isoCurve",
                   ("direction " + std::to_string(direction) + " is not 0 or 1").c_str());
    if (!ready() || std::isnan(parameter)) return;
    guarded("isoCurve", [&] { *out = iso(direction, parameter); });
  }

 protected:
  void moveAffine(const QorMatrix& m) override {
    for (QorVector& p : rec_.poles) {
      QorVector q;
      m.transformPoint(p, q);
      p = q;
    }
    changed();
  }
  // The poles acting on the window: the surface lies in their hull (weights above 0).
  void extend(QorBounds& out) override {
    if (!ready() || rec_.poles.empty()) return;
    int32_t u0, u1, v0, v1;
    if (!acting(rec_.u, u0, u1) || !acting(rec_.v, v0, v1)) return;
    for (int32_t i = u0; i <= u1; ++i)
      for (int32_t j = v0; j <= v1; ++j) putPoint(out, rec_.poles[at(i, j)]);
  }
  RefFeatureHost* makeEmpty() override { return new NurbSurfaceHost(); }
  void* typedView(const char* name) override {
    if (qorNameIs(name, "IQorNurbSurface")) return static_cast<IQorNurbSurface*>(this);
    if (qorNameIs(name, "IQorSurface")) return static_cast<IQorSurface*>(this);
    return nullptr;
  }
  void copyInto(CurveHostBase& other) override {
    static_cast<NurbSurfaceHost&>(other).adopt(SurfaceRecord(rec_));
  }
  // Body: uint8 rational, int32 degree in u, in v, int32 poles in u, in v, the u and the v
  // window (pair chunks), the u knots, the v knots, the poles (u major) and the weights.
  bool writeBody(QorFileWrite& w) override {
    bool ok = w.write(static_cast<uint8_t>(rec_.rational ? 1 : 0));
    ok = w.write(rec_.u.degree) && ok;
    ok = w.write(rec_.v.degree) && ok;
    ok = w.write(rec_.u.n) && ok;
    ok = w.write(rec_.v.n) && ok;
    ok = w.write(Vector2D(rec_.u.r0, rec_.u.r1)) && ok;
    ok = w.write(Vector2D(rec_.v.r0, rec_.v.r1)) && ok;
    for (const Direction* d : {&rec_.u, &rec_.v})
      ok = curvekit::writeDoubles(w, curvekit::kKnotsTag, d->knots.data(),
                                  static_cast<int64_t>(d->knots.size())) &&
           ok;
    const int64_t count = static_cast<int64_t>(rec_.poles.size());
    ok = curvekit::writePoles(w, rec_.poles.data(), count) && ok;
    ok = curvekit::writeDoubles(w, curvekit::kWeightsTag, rec_.weights.data(), count) && ok;
    return ok;
  }
  std::function<void()> readBody(QorFileRead& r) override {
    SurfaceRecord s;
    uint8_t rational = 0;
    Vector2D wu, wv;
    if (!r.read(rational) || rational > 1 || !r.read(s.u.degree) || !r.read(s.v.degree) ||
        !r.read(s.u.n) || !r.read(s.v.n) || !r.read(wu) || !r.read(wv))
      return {};
    s.rational = rational == 1;
    for (const Direction* d : {&s.u, &s.v})
      if (d->degree < 0 || d->n < 0 || int64_t(d->n) + d->degree + 1 > r.remaining() / 8) return {};
    const int64_t count = int64_t(s.u.n) * s.v.n;
    if (count > r.remaining() / 32) return {};
    if (!curvekit::readDoubles(r, curvekit::kKnotsTag, int64_t(s.u.n) + s.u.degree + 1,
                               s.u.knots) ||
        !curvekit::readDoubles(r, curvekit::kKnotsTag, int64_t(s.v.n) + s.v.degree + 1,
                               s.v.knots) ||
        !curvekit::readPoles(r, count, s.poles) ||
        !curvekit::readDoubles(r, curvekit::kWeightsTag, count, s.weights))
      return {};
    s.u.r0 = wu.x;
    s.u.r1 = wu.y;
    s.v.r0 = wv.x;
    s.v.r1 = wv.y;
    return [this, s = std::move(s)]() mutable { adopt(std::move(s)); };
  }

 private:
  size_t at(int32_t u, int32_t v) const { return static_cast<size_t>(u) * rec_.v.n + v; }
  void adopt(SurfaceRecord&& s) {
    rec_ = std::move(s);
    changed();
  }
  void changed() {
    gateRun_ = false;
    forgetNote();
  }
  bool ready() {
    if (gateRun_) return gatePassed_;
    view_ = {rec_.u.degree,     rec_.v.degree,       rec_.u.n,
             rec_.v.n,          rec_.u.knots.data(), rec_.v.knots.data(),
             rec_.poles.data(), rec_.weights.data(), rec_.rational};
    const char* why = nurbs::surfaceGate(view_);
    gateRun_ = true;
    gatePassed_ = why == nullptr;
    if (why)
      noteOnce("evaluate", (std::string("cannot evaluate (") + why + "); answers NaN").c_str());
    return gatePassed_;
  }
  // The pole indices acting on the window of one direction.
  static bool acting(const Direction& d, int32_t& first, int32_t& last) {
    double a = d.clamp(d.r0), b = d.clamp(d.r1);
    if (std::isnan(a) || std::isnan(b)) return false;
    if (a > b) std::swap(a, b);
    first = std::max(nurbs::findSpan(d.n, d.degree, a, d.knots.data()) - d.degree, 0);
    last = std::min(nurbs::findSpan(d.n, d.degree, b, d.knots.data()), d.n - 1);
    return true;
  }
  IQorCurve* iso(int32_t direction, double parameter) {
    // Direction 1 holds v: the curve runs along u over the pole rows j; 0 the other way.
    const Direction& held = direction == 1 ? rec_.v : rec_.u;
    const Direction& along = direction == 1 ? rec_.u : rec_.v;
    const double t = held.clamp(parameter);
    const int32_t p = held.degree;
    const int32_t span = nurbs::findSpan(held.n, p, t, held.knots.data());
    std::vector<double> basis(static_cast<size_t>(p) + 1);
    nurbs::basisFuns(span, t, p, held.knots.data(), basis.data());
    std::vector<QorVector> poles(static_cast<size_t>(along.n));
    std::vector<double> weights(static_cast<size_t>(along.n), 1.0);
    for (int32_t i = 0; i < along.n; ++i) {
      QorVector sum;
      double w = 0;
      for (int32_t j = 0; j <= p; ++j) {
        int32_t k = span - p + j;
        size_t index = direction == 1 ? at(i, k) : at(k, i);
        double wk = rec_.rational ? rec_.weights[index] : 1.0;
        sum = sum + rec_.poles[index] * (basis[j] * wk);
        w += basis[j] * wk;
      }
      poles[i] = sum * (1 / w);
      weights[i] = rec_.rational ? w : 1.0;
    }
    RefFeatureHost* curve = makeNurbCurveHost();  // count 0, handed out as it is
    try {
      curvekit::adoptCurveRecord(*curve, rec_.rational, along.degree,
                                 std::vector<double>(along.knots), std::move(poles),
                                 std::move(weights), along.r0, along.r1);
    } catch (...) {
      curve->addRef();
      curve->release();
      throw;
    }
    return qorQuery<IQorCurve>(curve, "IQorCurve");
  }
  void setKnot(const char* what, Direction& d, int32_t index, double value) {
    if (!knotIndex(what, d, index)) return;
    d.knots[index] = value;
    changed();
  }
  double knot(const char* what, Direction& d, int32_t index) {
    return knotIndex(what, d, index) ? d.knots[index] : 0;
  }
  void setKnots(const char* what, Direction& d, const double* knots) {
    if (!knots) return fault(what, "no knots given; nothing changes");
    std::copy(knots, knots + d.knots.size(), d.knots.begin());
    d.follow();
    changed();
  }
  bool knotIndex(const char* what, const Direction& d, int32_t index) {
    if (index >= 0 && index < static_cast<int32_t>(d.knots.size())) return true;
    fault(what, ("index " + std::to_string(index) + " is outside 0.." +
                 std::to_string(d.knots.size() - 1) + "; nothing changes")
                    .c_str());
    return false;
  }
  bool poleIndex(const char* what, int32_t u, int32_t v) {
    if (u >= 0 && u < rec_.u.n && v >= 0 && v < rec_.v.n) return true;
    fault(what,
          ("index (" + std::to_string(u) + ", " + std::to_string(v) + ") is outside " +
           std::to_string(rec_.u.n) + " x " + std::to_string(rec_.v.n) + " poles; nothing changes")
              .c_str());
    return false;
  }

  SurfaceRecord rec_;
  nurbs::SurfaceView view_;
  bool gateRun_ = false, gatePassed_ = false;
};

}  // namespace

RefFeatureHost* makeNurbSurfaceHost() {
  return new NurbSurfaceHost();
}

}  // namespace refhost
