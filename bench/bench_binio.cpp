// Byte streams and chunks.
//  - 10^7 doubles and 10^7 int32s written by BinOutput into memory reserved and touched
//    before timing (a BinOutputMemory on the caller's block, so no page fault is timed), in
//    one call and one value per call, against a memcpy of the same bytes already in wire
//    order into a block of the same kind: the stream's own cost over moving the bytes.
//  - The same values through BinOutputFile and BinInputFile, against one fwrite (fread) of
//    a buffer already in wire order.
//  - 10^6 small chunks (a 32-bit value each) written by QorFileWrite, against the same
//    chunks written on plain stdio with a seek back to every length; and read or skipped by
//    QorFileRead, against a hand loop of fread and fseeko.
// Each pair prints "ratio <name>: ours/peer = X" (time; below 1 means ours is faster).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "base/qorstring.h"
#include "persistence/binio.h"
#include "persistence/memstream.h"
#include "persistence/qorfile.h"
#include "ratio_reporter.h"

namespace {

constexpr uint64_t kValues = 10000000;
constexpr int kChunks = 1000000;

std::string scratch(const char* name) {
  return (std::filesystem::temp_directory_path() / (std::string("bench-binio-") + name)).string();
}

template <class T>
const std::vector<T>& values() {
  static const std::vector<T> v = [] {
    std::vector<T> x(kValues);
    for (uint64_t i = 0; i < kValues; ++i) x[i] = static_cast<T>(i * 7 + 1) / T(3);
    return x;
  }();
  return v;
}

template <class T>
const std::vector<uint8_t>& wire() {
  static const std::vector<uint8_t> w = [] {
    std::vector<uint8_t> b(kValues * sizeof(T));
    qor::wire::storeBig(b.data(), values<T>().data(), kValues);
    return b;
  }();
  return w;
}

// ---- bulk writing ----

template <class T>
void writeOursBulk(benchmark::State& state) {
  QorString path(scratch("ours").c_str());
  for (auto _ : state) {
    BinOutputFile out(path);
    out.write(values<T>().data(), kValues);
    out.closeStream();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kValues * sizeof(T)));
}

template <class T>
void writeOursEach(benchmark::State& state) {
  QorString path(scratch("ours").c_str());
  for (auto _ : state) {
    BinOutputFile out(path);
    for (T v : values<T>()) out.write(v);
    out.closeStream();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kValues * sizeof(T)));
}

template <class T>
void writePreswappedFwrite(benchmark::State& state) {
  std::string path = scratch("peer");
  const std::vector<uint8_t>& w = wire<T>();
  for (auto _ : state) {
    std::FILE* f = std::fopen(path.c_str(), "w+b");
    std::fwrite(w.data(), 1, w.size(), f);
    std::fclose(f);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(w.size()));
}

// Into a block reserved and touched before timing; the bytes are checked after it.
template <class T, bool bulk>
void writeOursMemory(benchmark::State& state) {
  const std::vector<uint8_t>& w = wire<T>();
  std::vector<uint8_t> to(w.size());
  for (auto _ : state) {
    BinOutputMemory out(to.data(), to.size());
    if constexpr (bulk) {
      out.write(values<T>().data(), kValues);
    } else {
      for (T v : values<T>()) out.write(v);
    }
    out.flush();
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  }
  if (std::memcmp(to.data(), w.data(), w.size()) != 0) state.SkipWithError("wrong bytes");
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(w.size()));
}

template <class T>
void copyMemcpy(benchmark::State& state) {
  const std::vector<uint8_t>& w = wire<T>();
  std::vector<uint8_t> to(w.size());
  for (auto _ : state) {
    std::memcpy(to.data(), w.data(), w.size());
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(w.size()));
}

// ---- bulk reading ----

template <class T>
std::string wireFile() {
  static const std::string path = [] {
    std::string p = scratch(sizeof(T) == 8 ? "in8" : "in4");
    std::FILE* f = std::fopen(p.c_str(), "wb");
    std::fwrite(wire<T>().data(), 1, wire<T>().size(), f);
    std::fclose(f);
    return p;
  }();
  return path;
}

template <class T>
void readOursBulk(benchmark::State& state) {
  QorString path(wireFile<T>().c_str());
  std::vector<T> to(kValues);
  for (auto _ : state) {
    BinInputFile in(path);
    if (!in.read(to.data(), kValues)) state.SkipWithError("short read");
    benchmark::DoNotOptimize(to.data());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kValues * sizeof(T)));
}

template <class T>
void readOursEach(benchmark::State& state) {
  QorString path(wireFile<T>().c_str());
  std::vector<T> to(kValues);
  for (auto _ : state) {
    BinInputFile in(path);
    for (T& v : to) in.read(&v, 1);
    benchmark::DoNotOptimize(to.data());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kValues * sizeof(T)));
}

template <class T>
void readFreadSwap(benchmark::State& state) {
  std::string path = wireFile<T>();
  std::vector<uint8_t> raw(kValues * sizeof(T));
  std::vector<T> to(kValues);
  for (auto _ : state) {
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (std::fread(raw.data(), 1, raw.size(), f) != raw.size()) state.SkipWithError("short");
    std::fclose(f);
    qor::wire::loadBig(to.data(), raw.data(), kValues);
    benchmark::DoNotOptimize(to.data());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(raw.size()));
}

// ---- chunks ----

void chunksOurs(benchmark::State& state) {
  QorString path(scratch("chunks").c_str());
  for (auto _ : state) {
    QorFileWrite w;
    w.open(path);
    for (int i = 0; i < kChunks; ++i) {
      w.beginChunk(0x4242, 0);
      w.write(int32_t(i));
      w.endChunk();
    }
    w.stream()->closeStream();  // no commit to disk: the peer does none either
    w.attach(nullptr, false);
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * kChunks);
}

// A stream straight on stdio, with no window of its own: the medium of the peer.
class StdioOutput : public BinOutput {
 public:
  explicit StdioOutput(const char* path) : f_(std::fopen(path, "w+b")) {}
  ~StdioOutput() override { close(); }
  uint64_t writeRaw(const void* b, uint64_t n) override { return std::fwrite(b, 1, n, f_); }
  uint64_t readRaw(void* b, uint64_t n) override { return std::fread(b, 1, n, f_); }
  int64_t tell() override { return ::ftello(f_); }
  bool seek(int64_t p, bool fromStart) override {
    return ::fseeko(f_, p, fromStart ? SEEK_SET : SEEK_END) == 0;
  }
  bool good() override { return f_ && !std::ferror(f_); }
  bool close() override {
    bool ok = f_ && std::fclose(f_) == 0;
    f_ = nullptr;
    return ok;
  }

 private:
  std::FILE* f_;
};

// The same bytes on plain stdio, every length written by seeking back to it and returning.
void chunksSeekBack(benchmark::State& state) {
  std::string path = scratch("chunks-peer");
  for (auto _ : state) {
    StdioOutput out(path.c_str());
    int64_t root = out.logicalTell();
    uint32_t word = 0x574558u << 8 | 1;
    uint64_t zero = 0;
    out.write(word);
    out.write(zero);
    for (int i = 0; i < kChunks; ++i) {
      int64_t start = out.logicalTell();
      out.write(uint32_t(0x4242u << 8));
      out.write(zero);
      out.write(int32_t(i));
      int64_t here = out.logicalTell();
      out.seekTo(start + 4, true);
      out.write(uint64_t(here - start));
      out.seekTo(here, true);
    }
    int64_t end = out.logicalTell();
    out.seekTo(root + 4, true);
    out.write(uint64_t(end - root));
    out.closeStream();
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * kChunks);
}

std::string chunkFile() {
  static const std::string path = [] {
    std::string p = scratch("chunks-in");
    QorFileWrite w;
    w.open(QorString(p.c_str()));
    for (int i = 0; i < kChunks; ++i) {
      w.beginChunk(0x4242, 0);
      w.write(int32_t(i));
      w.endChunk();
    }
    w.close();
    return p;
  }();
  return path;
}

void skipOurs(benchmark::State& state) {
  QorString path(chunkFile().c_str());
  for (auto _ : state) {
    QorFileRead r;
    r.open(path);
    int n = 0;
    while (!r.atEnd() && r.skipChunk()) ++n;
    if (n != kChunks) state.SkipWithError("miscounted");
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * kChunks);
}

void readChunksOurs(benchmark::State& state) {
  QorString path(chunkFile().c_str());
  for (auto _ : state) {
    QorFileRead r;
    r.open(path);
    int64_t sum = 0;
    while (!r.atEnd() && r.beginChunk(0x4242)) {
      int32_t v = 0;
      r.read(v);
      sum += v;
      r.endChunk();
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * kChunks);
}

// A hand loop over the same file: fread of each header, fseeko to the next.
void skipFreadSeek(benchmark::State& state) {
  std::string path = chunkFile();
  for (auto _ : state) {
    std::FILE* f = std::fopen(path.c_str(), "rb");
    uint8_t h[12];
    std::fread(h, 1, 12, f);
    int n = 0;
    while (std::fread(h, 1, 12, f) == 12) {
      uint64_t length;
      std::memcpy(&length, h + 4, 8);
      length = __builtin_bswap64(length);
      ::fseeko(f, static_cast<off_t>(length - 12), SEEK_CUR);
      ++n;
    }
    std::fclose(f);
    if (n != kChunks) state.SkipWithError("miscounted");
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * kChunks);
}

}  // namespace

int main(int argc, char** argv) {
  auto ms = benchmark::kMillisecond;
  benchmark::RegisterBenchmark("write_double/ours_bulk_memory", writeOursMemory<double, true>)
      ->Unit(ms);
  benchmark::RegisterBenchmark("write_double/ours_each_memory", writeOursMemory<double, false>)
      ->Unit(ms);
  benchmark::RegisterBenchmark("write_double/ours_bulk", writeOursBulk<double>)->Unit(ms);
  benchmark::RegisterBenchmark("write_double/ours_each", writeOursEach<double>)->Unit(ms);
  benchmark::RegisterBenchmark("write_double/fwrite", writePreswappedFwrite<double>)->Unit(ms);
  benchmark::RegisterBenchmark("write_double/memcpy", copyMemcpy<double>)->Unit(ms);
  benchmark::RegisterBenchmark("write_int32/ours_bulk_memory", writeOursMemory<int32_t, true>)
      ->Unit(ms);
  benchmark::RegisterBenchmark("write_int32/ours_each_memory", writeOursMemory<int32_t, false>)
      ->Unit(ms);
  benchmark::RegisterBenchmark("write_int32/ours_bulk", writeOursBulk<int32_t>)->Unit(ms);
  benchmark::RegisterBenchmark("write_int32/ours_each", writeOursEach<int32_t>)->Unit(ms);
  benchmark::RegisterBenchmark("write_int32/fwrite", writePreswappedFwrite<int32_t>)->Unit(ms);
  benchmark::RegisterBenchmark("write_int32/memcpy", copyMemcpy<int32_t>)->Unit(ms);
  benchmark::RegisterBenchmark("read_double/ours_bulk", readOursBulk<double>)->Unit(ms);
  benchmark::RegisterBenchmark("read_double/ours_each", readOursEach<double>)->Unit(ms);
  benchmark::RegisterBenchmark("read_double/fread", readFreadSwap<double>)->Unit(ms);
  benchmark::RegisterBenchmark("read_int32/ours_bulk", readOursBulk<int32_t>)->Unit(ms);
  benchmark::RegisterBenchmark("read_int32/ours_each", readOursEach<int32_t>)->Unit(ms);
  benchmark::RegisterBenchmark("read_int32/fread", readFreadSwap<int32_t>)->Unit(ms);
  benchmark::RegisterBenchmark("chunks_write/ours", chunksOurs)->Unit(ms);
  benchmark::RegisterBenchmark("chunks_write/seek_back", chunksSeekBack)->Unit(ms);
  benchmark::RegisterBenchmark("chunks_read/ours", readChunksOurs)->Unit(ms);
  benchmark::RegisterBenchmark("chunks_skip/ours", skipOurs)->Unit(ms);
  benchmark::RegisterBenchmark("chunks_skip/fread_fseeko", skipFreadSeek)->Unit(ms);

  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();

  const char* pairs[][3] = {
      {"write_double_bulk_vs_fwrite", "write_double/ours_bulk", "write_double/fwrite"},
      {"write_double_each_vs_fwrite", "write_double/ours_each", "write_double/fwrite"},
      {"write_double_bulk_vs_memcpy", "write_double/ours_bulk_memory", "write_double/memcpy"},
      {"write_double_each_vs_memcpy", "write_double/ours_each_memory", "write_double/memcpy"},
      {"write_int32_bulk_vs_fwrite", "write_int32/ours_bulk", "write_int32/fwrite"},
      {"write_int32_each_vs_fwrite", "write_int32/ours_each", "write_int32/fwrite"},
      {"write_int32_bulk_vs_memcpy", "write_int32/ours_bulk_memory", "write_int32/memcpy"},
      {"write_int32_each_vs_memcpy", "write_int32/ours_each_memory", "write_int32/memcpy"},
      {"read_double_bulk_vs_fread", "read_double/ours_bulk", "read_double/fread"},
      {"read_double_each_vs_fread", "read_double/ours_each", "read_double/fread"},
      {"read_int32_bulk_vs_fread", "read_int32/ours_bulk", "read_int32/fread"},
      {"read_int32_each_vs_fread", "read_int32/ours_each", "read_int32/fread"},
      {"chunks_write_vs_seek_back", "chunks_write/ours", "chunks_write/seek_back"},
      {"chunks_skip_vs_fread_fseeko", "chunks_skip/ours", "chunks_skip/fread_fseeko"},
      {"chunks_read_vs_fread_fseeko", "chunks_read/ours", "chunks_skip/fread_fseeko"}};
  for (auto& p : pairs) {
    auto o = reporter.times.find(p[1]);
    auto q = reporter.times.find(p[2]);
    if (o == reporter.times.end() || q == reporter.times.end() || q->second <= 0) continue;
    std::printf("ratio %s: ours/peer = %.3f\n", p[0], o->second / q->second);
  }
  for (const char* name : {"chunks_write/ours", "chunks_read/ours", "chunks_skip/ours"}) {
    auto o = reporter.times.find(name);
    if (o != reporter.times.end())
      std::printf("%s: %.1f ns per chunk\n", name, o->second * 1e6 / kChunks);
  }
  for (const char* name : {"ours", "peer", "chunks", "chunks-peer", "chunks-in", "in8", "in4"}) {
    std::error_code ec;
    std::filesystem::remove(scratch(name), ec);
  }
  return 0;
}
