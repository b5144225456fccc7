// The host features' stored records over arbitrary bytes: the first byte picks the kind
// that reads (or, past the kinds, the kind named by the record's class id). Reading must
// never crash, fail a check or leave a host unusable; a record that reads writes back to
// bytes that read again to the same bytes; bounds and evaluation of whatever was read must
// not crash.
#include <cstddef>
#include <cstdint>

#include "base/wexrealloc.h"
#include "persistence/memstream.h"
#include "persistence/qorfile.h"
#include "refhost/featurehosts.h"

namespace {

void check(bool ok) {
  if (!ok) __builtin_trap();
}

int failedCheck(void*, const char*, const char*, int32_t) {
  __builtin_trap();
}

const char* const kServices[] = {"IQorArc",   "IQorLine",   "IQorCone", "IQorCylinder",
                                 "IQorPlane", "IQorSphere", "IQorTorus"};

std::vector<uint8_t> written(refhost::RefFeatureHost& h) {
  BinOutputMemory out;
  {
    QorFileWrite w(&out, false);
    check(h.write(&w));
  }
  out.flush();
  return std::vector<uint8_t>(out.data(), out.data() + out.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  wexSetAssertCallback(&failedCheck, nullptr);
  if (size < 1) return 0;
  uint8_t pick = data[0] % 8;
  BinInputMemory in(data + 1, size - 1);
  in.setLengthWidth64();
  QorFileRead r;
  r.attach(&in);
  IPtr<refhost::RefFeatureHost> h;
  if (pick < 7) {
    h = refhost::makeFeatureHost(kServices[pick]);
  } else {
    const QorID& id = r.peekObjectId();
    h = refhost::makeFeatureHost(id);
    if (!h) return 0;
  }
  bool ok = h->read(&r);
  QorBounds b;
  h->boundingBox(b);
  if (auto* c = qorQuery<IQorCurve>(h.get(), "IQorCurve")) {
    QorVector d[4];
    c->evaluate(0.5, 3, d);
    c->evaluatePoint(d[0], c->range(1));
  }
  if (!ok) return 0;
  std::vector<uint8_t> once = written(*h);
  IPtr<refhost::RefFeatureHost> again(refhost::makeFeatureHost(h->classId()));
  BinInputMemory in2(once.data(), once.size());
  in2.setLengthWidth64();
  QorFileRead r2;
  r2.attach(&in2);
  check(again->read(&r2));
  check(written(*again) == once);
  return 0;
}
