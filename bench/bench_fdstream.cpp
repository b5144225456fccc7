// The descriptor streams against plain read/write calls of 64 KiB over the same 100 MB,
// a byte-wise read against std::filebuf, and the block copy of a file against
// std::filesystem::copy_file. Files live in the system's temporary directory.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/qorfdstreambuf.h"
#include "base/qorpath.h"
#include "ratio_reporter.h"

namespace {
constexpr size_t kBlock = 64 * 1024;
constexpr size_t kTotal = 100'000'000;
constexpr size_t kBytewise = 10'000'000;

std::string scratch(const char* name) {
  return (std::filesystem::temp_directory_path() /
          ("brindle-bench-fd-" + std::to_string(::getpid()) + "-" + name))
      .string();
}

const std::vector<char>& block() {
  static const std::vector<char> b = [] {
    std::vector<char> v(kBlock);
    for (size_t i = 0; i < kBlock; ++i) v[i] = char(i * 7);
    return v;
  }();
  return b;
}

void ensureSource() {
  static bool made = false;
  if (made) return;
  const int fd = ::open(scratch("src").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  for (size_t done = 0; done < kTotal; done += kBlock)
    if (::write(fd, block().data(), std::min(kBlock, kTotal - done)) < 0) break;
  ::close(fd);
  made = true;
}

void write_ours(benchmark::State& state) {
  const QorString path = QorString::fromUtf8(scratch("out").c_str());
  for (auto _ : state) {
    QorOfstream out(path, QorOpenMode::kOut | QorOpenMode::kBinary);
    for (size_t done = 0; done < kTotal; done += kBlock)
      out.write(block().data(), std::streamsize(std::min(kBlock, kTotal - done)));
    out.close();
    benchmark::DoNotOptimize(out.good());
  }
  state.SetBytesProcessed(int64_t(state.iterations() * kTotal));
}

void write_raw(benchmark::State& state) {
  for (auto _ : state) {
    const int fd = ::open(scratch("out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    for (size_t done = 0; done < kTotal; done += kBlock)
      benchmark::DoNotOptimize(::write(fd, block().data(), std::min(kBlock, kTotal - done)));
    ::close(fd);
  }
  state.SetBytesProcessed(int64_t(state.iterations() * kTotal));
}

void read_ours(benchmark::State& state) {
  ensureSource();
  std::vector<char> buffer(kBlock);
  const QorString path = QorString::fromUtf8(scratch("src").c_str());
  for (auto _ : state) {
    QorIfstream in(path, QorOpenMode::kIn | QorOpenMode::kBinary);
    size_t total = 0;
    while (in.read(buffer.data(), kBlock) || in.gcount() > 0) total += size_t(in.gcount());
    if (total != kTotal) state.SkipWithError("short read");
  }
  state.SetBytesProcessed(int64_t(state.iterations() * kTotal));
}

void read_raw(benchmark::State& state) {
  ensureSource();
  std::vector<char> buffer(kBlock);
  for (auto _ : state) {
    const int fd = ::open(scratch("src").c_str(), O_RDONLY);
    size_t total = 0;
    for (ssize_t got; (got = ::read(fd, buffer.data(), kBlock)) > 0;) total += size_t(got);
    ::close(fd);
    if (total != kTotal) state.SkipWithError("short read");
  }
  state.SetBytesProcessed(int64_t(state.iterations() * kTotal));
}

// Byte by byte over the first kBytewise bytes.
void bytes_ours(benchmark::State& state) {
  ensureSource();
  const QorString path = QorString::fromUtf8(scratch("src").c_str());
  for (auto _ : state) {
    QorIfstream in(path, QorOpenMode::kIn | QorOpenMode::kBinary);
    std::streambuf* b = in.rdbuf();
    unsigned sum = 0;
    for (size_t i = 0; i < kBytewise; ++i) sum += unsigned(b->sbumpc());
    benchmark::DoNotOptimize(sum);
  }
}

void bytes_filebuf(benchmark::State& state) {
  ensureSource();
  for (auto _ : state) {
    std::ifstream in(scratch("src"), std::ios::binary);
    std::streambuf* b = in.rdbuf();
    unsigned sum = 0;
    for (size_t i = 0; i < kBytewise; ++i) sum += unsigned(b->sbumpc());
    benchmark::DoNotOptimize(sum);
  }
}

void copy_ours(benchmark::State& state) {
  ensureSource();
  const QorString from = QorString::fromUtf8(scratch("src").c_str());
  const QorString to = QorString::fromUtf8(scratch("copy").c_str());
  for (auto _ : state)
    if (!QorFs::copyFile(from, to)) state.SkipWithError("copy failed");
  state.SetBytesProcessed(int64_t(state.iterations() * kTotal));
}

void copy_std(benchmark::State& state) {
  ensureSource();
  for (auto _ : state)
    std::filesystem::copy_file(scratch("src"), scratch("copy"),
                               std::filesystem::copy_options::overwrite_existing);
  state.SetBytesProcessed(int64_t(state.iterations() * kTotal));
}

}  // namespace

BENCHMARK(write_ours)->Name("write/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(write_raw)->Name("write/raw64k")->Unit(benchmark::kMillisecond);
BENCHMARK(read_ours)->Name("read/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(read_raw)->Name("read/raw64k")->Unit(benchmark::kMillisecond);
BENCHMARK(bytes_ours)->Name("bytes/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(bytes_filebuf)->Name("bytes/filebuf")->Unit(benchmark::kMillisecond);
BENCHMARK(copy_ours)->Name("copy/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(copy_std)->Name("copy/std")->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.printRatio("write_64k_vs_raw", "write/ours", "write/raw64k");
  reporter.printRatio("read_64k_vs_raw", "read/ours", "read/raw64k");
  reporter.printRatio("bytewise_vs_filebuf", "bytes/ours", "bytes/filebuf");
  reporter.printRatio("copyFile_vs_std_copy_file", "copy/ours", "copy/std");
  for (const char* name : {"src", "out", "copy"}) {
    std::error_code ec;
    std::filesystem::remove(scratch(name), ec);
  }
  return 0;
}
