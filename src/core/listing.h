// Objects describing themselves: queryInterface with a null name walks the class tree
// and fills a query record with the names of the class, its interfaces and its bases.
#pragma once
#include <cstdint>

#include "base/iterstack.h"
#include "base/map.h"
#include "base/qorcstring.h"
#include "core/qorobject.h"
#include "platform/guid.h"

// One name of a walk: a class (isClass 1) or an interface (0), under the class that was
// open (parent; empty at the top).
struct QueryEntry {
  QorCString name;
  int32_t isClass = 0;
  QorCString parent;
};

// The module that compiled an object. A null moduleName means "not filled yet".
struct ObjectIdentity {
  const char* moduleName = nullptr;
  const char* proxyName = nullptr;
  GUID componentId{};
};

// Passed as `out` of queryInterface when the name is null.
struct QueryRecord {
  IterStack<QorCString>* classStack = nullptr;
  IterStack<QueryEntry>* entries = nullptr;
  Map<QorCString, uint8_t> stopNames;  // a set: a walk that meets one of these is cut off
  ObjectIdentity* identity = nullptr;
  uint8_t stopped = 0;
};

// The steps of a walk, for every class's queryInterface: record and open a class, record
// an interface under the open class, close the class.
void walkEnterClass(const char* name, void* record);
void walkAddInterface(const char* name, void* record);
void walkLeaveClass(void* record);

// What `object` says of itself, thinned: the first name once, every further name once per
// parent. Empty for the component framework's own objects.
void listInterfaces(IQorUnknown* object, IterStack<QueryEntry>& list);

// The module that compiled `object`'s most derived class.
ObjectIdentity objectIdentity(IQorUnknown* object);
