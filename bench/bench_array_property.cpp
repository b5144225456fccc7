// Storing a vector array property of 10^6 points in a file (8-byte lengths, no sync to the
// disk), against one fwrite of the same bytes on plain stdio. Each point is a vector chunk
// of its own (36 bytes), so the stored form is 36 MB. Two ways of ours:
//  - store/ours: the property's write, which formats the chunks in blocks;
//  - store/ours_chunk_by_chunk: the same points through the writer's one-chunk operation,
//    as any writer gets them.
// Each run also counts the write system calls (syscw of /proc/self/io), shown as the
// counter write_syscalls, so the figures say how the bytes reach the file.
// Prints "ratio <name>: ours/peer = X" (time; below 1 means ours is faster).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "core/locator.h"
#include "datamodel/arrayproperties.h"
#include "persistence/binio.h"
#include "persistence/qorfile.h"
#include "ratio_reporter.h"
#include "refhost/host.h"

namespace {

constexpr int32_t kPoints = 1000000;

std::string scratch(const char* name) {
  return (std::filesystem::temp_directory_path() / (std::string("bench-arrayprop-") + name))
      .string();
}

// Write system calls of this process so far.
int64_t writeCalls() {
  std::ifstream io("/proc/self/io");
  std::string key;
  int64_t value = 0;
  while (io >> key >> value)
    if (key == "syscw:") return value;
  return -1;
}

Vector3DArrayProperty& property() {
  static Vector3DArrayProperty* p = [] {
    auto* points = new Vector3DArray();
    points->reserve(kPoints);
    for (int32_t i = 0; i < kPoints; ++i) points->append(QorVector(i * 0.5, -i / 3.0, i % 17));
    return new Vector3DArrayProperty(QorString("points"), points, false, false);
  }();
  return *p;
}

// The file of the property, written once by ours.
enum class Way { Blocks, ChunkByChunk };
void store(const std::string& path, Way way) {
  std::FILE* f = std::fopen(path.c_str(), "wb");
  BinOutputFile out(f);
  QorFileWrite w(&out, false);
  w.beginFile();
  if (way == Way::Blocks) {
    property().write(&w);
  } else {
    Vector3DArray* points = property().getValue();
    w.beginObject(&property(), 0);
    w.write(points->size());
    for (int32_t i = 1; i <= points->size(); ++i) w.write(points->items().get(i));
    w.endObject();
  }
}

const std::vector<char>& fileBytes() {
  static const std::vector<char> bytes = [] {
    std::string path = scratch("once");
    store(path, Way::Blocks);
    std::ifstream in(path, std::ios::binary);
    std::vector<char> b((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::filesystem::remove(path);
    return b;
  }();
  return bytes;
}

template <Way way>
void storeOurs(benchmark::State& state) {
  const std::string path = scratch("ours");
  int64_t calls = 0;
  for (auto _ : state) {
    int64_t before = writeCalls();
    store(path, way);
    calls = writeCalls() - before;
  }
  if (static_cast<size_t>(std::filesystem::file_size(path)) != fileBytes().size())
    state.SkipWithError("the stored file differs in size");
  state.counters["write_syscalls"] = static_cast<double>(calls);
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(fileBytes().size()));
  std::filesystem::remove(path);
}

void storeFwrite(benchmark::State& state) {
  const std::string path = scratch("peer");
  const std::vector<char>& bytes = fileBytes();
  int64_t calls = 0;
  for (auto _ : state) {
    int64_t before = writeCalls();
    std::FILE* f = std::fopen(path.c_str(), "wb");
    std::fwrite(bytes.data(), 1, bytes.size(), f);
    std::fclose(f);
    calls = writeCalls() - before;
  }
  state.counters["write_syscalls"] = static_cast<double>(calls);
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes.size()));
  std::filesystem::remove(path);
}

}  // namespace

int main(int argc, char** argv) {
  refhost::boot("full");
  qor::setLocator(&refhost::manager());
  fileBytes();
  auto ms = benchmark::kMillisecond;
  benchmark::RegisterBenchmark("store/ours", storeOurs<Way::Blocks>)->Unit(ms);
  benchmark::RegisterBenchmark("store/ours_chunk_by_chunk", storeOurs<Way::ChunkByChunk>)->Unit(ms);
  benchmark::RegisterBenchmark("store/fwrite", storeFwrite)->Unit(ms);
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.printRatio("store_vs_fwrite", "store/ours", "store/fwrite");
  reporter.printRatio("store_chunk_by_chunk_vs_fwrite", "store/ours_chunk_by_chunk",
                      "store/fwrite");
  benchmark::Shutdown();
  return 0;
}
