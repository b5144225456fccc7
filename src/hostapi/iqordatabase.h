// The host's register of live data objects.
#pragma once
#include <cstdint>

#include "core/qorobject.h"

class IQorDataObject;
class IQorAction;

class IQorDatabase : public virtual IQorUnknown {
 public:
  // How many objects are registered.
  virtual int32_t count() = 0;
  // A new data object registers itself.
  virtual void add(IQorDataObject* object) = 0;
  // The registered object with this object id, or null.
  virtual IQorDataObject* find(int64_t objectId) = 0;
  // A dying data object takes itself out.
  virtual void remove(IQorDataObject* object) = 0;
  // An action registers itself when it is made and takes itself out when it dies.
  virtual void addAction(IQorAction* action) = 0;
  virtual void removeAction(IQorAction* action) = 0;
};
