#include "refhost/host.h"

#include <dlfcn.h>

#include "core/component.h"
#include "refhost/appservices.h"
#include "refhost/automation.h"
#include "refhost/bucketpoolservice.h"
#include "refhost/classes.h"
#include "refhost/curvehosts.h"
#include "refhost/curveset.h"
#include "refhost/dirservice.h"
#include "refhost/document.h"
#include "refhost/eventargs.h"
#include "refhost/featurehosts.h"
#include "refhost/filesupport.h"
#include "refhost/imagewriter.h"
#include "refhost/memchecker.h"
#include "refhost/memorymanager.h"
#include "refhost/modulebridge.h"
#include "refhost/parameters.h"
#include "refhost/persistence.h"
#include "refhost/pointextra.h"
#include "refhost/progress.h"
#include "refhost/propertydump.h"
#include "refhost/proxies.h"
#include "refhost/random.h"
#include "refhost/selections.h"
#include "refhost/settingsfile.h"
#include "refhost/sweptsurfaces.h"
#include "refhost/translator.h"

namespace refhost {

// Every host object is made once and never destroyed.
RefComponentManager& manager() {
  return immortal<RefComponentManager>();
}

RecordingErrorService& errorService() {
  static auto* s = new RecordingErrorService();
  return *s;
}

RecordingLog& log() {
  static auto* s = new RecordingLog();
  return *s;
}

MemoryDataStore& dataStore() {
  static auto* s = new MemoryDataStore();
  return *s;
}

RefComponentManager& proxyComponent() {
  return immortal<RefComponentManager, 1>();
}

MemoryDataStore& proxyDataStore() {
  static auto* s = new MemoryDataStore();
  return *s;
}

RefStrSupport& strSupport() {
  static auto* s = new RefStrSupport();
  return *s;
}

TableTranslatorService& translatorService() {
  return immortal<TableTranslatorService>();
}

static std::string gProfile;
static IQorComponent* gComponent = nullptr;
static uint32_t gComponentVersion = 0;

bool isProfile(const std::string& p) {
  return p == "full" || p == "bare" || p == "no-conversion" || p == "proxy" || p == "strsupport" ||
         p == "pool" || p == "translator";
}

const std::string& bootedProfile() {
  return gProfile;
}

bool profileHas(const std::string& service) {
  if (gProfile == "bare") return false;
  if (service == "IQorStrSupport") return gProfile == "strsupport";
  if (gProfile == "no-conversion") return service != "IQorPythonTypeConversionService";
  return !gProfile.empty();
}

bool boot(const std::string& profile) {
  if (!gProfile.empty()) return gProfile == profile;
  if (!isProfile(profile)) return false;
  gProfile = profile;
  RefComponentManager& m = manager();
  if (profile == "bare") return true;
  // First, so that no string operation during the boot can miss it.
  if (profile == "strsupport") m.registerService("IQorStrSupport", &strSupport());
  m.registerService("IQorErrorService", &errorService());
  m.registerService("IQorLog3", &log());
  m.registerService("IDataStore", &dataStore());
  m.registerService("IQorMManager", static_cast<IQorMManager*>(&memoryManager()));
  m.registerService("IMemChecker", static_cast<IMemChecker*>(&memChecker()));
  registerEventArgs(m);
  registerDocument(m);
  registerSelections(m);
  registerParameterServices(m);
  registerFeatureHosts(m);
  registerCurveHosts(m);
  registerCurveSet(m);
  registerSweptSurfaces(m);
  registerAppServices(m);
  registerPersistence(m);
  registerDataModelClasses(m);
  m.registerService("IQorRandom", static_cast<IQorRandom*>(&random()));
  m.registerService("IQorDirService", static_cast<IQorDirService*>(&dirService()));
  m.registerService("IQorPointExtraInfo", static_cast<IQorPointExtraInfo*>(&pointExtraInfo()));
  m.registerService("IRealPArrayFactory", static_cast<IRealPArrayFactory*>(&realPArrayFactory()));
  registerProgress(m);
  registerModuleServices(m);
  registerAutomation(m);
  registerPropertyDump(m);
  m.registerService("IQorImageWriter", static_cast<IQorImageWriter*>(&imageWriter()));
  m.registerService("IQorCompressPNG", static_cast<IQorCompressPNG*>(&compressPNG()));
  RefProxyManager::setModelFactory(makeModelFor);
  m.registerService("IQorLodexFileSupport", static_cast<IQorLodexFileSupport*>(&fileSupport()));
  installDefaultSettings(dataStore());
  std::string path = settingsPath();
  std::vector<std::string> problems;
  if (!path.empty() && loadSettings(dataStore(), path, &problems))
    for (const std::string& p : problems) log().logError(utf8ToWide(("[settings] " + p).c_str()));
  if (profile == "translator") m.registerService("IQorTranslatorService", &translatorService());
  if (profile == "pool")
    m.registerService("IBucketMemoryPool", static_cast<IBucketMemoryPool*>(&bucketPoolService()));
  if (profile == "proxy") {
    RefComponentManager& p = proxyComponent();
    p.registerService("IDataStore", &proxyDataStore());
    m.registerComponent("brindle.proxy", &p);
  }
  return true;
}

uint32_t loadComponent(const std::string& path, std::string* error) {
  if (gComponent) return gComponentVersion;
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    if (error) *error = std::string("cannot load ") + path + ": " + dlerror();
    return 0;
  }
  using Entry = int (*)(uint32_t*, uintptr_t*);
  auto entry = reinterpret_cast<Entry>(dlsym(handle, "EntryPoint"));
  if (!entry) {
    if (error) *error = path + " has no EntryPoint";
    dlclose(handle);
    return 0;
  }
  uint32_t version = 0;
  uintptr_t comp = 0;
  if (entry(&version, &comp) != 1 || !comp) {
    if (error) *error = path + ": EntryPoint failed";
    dlclose(handle);
    return 0;
  }
  auto* c = reinterpret_cast<IQorComponent*>(comp);
  c->addRef();  // the host owns the component for the life of the process
  c->initialize(&manager());
  gComponent = c;
  gComponentVersion = version;
  return version;
}

IQorComponent* component() {
  return gComponent;
}

}  // namespace refhost
