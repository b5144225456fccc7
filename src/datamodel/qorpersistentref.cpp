#include "datamodel/qorpersistentref.h"

#include "core/locator.h"
#include "persistence/iqordatamodel.h"

QorPersistentRef::QorPersistentRef(const QorPersistentRef& other)
    : IQorUnknown(other),
      IQorPersistentRef(other),
      IQorWriteable(other),
      writeable_(const_cast<QorPersistentRef&>(other).isWriteable()) {}

bool QorPersistentRef::queryPersistentRef(const char* name, void** out) {
  if (qorNameIs(name, "QorPersistentRef"))
    *out = this;
  else if (qorNameIs(name, "IQorPersistentRef"))
    *out = static_cast<IQorPersistentRef*>(this);
  else if (qorNameIs(name, "IQorWriteable"))
    *out = static_cast<IQorWriteable*>(this);
  else
    return false;
  return true;
}

void QorPersistentRef::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (queryPersistentRef(name, out)) return;
  if (qorNameIs(name, "IQorUnknown")) *out = static_cast<IQorUnknown*>(this);
}

bool QorPersistentRef::read(BinInput&) {
  return false;
}

bool QorPersistentRef::write(BinOutput&) {
  return false;
}

QorID QorPersistentRef::classId() {
  return QorID{};
}

bool QorPersistentRef::write(IQorDataModelWriter* writer) {
  // beginObject asks the object for its class id through the virtual slot, so a derived
  // class's chunk carries the derived id. Readers do not look at it.
  writer->beginObject(this, 0);
  IQorPersistentRefMap* map = qor::persistentRefMap();
  uint32_t refId = map ? map->getRefId(this) : 0;
  writer->write(refId);
  writer->endObject();
  if (map) map->markWritten(refId);
  return true;
}

bool QorPersistentRef::read(IQorDataModelReader* reader) {
  int32_t version = 0;
  if (!reader->beginObject(this, &version)) return true;
  bool result = false;
  if (version == 0) {
    uint32_t refId = 0;
    result = reader->read(refId);
    if (result && refId != 0)
      if (IQorPersistentRefMap* map = qor::persistentRefMap()) map->registerRef(refId, this);
  }
  reader->endObject();
  return result;
}

namespace qor {
IQorPersistentRefMap* persistentRefMap() {
  void* out = nullptr;
  if (getService("IQorPersistentRefMap", &out) != 1) return nullptr;
  return static_cast<IQorPersistentRefMap*>(out);
}
}  // namespace qor
