// IQorAction: an object that reacts to an event of data objects; the host's database keeps
// a register of them. Slot order as declared.
#pragma once
#include <cstdint>

#include "base/iterstack.h"
#include "base/qorcstring.h"
#include "core/qorobject.h"

class DataObject;
class IQorDataEventSource;
class IQorDataEventArgs;

class IQorAction : public virtual IQorUnknown {
 public:
  virtual int64_t id() = 0;  // 0
  // 1: `objects` are the data objects the action is told to modify.
  virtual void handleEvent(IQorDataEventSource* sender, const QorCString& eventName,
                           IQorDataEventArgs* args, const IterStack<DataObject*>& objects) = 0;
};
