// DataObject: a property map with a name, an identity and events of its own. It can be
// stored in a data-model file, it announces its death, and it re-fires every change of one
// of its properties as its own "property_modified", with the property and its name added to
// the arguments.
//
// Death, from the destructor: "deleted" fires first with null arguments while every event
// still works; then the events die; then the object stops hearing its properties and lets
// go of them; then the database forgets it; then every lifetime listener hears
// subjectDeleted, in order of addition.
#pragma once
#include <cstdint>

#include "base/iterstack.h"
#include "base/qorstring.h"
#include "datamodel/eventsubscriber.h"
#include "datamodel/iqordataobject.h"
#include "datamodel/propertymap.h"
#include "datamodel/qorpersistentref.h"

class DataObject;
class EventTable;
class IQorWriteQueue;

template <>
struct qor::EventSubscriberName<DataObject> {
  static constexpr const char* value = "QorTEventSubscriber<DataObject>";
};

class DataObject : public PropertyMap,
                   public QorPersistentRef,
                   public IQorDataObject,
                   public IQorLifetimeSubject {
 public:
  // An empty object with events "property_modified", "deleted" and "updated" (when the
  // flags keep events) and the routed property "name".
  DataObject();
  // A copy of `other`'s properties (clones: no subscriber comes along) and of its
  // persistent reference; object id -1, then initialised and named as `other`.
  DataObject(const DataObject& other);
  // Flags, name and object id as given, and the routed property "name"; no events and no
  // subscriber.
  DataObject(uint8_t flags, const QorString& name, int64_t objectId);
  DataObject& operator=(const DataObject&) = delete;
  ~DataObject() override;

  // Answers "DataObject", "IQorDataObject", "IQorLifetimeSubject", then the names of
  // PropertyMap and QorPersistentRef.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "DataObject"; }

  // ---- IQorDataObject ----
  int64_t getObjectId() override { return objectId_; }
  void getName(QorString& out) override { out = objectName_; }
  // Stores the name and, when the object keeps events, fires "name_changed" with the new
  // name as the string property "name" of the arguments.
  void setName(const QorString& name) override;
  // Null: a plain data object does not copy itself through this slot.
  IQorDataObject* clone() override { return nullptr; }
  void createHost() override {}
  void reserved6() override {}
  // Adds a listener; the same pointer may stand twice.
  void addListener(IQorLifetimeListener* listener) override;
  // Removes the last entry equal to `listener`, keeping the order of the others.
  void removeListener(IQorLifetimeListener* listener) override;
  bool subscribe(const QorCString& event, IQorEventSubscriber* subscriber) override;
  bool unsubscribe(const QorCString& event, IQorEventSubscriber* subscriber) override;
  // Every event name followed by a line feed, in the table's bucket order. The text lives
  // in one buffer per process until the next call.
  const char* eventNames() override;
  void fireEvent(const QorCString& event, IQorDataEventArgs* args) override;
  IQorUndoInfo* createUndoInfo() override { return nullptr; }
  void reserved14() override {}

  // ---- the map's operations that a data object changes ----
  // The map's addProperty, then the object subscribes to the property's
  // "property_modified".
  void addProperty(IQorProperty* property) override;
  void addProperty(IQorProperty* property, const char* name) override;
  // The object stops hearing the property before it is replaced.
  void detachProperty(const char* name) override;

  // ---- the data object's own operations ----
  // The script type name: "qorapi.datamodel.DataObject".
  virtual const char* typeString() { return "qorapi.datamodel.DataObject"; }
  // The body of a stored data object: name, extra data, persistent reference, properties.
  virtual bool readContent(IQorDataModelReader* reader, int32_t version);
  // Stores the graph of data objects reachable from this one: the document's object chunk
  // holds object, 1, object, 1, ..., object, 0.
  virtual bool writeDocument(IQorDataModelWriter* writer);
  // Reads a graph stored by writeDocument into this object and the objects it creates.
  virtual bool readDocument(IQorDataModelReader* reader);
  // A property's "property_modified" becomes the object's: adds "name" and the property
  // itself to the arguments and fires the object's own event with them. Always false.
  virtual bool handleEvent(IQorDataEventSource* sender, const QorCString& eventName,
                           IQorDataEventArgs* args);
  // Hooks for a subclass's own data that are no properties; nothing here.
  virtual bool readExtra(IQorDataModelReader* reader, int32_t version);
  virtual bool writeExtra(IQorDataModelWriter* writer);
  // Takes the warning setting, makes the subscriber and the three events (when the flags
  // keep events), adds the routed "name" and registers with the database.
  virtual void initialize();
  // Whether handleEvent, given a change of the property `sender` now, would pass it on to
  // anyone: a property asks before it builds the change, and builds nothing when no owner
  // and no subscriber of its own would hear it. A subclass that overrides handleEvent
  // overrides this too. Here: whether the object's own "property_modified" lists a
  // subscriber that is not marked removed.
  virtual bool forwardsPropertyChange(IQorDataEventSource* sender);

  // ---- IQorWriteable ----
  // The all-zero id for a plain DataObject; a subclass that does not override it raises
  // "Serialization not supported for %1".
  QorID classId() override;
  // The stored form, version 5.
  bool write(IQorDataModelWriter* writer) override;
  bool read(IQorDataModelReader* reader) override;
  using QorPersistentRef::read;
  using QorPersistentRef::write;

  // Lists `subscriber` on the named event in priority position (see the event's
  // subscribeWithPriority); false when the object has no event of that name.
  bool subscribeWithPriority(const QorCString& event, IQorEventSubscriber* subscriber,
                             int32_t priority);
  // Adds an event of that name (one entry per name); makes the table when there is none.
  void addEvent(const QorCString& name);
  // The name as the routed property reads it.
  const QorString& nameValue() const { return objectName_; }
  // The number of lifetime listeners.
  int32_t listenerCount() const;

 private:
  // Adds a property read from a file under `key`, which the map lacks.
  void adopt(const QorString& key, IQorProperty* property);
  // Makes the routed "name" property and adds it.
  void addNameProperty();
  // Lets go of the subscriber, the events and the listeners; the destructor's work.
  void die();

  EventTable* events_ = nullptr;
  DataEvent* modified_ = nullptr;  // "property_modified" of events_
  int64_t objectId_ = -1;
  QorString objectName_;
  QorTEventSubscriber<DataObject>* subscriber_ = nullptr;
  IterStack<IQorLifetimeListener*>* listeners_ = nullptr;
};
