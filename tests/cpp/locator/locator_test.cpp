// The locator installed: lookups through the host's manager, the proxy-name walk, counts
// through the host, the first-call rule of static accessors, and self tests.
#include "core/locator.h"

#include <gtest/gtest.h>

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
  int result = 1;
  int calls = 0;
  IQorUnknown* service = nullptr;
  int getService(const QorCString& name, void** out) override {
    ++calls;
    if (service && name == "IQorLog3" && result == 1) {
      service->queryInterface("IQorLog3", out, 0);
      return 1;
    }
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

TEST_F(Locator, ServicesAreFoundByInterfaceName) {
  EXPECT_EQ(qor::locator(), &refhost::manager());
  IDataStore* store = nullptr;
  ASSERT_EQ(getService("IDataStore", reinterpret_cast<void**>(&store)), 1);
  EXPECT_EQ(store, static_cast<IDataStore*>(&refhost::dataStore()))
      << "the pointer is adjusted to the named interface";
  void* out = reinterpret_cast<void*>(0x5);
  EXPECT_EQ(getService("INoSuchService", &out), 0);
}

TEST_F(Locator, AStaticAccessorFirstCalledBeforeInitializeStaysEmpty) {
  EXPECT_EQ(earlyStore(), nullptr);
  SPtr<IDataStore> fresh("IDataStore");
  EXPECT_TRUE(fresh) << "a fresh lookup finds it";
}

TEST_F(Locator, SPtrHoldsOneReferenceThroughTheHost) {
  uint32_t before = refhost::dataStore().refCount();
  {
    SPtr<IDataStore> a("IDataStore");
    SPtr<IDataStore> b("IDataStore");
    EXPECT_EQ(refhost::dataStore().refCount(), before + 2);
  }
  EXPECT_EQ(refhost::dataStore().refCount(), before);
}

TEST_F(Locator, CountsStepThroughTheHostAndMarkDeath) {
  uint32_t count = 0;
  countUp(&count);
  countUp(&count);
  EXPECT_EQ(count, 2u);
  EXPECT_FALSE(countDown(&count));
  EXPECT_TRUE(countDown(&count));
  EXPECT_EQ(count, kQorDeadCount);
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

  // Anything other than exactly 1 from the proxy counts as not found.
  proxy.result = 2;
  log = nullptr;
  ASSERT_EQ(getService("IQorLog3", reinterpret_cast<void**>(&log)), 1);
  EXPECT_EQ(log, static_cast<IQorLog3*>(&refhost::log()));
  proxy.result = 1;

  // An unregistered proxy name goes straight to the manager.
  int calls = proxy.calls;
  internal()->setProxyName(QorCString("not.registered"));
  ASSERT_EQ(getService("IQorLog3", reinterpret_cast<void**>(&log)), 1);
  EXPECT_EQ(log, static_cast<IQorLog3*>(&refhost::log()));
  EXPECT_EQ(proxy.calls, calls);
}

TEST_F(Locator, CreateInstanceWalksTheProxyToo) {
  GUID id = Platform::generateGuid();
  static int made = 0;
  refhost::manager().registerClass(id, [] {
    ++made;
    return static_cast<IQorUnknown*>(new refhost::RecordingLog());
  });
  void* out = nullptr;
  EXPECT_EQ(createInstance(&id, QorCString(kBorrow, "IQorLog3"), &out), 1);
  ASSERT_NE(out, nullptr);
  IPtr<IQorLog3> owner(static_cast<IQorLog3*>(out));  // a new object at count 0: take it
  EXPECT_STREQ(owner->className(), "RecordingLog");
  EXPECT_EQ(made, 1);
  out = nullptr;
  EXPECT_EQ(createInstance(&id, QorCString(kBorrow, "IDataStore"), &out), 0)
      << "the object doesn't have that interface";
  EXPECT_EQ(out, nullptr);
  GUID unknown = Platform::generateGuid();
  EXPECT_EQ(createInstance(&unknown, QorCString(kBorrow, "IQorLog3"), &out), 0);
}

TEST_F(Locator, ServiceSwitchesAreSeenByLookups) {
  int before = refhost::manager().lookups("IQorErrorService");
  refhost::manager().setMode("IQorErrorService", refhost::ServiceMode::Absent);
  void* out = nullptr;
  EXPECT_EQ(getService("IQorErrorService", &out), 0);
  refhost::manager().setMode("IQorErrorService", refhost::ServiceMode::Failing);
  EXPECT_NE(getService("IQorErrorService", &out), 1);
  EXPECT_EQ(out, nullptr);
  refhost::manager().setMode("IQorErrorService", refhost::ServiceMode::Normal);
  EXPECT_EQ(getService("IQorErrorService", &out), 1);
  EXPECT_EQ(refhost::manager().lookups("IQorErrorService"), before + 3);
}

TEST_F(Locator, SelfTestsWithoutServiceReportThroughTheErrorService) {
  internal()->runSelfTests(nullptr);
  auto reports = refhost::errorService().reports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].message, "Unable to get test service");
  EXPECT_EQ(reports[0].level, 1);
  EXPECT_EQ(reports[0].where, "");
  internal()->runSelfTests(nullptr);
  EXPECT_EQ(refhost::errorService().reports().size(), 2u) << "the guard is cleared again";
}

struct CountingTests : IQorSelfTestService {
  int runs = 0;
  void* last = nullptr;
  void queryInterface(const char*, void** out, uintptr_t) override {
    if (out) *out = nullptr;
  }
  const char* className() override { return "CountingTests"; }
  void runTest(void* t) override {
    ++runs;
    last = t;
  }
};

TEST_F(Locator, SelfTestsRunEachRegisteredEntry) {
  CountingTests svc;
  internal()->runSelfTests(&svc);
  internal()->runSelfTests(&svc);
  EXPECT_EQ(svc.runs, 0) << "the module registers no tests";
  int marker = 0;
  qor::registerSelfTest(&marker);
  internal()->runSelfTests(&svc);
  EXPECT_EQ(svc.runs, 1);
  EXPECT_EQ(svc.last, &marker);
  EXPECT_TRUE(refhost::errorService().reports().empty());
}

TEST_F(Locator, VersionAndShutdown) {
  EXPECT_STREQ(component->version(), "5.3.21.373382");
  EXPECT_TRUE(component->shutdown());
  EXPECT_EQ(qor::locator(), &refhost::manager()) << "shutdown leaves the locator set";
}

}  // namespace
