// The two shapes shared by the typed property classes, written once:
//   NumberProperty<Self, Iface, V>  a number with bounds (IntProperty, DoubleProperty)
//   ValueProperty<Self, Iface, V>   a value without bounds (BoolProperty, StringProperty,
//                                   the vector, matrix, box, colour and material classes)
// A concrete class derives from one of them and states, as static members:
//   kClassName, kInterfaceName, kTypeName  its query names and its typeName literal
//   kFiresOnSameValue                      whether setValue fires when the value is equal
//   kStored                                whether it writes a chunk at all
//   classIdentifier()                      its class identifier (only when kStored)
//   writeValue(writer, value), readValue(reader, value)  the value inside the object chunk
// and it implements its interface's getValue, and printValue and clearValue.
#pragma once
#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "core/translate.h"
#include "datamodel/property.h"
#include "persistence/iqordatamodel.h"

class QorMatrix;

namespace qor {
// How a value travels through a typed interface: numbers and bool by value, classes by
// const reference.
template <class V>
using PropertyParam = std::conditional_t<std::is_scalar_v<V>, V, const V&>;

// A vector component as text: "+INF" above 1.7014117331926443e38, "-INF" below its
// negative, otherwise the number with two decimals.
QorString componentText(double value);
// A matrix as four rows of "[%1 %2 %3 %4]\n", each number with two decimals.
void matrixText(const QorMatrix& m, QorString& out);

// Raises the code-3 error of an assignFrom between properties of different classes.
[[noreturn]] void assignMismatch(IQorProperty* target, IQorProperty* source);
}  // namespace qor

// A number property with bounds: setValue rejects a value outside [minValue, maxValue]
// with a class error, getValue limits the stored value to the bounds.
template <class Self, class Iface, class V>
class NumberProperty : public Property, public Iface {
 public:
  // `name` holding `value`, with the widest bounds.
  NumberProperty(const QorString& name, V value, bool readOnly, bool withEvents)
      : Property(name, readOnly, withEvents), value_(value) {}
  // `name` holding `value` within [minValue, maxValue]; the value is not checked.
  NumberProperty(const QorString& name, V value, bool readOnly, V minValue, V maxValue,
                 bool withEvents)
      : Property(name, readOnly, withEvents), value_(value), min_(minValue), max_(maxValue) {}
  // `name` holding 0, widest bounds, events on.
  NumberProperty(const QorString& name, bool readOnly) : Property(name, readOnly, true) {}
  // No name, 0, widest bounds, events on.
  NumberProperty() : Property(false, true) {}
  // The source's value as its getValue gives it, and its bounds.
  NumberProperty(const NumberProperty& other)
      : IQorUnknown(),
        Property(other),
        Iface(),
        value_(const_cast<NumberProperty&>(other).getValue()),
        min_(other.min_),
        max_(other.max_) {}

  void queryInterface(const char* name, void** out, uintptr_t reserved) override {
    queryTyped(Self::kClassName, static_cast<Self*>(this), Self::kInterfaceName,
               static_cast<Iface*>(this), name, out, reserved);
  }
  const char* className() override { return Self::kClassName; }
  const char* typeName() override { return Self::kTypeName; }

  // Stores all three without bounds check and without firing.
  void initialize(const QorString& name, V value, bool readOnly) override {
    initializeBase(name, readOnly);
    value_ = value;
  }
  // minValue when the stored value is below it, else the smaller of the value and
  // maxValue. A stored NaN reads back as NaN.
  V getValue() override {
    if (value_ < min_) return min_;
    return max_ < value_ ? max_ : value_;
  }
  // Rejects a value outside the bounds (a NaN passes); otherwise stores it and, when it
  // differs from the old value as getValue read it, fires "property_modified". There is no
  // read-only test here: owners may always update their own values.
  void setValue(V value) override {
    checkBounds(value);
    const V old = getValue();
    value_ = value;
    if (value != old) this->template fireValueChanged<Self, V>(old, value);
  }
  // The two bounds; true.
  bool getBounds(V& minValue, V& maxValue) override {
    minValue = min_;
    maxValue = max_;
    return true;
  }
  // Stores the bounds as given: no look at the value, no ordering check, no event.
  bool setBounds(V minValue, V maxValue) override {
    min_ = minValue;
    max_ = maxValue;
    return true;
  }

  // The value as "%1" into `out`.
  void printValue(const QorString&, QorString& out) override {
    tr(out, "%1", QorString(getValue()));
  }
  Property* clone() override { return new Self(static_cast<const Self&>(*this)); }
  // Takes the value of a property of the same class through setValue, so bounds and
  // events apply. A property of another class raises code 3; a null one does nothing.
  void assignFrom(IQorProperty* other) override {
    if (!other) return;
    Self* same = qorQuery<Self>(other, Self::kClassName);
    if (!same) qor::assignMismatch(this, other);
    setValue(same->getValue());
  }
  int64_t memorySize() override { return static_cast<int64_t>(sizeof(Self)); }

  QorID classId() override { return Self::classIdentifier(); }
  // An object chunk of version 0 holding the bare value (as getValue reads it).
  bool write(IQorDataModelWriter* writer) override {
    writer->beginObject(this, 0);
    Property::write(writer);
    writer->write(getValue());
    writer->endObject();
    return true;
  }
  // Version 0: the value goes through setValue, so bounds apply and the change fires. Any
  // other version leaves the value; the chunk's close skips its content.
  bool read(IQorDataModelReader* reader) override {
    int32_t version = -1;
    reader->beginObject(this, &version);
    if (version == 0) {
      Property::read(reader);
      V value{};
      if (reader->read(value)) setValue(value);
    } else {
      qor::logUnknownVersion(this, version);
    }
    reader->endObject();
    return true;
  }

 protected:
  // Raises the class error of a value outside the bounds (a NaN passes).
  void checkBounds(V value) {
    if (min_ > value || value > max_) boundsError(value);
  }

 private:
  // The class error of a rejected value, with an empty class name.
  [[noreturn]] void boundsError(V value) {
    QorString text;
    tr(text,
       "Value for property '%1' is out of bounds '%2', value between '%3' and '%4' is expected",
       getName(), QorString(value), QorString(min_), QorString(max_));
    qor::classError("", text);
  }

  V value_ = 0;
  V min_ = Self::kLowest;
  V max_ = Self::kHighest;
};

// A value property without bounds. setValue stores the new value and fires
// "property_modified", unless the class does not fire for an equal value and the value is
// equal.
template <class Self, class Iface, class V>
class ValueProperty : public Property, public Iface {
 public:
  using Param = qor::PropertyParam<V>;

  // `name` holding `value`.
  ValueProperty(const QorString& name, Param value, bool readOnly, bool withEvents)
      : Property(name, readOnly, withEvents), value_(value) {}
  // `name` holding the class's empty value.
  ValueProperty(const QorString& name, bool readOnly, bool withEvents)
      : Property(name, readOnly, withEvents), value_(Self::emptyValue()) {}
  // No name, the empty value, events on.
  ValueProperty() : Property(false, true), value_(Self::emptyValue()) {}
  // `name` holding the class's empty value, events on.
  ValueProperty(const QorString& name, bool readOnly) : ValueProperty(name, readOnly, true) {}
  // The source's value.
  ValueProperty(const ValueProperty& other)
      : IQorUnknown(),
        Property(other),
        Iface(),
        value_(const_cast<ValueProperty&>(other).currentValue()) {}

  void queryInterface(const char* name, void** out, uintptr_t reserved) override {
    queryTyped(Self::kClassName, static_cast<Self*>(this), Self::kInterfaceName,
               static_cast<Iface*>(this), name, out, reserved);
  }
  const char* className() override { return Self::kClassName; }
  const char* typeName() override { return Self::kTypeName; }

  // Stores all three without an event.
  void initialize(const QorString& name, Param value, bool readOnly) override {
    initializeBase(name, readOnly);
    value_ = value;
  }
  // Stores `value`, then fires "property_modified" with the old and the new value; a class
  // that does not fire for an equal value stops before firing when they are equal.
  void setValue(Param value) override {
    const V old = value_;
    value_ = value;
    if constexpr (!Self::kFiresOnSameValue) {
      if (old == value_) return;
    }
    this->template fireValueChanged<Self, V>(old, value_);
  }

  Property* clone() override { return new Self(static_cast<const Self&>(*this)); }
  // Takes the value of a property of the same class through setValue. A property of
  // another class raises code 3; a null one does nothing.
  void assignFrom(IQorProperty* other) override {
    if (!other) return;
    Self* same = qorQuery<Self>(other, Self::kClassName);
    if (!same) qor::assignMismatch(this, other);
    const V value = same->currentValue();
    setValue(value);
  }
  int64_t memorySize() override { return static_cast<int64_t>(sizeof(Self)); }

  QorID classId() override {
    if constexpr (Self::kStored)
      return Self::classIdentifier();
    else
      return Property::classId();
  }
  // An object chunk of version 0 holding the value; a class that is not stored writes
  // nothing at all.
  bool write(IQorDataModelWriter* writer) override {
    if constexpr (Self::kStored) {
      writer->beginObject(this, 0);
      Property::write(writer);
      Self::writeValue(writer, value_);
      writer->endObject();
    }
    return true;
  }
  // Version 0: the value goes through setValue, so the change fires. Any other version
  // leaves the value; the chunk's close skips its content.
  bool read(IQorDataModelReader* reader) override {
    if constexpr (Self::kStored) {
      int32_t version = -1;
      reader->beginObject(this, &version);
      if (version == 0) {
        Property::read(reader);
        V value = Self::emptyValue();
        if (Self::readValue(reader, value)) setValue(value);
      } else {
        qor::logUnknownVersion(this, version);
      }
      reader->endObject();
    }
    return true;
  }

  // The value as the typed interface reads it: for a routed property, the owner's.
  V currentValue() {
    if constexpr (std::is_scalar_v<V>) {
      return static_cast<Iface*>(this)->getValue();
    } else {
      V v = Self::emptyValue();
      static_cast<Iface*>(this)->getValue(v);
      return v;
    }
  }
  // The value as stored.
  const V& value() const { return value_; }

 protected:
  V value_;
};
