// Transform3DProperty: a 4x4 transformation matrix; typeName "qorapi.math.Transform3D". Every
// setValue fires, also with the value it already holds. Stored as a Transform3D chunk.
#pragma once
#include <cstdint>

#include "datamodel/valueproperty.h"
#include "math/qormatrix.h"

// The typed interface of a Transform3DProperty, in slot order.
class IQorMatrixProperty : public virtual IQorUnknown {
 public:
  // Stores name, value and read-only flag without firing.
  virtual void initialize(const QorString& name, const QorMatrix& value, bool readOnly) = 0;
  // The value, into `out`.
  virtual void getValue(QorMatrix& out) = 0;
  // Stores, and fires.
  virtual void setValue(const QorMatrix& value) = 0;
};

class Transform3DProperty
    : public ValueProperty<Transform3DProperty, IQorMatrixProperty, QorMatrix> {
 public:
  using ValueProperty::ValueProperty;

  static constexpr const char* kClassName = "Transform3DProperty";
  static constexpr const char* kInterfaceName = "IQorMatrixProperty";
  static constexpr const char* kTypeName = "qorapi.math.Transform3D";
  static constexpr bool kFiresOnSameValue = true;
  static constexpr bool kStored = true;
  // The empty value: the value class's default.
  static QorMatrix emptyValue() { return QorMatrix(); }
  // 282da26b-ec7c-441a-9e6a-c9047a2ac39b.
  static QorID classIdentifier() {
    return QorID(0x282da26b, 0xec7c, 0x441a, {0x9e, 0x6a, 0xc9, 0x04, 0x7a, 0x2a, 0xc3, 0x9b});
  }
  // The value inside the object chunk.
  static bool writeValue(IQorDataModelWriter* w, const QorMatrix& v) { return w->write(v); }
  static bool readValue(IQorDataModelReader* r, QorMatrix& v) { return r->read(v); }

  void getValue(QorMatrix& out) override { out = value_; }
  // four rows of "[%1 %2 %3 %4]\n", each number with two decimals.
  void printValue(const QorString&, QorString& out) override {
    const auto v = currentValue();
    qor::matrixText(v, out);
  }
  // Puts the value back: value_ = QorMatrix::identity();
  void clearValue() override { value_ = QorMatrix::identity(); }
};
