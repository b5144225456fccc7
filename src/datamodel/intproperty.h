// IntProperty: a 32-bit signed value with bounds. Bounds default to the whole 32-bit range;
// typeName "int".
#pragma once
#include <cstdint>
#include <limits>

#include "datamodel/valueproperty.h"

// The typed interface of an integer property, in slot order.
class IQorIntProperty : public virtual IQorUnknown {
 public:
  // Stores name, value and read-only flag, without bounds check and without firing.
  virtual void initialize(const QorString& name, int32_t value, bool readOnly) = 0;
  // The value, limited to the bounds.
  virtual int32_t getValue() = 0;
  // Checks the bounds, stores, and fires when the value changed.
  virtual void setValue(int32_t value) = 0;
  // The bounds; true.
  virtual bool getBounds(int32_t& minValue, int32_t& maxValue) = 0;
  // Stores the bounds; true.
  virtual bool setBounds(int32_t minValue, int32_t maxValue) = 0;
};

class IntProperty : public NumberProperty<IntProperty, IQorIntProperty, int32_t> {
 public:
  using NumberProperty::NumberProperty;

  static constexpr const char* kClassName = "IntProperty";
  static constexpr const char* kInterfaceName = "IQorIntProperty";
  static constexpr const char* kTypeName = "int";
  static constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
  static constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();
  // 088fe0ea-a8b3-48ab-bca7-7fcb948ac380.
  static QorID classIdentifier() {
    return QorID(0x088fe0ea, 0xa8b3, 0x48ab, {0xbc, 0xa7, 0x7f, 0xcb, 0x94, 0x8a, 0xc3, 0x80});
  }
};
