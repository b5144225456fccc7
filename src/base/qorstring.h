// QorString: the wide string of 16-bit units, with cached narrow and UTF-8 forms.
#pragma once
#include <cstdint>

#include "base/qorcstring.h"

class QorString {
 public:
  QorString() = default;
  // Copies a NUL-terminated run of 16-bit units; null gives a null string.
  QorString(const char16_t* text);  // NOLINT
  // Copies `count` units (the result is terminated).
  QorString(const char16_t* text, int32_t count);
  // Borrows a wide literal.
  QorString(QorBorrowT, const char16_t* text) : wide_(const_cast<char16_t*>(text)) {}
  // Widens a narrow text unit by unit (bytes are taken as signed, as the system does).
  QorString(const char* text);  // NOLINT
  QorString(const QorString& other);
  QorString(QorString&& other) noexcept;
  ~QorString();
  QorString& operator=(const QorString& other);
  QorString& operator=(QorString&& other) noexcept;

  // Decodes UTF-8 into 16-bit units (characters above U+FFFF become surrogate pairs).
  static QorString fromUtf8(const char* text, int32_t bytes = -1);

  const char16_t* wide() const { return wide_; }
  bool isEmpty() const { return !wide_ || !*wide_; }
  bool isNull() const { return !wide_; }
  int32_t length() const;
  int32_t blockSize() const { return wideSize_; }

  // UTF-8 form, one 16-bit unit at a time; cached until the text changes.
  const char* utf8() const;
  // Narrow form: units of 128 and above are dropped. Cached.
  const char* narrow() const;

  bool operator==(const QorString& o) const;

 private:
  void clearAll();
  void clearCaches() const;
  void copyUnits(const char16_t* text, int32_t count);

  char16_t* wide_ = nullptr;
  int32_t wideSize_ = 0;
  mutable char* narrow_ = nullptr;
  mutable int32_t narrowSize_ = 0;
  mutable char* utf8_ = nullptr;
  mutable int32_t utf8Size_ = 0;
};
