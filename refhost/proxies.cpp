#include "refhost/proxies.h"

#include "hostapi/iqordoc.h"
#include "refhost/componentmanager.h"
#include "refhost/document.h"

namespace refhost {

namespace {
RefProxyManager::ModelFactory& factorySlot() {
  static auto* f = new RefProxyManager::ModelFactory();
  return *f;
}

void answer(const char* name, void** out, const char* own, void* self, IQorUnknown* root,
            const char* iface, void* view) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, own))
    *out = self;
  else if (qorNameIs(name, iface))
    *out = view;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = root;
}
}  // namespace

void RefProxyTable::queryInterface(const char* name, void** out, uintptr_t) {
  answer(name, out, "RefProxyTable", this, this, "IQorProxyTable",
         static_cast<IQorProxyTable*>(this));
}

IQorUnknown* RefProxyTable::bound(IQorUnknown* host) {
  auto it = entries_.find(host);
  return it == entries_.end() ? nullptr : it->second.get();
}

IQorUnknown* RefProxyTable::scriptObject(IQorUnknown* host) {
  if (!host) return nullptr;
  if (IQorUnknown* s = bound(host)) return s;
  if (!makes_ || !RefProxyManager::modelFactory()) return nullptr;
  auto* object = qorQuery<IQorObject>(host, "IQorObject");
  if (!object) return nullptr;
  IQorUnknown* made = RefProxyManager::modelFactory()(object);
  if (!made) return nullptr;
  if (!bound(host)) bind(made, host);  // a factory that did not bind through the Model
  return bound(host);
}

void RefProxyTable::bind(IQorUnknown* script, IQorUnknown* host) {
  if (!host) return;
  if (!script) return unbind(host);
  IPtr<IQorUnknown> old;  // dropped after the table is consistent again
  IPtr<IQorUnknown>& slot = entries_[host];
  if (slot.get() == script) return;
  old = slot;
  slot = script;
}

void RefProxyTable::unbind(IQorUnknown* host) {
  auto it = entries_.find(host);
  if (it == entries_.end()) return;
  IPtr<IQorUnknown> dying = std::move(it->second);
  entries_.erase(it);
  // dying drops the table's reference here; the script object's death may re-enter unbind.
}

void RefProxyRegistry::queryInterface(const char* name, void** out, uintptr_t) {
  answer(name, out, "RefProxyRegistry", this, this, "IQorProxyRegistry",
         static_cast<IQorProxyRegistry*>(this));
}

IQorUnknown* RefProxyRegistry::find(IQorUnknown* host) {
  auto it = entries_.find(host);
  return it == entries_.end() ? nullptr : it->second;
}

void RefProxyRegistry::add(IQorUnknown* shell, IQorUnknown* host) {
  if (host) entries_[host] = shell;
}

void RefProxyRegistry::remove(IQorUnknown* host) {
  entries_.erase(host);
}

RefProxyManager::RefProxyManager() {
  for (const char* n :
       {"IQorObject", "IQorMesh", "IQorPoints", "IQorScan", "ICurveSet", "IQorMeshExt"})
    tables_[n] = new RefProxyTable(n, qorNameIs(n, "IQorObject"));
}

void RefProxyManager::queryInterface(const char* name, void** out, uintptr_t) {
  answer(name, out, "RefProxyManager", this, this, "IQorAppProxyManager",
         static_cast<IQorAppProxyManager*>(this));
}

void RefProxyManager::notifySubject(const char* message, IQorSubject* subject, void*) {
  callLog().add(std::string("proxies.notifySubject ") + (message ? message : "") + " " +
                (subject ? subject->className() : "null"));
}

IQorProxyTable* RefProxyManager::proxyTable(const QorCString& interfaceName) {
  return table(interfaceName.c_str() ? interfaceName.c_str() : "");
}

RefProxyTable* RefProxyManager::table(const std::string& name) {
  auto it = tables_.find(name);
  return it == tables_.end() ? nullptr : it->second.get();
}

IQorProxyRegistry* RefProxyManager::registry(const QorCString& interfaceName) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  IPtr<RefProxyRegistry>& r = registries_[interfaceName.c_str() ? interfaceName.c_str() : ""];
  if (!r) r = new RefProxyRegistry();
  return r.get();
}

void RefProxyManager::setModelFactory(ModelFactory factory) {
  factorySlot() = std::move(factory);
}

const RefProxyManager::ModelFactory& RefProxyManager::modelFactory() {
  return factorySlot();
}

RefProxyManager& proxyManager() {
  return immortal<RefProxyManager>();
}

}  // namespace refhost
