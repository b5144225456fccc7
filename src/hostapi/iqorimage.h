// The raster image as other components and the host reach it, and the two host services
// that do what the image does not do itself: reading and writing compressed file forms
// (IQorImageWriter) and packing an image in memory (IQorCompressPNG). The slot order of
// each interface below is the contract.
#pragma once
#include <cstdint>

#include "base/qorcstring.h"
#include "base/qorstring.h"
#include "hostapi/iqorpersistentrefmap.h"
#include "math/qorcolor.h"

class BinOutput;
class BinInput;
class QorImage;
class IQorImage;

// The packed form of an image: opaque bytes that only IQorCompressPNG understands. The
// pointer is null when there is none.
struct QorPackedImage {
  uint8_t* data = nullptr;
  int32_t size = 0;
};

// What every image has: dimensions, the packed form, pixel access through rows, the plain
// file writers and resampling. Pixels are `depth` consecutive bytes (grey; grey, alpha;
// red, green, blue; red, green, blue, alpha); a row is width * depth bytes, unpadded.
class IQorImageBase : public virtual IQorPersistentRef {
 public:
  virtual void create(int32_t width, int32_t height, int32_t depth) = 0;
  virtual void assign(const IQorImageBase& other) = 0;
  virtual IQorImageBase* clone() const = 0;
  // Unchecked addresses.
  virtual const uint8_t* pixel(int32_t x, int32_t y) const = 0;
  virtual uint8_t* pixel(int32_t x, int32_t y) = 0;
  virtual const uint8_t* row(int32_t y) const = 0;
  virtual uint8_t* row(int32_t y) = 0;
  virtual int32_t height() const = 0;
  virtual int32_t width() const = 0;
  virtual int32_t depth() const = 0;
  virtual int32_t rowBytes() const = 0;
  virtual int64_t byteSize() const = 0;
  // Through IQorImageWriter; the format "DEFAULT" follows "General/Texture Image Format",
  // a null format takes the path's extension.
  virtual bool save(const QorString& path, const char* format, int32_t option, int32_t quality) = 0;
  virtual bool loadSourceA(const void* source, int32_t size, int32_t flag1, int32_t flag2,
                           int32_t flag3) = 0;
  virtual bool load(const QorString& path, int32_t flag1, int32_t flag2, int32_t flag3) = 0;
  virtual bool loadSourceB(const void* source, int32_t a, int32_t b, int32_t c, int32_t flag1,
                           int32_t flag2, int32_t flag3) = 0;
  virtual bool writePpm(const QorString& path) = 0;
  virtual bool compress() = 0;
  virtual bool decompress() = 0;
  virtual bool isCompressed() const = 0;
  virtual void rotateClockwise() = 0;
  virtual void rotateCounterClockwise() = 0;
  virtual IQorImageBase* halfSize() const = 0;
  virtual void toGrey() = 0;
  virtual void mirrorRows() = 0;
  virtual void flipRows() = 0;
  virtual void transpose() = 0;
  virtual void invert() = 0;
  virtual void setAlpha(double value) = 0;
  virtual bool permuteChannels(const int32_t map[3]) = 0;
  virtual void getPixel(int32_t x, int32_t y, double rgba[4]) const = 0;
  virtual void getPixel(int32_t x, int32_t y, float rgba[4]) const = 0;
  virtual void setPixel(int32_t x, int32_t y, const double rgba[4]) = 0;
  virtual void setPixel(int32_t x, int32_t y, const float rgba[4]) = 0;
  virtual bool equals(const IQorImageBase& other) const = 0;
  virtual bool hasData() const = 0;
  virtual bool copyCompressedTo(IQorImageBase& other) const = 0;
  virtual bool copyCompressedFrom(const IQorImageBase& other) = 0;
  virtual IQorImageBase* resample(int32_t newWidth, int32_t newHeight,
                                  IQorImageBase* out) const = 0;
  virtual void sample(double x, double y, bool clampX, bool clampY, double rgba[4]) const = 0;
  virtual bool swapBase(IQorImageBase* other) = 0;
  virtual IQorImageBase* subImageBase(int32_t x, int32_t y, int32_t width,
                                      int32_t height) const = 0;
  virtual IQorImage* subImageIface(int32_t x, int32_t y, int32_t width, int32_t height) const = 0;
  virtual QorImage* halfSizeImage() const = 0;
  virtual QorImage* subImage(int32_t x, int32_t y, int32_t width, int32_t height) const = 0;
  virtual QorImage* subImage(int32_t x, int32_t y, int32_t width, int32_t height) = 0;
  // The packed form, for IQorCompressPNG: the image keeps ownership; `setPacked` hands a
  // block over (the old one is released through the service).
  virtual const QorPackedImage& packed() const = 0;
  virtual void setPacked(const QorPackedImage& packed) = 0;
};

// A caller's mask for stampMask: its width, its height and whether a cell is set.
class IQorImageMask {
 public:
  virtual ~IQorImageMask() = default;
  virtual int32_t width() const = 0;
  virtual int32_t height() const = 0;
  virtual bool test(int32_t column, int32_t row) const = 0;
};

// The row-block image with drawing and persistence.
class IQorImage : public virtual IQorImageBase {
 public:
  virtual bool isSet() const = 0;
  virtual bool equalsImage(const IQorImage& other) const = 0;
  virtual bool notEqualsImage(const IQorImage& other) const = 0;
  virtual void swap(IQorImage& other) = 0;
  virtual void clear() = 0;
  virtual void fill(const QorColor& color) = 0;
  virtual void fillBytes(const uint8_t* pixel) = 0;
  virtual void extend(int32_t width, int32_t height, const QorColor& background) = 0;
  virtual void stampMask(const IQorImageMask& mask, int32_t x, int32_t y, const QorColor& color,
                         bool grow, const QorColor& background) = 0;
  virtual void blit(const IQorImageBase& source, int32_t x, int32_t y, bool grow,
                    const QorColor& background) = 0;
  virtual void drawBorder(int32_t thickness, const QorColor& color) = 0;
  virtual void drawRectangle(int32_t x0, int32_t y0, int32_t x1, int32_t y1, const QorColor& color,
                             bool filled, bool grow, const QorColor& background) = 0;
  virtual void drawLine(int32_t x0, int32_t y0, int32_t x1, int32_t y1, const QorColor& color,
                        bool grow, const QorColor& background) = 0;
  // `points` holds `count` (x, y) pairs.
  virtual void drawPolygon(const int32_t* points, int32_t count, const QorColor& color, bool filled,
                           bool grow, const QorColor& background) = 0;
  virtual bool readPixel(float rgba[4], int32_t x, int32_t y) const = 0;
  virtual bool writePixel(int32_t x, int32_t y, const float rgba[4]) = 0;
  virtual bool readBytes(uint8_t* pixel, int32_t x, int32_t y) const = 0;
  virtual bool writeBytes(int32_t x, int32_t y, const uint8_t* pixel) = 0;
  virtual uint8_t* const* blockTable() const = 0;
  virtual uint8_t** blockTable() = 0;
  virtual QorImage* resized(int32_t width, int32_t height) const = 0;
  virtual QorImage* crop(int32_t x0, int32_t y0, int32_t x1, int32_t y1) const = 0;
  virtual QorImage* greyCopy() const = 0;
  virtual void convertFrom(int32_t depth, const IQorImage& other) = 0;
  virtual void setDepth(int32_t depth) = 0;
  virtual uint8_t channel(int32_t x, int32_t y, int32_t c) const = 0;
  virtual uint8_t* channel(int32_t x, int32_t y, int32_t c) = 0;
  virtual int32_t lastBlock() const = 0;
  virtual bool blockInfo(int32_t index, uint8_t** data, int32_t* firstRow,
                         int32_t* rowCount) const = 0;
};

// Reads and writes the compressed file forms ("PNG", and others where the host has them).
// Fetched by name on every use.
class IQorImageWriter : public virtual IQorUnknown {
 public:
  virtual bool writeStream(IQorImageBase* image, BinOutput& out, const char* format,
                           int32_t quality, int32_t a, int32_t b) = 0;
  virtual bool writeFile(IQorImageBase* image, const QorString& path, const char* format,
                         int32_t quality, int32_t a, int32_t option) = 0;
  virtual bool readSourceA(IQorImageBase* image, const void* source, int32_t size, int32_t a,
                           int32_t flag1, int32_t flag2, int32_t flag3) = 0;
  virtual bool readStream(IQorImageBase* image, BinInput& in, int32_t a, int32_t b, int32_t c,
                          int32_t d) = 0;
  virtual bool readFile(IQorImageBase* image, const QorString& path, int32_t a, int32_t flag1,
                        int32_t flag2, int32_t flag3) = 0;
  virtual bool readSourceB(IQorImageBase* image, const void* source, int32_t a, int32_t b,
                           int32_t c, int32_t d, int32_t flag1, int32_t flag2, int32_t flag3) = 0;
};

// Packs an image in memory. Fetched once and kept for the process. `release` accepts
// blocks from wexMalloc, since a stored packed form is read into one.
class IQorCompressPNG : public virtual IQorUnknown {
 public:
  // The count's release stays visible next to the packed form's.
  using IQorUnknown::release;
  virtual bool compress(IQorImageBase* image, QorPackedImage* packed) = 0;
  virtual bool decompress(const QorPackedImage* packed, IQorImageBase* image) = 0;
  virtual void release(QorPackedImage* packed) = 0;
  virtual void copy(const QorPackedImage* from, QorPackedImage* to) = 0;
};
