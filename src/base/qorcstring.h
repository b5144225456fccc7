// QorCString: the narrow string. It owns its block (size_ > 0) or borrows (size_ == 0).
#pragma once
#include <cstdint>

// Tag for the borrowing constructors: the text is pointed at, never copied or freed.
struct QorBorrowT {};
inline constexpr QorBorrowT kBorrow{};

class QorCString {
 public:
  QorCString() = default;
  // Borrows `text`, typically a literal: no allocation.
  QorCString(QorBorrowT, const char* text) : str_(const_cast<char*>(text)), size_(0) {}
  // Deep copy; null gives a null string.
  QorCString(const char* text);  // NOLINT: implicit by design, like the system's own
  // Takes `text`; with `adopt` the string frees it (it must come from the string storage).
  QorCString(char* text, bool adopt);
  // An owning source is copied deep; a borrowing one is borrowed again.
  QorCString(const QorCString& other);
  QorCString(QorCString&& other) noexcept;
  ~QorCString();

  QorCString& operator=(const QorCString& other);
  QorCString& operator=(QorCString&& other) noexcept;
  QorCString& operator=(const char* text);

  const char* c_str() const { return str_ ? str_ : ""; }
  const char* data() const { return str_; }
  int32_t blockSize() const { return size_; }
  bool owns() const { return size_ > 0; }
  bool isEmpty() const { return !str_ || !*str_; }
  bool isNull() const { return !str_; }
  int32_t length() const;

  bool operator==(const QorCString& o) const;
  bool operator==(const char* o) const;

 private:
  void clear();
  void copyFrom(const char* text);

  char* str_ = nullptr;
  int32_t size_ = 0;
};
