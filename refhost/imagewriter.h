// The reference host's image services, on libpng and zlib.
//
// "IQorImageWriter" reads and writes the compressed file forms:
//   writeFile    "PNG": 8 bits per channel, depth 1 to 4 as grey, grey and alpha, RGB, RGBA.
//                "BMP" and "TIFF" ("TIF") go to the image's own plain writers (writeBmp,
//                last row first, and writeTiff) when it is a QorImageBase; "JPEG" and any
//                other format answer false. The format is matched without case; a null one
//                is the path's extension.
//   writeStream  the image's stored PNG form: a 32-bit length through the stream's integer
//                encoding, then that many bytes of PNG. The length lets a reader step over
//                the form without decoding it.
//   readFile, readStream, readSourceA (PNG bytes in memory, `size` of them)
//                accept 8-bit grey, grey and alpha, RGB and RGBA; palette images become RGB
//                (RGBA with transparency), 16-bit channels are scaled to 8 bits with
//                rounding, transparency chunks become an alpha channel. Grey of 1, 2 or 4
//                bits is refused. Every refusal answers false and writes one log line that
//                says why; an image that was already created is emptied again.
//   readSourceB  raw rows: `source` holds a * c bytes per row, b rows, top row first, with
//                a the width, b the height and c the depth (1 to 4).
//   A successful read replaces the image and releases a packed form it held.
// The quality, option and flag arguments have no meaning for these forms.
//
// "IQorCompressPNG" packs an image in memory as a PNG of its own (the fast settings below);
// the packed block comes from wexMalloc and `release` frees it with wexFree, so a block
// that a stored form was read into is released the same way.
//
// Before any pixel storage is made, a reader checks the declared size: each side at most
// kMaxSide, the decoded pixels at most kMaxBytes, and no more raw data than the compressed
// bytes could hold at deflate's best ratio (1032:1).
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

#include "hostapi/iqorimage.h"

namespace refhost {

// Encoder settings: the zlib level and the PNG row filters (PNG_FILTER_* bits, or
// PNG_ALL_FILTERS for libpng's adaptive choice).
struct PngSettings {
  int level;
  int filters;
};
// Files and stored forms: zlib's default level with adaptive filters, a size readers expect.
PngSettings pngFileSettings();
// Packing in memory: the fastest level, and only the Sub filter, which needs no trial of the
// others and keeps photographs about as small as adaptive filtering does at that level.
PngSettings pngPackSettings();

// A PNG in a block from wexMalloc (free it with wexFree).
struct PngBlock {
  uint8_t* data = nullptr;
  size_t size = 0;
};
// Encodes the image's rows; false (with `why`) for an empty image, a depth outside 1 to 4
// or a failure of the encoder.
bool encodePng(const IQorImageBase& image, const PngSettings& settings, PngBlock* out,
               std::string* why);
// Decodes PNG bytes into the image through create and row writes; false with `why` for what
// the reader refuses.
bool decodePng(const void* data, size_t size, IQorImageBase* image, std::string* why);

class RefImageWriter : public IQorImageWriter {
 public:
  static constexpr int32_t kMaxSide = 1000000;
  static constexpr int64_t kMaxBytes = int64_t(1) << 30;

  // Answers "RefImageWriter", "IQorImageWriter" and "IQorUnknown".
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefImageWriter"; }

  bool writeStream(IQorImageBase* image, BinOutput& out, const char* format, int32_t quality,
                   int32_t a, int32_t b) override;
  bool writeFile(IQorImageBase* image, const QorString& path, const char* format, int32_t quality,
                 int32_t a, int32_t option) override;
  bool readSourceA(IQorImageBase* image, const void* source, int32_t size, int32_t a, int32_t flag1,
                   int32_t flag2, int32_t flag3) override;
  bool readStream(IQorImageBase* image, BinInput& in, int32_t a, int32_t b, int32_t c,
                  int32_t d) override;
  bool readFile(IQorImageBase* image, const QorString& path, int32_t a, int32_t flag1,
                int32_t flag2, int32_t flag3) override;
  bool readSourceB(IQorImageBase* image, const void* source, int32_t a, int32_t b, int32_t c,
                   int32_t d, int32_t flag1, int32_t flag2, int32_t flag3) override;
};

class RefCompressPNG : public IQorCompressPNG {
 public:
  // Answers "RefCompressPNG", "IQorCompressPNG" and "IQorUnknown".
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefCompressPNG"; }

  // The image's rows as a PNG in a new block (a packed image gives a copy of its block);
  // false for an image without rows.
  bool compress(IQorImageBase* image, QorPackedImage* packed) override;
  bool decompress(const QorPackedImage* packed, IQorImageBase* image) override;
  // Frees the block (wexFree) and leaves the record empty.
  using IQorCompressPNG::release;
  void release(QorPackedImage* packed) override;
  // `to` gets a copy of `from`'s bytes in a new block (or none when `from` has none); a
  // block `to` held before is not released.
  void copy(const QorPackedImage* from, QorPackedImage* to) override;
};

// The host's services, made on first use and never destroyed.
RefImageWriter& imageWriter();
RefCompressPNG& compressPNG();

}  // namespace refhost
