// Evaluating points of an arc, against the bare closed form c + r (cos theta u + sin theta v)
// over the same parameters, in the same run: through the script's ArcCurve shell (its range
// check, then the host curve; the path a script call takes below Python), and through the
// reference host's arc alone (IQorCurve::evaluatePoint by the interface). Prints
// "ratio arc_eval_shell: ours/peer = X" and "ratio arc_eval_host: ..." (time per iteration;
// below 1 means ours is faster).
//
// Also an undo record of an arc whose host table holds 100 more entries (createUndoInfo,
// then captureAfter: two whole clones of the host, table included), against two copies
// of a std::map of the same 100 named values: "ratio undo_record: ours/peer = X".
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "core/iptr.h"
#include "core/locator.h"
#include "datamodel/iqorundoinfo.h"
#include "features/arccurve.h"
#include "hostapi/iqorfeature.h"
#include "ratio_reporter.h"
#include "refhost/componentmanager.h"
#include "refhost/featurehosts.h"
#include "refhost/host.h"

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
  state.counters["x_per_round"] = sum.x / static_cast<double>(state.iterations());
}

void throughShell(benchmark::State& state) {
  IPtr<features::ArcCurve> arc(new features::ArcCurve());
  arc->initialize(kCenter, kRadius, kNormal, kRadial);
  arc->set("startAngle", kStart);
  arc->set("endAngle", kEnd);
  std::vector<double> t = parameters();
  QorVector sum;
  for (auto _ : state) {
    for (double x : t) sum += arc->evaluatePoint(x);
    benchmark::DoNotOptimize(sum);
  }
  state.counters["x_per_round"] = sum.x / static_cast<double>(state.iterations());
}

constexpr int kEntries = 100;

void undoRecord(benchmark::State& state) {
  IPtr<features::ArcCurve> arc(new features::ArcCurve());
  IQorParameterTable* table = arc->host()->parameterTable();
  for (int i = 0; i < kEntries; ++i) {
    SPtr<IQorDoubleValue> value("IQorDoubleValue");
    value->setValue(i * 0.5);
    table->add(QorString(("entry " + std::to_string(i)).c_str()),
               qorQuery<IQorParameter>(value.get(), "IQorParameter"), 0);
  }
  for (auto _ : state) {
    IPtr<IQorUndoInfo> record(arc->createUndoInfo());
    record->captureAfter();
    benchmark::DoNotOptimize(record->undoSize());
  }
}

void mapCopies(benchmark::State& state) {
  std::map<std::string, double> values;
  for (int i = 0; i < kEntries + 8; ++i) values["entry " + std::to_string(i)] = i * 0.5;
  for (auto _ : state) {
    std::map<std::string, double> before(values), after(values);
    benchmark::DoNotOptimize(before.size() + after.size());
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
  state.counters["x_per_round"] = sum.x / static_cast<double>(state.iterations());
}

}  // namespace

int main(int argc, char** argv) {
  if (!refhost::boot("full")) return 2;
  qor::setLocator(&refhost::manager());
  auto us = benchmark::kMicrosecond;
  benchmark::RegisterBenchmark("arc/ours_shell", throughShell)->Unit(us);
  benchmark::RegisterBenchmark("arc/ours_host", throughHost)->Unit(us);
  benchmark::RegisterBenchmark("arc/closed_form", closedForm)->Unit(us);
  benchmark::RegisterBenchmark("undo/ours_record", undoRecord)->Unit(us);
  benchmark::RegisterBenchmark("undo/map_copies", mapCopies)->Unit(us);
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  reporter.printRatio("arc_eval_shell", "arc/ours_shell", "arc/closed_form");
  reporter.printRatio("arc_eval_host", "arc/ours_host", "arc/closed_form");
  reporter.printRatio("undo_record", "undo/ours_record", "undo/map_copies");
  return 0;
}
