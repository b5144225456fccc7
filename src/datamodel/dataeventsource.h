// The root classes of the data model's objects: Primitive, and DataEventSource, whose
// IQorDataEventSource pointer is the sender of every event an object fires. Neither holds
// data; the operations that subscribe and fire belong to the classes built on them.
#pragma once
#include <cstdint>

#include "datamodel/iqordataevent.h"

// The smallest data-model object. Answers "Primitive", "IQorPrimitive" and "IQorUnknown".
class Primitive : public IQorPrimitive {
 public:
  // Answers its three names; with a null name describes itself into a query record.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "Primitive"; }
};

// An object that fires events. Answers "DataEventSource", "IQorDataEventSource" and
// "IQorUnknown".
class DataEventSource : public Primitive, public IQorDataEventSource {
 public:
  // Answers its three names; with a null name describes itself into a query record.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "DataEventSource"; }
  // The sender pointer of this object's events.
  IQorDataEventSource* eventSender() { return this; }
};
