#include "base/qorcstring.h"

#include <cstring>
#include <utility>

#include "base/strstorage.h"

QorCString::QorCString(const char* text) { copyFrom(text); }

QorCString::QorCString(char* text, bool adopt) : str_(text), size_(0) {
  if (adopt && text) size_ = static_cast<int32_t>(std::strlen(text) + 1);
}

QorCString::QorCString(const QorCString& other) {
  if (other.size_ > 0)
    copyFrom(other.str_);
  else
    str_ = other.str_;
}

QorCString::QorCString(QorCString&& other) noexcept : str_(other.str_), size_(other.size_) {
  other.str_ = nullptr;
  other.size_ = 0;
}

QorCString::~QorCString() { clear(); }

QorCString& QorCString::operator=(const QorCString& other) {
  if (this != &other) {
    QorCString tmp(other);
    *this = std::move(tmp);
  }
  return *this;
}

QorCString& QorCString::operator=(QorCString&& other) noexcept {
  if (this != &other) {
    clear();
    str_ = other.str_;
    size_ = other.size_;
    other.str_ = nullptr;
    other.size_ = 0;
  }
  return *this;
}

QorCString& QorCString::operator=(const char* text) {
  QorCString tmp(text);
  return *this = std::move(tmp);
}

int32_t QorCString::length() const { return str_ ? static_cast<int32_t>(std::strlen(str_)) : 0; }

bool QorCString::operator==(const QorCString& o) const { return std::strcmp(c_str(), o.c_str()) == 0; }

bool QorCString::operator==(const char* o) const { return std::strcmp(c_str(), o ? o : "") == 0; }

void QorCString::clear() {
  if (size_ > 0 && str_) qor::strFree(str_, size_);
  str_ = nullptr;
  size_ = 0;
}

void QorCString::copyFrom(const char* text) {
  str_ = nullptr;
  size_ = 0;
  if (!text) return;
  int32_t n = static_cast<int32_t>(std::strlen(text)) + 1;
  str_ = static_cast<char*>(qor::strAllocate(n, &size_));
  std::memcpy(str_, text, static_cast<size_t>(n));
}
