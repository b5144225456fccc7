#include "base/qorstring.h"

#include <atomic>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "base/iterstack.h"
#include "base/strstorage.h"
#include "base/wexrealloc.h"
#include "core/locator.h"
#include "hostapi/iqorstrsupport.h"
#include "platform/sync.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// The length scan reads whole aligned 16-byte groups, which may reach past the terminator;
// address-sanitised builds, which would report that, scan unit by unit.
#if defined(__SSE2__) && !defined(__SANITIZE_ADDRESS__)
#if defined(__has_feature)
#if !__has_feature(address_sanitizer)
#define QOR_VECTOR_SCAN 1
#endif
#else
#define QOR_VECTOR_SCAN 1
#endif
#endif
#ifndef QOR_VECTOR_SCAN
#define QOR_VECTOR_SCAN 0
#endif

namespace {

// ---- the host service ----

std::atomic<bool> gSupportLooked{false};
IQorStrSupport* gSupport = nullptr;

// IQorStrSupport, looked up once: the flag is tested, then tested again under the lock.
// Found or not, the answer stays for the life of the process; a found service keeps one
// reference that is never given back.
IQorStrSupport* strSupport() {
  if (gSupportLooked.load(std::memory_order_acquire)) return gSupport;
  static auto* lock = new Platform::RecursiveLock();
  Platform::ScopedLock<Platform::RecursiveLock> hold(*lock);
  if (!gSupportLooked.load(std::memory_order_relaxed)) {
    void* out = nullptr;
    if (getService(QorCString(kBorrow, "IQorStrSupport"), &out) == 1 && out) {
      gSupport = static_cast<IQorStrSupport*>(out);
      static_cast<IQorUnknown*>(gSupport)->addRef();
    }
    gSupportLooked.store(true, std::memory_order_release);
  }
  return gSupport;
}

// ---- unit helpers ----

int32_t unitLength(const char16_t* s) {
  if (!s) return 0;
#if QOR_VECTOR_SCAN
  // Aligned 16-byte loads never cross into another page, so reading past the terminator
  // within one is harmless. (Units at an odd address take the plain loop.)
  if (!(reinterpret_cast<uintptr_t>(s) & 1)) {
    const char16_t* p = s;
    while (reinterpret_cast<uintptr_t>(p) & 15) {
      if (!*p) return static_cast<int32_t>(p - s);
      ++p;
    }
    const __m128i zero = _mm_setzero_si128();
    for (;; p += 8) {
      int mask = _mm_movemask_epi8(
          _mm_cmpeq_epi16(_mm_load_si128(reinterpret_cast<const __m128i*>(p)), zero));
      if (mask)
        return static_cast<int32_t>(p - s) + (__builtin_ctz(static_cast<unsigned>(mask)) >> 1);
    }
  }
#endif
  int32_t n = 0;
  while (s[n]) ++n;
  return n;
}

// Converts 16 units to 16 bytes if all are ASCII; false (nothing written) otherwise.
inline bool asciiRunToBytes(const char16_t* s, unsigned char* o) {
#if defined(__SSE2__)
  __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
  __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 8));
  __m128i high = _mm_and_si128(_mm_or_si128(a, b), _mm_set1_epi16(static_cast<short>(0xFF80)));
  if (_mm_movemask_epi8(_mm_cmpeq_epi16(high, _mm_setzero_si128())) != 0xFFFF) return false;
  _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm_packus_epi16(a, b));
  return true;
#else
  for (int k = 0; k < 16; ++k)
    if (s[k] >= 0x80) return false;
  for (int k = 0; k < 16; ++k) o[k] = static_cast<unsigned char>(s[k]);
  return true;
#endif
}

// Converts 16 bytes to 16 units if all are ASCII; false (nothing written) otherwise.
inline bool asciiRunToUnits(const unsigned char* s, char16_t* d) {
#if defined(__SSE2__)
  __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
  if (_mm_movemask_epi8(v)) return false;
  __m128i zero = _mm_setzero_si128();
  _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_unpacklo_epi8(v, zero));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 8), _mm_unpackhi_epi8(v, zero));
  return true;
#else
  for (int k = 0; k < 16; ++k)
    if (s[k] >= 0x80) return false;
  for (int k = 0; k < 16; ++k) d[k] = s[k];
  return true;
#endif
}

int32_t byteLength(const char* s) {
  return s ? static_cast<int32_t>(std::strlen(s)) : 0;
}

// A narrow byte as a unit: taken as a signed char, so 0x80..0xFF become 0xFF80..0xFFFF.
inline char16_t widenByte(char b) {
  return static_cast<char16_t>(static_cast<int16_t>(static_cast<signed char>(b)));
}

void widenInto(char16_t* out, const char* in, int32_t count) {
  for (int32_t i = 0; i < count; ++i) out[i] = widenByte(in[i]);
}

// White space and digits as the C runtime classifies them in the C locale.
inline bool isCSpace(char16_t u) {
  return u == 32 || (u >= 9 && u <= 13);
}
inline bool isCDigit(char16_t u) {
  return u >= u'0' && u <= u'9';
}

inline char16_t asciiLower(char16_t u) {
  return (u >= u'A' && u <= u'Z') ? static_cast<char16_t>(u + 32) : u;
}
inline char16_t asciiUpper(char16_t u) {
  return (u >= u'a' && u <= u'z') ? static_cast<char16_t>(u - 32) : u;
}

char16_t* newBlock(int32_t units, int32_t* granted) {
  return static_cast<char16_t*>(qor::strAllocate((units + 1) * 2, granted));
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

// The units as ASCII for the C runtime's readers; other units become a byte that no
// reader accepts, so they end the number as they would in a wide scan.
std::string asciiForm(const char16_t* s, int32_t n) {
  std::string out(static_cast<size_t>(n), '\0');
  for (int32_t i = 0; i < n; ++i)
    out[static_cast<size_t>(i)] = s[i] < 128 ? static_cast<char>(s[i]) : '\x01';
  return out;
}

}  // namespace

// ---- construction ----

QorString::QorString(const char* text) {
  if (text) widen(text, byteLength(text));
}

QorString::QorString(const char16_t* text) {
  if (text) copyUnits(text, unitLength(text));
}

QorString::QorString(const char16_t* text, int32_t count) {
  if (text) copyUnits(text, count < 0 ? 0 : count);
}

QorString::QorString(const QorCString& text) {
  if (!text.isNull()) widen(text.data(), text.length());
}

QorString::QorString(char c) {
  allocateUnits(1)[0] = widenByte(c);
}

QorString::QorString(char16_t unit) {
  allocateUnits(1)[0] = unit;
}

// Numbers print as "%d" / "%ld" / "%lld" / "%f" (or "%e" beyond 1e10) in the C locale
// would print them; std::to_chars gives exactly those texts without a format parse or a
// locale lookup.
namespace {
template <class T>
int32_t printedNumber(char (&buffer)[64], T value) {
  return static_cast<int32_t>(std::to_chars(buffer, buffer + sizeof buffer, value).ptr - buffer);
}
int32_t printedNumber(char (&buffer)[64], double value) {
  const auto form =
      std::fabs(value) > 1e10 ? std::chars_format::scientific : std::chars_format::fixed;
  const auto r = std::to_chars(buffer, buffer + sizeof buffer, value, form, 6);
  if (r.ec == std::errc()) return static_cast<int32_t>(r.ptr - buffer);
  // Only a fixed text longer than the buffer fails; fixed form isn't chosen for those.
  return std::snprintf(buffer, sizeof buffer, "%e", value);
}
}  // namespace

QorString::QorString(int32_t value) {
  char t[64];
  widen(t, printedNumber(t, value));
}

QorString::QorString(long value) {
  char t[64];
  widen(t, printedNumber(t, value));
}

QorString::QorString(long long value) {
  char t[64];
  widen(t, printedNumber(t, value));
}

QorString::QorString(double value) {
  char t[64];
  widen(t, printedNumber(t, value));
}

QorString::QorString(int32_t value, const QorNumberFormat& format) {
  std::string pattern = printed("%%%sd", format.conversion());
  std::string t = printed(pattern.c_str(), value);
  widen(t.data(), static_cast<int32_t>(t.size()));
}

QorString::QorString(long value, const QorNumberFormat& format) {
  std::string pattern = printed("%%%sld", format.conversion());
  std::string t = printed(pattern.c_str(), value);
  widen(t.data(), static_cast<int32_t>(t.size()));
}

QorString::QorString(long long value, const QorNumberFormat& format) {
  std::string pattern = printed("%%%slld", format.conversion());
  std::string t = printed(pattern.c_str(), value);
  widen(t.data(), static_cast<int32_t>(t.size()));
}

QorString::QorString(double value, const QorNumberFormat& format) {
  char letter = !format.useGeneral ? 'f' : format.useExponent ? 'e' : 'g';
  std::string pattern = std::string("%") + format.conversion() + letter;
  // The buffer starts at 40 bytes and doubles until the text fits.
  std::vector<char> buffer(40);
  for (;;) {
    int n = std::snprintf(buffer.data(), buffer.size(), pattern.c_str(), value);
    if (n < 0) return;
    if (static_cast<size_t>(n) < buffer.size()) {
      widen(buffer.data(), n);
      return;
    }
    buffer.resize(buffer.size() * 2);
  }
}

QorString::QorString(const QorString& other) {
  if (other.wideSize_ > 0)
    copyUnits(other.wide_, unitLength(other.wide_));
  else
    wide_ = other.wide_;
  if (other.narrow_ && other.narrowSize_ == 0) narrow_ = other.narrow_;
}

QorString::QorString(QorString&& other) noexcept
    : wide_(other.wide_),
      wideSize_(other.wideSize_),
      narrow_(other.narrow_),
      narrowSize_(other.narrowSize_),
      utf8_(other.utf8_),
      utf8Size_(other.utf8Size_) {
  other.wide_ = nullptr;
  other.wideSize_ = 0;
  other.narrow_ = nullptr;
  other.narrowSize_ = 0;
  other.utf8_ = nullptr;
  other.utf8Size_ = 0;
}

QorString::~QorString() {
  releaseAll();
}

QorString& QorString::operator=(const QorString& other) {
  if (this == &other) return *this;
  clearCaches();
  if (other.wideSize_ > 0) {
    int32_t n = unitLength(other.wide_);
    if (wideSize_ >= 2 * n + 2) {
      std::memcpy(wide_, other.wide_, static_cast<size_t>(n + 1) * 2);
    } else {
      int32_t granted = 0;
      char16_t* block = newBlock(n, &granted);
      std::memcpy(block, other.wide_, static_cast<size_t>(n + 1) * 2);
      releaseAll();
      wide_ = block;
      wideSize_ = granted;
    }
  } else {
    releaseAll();
    wide_ = other.wide_;
  }
  if (other.narrow_ && other.narrowSize_ == 0) narrow_ = other.narrow_;
  return *this;
}

QorString& QorString::operator=(QorString&& other) noexcept {
  if (this != &other) {
    releaseAll();
    std::swap(wide_, other.wide_);
    std::swap(wideSize_, other.wideSize_);
    std::swap(narrow_, other.narrow_);
    std::swap(narrowSize_, other.narrowSize_);
    std::swap(utf8_, other.utf8_);
    std::swap(utf8Size_, other.utf8Size_);
  }
  return *this;
}

// ---- UTF-8 ----

QorString QorString::fromUtf8(const char* text, int32_t bytes) {
  QorString out;
  if (!text) return out;
  size_t n = bytes < 0 ? std::strlen(text) : strnlen(text, static_cast<size_t>(bytes));
  if (n == 0) return out;
  // At most one unit per byte.
  char16_t* d = out.allocateUnits(static_cast<int32_t>(n));
  const auto* s = reinterpret_cast<const unsigned char*>(text);
  const unsigned char* end = s + n;
  while (s < end) {
    uint32_t c = *s;
    if (c < 0x80) {
      // Four ASCII bytes in a row make a run worth taking sixteen at a time.
      uint32_t four;
      if (end - s >= 4 && (std::memcpy(&four, s, 4), !(four & 0x80808080u))) {
        if (end - s >= 16 && asciiRunToUnits(s, d)) {
          s += 16;
          d += 16;
          continue;
        }
        for (int k = 0; k < 4; ++k) d[k] = s[k];
        s += 4;
        d += 4;
        continue;
      }
      *d++ = static_cast<char16_t>(c);
      ++s;
      continue;
    }
    ++s;
    if (c < 0xC0) {
      *d++ = static_cast<char16_t>(c & 0x7F);  // a continuation byte as a lead
    } else if (c < 0xE0) {
      if (s >= end) return QorString();  // truncated (the next byte is the terminator)
      uint32_t u = ((c & 0x1F) << 6) | (*s++ & 0x3F);
      if (u < 0x80) return QorString();  // overlong
      *d++ = static_cast<char16_t>(u);
    } else if (c < 0xF0) {
      if (end - s < 2) return QorString();
      uint32_t u = ((c & 0x0F) << 12) | (static_cast<uint32_t>(s[0] & 0x3F) << 6) | (s[1] & 0x3F);
      s += 2;
      if (u < 0x800) return QorString();
      *d++ = static_cast<char16_t>(u);
    } else {
      return QorString();  // four bytes or more
    }
  }
  *d = 0;
  return out;
}

const char* QorString::utf8() const {
  if (utf8_) return utf8_;
  int32_t n = length();
  int32_t granted = 0;
  auto* o = static_cast<unsigned char*>(qor::strAllocate(4 * n + 1, &granted));
  utf8_ = reinterpret_cast<char*>(o);
  utf8Size_ = granted;
  const char16_t* s = wide_;
  const char16_t* end = s + n;
  while (s < end) {
    uint32_t c = *s;
    if (c < 0x80) {
      // Four ASCII units in a row make a run worth taking sixteen at a time.
      uint64_t four;
      if (end - s >= 4 && (std::memcpy(&four, s, 8), !(four & 0xFF80FF80FF80FF80ull))) {
        if (end - s >= 16 && asciiRunToBytes(s, o)) {
          s += 16;
          o += 16;
          continue;
        }
        for (int k = 0; k < 4; ++k) o[k] = static_cast<unsigned char>(s[k]);
        s += 4;
        o += 4;
        continue;
      }
      *o++ = static_cast<unsigned char>(c);
      ++s;
      continue;
    }
    ++s;
    if (c < 0x800) {
      o[0] = static_cast<unsigned char>(0xC0 | (c >> 6));
      o[1] = static_cast<unsigned char>(0x80 | (c & 0x3F));
      o += 2;
    } else {
      o[0] = static_cast<unsigned char>(0xE0 | (c >> 12));
      o[1] = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
      o[2] = static_cast<unsigned char>(0x80 | (c & 0x3F));
      o += 3;
    }
  }
  *o = 0;
  return utf8_;
}

const char* QorString::narrow() const {
  if (narrow_ && narrowSize_ == 0) return narrow_;
  if (IQorStrSupport* support = strSupport()) {
    QorCString host;
    support->toNarrow(text(), host);
    int32_t n = host.length();
    int32_t granted = 0;
    char* block = static_cast<char*>(qor::strAllocate(n + 1, &granted));
    std::memcpy(block, host.c_str(), static_cast<size_t>(n) + 1);
    if (narrow_ && narrowSize_ > 0) qor::strFree(narrow_, narrowSize_);
    narrow_ = block;
    narrowSize_ = granted;
    return narrow_;
  }
  if (narrow_ && narrowSize_ > 0) qor::strFree(narrow_, narrowSize_);
  int32_t n = length();
  narrow_ = static_cast<char*>(qor::strAllocate(n + 1, &narrowSize_));
  int32_t o = 0;
  for (int32_t i = 0; i < n; ++i)
    if (wide_[i] < 128) narrow_[o++] = static_cast<char>(wide_[i]);
  narrow_[o] = 0;
  return narrow_;
}

// ---- changing ----

void QorString::setAt(int32_t index, char16_t unit) {
  ownText();
  clearCaches();
  wide_[index] = unit;
}

void QorString::assign(const char* text, int32_t count) {
  if (!text) {
    releaseAll();
    return;
  }
  if (count < 0) count = byteLength(text);
  widen(text, count);
}

void QorString::assign(const char16_t* text, int32_t count) {
  if (!text) {
    releaseAll();
    return;
  }
  if (count == 0) {
    releaseAll();
    wide_ = const_cast<char16_t*>(text);
    return;
  }
  if (count < 0) count = unitLength(text);
  copyUnits(text, count);
}

QorString& QorString::operator+=(const QorString& other) {
  int32_t n = length(), m = other.length();
  if (m == 0) return *this;
  clearCaches();
  if (wideSize_ >= 2 * (n + m + 1)) {
    std::memmove(wide_ + n, other.wide_, static_cast<size_t>(m) * 2);
    wide_[n + m] = 0;
    return *this;
  }
  int32_t granted = 0;
  char16_t* block = newBlock(n + m, &granted);
  if (n) std::memcpy(block, wide_, static_cast<size_t>(n) * 2);
  std::memcpy(block + n, other.wide_, static_cast<size_t>(m) * 2);
  block[n + m] = 0;
  releaseAll();
  wide_ = block;
  wideSize_ = granted;
  return *this;
}

void QorString::append(const char* text, int32_t count) {
  if (!text || count == 0) return;
  int32_t m = count < 0 ? byteLength(text)
                        : static_cast<int32_t>(strnlen(text, static_cast<size_t>(count)));
  if (m == 0) return;
  int32_t n = length();
  clearCaches();
  if (wideSize_ >= 2 * (n + m + 1)) {
    widenInto(wide_ + n, text, m);
    wide_[n + m] = 0;
    return;
  }
  int32_t granted = 0;
  char16_t* block = newBlock(n + m, &granted);
  if (n) std::memcpy(block, wide_, static_cast<size_t>(n) * 2);
  widenInto(block + n, text, m);
  block[n + m] = 0;
  releaseAll();
  wide_ = block;
  wideSize_ = granted;
}

void QorString::append(char16_t unit) {
  if (unit == 0) return;
  char16_t text[2] = {unit, 0};
  *this += QorString(kBorrow, text);
}

void QorString::appendUnit(const QorString& other, int32_t index) {
  append(other.at(index));
}

// ---- searching ----

int32_t QorString::length() const {
  return unitLength(wide_);
}

int32_t QorString::find(const QorString& needle, int32_t start) const {
  int32_t n = length(), m = needle.length();
  if (m > n) return -1;
  if (m == 0) return 0;
  if (start < 0 || start > n - m) return -1;
  const char16_t* s = wide_;
  const char16_t* t = needle.wide_;
  for (int32_t i = start; i <= n - m; ++i)
    if (s[i] == t[0] && std::memcmp(s + i, t, static_cast<size_t>(m) * 2) == 0) return i;
  return -1;
}

int32_t QorString::find(char16_t unit, int32_t start) const {
  int32_t n = length();
  if (n == 0 || start < 0 || start >= n) return -1;
  for (int32_t i = start; i < n; ++i)
    if (wide_[i] == unit) return i;
  return -1;
}

int32_t QorString::rfind(const QorString& needle, int32_t limit) const {
  int32_t n = length(), m = needle.length();
  if (m == 0) return (limit >= 0 && limit < n) ? limit : n;
  if (m > n) return -1;
  int32_t last = n - m;
  if (limit >= 0 && limit < last) last = limit;
  for (int32_t i = last; i >= 0; --i)
    if (std::memcmp(wide_ + i, needle.wide_, static_cast<size_t>(m) * 2) == 0) return i;
  return -1;
}

bool QorString::contains(const QorString& needle, bool caseSensitive) const {
  if (IQorStrSupport* support = strSupport())
    return support->contains(text(), needle.text(), caseSensitive);
  int32_t n = length(), m = needle.length();
  if (m == 0) return true;
  for (int32_t i = 0; i + m <= n; ++i) {
    int32_t k = 0;
    if (caseSensitive)
      while (k < m && wide_[i + k] == needle.wide_[k]) ++k;
    else
      while (k < m && asciiLower(wide_[i + k]) == asciiLower(needle.wide_[k])) ++k;
    if (k == m) return true;
  }
  return false;
}

bool QorString::hasPrefix(const QorString& other, int32_t count) const {
  if (count < 0) count = other.length();
  if (count == 0) return true;
  if (length() < count || other.length() < count) return false;
  return std::memcmp(wide_, other.wide_, static_cast<size_t>(count) * 2) == 0;
}

void QorString::replaceAll(const QorString& from, const QorString& to) {
  if (!wide_ || from.isEmpty() || from == to) return;
  int32_t fromLength = from.length(), toLength = to.length();
  std::vector<int32_t> hits;
  for (int32_t at = find(from, 0); at >= 0; at = find(from, at + fromLength)) hits.push_back(at);
  if (hits.empty()) return;
  int32_t n = length();
  int32_t total = n + static_cast<int32_t>(hits.size()) * (toLength - fromLength);
  int32_t granted = 0;
  char16_t* block = newBlock(total, &granted);
  char16_t* d = block;
  int32_t done = 0;
  for (int32_t at : hits) {
    std::memcpy(d, wide_ + done, static_cast<size_t>(at - done) * 2);
    d += at - done;
    if (toLength) std::memcpy(d, to.wide_, static_cast<size_t>(toLength) * 2);
    d += toLength;
    done = at + fromLength;
  }
  std::memcpy(d, wide_ + done, static_cast<size_t>(n - done) * 2);
  block[total] = 0;
  releaseAll();
  wide_ = block;
  wideSize_ = granted;
}

QorString QorString::replaced(int32_t pos, int32_t count, const QorString& text) const {
  int32_t n = length();
  if (pos < 0) pos = 0;
  if (pos > n) pos = n;
  if (count < 0) count = 0;
  if (count > n - pos) count = n - pos;
  int32_t m = text.length();
  QorString out;
  char16_t* d = out.allocateUnits(n - count + m);
  if (pos) std::memcpy(d, wide_, static_cast<size_t>(pos) * 2);
  if (m) std::memcpy(d + pos, text.wide_, static_cast<size_t>(m) * 2);
  if (n - pos - count)
    std::memcpy(d + pos + m, wide_ + pos + count, static_cast<size_t>(n - pos - count) * 2);
  return out;
}

void QorString::erase(int32_t pos, int32_t count) {
  int32_t n = length();
  if (pos < 0) pos = 0;
  if (count <= 0 || pos >= n) return;
  if (count > n - pos) count = n - pos;
  ownText();
  clearCaches();
  std::memmove(wide_ + pos, wide_ + pos + count, static_cast<size_t>(n - pos - count + 1) * 2);
}

void QorString::truncate(int32_t length) {
  if (length < 0 || wideSize_ < 2 * length + 2) return;
  clearCaches();
  wide_[length] = 0;
}

QorString QorString::left(int32_t count) const {
  return mid(0, count);
}

QorString QorString::mid(int32_t start, int32_t count) const {
  if (!wide_) return QorString();
  int32_t n = length();
  if (start < 0) start = 0;
  if (start > n) start = n;
  if (count < 1) count = 0;
  if (count > n - start) count = n - start;
  return QorString(wide_ + start, count);
}

QorString QorString::right(int32_t start) const {
  return mid(start, INT32_MAX);
}

QorString QorString::toLower() const {
  if (!wide_) return QorString();
  QorString out(wide_, length());
  if (IQorStrSupport* support = strSupport()) {
    support->toLower(out.wide_);
  } else {
    for (char16_t* p = out.wide_; *p; ++p) *p = asciiLower(*p);
  }
  return out;
}

QorString QorString::toUpper() const {
  if (!wide_) return QorString();
  QorString out(wide_, length());
  if (IQorStrSupport* support = strSupport()) {
    support->toUpper(out.wide_);
  } else {
    for (char16_t* p = out.wide_; *p; ++p) *p = asciiUpper(*p);
  }
  return out;
}

QorString QorString::stripWhitespace() const {
  if (!wide_) return QorString();
  QorString out(wide_, length());
  if (IQorStrSupport* support = strSupport()) {
    support->stripWhitespace(out.wide_);
  } else {
    char16_t* d = out.wide_;
    for (const char16_t* p = out.wide_; *p; ++p)
      if (!isCSpace(*p)) *d++ = *p;
    *d = 0;
  }
  return out;
}

QorString QorString::simplify(char16_t fill) const {
  IQorStrSupport* support = strSupport();
  if (!support || !wide_) return *this;
  QorString out(wide_, length());
  support->simplify(out.wide_);
  if (fill != u' ')
    for (char16_t* p = out.wide_; *p; ++p)
      if (support->isSpace(*p)) *p = fill;
  return out;
}

bool QorString::isDigitAt(int32_t index) const {
  if (index < 0 || index >= length()) return false;
  if (IQorStrSupport* support = strSupport()) return support->isDigit(wide_[index]);
  return isCDigit(wide_[index]);
}

bool QorString::isSpaceAt(int32_t index) const {
  if (index < 0 || index >= length()) return false;
  if (IQorStrSupport* support = strSupport()) return support->isSpace(wide_[index]);
  return isCSpace(wide_[index]);
}

int32_t QorString::toInt(bool* ok) const {
  if (ok) *ok = false;
  if (!wide_) return 0;
  std::string s = asciiForm(wide_, length());
  char* end = nullptr;
  int saved = errno;
  long long v = std::strtoll(s.c_str(), &end, 0);  // what "%i" reads
  errno = saved;
  if (end == s.c_str()) return 0;
  if (ok) *ok = true;
  if (v > INT32_MAX) return INT32_MAX;
  if (v < INT32_MIN) return INT32_MIN;
  return static_cast<int32_t>(v);
}

double QorString::toDouble(bool* ok) const {
  if (ok) *ok = false;
  if (!wide_) return 0.0;
  std::string s = asciiForm(wide_, length());
  char* end = nullptr;
  int saved = errno;
  double v = std::strtod(s.c_str(), &end);  // what "%lf" reads
  errno = saved;
  if (end == s.c_str()) return 0.0;
  if (ok) *ok = true;
  return v;
}

QorString QorString::abbreviate(int32_t maxLength, int32_t where, int32_t dots) const {
  if (maxLength <= dots) {
    QorString out;
    int32_t n = maxLength < 0 ? 0 : maxLength;
    char16_t* d = out.allocateUnits(n);
    for (int32_t i = 0; i < n; ++i) d[i] = u'.';
    return out;
  }
  int32_t n = length();
  if (n <= maxLength || where < 0 || where > 2) return *this;
  int32_t keep = maxLength - dots;
  int32_t head = where == 0 ? keep : where == 1 ? 0 : keep / 2;
  int32_t tail = keep - head;
  QorString out;
  char16_t* d = out.allocateUnits(maxLength);
  std::memcpy(d, wide_, static_cast<size_t>(head) * 2);
  for (int32_t i = 0; i < dots; ++i) d[head + i] = u'.';
  std::memcpy(d + head + dots, wide_ + n - tail, static_cast<size_t>(tail) * 2);
  return out;
}

void QorString::substitute(const QorString* const* args, int32_t count) {
  if (!wide_ || wideSize_ <= 0) return;
  const int32_t limit = wideSize_ / 2;
  struct Hit {
    int32_t at;
    const QorString* arg;
  };
  std::vector<Hit> hits;
  int64_t added = 0;
  int32_t i = 0;
  while (i < limit && wide_[i]) {
    if (wide_[i] != u'%') {
      ++i;
      continue;
    }
    if (i + 1 >= limit || wide_[i + 1] == 0) {
      ++i;  // a '%' at the end has no next unit to step over
      continue;
    }
    char16_t next = wide_[i + 1];
    if (next >= u'1' && next <= u':') {
      int32_t index = next - u'1';
      const QorString* arg = (args && index < count) ? args[index] : nullptr;
      hits.push_back({i, arg});
      added += (arg ? arg->length() : 0) - 2;
    }
    i += 2;
  }
  if (hits.empty()) return;
  int32_t n = i;
  int32_t total = static_cast<int32_t>(n + added);
  int32_t granted = 0;
  char16_t* block = newBlock(total, &granted);
  char16_t* d = block;
  int32_t done = 0;
  for (const Hit& h : hits) {
    std::memcpy(d, wide_ + done, static_cast<size_t>(h.at - done) * 2);
    d += h.at - done;
    int32_t m = h.arg ? h.arg->length() : 0;
    if (m) std::memcpy(d, h.arg->wide_, static_cast<size_t>(m) * 2);
    d += m;
    done = h.at + 2;
  }
  std::memcpy(d, wide_ + done, static_cast<size_t>(n - done) * 2);
  block[total] = 0;
  releaseAll();
  wide_ = block;
  wideSize_ = granted;
}

void QorString::swap(QorString& other) noexcept {
  std::swap(wide_, other.wide_);
  std::swap(wideSize_, other.wideSize_);
  // Each cache moves only if one of the two sides has it; exchanging two empty caches
  // would change nothing either way.
  if (narrow_ || other.narrow_) {
    std::swap(narrow_, other.narrow_);
    std::swap(narrowSize_, other.narrowSize_);
  }
  if (utf8_ || other.utf8_) {
    std::swap(utf8_, other.utf8_);
    std::swap(utf8Size_, other.utf8Size_);
  }
}

// ---- comparing ----

bool QorString::operator==(const QorString& o) const {
  const char16_t* a = text();
  const char16_t* b = o.text();
  while (*a && *a == *b) ++a, ++b;
  return *a == *b;
}

bool QorString::operator==(const char* o) const {
  const char16_t* a = text();
  const char* b = o ? o : "";
  while (*a && *a == widenByte(*b)) ++a, ++b;
  return *a == widenByte(*b);
}

int QorString::compareRaw(const QorString& o) const {
  const char16_t* a = text();
  const char16_t* b = o.text();
  while (*a && *a == *b) ++a, ++b;
  return (*a > *b) - (*a < *b);
}

int QorString::compareRaw(const char* o) const {
  const char16_t* a = text();
  const char* b = o ? o : "";
  while (*a && *a == widenByte(*b)) ++a, ++b;
  char16_t u = widenByte(*b);
  return (*a > u) - (*a < u);
}

bool QorString::operator<(const QorString& o) const {
  if (IQorStrSupport* support = strSupport()) return support->compare(text(), o.text()) < 0;
  return compareRaw(o) < 0;
}

bool QorString::operator>(const QorString& o) const {
  if (IQorStrSupport* support = strSupport()) return support->compare(text(), o.text()) > 0;
  return compareRaw(o) > 0;
}

int QorString::compareTo(const QorString& o) const {
  if (*this == o) return 0;
  if (IQorStrSupport* support = strSupport())
    return support->compare(text(), o.text()) > 0 ? 1 : -1;
  return compareRaw(o);
}

uint32_t QorString::hash() const {
  uint32_t h = 0;
  if (wide_)
    for (const char16_t* p = wide_; *p; ++p) h += *p;
  return h;
}

// ---- placeholders ----

static void replaceNumbered(QorString& result, int32_t index, const QorCString& arg) {
  QorString placeholder(QorCString::withInt("%", index));
  result.replaceAll(placeholder, QorString(arg));
}

void QorString::format(QorString& result, const QorCString& pattern, const QorCString& a1) {
  result = QorString(pattern);
  replaceNumbered(result, 1, a1);
}

void QorString::format(QorString& result, const QorCString& pattern, const QorCString& a1,
                       const QorCString& a2) {
  result = QorString(pattern);
  replaceNumbered(result, 2, a2);
  replaceNumbered(result, 1, a1);
}

void QorString::format(QorString& result, const QorCString& pattern, const QorCString& a1,
                       const QorCString& a2, const QorCString& a3) {
  result = QorString(pattern);
  replaceNumbered(result, 3, a3);
  replaceNumbered(result, 2, a2);
  replaceNumbered(result, 1, a1);
}

void QorString::format(QorString& result, const QorCString& pattern, const QorCString& a1,
                       const QorCString& a2, const QorCString& a3, const QorCString& a4) {
  result = QorString(pattern);
  replaceNumbered(result, 4, a4);
  replaceNumbered(result, 3, a3);
  replaceNumbered(result, 2, a2);
  replaceNumbered(result, 1, a1);
}

void QorString::format(QorString& result, const QorCString& pattern, const QorCString& a1,
                       const QorCString& a2, const QorCString& a3, const QorCString& a4,
                       const QorCString& a5) {
  result = QorString(pattern);
  replaceNumbered(result, 5, a5);
  replaceNumbered(result, 4, a4);
  replaceNumbered(result, 3, a3);
  replaceNumbered(result, 2, a2);
  replaceNumbered(result, 1, a1);
}

void QorString::format(QorString& result, const QorCString& pattern, const QorCString& a1,
                       const QorCString& a2, const QorCString& a3, const QorCString& a4,
                       const QorCString& a5, const QorCString& a6) {
  result = QorString(pattern);
  replaceNumbered(result, 6, a6);
  replaceNumbered(result, 5, a5);
  replaceNumbered(result, 4, a4);
  replaceNumbered(result, 3, a3);
  replaceNumbered(result, 2, a2);
  replaceNumbered(result, 1, a1);
}

void QorString::format(QorString& result, const QorCString& pattern, int32_t count,
                       const QorCString* args) {
  result = QorString(pattern);
  for (int32_t i = 1; i <= count && args; ++i) replaceNumbered(result, i, args[i - 1]);
}

// ---- string lists ----

QorString QorString::packList(const IterStack<QorString>& list) {
  QorString out;
  for (int32_t i = 1; i <= list.count(); ++i) {
    const QorString& element = list.get(i);
    out += QorString(element.length());
    out.append(u' ');
    out += element;
  }
  return out;
}

void QorString::unpackList(const QorString& packed, IterStack<QorString>& list) {
  int32_t n = 0;
  int32_t pos = 0;
  for (;;) {
    int32_t blank = packed.find(u' ', pos);
    if (blank < 0) break;
    bool ok = false;
    int32_t count = packed.mid(pos, blank - pos).toInt(&ok);
    if (!ok || count <= 0) {
      list.at(++n) = packed;
      break;
    }
    list.at(++n) = packed.mid(blank + 1, count);
    pos = blank + 1 + count;
  }
  list.setCount(n);
}

// ---- constants ----

namespace {
Platform::Mutex& constantsLock() {
  static auto* lock = new Platform::Mutex();
  return *lock;
}
QorString* gEmpty = nullptr;
QorString* gBlank = nullptr;
QorString* gBlankLiteral = nullptr;
}  // namespace

const QorString& QorString::emptyString() {
  Platform::ScopedLock<Platform::Mutex> hold(constantsLock());
  if (!gEmpty) gEmpty = new QorString(u"");
  return *gEmpty;
}

const QorString& QorString::blankString() {
  Platform::ScopedLock<Platform::Mutex> hold(constantsLock());
  if (!gBlank) gBlank = new QorString(u" ");
  return *gBlank;
}

const QorString& QorString::blankLiteral() {
  Platform::ScopedLock<Platform::Mutex> hold(constantsLock());
  if (!gBlankLiteral) gBlankLiteral = new QorString(kBorrow, u" ", " ");
  return *gBlankLiteral;
}

void QorString::releaseConstants() {
  Platform::ScopedLock<Platform::Mutex> hold(constantsLock());
  delete gEmpty;
  delete gBlank;
  delete gBlankLiteral;
  gEmpty = gBlank = gBlankLiteral = nullptr;
}

// ---- storage ----

void QorString::clearCaches() const {
  if (narrow_ && narrowSize_ > 0) qor::strFree(narrow_, narrowSize_);
  if (utf8_ && utf8Size_ > 0) qor::strFree(utf8_, utf8Size_);
  narrow_ = utf8_ = nullptr;
  narrowSize_ = utf8Size_ = 0;
}

void QorString::releaseAll() {
  clearCaches();
  if (wide_ && wideSize_ > 0) qor::strFree(wide_, wideSize_);
  wide_ = nullptr;
  wideSize_ = 0;
}

char16_t* QorString::allocateUnits(int32_t count) {
  releaseAll();
  wide_ = newBlock(count, &wideSize_);
  wide_[count] = 0;
  return wide_;
}

void QorString::copyUnits(const char16_t* text, int32_t count) {
  // The text may lie in this string's own block: copy before letting go of it.
  int32_t granted = 0;
  char16_t* block = newBlock(count, &granted);
  std::memcpy(block, text, static_cast<size_t>(count) * 2);
  block[count] = 0;
  releaseAll();
  wide_ = block;
  wideSize_ = granted;
}

void QorString::widen(const char* text, int32_t count) {
  int32_t granted = 0;
  char16_t* block = newBlock(count, &granted);
  widenInto(block, text, count);
  block[count] = 0;
  releaseAll();
  wide_ = block;
  wideSize_ = granted;
}

void QorString::ownText() {
  if (wideSize_ > 0 || !wide_) return;
  copyUnits(wide_, length());
}

std::ostream& operator<<(std::ostream& out, const QorString& s) {
  return out << s.narrow();
}

// ---- QorNumberFormat ----

QorNumberFormat::QorNumberFormat(const char* conversion, bool general, bool exponent)
    : useGeneral(general), useExponent(exponent) {
  setConversion(conversion);
}

QorNumberFormat::QorNumberFormat(const QorNumberFormat& other)
    : useGeneral(other.useGeneral), useExponent(other.useExponent) {
  setConversion(other.conversion_);
}

QorNumberFormat& QorNumberFormat::operator=(const QorNumberFormat& other) {
  if (this != &other) {
    useGeneral = other.useGeneral;
    useExponent = other.useExponent;
    setConversion(other.conversion_);
  }
  return *this;
}

QorNumberFormat::~QorNumberFormat() {
  wexFree(conversion_);
}

void QorNumberFormat::setConversion(const char* conversion) {
  char* copy = nullptr;
  if (conversion) {
    int32_t n = static_cast<int32_t>(std::strlen(conversion)) + 1;
    wexMalloc(reinterpret_cast<void**>(&copy), 1, n);
    std::memcpy(copy, conversion, static_cast<size_t>(n));
  }
  wexFree(conversion_);
  conversion_ = copy;
}
