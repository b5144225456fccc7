// Boots the reference host under the "pool" profile, adds the test's memory manager and
// assertion handler, and installs the host as this process's locator before any test runs.
#include <gtest/gtest.h>

#include "core/locator.h"
#include "fakes.h"
#include "refhost/host.h"

FakeMManager& fakeManager() {
  static auto* m = new FakeMManager();
  return *m;
}

RecordingAssertHandler& assertHandler() {
  static auto* h = new RecordingAssertHandler();
  return *h;
}

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (!refhost::boot("pool")) return 2;
  refhost::manager().registerService("IQorMManager", &fakeManager());
  refhost::manager().registerService("IQorAssertHandlerCB", &assertHandler());
  qor::setLocator(&refhost::manager());
  return RUN_ALL_TESTS();
}
