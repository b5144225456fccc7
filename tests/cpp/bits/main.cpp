// Boots the reference host with every service (page manager, random numbers, progress)
// before the first vector is made. With BRINDLE_BITS_BARE set the host stays unbooted, so
// that the tests of the plain-only road run without a page manager (a manager looked up
// once stays for the process, so that road needs a process of its own).
#include <gtest/gtest.h>

#include <cstdlib>

#include "core/locator.h"
#include "refhost/host.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (!std::getenv("BRINDLE_BITS_BARE")) {
    if (!refhost::boot("full")) return 2;
    qor::setLocator(&refhost::manager());
  }
  return RUN_ALL_TESTS();
}
