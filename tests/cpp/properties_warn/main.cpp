// Boots the reference host with every service and the warning about missing properties
// switched on, before the first map of the process reads (and caches) the setting.
#include <gtest/gtest.h>

#include "core/locator.h"
#include "refhost/host.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (!refhost::boot("full")) return 2;
  refhost::dataStore().setInt(nullptr, "Advanced/Warning About Non-Existing Properties", 1);
  refhost::dataStore().setInt(nullptr, "Advanced/Warning About Bogus Dynamic Properties", 1);
  qor::setLocator(&refhost::manager());
  return RUN_ALL_TESTS();
}
