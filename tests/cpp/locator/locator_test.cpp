// The locator installed: lookups through the host's manager, the proxy-name walk, counts
// through the host, the first-call rule of static accessors, and self tests.
#include "core/locator.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/component.h"
#include "core/iptr.h"
#include "hostapi/idatastore.h"
#include "refhost/host.h"

namespace {

// A static accessor, as the module writes them; its first call comes before initialize.
IDataStore* earlyStore() {
  static SPtr<IDataStore> store("IDataStore");
  return store.get();
}

// A component with its own services; getService answers `result` for its one service.
struct FakeComponent : refhost::RefComponentManager {
  int result = 1, calls = 0;
  IQorUnknown* service = nullptr;
  int getService(const QorCString& name, void** out) override {
    ++calls;
    if (service && name == "IQorLog3" && result == 1)
      return service->queryInterface("IQorLog3", out, 0), 1;
    return result == 1 ? 0 : result;
  }
};

class Locator : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    EXPECT_EQ(earlyStore(), nullptr);  // before initialize
    refhost::boot("full");
    uint32_t version = 0;
    uintptr_t comp = 0;
    ASSERT_EQ(qor::entryPoint(&version, &comp), 1);
    component = reinterpret_cast<IQorComponent*>(comp);
    component->addRef();
    ASSERT_TRUE(component->initialize(&refhost::manager()));
  }
  void TearDown() override {
    internal()->setProxyName(QorCString());
    refhost::errorService().clear();
  }
  static IQorCompInternal* internal() {
    return qorQuery<IQorCompInternal>(component, "IQorCompInternal");
  }
  static inline IQorComponent* component = nullptr;
};

TEST_F(Locator, ServicesAreFoundByInterfaceNameAndHeldThroughTheHost) {
  EXPECT_EQ(qor::locator(), &refhost::manager());
  IDataStore* store = nullptr;
  ASSERT_EQ(getService("IDataStore", reinterpret_cast<void**>(&store)), 1);
  EXPECT_EQ(store, static_cast<IDataStore*>(&refhost::dataStore()))
      << "the pointer is adjusted to the named interface";
  void* out = nullptr;
  EXPECT_EQ(getService("INoSuchService", &out), 0);
  EXPECT_EQ(earlyStore(), nullptr) << "an accessor first called before initialize stays empty";
  uint32_t before = refhost::dataStore().refCount();
  {
    SPtr<IDataStore> a("IDataStore");
    SPtr<IDataStore> b("IDataStore");
    EXPECT_TRUE(a) << "a fresh lookup finds it";
    EXPECT_EQ(refhost::dataStore().refCount(), before + 2);
  }
  EXPECT_EQ(refhost::dataStore().refCount(), before);
}

TEST_F(Locator, CountsStepThroughTheHostAndMarkDeath) {
  uint32_t count = 0;
  countUp(&count);
  countUp(&count);
  EXPECT_TRUE(count == 2u && !countDown(&count) && countDown(&count) && count == kQorDeadCount);
  // A late addRef/release pair on a dead count must not reach zero again.
  countUp(&count);
  EXPECT_FALSE(countDown(&count));
}

TEST_F(Locator, ProxyComponentAnswersFirst) {
  static FakeComponent proxy;
  static refhost::RecordingLog proxyLog;
  proxy.service = &proxyLog;
  refhost::manager().registerComponent("test.proxy", &proxy);
  internal()->setProxyName(QorCString("test.proxy"));

  IQorLog3* log = nullptr;
  ASSERT_EQ(getService("IQorLog3", reinterpret_cast<void**>(&log)), 1);
  EXPECT_EQ(log, static_cast<IQorLog3*>(&proxyLog)) << "the proxy had it";
  IDataStore* store = nullptr;
  ASSERT_EQ(getService("IDataStore", reinterpret_cast<void**>(&store)), 1);
  EXPECT_EQ(store, static_cast<IDataStore*>(&refhost::dataStore())) << "fallback to the manager";

  // Anything other than exactly 1 from the proxy counts as not found, and an unregistered
  // proxy name goes straight to the manager.
  proxy.result = 2;
  for (const char* name : {"test.proxy", "not.registered"}) {
    internal()->setProxyName(QorCString(name));
    const int calls = proxy.calls;
    ASSERT_EQ(getService("IQorLog3", reinterpret_cast<void**>(&log)), 1);
    EXPECT_EQ(log, static_cast<IQorLog3*>(&refhost::log()));
    EXPECT_EQ(proxy.calls, calls + (name[0] == 't' ? 1 : 0));
  }
}

TEST_F(Locator, CreateInstanceWalksTheProxyToo) {
  GUID id = Platform::generateGuid();
  static int made = 0;
  refhost::manager().registerClass(id, [] {
    ++made;
    return static_cast<IQorUnknown*>(new refhost::RecordingLog());
  });
  static FakeComponent proxy;  // knows no class: every request falls back to the manager
  refhost::manager().registerComponent("create.proxy", &proxy);
  internal()->setProxyName(QorCString("create.proxy"));
  void* out = nullptr;
  EXPECT_EQ(createInstance(&id, QorCString(kBorrow, "IQorLog3"), &out), 1);
  IPtr<IQorLog3> owner(static_cast<IQorLog3*>(out));  // a new object at count 0: take it
  EXPECT_TRUE(std::string(owner->className()) == "RecordingLog" && made == 1);
  out = nullptr;
  EXPECT_TRUE(createInstance(&id, QorCString(kBorrow, "IDataStore"), &out) == 0 && !out)
      << "the object doesn't have that interface";
  GUID unknown = Platform::generateGuid();
  EXPECT_EQ(createInstance(&unknown, QorCString(kBorrow, "IQorLog3"), &out), 0);
}

struct CountingTests : IQorSelfTestService {
  std::vector<void*> ran;
  void queryInterface(const char*, void** out, uintptr_t) override { *out = nullptr; }
  const char* className() override { return "CountingTests"; }
  void runTest(void* t) override { ran.push_back(t); }
};

TEST_F(Locator, SelfTestsVersionAndShutdown) {
  internal()->runSelfTests(nullptr);
  internal()->runSelfTests(nullptr);
  auto reports = refhost::errorService().reports();
  ASSERT_EQ(reports.size(), 2u) << "the guard is cleared again";
  EXPECT_EQ(reports[0].message, "Unable to get test service");
  EXPECT_TRUE(reports[0].level == 1 && reports[0].where.empty());
  CountingTests svc;
  internal()->runSelfTests(&svc);
  EXPECT_TRUE(svc.ran.empty()) << "the module registers no tests";
  int marker = 0;
  EXPECT_EQ(qor::registerSelfTest(&marker), 1);
  internal()->runSelfTests(&svc);
  EXPECT_EQ(svc.ran, std::vector<void*>{&marker});
  EXPECT_STREQ(component->version(), "5.3.21.373382");
  EXPECT_TRUE(component->shutdown());
  EXPECT_EQ(qor::locator(), &refhost::manager()) << "shutdown leaves the locator set";
}

}  // namespace
