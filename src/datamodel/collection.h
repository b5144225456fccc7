// Collection: the base of the script-visible arrays. Storage is one-based (entries 1 to n);
// the interface the host calls is zero-based, and each operation converts at its entry.
// A mutating operation checks, in order: read-only, fixed size (unless it keeps the size),
// index. Every check raises before anything changes.
#pragma once
#include <cstdint>

#include "datamodel/dataeventsource.h"

class Collection : public Primitive {
 public:
  Collection() = default;
  Collection(int32_t cursor, bool fixedSize, bool readOnly)
      : cursor_(cursor), fixedSize_(fixedSize), readOnly_(readOnly) {}

  // Whether operations that change anything raise.
  virtual bool isReadOnly() const { return readOnly_; }
  // Whether operations that change the size raise.
  virtual bool isFixedSize() const { return fixedSize_; }

  // "Collection is readonly" when read-only.
  void checkReadOnly() const;
  // "Collection has a fixed size" when the size is fixed.
  void checkFixedSize() const;
  // "Invalid index" when `index` lies outside first..last, both included.
  void checkIndex(int32_t index, int32_t first, int32_t last) const;
  void checkIndex(int32_t index, int32_t first, int32_t last);

 protected:
  int32_t cursor_ = 0;
  bool fixedSize_ = false;
  bool readOnly_ = false;
};

// The one convention on indices: the host's zero-based index and the storage's one-based
// slot. A search that found nothing answers slot 0, which becomes -1.
class ZeroToOneIndexConverter {
 public:
  virtual ~ZeroToOneIndexConverter() = default;
  static int32_t toOneBased(int32_t i) { return i + 1; }
  static int32_t toZeroBased(int32_t i) { return i - 1; }
};
