#include "datamodel/propertymap.h"

#include <atomic>

#include "base/iterstack.h"
#include "base/qorcstringmap.h"
#include "core/listing.h"
#include "core/translate.h"
#include "datamodel/arrayproperties.h"
#include "datamodel/boolproperty.h"
#include "datamodel/dataobject.h"
#include "datamodel/dataobjectarrayproperty.h"
#include "datamodel/descriptions.h"
#include "datamodel/doubleproperty.h"
#include "datamodel/gridproperties.h"
#include "datamodel/imageproperty.h"
#include "datamodel/intproperty.h"
#include "datamodel/objectproperty.h"
#include "datamodel/ortriproperties.h"
#include "datamodel/progressproperty.h"
#include "datamodel/propertymapvalues.h"
#include "datamodel/stringproperty.h"
#include "hostapi/idatastore.h"

namespace qor {

namespace {
// Published once its first reader has read it; Unread until then.
std::atomic<SettingState> gBogusSetting{SettingState::Unread};

// Reads a boolean key of the host's store; off without the service.
SettingState readSetting(const char* key) {
  SPtr<IDataStore> store("IDataStore");
  return store && store->getBool(key, 0) ? SettingState::On : SettingState::Off;
}
}  // namespace

bool warnAboutMissingProperties() {
  // Read under the language's one-time initialisation: threads that meet it first together
  // wait for one read.
  static const SettingState warn = readSetting("Advanced/Warning About Non-Existing Properties");
  return warn == SettingState::On;
}

SettingState bogusDynamicPropertiesSetting() {
  return gBogusSetting.load(std::memory_order_acquire);
}

void readBogusDynamicPropertiesSetting() {
  static const bool read = [] {
    gBogusSetting.store(readSetting("Advanced/Warning About Bogus Dynamic Properties"),
                        std::memory_order_release);
    return true;
  }();
  (void)read;
}

}  // namespace qor

namespace {

// The largest magnitude a documentation table prints as a number: an integer's bounds and
// value beyond it show as infinite.
constexpr int32_t kIntShownLimit = 1073741823;
// The same for reals: the largest float, 0x7EFFFFFF, widened.
constexpr double kRealShownLimit = 1.7014117331926443e38;

QorString text(const char* s) {
  return QorString(s);
}

}  // namespace

// ---- construction ----

PropertyMap::PropertyMap()
    : properties_(new qor::PropertyStorage()),
      flags_(kDynamicEvents | kOwnEvents | kRegisters |
             (qor::warnAboutMissingProperties() ? kWarnMissing : 0)) {}

PropertyMap::PropertyMap(const PropertyMap& other)
    : IQorUnknown(),
      DataEventSource(),
      IQorPropertyMap(),
      properties_(nullptr),
      flags_(other.flags_) {
  if (!other.properties_) return;
  properties_ = new qor::PropertyStorage();
  for (const auto& [key, property] : *other.properties_)
    (*properties_)[key] = property ? static_cast<IQorProperty*>(property->clone()) : nullptr;
}

PropertyMap::PropertyMap(PropertyMap&& other) noexcept
    : IQorUnknown(),
      DataEventSource(),
      IQorPropertyMap(),
      properties_(other.properties_),
      flags_(other.flags_) {
  other.properties_ = nullptr;
  other.flags_ = static_cast<uint8_t>(other.flags_ & ~(kWarnMissing | kDynamicEvents));
}

PropertyMap::~PropertyMap() {
  delete properties_;
}

qor::PropertyStorage& PropertyMap::ensureStorage() {
  if (!properties_) properties_ = new qor::PropertyStorage();
  return *properties_;
}

void PropertyMap::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("PropertyMap", out);
    walkAddInterface("IQorUnknown", out);
    walkAddInterface("IQorPropertyMap", out);
    DataEventSource::queryInterface(nullptr, out, reserved);
    walkLeaveClass(out);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "PropertyMap"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorPropertyMap"))
    *out = static_cast<IQorPropertyMap*>(this);
  else
    DataEventSource::queryInterface(name, out, reserved);
}

// ---- lookup ----

void PropertyMap::missing(const QorString& name) const {
  if (!(flags_ & kWarnMissing)) return;
  QorString message;
  tr(message, "Property '%1' does not exist.", name);
  qor::raise(kErrNoSuchProperty, message);
}

IQorProperty* PropertyMap::getProperty(const char* name) const {
  if (properties_) {
    auto it = properties_->find(name ? name : "");
    if (it != properties_->end()) return it->second.get();
  }
  missing(QorString(name));
  return nullptr;
}

IQorProperty* PropertyMap::getProperty(const char* name) {
  return static_cast<const PropertyMap*>(this)->getProperty(name);
}

IQorProperty* PropertyMap::getProperty(const QorString& name) const {
  if (properties_) {
    auto it = properties_->find(name);
    if (it != properties_->end()) return it->second.get();
  }
  missing(name);
  return nullptr;
}

IQorProperty* PropertyMap::getProperty(const QorString& name) {
  return static_cast<const PropertyMap*>(this)->getProperty(name);
}

bool PropertyMap::hasProperty(const char* name) {
  if (!name) {
    wexAssertFailed("data_", qor::kCStringMapSourcePath, qor::kCStringMapNullKeyLine);
    return false;
  }
  if (!properties_) return false;
  auto it = properties_->find(name);
  return it != properties_->end() && it->second;
}

bool PropertyMap::hasProperty(const QorString& name) {
  if (!properties_) return false;
  auto it = properties_->find(name);
  return it != properties_->end() && it->second;
}

Property* PropertyMap::getPropertyObject(const char* name) {
  return qorQuery<Property>(getProperty(name), "Property");
}

Property* PropertyMap::getPropertyObject(const QorString& name) {
  return qorQuery<Property>(getProperty(name), "Property");
}

IQorPropertyMapIter* PropertyMap::newIterator() {
  return new PropertyMapIter(properties_);
}

QorString PropertyMap::propertyNames() {
  QorString names;
  bool firstName = true;
  if (properties_) {
    for (const auto& [key, property] : *properties_) {
      if (!property) continue;
      if (!firstName) names.append(u',');
      names += key;
      firstName = false;
    }
  }
  return names;
}

// ---- guards and the common setter ----

void PropertyMap::guardReadOnly(IQorProperty* property, const char* name) {
  Property* p = qorQuery<Property>(property, "Property");
  if (!p || !p->isReadOnly()) return;
  QorString message;
  tr(message, "Cannot modify read only attribute '%1'", QorString(name));
  qor::raise(kErrReadOnly, message);
}

void PropertyMap::guardType(IQorProperty* property, const char* valueType, const char* name) {
  const char* has = property->typeName();
  if (has && qorNameIs(has, valueType)) return;
  QorString message;
  tr(message, "Wrong type (%1) for attribute '%2'. Should be %3", text(valueType), QorString(name),
     text(has));
  qor::raise(kErrWrongType, message);
}

void PropertyMap::addDynamicProperty(IQorProperty* property) {
  qor::readBogusDynamicPropertiesSetting();
  addProperty(property);
}

// ---- the plain setters and getters ----

void PropertyMap::set(const char* name, const QorString& value) {
  setTyped<StringProperty>(name, value);
}

void PropertyMap::set(const char* name, const char* value) {
  setTyped<StringProperty>(name, QorString(value));
}

void PropertyMap::setUtf8(const char* name, const char* utf8) {
  set(name, QorString::fromUtf8(utf8));
}

void PropertyMap::set(const char* name, bool value) {
  if (IQorProperty* p = getProperty(name)) {
    guardReadOnly(p, name);
    const char* has = p->typeName();
    if (has && qorNameIs(has, IntProperty::kTypeName)) {
      if (auto* i = qorQuery<IntProperty>(p, IntProperty::kClassName)) i->setValue(value ? 1 : 0);
      return;
    }
    guardType(p, BoolProperty::kTypeName, name);
    if (auto* b = qorQuery<BoolProperty>(p, BoolProperty::kClassName)) b->setValue(value);
    return;
  }
  IPtr<IQorProperty> made(
      new BoolProperty(QorString(name), value, false, (flags_ & kDynamicEvents) != 0));
  addDynamicProperty(made.get());
}

void PropertyMap::set(const char* name, int32_t value) {
  if (IQorProperty* p = getProperty(name)) {
    guardReadOnly(p, name);
    const char* has = p->typeName();
    if (has && qorNameIs(has, BoolProperty::kTypeName)) {
      if (auto* b = qorQuery<BoolProperty>(p, BoolProperty::kClassName)) b->setValue(value != 0);
      return;
    }
    guardType(p, IntProperty::kTypeName, name);
    if (auto* i = qorQuery<IntProperty>(p, IntProperty::kClassName)) i->setValue(value);
    return;
  }
  IPtr<IQorProperty> made(
      new IntProperty(QorString(name), value, false, (flags_ & kDynamicEvents) != 0));
  addDynamicProperty(made.get());
}

void PropertyMap::set(const char* name, double value) {
  setTyped<DoubleProperty>(name, value);
}

int32_t PropertyMap::getInt(const char* name) {
  IntProperty* p = typedProperty<IntProperty>(name, "int");
  return p ? p->getValue() : 0;
}

bool PropertyMap::getBool(const char* name) {
  BoolProperty* p = typedProperty<BoolProperty>(name, "bool");
  return p ? p->getValue() : false;
}

double PropertyMap::getDouble(const char* name) {
  DoubleProperty* p = typedProperty<DoubleProperty>(name, "double");
  return p ? p->getValue() : 0.0;
}

QorString PropertyMap::getString(const char* name) {
  QorString value;
  if (StringProperty* p = typedProperty<StringProperty>(name, "string")) p->getValue(value);
  return value;
}

// ---- the object, array and progress kinds ----

void PropertyMap::set(const char* name, ImageArray* value) {
  setTyped<ImageArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, IProgress* value) {
  setTyped<ProgressProperty>(name, value);
}
void PropertyMap::set(const char* name, QorGridPoint* value) {
  setTyped<QorGridPointProperty>(name, value);
}
void PropertyMap::set(const char* name, GridIndex* value) {
  setTyped<GridIndexProperty>(name, value);
}
void PropertyMap::set(const char* name, DirIndex* value) {
  setTyped<DirIndexProperty>(name, value);
}
void PropertyMap::set(const char* name, Array3D* value) {
  setTyped<Array3DProperty>(name, value);
}
void PropertyMap::set(const char* name, QorImage* value) {
  IQorProperty* p = getProperty(name);
  if (!p) {
    IPtr<IQorProperty> made(
        new ImageProperty(QorString(name), value, false, (flags_ & kDynamicEvents) != 0));
    addDynamicProperty(made.get());
    return;
  }
  guardReadOnly(p, name);
  auto* image = qorQuery<IQorImageProperty>(p, ImageProperty::kInterfaceName);
  if (!image) {
    QorString message;
    tr(message, "Wrong type (%1) for attribute '%2'. Should be Image", text(p->typeName()),
       QorString(name));
    qor::raise(kErrWrongType, message);
  }
  image->setValue(value);
}
void PropertyMap::set(const char* name, StringArray* value) {
  setTyped<StringArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, IntArray* value) {
  setTyped<IntArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, DoubleArray2D* value) {
  setTyped<DoubleArray2DProperty>(name, value);
}
void PropertyMap::set(const char* name, Vector3DArray2D* value) {
  setTyped<Vector3DArray2DProperty>(name, value);
}
void PropertyMap::set(const char* name, Vector3DArray* value) {
  setTyped<Vector3DArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, Vector2FArray* value) {
  setTyped<Vector2FArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, Vector2DArray* value) {
  setTyped<Vector2DArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, ColorArray* value) {
  setTyped<ColorArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, DoubleArray* value) {
  setTyped<DoubleArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, DataObjectArray* value) {
  setTyped<DataObjectArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, ByteArray* value) {
  setTyped<ByteArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, OrientedTriangleStackList* value) {
  setUnguarded<OrientedTriangleStackListProperty>(name, value);
}
void PropertyMap::set(const char* name, OrientedTriangleStack* value) {
  setUnguarded<OrientedTriangleStackProperty>(name, value);
}
void PropertyMap::set(const char* name, OrientedTriangle* value) {
  setUnguarded<OrientedTriangleProperty>(name, value);
}
void PropertyMap::set(const char* name, Transform3DArray* value) {
  setTyped<Transform3DArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, DataObject* value) {
  IQorProperty* p = getProperty(name);
  if (!p) {
    IPtr<IQorProperty> made(
        new ObjectProperty(QorString(name), value, false, (flags_ & kDynamicEvents) != 0));
    addDynamicProperty(made.get());
    return;
  }
  guardReadOnly(p, name);
  auto* object = qorQuery<ObjectProperty>(p, ObjectProperty::kClassName);
  QorString message;
  if (!object) {
    tr(message, "Wrong type (%1) for attribute '%2'. Should be DataObject", text(p->typeName()),
       QorString(name));
    qor::raise(kErrWrongType, message);
  }
  if (value) {
    // Any object fits a property for plain data objects; otherwise the script types match.
    const char* expected = object->scriptTypeName();
    if (!qorNameIs(expected, ObjectProperty::kDataObjectType) &&
        !qorNameIs(value->typeString(), expected)) {
      tr(message, "Wrong type (%1) for attribute '%2'. Should be %3", text(value->typeString()),
         QorString(name), text(expected));
      qor::raise(kErrWrongType, message);
    }
  }
  object->setValue(value);
}
void PropertyMap::set(const char* name, IQorUnknown* value) {
  set(name, qorQuery<DataObject>(value, "DataObject"));
}
void PropertyMap::setProgress(const char* name, IProgress* value) {
  setTyped<ProgressProperty>(name, value);
}

// Each pair of getters of a held-object kind: null for a missing name, the object of a
// property of that class, else the wrong-type error naming the asked type.
#define QOR_HELD_GETTERS(Type, getter, P, asked)                          \
  Type* PropertyMap::getter(const char* name) const {                     \
    P* p = const_cast<PropertyMap*>(this)->typedProperty<P>(name, asked); \
    return p ? p->getValue() : nullptr;                                   \
  }                                                                       \
  Type* PropertyMap::getter(const char* name) {                           \
    return static_cast<const PropertyMap*>(this)->getter(name);           \
  }

QOR_HELD_GETTERS(QorImage, getImage, ImageProperty, "QorImage")
QOR_HELD_GETTERS(Transform3DArray, getTransform3DArray, Transform3DArrayProperty,
                 "Transform3DArray")
QOR_HELD_GETTERS(OrientedTriangle, getOrientedTriangle, OrientedTriangleProperty,
                 "OrientedTriangle")
QOR_HELD_GETTERS(OrientedTriangleStack, getOrientedTriangleStack, OrientedTriangleStackProperty,
                 "OrientedTriangleStack")
QOR_HELD_GETTERS(OrientedTriangleStackList, getOrientedTriangleStackList,
                 OrientedTriangleStackListProperty, "OrientedTriangleStackList")
QOR_HELD_GETTERS(Array3D, getArray3D, Array3DProperty, "Array3D")
QOR_HELD_GETTERS(DirIndex, getDirIndex, DirIndexProperty, "DirIndex")
QOR_HELD_GETTERS(ByteArray, getByteArray, ByteArrayProperty, "ByteArray")
QOR_HELD_GETTERS(StringArray, getStringArray, StringArrayProperty, "StringArray")
QOR_HELD_GETTERS(IntArray, getIntArray, IntArrayProperty, "IntArray")
QOR_HELD_GETTERS(DoubleArray, getDoubleArray, DoubleArrayProperty, "DoubleArray")
QOR_HELD_GETTERS(ColorArray, getColorArray, ColorArrayProperty, "ColorArray")
QOR_HELD_GETTERS(Vector2DArray, getVector2DArray, Vector2DArrayProperty, "Vector2DArray")
QOR_HELD_GETTERS(Vector2FArray, getVector2FArray, Vector2FArrayProperty, "Vector2FArray")
QOR_HELD_GETTERS(Vector3DArray, getVector3DArray, Vector3DArrayProperty, "Vector3DArray")
QOR_HELD_GETTERS(DoubleArray2D, getDoubleArray2D, DoubleArray2DProperty, "DoubleArray2D")
QOR_HELD_GETTERS(Vector3DArray2D, getVector3DArray2D, Vector3DArray2DProperty, "Vector3DArray2D")
#undef QOR_HELD_GETTERS

GridIndex* PropertyMap::getGridIndex(const char* name) const {
  GridIndexProperty* p =
      const_cast<PropertyMap*>(this)->typedProperty<GridIndexProperty>(name, "GridIndex");
  return p ? p->getValue() : nullptr;
}
GridIndex* PropertyMap::getGridIndex(const char* name) {
  return static_cast<const PropertyMap*>(this)->getGridIndex(name);
}
QorGridPoint* PropertyMap::getGridPoint(const char* name) const {
  QorGridPointProperty* p =
      const_cast<PropertyMap*>(this)->typedProperty<QorGridPointProperty>(name, "QorGridPoint");
  return p ? p->getValue() : nullptr;
}
QorGridPoint* PropertyMap::getGridPoint(const char* name) {
  return static_cast<const PropertyMap*>(this)->getGridPoint(name);
}
DataObject* PropertyMap::getObject(const char* name) const {
  auto* self = const_cast<PropertyMap*>(this);
  ObjectProperty* p = self->typedProperty<ObjectProperty>(name, "DataObject");
  return p ? p->getValue() : nullptr;
}
DataObject* PropertyMap::getObject(const char* name) {
  return static_cast<const PropertyMap*>(this)->getObject(name);
}
DataObjectArray* PropertyMap::getDataObjectArray(const char* name) const {
  auto* self = const_cast<PropertyMap*>(this);
  DataObjectArrayProperty* p =
      self->typedProperty<DataObjectArrayProperty>(name, "DataObjectArray");
  return p ? p->getValue() : nullptr;
}
DataObjectArray* PropertyMap::getDataObjectArray(const char* name) {
  return static_cast<const PropertyMap*>(this)->getDataObjectArray(name);
}

QorImage* PropertyMap::getImage(const QorString& name) const {
  return getImage(name.narrow());
}
QorImage* PropertyMap::getImage(const QorString& name) {
  return getImage(name.narrow());
}
IProgress* PropertyMap::getIProgress(const char* name) {
  ProgressProperty* p = typedProperty<ProgressProperty>(name, "IProgress");
  return p ? p->getValue() : nullptr;
}
ImageArray* PropertyMap::getImageArray(const char* name) {
  ImageArrayProperty* p = typedProperty<ImageArrayProperty>(name, "ImageArray");
  return p ? p->getValue() : nullptr;
}
Progress* PropertyMap::getProgress(const char* name) {
  ProgressProperty* p = typedProperty<ProgressProperty>(name, "Progress");
  return p ? qorQuery<Progress>(p->getValue(), "Progress") : nullptr;
}

// ---- adding, replacing, removing ----

void PropertyMap::addProperty(IQorProperty* property) {
  if (!property) return;
  ensureStorage()[property->getName()] = property;
}

void PropertyMap::addProperty(IQorProperty* property, const char* name) {
  ensureStorage()[QorString(name)] = property;
}

void PropertyMap::replaceProperty(const char* name, IQorProperty* property) {
  if (properties_ && properties_->find(name ? name : "") != properties_->end())
    detachProperty(name);
  else
    missing(QorString(name));
  addProperty(property, name);
}

void PropertyMap::detachProperty(const char*) {}

bool PropertyMap::removeProperty(const QorString& name) {
  return properties_ && properties_->erase(name) > 0;
}

void PropertyMap::clearProperties() {
  if (!properties_) return;
  qor::PropertyStorage dropped;
  dropped.swap(*properties_);
}

void PropertyMap::clearPropertyValue(const char* name) {
  if (IQorProperty* p = getProperty(name)) {
    guardReadOnly(p, name);
    p->clearValue();
  }
}

int64_t PropertyMap::memorySize() {
  int64_t size = 8;
  if (properties_)
    for (const auto& [key, property] : *properties_)
      if (property) size += property->memorySize();
  return size;
}

void PropertyMap::setWarnMissing(bool warn) {
  flags_ = static_cast<uint8_t>(warn ? (flags_ | kWarnMissing) : (flags_ & ~kWarnMissing));
}

void PropertyMap::assignProperties(const PropertyMap& other) {
  flags_ = other.flags_;
  if (!other.properties_) return;
  qor::PropertyStorage& mine = ensureStorage();
  for (const auto& [key, theirs] : *other.properties_) {
    if (!theirs) continue;
    auto it = mine.find(key);
    if (it != mine.end() && it->second)
      it->second->assignFrom(theirs.get());
    else
      mine[key] = static_cast<IQorProperty*>(theirs->clone());
  }
}

bool PropertyMap::swapProperty(PropertyMap& other, const QorString& name) {
  bool here = properties_ && properties_->count(name) > 0;
  bool there = other.properties_ && other.properties_->count(name) > 0;
  if (!here && !there) return false;
  IPtr<IQorProperty>& a = ensureStorage()[name];
  IPtr<IQorProperty>& b = other.ensureStorage()[name];
  std::swap(a, b);
  return true;
}

// ---- descriptions and documentation ----

bool PropertyMap::descriptionOf(const QorString& name, QorString& out) {
  Descriptions& table = Descriptions::instance();
  QorString key(className());
  key.append(":");
  key += name;
  if (table.contains(key)) {
    out = table.lookup(key);
    return true;
  }
  IterStack<QueryEntry> lineage;
  listInterfaces(static_cast<IQorUnknown*>(this), lineage);
  for (int32_t i = 1; i <= lineage.count(); ++i) {
    const QueryEntry& e = lineage.get(i);
    if (!e.isClass) continue;
    QorString classKey(e.name.c_str());
    classKey.append(":");
    classKey += name;
    if (table.contains(classKey)) {
      out = table.lookup(classKey);
      return true;
    }
  }
  return false;
}

bool PropertyMap::getDescription(const char* name, QorString& out) {
  return descriptionOf(QorString(name), out);
}

bool PropertyMap::setDescription(const char* name, const QorString& text) {
  if (!name || !hasProperty(name)) return false;
  QorString key(className());
  key.append(":");
  key.append(name);
  Descriptions::instance().store(key, text);
  return true;
}

QorString PropertyMap::documentation() {
  QorString result;
  if (!properties_) return result;
  for (const auto& [key, property] : *properties_) {
    if (!property) continue;
    QorString value, description, line;
    property->printValue(key, value);
    if (!descriptionOf(key, description)) tr(description, "Property Documentation missing. \n");
    tr(line,
       property->isReadOnly() ? "   %1   %2 = %3   %4 (Read Only)\n" : "   %1   %2 = %3   %4\n",
       text(property->typeName()), key, value, description);
    result += line;
  }
  return result;
}

void PropertyMap::tableRangeAndValue(IQorProperty* property, const QorString& key, QorString& range,
                                     QorString& value) {
  if (auto* i = qorQuery<IntProperty>(property, IntProperty::kClassName)) {
    int32_t lo = 0, hi = 0;
    i->getBounds(lo, hi);
    tr(range, "%1 - %2", lo > -kIntShownLimit ? QorString(lo) : text("-INF"),
       hi < kIntShownLimit ? QorString(hi) : text("+INF"));
    const double v = i->getValue();
    if (v > static_cast<double>(kIntShownLimit))
      value = text("+INF");
    else if (v < -static_cast<double>(kIntShownLimit))
      value = text("-INF");
    else
      property->printValue(key, value);
    return;
  }
  if (auto* d = qorQuery<DoubleProperty>(property, DoubleProperty::kClassName)) {
    double lo = -kRealShownLimit, hi = kRealShownLimit;
    d->getBounds(lo, hi);
    tr(range, "%1 - %2", lo > -kRealShownLimit ? QorString(lo) : text("-INF"),
       hi < kRealShownLimit ? QorString(hi) : text("+INF"));
    const double v = d->getValue();
    if (v > kRealShownLimit)
      value = text("+INF");
    else if (v < -kRealShownLimit)
      value = text("-INF");
    else
      property->printValue(key, value);
    return;
  }
  range = QorString();
  if (!qor::tableValueOfMathProperty(property, value)) property->printValue(key, value);
}

QorString PropertyMap::documentationTable() {
  QorString result;
  if (!properties_) return result;
  for (const auto& [key, property] : *properties_) {
    if (!property) continue;
    const bool readOnly = property->isReadOnly();
    QorString type(property->typeName()), range, value, description, row;
    const int32_t dot = type.rfind(QorString("."), type.length());
    if (dot >= 0) type = type.right(dot + 1);
    if (readOnly)
      property->printValue(key, value);
    else
      tableRangeAndValue(property.get(), key, range, value);
    if (!descriptionOf(key, description)) tr(description, "Property Documentation missing. \n");
    QorString columns[6] = {key, text(readOnly ? "Yes" : "No"), type, range, value, description};
    tr(row, "%1@     - %2@     - %3@     - %4@     - %5@     - %6@@", columns[0], columns[1],
       columns[2], columns[3], columns[4], columns[5]);
    result += row;
  }
  return result;
}

// ---- the walk ----

PropertyMapIter::PropertyMapIter(const qor::PropertyStorage* storage) : storage_(storage) {
  first();
}

void PropertyMapIter::skipNulls() {
  while (storage_ && at_ != storage_->end() && !at_->second) ++at_;
}

void PropertyMapIter::first() {
  if (!storage_) return;
  at_ = storage_->begin();
  skipNulls();
}

void PropertyMapIter::next() {
  if (isDone()) return;
  ++at_;
  skipNulls();
}

bool PropertyMapIter::isDone() {
  return !storage_ || at_ == storage_->end();
}

IQorProperty* PropertyMapIter::currentProperty() {
  return isDone() ? nullptr : at_->second.get();
}

QorString PropertyMapIter::currentName() {
  return isDone() ? QorString("") : at_->first;
}
