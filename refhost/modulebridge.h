// The module's own classes that the reference host hands out: the application facade as
// the service "IQorApplication", and the model the "IQorObject" proxy table makes for a
// host object.
#pragma once

class IQorObject;
class IQorUnknown;

namespace refhost {

class RefComponentManager;

// Registers "IQorApplication": one module Application that lives as long as the process.
void registerModuleServices(RefComponentManager& manager);

// A new module Model bound to `host` (setHostObject, which binds it in the proxy table), as
// the IQorUnknown the table keeps; count 0, the caller takes the reference.
IQorUnknown* makeModelFor(IQorObject* host);

}  // namespace refhost
