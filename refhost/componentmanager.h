// The reference host's component manager: the locator the module is given. Services are
// registered by interface name, as one object for the process or as a factory that makes a
// new object on every fetch. Tests can switch any service off, make it fail, and count
// lookups.
#pragma once
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "hostapi/iqorcomponentmanager.h"

namespace refhost {

// The one object of a host class (per `Slot`, for a class that serves twice), made with one
// reference on first use and never destroyed: the module's static pointers may still hold
// it at exit.
template <class T, int Slot = 0>
T& immortal() {
  static T* const object = [] {
    auto* x = new T();
    x->addRef();
    return x;
  }();
  return *object;
}

enum class ServiceMode { Normal, Absent, Failing };

class RefComponentManager : public IQorComponentManager {
 public:
  using Factory = std::function<IQorUnknown*()>;

  // One object for the process. The manager holds one reference for ever: nothing the
  // module keeps until exit may point to freed memory.
  void registerService(const std::string& name, IQorUnknown* service);
  // A new object (count 0) on every fetch; the caller's pointer takes the reference.
  void registerFactory(const std::string& name, Factory factory);
  // A class that createInstance can make.
  void registerClass(const GUID& classId, Factory factory);
  // A second manager-shaped component, found by findComponent.
  void registerComponent(const std::string& name, IQorComponentManager* component);
  void unregister(const std::string& name);

  void setMode(const std::string& name, ServiceMode mode);
  // getService calls for `name` so far.
  int lookups(const std::string& name);
  bool has(const std::string& name);

  // IQorUnknown
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefComponentManager"; }

  // IQorComponentManager
  int createInstance(const GUID* classId, const QorCString& interfaceName, void** out) override;
  int getService(const QorCString& name, void** out) override;
  void incrementCount(uint32_t* count) override;
  bool decrementCount(uint32_t* count) override;
  IQorComponentManager* findComponent(const QorCString& name, int flags) override;

 private:
  struct Entry {
    IQorUnknown* service = nullptr;
    Factory factory;
  };
  std::recursive_mutex lock_;
  std::map<std::string, Entry, std::less<>> services_;
  std::map<std::string, ServiceMode, std::less<>> modes_;
  std::map<std::string, int, std::less<>> lookups_;
  std::map<std::string, IQorComponentManager*> components_;
  std::map<std::string, Factory> classes_;
};

}  // namespace refhost
