// IQorDataObject: the interface of a stored, named data object. Host code reaches it by
// slot, so the order of the operations below is part of the contract.
#pragma once
#include <cstdint>

#include "base/qorcstring.h"
#include "base/qorstring.h"
#include "core/qorobject.h"

class IQorEventSubscriber;
class IQorDataEventArgs;
class IQorLifetimeListener;

// The undo record a data object can make of itself; opaque here.
class IQorUndoInfo;

class IQorDataObject : public virtual IQorUnknown {
 public:
  // The number a constructor gave the object; -1 when none did.
  virtual int64_t getObjectId() = 0;
  // Copies the object's name into `out`.
  virtual void getName(QorString& out) = 0;
  // Renames the object and tells subscribers of "name_changed".
  virtual void setName(const QorString& name) = 0;
  // A copy of the object, or null for a class that cannot copy itself.
  virtual IQorDataObject* clone() = 0;
  // Makes the host object behind the data object, for classes that have one.
  virtual void createHost() = 0;
  // Reserved: no class gives it a body.
  virtual void reserved6() = 0;
  // Adds a listener that hears subjectDeleted when the object dies.
  virtual void addListener(IQorLifetimeListener* listener) = 0;
  // Removes the last entry equal to `listener`.
  virtual void removeListener(IQorLifetimeListener* listener) = 0;
  // Subscribes to the named event; false when the object has no event of that name.
  virtual bool subscribe(const QorCString& event, IQorEventSubscriber* subscriber) = 0;
  virtual bool unsubscribe(const QorCString& event, IQorEventSubscriber* subscriber) = 0;
  // The names of all events, each followed by a line feed. The text stays valid until the
  // next call.
  virtual const char* eventNames() = 0;
  // Fires the named event with the object as sender; an unknown name does nothing.
  virtual void fireEvent(const QorCString& event, IQorDataEventArgs* args) = 0;
  // An undo record of the object's state, or null for a class without undo.
  virtual IQorUndoInfo* createUndoInfo() = 0;
  // Reserved: no class gives it a body.
  virtual void reserved14() = 0;
};
