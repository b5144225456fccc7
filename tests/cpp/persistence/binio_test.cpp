// Byte streams: wire order against the tests' own encoder, the buffer rules counted through
// a recording medium, reads that run short, BinMagic, the scrambler hook and the file forms.
#include "persistence/binio.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>

#include "base/qorstring.h"
#include "persistence/memstream.h"
#include "testkit.h"

namespace {

using namespace testkit;

Bytes flushed(RecordingOutput& out) {
  EXPECT_TRUE(out.flush());
  return out.bytes();
}

// Every integer type at every wire size, and both reals, against the tests' own big-endian
// encoder and sign rules; then read back through a source that hands out 3 bytes at a time,
// so that values are completed across raw reads.
template <class T>
void roundTripAllWidths(std::mt19937_64& rng) {
  for (uint32_t wire = 1; wire <= sizeof(T); ++wire) {
    std::vector<T> values(700);
    for (auto& v : values) v = static_cast<T>(rng());
    values[0] = std::numeric_limits<T>::min();
    values[1] = std::numeric_limits<T>::max();
    RecordingOutput out;
    ASSERT_TRUE(out.write(values.data(), wire, values.size()));
    Bytes expected;
    for (T v : values) be(expected, static_cast<uint64_t>(v), static_cast<int>(wire));
    ASSERT_EQ(flushed(out), expected) << sizeof(T) << "/" << wire;

    TricklingInput in(expected, 3);
    std::vector<T> back(values.size());
    ASSERT_TRUE(in.read(back.data(), wire, back.size()));
    for (size_t i = 0; i < values.size(); ++i) {
      // The model: keep the low bytes, then extend by the type's sign rule.
      uint64_t low = static_cast<uint64_t>(values[i]);
      if (wire < 8) low &= (uint64_t(1) << (8 * wire)) - 1;
      int64_t model = std::is_signed_v<T> && wire < 8 && (low >> (8 * wire - 1))
                          ? static_cast<int64_t>(low | ~((uint64_t(1) << (8 * wire)) - 1))
                          : static_cast<int64_t>(low);
      ASSERT_EQ(back[i], static_cast<T>(model)) << i;
    }
  }
}

TEST(BinStreams, EveryTypeMostSignificantFirstAndAllWidthsAgainstAnIndependentModel) {
  RecordingOutput one;
  EXPECT_TRUE(one.write(int32_t(0x01020304)) && one.write(1.0) && one.write(1.5f) &&
              one.write(int16_t(-2)) && one.write(uint64_t(0x0102030405060708ull)) &&
              one.write(int8_t(-1)) && one.write('A') && one.write(-0.0));
  EXPECT_EQ(flushed(one), hex("01020304 3FF0000000000000 3FC00000 FFFE 0102030405060708 FF 41 "
                              "8000000000000000"));
  std::mt19937_64 rng(7);
  roundTripAllWidths<int8_t>(rng), roundTripAllWidths<uint8_t>(rng);
  roundTripAllWidths<int16_t>(rng), roundTripAllWidths<uint16_t>(rng);
  roundTripAllWidths<int32_t>(rng), roundTripAllWidths<uint32_t>(rng);
  roundTripAllWidths<int64_t>(rng), roundTripAllWidths<uint64_t>(rng);

  std::vector<double> d = {0.1, -3e300, std::numeric_limits<double>::denorm_min(), INFINITY}, d2(4);
  std::vector<float> f = {0.1f, -3e30f, std::numeric_limits<float>::denorm_min(), -INFINITY}, f2(4);
  RecordingOutput out;
  ASSERT_TRUE(out.write(d.data(), d.size()) && out.write(f.data(), f.size()));
  Bytes expected;
  for (double v : d) be(expected, std::bit_cast<uint64_t>(v), 8);
  for (float v : f) be(expected, std::bit_cast<uint32_t>(v), 4);
  ASSERT_EQ(flushed(out), expected);
  BinInputMemory in(expected.data(), expected.size());
  ASSERT_TRUE(in.read(d2.data(), d2.size()) && in.read(f2.data(), f2.size()));
  EXPECT_TRUE(d2 == d && f2 == f);
}

TEST(BinStreams, NarrowReadsExtendBySignednessCountZeroTouchesNothingRealsNeedTheirOwnSize) {
  Bytes four = {0xFF, 0xFF, 0xFF, 0xFF};
  BinInputMemory a(four.data(), 4), b(four.data(), 4), c(four.data(), 4);
  int64_t s = 0;
  uint64_t u = 0;
  ASSERT_TRUE(a.read(&s, 4, 1) && b.read(&u, 4, 1));
  EXPECT_TRUE(s == -1 && u == 0xFFFFFFFFull);
  double d = 5;
  EXPECT_TRUE(!c.read(&d, 4, 1) && d == 5 && c.tell() == 0) << "a refused read consumes nothing";
  RecordingOutput out;
  int32_t i = 1;
  int16_t h = 1;  // reals only at their own size, no wider than the value, never 0
  EXPECT_TRUE(!(out.write(&d, 4, 1) || out.write(&i, 8, 1) || out.write(&i, 0, 1)) &&
              out.write(&d, 0) && out.write(&h, 1, 0) && out.writeBytes(&d, 0) &&
              out.pending() == 0 && out.rawWrites.empty());
  TricklingInput none(Bytes(), 8);
  EXPECT_TRUE(none.read(&d, 0) && none.read(&h, 1, 0) && none.readBytes(&d, 0) && none.reads == 0);
}

TEST(BinOutput, BufferRuleFlushesWholeValuesAt1020Then1024) {
  RecordingOutput out;
  uint8_t pad[100] = {};
  ASSERT_TRUE(out.write(pad, 100));
  std::vector<double> v(300);
  for (size_t i = 0; i < v.size(); ++i) v[i] = static_cast<double>(i) + 0.25;
  ASSERT_TRUE(out.write(v.data(), v.size()));
  // 115 doubles fill 1020 bytes; 4 free bytes are below 256, so that buffer goes; 128
  // doubles fill the next one exactly; 57 doubles stay pending.
  EXPECT_EQ(out.rawWrites, (std::vector<uint64_t>{1020, 1024}));
  EXPECT_TRUE(out.pending() == 456 && out.logicalTell() == 100 + 2400);
  Bytes expected(100, 0);
  for (double d : v) be(expected, std::bit_cast<uint64_t>(d), 8);
  EXPECT_EQ(flushed(out), expected);
}

TEST(BinOutput, LowWaterEmptiesBeforeSmallValuesButNotForPlainBytes) {
  RecordingOutput out, bytes;
  Bytes block(800, 7), more(2000, 9);
  // 224 free < 256: the 800 bytes go first; plain bytes fill the buffer to the brim.
  ASSERT_TRUE(out.writeBytes(block.data(), block.size()) && out.write(int32_t(1)));
  ASSERT_TRUE(bytes.writeBytes(block.data(), block.size()) && bytes.writeBytes(more.data(), 2000));
  EXPECT_EQ(out.rawWrites, (std::vector<uint64_t>{800}));
  EXPECT_EQ(bytes.rawWrites, (std::vector<uint64_t>{1024, 1024}));
  EXPECT_EQ(out.pending() + bytes.pending(), 4u + 752u);
}

TEST(BinOutput, FixedBlockTakesBytesUpToItsEndThenTurnsBad) {
  Bytes block(12, 0xEE);
  {
    BinOutputMemory out(block.data(), 10);  // the last two bytes are not the stream's
    // Held in the buffer until flushed.
    EXPECT_TRUE(out.write(int32_t(0x01020304)) && out.write(int32_t(0x05060708)) && out.flush() &&
                out.data() == block.data() && out.size() == 8 && out.write(int32_t(0x090A0B0C)) &&
                !(out.flush() || out.good()) && out.size() == 10u);
  }  // the stream never frees the block
  EXPECT_EQ(block, hex("01020304 05060708 090A EEEE"));
}

TEST(BinOutput, ReserveAndCommitFormatInPlace) {
  RecordingOutput out;
  uint8_t pad[1000] = {};
  ASSERT_TRUE(out.writeBytes(pad, sizeof pad));
  uint8_t* p = nullptr;
  EXPECT_EQ(out.reserve(&p, 100), 24u) << "at most the free room";
  std::memset(p, 0xAB, 24);
  EXPECT_TRUE(out.rawWrites.empty() && out.commit(24));
  EXPECT_EQ(out.rawWrites, (std::vector<uint64_t>{1024})) << "emptied at exactly 1024";
  EXPECT_TRUE(out.bytes()[1023] == 0xAB && out.reserve(&p, 10) == 10u && !out.commit(2000));
}

TEST(BinOutput, EmptyingAnswersWhetherAnythingWasWritten) {
  RecordingOutput shortMedium, full;
  shortMedium.setLimit(10);
  full.setLimit(0);
  uint8_t b[20] = {};
  ASSERT_TRUE(shortMedium.writeBytes(b, 20));
  EXPECT_TRUE(shortMedium.emptyBuffer()) << "a short write is still a write";
  EXPECT_TRUE(!shortMedium.good() && shortMedium.size() == 10 && shortMedium.pending() == 0);
  ASSERT_TRUE(full.writeBytes(b, 20));
  EXPECT_FALSE(full.emptyBuffer());
  std::vector<double> many(200);
  EXPECT_FALSE(full.write(many.data(), many.size())) << "a failed emptying fails the call";
}

TEST(BinInput, ReadPastTheEndFailsKeepsWhatWasConvertedAndNothingBetweenCalls) {
  Bytes b = hex("3FF8000000000000 4004000000000000 400000");  // 1.5, 2.5, part of a third
  for (uint64_t step : {uint64_t(1024), uint64_t(5)}) {
    TricklingInput in(b, step);
    double v[3] = {0, 0, 9};
    EXPECT_FALSE(in.read(v, 3));
    EXPECT_EQ(std::vector<double>(v, v + 3), (std::vector<double>{1.5, 2.5, 9}))
        << "an incomplete value is not converted";
  }
  Bytes c = hex("00000001 00000002 FFFFFFFE");
  BinInputMemory in(c.data(), c.size());
  int32_t v;
  std::vector<int64_t> seen;  // tell and peek after each read; 2 bytes left peek -1
  ASSERT_TRUE(in.read(&v, 1));
  seen.insert(seen.end(), {in.tell(), in.peekInt(), in.tell()});
  ASSERT_TRUE(in.read(&v, 1));
  seen.push_back(in.peekInt());
  ASSERT_TRUE(in.seek(10, true));
  seen.insert(seen.end(), {in.peekInt(), in.tell()});
  EXPECT_EQ(seen, (std::vector<int64_t>{4, 2, 4, -2, -1, 10}));
  const uint8_t* p = nullptr;
  EXPECT_TRUE(in.readBuffered(&p, 100) == 2 && p[1] == 0xFE);
  EXPECT_TRUE(in.setLengthWidth32() && !in.setLengthWidth64()) << "set once";
  EXPECT_EQ(in.lengthWidth(), 32);
}

TEST(BinMagic, IdVersionReadsAndTheCheckingConstructor) {
  BinMagic m(5, 2), raw(0xFFFFFFFFu);
  EXPECT_EQ(std::vector<int64_t>({m.value(), m.id(), m.version(), raw.id(), raw.version()}),
            std::vector<int64_t>({0x502, 5, 2, -1, -1}));
  EXPECT_EQ(BinMagic(-7, 3).value(), static_cast<uint32_t>(-7)) << "a negative id as it is";
  std::ostringstream text;
  text << BinMagic(0x74BB4, 0);
  EXPECT_EQ(text.str(), "478132 0");

  RecordingOutput out;
  ASSERT_TRUE(m.write(out) && BinMagic(5, 7).write(out) && BinMagic(6, 2).write(out));
  Bytes b = flushed(out);
  EXPECT_EQ(b, hex("00000502 00000507 00000602"));
  BinInputMemory in(b.data(), b.size());
  BinMagic probe(5, 0);
  EXPECT_TRUE(probe.read(in)) << "same id, other version";
  EXPECT_TRUE(probe.read(in, BinMagic(5, 7)) && !probe.read(in, BinMagic(6, 3)));
  EXPECT_EQ(probe, BinMagic(6, 2)) << "holds what was read";
  EXPECT_FALSE(probe.read(in)) << "end of the source";

  AssertRecorder asserts;
  Bytes two = hex("00000502 00000503");
  BinInputMemory in2(two.data(), two.size());
  BinMagic good(in2, BinMagic(5, 2));
  EXPECT_TRUE(asserts.entries.empty());
  BinMagic bad(in2, BinMagic(5, 2));
  EXPECT_EQ(asserts.exprs(), (std::vector<std::string>{"magic_ == magic"}));
  EXPECT_EQ(bad.version(), 3);
}

// Adds the medium position to each byte: the same byte scrambles the same way however the
// blocks fell.
struct PositionScrambler : BinIO_Scrambler {
  explicit PositionScrambler(int* deaths) : deaths_(deaths) {}
  ~PositionScrambler() override { ++*deaths_; }
  void scramble(uint8_t* b, int64_t at, uint64_t n) override {
    for (uint64_t i = 0; i < n; ++i) b[i] = static_cast<uint8_t>(b[i] + at + int64_t(i));
  }
  void unscramble(uint8_t* b, int64_t at, uint64_t n) override {
    for (uint64_t i = 0; i < n; ++i) b[i] = static_cast<uint8_t>(b[i] - at - int64_t(i));
  }
  int* deaths_;
};

TEST(BinIO_Scrambler, ScramblesByMediumPositionAndIsReplacedOnce) {
  int deaths = 0;
  auto* s = new PositionScrambler(&deaths);
  BinIO_Scrambler::install(s);
  BinIO_Scrambler::install(s);
  EXPECT_EQ(deaths, 0) << "the same scrambler again does nothing";

  std::vector<int32_t> v(600), back(600);
  for (size_t i = 0; i < v.size(); ++i) v[i] = static_cast<int32_t>(i * 2654435761u);
  RecordingOutput out;
  ASSERT_TRUE(out.write(v.data(), v.size()) && out.flush());
  EXPECT_GT(out.rawWrites.size(), 1u);
  Bytes plain;
  for (int32_t x : v) be(plain, static_cast<uint32_t>(x), 4);
  Bytes medium = out.bytes();
  ASSERT_EQ(medium.size(), plain.size());
  for (size_t i = 0; i < plain.size(); ++i)
    ASSERT_EQ(medium[i], static_cast<uint8_t>(plain[i] + i)) << i;

  TricklingInput in(medium, 7);
  ASSERT_TRUE(in.read(back.data(), back.size()));
  EXPECT_EQ(back, v);
  ASSERT_TRUE(out.seekTo(13, true));
  uint8_t some[5];
  ASSERT_EQ(out.readBack(some, 5), 5u);
  EXPECT_EQ(Bytes(some, some + 5), Bytes(plain.begin() + 13, plain.begin() + 18));
  BinIO_Scrambler::install(nullptr);
  EXPECT_EQ(deaths, 1);
}

TEST(BinFiles, WriteReadBackMeasureAndAdoptHandles) {
  TempDir dir;
  QorString path(dir.file("a.bin").c_str());
  {
    BinOutputFile out(path);
    ASSERT_TRUE(out.good() && out.write(int16_t(0x0102)) && out.write(int8_t(3)));
    EXPECT_EQ(out.logicalTell(), 3);
    EXPECT_EQ(readFile(dir.file("a.bin")).size(), 0u) << "still in the buffer";
    ASSERT_TRUE(out.flush());
    EXPECT_EQ(readFile(dir.file("a.bin")), (Bytes{1, 2, 3}));
    ASSERT_TRUE(out.write(int32_t(0x04050607)) && out.seekTo(1, true));
    uint8_t back[6] = {};
    EXPECT_EQ(out.readBack(back, 6), 6u) << "emptied first, then read from the file";
    EXPECT_EQ(Bytes(back, back + 6), (Bytes{2, 3, 4, 5, 6, 7}));
    ASSERT_TRUE(out.seekTo(0, false) && out.write(int8_t(8)) && out.closeStream());
    EXPECT_TRUE(!out.good() && out.writeRaw(back, 1) == 0 && out.tell() == 0 && !out.seek(0, true));
    BinOutputFile unflushed(QorString(dir.file("b.bin").c_str()));
    ASSERT_TRUE(unflushed.write(int32_t(1)));
  }
  EXPECT_EQ(readFile(dir.file("a.bin")), (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(readFile(dir.file("b.bin")).size(), 0u) << "the destructor does not empty the buffer";

  BinInputFile in(path);
  ASSERT_TRUE(in.good());
  EXPECT_TRUE(in.size() == 8 && in.tell() == 0);
  uint64_t v = 0;
  ASSERT_TRUE(in.read(&v, 1));
  EXPECT_EQ(v, 0x0102030405060708ull);
  EXPECT_TRUE(!in.read(&v, 1) && in.good()) << "the end of a file is no error";
  EXPECT_TRUE(in.close() && !in.good() && in.readRaw(&v, 1) == 0);
  BinInputFile missing(QorString(dir.file("none").c_str()));
  EXPECT_TRUE(!missing.good() && missing.size() == 0 && !missing.seek(0, true));

  std::FILE* f = std::fopen(dir.file("a.bin").c_str(), "rb");
  ASSERT_TRUE(f != nullptr && std::fgetc(f) == 1);
  BinInputFile adopted(f);
  EXPECT_TRUE(adopted.size() == 8 && adopted.tell() == 1) << "measuring keeps the position";
  EXPECT_EQ(adopted.peekInt(), 0x02030405);
}

// The file classes keep windows of their own; against a plain byte vector, random writes,
// seeks (inside, behind and past the windows, and from the end), read-backs and reads must
// leave the same bytes and positions as a file without any window would.
TEST(BinFiles, WindowsBehaveLikeThePlainFileUnderRandomUse) {
  TempDir dir;
  QorString path(dir.file("w.bin").c_str());
  std::mt19937 rng(5);
  Bytes model;
  int64_t pos = 0;
  auto avail = [&](uint64_t n) {  // what the plain file holds from pos, at most n
    return pos >= static_cast<int64_t>(model.size()) ? 0
                                                     : std::min<uint64_t>(n, model.size() - pos);
  };
  {
    BinOutputFile out(path);
    for (int step = 0; step < 400; ++step) {
      int op = static_cast<int>(rng() % 10);
      if (op < 5) {
        size_t n = rng() % 3 ? rng() % 3000 : rng() % 150000;
        Bytes b(n);
        for (auto& x : b) x = static_cast<uint8_t>(rng());
        ASSERT_TRUE(out.writeBytes(b.data(), n));
        if (model.size() < static_cast<size_t>(pos) + n) model.resize(static_cast<size_t>(pos) + n);
        std::copy(b.begin(), b.end(), model.begin() + pos);
        pos += static_cast<int64_t>(n);
      } else if (op < 8) {
        int64_t to = static_cast<int64_t>(rng() % (model.size() + 5000));
        ASSERT_TRUE(out.seekTo(to, true));
        pos = to;
      } else if (op == 8) {
        int64_t back = static_cast<int64_t>(rng() % (model.size() + 1));
        ASSERT_TRUE(out.seekTo(-back, false));
        pos = static_cast<int64_t>(model.size()) - back;
      } else {
        uint8_t back[300];
        uint64_t got = out.readBack(back, sizeof back);
        ASSERT_TRUE(got == avail(300) && std::equal(back, back + got, model.begin() + pos));
        pos += static_cast<int64_t>(got);
      }
      ASSERT_EQ(out.logicalTell(), pos) << step;
    }
    ASSERT_TRUE(out.closeStream());
  }
  ASSERT_EQ(readFile(dir.file("w.bin")), model);

  BinInputFile in(path);
  ASSERT_EQ(in.size(), static_cast<int64_t>(model.size()));
  pos = 0;
  for (int step = 0; step < 2000; ++step) {
    if (rng() % 3 == 0) {
      int64_t to = static_cast<int64_t>(rng() % (model.size() + 100));
      if (rng() % 2) {
        ASSERT_TRUE(in.seek(to, true));
      } else {
        to = pos + static_cast<int64_t>(rng() % 200);  // a short skip forward
        ASSERT_TRUE(in.seek(to - static_cast<int64_t>(model.size()), false));
      }
      pos = to;
    }
    size_t n = rng() % 4 ? rng() % 64 : rng() % 200000;
    Bytes b(n);
    uint64_t got = in.readRaw(b.data(), n);
    ASSERT_EQ(got, avail(n)) << step;
    ASSERT_TRUE(std::equal(b.begin(), b.begin() + static_cast<long>(got), model.begin() + pos));
    pos += static_cast<int64_t>(got);
    ASSERT_EQ(in.tell(), pos);
  }
}

}  // namespace
