// Class identifiers: wire form in GUID field order, the braced and list text forms, generate.
#include "persistence/qorid.h"

#include <gtest/gtest.h>

#include <string>

#include "persistence/binio.h"
#include "testkit.h"

namespace {

using namespace testkit;

const QorID kSample(0x6b29fc40, 0xca47, 0x1067, {0xb3, 0x1d, 0x00, 0xdd, 0x01, 0x06, 0x62, 0xda});

TEST(QorID, WireFormIsFieldsBigEndianThenTheEightBytes) {
  Bytes expected = hex("6b29fc40 ca47 1067 b31d00dd010662da");
  EXPECT_EQ(streamed([](BinOutput& o) { return kSample.write(o); }), expected);
  BinInputMemory in(expected.data(), expected.size());
  QorID back;
  ASSERT_TRUE(back.read(in));
  EXPECT_TRUE(back == kSample && !back.read(in)) << "nothing left";
}

TEST(QorID, BracedFormIsLowerCaseAndParsedByPosition) {
  EXPECT_STREQ(kSample.toString().c_str(), "{6b29fc40-ca47-1067-b31d-00dd010662da}");
  EXPECT_STREQ(QorID().toString().c_str(), "{00000000-0000-0000-0000-000000000000}");
  EXPECT_EQ(QorID::fromString("{6B29FC40-CA47-1067-B31D-00DD010662DA}"), kSample);
  // Separators and braces are not looked at: any 38 characters parse by position.
  EXPECT_EQ(QorID::fromString("{6b29fc40-ca47-1067-b31d-00dd010662dax"), kSample);
  EXPECT_EQ(QorID::fromString("x6b29fc40xca47x1067xb31dx00dd010662da!"), kSample);
  const char* nulls[] = {"{6b29fc40-ca47-1067-b31d-00dd010662da",    // 37
                         "{6b29fc40-ca47-1067-b31d-00dd010662da}}",  // 39
                         "{6b29fc40-ca47-1067-b31d-00dd010662dg}",   // not hexadecimal
                         "{ 6b29fc4-ca47-1067-b31d-00dd010662da}",   // blank inside a part
                         "",
                         nullptr};
  for (const char* t : nulls) EXPECT_FALSE(QorID::fromString(t).isValid()) << (t ? t : "null");
  // Every field lands in its place: walk a single 1 through all 32 digits.
  for (int digit = 0; digit < 32; ++digit) {
    std::string zero = QorID().toString().c_str();
    static const int places[32] = {1,  2,  3,  4,  5,  6,  7,  8,  10, 11, 12, 13, 15, 16, 17, 18,
                                   20, 21, 22, 23, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 35, 36};
    zero[static_cast<size_t>(places[digit])] = '1';
    QorID id = QorID::fromString(zero.c_str());
    EXPECT_STREQ(id.toString().c_str(), zero.c_str());
    EXPECT_TRUE(id.isValid());
  }
}

TEST(QorID, ListFormStopsAtTheFirstPieceThatDoesNotScan) {
  EXPECT_STREQ(kSample.toListString().c_str(),
               "0x6b29fc40, 0xca47, 0x1067, 0xb3, 0x1d, 0x0, 0xdd, 0x1, 0x6, 0x62, 0xda");
  EXPECT_EQ(QorID::fromListString(kSample.toListString().c_str()), kSample);
  QorID partial = QorID::fromListString("0x1,2 , zz, 0x4");
  EXPECT_EQ(partial, QorID(1, 2, 0, {0, 0, 0, 0, 0, 0, 0, 0}));
  QorID shortList = QorID::fromListString("a, b, c, d");
  EXPECT_EQ(shortList, QorID(0xa, 0xb, 0xc, {0xd, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_FALSE(QorID::fromListString(nullptr).isValid());
  // Only the first 150 characters count: padding pushes the last piece out of reach.
  std::string padded = "1, 2, 3, 4, 5, 6, 7, 8, 9, a," + std::string(121, ' ') + "b";
  ASSERT_GT(padded.size(), 150u);
  QorID cut = QorID::fromListString(padded.c_str());
  EXPECT_TRUE(cut.Data4[6] == 0xa && cut.Data4[7] == 0);
}

TEST(QorID, GenerateGivesDistinctValidIds) {
  QorID a, b;
  ASSERT_TRUE(a.generate() && b.generate());
  EXPECT_TRUE(a.isValid() && !(a == b) && QorID::fromString(a.toString().c_str()) == a);
  const GUID* asGuid = &a;  // passes where the class factory wants a GUID
  EXPECT_TRUE(Platform::guidEqual(*asGuid, a));
}

}  // namespace
