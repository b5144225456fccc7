// The data-model file: golden bytes written out by hand, an independent chunk model that
// the writer must match byte for byte (in-buffer and seek-back length patching alike), and
// a reader fed with hand-built, corrupt, unfinished and cut files.
#include "persistence/qorfile.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "hostapi/iqorpersistable.h"
#include "persistence/iqorwriteable.h"
#include "testkit.h"

namespace {

using namespace testkit;

const QorID kClass(0x11223344, 0x5566, 0x7788, {0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff, 0x01});
const Bytes kClassBytes = hex("11223344 5566 7788 99aabbccddeeff01");
constexpr uint32_t kRoot = 0x574558, kObject = 0x0B0002, kString = 0x010005;

TEST(QorFileWrite, AFileOfEachWidthIsItsGoldenBytesAndReadsBackWithoutASetting) {
  TempDir dir;
  QorString wide(dir.file("a.wex").c_str()), narrow(dir.file("b.wex").c_str());
  {
    QorFileWrite w;  // a fresh file: 8-byte lengths, root version 1
    ASSERT_TRUE(w.open(wide) && w.write(QorCString("ab")) && w.close());
  }
  EXPECT_EQ(readFile(dir.file("a.wex")),
            hex("57455801 000000000000001A | 01000300 000000000000000E 6162"));
  QorFileRead r, r5;
  QorCString back;
  EXPECT_TRUE(r.open(wide) && r.good() && r.read(back) && r.atEnd() && r.endChunk());
  EXPECT_STREQ(back.c_str(), "ab");
  {
    QorFileWrite w;  // generation 5: 4-byte lengths, root version 0
    w.setVersion(5);
    ASSERT_TRUE(w.open(narrow));
    w.beginChunk(0x123456, 9);
    w.write(int32_t(-3));
    w.write(QorString(u"x"));
    w.endChunk();
  }  // the destructor finishes the file
  Bytes inner = be({0xFFFFFFFD}) + chunk(kString, 0, {0, 'x'}, 4);
  ASSERT_EQ(readFile(dir.file("b.wex")), chunk(kRoot, 0, chunk(0x123456, 9, inner, 4), 4));
  ASSERT_TRUE(r5.open(narrow));
  EXPECT_EQ(r5.stream()->lengthWidth(), 32);
  int32_t i = 0;
  QorString s;
  EXPECT_TRUE(r5.good() && r5.beginChunk(0x123456, 9) && r5.read(i) && r5.read(s) && r5.endChunk());
  EXPECT_TRUE(r5.atEnd() && i == -3 && s == QorString(u"x"));
}

TEST(QorFileWrite, ValueChunksInBothWidthsAndBareNumbers) {
  for (int32_t generation : {0, 5}) {
    const int width = generation == 0 ? 8 : 4;
    SCOPED_TRACE(width);
    auto one = [&](auto fn) { return filed(generation, fn); };
    EXPECT_EQ(one([](QorFileWrite& w) { w.write(QorString(u"ab")); }),
              chunk(kString, 0, {0, 'a', 0, 'b'}, width));
    EXPECT_EQ(one([](QorFileWrite& w) { w.write(QorString()); }), chunk(kString, 0, {}, width))
        << "a null string is an empty chunk";
    EXPECT_EQ(one([](QorFileWrite& w) { w.write(kClass); }),
              chunk(0x010008, 0, kClassBytes, width));
    EXPECT_EQ(one([](QorFileWrite& w) {
                w << 2.5 << 1.5f << 0xFFFFFFFEu << int32_t(7) << int8_t(-1) << uint8_t(0x80);
              }),
              hex("4004000000000000 3FC00000 FFFFFFFE 00000007 FF 80"))
        << "plain numbers travel bare";
  }
}

// A stored object: its class id right behind the header.
struct Stored : IQorWriteable, IQorPersistable {
  int32_t value = 0;
  void queryInterface(const char*, void** out, uintptr_t) override { *out = nullptr; }
  const char* className() override { return "Stored"; }
  QorID classId() override { return kClass; }
  bool write(IQorDataModelWriter* w) override {
    return w->beginObject(this, 3) && w->write(value) && w->endObject();
  }
  bool read(IQorDataModelReader* r) override {
    int32_t version = -1;
    bool ok = r->beginObject(this, &version) && version == 3 && r->read(value);
    return r->endObject() && ok;
  }
  bool write(QorFileWrite* w) override { return write(static_cast<IQorDataModelWriter*>(w)); }
  bool read(QorFileRead* r) override { return read(static_cast<IQorDataModelReader*>(r)); }
  void setWriteable(bool) override {}
  bool isWriteable() override { return true; }
};

TEST(QorFile, ObjectChunksCarryTheirClassIdPeeksDoNotMoveAndNamesPrecedeObjects) {
  Stored s;
  s.value = 7;
  auto asWriter = [&](QorFileWrite& w) { s.write(static_cast<IQorDataModelWriter*>(&w)); };
  for (int32_t generation : {0, 5}) {
    const int width = generation == 0 ? 8 : 4;
    Bytes expected = chunk(kObject, 3, kClassBytes + be({7}), width);
    EXPECT_EQ(filed(generation, asWriter), expected);
    EXPECT_EQ(
        filed(generation, [&](QorFileWrite& w) { w.write(static_cast<IQorPersistable*>(&s)); }),
        expected)
        << "through the persistable slot";
    FileReader f(expected, width);
    EXPECT_EQ(f.r.peekObjectId(), kClass);
    int32_t version = 0, other = 0;
    EXPECT_TRUE(f.r.isObject(kClass, &version) && !f.r.isObject(QorID(), &other));
    EXPECT_EQ(std::vector<int32_t>({version, other}), std::vector<int32_t>({3, -1}));
    EXPECT_EQ(f.in.tell(), 0) << "peeks do not move";
    Stored back;
    EXPECT_TRUE(back.read(&f.r) && back.value == 7 && f.r.objectId() == kClass);
  }
  FileReader f(filed(0, [&](QorFileWrite& w) {
    w.writeObjectName(QorString(u"radius"));
    asWriter(w);
    w.endObjectName();
    w.write(QorString(u""));
  }));
  EXPECT_TRUE(f.r.peekObjectName() == QorString(u"radius") && f.r.peekTag() == qor::tag::kString);
  int32_t version = 5, other = 5;
  EXPECT_TRUE(f.r.isChunk(qor::tag::kString, &version) && !f.r.isChunk(qor::tag::kObject, &other));
  EXPECT_EQ(std::vector<int64_t>({version, other, f.in.tell()}), std::vector<int64_t>({0, -1, 0}));
  QorID id;
  EXPECT_TRUE(f.r.readObjectName(f.r.peekObjectName(), &id) && id == kClass);
  EXPECT_EQ(f.r.peekTag(), qor::tag::kObject) << "stands in front of the object";
  Stored back;
  QorString empty(u"x");
  EXPECT_TRUE(back.read(&f.r) && f.r.endObjectName(QorString()) && back.value == 7);
  EXPECT_TRUE(f.r.read(empty) && empty.isEmpty() && !empty.isNull()) << "an owned empty text";
  EXPECT_TRUE(f.r.atEnd());
}

// ---- an independent model of the chunk tree ----

struct Node {
  uint32_t tag = 0;
  uint32_t version = 0;
  std::vector<Bytes> runs;  // runs[0], kids[0], runs[1], kids[1], ..., runs[n]
  std::vector<Node> kids;
};

Bytes encode(const Node& n, int width) {
  Bytes payload = n.runs[0];
  for (size_t i = 0; i < n.kids.size(); ++i)
    payload = payload + encode(n.kids[i], width) + n.runs[i + 1];
  return chunk(n.tag, n.version, payload, width);
}

void drive(QorFileWrite& w, const Node& n) {
  ASSERT_TRUE(w.beginChunk(n.tag, static_cast<int32_t>(n.version)));
  for (size_t i = 0; i <= n.kids.size(); ++i) {
    const Bytes& run = n.runs[i];
    // Alternate plain bytes and byte values, so both buffer rules meet the patching.
    if (i % 2)
      w.stream()->writeBytes(run.data(), run.size());
    else
      w.stream()->write(run.data(), run.size());
    if (i < n.kids.size()) drive(w, n.kids[i]);
  }
  ASSERT_TRUE(w.endChunk());
}

Node randomNode(std::mt19937& rng, int depth, int maxRun) {
  Node n{static_cast<uint32_t>(rng() & 0xFFFFFF), static_cast<uint32_t>(rng() & 0xFF), {}, {}};
  size_t kids = depth > 0 ? rng() % 4 : 0;
  for (size_t i = 0; i <= kids; ++i) {
    Bytes run(rng() % static_cast<unsigned>(maxRun));
    for (auto& b : run) b = static_cast<uint8_t>(rng());
    n.runs.push_back(run);
    if (i < kids) n.kids.push_back(randomNode(rng, depth - 1, maxRun));
  }
  return n;
}

TEST(QorFileWrite, SmallChunksArePatchedInTheBufferLargeOnesBySeekingBothGiveTheFormat) {
  std::mt19937 rng(11);
  int withSeeks = 0;
  for (int round = 0; round < 60; ++round) {
    Node tree = randomNode(rng, 5, round % 2 ? 900 : 24);
    for (int32_t generation : {0, 5}) {
      RecordingOutput out;
      out.setVersion(generation);
      QorFileWrite w(&out, true);
      drive(w, tree);
      ASSERT_TRUE(w.good() && w.close());
      Bytes model = encode(tree, generation == 0 ? 8 : 4);
      ASSERT_EQ(out.bytes(), model) << "round " << round;
      // A tree that fits the buffer is never emptied before the end.
      EXPECT_TRUE(model.size() > BinOutput::kBufferSize - BinOutput::kLowWater || out.seeks == 0);
      withSeeks += out.seeks > 0;
    }
  }
  EXPECT_GT(withSeeks, 20) << "the seek-back road was taken too";
}

TEST(QorFileWrite, OpenChunksHaveLengthZeroInTheMediumUntilTheyClose) {
  RecordingOutput out;
  QorFileWrite w(&out, false);
  w.beginFile();
  w.beginChunk(0x42, 0);
  Bytes block(3000, 0x5A);
  w.stream()->writeBytes(block.data(), block.size());
  auto lengths = [&] {  // of the root and the inner chunk, as the medium holds them
    Bytes m = out.bytes();
    return m.size() < 24
               ? Bytes()
               : Bytes(m.begin() + 4, m.begin() + 12) + Bytes(m.begin() + 16, m.begin() + 24);
  };
  EXPECT_TRUE(lengths() == Bytes(16, 0) && w.depth() == 2);
  EXPECT_TRUE(w.close()) << "ends only the innermost chunk";
  EXPECT_EQ(lengths(), Bytes(8, 0) + hex("0000000000000BC4")) << "the root still open";
  EXPECT_EQ(w.stream(), nullptr);
}

TEST(QorFileWrite, DestructorAndAttachCloseWhatIsLeftOpen) {
  Bytes expected = chunk(kRoot, 1, chunk(0x1, 0, chunk(0x2, 0, {})));
  RecordingOutput first, second, third;
  {
    QorFileWrite w(&first, true);
    w.beginFile();
    w.beginChunk(0x1, 0);
    w.beginChunk(0x2, 0);
  }
  EXPECT_EQ(first.bytes(), expected) << "a finishing writer closes all and flushes";

  // A finishing writer detaching keeps the root open and closes the old stream.
  RecordingOutput again;
  QorFileWrite w(&again, true);
  w.beginFile();
  w.beginChunk(0x1, 0);
  w.beginChunk(0x2, 0);
  w.attach(&second, false);
  std::fill(expected.begin() + 4, expected.begin() + 12, 0);
  EXPECT_TRUE(!again.good() && again.bytes() == expected) << "closed, the root open";
  // A writer that does not finish closes every chunk and leaves the stream to its owner.
  w.beginChunk(0x3, 0);
  w.beginChunk(0x4, 0);
  w.attach(&third, false);
  EXPECT_TRUE(second.good() && second.flush());
  EXPECT_EQ(second.bytes(), chunk(0x3, 0, chunk(0x4, 0, {})));
  w.attach(&third, true);
  EXPECT_EQ(w.depth(), 0) << "the same stream does nothing";
}

TEST(QorFileWrite, AttachTakesTheStreamsGenerationWhichDecidesTheWidth) {
  // Generations 1 to 9 write 4-byte lengths; 0, 10 and up, and negative ones 8-byte.
  for (int32_t generation : {-1, 0, 1, 9, 10}) {
    RecordingOutput out;
    out.setVersion(generation);
    QorFileWrite w;
    w.attach(&out, false);
    EXPECT_TRUE(w.version() == generation && w.beginChunk(0x5, 0) && w.endChunk());
    EXPECT_EQ(out.logicalTell(), generation >= 1 && generation <= 9 ? 8 : 12) << generation;
  }
  RecordingOutput out;
  QorFileWrite w(&out, false);
  w.setVersion(7);
  EXPECT_EQ(out.version(), 7) << "the stream follows the writer";
}

// A medium of any size that keeps only the bytes written near its start.
struct SparseOutput : BinOutput {
  int64_t position = 0;
  std::map<int64_t, uint8_t> head;
  uint64_t writeRaw(const void* b, uint64_t n) override {
    for (uint64_t i = 0; i < n; ++i)
      if (position + int64_t(i) < 64)
        head[position + int64_t(i)] = static_cast<const uint8_t*>(b)[i];
    position += static_cast<int64_t>(n);
    return n;
  }
  uint64_t readRaw(void*, uint64_t) override { return 0; }
  int64_t tell() override { return position; }
  bool seek(int64_t p, bool fromStart) override { return fromStart && (position = p, true); }
  bool good() override { return true; }
  bool close() override { return true; }
};

TEST(QorFileWrite, ChunkOverFourGigabytesInNarrowFileMarksTheLengthAndFails) {
  for (int32_t generation : {2, 0}) {
    SparseOutput out;
    out.setVersion(generation);
    QorFileWrite w(&out, false);
    ASSERT_TRUE(w.beginChunk(0x7, 0));
    ASSERT_TRUE(out.seekTo(int64_t(5) << 30, true));
    EXPECT_TRUE((w.endChunk() || generation != 0) && w.good() == (generation == 0));
    // Narrow: the length is all ones. Wide: 5 GiB = 0x140000000.
    std::vector<int> marks = {out.head[4], out.head[7], out.head[8]};
    const std::vector<int> want =
        generation ? std::vector<int>{0xFF, 0xFF, 0} : std::vector<int>{0, 1, 0x40};
    EXPECT_EQ(marks, want);
  }
}

TEST(QorFile, MissingStreamsAndUnbalancedClosesTakeTheAssertionRoadOnlyWhileGood) {
  AssertRecorder asserts;
  QorFileWrite w;
  EXPECT_FALSE(w.beginChunk(1, 0) || w.write(1.0));
  RecordingOutput out;
  QorFileWrite attached(&out, false);
  TempDir dir;
  EXPECT_FALSE(attached.open(QorString(dir.file("x").c_str())));
  QorFileRead r;
  EXPECT_FALSE(r.beginChunk());
  EXPECT_EQ(asserts.exprs(), (std::vector<std::string>{"bo_", "bo_", "!bo_", "bi_"}));
  asserts.entries.clear();
  FileReader f(be({0x1000, 12, 1}), 0);  // one chunk with 4-byte length
  EXPECT_TRUE(f.r.skipChunk() && !f.r.endChunk());
  EXPECT_EQ(asserts.exprs(), (std::vector<std::string>{"end_.size() > 0 || !good_"}));
  f.r.beginChunk();  // nothing left: fails
  EXPECT_FALSE(f.r.good() || f.r.endChunk());
  EXPECT_EQ(asserts.entries.size(), 1u) << "depth 0 with good false does nothing";
}

// ---- reading hand-built files ----

Bytes intChunk(uint32_t tag, int32_t v, int width) {
  return chunk(tag, 0, be({static_cast<uint32_t>(v)}), width);
}

TEST(QorFileRead, AnUnfinishedFileCutAnywhereInItsLastChunkKeepsItsCompleteChunks) {
  TempDir dir;
  QorString path(dir.file("t.wex").c_str()), cutPath(dir.file("cut.wex").c_str());
  for (int32_t generation : {0, 5}) {
    Bytes onDisk;
    {
      QorFileWrite w;
      w.setVersion(generation);
      ASSERT_TRUE(w.open(path));
      for (int i = 0; i < 3; ++i) {
        w.beginChunk(0x20, 0);
        w.write(QorString(u"value"));
        w.write(int32_t(i));
        w.endChunk();
      }
      ASSERT_TRUE(w.stream()->flush());
      onDisk = readFile(dir.file("t.wex"));  // what a crash now would leave
    }
    const int width = generation ? 4 : 8, last = 22 + 2 * width;  // bytes of one chunk
    ASSERT_EQ(Bytes(onDisk.begin() + 4, onDisk.begin() + 4 + width), Bytes(width, 0)) << "root";
    for (int cut = 1; cut < last; ++cut) {
      writeFile(dir.file("cut.wex"), Bytes(onDisk.begin(), onDisk.end() - cut));
      QorFileRead r;
      ASSERT_TRUE(r.open(cutPath) && r.good());
      int complete = 0;
      while (!r.atEnd() && r.beginChunk(0x20)) {
        QorString s;
        int32_t v = -1;
        r.read(s);
        r.read(v);
        if (r.endChunk() && s == QorString(u"value") && v == complete) ++complete;
      }
      EXPECT_EQ(complete, 2) << "nothing complete is lost; cut " << cut;
      EXPECT_FALSE(r.good());
      EXPECT_EQ(r.stream()->tell(), static_cast<int64_t>(onDisk.size()) - last)
          << "back at the start of the cut chunk; cut " << cut;
    }
  }
}

TEST(QorFileRead, CorruptLengthsFailAtTheirChunkAndLeaveThePosition) {
  struct Case {
    const char* what;
    uint64_t length;
  } cases[] = {{"below the header", 11},
               {"zero", 0},
               {"past the source", 1000},
               {"huge", ~uint64_t(0)},
               {"wraps the position", ~uint64_t(0) - 10}};
  for (const Case& c : cases) {
    Bytes bad = be({0x10u << 8});
    be(bad, c.length, 8);
    FileReader f(chunk(kRoot, 1, intChunk(0x10, 5, 8) + bad + be({9})), 0);
    ASSERT_TRUE(f.r.beginFile());
    EXPECT_TRUE(f.r.skipChunk());
    // A loop over children ends after a failure; closes after it stay put.
    const int64_t at = f.in.tell();
    EXPECT_FALSE(f.r.beginChunk() || f.r.good()) << c.what;
    EXPECT_EQ(f.in.tell(), at) << c.what;
    EXPECT_TRUE(f.r.atEnd() && f.r.remaining() == 0 && !f.r.endChunk()) << c.what;
    EXPECT_EQ(f.in.tell(), at) << c.what;
  }
  FileReader shortObject(chunk(kObject, 0, {1, 2, 3}));  // too short to hold its id
  EXPECT_FALSE(shortObject.r.beginChunk() || shortObject.in.tell() != 0);
}

TEST(QorFileRead, NewerVersionsAreSkippedWrongKindsAndVersionsClearGood) {
  Bytes file = chunk(0x010000, 0,
                     hex("3FF0000000000000 4000000000000000 4008000000000000 4058C00000000000")) +
               intChunk(0x11, 4, 8);
  FileReader vector(file), notAnId(file), v2(chunk(0x12, 2, {})), plain(intChunk(0x12, 0, 8));
  double v[3] = {};
  EXPECT_TRUE(vector.r.readValueChunk(qor::tag::kVector, v, 3) && v[2] == 3.0);
  EXPECT_EQ(vector.r.peekTag(), 0x11u) << "the extra field was skipped";
  EXPECT_TRUE(vector.r.beginChunk(0x11, 0));
  QorID id;
  EXPECT_FALSE(notAnId.r.read(id) || notAnId.r.good());
  EXPECT_EQ(id.Data1, 0x3FF00000u) << "the fields are read anyway";
  EXPECT_TRUE(!(v2.r.beginChunk(0x12, 1) || v2.r.good()) && v2.r.version() == 2);
  int32_t version = -5;
  EXPECT_FALSE(plain.r.beginObject(nullptr, &version) || plain.r.good()) << "not an object chunk";
  EXPECT_EQ(version, 0);
}

TEST(QorFileRead, RootMustBeWexVersionZeroOrOne) {
  TempDir dir;
  struct {
    uint32_t tag, version;
    int width;
  } roots[] = {{kRoot, 0, 4}, {kRoot, 1, 8}, {kRoot, 2, 8}, {kRoot + 1, 1, 4}};
  for (const auto& root : roots) {
    writeFile(dir.file("r.wex"), chunk(root.tag, root.version, {}, root.width));
    QorFileRead r;
    EXPECT_TRUE(r.open(QorString(dir.file("r.wex").c_str())));
    EXPECT_EQ(r.good(), root.tag == kRoot && root.version < 2) << root.tag << " " << root.version;
  }
  QorFileRead none;
  EXPECT_TRUE(!none.open(QorString(dir.file("missing.wex").c_str())) && none.stream() == nullptr);
}

TEST(BareStrings, FreshStreamsUseEightByteLengthsInsideANarrowFileTheRootDecides) {
  RecordingOutput out;
  ASSERT_TRUE(writeStringChunk(out, QorString(u"hi")) && writeStringChunk(out, QorCString("abc")));
  ASSERT_TRUE(out.flush());
  Bytes b = out.bytes();
  EXPECT_EQ(b, chunk(kString, 0, {0, 'h', 0, 'i'}) + chunk(0x010003, 0, {'a', 'b', 'c'}));
  BinInputMemory in(b.data(), b.size());
  QorString s;
  QorCString c;
  EXPECT_TRUE(readStringChunk(in, s) && readStringChunk(in, c) && s == QorString(u"hi"));
  EXPECT_STREQ(c.c_str(), "abc");
  EXPECT_EQ(in.lengthWidth(), 64);

  RecordingOutput narrow;
  narrow.setVersion(5);
  {
    QorFileWrite w(&narrow, true);
    w.beginFile();
    writeStringChunk(narrow, QorString(u"in"));  // straight on the file's stream
    w.write(int32_t(8));
  }
  b = narrow.bytes();
  ASSERT_EQ(b, chunk(kRoot, 0, chunk(kString, 0, {0, 'i', 0, 'n'}, 4) + be({8}), 4));
  FileReader f(b, 0);
  ASSERT_TRUE(f.r.beginFile()) << "attach leaves the width to the root";
  EXPECT_EQ(f.in.lengthWidth(), 32);
  int32_t v = 0;
  EXPECT_TRUE(readStringChunk(f.in, s) && f.r.read(v) && s == QorString(u"in") && v == 8);
}

struct Pair {
  int16_t a = 0, b = 0;
  bool write(BinOutput& o) { return o.write(a) && o.write(b); }
  bool read(BinInput& i) { return i.read(&a, 1) && i.read(&b, 1); }
};

TEST(QorFileClasses, AnswerToTheirInterfacesAndBinaryObjectsWriteStraightOnTheStream) {
  Pair p{3, -4}, q;
  QorBinaryIO<Pair> io(&p), qio(&q);
  QorFileWrite w;
  EXPECT_EQ(qorQuery<IQorDataModelWriter>(&w, "IQorDataModelWriter"), &w);
  Bytes b = filed(0, [&](QorFileWrite& w) { w.write(static_cast<IQorBinaryIO*>(&io)); });
  EXPECT_EQ(b, (Bytes{0, 3, 0xFF, 0xFC}));
  FileReader f(b, 0);
  EXPECT_TRUE(qorQuery<IQorDataModelReader>(&f.r, "IQorDataModelReader") == (&f.r) &&
              qorQuery<void>(&f.r, "QorFileWrite") == nullptr &&
              f.r.read(static_cast<IQorBinaryIO*>(&qio)) && q.b == -4);
}

}  // namespace
