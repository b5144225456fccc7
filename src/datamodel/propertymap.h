// PropertyMap: an object whose state is reached by name. It owns an ordered map from name
// to property (one reference each), creates a property on the fly when a setter meets a
// name that nobody declared (unless failed lookups raise), guards read-only and typed
// properties, and describes its properties as text.
//
// Keys are ordered by 16-bit unit, compared as unsigned numbers; a null key equals an
// empty one, which sorts first; keys are case-sensitive. An entry may hold a null pointer
// (after swapProperty): such an entry is skipped by every walk and listing, hasProperty
// answers false for it, and getProperty gives null for it without raising.
//
// Failures raise PlatformException with the message alone (no class form, no log line):
// code 1 "Property '%1' does not exist.", code 2 "Cannot modify read only attribute '%1'",
// code 3 "Wrong type (%1) for attribute '%2'. Should be %3".
#pragma once
#include <cstdint>
#include <map>

#include "base/qorstring.h"
#include "core/iptr.h"
#include "core/translate.h"
#include "datamodel/dataeventsource.h"
#include "datamodel/iqorproperty.h"
#include "datamodel/iqorpropertymap.h"

namespace qor {
// Key order of property names: units compared as unsigned, empty (or null) first. A narrow
// name compares as its bytes widened as signed chars, without building a string.
struct PropertyKeyLess {
  using is_transparent = void;
  bool operator()(const QorString& a, const QorString& b) const { return a.compareRaw(b) < 0; }
  bool operator()(const QorString& a, const char* b) const { return a.compareRaw(b) < 0; }
  bool operator()(const char* a, const QorString& b) const { return b.compareRaw(a) > 0; }
};
using PropertyStorage = std::map<QorString, IPtr<IQorProperty>, PropertyKeyLess>;

// The setting "Advanced/Warning About Non-Existing Properties" of the host's IDataStore,
// read the first time it is asked and cached for the life of the process; off without the
// service. Safe from any thread.
bool warnAboutMissingProperties();
// The three states of a once-read setting.
enum class SettingState : uint8_t { Unread, On, Off };
// The state of "Advanced/Warning About Bogus Dynamic Properties", read once before the first
// dynamic property is added. Nothing depends on it.
SettingState bogusDynamicPropertiesSetting();
// Reads that setting, the first time only.
void readBogusDynamicPropertiesSetting();
}  // namespace qor

class PropertyMap : public DataEventSource, public IQorPropertyMap {
 public:
  // Bits of flags().
  static constexpr uint8_t kWarnMissing = 2;    // failed lookups raise
  static constexpr uint8_t kDynamicEvents = 4;  // created properties have events on
  static constexpr uint8_t kOwnEvents = 8;      // the object keeps events of its own
  static constexpr uint8_t kRegisters = 16;     // the object registers with the database

  // An empty map with flags 28, or 30 when the warning setting is on.
  PropertyMap();
  // The same flags and a clone of every property; a source without storage gives a map
  // without storage.
  PropertyMap(const PropertyMap& other);
  // Takes the storage and the flags; the source keeps no storage and loses bits 2 and 4.
  PropertyMap(PropertyMap&& other) noexcept;
  PropertyMap& operator=(const PropertyMap&) = delete;
  // Drops every property's reference and frees the storage.
  ~PropertyMap() override;

  // Answers "PropertyMap", "IQorUnknown", "IQorPropertyMap", then the names of
  // DataEventSource.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "PropertyMap"; }

  // The operations of IQorPropertyMap, in its slot order; each is documented there, and
  // the notes here add what this class does beyond it.
  // ---- setters, first block ----
  void set(const char* name, ImageArray* value) override;
  void set(const char* name, IProgress* value) override;
  void set(const char* name, const QorRect& value) override;
  void set(const char* name, const QorQuaternion& value) override;
  void set(const char* name, const QorMaterial& value) override;
  void set(const char* name, const QorColor& value) override;
  void set(const char* name, QorGridPoint* value) override;
  void set(const char* name, GridIndex* value) override;
  void set(const char* name, DirIndex* value) override;
  void set(const char* name, Array3D* value) override;
  void set(const char* name, QorImage* value) override;
  void set(const char* name, StringArray* value) override;
  void set(const char* name, IntArray* value) override;
  void set(const char* name, DoubleArray2D* value) override;
  void set(const char* name, Vector3DArray2D* value) override;
  void set(const char* name, Vector3DArray* value) override;
  void set(const char* name, Vector2FArray* value) override;
  void set(const char* name, Vector2DArray* value) override;
  void set(const char* name, ColorArray* value) override;
  void set(const char* name, DoubleArray* value) override;
  void set(const char* name, DataObjectArray* value) override;
  void set(const char* name, ByteArray* value) override;
  void set(const char* name, const QorBounds& value) override;
  void set(const char* name, OrientedTriangleStackList* value) override;
  void set(const char* name, OrientedTriangleStack* value) override;
  void set(const char* name, OrientedTriangle* value) override;
  void set(const char* name, Transform3DArray* value) override;
  void set(const char* name, const Transform3D& value) override;
  void replaceProperty(const char* name, IQorProperty* property) override;
  // ---- setters, second block ----
  void set(const char* name, const Vector2F& value) override;
  void set(const char* name, const Vector2D& value) override;
  void set(const char* name, const QorVector& value) override;
  void set(const char* name, DataObject* value) override;
  void set(const char* name, IQorUnknown* value) override;
  void set(const char* name, const QorString& value) override;
  void set(const char* name, const char* value) override;
  // A 16-bit literal would otherwise convert to bool and reach the bool setter: pass a
  // QorString. (Not a slot: deleted functions take no place in the table.)
  void set(const char* name, const char16_t* value) = delete;
  // On an IntProperty stores 1 or 0.
  void set(const char* name, bool value) override;
  // On a BoolProperty stores whether the value is non-zero.
  void set(const char* name, int32_t value) override;
  void set(const char* name, double value) override;
  bool getDescription(const char* name, QorString& out) override;
  bool setDescription(const char* name, const QorString& text) override;
  IQorProperty* getProperty(const char* name) const override;
  IQorProperty* getProperty(const char* name) override;
  IQorProperty* getProperty(const QorString& name) const override;
  IQorProperty* getProperty(const QorString& name) override;
  bool hasProperty(const char* name) override;
  bool hasProperty(const QorString& name) override;
  IQorPropertyMapIter* newIterator() override;
  QorString propertyNames() override;
  // ---- getters: a missing name gives the kind's default ----
  int32_t getInt(const char* name) override;
  bool getBool(const char* name) override;
  double getDouble(const char* name) override;
  QorVector getVector(const char* name) override;
  QorString getString(const char* name) override;
  DataObject* getObject(const char* name) const override;
  DataObject* getObject(const char* name) override;
  DataObjectArray* getDataObjectArray(const char* name) const override;
  DataObjectArray* getDataObjectArray(const char* name) override;
  QorImage* getImage(const char* name) const override;
  QorImage* getImage(const char* name) override;
  QorImage* getImage(const QorString& name) const override;
  QorImage* getImage(const QorString& name) override;
  Vector2D getVector2D(const char* name) override;
  Vector2F getVector2F(const char* name) override;
  Transform3D getTransform3D(const char* name) override;
  QorBounds getBounds(const char* name) override;
  Transform3DArray* getTransform3DArray(const char* name) const override;
  Transform3DArray* getTransform3DArray(const char* name) override;
  OrientedTriangle* getOrientedTriangle(const char* name) const override;
  OrientedTriangle* getOrientedTriangle(const char* name) override;
  OrientedTriangleStack* getOrientedTriangleStack(const char* name) const override;
  OrientedTriangleStack* getOrientedTriangleStack(const char* name) override;
  OrientedTriangleStackList* getOrientedTriangleStackList(const char* name) const override;
  OrientedTriangleStackList* getOrientedTriangleStackList(const char* name) override;
  Array3D* getArray3D(const char* name) const override;
  Array3D* getArray3D(const char* name) override;
  DirIndex* getDirIndex(const char* name) const override;
  DirIndex* getDirIndex(const char* name) override;
  GridIndex* getGridIndex(const char* name) const override;
  GridIndex* getGridIndex(const char* name) override;
  QorGridPoint* getGridPoint(const char* name) const override;
  QorGridPoint* getGridPoint(const char* name) override;
  ByteArray* getByteArray(const char* name) const override;
  ByteArray* getByteArray(const char* name) override;
  StringArray* getStringArray(const char* name) const override;
  StringArray* getStringArray(const char* name) override;
  IntArray* getIntArray(const char* name) const override;
  IntArray* getIntArray(const char* name) override;
  DoubleArray* getDoubleArray(const char* name) const override;
  DoubleArray* getDoubleArray(const char* name) override;
  ColorArray* getColorArray(const char* name) const override;
  ColorArray* getColorArray(const char* name) override;
  Vector2DArray* getVector2DArray(const char* name) const override;
  Vector2DArray* getVector2DArray(const char* name) override;
  Vector2FArray* getVector2FArray(const char* name) const override;
  Vector2FArray* getVector2FArray(const char* name) override;
  Vector3DArray* getVector3DArray(const char* name) const override;
  Vector3DArray* getVector3DArray(const char* name) override;
  DoubleArray2D* getDoubleArray2D(const char* name) const override;
  DoubleArray2D* getDoubleArray2D(const char* name) override;
  Vector3DArray2D* getVector3DArray2D(const char* name) const override;
  Vector3DArray2D* getVector3DArray2D(const char* name) override;
  QorColor getColor(const char* name) override;
  QorMaterial getMaterial(const char* name) override;
  QorQuaternion getQuaternion(const char* name) override;
  QorRect getRect(const char* name) override;
  IProgress* getIProgress(const char* name) override;
  ImageArray* getImageArray(const char* name) override;
  // ---- listing and management ----
  QorString documentation() override;
  QorString documentationTable() override;
  void addProperty(IQorProperty* property) override;
  void addProperty(IQorProperty* property, const char* name) override;
  // Nothing here; a data object unsubscribes from the property.
  void detachProperty(const char* name) override;
  void setUtf8(const char* name, const char* utf8) override;
  int64_t memorySize() override;
  void clearPropertyValue(const char* name) override;
  void setProgress(const char* name, IProgress* value) override;
  Property* getPropertyObject(const char* name) override;
  Property* getPropertyObject(const QorString& name) override;
  Progress* getProgress(const char* name) override;
  void setWarnMissing(bool warn) override;
  void assignProperties(const PropertyMap& other) override;
  bool swapProperty(PropertyMap& other, const QorString& name) override;

  // Erases the entry `name`, dropping the map's reference; whether there was one.
  bool removeProperty(const QorString& name);
  // Erases every entry; the map is empty while the references are dropped.
  void clearProperties();
  uint8_t flags() const { return flags_; }
  // The storage, or null for a map whose storage was moved away.
  const qor::PropertyStorage* storage() const { return properties_; }

 protected:
  // Replaces the flags (a data object sets its own).
  void setFlags(uint8_t flags) { flags_ = flags; }
  // The storage for a subclass that lets go of its properties in place, or null.
  qor::PropertyStorage* mutableStorage() { return properties_; }
  // Adds a property that a setter created for a missing name: through addProperty.
  virtual void addDynamicProperty(IQorProperty* property);
  // The read-only guard of the setters: code 2 when `property` is a read-only Property.
  void guardReadOnly(IQorProperty* property, const char* name);
  // The type guard of the setters: code 3 when the property's typeName is not `valueType`.
  void guardType(IQorProperty* property, const char* valueType, const char* name);
  // The setter of every plain value class P: guards and setValue, or a new P.
  template <class P, class V>
  void setTyped(const char* name, const V& value);
  // The getter of every plain value class P: the property's class P, null for a missing
  // name, code 3 for another class (with `askedType` as %1).
  template <class P>
  P* typedProperty(const char* name, const char* askedType);
  // The setter of the oriented triangle kinds: no type guard; a property of another class
  // takes nothing and raises nothing.
  template <class P, class V>
  void setUnguarded(const char* name, V* value);

  // Code 1 for a missing name when failed lookups raise.
  void missing(const QorString& name) const;
  // The description of key `name` (class name, then lineage), or false.
  bool descriptionOf(const QorString& name, QorString& out);
  // The "%4" and "%5" columns of a documentation table row of a writable property.
  void tableRangeAndValue(IQorProperty* property, const QorString& key, QorString& range,
                          QorString& value);

 private:
  // Makes the storage of a map that has none.
  qor::PropertyStorage& ensureStorage();

  qor::PropertyStorage* properties_;
  uint8_t flags_;
};

// A walk over a map's storage in key order, skipping entries with a null property. It
// keeps no reference on the map: the map must outlive it and must not lose the entry under
// the cursor.
class PropertyMapIter : public IQorPropertyMapIter {
 public:
  // Placed on the first property of `storage` (which may be null: then at the end).
  explicit PropertyMapIter(const qor::PropertyStorage* storage);
  // The five operations of IQorPropertyMapIter, documented there.
  void first() override;
  void next() override;
  bool isDone() override;
  IQorProperty* currentProperty() override;
  QorString currentName() override;

 private:
  void skipNulls();

  const qor::PropertyStorage* storage_;
  qor::PropertyStorage::const_iterator at_;
};

// ---- the typed setter and getter shared by every plain value class ----

template <class P, class V>
void PropertyMap::setTyped(const char* name, const V& value) {
  if (IQorProperty* p = getProperty(name)) {
    guardReadOnly(p, name);
    guardType(p, P::kTypeName, name);
    if (P* typed = qorQuery<P>(p, P::kClassName)) typed->setValue(value);
    return;
  }
  IPtr<IQorProperty> made(new P(QorString(name), value, false, (flags_ & kDynamicEvents) != 0));
  addDynamicProperty(made.get());
}

template <class P, class V>
void PropertyMap::setUnguarded(const char* name, V* value) {
  if (IQorProperty* p = getProperty(name)) {
    guardReadOnly(p, name);
    if (P* typed = qorQuery<P>(p, P::kClassName)) typed->setValue(value);
    return;
  }
  IPtr<IQorProperty> made(new P(QorString(name), value, false, (flags_ & kDynamicEvents) != 0));
  addDynamicProperty(made.get());
}

template <class P>
P* PropertyMap::typedProperty(const char* name, const char* askedType) {
  IQorProperty* p = getProperty(name);
  if (!p) return nullptr;
  P* typed = qorQuery<P>(p, P::kClassName);
  if (!typed) {
    QorString message;
    tr(message, "Wrong type (%1) for attribute '%2'. Should be %3", QorString(askedType),
       QorString(name), QorString(p->className()));
    qor::raise(kErrWrongType, message);
  }
  return typed;
}
