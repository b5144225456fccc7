#include "surfacing/curveconverter.h"

#include "core/listing.h"
#include "features/arccurve.h"
#include "features/linefeature.h"
#include "surfacing/compositecurve.h"
#include "surfacing/nurbcurve.h"
#include "surfacing/nurbsurface.h"
#include "surfacing/polylinecurve.h"
#include "surfacing/sweptsurface.h"

namespace surfacing {

void CurveDataObjectConverter::queryInterface(const char* name, void** out, uintptr_t reserved) {
  (void)reserved;
  if (!out) return;
  if (!name) {
    walkEnterClass("CurveDataObjectConverter", out);
    walkAddInterface("surfacing::IQorCurveDataObjectConverter", out);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "CurveDataObjectConverter") || qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "surfacing::IQorCurveDataObjectConverter"))
    *out = static_cast<IQorCurveDataObjectConverter*>(this);
}

// The line and the arc get a full connect: every property of the new shell reads the
// given curve, not only the typed view.
DataObject* CurveDataObjectConverter::convert(::IQorCurve* curve) {
  if (!curve) return nullptr;
  auto* feature = qorQuery<::IQorFeature>(curve, "IQorFeature");
  if (qorQuery<::IQorLine>(curve, "IQorLine")) {
    auto* line = new features::LineFeature(features::LineFeature::NoHost{});
    line->connect(feature);
    return line;
  }
  if (qorQuery<::IQorArc>(curve, "IQorArc")) {
    auto* arc = new features::ArcCurve(features::ArcCurve::NoHost{});
    arc->connect(feature);
    return arc;
  }
  if (auto* composite = qorQuery<::IQorCompositeCurve>(curve, "IQorCompositeCurve")) {
    auto* shell = new CompositeCurve();
    shell->setHost(cloneOf(composite, "IQorCompositeCurve").get());
    return shell;
  }
  if (auto* nurb = qorQuery<::IQorNurbCurve>(curve, "IQorNurbCurve")) {
    auto* shell = new NurbCurve();
    shell->copyFrom(nurb);
    return shell;
  }
  if (auto* polyline = qorQuery<::IQorPolyLine>(curve, "IQorPolyLine")) {
    auto* shell = new PolylineCurve();
    shell->setHost(polyline);
    return shell;
  }
  return nullptr;
}

DataObject* CurveDataObjectConverter::convertPolyline2D(::IQorPolyLine2D* polyline) {
  if (!polyline) return nullptr;
  void* out = nullptr;
  getService("IQorPolyLine", &out);
  IPtr<::IQorPolyLine> fresh(static_cast<::IQorPolyLine*>(out));
  if (!fresh) return nullptr;
  IterStack<QorVector> points(20);
  const int32_t count = polyline->count();
  for (int32_t i = 1; i <= count; ++i) {
    const Vector2D p = polyline->point(i);
    points.push(QorVector(p.x, p.y, 0.0));
  }
  fresh->setPoints(points);
  IPtr<::IQorCurve> copy = cloneOf(qorQuery<::IQorCurve>(fresh.get(), "IQorCurve"), "IQorCurve");
  return convert(copy.get());
}

namespace {

// The source's sketch as a script curve in world coordinates; null without one.
IPtr<DataObject> worldSketch(::IQorSurface* host) {
  auto* swept = qorQuery<::IQorSwept>(host, "IQorSwept");
  ::IQorCurve* sketch = swept ? swept->sketch() : nullptr;
  if (!sketch) return IPtr<DataObject>();
  QorMatrix frame;
  swept->frame(frame);
  return IPtr<DataObject>(worldCurve(sketch, frame));
}

// A new shell brought to the source's state by `fill`, through its own property setters;
// a setter that fails takes the shell with it.
template <class Shell, class Fill>
features::SurfaceFeature* build(Fill&& fill) {
  auto* shell = new Shell();
  try {
    fill(*shell);
  } catch (...) {
    shell->addRef();
    shell->release();
    throw;
  }
  return shell;
}

}  // namespace

features::SurfaceFeature* makeSurface(::IQorSurface* host) {
  if (!host) return nullptr;
  Vector2D first, second;
  host->ranges(first, second);
  QorVector v;
  if (auto* e = qorQuery<::IQorExtruded>(host, "IQorExtruded")) {
    return build<ExtrudedSurface>([&](ExtrudedSurface& s) {
      s.set("extrudeDir", e->direction(v));
      s.set("sketch", worldSketch(host).get());
      s.set("heightFrom", e->heightFrom());
      s.set("heightTo", e->heightTo());
      s.set("curveParamRange", first);
      s.set("sweepParamRange", second);
    });
  }
  if (auto* d = qorQuery<::IQorDrafted>(host, "IQorDrafted")) {
    return build<DraftedSurface>([&](DraftedSurface& s) {
      s.set("extrudeDir", d->direction(v));
      s.set("draftAngle", d->draftAngle());
      s.set("isConic", d->isConic());
      s.set("sketch", worldSketch(host).get());
      s.set("heightFrom", d->heightFrom());
      s.set("heightTo", d->heightTo());
      s.set("curveParamRange", first);
      s.set("sweepParamRange", second);
    });
  }
  if (auto* r = qorQuery<::IQorRotational>(host, "IQorRotational")) {
    return build<RotationalSurface>([&](RotationalSurface& s) {
      s.set("axisDirection", r->axis(v));
      s.set("originPt", r->origin(v));
      s.set("sketch", worldSketch(host).get());
      s.set("angleFrom", r->angleFrom());
      s.set("angleTo", r->angleTo());
      s.set("sweepParamRange", first);
      s.set("curveParamRange", second);
    });
  }
  if (auto* nurb = qorQuery<::IQorNurbSurface>(host, "IQorNurbSurface")) {
    auto* shell = new NurbSurface(NurbSurface::NoHost{});
    shell->setHost(cloneOf(nurb, "IQorNurbSurface").get());
    return shell;
  }
  return nullptr;
}

}  // namespace surfacing
