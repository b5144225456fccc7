#include "refhost/docfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <set>

#include "hostapi/icurveset.h"
#include "persistence/binio.h"
#include "persistence/memstream.h"
#include "persistence/qorfile.h"
#include "refhost/curveset.h"
#include "refhost/featurehosts.h"

namespace refhost {

namespace {

// Class ids of the two object chunks, and the kinds of the plain chunks inside them.
const QorID kDocumentClass(0x6D0C1F3A, 0x2B47, 0x4E1C,
                           {0x9A, 0x55, 0x3E, 0x8B, 0x7C, 0x2D, 0x4F, 0x10});
const QorID kObjectClass(0x6D0C1F3B, 0x2B47, 0x4E1C,
                         {0x9A, 0x55, 0x3E, 0x8B, 0x7C, 0x2D, 0x4F, 0x10});
constexpr int32_t kDocumentVersion = 1;
constexpr int32_t kObjectVersion = 1;
constexpr uint32_t kPrims = 0x0D0C01;
constexpr uint32_t kGeometry = 0x0D0C02;
constexpr uint32_t kPositions = 0x0D0C03;
constexpr uint32_t kNormals = 0x0D0C04;
constexpr uint32_t kColors = 0x0D0C05;
constexpr uint32_t kTriangles = 0x0D0C06;
constexpr uint32_t kReferences = 0x0D0C07;
constexpr uint32_t kFeatures = 0x0D0C08;
constexpr uint32_t kCurveSet = 0x0D0C09;
constexpr uint8_t kHasNormals = 1;
constexpr uint8_t kHasColors = 2;

// Bulk arrays move this many values per call, so that progress is told between blocks.
constexpr uint64_t kBlock = 1 << 17;

// Turns n values of `Bits` read as wire bytes into host order where they lie. The byte
// shuffle is one instruction per vector where the processor has one.
template <class Bits>
void swapInPlace(uint8_t* p, uint64_t n) {
  for (uint64_t i = 0; i < n; ++i) {
    Bits b;
    std::memcpy(&b, p + i * sizeof b, sizeof b);
    b = qor::wire::swapBytes(b);
    std::memcpy(p + i * sizeof b, &b, sizeof b);
  }
}

__attribute__((target_clones("avx2", "default"))) void swap4(uint8_t* p, uint64_t n) {
  swapInPlace<uint32_t>(p, n);
}

__attribute__((target_clones("avx2", "default"))) void swap8(uint8_t* p, uint64_t n) {
  swapInPlace<uint64_t>(p, n);
}

template <class T>
void toHostOrder(T* values, uint64_t n) {
  static_assert(sizeof(T) == 4 || sizeof(T) == 8);
  (sizeof(T) == 4 ? swap4 : swap8)(reinterpret_cast<uint8_t*>(values), n);
}

std::string quoted(const std::string& path) {
  return "'" + path + "'";
}

// ---- what a record may hold ----

std::string checkGeometry(const Geometry& g) {
  if (static_cast<uint8_t>(g.kind) > 2)
    return "geometry kind " + std::to_string(static_cast<int>(g.kind)) + " is not known";
  uint64_t values = g.positions.size();
  if (values % 3)
    return "positions hold " + std::to_string(values) + " values, not x, y, z per vertex";
  if (!g.normals.empty() && g.normals.size() != values)
    return "normals hold " + std::to_string(g.normals.size()) + " values for " +
           std::to_string(values / 3) + " vertices";
  if (!g.colors.empty() && g.colors.size() != values)
    return "colours hold " + std::to_string(g.colors.size()) + " values for " +
           std::to_string(values / 3) + " vertices";
  if (g.triangles.size() % 3)
    return "triangles hold " + std::to_string(g.triangles.size()) + " vertex numbers";
  int64_t vertices = g.vertexCount();
  for (int32_t t : g.triangles)
    if (t < 0 || t >= vertices)
      return "a triangle names vertex " + std::to_string(t) + " of " + std::to_string(vertices);
  int64_t cells = int64_t(g.rows) * g.columns;
  if (g.rows < 0 || g.columns < 0 ||
      (cells != vertices && (g.kind == Geometry::Kind::Scan || cells)))
    return "rows " + std::to_string(g.rows) + " times columns " + std::to_string(g.columns) +
           " is not the vertex count " + std::to_string(vertices);
  return {};
}

}  // namespace

ICurveSet* readCurveSetRecord(const std::vector<uint8_t>& record, std::string* why) {
  IQorPersistable* read =
      readStoredRecord(record, why, "curve set", [](const QorID& id) -> IQorPersistable* {
        return id == kCurveSetClassId ? qorQuery<IQorPersistable>(makeCurveSet(), "IQorPersistable")
                                      : nullptr;
      });
  return qorQuery<ICurveSet>(read, "ICurveSet");
}

std::string checkDocument(const DocumentSnapshot& doc, int64_t* object) {
  *object = -1;
  std::map<int32_t, int64_t> index;
  for (size_t i = 0; i < doc.objects.size(); ++i) {
    *object = static_cast<int64_t>(i);
    int32_t id = doc.objects[i].id;
    if (id <= 0) return "object id " + std::to_string(id) + " is not positive";
    if (!index.emplace(id, i).second) return "object id " + std::to_string(id) + " is used twice";
    if (id >= doc.nextId)
      return "object id " + std::to_string(id) + " is not below the next id " +
             std::to_string(doc.nextId);
  }
  for (size_t i = 0; i < doc.objects.size(); ++i) {
    *object = static_cast<int64_t>(i);
    const ObjectRecord& o = doc.objects[i];
    // Up the parents: each must be a group, and the walk must end within the object count.
    int32_t parent = o.parentId;
    for (size_t steps = 0; parent != 0; ++steps) {
      auto it = index.find(parent);
      if (it == index.end() || !doc.objects[it->second].isGroup)
        return "parent id " + std::to_string(parent) + " names no group";
      if (steps >= doc.objects.size())
        return "the parents of object " + std::to_string(o.id) + " form a cycle";
      parent = doc.objects[it->second].parentId;
    }
    if (o.geometry) {
      std::string bad = checkGeometry(*o.geometry);
      if (!bad.empty()) return "object " + std::to_string(o.id) + ": " + bad;
    }
    for (const FeatureRecord& f : o.features) {
      std::string bad;
      IPtr<RefFeatureHost> h(readFeatureRecord(f.record, &bad));
      if (!h) return "object " + std::to_string(o.id) + ": feature '" + f.name + "': " + bad;
    }
    if (!o.curveSet.empty()) {
      if (o.isGroup || o.phase != "Curve")
        return "object " + std::to_string(o.id) +
               ": a curve set belongs to \"Curve\" objects, not " +
               (o.isGroup ? std::string("groups") : "\"" + o.phase + "\"");
      std::string bad;
      IPtr<ICurveSet> set(readCurveSetRecord(o.curveSet, &bad));
      if (!set) return "object " + std::to_string(o.id) + ": curve set: " + bad;
    }
  }
  *object = -1;
  for (size_t i = 0; i < doc.namedReferences.size(); ++i) {
    const auto& [name, id] = doc.namedReferences[i];
    if (i && !(doc.namedReferences[i - 1].first < name))
      return "named reference '" + name + "' is not after '" + doc.namedReferences[i - 1].first +
             "'";
    if (!index.count(id))
      return "named reference '" + name + "' names no object " + std::to_string(id);
  }
  if (doc.nextId < 1) return "the next id " + std::to_string(doc.nextId) + " is not positive";
  return {};
}

namespace {

// ---- writing ----

class Writer {
 public:
  Writer(BinOutput& out, const DocProgress& progress, uint64_t total)
      : out_(out), w_(&out, false), progress_(progress), total_(total ? total : 1) {}

  bool run(const DocumentSnapshot& doc) {
    w_.beginFile();
    w_.beginObjectChunk(kDocumentClass, kDocumentVersion);
    w_.write(static_cast<int32_t>(doc.objects.size()));
    for (const ObjectRecord& o : doc.objects)
      if (!object(o)) return false;
    w_.beginChunk(kReferences, 0);
    w_.write(static_cast<int32_t>(doc.namedReferences.size()));
    for (const auto& [name, id] : doc.namedReferences) {
      w_.writeValueChunk(qor::tag::kCString, name.data(), name.size());
      w_.write(id);
    }
    w_.endChunk();
    w_.write(doc.nextId);
    w_.endChunk();
    w_.endChunk();
    return w_.good() && tell(1.0f);
  }

  bool cancelled() const { return cancelled_; }

 private:
  bool object(const ObjectRecord& o) {
    w_.beginObjectChunk(kObjectClass, kObjectVersion);
    w_.write(o.id);
    w_.writeValueChunk(qor::tag::kString, o.name.data(), o.name.size());
    w_.writeValueChunk(qor::tag::kCString, o.phase.data(), o.phase.size());
    w_.write(uint8_t(o.isGroup));
    w_.write(o.parentId);
    w_.write(uint8_t(o.visible));
    w_.write(uint8_t(o.active));
    w_.beginChunk(kPrims, 0);
    w_.write(static_cast<int32_t>(o.prims.size()));
    for (const auto& [name, on] : o.prims) {
      w_.writeValueChunk(qor::tag::kCString, name.data(), name.size());
      w_.write(uint8_t(on));
    }
    w_.endChunk();
    w_.writeValueChunk(qor::tag::kMatrix, o.matrix, 16);
    if (!o.features.empty()) {
      w_.beginChunk(kFeatures, 0);
      w_.write(static_cast<int32_t>(o.features.size()));
      for (const FeatureRecord& f : o.features) {
        w_.writeValueChunk(qor::tag::kCString, f.name.data(), f.name.size());
        w_.write(uint8_t(f.visible));
        if (!f.record.empty() && !out_.write(f.record.data(), f.record.size())) return false;
      }
      w_.endChunk();
    }
    if (!o.curveSet.empty()) {
      w_.beginChunk(kCurveSet, 0);
      if (!out_.write(o.curveSet.data(), o.curveSet.size())) return false;
      w_.endChunk();
    }
    if (o.geometry) {
      const Geometry& g = *o.geometry;
      w_.beginChunk(kGeometry, 0);
      w_.write(static_cast<uint8_t>(g.kind));
      w_.write(
          uint8_t((g.normals.empty() ? 0 : kHasNormals) | (g.colors.empty() ? 0 : kHasColors)));
      w_.write(g.rows);
      w_.write(g.columns);
      out_.write(g.vertexCount());
      out_.write(g.triangleCount());
      if (!array(kPositions, g.positions)) return false;
      if (!g.normals.empty() && !array(kNormals, g.normals)) return false;
      if (!g.colors.empty() && !array(kColors, g.colors)) return false;
      if (!g.triangles.empty() && !array(kTriangles, g.triangles)) return false;
      w_.endChunk();
    }
    w_.endChunk();
    return w_.good();
  }

  template <class T>
  bool array(uint32_t tag, const GeometryArray<T>& values) {
    w_.beginChunk(tag, 0);
    for (uint64_t at = 0; at < values.size(); at += kBlock) {
      uint64_t n = std::min<uint64_t>(kBlock, values.size() - at);
      if (!out_.write(values.data() + at, n)) return false;
      done_ += n * sizeof(T);
      if (!tell(float(double(done_) / double(total_)))) return false;
    }
    return w_.endChunk();
  }

  bool tell(float fraction) {
    if (progress_ && !progress_(std::min(fraction, 1.0f))) cancelled_ = true;
    return !cancelled_;
  }

  BinOutput& out_;
  QorFileWrite w_;
  const DocProgress& progress_;
  uint64_t total_;
  uint64_t done_ = 0;
  bool cancelled_ = false;
};

// ---- reading ----

class Reader {
 public:
  Reader(BinInput& in, const DocProgress& progress) : in_(in), progress_(progress) {
    r_.attach(&in);
  }

  // Reads the whole document into *doc; on failure reason() and at() say what and where.
  bool run(DocumentSnapshot* doc) {
    // The root must say 8-byte lengths and span the whole source: nothing else is ours.
    uint32_t word = 0;
    uint64_t length = 0;
    bool root = in_.read(&word, 1) && in_.read(&length, 1) && word == (qor::tag::kRoot << 8 | 1) &&
                length == uint64_t(in_.size());
    in_.seek(0, true);
    if (!root || !r_.beginFile()) return fail("this is not a document file");
    if (!r_.beginChunk(qor::tag::kObject) || !(r_.objectId() == kDocumentClass))
      return fail("the document chunk is missing");
    if (r_.version() != kDocumentVersion) return versionFail("document");
    int32_t count = 0;
    if (!r_.read(count) || count < 0) return fail("bad object count " + std::to_string(count));
    std::vector<int64_t> starts;
    for (int32_t i = 0; i < count; ++i) {
      starts.push_back(in_.tell());
      doc->objects.emplace_back();
      if (!object(doc->objects.back())) return false;
    }
    int64_t refsAt = in_.tell();
    if (!r_.beginChunk(kReferences, 0)) return fail("the named references are missing");
    if (!r_.read(count) || count < 0 || count > r_.remaining() / 16)
      return fail("bad named reference count " + std::to_string(count));
    for (int32_t i = 0; i < count; ++i) {
      std::string name;
      int32_t id = 0;
      if (!text(name) || !r_.read(id)) return fail("a named reference is cut short");
      doc->namedReferences.emplace_back(std::move(name), id);
    }
    if (!close("named references")) return false;
    if (!r_.read(doc->nextId)) return fail("the next id is missing");
    if (!close("document") || !close("file")) return false;
    int64_t where;
    std::string bad = checkDocument(*doc, &where);
    if (!bad.empty()) {
      at_ = where >= 0 ? starts[static_cast<size_t>(where)] : refsAt;
      reason_ = bad;
      return false;
    }
    return tell();
  }

  int64_t at() const { return at_; }
  const std::string& reason() const { return reason_; }

 private:
  bool fail(const std::string& reason) {
    if (at_ < 0) {
      at_ = in_.tell();
      reason_ = reason;
    }
    return false;
  }

  bool versionFail(const char* what) {
    return fail("version " + std::to_string(r_.version()) + " of the " + what +
                " chunk is not known");
  }

  // Ends the innermost chunk, which must have been read to its end.
  bool close(const char* what) {
    int64_t here = in_.tell();
    if (!r_.good() || !r_.atEnd()) return fail(std::string("the ") + what + " chunk holds more");
    // A chunk that ran past its parent's end shows here: the close moves back.
    if (!r_.endChunk() || in_.tell() != here)
      return fail(std::string("the ") + what + " chunk does not end where it should");
    return true;
  }

  bool flag(bool* value) {
    uint8_t b = 2;
    if (!r_.read(b) || b > 1) return fail("a flag reads " + std::to_string(b));
    *value = b;
    return true;
  }

  template <class S>
  bool text(S& s) {
    uint32_t tag = sizeof(s[0]) == 1 ? qor::tag::kCString : qor::tag::kString;
    if (!r_.beginChunk(tag, 0)) return fail("a text chunk is missing");
    int64_t bytes = r_.remaining();
    if (bytes % int64_t(sizeof(s[0]))) return fail("a text chunk holds an odd byte count");
    s.resize(static_cast<size_t>(bytes) / sizeof(s[0]));
    if (!s.empty() && !in_.read(s.data(), s.size())) return fail("a text is cut short");
    return close("text");
  }

  bool object(ObjectRecord& o) {
    if (!r_.beginChunk(qor::tag::kObject) || !(r_.objectId() == kObjectClass))
      return fail("an object chunk is missing");
    if (r_.version() != kObjectVersion) return versionFail("object");
    if (!r_.read(o.id) || !text(o.name) || !text(o.phase) || !flag(&o.isGroup) ||
        !r_.read(o.parentId) || !flag(&o.visible) || !flag(&o.active))
      return fail("an object is cut short");
    int32_t count = 0;
    if (!r_.beginChunk(kPrims, 0)) return fail("the display primitives are missing");
    if (!r_.read(count) || count < 0 || count > r_.remaining() / 13)
      return fail("bad primitive count " + std::to_string(count));
    for (int32_t i = 0; i < count; ++i) {
      std::string name;
      bool on = false;
      if (!text(name) || !flag(&on)) return false;
      if (!o.prims.empty() && !(o.prims.rbegin()->first < name))
        return fail("primitive '" + name + "' is out of order");
      o.prims.emplace_hint(o.prims.end(), std::move(name), on);
    }
    if (!close("primitives")) return false;
    if (!r_.beginChunk(qor::tag::kMatrix, 0) || r_.remaining() != 128 || !in_.read(o.matrix, 16) ||
        !close("matrix"))
      return fail("the matrix is missing");
    if (!r_.atEnd() && r_.peekTag() == kFeatures && !features(o)) return false;
    if (!r_.atEnd() && r_.peekTag() == kCurveSet && !curveSet(o)) return false;
    if (!r_.atEnd()) {
      auto g = std::make_shared<Geometry>();
      if (!geometry(*g)) return false;
      o.geometry = std::move(g);
    }
    return close("object");
  }

  // Each feature: its name, the visible flag, and the host's record kept as its bytes.
  bool features(ObjectRecord& o) {
    int32_t count = 0;
    if (!r_.beginChunk(kFeatures, 0)) return fail("the features chunk is missing");
    if (!r_.read(count) || count < 1 || count > r_.remaining() / 42)
      return fail("bad feature count " + std::to_string(count));
    for (int32_t i = 0; i < count; ++i) {
      FeatureRecord f;
      if (!text(f.name) || !flag(&f.visible)) return false;
      int64_t start = in_.tell();
      if (!r_.beginChunk(qor::tag::kObject)) return fail("a feature record is missing");
      int64_t end = in_.tell() + r_.remaining();
      f.record.resize(static_cast<size_t>(end - start));
      if (!in_.seek(start, true) || !in_.read(f.record.data(), f.record.size()))
        return fail("a feature record is cut short");
      if (!close("feature record")) return false;
      o.features.push_back(std::move(f));
    }
    return close("features");
  }

  // The set's record kept as its bytes: exactly one object chunk.
  bool curveSet(ObjectRecord& o) {
    if (!r_.beginChunk(kCurveSet, 0)) return fail("the curve set chunk is missing");
    int64_t start = in_.tell();
    if (!r_.beginChunk(qor::tag::kObject)) return fail("a curve set record is missing");
    int64_t end = in_.tell() + r_.remaining();
    o.curveSet.resize(static_cast<size_t>(end - start));
    if (!in_.seek(start, true) || !in_.read(o.curveSet.data(), o.curveSet.size()))
      return fail("a curve set record is cut short");
    return close("curve set record") && close("curve set");
  }

  bool geometry(Geometry& g) {
    if (!r_.beginChunk(kGeometry, 0)) return fail("the geometry chunk is missing");
    uint8_t kind = 0, flags = 0;
    int64_t vertices = 0, triangles = 0;
    if (!r_.read(kind) || !r_.read(flags) || !r_.read(g.rows) || !r_.read(g.columns) ||
        !in_.read(&vertices, 1) || !in_.read(&triangles, 1))
      return fail("the geometry is cut short");
    if (kind > 2 || flags > 3 || (flags && !vertices))
      return fail("geometry kind " + std::to_string(kind) + " flags " + std::to_string(flags));
    g.kind = static_cast<Geometry::Kind>(kind);
    // Each count must fit what is left before anything is allocated for it.
    int64_t left = r_.remaining();
    if (vertices < 0 || triangles < 0 || vertices > left / 24 || triangles > left / 12)
      return fail("bad counts: " + std::to_string(vertices) + " vertices, " +
                  std::to_string(triangles) + " triangles");
    uint64_t v = uint64_t(vertices) * 3;
    if (!array(kPositions, g.positions, v)) return false;
    if ((flags & kHasNormals) && !array(kNormals, g.normals, v)) return false;
    if ((flags & kHasColors) && !array(kColors, g.colors, v)) return false;
    if (triangles && !array(kTriangles, g.triangles, uint64_t(triangles) * 3)) return false;
    if (!close("geometry")) return false;
    std::string bad = checkGeometry(g);
    return bad.empty() || fail(bad);
  }

  // A chunk of exactly `count` values. The vector is sized once without a fill; each block
  // of file bytes lands in its place and is turned to host order there while in the cache.
  // Blocks are larger than the stream's window, so the file hands them over directly.
  template <class T>
  bool array(uint32_t tag, GeometryArray<T>& values, uint64_t count) {
    if (!r_.beginChunk(tag, 0)) return fail("an array chunk is missing");
    if (uint64_t(r_.remaining()) != count * sizeof(T))
      return fail("an array chunk holds " + std::to_string(r_.remaining()) + " bytes for " +
                  std::to_string(count) + " values");
    constexpr uint64_t kRun = (256 * 1024) / sizeof(T);
    static_assert(kBlock % kRun == 0 && kRun * sizeof(T) > BinInputFile::kWindow);
    values.resize(count);
    for (uint64_t at = 0; at < count; at += kRun) {
      uint64_t n = std::min(kRun, count - at);
      if (!in_.readBytes(values.data() + at, n * sizeof(T))) return fail("an array is cut short");
      toHostOrder(values.data() + at, n);
      if ((at + n) % kBlock == 0 && !tell()) return false;
    }
    return close("array");
  }

  bool tell() {
    if (progress_ && !progress_(in_.size() ? float(double(in_.tell()) / double(in_.size())) : 1.0f))
      return fail("opening was cancelled");
    return true;
  }

  BinInput& in_;
  QorFileRead r_;
  const DocProgress& progress_;
  int64_t at_ = -1;
  std::string reason_;
};

uint64_t bulkBytes(const DocumentSnapshot& doc) {
  uint64_t total = 0;
  for (const ObjectRecord& o : doc.objects)
    if (o.geometry)
      total += o.geometry->positions.size() * 8 + o.geometry->normals.size() * 4 +
               o.geometry->colors.size() * 4 + o.geometry->triangles.size() * 4;
  return total;
}

}  // namespace

bool writeDocument(BinOutput& out, const DocumentSnapshot& doc, std::string* why,
                   const DocProgress& progress) {
  std::string scratch;
  if (!why) why = &scratch;
  // Named references go out sorted by name, so that the same document gives the same bytes.
  DocumentSnapshot sorted;
  const DocumentSnapshot* d = &doc;
  if (!std::is_sorted(doc.namedReferences.begin(), doc.namedReferences.end())) {
    sorted.namedReferences = doc.namedReferences;
    std::sort(sorted.namedReferences.begin(), sorted.namedReferences.end());
    sorted.objects = doc.objects;
    sorted.nextId = doc.nextId;
    d = &sorted;
  }
  int64_t where;
  std::string bad = checkDocument(*d, &where);
  if (!bad.empty()) {
    *why = "the document cannot be saved: " + bad;
    return false;
  }
  Writer writer(out, progress, bulkBytes(*d));
  if (writer.run(*d)) return true;
  *why = writer.cancelled() ? "saving was cancelled" : "writing failed";
  return false;
}

bool readDocument(BinInput& in, const std::string& name, DocumentSnapshot* out, std::string* why,
                  const DocProgress& progress) {
  DocumentSnapshot doc;
  Reader reader(in, progress);
  if (reader.run(&doc)) {
    *out = std::move(doc);
    return true;
  }
  if (why)
    *why = quoted(name) + " is damaged: reading stopped at byte " + std::to_string(reader.at()) +
           " (" + reader.reason() + ")";
  return false;
}

bool writeDocumentFile(const std::string& path, const DocumentSnapshot& doc, std::string* why,
                       const DocProgress& progress) {
  std::string scratch;
  if (!why) why = &scratch;
  // The new file gets the mode of the one it replaces, else the process's usual one.
  static std::atomic<int> serial{0};
  std::string temp = path + ".saving-" + std::to_string(getpid()) + "-" + std::to_string(serial++);
  int fd = open(temp.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  std::FILE* file = fd >= 0 ? fdopen(fd, "w+b") : nullptr;
  if (!file) {
    *why = "cannot save " + quoted(path) + ": cannot create " + quoted(temp) + ": " +
           std::strerror(errno);
    if (fd >= 0) close(fd);
    return false;
  }
  struct stat old;
  if (stat(path.c_str(), &old) == 0) fchmod(fd, old.st_mode & 07777);
  bool ok;
  {
    BinOutputFile stream(file);
    ok = writeDocument(stream, doc, why, progress);
    if (ok && !(stream.flush() && stream.close())) {
      *why = "writing failed";
      ok = false;
    }
  }
  if (ok && std::rename(temp.c_str(), path.c_str()) != 0) {
    *why = std::string("cannot rename over it: ") + std::strerror(errno);
    ok = false;
  }
  if (!ok) {
    std::remove(temp.c_str());
    *why = "cannot save " + quoted(path) + ": " + *why;
  }
  return ok;
}

bool readDocumentFile(const std::string& path, DocumentSnapshot* out, std::string* why,
                      const DocProgress& progress) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) {
    if (why) *why = "cannot open " + quoted(path) + ": " + std::strerror(errno);
    return false;
  }
  BinInputFile in(file);
  return readDocument(in, path, out, why, progress);
}

}  // namespace refhost
