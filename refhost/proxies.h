// The reference host's IQorAppProxyManager: one proxy table per interface name ("IQorObject",
// "IQorMesh", "IQorPoints", "IQorScan", "ICurveSet", "IQorMeshExt"; any other name has no
// table), and one registry of shells per name, made on first use.
//
// A table holds one counted reference on each bound script object and drops it on unbind.
// The "IQorObject" table makes the script-side Model of a host object on demand through the
// model factory set at boot; the factory makes the Model and binds it (setHostObject).
// Without a factory, or for a null host, the table answers null.
#pragma once
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "core/iptr.h"
#include "hostapi/iqorappproxymanager.h"

class IQorObject;

namespace refhost {

class RefProxyTable : public IQorProxyTable {
 public:
  RefProxyTable(std::string name, bool makesModels) : name_(std::move(name)), makes_(makesModels) {}
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefProxyTable"; }
  IQorUnknown* scriptObject(IQorUnknown* host) override;
  // A null host records nothing; binding another object to a host replaces the old one.
  void bind(IQorUnknown* script, IQorUnknown* host) override;
  void unbind(IQorUnknown* host) override;

  // The bound object, never making one.
  IQorUnknown* bound(IQorUnknown* host);
  size_t size() const { return entries_.size(); }

 private:
  std::string name_;
  bool makes_;
  std::map<IQorUnknown*, IPtr<IQorUnknown>> entries_;
};

class RefProxyRegistry : public IQorProxyRegistry {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefProxyRegistry"; }
  IQorUnknown* find(IQorUnknown* host) override;
  void add(IQorUnknown* shell, IQorUnknown* host) override;
  void remove(IQorUnknown* host) override;

 private:
  std::map<IQorUnknown*, IQorUnknown*> entries_;
};

class RefProxyManager : public IQorAppProxyManager {
 public:
  using ModelFactory = std::function<IQorUnknown*(IQorObject*)>;
  RefProxyManager();
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefProxyManager"; }
  // Logs the message and the subject's class.
  void notifySubject(const char* message, IQorSubject* subject, void* argument) override;
  IQorProxyTable* proxyTable(const QorCString& interfaceName) override;
  IQorProxyRegistry* registry(const QorCString& interfaceName) override;
  void lock() override { lock_.lock(); }
  void unlock() override { lock_.unlock(); }

  // How the "IQorObject" table makes a Model for a host object (empty: it makes none).
  static void setModelFactory(ModelFactory factory);
  static const ModelFactory& modelFactory();
  RefProxyTable* table(const std::string& name);

 private:
  std::recursive_mutex lock_;
  std::map<std::string, IPtr<RefProxyTable>, std::less<>> tables_;
  std::map<std::string, IPtr<RefProxyRegistry>, std::less<>> registries_;
};

// The host's proxy manager, made on first use and never destroyed.
RefProxyManager& proxyManager();

}  // namespace refhost
