// BoolProperty: a truth value; typeName "bool". Setting the value it already holds fires
// nothing.
#pragma once
#include <cstdint>

#include "datamodel/valueproperty.h"

// The typed interface of a truth-value property, in slot order.
class IQorBoolProperty : public virtual IQorUnknown {
 public:
  // Stores name, value and read-only flag without firing.
  virtual void initialize(const QorString& name, bool value, bool readOnly) = 0;
  virtual bool getValue() = 0;
  // Stores, and fires when the value changed.
  virtual void setValue(bool value) = 0;
};

class BoolProperty : public ValueProperty<BoolProperty, IQorBoolProperty, bool> {
 public:
  using ValueProperty::ValueProperty;

  static constexpr const char* kClassName = "BoolProperty";
  static constexpr const char* kInterfaceName = "IQorBoolProperty";
  static constexpr const char* kTypeName = "bool";
  static constexpr bool kFiresOnSameValue = false;
  static constexpr bool kStored = true;
  static bool emptyValue() { return false; }
  // bb34609a-22fd-4eb0-909c-7e7bc819515c.
  static QorID classIdentifier() {
    return QorID(0xbb34609a, 0x22fd, 0x4eb0, {0x90, 0x9c, 0x7e, 0x7b, 0xc8, 0x19, 0x51, 0x5c});
  }
  // One bare signed byte, 0 or 1.
  static bool writeValue(IQorDataModelWriter* w, bool v) {
    return w->write(static_cast<int8_t>(v ? 1 : 0));
  }
  // Any non-zero byte reads as true.
  static bool readValue(IQorDataModelReader* r, bool& v) {
    int8_t b = 0;
    bool ok = r->read(b);
    v = b != 0;
    return ok;
  }

  bool getValue() override { return value_; }
  // "%1" with the value as 0 or 1.
  void printValue(const QorString&, QorString& out) override {
    const auto v = currentValue();
    tr(out, "%1", QorString(int32_t{v ? 1 : 0}));
  }
};
