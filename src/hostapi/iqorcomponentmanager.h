// The host's component manager: the locator through which every service is found.
#pragma once
#include <cstdint>

#include "base/qorcstring.h"
#include "core/qorobject.h"
#include "platform/guid.h"

class IQorComponentManager : public virtual IQorUnknown {
 public:
  // Makes an object of the class and gives its named interface. 1 means done.
  virtual int createInstance(const GUID* classId, const QorCString& interfaceName, void** out) = 0;
  // The process's service of that interface name, borrowed. 1 means found.
  virtual int getService(const QorCString& name, void** out) = 0;
  virtual void incrementCount(uint32_t* count) = 0;
  // True when the count reached zero.
  virtual bool decrementCount(uint32_t* count) = 0;
  // The component registered under `name`, borrowed, or null. It answers createInstance
  // and getService in the same positions as the manager.
  virtual IQorComponentManager* findComponent(const QorCString& name, int flags) = 0;
};
