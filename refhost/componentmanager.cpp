#include "refhost/componentmanager.h"

#include <atomic>

#include "core/qorobject.h"

namespace refhost {

void RefComponentManager::registerService(const std::string& name, IQorUnknown* service) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  if (service) service->addRef();  // never released
  services_[name] = Entry{service, nullptr};
}

void RefComponentManager::registerFactory(const std::string& name, Factory factory) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  services_[name] = Entry{nullptr, std::move(factory)};
}

void RefComponentManager::registerClass(const GUID& classId, Factory factory) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  classes_[Platform::guidToString(classId)] = std::move(factory);
}

void RefComponentManager::registerComponent(const std::string& name,
                                            IQorComponentManager* component) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  if (component) component->addRef();
  components_[name] = component;
}

void RefComponentManager::unregister(const std::string& name) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  // An object once registered stays alive: the module may still hold it.
  services_.erase(name);
}

void RefComponentManager::setMode(const std::string& name, ServiceMode mode) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  modes_[name] = mode;
}

int RefComponentManager::lookups(const std::string& name) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  auto it = lookups_.find(name);
  return it == lookups_.end() ? 0 : it->second;
}

bool RefComponentManager::has(const std::string& name) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  return services_.count(name) != 0;
}

void RefComponentManager::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefComponentManager"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorComponentManager"))
    *out = static_cast<IQorComponentManager*>(this);
}

int RefComponentManager::createInstance(const GUID* classId, const QorCString& interfaceName,
                                        void** out) {
  if (!out) return 0;
  *out = nullptr;
  if (!classId) return 0;
  Factory f;
  {
    std::lock_guard<std::recursive_mutex> g(lock_);
    auto it = classes_.find(Platform::guidToString(*classId));
    if (it == classes_.end()) return 0;
    f = it->second;
  }
  IQorUnknown* obj = f ? f() : nullptr;
  if (!obj) return 0;
  obj->queryInterface(interfaceName.c_str(), out, 0);
  if (!*out) {
    if (obj->refCount() == 0) delete obj;
    return 0;
  }
  return 1;
}

int RefComponentManager::getService(const QorCString& name, void** out) {
  if (!out) return 0;
  // Looked up by view: no string is built on this path, which every property change takes.
  const std::string_view key = name.c_str();
  Entry e;
  {
    std::lock_guard<std::recursive_mutex> g(lock_);
    auto counted = lookups_.find(key);
    if (counted == lookups_.end())
      lookups_.emplace(std::string(key), 1);
    else
      ++counted->second;
    auto m = modes_.find(key);
    if (m != modes_.end() && m->second != ServiceMode::Normal) {
      *out = nullptr;
      return m->second == ServiceMode::Failing ? -1 : 0;
    }
    auto it = services_.find(key);
    if (it == services_.end()) return 0;
    e = it->second;
  }
  IQorUnknown* obj = e.service;
  if (!obj && e.factory) obj = e.factory();
  if (!obj) return 0;
  // The pointer adjusted to the named interface, never a raw base pointer.
  void* view = nullptr;
  obj->queryInterface(name.c_str(), &view, 0);
  if (!view) {
    if (!e.service && obj->refCount() == 0) delete obj;
    return 0;
  }
  *out = view;
  return 1;
}

void RefComponentManager::incrementCount(uint32_t* count) {
  std::atomic_ref<uint32_t>(*count).fetch_add(1, std::memory_order_relaxed);
}

bool RefComponentManager::decrementCount(uint32_t* count) {
  std::atomic_ref<uint32_t> c(*count);
  if (c.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    // A dead object keeps a non-zero mark, so that a late addRef/release pair made while
    // it is being destroyed cannot bring it to zero a second time.
    c.store(kQorDeadCount, std::memory_order_relaxed);
    return true;
  }
  return false;
}

IQorComponentManager* RefComponentManager::findComponent(const QorCString& name, int) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  auto it = components_.find(name.c_str());
  return it == components_.end() ? nullptr : it->second;
}

}  // namespace refhost
