// The component's class factory. This module registers no classes; the table exists so
// that the component answers the host's questions about them.
#pragma once
#include <cstdint>

#include "platform/guid.h"

class IQorClassFactory {
 public:
  virtual ~IQorClassFactory();
  // Looks the class up; not found gives 0, found makes the object into *out and gives 1.
  virtual int createInstance(const GUID* classId, void** out) = 0;
  virtual int32_t classCount() = 0;
  // Starts the one process-wide walk over the table; false on an empty table.
  virtual bool firstClass(GUID* out) = 0;
  // Steps the walk; false at the end.
  virtual bool nextClass(GUID* out) = 0;
  // The entry's description, or null when the class is unknown.
  virtual const char* classInfo(const GUID* classId) = 0;
};

// One entry of the table.
struct QorClassEntry {
  GUID classId;
  void* (*create)();
  const char* description;
};

class QorDefaultClassFactory : public IQorClassFactory {
 public:
  int createInstance(const GUID* classId, void** out) override;
  int32_t classCount() override;
  bool firstClass(GUID* out) override;
  bool nextClass(GUID* out) override;
  const char* classInfo(const GUID* classId) override;

  // Adds a class; an id already present is replaced. (The module itself adds none.)
  static void registerClass(const QorClassEntry& entry);
  // Bucket count of the table (starts at nextPrime(99), 131; grows at 0.8 load).
  static int32_t bucketCount();
};
