// QorQuaternionProperty: a quaternion; typeName "qorapi.datamodel.QorQuaternion". Every setValue
// fires, also with the value it already holds. Not stored: write and read do nothing at all, not
// even a chunk, so an owner that stores its properties should mark it unwriteable.
#pragma once
#include <cstdint>

#include "datamodel/valueproperty.h"
#include "math/qorquaternion.h"

// The typed interface of a QorQuaternionProperty, in slot order.
class IQorQuaternionProperty : public virtual IQorUnknown {
 public:
  // Stores name, value and read-only flag without firing.
  virtual void initialize(const QorString& name, const QorQuaternion& value, bool readOnly) = 0;
  // The value, into `out`.
  virtual void getValue(QorQuaternion& out) = 0;
  // Stores, and fires.
  virtual void setValue(const QorQuaternion& value) = 0;
};

class QorQuaternionProperty
    : public ValueProperty<QorQuaternionProperty, IQorQuaternionProperty, QorQuaternion> {
 public:
  using ValueProperty::ValueProperty;

  static constexpr const char* kClassName = "QorQuaternionProperty";
  static constexpr const char* kInterfaceName = "IQorQuaternionProperty";
  static constexpr const char* kTypeName = "qorapi.datamodel.QorQuaternion";
  static constexpr bool kFiresOnSameValue = true;
  static constexpr bool kStored = false;
  // The empty value: the value class's default.
  static QorQuaternion emptyValue() { return QorQuaternion(); }

  void getValue(QorQuaternion& out) override { out = value_; }
  // an empty text.
  void printValue(const QorString&, QorString& out) override { out = QorString(); }
};
