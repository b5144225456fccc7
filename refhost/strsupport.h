// The reference host's text rules (IQorStrSupport), registered by the "strsupport"
// profile: the narrow form is UTF-8, ordering compares 16-bit units, and case mapping and
// classification follow the C library's wide-character functions in the C.UTF-8 locale,
// one unit at a time (so only characters of the basic plane change case).
#pragma once
#include <atomic>
#include <string>

#include "base/qorstring.h"
#include "base/utf8text.h"
#include "hostapi/iqorstrsupport.h"

namespace refhost {

// Standard UTF-8 for the host's own boundaries (settings file, records handed to Python):
// see base/utf8text.h.
inline std::string wideToUtf8(const char16_t* text) {
  return qor::standardUtf8(text);
}
inline QorString utf8ToWide(const char* text) {
  return qor::wideOfStandardUtf8(text);
}

class RefStrSupport : public IQorStrSupport {
 public:
  RefStrSupport();
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefStrSupport"; }

  // Does nothing: no one calls the first slot.
  void unused0() override {}
  // UTF-8; a surrogate pair becomes one four-byte sequence, a lone surrogate is encoded
  // by itself in three bytes.
  void toNarrow(const char16_t* text, QorCString& out) override;
  // Units compared as unsigned numbers: -1, 0 or 1.
  int32_t compare(const char16_t* a, const char16_t* b) override;
  bool isSpace(char16_t unit) override;
  bool isDigit(char16_t unit) override;
  // Without case sensitivity both texts are compared through the lower-case mapping.
  bool contains(const char16_t* text, const char16_t* needle, bool caseSensitive) override;
  void stripWhitespace(char16_t* text) override;
  // Trims white space and makes each inner run of it one blank (U+0020).
  void simplify(char16_t* text) override;
  void toLower(char16_t* text) override;
  void toUpper(char16_t* text) override;

  // Calls of each slot so far, by slot number (1 to 9), for tests.
  int calls(int slot) const;

 private:
  char16_t lower(char16_t unit) const;
  char16_t upper(char16_t unit) const;
  void count(int slot);
  void* locale_;  // locale_t of C.UTF-8, or null to use the process's locale
  std::atomic<int> calls_[10] = {};
};

}  // namespace refhost
