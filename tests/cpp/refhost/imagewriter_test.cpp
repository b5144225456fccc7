#include "refhost/imagewriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

#include "bulk/qorimage.h"
#include "refhost/host.h"
#include "testkit.h"

namespace {

using testkit::Bytes;

// Everything a command prints on its standard output.
Bytes output(const std::string& command) {
  Bytes out;
  std::FILE* pipe = popen(command.c_str(), "r");
  for (int c; pipe && (c = std::fgetc(pipe)) != EOF;) out.push_back(static_cast<uint8_t>(c));
  if (pipe) pclose(pipe);
  return out;
}

// The pixels as ImageMagick reads the file at 16 bits, each rounded to 8 (an 8-bit file's
// values come back exactly), or as Pillow reads them, widened to RGBA.
Bytes magickRgba(const std::string& path) {
  Bytes out, w = output("/usr/bin/convert '" + path + "' -depth 16 -endian MSB rgba:- 2>/dev/null");
  for (size_t i = 0; i + 1 < w.size(); i += 2)
    out.push_back(static_cast<uint8_t>(std::lround((w[i] << 8 | w[i + 1]) / 257.0)));
  return out;
}

Bytes pillowRgba(const std::string& path) {
  return output(
      "/usr/bin/python3 -c \"import sys; from PIL import Image; sys.stdout.buffer.write("
      "Image.open(sys.argv[1]).convert('RGBA').tobytes())\" '" +
      path + "'");
}

Bytes rgba(const IQorImageBase& image) {
  Bytes out;
  const int d = image.depth(), g = d < 3 ? 0 : 1;
  for (int32_t y = 0; y < image.height(); ++y)
    for (const uint8_t* p = image.row(y); p < image.row(y) + image.rowBytes(); p += d)
      out.insert(out.end(), {p[0], p[g], p[2 * g], d % 2 ? uint8_t(255) : p[d - 1]});
  return out;
}

QorImage randomImage(int32_t w, int32_t h, int32_t d, unsigned seed) {
  QorImage image(w, h, d);
  std::mt19937 random(seed);
  for (int32_t y = 0; y < h; ++y)
    for (int32_t i = 0; i < w * d; ++i) image.row(y)[i] = static_cast<uint8_t>(random());
  return image;
}

std::string lastLog() {
  auto lines = refhost::log().lines();
  return lines.empty() ? "" : lines.back().text;
}

QorString q(const std::string& path) {
  return QorString::fromUtf8(path.c_str());
}

refhost::RefImageWriter& writer = refhost::imageWriter();

// Files made by Pillow and ImageMagick in every mode the reader takes, and some it refuses.
const char* kMakeFiles = R"(
import random, struct, subprocess, sys, zlib
from PIL import Image
d, r = sys.argv[1], random.Random(7)
px = lambda n: bytes(r.randrange(256) for _ in range(n))
for mode, n in (("L", 1), ("LA", 2), ("RGB", 3), ("RGBA", 4), ("P", 1), ("I;16", 2)):
    im = Image.frombytes(mode, (7, 5), px(35 * n))
    if mode == "P": im.putpalette(px(768)); im.save(d + "/Pt.png", transparency=px(256))
    if mode == "RGB": im.save(d + "/RGBt.png", transparency=im.getpixel((0, 0)))
    im.save(d + "/" + mode.replace(";", "") + ".png")
Image.frombytes("1", (7, 5), px(5)).save(d + "/bits1.png")
im = lambda *a: subprocess.run(["/usr/bin/convert", *a], check=True)
im("-size", "7x5", "gradient:#102030-#F0E1D2", "-depth", "16", "PNG48:" + d + "/m48.png")
im("-size", "7x5", "gradient:#10203040-#F0E1D2C3", "-depth", "16", "PNG64:" + d + "/m64.png")
im(d + "/RGBA.png", "-interlace", "PNG", d + "/mi.png")
c = lambda t, b: struct.pack(">I", len(b)) + t + b + struct.pack(">I", zlib.crc32(t + b))
open(d + "/huge.png", "wb").write(b"\x89PNG\r\n\x1a\n" + c(b"IHDR", struct.pack(
    ">IIBBBBB", 900000, 900000, 8, 2, 0, 0, 0)) + c(b"IDAT", zlib.compress(bytes(64))) + c(b"IEND", b""))
)";

TEST(ImageWriter, PillowAndImageMagickAgreeOnOurFilesAndWeOnTheirs) {
  if (output("/usr/bin/python3 -c 'import PIL; print(1)' 2>/dev/null").size() != 2 ||
      output("/usr/bin/convert -version 2>/dev/null").empty())
    GTEST_SKIP() << "Pillow (python3-pil) or ImageMagick (/usr/bin/convert) is not installed";
  testkit::TempDir dir;
  const std::string ours = dir.file("ours.png");
  for (int32_t d = 1; d <= 4; ++d) {
    QorImage image = randomImage(300, 90, d, d), back;  // more than one row block
    ASSERT_TRUE(writer.writeFile(&image, q(ours), "png", 100, 0, 0));
    EXPECT_EQ(magickRgba(ours), rgba(image)) << d;
    EXPECT_EQ(pillowRgba(ours), rgba(image)) << d;
    EXPECT_TRUE(writer.readFile(&back, q(ours), 0, 0, 0, 0) && back.equalsImage(image));
  }
  testkit::writeFile(dir.file("make.py"), Bytes(kMakeFiles, kMakeFiles + std::strlen(kMakeFiles)));
  ASSERT_EQ(std::system(("/usr/bin/python3 " + dir.file("make.py") + " " + dir.path).c_str()), 0);
  const std::pair<const char*, int> accepted[] = {{"L", 1},   {"LA", 2},  {"RGB", 3}, {"RGBA", 4},
                                                  {"P", 3},   {"Pt", 4},  {"I16", 1}, {"RGBt", 4},
                                                  {"m48", 3}, {"m64", 4}, {"mi", 4}};
  for (auto [name, depth] : accepted) {
    const std::string path = dir.file((std::string(name) + ".png").c_str());
    QorImage image;
    ASSERT_TRUE(writer.readFile(&image, q(path), 0, 0, 0, 0)) << lastLog();
    EXPECT_EQ(image.depth(), depth) << name;
    EXPECT_EQ(rgba(image), magickRgba(path)) << name;
  }
  const Bytes rgb = testkit::readFile(dir.file("RGB.png"));
  const std::pair<Bytes, const char*> refused[] = {
      {testkit::readFile(dir.file("bits1.png")), "1-bit grey"},
      {testkit::readFile(dir.file("huge.png")), "900000x900000 PNG cannot fit in"},
      {Bytes(rgb.begin(), rgb.end() - 30), "ends too early"},
      {Bytes(40, 'x'), "not a PNG (40 bytes"}};
  for (const auto& [bytes, why] : refused) {
    QorImage image = randomImage(2, 2, 1, 1);
    EXPECT_FALSE(writer.readSourceA(&image, bytes.data(), int32_t(bytes.size()), 0, 0, 0, 0));
    EXPECT_NE(lastLog().find(why), std::string::npos) << lastLog();
    EXPECT_EQ(image.width() == 0, std::string(why) == "ends too early") << why;
  }
}

TEST(ImageWriter, StoredFormPackingRawRowsAndOtherFormats) {
  QorImage image = randomImage(200, 130, 3, 5), stored, streamed;
  BinOutputMemory out;
  out.setCompress(true);
  ASSERT_TRUE(image.write(out));  // the form through the writer service
  ASSERT_TRUE(writer.writeStream(&image, out, "PNG", 100, 0, 0));
  ASSERT_TRUE(out.flush());
  BinInputMemory in(out.data(), out.size());
  ASSERT_TRUE(stored.read(in) && writer.readStream(&streamed, in, 0, 0, 1, 1));
  EXPECT_EQ(in.tell(), int64_t(out.size()));  // the length frames the PNG exactly
  EXPECT_TRUE(stored.equalsImage(image) && streamed.equalsImage(image));

  // Packed forms: made by the service or read into a wexMalloc block, released alike.
  QorImage packed = image, copied, fromBlock;
  ASSERT_TRUE(packed.compress());
  copied.assign(packed);
  QorPackedImage block;
  wexMalloc(reinterpret_cast<void**>(&block.data), 1, packed.packed().size);
  std::memcpy(block.data, packed.packed().data, size_t(block.size = packed.packed().size));
  EXPECT_TRUE(refhost::compressPNG().decompress(&block, &fromBlock));
  refhost::compressPNG().release(&block);
  EXPECT_TRUE(block.data == nullptr && packed.decompress() && copied.decompress());
  EXPECT_TRUE(packed.equalsImage(image) && copied.equalsImage(image) &&
              fromBlock.equalsImage(image));

  QorImage raw;  // raw rows; the plain forms go to the image's own writers, JPEG nowhere
  EXPECT_TRUE(raw.loadSourceB(image.row(0), 200, 1, 3, 0, 0, 0) &&
              std::equal(raw.row(0), raw.row(0) + 600, image.row(0)));
  testkit::TempDir dir;
  EXPECT_TRUE(writer.writeFile(&raw, q(dir.file("a.bmp")), nullptr, 0, 0, 0));
  EXPECT_EQ(testkit::readFile(dir.file("a.bmp")).size(), 54u + 600);
  EXPECT_FALSE(writer.writeFile(&raw, q(dir.file("a.jpg")), "JPEG", 90, 0, 0));
  EXPECT_NE(lastLog().find("no JPEG"), std::string::npos) << lastLog();
}

}  // namespace
