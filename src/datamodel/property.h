// Property: the base of every typed property. It holds the name, the read-only flag, the
// persistence switch and the event machinery: a table with the one event
// "property_modified" and an argument object prepared ahead for the next firing. A
// concrete class per value type adds the value and its own small interface.
//
// A property is reference counted; its map holds one reference. Events are on or off per
// property: with events off the property holds no table and no argument object, and a
// change costs one pointer test.
#pragma once
#include <cstdint>

#include "base/qorcstring.h"
#include "base/qorstring.h"
#include "core/iptr.h"
#include "datamodel/dataeventsource.h"
#include "datamodel/iqorproperty.h"
#include "persistence/iqorwriteable.h"

class EventTable;

class Property : public DataEventSource, public IQorProperty, public IQorWriteable {
 public:
  // A property named `name`; with `withEvents` it starts with its table, the event
  // "property_modified" and an argument object from the service "IQorDataEventArgs".
  Property(const QorString& name, bool readOnly, bool withEvents);
  // The same with an empty name.
  Property(bool readOnly, bool withEvents);
  // Copies the read-only flag and the name; writeable; events on exactly when `other` has
  // an argument object. Subscribers are never copied.
  Property(const Property& other);
  Property& operator=(const Property&) = delete;
  // Switches events off (the events die without notice to subscribers) and lets go of the
  // argument object.
  ~Property() override;

  // Answers "Property", "IQorUnknown", "IQorProperty", "IQorWriteable", then the names of
  // DataEventSource.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "Property"; }

  // "Invalid".
  const char* typeName() override { return "Invalid"; }
  // "Invalid Value".
  void printValue(const QorString& name, QorString& out) override;
  bool subscribe(const QorCString& event, IQorEventSubscriber* subscriber) override;
  bool unsubscribe(const QorCString& event, IQorEventSubscriber* subscriber) override;
  // A plain Property by the copy rule.
  Property* clone() override;
  const QorString& getName() override { return name_; }
  void setName(const QorString& name) override { name_ = name; }
  // Nothing: the base has no value.
  void clearValue() override {}
  bool isReadOnly() override { return readOnly_ != 0; }
  // Nothing: the base has no value.
  void assignFrom(IQorProperty*) override {}
  // 0 for the base.
  int64_t memorySize() override { return 0; }
  bool eventsEnabled() override { return events_ != nullptr; }
  // Off: destroys the events and drops the argument object (true if they existed). On:
  // makes the table, "property_modified" and a fresh argument object (true if they were
  // off). Subscribers are lost on the way off and do not come back.
  bool setEventsEnabled(bool enabled) override;

  // Raises "Serialization not supported for %1" as a class error of "Document".
  QorID classId() override;
  // Writes nothing; true.
  bool write(IQorDataModelWriter* writer) override;
  // Reads nothing; true.
  bool read(IQorDataModelReader* reader) override;
  void setWriteable(bool writeable) override { writeable_ = writeable ? 1 : 0; }
  bool isWriteable() override { return writeable_ != 0; }

  // Fires the event `name` with this property as sender; nothing when events are off or
  // there is no such event.
  void fireEvent(const QorCString& name, IQorDataEventArgs* args);
  // The argument object prepared for the next firing, or null.
  IQorDataEventArgs* eventArgs() const { return eventArgs_.get(); }
  // The event table, or null while events are off.
  EventTable* events() const { return events_; }

 protected:
  // What initialize of the typed classes stores besides the value: name and read-only flag.
  void initializeBase(const QorString& name, bool readOnly) {
    name_ = name;
    readOnly_ = readOnly ? 1 : 0;
  }
  // queryInterface of a typed class: answers `className` (as `self`), "IQorUnknown",
  // `interfaceName` (as `view`), then the names of Property; with a null name describes the
  // class and then its bases into the query record.
  void queryTyped(const char* className, void* self, const char* interfaceName, void* view,
                  const char* name, void** out, uintptr_t reserved);

  // The common change path of the typed classes: unless the argument object is missing,
  // adds "oldValue" and "newValue" as new properties of class P (events on), fires
  // "property_modified" and prepares a fresh argument object for the next firing.
  template <class P, class V>
  void fireValueChanged(const V& oldValue, const V& newValue) {
    if (!eventArgs_) return;
    deliverValueChanged(new P(QorString("oldValue"), oldValue, false, true),
                        new P(QorString("newValue"), newValue, false, true));
  }

 private:
  // The part of fireValueChanged that does not depend on the value type. Takes the two new
  // properties at count 0.
  void deliverValueChanged(Property* oldProperty, Property* newProperty);
  // Makes the table with its event and fetches the argument object.
  void enableEvents();

  uint8_t readOnly_;
  QorString name_;
  EventTable* events_ = nullptr;
  IPtr<IQorDataEventArgs> eventArgs_;
  uint8_t writeable_ = 1;
};

namespace qor {
// The log line of a stored property whose chunk version this build does not know: its
// content is skipped and the value stays as it was.
void logUnknownVersion(IQorProperty* property, int32_t version);
// A new argument object from the service "IQorDataEventArgs", or null without one.
IPtr<IQorDataEventArgs> newEventArgs();
}  // namespace qor
