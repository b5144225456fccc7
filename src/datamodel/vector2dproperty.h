// Vector2DProperty: a pair of doubles; typeName "qorapi.math.Vector2D". Every setValue fires, also
// with the value it already holds. Stored as a Vector2D chunk.
#pragma once
#include <cstdint>

#include "datamodel/valueproperty.h"
#include "math/vector2d.h"

// The typed interface of a Vector2DProperty, in slot order.
class IQorVector2DProperty : public virtual IQorUnknown {
 public:
  // Stores name, value and read-only flag without firing.
  virtual void initialize(const QorString& name, const Vector2D& value, bool readOnly) = 0;
  // The value, into `out`.
  virtual void getValue(Vector2D& out) = 0;
  // Stores, and fires.
  virtual void setValue(const Vector2D& value) = 0;
};

class Vector2DProperty : public ValueProperty<Vector2DProperty, IQorVector2DProperty, Vector2D> {
 public:
  using ValueProperty::ValueProperty;

  static constexpr const char* kClassName = "Vector2DProperty";
  static constexpr const char* kInterfaceName = "IQorVector2DProperty";
  static constexpr const char* kTypeName = "qorapi.math.Vector2D";
  static constexpr bool kFiresOnSameValue = true;
  static constexpr bool kStored = true;
  // The empty value: the value class's default.
  static Vector2D emptyValue() { return Vector2D(); }
  // b1e19ecc-de32-45b6-a797-fdca671ca94a.
  static QorID classIdentifier() {
    return QorID(0xb1e19ecc, 0xde32, 0x45b6, {0xa7, 0x97, 0xfd, 0xca, 0x67, 0x1c, 0xa9, 0x4a});
  }
  // The value inside the object chunk.
  static bool writeValue(IQorDataModelWriter* w, const Vector2D& v) { return w->write(v); }
  static bool readValue(IQorDataModelReader* r, Vector2D& v) { return r->read(v); }

  void getValue(Vector2D& out) override { out = value_; }
  // "[%1 %2]", each component as componentText gives it.
  void printValue(const QorString&, QorString& out) override {
    const auto v = currentValue();
    tr(out, "[%1 %2]", qor::componentText(v.x), qor::componentText(v.y));
  }
  // Puts the value back: value_ = Vector2D(0.0, 0.0);
  void clearValue() override { value_ = Vector2D(0.0, 0.0); }
};
