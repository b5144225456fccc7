#include "core/classfactory.h"

#include <vector>

IQorClassFactory::~IQorClassFactory() = default;

namespace {

int32_t nextPrimeAfter(int32_t n) {
  auto isPrime = [](int32_t v) {
    if (v < 2) return false;
    for (int32_t d = 2; int64_t(d) * d <= v; ++d)
      if (v % d == 0) return false;
    return true;
  };
  int32_t p = n + 1;
  while (!isPrime(p)) ++p;
  return p;
}

uint32_t guidHash(const GUID& g) {
  uint32_t h = g.Data1 ^ (uint32_t(g.Data2) << 16 | g.Data3);
  for (uint8_t b : g.Data4) h = h * 31 + b;
  return h;
}

// Chained table keyed by GUID, kept in the process rather than in the factory object.
struct ClassTable {
  std::vector<std::vector<QorClassEntry>> buckets =
      std::vector<std::vector<QorClassEntry>>(static_cast<size_t>(nextPrimeAfter(99)));
  int32_t count = 0;
  // The walk position: bucket and slot.
  size_t walkBucket = 0, walkSlot = 0;

  QorClassEntry* find(const GUID& id) {
    auto& b = buckets[guidHash(id) % buckets.size()];
    for (auto& e : b)
      if (e.classId == id) return &e;
    return nullptr;
  }
  void insert(const QorClassEntry& e) {
    if (QorClassEntry* old = find(e.classId)) {
      *old = e;
      return;
    }
    if (double(count + 1) > 0.8 * double(buckets.size())) {
      std::vector<std::vector<QorClassEntry>> grown(
          static_cast<size_t>(nextPrimeAfter(static_cast<int32_t>(buckets.size() * 2))));
      for (auto& b : buckets)
        for (auto& x : b) grown[guidHash(x.classId) % grown.size()].push_back(x);
      buckets.swap(grown);
    }
    buckets[guidHash(e.classId) % buckets.size()].push_back(e);
    ++count;
  }
  bool step(GUID* out) {
    while (walkBucket < buckets.size()) {
      if (walkSlot < buckets[walkBucket].size()) {
        if (out) *out = buckets[walkBucket][walkSlot].classId;
        ++walkSlot;
        return true;
      }
      ++walkBucket;
      walkSlot = 0;
    }
    return false;
  }
};

ClassTable& table() {
  static ClassTable* t = new ClassTable();  // lives to process end
  return *t;
}

}  // namespace

int QorDefaultClassFactory::createInstance(const GUID* classId, void** out) {
  if (out) *out = nullptr;
  if (!classId) return 0;
  QorClassEntry* e = table().find(*classId);
  if (!e || !e->create) return 0;
  void* obj = e->create();
  if (out) *out = obj;
  return obj ? 1 : 0;
}

int32_t QorDefaultClassFactory::classCount() {
  return table().count;
}

bool QorDefaultClassFactory::firstClass(GUID* out) {
  ClassTable& t = table();
  t.walkBucket = 0;
  t.walkSlot = 0;
  return t.step(out);
}

bool QorDefaultClassFactory::nextClass(GUID* out) {
  return table().step(out);
}

const char* QorDefaultClassFactory::classInfo(const GUID* classId) {
  if (!classId) return nullptr;
  QorClassEntry* e = table().find(*classId);
  return e ? e->description : nullptr;
}

void QorDefaultClassFactory::registerClass(const QorClassEntry& entry) {
  table().insert(entry);
}

int32_t QorDefaultClassFactory::bucketCount() {
  return static_cast<int32_t>(table().buckets.size());
}
