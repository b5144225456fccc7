// The reference host's argument objects of data events: the service "IQorDataEventArgs"
// makes a new DataEventArgs on every request. A DataEventArgs is a property map that
// answers "IQorDataEventArgs" (and "DataEventArgs"); named values go into it as ordinary
// properties. Its failed lookups never raise, whatever the warning setting says, so that
// senders can set "oldValue" and "newValue" on a fresh object.
#pragma once
#include <cstdint>

#include "datamodel/iqordataevent.h"
#include "datamodel/propertymap.h"

namespace refhost {

class RefComponentManager;

class DataEventArgs : public PropertyMap, public IQorDataEventArgs {
 public:
  // An empty map at count 0 with the warning bit clear.
  DataEventArgs();

  // Answers "DataEventArgs", "IQorUnknown", "IQorDataEventArgs", then the names of
  // PropertyMap.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "DataEventArgs"; }
};

// Registers the factory of argument objects under "IQorDataEventArgs".
void registerEventArgs(RefComponentManager& manager);

}  // namespace refhost
