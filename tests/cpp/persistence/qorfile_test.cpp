// The data-model file: golden bytes written out by hand, an independent chunk model that
// the writer must match byte for byte (in-buffer and seek-back length patching alike), and
// a reader fed with hand-built, corrupt, unfinished and cut files.
#include "persistence/qorfile.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "hostapi/iqorpersistable.h"
#include "persistence/iqorwriteable.h"
#include "support.h"

namespace {

using namespace persist_test;

const QorID kClass(0x11223344, 0x5566, 0x7788, {0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff, 0x01});

Bytes idBytes() {
  return {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88,
          0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff, 0x01};
}

// A chunk in the tests' own encoding: word, length of `width` bytes, payload.
Bytes chunk(uint32_t tag, uint32_t version, const Bytes& payload, int width) {
  Bytes b;
  be(b, tag << 8 | version, 4);
  be(b, payload.size() + 4 + static_cast<uint64_t>(width), width);
  b.insert(b.end(), payload.begin(), payload.end());
  return b;
}

Bytes cat(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& p : parts) all.insert(all.end(), p.begin(), p.end());
  return all;
}

// Writes with `fn` on a memory stream of generation `generation`, then flushes.
template <class Fn>
Bytes written(int32_t generation, Fn fn) {
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

TEST(QorFileWrite, NewFileWithOneNarrowStringIsTheTwentySixByteExample) {
  TempDir dir;
  QorString path(dir.file("ab.wex").c_str());
  QorFileWrite w;
  ASSERT_TRUE(w.open(path));
  ASSERT_TRUE(w.write(QorCString("ab")));
  ASSERT_TRUE(w.close());
  Bytes expected = {0x57, 0x45, 0x58, 0x01, 0, 0, 0, 0, 0, 0, 0, 0x1A,  // root, version 1, 26
                    0x01, 0x00, 0x03, 0x00, 0, 0, 0, 0, 0, 0, 0, 0x0E,  // QorCString, 14
                    0x61, 0x62};
  EXPECT_EQ(readFile(dir.file("ab.wex")), expected);

  QorFileRead r;
  ASSERT_TRUE(r.open(path));
  EXPECT_TRUE(r.good());
  QorCString back;
  EXPECT_TRUE(r.read(back));
  EXPECT_STREQ(back.c_str(), "ab");
  EXPECT_TRUE(r.atEnd());
  EXPECT_TRUE(r.endChunk());
}

TEST(QorFileWrite, ValueChunksInBothWidths) {
  for (int32_t generation : {0, 5}) {
    int width = generation == 0 ? 8 : 4;
    SCOPED_TRACE(width);
    Bytes ab = {0, 0x61, 0, 0x62};
    EXPECT_EQ(written(generation, [](QorFileWrite& w) { w.write(QorString(u"ab")); }),
              chunk(0x010005, 0, ab, width));
    EXPECT_EQ(written(generation, [](QorFileWrite& w) { w.write(QorString()); }),
              chunk(0x010005, 0, {}, width))
        << "a null string is an empty chunk";
    EXPECT_EQ(written(generation, [](QorFileWrite& w) { w.write(kClass); }),
              chunk(0x010008, 0, idBytes(), width));
    Bytes three;
    for (double d : {1.0, -2.0, 0.5}) be(three, std::bit_cast<uint64_t>(d), 8);
    double v[3] = {1.0, -2.0, 0.5};
    EXPECT_EQ(
        written(generation, [&](QorFileWrite& w) { w.writeValueChunk(qor::tag::kVector, v, 3); }),
        chunk(0x010000, 0, three, width));
    double m[16] = {};
    EXPECT_EQ(
        written(generation, [&](QorFileWrite& w) { w.writeValueChunk(qor::tag::kMatrix, m, 16); })
            .size(),
        128u + 4 + static_cast<unsigned>(width));
    Bytes bare;
    be(bare, std::bit_cast<uint64_t>(2.5), 8);
    be(bare, std::bit_cast<uint32_t>(1.5f), 4);
    be(bare, 0xFFFFFFFEu, 4);
    be(bare, 7, 4);
    bare.push_back(0xFF);
    bare.push_back(0x80);
    EXPECT_EQ(written(generation,
                      [](QorFileWrite& w) {
                        w << 2.5 << 1.5f << 0xFFFFFFFEu << int32_t(7) << int8_t(-1)
                          << uint8_t(0x80);
                      }),
              bare)
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

TEST(QorFileWrite, ObjectChunkCarriesItsClassId) {
  Stored s;
  s.value = 7;
  for (int32_t generation : {0, 5}) {
    int width = generation == 0 ? 8 : 4;
    Bytes body = idBytes();
    be(body, 7, 4);
    Bytes expected = chunk(0x0B0002, 3, body, width);
    EXPECT_EQ(written(generation,
                      [&](QorFileWrite& w) { s.write(static_cast<IQorDataModelWriter*>(&w)); }),
              expected);
    EXPECT_EQ(
        written(generation, [&](QorFileWrite& w) { w.write(static_cast<IQorPersistable*>(&s)); }),
        expected)
        << "through the persistable slot";

    BinInputMemory in(expected.data(), expected.size());
    in.setLengthWidth(width * 8);
    QorFileRead r;
    r.attach(&in);
    Stored back;
    EXPECT_EQ(r.peekObjectId(), kClass);
    int32_t version = 0;
    EXPECT_TRUE(r.isObject(kClass, &version));
    EXPECT_EQ(version, 3);
    EXPECT_FALSE(r.isObject(QorID(), &version));
    EXPECT_EQ(version, -1);
    EXPECT_EQ(in.tell(), 0) << "peeks do not move";
    EXPECT_TRUE(back.read(&r));
    EXPECT_EQ(back.value, 7);
    EXPECT_EQ(r.objectId(), kClass);
    EXPECT_TRUE(r.good());
  }
}

TEST(QorFileWrite, GenerationFiveFileHasNarrowLengthsAndNeedsNoSettingToRead) {
  TempDir dir;
  QorString path(dir.file("g5.wex").c_str());
  {
    QorFileWrite w;
    w.setVersion(5);
    ASSERT_TRUE(w.open(path));
    w.beginChunk(0x123456, 9);
    w.write(int32_t(-3));
    w.write(QorString(u"x"));
    w.endChunk();
  }  // the destructor finishes the file
  Bytes inner = cat({Bytes{0xFF, 0xFF, 0xFF, 0xFD}, chunk(0x010005, 0, {0, 'x'}, 4)});
  Bytes expected = chunk(0x574558, 0, chunk(0x123456, 9, inner, 4), 4);
  ASSERT_EQ(readFile(dir.file("g5.wex")), expected);

  QorFileRead r;
  ASSERT_TRUE(r.open(path));
  ASSERT_TRUE(r.good());
  EXPECT_EQ(r.stream()->lengthWidth(), 32);
  EXPECT_TRUE(r.beginChunk(0x123456, 9));
  int32_t i = 0;
  QorString s;
  EXPECT_TRUE(r.read(i));
  EXPECT_TRUE(r.read(s));
  EXPECT_EQ(i, -3);
  EXPECT_EQ(s, QorString(u"x"));
  EXPECT_TRUE(r.endChunk());
  EXPECT_TRUE(r.atEnd());
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
  for (size_t i = 0; i < n.kids.size(); ++i) {
    Bytes k = encode(n.kids[i], width);
    payload.insert(payload.end(), k.begin(), k.end());
    payload.insert(payload.end(), n.runs[i + 1].begin(), n.runs[i + 1].end());
  }
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
  Node n;
  n.tag = rng() & 0xFFFFFF;
  n.version = rng() & 0xFF;
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
    bool big = round % 2;
    Node tree = randomNode(rng, 5, big ? 900 : 24);
    for (int32_t generation : {0, 5}) {
      RecordingOutput out;
      out.setVersion(generation);
      QorFileWrite w(&out, true);
      drive(w, tree);
      ASSERT_TRUE(w.good());
      ASSERT_TRUE(w.close());
      Bytes model = encode(tree, generation == 0 ? 8 : 4);
      ASSERT_EQ(out.bytes(), model) << "round " << round;
      if (model.size() <= BinOutput::kBufferSize - BinOutput::kLowWater) {
        EXPECT_EQ(out.seeks, 0) << "the buffer was never emptied before the end";
      }
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
  Bytes medium = out.bytes();
  ASSERT_GE(medium.size(), 24u);
  EXPECT_EQ(Bytes(medium.begin() + 4, medium.begin() + 12), Bytes(8, 0)) << "root";
  EXPECT_EQ(Bytes(medium.begin() + 16, medium.begin() + 24), Bytes(8, 0)) << "inner";
  EXPECT_EQ(w.depth(), 2);
  EXPECT_TRUE(w.close()) << "ends only the innermost chunk";
  medium = out.bytes();
  EXPECT_EQ(Bytes(medium.begin() + 4, medium.begin() + 12), Bytes(8, 0)) << "root still open";
  Bytes innerLength;
  be(innerLength, 3012, 8);
  EXPECT_EQ(Bytes(medium.begin() + 16, medium.begin() + 24), innerLength);
  EXPECT_EQ(w.stream(), nullptr);
}

TEST(QorFileWrite, DestructorAndAttachCloseWhatIsLeftOpen) {
  Bytes expected = chunk(0x574558, 1, chunk(0x1, 0, chunk(0x2, 0, {}, 8), 8), 8);
  {
    RecordingOutput out;
    {
      QorFileWrite w(&out, true);
      w.beginFile();
      w.beginChunk(0x1, 0);
      w.beginChunk(0x2, 0);
    }
    EXPECT_EQ(out.bytes(), expected) << "a finishing writer closes all and flushes";
  }
  {
    // A finishing writer detaching keeps the root open and closes the old stream.
    RecordingOutput first, second;
    QorFileWrite w(&first, true);
    w.beginFile();
    w.beginChunk(0x1, 0);
    w.beginChunk(0x2, 0);
    w.attach(&second, false);
    EXPECT_FALSE(first.good()) << "closed";
    Bytes got = first.bytes();
    Bytes unfinished = expected;
    std::fill(unfinished.begin() + 4, unfinished.begin() + 12, 0);
    EXPECT_EQ(got, unfinished);
    // A writer that does not finish closes every chunk and leaves the stream to its owner.
    w.beginChunk(0x3, 0);
    w.beginChunk(0x4, 0);
    RecordingOutput third;
    w.attach(&third, false);
    EXPECT_TRUE(second.good());
    EXPECT_TRUE(second.flush());
    EXPECT_EQ(second.bytes(), chunk(0x3, 0, chunk(0x4, 0, {}, 8), 8));
    w.attach(&third, true);
    EXPECT_EQ(w.depth(), 0) << "the same stream does nothing";
  }
}

TEST(QorFileWrite, AttachTakesTheStreamsGenerationWhichDecidesTheWidth) {
  // Generations 1 to 9 write 4-byte lengths; 0, 10 and up, and negative ones 8-byte.
  for (int32_t generation : {-1, 0, 1, 9, 10}) {
    RecordingOutput out;
    out.setVersion(generation);
    QorFileWrite w;
    w.attach(&out, false);
    EXPECT_EQ(w.version(), generation);
    w.beginChunk(0x5, 0);
    w.endChunk();
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
  bool seek(int64_t p, bool fromStart) override {
    if (!fromStart) return false;
    position = p;
    return true;
  }
  bool good() override { return true; }
  bool close() override { return true; }
};

TEST(QorFileWrite, ChunkOverFourGigabytesInNarrowFileMarksTheLengthAndFails) {
  SparseOutput out;
  out.setVersion(2);
  QorFileWrite w(&out, false);
  ASSERT_TRUE(w.beginChunk(0x7, 0));
  ASSERT_TRUE(out.seekTo(int64_t(5) << 30, true));
  w.endChunk();
  EXPECT_FALSE(w.good());
  EXPECT_EQ(out.head[4], 0xFF);
  EXPECT_EQ(out.head[7], 0xFF);

  SparseOutput wide;
  QorFileWrite w8(&wide, false);
  ASSERT_TRUE(w8.beginChunk(0x7, 0));
  ASSERT_TRUE(wide.seekTo(int64_t(5) << 30, true));
  EXPECT_TRUE(w8.endChunk());
  EXPECT_TRUE(w8.good());
  EXPECT_EQ(wide.head[7], 0x01) << "5 GiB = 0x140000000";
  EXPECT_EQ(wide.head[8], 0x40);
}

TEST(QorFileWrite, MissingStreamTakesTheAssertionRoad) {
  AssertRecorder asserts;
  QorFileWrite w;
  EXPECT_FALSE(w.beginChunk(1, 0));
  EXPECT_FALSE(w.write(1.0));
  EXPECT_EQ(AssertRecorder::seen(), (std::vector<std::string>{"bo_", "bo_"}));
  RecordingOutput out;
  QorFileWrite attached(&out, false);
  TempDir dir;
  EXPECT_FALSE(attached.open(QorString(dir.file("x").c_str())));
  EXPECT_EQ(AssertRecorder::seen().back(), "!bo_");
  QorFileRead r;
  EXPECT_FALSE(r.beginChunk());
  EXPECT_EQ(AssertRecorder::seen().back(), "bi_");
}

// ---- reading hand-built files ----

struct Reader {
  explicit Reader(const Bytes& b) : bytes(b), in(bytes.data(), bytes.size()) { r.attach(&in); }
  Bytes bytes;
  BinInputMemory in;
  QorFileRead r;
};

Bytes intChunk(uint32_t tag, int32_t v, int width) {
  Bytes p;
  be(p, static_cast<uint32_t>(v), 4);
  return chunk(tag, 0, p, width);
}

TEST(QorFileRead, UnfinishedRootRunsToTheEndAndACutChunkFailsAtItsLength) {
  for (int width : {4, 8}) {
    uint32_t rootVersion = width == 8 ? 1 : 0;
    Bytes complete = cat({intChunk(0x10, 1, width), intChunk(0x10, 2, width)});
    Bytes cut = intChunk(0x10, 3, width);
    cut.resize(cut.size() - 1);
    Bytes file = cat({chunk(0x574558, rootVersion, {}, width), complete, cut});
    std::fill(file.begin() + 4, file.begin() + 4 + width, 0);  // root length 0
    Reader f(file);
    ASSERT_TRUE(f.r.beginFile());
    std::vector<int32_t> seen;
    while (!f.r.atEnd()) {
      if (!f.r.beginChunk(0x10)) break;
      int32_t v = 0;
      f.r.read(v);
      seen.push_back(v);
      f.r.endChunk();
    }
    EXPECT_EQ(seen, (std::vector<int32_t>{1, 2})) << "nothing complete is lost";
    EXPECT_FALSE(f.r.good());
    EXPECT_EQ(f.in.tell(), static_cast<int64_t>(file.size() - cut.size()))
        << "back at the start of the cut chunk";
  }
}

TEST(QorFileRead, TruncatedFileFromTheWriterKeepsItsCompleteChunks) {
  TempDir dir;
  QorString path(dir.file("t.wex").c_str());
  Bytes onDisk;
  {
    QorFileWrite w;
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
  ASSERT_EQ(Bytes(onDisk.begin() + 4, onDisk.begin() + 12), Bytes(8, 0));
  for (size_t cut = 1; cut < 28; ++cut) {
    Bytes part(onDisk.begin(), onDisk.end() - static_cast<long>(cut));
    writeFile(dir.file("cut.wex"), part);
    QorFileRead r;
    ASSERT_TRUE(r.open(QorString(dir.file("cut.wex").c_str())));
    ASSERT_TRUE(r.good());
    int complete = 0;
    while (!r.atEnd() && r.beginChunk(0x20)) {
      QorString s;
      int32_t v = -1;
      r.read(s);
      r.read(v);
      if (r.endChunk() && s == QorString(u"value") && v == complete) ++complete;
    }
    EXPECT_EQ(complete, 2) << "cut " << cut;
  }
}

TEST(QorFileRead, CorruptLengthsFailAtTheirChunkAndLeaveThePosition) {
  Bytes good = intChunk(0x10, 5, 8);
  struct Case {
    const char* what;
    uint64_t length;
  } cases[] = {{"below the header", 11},
               {"zero", 0},
               {"past the source", 1000},
               {"huge", ~uint64_t(0)},
               {"wraps the position", ~uint64_t(0) - 10}};
  for (const Case& c : cases) {
    Bytes bad;
    be(bad, 0x10u << 8, 4);
    be(bad, c.length, 8);
    be(bad, 9, 4);
    Bytes file = chunk(0x574558, 1, cat({good, bad}), 8);
    Reader f(file);
    ASSERT_TRUE(f.r.beginFile());
    EXPECT_TRUE(f.r.skipChunk());
    int64_t at = f.in.tell();
    EXPECT_FALSE(f.r.beginChunk()) << c.what;
    EXPECT_FALSE(f.r.good());
    EXPECT_EQ(f.in.tell(), at) << c.what;
    EXPECT_TRUE(f.r.atEnd()) << "a loop over children ends after a failure";
    EXPECT_EQ(f.r.remaining(), 0);
    EXPECT_FALSE(f.r.endChunk());
    EXPECT_EQ(f.in.tell(), at) << "closes after a failure stay put";
  }
  // An object chunk too short to hold its id.
  Bytes shortObject = chunk(0x0B0002, 0, {1, 2, 3}, 8);
  Reader f(shortObject);
  f.in.setLengthWidth64();
  EXPECT_FALSE(f.r.beginChunk());
  EXPECT_EQ(f.in.tell(), 0);
}

TEST(QorFileRead, NewerVersionsAreSkippedWrongKindsAndVersionsClearGood) {
  Bytes wider;
  for (double d : {1.0, 2.0, 3.0, 99.0}) be(wider, std::bit_cast<uint64_t>(d), 8);
  Bytes file = cat({chunk(0x010000, 0, wider, 8), intChunk(0x11, 4, 8)});
  {
    Reader f(file);
    f.in.setLengthWidth64();
    double v[3] = {};
    EXPECT_TRUE(f.r.readValueChunk(qor::tag::kVector, v, 3));
    EXPECT_EQ(v[2], 3.0);
    EXPECT_EQ(f.r.peekTag(), 0x11u) << "the extra field was skipped";
    EXPECT_TRUE(f.r.beginChunk(0x11, 0));
  }
  {
    Reader f(file);
    f.in.setLengthWidth64();
    QorID id;
    EXPECT_FALSE(f.r.read(id));
    EXPECT_FALSE(f.r.good());
    EXPECT_EQ(id.Data1, 0x3FF00000u) << "the fields are read anyway";
  }
  {
    Bytes v2 = chunk(0x12, 2, {}, 8);
    Reader f(v2);
    f.in.setLengthWidth64();
    EXPECT_FALSE(f.r.beginChunk(0x12, 1));
    EXPECT_FALSE(f.r.good());
    EXPECT_EQ(f.r.version(), 2);
  }
  {
    Bytes plain = intChunk(0x12, 0, 8);
    Reader f(plain);
    f.in.setLengthWidth64();
    int32_t version = -5;
    EXPECT_FALSE(f.r.beginObject(nullptr, &version)) << "not an object chunk";
    EXPECT_EQ(version, 0);
    EXPECT_FALSE(f.r.good());
  }
}

TEST(QorFileRead, RootMustBeWexVersionZeroOrOne) {
  TempDir dir;
  for (uint32_t version : {0u, 1u, 2u}) {
    int width = version == 0 ? 4 : 8;
    writeFile(dir.file("r.wex"), chunk(0x574558, version, {}, width));
    QorFileRead r;
    EXPECT_TRUE(r.open(QorString(dir.file("r.wex").c_str())));
    EXPECT_EQ(r.good(), version < 2) << version;
  }
  writeFile(dir.file("n.wex"), chunk(0x574559, 1, {}, 4));
  QorFileRead r;
  EXPECT_TRUE(r.open(QorString(dir.file("n.wex").c_str())));
  EXPECT_FALSE(r.good());
  QorFileRead none;
  EXPECT_FALSE(none.open(QorString(dir.file("missing.wex").c_str())));
  EXPECT_EQ(none.stream(), nullptr);
}

TEST(QorFileRead, UnbalancedCloseTakesTheAssertionRoadOnlyWhileGood) {
  AssertRecorder asserts;
  Bytes one = intChunk(0x10, 1, 4);
  Reader f(one);
  EXPECT_TRUE(f.r.skipChunk());
  EXPECT_FALSE(f.r.endChunk());
  EXPECT_EQ(AssertRecorder::seen(), (std::vector<std::string>{"end_.size() > 0 || !good_"}));
  f.r.beginChunk();  // nothing left: fails
  EXPECT_FALSE(f.r.good());
  EXPECT_FALSE(f.r.endChunk());
  EXPECT_EQ(AssertRecorder::seen().size(), 1u) << "depth 0 with good false does nothing";
}

TEST(QorFileRead, PeeksDoNotMoveAndNamesPrecedeObjects) {
  Stored s;
  s.value = 42;
  RecordingOutput out;
  {
    QorFileWrite w(&out, false);
    w.writeObjectName(QorString(u"radius"));
    s.write(static_cast<IQorDataModelWriter*>(&w));
    w.endObjectName();
    w.write(QorString(u""));
  }
  ASSERT_TRUE(out.flush());
  Bytes b = out.bytes();
  Reader f(b);
  f.in.setLengthWidth64();
  EXPECT_EQ(f.r.peekObjectName(), QorString(u"radius"));
  EXPECT_EQ(f.r.peekTag(), qor::tag::kString);
  int32_t version = 0;
  EXPECT_TRUE(f.r.isChunk(qor::tag::kString, &version));
  EXPECT_EQ(version, 0);
  EXPECT_FALSE(f.r.isChunk(qor::tag::kObject, &version));
  EXPECT_EQ(version, -1);
  EXPECT_EQ(f.in.tell(), 0);
  QorID id;
  EXPECT_TRUE(f.r.readObjectName(f.r.peekObjectName(), &id));
  EXPECT_EQ(id, kClass);
  EXPECT_EQ(f.r.peekTag(), qor::tag::kObject) << "stands in front of the object";
  Stored back;
  EXPECT_TRUE(back.read(&f.r));
  EXPECT_TRUE(f.r.endObjectName(QorString()));
  EXPECT_EQ(back.value, 42);
  QorString empty(u"x");
  EXPECT_TRUE(f.r.read(empty));
  EXPECT_TRUE(empty.isEmpty());
  EXPECT_FALSE(empty.isNull()) << "an owned empty text";
  EXPECT_TRUE(f.r.atEnd());
}

TEST(BareStrings, FreshStreamsRoundTripWithEightByteLengths) {
  RecordingOutput out;
  ASSERT_TRUE(writeStringChunk(out, QorString(u"hi")));
  ASSERT_TRUE(writeStringChunk(out, QorCString("abc")));
  ASSERT_TRUE(out.flush());
  Bytes b = out.bytes();
  EXPECT_EQ(b,
            cat({chunk(0x010005, 0, {0, 'h', 0, 'i'}, 8), chunk(0x010003, 0, {'a', 'b', 'c'}, 8)}));
  BinInputMemory in(b.data(), b.size());
  QorString s;
  QorCString c;
  EXPECT_TRUE(readStringChunk(in, s));
  EXPECT_TRUE(readStringChunk(in, c));
  EXPECT_EQ(s, QorString(u"hi"));
  EXPECT_STREQ(c.c_str(), "abc");
  EXPECT_EQ(in.lengthWidth(), 64);
}

TEST(BareStrings, InsideANarrowFileTheRootDecides) {
  RecordingOutput out;
  out.setVersion(5);
  {
    QorFileWrite w(&out, true);
    w.beginFile();
    writeStringChunk(out, QorString(u"in"));  // straight on the file's stream
    w.write(int32_t(8));
  }
  Bytes b = out.bytes();
  Bytes payload = chunk(0x010005, 0, {0, 'i', 0, 'n'}, 4);
  be(payload, 8, 4);
  ASSERT_EQ(b, chunk(0x574558, 0, payload, 4));
  BinInputMemory in(b.data(), b.size());
  QorFileRead r;
  r.attach(&in);
  ASSERT_TRUE(r.beginFile()) << "attach leaves the width to the root";
  EXPECT_EQ(in.lengthWidth(), 32);
  QorString s;
  EXPECT_TRUE(readStringChunk(in, s));
  EXPECT_EQ(s, QorString(u"in"));
  int32_t v = 0;
  EXPECT_TRUE(r.read(v));
  EXPECT_EQ(v, 8);
}

TEST(QorFileClasses, AnswerToTheirNames) {
  QorFileWrite w;
  QorFileRead r;
  EXPECT_EQ(qorQuery<IQorDataModelWriter>(&w, "IQorDataModelWriter"),
            static_cast<IQorDataModelWriter*>(&w));
  EXPECT_EQ(qorQuery<IQorDataModelReader>(&r, "IQorDataModelReader"),
            static_cast<IQorDataModelReader*>(&r));
  EXPECT_EQ(qorQuery<void>(&r, "QorFileWrite"), nullptr);
}

struct Pair {
  int16_t a = 0, b = 0;
  bool write(BinOutput& o) { return o.write(a) && o.write(b); }
  bool read(BinInput& i) { return i.read(&a, 1) && i.read(&b, 1); }
};

TEST(QorFileClasses, BinaryObjectsWriteStraightOnTheStream) {
  Pair p{3, -4};
  QorBinaryIO<Pair> io(&p);
  Bytes b = written(0, [&](QorFileWrite& w) { w.write(static_cast<IQorBinaryIO*>(&io)); });
  EXPECT_EQ(b, (Bytes{0, 3, 0xFF, 0xFC}));
  Pair q;
  QorBinaryIO<Pair> qio(&q);
  Reader f(b);
  EXPECT_TRUE(f.r.read(static_cast<IQorBinaryIO*>(&qio)));
  EXPECT_EQ(q.b, -4);
}

}  // namespace
