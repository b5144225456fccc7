// Path rules under both separator pairs, the directory walk and the file-system
// operations in a scratch directory, file patterns and the host's named directories.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "base/qorpath.h"
#include "bulk/pagedarray.h"
#include "refhost/dirservice.h"
#include "refhost/host.h"
#include "scratch.h"

namespace {
using R = QorPathRules;
namespace P = QorPathOps;

std::string s(const QorString& q) {
  return q.utf8();
}

struct Case {
  const R& r;
  const char *op, *in, *arg, *want;
};

QorString apply(const Case& c) {
  QorString p = QorString(c.in), arg(c.arg), out;
  const std::string op = c.op;
  if (op == "normalise") P::normalise(p, c.r);
  if (op == "join") P::join(p, arg, c.r);
  if (op == "extension") return P::extension(p, c.r);
  if (op == "setExtension") P::setExtension(p, arg, c.r);
  if (op == "insertBefore") P::insertBeforeExtension(p, arg, c.r);
  if (op == "fileName") return P::fileName(p, false, c.r);
  if (op == "stem") P::stem(p, out, c.r);
  if (op == "parent") return P::parent(p, c.r);
  if (op == "collapse") P::collapseDotDot(p, c.r);
  if (op == "driveRoot") return P::withDriveRoot(p, c.r);
  if (op == "blanks") P::replaceBlanks(p);
  return op == "stem" ? out : p;
}

// Native rules take "\" as the alternative separator; the drive rules only under Windows'.
const R& N = R::native();
const R& W = R::windows();
const Case kCases[] = {
    {N, "normalise", "/data\\x//", "", "/data/x"},
    {N, "normalise", "//c/x", "", "//c/x"},
    {N, "join", "", "b/", "b"},
    {N, "extension", "a.b/c", "", ""},
    {N, "extension", "a.b/c.txt", "", "txt"},
    {N, "setExtension", "a.b/c", "png", "a.b/c.png"},
    {N, "setExtension", "a.txt", "", "a"},
    {N, "insertBefore", "d.x/a.txt", "_1", "d.x/a_1.txt"},
    {N, "insertBefore", "d.x/a", "_1", "d.x/a_1"},
    {N, "fileName", "d/a.b.c", "", "a.b"},
    {N, "stem", "d\\.bashrc", "", ".bashrc"},
    {N, "stem", "d\\f.tar", "", "f"},
    {N, "parent", "abc", "", "."},
    {N, "parent", "/abc", "", "/"},
    {N, "parent", "a\\b", "", "a"},
    {N, "collapse", "../../c", "", "../../c"},
    {N, "collapse", "/x/a/b/../../c", "", "/x/c"},
    {N, "driveRoot", "C:", "", "C:"},
    {N, "blanks", "my dir/a b\t.txt", "", "my dir/a_b_.txt"},
    {W, "normalise", "//c/data/x/", "", "c:\\data\\x"},
    {W, "normalise", "a\\\\", "", "a"},
    {W, "normalise", "\\", "", "\\"},
    {W, "parent", "\\abc", "", "\\"},
    {W, "driveRoot", "C:", "", "C:\\"},
    {W, "driveRoot", "C:x", "", "C:x"},
    {W, "collapse", "a\\b\\..\\c", "", "a\\c"},
    {W, "fileName", "a/b\\c.d", "", "c"},
};

TEST(Paths, Table) {
  for (const Case& c : kCases)
    EXPECT_EQ(s(apply(c)), c.want) << c.op << " " << c.in << (&c.r == &W ? " (drives)" : "");
  EXPECT_TRUE(P::isAbsolute(QorString("c:x"), W));
  EXPECT_FALSE(P::isAbsolute(QorString("c:x"), N));
}

TEST(Paths, AbsoluteAndCase) {
  QorPath p("./../x");
  p.makeAbsolute();
  QorPath cwd(QorString::fromUtf8(std::filesystem::current_path().parent_path().c_str()));
  EXPECT_EQ(s(p), s(cwd.join("x")));
  EXPECT_TRUE(QorPath("/A/b").equalIgnoringCase("/a/B"));
  EXPECT_EQ(s(QorPath("a\\b/")), "a/b");
}

std::vector<std::string> names(const QorPath& dir, bool skipDots) {
  std::vector<std::string> out;
  QorDirIter it(&dir, skipDots);
  for (it.start(); !it.done(); it.next())
    out.push_back(s(it.entry().path().fileName()) + (it.entry().isDot() ? "=dot" : "") +
                  (it.entry().isDotDot() ? "=dotdot" : ""));
  std::sort(out.begin(), out.end());
  return out;
}

TEST_F(ScratchDir, WalkCopyMoveRemove) {
  ASSERT_TRUE(QorFs::makeDirectories(at("t/a/b"), true));
  EXPECT_TRUE(QorFs::makeDirectories(at("t/a"), false));  // exists: fine
  put("t/one", std::string(2048, 'x'));
  put("t/a/two", "2");
  put("t/a/b/three", "");
  using V = std::vector<std::string>;
  EXPECT_EQ(names(at("t"), true), (V{"a", "one"}));
  EXPECT_EQ(names(at("t"), false), (V{"..=dotdot", ".=dot", "a", "one"}));
  EXPECT_EQ(QorFs::fileCount(at("t")), 2);
  EXPECT_EQ(QorFs::directorySize(at("t")), 2048);
  ASSERT_TRUE(QorFs::copyTree(at("t"), at("c")));
  for (const char* f : {"one", "a/two", "a/b/three"})
    EXPECT_EQ(read(std::string("c/") + f), read(std::string("t/") + f)) << f;
  EXPECT_FALSE(QorFs::copyFile(at("missing"), at("x")));
  EXPECT_EQ(QorFs::copyFile(nullptr, "x"), 0);
  ASSERT_TRUE(QorFs::makeDirectories(at("m/c"), true));
  put("m/c/keep", "k");  // a target that is not empty: the move walks the tree
  ASSERT_TRUE(QorFs::moveTree(at("c"), at("m/c")));
  EXPECT_EQ(names(at("m/c"), true), (V{"a", "keep", "one"}));
  EXPECT_EQ(read("m/c/a/two"), "2");
  EXPECT_EQ(names(at("c"), true), V{});  // the emptied source stays
  EXPECT_EQ(QorFs::access(at("m/c/one"), R_OK), 0);
  std::FILE* f = QorFs::openFile(at("m/c/one"), "rb");
  EXPECT_NE(f, nullptr);
  if (f) std::fclose(f);
  EXPECT_EQ(QorFs::openFile(at("m/c/one"), std::string(256, 'r').c_str()), nullptr);
  EXPECT_TRUE(QorFs::removeDirectory(at("t"), true));
  EXPECT_FALSE(std::filesystem::exists(root_ / "t"));
  EXPECT_FALSE(QorFs::removeDirectory(at("m"), false));  // not empty
}

TEST(Patterns, Table) {
  struct {
    const char *pattern, *name;
    bool wide, narrow;
  } cases[] = {
      {"a*[0-9].t?t", "ab7.txt", true, true},
      {"a*[0-9].t?t", "abx.txt", false, false},
      {"a*[0-9].t?t", "AB7.TXT", true, false},
      {"*", "", true, true},
      {"*.*", "noext", false, false},
      {"a**b", "ab", true, true},
      {"a?", "a", false, false},
      {"*x*y", "xxyxy", true, true},
      {"[a-c", "[a-c", true, true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(QorFilePattern(QorString(c.pattern)).match(QorString(c.name)), c.wide) << c.name;
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
