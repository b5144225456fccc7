// The tests' own tools, shared by every folder: bytes written out by hand (big-endian
// values, hex text, the chunk encoder of the data-model file), recording and trickling
// streams, a private temporary directory, the assertion recorder, catching the system's
// exception and recording the events a data source fires.
#pragma once
#include <gtest/gtest.h>
#include <unistd.h>

#include <cctype>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>
#include <vector>

#include "base/wexrealloc.h"
#include "core/platformexception.h"
#include "datamodel/iqorpropertymap.h"
#include "datamodel/property.h"
#include "persistence/memstream.h"
#include "persistence/qorfile.h"

namespace testkit {

using Bytes = std::vector<uint8_t>;

// Appends `v` big-endian in `n` bytes: the tests' own encoder, independent of the streams.
inline void be(Bytes& out, uint64_t v, int n) {
  for (int i = n - 1; i >= 0; --i) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

// Big-endian bytes of 32-bit words.
inline Bytes be(std::initializer_list<uint32_t> words) {
  Bytes b;
  for (uint32_t w : words) be(b, w, 4);
  return b;
}

inline Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// Bytes from hex text; anything but hex digits is for the eye.
inline Bytes hex(const std::string& text) {
  Bytes b;
  std::string pair;
  for (char ch : text) {
    if (!std::isxdigit(static_cast<unsigned char>(ch))) continue;
    pair += ch;
    if (pair.size() == 2)
      b.push_back(static_cast<uint8_t>(std::stoul(pair, nullptr, 16))), pair.clear();
  }
  return b;
}

// A chunk of the data-model file: the word (tag << 8 | version), the length of `width`
// bytes counting the header, the payload.
inline Bytes chunk(uint32_t tag, uint32_t version, const Bytes& payload, int width = 8) {
  Bytes b;
  be(b, tag << 8 | version, 4);
  be(b, payload.size() + 4 + static_cast<uint64_t>(width), width);
  return b + payload;
}

// A memory stream that records the size of every raw write and counts seeks.
class RecordingOutput : public BinOutputMemory {
 public:
  uint64_t writeRaw(const void* buffer, uint64_t count) override {
    rawWrites.push_back(count);
    return BinOutputMemory::writeRaw(buffer, count);
  }
  bool seek(int64_t position, bool fromStart) override {
    ++seeks;
    return BinOutputMemory::seek(position, fromStart);
  }
  Bytes bytes() const { return Bytes(data(), data() + size()); }
  std::vector<uint64_t> rawWrites;
  int seeks = 0;
};

// A source that hands out at most `step` bytes per raw read, as a pipe might.
class TricklingInput : public BinInputMemory {
 public:
  TricklingInput(const Bytes& b, uint64_t step) : BinInputMemory(b.data(), b.size()), step_(step) {}
  uint64_t readRaw(void* buffer, uint64_t count) override {
    ++reads;
    return BinInputMemory::readRaw(buffer, count < step_ ? count : step_);
  }
  int reads = 0;

 private:
  uint64_t step_;
};

// What `fn(BinOutput&)` writes on a fresh memory stream of the given version, flushed.
template <class Fn>
Bytes streamed(Fn fn, int32_t version = 0) {
  RecordingOutput out;
  out.setVersion(version);
  EXPECT_TRUE(fn(static_cast<BinOutput&>(out)));
  EXPECT_TRUE(out.flush());
  return out.bytes();
}

// What a value's own write(BinOutput&) puts on a stream of the given version.
template <class V>
Bytes written(const V& v, int32_t version = 0) {
  return streamed([&](BinOutput& o) { return v.write(o); }, version);
}

// Set members of a bit set in ascending order, walked with nextSet.
template <class V>
std::vector<int32_t> members(const V& v) {
  std::vector<int32_t> m;
  for (int32_t i = v.nextSet(-1); i >= 0; i = v.nextSet(i)) m.push_back(i);
  return m;
}

inline std::vector<int32_t> members(const std::vector<bool>& model) {
  std::vector<int32_t> m;
  for (size_t i = 0; i < model.size(); ++i)
    if (model[i]) m.push_back(static_cast<int32_t>(i));
  return m;
}

// What `fn(QorFileWrite&)` writes through a chunk writer on a stream of `generation`.
template <class Fn>
Bytes filed(int32_t generation, Fn fn) {
  RecordingOutput out;
  out.setVersion(generation);
  {
    QorFileWrite w(&out, false);
    fn(w);
    EXPECT_TRUE(w.good());
  }
  EXPECT_TRUE(out.flush());
  return out.bytes();
}

// A chunk reader over bytes it owns; `width` 0 leaves the length width to the root.
struct FileReader {
  explicit FileReader(const Bytes& b, int width = 8) : bytes(b), in(bytes.data(), bytes.size()) {
    if (width) in.setLengthWidth(width * 8);
    r.attach(&in);
  }
  Bytes bytes;
  BinInputMemory in;
  QorFileRead r;
};

// A fresh directory under the system's temporary directory, removed with its contents.
struct TempDir {
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "brindle-XXXXXX").string();
    path = mkdtemp(pattern.data()) ? pattern : std::string();
  }
  ~TempDir() {
    std::error_code ec;
    if (!path.empty()) std::filesystem::remove_all(path, ec);
  }
  std::string file(const char* name) const { return path + "/" + name; }
  std::string path;
};

inline Bytes readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeFile(const std::string& path, const Bytes& b) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(b.data()), static_cast<std::streamsize>(b.size()));
}

// Records failed checks instead of ending the process, for the lifetime of the object;
// each failed check gets `answer`.
struct AssertRecorder {
  struct Entry {
    std::string expr, file;
    int32_t line;
  };
  explicit AssertRecorder(int answer = 0) : answer(answer) { wexSetAssertCallback(&record, this); }
  ~AssertRecorder() { wexSetAssertCallback(nullptr, nullptr); }
  AssertRecorder(const AssertRecorder&) = delete;
  static int record(void* self, const char* expr, const char* file, int32_t line) {
    auto* r = static_cast<AssertRecorder*>(self);
    r->entries.push_back({expr, file, line});
    return r->answer;
  }
  std::vector<std::string> exprs() const {
    std::vector<std::string> e;
    for (const Entry& x : entries) e.push_back(x.expr);
    return e;
  }
  std::vector<Entry> entries;
  int answer;
};

// What a call raised: the code and the message as UTF-8; code 0 when nothing was raised.
struct Raised {
  int32_t code = 0;
  std::string text;
};

template <class F>
Raised raised(F&& f) {
  Raised r;
  try {
    f();
  } catch (PlatformException* e) {
    r.code = e->code;
    r.text = e->message.utf8();
    delete e;
  }
  return r;
}

// The printed value of a property.
inline std::string printed(IQorProperty* p) {
  QorString out;
  p->printValue(p->getName(), out);
  return out.utf8();
}

// Records every event it hears: the name, the sender, the arguments object (compare only:
// it dies after the firing) and each property of the arguments in key order with its
// class and printed value. Throws 42 from the next delivery when `throwNext` is set.
class EventRecorder : public IQorEventSubscriber {
 public:
  struct Arg {
    std::string key, cls, printed;
    bool hasEvents = false;
    IQorProperty* property = nullptr;  // compare, never use
  };
  struct Heard {
    std::string event;
    IQorDataEventSource* sender = nullptr;
    IQorDataEventArgs* args = nullptr;
    std::vector<Arg> list;
    const Arg* arg(const std::string& key) const {
      for (const Arg& a : list)
        if (a.key == key) return &a;
      return nullptr;
    }
    std::vector<std::string> keys() const {
      std::vector<std::string> k;
      for (const Arg& a : list) k.push_back(a.key);
      return k;
    }
  };
  bool handleEvent(IQorDataEventSource* sender, const QorCString& event,
                   IQorDataEventArgs* args) override {
    Heard h{event.c_str(), sender, args, {}};
    if (auto* map = qorQuery<IQorPropertyMap>(args, "IQorPropertyMap")) {
      std::string all = map->propertyNames().utf8();
      for (size_t start = 0; !all.empty() && start <= all.size();) {
        size_t comma = all.find(',', start);
        std::string key = all.substr(start, comma - start);
        IQorProperty* p = map->getProperty(key.c_str());
        h.list.push_back(
            {key, p ? p->className() : "", p ? printed(p) : "", p && p->eventsEnabled(), p});
        if (comma == std::string::npos) break;
        start = comma + 1;
      }
    }
    heard.push_back(h);
    if (throwNext) {
      throwNext = false;
      throw 42;
    }
    return false;
  }
  void queryInterface(const char* name, void** out, uintptr_t) override {
    *out = nullptr;
    if (name && qorNameIs(name, "IQorEventSubscriber"))
      *out = static_cast<IQorEventSubscriber*>(this);
  }
  const char* className() override { return "EventRecorder"; }
  std::vector<Heard> heard;
  bool throwNext = false;
};

}  // namespace testkit
