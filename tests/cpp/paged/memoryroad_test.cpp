// The last road of allocation: the report file's layout with fixed figures, the machine's
// figures and the host's checker, the spill file, where the message to the user goes, the
// memory limit, and a process that runs out of address space.
#include "base/memoryroad.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "base/wexrealloc.h"
#include "platform/process.h"
#include "refhost/document.h"
#include "refhost/host.h"
#include "refhost/memchecker.h"
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

std::string fileText(const std::string& path) {
  std::ifstream in(path);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

TEST(MemoryRoad, AnActiveCheckerAnswersForTheFiguresAndTheReport) {
  char dir[] = "/tmp/memlog-test-XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  refhost::memChecker().setFigures(126418944, 16710107136, 1048576, 2147479552, 52428800);
  refhost::dataStore().setString(nullptr, "Directories/Logs Directory", dir);
  wexWriteMemoryLog(40000);
  refhost::dataStore().setString(nullptr, "Directories/Logs Directory", "");
  int64_t rss = 0, peak = 0;
  wexWorkingSet(&rss, &peak, 1024);
  EXPECT_TRUE(wexAvailableMemory(0.5, 1024) == 123456 + 512 && wexAvailableMemory(1024) == 123456 &&
              wexProcessMemory(1024) == 51200 && rss == 51200 && peak == 51200);
  refhost::memChecker().setFailing(true);
  EXPECT_TRUE(wexMemoryStatus(nullptr, nullptr, nullptr, nullptr, 1) == -1 &&
              wexAvailableMemory(0.5, 1) == -1 && wexAvailableMemory(1) == -1);
  refhost::memChecker().setFailing(false);
  refhost::memChecker().setActive(false);
  // The address-space figures read the system whatever the checker says.
  EXPECT_TRUE(wexAvailableVirtual(1) > (int64_t{1} << 40) &&
              std::abs(wexAvailableAddressSpace(0, 1) - wexAvailableMemory(1)) <
                  wexAvailableMemory(1) / 64);
  const std::string path = std::string(dir) + "/memory.log";
  EXPECT_EQ(fileText(path),
            wexMemoryLogText(40000, {123456, 16318464, 1024, 2097148}, &refhost::memoryManager()));
  std::remove(path.c_str());
  rmdir(dir);
}

TEST(MemoryRoad, TheUserHearsThroughTheErrorServiceOrAMessageBoxBracketedByTheRenderer) {
  Platform::setMessageHook([](const char* title, const char* text) {
    boxes.push_back(std::string(title) + "|" + text);
    refhost::callLog().add("box");
  });
  refhost::callLog().clear();
  refhost::errorService().clear();
  const std::string text =
      "While running this function, you have run out of memory.\nThe application will close. "
      "After restarting, please read\nthe online help about \"Memory Optimization\".";
  EXPECT_FALSE(wexMemoryFailure(kSpillWriteFailed));
  EXPECT_FALSE(wexMemoryFailure(-6));  // not a code of the road: nobody is told
  refhost::dataStore().setInt(nullptr, "Memory/UseErrorService", 1);
  EXPECT_FALSE(wexMemoryFailure(kNoMemory));
  // The error service asked for but missing: nobody is told at all.
  refhost::manager().setMode("IQorErrorService", refhost::ServiceMode::Absent);
  EXPECT_FALSE(wexMemoryFailure(kNoMemory));
  refhost::manager().setMode("IQorErrorService", refhost::ServiceMode::Normal);
  refhost::dataStore().setInt(nullptr, "Memory/UseErrorService", 0);
  std::vector<std::string> calls;
  for (const std::string& line : refhost::callLog().lines())
    if (line == "box" || line.rfind("renderer.", 0) == 0) calls.push_back(line);
  EXPECT_EQ(calls, (std::vector<std::string>{
                       "renderer.beginModalMessage", "box", "renderer.endModalMessage",
                       "renderer.beginModalMessage", "renderer.endModalMessage"}));
  Platform::setMessageHook(nullptr);
  EXPECT_EQ(boxes, std::vector<std::string>{"Out of Memory|" + text});
  const auto reports = refhost::errorService().reports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].message + "|" + std::to_string(reports[0].level) + "|" + reports[0].where,
            text + "|1|realloc");
}

TEST(MemoryRoad, AReallocThatOnlyASpillFileAllowsKeepsTheBytes) {
  char dir[] = "/tmp/spill-test-XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  refhost::dataStore().setString(nullptr, "Directories/Temp Directory", dir);
  void* p = nullptr;
  wexMalloc(&p, 4, 1000);
  for (int i = 0; i < 1000; ++i) static_cast<int32_t*>(p)[i] = i * 7;
  qor::setRawAllocators(nullptr, [](void*, size_t) -> void* { return nullptr; });
  EXPECT_EQ(wexRealloc(&p, 4, 1000, 3000, 4000), 3000);
  qor::setRawAllocators(nullptr, nullptr);
  for (int i = 0; i < 3000; ++i) ASSERT_EQ(static_cast<int32_t*>(p)[i], i < 1000 ? i * 7 : 0) << i;
  wexFree(p);
  refhost::dataStore().setString(nullptr, "Directories/Temp Directory", "");
  EXPECT_EQ(rmdir(dir), 0) << "no spill file is left behind";
}

TEST(MemoryRoad, TheLimitFollowsTheStoreAndAMissingKeyKeepsTheSystemFigure) {
  refhost::dataStore().setDouble(nullptr, "Memory/MemLimit", 8e9);
  EXPECT_EQ(wexMemLimit(), 8000000000);
  refhost::dataStore().setDouble(nullptr, "Memory/MemLimit", 5e9 + 0.75);
  EXPECT_EQ(wexMemLimit(), 5000000000);
  refhost::dataStore().removeKey("Memory/MemLimit");
  int64_t total = 0;
  wexMemoryStatus(nullptr, &total, nullptr, nullptr, 1);
  auto* fresh = new MemLimitListener();  // registered with the store: never deleted
  EXPECT_GE(fresh->memLimit(), std::max<int64_t>(total, 1));
  refhost::dataStore().setDouble(nullptr, "Memory/MemLimit", 5e9);
}

// A process with little address space allocates until the road ends: the report file is
// the only thing left behind, the message reaches standard error and the exit code is -1.
TEST(MemoryRoad, RunningOutOfAddressSpaceEndsTheProcessWithTheReport) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer's shadow memory cannot live under a tight RLIMIT_AS";
#endif
  char logs[] = "/tmp/road-logs-XXXXXX", temp[] = "/tmp/road-temp-XXXXXX";
  ASSERT_TRUE(mkdtemp(logs) && mkdtemp(temp));
  GTEST_FLAG_SET(death_test_style, "fast");
  EXPECT_EXIT(
      {
        refhost::dataStore().setCString(nullptr, "Directories/Logs Directory", logs);
        refhost::dataStore().setCString(nullptr, "Directories/Temp Directory", temp);
        rlimit limit{};
        getrlimit(RLIMIT_AS, &limit);
        const int64_t space = limit.rlim_cur == RLIM_INFINITY ? int64_t{1} << 47 : limit.rlim_cur;
        limit.rlim_cur = static_cast<rlim_t>(space - wexAvailableVirtual(1) + (64 << 20));
        setrlimit(RLIMIT_AS, &limit);
        void* p = nullptr;
        for (int32_t n = 0, want = 1 << 20; want <= (1 << 30); want *= 2)
          n = wexRealloc(&p, 1, n, want, static_cast<uint32_t>(want));
      },
      ::testing::ExitedWithCode(255), "Out of Memory: While running this function");
  const std::string path = std::string(logs) + "/memory.log";
  const std::string log = fileText(path);
  EXPECT_EQ(log.rfind("attempted: ", 0), 0u) << log;
  // The address space left is far below the physical memory: no room counts as swap.
  EXPECT_NE(log.find("swap total:             0k\n"), std::string::npos) << log;
  // Only the report is left behind: no spill file in either directory.
  EXPECT_TRUE(std::remove(path.c_str()) == 0 && rmdir(logs) == 0 && rmdir(temp) == 0);
}

TEST(MemoryRoad, TheReportGoesToTheLogsDirectory) {
  char dir[] = "/tmp/memlog-test-XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  refhost::dataStore().setString(nullptr, "Directories/Logs Directory", dir);
  wexWriteMemoryLog(0);
  wexWriteMemoryLog(77);  // truncates: only the latest report stays
  refhost::dataStore().setString(nullptr, "Directories/Logs Directory", "");
  const std::string path = std::string(dir) + "/memory.log";
  const std::string log = fileText(path);
  EXPECT_EQ(log.rfind("attempted:             77b\n\nsystem free:", 0), 0u) << log;
  EXPECT_NE(log.find("\nqormm core now:   "), std::string::npos) << log;
  std::remove(path.c_str());
  rmdir(dir);
}

}  // namespace
