// The way to the host: one process-wide pointer to its component manager.
#pragma once
#include <cstdint>

#include "base/qorcstring.h"
#include "platform/guid.h"

class IQorComponentManager;

namespace qor {
// Null until the host initialises the component. Borrowed; nothing resets it.
IQorComponentManager* locator();
void setLocator(IQorComponentManager* manager);
// Name of a component that gets the first try at every lookup; empty by default. The text
// stays valid for the life of the process, also after a later setProxyName.
const QorCString& proxyName();
// Publishes an owned copy of `name` as the proxy name; lookups on other threads see the
// old name or the new one, never a half-written one.
void setProxyName(const QorCString& name);
}  // namespace qor

// The process's service of interface `name`, borrowed, into *out. 1 when found; without a
// locator 0, and *out is left alone.
int getService(const QorCString& name, void** out);
int getService(const char* name, void** out);
// An object of class `classId`, viewed as `interfaceName`. 1 when made.
int createInstance(const GUID* classId, const QorCString& interfaceName, void** out);

// Reference count steps: through the locator when one is installed, else a plain (atomic)
// step. countDown reports reaching zero, and then leaves the dead mark in the count.
void countUp(uint32_t* count);
bool countDown(uint32_t* count);
