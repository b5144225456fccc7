// The curve and surface hosts' and the curve set's stored records over arbitrary bytes: the
// first byte picks the kind that reads (or, past the kinds, the kind named by the record's
// class id; the set's id reads a curve set). Reading
// must never crash, fail a check or leave a host unusable; whatever was read (or left) is
// evaluated, measured, bounded, cloned and moved (NaN answers are allowed); a record that
// reads writes back to bytes that read again to the same bytes.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "base/wexrealloc.h"
#include "persistence/memstream.h"
#include "persistence/qorfile.h"
#include "refhost/curvehosts.h"
#include "refhost/curveset.h"

namespace {

void check(bool ok) {
  if (!ok) __builtin_trap();
}

int failedCheck(void*, const char*, const char*, int32_t) {
  __builtin_trap();
}

refhost::RefFeatureHost* (*const kMakers[])() = {
    refhost::makeNurbCurveHost, refhost::makeNurbSurfaceHost, refhost::makePolyLineHost,
    refhost::makePolyLine2DHost, refhost::makeCompositeCurveHost};

std::vector<uint8_t> written(IQorPersistable& h) {
  BinOutputMemory out;
  {
    QorFileWrite w(&out, false);
    check(h.write(&w));
  }
  out.flush();
  return std::vector<uint8_t>(out.data(), out.data() + out.size());
}

void exercise(IQorCurve* c) {
  if (!c) return;
  const double a = c->range(0), b = c->range(1);
  QorVector d[6];
  for (double t : {a, b, (a + b) / 2, -1e300, std::numeric_limits<double>::quiet_NaN()}) {
    c->evaluate(t, 5, d);
    c->evaluate(t, 2, d);
    c->evaluatePoint(d[0], t);
  }
  c->length();
  c->isClosed();
  c->isDegenerate();
}

void exercise(refhost::RefFeatureHost& h) {
  QorBounds box;
  h.boundingBox(box);
  exercise(qorQuery<IQorCurve>(&h, "IQorCurve"));
  if (auto* s = qorQuery<IQorSurface>(&h, "IQorSurface")) {
    Vector2D u, v;
    s->parameterRange(u, v);
    SurfaceRows rows;
    QorVector p, n;
    for (double f : {0.0, 0.5, 1.0}) {
      s->evaluate(u.x + f * (u.y - u.x), v.y + f * (v.x - v.y), 2, rows);
      s->evaluatePoint(p, u.x + f * (u.y - u.x), v.x, &n);
    }
    s->isClosedInU();
    s->isClosedInV();
    for (int32_t direction : {0, 1}) {
      IQorCurve* iso = nullptr;
      s->isoCurve(direction, direction ? v.x : u.y, &iso);
      IPtr<IQorCurve> hold(iso);
      exercise(iso);
    }
  }
  IPtr<IQorFeature> copy(h.clone());
  copy->transform(QorMatrix::scale(2, 1, -1));
  exercise(qorQuery<IQorCurve>(copy.get(), "IQorCurve"));
}

// Every query of the set, for the first 4096 keys (and a few that name no curve).
void exercise(ICurveSet& s) {
  QorVector lo, hi, p;
  s.bounds(lo, hi);
  s.rebuild(-1, true);
  ICurveTopology* t = s.topology();
  IterStack<int32_t> chain;
  int32_t out = 0;
  const int32_t keys = std::min((s.maxIndex() + 2) * 2, int32_t(1) << 12);
  for (int32_t k = -1; k < keys; ++k) {
    exercise(s.curve(k >> 1));
    s.startOf(k, p);
    s.chain(chain, k);
    t->nextEnd(k, out);
    t->previousEnd(k, out);
    t->testEnd(k);
    t->testPair(k, k ^ 1, 0);
  }
  IPtr<ICurveSet> copy(s.clone());
  check(copy->maxIndex() == s.maxIndex());
}

int readSet(QorFileRead& r) {
  IPtr<ICurveSet> s(refhost::makeCurveSet());
  auto* p = qorQuery<IQorPersistable>(s.get(), "IQorPersistable");
  bool ok = p->read(&r);
  exercise(*s);
  if (!ok) return 0;
  std::vector<uint8_t> once = written(*p);
  IPtr<ICurveSet> again(refhost::makeCurveSet());
  auto* q = qorQuery<IQorPersistable>(again.get(), "IQorPersistable");
  BinInputMemory in(once.data(), once.size());
  in.setLengthWidth64();
  QorFileRead r2;
  r2.attach(&in);
  check(q->read(&r2));
  check(written(*q) == once);
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  wexSetAssertCallback(&failedCheck, nullptr);
  if (size < 1) return 0;
  uint8_t pick = data[0] % 6;
  BinInputMemory in(data + 1, size - 1);
  in.setLengthWidth64();
  QorFileRead r;
  r.attach(&in);
  IPtr<refhost::RefFeatureHost> h;
  if (pick < 5) {
    h = kMakers[pick]();
  } else {
    if (r.peekObjectId() == refhost::kCurveSetClassId) return readSet(r);
    h = refhost::makeCurveHost(r.peekObjectId());
    if (!h) return 0;
  }
  bool ok = h->read(&r);
  exercise(*h);
  if (!ok) return 0;
  std::vector<uint8_t> once = written(*h);
  IPtr<refhost::RefFeatureHost> again(refhost::makeCurveHost(h->classId()));
  BinInputMemory in2(once.data(), once.size());
  in2.setLengthWidth64();
  QorFileRead r2;
  r2.attach(&in2);
  check(again->read(&r2));
  check(written(*again) == once);
  return 0;
}
