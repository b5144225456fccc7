// QorImage: the raster image in row blocks. Each block is one wexMalloc allocation of
// rowsPerBlock rows, rowsPerBlock = max(1, 24576 / (width * depth)), so a block holds at
// most 24576 bytes unless one row alone is larger; the last block holds the rows that
// remain. An image is empty, raw (blocks) or packed (the host's packed form only).
//
// Decisions beyond the base rules: blit refuses a negative position and crop a rectangle
// that leaves the image (both do nothing, crop answers null); subImage answers null outside.
//
// Stored form: chunk 0x0A5004 version 1, payload the form byte, then form 0 (width, height,
// depth as 32-bit integers, the rows from row 0 up), form 1 (the host writer's PNG) or form
// 2 (width, height, depth, packed size, packed bytes). A raw image is written as form 1
// when the stream asks for compression, else 0; a packed one as form 2 at stream versions
// 0 and from 2015 on, otherwise unpacked first. Version 0 chunks have no form byte.
#pragma once
#include <cstdint>

#include "bulk/qorimagebase.h"

class QorImage : public QorImageBase, public virtual IQorImage {
 public:
  static constexpr uint32_t kChunkTag = 0x0A5004;
  static constexpr int32_t kBlockBytes = 24576;

  QorImage() = default;
  // Asserts "width >= 0", "height >= 0" and "depth >= 0 && depth < 5", then creates.
  QorImage(int32_t width, int32_t height, int32_t depth);
  QorImage(const QorImage& other);
  QorImage& operator=(const QorImage& other);
  ~QorImage() override;

  // Answers "QorImage", "IQorImage" and what the base answers.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "QorImage"; }
  bool read(BinInput& in) override;
  bool write(BinOutput& out) override;

  // Same dimensions with storage: clears. Any zero: empty. Negative values and a depth
  // above 4 take the assertion road and leave the image empty.
  void create(int32_t width, int32_t height, int32_t depth) override;
  void assign(const IQorImageBase& other) override;
  IQorImageBase* clone() const override;
  const uint8_t* pixel(int32_t x, int32_t y) const override {
    return row(y) + static_cast<int64_t>(x) * depth_;
  }
  uint8_t* pixel(int32_t x, int32_t y) override {
    return row(y) + static_cast<int64_t>(x) * depth_;
  }
  const uint8_t* row(int32_t y) const override {
    return blocks_[y / rowsPerBlock_] + static_cast<int64_t>(y % rowsPerBlock_) * rowBytes();
  }
  uint8_t* row(int32_t y) override {
    return blocks_[y / rowsPerBlock_] + static_cast<int64_t>(y % rowsPerBlock_) * rowBytes();
  }
  void rotateClockwise() override;
  void rotateCounterClockwise() override;
  void transpose() override;
  IQorImageBase* halfSize() const override;
  QorImage* halfSizeImage() const override;
  QorImage* subImage(int32_t x, int32_t y, int32_t width, int32_t height) const override;
  QorImage* subImage(int32_t x, int32_t y, int32_t width, int32_t height) override;
  bool hasData() const override { return blocks_ != nullptr || compressed_.data != nullptr; }
  bool copyCompressedFrom(const IQorImageBase& other) override;
  bool swapBase(IQorImageBase* other) override;
  void releaseStorage() override;

  bool isSet() const override { return width_ != 0 || height_ != 0 || depth_ != 0; }
  bool equalsImage(const IQorImage& other) const override;
  bool notEqualsImage(const IQorImage& other) const override { return !equalsImage(other); }
  void swap(IQorImage& other) override;
  void clear() override;
  void fill(const QorColor& color) override;
  void fillBytes(const uint8_t* pixel) override;
  void extend(int32_t width, int32_t height, const QorColor& background) override;
  void stampMask(const IQorImageMask& mask, int32_t x, int32_t y, const QorColor& color, bool grow,
                 const QorColor& background) override;
  void blit(const IQorImageBase& source, int32_t x, int32_t y, bool grow,
            const QorColor& background) override;
  void drawBorder(int32_t thickness, const QorColor& color) override;
  void drawRectangle(int32_t x0, int32_t y0, int32_t x1, int32_t y1, const QorColor& color,
                     bool filled, bool grow, const QorColor& background) override;
  void drawLine(int32_t x0, int32_t y0, int32_t x1, int32_t y1, const QorColor& color, bool grow,
                const QorColor& background) override;
  void drawPolygon(const int32_t* points, int32_t count, const QorColor& color, bool filled,
                   bool grow, const QorColor& background) override;
  bool readPixel(float rgba[4], int32_t x, int32_t y) const override;
  bool writePixel(int32_t x, int32_t y, const float rgba[4]) override;
  bool readBytes(uint8_t* pixel, int32_t x, int32_t y) const override;
  bool writeBytes(int32_t x, int32_t y, const uint8_t* pixel) override;
  uint8_t* const* blockTable() const override { return blocks_; }
  uint8_t** blockTable() override { return blocks_; }
  QorImage* resized(int32_t width, int32_t height) const override;
  QorImage* crop(int32_t x0, int32_t y0, int32_t x1, int32_t y1) const override;
  QorImage* greyCopy() const override;
  void convertFrom(int32_t depth, const IQorImage& other) override;
  // A depth of 0 empties the image.
  void setDepth(int32_t depth) override;
  uint8_t channel(int32_t x, int32_t y, int32_t c) const override { return pixel(x, y)[c]; }
  uint8_t* channel(int32_t x, int32_t y, int32_t c) override { return pixel(x, y) + c; }
  int32_t lastBlock() const override;
  bool blockInfo(int32_t index, uint8_t** data, int32_t* firstRow,
                 int32_t* rowCount) const override;

  int32_t rowsPerBlock() const { return rowsPerBlock_; }
  // A new image whose pixels are not set yet, for callers that write every byte. Sizes
  // create would refuse give an empty image.
  static QorImage* unset(int32_t width, int32_t height, int32_t depth);

 private:
  void computeRowsPerBlock();
  // Sets the dimensions and allocates the blocks, zeroed on request.
  void allocate(int32_t width, int32_t height, int32_t depth, bool zero);
  void writeColor(int32_t x, int32_t y, const QorColor& color) {
    const float c[4] = {color.red, color.green, color.blue, color.alpha};
    writePixel(x, y, c);
  }

  int32_t rowsPerBlock_ = 0;
  uint8_t** blocks_ = nullptr;
};
