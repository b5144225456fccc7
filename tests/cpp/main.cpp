// The one main of the GoogleTest binaries. A folder's compile definitions choose its host:
// BRINDLE_TEST_PROFILE names the reference host's profile to boot and install as the
// locator before the first test (none: no host), BRINDLE_TEST_SETTINGS lists integer
// settings "key=value,..." stored before any map reads them, and BRINDLE_TEST_FAKE_SERVICES
// adds the recording memory manager and assertion handler of pool_host/fakes.h. With
// BRINDLE_TEST_NO_HOST in the environment nothing is booted, so that a test can run its
// own binary again for the road without services (a service looked up once stays).
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>

#include "core/locator.h"
#include "refhost/host.h"

#ifdef BRINDLE_TEST_FAKE_SERVICES
#include "pool_host/fakes.h"

FakeMManager& fakeManager() {
  static auto* m = new FakeMManager();
  return *m;
}

RecordingAssertHandler& assertHandler() {
  static auto* h = new RecordingAssertHandler();
  return *h;
}
#endif

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
#ifdef BRINDLE_TEST_PROFILE
  if (!std::getenv("BRINDLE_TEST_NO_HOST")) {
    if (!refhost::boot(BRINDLE_TEST_PROFILE)) return 2;
#ifdef BRINDLE_TEST_SETTINGS
    std::istringstream settings(BRINDLE_TEST_SETTINGS);
    for (std::string item; std::getline(settings, item, ',');) {
      const size_t eq = item.rfind('=');
      refhost::dataStore().setInt(nullptr, item.substr(0, eq).c_str(),
                                  std::stoi(item.substr(eq + 1)));
    }
#endif
#ifdef BRINDLE_TEST_FAKE_SERVICES
    refhost::manager().registerService("IQorMManager", &fakeManager());
    refhost::manager().registerService("IQorAssertHandlerCB", &assertHandler());
#endif
    qor::setLocator(&refhost::manager());
  }
#endif
  return RUN_ALL_TESTS();
}
