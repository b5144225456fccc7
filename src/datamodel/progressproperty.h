// ProgressProperty: a property whose value is a progress object (IProgress), held with a
// counted reference; typeName "qorapi.datamodel.Progress". It has a class id but no stored
// form: write and read do nothing, and a data object leaves it out of its file. A clone
// shares the object. Every setValue fires, also with the object it already holds.
#pragma once
#include <cstdint>

#include "core/iptr.h"
#include "datamodel/progress.h"
#include "datamodel/property.h"
#include "persistence/qorid.h"

// The typed interface of a progress property, in slot order.
class IProgressProperty : public virtual IQorUnknown {
 public:
  // Stores name, value and read-only flag without firing.
  virtual void initialize(const QorString& name, IProgress* value, bool readOnly) = 0;
  // The object, borrowed, or null.
  virtual IProgress* getValue() = 0;
  // Takes a reference to `value`, drops the old one, and fires.
  virtual void setValue(IProgress* value) = 0;
};

class ProgressProperty : public Property, public IProgressProperty {
 public:
  ProgressProperty(const QorString& name, IProgress* value, bool readOnly, bool withEvents);
  // No name, no object, events on.
  ProgressProperty();
  // Shares the source's object.
  ProgressProperty(const ProgressProperty& other);

  static constexpr const char* kClassName = "ProgressProperty";
  static constexpr const char* kInterfaceName = "IProgressProperty";
  static constexpr const char* kTypeName = "qorapi.datamodel.Progress";
  // b5ec7610-1abd-4d96-949a-b3c2228adb64.
  static QorID classIdentifier();

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return kClassName; }
  const char* typeName() override { return kTypeName; }
  // "Progress\n".
  void printValue(const QorString& name, QorString& out) override;
  Property* clone() override { return new ProgressProperty(*this); }
  // Drops the object, without an event.
  void clearValue() override { value_.reset(); }
  // Takes the other property's object through setValue; another class raises.
  void assignFrom(IQorProperty* other) override;
  int64_t memorySize() override { return static_cast<int64_t>(sizeof(ProgressProperty)); }

  QorID classId() override { return classIdentifier(); }
  // Nothing at all; true.
  bool write(IQorDataModelWriter*) override { return true; }
  bool read(IQorDataModelReader*) override { return true; }

  void initialize(const QorString& name, IProgress* value, bool readOnly) override;
  IProgress* getValue() override { return value_.get(); }
  void setValue(IProgress* value) override;

 private:
  IPtr<IProgress> value_;
};
