#include "core/classfactory.h"

#include "base/map.h"

IQorClassFactory::~IQorClassFactory() = default;

namespace {

// The hash of a class identifier: its fields folded together.
struct GuidHash {
  uint32_t operator()(const GUID& g) const {
    uint32_t h = g.Data1 ^ (uint32_t(g.Data2) << 16 | g.Data3);
    for (uint8_t b : g.Data4) h = h * 31 + b;
    return h;
  }
};

// The table keyed by GUID, kept in the process rather than in the factory object. It
// starts with the bucket count nextPrime gives for 99 and grows like every hash table.
struct ClassTable {
  Map<GUID, QorClassEntry, GuidHash> map{100};
  // The position of the one process-wide walk.
  Map<GUID, QorClassEntry, GuidHash>::Position walk;
  bool walking = false;
};

ClassTable& table() {
  static ClassTable* t = new ClassTable();  // lives to process end
  return *t;
}

}  // namespace

int QorDefaultClassFactory::createInstance(const GUID* classId, void** out) {
  if (out) *out = nullptr;
  if (!classId) return 0;
  QorClassEntry* e = table().map.find(*classId);
  if (!e || !e->create) return 0;
  void* obj = e->create();
  if (out) *out = obj;
  return obj ? 1 : 0;
}

int32_t QorDefaultClassFactory::classCount() {
  return table().map.count();
}

bool QorDefaultClassFactory::firstClass(GUID* out) {
  ClassTable& t = table();
  t.walking = t.map.first(t.walk);
  if (t.walking && out) *out = t.map.keyAt(t.walk);
  return t.walking;
}

bool QorDefaultClassFactory::nextClass(GUID* out) {
  ClassTable& t = table();
  if (!t.walking) return false;
  t.walking = t.map.next(t.walk);
  if (t.walking && out) *out = t.map.keyAt(t.walk);
  return t.walking;
}

const char* QorDefaultClassFactory::classInfo(const GUID* classId) {
  if (!classId) return nullptr;
  QorClassEntry* e = table().map.find(*classId);
  return e ? e->description : nullptr;
}

void QorDefaultClassFactory::registerClass(const QorClassEntry& entry) {
  // A new entry ends a walk in progress.
  ClassTable& t = table();
  t.map[entry.classId] = entry;
  t.walking = false;
}

int32_t QorDefaultClassFactory::bucketCount() {
  return table().map.bucketCount();
}
