// Vector2FProperty: a pair of floats; typeName "qorapi.math.Vector2F". Every setValue fires, also
// with the value it already holds. Stored as a Vector2F chunk.
#pragma once
#include <cstdint>

#include "datamodel/valueproperty.h"
#include "math/vector2f.h"

// The typed interface of a Vector2FProperty, in slot order.
class IQorVector2FProperty : public virtual IQorUnknown {
 public:
  // Stores name, value and read-only flag without firing.
  virtual void initialize(const QorString& name, const Vector2F& value, bool readOnly) = 0;
  // The value, into `out`.
  virtual void getValue(Vector2F& out) = 0;
  // Stores, and fires.
  virtual void setValue(const Vector2F& value) = 0;
};

class Vector2FProperty : public ValueProperty<Vector2FProperty, IQorVector2FProperty, Vector2F> {
 public:
  using ValueProperty::ValueProperty;

  static constexpr const char* kClassName = "Vector2FProperty";
  static constexpr const char* kInterfaceName = "IQorVector2FProperty";
  static constexpr const char* kTypeName = "qorapi.math.Vector2F";
  static constexpr bool kFiresOnSameValue = true;
  static constexpr bool kStored = true;
  // The empty value: the value class's default.
  static Vector2F emptyValue() { return Vector2F(); }
  // c577d4a4-d93b-4448-acac-9abd62afe15c.
  static QorID classIdentifier() {
    return QorID(0xc577d4a4, 0xd93b, 0x4448, {0xac, 0xac, 0x9a, 0xbd, 0x62, 0xaf, 0xe1, 0x5c});
  }
  // The value inside the object chunk.
  static bool writeValue(IQorDataModelWriter* w, const Vector2F& v) { return w->write(v); }
  static bool readValue(IQorDataModelReader* r, Vector2F& v) { return r->read(v); }

  void getValue(Vector2F& out) override { out = value_; }
  // "[%1 %2]", each component as componentText gives it.
  void printValue(const QorString&, QorString& out) override {
    const auto v = currentValue();
    tr(out, "[%1 %2]", qor::componentText(v.x), qor::componentText(v.y));
  }
  // Puts the value back: value_ = Vector2F(0.0f, 0.0f);
  void clearValue() override { value_ = Vector2F(0.0f, 0.0f); }
};
