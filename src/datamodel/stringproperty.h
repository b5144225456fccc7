// StringProperty: a text of 16-bit units; typeName "string". Every setValue fires, also
// with the text the property already holds.
#pragma once
#include <cstdint>

#include "datamodel/valueproperty.h"

// The typed interface of a text property, in slot order.
class IQorStringProperty : public virtual IQorUnknown {
 public:
  // Stores name, value and read-only flag without firing.
  virtual void initialize(const QorString& name, const QorString& value, bool readOnly) = 0;
  // The text, into `out`.
  virtual void getValue(QorString& out) = 0;
  // Stores, and fires.
  virtual void setValue(const QorString& value) = 0;
};

class StringProperty : public ValueProperty<StringProperty, IQorStringProperty, QorString> {
 public:
  using ValueProperty::ValueProperty;

  static constexpr const char* kClassName = "StringProperty";
  static constexpr const char* kInterfaceName = "IQorStringProperty";
  static constexpr const char* kTypeName = "string";
  static constexpr bool kFiresOnSameValue = true;
  static constexpr bool kStored = true;
  static QorString emptyValue() { return QorString(); }
  // fa1d9222-ba5e-4ce3-a8bf-7743692b3077.
  static QorID classIdentifier() {
    return QorID(0xfa1d9222, 0xba5e, 0x4ce3, {0xa8, 0xbf, 0x77, 0x43, 0x69, 0x2b, 0x30, 0x77});
  }
  // A QorString chunk.
  static bool writeValue(IQorDataModelWriter* w, const QorString& v) { return w->write(v); }
  static bool readValue(IQorDataModelReader* r, QorString& v) { return r->read(v); }

  void getValue(QorString& out) override { out = value_; }
  // "%1": the text itself.
  void printValue(const QorString&, QorString& out) override {
    const auto v = currentValue();
    tr(out, "%1", v);
  }
};
