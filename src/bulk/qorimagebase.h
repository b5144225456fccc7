// QorImageBase: what every image has. The dimensions, the packed form, the operations that
// work through row access (grey, alpha, channels, colour conversions, equality, sampling,
// resampling), the plain file writers (PPM, BMP, TIFF, SGI) and the way to the host's
// writer and packing services. Row storage belongs to the derived class: the operations
// that need it (create, assign, pixel, row, the rotations, transpose, halfSize, subImage)
// only take the assertion road here.
//
// Colour rules. Float to byte is value * 255 truncated toward zero (held to 0..255, so a
// value outside 0..1 gives 0 or 255); byte to float divides by 255. Grey is made in
// different ways on purpose, each kept exactly: writePixel (0.6 g + 0.25 r + 0.15 b in
// single precision), setPixel of doubles (the same weights in double, 0.6 and 0.15 widened
// from single precision), setPixel of floats (r alone), fill ((r + g + b) * 85), toGrey
// (0.59 g + 0.3 r + 0.11 b on the bytes) and greyCopy ((r + g + b + 1) / 3).
#pragma once
#include <cstdint>

#include "hostapi/iqorimage.h"

class QorImage;

class QorImageBase : public virtual IQorImageBase {
 public:
  QorImageBase() = default;
  QorImageBase(const QorImageBase&) = delete;
  QorImageBase& operator=(const QorImageBase&) = delete;
  // Hands a packed form back to the packing service, when there is one.
  ~QorImageBase() override;

  // Answers "QorImageBase", "IQorImageBase", "IQorPersistentRef" and "IQorUnknown".
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "QorImageBase"; }
  // No stream form at this level.
  bool read(BinInput& in) override;
  bool write(BinOutput& out) override;

  // Need row storage: the assertion "0" here.
  void create(int32_t width, int32_t height, int32_t depth) override;
  void assign(const IQorImageBase& other) override;
  IQorImageBase* clone() const override;
  const uint8_t* pixel(int32_t x, int32_t y) const override;
  uint8_t* pixel(int32_t x, int32_t y) override;
  const uint8_t* row(int32_t y) const override;
  uint8_t* row(int32_t y) override;
  void rotateClockwise() override;
  void rotateCounterClockwise() override;
  void transpose() override;
  IQorImageBase* halfSize() const override;
  QorImage* halfSizeImage() const override;
  QorImage* subImage(int32_t x, int32_t y, int32_t width, int32_t height) const override;
  QorImage* subImage(int32_t x, int32_t y, int32_t width, int32_t height) override;

  int32_t height() const override { return height_; }
  int32_t width() const override { return width_; }
  int32_t depth() const override { return depth_; }
  int32_t rowBytes() const override { return width_ * depth_; }
  int64_t byteSize() const override { return int64_t(height_) * width_ * depth_; }

  // Through IQorImageWriter. "DEFAULT" becomes "BMP", or what "General/Texture Image
  // Format" names (0 BMP, 1 JPEG, 2 PNG, 3 TIFF), and the path takes its extension; a path
  // without extension takes the format's ("jpg" for JPEG, "tif" for TIFF); a null format
  // takes the path's extension in lower case. A packed image is unpacked for the writer
  // and packed again behind it.
  bool save(const QorString& path, const char* format, int32_t option, int32_t quality) override;
  bool loadSourceA(const void* source, int32_t size, int32_t flag1, int32_t flag2,
                   int32_t flag3) override;
  // False for a path that is not readable.
  bool load(const QorString& path, int32_t flag1, int32_t flag2, int32_t flag3) override;
  bool loadSourceB(const void* source, int32_t a, int32_t b, int32_t c, int32_t flag1,
                   int32_t flag2, int32_t flag3) override;

  // The plain file forms, written without any service. A path without extension takes the
  // form's ("ppm", "bmp", "tif", "rgb"). An image with a zero dimension writes no file and
  // answers false; so do sizes a form cannot say (TIFF heights and SGI sizes above 65535,
  // files past 4 GiB), with a log line naming the value. Alpha is dropped where the form
  // has no room for it (PPM, BMP).
  bool writePpm(const QorString& path) override;
  // Little-endian, one strip, ExtraSamples (unassociated alpha) for depth 2 and 4.
  virtual bool writeTiff(const QorString& path);
  // 24-bit, rows padded to 4 bytes, the last row first unless `firstRowFirst`.
  virtual bool writeBmp(const QorString& path, bool firstRowFirst);
  // SGI, uncompressed, one plane per channel, rows bottom up.
  virtual bool writeRgb(const QorString& path);
  // Frees the row storage; nothing at this level.
  virtual void releaseStorage();

  // Packing through IQorCompressPNG (looked up once for the process).
  bool compress() override;
  bool decompress() override;
  bool isCompressed() const override { return compressed_.data != nullptr; }
  bool hasData() const override { return compressed_.data != nullptr; }
  bool copyCompressedTo(IQorImageBase& other) const override;
  bool copyCompressedFrom(const IQorImageBase& other) override;
  const QorPackedImage& packed() const override { return compressed_; }
  void setPacked(const QorPackedImage& packed) override;

  void toGrey() override;
  void mirrorRows() override;
  void flipRows() override;
  // The first min(depth, 3) channels become 255 minus themselves.
  void invert() override;
  void setAlpha(double value) override;
  bool permuteChannels(const int32_t map[3]) override;
  void getPixel(int32_t x, int32_t y, double rgba[4]) const override;
  void getPixel(int32_t x, int32_t y, float rgba[4]) const override;
  void setPixel(int32_t x, int32_t y, const double rgba[4]) override;
  void setPixel(int32_t x, int32_t y, const float rgba[4]) override;
  bool equals(const IQorImageBase& other) const override;
  // Nearest source pixel by index tables; out, or a new QorImage when out is null.
  IQorImageBase* resample(int32_t newWidth, int32_t newHeight, IQorImageBase* out) const override;
  // Bilinear, pixel centres at .5, in the byte scale (alpha 255 where there is none).
  void sample(double x, double y, bool clampX, bool clampY, double rgba[4]) const override;
  // Exchanges dimensions and packed form with another QorImageBase.
  bool swapBase(IQorImageBase* other) override;
  IQorImageBase* subImageBase(int32_t x, int32_t y, int32_t width, int32_t height) const override;
  IQorImage* subImageIface(int32_t x, int32_t y, int32_t width, int32_t height) const override;

  // Unpacks a packed image (through the service); answers whether the image is raw now.
  bool unpack() const;
  // The packing service, or null.
  static IQorCompressPNG* packer();

 protected:
  // Drops the packed form through the service (or frees it when there is none).
  void dropPacked();

  int32_t height_ = 0;
  int32_t width_ = 0;
  int32_t depth_ = 0;
  QorPackedImage compressed_;
};

// Conversions shared by the image classes.
namespace qor::image {
// An already scaled value truncated toward zero, held to 0..255.
uint8_t truncByte(float scaled);
uint8_t truncByte(double scaled);
}  // namespace qor::image
