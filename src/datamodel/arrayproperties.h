// The properties whose value is an array or a direction index, each holding its object
// through a counted reference. The counted forms store a bare signed 32-bit count (-1 for
// no array) and then the elements: doubles, ints and bytes bare, colours as four bare
// floats, strings, vectors and transforms each in their own value chunk, images each in
// their own stream form. A copy holds a new array with copied elements, except
// Array3DProperty and the two-dimensional ones, whose copies share the array. They print
// nothing. memorySize adds the elements' bytes.
//
// DirIndexProperty stores the index's raw number, (index + 1) * 2 + version, and reads it
// back as it stands, so an index round-trips as itself. Reading gives the number to the
// index the property holds (making one if it has none), without an event.
#pragma once
#include <cstdint>

#include "bulk/qorimage.h"
#include "datamodel/arrayproperty.h"
#include "datamodel/arrays.h"
#include "datamodel/dirindex.h"

namespace qor {
// One element of a counted form: bare numbers, value chunks, or a colour's four floats.
template <class E>
bool writeElement(IQorDataModelWriter* w, const E& e) {
  return w->write(e);
}
template <class E>
bool readElement(IQorDataModelReader* r, E& e) {
  return r->read(e);
}
template <>
bool writeElement(IQorDataModelWriter* w, const QorColor& c);
template <>
bool readElement(IQorDataModelReader* r, QorColor& c);
}  // namespace qor

class IQorDoubleArrayProperty : public IQorHeldValueProperty<DoubleArray> {};
class IQorIntArrayProperty : public IQorHeldValueProperty<IntArray> {};
class IQorByteArrayProperty : public IQorHeldValueProperty<ByteArray> {};
class IQorStringArrayProperty : public IQorHeldValueProperty<StringArray> {};
class IQorColorArrayProperty : public IQorHeldValueProperty<ColorArray> {};
class IQorVector2DArrayProperty : public IQorHeldValueProperty<Vector2DArray> {};
class IQorVector2FArrayProperty : public IQorHeldValueProperty<Vector2FArray> {};
class IQorVector3DArrayProperty : public IQorHeldValueProperty<Vector3DArray> {};
class IQorArray3DProperty : public IQorHeldValueProperty<Array3D> {};
class IQorTransform3DArrayProperty : public IQorHeldValueProperty<Transform3DArray> {};
class IQorDoubleArray2DProperty : public IQorHeldValueProperty<DoubleArray2D> {};
class IQorVector3DArray2DProperty : public IQorHeldValueProperty<Vector3DArray2D> {};
class IQorImageArrayProperty : public IQorHeldValueProperty<ImageArray> {};
class IQorDirIndexProperty : public IQorHeldValueProperty<DirIndex> {};

// A counted array on a one-based stack of E: elements written straight from the stack,
// read back through append. Self gives the names, the class identifier and kElementBytes.
template <class Self, class T, class E, class Iface>
class StackArrayProperty : public CountedProperty<Self, T, Iface> {
 public:
  using CountedProperty<Self, T, Iface>::CountedProperty;
  static constexpr int32_t kVersion = 0;
  // A new array with copied elements.
  static T* copyOf(T* array) { return new T(*array); }
  static T* makeArray(int32_t room) {
    T* array = new T();
    array->items().reserve(room);
    return array;
  }
  static int64_t contentBytes(T* array) { return int64_t{Self::kElementBytes} * array->size(); }
  static void writeElements(IQorDataModelWriter* w, T* array, int32_t count) {
    const IterStack<E>& items = array->items();
    if (items.count() != count) {  // a view whose values live elsewhere: through at
      writeThroughAt(w, array, count);
      return;
    }
    for (int32_t i = 1; i <= count; ++i) qor::writeElement(w, items.get(i));
  }
  static void writeThroughAt(IQorDataModelWriter* w, T* array, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
      if constexpr (requires(E e) { array->at(e, 0); }) {
        E e{};
        qor::writeElement(w, array->at(e, i));
      } else {
        qor::writeElement(w, E(array->at(i)));
      }
    }
  }
  static bool readElement(IQorDataModelReader* r, T* array) {
    E e{};
    if (!qor::readElement(r, e)) return false;
    array->append(e);
    return true;
  }
};

#define QOR_ARRAY_PROPERTY_NAMES(Class, Type)                         \
  static constexpr const char* kClassName = #Class;                   \
  static constexpr const char* kInterfaceName = "IQor" #Class;        \
  static constexpr const char* kTypeName = "qorapi.datamodel." #Type; \
  static QorID classIdentifier();

class DoubleArrayProperty
    : public StackArrayProperty<DoubleArrayProperty, DoubleArray, double, IQorDoubleArrayProperty> {
 public:
  using StackArrayProperty::StackArrayProperty;
  QOR_ARRAY_PROPERTY_NAMES(DoubleArrayProperty, DoubleArray)
  static constexpr int32_t kElementBytes = 8;
};

class ByteArrayProperty
    : public StackArrayProperty<ByteArrayProperty, ByteArray, uint8_t, IQorByteArrayProperty> {
 public:
  using StackArrayProperty::StackArrayProperty;
  QOR_ARRAY_PROPERTY_NAMES(ByteArrayProperty, ByteArray)
  static constexpr int32_t kElementBytes = 1;
};

class StringArrayProperty : public StackArrayProperty<StringArrayProperty, StringArray, QorString,
                                                      IQorStringArrayProperty> {
 public:
  using StackArrayProperty::StackArrayProperty;
  QOR_ARRAY_PROPERTY_NAMES(StringArrayProperty, StringArray)
  // Each string's object and its 16-bit units.
  static int64_t contentBytes(StringArray* array);
};

class ColorArrayProperty
    : public StackArrayProperty<ColorArrayProperty, ColorArray, QorColor, IQorColorArrayProperty> {
 public:
  using StackArrayProperty::StackArrayProperty;
  QOR_ARRAY_PROPERTY_NAMES(ColorArrayProperty, ColorArray)
  static constexpr int32_t kElementBytes = 16;
};

class Vector2DArrayProperty : public StackArrayProperty<Vector2DArrayProperty, Vector2DArray,
                                                        Vector2D, IQorVector2DArrayProperty> {
 public:
  using StackArrayProperty::StackArrayProperty;
  QOR_ARRAY_PROPERTY_NAMES(Vector2DArrayProperty, Vector2DArray)
  static constexpr int32_t kElementBytes = 24;
};

// Counts 24 bytes an element, like the other vector arrays, though a Vector2F takes 8.
class Vector2FArrayProperty : public StackArrayProperty<Vector2FArrayProperty, Vector2FArray,
                                                        Vector2F, IQorVector2FArrayProperty> {
 public:
  using StackArrayProperty::StackArrayProperty;
  QOR_ARRAY_PROPERTY_NAMES(Vector2FArrayProperty, Vector2FArray)
  static constexpr int32_t kElementBytes = 24;
};

class Vector3DArrayProperty : public StackArrayProperty<Vector3DArrayProperty, Vector3DArray,
                                                        QorVector, IQorVector3DArrayProperty> {
 public:
  using StackArrayProperty::StackArrayProperty;
  QOR_ARRAY_PROPERTY_NAMES(Vector3DArrayProperty, Vector3DArray)
  static constexpr int32_t kElementBytes = 24;
  // Every point's vector chunk, formatted in one pass when the writer allows it.
  static void writeElements(IQorDataModelWriter* w, Vector3DArray* array, int32_t count);
};

class Transform3DArrayProperty
    : public StackArrayProperty<Transform3DArrayProperty, Transform3DArray, QorMatrix,
                                IQorTransform3DArrayProperty> {
 public:
  using StackArrayProperty::StackArrayProperty;
  QOR_ARRAY_PROPERTY_NAMES(Transform3DArrayProperty, Transform3DArray)
  static constexpr int32_t kElementBytes = 128;
};

class IntArrayProperty : public CountedProperty<IntArrayProperty, IntArray, IQorIntArrayProperty> {
 public:
  using CountedProperty::CountedProperty;
  QOR_ARRAY_PROPERTY_NAMES(IntArrayProperty, IntArray)
  static constexpr int32_t kVersion = 0;
  static IntArray* copyOf(IntArray* array) { return new IntArray(*array); }
  static IntArray* makeArray(int32_t room) { return new IntArray(new IterStack<int32_t>(room)); }
  static int64_t contentBytes(IntArray* array) { return int64_t{4} * array->size(); }
  // Through at, whichever store the array is on.
  static void writeElements(IQorDataModelWriter* w, IntArray* array, int32_t count) {
    for (int32_t i = 0; i < count; ++i) w->write(array->at(i));
  }
  static bool readElement(IQorDataModelReader* r, IntArray* array) {
    int32_t v = 0;
    if (!r->read(v)) return false;
    array->append(v);
    return true;
  }
};

// The points of the bulk array, one vector chunk each. A copy shares the array.
class Array3DProperty : public CountedProperty<Array3DProperty, Array3D, IQorArray3DProperty> {
 public:
  using CountedProperty::CountedProperty;
  QOR_ARRAY_PROPERTY_NAMES(Array3DProperty, Array3D)
  static constexpr int32_t kVersion = 0;
  static Array3D* copyOf(Array3D* array) { return array; }
  static Array3D* makeArray(int32_t) { return new Array3D(); }
  static int64_t contentBytes(Array3D* array) { return int64_t{24} * array->size(); }
  static void writeElements(IQorDataModelWriter* w, Array3D* array, int32_t count) {
    QorVector v;
    for (int32_t i = 0; i < count; ++i) w->write(array->at(v, i));
  }
  static bool readElement(IQorDataModelReader* r, Array3D* array) {
    QorVector v;
    if (!r->read(v)) return false;
    array->append(v);
    return true;
  }
};

// Version 1: the count, then each image's stream form. Reading gives the new array to
// setValue before its images are read in. A copy is a new array of the same images.
class ImageArrayProperty
    : public CountedProperty<ImageArrayProperty, ImageArray, IQorImageArrayProperty> {
 public:
  using CountedProperty::CountedProperty;
  QOR_ARRAY_PROPERTY_NAMES(ImageArrayProperty, ImageArray)
  static constexpr int32_t kVersion = 1;
  static bool readsVersion(int32_t version) { return version >= 0; }
  static ImageArray* copyOf(ImageArray* array) { return new ImageArray(*array); }
  // Each image's pixel bytes.
  static int64_t contentBytes(ImageArray* array);
  static void writeElements(IQorDataModelWriter* w, ImageArray* array, int32_t count);
  // Version 0 holds nothing after the base; later versions the counted images.
  void readValue(IQorDataModelReader* reader, int32_t version);
};

// Rows, columns, then row by row each value; -1 alone for no array. Reading makes a plain
// shell, which keeps nothing. A copy shares the array.
template <class Self, class T, class E, class Iface>
class Array2DProperty : public HeldProperty<Self, T, Iface> {
 public:
  using HeldProperty<Self, T, Iface>::HeldProperty;
  static constexpr int32_t kVersion = 0;
  static T* copyOf(T* array) { return array; }
  static int64_t contentBytes(T* array) {
    return int64_t{array->rowCount()} * array->columnCount() * Self::kElementBytes;
  }
  void writeValue(IQorDataModelWriter* w) {
    T* array = this->value_.get();
    if (!array) {
      w->write(int32_t{-1});
      return;
    }
    const int32_t rows = array->rowCount(), columns = array->columnCount();
    w->write(rows);
    w->write(columns);
    for (int32_t r = 0; r < rows; ++r)
      for (int32_t c = 0; c < columns; ++c) w->write(Self::element(array, r, c));
  }
  void readValue(IQorDataModelReader* reader, int32_t) {
    int32_t rows = 0, columns = 0;
    if (!reader->read(rows)) return;
    if (rows < 0) {
      this->setValue(nullptr);
      return;
    }
    IPtr<T> shell(new T());
    reader->read(columns);
    // Rows without columns hold nothing to read.
    for (int32_t r = 0; r < rows && columns > 0 && reader->good(); ++r)
      for (int32_t c = 0; c < columns && reader->good(); ++c) {
        E e{};
        if (reader->read(e)) shell->set(r, c, e);
      }
    this->setValue(shell.get());
  }
};

class DoubleArray2DProperty : public Array2DProperty<DoubleArray2DProperty, DoubleArray2D, double,
                                                     IQorDoubleArray2DProperty> {
 public:
  using Array2DProperty::Array2DProperty;
  QOR_ARRAY_PROPERTY_NAMES(DoubleArray2DProperty, DoubleArray2D)
  static constexpr int32_t kElementBytes = 8;
  static double element(DoubleArray2D* a, int32_t r, int32_t c) { return a->at(r, c); }
};

class Vector3DArray2DProperty : public Array2DProperty<Vector3DArray2DProperty, Vector3DArray2D,
                                                       QorVector, IQorVector3DArray2DProperty> {
 public:
  using Array2DProperty::Array2DProperty;
  QOR_ARRAY_PROPERTY_NAMES(Vector3DArray2DProperty, Vector3DArray2D)
  static constexpr int32_t kElementBytes = 24;
  static QorVector element(Vector3DArray2D* a, int32_t r, int32_t c) {
    QorVector v;
    return a->at(v, r, c);
  }
};

#undef QOR_ARRAY_PROPERTY_NAMES

class DirIndexProperty : public HeldProperty<DirIndexProperty, DirIndex, IQorDirIndexProperty> {
 public:
  using HeldProperty::HeldProperty;
  static constexpr const char* kClassName = "DirIndexProperty";
  static constexpr const char* kInterfaceName = "IQorDirIndexProperty";
  static constexpr const char* kTypeName = "qorapi.mesh.DirIndex";
  static constexpr int32_t kVersion = 0;
  // 6b3c68a9-804c-4631-b4e4-c29c75c98e2c.
  static QorID classIdentifier();
  static DirIndex* copyOf(DirIndex* d) { return new DirIndex(*d); }

  // "(%1, %2)": index and version; "(-1, 0)" for no index.
  void printValue(const QorString& name, QorString& out) override;
  // The raw number, bare signed 32-bit; 0 (index -1, version 0) for no index.
  void writeValue(IQorDataModelWriter* writer);
  // Makes an index if there is none and gives it the number as it stands.
  void readValue(IQorDataModelReader* reader, int32_t version);
};
