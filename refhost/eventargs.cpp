#include "refhost/eventargs.h"

#include "core/listing.h"
#include "refhost/componentmanager.h"

namespace refhost {

DataEventArgs::DataEventArgs() {
  setWarnMissing(false);
}

void DataEventArgs::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("DataEventArgs", out);
    walkAddInterface("IQorUnknown", out);
    walkAddInterface("IQorDataEventArgs", out);
    PropertyMap::queryInterface(nullptr, out, reserved);
    walkLeaveClass(out);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "DataEventArgs"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(static_cast<PropertyMap*>(this));
  else if (qorNameIs(name, "IQorDataEventArgs"))
    *out = static_cast<IQorDataEventArgs*>(this);
  else
    PropertyMap::queryInterface(name, out, reserved);
}

void registerEventArgs(RefComponentManager& manager) {
  manager.registerFactory("IQorDataEventArgs",
                          [] { return static_cast<IQorUnknown*>(new DataEventArgs()); });
}

}  // namespace refhost
