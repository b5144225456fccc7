#include "datamodel/objectproperty.h"

#include "core/locator.h"
#include "core/translate.h"
#include "datamodel/dataobject.h"
#include "datamodel/dataobjectarray.h"
#include "datamodel/dataobjectarrayproperty.h"
#include "datamodel/valueproperty.h"
#include "hostapi/iqorwritequeue.h"
#include "persistence/iqordatamodel.h"

ObjectProperty::ObjectProperty(const QorString& name, DataObject* value, bool readOnly,
                               bool withEvents)
    : Property(name, readOnly, withEvents), value_(value) {}

ObjectProperty::ObjectProperty(const QorString& name, bool readOnly, bool withEvents)
    : Property(name, readOnly, withEvents) {}

ObjectProperty::ObjectProperty() : Property(false, true) {}

ObjectProperty::ObjectProperty(const ObjectProperty& other)
    : IQorUnknown(),
      Property(other),
      IQorObjectProperty(),
      IQorPersistentRefCallback(),
      value_(other.value_) {}

ObjectProperty::~ObjectProperty() {
  if (waiting_)
    if (IQorPersistentRefMap* refs = qor::persistentRefMap()) refs->cancelRequests(this);
}

QorID ObjectProperty::classIdentifier() {
  return QorID(0x96a7ad15, 0x470c, 0x4a54, {0x94, 0xfd, 0x25, 0x96, 0x46, 0x78, 0xcd, 0xf0});
}

void ObjectProperty::queryObject(const char* className, void* self, const char* name, void** out,
                                 uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass(className, out);
    if (!qorNameIs(className, kClassName)) walkEnterClass(kClassName, out);
    walkAddInterface("IQorObjectProperty", out);
    Property::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, className))
    *out = self;
  else if (qorNameIs(name, kClassName))
    *out = static_cast<ObjectProperty*>(this);
  else if (qorNameIs(name, "IQorObjectProperty"))
    *out = static_cast<IQorObjectProperty*>(this);
  else
    Property::queryInterface(name, out, reserved);
}

void ObjectProperty::queryInterface(const char* name, void** out, uintptr_t reserved) {
  queryObject(kClassName, this, name, out, reserved);
}

const char* ObjectProperty::typeName() {
  DataObject* v = getValue();
  return v ? v->typeString() : kDataObjectType;
}

void ObjectProperty::printValue(const QorString&, QorString& out) {
  DataObject* v = getValue();
  out = QorString(v ? v->className() : "None");
}

void ObjectProperty::clearValue() {
  IPtr<DataObject> old = value_;
  value_.reset();
  if (!old || !changeHeard()) return;
  qor::EventArgs args;
  IQorPropertyMap* map = args.map();
  if (!map) return;
  map->set("oldValue", old.get());
  map->set("newValue", static_cast<DataObject*>(nullptr));
  fireEvent(QorCString(kBorrow, "property_modified"), args.get());
}

void ObjectProperty::assignFrom(IQorProperty* other) {
  if (!other) return;
  auto* same = qorQuery<ObjectProperty>(other, kClassName);
  if (!same) qor::assignMismatch(this, other);
  setValue(same->getValue());
}

void ObjectProperty::initialize(const QorString& name, DataObject* value, bool readOnly) {
  initializeBase(name, readOnly);
  value_ = value;
}

void ObjectProperty::setValue(DataObject* value) {
  IPtr<DataObject> old = value_;
  value_ = value;
  fireChanged(old.get(), value);
}

bool ObjectProperty::isWriteable() {
  if (!Property::isWriteable() || !value_) return false;
  IQorWriteable* w = qorQuery<IQorWriteable>(value_.get(), "IQorWriteable");
  return w && w->isWriteable();
}

bool ObjectProperty::write(IQorDataModelWriter* writer) {
  writer->beginObject(this, 1);
  Property::write(writer);
  if (value_ && qorQuery<IQorWriteable>(value_.get(), "IQorWriteable")) {
    IQorPersistentRefMap* refs = qor::persistentRefMap();
    writer->write(refs ? refs->getRefId(value_.get()) : uint32_t{0});
  }
  writer->endObject();
  return true;
}

bool ObjectProperty::read(IQorDataModelReader* reader) {
  int32_t version = -1;
  reader->beginObject(this, &version);
  bool result = true;
  if (version == 0) {
    Property::read(reader);
    QorID id = reader->peekObjectId();
    value_.reset();
    void* out = nullptr;
    createInstance(&id, QorCString(kBorrow, "DataObject"), &out);
    if (IPtr<DataObject> made{static_cast<DataObject*>(out)}) {
      result = made->read(reader);
      setValue(made.get());
    }
  } else if (version == 1) {
    Property::read(reader);
    uint32_t refId = 0;
    if (reader->read(refId)) {
      if (IQorPersistentRefMap* refs = qor::persistentRefMap()) {
        waiting_ = true;
        refs->requestRef(refId, this);
      }
    }
  } else {
    qor::logUnknownVersion(this, version);
  }
  reader->endObject();
  return result;
}

void ObjectProperty::refResolved(uint32_t, IQorPersistentRef* ref) {
  waiting_ = false;
  setValue(ref ? qorQuery<DataObject>(ref, "DataObject") : nullptr);
}

namespace qor {
void queueReferencedObjects(IQorProperty* property, IQorPersistentRefMap* refs,
                            IQorWriteQueue* queue) {
  if (!queue) return;
  auto push = [&](DataObject* object) {
    if (object && !(refs && refs->containsRef(object))) queue->push(object);
  };
  if (auto* p = qorQuery<ObjectProperty>(property, "ObjectProperty")) {
    push(p->getValue());
  } else if (auto* a = qorQuery<DataObjectArrayProperty>(property, "DataObjectArrayProperty")) {
    if (DataObjectArray* array = a->getValue())
      for (int32_t i = 0; i < array->size(); ++i) push(array->at(i));
  }
}
}  // namespace qor
