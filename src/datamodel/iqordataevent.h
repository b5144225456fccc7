// The interfaces of the data model's change channels: named events with subscribers, the
// argument object that travels with a firing, and the two plain channels that announce an
// object's death and pass messages. Host code reaches these by slot, so the order of the
// operations below is part of the contract.
#pragma once
#include <cstdint>

#include "base/qorcstring.h"
#include "core/qorobject.h"

// The identity of the smallest data-model objects; no operations of its own.
class IQorPrimitive : public virtual IQorUnknown {};

// The identity of an object that fires events. Its pointer is what events pass as the
// sender.
class IQorDataEventSource : public virtual IQorUnknown {};

// The argument object of a firing. Its content is reached through its IQorPropertyMap
// view: named values go into it as ordinary properties.
class IQorDataEventArgs : public virtual IQorUnknown {};

// Whoever wants to hear an event. The event holds the raw pointer: a subscriber must
// unsubscribe before it dies, or outlive the event.
class IQorEventSubscriber : public virtual IQorUnknown {
 public:
  // Called synchronously for each firing of an event this subscriber is listed on, with the
  // firing source, the event's name and the arguments as the source gave them (possibly
  // null). The event ignores the result.
  virtual bool handleEvent(IQorDataEventSource* sender, const QorCString& eventName,
                           IQorDataEventArgs* args) = 0;
};

// One named event and its ordered list of subscribers.
class IQorDataObjectEvent {
 public:
  virtual ~IQorDataObjectEvent() = default;
  // The event's name.
  virtual const QorCString& eventName() const = 0;
  virtual void setEventName(const QorCString& name) = 0;
  // Lists `s` before the first subscriber of a strictly greater priority; during a delivery
  // the request waits until the outermost delivery ends.
  virtual void subscribeWithPriority(IQorEventSubscriber* s, int32_t priority) = 0;
  // Lists `s` at the end with priority -1, unless it is listed already.
  virtual void subscribe(IQorEventSubscriber* s) = 0;
  // Takes `s` off the list; during a delivery it is only marked and skipped.
  virtual void unsubscribe(IQorEventSubscriber* s) = 0;
  // subscribe, then the event itself.
  virtual IQorDataObjectEvent& operator+=(IQorEventSubscriber* s) = 0;
  // unsubscribe, then the event itself.
  virtual IQorDataObjectEvent& operator-=(IQorEventSubscriber* s) = 0;
  // Delivers to every listed subscriber, in list order.
  virtual void fire(IQorDataEventSource* sender, IQorDataEventArgs* args) = 0;
};

class IQorLifetimeListener;

// A channel that only announces death: listeners hear subjectDeleted once.
class IQorLifetimeSubject : public virtual IQorUnknown {
 public:
  virtual void addListener(IQorLifetimeListener* listener) = 0;
  virtual void removeListener(IQorLifetimeListener* listener) = 0;
};

// Hears that a subject is dying; the subject is still reachable during the call.
class IQorLifetimeListener : public virtual IQorUnknown {
 public:
  virtual void subjectDeleted(IQorLifetimeSubject* subject) = 0;
};

// The host's subject of a message; opaque here.
class IQorSubject;

// A receiver of messages one by one, from a subject that keeps no list here.
class IQorListener : public virtual IQorUnknown {
 public:
  // `message` names what happened; `argument` is the message's own payload.
  virtual void notify(const char* message, IQorSubject* subject, void* argument) = 0;
};
