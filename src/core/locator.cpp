#include "core/locator.h"

#include <atomic>
#include <mutex>
#include <vector>

#include "core/qorobject.h"
#include "hostapi/iqorcomponentmanager.h"

namespace qor {

static std::atomic<IQorComponentManager*> gLocator{nullptr};

IQorComponentManager* locator() {
  return gLocator.load(std::memory_order_acquire);
}
void setLocator(IQorComponentManager* manager) {
  gLocator.store(manager, std::memory_order_release);
}

namespace {
// The current proxy name: null reads as empty. Every name ever published stays alive (and
// reachable) until exit, since a reader may still hold it; names are set rarely. Never
// destroyed: lookups may run from other statics' destructors at exit.
std::atomic<const QorCString*> gProxyName{nullptr};

std::vector<const QorCString*>& publishedNames() {
  static auto* all = new std::vector<const QorCString*>();
  return *all;
}
std::mutex& publishLock() {
  static auto* lock = new std::mutex();
  return *lock;
}
}  // namespace

const QorCString& proxyName() {
  if (const QorCString* name = gProxyName.load(std::memory_order_acquire)) return *name;
  static const QorCString* empty = new QorCString();
  return *empty;
}

void setProxyName(const QorCString& name) {
  std::lock_guard<std::mutex> g(publishLock());
  const QorCString* copy = new QorCString(name.data());
  publishedNames().push_back(copy);
  gProxyName.store(copy, std::memory_order_release);
}

}  // namespace qor

int getService(const QorCString& name, void** out) {
  IQorComponentManager* loc = qor::locator();
  if (!loc) return 0;
  const QorCString& proxy = qor::proxyName();
  if (!proxy.isEmpty()) {
    if (IQorComponentManager* comp = loc->findComponent(proxy, 0)) {
      int r = comp->getService(name, out);
      if (r == 1) return r;
    }
  }
  return loc->getService(name, out);
}

int getService(const char* name, void** out) {
  return getService(QorCString(kBorrow, name), out);
}

int createInstance(const GUID* classId, const QorCString& interfaceName, void** out) {
  IQorComponentManager* loc = qor::locator();
  if (!loc) return 0;
  const QorCString& proxy = qor::proxyName();
  if (!proxy.isEmpty()) {
    if (IQorComponentManager* comp = loc->findComponent(proxy, 0)) {
      int r = comp->createInstance(classId, interfaceName, out);
      if (r == 1) return r;
    }
  }
  return loc->createInstance(classId, interfaceName, out);
}

void countUp(uint32_t* count) {
  if (IQorComponentManager* loc = qor::locator()) {
    loc->incrementCount(count);
    return;
  }
  std::atomic_ref<uint32_t>(*count).fetch_add(1, std::memory_order_relaxed);
}

bool countDown(uint32_t* count) {
  if (IQorComponentManager* loc = qor::locator()) return loc->decrementCount(count);
  std::atomic_ref<uint32_t> c(*count);
  if (c.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    c.store(kQorDeadCount, std::memory_order_relaxed);
    return true;
  }
  return false;
}
