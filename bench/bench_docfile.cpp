// The document file: saving and opening a document of 10^6 points (positions, normals and
// colours, 48 MB) against moving the same bytes with stdio, in the same run.
//  - save_stream: writeDocument on a BinOutputFile, closed without a commit to the disk,
//    against one fwrite of the saved file's bytes and fclose.
//  - save_file: writeDocumentFile (a file beside the target, committed, renamed over it),
//    against one fwrite, a commit (fflush + fsync) and fclose.
//  - open_file: readDocumentFile, against one fread of the file into a block already in
//    memory, and into a fresh block. The goal (throughput at least 0.5) is against the
//    first, the stricter peer: from the second open on, the heap hands the document's
//    arrays (24 and 12 MB; glibc keeps freed blocks up to 32 MB in its heap) back memory it
//    already has, so ours pays no page faults either, and both copy from the page cache into
//    touched memory; ours also walks the chunks and turns every value to host order. A 48
//    MB block is always mapped afresh, so fread_fresh pays a fault per page each time: it
//    shows that cost, and beating it says little.
// Each pair prints "throughput <name>: ours/peer = X" (above 1: ours is faster) beside the
// time ratio of the reporter.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "base/qorstring.h"
#include "persistence/binio.h"
#include "platform/file.h"
#include "ratio_reporter.h"
#include "refhost/docfile.h"

namespace {

constexpr int kPoints = 1000000;

std::string scratch(const char* name) {
  return (std::filesystem::temp_directory_path() / (std::string("bench-docfile-") + name)).string();
}

const refhost::DocumentSnapshot& document() {
  static const refhost::DocumentSnapshot d = [] {
    refhost::DocumentSnapshot doc;
    auto g = std::make_shared<refhost::Geometry>();
    for (int i = 0; i < 3 * kPoints; ++i) {
      g->positions.push_back(i * 0.001 + 1e5);
      g->normals.push_back(float(i % 7) / 7);
      g->colors.push_back(float(i % 5) / 5);
    }
    refhost::ObjectRecord o;
    o.id = 1;
    o.name = u"cloud";
    o.phase = "Point";
    o.geometry = g;
    doc.objects.push_back(o);
    doc.nextId = 2;
    return doc;
  }();
  return d;
}

// The saved file, written once; its size is what the peers move.
const std::string& savedFile() {
  static const std::string path = [] {
    std::string p = scratch("in"), why;
    if (!refhost::writeDocumentFile(p, document(), &why)) std::fprintf(stderr, "%s\n", why.c_str());
    return p;
  }();
  return path;
}

uint64_t savedBytes() {
  return std::filesystem::file_size(savedFile());
}

std::unique_ptr<uint8_t[]> savedImage() {
  std::unique_ptr<uint8_t[]> b(new uint8_t[savedBytes()]);
  std::FILE* f = std::fopen(savedFile().c_str(), "rb");
  if (std::fread(b.get(), 1, savedBytes(), f) != savedBytes()) std::fprintf(stderr, "short\n");
  std::fclose(f);
  return b;
}

void saveStream(benchmark::State& state) {
  QorString path(scratch("out").c_str());
  std::string why;
  for (auto _ : state) {
    BinOutputFile out(path);
    if (!refhost::writeDocument(out, document(), &why)) state.SkipWithError(why.c_str());
    out.closeStream();
  }
  state.SetBytesProcessed(int64_t(state.iterations() * savedBytes()));
}

void saveFile(benchmark::State& state) {
  std::string path = scratch("out"), why;
  for (auto _ : state)
    if (!refhost::writeDocumentFile(path, document(), &why)) state.SkipWithError(why.c_str());
  state.SetBytesProcessed(int64_t(state.iterations() * savedBytes()));
}

template <bool commit>
void fwritePeer(benchmark::State& state) {
  std::unique_ptr<uint8_t[]> image = savedImage();
  std::string path = scratch("peer");
  for (auto _ : state) {
    std::FILE* f = std::fopen(path.c_str(), "w+b");
    std::fwrite(image.get(), 1, savedBytes(), f);
    if (commit) Platform::commitFile(f);
    std::fclose(f);
  }
  state.SetBytesProcessed(int64_t(state.iterations() * savedBytes()));
}

void openFile(benchmark::State& state) {
  std::string why;
  for (auto _ : state) {
    refhost::DocumentSnapshot d;
    if (!refhost::readDocumentFile(savedFile(), &d, &why)) state.SkipWithError(why.c_str());
    benchmark::DoNotOptimize(d.objects.data());
  }
  state.SetBytesProcessed(int64_t(state.iterations() * savedBytes()));
}

// Into a block touched before timing: the heap gives the document's vectors back memory it
// already has from the second open on, where a fresh block this size would be mapped anew.
void freadPeer(benchmark::State& state) {
  std::unique_ptr<uint8_t[]> to = savedImage();
  for (auto _ : state) {
    std::FILE* f = std::fopen(savedFile().c_str(), "rb");
    if (std::fread(to.get(), 1, savedBytes(), f) != savedBytes()) state.SkipWithError("short");
    std::fclose(f);
    benchmark::DoNotOptimize(to.get());
  }
  state.SetBytesProcessed(int64_t(state.iterations() * savedBytes()));
}

// Into a fresh block each time, as an open must put the bytes in new memory.
void freadFreshPeer(benchmark::State& state) {
  for (auto _ : state) {
    std::unique_ptr<uint8_t[]> to(new uint8_t[savedBytes()]);
    std::FILE* f = std::fopen(savedFile().c_str(), "rb");
    if (std::fread(to.get(), 1, savedBytes(), f) != savedBytes()) state.SkipWithError("short");
    std::fclose(f);
    benchmark::DoNotOptimize(to.get());
  }
  state.SetBytesProcessed(int64_t(state.iterations() * savedBytes()));
}

}  // namespace

int main(int argc, char** argv) {
  auto ms = benchmark::kMillisecond;
  savedFile();
  benchmark::RegisterBenchmark("save_stream/ours", saveStream)->Unit(ms);
  benchmark::RegisterBenchmark("save_stream/fwrite", fwritePeer<false>)->Unit(ms);
  benchmark::RegisterBenchmark("save_file/ours", saveFile)->Unit(ms);
  benchmark::RegisterBenchmark("save_file/fwrite_commit", fwritePeer<true>)->Unit(ms);
  benchmark::RegisterBenchmark("open_file/ours", openFile)->Unit(ms);
  benchmark::RegisterBenchmark("open_file/fread", freadPeer)->Unit(ms);
  benchmark::RegisterBenchmark("open_file/fread_fresh", freadFreshPeer)->Unit(ms);

  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();

  const char* pairs[][3] = {
      {"save_stream_vs_fwrite", "save_stream/ours", "save_stream/fwrite"},
      {"save_file_vs_fwrite_commit", "save_file/ours", "save_file/fwrite_commit"},
      {"open_file_vs_fread", "open_file/ours", "open_file/fread"},
      {"open_file_vs_fread_fresh", "open_file/ours", "open_file/fread_fresh"}};
  for (auto& p : pairs) {
    if (!reporter.printRatio(p[0], p[1], p[2])) continue;
    std::printf("throughput %s: ours/peer = %.3f\n", p[0],
                reporter.times[p[2]] / reporter.times[p[1]]);
  }
  for (const char* name : {"in", "out", "peer"}) {
    std::error_code ec;
    std::filesystem::remove(scratch(name), ec);
  }
  return 0;
}
