#include "datamodel/collection.h"

#include "core/translate.h"

void Collection::checkReadOnly() const {
  if (readOnly_) qor::classError("Collection", "Collection is readonly");
}

void Collection::checkFixedSize() const {
  if (fixedSize_) qor::classError("Collection", "Collection has a fixed size");
}

void Collection::checkIndex(int32_t index, int32_t first, int32_t last) const {
  if (index < first || index > last) qor::classError("Collection", "Invalid index");
}

void Collection::checkIndex(int32_t index, int32_t first, int32_t last) {
  static_cast<const Collection*>(this)->checkIndex(index, first, last);
}
