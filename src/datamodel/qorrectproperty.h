// QorRectProperty: a 2D rectangle; typeName "qorapi.datamodel.QorRect". Every setValue fires, also
// with the value it already holds. Not stored: write and read do nothing at all, not even
// a chunk, so an owner that stores its properties should mark it unwriteable.
#pragma once
#include <cstdint>

#include "datamodel/valueproperty.h"
#include "math/qorrect.h"

// The typed interface of a QorRectProperty, in slot order.
class IQorRectProperty : public virtual IQorUnknown {
 public:
  // Stores name, value and read-only flag without firing.
  virtual void initialize(const QorString& name, const QorRect& value, bool readOnly) = 0;
  // The value, into `out`.
  virtual void getValue(QorRect& out) = 0;
  // Stores, and fires.
  virtual void setValue(const QorRect& value) = 0;
};

class QorRectProperty : public ValueProperty<QorRectProperty, IQorRectProperty, QorRect> {
 public:
  using ValueProperty::ValueProperty;

  static constexpr const char* kClassName = "QorRectProperty";
  static constexpr const char* kInterfaceName = "IQorRectProperty";
  static constexpr const char* kTypeName = "qorapi.datamodel.QorRect";
  static constexpr bool kFiresOnSameValue = true;
  static constexpr bool kStored = false;
  // The empty value: the value class's default.
  static QorRect emptyValue() { return QorRect(); }

  void getValue(QorRect& out) override { out = value_; }
  // an empty text.
  void printValue(const QorString&, QorString& out) override { out = QorString(); }
};
