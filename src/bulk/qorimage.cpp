#include "bulk/qorimage.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "base/wexrealloc.h"
#include "core/locator.h"
#include "persistence/binio.h"
#include "persistence/qorfile.h"

namespace {

constexpr const char* kSource = "base/basic/qorimage";

bool check(bool held, const char* text, int32_t line) {
  if (!held) wexAssertFailed(text, kSource, line);
  return held;
}
#define IMG_CHECK(expr) check((expr), #expr, __LINE__)

IQorImageWriter* imageWriter() {
  void* out = nullptr;
  getService("IQorImageWriter", &out);
  return static_cast<IQorImageWriter*>(out);
}

// The pixel bytes of a colour by the fill rule: channels * 255, grey (r + g + b) * 85.
void fillPixel(const QorColor& c, int32_t depth, uint8_t out[4]) {
  using qor::image::truncByte;
  if (depth >= 3) {
    out[0] = truncByte(c.red * 255.0f), out[1] = truncByte(c.green * 255.0f);
    out[2] = truncByte(c.blue * 255.0f), out[3] = truncByte(c.alpha * 255.0f);
  } else {
    out[0] = truncByte((c.red + c.green + c.blue) * 85.0f);
    out[1] = truncByte(c.alpha * 255.0f);
  }
}

// Unpacks any image through its own operation; whether it is raw now.
bool unpackAny(const IQorImageBase& image) {
  return !image.isCompressed() || const_cast<IQorImageBase&>(image).decompress();
}

// The 2 x 2 means of `pairs` column pairs of rows a and b, for a fixed depth; answers
// where the output goes on. Runs of 32 pairs are first summed down the columns into 16-bit
// lanes and then across, two loops over fixed counts that the compiler turns into vector
// code; the pairs that remain go one at a time. Every sum is exact, so the bytes are those
// of (a + a' + b + b') / 4 taken pixel by pixel.
template <int D>
uint8_t* halfPairs(const uint8_t* __restrict a, const uint8_t* __restrict b, uint8_t* __restrict o,
                   int32_t pairs) {
  constexpr int32_t kRun = 32, kIn = 2 * D * kRun;
  int32_t c = 0;
  for (; c + kRun <= pairs; c += kRun, a += kIn, b += kIn, o += D * kRun) {
    uint16_t down[kIn];
    for (int32_t i = 0; i < kIn; ++i) down[i] = uint16_t(a[i] + b[i]);
    for (int32_t j = 0; j < kRun; ++j)
      for (int32_t k = 0; k < D; ++k)
        o[D * j + k] = uint8_t((down[2 * D * j + k] + down[2 * D * j + D + k]) >> 2);
  }
  for (; c < pairs; ++c, a += 2 * D, b += 2 * D)
    for (int k = 0; k < D; ++k) *o++ = uint8_t((uint32_t(a[k]) + a[k + D] + b[k] + b[k + D]) / 4);
  return o;
}

}  // namespace

using qor::image::truncByte;

QorImage::QorImage(int32_t width, int32_t height, int32_t depth) {
  bool ok = IMG_CHECK(width >= 0);
  ok = IMG_CHECK(height >= 0) && ok;
  ok = IMG_CHECK(depth >= 0 && depth < 5) && ok;
  if (ok) create(width, height, depth);
}

QorImage::QorImage(const QorImage& other) : QorImageBase() {
  assign(other);
}

QorImage& QorImage::operator=(const QorImage& other) {
  assign(other);
  return *this;
}

QorImage::~QorImage() {
  releaseStorage();
}

void QorImage::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "QorImage"))
    *out = this;
  else if (qorNameIs(name, "IQorImage"))
    *out = static_cast<IQorImage*>(this);
  else
    QorImageBase::queryInterface(name, out, reserved);
}

// ---- storage ----

void QorImage::computeRowsPerBlock() {
  const int32_t rb = width_ * depth_;
  rowsPerBlock_ = rb == 0 ? 0 : std::max(1, kBlockBytes / rb);
}

void QorImage::create(int32_t width, int32_t height, int32_t depth) {
  if (width == width_ && height == height_ && depth == depth_ && blocks_) {
    clear();
    return;
  }
  releaseStorage();
  dropPacked();  // new rows replace a packed form
  width_ = height_ = depth_ = 0;
  rowsPerBlock_ = 0;
  if (width == 0 || height == 0 || depth == 0) return;
  if (!IMG_CHECK(width >= 0) || !IMG_CHECK(height >= 0) || !IMG_CHECK(depth >= 0 && depth < 5))
    return;
  if (!IMG_CHECK(int64_t(width) * depth <= INT32_MAX)) return;
  allocate(width, height, depth, true);
}

QorImage* QorImage::unset(int32_t width, int32_t height, int32_t depth) {
  auto* image = new QorImage();
  if (width > 0 && height > 0 && depth > 0 && depth < 5 && int64_t(width) * depth <= INT32_MAX)
    image->allocate(width, height, depth, false);
  return image;
}

void QorImage::allocate(int32_t width, int32_t height, int32_t depth, bool zero) {
  width_ = width, height_ = height, depth_ = depth;
  computeRowsPerBlock();
  const int32_t count = (height_ - 1) / rowsPerBlock_ + 1;
  void* table = nullptr;
  wexMalloc(&table, sizeof(uint8_t*), count);
  blocks_ = static_cast<uint8_t**>(table);
  for (int32_t b = 0; b < count; ++b) {
    const int32_t rows = std::min(rowsPerBlock_, height_ - b * rowsPerBlock_);
    void* block = nullptr;
    wexMalloc(&block, rowBytes(), rows);
    if (zero) std::memset(block, 0, static_cast<size_t>(rows) * rowBytes());
    blocks_[b] = static_cast<uint8_t*>(block);
  }
}

void QorImage::releaseStorage() {
  if (!blocks_) return;
  const int32_t count = lastBlock() + 1;
  for (int32_t b = 0; b < count; ++b) wexFree(blocks_[b]);
  wexFree(blocks_);
  blocks_ = nullptr;
}

void QorImage::assign(const IQorImageBase& other) {
  if (&other == static_cast<IQorImageBase*>(this)) return;
  if (other.isCompressed()) {
    copyCompressedFrom(other);
    return;
  }
  create(other.width(), other.height(), other.depth());
  const auto n = static_cast<size_t>(rowBytes());
  for (int32_t y = 0; y < height_; ++y) std::memcpy(row(y), other.row(y), n);
}

IQorImageBase* QorImage::clone() const {
  return new QorImage(*this);
}

bool QorImage::copyCompressedFrom(const IQorImageBase& other) {
  if (!QorImageBase::copyCompressedFrom(other)) return false;
  computeRowsPerBlock();
  return true;
}

void QorImage::swap(IQorImage& other) {
  auto* o = dynamic_cast<QorImage*>(&other);
  if (!o || o == this) return;
  std::swap(width_, o->width_);
  std::swap(height_, o->height_);
  std::swap(depth_, o->depth_);
  std::swap(compressed_, o->compressed_);
  std::swap(rowsPerBlock_, o->rowsPerBlock_);
  std::swap(blocks_, o->blocks_);
}

bool QorImage::swapBase(IQorImageBase* other) {
  auto* o = dynamic_cast<QorImage*>(other);
  if (!o) return false;
  swap(*o);
  return true;
}

int32_t QorImage::lastBlock() const {
  return height_ == 0 || rowsPerBlock_ == 0 ? -1 : (height_ - 1) / rowsPerBlock_;
}

bool QorImage::blockInfo(int32_t index, uint8_t** data, int32_t* firstRow,
                         int32_t* rowCount) const {
  if (index < 0 || !blocks_ || index > lastBlock()) return false;
  if (data) *data = blocks_[index];
  if (firstRow) *firstRow = index * rowsPerBlock_;
  if (rowCount) *rowCount = std::min(rowsPerBlock_, height_ - index * rowsPerBlock_);
  return true;
}

// ---- whole-image operations ----

bool QorImage::equalsImage(const IQorImage& other) const {
  if (&other == static_cast<const IQorImage*>(this)) return true;
  if (width_ != other.width() || height_ != other.height() || depth_ != other.depth() ||
      height_ == 0)
    return false;
  if (!unpack() || !unpackAny(other) || !blocks_) return false;
  uint8_t* const* theirs = other.blockTable();
  for (int32_t b = 0; b <= lastBlock(); ++b) {
    const int32_t rows = std::min(rowsPerBlock_, height_ - b * rowsPerBlock_);
    if (std::memcmp(blocks_[b], theirs[b], static_cast<size_t>(rows) * rowBytes()) != 0)
      return false;
  }
  return true;
}

void QorImage::clear() {
  if (!unpack()) return;
  for (int32_t b = 0; b <= lastBlock(); ++b) {
    const int32_t rows = std::min(rowsPerBlock_, height_ - b * rowsPerBlock_);
    std::memset(blocks_[b], 0, static_cast<size_t>(rows) * rowBytes());
  }
}

void QorImage::fill(const QorColor& color) {
  uint8_t p[4];
  fillPixel(color, depth_, p);
  fillBytes(p);
}

void QorImage::fillBytes(const uint8_t* px) {
  if (!unpack() || height_ == 0) return;
  uint8_t* first = row(0);
  for (int32_t x = 0; x < width_; ++x) std::memcpy(first + int64_t(x) * depth_, px, depth_);
  for (int32_t y = 1; y < height_; ++y) std::memcpy(row(y), first, static_cast<size_t>(rowBytes()));
}

void QorImage::extend(int32_t width, int32_t height, const QorColor& background) {
  const int32_t w = std::max(width, width_), h = std::max(height, height_);
  if (w == width_ && h == height_) return;
  unpack();
  QorImage grown(w, h, depth_);
  grown.fill(background);
  grown.blit(*this, 0, 0, false, background);
  swap(grown);
}

void QorImage::blit(const IQorImageBase& source, int32_t x, int32_t y, bool grow,
                    const QorColor& background) {
  if (x < 0 || y < 0) return;
  if (!unpack() || !unpackAny(source)) return;
  if (grow && (x + source.width() > width_ || y + source.height() > height_))
    extend(x + source.width(), y + source.height(), background);
  const IQorImageBase* src = &source;
  QorImage converted;
  if (source.depth() != depth_) {
    converted.assign(source);
    converted.setDepth(depth_);
    src = &converted;
  }
  const int32_t end = std::min(height_, y + src->height());
  const int32_t n = std::min(width_ - x, src->width()) * depth_;
  if (n <= 0) return;
  for (int32_t r = y; r < end; ++r)
    std::memmove(pixel(x, r), src->row(r - y), static_cast<size_t>(n));
}

void QorImage::stampMask(const IQorImageMask& mask, int32_t x, int32_t y, const QorColor& color,
                         bool grow, const QorColor& background) {
  unpack();
  const int32_t w = mask.width(), h = mask.height();
  if (grow && (x + w > width_ || y + h > height_)) extend(x + w, y + h, background);
  for (int32_t r = 0; r < h; ++r)
    for (int32_t c = 0; c < w; ++c)
      if (mask.test(c, r)) writeColor(x + c, y + r, color);
}

// ---- drawing ----

void QorImage::drawBorder(int32_t thickness, const QorColor& color) {
  unpack();
  for (int32_t i = 0; i < thickness; ++i) {
    const int32_t right = width_ - 1 - i, bottom = height_ - 1 - i;
    for (int32_t x = i; x <= right; ++x) writeColor(x, i, color), writeColor(x, bottom, color);
    for (int32_t y = i; y <= bottom; ++y) writeColor(i, y, color), writeColor(right, y, color);
  }
}

void QorImage::drawRectangle(int32_t x0, int32_t y0, int32_t x1, int32_t y1, const QorColor& color,
                             bool filled, bool grow, const QorColor& background) {
  unpack();
  if (grow && (x1 >= width_ || y1 >= height_)) extend(x1 + 1, y1 + 1, background);
  const int32_t xa = std::max(x0, 0), xb = std::min(x1, width_ - 1);
  const int32_t ya = std::max(y0, 0), yb = std::min(y1, height_ - 1);
  if (filled) {
    const float c[4] = {color.red, color.green, color.blue, color.alpha};
    uint8_t px[4];
    for (int32_t k = 0; k < 4; ++k) px[k] = truncByte(c[k] * 255.0f);
    for (int32_t y = ya; y <= yb; ++y)
      for (int32_t x = xa; x <= xb; ++x) std::memcpy(pixel(x, y), px, depth_);
    return;
  }
  for (int32_t x = xa; x <= xb; ++x) writeColor(x, ya, color), writeColor(x, yb, color);
  for (int32_t y = ya; y <= yb; ++y) writeColor(xa, y, color), writeColor(xb, y, color);
}

void QorImage::drawLine(int32_t x0, int32_t y0, int32_t x1, int32_t y1, const QorColor& color,
                        bool grow, const QorColor& background) {
  unpack();
  if (grow) {
    const int32_t mx = std::max(x0, x1), my = std::max(y0, y1);
    if (mx >= width_ || my >= height_) extend(mx + 1, my + 1, background);
  }
  auto code = [this](int32_t x, int32_t y) {
    return (x < 0 ? 1 : 0) | (x >= width_ ? 2 : 0) | (y < 0 ? 4 : 0) | (y >= height_ ? 8 : 0);
  };
  const int c0 = code(x0, y0), c1 = code(x1, y1);
  if (c0 & c1) return;
  // Moves (x, y) with outcode c along the line towards (ox, oy) onto the image.
  auto clip = [this, &code](int32_t& x, int32_t& y, int c, int32_t ox, int32_t oy) {
    const double dx = double(ox) - x, dy = double(oy) - y;
    double t = 0;
    if (c & 1) t = std::max(t, -double(x) / dx);
    if (c & 2) t = std::max(t, (width_ - 1.0 - x) / dx);
    if (c & 4) t = std::max(t, -double(y) / dy);
    if (c & 8) t = std::max(t, (height_ - 1.0 - y) / dy);
    x = static_cast<int32_t>(x + t * dx + 0.5);
    y = static_cast<int32_t>(y + t * dy + 0.5);
    return code(x, y) == 0;
  };
  if (c0 && !clip(x0, y0, c0, x1, y1)) return;
  if (c1 && !clip(x1, y1, c1, x0, y0)) return;
  const int32_t dx = std::abs(x1 - x0), dy = std::abs(y1 - y0);
  if (dx == 0 && dy == 0) return;
  if (dx > dy) {
    if (x0 > x1) std::swap(x0, x1), std::swap(y0, y1);
    const int32_t sy = y1 > y0 ? 1 : -1;
    int32_t err = -(dx / 2), y = y0;
    for (int32_t x = x0; x <= x1; ++x) {
      writeColor(x, y, color);
      err += dy;
      if (err > 0) y += sy, err -= dx;
    }
  } else if (dy > dx) {
    if (y0 > y1) std::swap(x0, x1), std::swap(y0, y1);
    const int32_t sx = x1 > x0 ? 1 : -1;
    int32_t err = -(dy / 2), x = x0;
    for (int32_t y = y0; y <= y1; ++y) {
      writeColor(x, y, color);
      err += dx;
      if (err > 0) x += sx, err -= dy;
    }
  } else {
    const int32_t sx = x1 > x0 ? 1 : -1, sy = y1 > y0 ? 1 : -1;
    for (int32_t k = 0; k <= dx; ++k) writeColor(x0 + k * sx, y0 + k * sy, color);
  }
}

void QorImage::drawPolygon(const int32_t* points, int32_t count, const QorColor& color, bool filled,
                           bool grow, const QorColor& background) {
  unpack();
  if (count <= 0 || !points) return;
  if (grow) {
    int32_t mx = 0, my = 0;
    for (int32_t i = 0; i < count; ++i)
      mx = std::max(mx, points[2 * i]), my = std::max(my, points[2 * i + 1]);
    if (mx >= width_ || my >= height_) extend(mx + 1, my + 1, background);
  }
  if (filled) {
    std::vector<int32_t> cross, wind;
    cross.reserve(21), wind.reserve(21);
    for (int32_t y = 0; y < height_; ++y) {
      cross.clear(), wind.clear();
      for (int32_t i = 0; i < count; ++i) {
        const int32_t j = i + 1 == count ? 0 : i + 1;
        const int32_t ax = points[2 * i], ay = points[2 * i + 1];
        const int32_t bx = points[2 * j], by = points[2 * j + 1];
        const bool down = ay > by;  // from higher y to lower y
        const int32_t lx = down ? bx : ax, ly = down ? by : ay;
        const int32_t hx = down ? ax : bx, hy = down ? ay : by;
        if (!(ly <= y && hy > y)) continue;
        const double x =
            lx + (hx - lx) * (double(y - ly) / double(hy - ly)) + (down ? 0.999 : 1.001);
        cross.push_back(static_cast<int32_t>(x));
        wind.push_back(down ? 1 : -1);
      }
      const size_t n = cross.size();
      for (size_t pass = 0; pass + 1 < n; ++pass)
        for (size_t k = 0; k + 1 < n - pass; ++k)
          if (cross[k] > cross[k + 1])
            std::swap(cross[k], cross[k + 1]), std::swap(wind[k], wind[k + 1]);
      int32_t sum = 0;
      size_t k = 0;
      for (int32_t x = 0; x < width_; ++x) {
        while (k < n && cross[k] <= x) sum += wind[k++];
        if (sum != 0) writeColor(x, y, color);
      }
    }
  }
  for (int32_t i = 0; i < count; ++i) {
    const int32_t j = i + 1 == count ? 0 : i + 1;
    drawLine(points[2 * i], points[2 * i + 1], points[2 * j], points[2 * j + 1], color, false,
             background);
  }
}

// ---- checked pixel access ----

bool QorImage::readPixel(float rgba[4], int32_t x, int32_t y) const {
  if (x < 0 || y < 0 || x >= width_ || y >= height_ || !unpack()) return false;
  getPixel(x, y, rgba);
  return true;
}

bool QorImage::writePixel(int32_t x, int32_t y, const float rgba[4]) {
  if (x < 0 || y < 0 || x >= width_ || y >= height_ || !unpack()) return false;
  uint8_t* p = pixel(x, y);
  if (depth_ <= 2) {
    p[0] = truncByte((0.6f * rgba[1] + 0.25f * rgba[0] + 0.15f * rgba[2]) * 255.0f);
    if (depth_ == 2) p[1] = truncByte(rgba[3] * 255.0f);
    return true;
  }
  for (int32_t c = 0; c < depth_; ++c) p[c] = truncByte(rgba[c] * 255.0f);
  return true;
}

bool QorImage::readBytes(uint8_t* px, int32_t x, int32_t y) const {
  if (x < 0 || y < 0 || x >= width_ || y >= height_ || !unpack()) return false;
  std::memcpy(px, pixel(x, y), depth_);
  return true;
}

bool QorImage::writeBytes(int32_t x, int32_t y, const uint8_t* px) {
  if (x < 0 || y < 0 || x >= width_ || y >= height_ || !unpack()) return false;
  std::memcpy(pixel(x, y), px, depth_);
  return true;
}

// ---- new images ----

QorImage* QorImage::subImage(int32_t x, int32_t y, int32_t width, int32_t height) const {
  if (x < 0 || y < 0 || width < 0 || height < 0 || int64_t(x) + width > width_ ||
      int64_t(y) + height > height_ || !unpack())
    return nullptr;
  auto* out = new QorImage(width, height, depth_);
  const auto n = static_cast<size_t>(out->rowBytes());
  for (int32_t r = 0; r < out->height(); ++r) std::memcpy(out->row(r), pixel(x, y + r), n);
  return out;
}

QorImage* QorImage::subImage(int32_t x, int32_t y, int32_t width, int32_t height) {
  return static_cast<const QorImage*>(this)->subImage(x, y, width, height);
}

QorImage* QorImage::crop(int32_t x0, int32_t y0, int32_t x1, int32_t y1) const {
  if (x1 < x0 || y1 < y0) return nullptr;
  return subImage(x0, y0, x1 - x0, y1 - y0);
}

QorImage* QorImage::resized(int32_t width, int32_t height) const {
  return dynamic_cast<QorImage*>(resample(width, height, nullptr));
}

IQorImageBase* QorImage::halfSize() const {
  return halfSizeImage();
}

QorImage* QorImage::halfSizeImage() const {
  unpack();
  QorImage* out = unset((width_ + 1) / 2, (height_ + 1) / 2, depth_);
  if (out->width() != (width_ + 1) / 2 || out->height() != (height_ + 1) / 2 ||
      (out->height() && out->depth() != depth_)) {
    delete out;
    return nullptr;
  }
  const int32_t d = depth_, pairs = width_ / 2;
  const bool oddWidth = width_ % 2 != 0;
  for (int32_t r = 0; r < out->height(); ++r) {
    const uint8_t* a = row(2 * r);
    const uint8_t* b = 2 * r + 1 < height_ ? row(2 * r + 1) : nullptr;
    const uint32_t div = b ? 4 : 2;
    uint8_t* o = out->row(r);
    if (b) {
      switch (d) {
        case 1:
          o = halfPairs<1>(a, b, o, pairs);
          break;
        case 2:
          o = halfPairs<2>(a, b, o, pairs);
          break;
        case 3:
          o = halfPairs<3>(a, b, o, pairs);
          break;
        default:
          o = halfPairs<4>(a, b, o, pairs);
      }
      a += 2 * d * pairs, b += 2 * d * pairs;
    } else {
      for (int32_t c = 0; c < pairs; ++c, a += 2 * d)
        for (int32_t k = 0; k < d; ++k) *o++ = uint8_t((uint32_t(a[k]) + a[k + d]) / 2);
    }
    if (oddWidth)
      for (int32_t k = 0; k < d; ++k) *o++ = uint8_t(2 * (uint32_t(a[k]) + (b ? b[k] : 0)) / div);
  }
  return out;
}

QorImage* QorImage::greyCopy() const {
  unpack();
  auto* out = new QorImage(width_, height_, depth_ ? 1 : 0);
  for (int32_t y = 0; y < out->height(); ++y) {
    const uint8_t* p = row(y);
    uint8_t* o = out->row(y);
    if (depth_ <= 2) {
      for (int32_t x = 0; x < width_; ++x, p += depth_) o[x] = p[0];
    } else {
      for (int32_t x = 0; x < width_; ++x, p += depth_)
        o[x] = uint8_t((uint32_t(p[0]) + p[1] + p[2] + 1) / 3);
    }
  }
  return out;
}

void QorImage::convertFrom(int32_t depth, const IQorImage& other) {
  if (depth < 0 || depth > 4 || &other == static_cast<const IQorImage*>(this)) return;
  if (depth == depth_) {
    assign(other);
    return;
  }
  unpackAny(other);
  const int32_t sd = other.depth();
  if (sd < 1 || sd > 4) {
    if (other.byteSize() > 0) wexAssertFailed("0", kSource, __LINE__);
    create(0, 0, 0);
    return;
  }
  create(other.width(), other.height(), depth);
  const int32_t keep = std::min(sd, depth_);
  const bool opaque = sd == 3 && depth_ == 4;
  for (int32_t y = 0; y < height_; ++y) {
    const uint8_t* s = other.row(y);
    uint8_t* o = row(y);
    for (int32_t x = 0; x < width_; ++x, s += sd, o += depth_) {
      for (int32_t c = 0; c < keep; ++c) o[c] = s[c];
      if (opaque) o[3] = 255;
    }
  }
}

void QorImage::setDepth(int32_t depth) {
  if (depth < 0 || depth > 4 || depth == depth_) return;
  unpack();
  QorImage copy(*this);
  convertFrom(depth, copy);
}

void QorImage::rotateClockwise() {
  if (!unpack()) return;
  QorImage old;
  swap(old);
  create(old.height(), old.width(), old.depth());
  const int32_t d = depth_;
  for (int32_t y = 0; y < old.height(); ++y) {
    const uint8_t* s = old.row(y);
    for (int32_t x = 0; x < old.width(); ++x, s += d)
      std::memcpy(pixel(old.height() - 1 - y, x), s, d);
  }
}

void QorImage::rotateCounterClockwise() {
  if (!unpack()) return;
  QorImage old;
  swap(old);
  create(old.height(), old.width(), old.depth());
  const int32_t d = depth_;
  for (int32_t y = 0; y < old.height(); ++y) {
    const uint8_t* s = old.row(y);
    for (int32_t x = 0; x < old.width(); ++x, s += d)
      std::memcpy(pixel(y, old.width() - 1 - x), s, d);
  }
}

void QorImage::transpose() {
  if (!unpack()) return;
  QorImage old;
  swap(old);
  create(old.height(), old.width(), old.depth());
  const int32_t d = depth_;
  for (int32_t y = 0; y < old.height(); ++y) {
    const uint8_t* s = old.row(y);
    for (int32_t x = 0; x < old.width(); ++x, s += d) std::memcpy(pixel(y, x), s, d);
  }
}

// ---- stored form ----

bool QorImage::write(BinOutput& out) {
  const int32_t v = out.version();
  if (isCompressed() && v >= 1 && v <= 2014 && !decompress()) return false;
  uint8_t form = isCompressed() ? 2 : out.compress() ? 1 : 0;
  IQorImageWriter* writer = form == 1 ? imageWriter() : nullptr;
  // Without the host's writer nothing is written (a half chunk would be worse than none)
  // and the stream turns bad, so whoever saves a whole document through it learns of it.
  if (form == 1 && !writer) {
    out.markWriterFailed();
    return false;
  }
  QorFileWrite w(&out, false);
  bool ok = w.beginChunk(kChunkTag, 1) && w.write(form);
  if (form == 1) {
    ok = ok && writer->writeStream(this, out, "PNG", 100, 0, 0);
  } else if (form == 2) {
    ok = ok && w.write(width_) && w.write(height_) && w.write(depth_) && w.write(compressed_.size);
    ok = ok && out.writeBytes(compressed_.data, static_cast<uint64_t>(compressed_.size));
  } else {
    ok = ok && w.write(width_) && w.write(height_) && w.write(depth_);
    for (int32_t y = 0; ok && y < height_; ++y)
      ok = out.writeBytes(row(y), static_cast<uint64_t>(rowBytes()));
  }
  ok = w.endChunk() && ok;
  return ok && w.good();
}

bool QorImage::read(BinInput& in) {
  QorFileRead r;
  in.setLengthWidth64();  // only takes effect while the width is unset
  r.attach(&in);
  if (!r.beginChunk(kChunkTag)) return false;
  create(0, 0, 0);
  uint8_t form = 0;
  if (r.version() > 0 && !r.read(form)) return false;
  bool ok = false;
  if (form == 1) {
    IQorImageWriter* writer = imageWriter();
    ok = writer && writer->readStream(this, in, 0, 0, 1, 1);
  } else if (form == 0 || form == 2) {
    int32_t w = 0, h = 0, d = 0, size = 0;
    ok = r.read(w) && r.read(h) && r.read(d) && (form == 0 || r.read(size));
    const bool zero = w == 0 || h == 0 || d == 0;
    ok = ok && w >= 0 && h >= 0 && d >= 0 && d <= 4 && size >= 0 && int64_t(w) * d <= INT32_MAX;
    // Sizes are multiplied only once they are known to be in range.
    const int64_t bytes = !ok ? 0 : form == 0 ? (zero ? 0 : int64_t(w) * h * d) : size;
    ok = ok && bytes <= r.remaining();
    if (ok && form == 0) {
      create(w, h, d);
      for (int32_t y = 0; ok && y < height_; ++y)
        ok = in.readBytes(row(y), static_cast<uint64_t>(rowBytes()));
    } else if (ok) {
      void* block = nullptr;
      if (size > 0) wexMalloc(&block, 1, size);
      ok = size == 0 || in.readBytes(block, static_cast<uint64_t>(size));
      if (ok && block) {
        width_ = w, height_ = h, depth_ = d;
        compressed_ = QorPackedImage{static_cast<uint8_t*>(block), size};
        computeRowsPerBlock();
      } else {
        wexFree(block);
      }
    }
  }
  if (!ok) create(0, 0, 0);
  return r.endChunk() && ok;
}
