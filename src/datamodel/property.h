// Property: the base of every typed property. It holds the name, the read-only flag, the
// persistence switch and the event machinery: a table with the one event
// "property_modified". A concrete class per value type adds the value and its own small
// interface.
//
// A property is reference counted; its map holds one reference. Events are on or off per
// property: with events off the property holds no table, and a change costs one pointer
// test. With events on the table is made at the first subscription, so a property nobody
// ever subscribed to (the "oldValue" and "newValue" of an argument object, say) carries
// none.
//
// A change is built lazily: only when a subscriber would hear it does the property get an
// argument object (see qor::EventArgs) and make its "oldValue" and "newValue" properties.
// What every subscriber receives is the same as if each change were always built.
#pragma once
#include <cstdint>

#include "base/qorcstring.h"
#include "base/qorstring.h"
#include "core/iptr.h"
#include "datamodel/dataevent.h"
#include "datamodel/dataeventsource.h"
#include "datamodel/iqorproperty.h"
#include "persistence/iqorwriteable.h"

class EventTable;
class IQorPropertyMap;
class PropertyMap;

namespace qor {
// The argument object of one firing, held for the length of the firing. Each firing gets an
// object that holds nothing but what its source puts in and that nobody else holds: this
// thread's spare object when there is one, else a new one from the service
// "IQorDataEventArgs". When the firing ends, an object that nobody kept (its count is back
// to this holder's one reference, its flags are as they came) is emptied and becomes the
// thread's spare again; so the service is asked on a thread's first firing, by a firing
// nested in another one's delivery, and after a subscriber kept its arguments. Without the
// service the holder is empty, and a source fires nothing.
class EventArgs {
 public:
  EventArgs();
  ~EventArgs();
  EventArgs(const EventArgs&) = delete;
  EventArgs& operator=(const EventArgs&) = delete;

  explicit operator bool() const { return static_cast<bool>(args_); }
  IQorDataEventArgs* get() const { return args_.get(); }
  // The object's IQorPropertyMap view, or null.
  IQorPropertyMap* map() const { return map_; }

  // The views of `args` when it is the object of the innermost holder this thread has
  // alive, else null: the answers queryInterface gives, without asking it again.
  static IQorPropertyMap* heldMap(IQorDataEventArgs* args);
  static PropertyMap* heldOwn(IQorDataEventArgs* args);
  // Records the property whose change the firing carries, and its event sender.
  void setSource(IQorDataEventSource* sender, IQorProperty* property) {
    sender_ = sender;
    property_ = property;
  }
  // The property recorded by the innermost holder alive on this thread when `args` is its
  // object and `sender` the recorded sender (what the sender answers for "IQorProperty"),
  // else null.
  static IQorProperty* heldProperty(IQorDataEventArgs* args, IQorDataEventSource* sender);

  // What a thread keeps between firings.
  struct Spare {
    IPtr<IQorDataEventArgs> args;
    IQorPropertyMap* map = nullptr;
    PropertyMap* own = nullptr;            // the object as this system's map, when it is one
    uint8_t flags = 0;                     // its flags as the service gave it
    const EventArgs* innermost = nullptr;  // the innermost holder alive on the thread
  };

 private:
  IPtr<IQorDataEventArgs> args_;
  IQorPropertyMap* map_ = nullptr;
  PropertyMap* own_ = nullptr;
  uint8_t flags_ = 0;
  const EventArgs* outer_;  // the holder that was innermost before this one
  IQorDataEventSource* sender_ = nullptr;
  IQorProperty* property_ = nullptr;
};
}  // namespace qor

class Property : public DataEventSource, public IQorProperty, public IQorWriteable {
 public:
  // A property named `name`, with events on or off; the table of an events-on property,
  // with its one event "property_modified", is made at the first subscription.
  Property(const QorString& name, bool readOnly, bool withEvents);
  // The same with an empty name.
  Property(bool readOnly, bool withEvents);
  // Copies the read-only flag and the name; writeable; events on exactly when `other` has
  // them on. Subscribers are never copied.
  Property(const Property& other);
  Property& operator=(const Property&) = delete;
  // Switches events off: the events die without notice to subscribers.
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
  bool eventsEnabled() override { return eventsOn_ != 0; }
  // Off: destroys the events (true if they were on). On: "property_modified" exists again,
  // with no subscriber (true if they were off). Subscribers are lost on the way off and do
  // not come back.
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
  // Whether a "property_modified" fired now would reach a subscriber that hears it.
  bool changeHeard() { return modified_ && modified_->wouldDeliver(eventSender()); }

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

  // The common change path of the typed classes. When a subscriber would hear the change
  // and an argument object can be had: adds "oldValue" and "newValue" to it as new
  // properties of class P (events on), and fires "property_modified" with it.
  template <class P, class V>
  void fireValueChanged(const V& oldValue, const V& newValue) {
    if (!changeHeard()) return;
    qor::EventArgs args;
    if (!args) return;
    IPtr<IQorProperty> oldProperty(new P(oldValueName(), oldValue, false, true));
    IPtr<IQorProperty> newProperty(new P(newValueName(), newValue, false, true));
    deliverValueChanged(args, oldProperty.get(), newProperty.get());
  }
  // The names of the two value properties of a change.
  static const QorString& oldValueName();
  static const QorString& newValueName();

 private:
  // The part of fireValueChanged that does not depend on the value type.
  void deliverValueChanged(qor::EventArgs& args, IQorProperty* oldValue, IQorProperty* newValue);
  // Makes the table with its one event, when events are on and it is not made yet.
  EventTable* table();

  uint8_t readOnly_;
  uint8_t eventsOn_ = 0;
  uint8_t writeable_ = 1;
  QorString name_;
  EventTable* events_ = nullptr;
  DataEvent* modified_ = nullptr;  // "property_modified" of events_
};

namespace qor {
// The log line of a stored property whose chunk version this build does not know: its
// content is skipped and the value stays as it was.
void logUnknownVersion(IQorProperty* property, int32_t version);
}  // namespace qor
