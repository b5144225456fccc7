#include "bulk/qorimagebase.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "base/qorpath.h"
#include "base/wexrealloc.h"
#include "bulk/qorimage.h"
#include "core/iptr.h"
#include "core/locator.h"
#include "core/translate.h"
#include "hostapi/idatastore.h"

namespace {

constexpr const char* kSource = "base/basic/qorimagebase";

// The assertion road with this file's source path.
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

void refuse(const char* what, int64_t value, const QorString& path) {
  QorString text(what);
  text += QorString(" (");
  text += QorString(std::to_string(value).c_str());
  text += QorString("); nothing written to ");
  text += path;
  qor::logLine("Image", text);
}

// The path a plain writer opens: the form's extension when the path has none.
QorString withExtension(const QorString& path, const char* ext) {
  QorString p(path);
  if (QorPathOps::extension(p).isEmpty()) QorPathOps::setExtension(p, QorString(ext));
  return p;
}

// A file opened "wb" behind a staging buffer of its own: rows are made in place in the
// buffer (room) and the buffer goes to the file in 1 MiB writes, so no byte is copied twice.
// finish() is whether every write and the close succeeded.
class OutFile {
 public:
  static constexpr size_t kStage = 1 << 20;
  explicit OutFile(const QorString& path) : file_(QorFs::openFile(path, "wb")) {
    if (file_) std::setvbuf(file_, nullptr, _IONBF, 0);
  }
  ~OutFile() {
    if (file_) std::fclose(file_);
  }
  OutFile(const OutFile&) = delete;
  OutFile& operator=(const OutFile&) = delete;
  bool open() const { return file_ != nullptr; }
  // Room for n bytes at the end of the staged bytes, which the caller then fills.
  uint8_t* room(size_t n) {
    if (used_ + n > stage_.size()) {
      drain();
      if (n > stage_.size()) stage_.resize(n);
    }
    uint8_t* at = stage_.data() + used_;
    used_ += n;
    return at;
  }
  void put(const void* data, size_t n) {
    if (n >= kStage) {
      drain();
      write(data, n);
    } else if (n) {
      std::memcpy(room(n), data, n);
    }
  }
  void put(const std::vector<uint8_t>& bytes) { put(bytes.data(), bytes.size()); }
  bool finish() {
    drain();
    if (std::ferror(file_)) failed_ = true;
    if (std::fclose(file_) != 0) failed_ = true;
    file_ = nullptr;
    return !failed_;
  }

 private:
  void write(const void* data, size_t n) {
    if (std::fwrite(data, 1, n, file_) != n) failed_ = true;
  }
  void drain() {
    if (used_) write(stage_.data(), used_);
    used_ = 0;
  }

  std::FILE* file_;
  std::vector<uint8_t> stage_ = std::vector<uint8_t>(kStage);
  size_t used_ = 0;
  bool failed_ = false;
};

// Rows 0 up, one write per run of rows that lie back to back in memory (a row block).
void putRows(OutFile& f, const IQorImageBase& im) {
  const auto n = static_cast<size_t>(im.rowBytes());
  for (int32_t y = 0, e = 0; y < im.height(); y = e) {
    const uint8_t* start = im.row(y);
    for (e = y + 1; e < im.height() && im.row(e) == start + size_t(e - y) * n;) ++e;
    f.put(start, size_t(e - y) * n);
  }
}

// One BMP row of colour pixels: blue, green, red.
template <int D>
void bgrRow(const uint8_t* r, uint8_t* o, int32_t width) {
  for (int32_t x = 0; x < width; ++x, r += D, o += 3) o[0] = r[2], o[1] = r[1], o[2] = r[0];
}

void le16(std::vector<uint8_t>& b, uint32_t v) {
  b.push_back(uint8_t(v));
  b.push_back(uint8_t(v >> 8));
}
void le32(std::vector<uint8_t>& b, uint32_t v) {
  le16(b, v & 0xFFFF);
  le16(b, v >> 16);
}
void be16(std::vector<uint8_t>& b, uint32_t v) {
  b.push_back(uint8_t(v >> 8));
  b.push_back(uint8_t(v));
}
void be32(std::vector<uint8_t>& b, uint32_t v) {
  be16(b, v >> 16);
  be16(b, v & 0xFFFF);
}

// One row of the double form of a pixel for sample: no scaling.
void readRaw(const IQorImageBase& im, int32_t x, int32_t y, double out[4]) {
  const uint8_t* p = im.pixel(x, y);
  switch (im.depth()) {
    case 1:
      out[0] = out[1] = out[2] = p[0], out[3] = 255;
      break;
    case 2:
      out[0] = out[1] = out[2] = p[0], out[3] = p[1];
      break;
    case 3:
      out[0] = p[0], out[1] = p[1], out[2] = p[2], out[3] = 255;
      break;
    default:
      out[0] = p[0], out[1] = p[1], out[2] = p[2], out[3] = p[3];
  }
}

void sampleRow(const IQorImageBase& im, int32_t ix, int32_t row, double fx, bool clampX,
               double out[4]) {
  readRaw(im, ix, row, out);
  if (fx == 0.5) return;
  int32_t n = fx > 0.5 ? ix + 1 : ix - 1;
  if (n < 0 || n >= im.width()) {
    if (clampX) return;
    n = n < 0 ? im.width() - 1 : 0;
  }
  double b[4];
  readRaw(im, n, row, b);
  const double t = std::fabs(fx - 0.5);
  for (int c = 0; c < 4; ++c) out[c] = out[c] + (b[c] - out[c]) * t;
}

// Splits a coordinate into its pixel and fraction by the sampling rules.
void place(double v, int32_t size, bool clamp, int32_t* i, double* f) {
  *i = static_cast<int32_t>(v);
  *f = v - *i;  // negative left of 0: the neighbour is then the pixel to the left
  if (v < 0) {
    if (clamp) {
      *i = 0, *f = 0;
    } else {
      while (*i < 0) *i += size;
    }
  } else if (*i >= size) {
    if (clamp) {
      *i = size - 1, *f = 1;
    } else {
      while (*i >= size) *i -= size;
    }
  }
}

}  // namespace

namespace qor::image {
uint8_t truncByte(float scaled) {
  if (!(scaled > 0)) return 0;
  return scaled >= 255.0f ? 255 : static_cast<uint8_t>(scaled);
}
uint8_t truncByte(double scaled) {
  if (!(scaled > 0)) return 0;
  return scaled >= 255.0 ? 255 : static_cast<uint8_t>(scaled);
}
}  // namespace qor::image

using qor::image::truncByte;

QorImageBase::~QorImageBase() {
  dropPacked();
}

void QorImageBase::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "QorImageBase"))
    *out = this;
  else if (qorNameIs(name, "IQorImageBase"))
    *out = static_cast<IQorImageBase*>(this);
  else if (qorNameIs(name, "IQorPersistentRef"))
    *out = static_cast<IQorPersistentRef*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

bool QorImageBase::read(BinInput&) {
  return false;
}
bool QorImageBase::write(BinOutput&) {
  return false;
}

// ---- operations that need row storage ----

void QorImageBase::create(int32_t, int32_t, int32_t) {
  wexAssertFailed("0", kSource, __LINE__);
}
void QorImageBase::assign(const IQorImageBase&) {
  wexAssertFailed("0", kSource, __LINE__);
}
IQorImageBase* QorImageBase::clone() const {
  wexAssertFailed("0", kSource, __LINE__);
  return nullptr;
}
const uint8_t* QorImageBase::pixel(int32_t, int32_t) const {
  wexAssertFailed("0", kSource, __LINE__);
  return nullptr;
}
uint8_t* QorImageBase::pixel(int32_t, int32_t) {
  wexAssertFailed("0", kSource, __LINE__);
  return nullptr;
}
const uint8_t* QorImageBase::row(int32_t) const {
  wexAssertFailed("0", kSource, __LINE__);
  return nullptr;
}
uint8_t* QorImageBase::row(int32_t) {
  wexAssertFailed("0", kSource, __LINE__);
  return nullptr;
}
void QorImageBase::rotateClockwise() {
  wexAssertFailed("0", kSource, __LINE__);
}
void QorImageBase::rotateCounterClockwise() {
  wexAssertFailed("0", kSource, __LINE__);
}
void QorImageBase::transpose() {
  wexAssertFailed("0", kSource, __LINE__);
}
IQorImageBase* QorImageBase::halfSize() const {
  wexAssertFailed("0", kSource, __LINE__);
  return nullptr;
}
QorImage* QorImageBase::halfSizeImage() const {
  wexAssertFailed("0", kSource, __LINE__);
  return nullptr;
}
QorImage* QorImageBase::subImage(int32_t, int32_t, int32_t, int32_t) const {
  wexAssertFailed("0", kSource, __LINE__);
  return nullptr;
}
QorImage* QorImageBase::subImage(int32_t, int32_t, int32_t, int32_t) {
  wexAssertFailed("0", kSource, __LINE__);
  return nullptr;
}
IQorImageBase* QorImageBase::subImageBase(int32_t x, int32_t y, int32_t w, int32_t h) const {
  return subImage(x, y, w, h);
}
IQorImage* QorImageBase::subImageIface(int32_t x, int32_t y, int32_t w, int32_t h) const {
  return subImage(x, y, w, h);
}
void QorImageBase::releaseStorage() {}

// ---- packing ----

IQorCompressPNG* QorImageBase::packer() {
  static IQorCompressPNG* service = [] {
    void* out = nullptr;
    getService("IQorCompressPNG", &out);
    return static_cast<IQorCompressPNG*>(out);
  }();
  return service;
}

void QorImageBase::dropPacked() {
  if (!compressed_.data) return;
  if (IQorCompressPNG* p = packer())
    p->release(&compressed_);
  else
    wexFree(compressed_.data);
  compressed_ = QorPackedImage();
}

void QorImageBase::setPacked(const QorPackedImage& packed) {
  if (packed.data == compressed_.data) {
    compressed_ = packed;
    return;
  }
  dropPacked();
  compressed_ = packed;
}

bool QorImageBase::unpack() const {
  if (!isCompressed()) return true;
  return const_cast<QorImageBase*>(this)->decompress();
}

bool QorImageBase::compress() {
  IQorCompressPNG* p = packer();
  if (isCompressed() || !p) return false;
  QorPackedImage made;
  if (!p->compress(this, &made)) return false;
  compressed_ = made;
  releaseStorage();
  return true;
}

bool QorImageBase::decompress() {
  IQorCompressPNG* p = packer();
  if (!isCompressed() || !p) return false;
  // The image is raw while the service makes its rows, so create keeps what it makes.
  QorPackedImage held = compressed_;
  compressed_ = QorPackedImage();
  if (!p->decompress(&held, this)) {
    releaseStorage();
    compressed_ = held;
    return false;
  }
  p->release(&held);
  return true;
}

bool QorImageBase::copyCompressedTo(IQorImageBase& other) const {
  return other.copyCompressedFrom(*this);
}

bool QorImageBase::copyCompressedFrom(const IQorImageBase& other) {
  IQorCompressPNG* p = packer();
  if (!other.isCompressed() || !p || &other == this) return false;
  releaseStorage();
  dropPacked();
  width_ = other.width();
  height_ = other.height();
  depth_ = other.depth();
  p->copy(&other.packed(), &compressed_);
  return true;
}

// ---- writer service ----

bool QorImageBase::save(const QorString& pathIn, const char* formatIn, int32_t option,
                        int32_t quality) {
  QorString path(pathIn);
  std::string format = formatIn ? formatIn : "";
  if (formatIn && format == "DEFAULT") {
    format = "BMP";
    const char* ext = "bmp";
    SPtr<IDataStore> store("IDataStore");
    if (store && store->hasKey("General/Texture Image Format")) {
      switch (store->getInt("General/Texture Image Format", 0)) {
        case 0:
          break;
        case 1:
          format = "JPEG", ext = "jpg";
          break;
        case 2:
          format = "PNG", ext = "png";
          break;
        case 3:
          format = "TIFF", ext = "tif";
          break;
        default:
          format.clear(), ext = nullptr;
      }
    }
    if (ext) QorPathOps::setExtension(path, QorString(ext));
  }
  if (QorPathOps::extension(path).isEmpty() && !format.empty()) {
    const char* ext = format == "JPEG" ? "jpg" : format == "TIFF" ? "tif" : format.c_str();
    QorPathOps::setExtension(path, QorString(ext));
  }
  if (!formatIn) format = QorPathOps::extension(path).toLower().utf8();
  IQorImageWriter* writer = imageWriter();
  if (!writer || format.empty()) return false;
  const bool wasPacked = isCompressed();
  if (wasPacked && !decompress()) return false;
  const bool ok = writer->writeFile(this, path, format.c_str(), quality, 0, option);
  if (wasPacked) compress();
  return ok;
}

bool QorImageBase::loadSourceA(const void* source, int32_t size, int32_t flag1, int32_t flag2,
                               int32_t flag3) {
  IQorImageWriter* writer = imageWriter();
  return writer && writer->readSourceA(this, source, size, 0, flag1, flag2, flag3);
}

bool QorImageBase::load(const QorString& path, int32_t flag1, int32_t flag2, int32_t flag3) {
  if (QorFs::access(path, R_OK) != 0) return false;
  IQorImageWriter* writer = imageWriter();
  return writer && writer->readFile(this, path, 0, flag1, flag2, flag3);
}

bool QorImageBase::loadSourceB(const void* source, int32_t a, int32_t b, int32_t c, int32_t flag1,
                               int32_t flag2, int32_t flag3) {
  IQorImageWriter* writer = imageWriter();
  return writer && writer->readSourceB(this, source, a, b, c, 0, flag1, flag2, flag3);
}

// ---- plain file forms ----

bool QorImageBase::writePpm(const QorString& pathIn) {
  if (!width_ || !height_ || !depth_ || !unpack()) return false;
  OutFile f(withExtension(pathIn, "ppm"));
  if (!f.open()) return false;
  char head[64];
  const int n = std::snprintf(head, sizeof head, "%s\n%d %d\n255\n", depth_ < 3 ? "P5" : "P6",
                              width_, height_);
  f.put(head, static_cast<size_t>(n));
  const int32_t keep = depth_ == 2 || depth_ == 4 ? depth_ - 1 : depth_;
  if (keep == depth_) {
    putRows(f, *this);
    return f.finish();
  }
  const size_t lineBytes = static_cast<size_t>(width_) * keep;
  for (int32_t y = 0; y < height_; ++y) {
    const uint8_t* r = row(y);
    uint8_t* o = f.room(lineBytes);
    for (int32_t x = 0; x < width_; ++x, r += depth_, o += keep) std::memcpy(o, r, keep);
  }
  return f.finish();
}

bool QorImageBase::writeBmp(const QorString& pathIn, bool firstRowFirst) {
  if (!width_ || !height_ || !depth_ || !unpack()) return false;
  const QorString path = withExtension(pathIn, "bmp");
  const uint32_t rowBytesOut = (static_cast<uint32_t>(width_) * 3 + 3) & ~3u;
  const uint64_t total = 54 + uint64_t(rowBytesOut) * height_;
  if (total > UINT32_MAX) {
    refuse("BMP file too large for its 32-bit size field, bytes", int64_t(total), path);
    return false;
  }
  OutFile f(path);
  if (!f.open()) return false;
  std::vector<uint8_t> h;
  h.push_back('B'), h.push_back('M');
  le32(h, uint32_t(total));
  le16(h, 0), le16(h, 0);
  le32(h, 54), le32(h, 40), le32(h, uint32_t(width_)), le32(h, uint32_t(height_));
  le16(h, 1), le16(h, 24);
  le32(h, 0), le32(h, 0), le32(h, 1024), le32(h, 1024), le32(h, 0), le32(h, 0);
  f.put(h);
  const size_t pad = rowBytesOut - static_cast<size_t>(width_) * 3;
  for (int32_t i = 0; i < height_; ++i) {
    const uint8_t* r = row(firstRowFirst ? i : height_ - 1 - i);
    uint8_t* o = f.room(rowBytesOut);
    std::memset(o + rowBytesOut - pad, 0, pad);
    switch (depth_) {
      case 3:
        bgrRow<3>(r, o, width_);
        break;
      case 4:
        bgrRow<4>(r, o, width_);
        break;
      default:
        for (int32_t x = 0; x < width_; ++x, r += depth_, o += 3) o[0] = o[1] = o[2] = r[0];
    }
  }
  return f.finish();
}

bool QorImageBase::writeTiff(const QorString& pathIn) {
  if (!width_ || !height_ || !depth_ || !unpack()) return false;
  const QorString path = withExtension(pathIn, "tif");
  if (height_ > 65535) {
    refuse("TIFF height above 65535 does not fit RowsPerStrip", height_, path);
    return false;
  }
  const uint64_t strip = uint64_t(width_) * height_ * depth_;
  if (strip + 512 > UINT32_MAX) {
    refuse("TIFF strip too large for 32-bit offsets, bytes", int64_t(strip), path);
    return false;
  }
  OutFile f(path);
  if (!f.open()) return false;
  const bool alpha = depth_ == 2 || depth_ == 4;
  const uint32_t n = alpha ? 13 : 12;
  const uint32_t afterDir = 14 + 12 * n;  // header 8, count 2, entries, next offset 4
  const uint32_t D = afterDir + (depth_ >= 3 ? 2 * depth_ : 0);
  std::vector<uint8_t> h;
  le16(h, 0x4949), le16(h, 42), le32(h, 8);
  le16(h, n);
  auto entry = [&h](uint32_t tag, uint32_t type, uint32_t count, uint32_t value) {
    le16(h, tag), le16(h, type), le32(h, count), le32(h, value);
  };
  entry(256, 4, 1, uint32_t(width_));
  entry(257, 4, 1, uint32_t(height_));
  entry(258, 3, uint32_t(depth_), depth_ < 3 ? 0x00080008u : afterDir);
  entry(259, 3, 1, 1);
  entry(262, 3, 1, depth_ < 3 ? 1 : 2);
  entry(273, 4, 1, D + 16);
  entry(277, 3, 1, uint32_t(depth_));
  entry(278, 3, 1, uint32_t(height_));
  entry(279, 4, 1, uint32_t(strip));
  entry(282, 5, 1, D);
  entry(283, 5, 1, D + 8);
  entry(296, 3, 1, 1);
  if (alpha) entry(338, 3, 1, 2);
  le32(h, 0);
  if (depth_ >= 3)
    for (int32_t c = 0; c < depth_; ++c) le16(h, 8);
  for (int k = 0; k < 4; ++k) le32(h, 1);
  f.put(h);
  putRows(f, *this);
  return f.finish();
}

bool QorImageBase::writeRgb(const QorString& pathIn) {
  if (!width_ || !height_ || !depth_ || !unpack()) return false;
  const QorString path = withExtension(pathIn, "rgb");
  if (width_ > 65535 || height_ > 65535) {
    refuse("SGI sizes are 16-bit; size above 65535", std::max(width_, height_), path);
    return false;
  }
  OutFile f(path);
  if (!f.open()) return false;
  std::vector<uint8_t> h;
  be16(h, 474);
  h.push_back(0), h.push_back(1);
  be16(h, 3), be16(h, uint32_t(width_)), be16(h, uint32_t(height_)), be16(h, uint32_t(depth_));
  be32(h, 0), be32(h, 255), be32(h, 0);
  const char* name = path.utf8();
  const size_t len = std::min<size_t>(std::strlen(name), 79);
  h.insert(h.end(), name, name + len);
  h.resize(104, 0);
  be32(h, 0);
  h.resize(512, 0);
  f.put(h);
  for (int32_t c = 0; c < depth_; ++c) {
    for (int32_t y = height_ - 1; y >= 0; --y) {
      const uint8_t* r = row(y) + c;
      uint8_t* o = f.room(static_cast<size_t>(width_));
      for (int32_t x = 0; x < width_; ++x, r += depth_) o[x] = *r;
    }
  }
  return f.finish();
}

// ---- pixel operations through rows ----

void QorImageBase::toGrey() {
  if (depth_ < 3 || !unpack()) return;
  for (int32_t y = 0; y < height_; ++y) {
    uint8_t* p = row(y);
    for (int32_t x = 0; x < width_; ++x, p += depth_) {
      const auto g = static_cast<uint8_t>(0.59 * p[1] + 0.3 * p[0] + 0.11 * p[2]);
      p[0] = p[1] = p[2] = g;
    }
  }
}

void QorImageBase::mirrorRows() {
  if (!unpack()) return;
  std::vector<uint8_t> t(static_cast<size_t>(depth_));
  for (int32_t y = 0; y < height_; ++y) {
    uint8_t* r = row(y);
    for (int32_t a = 0, b = width_ - 1; a < b; ++a, --b) {
      uint8_t* pa = r + int64_t(a) * depth_;
      uint8_t* pb = r + int64_t(b) * depth_;
      std::memcpy(t.data(), pa, depth_), std::memcpy(pa, pb, depth_),
          std::memcpy(pb, t.data(), depth_);
    }
  }
}

void QorImageBase::flipRows() {
  if (!unpack()) return;
  std::vector<uint8_t> t(static_cast<size_t>(rowBytes()));
  for (int32_t a = 0, b = height_ - 1; a < b; ++a, --b) {
    std::memcpy(t.data(), row(a), t.size());
    std::memcpy(row(a), row(b), t.size());
    std::memcpy(row(b), t.data(), t.size());
  }
}

void QorImageBase::invert() {
  if (!unpack()) return;
  const int32_t n = std::min(depth_, 3);
  for (int32_t y = 0; y < height_; ++y) {
    uint8_t* p = row(y);
    for (int32_t x = 0; x < width_; ++x, p += depth_)
      for (int32_t c = 0; c < n; ++c) p[c] = uint8_t(255 - p[c]);
  }
}

void QorImageBase::setAlpha(double value) {
  if (!unpack()) return;
  const uint8_t a = truncByte(value * 255);
  if (depth_ == 2 || depth_ == 4) {
    for (int32_t y = 0; y < height_; ++y) {
      uint8_t* p = row(y) + depth_ - 1;
      for (int32_t x = 0; x < width_; ++x, p += depth_) *p = a;
    }
    return;
  }
  if ((depth_ != 1 && depth_ != 3) || a == 255) return;
  QorImage old;
  old.assign(*this);
  const int32_t d = depth_;
  create(width_, height_, d + 1);
  for (int32_t y = 0; y < height_; ++y) {
    const uint8_t* s = old.row(y);
    uint8_t* p = row(y);
    for (int32_t x = 0; x < width_; ++x, s += d, p += d + 1) {
      std::memcpy(p, s, d);
      p[d] = a;
    }
  }
}

bool QorImageBase::permuteChannels(const int32_t map[3]) {
  if (depth_ < 3) return false;
  for (int c = 0; c < 3; ++c)
    if (map[c] < 0 || map[c] > 2) return false;
  if (!unpack()) return false;
  for (int32_t y = 0; y < height_; ++y) {
    uint8_t* p = row(y);
    for (int32_t x = 0; x < width_; ++x, p += depth_) {
      const uint8_t old[3] = {p[0], p[1], p[2]};
      for (int c = 0; c < 3; ++c) p[c] = old[map[c]];
    }
  }
  return true;
}

void QorImageBase::getPixel(int32_t x, int32_t y, double rgba[4]) const {
  double v[4];
  readRaw(*this, x, y, v);
  for (int c = 0; c < 4; ++c) rgba[c] = v[c] / 255.0;
}

void QorImageBase::getPixel(int32_t x, int32_t y, float rgba[4]) const {
  double v[4];
  readRaw(*this, x, y, v);
  for (int c = 0; c < 4; ++c) rgba[c] = static_cast<float>(v[c]) / 255.0f;
}

void QorImageBase::setPixel(int32_t x, int32_t y, const double rgba[4]) {
  uint8_t* p = pixel(x, y);
  if (depth_ <= 2) {
    p[0] = truncByte((double(0.6f) * rgba[1] + 0.25 * rgba[0] + double(0.15f) * rgba[2]) * 255);
    if (depth_ == 2) p[1] = truncByte(rgba[3] * 255);
    return;
  }
  for (int32_t c = 0; c < depth_; ++c) p[c] = truncByte(rgba[c] * 255);
}

void QorImageBase::setPixel(int32_t x, int32_t y, const float rgba[4]) {
  uint8_t* p = pixel(x, y);
  if (depth_ <= 2) {
    p[0] = truncByte(rgba[0] * 255.0f);
    if (depth_ == 2) p[1] = truncByte(rgba[3] * 255.0f);
    return;
  }
  for (int32_t c = 0; c < depth_; ++c) p[c] = truncByte(rgba[c] * 255.0f);
}

bool QorImageBase::equals(const IQorImageBase& other) const {
  if (width_ != other.width() || height_ != other.height() || depth_ != other.depth()) return false;
  if (isCompressed() != other.isCompressed()) return false;
  if (isCompressed()) {
    const QorPackedImage& a = compressed_;
    const QorPackedImage& b = other.packed();
    return a.size == b.size && std::memcmp(a.data, b.data, static_cast<size_t>(a.size)) == 0;
  }
  const auto n = static_cast<size_t>(rowBytes());
  for (int32_t y = 0; y < height_; ++y)
    if (std::memcmp(row(y), other.row(y), n) != 0) return false;
  return true;
}

IQorImageBase* QorImageBase::resample(int32_t newWidth, int32_t newHeight,
                                      IQorImageBase* out) const {
  if (out)
    out->create(newWidth, newHeight, depth_);
  else
    out = QorImage::unset(newWidth, newHeight, depth_);  // every byte is written below
  unpack();
  const bool sizes = IMG_CHECK((width_ * height_ > 0) || (newWidth * newHeight == 0));
  if (!IMG_CHECK(newWidth >= 0) || !IMG_CHECK(newHeight >= 0) || !sizes) return out;
  if (out->width() != newWidth || out->height() != newHeight || out->depth() != depth_ ||
      out->byteSize() == 0)
    return out;
  const int32_t d = depth_;
  const size_t outRow = static_cast<size_t>(newWidth) * d;
  if (newWidth > width_ && newHeight > height_ && newWidth % width_ == 0 &&
      newHeight % height_ == 0) {
    const int32_t fx = newWidth / width_, fy = newHeight / height_;
    for (int32_t y = 0; y < newHeight; ++y) {
      uint8_t* o = out->row(y);
      if (y % fy) {
        std::memcpy(o, out->row(y - 1), outRow);
        continue;
      }
      const uint8_t* s = row(y / fy);
      for (int32_t x = 0; x < width_; ++x, s += d)
        for (int32_t k = 0; k < fx; ++k, o += d) std::memcpy(o, s, d);
    }
    return out;
  }
  // Index tables: floor((size / 2 + i * size) / newSize), the remainder carried.
  auto table = [](int32_t size, int32_t newSize) {
    std::vector<int32_t> t(static_cast<size_t>(newSize));
    int64_t q = (size / 2) / newSize, r = (size / 2) % newSize;
    const int64_t stepQ = size / newSize, stepR = size % newSize;
    for (int32_t i = 0; i < newSize; ++i) {
      t[i] = static_cast<int32_t>(q);
      q += stepQ, r += stepR;
      if (r >= newSize) ++q, r -= newSize;
    }
    return t;
  };
  std::vector<int32_t> cols = table(width_, newWidth);  // as byte offsets in a row
  for (int32_t& c : cols) c *= d;
  const std::vector<int32_t> rows = table(height_, newHeight);
  for (int32_t y = 0; y < newHeight; ++y) {
    uint8_t* o = out->row(y);
    if (y > 0 && rows[y] == rows[y - 1]) {
      std::memcpy(o, out->row(y - 1), outRow);
      continue;
    }
    const uint8_t* s = row(rows[y]);
    switch (d) {
      case 1:
        for (int32_t x = 0; x < newWidth; ++x) o[x] = s[cols[x]];
        break;
      case 3: {
        // Four bytes a pixel while the source has a byte behind the pixel and the output row
        // goes on: the spare byte lands where the next pixel goes. The columns only grow.
        int32_t x = 0;
        for (const int32_t lastPixel = (width_ - 1) * 3; x < newWidth - 1 && cols[x] < lastPixel;
             ++x, o += 3)
          std::memcpy(o, s + cols[x], 4);
        for (; x < newWidth; ++x, o += 3) {
          const uint8_t* p = s + cols[x];
          o[0] = p[0], o[1] = p[1], o[2] = p[2];
        }
        break;
      }
      case 4:
        for (int32_t x = 0; x < newWidth; ++x, o += 4) std::memcpy(o, s + cols[x], 4);
        break;
      default:
        for (int32_t x = 0; x < newWidth; ++x, o += d) std::memcpy(o, s + cols[x], d);
    }
  }
  return out;
}

void QorImageBase::sample(double x, double y, bool clampX, bool clampY, double rgba[4]) const {
  unpack();
  if (width_ <= 0 || height_ <= 0) {
    rgba[0] = rgba[1] = rgba[2] = rgba[3] = 0;
    return;
  }
  int32_t ix, iy;
  double fx, fy;
  place(x, width_, clampX, &ix, &fx);
  place(y, height_, clampY, &iy, &fy);
  if (fy == 0.5 || (clampY && iy == 0 && fy <= 0.5) || (clampY && iy == height_ - 1 && fy >= 0.5)) {
    sampleRow(*this, ix, iy, fx, clampX, rgba);
    return;
  }
  sampleRow(*this, ix, iy, fx, clampX, rgba);
  int32_t n = fy > 0.5 ? iy + 1 : iy - 1;
  if (n < 0 || n >= height_) {
    if (clampY) return;
    n = n < 0 ? height_ - 1 : 0;
  }
  double b[4];
  sampleRow(*this, ix, n, fx, clampX, b);
  const double t = std::fabs(fy - 0.5);
  for (int c = 0; c < 4; ++c) rgba[c] = rgba[c] + (b[c] - rgba[c]) * t;
}

bool QorImageBase::swapBase(IQorImageBase* other) {
  auto* o = dynamic_cast<QorImageBase*>(other);
  if (!o) return false;
  std::swap(width_, o->width_);
  std::swap(height_, o->height_);
  std::swap(depth_, o->depth_);
  std::swap(compressed_, o->compressed_);
  return true;
}
