// PNG through the host's services against libpng called directly on one contiguous buffer,
// with the same settings, on a 4096 x 4096 RGB image (a smooth field with noise, like a
// photograph). "pack": the in-memory packing (IQorCompressPNG::compress, level 1, Sub
// filter); "file": the file and stored-form settings (level 6, adaptive filters), encoded
// to memory; "read": decoding the packed PNG into an image (ours: QorImage row blocks) or
// into the buffer. Prints "ratio <name>: ours/peer = X" (below 1: ours is faster).
#include <benchmark/benchmark.h>
#include <png.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "base/wexrealloc.h"
#include "bulk/qorimage.h"
#include "core/locator.h"
#include "ratio_reporter.h"
#include "refhost/host.h"
#include "refhost/imagewriter.h"

namespace {

constexpr int kSide = 4096, kDepth = 3;

std::vector<uint8_t>& pixels() {
  static std::vector<uint8_t> p = [] {
    std::vector<uint8_t> v(size_t(kSide) * kSide * kDepth);
    std::mt19937 random(3);
    for (int y = 0; y < kSide; ++y)
      for (int x = 0; x < kSide * kDepth; ++x)
        v[size_t(y) * kSide * kDepth + x] = static_cast<uint8_t>(x / 7 + y / 5 + random() % 8);
    return v;
  }();
  return p;
}

QorImage& image() {
  static QorImage* im = [] {
    auto* i = new QorImage(kSide, kSide, kDepth);
    for (int y = 0; y < kSide; ++y)
      std::memcpy(i->row(y), pixels().data() + size_t(y) * kSide * kDepth, kSide * kDepth);
    return i;
  }();
  return *im;
}

struct Sink {
  std::vector<uint8_t> bytes;
  size_t at = 0;
};

void put(png_structp png, png_bytep data, size_t n) {
  auto* s = static_cast<Sink*>(png_get_io_ptr(png));
  s->bytes.insert(s->bytes.end(), data, data + n);
}

void get(png_structp png, png_bytep data, size_t n) {
  auto* s = static_cast<Sink*>(png_get_io_ptr(png));
  std::memcpy(data, s->bytes.data() + s->at, n);
  s->at += n;
}

void flushNothing(png_structp) {}

// The peer gives up at once on any error, which none of these inputs has.
[[noreturn]] void abortOnError(png_structp, png_const_charp) {
  std::abort();
}

// libpng directly: the buffer's rows at the given settings.
size_t peerEncode(Sink* sink, const refhost::PngSettings& settings) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, abortOnError, nullptr);
  png_infop info = png_create_info_struct(png);
  png_set_write_fn(png, sink, put, flushNothing);
  png_set_IHDR(png, info, kSide, kSide, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_compression_level(png, settings.level);
  png_set_filter(png, PNG_FILTER_TYPE_BASE, settings.filters);
  png_set_compression_buffer_size(png, 1 << 16);
  png_write_info(png, info);
  for (int y = 0; y < kSide; ++y) png_write_row(png, pixels().data() + size_t(y) * kSide * kDepth);
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return sink->bytes.size();
}

void peerDecode(Sink* sink, std::vector<uint8_t>* out) {
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, abortOnError, nullptr);
  png_infop info = png_create_info_struct(png);
  png_set_read_fn(png, sink, get);
  png_read_info(png, info);
  png_read_update_info(png, info);
  const size_t rowBytes = png_get_rowbytes(png, info);
  out->resize(rowBytes * png_get_image_height(png, info));
  for (png_uint_32 y = 0; y < png_get_image_height(png, info); ++y)
    png_read_row(png, out->data() + rowBytes * y, nullptr);
  png_read_end(png, nullptr);
  png_destroy_read_struct(&png, &info, nullptr);
}

void packOurs(benchmark::State& st) {
  for (auto _ : st) {
    QorPackedImage packed;
    if (!refhost::compressPNG().compress(&image(), &packed)) st.SkipWithError("compress failed");
    benchmark::DoNotOptimize(packed.data);
    refhost::compressPNG().release(&packed);
  }
}

void packPeer(benchmark::State& st) {
  for (auto _ : st) {
    Sink sink;
    benchmark::DoNotOptimize(peerEncode(&sink, refhost::pngPackSettings()));
  }
}

void fileOurs(benchmark::State& st) {
  for (auto _ : st) {
    refhost::PngBlock png;
    std::string why;
    if (!refhost::encodePng(image(), refhost::pngFileSettings(), &png, &why))
      st.SkipWithError(why.c_str());
    benchmark::DoNotOptimize(png.data);
    wexFree(png.data);
  }
}

void filePeer(benchmark::State& st) {
  for (auto _ : st) {
    Sink sink;
    benchmark::DoNotOptimize(peerEncode(&sink, refhost::pngFileSettings()));
  }
}

Sink& packedSink() {
  static Sink* s = [] {
    auto* sink = new Sink;
    peerEncode(sink, refhost::pngPackSettings());
    return sink;
  }();
  return *s;
}

void readOurs(benchmark::State& st) {
  const Sink& packed = packedSink();
  for (auto _ : st) {
    QorImage out;
    std::string why;
    if (!refhost::decodePng(packed.bytes.data(), packed.bytes.size(), &out, &why))
      st.SkipWithError(why.c_str());
    benchmark::DoNotOptimize(out.row(0));
  }
}

void readPeer(benchmark::State& st) {
  for (auto _ : st) {
    Sink& sink = packedSink();
    sink.at = 0;
    std::vector<uint8_t> out;
    peerDecode(&sink, &out);
    benchmark::DoNotOptimize(out.data());
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (!refhost::boot("full")) return 2;
  qor::setLocator(&refhost::manager());
  image();
  packedSink();
  const std::pair<const char*, void (*)(benchmark::State&)> runs[] = {
      {"pack/ours", packOurs}, {"pack/peer", packPeer}, {"file/ours", fileOurs},
      {"file/peer", filePeer}, {"read/ours", readOurs}, {"read/peer", readPeer}};
  for (auto [name, fn] : runs)
    benchmark::RegisterBenchmark(name, fn)->Unit(benchmark::kMillisecond);
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  for (const char* kind : {"pack", "file", "read"})
    reporter.printRatio(kind, std::string(kind) + "/ours", std::string(kind) + "/peer");
  return 0;
}
