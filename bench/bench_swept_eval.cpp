// Evaluating swept surfaces at random parameters, a point and its unit normal each, against
// OpenCASCADE's surfaces over the same rational cubic B-spline (200 poles, clamped uniform
// knots), in the same run:
// - the extruded host (IQorSurface::evaluatePoint with a normal, by the interface) against
//   Geom_SurfaceOfLinearExtrusion::D1 and GeomAdaptor_Surface::D1, the normal being the unit
//   of D1U x D1V;
// - the rotational host likewise against Geom_SurfaceOfRevolution.
// 10^6 points per round. Prints "ratio <name>: ours/peer = X" (real time per round; below 1
// means ours is faster) and "speedup <name>: peer/ours = X real, Y cpu" (above 1: ours is
// faster).
#include <benchmark/benchmark.h>

#include <GeomAdaptor_Surface.hxx>
#include <Geom_BSplineCurve.hxx>
#include <Geom_SurfaceOfLinearExtrusion.hxx>
#include <Geom_SurfaceOfRevolution.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColgp_Array1OfPnt.hxx>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "core/iptr.h"
#include "core/locator.h"
#include "hostapi/iqorswept.h"
#include "ratio_reporter.h"
#include "refhost/curvehosts.h"
#include "refhost/host.h"
#include "refhost/nurbsmath.h"
#include "refhost/sweptsurfaces.h"

namespace {

constexpr int kCount = 1000000;
constexpr int kPoles = 200, kDegree = 3;

// The sketch in world coordinates (the plane z = 0 of both surfaces' frames), the
// parameters, and the two surfaces of each side.
struct Setup {
  std::vector<double> knots, weights, u, v;
  std::vector<QorVector> poles;
  IPtr<refhost::RefFeatureHost> extruded, rotational;
  Handle(Geom_Surface) occExtruded, occRotational;

  Setup() : knots(kPoles + kDegree + 1) {
    std::mt19937_64 rng(5);
    std::uniform_real_distribution<double> coord(-1, 1), weight(0.5, 2), unit(0, 1);
    refhost::nurbs::clampedUniformKnots(kPoles, kDegree, knots.data());
    TColgp_Array1OfPnt occPoles(1, kPoles);
    TColStd_Array1OfReal occWeights(1, kPoles), occKnots(1, kPoles - kDegree + 1);
    TColStd_Array1OfInteger mults(1, kPoles - kDegree + 1);
    for (int i = 0; i < kPoles; ++i) {
      // A wavy ring of radius about 5 around the z axis.
      const double a = 6.283185307179586 * i / kPoles;
      poles.emplace_back((5 + coord(rng)) * std::cos(a), (5 + coord(rng)) * std::sin(a), 0);
      weights.push_back(weight(rng));
      occPoles(i + 1) = gp_Pnt(poles[i].x, poles[i].y, poles[i].z);
      occWeights(i + 1) = weights[i];
    }
    for (int i = 0; i <= kPoles - kDegree; ++i) {
      occKnots(i + 1) = knots[i + kDegree];
      mults(i + 1) = i == 0 || i == kPoles - kDegree ? kDegree + 1 : 1;
    }
    for (int i = 0; i < kCount; ++i) u.push_back(unit(rng)), v.push_back(unit(rng));
    Handle(Geom_BSplineCurve) curve =
        new Geom_BSplineCurve(occPoles, occWeights, occKnots, mults, kDegree);

    // The extrusion (the identity frame) runs from height 0 to 3 over v; the revolution
    // turns the sketch by 0 .. 2 pi over u about the y axis through (-8, 0, 0), which the
    // ring (x from -6 to 6) stays clear of.
    extruded = refhost::makeExtrudedHost();
    auto* e = qorQuery<IQorExtruded>(extruded.get(), "IQorExtruded");
    e->setSketch(sketch().get());
    e->setHeightTo(3);
    occExtruded = new Geom_SurfaceOfLinearExtrusion(curve, gp_Dir(0, 0, 1));

    rotational = refhost::makeRotationalHost();
    auto* r = qorQuery<IQorRotational>(rotational.get(), "IQorRotational");
    r->setOrigin({-8, 0, 0});
    r->setAxis({0, 1, 0});
    r->setRadialDir({0, 0, 1});
    r->setAngleTo(6.283185307179586);
    QorMatrix f, back;
    qorQuery<IQorSwept>(rotational.get(), "IQorSwept")->frame(f);
    f.inverse(back);
    IPtr<IQorCurve> local = sketch();
    local->transform(back);
    r->setSketch(local.get());
    occRotational = new Geom_SurfaceOfRevolution(curve, gp_Ax1(gp_Pnt(-8, 0, 0), gp_Dir(0, 1, 0)));
  }
  // A new host curve of the world sketch.
  IPtr<IQorCurve> sketch() const {
    IPtr<refhost::RefFeatureHost> host(refhost::makeNurbCurveHost());
    auto* nurb = qorQuery<IQorNurbCurve>(host.get(), "IQorNurbCurve");
    nurb->initialize(true, kDegree, kPoles);
    nurb->setKnots(knots.data());
    for (int i = 0; i < kPoles; ++i) nurb->setControlPoint(i, poles[i], weights[i]);
    return IPtr<IQorCurve>(qorQuery<IQorCurve>(host.get(), "IQorCurve"));
  }
};

const Setup& setup() {
  static const Setup s;
  return s;
}

void perPoint(benchmark::State& state, double sum) {
  state.SetItemsProcessed(state.iterations() * kCount);
  state.counters["x_per_round"] = sum / static_cast<double>(state.iterations());
}

// The host's parameters: (u, v) for the extrusion (u along the sketch), (v, u) for the
// revolution (u the angle), so both sides visit the same points.
void ours(benchmark::State& state, refhost::RefFeatureHost* host, bool swapped) {
  const Setup& s = setup();
  IQorSurface* surface = qorQuery<IQorSurface>(host, "IQorSurface");
  QorVector sum;
  for (auto _ : state) {
    QorVector p, n;
    for (int i = 0; i < kCount; ++i) {
      if (swapped)
        surface->evaluatePoint(p, s.v[i], s.u[i], &n);
      else
        surface->evaluatePoint(p, s.u[i], s.v[i], &n);
      sum += p + n;
    }
    benchmark::DoNotOptimize(sum);
  }
  perPoint(state, sum.x);
}

// OpenCASCADE's (U, V): the sketch parameter and the height (0 .. 3), or the angle and the
// sketch parameter.
template <class Surface>
void peer(benchmark::State& state, const Surface& surface, bool rotational) {
  const Setup& s = setup();
  QorVector sum;
  for (auto _ : state) {
    gp_Pnt p;
    gp_Vec du, dv;
    for (int i = 0; i < kCount; ++i) {
      if (rotational)
        surface.D1(6.283185307179586 * s.v[i], s.u[i], p, du, dv);
      else
        surface.D1(s.u[i], 3 * s.v[i], p, du, dv);
      gp_Vec n = du.Crossed(dv);
      const double len = n.Magnitude();
      if (len > 0) n /= len;
      sum += QorVector(p.X() + n.X(), p.Y() + n.Y(), p.Z() + n.Z());
    }
    benchmark::DoNotOptimize(sum);
  }
  perPoint(state, sum.x);
}

}  // namespace

int main(int argc, char** argv) {
  if (!refhost::boot("full")) return 2;
  qor::setLocator(&refhost::manager());
  auto ms = benchmark::kMillisecond;
  benchmark::RegisterBenchmark("extruded/ours_host", [](benchmark::State& s) {
    ours(s, setup().extruded.get(), false);
  })->Unit(ms);
  benchmark::RegisterBenchmark("extruded/occt_Geom_D1", [](benchmark::State& s) {
    peer(s, *setup().occExtruded, false);
  })->Unit(ms);
  benchmark::RegisterBenchmark("extruded/occt_GeomAdaptor_D1", [](benchmark::State& s) {
    peer(s, GeomAdaptor_Surface(setup().occExtruded), false);
  })->Unit(ms);
  benchmark::RegisterBenchmark("rotational/ours_host", [](benchmark::State& s) {
    ours(s, setup().rotational.get(), true);
  })->Unit(ms);
  benchmark::RegisterBenchmark("rotational/occt_Geom_D1", [](benchmark::State& s) {
    peer(s, *setup().occRotational, true);
  })->Unit(ms);
  benchmark::RegisterBenchmark("rotational/occt_GeomAdaptor_D1", [](benchmark::State& s) {
    peer(s, GeomAdaptor_Surface(setup().occRotational), true);
  })->Unit(ms);
  benchmark::Initialize(&argc, argv);
  SpeedupReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  reporter.printSpeedup("extruded_point_normal", "extruded/ours_host", "extruded/occt_Geom_D1");
  reporter.printSpeedup("extruded_point_normal_adaptor", "extruded/ours_host",
                        "extruded/occt_GeomAdaptor_D1");
  reporter.printSpeedup("rotational_point_normal", "rotational/ours_host",
                        "rotational/occt_Geom_D1");
  reporter.printSpeedup("rotational_point_normal_adaptor", "rotational/ours_host",
                        "rotational/occt_GeomAdaptor_D1");
  return 0;
}
