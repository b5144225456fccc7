// The descriptor streams: open modes against an existing file, the one buffer shared by
// reading and writing, positions while bytes are buffered, and block copies.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "base/qorfdstreambuf.h"
#include "base/qorpath.h"

namespace {
using namespace QorOpenMode;
using QorFs::kCopyBlock;

class FdStream : public ::testing::Test {
 protected:
  void SetUp() override {
    file_ = std::filesystem::temp_directory_path() /
            ("brindle-fd-" + std::to_string(::getpid()) + "-" +
             ::testing::UnitTest::GetInstance()->current_test_info()->name());
    write("0123456789");
  }
  void TearDown() override {
    std::filesystem::remove(file_);
    std::filesystem::remove(file_.string() + ".copy");
  }
  void write(const std::string& text) const { std::ofstream(file_, std::ios::binary) << text; }
  std::string read(const std::filesystem::path& p) const {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  QorString path() const { return QorString::fromUtf8(file_.c_str()); }
  std::filesystem::path file_;
};

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
    write("0123456789");
    QorFdStreambuf b;
    ASSERT_TRUE(b.open(path(), c.mode)) << c.mode;
    EXPECT_EQ(b.open(path(), c.mode), nullptr);
    EXPECT_EQ(b.sputn("ab", 2), 2);
    EXPECT_EQ(b.close(), &b);
    EXPECT_EQ(b.close(), nullptr);
    EXPECT_EQ(read(file_), c.after) << c.mode;
  }
  QorFdStreambuf b;
  EXPECT_EQ(b.attach(-1, kIn), nullptr);
  QorIfstream missing(QorString("/no/such/dir/file"));
  EXPECT_EQ(missing.rdstate(), std::ios_base::failbit | std::ios_base::badbit);
}

TEST_F(FdStream, OneBufferForBothDirections) {
  QorFstream f(path());
  ASSERT_TRUE(f);
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
  EXPECT_EQ(read(file_), "0123456789ab");
}

TEST_F(FdStream, PositionsCountBufferedBytes) {
  write(std::string(3000, 'a') + "XYZ");
  QorIfstream in(path());
  EXPECT_EQ(in.peek(), 'a');
  EXPECT_EQ(static_cast<long>(in.tellg()), 0);  // peek filled the buffer
  std::string head(10, '\0');
  in.read(head.data(), 10);  // taken from the buffer, not from behind it
  EXPECT_EQ(head, std::string(10, 'a'));
  EXPECT_EQ(static_cast<long>(in.tellg()), 10);
  EXPECT_EQ(in.peek(), 'a');  // the buffer holds bytes 10 to 1033 again
  std::string big(2990, '\0');
  in.read(big.data(), 2990);  // large: straight from the descriptor
  EXPECT_EQ(big, std::string(2990, 'a'));
  EXPECT_EQ(in.get(), 'X');
  in.unget();
  EXPECT_EQ(in.get(), 'X');
  EXPECT_EQ(static_cast<long>(in.tellg()), 3001);
  std::string rest;
  std::getline(in, rest);
  EXPECT_EQ(rest, "YZ");
  EXPECT_EQ(static_cast<long>(in.rdbuf()->pubseekoff(0, std::ios_base::end)), 3003);
}

TEST_F(FdStream, SmallAndLargeWritesKeepTheirOrder) {
  std::string want;
  {
    QorOfstream out(path());
    for (int i = 0; i < 300; ++i) {
      const std::string piece =
          i % 7 == 0 ? std::string(1500 + i, char('a' + i % 26)) : std::to_string(i);
      out << piece;
      want += piece;
    }
  }
  EXPECT_EQ(read(file_), want);
}

TEST_F(FdStream, CopyFileBlocks) {
  for (size_t n : {size_t(0), size_t(kCopyBlock), size_t(kCopyBlock + 1), size_t(200000)}) {
    std::string data(n, '\0');
    for (size_t i = 0; i < n; ++i) data[i] = char(i * 131 % 251);
    write(data);
    ASSERT_TRUE(QorFs::copyFile(path(), QorString::fromUtf8((file_.string() + ".copy").c_str())));
    EXPECT_EQ(read(file_.string() + ".copy"), data) << n;
  }
}

}  // namespace
