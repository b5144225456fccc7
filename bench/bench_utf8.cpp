// UTF-8 both ways: QorString's encoder (the UTF-8 form of a wide string) and decoder
// (fromUtf8) against CPython's codec (PyUnicode_AsUTF8String, PyUnicode_DecodeUTF8) on the
// same texts. The texts stay within the basic plane, where encoding one unit at a time and
// standard UTF-8 give the same bytes. Each run prints "ratio <name>: ours/peer = X" (time
// per call, ours over the peer's, both measured in this run; below 1 means ours is faster).
#include <Python.h>
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "base/qorcstring.h"
#include "base/qorstring.h"
#include "ratio_reporter.h"

namespace {

struct Text {
  const char* name;
  std::u16string units;
  std::string utf8;
  PyObject* str = nullptr;  // the same text as a Python str
};

std::u16string repeat(const std::u16string& piece, size_t units) {
  std::u16string out;
  while (out.size() < units) out += piece;
  out.resize(units);
  return out;
}

std::vector<Text>& texts() {
  static std::vector<Text> all = [] {
    const size_t n = 16384;
    std::vector<Text> t;
    t.push_back(
        {"ascii", repeat(u"The quick brown fox jumps over the lazy dog. 0123456789\n", n), {}});
    t.push_back({"latin",
                 repeat(u"D\u00e9j\u00e0 vu: le caf\u00e9 na\u00efve \u00e0 l'\u00e9cole. ", n),
                 {}});
    t.push_back({"cyrillic",
                 repeat(u"\u0421\u044a\u0435\u0448\u044c \u0436\u0435 \u0435\u0449\u0451 ", n),
                 {}});
    t.push_back({"cjk", repeat(u"\u6587\u5b57\u5316\u3051\u306e\u8a66\u9a13\u3002", n), {}});
    for (Text& x : t) {
      QorString s(x.units.c_str());
      x.utf8 = s.utf8();
      x.str = PyUnicode_DecodeUTF8(x.utf8.data(), static_cast<Py_ssize_t>(x.utf8.size()), "strict");
    }
    return t;
  }();
  return all;
}

void encodeOurs(benchmark::State& state, const Text* t) {
  QorString s(t->units.c_str());
  for (auto _ : state) {
    QorCString out;
    out.assignUtf8(s);  // takes the freshly built form, so each round encodes again
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(t->utf8.size()));
}

void encodePeer(benchmark::State& state, const Text* t) {
  for (auto _ : state) {
    PyObject* bytes = PyUnicode_AsUTF8String(t->str);
    benchmark::DoNotOptimize(bytes);
    Py_DECREF(bytes);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(t->utf8.size()));
}

void decodeOurs(benchmark::State& state, const Text* t) {
  for (auto _ : state) {
    QorString s = QorString::fromUtf8(t->utf8.data(), static_cast<int32_t>(t->utf8.size()));
    benchmark::DoNotOptimize(s.wide());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(t->utf8.size()));
}

void decodePeer(benchmark::State& state, const Text* t) {
  for (auto _ : state) {
    PyObject* s =
        PyUnicode_DecodeUTF8(t->utf8.data(), static_cast<Py_ssize_t>(t->utf8.size()), "strict");
    benchmark::DoNotOptimize(s);
    Py_DECREF(s);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(t->utf8.size()));
}

// Prints encode and decode ratios of every text.
void printRatios(const RatioReporter& r) {
  for (const Text& t : texts())
    for (const char* way : {"encode", "decode"})
      r.printRatio(std::string(way) + "_" + t.name, std::string(way) + "/ours/" + t.name,
                   std::string(way) + "/python/" + t.name);
}

}  // namespace

int main(int argc, char** argv) {
  Py_Initialize();
  for (const Text& t : texts()) {
    benchmark::RegisterBenchmark((std::string("encode/ours/") + t.name).c_str(), encodeOurs, &t);
    benchmark::RegisterBenchmark((std::string("encode/python/") + t.name).c_str(), encodePeer, &t);
    benchmark::RegisterBenchmark((std::string("decode/ours/") + t.name).c_str(), decodeOurs, &t);
    benchmark::RegisterBenchmark((std::string("decode/python/") + t.name).c_str(), decodePeer, &t);
  }
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  printRatios(reporter);
  benchmark::Shutdown();
  return 0;
}
