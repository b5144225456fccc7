#include "refhost/imagewriter.h"

#include <png.h>
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

#include "base/wexrealloc.h"
#include "bulk/qorimagebase.h"
#include "persistence/binio.h"
#include "platform/file.h"
#include "refhost/componentmanager.h"
#include "refhost/host.h"
#include "refhost/strsupport.h"

namespace refhost {
namespace {

// Everything one libpng run touches. libpng reports errors by longjmp, so this record is
// plain data, lives in the caller's frame and is reached through a pointer: nothing with a
// destructor lies between the setjmp and any longjmp.
struct PngRun {
  png_structp png = nullptr;
  png_infop info = nullptr;
  // Encoding: the image's rows go into a growing wexMalloc block.
  const IQorImageBase* source = nullptr;
  PngSettings settings{};
  uint8_t* out = nullptr;
  size_t outSize = 0;
  size_t outCapacity = 0;
  // Decoding: bytes in memory go into the target through create and row writes.
  const uint8_t* in = nullptr;
  size_t inSize = 0;
  size_t inPos = 0;
  IQorImageBase* target = nullptr;
  bool created = false;
  char why[256] = {};
};

// The best ratio deflate reaches: 258 bytes from one length and one distance code of a
// bit each.
constexpr uint64_t kDeflateBestRatio = 1032;
constexpr size_t kMaxBlock = 0x7FFFFFFF;

[[noreturn]] void onError(png_structp png, png_const_charp message) {
  auto* run = static_cast<PngRun*>(png_get_error_ptr(png));
  std::snprintf(run->why, sizeof run->why, "%s", message);
  png_longjmp(png, 1);
}

// Warnings (an unknown colour profile, a damaged ancillary chunk) change nothing we read.
void onWarning(png_structp, png_const_charp) {}

void onWrite(png_structp png, png_bytep data, size_t count) {
  auto* run = static_cast<PngRun*>(png_get_io_ptr(png));
  size_t need = run->outSize + count;
  if (need > kMaxBlock || need < count) png_error(png, "the PNG would pass 2 GiB");
  if (need > run->outCapacity) {
    // Doubling from 64 KiB; wexRealloc may settle for less than asked, never below `need`.
    const size_t wanted =
        std::min(std::max({need, run->outCapacity * 2, size_t(1) << 16}), kMaxBlock);
    void* block = run->out;
    const int32_t got = block
                            ? wexRealloc(&block, 1, static_cast<int32_t>(run->outCapacity),
                                         static_cast<int32_t>(need), static_cast<uint32_t>(wanted))
                            : wexMalloc(&block, 1, static_cast<int32_t>(wanted));
    run->out = static_cast<uint8_t*>(block);
    run->outCapacity = static_cast<size_t>(got);
  }
  std::memcpy(run->out + run->outSize, data, count);
  run->outSize = need;
}

void onFlush(png_structp) {}

void onRead(png_structp png, png_bytep data, size_t count) {
  auto* run = static_cast<PngRun*>(png_get_io_ptr(png));
  if (count > run->inSize - run->inPos) png_error(png, "the PNG data ends too early");
  std::memcpy(data, run->in + run->inPos, count);
  run->inPos += count;
}

// Runs `body` under libpng's error handling: false when libpng gave up (run->why says why).
// This frame and body's hold only plain data.
bool guarded(PngRun* run, void (*body)(PngRun*)) {
  if (setjmp(png_jmpbuf(run->png))) return false;
  body(run);
  return true;
}

void encodeBody(PngRun* run) {
  static const int kColorTypes[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA,
                                    PNG_COLOR_TYPE_RGB, PNG_COLOR_TYPE_RGB_ALPHA};
  const IQorImageBase& image = *run->source;
  const int32_t height = image.height();
  png_set_write_fn(run->png, run, onWrite, onFlush);
  png_set_IHDR(run->png, run->info, static_cast<png_uint_32>(image.width()),
               static_cast<png_uint_32>(height), 8, kColorTypes[image.depth() - 1],
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_compression_level(run->png, run->settings.level);
  png_set_filter(run->png, PNG_FILTER_TYPE_BASE, run->settings.filters);
  png_set_compression_buffer_size(run->png, 1 << 16);
  png_write_info(run->png, run->info);
  for (int32_t y = 0; y < height; ++y) png_write_row(run->png, image.row(y));
  png_write_end(run->png, nullptr);
}

[[noreturn]] __attribute__((format(printf, 2, 3))) void refuse(PngRun* run, const char* format,
                                                               ...) {
  char message[200];
  va_list args;
  va_start(args, format);
  std::vsnprintf(message, sizeof message, format, args);
  va_end(args);
  png_error(run->png, message);
}

void decodeBody(PngRun* run) {
  png_structp png = run->png;
  png_infop info = run->info;
  png_set_read_fn(png, run, onRead);
  png_set_user_limits(png, RefImageWriter::kMaxSide, RefImageWriter::kMaxSide);
  // Only IHDR, PLTE, tRNS, IDAT and IEND matter here. Every other chunk is stepped over
  // unread, so a text or profile chunk that declares gigabytes makes libpng allocate nothing.
  png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
  png_set_chunk_malloc_max(png, 8000000);
#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
  // A fuzzing build lets damaged checksums through, so that mutated chunks reach the decoder.
  png_set_crc_action(png, PNG_CRC_QUIET_USE, PNG_CRC_QUIET_USE);
  png_set_option(png, PNG_IGNORE_ADLER32, PNG_OPTION_ON);
#endif
  png_read_info(png, info);
  png_uint_32 width = 0, height = 0;
  int bitDepth = 0, colorType = 0;
  png_get_IHDR(png, info, &width, &height, &bitDepth, &colorType, nullptr, nullptr, nullptr);
  // Deflate holds at most 1032 bytes per byte: a header that declares more rows than the
  // data could hold is refused before anything is allocated.
  const uint64_t rawBytes = uint64_t(height) * (png_get_rowbytes(png, info) + 1);
  if (rawBytes > kDeflateBestRatio * run->inSize)
    refuse(run, "a %ux%u PNG cannot fit in %zu bytes", width, height, run->inSize);
  if (colorType == PNG_COLOR_TYPE_PALETTE) {
    png_set_palette_to_rgb(png);
  } else if (bitDepth < 8) {
    refuse(run, "%d-bit grey PNGs are not read (8 or 16 bits per channel only)", bitDepth);
  }
  if (png_get_valid(png, info, PNG_INFO_tRNS)) png_set_tRNS_to_alpha(png);
  if (bitDepth == 16) png_set_scale_16(png);
  const int passes = png_set_interlace_handling(png);
  png_read_update_info(png, info);
  const int channels = png_get_channels(png, info);
  const size_t rowBytes = png_get_rowbytes(png, info);
  if (channels < 1 || channels > 4 || png_get_bit_depth(png, info) != 8 ||
      rowBytes != size_t(width) * size_t(channels))
    refuse(run, "unexpected PNG layout: %d channels, %zu row bytes", channels, rowBytes);
  if (uint64_t(rowBytes) * height > uint64_t(RefImageWriter::kMaxBytes))
    refuse(run, "a %ux%u PNG of %d channels is too large to read", width, height, channels);
  IQorImageBase* image = run->target;
  run->created = true;
  image->create(static_cast<int32_t>(width), static_cast<int32_t>(height), channels);
  if (image->width() != int32_t(width) || image->height() != int32_t(height) ||
      image->depth() != channels)
    refuse(run, "the image refused the size %ux%u, depth %d", width, height, channels);
  for (int pass = 0; pass < passes; ++pass)
    for (png_uint_32 y = 0; y < height; ++y)
      png_read_row(png, image->row(static_cast<int32_t>(y)), nullptr);
  png_read_end(png, nullptr);
}

bool logRefusal(const std::string& what) {
  log().logError(utf8ToWide(("[Image] " + what).c_str()));
  return false;
}

std::string pathText(const QorString& path) {
  return wideToUtf8(path.text());
}

// A packed image's block is a PNG already.
bool packedPng(const IQorImageBase& image, PngBlock* out) {
  const QorPackedImage& packed = image.packed();
  if (!packed.data || packed.size < 8 || png_sig_cmp(packed.data, 0, 8) != 0) return false;
  out->data = packed.data;
  out->size = static_cast<size_t>(packed.size);
  return true;
}

// The image as PNG bytes: its packed block as it is, else freshly encoded (owned = true).
bool pngOf(const IQorImageBase& image, PngBlock* out, bool* owned, std::string* why) {
  *owned = false;
  if (image.isCompressed()) {
    if (packedPng(image, out)) return true;
    *why = "the packed image is not a PNG";
    return false;
  }
  *owned = true;
  return encodePng(image, pngFileSettings(), out, why);
}

bool decodeLogged(const void* data, size_t size, IQorImageBase* image, const std::string& where) {
  std::string why;
  if (decodePng(data, size, image, &why)) return true;
  return logRefusal(where + ": " + why);
}

// A load replaces the image: a packed form it held goes.
bool loaded(IQorImageBase* image) {
  if (image->isCompressed()) image->setPacked(QorPackedImage{});
  return true;
}

// The format in upper case; a missing one is the path's extension.
std::string formatName(const char* format, const QorString& path) {
  std::string name = format ? format : "";
  if (name.empty()) {
    std::string p = pathText(path);
    size_t dot = p.find_last_of('.');
    size_t slash = p.find_last_of('/');
    if (dot != std::string::npos && (slash == std::string::npos || dot > slash))
      name = p.substr(dot + 1);
  }
  for (char& c : name) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return name;
}

}  // namespace

PngSettings pngFileSettings() {
  return {6, PNG_ALL_FILTERS};
}

PngSettings pngPackSettings() {
  return {1, PNG_FILTER_SUB};
}

bool encodePng(const IQorImageBase& image, const PngSettings& settings, PngBlock* out,
               std::string* why) {
  const int32_t w = image.width(), h = image.height(), d = image.depth();
  if (w <= 0 || h <= 0 || d < 1 || d > 4) {
    *why = "an image of " + std::to_string(w) + "x" + std::to_string(h) + ", depth " +
           std::to_string(d) + " has no PNG form";
    return false;
  }
  PngRun run;
  run.source = &image;
  run.settings = settings;
  run.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &run, onError, onWarning);
  if (run.png) run.info = png_create_info_struct(run.png);
  bool ok = run.info && guarded(&run, encodeBody);
  if (run.png) png_destroy_write_struct(&run.png, &run.info);
  if (!ok) {
    *why = run.why[0] ? run.why : "libpng could not start";
    wexFree(run.out);
    return false;
  }
  // A packed block may live long: give back the slack of the last doubling.
  void* block = run.out;
  if (run.outCapacity > run.outSize + run.outSize / 8)
    wexRealloc(&block, 1, static_cast<int32_t>(run.outCapacity), static_cast<int32_t>(run.outSize),
               static_cast<uint32_t>(run.outSize));
  out->data = static_cast<uint8_t*>(block);
  out->size = run.outSize;
  return true;
}

bool decodePng(const void* data, size_t size, IQorImageBase* image, std::string* why) {
  if (!data || size < 8 || png_sig_cmp(static_cast<png_const_bytep>(data), 0, 8) != 0) {
    *why = "not a PNG (" + std::to_string(size) + " bytes without the PNG signature)";
    return false;
  }
  PngRun run;
  run.in = static_cast<const uint8_t*>(data);
  run.inSize = size;
  run.target = image;
  run.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &run, onError, onWarning);
  if (run.png) run.info = png_create_info_struct(run.png);
  bool ok = run.info && guarded(&run, decodeBody);
  if (run.png) png_destroy_read_struct(&run.png, &run.info, nullptr);
  if (!ok) {
    *why = run.why[0] ? run.why : "libpng could not start";
    if (run.created) image->create(0, 0, 0);
  }
  return ok;
}

// ---- IQorImageWriter ----

void RefImageWriter::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefImageWriter") || qorNameIs(name, "IQorImageWriter"))
    *out = static_cast<IQorImageWriter*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

bool RefImageWriter::writeStream(IQorImageBase* image, BinOutput& out, const char* format, int32_t,
                                 int32_t, int32_t) {
  if (!image) return logRefusal("writeStream: no image");
  if (format && strcasecmp(format, "PNG") != 0)
    return logRefusal(std::string("writeStream: the stored form is PNG, not ") + format);
  PngBlock png;
  bool owned = false;
  std::string why;
  if (!pngOf(*image, &png, &owned, &why)) return logRefusal("writeStream: " + why);
  const int32_t length = static_cast<int32_t>(png.size);
  bool ok = out.write(length) && out.writeBytes(png.data, png.size);
  if (owned) wexFree(png.data);
  return ok;
}

bool RefImageWriter::writeFile(IQorImageBase* image, const QorString& path, const char* format,
                               int32_t, int32_t, int32_t) {
  const std::string where = "writeFile " + pathText(path);
  if (!image) return logRefusal(where + ": no image");
  const std::string name = formatName(format, path);
  if (name == "BMP" || name == "TIFF" || name == "TIF") {
    // The plain forms are the image class's own writers.
    auto* own = dynamic_cast<QorImageBase*>(image);
    if (!own) return logRefusal(where + ": " + name + " needs the system's own image class");
    return name == "BMP" ? own->writeBmp(path, false) : own->writeTiff(path);
  }
  if (name != "PNG") return logRefusal(where + ": the host writes no " + name + " files");
  PngBlock png;
  bool owned = false;
  std::string why;
  if (!pngOf(*image, &png, &owned, &why)) return logRefusal(where + ": " + why);
  std::FILE* file = Platform::openFile(path, "wb");
  bool ok = file && std::fwrite(png.data, 1, png.size, file) == png.size;
  if (file && std::fclose(file) != 0) ok = false;
  if (owned) wexFree(png.data);
  return ok || logRefusal(where + ": the file cannot be written");
}

bool RefImageWriter::readSourceA(IQorImageBase* image, const void* source, int32_t size, int32_t,
                                 int32_t, int32_t, int32_t) {
  if (!image || !source || size <= 0)
    return logRefusal("readSourceA: no image or no bytes (size " + std::to_string(size) + ")");
  return decodeLogged(source, static_cast<size_t>(size), image, "readSourceA") && loaded(image);
}

bool RefImageWriter::readStream(IQorImageBase* image, BinInput& in, int32_t, int32_t, int32_t,
                                int32_t) {
  if (!image) return logRefusal("readStream: no image");
  int32_t length = 0;
  if (!in.read(&length, 1)) return logRefusal("readStream: the stream ends before the length");
  const int64_t left = in.size() - in.tell();
  if (length < 8 || (in.size() > 0 && length > left))
    return logRefusal("readStream: a PNG length of " + std::to_string(length) + " with " +
                      std::to_string(left) + " bytes left");
  std::vector<uint8_t> bytes(static_cast<size_t>(length));
  if (!in.readBytes(bytes.data(), bytes.size()))
    return logRefusal("readStream: the stream ends inside the PNG");
  return decodeLogged(bytes.data(), bytes.size(), image, "readStream") && loaded(image);
}

bool RefImageWriter::readFile(IQorImageBase* image, const QorString& path, int32_t, int32_t,
                              int32_t, int32_t) {
  const std::string where = "readFile " + pathText(path);
  if (!image) return logRefusal(where + ": no image");
  std::FILE* file = Platform::openFile(path, "rb");
  if (!file) return logRefusal(where + ": the file cannot be opened");
  std::vector<uint8_t> bytes;
  int64_t size = -1;
  if (Platform::seekFile(file, 0, false)) size = Platform::tellFile(file);
  bool ok = size >= 0 && size <= int64_t(kMaxBlock) && Platform::seekFile(file, 0, true);
  if (ok) {
    bytes.resize(static_cast<size_t>(size));
    ok = std::fread(bytes.data(), 1, bytes.size(), file) == bytes.size();
  }
  std::fclose(file);
  if (!ok) return logRefusal(where + ": the file cannot be read");
  return decodeLogged(bytes.data(), bytes.size(), image, where) && loaded(image);
}

bool RefImageWriter::readSourceB(IQorImageBase* image, const void* source, int32_t a, int32_t b,
                                 int32_t c, int32_t, int32_t, int32_t, int32_t) {
  if (!image || !source || a <= 0 || b <= 0 || c < 1 || c > 4 || int64_t(a) * c > kMaxBytes ||
      int64_t(a) * b * c > kMaxBytes)
    return logRefusal("readSourceB: no raw rows of width " + std::to_string(a) + ", height " +
                      std::to_string(b) + ", depth " + std::to_string(c));
  image->create(a, b, c);
  const size_t rowBytes = size_t(a) * size_t(c);
  const auto* rows = static_cast<const uint8_t*>(source);
  for (int32_t y = 0; y < b; ++y) std::memcpy(image->row(y), rows + rowBytes * size_t(y), rowBytes);
  return loaded(image);
}

// ---- IQorCompressPNG ----

void RefCompressPNG::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefCompressPNG") || qorNameIs(name, "IQorCompressPNG"))
    *out = static_cast<IQorCompressPNG*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

bool RefCompressPNG::compress(IQorImageBase* image, QorPackedImage* packed) {
  if (!image || !packed) return logRefusal("compress: no image or no packed record");
  if (image->isCompressed()) {  // packed already: a copy of its block
    copy(&image->packed(), packed);
    return packed->data != nullptr;
  }
  PngBlock png;
  std::string why;
  if (!encodePng(*image, pngPackSettings(), &png, &why)) return logRefusal("compress: " + why);
  packed->data = png.data;
  packed->size = static_cast<int32_t>(png.size);
  return true;
}

bool RefCompressPNG::decompress(const QorPackedImage* packed, IQorImageBase* image) {
  if (!image || !packed || !packed->data || packed->size <= 0)
    return logRefusal("decompress: no image or no packed bytes");
  return decodeLogged(packed->data, static_cast<size_t>(packed->size), image, "decompress");
}

void RefCompressPNG::release(QorPackedImage* packed) {
  if (!packed) return;
  wexFree(packed->data);
  packed->data = nullptr;
  packed->size = 0;
}

void RefCompressPNG::copy(const QorPackedImage* from, QorPackedImage* to) {
  if (!to) return;
  *to = QorPackedImage{};
  if (!from || !from->data || from->size <= 0) return;
  void* block = nullptr;
  wexMalloc(&block, 1, from->size);
  std::memcpy(block, from->data, static_cast<size_t>(from->size));
  to->data = static_cast<uint8_t*>(block);
  to->size = from->size;
}

RefImageWriter& imageWriter() {
  return immortal<RefImageWriter>();
}

RefCompressPNG& compressPNG() {
  return immortal<RefCompressPNG>();
}

}  // namespace refhost
