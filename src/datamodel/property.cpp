#include "datamodel/property.h"

#include "core/listing.h"
#include "core/locator.h"
#include "core/translate.h"
#include "datamodel/eventtable.h"
#include "datamodel/iqorpropertymap.h"
#include "datamodel/propertymap.h"
#include "datamodel/valueproperty.h"

namespace {
const QorCString kModified(kBorrow, "property_modified");

// The spare of this thread, once it is made: a plain pointer, reached without the guard
// and the registration of a thread-local object.
thread_local qor::EventArgs::Spare* tSpare = nullptr;

struct SpareOwner {
  qor::EventArgs::Spare spare;
  ~SpareOwner() { tSpare = nullptr; }
};

qor::EventArgs::Spare& spare() {
  if (qor::EventArgs::Spare* s = tSpare) return *s;
  thread_local SpareOwner owner;
  tSpare = &owner.spare;
  return owner.spare;
}

}  // namespace

namespace qor {

EventArgs::EventArgs() {
  Spare& s = spare();
  if (s.args) {
    args_ = std::move(s.args);
    map_ = s.map;
    own_ = s.own;
    flags_ = s.flags;
  } else {
    void* out = nullptr;
    getService("IQorDataEventArgs", &out);
    args_ = static_cast<IQorDataEventArgs*>(out);
    if (args_) {
      map_ = qorQuery<IQorPropertyMap>(args_.get(), "IQorPropertyMap");
      own_ = qorQuery<PropertyMap>(args_.get(), "PropertyMap");
      if (own_) flags_ = own_->flags();
    }
  }
  outer_ = s.innermost;
  s.innermost = this;
}

EventArgs::~EventArgs() {
  Spare& s = spare();
  s.innermost = outer_;
  if (!own_ || args_->refCount() != 1 || own_->flags() != flags_) return;
  // Emptied before it is offered again: what the entries release may fire in turn.
  own_->clearProperties();
  if (s.args || args_->refCount() != 1) return;
  s.args = std::move(args_);
  s.map = map_;
  s.own = own_;
  s.flags = flags_;
}

IQorPropertyMap* EventArgs::heldMap(IQorDataEventArgs* args) {
  const EventArgs* held = spare().innermost;
  return held && args && held->args_.get() == args ? held->map_ : nullptr;
}

IQorProperty* EventArgs::heldProperty(IQorDataEventArgs* args, IQorDataEventSource* sender) {
  const EventArgs* held = spare().innermost;
  return held && args && sender && held->args_.get() == args && held->sender_ == sender
             ? held->property_
             : nullptr;
}

PropertyMap* EventArgs::heldOwn(IQorDataEventArgs* args) {
  const EventArgs* held = spare().innermost;
  return held && args && held->args_.get() == args ? held->own_ : nullptr;
}

}  // namespace qor

Property::Property(const QorString& name, bool readOnly, bool withEvents)
    : readOnly_(readOnly ? 1 : 0), eventsOn_(withEvents ? 1 : 0), name_(name) {}

Property::Property(bool readOnly, bool withEvents)
    : readOnly_(readOnly ? 1 : 0), eventsOn_(withEvents ? 1 : 0) {}

Property::Property(const Property& other)
    : IQorUnknown(),
      DataEventSource(),
      IQorProperty(),
      IQorWriteable(),
      readOnly_(other.readOnly_),
      eventsOn_(other.eventsOn_),
      name_(other.name_) {}

Property::~Property() {
  setEventsEnabled(false);
}

EventTable* Property::table() {
  if (!events_ && eventsOn_) {
    events_ = new EventTable(nextPrime(2));
    modified_ = events_->addEvent(kModified);
  }
  return events_;
}

bool Property::setEventsEnabled(bool enabled) {
  if (!enabled) {
    if (!eventsOn_) return false;
    eventsOn_ = 0;
    EventTable* dead = events_;
    events_ = nullptr;
    modified_ = nullptr;
    delete dead;
    return true;
  }
  if (eventsOn_) return false;
  eventsOn_ = 1;
  return true;
}

const QorString& Property::oldValueName() {
  // Borrowed: every copy of it (a property's name, a map key) shares the literal.
  static const QorString* name = new QorString(kBorrow, u"oldValue", "oldValue");
  return *name;
}

const QorString& Property::newValueName() {
  static const QorString* name = new QorString(kBorrow, u"newValue", "newValue");
  return *name;
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
  return qor::subscribeEvent(table(), event, subscriber);
}

bool Property::unsubscribe(const QorCString& event, IQorEventSubscriber* subscriber) {
  // A table not made yet holds "property_modified" with nobody listed.
  if (eventsOn_ && !events_) return event == kModified;
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

void Property::deliverValueChanged(qor::EventArgs& args, IQorProperty* oldValue,
                                   IQorProperty* newValue) {
  if (IQorPropertyMap* map = args.map()) {
    map->addProperty(oldValue);
    map->addProperty(newValue);
  }
  if (!modified_) return;
  IQorDataEventSource* sender = eventSender();
  args.setSource(sender, this);
  modified_->fire(sender, args.get());
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
