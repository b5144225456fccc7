// Stored forms of the value properties inside a data-model file: hand-written golden bytes
// per class, read back into a fresh property that writes the same bytes again, reading
// through setValue, the skip of an unknown version, and the classes that store nothing.
#include <gtest/gtest.h>

#include <vector>

#include "datamodel/boolproperty.h"
#include "datamodel/doubleproperty.h"
#include "datamodel/intproperty.h"
#include "datamodel/qorcolorproperty.h"
#include "datamodel/qormaterialproperty.h"
#include "datamodel/qorquaternionproperty.h"
#include "datamodel/qorrectproperty.h"
#include "datamodel/stringproperty.h"
#include "persistence/memstream.h"
#include "persistence/qorfile.h"
#include "support.h"

namespace {

using namespace props_test;
using Bytes = std::vector<uint8_t>;

// An object chunk of a file with 8-byte lengths (tag 0x0B0002): class id, then payload.
Bytes object(uint8_t version, const Bytes& id, const Bytes& payload) {
  Bytes b = {0x0b, 0x00, 0x02, version, 0, 0,
             0,    0,    0,    0,       0, static_cast<uint8_t>(12 + id.size() + payload.size())};
  b.insert(b.end(), id.begin(), id.end());
  b.insert(b.end(), payload.begin(), payload.end());
  return b;
}

const Bytes kIntId = {0x08, 0x8f, 0xe0, 0xea, 0xa8, 0xb3, 0x48, 0xab,
                      0xbc, 0xa7, 0x7f, 0xcb, 0x94, 0x8a, 0xc3, 0x80};
const Bytes kDoubleId = {0xe8, 0x1c, 0x94, 0xc1, 0x08, 0x60, 0x42, 0x44,
                         0x94, 0x91, 0x40, 0xe9, 0x3b, 0x22, 0x46, 0xbb};
const Bytes kBoolId = {0xbb, 0x34, 0x60, 0x9a, 0x22, 0xfd, 0x4e, 0xb0,
                       0x90, 0x9c, 0x7e, 0x7b, 0xc8, 0x19, 0x51, 0x5c};
const Bytes kStringId = {0xfa, 0x1d, 0x92, 0x22, 0xba, 0x5e, 0x4c, 0xe3,
                         0xa8, 0xbf, 0x77, 0x43, 0x69, 0x2b, 0x30, 0x77};
const Bytes kColorId = {0x9f, 0xae, 0xde, 0xa4, 0x6f, 0x30, 0x4b, 0x1b,
                        0xbe, 0x1d, 0xaf, 0x15, 0x13, 0xc7, 0xeb, 0x1a};

// The bytes `p` writes on a fresh memory stream (8-byte lengths).
Bytes written(IQorWriteable* p) {
  BinOutputMemory out;
  {
    QorFileWrite w(&out, false);
    EXPECT_TRUE(p->write(&w) && w.good());
  }
  EXPECT_TRUE(out.flush());
  return Bytes(out.data(), out.data() + out.size());
}

// Reads `bytes` into `p` and tells whether the reader stayed good.
bool readInto(IQorWriteable* p, const Bytes& bytes) {
  BinInputMemory in(bytes.data(), bytes.size());
  in.setLengthWidth64();  // the width a root chunk of version 1 would set
  QorFileRead r;
  r.attach(&in);
  EXPECT_TRUE(p->read(&r));
  return r.good();
}

TEST(StoredForm, GoldenBytesPerClassReadBackIntoTheSameBytes) {
  struct Row {
    IPtr<Property> p, back;
    Bytes bytes;
  };
  const QorString n("n");
  const QorMaterial m(QorColor(1, 0, 0, 1), QorColor(0, 1, 0, 1), QorColor(0, 0, 1, 1),
                      QorColor(0, 0, 0, 0), 0.5f, 2.0f, 1);
  Row rows[] = {
      {new IntProperty(n, -2, false, true), new IntProperty(n, false),
       object(0, kIntId, {0xff, 0xff, 0xff, 0xfe})},
      {new DoubleProperty(n, 2.5, false, true), new DoubleProperty(n, false),
       object(0, kDoubleId, {0x40, 0x04, 0, 0, 0, 0, 0, 0})},
      {new BoolProperty(n, true, false, true), new BoolProperty(n, false, true),
       object(0, kBoolId, {0x01})},
      // The text goes in a QorString chunk (0x010005) of 16-bit units.
      {new StringProperty(n, QorString("ab"), false, true), new StringProperty(n, false, true),
       object(0, kStringId,
              {0x01, 0x00, 0x05, 0x00, 0, 0, 0, 0, 0, 0, 0, 0x10, 0x00, 0x61, 0x00, 0x62})},
      // Red 0, green 0, blue 1, alpha 128/255: the word 0x80FF0000, stored big-endian.
      {new QorColorProperty(n, QorColor(0, 0, 1, 128.0f / 255), false, true),
       new QorColorProperty(n, false, true), object(0, kColorId, {0x80, 0xff, 0x00, 0x00})},
  };
  for (Row& r : rows) {
    SCOPED_TRACE(r.p->className());
    EXPECT_TRUE(written(r.p.get()) == r.bytes && readInto(r.back.get(), r.bytes) &&
                written(r.back.get()) == r.bytes && printed(r.back.get()) == printed(r.p.get()));
  }
  // A material: four words, two floats, one int after the header and class id.
  IPtr<QorMaterialProperty> mp(new QorMaterialProperty("m", m, false, true));
  Bytes mb = written(mp.get());
  ASSERT_EQ(mb.size(), 56u);
  EXPECT_EQ(
      Bytes(mb.begin() + 28, mb.end()),
      (Bytes{0xff, 0x00, 0x00, 0xff, 0xff, 0x00, 0xff, 0x00, 0xff, 0xff, 0x00, 0x00, 0x00, 0x00,
             0x00, 0x00, 0x3f, 0x00, 0x00, 0x00, 0x40, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01}));
  IPtr<QorMaterialProperty> mback(new QorMaterialProperty("m", false, true));
  EXPECT_TRUE(readInto(mback.get(), mb) && mback->currentValue() == m);
  // Eight bits per colour channel: 0.3 comes back as 77/255.
  IPtr<QorColorProperty> lossy(new QorColorProperty("c", QorColor(0.3f, 0, 0, 1), false, true));
  IPtr<QorColorProperty> got(new QorColorProperty("c", false, true));
  EXPECT_TRUE(readInto(got.get(), written(lossy.get())));
  EXPECT_FLOAT_EQ(got->currentValue().red, 77.0f / 255);
}

TEST(StoredForm, ReadingGoesThroughSetValueAndSkipsUnknownVersions) {
  IPtr<IntProperty> p(new IntProperty("n", 1, false, 0, 10, true));
  Recorder rec;
  p->subscribe("property_modified", &rec);
  EXPECT_TRUE(readInto(p.get(), object(0, kIntId, {0, 0, 0, 7})));
  ASSERT_TRUE(p->getValue() == 7 && rec.heard.size() == 1u);
  EXPECT_EQ(rec.heard[0].newValue, "7");
  // An out-of-bounds stored value raises on load.
  EXPECT_EQ(raised([&] { readInto(p.get(), object(0, kIntId, {0, 0, 0, 99})); }).code, 6);
  EXPECT_EQ(p->getValue(), 7);
  // Version 1: the value stays and the reader stands behind the chunk, so the next chunk
  // reads as it should.
  Bytes two = object(1, kIntId, {0, 0, 0, 3});
  Bytes next = object(0, kIntId, {0, 0, 0, 4});
  two.insert(two.end(), next.begin(), next.end());
  BinInputMemory in(two.data(), two.size());
  in.setLengthWidth64();
  QorFileRead r;
  r.attach(&in);
  EXPECT_TRUE(p->read(&r) && p->getValue() == 7 && p->read(&r) && p->getValue() == 4 && r.good());
}

TEST(StoredForm, QuaternionsRectsAndTheBaseStoreNothing) {
  IPtr<QorQuaternionProperty> q(
      new QorQuaternionProperty("q", QorQuaternion(1, 2, 3, 4), false, true));
  IPtr<QorRectProperty> rect(new QorRectProperty("r", QorRect(0, 0, 1, 1), false, true));
  IPtr<Property> base(new Property(QorString("p"), false, true));
  for (IQorWriteable* p : std::initializer_list<IQorWriteable*>{q.get(), rect.get(), base.get()})
    EXPECT_TRUE(written(p).empty());
  // (w, x, y, z) as constructed: reading took nothing.
  EXPECT_TRUE(readInto(q.get(), Bytes{}) && q->currentValue().z == 4.0);
  // The base has no class identifier.
  Raised r = raised([&] { base->classId(); });
  EXPECT_TRUE(r.code == 6 &&
              r.text == "Error in class Document: Serialization not supported for Property.");
  EXPECT_EQ(raised([&] { q->classId(); }).text,
            "Error in class Document: Serialization not supported for QorQuaternionProperty.");
  // Writeable from construction on; the switch is only a flag.
  q->setWriteable(false);
  EXPECT_TRUE(rect->isWriteable() && !q->isWriteable());
}

}  // namespace
