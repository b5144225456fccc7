// QorBoundsProperty: an axis-aligned box; typeName "qorapi.math.QorBounds". Every setValue fires,
// also with the value it already holds. Stored as two QorVector chunks, minimum then maximum.
#pragma once
#include <cstdint>

#include "datamodel/valueproperty.h"
#include "math/qorbounds.h"

// The typed interface of a QorBoundsProperty, in slot order.
class IQorBoundsProperty : public virtual IQorUnknown {
 public:
  // Stores name, value and read-only flag without firing.
  virtual void initialize(const QorString& name, const QorBounds& value, bool readOnly) = 0;
  // The value, into `out`.
  virtual void getValue(QorBounds& out) = 0;
  // Stores, and fires.
  virtual void setValue(const QorBounds& value) = 0;
};

class QorBoundsProperty : public ValueProperty<QorBoundsProperty, IQorBoundsProperty, QorBounds> {
 public:
  using ValueProperty::ValueProperty;

  static constexpr const char* kClassName = "QorBoundsProperty";
  static constexpr const char* kInterfaceName = "IQorBoundsProperty";
  static constexpr const char* kTypeName = "qorapi.math.QorBounds";
  static constexpr bool kFiresOnSameValue = true;
  static constexpr bool kStored = true;
  // The empty value: the value class's default.
  static QorBounds emptyValue() { return QorBounds(); }
  // 4f46f57a-fbe8-47a9-a4e8-f4f02f885f0a.
  static QorID classIdentifier() {
    return QorID(0x4f46f57a, 0xfbe8, 0x47a9, {0xa4, 0xe8, 0xf4, 0xf0, 0x2f, 0x88, 0x5f, 0x0a});
  }
  // The value inside the object chunk.
  static bool writeValue(IQorDataModelWriter* w, const QorBounds& v) {
    return w->write(v.minimum()) && w->write(v.maximum());
  }
  static bool readValue(IQorDataModelReader* r, QorBounds& v) {
    QorVector lo, hi;
    bool ok = r->read(lo) && r->read(hi);
    v.setMinimum(lo);
    v.setMaximum(hi);
    return ok;
  }

  void getValue(QorBounds& out) override { out = value_; }
  // two rows of "[%1 %2 %3]\n", minimum then maximum, each component as componentText
  // gives it.
  void printValue(const QorString&, QorString& out) override {
    const auto v = currentValue();
    QorString lo, hi;
    tr(lo, "[%1 %2 %3]\n", qor::componentText(v.minX), qor::componentText(v.minY),
       qor::componentText(v.minZ));
    tr(hi, "[%1 %2 %3]\n", qor::componentText(v.maxX), qor::componentText(v.maxY),
       qor::componentText(v.maxZ));
    out = lo;
    out += hi;
  }
};
