// Stored forms of the math values and colours, as golden bytes written out by hand: the
// bare big-endian stream forms, and the typed chunks of the data-model file in both length
// widths.
#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "math/planeequation.h"
#include "math/qorbounds.h"
#include "math/qorhlscolor.h"
#include "math/qormaterial.h"
#include "math/qormatrix.h"
#include "math/qorrect.h"
#include "math/vector2d.h"
#include "math/vector2f.h"
#include "persistence/qorfile.h"
#include "testkit.h"

namespace {

using testkit::Bytes;
using testkit::RecordingOutput;

// Bytes from hex text; blanks and bars are for the eye.
Bytes hex(const std::string& text) {
  Bytes b;
  int nibbles = 0, value = 0;
  for (char ch : text) {
    if (!std::isxdigit(static_cast<unsigned char>(ch))) continue;
    value = value * 16 +
            (std::isdigit(static_cast<unsigned char>(ch)) ? ch - '0' : std::toupper(ch) - 'A' + 10);
    if (++nibbles == 2) {
      b.push_back(static_cast<uint8_t>(value));
      nibbles = value = 0;
    }
  }
  return b;
}

// What `fn` writes on a fresh memory stream.
template <class Fn>
Bytes streamed(Fn fn) {
  RecordingOutput out;
  EXPECT_TRUE(fn(out));
  EXPECT_TRUE(out.flush());
  return out.bytes();
}

// Reads a value back from bytes with its own read.
template <class T>
T readBack(const Bytes& b, T start = T()) {
  BinInputMemory in(b.data(), b.size());
  EXPECT_TRUE(start.read(in));
  EXPECT_EQ(in.tell(), static_cast<int64_t>(b.size()));
  return start;
}

const char* kOne = "3FF0000000000000";
const char* kZero = "0000000000000000";

// Writes `value` on a bare stream, compares with the golden bytes and reads it back.
template <class T>
void bare(const T& value, const Bytes& golden) {
  EXPECT_EQ(streamed([&](BinOutput& o) { return value.write(o); }), golden) << value;
  EXPECT_EQ(readBack<T>(golden), value);
}

TEST(StoredForms, BareStreamsAreTheFieldsInOrderBigEndian) {
  bare(QorVector(1, -2, 0.5), hex("3FF0000000000000 C000000000000000 3FE0000000000000"));
  bare(QorMatrix::fromTranslation({1, 2, 3}),
       hex(std::string(kOne) + kZero + kZero + kOne +   // row 0, x 1
           kZero + kOne + kZero + "4000000000000000" +  // row 1, y 2
           kZero + kZero + kOne + "4008000000000000" +  // row 2, z 3
           kZero + kZero + kZero + kOne));
  bare(QorBounds(), hex("47EFFFFFE0000000 47EFFFFFE0000000 47EFFFFFE0000000"
                        "C7EFFFFFE0000000 C7EFFFFFE0000000 C7EFFFFFE0000000"));
  bare(Vector2D(), hex("47EFFFFFE0000000 47EFFFFFE0000000"));
  bare(Vector2F(2, -1), hex("40000000 BF800000"));
  bare(QorQuaternion(0.5, 1, -2, 0),
       hex("3FE0000000000000 3FF0000000000000 C000000000000000 0000000000000000"));
  bare(PlaneEquation(QorVector(0, -0.0, 1), 2),
       hex("0000000000000000 8000000000000000 3FF0000000000000 4000000000000000"));
  bare(QorColor(1, 0.5f, 0, 0.25f), hex("3F800000 3F000000 00000000 3E800000"));
  Bytes rect = hex("4000000000000000 3FF0000000000000 0000000000000000 0000000000000000");
  EXPECT_EQ(readBack<QorRect>(rect), QorRect(0, 0, 2, 1)) << "stored corners are sorted";
}

TEST(StoredForms, HlsColourCarriesItsMarkAndRefusesNewerVersions) {
  Bytes b = hex("074BB400 | 3F800000 00000000 3F000000");
  QorHlsColor c(QorColor(1, 0, 0.5f, 1));
  EXPECT_EQ(streamed([&](BinOutput& o) { return c.write(o); }), b);
  QorHlsColor back = readBack<QorHlsColor>(b);
  EXPECT_EQ(back.blue, 0.5f);
  EXPECT_FLOAT_EQ(back.hue, 0.9166667f) << "toHls runs after reading";

  for (const char* bad : {"074BB401 3F800000 00000000 3F000000",     // version 1
                          "074BB500 3F800000 00000000 3F000000"}) {  // another id
    Bytes wrong = hex(bad);
    BinInputMemory in(wrong.data(), wrong.size());
    QorHlsColor keep(QorColor(0.1f, 0.2f, 0.3f, 1));
    EXPECT_FALSE(keep.read(in)) << bad;
    EXPECT_EQ(in.tell(), 4) << "the stream stands behind the mark";
    EXPECT_EQ(keep.red, 0.1f);
    EXPECT_EQ(keep.hue, 0.0f);
  }
}

// A value chunk in width w: the word, the length including the header, the payload.
Bytes chunk(const char* word, int width, const Bytes& payload) {
  Bytes b = hex(word);
  testkit::be(b, payload.size() + 4 + static_cast<uint64_t>(width), width);
  b.insert(b.end(), payload.begin(), payload.end());
  return b;
}

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

template <class T>
T fileBack(const Bytes& b, int width, T value = T()) {
  BinInputMemory in(b.data(), b.size());
  width == 8 ? in.setLengthWidth64() : in.setLengthWidth32();
  QorFileRead r;
  r.attach(&in);
  EXPECT_TRUE(r.read(value));
  EXPECT_TRUE(r.good());
  EXPECT_EQ(in.tell(), static_cast<int64_t>(b.size()));
  return value;
}

// Writes `value` as a typed chunk, compares with the chunk of `word` around the golden
// payload, and reads it back.
template <class T>
void filedAs(int generation, const T& value, const char* word, const Bytes& payload) {
  int width = generation == 0 ? 8 : 4;
  Bytes golden = chunk(word, width, payload);
  EXPECT_EQ(filed(generation, [&](QorFileWrite& w) { w << value; }), golden) << word;
  EXPECT_TRUE(fileBack<T>(golden, width) == value) << word;
}

TEST(StoredForms, DataModelChunksOfTheMathValues) {
  for (int generation : {0, 5}) {
    int width = generation == 0 ? 8 : 4;
    SCOPED_TRACE(width);
    filedAs(generation, QorVector(1, -2, 0.5), "01000000",
            hex("3FF0000000000000 C000000000000000 3FE0000000000000"));
    filedAs(generation, QorColor(1, 0.5f, 0, 0.25f), "01000100",
            hex("3F800000 3F000000 00000000 3E800000"));
    QorMatrix m = QorMatrix::scale(2, 1, 1);
    Bytes rows;
    for (int i = 0; i < 16; ++i) {
      Bytes one = hex(i == 0 ? "4000000000000000" : i % 5 == 0 ? kOne : kZero);
      rows.insert(rows.end(), one.begin(), one.end());
    }
    filedAs(generation, m, "01000400", rows);
    filedAs(generation, QorQuaternion(0.5, 1, -2, 0), "01000700",
            hex("3FE0000000000000 3FF0000000000000 C000000000000000 0000000000000000"));
    filedAs(generation, QorRect(0, 0, 2, 1), "01000600",
            hex("0000000000000000 0000000000000000 4000000000000000 3FF0000000000000"));
    filedAs(generation, Vector2D(), "01000900", hex("47EFFFFFE0000000 47EFFFFFE0000000"));
    filedAs(generation, Vector2F(2, -1), "01001000", hex("40000000 BF800000"));
    Bytes swapped = chunk("01000600", width,
                          hex("4000000000000000 3FF0000000000000" + std::string(kZero) + kZero));
    EXPECT_EQ(fileBack<QorRect>(swapped, width), QorRect(0, 0, 2, 1)) << "read sorts corners";

    // A material: four nested colour chunks, two bare floats, a signed 32-bit face; 136
    // bytes in all with 8-byte lengths.
    QorMaterial mat(QorColor(1, 0, 0, 1), QorColor(0, 0.5f, 0, 1), QorColor(0, 0, 0, 0),
                    QorColor(0.25f, 0.25f, 0.25f, 1), 0.5f, 2, 2);
    Bytes payload;
    for (const char* c :
         {"3F800000 00000000 00000000 3F800000", "00000000 3F000000 00000000 3F800000",
          "00000000 00000000 00000000 00000000", "3E800000 3E800000 3E800000 3F800000"}) {
      Bytes one = chunk("01000100", width, hex(c));
      payload.insert(payload.end(), one.begin(), one.end());
    }
    Bytes tail = hex("3F000000 40000000 00000002");
    payload.insert(payload.end(), tail.begin(), tail.end());
    EXPECT_EQ(chunk("01000200", width, payload).size(), width == 8 ? 136u : 116u);
    filedAs(generation, mat, "01000200", payload);
  }
}

TEST(StoredForms, WrongChunkKindClearsTheReader) {
  Bytes vec = chunk("01000000", 8, hex("3FF0000000000000 C000000000000000 3FE0000000000000"));
  BinInputMemory in(vec.data(), vec.size());
  in.setLengthWidth64();
  QorFileRead r;
  r.attach(&in);
  QorColor c;
  EXPECT_FALSE(r.read(c));
  EXPECT_FALSE(r.good()) << "a vector chunk is no colour";
  QorMaterial m;
  EXPECT_FALSE(r.read(m)) << "and the flag stays clear";
}

}  // namespace
