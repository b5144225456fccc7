#include "datamodel/dataobjectarray.h"

#include "core/listing.h"
#include "datamodel/dataobject.h"

DataObjectArray::DataObjectArray() : observers_(20) {}

DataObjectArray::DataObjectArray(int32_t capacity)
    : elements_(capacity > 0 ? capacity : 0), observers_(20) {}

DataObjectArray::DataObjectArray(const DataObjectArray& other)
    : IQorUnknown(),
      Collection(other),
      IQorDataObjectArray(),
      elements_(other.elements_),
      observers_(other.observers_) {
  // A stack copy copies the slots up to its own capacity; entries past the count must not
  // hold references.
  for (int32_t i = elements_.count() + 1; i < elements_.capacity(); ++i)
    elements_.items()[i].reset();
}

DataObjectArray::~DataObjectArray() = default;

void DataObjectArray::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("DataObjectArray", out);
    walkAddInterface("IQorDataObjectArray", out);
    Primitive::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "DataObjectArray"))
    *out = this;
  else if (qorNameIs(name, "IQorDataObjectArray"))
    *out = static_cast<IQorDataObjectArray*>(this);
  else
    Primitive::queryInterface(name, out, reserved);
}

bool DataObjectArray::next() {
  return ++cursor_ <= elements_.count();
}

DataObject* DataObjectArray::current() {
  return elements_.get(cursor_).get();
}

DataObject* DataObjectArray::at(int32_t index) const {
  int32_t slot = ZeroToOneIndexConverter::toOneBased(index);
  checkIndex(slot, 1, elements_.count());
  return elements_.get(slot).get();
}

DataObject* DataObjectArray::at(int32_t index) {
  return static_cast<const DataObjectArray*>(this)->at(index);
}

void DataObjectArray::set(int32_t index, DataObject* object) {
  int32_t slot = ZeroToOneIndexConverter::toOneBased(index);
  checkReadOnly();
  checkIndex(slot, 1, elements_.count());
  IPtr<DataObject> old = elements_.get(slot);
  elements_.at(slot) = object;
  for (int32_t i = 1; i <= observers_.count(); ++i)
    if (old) observers_.get(i)->elementRemoved(old.get(), index);
  for (int32_t i = 1; i <= observers_.count(); ++i) observers_.get(i)->elementAdded(object, index);
}

void DataObjectArray::append(DataObject* object) {
  checkReadOnly();
  checkFixedSize();
  elements_.push(IPtr<DataObject>(object));
  int32_t index = elements_.count() - 1;
  for (int32_t i = 1; i <= observers_.count(); ++i) observers_.get(i)->elementAdded(object, index);
}

DataObject* DataObjectArray::pop() {
  checkReadOnly();
  checkFixedSize();
  checkIndex(1, 1, elements_.count());
  // The slot keeps its reference until it is written again, so the object stays valid for
  // the caller.
  DataObject* object = elements_.get(elements_.count()).get();
  elements_.setCount(elements_.count() - 1);
  for (int32_t i = 1; i <= observers_.count(); ++i)
    observers_.get(i)->elementRemoved(object, elements_.count());
  return object;
}

void DataObjectArray::insertAt(int32_t index, DataObject* object) {
  int32_t slot = ZeroToOneIndexConverter::toOneBased(index);
  checkReadOnly();
  checkFixedSize();
  checkIndex(slot, 1, elements_.count() + 1);
  int32_t n = elements_.count() + 1;
  elements_.at(n);  // grows when needed
  elements_.setCount(n);
  IPtr<DataObject>* items = elements_.items();
  for (int32_t k = n; k > slot; --k) items[k] = std::move(items[k - 1]);
  items[slot] = object;
  for (int32_t i = 1; i <= observers_.count(); ++i) observers_.get(i)->elementAdded(object, index);
}

void DataObjectArray::removeAt(int32_t index) {
  int32_t slot = ZeroToOneIndexConverter::toOneBased(index);
  checkReadOnly();
  checkFixedSize();
  checkIndex(slot, 1, elements_.count());
  IPtr<DataObject> old = std::move(elements_.items()[slot]);
  int32_t n = elements_.count();
  IPtr<DataObject>* items = elements_.items();
  for (int32_t k = slot; k < n; ++k) items[k] = std::move(items[k + 1]);
  items[n].reset();
  elements_.setCount(n - 1);
  if (old)
    for (int32_t i = 1; i <= observers_.count(); ++i)
      observers_.get(i)->elementRemoved(old.get(), index);
}

int32_t DataObjectArray::indexOf(DataObject* object) {
  for (int32_t k = elements_.count(); k >= 1; --k)
    if (elements_.get(k).get() == object) return ZeroToOneIndexConverter::toZeroBased(k);
  return -1;
}

void DataObjectArray::clear() {
  checkReadOnly();
  checkFixedSize();
  for (int32_t k = 0; k < elements_.capacity(); ++k) elements_.items()[k].reset();
  elements_.clear();
  for (int32_t i = 1; i <= observers_.count(); ++i) observers_.get(i)->arrayCleared();
}

IQorDataObjectIter* DataObjectArray::newIterator() {
  return new DataObjectIter(elements_);
}

void DataObjectArray::addObserver(IQorDataObjectArrayObserver* observer) {
  observers_.push(observer);
}

void DataObjectArray::removeObserver(IQorDataObjectArrayObserver* observer) {
  for (int32_t k = observers_.count(); k >= 1; --k)
    if (observers_.get(k) == observer) {
      observers_.removeAt(k);
      return;
    }
}

DataObjectIter::DataObjectIter(const IterStack<IPtr<DataObject>>& elements) : elements_(elements) {
  for (int32_t i = elements_.count() + 1; i < elements_.capacity(); ++i)
    elements_.items()[i].reset();
}

void DataObjectIter::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("DataObjectIter", out);
    walkAddInterface("IQorDataObjectIter", out);
    Primitive::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "DataObjectIter"))
    *out = this;
  else if (qorNameIs(name, "IQorDataObjectIter"))
    *out = static_cast<IQorDataObjectIter*>(this);
  else
    Primitive::queryInterface(name, out, reserved);
}

DataObject* DataObjectIter::current() {
  return elements_.get(position_).get();
}
