// Stored forms of the math values and colours, as golden bytes written out by hand: the
// bare big-endian stream forms, and the typed chunks of the data-model file in both length
// widths.
#include <gtest/gtest.h>

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

using namespace testkit;

const std::string kOne = "3FF0000000000000 ", kZero = "0000000000000000 ";
const Bytes kVector = hex("3FF0000000000000 C000000000000000 3FE0000000000000");  // 1, -2, 0.5
const Bytes kQuaternion = hex("3FE0000000000000" + kOne + "C000000000000000" + kZero);
const Bytes kColor = hex("3F800000 3F000000 00000000 3E800000");  // 1, 0.5, 0, 0.25
const Bytes kUnset2D = hex("47EFFFFFE0000000 47EFFFFFE0000000");
const Bytes kFloats2 = hex("40000000 BF800000");  // 2, -1

// Reads a value back from bytes with its own read, which must take them all.
template <class T>
T readBack(const Bytes& b, T start = T()) {
  BinInputMemory in(b.data(), b.size());
  EXPECT_TRUE(start.read(in) && in.tell() == static_cast<int64_t>(b.size()));
  return start;
}

// Writes `value` on a bare stream, compares with the golden bytes and reads it back.
template <class T>
void bare(const T& value, const Bytes& golden) {
  EXPECT_EQ(written(value), golden) << value;
  EXPECT_EQ(readBack<T>(golden), value);
}

TEST(StoredForms, BareStreamsAreTheFieldsInOrderBigEndian) {
  bare(QorVector(1, -2, 0.5), kVector);
  bare(QorMatrix::fromTranslation({1, 2, 3}),
       hex(kOne + kZero + kZero + kOne +                // row 0, x 1
           kZero + kOne + kZero + "4000000000000000" +  // row 1, y 2
           kZero + kZero + kOne + "4008000000000000" +  // row 2, z 3
           kZero + kZero + kZero + kOne));
  bare(QorBounds(), hex("47EFFFFFE0000000 47EFFFFFE0000000 47EFFFFFE0000000"
                        "C7EFFFFFE0000000 C7EFFFFFE0000000 C7EFFFFFE0000000"));
  bare(Vector2D(), kUnset2D);
  bare(Vector2F(2, -1), kFloats2);
  bare(QorQuaternion(0.5, 1, -2, 0), kQuaternion);
  bare(PlaneEquation(QorVector(0, -0.0, 1), 2),
       hex(kZero + "8000000000000000" + kOne + "4000000000000000"));
  bare(QorColor(1, 0.5f, 0, 0.25f), kColor);
  EXPECT_EQ(readBack<QorRect>(hex("4000000000000000" + kOne + kZero + kZero)), QorRect(0, 0, 2, 1))
      << "stored corners are sorted";
}

TEST(StoredForms, HlsColourCarriesItsMarkAndRefusesNewerVersions) {
  Bytes b = hex("074BB400 | 3F800000 00000000 3F000000");
  QorHlsColor c(QorColor(1, 0, 0.5f, 1));
  EXPECT_EQ(written(c), b);
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
    EXPECT_EQ(keep.red + keep.hue, 0.1f);
  }
}

// Writes `value` as a typed chunk, compares with the chunk of `tag` around the golden
// payload, and reads it back.
template <class T>
void filedAs(int32_t generation, const T& value, uint32_t tag, const Bytes& payload) {
  const int width = generation == 0 ? 8 : 4;
  Bytes golden = chunk(tag, 0, payload, width);
  EXPECT_EQ(filed(generation, [&](QorFileWrite& w) { w << value; }), golden) << std::hex << tag;
  FileReader f(golden, width);
  T back{};
  EXPECT_TRUE(f.r.read(back) && f.r.good() && f.in.tell() == static_cast<int64_t>(golden.size()));
  EXPECT_TRUE(back == value) << std::hex << tag;
}

TEST(StoredForms, DataModelChunksOfTheMathValues) {
  for (int32_t generation : {0, 5}) {
    const int width = generation == 0 ? 8 : 4;
    SCOPED_TRACE(width);
    filedAs(generation, QorVector(1, -2, 0.5), 0x010000, kVector);
    filedAs(generation, QorColor(1, 0.5f, 0, 0.25f), 0x010001, kColor);
    std::string rows;
    for (int i = 0; i < 16; ++i) rows += i == 0 ? "4000000000000000" : i % 5 == 0 ? kOne : kZero;
    filedAs(generation, QorMatrix::scale(2, 1, 1), 0x010004, hex(rows));
    filedAs(generation, QorQuaternion(0.5, 1, -2, 0), 0x010007, kQuaternion);
    filedAs(generation, QorRect(0, 0, 2, 1), 0x010006,
            hex(kZero + kZero + "4000000000000000" + kOne));
    filedAs(generation, Vector2D(), 0x010009, kUnset2D);
    filedAs(generation, Vector2F(2, -1), 0x010010, kFloats2);
    FileReader swapped(chunk(0x010006, 0, hex("4000000000000000" + kOne + kZero + kZero), width),
                       width);
    QorRect r;
    EXPECT_TRUE(swapped.r.read(r) && r == QorRect(0, 0, 2, 1)) << "read sorts corners";

    // A material: four nested colour chunks, two bare floats, a signed 32-bit face; 136
    // bytes in all with 8-byte lengths.
    Bytes payload;
    for (const char* c :
         {"3F800000 00000000 00000000 3F800000", "00000000 3F000000 00000000 3F800000",
          "00000000 00000000 00000000 00000000", "3E800000 3E800000 3E800000 3F800000"})
      payload = payload + chunk(0x010001, 0, hex(c), width);
    payload = payload + hex("3F000000 40000000 00000002");
    EXPECT_EQ(chunk(0x010002, 0, payload, width).size(), width == 8 ? 136u : 116u);
    filedAs(generation,
            QorMaterial(QorColor(1, 0, 0, 1), QorColor(0, 0.5f, 0, 1), QorColor(0, 0, 0, 0),
                        QorColor(0.25f, 0.25f, 0.25f, 1), 0.5f, 2, 2),
            0x010002, payload);
  }
  FileReader f(chunk(0x010000, 0, kVector));
  QorColor c;
  QorMaterial m;
  EXPECT_TRUE(!f.r.read(c) && !f.r.good()) << "a vector chunk is no colour";
  EXPECT_FALSE(f.r.read(m)) << "and the flag stays clear";
}

}  // namespace
