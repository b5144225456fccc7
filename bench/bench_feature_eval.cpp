// Evaluating points of an arc: through the reference host's arc (IQorCurve::evaluatePoint
// by the interface, as the module calls it) against the bare closed form
// c + r (cos theta u + sin theta v) over the same parameters, in the same run. Prints
// "ratio arc_eval: ours/peer = X" (time per iteration; below 1 means ours is faster).
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <vector>

#include "hostapi/iqorfeature.h"
#include "ratio_reporter.h"
#include "refhost/featurehosts.h"

namespace {

constexpr int kPoints = 1 << 16;
const QorVector kCenter(1, 2, 3), kNormal(0, 0, 1), kRadial(1, 0, 0);
constexpr double kRadius = 2, kStart = 0.25, kEnd = 4.5;
const double kRange[2] = {0, 1};

std::vector<double> parameters() {
  std::vector<double> t(kPoints);
  for (int i = 0; i < kPoints; ++i) t[i] = double(i) / kPoints;
  return t;
}

void throughHost(benchmark::State& state) {
  IPtr<refhost::RefFeatureHost> h(refhost::makeFeatureHost("IQorArc"));
  qorQuery<IQorArc>(h.get(), "IQorArc")
      ->initialize(kCenter, kRadius, kNormal, kRadial, kStart, kEnd, kRange, 0);
  IQorCurve* curve = qorQuery<IQorCurve>(h.get(), "IQorCurve");
  std::vector<double> t = parameters();
  QorVector sum;
  for (auto _ : state) {
    QorVector p;
    for (double x : t) {
      curve->evaluatePoint(p, x);
      sum += p;
    }
    benchmark::DoNotOptimize(sum);
  }
}

void closedForm(benchmark::State& state) {
  QorVector u = kRadial, w = kNormal;
  QorVector v = w.cross(u);
  std::vector<double> t = parameters();
  QorVector sum;
  for (auto _ : state) {
    for (double x : t) {
      double a = kStart + (x - kRange[0]) / (kRange[1] - kRange[0]) * (kEnd - kStart);
      sum += kCenter + (u * std::cos(a) + v * std::sin(a)) * kRadius;
    }
    benchmark::DoNotOptimize(sum);
  }
}

}  // namespace

int main(int argc, char** argv) {
  auto us = benchmark::kMicrosecond;
  benchmark::RegisterBenchmark("arc/ours_host", throughHost)->Unit(us);
  benchmark::RegisterBenchmark("arc/closed_form", closedForm)->Unit(us);
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  reporter.printRatio("arc_eval", "arc/ours_host", "arc/closed_form");
  return 0;
}
