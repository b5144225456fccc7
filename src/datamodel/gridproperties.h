// Properties whose value is a host grid object reached only by pointer: QorGridPointProperty
// and GridIndexProperty. They hold the pointer raw, keep nothing alive, and have no stored
// form (a data object leaves them out of its file). Every setValue fires, also with the
// pointer the property already holds.
#pragma once
#include <cstdint>

#include "datamodel/valueproperty.h"

class QorGridPoint;
class GridIndex;

// The typed interface of a grid point property, in slot order.
class IQorGridPointProperty : public virtual IQorUnknown {
 public:
  virtual void initialize(const QorString& name, QorGridPoint* value, bool readOnly) = 0;
  // The pointer, or null.
  virtual QorGridPoint* getValue() = 0;
  virtual void setValue(QorGridPoint* value) = 0;
};

// The typed interface of a grid index property, in slot order; the fourteenth operation
// of the property is its own copy.
class IQorGridIndexProperty : public virtual IQorUnknown {
 public:
  virtual void initialize(const QorString& name, GridIndex* value, bool readOnly) = 0;
  virtual GridIndex* getValue() = 0;
  virtual void setValue(GridIndex* value) = 0;
};

namespace qor {
// A pointer property of class Self: shares the pointer on copy, prints nothing, clears to
// null, fires on every set.
template <class Self, class Iface, class T>
class PointerProperty : public Property, public Iface {
 public:
  PointerProperty(const QorString& name, T* value, bool readOnly, bool withEvents)
      : Property(name, readOnly, withEvents), value_(value) {}
  PointerProperty(const QorString& name, bool readOnly, bool withEvents)
      : Property(name, readOnly, withEvents) {}
  PointerProperty() : Property(false, true) {}
  PointerProperty(const PointerProperty& other)
      : IQorUnknown(), Property(other), Iface(), value_(other.value_) {}

  void queryInterface(const char* name, void** out, uintptr_t reserved) override {
    queryTyped(Self::kClassName, static_cast<Self*>(this), Self::kInterfaceName,
               static_cast<Iface*>(this), name, out, reserved);
  }
  const char* className() override { return Self::kClassName; }
  const char* typeName() override { return Self::kTypeName; }
  // Empty text.
  void printValue(const QorString&, QorString& out) override { out = QorString(); }
  void clearValue() override { value_ = nullptr; }
  // Takes the other property's pointer through setValue.
  void assignFrom(IQorProperty* other) override {
    if (!other) return;
    Self* same = qorQuery<Self>(other, Self::kClassName);
    if (!same) assignMismatch(this, other);
    setValue(same->getValue());
  }
  int64_t memorySize() override { return static_cast<int64_t>(sizeof(Self)); }

  void initialize(const QorString& name, T* value, bool readOnly) override {
    initializeBase(name, readOnly);
    value_ = value;
  }
  T* getValue() override { return value_; }
  void setValue(T* value) override {
    T* old = value_;
    value_ = value;
    this->template fireValueChanged<Self, T*>(old, value);
  }

 protected:
  T* value_ = nullptr;
};
}  // namespace qor

class QorGridPointProperty
    : public qor::PointerProperty<QorGridPointProperty, IQorGridPointProperty, QorGridPoint> {
 public:
  using PointerProperty::PointerProperty;
  static constexpr const char* kClassName = "QorGridPointProperty";
  static constexpr const char* kInterfaceName = "IQorGridPointProperty";
  static constexpr const char* kTypeName = "qorapi.datamodel.QorGridPoint";
  // A copy sharing the pointer.
  Property* clone() override { return new QorGridPointProperty(*this); }
};

class GridIndexProperty
    : public qor::PointerProperty<GridIndexProperty, IQorGridIndexProperty, GridIndex> {
 public:
  using PointerProperty::PointerProperty;
  static constexpr const char* kClassName = "GridIndexProperty";
  static constexpr const char* kInterfaceName = "IQorGridIndexProperty";
  static constexpr const char* kTypeName = "qorapi.datamodel.GridIndex";
  // clone stays the plain Property one (typeName "Invalid"); copy shares the pointer.
  virtual GridIndexProperty* copy() { return new GridIndexProperty(*this); }
};
