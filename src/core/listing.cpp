#include "core/listing.h"

#include "core/component.h"
#include "core/locator.h"

namespace {

void clearBoth(QueryRecord* r) {
  if (r->entries) r->entries->clear();
  if (r->classStack) r->classStack->clear();
}

void walkStep(const char* name, QueryRecord* r, bool isClass) {
  if (!r || !name) return;
  if (r->identity) {
    ObjectIdentity* id = r->identity;
    if (id->moduleName) return;  // the first class of the walk decides
    id->moduleName = qor::componentName;
    id->proxyName = qor::proxyName().c_str();
    if (!(id->componentId == qor::componentId)) id->componentId = qor::componentId;
    return;
  }
  if (r->stopped || r->stopNames.find(QorCString(kBorrow, name))) {
    r->stopped = 1;
    clearBoth(r);
    return;
  }
  QueryEntry e;
  e.name = QorCString(name);
  e.isClass = isClass ? 1 : 0;
  if (r->classStack && r->classStack->count() > 0) e.parent = r->classStack->top();
  if (r->entries) r->entries->push(e);
  if (isClass && r->classStack) r->classStack->push(QorCString(name));
}

}  // namespace

void walkEnterClass(const char* name, void* record) {
  walkStep(name, static_cast<QueryRecord*>(record), true);
}

void walkAddInterface(const char* name, void* record) {
  walkStep(name, static_cast<QueryRecord*>(record), false);
}

void walkLeaveClass(void* record) {
  auto* r = static_cast<QueryRecord*>(record);
  if (!r || r->identity) return;
  if (r->stopped) {
    clearBoth(r);
    return;
  }
  if (r->classStack && r->classStack->count() > 0) r->classStack->pop();
}

void listInterfaces(IQorUnknown* object, IterStack<QueryEntry>& list) {
  list.clear();
  if (!object) return;
  IterStack<QorCString> classStack(9);
  QueryRecord record;
  record.classStack = &classStack;
  record.entries = &list;
  for (const char* stop : {"IQorComponent", "IQorComponentManager", "IQorComponentLoader",
                           "IQorComponentContainer", "WexComponentManager"})
    record.stopNames[QorCString(stop)] = 1;
  object->queryInterface(nullptr, reinterpret_cast<void**>(&record), 0);
  if (record.stopped) {
    list.clear();
    return;
  }
  // Thin from the last entry down to the second: a name equal to the first's goes, and so
  // does a (name, parent) pair that an earlier entry after the first already has.
  for (int32_t i = list.count(); i >= 2; --i) {
    const QueryEntry& e = list.at(i);
    bool drop = e.name == list.at(1).name;
    for (int32_t j = 2; j < i && !drop; ++j)
      drop = e.name == list.at(j).name && e.parent == list.at(j).parent;
    if (drop) list.removeAt(i);
  }
}

ObjectIdentity objectIdentity(IQorUnknown* object) {
  ObjectIdentity id;
  QueryRecord record;
  record.identity = &id;
  if (object) object->queryInterface(nullptr, reinterpret_cast<void**>(&record), 0);
  return id;
}
