// Vector3DProperty: a point or direction of three doubles; typeName "qorapi.math.Vector3D". Every
// setValue fires, also with the value it already holds. Stored as a QorVector chunk.
#pragma once
#include <cstdint>

#include "datamodel/valueproperty.h"
#include "math/qorvector.h"

// The typed interface of a Vector3DProperty, in slot order.
class IQorVectorProperty : public virtual IQorUnknown {
 public:
  // Stores name, value and read-only flag without firing.
  virtual void initialize(const QorString& name, const QorVector& value, bool readOnly) = 0;
  // The value, into `out`.
  virtual void getValue(QorVector& out) = 0;
  // Stores, and fires.
  virtual void setValue(const QorVector& value) = 0;
};

class Vector3DProperty : public ValueProperty<Vector3DProperty, IQorVectorProperty, QorVector> {
 public:
  using ValueProperty::ValueProperty;

  static constexpr const char* kClassName = "Vector3DProperty";
  static constexpr const char* kInterfaceName = "IQorVectorProperty";
  static constexpr const char* kTypeName = "qorapi.math.Vector3D";
  static constexpr bool kFiresOnSameValue = true;
  static constexpr bool kStored = true;
  // The empty value: the value class's default.
  static QorVector emptyValue() { return QorVector(); }
  // 76409747-13af-4984-a404-423d6d632dbb.
  static QorID classIdentifier() {
    return QorID(0x76409747, 0x13af, 0x4984, {0xa4, 0x04, 0x42, 0x3d, 0x6d, 0x63, 0x2d, 0xbb});
  }
  // The value inside the object chunk.
  static bool writeValue(IQorDataModelWriter* w, const QorVector& v) { return w->write(v); }
  static bool readValue(IQorDataModelReader* r, QorVector& v) { return r->read(v); }

  void getValue(QorVector& out) override { out = value_; }
  // "[%1 %2 %3]", each component as componentText gives it.
  void printValue(const QorString&, QorString& out) override {
    const auto v = currentValue();
    tr(out, "[%1 %2 %3]", qor::componentText(v.x), qor::componentText(v.y),
       qor::componentText(v.z));
  }
};
