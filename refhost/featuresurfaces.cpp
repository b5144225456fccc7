// The five surface hosts. Each keeps its entries verbatim in its table and a unit frame
// (w along the axis or normal, u the radial or u direction, v = w x u) derived from them.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "refhost/featurehosts.h"

namespace refhost {

namespace {
constexpr double kPi = std::numbers::pi;
constexpr double kTwoPi = 2 * kPi;

QorID kindId(uint8_t last) {
  return QorID(0x6b1e2a00u + last, 0x3c4d, 0x4e5f,
               {0x80, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, last});
}
const FeatureKind kCone{"RefConeHost", "IQorCone", nullptr, kindId(3)};
const FeatureKind kCylinder{"RefCylinderHost", "IQorCylinder", nullptr, kindId(4)};
const FeatureKind kPlane{"RefPlaneHost", "IQorPlane", nullptr, kindId(5)};
const FeatureKind kSphere{"RefSphereHost", "IQorSphere", nullptr, kindId(6)};
const FeatureKind kTorus{"RefTorusHost", "IQorTorus", nullptr, kindId(7)};

// The angular span [from, to] after a mirror: the angles turn the other way.
void mirrorSpan(RefParameterTable& t, const char* from, const char* to, double a0, double a1) {
  t.setNumber(from, -a1);
  t.setNumber(to, -a0);
}

// A surface host answering one typed interface I.
template <class I>
class SurfaceHost : public RefFeatureHost, public I {
 protected:
  explicit SurfaceHost(const FeatureKind& kind) : RefFeatureHost(kind) {}
  void* typedView(const char* name) override {
    return qorNameIs(name, kind().service) ? static_cast<I*>(this) : nullptr;
  }
  QorVector w_, u_, v_;
};

// Between two circles about the axis from CenterFrom to CenterTo; a point is
// from + s (to - from) + rho(s) (cos a u + sin a v), rho linear in s, a in [AngleFrom, AngleTo].
// Heights are measured along the axis from the apex (for the cylinder, from CenterFrom).
class ConeHost : public SurfaceHost<IQorCone> {
 public:
  ConeHost() : SurfaceHost(kCone) { init(); }
  void initialize(const QorVector& cf, const QorVector& ct, double rf, double rt,
                  const QorVector& radialDir, int32_t, int32_t, int32_t) override {
    batch([&] {
      table_->setVector("CenterFrom", cf);
      table_->setVector("CenterTo", ct);
      table_->setNumber("RadiusFrom", rf);
      table_->setNumber("RadiusTo", rt);
      table_->setVector("RadialDir", radialDir);
    });
  }
  void initialize(const QorVector& apex, const QorVector& axis, const QorVector& radialDir,
                  double halfAngle, int32_t, const double* range, int32_t, int32_t) override {
    if (!(std::fabs(halfAngle) < kPi / 2 - 1e-12))
      return fault("initialize", "the half angle must lie inside (-pi/2, pi/2); the cone stays");
    QorVector w;
    if (!axis.normalised(w))
      return fault("initialize", "the axis has no direction; the cone stays");
    double h0 = range ? range[0] : 0, h1 = range ? range[1] : 1;
    if (halfAngle == 0) fault("initialize", "a half angle of 0 makes a line");
    if (h0 * h1 < 0) fault("initialize", "the heights lie on both sides of the apex");
    double k = std::tan(halfAngle);
    batch([&] {
      table_->setVector("CenterFrom", apex + w * h0);
      table_->setVector("CenterTo", apex + w * h1);
      table_->setNumber("RadiusFrom", std::fabs(h0 * k));
      table_->setNumber("RadiusTo", std::fabs(h1 * k));
      table_->setVector("RadialDir", radialDir);
    });
  }
  void setAngleFrom(double a) override { table_->setNumber("AngleFrom", a); }
  void setAngleTo(double a) override { table_->setNumber("AngleTo", a); }
  QorVector& apex(QorVector& out) override {
    if (rt_ == rf_) fault("apex", "equal radii have no apex; answered CenterFrom");
    return out = cf_ - w_ * heightFrom();
  }
  QorVector& axis(QorVector& out) override { return out = w_; }
  QorVector& radialDir(QorVector& out) override { return out = u_; }
  QorVector& centerFrom(QorVector& out) override { return out = cf_; }
  QorVector& centerTo(QorVector& out) override { return out = ct_; }
  double halfAngle() override { return std::atan2(rt_ - rf_, h_); }
  double radiusFrom() override { return rf_; }
  double radiusTo() override { return rt_; }
  double angleFrom() override { return a0_; }
  double angleTo() override { return a1_; }
  double heightFrom() override { return rt_ != rf_ ? rf_ * h_ / (rt_ - rf_) : 0.0; }
  double heightTo() override { return heightFrom() + h_; }

 protected:
  void defaults() override {
    table_->setText("Name", "Cone");
    table_->setVector("CenterFrom", {0, 0, 0});
    table_->setVector("CenterTo", {0, 0, 1});
    table_->setNumber("RadiusFrom", 1);
    table_->setNumber("RadiusTo", 0.5);
    table_->setVector("RadialDir", {1, 0, 0});
    table_->setNumber("AngleFrom", 0);
    table_->setNumber("AngleTo", kTwoPi);
  }
  void recompute() override {
    cf_ = table_->vector("CenterFrom", {});
    ct_ = table_->vector("CenterTo", {0, 0, 1});
    rf_ = table_->number("RadiusFrom", 1);
    rt_ = table_->number("RadiusTo", 0.5);
    a0_ = table_->number("AngleFrom", 0);
    a1_ = table_->number("AngleTo", kTwoPi);
    h_ = (ct_ - cf_).length();
    frameOf(ct_ - cf_, table_->vector("RadialDir", {1, 0, 0}), w_, u_, v_);
    if (std::isnan(rf_) || std::isnan(rt_)) fault("update", "a radius is not a number");
  }
  bool moveBy(const QorMatrix&, const Similarity& s) override {
    table_->setVector("CenterFrom", s.point(cf_));
    table_->setVector("CenterTo", s.point(ct_));
    table_->setNumber("RadiusFrom", rf_ * s.scale);
    table_->setNumber("RadiusTo", rt_ * s.scale);
    table_->setVector("RadialDir", s.direction(u_));
    if (s.mirrors) mirrorSpan(*table_, "AngleFrom", "AngleTo", a0_, a1_);
    return true;
  }
  // Each ruling runs straight from one end circle to the other: the two arcs bound it all.
  void extend(QorBounds& out) override {
    extendByArc(out, cf_, rf_, u_, v_, a0_, a1_);
    extendByArc(out, ct_, rt_, u_, v_, a0_, a1_);
  }
  RefFeatureHost* makeEmpty() override { return new ConeHost(); }

 private:
  QorVector cf_, ct_;
  double rf_ = 1, rt_ = 0.5, a0_ = 0, a1_ = kTwoPi, h_ = 1;
};

class CylinderHost : public SurfaceHost<IQorCylinder> {
 public:
  CylinderHost() : SurfaceHost(kCylinder) { init(); }
  void initialize(const QorVector& cf, const QorVector& ct, double r, const QorVector& radialDir,
                  int32_t, int32_t, int32_t) override {
    batch([&] {
      table_->setVector("CenterFrom", cf);
      table_->setVector("CenterTo", ct);
      table_->setNumber("Radius", r);
      table_->setVector("RadialDir", radialDir);
    });
  }
  void setRadius(double r) override { table_->setNumber("Radius", r); }
  void setAngleFrom(double a) override { table_->setNumber("AngleFrom", a); }
  void setAngleTo(double a) override { table_->setNumber("AngleTo", a); }
  QorVector& centerFrom(QorVector& out) override { return out = cf_; }
  QorVector& centerTo(QorVector& out) override { return out = ct_; }
  QorVector& axis(QorVector& out) override { return out = w_; }
  QorVector& radialDir(QorVector& out) override { return out = u_; }
  double radius() override { return r_; }
  double heightFrom() override { return 0; }
  double heightTo() override { return (ct_ - cf_).length(); }
  double angleFrom() override { return a0_; }
  double angleTo() override { return a1_; }

 protected:
  void defaults() override {
    table_->setText("Name", "Cylinder");
    table_->setVector("CenterFrom", {0, 0, 0});
    table_->setVector("CenterTo", {0, 0, 1});
    table_->setNumber("Radius", 1);
    table_->setVector("RadialDir", {1, 0, 0});
    table_->setNumber("AngleFrom", 0);
    table_->setNumber("AngleTo", kTwoPi);
  }
  void recompute() override {
    cf_ = table_->vector("CenterFrom", {});
    ct_ = table_->vector("CenterTo", {0, 0, 1});
    r_ = table_->number("Radius", 1);
    a0_ = table_->number("AngleFrom", 0);
    a1_ = table_->number("AngleTo", kTwoPi);
    frameOf(ct_ - cf_, table_->vector("RadialDir", {1, 0, 0}), w_, u_, v_);
    if (std::isnan(r_)) fault("update", "the radius is not a number");
  }
  bool moveBy(const QorMatrix&, const Similarity& s) override {
    table_->setVector("CenterFrom", s.point(cf_));
    table_->setVector("CenterTo", s.point(ct_));
    table_->setNumber("Radius", r_ * s.scale);
    table_->setVector("RadialDir", s.direction(u_));
    if (s.mirrors) mirrorSpan(*table_, "AngleFrom", "AngleTo", a0_, a1_);
    return true;
  }
  void extend(QorBounds& out) override {
    extendByArc(out, cf_, r_, u_, v_, a0_, a1_);
    extendByArc(out, ct_, r_, u_, v_, a0_, a1_);
  }
  RefFeatureHost* makeEmpty() override { return new CylinderHost(); }

 private:
  QorVector cf_, ct_;
  double r_ = 1, a0_ = 0, a1_ = kTwoPi;
};

// origin + a u + b v, a in URange, b in VRange (an unset range counts as [0, 0]).
class PlaneHost : public SurfaceHost<IQorPlane> {
 public:
  PlaneHost() : SurfaceHost(kPlane) { init(); }
  void initialize(const QorVector& origin, const QorVector& normal, const QorVector& uDir,
                  const Vector2D& ur, const Vector2D& vr) override {
    batch([&] {
      table_->setVector("Origin", origin);
      table_->setVector("Normal", normal);
      table_->setVector("UDir", uDir);
      table_->setPair("URange", ur);
      table_->setPair("VRange", vr);
    });
  }
  void setOrigin(const QorVector& o) override { table_->setVector("Origin", o); }
  QorVector& origin(QorVector& out) override { return out = o_; }
  QorVector& normal(QorVector& out) override { return out = w_; }
  QorVector& uDir(QorVector& out) override { return out = u_; }
  void setRanges(const Vector2D& u, const Vector2D& v) override {
    batch([&] {
      table_->setPair("URange", u);
      table_->setPair("VRange", v);
    });
  }
  void ranges(Vector2D& u, Vector2D& v) override {
    u = ur_;
    v = vr_;
  }

 protected:
  void defaults() override {
    table_->setText("Name", "Plane");
    table_->setVector("Origin", {0, 0, 0});
    table_->setVector("Normal", {0, 0, 1});
    table_->setVector("UDir", {1, 0, 0});
    table_->setPair("URange", {-1, 1});
    table_->setPair("VRange", {-1, 1});
  }
  void recompute() override {
    o_ = table_->vector("Origin", {});
    frameOf(table_->vector("Normal", {0, 0, 1}), table_->vector("UDir", {1, 0, 0}), w_, u_, v_);
    ur_ = table_->pair("URange", {-1, 1});
    vr_ = table_->pair("VRange", {-1, 1});
  }
  bool moveBy(const QorMatrix&, const Similarity& s) override {
    QorVector w = s.direction(w_);
    auto scaled = [&](const Vector2D& r) {
      return r.isUnset() ? r : Vector2D(r.x * s.scale, r.y * s.scale);
    };
    table_->setVector("Origin", s.point(o_));
    table_->setVector("Normal", s.mirrors ? -w : w);
    table_->setVector("UDir", s.direction(u_));
    table_->setPair("URange", scaled(ur_));
    table_->setPair("VRange", scaled(vr_));
    return true;
  }
  void extend(QorBounds& out) override {
    auto side = [](const Vector2D& r) { return r.isUnset() ? Vector2D(0, 0) : r; };
    Vector2D a = side(ur_), b = side(vr_);
    for (double x : {a.x, a.y})
      for (double y : {b.x, b.y}) putPoint(out, o_ + u_ * x + v_ * y);
  }
  RefFeatureHost* makeEmpty() override { return new PlaneHost(); }

 private:
  QorVector o_;
  Vector2D ur_{-1, 1}, vr_{-1, 1};
};

// center + r (cos lat (cos lon u + sin lon v) + sin lat w).
class SphereHost : public SurfaceHost<IQorSphere> {
 public:
  SphereHost() : SurfaceHost(kSphere) { init(); }
  void initialize(const QorVector& center, double radius, const QorVector& axis,
                  const QorVector& radDir, int32_t, int32_t, int32_t, int32_t) override {
    batch([&] {
      table_->setVector("Center", center);
      table_->setNumber("Radius", radius);
      table_->setVector("Axis", axis);
      table_->setVector("RadDir", radDir);
    });
  }
  void setRadius(double r) override { table_->setNumber("Radius", r); }
  void setRadDir(const QorVector& d) override { table_->setVector("RadDir", d); }
  void setLatitudeFrom(double a) override { table_->setNumber("LatitudeFrom", a); }
  void setLatitudeTo(double a) override { table_->setNumber("LatitudeTo", a); }
  void setLongitudeFrom(double a) override { table_->setNumber("LongitudeFrom", a); }
  void setLongitudeTo(double a) override { table_->setNumber("LongitudeTo", a); }
  QorVector& center(QorVector& out) override { return out = c_; }
  QorVector& axis(QorVector& out) override { return out = w_; }
  QorVector& radDir(QorVector& out) override { return out = u_; }
  double radius() override { return r_; }
  double latitudeFrom() override { return lat0_; }
  double latitudeTo() override { return lat1_; }
  double longitudeFrom() override { return lon0_; }
  double longitudeTo() override { return lon1_; }

 protected:
  void defaults() override {
    table_->setText("Name", "Sphere");
    table_->setVector("Center", {0, 0, 0});
    table_->setNumber("Radius", 1);
    table_->setVector("Axis", {0, 0, 1});
    table_->setVector("RadDir", {1, 0, 0});
    table_->setNumber("LatitudeFrom", -kPi / 2);
    table_->setNumber("LatitudeTo", kPi / 2);
    table_->setNumber("LongitudeFrom", 0);
    table_->setNumber("LongitudeTo", kTwoPi);
  }
  void recompute() override {
    c_ = table_->vector("Center", {});
    r_ = table_->number("Radius", 1);
    frameOf(table_->vector("Axis", {0, 0, 1}), table_->vector("RadDir", {1, 0, 0}), w_, u_, v_);
    lat0_ = table_->number("LatitudeFrom", -kPi / 2);
    lat1_ = table_->number("LatitudeTo", kPi / 2);
    lon0_ = table_->number("LongitudeFrom", 0);
    lon1_ = table_->number("LongitudeTo", kTwoPi);
    if (std::isnan(r_)) fault("update", "the radius is not a number");
  }
  bool moveBy(const QorMatrix&, const Similarity& s) override {
    table_->setVector("Center", s.point(c_));
    table_->setNumber("Radius", r_ * s.scale);
    table_->setVector("Axis", s.direction(w_));
    table_->setVector("RadDir", s.direction(u_));
    if (s.mirrors) mirrorSpan(*table_, "LongitudeFrom", "LongitudeTo", lon0_, lon1_);
    return true;
  }
  // The patch's border (two meridians, two parallels) and the axis-extreme points inside.
  void extend(QorBounds& out) override {
    double a0 = std::min(lat0_, lat1_), a1 = std::max(lat0_, lat1_);
    double b0 = std::min(lon0_, lon1_), b1 = std::max(lon0_, lon1_);
    for (double lon : {b0, b1})
      extendByArc(out, c_, r_, u_ * std::cos(lon) + v_ * std::sin(lon), w_, a0, a1);
    for (double lat : {a0, a1})
      extendByArc(out, c_ + w_ * (r_ * std::sin(lat)), r_ * std::cos(lat), u_, v_, b0, b1);
    for (int k = 0; k < 3; ++k)
      for (double sign : {1.0, -1.0}) {
        QorVector e;
        e[k] = sign * (r_ >= 0 ? 1 : -1);
        double lat = std::asin(std::clamp(e.dot(w_), -1.0, 1.0));
        double lon = std::atan2(e.dot(v_), e.dot(u_));
        if (lat >= a0 && lat <= a1 && angleIn(lon, b0, b1)) putPoint(out, c_ + e * std::fabs(r_));
      }
  }
  RefFeatureHost* makeEmpty() override { return new SphereHost(); }

 private:
  QorVector c_;
  double r_ = 1, lat0_ = -kPi / 2, lat1_ = kPi / 2, lon0_ = 0, lon1_ = kTwoPi;
};

// center + (R + r cos lat) (cos lon u + sin lon v) + r sin lat w: lat turns the profile
// circle, lon turns about the axis.
class TorusHost : public SurfaceHost<IQorTorus> {
 public:
  TorusHost() : SurfaceHost(kTorus) { init(); }
  void initialize(const QorVector& center, const QorVector& axis, double bigR, double smallR,
                  const QorVector& radDir, int32_t, int32_t, int32_t, int32_t) override {
    batch([&] {
      table_->setVector("Center", center);
      table_->setVector("Axis", axis);
      table_->setNumber("CenterRadius", bigR);
      table_->setNumber("ProfileRadius", smallR);
      table_->setVector("RadDir", radDir);
    });
  }
  void setCenter(const QorVector& c) override { table_->setVector("Center", c); }
  void setAxis(const QorVector& a) override { table_->setVector("Axis", a); }
  void setCenterRadius(double r) override { table_->setNumber("CenterRadius", r); }
  void setProfileRadius(double r) override { table_->setNumber("ProfileRadius", r); }
  void setLatitudeFrom(double a) override { table_->setNumber("LatitudeFrom", a); }
  void setLatitudeTo(double a) override { table_->setNumber("LatitudeTo", a); }
  void setLongitudeFrom(double a) override { table_->setNumber("LongitudeFrom", a); }
  void setLongitudeTo(double a) override { table_->setNumber("LongitudeTo", a); }
  QorVector& center(QorVector& out) override { return out = c_; }
  QorVector& axis(QorVector& out) override { return out = w_; }
  QorVector& radDir(QorVector& out) override { return out = u_; }
  double centerRadius() override { return R_; }
  double profileRadius() override { return r_; }
  double latitudeFrom() override { return lat0_; }
  double latitudeTo() override { return lat1_; }
  double longitudeFrom() override { return lon0_; }
  double longitudeTo() override { return lon1_; }

 protected:
  void defaults() override {
    table_->setText("Name", "Torus");
    table_->setVector("Center", {0, 0, 0});
    table_->setVector("Axis", {0, 0, 1});
    table_->setNumber("CenterRadius", 2);
    table_->setNumber("ProfileRadius", 0.5);
    table_->setVector("RadDir", {1, 0, 0});
    table_->setNumber("LatitudeFrom", 0);
    table_->setNumber("LatitudeTo", kTwoPi);
    table_->setNumber("LongitudeFrom", 0);
    table_->setNumber("LongitudeTo", kTwoPi);
  }
  void recompute() override {
    c_ = table_->vector("Center", {});
    frameOf(table_->vector("Axis", {0, 0, 1}), table_->vector("RadDir", {1, 0, 0}), w_, u_, v_);
    R_ = table_->number("CenterRadius", 2);
    r_ = table_->number("ProfileRadius", 0.5);
    lat0_ = table_->number("LatitudeFrom", 0);
    lat1_ = table_->number("LatitudeTo", kTwoPi);
    lon0_ = table_->number("LongitudeFrom", 0);
    lon1_ = table_->number("LongitudeTo", kTwoPi);
    if (std::isnan(R_) || std::isnan(r_)) fault("update", "a radius is not a number");
  }
  bool moveBy(const QorMatrix&, const Similarity& s) override {
    table_->setVector("Center", s.point(c_));
    table_->setVector("Axis", s.direction(w_));
    table_->setVector("RadDir", s.direction(u_));
    table_->setNumber("CenterRadius", R_ * s.scale);
    table_->setNumber("ProfileRadius", r_ * s.scale);
    if (s.mirrors) mirrorSpan(*table_, "LongitudeFrom", "LongitudeTo", lon0_, lon1_);
    return true;
  }
  // The border (two profile arcs, two parallel arcs) and the critical points inside: where
  // the normal is +-e_k, lon = atan2(v_k, u_k) (+pi) and lat = atan2(w_k, g) (+pi).
  void extend(QorBounds& out) override {
    double a0 = std::min(lat0_, lat1_), a1 = std::max(lat0_, lat1_);
    double b0 = std::min(lon0_, lon1_), b1 = std::max(lon0_, lon1_);
    for (double lon : {b0, b1}) {
      QorVector d = u_ * std::cos(lon) + v_ * std::sin(lon);
      extendByArc(out, c_ + d * R_, r_, d, w_, a0, a1);
    }
    for (double lat : {a0, a1})
      extendByArc(out, c_ + w_ * (r_ * std::sin(lat)), R_ + r_ * std::cos(lat), u_, v_, b0, b1);
    for (int k = 0; k < 3; ++k) {
      double e = std::atan2(v_[k], u_[k]);
      for (double lon : {e, e + kPi}) {
        if (!angleIn(lon, b0, b1)) continue;
        QorVector d = u_ * std::cos(lon) + v_ * std::sin(lon);
        double f = std::atan2(w_[k], d[k]);
        for (double lat : {f, f + kPi})
          if (angleIn(lat, a0, a1))
            putPoint(out, c_ + d * (R_ + r_ * std::cos(lat)) + w_ * (r_ * std::sin(lat)));
      }
    }
  }
  RefFeatureHost* makeEmpty() override { return new TorusHost(); }

 private:
  QorVector c_;
  double R_ = 2, r_ = 0.5, lat0_ = 0, lat1_ = kTwoPi, lon0_ = 0, lon1_ = kTwoPi;
};

}  // namespace

RefFeatureHost* makeConeHost() {
  return new ConeHost();
}
RefFeatureHost* makeCylinderHost() {
  return new CylinderHost();
}
RefFeatureHost* makePlaneHost() {
  return new PlaneHost();
}
RefFeatureHost* makeSphereHost() {
  return new SphereHost();
}
RefFeatureHost* makeTorusHost() {
  return new TorusHost();
}

}  // namespace refhost
