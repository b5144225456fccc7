// Paths as wide strings with a single separator and no trailing separator, the operations
// that split and join them, the directory walker, the file-system operations on them, file
// name patterns and the host's named directories.
//
// The separators come as a (primary, alternative) pair. The native pair is ("/", "\") with
// the drive rules off; the Windows pair ("\", "/") turns the drive rules on ("//c/x" is
// "c:\x", "C:" is the root "C:\", a letter and ":" start an absolute path). Every path
// operation takes the pair, the native one by default.
#pragma once
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <vector>

#include "base/qorcstring.h"
#include "base/qorstring.h"

struct QorPathRules {
  char16_t separator;
  char16_t alternative;
  bool drives;
  static constexpr char16_t kExtensionMark = u'.';

  bool isSeparator(char16_t c) const { return c == separator || c == alternative; }
  static const QorPathRules& native();
  static const QorPathRules& windows();
};

namespace QorPathOps {
using R = QorPathRules;
// Drive form "//c/rest" to "c:\rest" (drive rules only), every alternative separator to the
// primary one, trailing separators cut (the first character stays).
void normalise(QorString& path, const R& r = R::native());
// Adds `component` behind a separator (none for an empty path), then normalises.
void join(QorString& path, const QorString& component, const R& r = R::native());
// The text behind the last "." when that stands behind the last separator; else empty.
QorString extension(const QorString& path, const R& r = R::native());
// Cuts an extension, then adds `ext` ("." added when missing; empty only cuts).
void setExtension(QorString& path, const QorString& ext, const R& r = R::native());
// Inserts `text` in front of the extension's ".", or appends it.
void insertBeforeExtension(QorString& path, const QorString& text, const R& r = R::native());
// The text behind the last primary separator; without keepExtension up to its last ".".
QorString fileName(const QorString& path, bool keepExtension, const R& r = R::native());
// The last component by either separator, its extension cut unless the "." comes first.
void stem(const QorString& path, QorString& out, const R& r = R::native());
// The text in front of the last separator of either kind; "." with none, the separator
// for one at position 0.
QorString parent(const QorString& path, const R& r = R::native());
bool isAbsolute(const QorString& path, const R& r = R::native());
// Joins a relative path onto the process's current directory, taking "./" and "../" off.
void makeAbsolute(QorString& path, const R& r = R::native());
// Takes "x/../" pairs out; answers whether any went.
bool collapseDotDot(QorString& path, const R& r = R::native());
// "C:" becomes "C:\" under the drive rules; every path handed to the system goes here.
QorString withDriveRoot(const QorString& path, const R& r = R::native());
// Blanks and characters 9 to 13 of the last component become "_"; answers whether any did.
bool replaceBlanks(QorString& path);
bool equalIgnoringCase(const QorString& a, const QorString& b);
}  // namespace QorPathOps

// A path: a string whose constructors normalise it by the native rules.
class QorPath : public QorString {
 public:
  QorPath() = default;
  QorPath(const QorString& text);  // NOLINT: paths are built from texts where they are used
  QorPath(const char* text);       // NOLINT
  QorPath(const QorPath& other) = default;
  QorPath& operator=(const QorPath& other) = default;

  QorPath& join(const QorString& component);
  QorString extension() const { return QorPathOps::extension(*this); }
  void setExtension(const QorString& ext) { QorPathOps::setExtension(*this, ext); }
  void insertBeforeExtension(const QorString& t) { QorPathOps::insertBeforeExtension(*this, t); }
  QorString fileName(bool keepExtension = true) const;
  void stem(QorString& out) const { QorPathOps::stem(*this, out); }
  QorPath parent() const { return QorPath(QorPathOps::parent(*this)); }
  bool isAbsolute() const { return QorPathOps::isAbsolute(*this); }
  void makeAbsolute() { QorPathOps::makeAbsolute(*this); }
  bool collapseDotDot() { return QorPathOps::collapseDotDot(*this); }
  QorString withDriveRoot() const { return QorPathOps::withDriveRoot(*this); }
  bool replaceBlanks() { return QorPathOps::replaceBlanks(*this); }
  bool equalIgnoringCase(const QorString& o) const {
    return QorPathOps::equalIgnoringCase(*this, o);
  }
};

// One entry of a directory walk: its path and its stat record, read when it was found.
class QorDirEntry {
 public:
  const QorPath& path() const { return path_; }
  const struct stat& record() const { return stat_; }
  bool isDirectory() const { return statOk_ && S_ISDIR(stat_.st_mode); }
  bool isFile() const { return statOk_ && S_ISREG(stat_.st_mode); }
  bool isDot() const;
  bool isDotDot() const;

 private:
  friend class QorDirIter;
  QorPath path_;
  struct stat stat_ {};
  uint8_t statOk_ = 0;
};

// Walks one directory in the order the system hands out its names.
class QorDirIter {
 public:
  explicit QorDirIter(const QorPath* directory, bool skipDots = true)
      : directory_(directory), skipDots_(skipDots) {}
  ~QorDirIter();
  QorDirIter(const QorDirIter&) = delete;
  QorDirIter& operator=(const QorDirIter&) = delete;

  void start();
  void next();
  bool done() const { return done_; }
  const QorDirEntry& entry() const { return entry_; }

 private:
  void take(const QorString& name);
  void skip();

  const QorPath* directory_;
  bool skipDots_;
  void* handle_ = nullptr;
  QorDirEntry entry_;
  bool done_ = true;
};

// File-system operations; true for success unless stated.
namespace QorFs {
// The runtime's access call: 0 on success.
int access(const QorString& path, int mode);
// The runtime's fopen; null for an empty path or a mode of 256 characters or more.
std::FILE* openFile(const QorString& path, const char* mode);
bool isFile(const QorString& path);
bool isDirectory(const QorString& path);
bool isFile(const char* path);
bool isDirectory(const char* path);
bool makeDirectory(const QorString& path);
// Without `recursive` an existing directory counts as made; with it the missing parents
// are made first.
bool makeDirectories(const QorString& path, bool recursive);
bool removeFile(const QorString& path);
// With `recursive` the files go first, then every subdirectory, then the directory.
bool removeDirectory(const QorString& path, bool recursive);
bool rename(const QorString& from, const QorString& to);
// Copies in blocks of kCopyBlock bytes through the descriptor streams: one read and one
// write per block, straight to and from the descriptors. The block size shows only in the
// number of system calls, not in the bytes.
constexpr int32_t kCopyBlock = 64 * 1024;
bool copyFile(const QorString& from, const QorString& to);
// The narrow twin: 0 for a null or empty path, else 1 for success.
int copyFile(const char* from, const char* to);
// Copies a file or a whole tree; goes on after a failed entry and answers false at the end.
bool copyTree(const QorString& from, const QorString& to);
bool copyTree(const char* from, const char* to);
// A rename, or else a walk that renames each file (copying where that fails) and leaves the
// emptied source directories behind.
bool moveTree(const QorString& from, const QorString& to);
// The runtime's stat: 0 on success.
int statPath(const QorString& path, struct stat* record);
// The number of entries, dots left out.
int32_t fileCount(const QorString& directory);
// The sum of the sizes of the files directly in `directory`.
int64_t directorySize(const QorString& directory);
}  // namespace QorFs

// Matches names against a pattern of "?", "*", "[set]" with ranges "a-b", and plain
// characters. A wide name is compared in lower case on both sides; a narrow one as is.
class QorFilePattern {
 public:
  explicit QorFilePattern(const QorString& pattern);
  explicit QorFilePattern(const char* pattern);
  bool match(const QorString& name) const;
  bool match(const char* name) const;

 private:
  struct Token {
    uint8_t kind;  // kLiteral, kAny, kRun, kSet
    char16_t unit;
    std::vector<char16_t> set;  // pairs of inclusive bounds
  };
  static std::vector<Token> parse(const std::u16string& text);
  bool run(const std::vector<Token>& tokens, const char16_t* name, size_t length) const;

  std::vector<Token> tokens_;
  std::vector<Token> lowerTokens_;
  mutable std::vector<uint8_t> live_, nextLive_;
};

// The host's named directory through IQorDirService ("temp", "logs", ...); the empty string
// without the service.
QorString wexDirectory(const QorCString& key);
