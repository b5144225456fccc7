// The reference host's document file: golden bytes written out by hand, random documents
// round trip, every cut and every one-byte change of the golden file, records saving
// refuses, and the save that replaces a file only when it succeeds.
#include "refhost/docfile.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <random>

#include "testkit.h"

namespace {

using namespace testkit;
using refhost::DocumentSnapshot, refhost::Geometry, refhost::ObjectRecord;

Bytes i32(int64_t v, int n = 4) {
  Bytes b;
  be(b, static_cast<uint64_t>(v), n);
  return b;
}
Bytes f64(std::initializer_list<double> values) {
  Bytes b;
  for (double d : values) be(b, std::bit_cast<uint64_t>(d), 8);
  return b;
}
Bytes text(const std::string& s) {
  return chunk(0x010003, 0, Bytes(s.begin(), s.end()));
}
Bytes text(const std::u16string& s) {
  Bytes b;
  for (char16_t u : s) be(b, u, 2);
  return chunk(0x010005, 0, b);
}
const Bytes kMatrix = chunk(0x010004, 0, f64({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
const Bytes kObjectId = hex("6D0C1F3B 2B47 4E1C 9A55 3E8B7C2D4F10");
// A line feature's record holding only its name; the host fills the rest with defaults.
const Bytes kLineRecord = chunk(
    0x0B0002, 1,
    hex("6B1E2A02 3C4D 4E5F 8011 2233 4455 6602") + i32(1) + text(u"Name") + i32(3) + text(u"L"));
const Bytes kFeatures =
    chunk(0x0D0C08, 0, i32(1) + text(std::string("f")) + hex("01") + kLineRecord);
// A curve set at tolerance 1e-6 holding that line at index 2 of 2 (index 1 a gap).
const Bytes kCurveSetRecord = chunk(0x0B0002, 1,
                                    hex("6B1E2A0D 3C4D 4E5F 8011 2233 4455 660D") + f64({1e-6}) +
                                        i32(2) + i32(1) + i32(2) + kLineRecord);
const Bytes kCurveSet = chunk(0x0D0C09, 0, kCurveSetRecord);
const Bytes kGeometryHead = hex("01 00") + i32(0) + i32(0) + i32(3, 8) + i32(1, 8);

const Bytes kGolden = chunk(
    0x574558, 1,
    chunk(
        0x0B0002, 1,
        hex("6D0C1F3A 2B47 4E1C 9A55 3E8B7C2D4F10") + i32(3) +
            chunk(0x0B0002, 1,
                  kObjectId + i32(1) + text(u"G") + text(std::string("Section")) + hex("01") +
                      i32(0) + hex("01 00") + chunk(0x0D0C01, 0, i32(0)) + kMatrix) +
            chunk(0x0B0002, 1,
                  kObjectId + i32(2) + text(u"p\u00e9") + text(std::string("Polygon")) + hex("00") +
                      i32(1) + hex("01 01") +
                      chunk(0x0D0C01, 0, i32(1) + text(std::string("faces")) + hex("01")) +
                      kMatrix + kFeatures +
                      chunk(0x0D0C02, 0,
                            kGeometryHead + chunk(0x0D0C03, 0, f64({0, 0, 0, 1, 0, 0, 0, 2, 0.5})) +
                                chunk(0x0D0C06, 0, i32(0) + i32(1) + i32(2)))) +
            chunk(0x0B0002, 1,
                  kObjectId + i32(3) + text(u"c") + text(std::string("Curve")) + hex("00") +
                      i32(0) + hex("01 00") + chunk(0x0D0C01, 0, i32(0)) + kMatrix + kCurveSet) +
            chunk(0x0D0C07, 0, i32(1) + text(std::string("top")) + i32(1)) + i32(4)));

ObjectRecord record(int32_t id, std::u16string name, std::string phase, bool group, int32_t parent,
                    bool active) {
  ObjectRecord o;
  o.id = id, o.name = name, o.phase = phase, o.isGroup = group, o.parentId = parent;
  o.active = active;
  return o;
}

DocumentSnapshot goldenDoc() {
  DocumentSnapshot d;
  d.objects = {record(1, u"G", "Section", true, 0, false),
               record(2, u"p\u00e9", "Polygon", false, 1, true),
               record(3, u"c", "Curve", false, 0, false)};
  d.objects[1].prims["faces"] = true;
  auto g = std::make_shared<Geometry>();
  g->kind = Geometry::Kind::Mesh;
  g->positions = {0, 0, 0, 1, 0, 0, 0, 2, 0.5};
  g->triangles = {0, 1, 2};
  d.objects[1].geometry = g;
  d.objects[1].features = {{"f", true, kLineRecord}};
  d.objects[2].curveSet = kCurveSetRecord;
  d.namedReferences = {{"top", 1}};
  d.nextId = 4;
  return d;
}

Bytes save(const DocumentSnapshot& d, std::string* why = nullptr) {
  RecordingOutput out;
  bool ok = refhost::writeDocument(out, d, why);
  out.flush();
  return ok ? out.bytes() : Bytes();
}
bool open(const Bytes& b, DocumentSnapshot* d, std::string* why = nullptr) {
  BinInputMemory in(b.data(), b.size());
  return refhost::readDocument(in, "doc", d, why);
}

void expectSame(const DocumentSnapshot& a, const DocumentSnapshot& b) {
  ASSERT_EQ(a.objects.size(), b.objects.size());
  for (size_t i = 0; i < a.objects.size(); ++i) {
    const ObjectRecord &x = a.objects[i], &y = b.objects[i];
    EXPECT_TRUE(x.id == y.id && x.name == y.name && x.phase == y.phase && x.isGroup == y.isGroup &&
                x.parentId == y.parentId && x.visible == y.visible && x.active == y.active &&
                x.prims == y.prims && x.features == y.features && x.curveSet == y.curveSet &&
                !std::memcmp(x.matrix, y.matrix, sizeof x.matrix))
        << i;
    ASSERT_EQ(!x.geometry, !y.geometry) << i;
    if (!x.geometry) continue;
    const Geometry &g = *x.geometry, &h = *y.geometry;
    EXPECT_TRUE(g.kind == h.kind && g.positions == h.positions && g.normals == h.normals &&
                g.colors == h.colors && g.triangles == h.triangles && g.rows == h.rows &&
                g.columns == h.columns)
        << i;
  }
  EXPECT_EQ(a.namedReferences, b.namedReferences);
  EXPECT_EQ(a.nextId, b.nextId);
}

TEST(DocFile, GoldenBytesBothWaysAndEveryCutOrChangedByteIsRefusedOrSavesAsItReads) {
  EXPECT_EQ(save(goldenDoc()), kGolden);
  DocumentSnapshot d;
  ASSERT_TRUE(open(kGolden, &d));
  expectSame(d, goldenDoc());
  DocumentSnapshot kept = goldenDoc();
  std::string why;
  for (size_t n = 0; n < kGolden.size(); ++n)
    ASSERT_FALSE(open(Bytes(kGolden.begin(), kGolden.begin() + n), &kept, &why)) << n;
  EXPECT_EQ(why, "'doc' is damaged: reading stopped at byte 0 (this is not a document file)");
  expectSame(kept, goldenDoc());  // untouched by every refusal
  // The low byte of each count (objects, features, vertices, triangles, filled curves) and the
  // curve set's class id.
  size_t geometry =
      std::search(kGolden.begin(), kGolden.end(), kGeometryHead.begin(), kGeometryHead.end()) -
      kGolden.begin();
  size_t features =
      std::search(kGolden.begin(), kGolden.end(), kFeatures.begin(), kFeatures.end()) -
      kGolden.begin();
  size_t curves =
      std::search(kGolden.begin(), kGolden.end(), kCurveSetRecord.begin(), kCurveSetRecord.end()) -
      kGolden.begin();
  std::vector<size_t> counts = {43,          features + 15, geometry + 17, geometry + 25,
                                curves + 43, curves + 12};
  for (size_t at = 0; at < kGolden.size(); ++at)
    for (uint8_t change : {0xFF, 0x01}) {
      Bytes b = kGolden;
      b[at] = change == 0xFF ? uint8_t(~b[at]) : uint8_t(b[at] + 1);
      bool ok = open(b, &d);
      if (ok) {
        EXPECT_EQ(save(d), b) << at;
      }
      if (std::count(counts.begin(), counts.end(), at)) {
        EXPECT_FALSE(ok) << at;
      }
    }
}

TEST(DocFile, RandomDocumentsRoundTripThroughAFile) {
  std::mt19937 rng(7);
  auto pick = [&](int n) { return static_cast<int>(rng() % uint32_t(n)); };
  TempDir dir;
  for (int turn = 0; turn < 20; ++turn) {
    DocumentSnapshot d;
    int n = 1 + pick(6);
    for (int i = 0; i < n; ++i) {
      ObjectRecord o =
          record(2 * i + 1, u"", std::string(pick(4), char('a' + i)), !pick(3), 0, !pick(2));
      o.visible = !pick(2);
      for (int k = pick(5); k > 0; --k) o.name += char16_t(rng());
      if (i && d.objects[i - 1].isGroup) o.parentId = d.objects[i - 1].id;
      for (int k = pick(3); k > 0; --k) o.prims[std::string(1, char(rng()))] = pick(2);
      for (double& m : o.matrix) m = std::bit_cast<double>(uint64_t(rng()) << 32 | rng());
      if (!o.isGroup && pick(4)) {
        auto g = std::make_shared<Geometry>();
        g->kind = Geometry::Kind(pick(3));
        int v = pick(200) + (turn % 5 ? 0 : 70000);  // some arrays span many read blocks
        if (g->kind == Geometry::Kind::Scan)
          g->rows = 1 + pick(4), v = g->rows * (g->columns = pick(50));
        for (int k = 0; k < 3 * v; ++k) g->positions.push_back(double(rng()) / 7);
        if (pick(2)) g->normals.assign(3 * v, float(pick(9)) / 3);
        if (pick(2)) g->colors.assign(3 * v, 0.25f);
        for (int k = v ? 3 * pick(100) : 0; k > 0; --k) g->triangles.push_back(pick(v));
        o.geometry = g;
      }
      d.objects.push_back(o);
    }
    d.namedReferences = {{"b", d.objects.back().id}, {"a", 1}};
    d.nextId = 2 * n + pick(3);
    std::string path = dir.file("d.doc"), why;
    std::vector<float> told;
    ASSERT_TRUE(refhost::writeDocumentFile(path, d, &why, [&](float f) {
      return told.push_back(f), true;
    })) << why;
    DocumentSnapshot back;
    ASSERT_TRUE(refhost::readDocumentFile(path, &back, &why)) << why;
    std::swap(d.namedReferences[0], d.namedReferences[1]);  // saved sorted by name
    expectSame(back, d);
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()) && told.back() == 1.0f);
    EXPECT_EQ(save(back), readFile(path));
  }
}

TEST(DocFile, RecordsThatCannotBeStoredAreRefusedAndAFailedSaveKeepsTheFile) {
  TempDir dir;
  std::string path = dir.file("d.doc"), why;
  ASSERT_TRUE(refhost::writeDocumentFile(path, goldenDoc(), &why));
  auto mesh = [](auto edit) {
    DocumentSnapshot d = goldenDoc();
    auto g = std::make_shared<Geometry>(*d.objects[1].geometry);
    edit(d, *g);
    d.objects[1].geometry = g;
    return d;
  };
  std::pair<DocumentSnapshot, std::string> bad[] = {
      {mesh([](auto&, Geometry& g) { g.triangles[2] = 3; }), "a triangle names vertex 3 of 3"},
      {mesh([](auto&, Geometry& g) { g.kind = Geometry::Kind::Scan, g.rows = 2, g.columns = 2; }),
       "rows 2 times columns 2 is not the vertex count 3"},
      {mesh([](auto&, Geometry& g) {
         g.normals = {1, 2};
       }),
       "normals hold 2 values for 3 vertices"},
      {mesh([](auto& d, Geometry&) { d.objects[1].parentId = 2; }), "parent id 2 names no group"},
      {mesh([](auto& d, Geometry&) { d.objects[1].id = 1; }), "object id 1 is used twice"},
      {mesh([](auto& d, Geometry&) { d.nextId = 2; }), "object id 2 is not below the next id 2"},
      {mesh([](auto& d, Geometry&) { d.namedReferences[0].second = 9; }),
       "named reference 'top' names no object 9"},
      {mesh([](auto& d, Geometry&) { d.objects[1].curveSet = kCurveSetRecord; }),
       "object 2: a curve set belongs to \"Curve\" objects, not \"Polygon\""},
  };
  for (auto& [doc, reason] : bad) {
    EXPECT_FALSE(refhost::writeDocumentFile(path, doc, &why));
    EXPECT_NE(why.find(reason), std::string::npos) << why;
  }
  EXPECT_FALSE(refhost::writeDocumentFile(path, goldenDoc(), &why, [](float) { return false; }));
  EXPECT_EQ(why, "cannot save '" + path + "': saving was cancelled");
  EXPECT_EQ(readFile(path), kGolden);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path), {}), 1);
}

}  // namespace
