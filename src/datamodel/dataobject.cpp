#include "datamodel/dataobject.h"

#include <mutex>
#include <string>

#include "core/locator.h"
#include "core/translate.h"
#include "datamodel/eventtable.h"
#include "datamodel/objectproperty.h"
#include "datamodel/routedproperty.h"
#include "datamodel/stringproperty.h"
#include "hostapi/iqordatabase.h"
#include "hostapi/iqorwritequeue.h"
#include "persistence/iqordatamodel.h"

namespace {

const QorCString kPropertyModified(kBorrow, "property_modified");
const QorCString kDeleted(kBorrow, "deleted");
const QorCString kUpdated(kBorrow, "updated");
const QorCString kNameChanged(kBorrow, "name_changed");

// The chunk round a data object's extra data.
constexpr uint32_t kExtraTag = 0xB00BBE;

// The host's register of live objects, fetched once per process.
IQorDatabase* database() {
  static IQorDatabase* db = [] {
    void* out = nullptr;
    return getService("IQorDatabase", &out) == 1 ? static_cast<IQorDatabase*>(out) : nullptr;
  }();
  return db;
}

// The key "name" of the arguments of a change, borrowed: its copies share the literal.
const QorString& nameKey() {
  static const QorString* key = new QorString(kBorrow, u"name", "name");
  return *key;
}

IQorPropertyMap* argsMap(IQorDataEventArgs* args) {
  if (IQorPropertyMap* held = qor::EventArgs::heldMap(args)) return held;
  return qorQuery<IQorPropertyMap>(args, "IQorPropertyMap");
}

template <class T>
T* service(const char* name) {
  void* out = nullptr;
  return getService(name, &out) == 1 ? static_cast<T*>(out) : nullptr;
}

}  // namespace

DataObject::DataObject() {
  initialize();
}

DataObject::DataObject(const DataObject& other)
    : IQorUnknown(),
      PropertyMap(other),
      QorPersistentRef(other),
      IQorDataObject(),
      IQorLifetimeSubject() {
  initialize();
  // The cloned properties came into the storage directly: the copy hears them too.
  if (subscriber_ && storage())
    for (const auto& [key, property] : *storage())
      if (property) property->subscribe(kPropertyModified, subscriber_);
  setName(other.objectName_);
}

DataObject::DataObject(uint8_t flags, const QorString& name, int64_t objectId)
    : objectId_(objectId), objectName_(name) {
  setFlags(flags);
  addNameProperty();
}

DataObject::~DataObject() {
  die();
}

void DataObject::die() {
  qor::fireEvent(events_, kDeleted, eventSender(), nullptr);
  delete events_;
  events_ = nullptr;
  modified_ = nullptr;
  if (qor::PropertyStorage* all = mutableStorage())
    for (auto& [key, property] : *all) {
      if (!property) continue;
      if (subscriber_) property->unsubscribe(kPropertyModified, subscriber_);
      property.reset();
    }
  if ((flags() & kRegisters) != 0)
    if (IQorDatabase* db = database()) db->remove(this);
  if (listeners_) {
    for (int32_t i = 1; i <= listeners_->count(); ++i)
      listeners_->get(i)->subjectDeleted(static_cast<IQorLifetimeSubject*>(this));
    delete listeners_;
    listeners_ = nullptr;
  }
  delete subscriber_;
  subscriber_ = nullptr;
}

void DataObject::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("DataObject", out);
    walkAddInterface("IQorDataObject", out);
    walkAddInterface("IQorLifetimeSubject", out);
    PropertyMap::queryInterface(nullptr, out, reserved);
    QorPersistentRef::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "DataObject"))
    *out = this;
  else if (qorNameIs(name, "IQorDataObject"))
    *out = static_cast<IQorDataObject*>(this);
  else if (qorNameIs(name, "IQorLifetimeSubject"))
    *out = static_cast<IQorLifetimeSubject*>(this);
  else if (!queryPersistentRef(name, out))
    PropertyMap::queryInterface(name, out, reserved);
}

void DataObject::initialize() {
  uint8_t f = flags();
  f = qor::warnAboutMissingProperties() ? (f | kWarnMissing) : (f & ~kWarnMissing);
  setFlags(static_cast<uint8_t>(f & ~1u));
  if ((flags() & kOwnEvents) != 0) {
    delete subscriber_;
    subscriber_ = new QorTEventSubscriber<DataObject>(this, &DataObject::handleEvent,
                                                      &DataObject::forwardsPropertyChange);
    if (!events_) events_ = new EventTable(nextPrime(6));
    modified_ = events_->addEvent(kPropertyModified);
    events_->addEvent(kDeleted);
    events_->addEvent(kUpdated);
  }
  addNameProperty();
  if ((flags() & kRegisters) != 0)
    if (IQorDatabase* db = database()) db->add(this);
}

void DataObject::adopt(const QorString& key, IQorProperty* property) {
  // replaceProperty of a name the map lacks, by the wide key: the missing-property check,
  // then addProperty under the property's own name.
  missing(key);
  property->setName(key);
  addProperty(property);
}

void DataObject::addNameProperty() {
  using Name = RoutedPropertyTemplate<QorString, StringProperty, DataObject>;
  using Get =
      QorRetMsgRtr_const<DataObject, QorString, void*, void*, void*, void*, const QorString&>;
  using Set = QorSingleMsgRtr<DataObject, QorString, const QorString&>;
  IPtr<IQorProperty> name(new Name(QorString(u"name"), false, new Get(this, &DataObject::nameValue),
                                   new Set(this, &DataObject::setName)));
  addProperty(name.get());
}

void DataObject::setName(const QorString& name) {
  objectName_ = name;
  if ((flags() & kOwnEvents) == 0) return;
  DataEvent* changed = events_ ? events_->find(kNameChanged) : nullptr;
  if (!changed || !changed->wouldDeliver(eventSender())) return;
  qor::EventArgs args;
  if (!args) return;
  if (IQorPropertyMap* map = args.map()) {
    IPtr<IQorProperty> p(new StringProperty(nameKey(), name, false, true));
    map->addProperty(p.get());
  }
  changed->fire(eventSender(), args.get());
}

void DataObject::addListener(IQorLifetimeListener* listener) {
  if (!listeners_) listeners_ = new IterStack<IQorLifetimeListener*>(2);
  listeners_->push(listener);
}

void DataObject::removeListener(IQorLifetimeListener* listener) {
  if (!listeners_) return;
  for (int32_t i = listeners_->count(); i >= 1; --i)
    if (listeners_->get(i) == listener) {
      listeners_->removeAt(i);
      return;
    }
}

int32_t DataObject::listenerCount() const {
  return listeners_ ? listeners_->count() : 0;
}

bool DataObject::subscribe(const QorCString& event, IQorEventSubscriber* subscriber) {
  return qor::subscribeEvent(events_, event, subscriber);
}

bool DataObject::unsubscribe(const QorCString& event, IQorEventSubscriber* subscriber) {
  return qor::unsubscribeEvent(events_, event, subscriber);
}

bool DataObject::subscribeWithPriority(const QorCString& event, IQorEventSubscriber* subscriber,
                                       int32_t priority) {
  IQorDataObjectEvent* e = events_ ? events_->find(event) : nullptr;
  if (!e) return false;
  e->subscribeWithPriority(subscriber, priority);
  return true;
}

const char* DataObject::eventNames() {
  static std::string buffer;  // one per process, until the next call
  buffer.clear();
  if (events_)
    events_->forEach([](IQorDataObjectEvent* e) {
      buffer += e->eventName().c_str();
      buffer += '\n';
    });
  return buffer.c_str();
}

void DataObject::fireEvent(const QorCString& event, IQorDataEventArgs* args) {
  qor::fireEvent(events_, event, eventSender(), args);
}

void DataObject::addEvent(const QorCString& name) {
  if (!events_) events_ = new EventTable(nextPrime(6));
  DataEvent* e = events_->addEvent(name);
  if (name == kPropertyModified) modified_ = e;
}

void DataObject::addProperty(IQorProperty* property) {
  PropertyMap::addProperty(property);
  if (property && subscriber_) property->subscribe(kPropertyModified, subscriber_);
}

void DataObject::addProperty(IQorProperty* property, const char* name) {
  PropertyMap::addProperty(property, name);
  if (property && subscriber_) property->subscribe(kPropertyModified, subscriber_);
}

void DataObject::detachProperty(const char* name) {
  IQorProperty* p = name ? getProperty(name) : nullptr;
  if (p && subscriber_) p->unsubscribe(kPropertyModified, subscriber_);
}

bool DataObject::handleEvent(IQorDataEventSource* sender, const QorCString&,
                             IQorDataEventArgs* args) {
  IQorProperty* property = qor::EventArgs::heldProperty(args, sender);
  if (!property) property = qorQuery<IQorProperty>(sender, "IQorProperty");
  if (!property) return false;
  if (IQorPropertyMap* map = argsMap(args)) {
    if (!map->hasProperty("name")) {
      IPtr<IQorProperty> n(new StringProperty(nameKey(), property->getName(), false, true));
      map->addProperty(n.get());
    }
    map->addProperty(property);
  }
  if (modified_) modified_->fire(eventSender(), args);
  return false;
}

bool DataObject::forwardsPropertyChange(IQorDataEventSource*) {
  return modified_ && modified_->hasLiveSubscriber();
}

bool DataObject::readExtra(IQorDataModelReader*, int32_t) {
  return true;
}

bool DataObject::writeExtra(IQorDataModelWriter*) {
  return true;
}

QorID DataObject::classId() {
  if (qorNameIs(className(), "DataObject")) return QorID();
  QorString text;
  tr(text, "Serialization not supported for %1", QorString(className()));
  qor::classError("Document", text);
}

namespace {

// The property classes that store no complete form of their value.
constexpr const char* kNotStored[] = {"QorQuaternionProperty", "QorRectProperty",
                                      "QorGridPointProperty",  "GridIndexProperty",
                                      "ProgressProperty",      "ImageProperty"};

bool hasStoredForm(IQorProperty* p) {
  for (const char* cls : kNotStored)
    if (qorQuery<IQorUnknown>(p, cls)) return false;
  return true;
}

// Whether a property takes part in the stored form: present, writable by script, and
// answering IQorWriteable with isWriteable true.
// Classes without a complete stored form (no class id, or no chunk at all) are left out,
// so that a file never holds a key without its object chunk.
IQorWriteable* storedForm(IQorProperty* p) {
  if (!p || p->isReadOnly()) return nullptr;
  IQorWriteable* w = qorQuery<IQorWriteable>(p, "IQorWriteable");
  if (!w || !w->isWriteable()) return nullptr;
  return hasStoredForm(p) ? w : nullptr;
}

// A property of the object's own takes a stored chunk when it is writable and of the
// stored class (or derived from it).
bool takesStoredForm(IQorProperty* existing, IQorProperty* made) {
  if (existing->isReadOnly()) return false;
  void* same = nullptr;
  existing->queryInterface(made->className(), &same, 0);
  return same != nullptr;
}

// The log line of a stored property or object that reading leaves out.
void logSkipped(const QorString& key, const QorID& id, const char* why) {
  QorString text;
  if (key.isEmpty())
    tr(text, "Skipped a stored object of class %1: %2", QorString(id.toString().c_str()),
       QorString(why));
  else
    tr(text, "Skipped stored property '%1' of class %2: %3", key, QorString(id.toString().c_str()),
       QorString(why));
  qor::logLine("Document", text);
}

}  // namespace

bool DataObject::write(IQorDataModelWriter* writer) {
  writer->beginObject(this, 5);
  writer->write(getString("name"));
  writer->beginChunk(kExtraTag, 2);
  writeExtra(writer);
  writer->endChunk();
  QorPersistentRef::write(writer);
  int32_t count = 0;
  if (storage())
    for (const auto& [key, property] : *storage())
      if (storedForm(property.get())) ++count;
  writer->write(count);
  if (storage())
    for (const auto& [key, property] : *storage())
      if (property && !hasStoredForm(property.get()) && !property->isReadOnly()) {
        QorString text;
        tr(text, "Left out property '%1' of class %2: it has no stored form", key,
           QorString(property->className()));
        qor::logLine("Document", text);
      }
  IQorPersistentRefMap* refs = qor::persistentRefMap();
  IQorWriteQueue* queue = service<IQorWriteQueue>("IQorWriteQueue");
  if (storage())
    for (const auto& [key, property] : *storage()) {
      IQorWriteable* stored = storedForm(property.get());
      if (!stored) continue;
      qor::queueReferencedObjects(property.get(), refs, queue);
      writer->writeObjectName(key);
      stored->write(writer);
      writer->endObjectName();
    }
  writer->endObject();
  return true;
}

bool DataObject::read(IQorDataModelReader* reader) {
  int32_t version = 0;
  reader->beginObject(this, &version);
  bool result = readContent(reader, version);
  reader->endObject();
  return result;
}

bool DataObject::readContent(IQorDataModelReader* reader, int32_t version) {
  QorString name;
  reader->read(name);
  set("name", name);
  if (reader->peekTag() == kExtraTag) {
    reader->beginChunk();
    readExtra(reader, version);
    reader->endChunk();
  } else {
    readExtra(reader, version);
  }
  if (version >= 3) QorPersistentRef::read(reader);
  int32_t count = 0;
  if (!reader->read(count)) return false;
  bool result = true;
  int32_t failures = 0;
  for (int32_t turn = 0; turn < count; ++turn) {
    // A reader that failed yields nothing more: a corrupt count must not spin on.
    if (!reader->good()) return false;
    const QorString key = reader->peekObjectName();
    QorID id;
    reader->readObjectName(key, &id);
    if (!id.isValid()) return false;
    void* out = nullptr;
    createInstance(&id, QorCString(kBorrow, "IQorProperty"), &out);
    IPtr<IQorProperty> made(static_cast<IQorProperty*>(out));
    IQorProperty* existing = made ? getProperty(key) : nullptr;
    if (!made || (existing && !takesStoredForm(existing, made.get()))) {
      // Skip the property's chunk whole, so the next name is found: a class this host
      // cannot make, or a property of the object's own that is read-only or of another
      // class than the one stored.
      if (!made) {
        ++failures;
        result = false;
      }
      logSkipped(key, id, made ? "does not take it" : "unknown class");
      reader->beginChunk();
      reader->endChunk();
      reader->endObjectName(key);
      if (!made && failures >= 100 && count > 10000) return result;
      continue;
    }
    IQorWriteable* own = made ? qorQuery<IQorWriteable>(made.get(), "IQorWriteable") : nullptr;
    IQorWriteable* there = existing ? qorQuery<IQorWriteable>(existing, "IQorWriteable") : nullptr;
    if (qorQuery<IQorUnknown>(made.get(), "ObjectProperty") && version >= 4) {
      if (there) {
        there->read(reader);
      } else if (own) {
        own->read(reader);
        adopt(key, made.get());
      }
    } else if (version < 5) {
      if (!own || !own->read(reader)) {
        ++failures;
        result = false;
        if (failures >= 100) return result;
      } else {
        made->setName(key);
        if (existing)
          existing->assignFrom(made.get());
        else
          adopt(key, made.get());
      }
    } else {
      made->setName(key);
      if (there) {
        there->read(reader);
      } else if (own) {
        own->read(reader);
        adopt(key, made.get());
      }
    }
    reader->endObjectName(key);
  }
  return result;
}

bool DataObject::writeDocument(IQorDataModelWriter* writer) {
  IQorPersistentRefMap* refs = qor::persistentRefMap();
  if (refs) refs->getRefId(this);
  writer->beginObject(this, 5);
  IQorWriteQueue* queue = service<IQorWriteQueue>("IQorWriteQueue");
  if (!queue) {
    write(writer);
  } else {
    queue->clear();
    queue->push(this);
    while (!queue->isEmpty()) {
      IQorDataObject* next = queue->pop();
      if (IQorWriteable* w = qorQuery<IQorWriteable>(next, "IQorWriteable")) w->write(writer);
      if (!queue->isEmpty()) writer->write(int8_t{1});
    }
  }
  writer->write(int8_t{0});
  writer->endObject();
  return true;
}

bool DataObject::readDocument(IQorDataModelReader* reader) {
  int32_t version = 0;
  reader->beginObject(this, &version);
  if (version < 4) {
    readContent(reader, version);
    reader->endObject();
    return true;
  }
  if (version == 4) {
    readContent(reader, version);
    reader->endObject();
  } else {
    read(reader);
  }
  int8_t more = 0;
  reader->read(more);
  while (more != 0 && reader->good()) {
    QorID id = reader->peekObjectId();
    void* out = nullptr;
    createInstance(&id, QorCString(kBorrow, "DataObject"), &out);
    IPtr<DataObject> object(static_cast<DataObject*>(out));
    if (object) {
      object->read(reader);
    } else {
      // An object of a class that cannot be made: skip its chunk whole.
      logSkipped(QorString(), id, "unknown class");
      reader->beginChunk();
      reader->endChunk();
    }
    more = 0;
    reader->read(more);
  }
  reader->endObject();
  return true;
}
