// The reference host: builds the component manager, registers its services by interface
// name according to a named profile, and loads the module as a component.
//
// Profiles:
//   "full"          every service the host has
//   "bare"          no services at all (the script layer adds only what it must)
//   "no-conversion" every service but IQorPythonTypeConversionService
//   "proxy"         "full", plus a second component "brindle.proxy" with its own
//                   IDataStore and IQorLog3, for lookups through a proxy name
//   "pool"          "full", plus the shared pool of small blocks IBucketMemoryPool
//   "translator"    "full", plus IQorTranslatorService with a translator into German
//                   for the system's message texts
//   "strsupport"    "full", plus the host's text rules IQorStrSupport (the other
//                   profiles leave strings on their plain fallbacks)
// Every profile but "bare" starts the settings store with the defaults of the keys the
// system reads, then reads the settings file (see settingsfile.h). Services live until the
// process ends.
#pragma once
#include <cstdint>
#include <string>

#include "refhost/componentmanager.h"
#include "refhost/services.h"
#include "refhost/strsupport.h"

class IQorComponent;

namespace refhost {

RefComponentManager& manager();
RecordingErrorService& errorService();
RecordingLog& log();
// The translator service of the "translator" profile.
class TableTranslatorService;
TableTranslatorService& translatorService();
MemoryDataStore& dataStore();
// The proxy component's own manager and store (registered only in the "proxy" profile).
RefComponentManager& proxyComponent();
MemoryDataStore& proxyDataStore();
// The text rules service (registered only in the "strsupport" profile).
RefStrSupport& strSupport();

// True when `profile` names a known profile.
bool isProfile(const std::string& profile);
// Registers the profile's services. Returns false for an unknown profile. A second call
// does nothing and returns whether the profile matches the first.
bool boot(const std::string& profile);
const std::string& bootedProfile();
// Whether the profile carries `service` (the script layer asks for the services it owns).
bool profileHas(const std::string& service);

// Loads the module file, calls its EntryPoint and then initialize with the manager.
// Returns the EntryPoint version (100) or 0, with `error` saying what failed.
uint32_t loadComponent(const std::string& path, std::string* error);
// The component handed out by loadComponent, or null.
IQorComponent* component();

}  // namespace refhost
