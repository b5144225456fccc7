#include "datamodel/dataobjectarrayproperty.h"

#include "core/listing.h"
#include "datamodel/dataobject.h"
#include "datamodel/dataobjectarray.h"
#include "datamodel/valueproperty.h"
#include "persistence/iqordatamodel.h"

DataObjectArrayProperty::DataObjectArrayProperty(const QorString& name, DataObjectArray* value,
                                                 bool readOnly, bool withEvents)
    : Property(name, readOnly, withEvents), value_(value) {}

DataObjectArrayProperty::DataObjectArrayProperty(const QorString& name, bool readOnly,
                                                 bool withEvents)
    : Property(name, readOnly, withEvents) {}

DataObjectArrayProperty::DataObjectArrayProperty() : Property(false, true) {}

DataObjectArrayProperty::DataObjectArrayProperty(const DataObjectArrayProperty& other)
    : IQorUnknown(), Property(other), IQorDataObjectArrayProperty(), IQorPersistentRefCallback() {
  if (other.value_) value_ = new DataObjectArray(*other.value_);
}

DataObjectArrayProperty::~DataObjectArrayProperty() {
  if (waiting_)
    if (IQorPersistentRefMap* refs = qor::persistentRefMap()) refs->cancelRequests(this);
}

QorID DataObjectArrayProperty::classIdentifier() {
  return QorID(0xebdae88c, 0x5739, 0x466c, {0xae, 0x45, 0xb1, 0x2a, 0x17, 0xcf, 0x5b, 0x44});
}

void DataObjectArrayProperty::queryInterface(const char* name, void** out, uintptr_t reserved) {
  queryTyped(kClassName, this, "IQorDataObjectArrayProperty",
             static_cast<IQorDataObjectArrayProperty*>(this), name, out, reserved);
}

void DataObjectArrayProperty::printValue(const QorString&, QorString& out) {
  out = QorString();
}

void DataObjectArrayProperty::clearValue() {
  value_.reset();
}

void DataObjectArrayProperty::assignFrom(IQorProperty* other) {
  if (!other) return;
  auto* same = qorQuery<DataObjectArrayProperty>(other, kClassName);
  if (!same) qor::assignMismatch(this, other);
  setValue(same->getValue());
}

void DataObjectArrayProperty::initialize(const QorString& name, DataObjectArray* value,
                                         bool readOnly) {
  initializeBase(name, readOnly);
  value_ = value;
}

void DataObjectArrayProperty::setValue(DataObjectArray* value) {
  IPtr<DataObjectArray> old = value_;
  value_ = value;
  fireValueChanged<DataObjectArrayProperty, DataObjectArray*>(old.get(), value);
}

bool DataObjectArrayProperty::write(IQorDataModelWriter* writer) {
  writer->beginObject(this, 1);
  if (!value_) {
    writer->write(int32_t{-1});
  } else {
    IQorPersistentRefMap* refs = qor::persistentRefMap();
    writer->write(value_->size());
    for (int32_t i = 0; i < value_->size(); ++i) {
      DataObject* element = value_->at(i);
      writer->write(refs && element ? refs->getRefId(element) : uint32_t{0});
    }
  }
  writer->endObject();
  return true;
}

bool DataObjectArrayProperty::read(IQorDataModelReader* reader) {
  int32_t version = -1;
  reader->beginObject(this, &version);
  if (version == 0) {
    Property::read(reader);
  } else if (version >= 1) {
    int32_t count = 0;
    if (reader->read(count) && count >= 0) {
      // Room for what the file can hold at most: a corrupt count must not reserve gigabytes.
      IPtr<DataObjectArray> array(new DataObjectArray(count < 4096 ? count : 4096));
      setValue(array.get());
      // Positions of an earlier read are forgotten.
      pendingIds_.clear();
      IQorPersistentRefMap* refs = qor::persistentRefMap();
      for (int32_t i = 0; i < count && reader->good(); ++i) {
        array->append(nullptr);
        uint32_t refId = 0;
        reader->read(refId);
        pendingIds_.push(static_cast<int32_t>(refId));
        if (refs && refId != 0) {
          waiting_ = true;
          refs->requestRef(refId, this);
        }
      }
    }
  } else {
    qor::logUnknownVersion(this, version);
  }
  reader->endObject();
  return true;
}

void DataObjectArrayProperty::refResolved(uint32_t refId, IQorPersistentRef* ref) {
  if (!value_ || refId == 0) return;
  DataObject* object = ref ? qorQuery<DataObject>(ref, "DataObject") : nullptr;
  for (int32_t k = 1; k <= pendingIds_.count(); ++k)
    if (pendingIds_.get(k) == static_cast<int32_t>(refId) && k <= value_->size()) {
      pendingIds_.at(k) = 0;
      value_->set(k - 1, object);
    }
}
