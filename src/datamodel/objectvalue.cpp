#include "datamodel/objectvalue.h"

namespace qor {

IQorUnknown* objectPropertyValue(IQorUnknown* property) {
  void* op = nullptr;
  if (property) property->queryInterface("ObjectProperty", &op, 0);
  // No class of the system answers "ObjectProperty" until the typed property family is
  // built; the value read joins it then.
  (void)op;
  return nullptr;
}

}  // namespace qor
