// The shape shared by the properties whose value is an object held through a counted
// reference: the arrays, the image, the direction index and the oriented triangles.
//   HeldProperty<Self, T>    the typed interface, constructors, setValue, assignFrom, the
//                            object chunk around the value, clearValue
//   CountedProperty<Self, T> adds the counted stored form: a bare signed 32-bit count, -1
//                            for no array, then the elements
// A concrete class states, as static members:
//   kClassName, kInterfaceName, kTypeName  its query names and its typeName literal
//   kVersion                               the version of its object chunk
//   classIdentifier()                      its class identifier
//   copyOf(T*)                             what a copy holds: a new object or the same one
//   contentBytes(T*)                       what memorySize adds to the object's size
// and reads and writes its value with writeValue(writer) and readValue(reader, version).
// Every setValue fires "property_modified", also with the object already held.
#pragma once
#include <cstdint>

#include "core/iptr.h"
#include "datamodel/property.h"
#include "datamodel/valueproperty.h"
#include "persistence/iqordatamodel.h"

// The typed interface of a property holding a T, in slot order. Each class names its own
// interface by deriving from this one.
template <class T>
class IQorHeldValueProperty : public virtual IQorUnknown {
 public:
  // Stores name, value and read-only flag without an event.
  virtual void initialize(const QorString& name, T* value, bool readOnly) = 0;
  // The object, borrowed, or null.
  virtual T* getValue() = 0;
  // Takes a reference to `value`, drops the old one and fires "property_modified".
  virtual void setValue(T* value) = 0;
};

template <class Self, class T, class Iface>
class HeldProperty : public Property, public Iface {
 public:
  using Value = T;

  HeldProperty(const QorString& name, T* value, bool readOnly, bool withEvents)
      : Property(name, readOnly, withEvents), value_(value) {}
  // `name` holding nothing.
  HeldProperty(const QorString& name, bool readOnly, bool withEvents)
      : Property(name, readOnly, withEvents) {}
  // No name, nothing held, events on.
  HeldProperty() : Property(false, true) {}
  // The class's copy of the source's object; a copy of nothing holds nothing.
  HeldProperty(const HeldProperty& other) : IQorUnknown(), Property(other), Iface() {
    if (other.value_) value_ = Self::copyOf(other.value_.get());
  }

  void queryInterface(const char* name, void** out, uintptr_t reserved) override {
    queryTyped(Self::kClassName, static_cast<Self*>(this), Self::kInterfaceName,
               static_cast<Iface*>(this), name, out, reserved);
  }
  const char* className() override { return Self::kClassName; }
  const char* typeName() override { return Self::kTypeName; }
  // Empty text, unless the class says otherwise.
  void printValue(const QorString&, QorString& out) override { out = QorString(); }
  Property* clone() override { return new Self(static_cast<const Self&>(*this)); }
  // Drops the object, without an event.
  void clearValue() override { value_.reset(); }
  // Takes the object of a property of the same class through setValue, so both share it.
  // A property of another class raises code 3; a null one does nothing.
  void assignFrom(IQorProperty* other) override {
    if (!other) return;
    Self* same = qorQuery<Self>(other, Self::kClassName);
    if (!same) qor::assignMismatch(this, other);
    setValue(same->getValue());
  }
  int64_t memorySize() override {
    return static_cast<int64_t>(sizeof(Self)) + (value_ ? Self::contentBytes(value_.get()) : 0);
  }

  void initialize(const QorString& name, T* value, bool readOnly) override {
    initializeBase(name, readOnly);
    value_ = value;
  }
  T* getValue() override { return value_.get(); }
  void setValue(T* value) override {
    IPtr<T> old = value_;
    value_ = value;
    this->template fireValueChanged<Self, T*>(old.get(), value);
  }

  // The class identifier; a class without one has Property's, which raises.
  QorID classId() override {
    if constexpr (requires { Self::classIdentifier(); })
      return Self::classIdentifier();
    else
      return Property::classId();
  }
  // An object chunk of the class's version around the value.
  bool write(IQorDataModelWriter* writer) override {
    writer->beginObject(this, Self::kVersion);
    Property::write(writer);
    static_cast<Self*>(this)->writeValue(writer);
    writer->endObject();
    return true;
  }
  // The class reads versions up to its own; any other version leaves the value, and the
  // chunk's close skips the content.
  bool read(IQorDataModelReader* reader) override {
    int32_t version = -1;
    reader->beginObject(this, &version);
    if (Self::readsVersion(version)) {
      Property::read(reader);
      static_cast<Self*>(this)->readValue(reader, version);
    } else {
      qor::logUnknownVersion(this, version);
    }
    reader->endObject();
    return true;
  }

  // The object, borrowed.
  T* held() const { return value_.get(); }

 protected:
  // The versions the class reads: 0 to its own.
  static bool readsVersion(int32_t version) { return version >= 0 && version <= Self::kVersion; }
  // Nothing beyond the object itself, unless the class says otherwise.
  static int64_t contentBytes(T*) { return 0; }
  // Nothing, for a class that writes and reads its chunk itself.
  void writeValue(IQorDataModelWriter*) {}
  void readValue(IQorDataModelReader*, int32_t) {}

  IPtr<T> value_;
};

// Room made up front for a stored count: what the file can hold at most, so that a corrupt
// count does not reserve gigabytes before the reads run out.
inline int32_t storedCountRoom(int32_t count) {
  return count < 4096 ? count : 4096;
}

// The counted stored form. The class gives, as static members, the element's write and
// read (writeElement(writer, array, index), readElement(reader, array) that appends) and
// makeArray(room), a new empty array.
template <class Self, class T, class Iface>
class CountedProperty : public HeldProperty<Self, T, Iface> {
 public:
  using HeldProperty<Self, T, Iface>::HeldProperty;

  // The count, -1 without an array, then each element.
  void writeValue(IQorDataModelWriter* writer) {
    T* array = this->value_.get();
    if (!array) {
      writer->write(int32_t{-1});
      return;
    }
    const int32_t count = array->size();
    writer->write(count);
    Self::writeElements(writer, array, count);
  }
  // A negative count gives null; otherwise a new array is filled and goes to setValue.
  void readValue(IQorDataModelReader* reader, int32_t) {
    int32_t count = 0;
    if (!reader->read(count)) return;
    if (count < 0) {
      this->setValue(nullptr);
      return;
    }
    IPtr<T> array(Self::makeArray(storedCountRoom(count)));
    for (int32_t i = 0; i < count && reader->good(); ++i)
      if (!Self::readElement(reader, array.get())) break;
    this->setValue(array.get());
  }

 protected:
  // One element at a time, unless the class writes them faster.
  static void writeElements(IQorDataModelWriter* writer, T* array, int32_t count) {
    for (int32_t i = 0; i < count; ++i) Self::writeElement(writer, array, i);
  }
};
