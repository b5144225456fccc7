// IQorProperty: one named, typed value of a property map, as the host's script layer sees
// it. The thirteen operations are called by slot, so their order is part of the contract.
#pragma once
#include <cstdint>

#include "base/qorcstring.h"
#include "base/qorstring.h"
#include "core/qorobject.h"

class IQorEventSubscriber;
class Property;

class IQorProperty : public virtual IQorUnknown {
 public:
  // The literal by which a value and a property recognise each other ("int", "double",
  // "qorapi.math.Vector3D", ...).
  virtual const char* typeName() = 0;
  // The value as text into `out`; `name` is the key the property is printed under.
  virtual void printValue(const QorString& name, QorString& out) = 0;
  // Subscribes to the event `event`; false when events are off or there is no such event.
  virtual bool subscribe(const QorCString& event, IQorEventSubscriber* subscriber) = 0;
  // Unsubscribes from the event `event`; false when events are off or there is no such
  // event.
  virtual bool unsubscribe(const QorCString& event, IQorEventSubscriber* subscriber) = 0;
  // A new property of the same class with the same name and value and no subscribers,
  // at count 0.
  virtual Property* clone() = 0;
  virtual const QorString& getName() = 0;
  virtual void setName(const QorString& name) = 0;
  // Puts the value back to the class's empty value, where the class has one.
  virtual void clearValue() = 0;
  virtual bool isReadOnly() = 0;
  // Takes the value of `other`, a property of the same class, through setValue.
  virtual void assignFrom(IQorProperty* other) = 0;
  // The memory the property takes, in bytes.
  virtual int64_t memorySize() = 0;
  // Whether the property has its event table.
  virtual bool eventsEnabled() = 0;
  // Switches events on or off; true only when the state changed.
  virtual bool setEventsEnabled(bool enabled) = 0;
};
