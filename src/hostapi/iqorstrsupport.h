// The host's text rules for wide strings: its narrow form, ordering, classification and
// case mapping. Optional: without it the strings take their plain fallbacks. Texts are
// NUL-terminated runs of 16-bit units; the in-place operations never lengthen a text.
#pragma once
#include <cstdint>

#include "base/qorcstring.h"
#include "core/qorobject.h"

class IQorStrSupport : public virtual IQorUnknown {
 public:
  // Slot 0 belongs to the host; this system never calls it.
  virtual void unused0() = 0;
  // Slot 1: fills `out` with the host's narrow form of `text`.
  virtual void toNarrow(const char16_t* text, QorCString& out) = 0;
  // Slot 2: compares two texts by the host's (locale) rules: negative, 0 or positive.
  virtual int32_t compare(const char16_t* a, const char16_t* b) = 0;
  // Slot 3: whether `unit` is white space.
  virtual bool isSpace(char16_t unit) = 0;
  // Slot 4: whether `unit` is a digit.
  virtual bool isDigit(char16_t unit) = 0;
  // Slot 5: whether `text` contains `needle`, with or without regard to case.
  virtual bool contains(const char16_t* text, const char16_t* needle, bool caseSensitive) = 0;
  // Slot 6: removes every white space unit of `text`, in place.
  virtual void stripWhitespace(char16_t* text) = 0;
  // Slot 7: trims `text` and makes each inner run of white space one blank, in place.
  virtual void simplify(char16_t* text) = 0;
  // Slot 8: lower-cases `text` in place.
  virtual void toLower(char16_t* text) = 0;
  // Slot 9: upper-cases `text` in place.
  virtual void toUpper(char16_t* text) = 0;
};
