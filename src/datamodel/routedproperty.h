// Routed properties: a property whose value is held by its owner. Reads call the owner's
// getter, writes its setter, through message routers; the property stores nothing and
// fires nothing itself. An owner that wants "property_modified" fires it from its setter.
//
// A routed property is not stored in files (writeable is false from construction on), and
// its clone is a plain property of the base class holding the value of that moment.
// A router points at its owner raw: the property must not be used once its owner's
// destruction has begun.
#pragma once
#include <type_traits>

#include "datamodel/dataobject.h"
#include "datamodel/messagerouter.h"
#include "datamodel/objectproperty.h"
#include "datamodel/valueproperty.h"

namespace qor {
// Whether a property class has bounds (IntProperty, DoubleProperty).
template <class Base, class T>
concept BoundedProperty = requires(Base b, T v) {
  b.getBounds(v, v);
};
}  // namespace qor

// What every routed value property shares: the two routers and the write path.
template <class T, class Base>
class RoutedPropertyCore : public Base {
 public:
  using Getter = QorRetMsgBase<T, void*, void*, void*, void*>;
  using Setter = QorSingleMsgBase<T>;
  using Param = qor::PropertyParam<T>;

  // `getter` is required; `setter` may be null for a value that cannot be set. Both are
  // owned. Events are on, the idle value stays at the default, and writeable is false.
  RoutedPropertyCore(const QorString& name, bool readOnly, Getter* getter, Setter* setter)
      : Base(name, readOnly), getter_(getter), setter_(setter) {
    this->setWriteable(false);
  }
  ~RoutedPropertyCore() override {
    delete getter_;
    delete setter_;
  }
  RoutedPropertyCore(const RoutedPropertyCore&) = delete;
  RoutedPropertyCore& operator=(const RoutedPropertyCore&) = delete;

  // Bounds first (for int and double), then the owner's setter; without a setter the
  // write has no effect. There is no comparison with the present value.
  void setValue(Param value) override {
    if constexpr (qor::BoundedProperty<Base, T>) this->checkBounds(value);
    if (setter_) setter_->call(value);
  }

 protected:
  T routedValue() const { return getter_->call(); }

 private:
  Getter* getter_;
  Setter* setter_;
};

// The routed form of a property class: numbers and bool read by value, class values
// through an out parameter, as the base's interface has them.
template <class T, class Base, class Owner, bool Scalar = std::is_scalar_v<T>>
class RoutedPropertyTemplate;

template <class T, class Base, class Owner>
class RoutedPropertyTemplate<T, Base, Owner, true> : public RoutedPropertyCore<T, Base> {
 public:
  using RoutedPropertyCore<T, Base>::RoutedPropertyCore;
  T getValue() override { return this->routedValue(); }
};

template <class T, class Base, class Owner>
class RoutedPropertyTemplate<T, Base, Owner, false> : public RoutedPropertyCore<T, Base> {
 public:
  using RoutedPropertyCore<T, Base>::RoutedPropertyCore;
  void getValue(T& out) override { out = this->routedValue(); }
};

// The routed form of an object property: the owner's getter gives a T*, which reads as its
// DataObject view; a value set is queried as `valueClass` ("Model" for a model property,
// "DataObject" by default) and passed to the owner's setter, null as null.
template <class T, class Base, class Owner>
class RoutedObjectPropertyTemplate : public Base {
 public:
  using Getter = QorRetMsgBase<T*, void*, void*, void*, void*>;
  using Setter = QorSingleMsgBase<T*>;

  // `getter` is required, `setter` may be null; both are owned. Not stored in files.
  RoutedObjectPropertyTemplate(const QorString& name, bool readOnly, Getter* getter, Setter* setter,
                               const char* valueClass = "DataObject")
      : Base(name, readOnly, true), getter_(getter), setter_(setter), valueClass_(valueClass) {
    this->setWriteable(false);
  }
  ~RoutedObjectPropertyTemplate() override {
    delete getter_;
    delete setter_;
  }
  RoutedObjectPropertyTemplate(const RoutedObjectPropertyTemplate&) = delete;
  RoutedObjectPropertyTemplate& operator=(const RoutedObjectPropertyTemplate&) = delete;

  DataObject* getValue() override {
    T* value = getter_->call();
    return value ? qorQuery<DataObject>(value, "DataObject") : nullptr;
  }
  void setValue(DataObject* value) override {
    if (!setter_) return;
    setter_->call(value ? qorQuery<T>(value, valueClass_) : nullptr);
  }

 private:
  Getter* getter_;
  Setter* setter_;
  const char* valueClass_;
};
