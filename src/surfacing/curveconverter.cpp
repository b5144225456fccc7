#include "surfacing/curveconverter.h"

#include "core/listing.h"
#include "features/arccurve.h"
#include "features/linefeature.h"
#include "surfacing/compositecurve.h"
#include "surfacing/nurbcurve.h"
#include "surfacing/nurbsurface.h"
#include "surfacing/polylinecurve.h"

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

features::SurfaceFeature* makeSurface(::IQorSurface* host) {
  if (!host) return nullptr;
  if (auto* nurb = qorQuery<::IQorNurbSurface>(host, "IQorNurbSurface")) {
    auto* shell = new NurbSurface(NurbSurface::NoHost{});
    shell->setHost(cloneOf(nurb, "IQorNurbSurface").get());
    return shell;
  }
  return nullptr;
}

}  // namespace surfacing
