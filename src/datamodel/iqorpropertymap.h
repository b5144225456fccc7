// IQorPropertyMap: an object whose state is reached by name, and IQorPropertyMapIter, the
// walk over its properties. The host's script layer calls the 123 operations of the map by
// slot, so their order below is part of the contract.
//
// Setters take the property's name and a value and return nothing; getters take the name
// and return the value: class values by value, array and object values as borrowed
// pointers. Where a getter comes in a pair, the first is the const form.
#pragma once
#include <cstdint>

#include "base/qorstring.h"
#include "core/qorobject.h"

class IQorProperty;
class Property;
class PropertyMap;
class QorVector;
class Vector2D;
class Vector2F;
class QorMatrix;
using Transform3D = QorMatrix;
class QorBounds;
class QorColor;
class QorMaterial;
class QorQuaternion;
class QorRect;
class QorGridPoint;
class GridIndex;
class DirIndex;
class Array3D;
class QorImage;
class StringArray;
class IntArray;
class DoubleArray2D;
class Vector3DArray2D;
class Vector3DArray;
class Vector2FArray;
class Vector2DArray;
class ColorArray;
class DoubleArray;
class DataObjectArray;
class ByteArray;
class ImageArray;
class Transform3DArray;
class OrientedTriangle;
class OrientedTriangleStack;
class OrientedTriangleStackList;
class DataObject;
class IProgress;
class Progress;

// A walk over a map's properties in key order. It does not keep the map alive.
class IQorPropertyMapIter {
 public:
  virtual ~IQorPropertyMapIter() = default;
  // Moves to the smallest key.
  virtual void first() = 0;
  // Moves on; at the end it stays at the end.
  virtual void next() = 0;
  // True at the end.
  virtual bool isDone() = 0;
  // The property under the cursor, or null at the end.
  virtual IQorProperty* currentProperty() = 0;
  // The key under the cursor, or an empty string at the end.
  virtual QorString currentName() = 0;
};

class IQorPropertyMap : public virtual IQorUnknown {
 public:
  // ---- typed setters, first block (slots 1 to 28) ----
  virtual void set(const char* name, ImageArray* value) = 0;
  virtual void set(const char* name, IProgress* value) = 0;
  virtual void set(const char* name, const QorRect& value) = 0;
  virtual void set(const char* name, const QorQuaternion& value) = 0;
  virtual void set(const char* name, const QorMaterial& value) = 0;
  virtual void set(const char* name, const QorColor& value) = 0;
  virtual void set(const char* name, QorGridPoint* value) = 0;
  virtual void set(const char* name, GridIndex* value) = 0;
  virtual void set(const char* name, DirIndex* value) = 0;
  virtual void set(const char* name, Array3D* value) = 0;
  virtual void set(const char* name, QorImage* value) = 0;
  virtual void set(const char* name, StringArray* value) = 0;
  virtual void set(const char* name, IntArray* value) = 0;
  virtual void set(const char* name, DoubleArray2D* value) = 0;
  virtual void set(const char* name, Vector3DArray2D* value) = 0;
  virtual void set(const char* name, Vector3DArray* value) = 0;
  virtual void set(const char* name, Vector2FArray* value) = 0;
  virtual void set(const char* name, Vector2DArray* value) = 0;
  virtual void set(const char* name, ColorArray* value) = 0;
  virtual void set(const char* name, DoubleArray* value) = 0;
  virtual void set(const char* name, DataObjectArray* value) = 0;
  virtual void set(const char* name, ByteArray* value) = 0;
  virtual void set(const char* name, const QorBounds& value) = 0;
  virtual void set(const char* name, OrientedTriangleStackList* value) = 0;
  virtual void set(const char* name, OrientedTriangleStack* value) = 0;
  virtual void set(const char* name, OrientedTriangle* value) = 0;
  virtual void set(const char* name, Transform3DArray* value) = 0;
  virtual void set(const char* name, const Transform3D& value) = 0;
  // Slot 29: puts `property` under `name`, detaching an existing one first; a missing name
  // runs the missing-property check.
  virtual void replaceProperty(const char* name, IQorProperty* property) = 0;
  // ---- typed setters, second block (slots 30 to 39) ----
  virtual void set(const char* name, const Vector2F& value) = 0;
  virtual void set(const char* name, const Vector2D& value) = 0;
  virtual void set(const char* name, const QorVector& value) = 0;
  virtual void set(const char* name, DataObject* value) = 0;
  // An object given through its root view, queried as "DataObject".
  virtual void set(const char* name, IQorUnknown* value) = 0;
  virtual void set(const char* name, const QorString& value) = 0;
  virtual void set(const char* name, const char* value) = 0;
  // A 16-bit literal would otherwise convert to bool and reach the bool setter: pass a
  // QorString. (Not a slot: deleted functions take no place in the table.)
  void set(const char* name, const char16_t* value) = delete;
  virtual void set(const char* name, bool value) = 0;
  virtual void set(const char* name, int32_t value) = 0;
  virtual void set(const char* name, double value) = 0;
  // Slot 40: the documentation text of `name`, looked up under the class's name and then
  // under each class of its lineage; false when there is none.
  virtual bool getDescription(const char* name, QorString& out) = 0;
  // Slot 41: stores `text` under the class's own name, only when the property exists.
  virtual bool setDescription(const char* name, const QorString& text) = 0;
  // Slots 42 to 45: the property under `name`, or null; with the warning on a missing name
  // raises "Property '%1' does not exist." (code 1).
  virtual IQorProperty* getProperty(const char* name) const = 0;
  virtual IQorProperty* getProperty(const char* name) = 0;
  virtual IQorProperty* getProperty(const QorString& name) const = 0;
  virtual IQorProperty* getProperty(const QorString& name) = 0;
  // Slots 46, 47: whether a property of that name exists; never raises. A null narrow name
  // takes the assertion road.
  virtual bool hasProperty(const char* name) = 0;
  virtual bool hasProperty(const QorString& name) = 0;
  // Slot 48: a walk placed on the first property, owned by the caller.
  virtual IQorPropertyMapIter* newIterator() = 0;
  // Slot 49: all keys in key order, joined by ",".
  virtual QorString propertyNames() = 0;
  // ---- typed getters (slots 50 to 108) ----
  virtual int32_t getInt(const char* name) = 0;
  virtual bool getBool(const char* name) = 0;
  virtual double getDouble(const char* name) = 0;
  virtual QorVector getVector(const char* name) = 0;
  virtual QorString getString(const char* name) = 0;
  virtual DataObject* getObject(const char* name) const = 0;
  virtual DataObject* getObject(const char* name) = 0;
  virtual DataObjectArray* getDataObjectArray(const char* name) const = 0;
  virtual DataObjectArray* getDataObjectArray(const char* name) = 0;
  virtual QorImage* getImage(const char* name) const = 0;
  virtual QorImage* getImage(const char* name) = 0;
  virtual QorImage* getImage(const QorString& name) const = 0;
  virtual QorImage* getImage(const QorString& name) = 0;
  virtual Vector2D getVector2D(const char* name) = 0;
  virtual Vector2F getVector2F(const char* name) = 0;
  virtual Transform3D getTransform3D(const char* name) = 0;
  virtual QorBounds getBounds(const char* name) = 0;
  virtual Transform3DArray* getTransform3DArray(const char* name) const = 0;
  virtual Transform3DArray* getTransform3DArray(const char* name) = 0;
  virtual OrientedTriangle* getOrientedTriangle(const char* name) const = 0;
  virtual OrientedTriangle* getOrientedTriangle(const char* name) = 0;
  virtual OrientedTriangleStack* getOrientedTriangleStack(const char* name) const = 0;
  virtual OrientedTriangleStack* getOrientedTriangleStack(const char* name) = 0;
  virtual OrientedTriangleStackList* getOrientedTriangleStackList(const char* name) const = 0;
  virtual OrientedTriangleStackList* getOrientedTriangleStackList(const char* name) = 0;
  virtual Array3D* getArray3D(const char* name) const = 0;
  virtual Array3D* getArray3D(const char* name) = 0;
  virtual DirIndex* getDirIndex(const char* name) const = 0;
  virtual DirIndex* getDirIndex(const char* name) = 0;
  virtual GridIndex* getGridIndex(const char* name) const = 0;
  virtual GridIndex* getGridIndex(const char* name) = 0;
  virtual QorGridPoint* getGridPoint(const char* name) const = 0;
  virtual QorGridPoint* getGridPoint(const char* name) = 0;
  virtual ByteArray* getByteArray(const char* name) const = 0;
  virtual ByteArray* getByteArray(const char* name) = 0;
  virtual StringArray* getStringArray(const char* name) const = 0;
  virtual StringArray* getStringArray(const char* name) = 0;
  virtual IntArray* getIntArray(const char* name) const = 0;
  virtual IntArray* getIntArray(const char* name) = 0;
  virtual DoubleArray* getDoubleArray(const char* name) const = 0;
  virtual DoubleArray* getDoubleArray(const char* name) = 0;
  virtual ColorArray* getColorArray(const char* name) const = 0;
  virtual ColorArray* getColorArray(const char* name) = 0;
  virtual Vector2DArray* getVector2DArray(const char* name) const = 0;
  virtual Vector2DArray* getVector2DArray(const char* name) = 0;
  virtual Vector2FArray* getVector2FArray(const char* name) const = 0;
  virtual Vector2FArray* getVector2FArray(const char* name) = 0;
  virtual Vector3DArray* getVector3DArray(const char* name) const = 0;
  virtual Vector3DArray* getVector3DArray(const char* name) = 0;
  virtual DoubleArray2D* getDoubleArray2D(const char* name) const = 0;
  virtual DoubleArray2D* getDoubleArray2D(const char* name) = 0;
  virtual Vector3DArray2D* getVector3DArray2D(const char* name) const = 0;
  virtual Vector3DArray2D* getVector3DArray2D(const char* name) = 0;
  virtual QorColor getColor(const char* name) = 0;
  virtual QorMaterial getMaterial(const char* name) = 0;
  virtual QorQuaternion getQuaternion(const char* name) = 0;
  virtual QorRect getRect(const char* name) = 0;
  // Slot 107: the progress value through its IProgress side.
  virtual IProgress* getIProgress(const char* name) = 0;
  virtual ImageArray* getImageArray(const char* name) = 0;
  // ---- listing and management (slots 109 to 123) ----
  // Slot 109: one line per property in key order, "   %1   %2 = %3   %4\n".
  virtual QorString documentation() = 0;
  // Slot 110: one row per property in key order, "%1@     - %2@     - ...@@".
  virtual QorString documentationTable() = 0;
  // Slot 111: puts `property` under its own name, replacing a property of that name.
  virtual void addProperty(IQorProperty* property) = 0;
  // Slot 112: the same under `name`; the property's own name does not change.
  virtual void addProperty(IQorProperty* property, const char* name) = 0;
  // Slot 113: called before the property under `name` is replaced.
  virtual void detachProperty(const char* name) = 0;
  // Slot 114: decodes UTF-8 text and calls the string setter.
  virtual void setUtf8(const char* name, const char* utf8) = 0;
  // Slot 115: 8 plus the memory of every property.
  virtual int64_t memorySize() = 0;
  // Slot 116: clears the value of `name`; a read-only property raises code 2.
  virtual void clearPropertyValue(const char* name) = 0;
  // Slot 117: sets a progress value.
  virtual void setProgress(const char* name, IProgress* value) = 0;
  // Slots 118, 119: the property as Property*.
  virtual Property* getPropertyObject(const char* name) = 0;
  virtual Property* getPropertyObject(const QorString& name) = 0;
  // Slot 120: the progress value as Progress*.
  virtual Progress* getProgress(const char* name) = 0;
  // Slot 121: whether a failed lookup raises.
  virtual void setWarnMissing(bool warn) = 0;
  // Slot 122: copies the flags and assigns or clones every property of `other`.
  virtual void assignProperties(const PropertyMap& other) = 0;
  // Slot 123: exchanges what the two maps hold under `name`; false when neither has it.
  virtual bool swapProperty(PropertyMap& other, const QorString& name) = 0;
};
