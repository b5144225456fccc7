// GUIDs and the process hooks.
#include "platform/guid.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "platform/process.h"

namespace {

TEST(Guid, TextFormRoundTripsAndRejectsBadText) {
  GUID g{};
  ASSERT_TRUE(Platform::guidFromString("5D68CF6F-4618-40B4-AE7D-34B224BB02BF", &g));
  EXPECT_EQ(std::vector<uint32_t>({g.Data1, g.Data2, g.Data3, g.Data4[0], g.Data4[7]}),
            std::vector<uint32_t>({0x5D68CF6F, 0x4618, 0x40B4, 0xAE, 0xBF}));
  EXPECT_EQ(Platform::guidToString(g), "5D68CF6F-4618-40B4-AE7D-34B224BB02BF");
  GUID b{};
  EXPECT_TRUE(Platform::guidFromString("{5d68cf6f-4618-40b4-ae7d-34b224bb02bf}", &b) && g == b);
  for (const char* bad :
       {"", "5D68CF6F-4618-40B4-AE7D-34B224BB02B", "5D68CF6F_4618-40B4-AE7D-34B224BB02BF",
        "5D68CF6F-4618-40B4-AE7D-34B224BB02BG", "{5D68CF6F-4618-40B4-AE7D-34B224BB02BF"})
    EXPECT_FALSE(Platform::guidFromString(bad, &b)) << bad;
  EXPECT_FALSE(Platform::guidFromString(nullptr, &b));
}

TEST(Guid, GeneratedIdsAreVersion4DistinctAndEqualFieldByField) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    GUID g = Platform::generateGuid();
    EXPECT_EQ(g.Data3 >> 12, 4) << "version 4";
    EXPECT_EQ(g.Data4[0] & 0xC0, 0x80) << "RFC 4122 variant";
    seen.insert(Platform::guidToString(g));
  }
  EXPECT_EQ(seen.size(), 1000u);
  GUID a = Platform::generateGuid(), b = a, c = a;
  b.Data4[7] ^= 1;
  c.Data2 ^= 1;
  EXPECT_TRUE(a == GUID(a) && !(a == b) && !(a == c));
}

TEST(Process, ExitWithoutHookEndsTheProcess) {
  EXPECT_EXIT(Platform::exitProcess(3), ::testing::ExitedWithCode(3), "");
}

}  // namespace
