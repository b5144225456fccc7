// Boots the reference host with every service and the warning about missing properties
// off, and installs it as this process's locator before the first map reads the setting.
#include <gtest/gtest.h>

#include "core/locator.h"
#include "refhost/host.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (!refhost::boot("full")) return 2;
  refhost::dataStore().setInt(nullptr, "Advanced/Warning About Non-Existing Properties", 0);
  qor::setLocator(&refhost::manager());
  return RUN_ALL_TESTS();
}
