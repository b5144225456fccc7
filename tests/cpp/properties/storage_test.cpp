// Stored forms of the value properties inside a data-model file: hand-written golden bytes
// for the int, double, bool and string classes (and the colour, material and box forms),
// reading back through setValue, the skip of an unknown version, and the classes that
// store nothing.
#include <gtest/gtest.h>

#include <cstring>
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

// The object chunk header of a file with 8-byte lengths: tag 0x0B0002, version, length.
Bytes objectHeader(uint8_t version, uint8_t length) {
  return {0x0b, 0x00, 0x02, version, 0, 0, 0, 0, 0, 0, 0, length};
}

Bytes cat(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& p : parts) all.insert(all.end(), p.begin(), p.end());
  return all;
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

// Writes with `fn` on a fresh memory stream (8-byte lengths) and gives the bytes.
template <class Fn>
Bytes written(Fn fn) {
  BinOutputMemory out;
  {
    QorFileWrite w(&out, false);
    fn(w);
    EXPECT_TRUE(w.good());
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

TEST(StoredForm, IntDoubleBoolAndStringGoldenBytes) {
  IPtr<IntProperty> i(new IntProperty("i", 5, false, true));
  EXPECT_EQ(written([&](QorFileWrite& w) { EXPECT_TRUE(i->write(&w)); }),
            cat({objectHeader(0, 0x20), kIntId, {0, 0, 0, 5}}));
  i->setValue(-2);
  EXPECT_EQ(written([&](QorFileWrite& w) { i->write(&w); }),
            cat({objectHeader(0, 0x20), kIntId, {0xff, 0xff, 0xff, 0xfe}}));

  IPtr<DoubleProperty> d(new DoubleProperty("d", 2.5, false, true));
  EXPECT_EQ(written([&](QorFileWrite& w) { d->write(&w); }),
            cat({objectHeader(0, 0x24), kDoubleId, {0x40, 0x04, 0, 0, 0, 0, 0, 0}}));

  IPtr<BoolProperty> b(new BoolProperty("b", true, false, true));
  EXPECT_EQ(written([&](QorFileWrite& w) { b->write(&w); }),
            cat({objectHeader(0, 0x1d), kBoolId, {0x01}}));

  // The text goes in a QorString chunk (0x010005) of 16-bit units.
  IPtr<StringProperty> s(new StringProperty("s", QorString("ab"), false, true));
  EXPECT_EQ(written([&](QorFileWrite& w) { s->write(&w); }),
            cat({objectHeader(0, 0x2c),
                 kStringId,
                 {0x01, 0x00, 0x05, 0x00, 0, 0, 0, 0, 0, 0, 0, 0x10, 0x00, 0x61, 0x00, 0x62}}));
}

TEST(StoredForm, ColourWordsMaterialAndBoxes) {
  // Red 0, green 0, blue 1, alpha 128/255: the word 0x80FF0000, stored big-endian.
  IPtr<QorColorProperty> c(new QorColorProperty("c", QorColor(0, 0, 1, 128.0f / 255), false, true));
  const Bytes colour = cat({objectHeader(0, 0x20), kColorId, {0x80, 0xff, 0x00, 0x00}});
  EXPECT_EQ(written([&](QorFileWrite& w) { c->write(&w); }), colour);
  IPtr<QorColorProperty> back(new QorColorProperty("c", false, true));
  EXPECT_TRUE(readInto(back.get(), colour));
  QorColor got;
  back->getValue(got);
  EXPECT_EQ(got.red, 0.0f);
  EXPECT_EQ(got.blue, 1.0f);
  EXPECT_FLOAT_EQ(got.alpha, 128.0f / 255);
  // Eight bits per channel: 0.3 comes back as 77/255.
  IPtr<QorColorProperty> lossy(new QorColorProperty("c", QorColor(0.3f, 0, 0, 1), false, true));
  Bytes lossyBytes = written([&](QorFileWrite& w) { lossy->write(&w); });
  EXPECT_TRUE(readInto(back.get(), lossyBytes));
  back->getValue(got);
  EXPECT_FLOAT_EQ(got.red, 77.0f / 255);

  // Four words, two floats, one int: 12 + 16 + 16 + 8 + 4 bytes.
  QorMaterial m(QorColor(1, 0, 0, 1), QorColor(0, 1, 0, 1), QorColor(0, 0, 1, 1),
                QorColor(0, 0, 0, 0), 0.5f, 2.0f, 1);
  IPtr<QorMaterialProperty> mp(new QorMaterialProperty("m", m, false, true));
  Bytes mb = written([&](QorFileWrite& w) { mp->write(&w); });
  ASSERT_EQ(mb.size(), 56u);
  EXPECT_EQ(
      Bytes(mb.begin() + 28, mb.end()),
      (Bytes{0xff, 0x00, 0x00, 0xff, 0xff, 0x00, 0xff, 0x00, 0xff, 0xff, 0x00, 0x00, 0x00, 0x00,
             0x00, 0x00, 0x3f, 0x00, 0x00, 0x00, 0x40, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01}));
  IPtr<QorMaterialProperty> mback(new QorMaterialProperty("m", false, true));
  EXPECT_TRUE(readInto(mback.get(), mb));
  QorMaterial mgot;
  mback->getValue(mgot);
  EXPECT_TRUE(mgot == m);
}

TEST(StoredForm, ReadingGoesThroughSetValueAndSkipsUnknownVersions) {
  IPtr<IntProperty> p(new IntProperty("n", 1, false, 0, 10, true));
  ChangeRecorder rec;
  p->subscribe("property_modified", &rec);
  EXPECT_TRUE(readInto(p.get(), cat({objectHeader(0, 0x20), kIntId, {0, 0, 0, 7}})));
  EXPECT_EQ(p->getValue(), 7);
  ASSERT_EQ(rec.changes.size(), 1u);
  EXPECT_EQ(rec.changes[0].newValue, "7");
  // An out-of-bounds stored value raises on load.
  EXPECT_EQ(raised([&] {
              readInto(p.get(), cat({objectHeader(0, 0x20), kIntId, {0, 0, 0, 99}}));
            }).code,
            6);
  EXPECT_EQ(p->getValue(), 7);

  // Version 1: the value stays and the reader stands behind the chunk, so the next chunk
  // reads as it should.
  Bytes twoChunks = cat(
      {objectHeader(1, 0x20), kIntId, {0, 0, 0, 3}, objectHeader(0, 0x20), kIntId, {0, 0, 0, 4}});
  BinInputMemory in(twoChunks.data(), twoChunks.size());
  in.setLengthWidth64();
  QorFileRead r;
  r.attach(&in);
  EXPECT_TRUE(p->read(&r));
  EXPECT_EQ(p->getValue(), 7);
  EXPECT_TRUE(p->read(&r));
  EXPECT_EQ(p->getValue(), 4);
  EXPECT_TRUE(r.good());

  IPtr<StringProperty> s(new StringProperty("s", false, true));
  EXPECT_TRUE(readInto(
      s.get(), cat({objectHeader(0, 0x2c),
                    kStringId,
                    {0x01, 0x00, 0x05, 0x00, 0, 0, 0, 0, 0, 0, 0, 0x10, 0x00, 0x68, 0x00, 0x69}})));
  EXPECT_EQ(printed(s.get()), "hi");
  IPtr<BoolProperty> b(new BoolProperty("b", false, false, true));
  EXPECT_TRUE(readInto(b.get(), cat({objectHeader(0, 0x1d), kBoolId, {0x01}})));
  EXPECT_TRUE(b->getValue());
  IPtr<DoubleProperty> d(new DoubleProperty("d", 0.0, false, true));
  EXPECT_TRUE(
      readInto(d.get(), cat({objectHeader(0, 0x24), kDoubleId, {0xc0, 0x04, 0, 0, 0, 0, 0, 0}})));
  EXPECT_EQ(d->getValue(), -2.5);
}

TEST(StoredForm, QuaternionsRectsAndTheBaseStoreNothing) {
  IPtr<QorQuaternionProperty> q(
      new QorQuaternionProperty("q", QorQuaternion(1, 2, 3, 4), false, true));
  IPtr<QorRectProperty> rect(new QorRectProperty("r", QorRect(0, 0, 1, 1), false, true));
  IPtr<Property> base(new Property(QorString("p"), false, true));
  EXPECT_TRUE(written([&](QorFileWrite& w) {
                EXPECT_TRUE(q->write(&w));
                EXPECT_TRUE(rect->write(&w));
                EXPECT_TRUE(base->write(&w));
              }).empty());
  Bytes nothing;
  EXPECT_TRUE(readInto(q.get(), nothing));
  QorQuaternion qv;
  q->getValue(qv);
  EXPECT_EQ(qv.z, 4.0);  // (w, x, y, z) as constructed: reading took nothing
  // The base has no class identifier.
  Raised r = raised([&] { base->classId(); });
  EXPECT_EQ(r.code, 6);
  EXPECT_EQ(r.text, "Error in class Document: Serialization not supported for Property.");
  EXPECT_EQ(raised([&] { q->classId(); }).text,
            "Error in class Document: Serialization not supported for QorQuaternionProperty.");
  // Writeable from construction on; the switch is only a flag.
  EXPECT_TRUE(q->isWriteable());
  q->setWriteable(false);
  EXPECT_FALSE(q->isWriteable());
}

}  // namespace
