// Path rules under both separator pairs, the directory walk and the file-system
// operations in a scratch directory, file patterns and the host's named directories.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/qorpath.h"
#include "bulk/pagedarray.h"
#include "refhost/dirservice.h"
#include "refhost/host.h"

namespace {
using R = QorPathRules;
namespace P = QorPathOps;

std::string s(const QorString& q) {
  return q.utf8();
}

// A text with every "/" turned into "\".
QorString w(const char* t) {
  std::string x(t);
  std::replace(x.begin(), x.end(), '/', '\\');
  return QorString::fromUtf8(x.c_str());
}

struct Case {
  const char* op;
  const char* in;
  const char* arg;
  const char* want;
};

QorString apply(const Case& c, const R& r, const QorString& in, const QorString& arg) {
  QorString p = in, out;
  const std::string op = c.op;
  if (op == "normalise") P::normalise(p, r);
  if (op == "join") P::join(p, arg, r);
  if (op == "extension") return P::extension(p, r);
  if (op == "setExtension") P::setExtension(p, arg, r);
  if (op == "insertBefore") P::insertBeforeExtension(p, arg, r);
  if (op == "fileName") return P::fileName(p, false, r);
  if (op == "stem") P::stem(p, out, r);
  if (op == "stem") return out;
  if (op == "parent") return P::parent(p, r);
  if (op == "collapse") P::collapseDotDot(p, r);
  if (op == "driveRoot") return P::withDriveRoot(p, r);
  if (op == "blanks") P::replaceBlanks(p);
  return p;
}

// Written in native form; "\" is the alternative separator here.
const Case kNative[] = {
    {"normalise", "/data/x//", "", "/data/x"},
    {"normalise", "/", "", "/"},
    {"normalise", "a\\b\\", "", "a/b"},
    {"normalise", "//c/x", "", "//c/x"},
    {"join", "", "b/", "b"},
    {"join", "a/", "b", "a/b"},
    {"extension", "a.b/c", "", ""},
    {"extension", "a.b/c.txt", "", "txt"},
    {"setExtension", "a.b/c", "png", "a.b/c.png"},
    {"setExtension", "a.txt", "", "a"},
    {"setExtension", "a.txt", ".gz", "a.gz"},
    {"insertBefore", "d.x/a.txt", "_1", "d.x/a_1.txt"},
    {"insertBefore", "d.x/a", "_1", "d.x/a_1"},
    {"fileName", "d/a.b.c", "", "a.b"},
    {"stem", "d\\.bashrc", "", ".bashrc"},
    {"stem", "d\\f.tar", "", "f"},
    {"parent", "abc", "", "."},
    {"parent", "/abc", "", "/"},
    {"parent", "a/b", "", "a"},
    {"parent", "a\\b", "", "a"},
    {"collapse", "a/b/../c", "", "a/c"},
    {"collapse", "../../c", "", "../../c"},
    {"collapse", "/x/a/b/../../c", "", "/x/c"},
    {"driveRoot", "C:", "", "C:"},
    {"blanks", "my dir/a b\t.txt", "", "my dir/a_b_.txt"},
};

// The drive rules; expectations are written with "/" standing for "\".
const Case kWindows[] = {
    {"normalise", "//c/data/x/", "", "c:/data/x"},
    {"normalise", "a\\\\", "", "a"},
    {"normalise", "\\", "", "/"},
    {"parent", "\\abc", "", "/"},
    {"driveRoot", "C:", "", "C:/"},
    {"driveRoot", "C:x", "", "C:x"},
    {"collapse", "a\\b\\..\\c", "", "a/c"},
    {"fileName", "a\\b.c", "", "b"},
};

TEST(Paths, NativeTable) {
  for (const Case& c : kNative)
    EXPECT_EQ(s(apply(c, R::native(), c.in, c.arg)), c.want) << c.op << " " << c.in;
}

TEST(Paths, WindowsTable) {
  for (const Case& c : kWindows) {
    EXPECT_EQ(s(apply(c, R::windows(), c.in, c.arg)), s(w(c.want))) << c.op << " " << c.in;
  }
  EXPECT_EQ(s(P::parent(QorString("C:/x/y"), R::windows())), "C:\\x");
  EXPECT_TRUE(P::isAbsolute(QorString("c:x"), R::windows()));
  EXPECT_FALSE(P::isAbsolute(QorString("c:x"), R::native()));
}

TEST(Paths, AbsoluteAndCase) {
  QorPath p("./../x");
  p.makeAbsolute();
  QorPath cwd(QorString::fromUtf8(std::filesystem::current_path().parent_path().c_str()));
  EXPECT_EQ(s(p), s(cwd.join("x")));
  EXPECT_TRUE(QorPath("/A/b").equalIgnoringCase("/a/B"));
  EXPECT_EQ(s(QorPath("a\\b/")), "a/b");
}

class ScratchDir : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = std::filesystem::temp_directory_path() /
            ("brindle-fs-" + std::to_string(::getpid()) + "-" +
             ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(root_);
    std::filesystem::create_directories(root_);
  }
  void TearDown() override { std::filesystem::remove_all(root_); }
  QorString at(const std::string& rel) const { return QorString::fromUtf8((root_ / rel).c_str()); }
  void put(const std::string& rel, size_t bytes) const {
    std::ofstream(root_ / rel, std::ios::binary) << std::string(bytes, 'x');
  }
  std::vector<std::string> names(const std::string& rel) const {
    const QorPath dir(at(rel));
    std::vector<std::string> out;
    QorDirIter it(&dir, true);
    for (it.start(); !it.done(); it.next()) out.push_back(s(it.entry().path().fileName()));
    std::sort(out.begin(), out.end());
    return out;
  }
  std::filesystem::path root_;
};

TEST_F(ScratchDir, WalkCopyMoveRemove) {
  ASSERT_TRUE(QorFs::makeDirectories(at("t/a/b"), true));
  EXPECT_TRUE(QorFs::makeDirectories(at("t/a"), false));  // exists: fine
  put("t/one", 2048);
  put("t/a/two", 2049);
  put("t/a/b/three", 0);
  EXPECT_EQ(names("t"), (std::vector<std::string>{"a", "one"}));
  EXPECT_EQ(QorFs::fileCount(at("t")), 2);
  EXPECT_EQ(QorFs::directorySize(at("t")), 2048);
  {
    const QorPath dir(at("t"));
    QorDirIter all(&dir, false);
    int dots = 0;
    for (all.start(); !all.done(); all.next())
      dots += all.entry().isDot() + 2 * all.entry().isDotDot();
    EXPECT_EQ(dots, 3);
  }
  ASSERT_TRUE(QorFs::copyTree(at("t"), at("c")));
  for (const char* f : {"one", "a/two", "a/b/three"})
    EXPECT_EQ(std::filesystem::file_size(root_ / "c" / f),
              std::filesystem::file_size(root_ / "t" / f))
        << f;
  EXPECT_FALSE(QorFs::copyFile(at("missing"), at("x")));
  EXPECT_EQ(QorFs::copyFile(nullptr, "x"), 0);
  ASSERT_TRUE(QorFs::makeDirectory(at("m")));
  ASSERT_TRUE(QorFs::moveTree(at("c"), at("m/c")));  // a plain rename
  EXPECT_TRUE(QorFs::isFile(at("m/c/a/two")));
  EXPECT_FALSE(QorFs::isDirectory(at("c")));
  EXPECT_TRUE(QorFs::removeDirectory(at("t"), true));
  EXPECT_FALSE(std::filesystem::exists(root_ / "t"));
  EXPECT_FALSE(QorFs::removeDirectory(at("m"), false));  // not empty
}

TEST(Patterns, Table) {
  struct {
    const char* pattern;
    const char* name;
    bool wide, narrow;
  } cases[] = {
      {"a*[0-9].t?t", "ab7.txt", true, true},
      {"a*[0-9].t?t", "abx.txt", false, false},
      {"a*[0-9].t?t", "AB7.TXT", true, false},
      {"*", "", true, true},
      {"*.*", "noext", false, false},
      {"[abc]*", "c", true, true},
      {"a**b", "ab", true, true},
      {"a?", "a", false, false},
      {"*x*y", "xxyxy", true, true},
      {"[a-c", "[a-c", true, true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(QorFilePattern(QorString(c.pattern)).match(QorString(c.name)), c.wide)
        << c.pattern << " " << c.name;
    EXPECT_EQ(QorFilePattern(c.pattern).match(c.name), c.narrow) << c.pattern << " " << c.name;
  }
}

TEST(HostDirectories, TempNameAsksTheHostWhenTheStoreHasNone) {
  EXPECT_FALSE(wexDirectory("logs").isEmpty());
  EXPECT_TRUE(wexDirectory("no such key").isEmpty());
  refhost::dataStore().setCString(nullptr, "Directories/Temp Directory", "");
  refhost::dirService().set("temp", QorString("/host/temp"));
  QorString name;
  ASSERT_TRUE(wexTempFileName(&name));
  EXPECT_EQ(s(name).rfind("/host/temp/", 0), 0u) << s(name);
  refhost::dirService().set("temp", QorString());
  refhost::dataStore().setCString(nullptr, "Directories/Temp Directory", "/store/dir");
  ASSERT_TRUE(wexTempFileName(&name));
  EXPECT_EQ(s(name).rfind("/store/dir/", 0), 0u) << s(name);
}

}  // namespace
