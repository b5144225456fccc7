#include "base/qorcstring.h"

#include <algorithm>
#include <cerrno>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <istream>
#include <iterator>
#include <limits>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

#include "base/qorstring.h"
#include "base/strstorage.h"
#include "base/wexrealloc.h"

namespace {

int32_t textLength(const char* s) {
  return s ? static_cast<int32_t>(std::strlen(s)) : 0;
}

// White space as the C runtime classifies it in the C locale.
bool isBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

char lowerByte(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}
char upperByte(char c) {
  return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

// The printf text of a number, whatever its length.
template <class... Args>
std::string printed(const char* format, Args... args) {
  char small[64];
  int n = std::snprintf(small, sizeof small, format, args...);
  if (n < 0) return std::string();
  if (static_cast<size_t>(n) < sizeof small) return std::string(small, static_cast<size_t>(n));
  std::string big(static_cast<size_t>(n) + 1, '\0');
  std::snprintf(big.data(), big.size(), format, args...);
  big.resize(static_cast<size_t>(n));
  return big;
}

// Reads a real back as the runtime's stof/stod does, with the failure texts of the system.
float readFloat(const char* text) {
  const char* start = text ? text : "";
  char* end = nullptr;
  int saved = errno;
  errno = 0;
  float v = std::strtof(start, &end);
  int err = errno;
  errno = saved;
  if (end == start) throw std::invalid_argument("invalid stof argument");
  if (err == ERANGE) throw std::out_of_range("stof argument out of range");
  return v;
}

double readDouble(const char* text) {
  const char* start = text ? text : "";
  char* end = nullptr;
  int saved = errno;
  errno = 0;
  double v = std::strtod(start, &end);
  int err = errno;
  errno = saved;
  if (end == start) throw std::invalid_argument("invalid stod argument");
  if (err == ERANGE) throw std::out_of_range("stod argument out of range");
  return v;
}

// The digit search of the shortest text, for float (9 digits) or double (17).
template <class T>
std::string shortestText(T value, int maxDigits, T (*readBack)(const char*)) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
  // An integral value in the 32-bit range prints as an integer. Beyond that range the
  // integer form would be undefined; such values take the digit search below.
  double wide = static_cast<double>(value);
  if (value == std::trunc(value) && wide >= -2147483648.0 && wide <= 2147483647.0)
    return printed("%d", static_cast<int>(value));
  T bestError = std::numeric_limits<T>::max();
  std::string best;
  for (int precision = maxDigits; precision >= 0; --precision) {
    std::ostringstream out;
    out.precision(precision);
    out << value;
    std::string text = out.str();
    T back = readBack(text.c_str());
    T error = std::fabs(back - value);
    if (error > bestError) break;
    best = std::move(text);
    bestError = error;
  }
  return best;
}

}  // namespace

// ---- construction ----

QorCString::QorCString(const char* text) {
  if (!text) return;
  int32_t n = textLength(text);
  std::memcpy(allocateText(n), text, static_cast<size_t>(n));
}

QorCString::QorCString(const char* text, int32_t maxCount) {
  if (!text) return;
  int32_t n =
      maxCount <= 0 ? 0 : static_cast<int32_t>(strnlen(text, static_cast<size_t>(maxCount)));
  std::memcpy(allocateText(n), text, static_cast<size_t>(n));
}

QorCString::QorCString(char c) {
  allocateText(1)[0] = c;
}

QorCString::QorCString(int value) {
  copyText(printed("%d", value));
}

QorCString::QorCString(double value, bool shortest) {
  copyText(shortest ? shortestText<double>(value, 17, &readDouble) : printed("%f", value));
}

QorCString::QorCString(float value, bool shortest) {
  copyText(shortest ? shortestText<float>(value, 9, &readFloat)
                    : printed("%f", static_cast<double>(value)));
}

QorCString::QorCString(const char* a, const char* b) : QorCString(a, b, nullptr) {}

QorCString::QorCString(const char* a, const char* b, const char* c) {
  int32_t la = textLength(a), lb = textLength(b), lc = textLength(c);
  if (la + lb + lc == 0) return;
  char* p = allocateText(la + lb + lc);
  if (la) std::memcpy(p, a, static_cast<size_t>(la));
  if (lb) std::memcpy(p + la, b, static_cast<size_t>(lb));
  if (lc) std::memcpy(p + la + lb, c, static_cast<size_t>(lc));
}

QorCString::QorCString(std::istream& in) {
  copyText(std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>()));
}

QorCString::QorCString(const QorCString& other) {
  if (other.size_ > 0) {
    int32_t n = other.length();
    std::memcpy(allocateText(n), other.str_, static_cast<size_t>(n));
  } else {
    str_ = other.str_;
  }
}

QorCString::QorCString(QorCString&& other) noexcept : str_(other.str_), size_(other.size_) {
  other.str_ = nullptr;
  other.size_ = 0;
}

QorCString::~QorCString() {
  release();
}

QorCString QorCString::withInt(const char* prefix, int value) {
  return QorCString(prefix ? prefix : "", printed("%d", value).c_str());
}

QorCString QorCString::join(const char* const* pieces) {
  QorCString out;
  if (!pieces || !pieces[0]) return out;
  int64_t total = 0;
  for (const char* const* p = pieces; *p; ++p) total += textLength(*p);
  if (total == 0) return out;
  char* d = out.allocateText(static_cast<int32_t>(total));
  for (const char* const* p = pieces; *p; ++p) {
    int32_t n = textLength(*p);
    std::memcpy(d, *p, static_cast<size_t>(n));
    d += n;
  }
  return out;
}

QorCString QorCString::shortestReal(double value) {
  return QorCString(value, true);
}

QorCString QorCString::shortestReal(float value) {
  return QorCString(value, true);
}

// ---- assignment ----

QorCString& QorCString::operator=(const QorCString& other) {
  if (this == &other) return *this;
  release();
  if (other.size_ > 0) {
    int32_t n = other.length();
    std::memcpy(allocateText(n), other.str_, static_cast<size_t>(n));
  } else {
    str_ = other.str_;
  }
  return *this;
}

QorCString& QorCString::operator=(QorCString&& other) noexcept {
  if (this != &other) {
    release();
    str_ = other.str_;
    size_ = other.size_;
    other.str_ = nullptr;
    other.size_ = 0;
  }
  return *this;
}

QorCString& QorCString::operator=(const char* text) {
  if (text == str_) return *this;
  QorCString copy(text);  // the text may live in the block about to be released
  return *this = std::move(copy);
}

QorCString& QorCString::operator=(char c) {
  release();
  allocateText(1)[0] = c;
  return *this;
}

void QorCString::assign(const char* text, int32_t count) {
  if (!text) {
    release();
    return;
  }
  int32_t whole = textLength(text);
  int32_t n = (count < 0 || count > whole) ? whole : count;
  if (size_ > 0 && n == length()) {
    std::memmove(str_, text, static_cast<size_t>(n));
    str_[n] = 0;
    return;
  }
  QorCString copy(text, n);
  *this = std::move(copy);
}

void QorCString::assignBytes(const char* text, int32_t count) {
  if (count < 0) count = textLength(text);
  if (count <= 0 || !text) {
    release();
    return;
  }
  if (size_ > count) {
    std::memmove(str_, text, static_cast<size_t>(count));
    str_[count] = 0;
    return;
  }
  int32_t granted = 0;
  char* block = static_cast<char*>(qor::strAllocate(count + 1, &granted));
  std::memcpy(block, text, static_cast<size_t>(count));
  block[count] = 0;
  release();
  str_ = block;
  size_ = granted;
}

void QorCString::assignWide(const char16_t* units, int32_t count) {
  if (count < 0) {
    count = 0;
    if (units)
      while (units[count]) ++count;
  }
  if (count <= 0 || !units) {
    release();
    return;
  }
  char* target = str_;
  int32_t granted = size_;
  bool reuse = size_ > count;
  if (!reuse) target = static_cast<char*>(qor::strAllocate(count + 1, &granted));
  for (int32_t i = 0; i < count; ++i) target[i] = static_cast<char>(units[i] & 0xFF);
  target[count] = 0;
  if (!reuse) {
    release();
    str_ = target;
    size_ = granted;
  }
}

void QorCString::assignUtf8(QorString& wide) {
  wide.utf8();
  release();
  str_ = wide.utf8_;
  size_ = wide.utf8Size_;
  wide.utf8_ = nullptr;
  wide.utf8Size_ = 0;
}

void QorCString::swap(QorCString& other) noexcept {
  std::swap(str_, other.str_);
  std::swap(size_, other.size_);
}

// ---- appending ----

void QorCString::append(char c) {
  if (c == 0) return;
  char text[2] = {c, 0};
  append(text);
}

void QorCString::append(const char* text) {
  int32_t add = textLength(text);
  if (add == 0) return;
  int32_t old = length();
  int32_t n = old + add;
  if (size_ > n) {
    std::memmove(str_ + old, text, static_cast<size_t>(add));
    str_[n] = 0;
    return;
  }
  int32_t granted = 0;
  char* block = static_cast<char*>(qor::strAllocate(n + 1, &granted));
  if (old) std::memcpy(block, str_, static_cast<size_t>(old));
  std::memcpy(block + old, text, static_cast<size_t>(add));
  block[n] = 0;
  release();
  str_ = block;
  size_ = granted;
}

QorCString QorCString::operator+(char c) const {
  char text[2] = {c, 0};
  return QorCString(str_, text);
}

QorCString QorCString::operator+(const char* text) const {
  return QorCString(str_, text);
}

// ---- searching ----

int32_t QorCString::length() const {
  return textLength(str_);
}

int32_t QorCString::find(char c, int32_t start) const {
  int32_t n = length();
  if (n == 0 || start < 0 || start >= n) return -1;
  const void* hit = std::memchr(str_ + start, c, static_cast<size_t>(n - start));
  return hit ? static_cast<int32_t>(static_cast<const char*>(hit) - str_) : -1;
}

int32_t QorCString::find(const char* needle, int32_t start) const {
  int32_t n = length(), m = textLength(needle);
  if (m > n) return -1;
  if (m == 0) return 0;
  if (!QOR_ASSERT(start >= 0)) return -1;
  for (int32_t i = start; i <= n - m; ++i)
    if (str_[i] == needle[0] && std::memcmp(str_ + i, needle, static_cast<size_t>(m)) == 0)
      return i;
  return -1;
}

int32_t QorCString::rfind(char c) const {
  for (int32_t i = length() - 1; i >= 0; --i)
    if (str_[i] == c) return i;
  return -1;
}

int32_t QorCString::rfind(const char* needle) const {
  int32_t n = length(), m = textLength(needle);
  if (m == 0) return n;
  for (int32_t i = n - m; i >= 0; --i)
    if (std::memcmp(str_ + i, needle, static_cast<size_t>(m)) == 0) return i;
  return -1;
}

// ---- changing ----

void QorCString::replaceChar(char from, char to) {
  if (find(from) < 0) return;
  makeOwned();
  for (char* p = str_; *p; ++p)
    if (*p == from) *p = to;
}

void QorCString::replaceAt(int32_t pos, int32_t count, const char* text) {
  int32_t n = length();
  if (pos < 0) pos = 0;
  if (pos > n) pos = n;
  if (count < 0) count = 0;
  if (count > n - pos) count = n - pos;
  int32_t m = textLength(text);
  if (m == count) {
    if (m == 0) return;
    makeOwned();
    std::memmove(str_ + pos, text, static_cast<size_t>(m));
    return;
  }
  int32_t total = n - count + m;
  int32_t granted = 0;
  char* block = static_cast<char*>(qor::strAllocate(total + 1, &granted));
  if (pos) std::memcpy(block, str_, static_cast<size_t>(pos));
  if (m) std::memcpy(block + pos, text, static_cast<size_t>(m));
  std::memcpy(block + pos + m, str_ + pos + count, static_cast<size_t>(n - pos - count));
  block[total] = 0;
  release();
  str_ = block;
  size_ = granted;
}

void QorCString::replaceAll(const char* from, const char* to) {
  if (!from || !to || !*from || std::strcmp(from, to) == 0) return;
  int32_t fromLength = textLength(from), toLength = textLength(to);
  int32_t hits = 0;
  for (int32_t at = find(from, 0); at >= 0; at = find(from, at + fromLength)) ++hits;
  if (hits == 0) return;
  int32_t n = length();
  int32_t total = n + hits * (toLength - fromLength);
  int32_t granted = 0;
  char* block = static_cast<char*>(qor::strAllocate(total + 1, &granted));
  char* d = block;
  int32_t done = 0;
  for (int32_t at = find(from, 0); at >= 0; at = find(from, at + fromLength)) {
    std::memcpy(d, str_ + done, static_cast<size_t>(at - done));
    d += at - done;
    std::memcpy(d, to, static_cast<size_t>(toLength));
    d += toLength;
    done = at + fromLength;
  }
  std::memcpy(d, str_ + done, static_cast<size_t>(n - done));
  block[total] = 0;
  release();
  str_ = block;
  size_ = granted;
}

QorCString QorCString::substring(int32_t start, int32_t count) const {
  int32_t n = length();
  if (start < 0) start = 0;
  if (start > n) start = n;
  return QorCString(c_str() + start, count);
}

void QorCString::makeOwned() {
  if (size_ > 0 || !str_) return;
  QorCString copy(str_);
  *this = std::move(copy);
}

void QorCString::toLower() {
  makeOwned();
  if (str_)
    for (char* p = str_; *p; ++p) *p = lowerByte(*p);
}

void QorCString::toUpper() {
  makeOwned();
  if (str_)
    for (char* p = str_; *p; ++p) *p = upperByte(*p);
}

void QorCString::reverse() {
  makeOwned();
  int32_t n = length();
  for (int32_t i = 0, j = n - 1; i < j; ++i, --j) std::swap(str_[i], str_[j]);
}

QorCString QorCString::trim() const {
  if (!str_) return QorCString();
  int32_t b = 0, e = length();
  while (b < e && isBlank(str_[b])) ++b;
  while (e > b && isBlank(str_[e - 1])) --e;
  return QorCString(str_ + b, e - b);
}

QorCString QorCString::simplify(char fill) const {
  if (!str_) return QorCString();
  std::string out;
  const char* p = str_;
  while (*p && isBlank(*p)) ++p;
  while (*p) {
    if (isBlank(*p)) {
      while (*p && isBlank(*p)) ++p;
      out += fill;
    } else {
      out += *p++;
    }
  }
  if (!out.empty() && out.back() == fill && p > str_ && isBlank(p[-1])) out.pop_back();
  return QorCString(out.c_str());
}

QorCString QorCString::abbreviate(int32_t maxLength, int32_t where, int32_t dots) const {
  if (maxLength <= dots)
    return QorCString(std::string(static_cast<size_t>(std::max(maxLength, 0)), '.').c_str());
  int32_t n = length();
  if (n <= maxLength) return *this;
  int32_t keep = maxLength - dots;
  std::string marks(static_cast<size_t>(dots), '.');
  std::string text(str_, static_cast<size_t>(n));
  switch (where) {
    case 0:
      return QorCString((text.substr(0, static_cast<size_t>(keep)) + marks).c_str());
    case 1:
      return QorCString((marks + text.substr(static_cast<size_t>(n - keep))).c_str());
    case 2: {
      int32_t head = keep / 2, tail = keep - head;
      return QorCString((text.substr(0, static_cast<size_t>(head)) + marks +
                         text.substr(static_cast<size_t>(n - tail)))
                            .c_str());
    }
    default:
      QOR_ASSERT(0);
      return *this;
  }
}

float QorCString::toFloat() const {
  if (!str_) return 0.0f;
  return readFloat(str_);
}

bool QorCString::readLine(std::istream& in) {
  release();
  char buffer[4096];
  in.getline(buffer, sizeof buffer);
  if (in.fail()) return false;
  *this = QorCString(buffer);
  return true;
}

// ---- comparing ----

bool QorCString::operator==(const QorCString& o) const {
  return *this == o.str_;
}

bool QorCString::operator==(const char* o) const {
  if (!str_ || !o) return !str_ && !o;
  return std::strcmp(str_, o) == 0;
}

int QorCString::compare(const char* o) const {
  if (!str_ || !o) return (str_ ? 1 : 0) - (o ? 1 : 0);
  int r = std::strcmp(str_, o);  // strcmp compares as unsigned char
  return (r > 0) - (r < 0);
}

int QorCString::compare(const QorCString& o) const {
  return compare(o.str_);
}

bool QorCString::operator<(const QorCString& o) const {
  if (!o.str_) return false;
  return compare(o) < 0;
}

bool QorCString::operator<=(const QorCString& o) const {
  return compare(o) <= 0;
}

int QorCString::compareJoined(const char* const* pieces, int32_t maxCount) const {
  const char* s = c_str();
  const char* const* p = pieces;
  const char* q = (p && *p) ? *p : "";
  for (int32_t i = 0; maxCount < 0 || i < maxCount; ++i) {
    while (!*q && p && *p && *++p) q = *p;  // step to the next piece with text
    signed char a = static_cast<signed char>(*s);
    signed char b = static_cast<signed char>(*q);
    if (a != b) return a < b ? -1 : 1;
    if (a == 0) return 0;
    ++s;
    ++q;
  }
  return 0;
}

int QorCString::compareJoined(const char* const* pieces) const {
  return compareJoined(pieces, -1);
}

uint32_t QorCString::hash() const {
  if (!str_) return 0;
  uint32_t h = 5381;
  for (const char* p = str_; *p; ++p)
    h = h * 33u + static_cast<uint32_t>(static_cast<int32_t>(static_cast<signed char>(*p)));
  return h;
}

// ---- storage ----

void QorCString::release() {
  if (size_ > 0 && str_) qor::strFree(str_, size_);
  str_ = nullptr;
  size_ = 0;
}

void QorCString::copyText(const std::string& text) {
  int32_t n = static_cast<int32_t>(text.size());
  std::memcpy(allocateText(n), text.data(), static_cast<size_t>(n));
}

char* QorCString::allocateText(int32_t length) {
  release();
  str_ = static_cast<char*>(qor::strAllocate(length + 1, &size_));
  str_[length] = 0;
  return str_;
}

std::ostream& operator<<(std::ostream& out, const QorCString& s) {
  if (!s.isNull()) out << s.data();
  return out;
}
