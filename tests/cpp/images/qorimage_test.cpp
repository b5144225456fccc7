// The raster image: storage rules, the colour and grey rules, drawing and resampling edge
// cases, the plain file forms and the stored form, byte for byte against bytes written out
// by hand. A packing service and a writer service stand in for the host's.
#include "bulk/qorimage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "base/qorpath.h"
#include "refhost/host.h"
#include "testkit.h"

using testkit::Bytes;
using testkit::operator+;

namespace {

// Packs as width, height, depth (one byte each) and the rows, in a malloc block.
struct FakePacker : IQorCompressPNG {
  void queryInterface(const char*, void** out, uintptr_t) override { *out = this; }
  const char* className() override { return "FakePacker"; }
  bool compress(IQorImageBase* im, QorPackedImage* p) override {
    p->size = int32_t(3 + im->byteSize());
    p->data = static_cast<uint8_t*>(std::malloc(size_t(p->size)));
    p->data[0] = uint8_t(im->width()), p->data[1] = uint8_t(im->height());
    p->data[2] = uint8_t(im->depth());
    for (int32_t y = 0; y < im->height(); ++y)
      std::memcpy(p->data + 3 + y * im->rowBytes(), im->row(y), size_t(im->rowBytes()));
    return true;
  }
  bool decompress(const QorPackedImage* p, IQorImageBase* im) override {
    im->create(p->data[0], p->data[1], p->data[2]);
    for (int32_t y = 0; y < im->height(); ++y)
      std::memcpy(im->row(y), p->data + 3 + y * im->rowBytes(), size_t(im->rowBytes()));
    return true;
  }
  void release(QorPackedImage* p) override { std::free(p->data), p->data = nullptr; }
  void copy(const QorPackedImage* from, QorPackedImage* to) override {
    to->data = static_cast<uint8_t*>(std::malloc(size_t(from->size)));
    std::memcpy(to->data, from->data, size_t(to->size = from->size));
  }
};

// Form 1 stand-in: the byte 0xEE and the raw rows.
struct FakeWriter : IQorImageWriter {
  void queryInterface(const char*, void** out, uintptr_t) override { *out = this; }
  const char* className() override { return "FakeWriter"; }
  bool writeStream(IQorImageBase* im, BinOutput& out, const char* f, int32_t q, int32_t,
                   int32_t) override {
    format = f, quality = q;
    return out.write(uint8_t(0xEE)) && out.writeBytes(im->row(0), uint64_t(im->byteSize()));
  }
  bool writeFile(IQorImageBase*, const QorString& p, const char* f, int32_t, int32_t,
                 int32_t) override {
    path = p.utf8(), format = f;
    return true;
  }
  bool readSourceA(IQorImageBase*, const void*, int32_t, int32_t, int32_t, int32_t,
                   int32_t) override {
    return false;
  }
  bool readStream(IQorImageBase* im, BinInput& in, int32_t, int32_t, int32_t, int32_t) override {
    uint8_t mark = 0;
    im->create(2, 1, 1);
    return in.read(&mark, 1) && mark == 0xEE && in.readBytes(im->row(0), 2);
  }
  bool readFile(IQorImageBase*, const QorString&, int32_t, int32_t, int32_t, int32_t) override {
    return false;
  }
  bool readSourceB(IQorImageBase*, const void*, int32_t, int32_t, int32_t, int32_t, int32_t,
                   int32_t, int32_t) override {
    return false;
  }
  std::string path, format;
  int32_t quality = 0;
};

FakeWriter* writer = new FakeWriter;

struct Services : ::testing::Environment {
  void SetUp() override { refhost::manager().registerService("IQorCompressPNG", new FakePacker); }
};
[[maybe_unused]] const auto* env = ::testing::AddGlobalTestEnvironment(new Services);

// An image whose byte i is base + i, row after row.
QorImage ramp(int32_t w, int32_t h, int32_t d, int base = 1) {
  QorImage im(w, h, d);
  for (int32_t y = 0, i = 0; y < h; ++y)
    for (int32_t k = 0; k < w * d; ++k) im.row(y)[k] = uint8_t(base + i++);
  return im;
}

Bytes bytesOf(const QorImage& im) {
  Bytes b;
  for (int32_t y = 0; y < im.height(); ++y) b.insert(b.end(), im.row(y), im.row(y) + im.rowBytes());
  return b;
}

// Little-endian TIFF directory entry.
Bytes entry(uint32_t tag, uint32_t type, uint32_t count, uint32_t value) {
  Bytes b;
  for (uint64_t v : {uint64_t(tag), uint64_t(type)})
    b.push_back(uint8_t(v)), b.push_back(uint8_t(v >> 8));
  for (uint32_t v : {count, value})
    for (int k = 0; k < 4; ++k) b.push_back(uint8_t(v >> (8 * k)));
  return b;
}

}  // namespace

TEST(Image, StorageRules) {
  QorImage im(100, 100, 3);
  uint8_t* const* table = im.blockTable();
  im.row(5)[7] = 9;
  im.create(100, 100, 3);
  EXPECT_EQ(im.blockTable(), table);
  EXPECT_EQ(im.row(5)[7], 0);
  EXPECT_EQ(im.rowsPerBlock(), 81);
  int32_t first = 0, count = 0;
  EXPECT_TRUE(im.blockInfo(1, nullptr, &first, &count));
  EXPECT_EQ(first * 1000 + count, 81019);
  EXPECT_EQ(im.lastBlock(), 1);
  EXPECT_FALSE(im.blockInfo(2, nullptr, nullptr, nullptr));
  im.create(0, 5, 3);
  EXPECT_EQ(im.width() + im.height() + im.depth(), 0);
  EXPECT_EQ(im.blockTable(), nullptr);
  EXPECT_EQ(im.lastBlock(), -1);
  EXPECT_FALSE(im.blockInfo(0, nullptr, nullptr, nullptr));
  EXPECT_EQ(QorImage(10000, 3, 3).rowsPerBlock(), 1);

  testkit::AssertRecorder rec;
  QorImage bad(-1, 2, 5);
  EXPECT_EQ(rec.exprs(), (std::vector<std::string>{"width >= 0", "depth >= 0 && depth < 5"}));
  EXPECT_EQ(rec.entries[0].file, "base/basic/qorimage");
  for (const char* name : {"QorImage", "IQorImage", "QorImageBase", "IQorImageBase",
                           "IQorPersistentRef", "IQorUnknown"})
    EXPECT_NE(qorQuery<void>(&im, name), nullptr) << name;
  EXPECT_EQ(qorQuery<void>(&im, "IQorObject"), nullptr);
}

TEST(Image, ColourAndGreyRules) {
  // Colour (0.2, 0.6, 1.0, 0.5): every grey rule gives its own byte.
  const float f[4] = {0.2f, 0.6f, 1.0f, 0.5f};
  const double d[4] = {0.2, 0.6, 1.0, 0.5};
  QorImage g(4, 1, 2);
  g.writePixel(0, 0, f);
  g.setPixel(1, 0, d);
  g.setPixel(2, 0, f);
  EXPECT_FALSE(g.writePixel(4, 0, f));
  EXPECT_EQ(bytesOf(g), (Bytes{142, 127, 142, 127, 51, 127, 0, 0}));
  g.fill(QorColor(0.2f, 0.6f, 1.0f, 0.5f));
  EXPECT_EQ(g.row(0)[6], 153);
  QorImage c(1, 1, 4);
  c.writePixel(0, 0, f);
  EXPECT_EQ(bytesOf(c), (Bytes{51, 153, 255, 127}));
  std::unique_ptr<QorImage> grey(c.greyCopy());
  EXPECT_EQ(bytesOf(*grey), Bytes{153});
  c.toGrey();
  EXPECT_EQ(bytesOf(c), (Bytes{133, 133, 133, 127}));
  c.invert();
  EXPECT_EQ(bytesOf(c), (Bytes{122, 122, 122, 127}));
  const int32_t badMap[3] = {0, 3, 1}, map[3] = {2, 2, 0};
  EXPECT_FALSE(c.permuteChannels(badMap));
  c.row(0)[0] = 1;
  EXPECT_TRUE(c.permuteChannels(map));
  EXPECT_EQ(bytesOf(c), (Bytes{122, 122, 1, 127}));

  QorImage rgb = ramp(2, 1, 3);
  rgb.setAlpha(1.0);
  EXPECT_EQ(rgb.depth(), 3);
  rgb.setAlpha(0.5);
  EXPECT_EQ(bytesOf(rgb), (Bytes{1, 2, 3, 127, 4, 5, 6, 127}));
  rgb.setDepth(2);
  EXPECT_EQ(bytesOf(rgb), (Bytes{1, 2, 4, 5}));
  rgb.setDepth(4);
  EXPECT_EQ(bytesOf(rgb), (Bytes{1, 2, 0, 0, 4, 5, 0, 0}));
}

TEST(Image, DrawingAndResamplingEdgeCases) {
  const QorColor white(1, 1, 1, 1), black(0, 0, 0, 1);
  QorImage im(4, 4, 1);
  im.drawLine(1, 1, 1, 1, white, false, black);
  EXPECT_EQ(bytesOf(im), Bytes(16, 0));
  im.drawLine(0, 0, 2, 2, white, false, black);
  EXPECT_EQ(im.row(0)[0] + im.row(1)[1] + im.row(2)[2], 3 * 255);
  const Bytes drawn = bytesOf(im);
  EXPECT_EQ(std::count(drawn.begin(), drawn.end(), 255), 3);
  // Two rows only: no crossing pair fills anything, the outline is still drawn.
  QorImage flat(5, 3, 1);
  const int32_t pts[] = {0, 0, 4, 0, 4, 1};
  flat.drawPolygon(pts, 3, white, true, false, black);
  EXPECT_EQ(bytesOf(flat), (Bytes{255, 255, 255, 255, 255, 0, 0, 0, 255, 255, 0, 0, 0, 0, 0}));
  flat.drawLine(-3, 2, 9, 2, white, true, black);
  EXPECT_EQ(flat.width(), 10);

  struct Diagonal : IQorImageMask {
    int32_t width() const override { return 3; }
    int32_t height() const override { return 3; }
    bool test(int32_t c, int32_t r) const override { return c == r; }
  };
  QorImage framed(4, 3, 2);
  framed.drawBorder(1, white);
  framed.drawRectangle(1, 1, 9, 1, QorColor(0.2f, 0.6f, 1, 1), true, false, black);
  framed.stampMask(Diagonal(), 2, 1, white, true, black);
  EXPECT_EQ(framed.width() * 10 + framed.height(), 54);
  EXPECT_EQ(bytesOf(framed), (Bytes{255, 255, 255, 255, 255, 255, 255, 255, 0,   255,  //
                                    255, 255, 51,  153, 255, 255, 51,  153, 0,   255,  //
                                    255, 255, 255, 255, 255, 255, 255, 255, 0,   255,  //
                                    0,   255, 0,   255, 0,   255, 0,   255, 255, 255}));
  QorImage two = ramp(2, 2, 1);
  std::unique_ptr<QorImage> big(two.resized(4, 4)), three(two.resized(3, 3));
  EXPECT_EQ(bytesOf(*big), (Bytes{1, 1, 2, 2, 1, 1, 2, 2, 3, 3, 4, 4, 3, 3, 4, 4}));
  EXPECT_EQ(bytesOf(*three), (Bytes{1, 2, 2, 3, 4, 4, 3, 4, 4}));
  QorImage nine = ramp(3, 3, 1, 10);
  std::unique_ptr<QorImage> half(nine.halfSizeImage());
  EXPECT_EQ(bytesOf(*half), (Bytes{12, 13, 16, 18}));
  double s[4];
  QorImage pair(2, 1, 3);
  pair.row(0)[0] = 10, pair.row(0)[3] = 20;
  pair.sample(0.5, 0.5, true, true, s);
  EXPECT_EQ(s[0] * 1000 + s[3], 10255);
  pair.sample(1.0, 0.5, true, true, s);
  EXPECT_EQ(s[0], 15.0);

  // Refusals: blit at a negative place, crop and subImage outside.
  QorImage dst(3, 3, 1);
  dst.blit(ramp(2, 2, 1), -1, 0, true, black);
  EXPECT_EQ(bytesOf(dst), Bytes(9, 0));
  dst.blit(ramp(2, 2, 3), 2, 2, true, black);
  EXPECT_EQ(bytesOf(dst), (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 4, 0, 0, 7, 10}));
  EXPECT_EQ(dst.crop(1, 1, 5, 3), nullptr);
  EXPECT_EQ(dst.subImage(3, 0, 2, 1), nullptr);
  std::unique_ptr<QorImage> part(dst.crop(2, 2, 4, 4));
  EXPECT_EQ(bytesOf(*part), (Bytes{1, 4, 7, 10}));
  dst.rotateClockwise();
  EXPECT_EQ(dst.row(3)[1], 4);
}

TEST(Image, PlainFileForms) {
  testkit::TempDir dir;
  QorImage one(1, 1, 3);
  one.row(0)[0] = 10, one.row(0)[1] = 20, one.row(0)[2] = 30;
  const Bytes bmpHead = testkit::hex(
      "424d 3a000000 00000000 36000000 28000000 01000000 01000000"
      "0100 1800 00000000 00000000 00040000 00040000 00000000 00000000");
  ASSERT_TRUE(one.writeBmp(QorString(dir.file("a").c_str()), false));
  EXPECT_EQ(testkit::readFile(dir.file("a.bmp")), bmpHead + Bytes({30, 20, 10, 0}));
  // 3 by 2 grey with alpha: rows padded from 9 to 12, the last row first.
  QorImage la = ramp(3, 2, 2);
  ASSERT_TRUE(la.writeBmp(QorString(dir.file("b.bmp").c_str()), false));
  Bytes bmp = testkit::readFile(dir.file("b.bmp"));
  EXPECT_EQ(Bytes(bmp.begin() + 2, bmp.begin() + 6), (Bytes{78, 0, 0, 0}));
  EXPECT_EQ(Bytes(bmp.begin() + 54, bmp.end()),
            (Bytes{7, 7, 7, 9, 9, 9, 11, 11, 11, 0, 0, 0, 1, 1, 1, 3, 3, 3, 5, 5, 5, 0, 0, 0}));

  ASSERT_TRUE(la.writePpm(QorString(dir.file("c").c_str())));
  EXPECT_EQ(testkit::readFile(dir.file("c.ppm")),
            Bytes({'P', '5', '\n', '3', ' ', '2', '\n', '2', '5', '5', '\n', 1, 3, 5, 7, 9, 11}));
  ASSERT_TRUE(one.writePpm(QorString(dir.file("d.ppm").c_str())));
  EXPECT_EQ(testkit::readFile(dir.file("d.ppm")),
            Bytes({'P', '6', '\n', '1', ' ', '1', '\n', '2', '5', '5', '\n', 10, 20, 30}));

  // TIFF: 12 entries for depth 1 and 3, 13 for 2 and 4; the strip behind the resolutions.
  const Bytes tiff3 = testkit::hex("4949 2a00 08000000 0c00") + entry(256, 4, 1, 1) +
                      entry(257, 4, 1, 1) + entry(258, 3, 3, 158) + entry(259, 3, 1, 1) +
                      entry(262, 3, 1, 2) + entry(273, 4, 1, 180) + entry(277, 3, 1, 3) +
                      entry(278, 3, 1, 1) + entry(279, 4, 1, 3) + entry(282, 5, 1, 164) +
                      entry(283, 5, 1, 172) + entry(296, 3, 1, 1) +
                      testkit::hex(
                          "00000000 0800 0800 0800 01000000 01000000 01000000 01000000"
                          "0a141e");
  ASSERT_TRUE(one.writeTiff(QorString(dir.file("e").c_str())));
  EXPECT_EQ(testkit::readFile(dir.file("e.tif")), tiff3);
  const int32_t offsets[] = {174, 186, 180, 194};
  for (int32_t d : {1, 2, 3, 4}) {
    QorImage im = ramp(3, 2, d);
    ASSERT_TRUE(im.writeTiff(QorString(dir.file("f.tif").c_str())));
    const Bytes t = testkit::readFile(dir.file("f.tif"));
    const int32_t strip = int32_t(Bytes::size_type(t.size()) - 6 * d);
    EXPECT_EQ(strip, offsets[d - 1]) << d;
    EXPECT_EQ(t[8], d % 2 ? 12 : 13);
    EXPECT_EQ(Bytes(t.begin() + strip, t.end()), bytesOf(im));
  }
  QorImage ga = ramp(3, 2, 2);
  ASSERT_TRUE(ga.writeTiff(QorString(dir.file("g.tif").c_str())));
  const Bytes g = testkit::readFile(dir.file("g.tif"));
  EXPECT_EQ(Bytes(g.begin() + 10 + 2 * 12, g.begin() + 10 + 3 * 12), entry(258, 3, 2, 0x00080008));
  EXPECT_EQ(Bytes(g.begin() + 10 + 12 * 12, g.begin() + 10 + 13 * 12), entry(338, 3, 1, 2));

  // SGI: 512-byte header, then the planes, rows bottom up.
  ASSERT_TRUE(la.writeRgb(QorString(dir.file("h").c_str())));
  const Bytes rgb = testkit::readFile(dir.file("h.rgb"));
  ASSERT_EQ(rgb.size(), 512u + 12u);
  EXPECT_EQ(Bytes(rgb.begin(), rgb.begin() + 24),
            testkit::hex("01da 00 01 0003 0003 0002 0002 00000000 000000ff 00000000"));
  const std::string name = dir.file("h.rgb");
  EXPECT_EQ(std::string(rgb.begin() + 24, rgb.begin() + 24 + long(name.size())), name);
  EXPECT_EQ(std::count(rgb.begin() + 24 + long(name.size()), rgb.begin() + 512, 0),
            488 - long(name.size()));
  EXPECT_EQ(Bytes(rgb.begin() + 512, rgb.end()), (Bytes{7, 9, 11, 1, 3, 5, 8, 10, 12, 2, 4, 6}));

  // Refused: nothing to write, sizes a form cannot say, a directory that isn't there.
  EXPECT_FALSE(QorImage().writeBmp(QorString(dir.file("z.bmp").c_str()), true));
  EXPECT_FALSE(QorImage(1, 70000, 1).writeTiff(QorString(dir.file("z.tif").c_str())));
  EXPECT_FALSE(QorImage(70000, 1, 1).writeRgb(QorString(dir.file("z.rgb").c_str())));
  EXPECT_FALSE(one.writePpm(QorString((dir.path + "/no/x.ppm").c_str())));
  EXPECT_EQ(QorFs::fileCount(QorString(dir.path.c_str())), 8);
}

TEST(Image, StoredForms) {
  QorImage im = ramp(3, 2, 1);
  const Bytes form0 = testkit::chunk(0x0A5004, 1, Bytes{0} + testkit::be({3, 2, 1}) + bytesOf(im));
  BinOutputMemory out;
  ASSERT_TRUE(im.write(out) && out.flush());
  EXPECT_EQ(Bytes(out.data(), out.data() + out.size()), form0);
  QorImage back;
  BinInputMemory in(form0.data(), form0.size());
  ASSERT_TRUE(back.read(in));
  EXPECT_TRUE(back.equalsImage(im));
  // A version 0 chunk has no form byte.
  const Bytes old = testkit::chunk(0x0A5004, 0, testkit::be({3, 2, 1}) + bytesOf(im));
  BinInputMemory oldIn(old.data(), old.size());
  ASSERT_TRUE(back.read(oldIn));
  EXPECT_TRUE(back.equals(im));

  // Packed: form 2 at version 0 and from 2015 on, unpacked before 2015.
  ASSERT_TRUE(im.compress());
  for (int32_t version : {2015, 0}) {
    BinOutputMemory packedOut;
    packedOut.setVersion(version);
    ASSERT_TRUE(im.write(packedOut) && packedOut.flush());
    const Bytes form2 = testkit::chunk(
        0x0A5004, 1,
        Bytes{2} + testkit::be({3, 2, 1, 9}) + Bytes{3, 2, 1} + bytesOf(ramp(3, 2, 1)));
    EXPECT_EQ(Bytes(packedOut.data(), packedOut.data() + packedOut.size()), form2) << version;
    EXPECT_TRUE(im.isCompressed());
    BinInputMemory packedIn(form2.data(), form2.size());
    ASSERT_TRUE(back.read(packedIn));
    EXPECT_TRUE(back.isCompressed() && back.equals(im));
  }
  QorImage over = ramp(2, 2, 1);  // new rows replace a packed form
  ASSERT_TRUE(over.compress());
  over.assign(ramp(3, 1, 1));
  EXPECT_FALSE(over.isCompressed());
  EXPECT_EQ(bytesOf(over), (Bytes{1, 2, 3}));
  BinOutputMemory oldOut;
  oldOut.setVersion(2014);
  ASSERT_TRUE(im.write(oldOut));
  EXPECT_FALSE(im.isCompressed());

  // Form 1 goes through the host's writer; without one nothing is written.
  refhost::manager().unregister("IQorImageWriter");
  BinOutputMemory pngOut;
  pngOut.setCompress(true);
  EXPECT_FALSE(im.write(pngOut));
  EXPECT_EQ(pngOut.pending() + pngOut.size(), 0u);
  EXPECT_FALSE(pngOut.good() || pngOut.flush());
  BinOutputFile fileOut(std::tmpfile());
  fileOut.setCompress(true);
  EXPECT_FALSE(im.write(fileOut) || fileOut.good());
  EXPECT_FALSE(im.save(QorString("x"), "PNG", 0, 90));
  refhost::manager().registerService("IQorImageWriter", writer);
  BinOutputMemory stored;
  stored.setCompress(true);
  ASSERT_TRUE(im.write(stored) && stored.flush());
  EXPECT_EQ(writer->format + std::to_string(writer->quality), "PNG100");
  const Bytes form1(stored.data(), stored.data() + stored.size());
  EXPECT_EQ(form1, testkit::chunk(0x0A5004, 1, Bytes{1, 0xEE} + bytesOf(im)));
  BinInputMemory pngIn(form1.data(), form1.size());
  ASSERT_TRUE(back.read(pngIn));
  EXPECT_EQ(bytesOf(back), (Bytes{1, 2}));
  refhost::dataStore().setInt(nullptr, "General/Texture Image Format", 3);
  EXPECT_TRUE(im.save(QorString("/tmp/pic.png"), "DEFAULT", 0, 90));
  EXPECT_EQ(writer->path + writer->format, "/tmp/pic.tifTIFF");
  EXPECT_TRUE(im.save(QorString("/tmp/pic.TIF"), nullptr, 0, 90));
  EXPECT_EQ(writer->format, "tif");
  refhost::manager().unregister("IQorImageWriter");
}
