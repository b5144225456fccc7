#include "base/qorstring.h"

#include <cstring>
#include <utility>

#include "base/strstorage.h"

static int32_t unitLength(const char16_t* s) {
  int32_t n = 0;
  if (s)
    while (s[n]) ++n;
  return n;
}

QorString::QorString(const char16_t* text) {
  if (text) copyUnits(text, unitLength(text));
}

QorString::QorString(const char16_t* text, int32_t count) {
  if (text) copyUnits(text, count < 0 ? 0 : count);
}

QorString::QorString(const char* text) {
  if (!text) return;
  int32_t n = static_cast<int32_t>(std::strlen(text));
  int32_t bytes = (n + 1) * 2;
  wide_ = static_cast<char16_t*>(qor::strAllocate(bytes, &wideSize_));
  for (int32_t i = 0; i < n; ++i)
    wide_[i] = static_cast<char16_t>(static_cast<int16_t>(static_cast<signed char>(text[i])));
  wide_[n] = 0;
}

QorString::QorString(const QorString& other) {
  if (other.wideSize_ > 0)
    copyUnits(other.wide_, unitLength(other.wide_));
  else
    wide_ = other.wide_;
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

QorString::~QorString() { clearAll(); }

QorString& QorString::operator=(const QorString& other) {
  if (this != &other) {
    QorString tmp(other);
    *this = std::move(tmp);
  }
  return *this;
}

QorString& QorString::operator=(QorString&& other) noexcept {
  if (this != &other) {
    clearAll();
    std::swap(wide_, other.wide_);
    std::swap(wideSize_, other.wideSize_);
    std::swap(narrow_, other.narrow_);
    std::swap(narrowSize_, other.narrowSize_);
    std::swap(utf8_, other.utf8_);
    std::swap(utf8Size_, other.utf8Size_);
  }
  return *this;
}

QorString QorString::fromUtf8(const char* text, int32_t bytes) {
  QorString out;
  if (!text) return out;
  size_t n = bytes < 0 ? std::strlen(text) : static_cast<size_t>(bytes);
  const auto* s = reinterpret_cast<const unsigned char*>(text);
  // At most one unit per byte.
  out.wide_ = static_cast<char16_t*>(qor::strAllocate(static_cast<int32_t>((n + 1) * 2), &out.wideSize_));
  int32_t w = 0;
  for (size_t i = 0; i < n;) {
    uint32_t c = s[i];
    int extra = c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC0 ? 1 : 0;
    if (extra) c &= (0x3F >> extra);
    if (extra && i + static_cast<size_t>(extra) >= n) break;  // truncated sequence: stop
    ++i;
    for (int k = 0; k < extra; ++k, ++i) c = (c << 6) | (s[i] & 0x3F);
    if (c >= 0x10000) {
      c -= 0x10000;
      out.wide_[w++] = static_cast<char16_t>(0xD800 | (c >> 10));
      out.wide_[w++] = static_cast<char16_t>(0xDC00 | (c & 0x3FF));
    } else {
      out.wide_[w++] = static_cast<char16_t>(c);
    }
  }
  out.wide_[w] = 0;
  return out;
}

int32_t QorString::length() const { return unitLength(wide_); }

const char* QorString::utf8() const {
  if (utf8_) return utf8_;
  int32_t n = length();
  utf8_ = static_cast<char*>(qor::strAllocate(n * 3 + 1, &utf8Size_));
  int32_t o = 0;
  for (int32_t i = 0; i < n; ++i) {
    uint32_t c = wide_[i];
    if (c < 0x80) {
      utf8_[o++] = static_cast<char>(c);
    } else if (c < 0x800) {
      utf8_[o++] = static_cast<char>(0xC0 | (c >> 6));
      utf8_[o++] = static_cast<char>(0x80 | (c & 0x3F));
    } else {
      utf8_[o++] = static_cast<char>(0xE0 | (c >> 12));
      utf8_[o++] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      utf8_[o++] = static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  utf8_[o] = 0;
  return utf8_;
}

const char* QorString::narrow() const {
  if (narrow_) return narrow_;
  int32_t n = length();
  narrow_ = static_cast<char*>(qor::strAllocate(n + 1, &narrowSize_));
  int32_t o = 0;
  for (int32_t i = 0; i < n; ++i)
    if (wide_[i] < 128) narrow_[o++] = static_cast<char>(wide_[i]);
  narrow_[o] = 0;
  return narrow_;
}

bool QorString::operator==(const QorString& o) const {
  const char16_t* a = wide_ ? wide_ : u"";
  const char16_t* b = o.wide_ ? o.wide_ : u"";
  while (*a && *a == *b) ++a, ++b;
  return *a == *b;
}

void QorString::clearCaches() const {
  if (narrow_ && narrowSize_ > 0) qor::strFree(narrow_, narrowSize_);
  if (utf8_ && utf8Size_ > 0) qor::strFree(utf8_, utf8Size_);
  narrow_ = utf8_ = nullptr;
  narrowSize_ = utf8Size_ = 0;
}

void QorString::clearAll() {
  clearCaches();
  if (wide_ && wideSize_ > 0) qor::strFree(wide_, wideSize_);
  wide_ = nullptr;
  wideSize_ = 0;
}

void QorString::copyUnits(const char16_t* text, int32_t count) {
  wide_ = static_cast<char16_t*>(qor::strAllocate((count + 1) * 2, &wideSize_));
  std::memcpy(wide_, text, static_cast<size_t>(count) * 2);
  wide_[count] = 0;
}
