// What the module shows the host: one component with a fixed identity, a version, an
// (empty) class factory, and the entry that hands the component out.
#pragma once
#include <atomic>
#include <cstdint>

#include "base/qorcstring.h"
#include "core/classfactory.h"
#include "core/qorobject.h"
#include "platform/guid.h"

class IQorComponentManager;
class IQorComponent;

class IQorComponentFactory {
 public:
  virtual ~IQorComponentFactory();
  virtual IQorComponent* create() = 0;
};

class IQorComponentCustomizer {
 public:
  virtual ~IQorComponentCustomizer();
  virtual bool onInitialize(IQorComponentManager* locator) = 0;
  virtual bool onShutdown() = 0;
};

class IQorComponent : public virtual IQorUnknown {
 public:
  // Stores the locator, then gives the customizer its turn and returns its answer.
  virtual bool initialize(IQorComponentManager* locator) = 0;
  // Tells the customizer; the locator stays set.
  virtual bool shutdown() = 0;
  virtual int createInstance(const GUID* classId, void** out) = 0;
  virtual const char* version() = 0;
};

// A host's test service: its first operation runs one registered self test.
class IQorSelfTestService : public virtual IQorUnknown {
 public:
  virtual void runTest(void* test) = 0;
};

class IQorCompInternal : public virtual IQorUnknown {
 public:
  virtual void reserved1() = 0;  // does nothing here
  virtual void reserved2() = 0;  // does nothing here
  virtual const GUID* componentGuid() = 0;
  virtual const char* moduleName() = 0;
  virtual int reserved3() = 0;  // returns 0 here
  virtual int32_t classCount() = 0;
  virtual bool firstClass(GUID* out) = 0;
  virtual bool nextClass(GUID* out) = 0;
  virtual const char* classInfo(const GUID* classId) = 0;
  virtual bool reserved4() = 0;  // returns true here
  virtual void runSelfTests(IQorSelfTestService* service) = 0;
  virtual void setProxyName(const QorCString& name) = 0;
  virtual const QorCString& getProxyName() = 0;
  virtual void setBreakEnabled(uint8_t flag) = 0;
  virtual uint8_t getBreakEnabled() = 0;
};

// The component this module hands out. No fields of its own.
class QorStaticBaseComponent : public IQorComponent, public IQorCompInternal {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "QorStaticBaseComponent"; }

  bool initialize(IQorComponentManager* locator) override;
  bool shutdown() override;
  int createInstance(const GUID* classId, void** out) override;
  const char* version() override;

  void reserved1() override {}
  void reserved2() override {}
  const GUID* componentGuid() override;
  const char* moduleName() override;
  int reserved3() override { return 0; }
  int32_t classCount() override;
  bool firstClass(GUID* out) override;
  bool nextClass(GUID* out) override;
  const char* classInfo(const GUID* classId) override;
  bool reserved4() override { return true; }
  void runSelfTests(IQorSelfTestService* service) override;
  void setProxyName(const QorCString& name) override;
  const QorCString& getProxyName() override;
  void setBreakEnabled(uint8_t flag) override;
  uint8_t getBreakEnabled() override;
};

// The twin that nothing here instantiates: no version, its own class name.
class QorBaseComponent : public QorStaticBaseComponent {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "QorBaseComponent"; }
  const char* version() override { return nullptr; }
};

class QorStaticBaseComponentFact : public IQorComponentFactory {
 public:
  IQorComponent* create() override;
};

class brindleInternalComponentCustomizer : public IQorComponentCustomizer {
 public:
  bool onInitialize(IQorComponentManager*) override { return true; }
  bool onShutdown() override { return true; }
};

// A self test entry: the first field is what the test service receives.
struct QorSelfTestEntry {
  void* test;
};

namespace qor {

// Process state made by static initialisation.
extern const GUID componentId;              // 5D68CF6F-4618-40B4-AE7D-34B224BB02BF
extern const char* const componentName;     // "brindle"
extern const char* const componentVersion;  // "5.3.21.373382"
// The three made at first use and never deleted; a host or a test may replace them.
std::atomic<IQorClassFactory*>& classFactory();
std::atomic<IQorComponentCustomizer*>& componentCustomizer();
std::atomic<IQorComponentFactory*>& componentFactory();

// The component handed out by the last successful entry call, or null.
IQorComponent* currentComponent();

// The component entry: 1 with *component and *version (100) set, 0 on failure. A null
// `component` writes nothing; a failing factory writes 0 to both.
int entryPoint(uint32_t* version, uintptr_t* component);

// The flag behind the component's break operations.
uint8_t& breakEnabled();

// Adds a self test (the module itself registers none); returns the list's count.
int32_t registerSelfTest(void* test);

}  // namespace qor
