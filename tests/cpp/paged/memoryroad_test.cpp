// The last road of allocation: the report file's layout with fixed figures, the machine's
// figures, the spill file, and where the message to the user goes.
#include "base/memoryroad.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "base/wexrealloc.h"
#include "platform/process.h"
#include "refhost/host.h"
#include "refhost/memorymanager.h"
#include "refhost/services.h"

namespace {

struct FixedManager : refhost::RefMemoryManager {
  int64_t coreInUse() override { return 3; }
  int64_t coreLimit() override { return 1000; }
  int64_t swapInUse() override { return 2; }
  int64_t swapLimit() override { return 41666; }
};

TEST(MemoryRoad, ReportLayout) {
  FixedManager m;
  const WexMemoryFigures f{123456, 16318464, 0, 2097148};
  EXPECT_EQ(wexMemoryLogText(40000, f, &m),
            "attempted:          40000b\n\n"
            "system free:       123456k\n"
            "system total:     16318464k\n"
            "swap free:              0k\n"
            "swap total:       2097148k\n\n"
            "qormm core now:        72k\n"
            "qormm core limit:   24000k\n"
            "qormm swap now:        48k\n"
            "qormm swap limit:  999984k\n\n");
  EXPECT_EQ(wexMemoryLogText(0, f, nullptr),
            "system free:       123456k\nsystem total:     16318464k\n"
            "swap free:              0k\nswap total:       2097148k\n\nqormm not available\n\n");
}

TEST(MemoryRoad, FiguresFromTheSystem) {
  int64_t avail = 0, total = 0, swapFree = 0, swapTotal = 0, kb = 0;
  ASSERT_EQ(wexMemoryStatus(&avail, &total, &swapFree, &swapTotal, 1), 0);
  ASSERT_EQ(wexMemoryStatus(nullptr, &kb, nullptr, nullptr, 1024), 0);
  EXPECT_TRUE(avail > 0 && avail <= total && swapFree <= swapTotal && kb * 1024 == total);
  int64_t rss = 0, peak = 0;
  wexWorkingSet(&rss, &peak, 1024);
  EXPECT_TRUE(rss > 0 && rss <= peak) << rss << " " << peak;
  EXPECT_GT(wexProcessMemory(1), 0);
}

TEST(MemoryRoad, SpillFileKeepsTheBytesAndLeavesNothingBehind) {
  char dir[] = "/tmp/spill-test-XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  refhost::dataStore().setString(nullptr, "Directories/Temp Directory", dir);
  void* p = nullptr;
  wexMalloc(&p, 1, 5000);
  for (int i = 0; i < 5000; ++i) static_cast<unsigned char*>(p)[i] = static_cast<unsigned char>(i);
  ASSERT_EQ(wexSpillRealloc(&p, 5000, 9000, [](size_t n) { return std::malloc(n); }), 0);
  std::vector<unsigned char> got(static_cast<unsigned char*>(p),
                                 static_cast<unsigned char*>(p) + 9000);
  for (int i = 0; i < 9000; ++i) ASSERT_EQ(got[i], i < 5000 ? (i & 0xFF) : 0) << i;
  EXPECT_EQ(wexSpillRealloc(&p, 9000, 1 << 20, [](size_t) -> void* { return nullptr; }), kNoMemory);
  EXPECT_EQ(p, nullptr);
  // A directory that cannot take the file: the block stays where it was.
  refhost::dataStore().setString(nullptr, "Directories/Temp Directory", "/nonexistent/dir");
  wexMalloc(&p, 1, 16);
  void* before = p;
  EXPECT_EQ(wexSpillRealloc(&p, 16, 32, [](size_t n) { return std::malloc(n); }), kSpillOpenFailed);
  EXPECT_EQ(p, before);
  wexFree(p);
  refhost::dataStore().setString(nullptr, "Directories/Temp Directory", "");
  EXPECT_EQ(rmdir(dir), 0) << "no spill file is left behind";
}

std::vector<std::string> boxes;

TEST(MemoryRoad, TheUserHearsThroughTheErrorServiceOrAMessageBox) {
  Platform::setMessageHook([](const char* title, const char* text) {
    boxes.push_back(std::string(title) + "|" + text);
  });
  refhost::errorService().clear();
  const std::string text =
      "While running this function, you have run out of memory.\nThe application will close. "
      "After restarting, please read\nthe online help about \"Memory Optimization\".";
  EXPECT_FALSE(wexMemoryFailure(kSpillWriteFailed));
  EXPECT_FALSE(wexMemoryFailure(-6));  // not a code of the road: nobody is told
  refhost::dataStore().setInt(nullptr, "Memory/UseErrorService", 1);
  EXPECT_FALSE(wexMemoryFailure(kNoMemory));
  refhost::dataStore().setInt(nullptr, "Memory/UseErrorService", 0);
  Platform::setMessageHook(nullptr);
  EXPECT_EQ(boxes, std::vector<std::string>{"Out of Memory|" + text});
  const auto reports = refhost::errorService().reports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].message + "|" + std::to_string(reports[0].level) + "|" + reports[0].where,
            text + "|1|realloc");
}

TEST(MemoryRoad, TheReportGoesToTheLogsDirectory) {
  char dir[] = "/tmp/memlog-test-XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  refhost::dataStore().setString(nullptr, "Directories/Logs Directory", dir);
  wexWriteMemoryLog(0);
  wexWriteMemoryLog(77);  // truncates: only the latest report stays
  refhost::dataStore().setString(nullptr, "Directories/Logs Directory", "");
  const std::string path = std::string(dir) + "/memory.log";
  std::ifstream in(path);
  const std::string log((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_EQ(log.rfind("attempted:             77b\n\nsystem free:", 0), 0u) << log;
  EXPECT_NE(log.find("\nqormm core now:   "), std::string::npos) << log;
  std::remove(path.c_str());
  rmdir(dir);
}

}  // namespace
