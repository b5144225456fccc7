// Evaluating NURBS curves and surfaces at random parameters, against OpenCASCADE's
// flat-array evaluators over the same records and parameters, in the same run:
// - a rational cubic curve of 1,000 poles (clamped uniform knots), 10^6 points, through the
//   reference host's NURB curve (IQorCurve::evaluatePoint by the interface) and through
//   refhost::nurbs::curvePoint directly, against BSplCLib::D0; the direct path again on
//   non-uniform knots;
// - a rational bicubic 100 x 100 surface, 10^6 points with both first partials, through the
//   host's NURB surface (IQorSurface::evaluate, order 1) and through
//   refhost::nurbs::surfaceDerivs directly, against BSplSLib::D1.
// Prints "ratio <name>: ours/peer = X" (real time per round; below 1 means ours is faster)
// and "speedup <name>: peer/ours = X real, Y cpu" (above 1 means ours is faster).
#include <benchmark/benchmark.h>

#include <BSplCLib.hxx>
#include <BSplSLib.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColStd_Array2OfReal.hxx>
#include <TColgp_Array1OfPnt.hxx>
#include <TColgp_Array2OfPnt.hxx>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "core/iptr.h"
#include "core/locator.h"
#include "hostapi/iqorcurves.h"
#include "ratio_reporter.h"
#include "refhost/componentmanager.h"
#include "refhost/curvehosts.h"
#include "refhost/host.h"
#include "refhost/nurbsmath.h"

namespace {

namespace nurbs = refhost::nurbs;

constexpr int kCount = 1000000;
constexpr int kPoles = 1000, kNet = 100, kDegree = 3;

// A rational cubic curve with its OpenCASCADE arrays (one-based, flat knots).
struct CurveRecord {
  std::vector<double> knots, weights;
  std::vector<QorVector> poles;
  TColgp_Array1OfPnt occPoles{1, kPoles};
  TColStd_Array1OfReal occWeights{1, kPoles}, occKnots{1, kPoles + kDegree + 1};
  std::vector<double> t;

  explicit CurveRecord(bool uniform) : knots(kPoles + kDegree + 1) {
    std::mt19937_64 rng(uniform ? 1 : 2);
    std::uniform_real_distribution<double> coord(-10, 10), weight(0.5, 2), unit(0, 1);
    nurbs::clampedUniformKnots(kPoles, kDegree, knots.data());
    if (!uniform) {
      // Interior knots with spacings from 0.05 to 1 (then scaled to [0, 1]).
      double x = 0;
      for (int i = kDegree + 1; i < kPoles; ++i) knots[i] = x += 0.05 + unit(rng) * unit(rng);
      x += 0.5;
      for (int i = kDegree + 1; i < kPoles; ++i) knots[i] /= x;
    }
    for (int i = 0; i < kPoles; ++i) {
      poles.emplace_back(coord(rng), coord(rng), coord(rng));
      weights.push_back(weight(rng));
      occPoles(i + 1) = gp_Pnt(poles[i].x, poles[i].y, poles[i].z);
      occWeights(i + 1) = weights[i];
    }
    for (int i = 0; i < kPoles + kDegree + 1; ++i) occKnots(i + 1) = knots[i];
    for (int i = 0; i < kCount; ++i) t.push_back(unit(rng));
  }
  nurbs::CurveView view() const {
    return {kDegree, kPoles, knots.data(), poles.data(), weights.data(), true};
  }
};

// A rational bicubic net of 100 x 100 poles on clamped uniform knots.
struct SurfaceRecord {
  std::vector<double> knots, weights;
  std::vector<QorVector> poles;
  TColgp_Array2OfPnt occPoles{1, kNet, 1, kNet};
  TColStd_Array2OfReal occWeights{1, kNet, 1, kNet};
  TColStd_Array1OfReal occKnots{1, kNet + kDegree + 1};
  std::vector<double> u, v;

  SurfaceRecord() : knots(kNet + kDegree + 1) {
    std::mt19937_64 rng(3);
    std::uniform_real_distribution<double> bump(-1, 1), weight(0.5, 2), unit(0, 1);
    nurbs::clampedUniformKnots(kNet, kDegree, knots.data());
    for (int i = 0; i < kNet; ++i)
      for (int j = 0; j < kNet; ++j) {
        poles.emplace_back(i + 0.3 * bump(rng), j + 0.3 * bump(rng), bump(rng));
        weights.push_back(weight(rng));
        occPoles(i + 1, j + 1) = gp_Pnt(poles.back().x, poles.back().y, poles.back().z);
        occWeights(i + 1, j + 1) = weights.back();
      }
    for (int i = 0; i < kNet + kDegree + 1; ++i) occKnots(i + 1) = knots[i];
    for (int i = 0; i < kCount; ++i) u.push_back(unit(rng)), v.push_back(unit(rng));
  }
  nurbs::SurfaceView view() const {
    return {kDegree,      kDegree,      kNet,           kNet, knots.data(),
            knots.data(), poles.data(), weights.data(), true};
  }
};

const CurveRecord& uniformCurve() {
  static const CurveRecord record(true);
  return record;
}
const CurveRecord& nonUniformCurve() {
  static const CurveRecord record(false);
  return record;
}
const SurfaceRecord& surface() {
  static const SurfaceRecord record;
  return record;
}

void perPoint(benchmark::State& state, double sum) {
  state.SetItemsProcessed(state.iterations() * kCount);
  state.counters["x_per_round"] = sum / static_cast<double>(state.iterations());
}

void curveOurs(benchmark::State& state, const CurveRecord& c) {
  const nurbs::CurveView view = c.view();
  QorVector sum;
  for (auto _ : state) {
    for (double t : c.t) sum += nurbs::curvePoint(view, t);
    benchmark::DoNotOptimize(sum);
  }
  perPoint(state, sum.x);
}

void curveHost(benchmark::State& state) {
  const CurveRecord& c = uniformCurve();
  IPtr<refhost::RefFeatureHost> host(refhost::makeNurbCurveHost());
  IQorNurbCurve* nurb = qorQuery<IQorNurbCurve>(host.get(), "IQorNurbCurve");
  nurb->initialize(true, kDegree, kPoles);
  nurb->setKnots(c.knots.data());
  for (int i = 0; i < kPoles; ++i) nurb->setControlPoint(i, c.poles[i], c.weights[i]);
  IQorCurve* curve = qorQuery<IQorCurve>(host.get(), "IQorCurve");
  QorVector sum;
  for (auto _ : state) {
    QorVector p;
    for (double t : c.t) {
      curve->evaluatePoint(p, t);
      sum += p;
    }
    benchmark::DoNotOptimize(sum);
  }
  perPoint(state, sum.x);
}

void curvePeer(benchmark::State& state, const CurveRecord& c) {
  QorVector sum;
  for (auto _ : state) {
    gp_Pnt p;
    for (double t : c.t) {
      BSplCLib::D0(t, 0, kDegree, false, c.occPoles, &c.occWeights, c.occKnots, nullptr, p);
      sum += QorVector(p.X(), p.Y(), p.Z());
    }
    benchmark::DoNotOptimize(sum);
  }
  perPoint(state, sum.x);
}

void surfaceOurs(benchmark::State& state) {
  const SurfaceRecord& s = surface();
  const nurbs::SurfaceView view = s.view();
  QorVector sum;
  for (auto _ : state) {
    QorVector rows[3][3];
    for (int i = 0; i < kCount; ++i) {
      nurbs::surfaceDerivs(view, s.u[i], s.v[i], 1, rows);
      sum += rows[0][0] + rows[1][0] + rows[1][1];
    }
    benchmark::DoNotOptimize(sum);
  }
  perPoint(state, sum.x);
}

void surfaceHost(benchmark::State& state) {
  const SurfaceRecord& s = surface();
  IPtr<refhost::RefFeatureHost> host(refhost::makeNurbSurfaceHost());
  IQorNurbSurface* nurb = qorQuery<IQorNurbSurface>(host.get(), "IQorNurbSurface");
  nurb->initialize(true, kDegree, kDegree, kNet, kNet);
  nurb->setKnotsU(s.knots.data());
  nurb->setKnotsV(s.knots.data());
  for (int i = 0; i < kNet; ++i)
    for (int j = 0; j < kNet; ++j)
      nurb->setControlPoint(i, j, s.poles[i * kNet + j], s.weights[i * kNet + j]);
  IQorSurface* surface = qorQuery<IQorSurface>(host.get(), "IQorSurface");
  QorVector sum;
  for (auto _ : state) {
    SurfaceRows rows;
    for (int i = 0; i < kCount; ++i) {
      surface->evaluate(s.u[i], s.v[i], 1, rows);
      sum += rows[0][0] + rows[1][0] + rows[1][1];
    }
    benchmark::DoNotOptimize(sum);
  }
  perPoint(state, sum.x);
}

void surfacePeer(benchmark::State& state) {
  const SurfaceRecord& s = surface();
  QorVector sum;
  for (auto _ : state) {
    gp_Pnt p;
    gp_Vec du, dv;
    for (int i = 0; i < kCount; ++i) {
      BSplSLib::D1(s.u[i], s.v[i], 0, 0, s.occPoles, &s.occWeights, s.occKnots, s.occKnots, nullptr,
                   nullptr, kDegree, kDegree, true, true, false, false, p, du, dv);
      sum += QorVector(p.X() + du.X() + dv.X(), p.Y() + du.Y() + dv.Y(), p.Z() + du.Z() + dv.Z());
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
  benchmark::RegisterBenchmark("curve_uniform/ours_host", curveHost)->Unit(ms);
  benchmark::RegisterBenchmark("curve_uniform/ours_direct", [](benchmark::State& s) {
    curveOurs(s, uniformCurve());
  })->Unit(ms);
  benchmark::RegisterBenchmark("curve_uniform/occt_BSplCLib_D0", [](benchmark::State& s) {
    curvePeer(s, uniformCurve());
  })->Unit(ms);
  benchmark::RegisterBenchmark("curve_nonuniform/ours_direct", [](benchmark::State& s) {
    curveOurs(s, nonUniformCurve());
  })->Unit(ms);
  benchmark::RegisterBenchmark("curve_nonuniform/occt_BSplCLib_D0", [](benchmark::State& s) {
    curvePeer(s, nonUniformCurve());
  })->Unit(ms);
  benchmark::RegisterBenchmark("surface_d1/ours_host", surfaceHost)->Unit(ms);
  benchmark::RegisterBenchmark("surface_d1/ours_direct", surfaceOurs)->Unit(ms);
  benchmark::RegisterBenchmark("surface_d1/occt_BSplSLib_D1", surfacePeer)->Unit(ms);
  benchmark::Initialize(&argc, argv);
  SpeedupReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  reporter.printSpeedup("curve_point_host", "curve_uniform/ours_host",
                        "curve_uniform/occt_BSplCLib_D0");
  reporter.printSpeedup("curve_point_direct", "curve_uniform/ours_direct",
                        "curve_uniform/occt_BSplCLib_D0");
  reporter.printSpeedup("curve_point_nonuniform_direct", "curve_nonuniform/ours_direct",
                        "curve_nonuniform/occt_BSplCLib_D0");
  reporter.printSpeedup("surface_d1_host", "surface_d1/ours_host", "surface_d1/occt_BSplSLib_D1");
  reporter.printSpeedup("surface_d1_direct", "surface_d1/ours_direct",
                        "surface_d1/occt_BSplSLib_D1");
  return 0;
}
