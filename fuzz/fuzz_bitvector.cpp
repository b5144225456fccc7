// The bit vector stream readers over arbitrary bytes. The input's first byte picks the
// stream version the vectors are written back with (0, 12 or 13); the rest is the stream.
// Both classes read it: they must agree on the answer and on the bits. What was read is
// written again, and reading that back must give the same bits, through either class.
// The reference host is installed, so that large vectors take the paged road on its page
// manager as they would in the host.
#include <cstddef>
#include <cstdint>

#include "base/bitvector.h"
#include "base/blockbitvector.h"
#include "core/locator.h"
#include "persistence/memstream.h"
#include "refhost/host.h"

namespace {

void check(bool ok) {
  if (!ok) __builtin_trap();
}

// Bits of a dense and a block vector agree, walked together.
bool sameBits(const BitVector& a, const BlockBitVector& b) {
  int32_t i = a.nextSet(-1), j = b.nextSet(-1);
  while (i == j && i >= 0) {
    i = a.nextSet(i);
    j = b.nextSet(j);
  }
  return i == j;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  refhost::boot("full");
  qor::setLocator(&refhost::manager());
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  static const int32_t kVersions[3] = {0, 12, 13};
  const int32_t version = kVersions[data[0] % 3];
  const uint8_t* src = data + 1;
  const size_t n = size - 1;

  BitVector dense(data[0]);
  dense.set(3);
  BlockBitVector block(data[0]);
  block.set(3);
  BinInputMemory in1(src, n), in2(src, n);
  const bool a = dense.read(in1);
  const bool b = block.read(in2);
  check(a == b);
  if (!a) {
    // A refused stream leaves the vector as it was.
    if (in1.tell() <= 20) check(dense.test(3) && dense.count() == 1);
    return 0;
  }
  check(sameBits(dense, block));
  check(dense.count() == block.count());
  check(dense.maxBit() >= 31 && (int64_t{dense.maxBit()} + 1) % 32 == 0);

  // The word form of a vector grown to billions of bits by one listed index would be a
  // quarter of a gigabyte: such vectors are written back in the current version, whose
  // list form stays as small as the input.
  const int32_t writeVersion = dense.wordCount() > (1 << 18) ? 0 : version;
  BinOutputMemory out1, out2;
  out1.setVersion(writeVersion);
  out2.setVersion(writeVersion);
  check(dense.write(out1) && out1.flush());
  check(block.write(out2) && out2.flush());
  BitVector again(1);
  BinInputMemory back1(out1.data(), out1.size());
  check(again.read(back1));
  check(back1.tell() == static_cast<int64_t>(out1.size()));
  check(again.equals(dense) && again.maxBit() == dense.maxBit());
  BitVector fromBlock(1);
  BinInputMemory back2(out2.data(), out2.size());
  check(fromBlock.read(back2));
  check(fromBlock.equals(dense));
  BlockBitVector blockAgain;
  BinInputMemory back3(out1.data(), out1.size());
  check(blockAgain.read(back3) && blockAgain.equals(block));

  BitVector x(again);
  x.exclusiveOr(fromBlock);
  check(x.isEmpty() && x.count() == 0);
  return 0;
}
