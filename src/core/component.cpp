#include "core/component.h"

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

// Made once when the library loads and never deleted.
IQorClassFactory* classFactory = new QorDefaultClassFactory();
IQorComponentCustomizer* componentCustomizer = new brindleInternalComponentCustomizer();
IQorComponentFactory* componentFactory = new QorStaticBaseComponentFact();

static IQorComponent* gComponent = nullptr;
IQorComponent* currentComponent() {
  return gComponent;
}

int entryPoint(uint32_t* version, uintptr_t* component) {
  if (!component) return 0;
  if (!componentFactory) return 0;
  IQorComponent* made = nullptr;
  try {
    made = componentFactory->create();
  } catch (...) {
    if (version) *version = 0;
    *component = 0;
    return 0;
  }
  gComponent = made;
  *component = reinterpret_cast<uintptr_t>(made);
  if (version) *version = 100;
  return 1;
}

uint8_t& breakEnabled() {
  static uint8_t flag = 0;
  return flag;
}

// The list is one-based in spirit; it is made on first need with room for 21.
static std::vector<QorSelfTestEntry>* gSelfTests = nullptr;
static bool gSelfTestsRunning = false;

int32_t registerSelfTest(void* test) {
  if (!gSelfTests) {
    gSelfTests = new std::vector<QorSelfTestEntry>();
    gSelfTests->reserve(21);
  }
  gSelfTests->push_back({test});
  return static_cast<int32_t>(gSelfTests->size());
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
  if (qor::componentCustomizer) return qor::componentCustomizer->onInitialize(locator);
  return false;
}

bool QorStaticBaseComponent::shutdown() {
  if (qor::componentCustomizer) return qor::componentCustomizer->onShutdown();
  return false;
}

int QorStaticBaseComponent::createInstance(const GUID* classId, void** out) {
  if (!qor::classFactory) {
    if (out) *out = nullptr;
    return 0;
  }
  return qor::classFactory->createInstance(classId, out);
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
  return qor::classFactory ? qor::classFactory->classCount() : 0;
}
bool QorStaticBaseComponent::firstClass(GUID* out) {
  return qor::classFactory ? qor::classFactory->firstClass(out) : false;
}
bool QorStaticBaseComponent::nextClass(GUID* out) {
  return qor::classFactory ? qor::classFactory->nextClass(out) : false;
}
const char* QorStaticBaseComponent::classInfo(const GUID* classId) {
  return qor::classFactory ? qor::classFactory->classInfo(classId) : nullptr;
}

void QorStaticBaseComponent::runSelfTests(IQorSelfTestService* service) {
  if (qor::gSelfTestsRunning) return;
  qor::gSelfTestsRunning = true;
  if (!service) {
    qor::reportToErrorService(QorString("Unable to get test service"), QorCString(kBorrow, ""));
    qor::gSelfTestsRunning = false;
    return;
  }
  if (!qor::gSelfTests) {
    qor::gSelfTests = new std::vector<QorSelfTestEntry>();
    qor::gSelfTests->reserve(21);
  }
  // Index-based: a test may register another while the walk runs.
  for (size_t i = 0; i < qor::gSelfTests->size(); ++i) service->runTest((*qor::gSelfTests)[i].test);
  qor::gSelfTestsRunning = false;
}

void QorStaticBaseComponent::setProxyName(const QorCString& name) {
  qor::proxyName() = name;
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
