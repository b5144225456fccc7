// The descriptor streams: open modes against an existing file, the one buffer shared by
// reading and writing, positions while bytes are buffered, and block copies.
#include <string>

#include "base/qorfdstreambuf.h"
#include "base/qorpath.h"
#include "scratch.h"

namespace {
using namespace QorOpenMode;
using FdStream = ScratchDir;

TEST_F(FdStream, OpenModes) {
  struct {
    int mode;
    const char* after;
  } cases[] = {
      {kOut | kTrunc, "ab"},
      {kOut, "ab"},
      {kIn | kOut, "ab23456789"},
      {kOut | kApp, "0123456789ab"},
      {kIn | kOut | kApp, "0123456789ab"},
  };
  for (const auto& c : cases) {
    put("f", "0123456789");
    QorFdStreambuf b;
    ASSERT_TRUE(b.open(at("f"), c.mode)) << c.mode;
    EXPECT_EQ(b.open(at("f"), c.mode), nullptr);
    EXPECT_EQ(b.sputn("ab", 2), 2);
    EXPECT_EQ(b.close(), &b);
    EXPECT_EQ(b.close(), nullptr);
    EXPECT_EQ(read("f"), c.after) << c.mode;
  }
  QorFdStreambuf b;
  EXPECT_EQ(b.attach(-1, kIn), nullptr);
  QorIfstream missing(at("no/such/file"));
  EXPECT_EQ(missing.rdstate(), std::ios_base::failbit | std::ios_base::badbit);
}

TEST_F(FdStream, OneBufferForBothDirections) {
  put("f", "0123456789");
  QorFstream f(at("f"));
  EXPECT_EQ(f.get(), '0');
  f.put('X');  // refused: bytes are buffered for reading
  EXPECT_TRUE(f.bad());
  f.clear();
  f.seekp(0, std::ios_base::end);
  EXPECT_EQ(static_cast<long>(f.tellp()), 10);
  f << "ab";
  EXPECT_EQ(f.get(), EOF);  // refused: the put area is in use
  f.clear();
  f.seekg(2);
  char got[5] = {};
  f.read(got, 4);
  EXPECT_EQ(std::string(got), "2345");
  f.close();
  EXPECT_EQ(read("f"), "0123456789ab");
}

TEST_F(FdStream, PositionsCountBufferedBytes) {
  put("f", std::string(3000, 'a') + "XYZ");
  QorIfstream in(at("f"));
  EXPECT_EQ(in.peek(), 'a');
  EXPECT_EQ(static_cast<long>(in.tellg()), 0);  // peek filled the buffer
  std::string head(10, '\0'), big(2990, '\0'), rest;
  in.read(head.data(), 10);
  EXPECT_EQ(static_cast<long>(in.tellg()), 10);
  EXPECT_EQ(in.peek(), 'a');  // the buffer holds bytes 10 to 1033 again
  in.read(big.data(), 2990);  // the buffered bytes first, then straight from the descriptor
  EXPECT_EQ(head + big, std::string(3000, 'a'));
  EXPECT_EQ(in.get(), 'X');
  in.unget();
  EXPECT_EQ(in.get(), 'X');
  EXPECT_EQ(static_cast<long>(in.tellg()), 3001);
  std::getline(in, rest);
  EXPECT_EQ(rest, "YZ");
  EXPECT_EQ(static_cast<long>(in.rdbuf()->pubseekoff(0, std::ios_base::end)), 3003);
}

TEST_F(FdStream, SmallAndLargeWritesKeepTheirOrder) {
  std::string want;
  {
    QorOfstream out(at("f"));
    for (int i = 0; i < 300; ++i) {
      const std::string piece =
          i % 7 == 0 ? std::string(1500 + i, char('a' + i % 26)) : std::to_string(i);
      out << piece;
      want += piece;
    }
  }
  EXPECT_EQ(read("f"), want);
}

TEST_F(FdStream, CopyFileBlocks) {
  const size_t block = QorFs::kCopyBlock;
  for (size_t n : {size_t(0), block, block + 1, 3 * block - 1}) {
    std::string data(n, '\0');
    for (size_t i = 0; i < n; ++i) data[i] = char(i * 131 % 251);
    put("f", data);
    ASSERT_TRUE(QorFs::copyFile(at("f"), at("copy")));
    EXPECT_EQ(read("copy"), data) << n;
  }
}

}  // namespace
