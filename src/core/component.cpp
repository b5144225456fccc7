#include "core/component.h"

#include <atomic>
#include <mutex>
#include <vector>

#include "core/locator.h"
#include "core/platformexception.h"

IQorComponentFactory::~IQorComponentFactory() = default;
IQorComponentCustomizer::~IQorComponentCustomizer() = default;

namespace qor {

constinit const GUID componentId = {
    0x5D68CF6F, 0x4618, 0x40B4, {0xAE, 0x7D, 0x34, 0xB2, 0x24, 0xBB, 0x02, 0xBF}};
const char* const componentName = "brindle";
const char* const componentVersion = "5.3.21.373382";

// Each made on first use, under the language's one-time initialisation, and never deleted:
// no other library's static initialiser can find one unmade.
std::atomic<IQorClassFactory*>& classFactory() {
  static std::atomic<IQorClassFactory*> factory{new QorDefaultClassFactory()};
  return factory;
}
std::atomic<IQorComponentCustomizer*>& componentCustomizer() {
  static std::atomic<IQorComponentCustomizer*> customizer{new brindleInternalComponentCustomizer()};
  return customizer;
}
std::atomic<IQorComponentFactory*>& componentFactory() {
  static std::atomic<IQorComponentFactory*> factory{new QorStaticBaseComponentFact()};
  return factory;
}

namespace {
std::atomic<IQorComponent*> gComponent{nullptr};
IQorClassFactory* factory() {
  return classFactory().load(std::memory_order_acquire);
}
}  // namespace

IQorComponent* currentComponent() {
  return gComponent.load(std::memory_order_acquire);
}

int entryPoint(uint32_t* version, uintptr_t* component) {
  if (!component) return 0;
  IQorComponentFactory* maker = componentFactory().load(std::memory_order_acquire);
  if (!maker) return 0;
  IQorComponent* made = nullptr;
  try {
    made = maker->create();
  } catch (...) {
    if (version) *version = 0;
    *component = 0;
    return 0;
  }
  gComponent.store(made, std::memory_order_release);
  *component = reinterpret_cast<uintptr_t>(made);
  if (version) *version = 100;
  return 1;
}

uint8_t& breakEnabled() {
  static uint8_t flag = 0;
  return flag;
}

namespace {
// The list is one-based in spirit; it is made on first use with room for 21, and guarded by
// its lock (taken only to add or to read one entry, never while a test runs).
struct SelfTests {
  std::mutex lock;
  std::vector<QorSelfTestEntry> entries;
  std::atomic<bool> running{false};
  SelfTests() { entries.reserve(21); }
};
SelfTests& selfTests() {
  static auto* tests = new SelfTests();
  return *tests;
}
}  // namespace

int32_t registerSelfTest(void* test) {
  SelfTests& all = selfTests();
  std::lock_guard<std::mutex> g(all.lock);
  all.entries.push_back({test});
  return static_cast<int32_t>(all.entries.size());
}

}  // namespace qor

void QorStaticBaseComponent::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out) return;
  if (!name) return;  // a component doesn't describe itself
  *out = nullptr;
  if (qorNameIs(name, "QorStaticBaseComponent"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorComponent"))
    *out = static_cast<IQorComponent*>(this);
  else if (qorNameIs(name, "IQorCompInternal"))
    *out = static_cast<IQorCompInternal*>(this);
}

bool QorStaticBaseComponent::initialize(IQorComponentManager* locator) {
  qor::setLocator(locator);
  if (auto* c = qor::componentCustomizer().load(std::memory_order_acquire))
    return c->onInitialize(locator);
  return false;
}

bool QorStaticBaseComponent::shutdown() {
  if (auto* c = qor::componentCustomizer().load(std::memory_order_acquire)) return c->onShutdown();
  return false;
}

int QorStaticBaseComponent::createInstance(const GUID* classId, void** out) {
  IQorClassFactory* f = qor::factory();
  if (!f) {
    if (out) *out = nullptr;
    return 0;
  }
  return f->createInstance(classId, out);
}

const char* QorStaticBaseComponent::version() {
  return qor::componentVersion;
}
const GUID* QorStaticBaseComponent::componentGuid() {
  return &qor::componentId;
}
const char* QorStaticBaseComponent::moduleName() {
  return qor::componentName;
}

int32_t QorStaticBaseComponent::classCount() {
  IQorClassFactory* f = qor::factory();
  return f ? f->classCount() : 0;
}
bool QorStaticBaseComponent::firstClass(GUID* out) {
  IQorClassFactory* f = qor::factory();
  return f ? f->firstClass(out) : false;
}
bool QorStaticBaseComponent::nextClass(GUID* out) {
  IQorClassFactory* f = qor::factory();
  return f ? f->nextClass(out) : false;
}
const char* QorStaticBaseComponent::classInfo(const GUID* classId) {
  IQorClassFactory* f = qor::factory();
  return f ? f->classInfo(classId) : nullptr;
}

void QorStaticBaseComponent::runSelfTests(IQorSelfTestService* service) {
  qor::SelfTests& all = qor::selfTests();
  if (all.running.exchange(true)) return;
  struct Done {
    std::atomic<bool>& flag;
    ~Done() { flag.store(false); }
  } done{all.running};
  if (!service) {
    qor::reportToErrorService(QorString("Unable to get test service"), QorCString(kBorrow, ""));
    return;
  }
  // Index-based: a test may register another while the walk runs.
  for (size_t i = 0;; ++i) {
    void* test = nullptr;
    {
      std::lock_guard<std::mutex> g(all.lock);
      if (i >= all.entries.size()) break;
      test = all.entries[i].test;
    }
    service->runTest(test);
  }
}

void QorStaticBaseComponent::setProxyName(const QorCString& name) {
  qor::setProxyName(name);
}
const QorCString& QorStaticBaseComponent::getProxyName() {
  return qor::proxyName();
}
void QorStaticBaseComponent::setBreakEnabled(uint8_t flag) {
  qor::breakEnabled() = flag;
}
uint8_t QorStaticBaseComponent::getBreakEnabled() {
  return qor::breakEnabled();
}

void QorBaseComponent::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "QorBaseComponent"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorComponent"))
    *out = static_cast<IQorComponent*>(this);
  else if (qorNameIs(name, "IQorCompInternal"))
    *out = static_cast<IQorCompInternal*>(this);
}

IQorComponent* QorStaticBaseComponentFact::create() {
  return new QorStaticBaseComponent();
}
