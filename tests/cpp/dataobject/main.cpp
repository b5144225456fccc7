// Boots the reference host with every service (event arguments, numbering, write queue,
// database and class factory entries) and installs it as this process's locator.
#include <gtest/gtest.h>

#include "core/locator.h"
#include "refhost/host.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (!refhost::boot("full")) return 2;
  qor::setLocator(&refhost::manager());
  return RUN_ALL_TESTS();
}
