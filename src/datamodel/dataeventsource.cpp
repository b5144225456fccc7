#include "datamodel/dataeventsource.h"

#include "core/listing.h"

void Primitive::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out) return;
  if (!name) {
    walkEnterClass("Primitive", out);
    walkAddInterface("IQorUnknown", out);
    walkAddInterface("IQorPrimitive", out);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "Primitive"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorPrimitive"))
    *out = static_cast<IQorPrimitive*>(this);
}

// The answer list of an event source names no primitive: the base is not asked.
void DataEventSource::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out) return;
  if (!name) {
    walkEnterClass("DataEventSource", out);
    walkAddInterface("IQorUnknown", out);
    walkAddInterface("IQorDataEventSource", out);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "DataEventSource"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorDataEventSource"))
    *out = static_cast<IQorDataEventSource*>(this);
}
