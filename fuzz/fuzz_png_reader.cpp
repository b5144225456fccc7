// The host's PNG reader over arbitrary bytes. A refused input leaves the image as it was or
// empty; an accepted one gives depth 1 to 4 within the reader's size limits, and its pixels
// come back unchanged through the writer and the reader again. The same bytes behind a
// 32-bit length go through the stored form's reader, which must consume exactly them.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "base/wexrealloc.h"
#include "bulk/qorimage.h"
#include "persistence/memstream.h"
#include "refhost/imagewriter.h"

namespace {

void check(bool ok) {
  if (!ok) __builtin_trap();
}

bool sameRows(const QorImage& a, const QorImage& b) {
  if (a.width() != b.width() || a.height() != b.height() || a.depth() != b.depth()) return false;
  for (int32_t y = 0; y < a.height(); ++y)
    if (std::memcmp(a.row(y), b.row(y), static_cast<size_t>(a.rowBytes())) != 0) return false;
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > (1u << 20)) return 0;
  refhost::RefImageWriter& writer = refhost::imageWriter();
  QorImage image(2, 2, 1);
  if (!writer.readSourceA(&image, data, static_cast<int32_t>(size), 0, 0, 0, 0)) {
    check((image.width() == 2 && image.depth() == 1) || image.width() == 0);
    return 0;
  }
  check(image.depth() >= 1 && image.depth() <= 4 && image.width() > 0 && image.height() > 0);
  check(image.byteSize() <= refhost::RefImageWriter::kMaxBytes);

  refhost::PngBlock png;
  std::string why;
  check(refhost::encodePng(image, refhost::pngPackSettings(), &png, &why));
  QorImage again;
  check(refhost::decodePng(png.data, png.size, &again, &why));
  wexFree(png.data);
  check(sameRows(image, again));

  std::vector<uint8_t> framed(4 + size + 3, 0xEE);
  const uint32_t n = static_cast<uint32_t>(size);
  const uint8_t length[4] = {uint8_t(n >> 24), uint8_t(n >> 16), uint8_t(n >> 8), uint8_t(n)};
  std::memcpy(framed.data(), length, 4);
  std::memcpy(framed.data() + 4, data, size);
  BinInputMemory in(framed.data(), framed.size());
  QorImage streamed;
  check(writer.readStream(&streamed, in, 0, 0, 1, 1) && sameRows(image, streamed));
  check(in.tell() == static_cast<int64_t>(4 + size));
  return 0;
}
