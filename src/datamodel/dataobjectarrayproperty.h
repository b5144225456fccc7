// DataObjectArrayProperty: a property whose value is an array of data objects. In a file it
// stores the count and each element's number; reading makes a new array of nulls and fills
// each position as its object is read.
#pragma once
#include <cstdint>

#include "base/iterstack.h"
#include "core/iptr.h"
#include "datamodel/property.h"
#include "hostapi/iqorpersistentrefmap.h"

class DataObjectArray;

// The typed interface of an array property, in slot order.
class IQorDataObjectArrayProperty : public virtual IQorUnknown {
 public:
  virtual void initialize(const QorString& name, DataObjectArray* value, bool readOnly) = 0;
  // The array, borrowed, or null.
  virtual DataObjectArray* getValue() = 0;
  // Takes a reference to `value`, drops the old one and fires "property_modified".
  virtual void setValue(DataObjectArray* value) = 0;
};

class DataObjectArrayProperty : public Property,
                                public IQorDataObjectArrayProperty,
                                public IQorPersistentRefCallback {
 public:
  DataObjectArrayProperty(const QorString& name, DataObjectArray* value, bool readOnly,
                          bool withEvents);
  DataObjectArrayProperty(const QorString& name, bool readOnly, bool withEvents);
  DataObjectArrayProperty();
  // A new array holding the same objects.
  DataObjectArrayProperty(const DataObjectArrayProperty& other);
  // Cancels positions still waiting to be resolved.
  ~DataObjectArrayProperty() override;

  static constexpr const char* kClassName = "DataObjectArrayProperty";
  static constexpr const char* kTypeName = "qorapi.datamodel.DataObjectArray";
  // ebdae88c-5739-466c-ae45-b12a17cf5b44.
  static QorID classIdentifier();

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return kClassName; }
  const char* typeName() override { return kTypeName; }
  // Empty text.
  void printValue(const QorString& name, QorString& out) override;
  Property* clone() override { return new DataObjectArrayProperty(*this); }
  // Drops the array, without an event.
  void clearValue() override;
  void assignFrom(IQorProperty* other) override;
  int64_t memorySize() override { return static_cast<int64_t>(sizeof(DataObjectArrayProperty)); }

  void initialize(const QorString& name, DataObjectArray* value, bool readOnly) override;
  DataObjectArray* getValue() override { return value_.get(); }
  void setValue(DataObjectArray* value) override;

  QorID classId() override { return classIdentifier(); }
  // Version 1: the count, then each element's number. Without an array the count is -1,
  // which reads back as no array.
  bool write(IQorDataModelWriter* writer) override;
  bool read(IQorDataModelReader* reader) override;
  // Fills every position that waits for `refId`.
  void refResolved(uint32_t refId, IQorPersistentRef* ref) override;

 private:
  IPtr<DataObjectArray> value_;
  IterStack<int32_t> pendingIds_{20};
  bool waiting_ = false;
};
