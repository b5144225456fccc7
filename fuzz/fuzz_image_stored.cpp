// The image's stored-form reader over arbitrary bytes. Whatever the chunk announces, a read
// either fails and leaves the image empty (or untouched when no chunk opens), or gives a raw image
// whose rows came from the stream or a packed one whose size fits what was there. A raw image read
// back from its own stored form is the same image.
#include <cstddef>
#include <cstdint>

#include "bulk/qorimage.h"
#include "persistence/memstream.h"

namespace {
void check(bool ok) {
  if (!ok) __builtin_trap();
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  QorImage image(2, 2, 3);
  BinInputMemory in(data, size);
  if (!image.read(in)) {
    // A chunk that does not open leaves the image as it was; one that opens empties it.
    const bool unchanged = image.width() == 2 && image.height() == 2 && image.depth() == 3;
    check(unchanged || (!image.isSet() && !image.hasData()));
    return 0;
  }
  check(image.width() >= 0 && image.height() >= 0 && image.depth() >= 0 && image.depth() <= 4);
  if (image.isCompressed()) {
    check(image.packed().size > 0 && static_cast<size_t>(image.packed().size) <= size);
    return 0;
  }
  check(image.byteSize() <= static_cast<int64_t>(size));
  BinOutputMemory out;
  check(image.write(out) && out.flush());
  QorImage again;
  BinInputMemory back(out.data(), out.size());
  check(again.read(back));
  check(image.byteSize() == 0 ? !again.isSet() : again.equalsImage(image));
  return 0;
}
