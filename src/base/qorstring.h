// QorString: the wide string of 16-bit units, for everything a user can read and for file
// paths, with cached narrow and UTF-8 forms. QorNumberFormat: how to print a number.
//
// Fields, in order: `wide_` (the NUL-terminated units, or null) and `wideSize_` (the size
// in bytes of the block behind it; 0 means borrowed or null), then the cached narrow form
// `narrow_`/`narrowSize_` and the cached UTF-8 form `utf8_`/`utf8Size_`. A size above 0
// means the string owns that block; a non-null `narrow_` with `narrowSize_` 0 is a narrow
// literal borrowed together with a wide one. Lengths, indices and counts are in 16-bit
// units and 32-bit signed; nothing treats a surrogate pair as one character. A failed
// search answers -1.
//
// Operations that depend on the host's text rules (ordering, case, white space, the
// narrow form) use the host service IQorStrSupport when the process has one at the first
// such operation; otherwise they take plain fallbacks, and keep taking them for the life of
// the process.
#pragma once
#include <cstdint>
#include <iosfwd>

#include "base/qorcstring.h"

class QorNumberFormat;
template <class T>
class IterStack;

class QorString {
 public:
  // All fields null.
  QorString() = default;
  // Borrows a wide literal and, optionally, its narrow twin: no allocation.
  QorString(QorBorrowT, const char16_t* wide, const char* narrow = nullptr)
      : wide_(const_cast<char16_t*>(wide)), narrow_(const_cast<char*>(narrow)) {}
  // Widens a narrow text byte by byte, each byte taken as a signed char (0x80 to 0xFF
  // become units 0xFF80 to 0xFFFF). Null gives a null string.
  QorString(const char* text);  // NOLINT: implicit, as constant texts are written
  // Deep copy of a NUL-terminated run of units; null gives a null string.
  QorString(const char16_t* text);  // NOLINT
  // Deep copy of `count` units (the result is terminated); null gives a null string.
  QorString(const char16_t* text, int32_t count);
  // The text of a QorCString, widened.
  explicit QorString(const QorCString& text);
  // One unit.
  explicit QorString(char c);
  explicit QorString(char16_t unit);
  // The "%d" text.
  explicit QorString(int32_t value);
  // The decimal text, as a text stream writes it.
  explicit QorString(long value);
  explicit QorString(long long value);
  // "%e" if the magnitude exceeds 1e10, else "%f".
  explicit QorString(double value);
  // Printed with the format's flag, width and precision: "%<conversion>d", "%<conversion>ld",
  // "%<conversion>lld", and for a real "%<conversion>" followed by 'f' (useGeneral false), 'e'
  // (useGeneral and useExponent) or 'g'.
  QorString(int32_t value, const QorNumberFormat& format);
  QorString(long value, const QorNumberFormat& format);
  QorString(long long value, const QorNumberFormat& format);
  QorString(double value, const QorNumberFormat& format);
  // An owned text is copied deep, a borrowed one borrowed again, and so is a borrowed
  // narrow form; the caches are not copied.
  QorString(const QorString& other);
  // Takes all six fields and clears the source.
  QorString(QorString&& other) noexcept;
  ~QorString();

  // Self-assignment does nothing. An owned source is copied (into this string's block when
  // it holds at least 2 * length + 2 bytes); a borrowed one is borrowed.
  QorString& operator=(const QorString& other);
  QorString& operator=(QorString&& other) noexcept;

  // Decodes UTF-8, up to `bytes` bytes or the terminator. The decoder is lenient in the
  // ways stored text relies on: a continuation byte met as a lead gives its low seven bits
  // as one unit, and continuation bytes are only checked for NUL. A sequence of four or
  // more bytes, a truncated sequence, or an overlong form makes the whole text malformed,
  // which gives the empty (null) string, never a partial one.
  static QorString fromUtf8(const char* text, int32_t bytes = -1);

  // `wide_` itself: null for a null string.
  const char16_t* wide() const { return wide_; }
  // The units, or an empty text when null.
  const char16_t* text() const { return wide_ ? wide_ : u""; }
  // Units up to the terminator; null counts 0.
  int32_t length() const;
  // True for a null pointer and for an empty text.
  bool isEmpty() const { return !wide_ || !*wide_; }
  // True only for a null pointer.
  bool isNull() const { return !wide_; }
  // Size in bytes of the owned block; 0 when borrowed or null.
  int32_t blockSize() const { return wideSize_; }
  // The unit at `index` / sets it (a borrowed text is copied first); no bounds check: the
  // caller keeps within the length.
  char16_t at(int32_t index) const { return wide_[index]; }
  void setAt(int32_t index, char16_t unit);

  // The UTF-8 form, each 16-bit unit encoded by itself (a surrogate pair gives two
  // three-byte sequences). Cached until the text changes.
  const char* utf8() const;
  // The narrow form: a borrowed narrow literal as it is; else the host's narrow form, or
  // without the host service the units below 128 (the others are left out). Rebuilt on
  // every call: the pointer is valid until the next call or change.
  const char* narrow() const;

  // Narrow text, widened: a negative count means strlen. A null text gives a null string.
  void assign(const char* text, int32_t count = -1);
  // Wide text: a negative count means up to the terminator; a count of 0 releases the
  // block and borrows `text`.
  void assign(const char16_t* text, int32_t count = -1);
  // Appends the units of `other`: in place if the block is large enough, else into a new
  // block of the exact size.
  QorString& operator+=(const QorString& other);
  // Appends narrow text, widened (a negative count means strlen); a null text or a count
  // of 0 does nothing.
  void append(const char* text, int32_t count = -1);
  // Appends one unit (a NUL unit does nothing).
  void append(char16_t unit);
  // Appends the unit of `other` at `index`.
  void appendUnit(const QorString& other, int32_t index);

  // Index of `needle` at or after `start`: -1 if the needle is longer than the string, 0
  // for an empty needle, -1 for a negative start or a start past length minus needle
  // length.
  int32_t find(const QorString& needle, int32_t start = 0) const;
  // Index of `unit` at or after `start`; -1 on an empty string or a start out of range.
  int32_t find(char16_t unit, int32_t start = 0) const;
  // The last occurrence starting at or before `limit` (a negative limit means none), or
  // -1; an empty needle gives the smaller of length and limit.
  int32_t rfind(const QorString& needle, int32_t limit = -1) const;
  // Whether `needle` occurs. With the host service its own test; else a direct scan in
  // which only A to Z fold when not case-sensitive. An empty needle is always found.
  bool contains(const QorString& needle, bool caseSensitive = true) const;
  // True if the first `count` units of both agree; count 0 is true; false if either is
  // shorter than count. A negative count means the whole of `other`.
  bool hasPrefix(const QorString& other, int32_t count) const;

  // Replaces every `from` by `to` from the left, resuming behind each inserted text.
  // Nothing on a null string, for an empty `from`, or if `from` equals `to`.
  void replaceAll(const QorString& from, const QorString& to);
  // A new string with `count` units at `pos` (clipped) replaced by `text`.
  QorString replaced(int32_t pos, int32_t count, const QorString& text) const;
  // Removes `count` units at `pos` (clipped), in place; a borrowed text is copied first.
  void erase(int32_t pos, int32_t count);
  // Puts a terminator at `length` if the owned block is larger.
  void truncate(int32_t length);
  // New strings: the first `count` units; `count` units from `start` (clipped to the end,
  // a count below 1 gives an empty text); everything from `start`.
  QorString left(int32_t count) const;
  QorString mid(int32_t start, int32_t count) const;
  QorString right(int32_t start) const;

  // New strings in lower or upper case: the host's mapping, else only A to Z and a to z.
  QorString toLower() const;
  QorString toUpper() const;
  // A new string without white space: the host's rule, else units 9 to 13 and 32 dropped.
  QorString stripWhitespace() const;
  // A new string with white space trimmed and each run made one blank by the host, then,
  // unless `fill` is a blank, every white space unit replaced by `fill`. Without the host
  // service an unchanged copy.
  QorString simplify(char16_t fill = u' ') const;
  // False outside the string; the host's classification, else the C runtime's in the C
  // locale ('0' to '9'; units 9 to 13 and 32).
  bool isDigitAt(int32_t index) const;
  bool isSpaceAt(int32_t index) const;
  // Reads an integer as "%i" does (so 0x and 0 prefixes count); `ok` says whether a value
  // was read. A null string gives 0. Values beyond the 32-bit range are clamped to it.
  int32_t toInt(bool* ok = nullptr) const;
  // Reads a real as "%lf" does; `ok` says whether a value was read.
  double toDouble(bool* ok = nullptr) const;
  // As QorCString::abbreviate, in units; an unknown `where` gives a copy.
  QorString abbreviate(int32_t maxLength, int32_t where, int32_t dots = 3) const;
  // One pass over the owned block: "%1" to "%9" and "%:" take arguments 0 to 9 of `args`
  // (a null pointer, or an index at or past `count`, counts as empty); "%%" and every
  // other '%' pair are stepped over unchanged, and inserted text is not searched again.
  // A borrowed text is left alone.
  void substitute(const QorString* const* args, int32_t count = 10);
  // Exchanges the text and both caches.
  void swap(QorString& other) noexcept;

  // Equal lengths and units; null and empty are equal.
  bool operator==(const QorString& o) const;
  bool operator!=(const QorString& o) const { return !(*this == o); }
  // Each byte, taken as a signed char and widened as the narrow constructor does, against
  // each unit; null and empty are equal.
  bool operator==(const char* o) const;
  bool operator!=(const char* o) const { return !(*this == o); }
  // Ordering through the host's comparison, else compareRaw.
  bool operator<(const QorString& o) const;
  bool operator>(const QorString& o) const;
  // 0 for equal texts; otherwise 1 or -1, never 0.
  int compareTo(const QorString& o) const;
  // Units compared as unsigned; empty sorts first, two empties are equal. -1, 0 or 1. A
  // narrow text is widened as the narrow constructor does.
  int compareRaw(const QorString& o) const;
  int compareRaw(const char* o) const;
  // The plain 32-bit sum of the units; null and empty hash to 0.
  uint32_t hash() const;

  // Fills `result` with `pattern`, then replaces "%n" by argument n, from the highest
  // placeholder down to "%1", so text inserted for a higher one is searched again for the
  // lower ones. Arguments are expected non-null; a null one removes its placeholder.
  static void format(QorString& result, const QorCString& pattern, const QorCString& a1);
  static void format(QorString& result, const QorCString& pattern, const QorCString& a1,
                     const QorCString& a2);
  static void format(QorString& result, const QorCString& pattern, const QorCString& a1,
                     const QorCString& a2, const QorCString& a3);
  static void format(QorString& result, const QorCString& pattern, const QorCString& a1,
                     const QorCString& a2, const QorCString& a3, const QorCString& a4);
  static void format(QorString& result, const QorCString& pattern, const QorCString& a1,
                     const QorCString& a2, const QorCString& a3, const QorCString& a4,
                     const QorCString& a5);
  static void format(QorString& result, const QorCString& pattern, const QorCString& a1,
                     const QorCString& a2, const QorCString& a3, const QorCString& a4,
                     const QorCString& a5, const QorCString& a6);
  // The array form: "%1", "%2" and upward, each placeholder built as "%" and the decimal
  // index (so with ten or more arguments "%1" also matches the start of "%10").
  static void format(QorString& result, const QorCString& pattern, int32_t count,
                     const QorCString* args);

  // A list of strings as one text: each element as its length in decimal, one blank, and
  // the element, for elements 1 to count of the stack. (An empty element packs as "0 ",
  // which unpackList reads as "the whole text is one element".)
  static QorString packList(const IterStack<QorString>& list);
  // Unpacks a text made by packList into `list` at indices 1, 2, ... and sets its count to
  // the number of elements. A length that is missing or not positive makes the whole text
  // one element; unpacking stops where no blank is left.
  static void unpackList(const QorString& packed, IterStack<QorString>& list);

  // Process-wide constants, built on the heap on first use: an empty text, a one-blank
  // text, and a borrowed one-blank literal with its narrow twin.
  static const QorString& emptyString();
  static const QorString& blankString();
  static const QorString& blankLiteral();
  // Deletes the three constants (a later use builds them again).
  static void releaseConstants();

 private:
  friend class QorCString;
  void releaseAll();
  void clearCaches() const;
  // Makes this string own a new block for `count` units (terminated); returns it.
  char16_t* allocateUnits(int32_t count);
  void copyUnits(const char16_t* text, int32_t count);
  // Replaces the text with `count` bytes of `text`, widened.
  void widen(const char* text, int32_t count);
  // Copies a borrowed text into an owned block.
  void ownText();

  char16_t* wide_ = nullptr;
  int32_t wideSize_ = 0;
  mutable char* narrow_ = nullptr;
  mutable int32_t narrowSize_ = 0;
  mutable char* utf8_ = nullptr;
  mutable int32_t utf8Size_ = 0;
};

// Writes the narrow form.
std::ostream& operator<<(std::ostream& out, const QorString& s);

// How QorString prints a number: `conversion_` is a printf flag, width and precision text such
// as ".2" (a heap copy), `useGeneral` picks "%g" or "%e" over "%f" for reals, and
// `useExponent` picks "%e" over "%g".
class QorNumberFormat {
 public:
  QorNumberFormat() = default;
  explicit QorNumberFormat(const char* conversion, bool general = false, bool exponent = false);
  QorNumberFormat(const QorNumberFormat& other);
  QorNumberFormat& operator=(const QorNumberFormat& other);
  ~QorNumberFormat();

  // The flag, width and precision text, or "" when unset.
  const char* conversion() const { return conversion_ ? conversion_ : ""; }
  // Replaces the text with a heap copy of `conversion` (null clears it).
  void setConversion(const char* conversion);

  bool useGeneral = false;
  bool useExponent = false;

 private:
  char* conversion_ = nullptr;
};
