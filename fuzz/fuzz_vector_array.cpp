// The vector array stream reader over arbitrary bytes. What was read is written again and
// read back: the two arrays must be equal and the bytes the same.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "bulk/qorvectorarray.h"
#include "core/locator.h"
#include "persistence/memstream.h"
#include "refhost/host.h"

namespace {
void check(bool ok) {
  if (!ok) __builtin_trap();
}
}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  refhost::boot("full");
  qor::setLocator(&refhost::manager());
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  QorVectorArray a;
  BinInputMemory in(data, size);
  if (!a.read(in)) return 0;
  check(a.size() >= 0 && a.size() < a.capacity());
  BinOutputMemory out;
  check(a.write(out) && out.flush());
  QorVectorArray b;
  BinInputMemory again(out.data(), out.size());
  check(b.read(again) && b.size() == a.size());
  for (int32_t i = 1; i <= a.size(); ++i) {
    const QorVector p = a.point(i), q = b.point(i);
    check(std::memcmp(&p, &q, sizeof p) == 0);
  }
  return 0;
}
