// The edge stack reader over arbitrary bytes. Whatever count the stream announces, the stack
// holds exactly the whole 32-bit values that followed it (up to that count), with its flags
// untouched, and writing it back gives the count and those same bytes.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "bulk/ortri.h"
#include "persistence/memstream.h"

namespace {
void check(bool ok) {
  if (!ok) __builtin_trap();
}
uint32_t be32(const uint8_t* p) {
  return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ClassifiedEdgeStack s;
  s.setFlags(0x0B);
  BinInputMemory in(data, size);
  check(s.read(in));
  check(s.flags() == 0x0B);
  int64_t expected = 0;
  if (size >= 4) {
    const int32_t count = static_cast<int32_t>(be32(data));
    const int64_t whole = static_cast<int64_t>((size - 4) / 4);
    expected = count < 1 ? 0 : (count < whole ? count : whole);
  }
  check(s.count() == expected);
  for (int32_t i = 1; i <= s.count(); ++i) check(s.items()[i] == be32(data + 4 * i));

  BinOutputMemory out;
  check(s.write(out) && out.flush());
  check(out.size() == static_cast<uint64_t>(4 + 4 * expected));
  check(be32(out.data()) == static_cast<uint32_t>(expected));
  if (expected > 0) check(std::memcmp(out.data() + 4, data + 4, 4 * expected) == 0);
  return 0;
}
