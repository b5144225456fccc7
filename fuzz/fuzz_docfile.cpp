// The document file over arbitrary bytes: reading must refuse or succeed without a failed
// check, leave the record untouched when it refuses, and a document it accepts must save
// to exactly the bytes it was read from.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/wexrealloc.h"
#include "persistence/memstream.h"
#include "refhost/docfile.h"

namespace {

void check(bool ok) {
  if (!ok) __builtin_trap();
}

int failedCheck(void*, const char*, const char*, int32_t) {
  __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  wexSetAssertCallback(&failedCheck, nullptr);
  BinInputMemory in(data, size);
  refhost::DocumentSnapshot doc;
  doc.nextId = -7;  // a mark: a refused read must leave it
  std::string why;
  int calls = 0;
  bool ok = refhost::readDocument(in, "input", &doc, &why, [&](float f) {
    ++calls;
    return f >= 0 && f <= 1;
  });
  if (!ok) {
    check(doc.nextId == -7 && doc.objects.empty() && why.find("'input' is damaged") == 0);
    return 0;
  }
  check(calls > 0);
  BinOutputMemory out;
  check(refhost::writeDocument(out, doc, &why) && out.flush());
  check(out.size() == size && std::memcmp(out.data(), data, size) == 0);
  return 0;
}
