#include "datamodel/objectvalue.h"

#include "datamodel/dataobject.h"
#include "datamodel/objectproperty.h"

namespace qor {

IQorUnknown* objectPropertyValue(IQorUnknown* property) {
  auto* op = qorQuery<ObjectProperty>(property, ObjectProperty::kClassName);
  DataObject* value = op ? op->getValue() : nullptr;
  if (!value) return nullptr;
  IQorDataObject* object = value;
  return object;
}

}  // namespace qor
