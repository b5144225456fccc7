#include "datamodel/property.h"

#include "core/listing.h"
#include "core/locator.h"
#include "core/translate.h"
#include "datamodel/eventtable.h"
#include "datamodel/iqorpropertymap.h"
#include "datamodel/valueproperty.h"

namespace qor {
IPtr<IQorDataEventArgs> newEventArgs() {
  void* out = nullptr;
  getService("IQorDataEventArgs", &out);
  return IPtr<IQorDataEventArgs>(static_cast<IQorDataEventArgs*>(out));
}
}  // namespace qor

namespace {
const QorCString kModified(kBorrow, "property_modified");
}

Property::Property(const QorString& name, bool readOnly, bool withEvents)
    : readOnly_(readOnly ? 1 : 0), name_(name) {
  if (withEvents) enableEvents();
}

Property::Property(bool readOnly, bool withEvents) : readOnly_(readOnly ? 1 : 0) {
  if (withEvents) enableEvents();
}

Property::Property(const Property& other)
    : IQorUnknown(),
      DataEventSource(),
      IQorProperty(),
      IQorWriteable(),
      readOnly_(other.readOnly_),
      name_(other.name_) {
  if (other.eventArgs_) enableEvents();
}

Property::~Property() {
  setEventsEnabled(false);
}

void Property::enableEvents() {
  events_ = new EventTable(nextPrime(2));
  events_->addEvent(kModified);
  eventArgs_ = qor::newEventArgs();
}

bool Property::setEventsEnabled(bool enabled) {
  if (!enabled) {
    if (!events_) return false;
    EventTable* dead = events_;
    events_ = nullptr;
    delete dead;
    eventArgs_.reset();
    return true;
  }
  if (events_) return false;
  enableEvents();
  return true;
}

void Property::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("Property", out);
    walkAddInterface("IQorUnknown", out);
    walkAddInterface("IQorProperty", out);
    walkAddInterface("IQorWriteable", out);
    DataEventSource::queryInterface(nullptr, out, reserved);
    walkLeaveClass(out);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "Property"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorProperty"))
    *out = static_cast<IQorProperty*>(this);
  else if (qorNameIs(name, "IQorWriteable"))
    *out = static_cast<IQorWriteable*>(this);
  else
    DataEventSource::queryInterface(name, out, reserved);
}

void Property::queryTyped(const char* className, void* self, const char* interfaceName, void* view,
                          const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass(className, out);
    walkAddInterface("IQorUnknown", out);
    walkAddInterface(interfaceName, out);
    Property::queryInterface(nullptr, out, reserved);
    walkLeaveClass(out);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, className))
    *out = self;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, interfaceName))
    *out = view;
  else
    Property::queryInterface(name, out, reserved);
}

void Property::printValue(const QorString&, QorString& out) {
  out = QorString("Invalid Value");
}

bool Property::subscribe(const QorCString& event, IQorEventSubscriber* subscriber) {
  return qor::subscribeEvent(events_, event, subscriber);
}

bool Property::unsubscribe(const QorCString& event, IQorEventSubscriber* subscriber) {
  return qor::unsubscribeEvent(events_, event, subscriber);
}

Property* Property::clone() {
  return new Property(*this);
}

QorID Property::classId() {
  QorString text;
  tr(text, "Serialization not supported for %1", QorString(className()));
  qor::classError("Document", text);
}

bool Property::write(IQorDataModelWriter*) {
  return true;
}

bool Property::read(IQorDataModelReader*) {
  return true;
}

void Property::fireEvent(const QorCString& name, IQorDataEventArgs* args) {
  qor::fireEvent(events_, name, static_cast<IQorDataEventSource*>(this), args);
}

void Property::deliverValueChanged(Property* oldProperty, Property* newProperty) {
  IPtr<IQorProperty> oldValue(oldProperty), newValue(newProperty);
  // Held here: a subscriber that sets this property again replaces eventArgs_.
  IPtr<IQorDataEventArgs> args = eventArgs_;
  if (auto* map = qorQuery<IQorPropertyMap>(args.get(), "IQorPropertyMap")) {
    map->addProperty(oldValue.get());
    map->addProperty(newValue.get());
  }
  // The next firing gets a fresh object, also when a subscriber throws.
  struct Refresh {
    IPtr<IQorDataEventArgs>& slot;
    ~Refresh() { slot = qor::newEventArgs(); }
  } refresh{eventArgs_};
  fireEvent(kModified, args.get());
}

namespace qor {
void assignMismatch(IQorProperty* target, IQorProperty* source) {
  QorString text;
  tr(text, "Wrong type (%1) for attribute '%2'. Should be %3", QorString(source->typeName()),
     target->getName(), QorString(target->typeName()));
  raise(kErrWrongType, text);
}
}  // namespace qor

namespace qor {
void logUnknownVersion(IQorProperty* property, int32_t version) {
  QorString text;
  tr(text, "Skipped stored property '%1' of class %2: version %3 is not known", property->getName(),
     QorString(property->className()), QorString(version));
  logLine("Document", text);
}
}  // namespace qor
