// QorCString: the narrow string of the system. Names of interfaces, classes and settings
// keys, file modes and log text travel in it.
//
// A QorCString has two fields: `str_`, the NUL-terminated text or null, and `size_`, the
// size in bytes of the block behind it as the string storage granted it. A size above 0
// means the string owns the block and gives it back when it lets go; a size of 0 means the
// text is borrowed (typically a literal) or null, and is never freed. The length is never
// stored: it is found by scanning for the terminator.
#pragma once
#include <cstdint>
#include <iosfwd>
#include <string>
#include <type_traits>

class QorString;

// Tag for the borrowing constructors: the text is pointed at, never copied or freed.
struct QorBorrowT {};
inline constexpr QorBorrowT kBorrow{};

class QorCString {
 public:
  // A null string.
  QorCString() = default;
  // Borrows `text`, typically a literal: no allocation.
  QorCString(QorBorrowT, const char* text) : str_(const_cast<char*>(text)), size_(0) {}
  // Takes `text`. With `adopt` set the string owns it, records strlen + 1 as its block size
  // and frees it through the string storage, so the block must come from there. With
  // `adopt` clear it borrows.
  // (A template so that only a real bool selects it, never a pointer converted to bool.)
  template <class B, class = std::enable_if_t<std::is_same_v<B, bool>>>
  QorCString(char* text, B adopt) : str_(text), size_(0) {
    if (adopt && text) size_ = length() + 1;
  }
  // Deep copy; null gives a null string.
  QorCString(const char* text);  // NOLINT: implicit, as the system passes names
  // Deep copy of at most `maxCount` characters; the result is always terminated (a null
  // text gives a null string, a count of 0 or less an empty text).
  QorCString(const char* text, int32_t maxCount);
  // A one-character text (two bytes with the terminator).
  explicit QorCString(char c);
  // The "%d" text of `value`.
  explicit QorCString(int value);
  // The "%f" text of `value`, or with `shortest` set the shortest text that reads back
  // best (see shortestReal).
  explicit QorCString(double value, bool shortest = false);
  explicit QorCString(float value, bool shortest = false);
  // The concatenation of two or three texts; a null counts as empty, and a total length of
  // 0 gives a null string.
  QorCString(const char* a, const char* b);
  QorCString(const char* a, const char* b, const char* c);
  // The whole remaining contents of a text stream.
  explicit QorCString(std::istream& in);
  // An owning source is copied deep; a borrowing one is borrowed again, pointer only.
  QorCString(const QorCString& other);
  // Takes both fields and leaves the source null.
  QorCString(QorCString&& other) noexcept;
  ~QorCString();

  // `prefix` followed by the "%d" text of `value`.
  static QorCString withInt(const char* prefix, int value);
  // The concatenation of a null-terminated list of texts. A first entry of null, or a
  // total length of 0, gives a null string.
  static QorCString join(const char* const* pieces);
  // The shortest decimal text of `value` that reads back best. An integral value in the
  // 32-bit range prints as "%d"; otherwise 17 significant digits (9 for a float) and
  // fewer, while each shorter text reads back at least as close as the longer one; a tie
  // keeps the shorter. Integral values beyond the 32-bit range take the digit search too
  // ("1e+22", "2147483648"); infinities give "inf" and "-inf", NaN gives "nan". A text the
  // runtime cannot read back (subnormal values, or a rounded text above the largest
  // finite value) throws std::out_of_range "stod argument out of range" ("stof ..." for a
  // float), as the runtime's read does.
  static QorCString shortestReal(double value);
  static QorCString shortestReal(float value);

  // Self-assignment does nothing; otherwise as the copy constructor, after releasing the
  // old block.
  QorCString& operator=(const QorCString& other);
  QorCString& operator=(QorCString&& other) noexcept;
  // The same pointer does nothing; otherwise release, then deep copy.
  QorCString& operator=(const char* text);
  // A one-character text.
  QorCString& operator=(char c);

  // The text, or "" for a null string.
  const char* c_str() const { return str_ ? str_ : ""; }
  // The text pointer itself, null for a null string.
  const char* data() const { return str_; }
  // Size of the owned block in bytes; 0 when borrowed or null.
  int32_t blockSize() const { return size_; }
  bool owns() const { return size_ > 0; }
  // True for a null pointer and for an empty text.
  bool isEmpty() const { return !str_ || !*str_; }
  // True only for a null pointer.
  bool isNull() const { return !str_; }
  // strlen; a null string counts 0.
  int32_t length() const;
  // The character at `index`; no bounds check.
  char at(int32_t index) const { return str_[index]; }

  // Takes the first `count` characters of `text` (a negative count, or one past the
  // length, takes the whole text). The block is reused only if the string owns it and the
  // new length equals the old one. A null text gives a null string.
  void assign(const char* text, int32_t count);
  // Copies `count` bytes (a negative count means strlen) and terminates them. The block is
  // reused if its size exceeds `count`; the copy tolerates overlap with the string's own
  // text. A count of 0 or less leaves a null string.
  void assignBytes(const char* text, int32_t count);
  // As assignBytes, keeping the low byte of each 16-bit unit.
  void assignWide(const char16_t* units, int32_t count);
  // Takes over the UTF-8 form cached in `wide` (building it first if needed) and leaves
  // that cache empty.
  void assignUtf8(QorString& wide);
  // Exchanges the two fields.
  void swap(QorCString& other) noexcept;

  // Appends in place if the block is large enough, else moves to a new block of the exact
  // new size (no spare capacity). A null or empty text, or a NUL character, does nothing.
  void append(char c);
  void append(const char* text);
  // New strings: this text followed by `c` or `text`.
  QorCString operator+(char c) const;
  QorCString operator+(const char* text) const;
  QorCString operator+(const QorCString& text) const { return *this + text.c_str(); }

  // Index of `c` at or after `start`; -1 for an empty string, a negative start or a start
  // at or past the length.
  int32_t find(char c, int32_t start = 0) const;
  // Index of `needle` at or after `start`. -1 if the needle is longer than the string; 0
  // for an empty needle; a negative start takes the assertion road ("start >= 0") and
  // answers -1; -1 if start is past length minus needle length.
  int32_t find(const char* needle, int32_t start = 0) const;
  // Last index of `c`, or -1.
  int32_t rfind(char c) const;
  // Last index of `needle`, or -1; an empty needle gives the length.
  int32_t rfind(const char* needle) const;

  // Replaces every `from` by `to`, in place (a borrowed text is copied first).
  void replaceChar(char from, char to);
  // Replaces `count` characters at `pos` by `text` (both clipped to the string): in place
  // if `text` has exactly `count` characters, else into a new exact block.
  void replaceAt(int32_t pos, int32_t count, const char* text);
  // Replaces every `from` by `to`, from the left, resuming behind each inserted text so
  // that it is not searched again. Nothing if either is null, `from` is empty, or they are
  // equal.
  void replaceAll(const char* from, const char* to);
  // A new string with at most `count` characters from `start` (clipped; a count of 0 or
  // less gives an empty text).
  QorCString substring(int32_t start, int32_t count) const;

  // Turns a borrowed text into an owned copy.
  void makeOwned();
  // Case conversion and reversal, in place and byte by byte (ASCII letters only, as the C
  // runtime does in the C locale); a borrowed text is copied first.
  void toLower();
  void toUpper();
  void reverse();
  // A new string without white space at both ends.
  QorCString trim() const;
  // A new string: leading white space dropped, each run of white space replaced by one
  // `fill`, and a final `fill` removed.
  QorCString simplify(char fill = ' ') const;
  // A new string of at most `maxLength` characters in which `dots` full stops mark what
  // was cut: `where` 0 cuts at the end, 1 at the start, 2 in the middle. With maxLength at
  // or below `dots` the result is maxLength full stops; a text that fits is copied; any
  // other `where` gives a copy and takes the assertion road ("0").
  QorCString abbreviate(int32_t maxLength, int32_t where, int32_t dots = 3) const;
  // The text as a float; a null string gives 0. Throws std::invalid_argument "invalid stof
  // argument" when no number can be read, std::out_of_range "stof argument out of range"
  // when it is out of the float range.
  float toFloat() const;
  // Releases the old text and reads one line (at most 4095 characters, without its line
  // end). False at stream failure, which includes a longer line.
  bool readLine(std::istream& in);

  // Two nulls are equal; a null and a non-null are not, even if the non-null text is
  // empty.
  bool operator==(const QorCString& o) const;
  bool operator==(const char* o) const;
  bool operator!=(const QorCString& o) const { return !(*this == o); }
  bool operator!=(const char* o) const { return !(*this == o); }
  // Three-way comparison, bytes taken as unsigned; a null sorts before any non-null text.
  // Answers -1, 0 or 1.
  int compare(const QorCString& o) const;
  int compare(const char* o) const;
  // A null right operand gives false.
  bool operator<(const QorCString& o) const;
  bool operator<=(const QorCString& o) const;
  // Compares the text (null as empty) with the concatenation of a null-terminated list of
  // pieces without building it, bytes taken as signed; with `maxCount`, at most that many
  // characters. Answers -1, 0 or 1.
  int compareJoined(const char* const* pieces) const;
  int compareJoined(const char* const* pieces, int32_t maxCount) const;
  // djb2 over the bytes taken as signed chars, in 32 bits: 5381, then h * 33 + byte. A
  // null string hashes to 0, an empty text to 5381.
  uint32_t hash() const;

 private:
  void release();
  // Replaces the text by an owned copy of `text`.
  void copyText(const std::string& text);
  // Points at a new owned block for `length` characters (terminated at `length`).
  char* allocateText(int32_t length);

  char* str_ = nullptr;
  int32_t size_ = 0;
};

// Writes the text; a null string writes nothing.
std::ostream& operator<<(std::ostream& out, const QorCString& s);
