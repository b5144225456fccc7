// Reading a curve set whole: every property of curves::Curves plus one full iteration of its
// iterator, against a plain walk of a vector of the same host curves making the same host
// calls in one pass (the null test, the five kind queries, the length, the chains and the
// set's box), in the same run, at 10^3, 10^4 and 10^5 curves.
//
// The set is made of unit squares of four lines each, spread on a grid, with one curve in 97
// removed so that the walks meet gaps and open chains. Prints "ratio curves_<n>: ours/peer"
// and the time per curve of both sides at each size, so that linear growth shows as a flat
// time per curve.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "base/bitvector.h"
#include "core/iptr.h"
#include "core/locator.h"
#include "features/linefeature.h"
#include "ratio_reporter.h"
#include "refhost/componentmanager.h"
#include "refhost/host.h"
#include "surfacing/curves.h"

namespace {

constexpr int kSizes[] = {1000, 10000, 100000};

IPtr<curves::Curves> makeSet(int n) {
  IPtr<curves::Curves> c(new curves::Curves());
  IPtr<features::LineFeature> line(new features::LineFeature());
  const QorVector corner[4] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
  for (int i = 0; i < n; ++i) {
    const int square = i / 4, k = i % 4;
    const QorVector at(3.0 * (square % 100), 3.0 * (square / 100), 0);
    const QorVector& a = corner[k];
    const QorVector& b = corner[(k + 1) % 4];
    line->initialize(QorVector(at.x + a.x, at.y + a.y, 0), QorVector(at.x + b.x, at.y + b.y, 0));
    c->addCurve(line.get());
  }
  for (int i = 5; i < n; i += 97) c->removeCurve(i);
  c->curveSet()->rebuild(-1.0, true);
  return c;
}

IPtr<curves::Curves>& setOf(int n) {
  static IPtr<curves::Curves> sets[3];
  const int slot = n == 1000 ? 0 : n == 10000 ? 1 : 2;
  if (!sets[slot]) sets[slot] = makeSet(n);
  return sets[slot];
}

// Every property, then the iterator from start to end.
void ours(benchmark::State& state) {
  curves::Curves* c = setOf(static_cast<int>(state.range(0))).get();
  for (auto _ : state) {
    double sum = c->numCurvesValue() + c->maxCurvesIndexValue() + c->numLinesValue() +
                 c->numArcsValue() + c->numSplinesValue() + c->numPolylinesValue() +
                 c->numCompositeCurvesValue() + c->numComponentsValue() + c->isClosedValue() +
                 c->lengthValue() + c->boundingBoxValue().maxX;
    IPtr<curves::CurvesIter> it(c->iterator());
    for (it->rewind(); it->advance();) sum += it->index();
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The same results from the same host calls in one pass over a vector of the host curves.
void peer(benchmark::State& state) {
  ICurveSet* set = setOf(static_cast<int>(state.range(0)))->curveSet();
  std::vector<IQorCurve*> curves;
  for (int32_t i = 1; i <= set->maxIndex(); ++i) curves.push_back(set->curve(i));
  static const char* const kKinds[] = {"IQorLine", "IQorArc", "IQorNurbCurve", "IQorPolyLine",
                                       "IQorCompositeCurve"};
  for (auto _ : state) {
    int32_t filled = 0, kinds[5] = {}, chains = 0;
    bool closed = true;
    double length = 0.0;
    std::vector<bool> seen(curves.size() + 1);
    IterStack<int32_t> stack(21);
    for (size_t i = 0; i < curves.size(); ++i) {
      IQorCurve* c = curves[i];
      if (!c) continue;
      ++filled;
      for (int k = 0; k < 5; ++k) kinds[k] += qorQuery<void>(c, kKinds[k]) != nullptr;
      length += c->length();
      if (seen[i + 1]) continue;
      set->chain(stack, static_cast<int32_t>(i + 1) * 2);
      if (closed) {  // once a chain is open the answer stands
        QorVector first, last;
        set->startOf(stack.get(1), first);
        set->startOf(stack.get(stack.count()) ^ 1, last);
        const double dx = first.x - last.x, dy = first.y - last.y, dz = first.z - last.z;
        closed = !(std::sqrt(dx * dx + dy * dy + dz * dz) > 1e-8);
      }
      for (int32_t k = 1; k <= stack.count(); ++k) seen[stack.get(k) >> 1] = true;
      ++chains;
    }
    QorVector lo, hi;
    set->bounds(lo, hi);
    double sum = filled + kinds[0] + kinds[1] + kinds[2] + kinds[3] + kinds[4] + chains + closed +
                 length + hi.x;
    for (size_t i = 0; i < curves.size(); ++i)
      if (curves[i]) sum += static_cast<double>(i);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

}  // namespace

int main(int argc, char** argv) {
  if (!refhost::boot("full")) return 2;
  qor::setLocator(&refhost::manager());
  for (int n : kSizes) {
    benchmark::RegisterBenchmark(("curves_" + std::to_string(n) + "/ours").c_str(), ours)
        ->Arg(n)
        ->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark(("curves_" + std::to_string(n) + "/peer_vector").c_str(), peer)
        ->Arg(n)
        ->Unit(benchmark::kMicrosecond);
  }
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  for (int n : kSizes) {
    const std::string base = "curves_" + std::to_string(n) + "/";
    const std::string o = base + "ours/" + std::to_string(n);
    const std::string p = base + "peer_vector/" + std::to_string(n);
    if (!reporter.printRatio("curves_" + std::to_string(n), o, p)) continue;
    std::printf("per curve at %d: ours %.1f ns, peer %.1f ns\n", n, reporter.times[o] * 1e3 / n,
                reporter.times[p] * 1e3 / n);
  }
  return 0;
}
