#include "base/qorpath.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <string>

#include "base/qorfdstreambuf.h"
#include "core/locator.h"
#include "hostapi/iqordirservice.h"
#include "platform/dir.h"

namespace {

using U16 = std::u16string;

U16 toU16(const QorString& s) {
  return U16(s.text());
}

void store(QorString& s, const U16& t) {
  s.assign(t.c_str(), static_cast<int32_t>(t.size()));
}

// The last position of either separator, or npos.
size_t lastSeparator(const U16& t, const QorPathRules& r) {
  for (size_t i = t.size(); i-- > 0;)
    if (r.isSeparator(t[i])) return i;
  return U16::npos;
}

// The position of the extension's "." when it stands behind the last primary separator.
size_t extensionMark(const U16& t, const QorPathRules& r) {
  const size_t dot = t.rfind(QorPathRules::kExtensionMark);
  if (dot == U16::npos) return dot;
  const size_t sep = t.rfind(r.separator);
  return (sep == U16::npos || dot > sep) ? dot : U16::npos;
}

}  // namespace

const QorPathRules& QorPathRules::native() {
  static constexpr QorPathRules rules{u'/', u'\\', false};
  return rules;
}

const QorPathRules& QorPathRules::windows() {
  static constexpr QorPathRules rules{u'\\', u'/', true};
  return rules;
}

namespace QorPathOps {

void normalise(QorString& path, const R& r) {
  U16 t = toU16(path);
  if (r.drives && t.size() >= 4 && t[0] == u'/' && t[1] == u'/' && t[3] == u'/') {
    const char16_t drive = t[2];
    t = U16(1, drive) + u":" + r.separator + t.substr(4);
  }
  for (char16_t& c : t)
    if (c == r.alternative) c = r.separator;
  while (t.size() > 1 && t.back() == r.separator) t.pop_back();
  store(path, t);
}

void join(QorString& path, const QorString& component, const R& r) {
  if (path.isEmpty()) {
    path = component;
  } else {
    if (path.at(path.length() - 1) != r.separator) path.append(r.separator);
    path += component;
  }
  normalise(path, r);
}

QorString extension(const QorString& path, const R& r) {
  const U16 t = toU16(path);
  const size_t dot = extensionMark(t, r);
  if (dot == U16::npos) return QorString();
  return path.right(static_cast<int32_t>(dot + 1));
}

void setExtension(QorString& path, const QorString& ext, const R& r) {
  const size_t dot = extensionMark(toU16(path), r);
  if (dot != U16::npos) path.truncate(static_cast<int32_t>(dot));
  if (ext.isEmpty()) return;
  if (ext.at(0) != QorPathRules::kExtensionMark) path.append(QorPathRules::kExtensionMark);
  path += ext;
}

void insertBeforeExtension(QorString& path, const QorString& text, const R& r) {
  const size_t dot = extensionMark(toU16(path), r);
  if (dot == U16::npos)
    path += text;
  else
    path = path.replaced(static_cast<int32_t>(dot), 0, text);
}

QorString fileName(const QorString& path, bool keepExtension, const R& r) {
  const U16 t = toU16(path);
  const size_t sep = t.rfind(r.separator);
  U16 name = sep == U16::npos ? t : t.substr(sep + 1);
  if (!keepExtension) {
    const size_t dot = name.rfind(QorPathRules::kExtensionMark);
    if (dot != U16::npos) name.resize(dot);
  }
  QorString out;
  store(out, name);
  return out;
}

void stem(const QorString& path, QorString& out, const R& r) {
  const U16 t = toU16(path);
  const size_t sep = lastSeparator(t, r);
  U16 name = sep == U16::npos ? t : t.substr(sep + 1);
  const size_t dot = name.rfind(QorPathRules::kExtensionMark);
  if (dot != U16::npos && dot > 0) name.resize(dot);
  store(out, name);
}

QorString parent(const QorString& path, const R& r) {
  const U16 t = toU16(path);
  const size_t sep = lastSeparator(t, r);
  QorString out;
  if (t.empty() || sep == U16::npos) {
    out.assign(u".");
    out.append(r.separator);
  } else if (sep == 0) {
    out.assign(&r.separator, 1);
  } else {
    store(out, t.substr(0, sep));
  }
  normalise(out, r);
  return out;
}

bool isAbsolute(const QorString& path, const R& r) {
  const int32_t n = path.length();
  if (n == 0) return false;
  if (path.at(0) == r.separator) return true;
  const char16_t c = path.at(0);
  const bool letter = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
  return r.drives && n >= 2 && letter && path.at(1) == u':';
}

void makeAbsolute(QorString& path, const R& r) {
  if (isAbsolute(path, r)) return;
  // The system's own limit of a path, not a fixed 256 units: a longer working directory
  // must not be cut.
  QorString dir = Platform::currentDirectory(PATH_MAX);
  normalise(dir, r);
  U16 rest = toU16(path);
  const U16 dot = U16(u".") + r.separator, dotDot = U16(u"..") + r.separator;
  while (!rest.empty() && rest[0] == u'.') {
    if (rest.compare(0, dot.size(), dot) == 0) {
      rest.erase(0, dot.size());
    } else if (rest.compare(0, dotDot.size(), dotDot) == 0) {
      rest.erase(0, dotDot.size());
      dir = parent(dir, r);
    } else {
      break;
    }
  }
  QorString tail;
  store(tail, rest);
  join(dir, tail, r);
  path = dir;
}

bool collapseDotDot(QorString& path, const R& r) {
  U16 t = toU16(path);
  const U16 a = U16(1, r.separator) + u".." + r.separator;
  const U16 b = U16(1, r.alternative) + u".." + r.alternative;
  bool changed = false;
  for (;;) {
    size_t p = t.find(a);
    if (p == U16::npos) p = t.find(b);
    if (p == U16::npos) break;
    const size_t before = p == 0 ? U16::npos : lastSeparator(t.substr(0, p), r);
    if (before == U16::npos) break;
    // From the separator in front of the parent component up to the match's last separator.
    t.erase(before, p + 3 - before);
    changed = true;
  }
  if (changed) store(path, t);
  return changed;
}

QorString withDriveRoot(const QorString& path, const R& r) {
  QorString out = path;
  if (r.drives && path.length() == 2 && path.at(1) == u':') out.append(r.separator);
  return out;
}

bool replaceBlanks(QorString& path) {
  bool any = false;
  for (int32_t i = path.length(); i-- > 0;) {
    const char16_t c = path.at(i);
    if (c == u'/' || c == u'\\') break;
    if (c == u' ' || (c >= 9 && c <= 13)) {
      path.setAt(i, u'_');
      any = true;
    }
  }
  return any;
}

bool equalIgnoringCase(const QorString& a, const QorString& b) {
  return a.toLower() == b.toLower();
}

}  // namespace QorPathOps

QorPath::QorPath(const QorString& text) : QorString(text) {
  QorPathOps::normalise(*this);
}

QorPath::QorPath(const char* text) : QorString(text) {
  QorPathOps::normalise(*this);
}

QorPath& QorPath::join(const QorString& component) {
  QorPathOps::join(*this, component);
  return *this;
}

QorString QorPath::fileName(bool keepExtension) const {
  return QorPathOps::fileName(*this, keepExtension);
}

// ---- Directory walk ----

bool QorDirEntry::isDot() const {
  return isDirectory() && QorPathOps::fileName(path_, true) == ".";
}

bool QorDirEntry::isDotDot() const {
  return isDirectory() && QorPathOps::fileName(path_, true) == "..";
}

QorDirIter::~QorDirIter() {
  Platform::closeSearch(handle_);
}

void QorDirIter::take(const QorString& name) {
  QorString p = *directory_;
  // Joined by hand: a normalised join would turn "dir/." into "dir/" and back into "dir".
  if (!p.isEmpty() && p.at(p.length() - 1) != QorPathRules::native().separator)
    p.append(QorPathRules::native().separator);
  p += name;
  static_cast<QorString&>(entry_.path_) = p;
  entry_.stat_ = {};
  entry_.statOk_ = QorFs::statPath(p, &entry_.stat_) == 0 ? 1 : 0;
}

void QorDirIter::skip() {
  while (!done_ && skipDots_ && (entry_.isDot() || entry_.isDotDot())) next();
}

void QorDirIter::start() {
  Platform::closeSearch(handle_);
  handle_ = nullptr;
  done_ = false;
  if (!directory_) {
    done_ = true;
    return;
  }
  handle_ = Platform::openSearch(QorPathOps::withDriveRoot(*directory_));
  QorString name;
  if (!handle_ || !Platform::nextName(handle_, &name)) {
    done_ = true;
    return;
  }
  take(name);
  skip();
}

void QorDirIter::next() {
  QorString name;
  if (done_ || !Platform::nextName(handle_, &name)) {
    done_ = true;
    return;
  }
  take(name);
  skip();
}

// ---- File-system operations ----

namespace QorFs {

namespace {
const char* sys(const QorString& path, QorString& hold) {
  hold = QorPathOps::withDriveRoot(path);
  return hold.utf8();
}
}  // namespace

int access(const QorString& path, int mode) {
  QorString h;
  return ::access(sys(path, h), mode);
}

std::FILE* openFile(const QorString& path, const char* mode) {
  constexpr size_t kModeLimit = 256;
  if (path.isEmpty() || !mode || std::char_traits<char>::length(mode) >= kModeLimit) return nullptr;
  QorString h;
  return std::fopen(sys(path, h), mode);
}

int statPath(const QorString& path, struct stat* record) {
  QorString h;
  return ::stat(sys(path, h), record);
}

bool isFile(const QorString& path) {
  struct stat s {};
  return statPath(path, &s) == 0 && S_ISREG(s.st_mode);
}

bool isDirectory(const QorString& path) {
  struct stat s {};
  return statPath(path, &s) == 0 && S_ISDIR(s.st_mode);
}

bool isFile(const char* path) {
  return path && isFile(QorString::fromUtf8(path));
}

bool isDirectory(const char* path) {
  return path && isDirectory(QorString::fromUtf8(path));
}

bool makeDirectory(const QorString& path) {
  QorString h;
  return ::mkdir(sys(path, h), 0777) == 0;
}

bool makeDirectories(const QorString& path, bool recursive) {
  if (!recursive) return makeDirectory(path) || errno == EEXIST;
  std::vector<QorString> stack;
  QorString p = path;
  bool atRoot = false;
  while (!makeDirectory(p)) {
    if (errno == EEXIST && stack.empty()) return true;
    stack.push_back(p);
    const QorString up = QorPathOps::parent(p);
    if (QorPathOps::equalIgnoringCase(up, p)) {
      atRoot = true;
      break;
    }
    p = up;
  }
  if (atRoot && !stack.empty()) stack.pop_back();
  while (!stack.empty()) {
    if (!makeDirectory(stack.back())) return false;
    stack.pop_back();
  }
  return true;
}

bool removeFile(const QorString& path) {
  QorString h;
  return ::unlink(sys(path, h)) == 0;
}

bool removeDirectory(const QorString& path, bool recursive) {
  QorString h;
  if (!recursive) return ::rmdir(sys(path, h)) == 0;
  std::vector<QorString> files, dirs;
  files.reserve(8);
  dirs.reserve(8);
  const QorPath dir(path);
  QorDirIter it(&dir, true);
  for (it.start(); !it.done(); it.next()) {
    if (it.entry().isFile())
      files.push_back(it.entry().path());
    else if (it.entry().isDirectory())
      dirs.push_back(it.entry().path());
  }
  for (const QorString& f : files) removeFile(f);
  for (const QorString& d : dirs) removeDirectory(d, true);
  return ::rmdir(sys(path, h)) == 0;
}

bool rename(const QorString& from, const QorString& to) {
  QorString a, b;
  return ::rename(sys(from, a), sys(to, b)) == 0;
}

bool copyFile(const QorString& from, const QorString& to) {
  QorIfstream in(from, QorOpenMode::kIn | QorOpenMode::kBinary);
  if (!in) return false;
  QorOfstream out(to, QorOpenMode::kOut | QorOpenMode::kTrunc | QorOpenMode::kBinary);
  if (!out) return false;
  std::vector<char> block(kCopyBlock);
  for (;;) {
    in.read(block.data(), kCopyBlock);
    const std::streamsize got = in.gcount();
    if (got > 0) out.write(block.data(), got);
    if (got < kCopyBlock) break;
  }
  out.close();
  return static_cast<bool>(out);
}

int copyFile(const char* from, const char* to) {
  if (!from || !*from || !to || !*to) return 0;
  return copyFile(QorString::fromUtf8(from), QorString::fromUtf8(to)) ? 1 : 0;
}

namespace {
// The entry's path behind the length of `from`, put behind `to`.
QorString target(const QorDirEntry& e, const QorString& from, const QorString& to) {
  QorString t = to;
  t += e.path().right(from.length());
  return t;
}
}  // namespace

bool copyTree(const QorString& from, const QorString& to) {
  if (isFile(from)) return copyFile(from, to);
  if (!isDirectory(from)) return true;
  bool ok = true;
  if (!isDirectory(to)) ok = makeDirectory(to);
  const QorPath dir(from);
  QorDirIter it(&dir, true);
  for (it.start(); !it.done(); it.next()) {
    const QorString t = target(it.entry(), dir, to);
    if (it.entry().isFile()) {
      ok = copyFile(it.entry().path(), t) && ok;
    } else if (it.entry().isDirectory()) {
      if (isFile(t)) removeFile(t);
      if (!isDirectory(t)) ok = makeDirectory(t) && ok;
      ok = copyTree(it.entry().path(), t) && ok;
    }
  }
  return ok;
}

bool copyTree(const char* from, const char* to) {
  if (!from || !to) return false;
  return copyTree(QorString::fromUtf8(from), QorString::fromUtf8(to));
}

bool moveTree(const QorString& from, const QorString& to) {
  if (rename(from, to)) return true;
  if (isFile(from)) return copyFile(from, to);
  if (!isDirectory(from)) return true;
  bool ok = true;
  if (!isDirectory(to)) ok = makeDirectory(to);
  const QorPath dir(from);
  QorDirIter it(&dir, true);
  for (it.start(); !it.done(); it.next()) {
    const QorString t = target(it.entry(), dir, to);
    if (it.entry().isFile()) {
      if (isFile(t)) removeFile(t);
      ok = (rename(it.entry().path(), t) || copyFile(it.entry().path(), t)) && ok;
    } else if (it.entry().isDirectory()) {
      ok = moveTree(it.entry().path(), t) && ok;
    }
  }
  return ok;
}

int32_t fileCount(const QorString& directory) {
  const QorPath dir(directory);
  QorDirIter it(&dir, true);
  int32_t n = 0;
  for (it.start(); !it.done(); it.next()) ++n;
  return n;
}

int64_t directorySize(const QorString& directory) {
  const QorPath dir(directory);
  QorDirIter it(&dir, true);
  int64_t size = 0;
  for (it.start(); !it.done(); it.next())
    if (it.entry().isFile()) size += static_cast<int64_t>(it.entry().record().st_size);
  return size;
}

}  // namespace QorFs

// ---- File patterns ----

namespace {
enum : uint8_t { kLiteral, kAny, kRun, kSet };

U16 lowered(const U16& t) {
  QorString s;
  s.assign(t.c_str(), static_cast<int32_t>(t.size()));
  return toU16(s.toLower());
}

U16 widen(const char* text) {
  U16 t;
  for (const char* p = text ? text : ""; *p; ++p) t.push_back(static_cast<unsigned char>(*p));
  return t;
}
}  // namespace

std::vector<QorFilePattern::Token> QorFilePattern::parse(const U16& text) {
  std::vector<Token> tokens;
  for (size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    if (c == u'?') {
      tokens.push_back({kAny, 0, {}});
    } else if (c == u'*') {
      tokens.push_back({kRun, 0, {}});
    } else if (c == u'[' && text.find(u']', i + 1) != U16::npos) {
      const size_t end = text.find(u']', i + 1);
      Token t{kSet, 0, {}};
      for (size_t j = i + 1; j < end; ++j) {
        if (j + 2 < end && text[j + 1] == u'-') {
          t.set.push_back(text[j]);
          t.set.push_back(text[j + 2]);
          j += 2;
        } else {
          t.set.push_back(text[j]);
          t.set.push_back(text[j]);
        }
      }
      tokens.push_back(std::move(t));
      i = end;
    } else {
      tokens.push_back({kLiteral, c, {}});
    }
  }
  return tokens;
}

QorFilePattern::QorFilePattern(const QorString& pattern)
    : tokens_(parse(toU16(pattern))), lowerTokens_(parse(lowered(toU16(pattern)))) {}

QorFilePattern::QorFilePattern(const char* pattern)
    : tokens_(parse(widen(pattern))), lowerTokens_(parse(lowered(widen(pattern)))) {}

bool QorFilePattern::run(const std::vector<Token>& tokens, const char16_t* name,
                         size_t length) const {
  const size_t n = tokens.size();
  live_.assign(n + 1, 0);
  nextLive_.assign(n + 1, 0);
  // A live run also holds the state behind it (it matches nothing as well).
  auto close = [&](std::vector<uint8_t>& s) {
    for (size_t i = 0; i < n; ++i)
      if (s[i] && tokens[i].kind == kRun) s[i + 1] = 1;
  };
  live_[0] = 1;
  close(live_);
  for (size_t k = 0; k < length; ++k) {
    const char16_t c = name[k];
    std::fill(nextLive_.begin(), nextLive_.end(), 0);
    bool any = false;
    for (size_t i = 0; i < n; ++i) {
      if (!live_[i]) continue;
      const Token& t = tokens[i];
      bool step = false;
      switch (t.kind) {
        case kLiteral:
          step = t.unit == c;
          break;
        case kAny:
          step = true;
          break;
        case kRun:
          nextLive_[i] = 1;
          any = true;
          break;
        default:
          for (size_t j = 0; j + 1 < t.set.size(); j += 2)
            if (c >= t.set[j] && c <= t.set[j + 1]) step = true;
      }
      if (step) {
        nextLive_[i + 1] = 1;
        any = true;
      }
    }
    if (!any) return false;
    close(nextLive_);
    live_.swap(nextLive_);
  }
  return live_[n] != 0;
}

bool QorFilePattern::match(const QorString& name) const {
  const U16 t = lowered(toU16(name));
  return run(lowerTokens_, t.c_str(), t.size());
}

bool QorFilePattern::match(const char* name) const {
  const U16 t = widen(name);
  return run(tokens_, t.c_str(), t.size());
}

// ---- The host's directories ----

QorString wexDirectory(const QorCString& key) {
  // Looked up once; a miss is kept as well.
  static IQorDirService* const service = [] {
    void* out = nullptr;
    ::getService("IQorDirService", &out);
    return static_cast<IQorDirService*>(out);
  }();
  QorString result;
  if (service) service->directory(key, result);
  return result;
}
