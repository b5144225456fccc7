// DoubleProperty: a 64-bit real with bounds. Bounds default to minus and plus the largest
// finite double; typeName "double".
#pragma once
#include <cstdint>
#include <limits>

#include "datamodel/valueproperty.h"

// The typed interface of a real property, in slot order.
class IQorDoubleProperty : public virtual IQorUnknown {
 public:
  // Stores name, value and read-only flag, without bounds check and without firing.
  virtual void initialize(const QorString& name, double value, bool readOnly) = 0;
  // The value, limited to the bounds.
  virtual double getValue() = 0;
  // Checks the bounds (a NaN passes), stores, and fires when the value changed.
  virtual void setValue(double value) = 0;
  // The bounds; true.
  virtual bool getBounds(double& minValue, double& maxValue) = 0;
  // Stores the bounds; true.
  virtual bool setBounds(double minValue, double maxValue) = 0;
};

class DoubleProperty : public NumberProperty<DoubleProperty, IQorDoubleProperty, double> {
 public:
  using NumberProperty::NumberProperty;

  static constexpr const char* kClassName = "DoubleProperty";
  static constexpr const char* kInterfaceName = "IQorDoubleProperty";
  static constexpr const char* kTypeName = "double";
  static constexpr double kLowest = -std::numeric_limits<double>::max();
  static constexpr double kHighest = std::numeric_limits<double>::max();
  // e81c94c1-0860-4244-9491-40e93b2246bb.
  static QorID classIdentifier() {
    return QorID(0xe81c94c1, 0x0860, 0x4244, {0x94, 0x91, 0x40, 0xe9, 0x3b, 0x22, 0x46, 0xbb});
  }
};
