#include "datamodel/objectvalue.h"

#include "datamodel/dataobject.h"
#include "datamodel/objectproperty.h"

namespace qor {

IQorUnknown* objectPropertyValue(IQorUnknown* property) {
  auto* op = qorQuery<ObjectProperty>(property, ObjectProperty::kClassName);
  DataObject* value = op ? op->getValue() : nullptr;
  return value ? static_cast<IQorDataObject*>(value) : nullptr;
}

}  // namespace qor
