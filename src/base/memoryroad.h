// The last road of the allocation functions: moving a block aside to a spill file so the
// old block can be freed before the new one is taken, and when that fails too, the report
// file "memory.log", the message to the user and the end of the process. Also the
// machine's memory figures, read from /proc/meminfo and /proc/self/status.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

class IQorMManager;

// Failure codes of the road.
enum WexMemoryFailure : int {
  kSpillOpenFailed = -1,
  kSpillWriteFailed = -2,
  kSpillReadFailed = -3,
  kNoMemory = -4,
};

// Free physical memory, total physical memory, free and total swap, each divided by
// `unit`. 0 on success, -1 when the figures cannot be read.
int wexMemoryStatus(int64_t* availPhys, int64_t* totalPhys, int64_t* swapFree, int64_t* swapTotal,
                    int64_t unit);
// The resident set of this process and its peak, divided by `unit`; -1 each when unknown.
void wexWorkingSet(int64_t* current, int64_t* peak, int64_t unit);
// The resident set of this process divided by `unit`, or -1.
int64_t wexProcessMemory(int64_t unit);

// The four figures of the report, in kilobytes.
struct WexMemoryFigures {
  int64_t availPhys = 0, totalPhys = 0, swapFree = 0, swapTotal = 0;
};
// The text of "memory.log": the attempted size (left out when 0), the system figures and
// the manager's page counts (24 KiB a page), or "qormm not available" without a manager.
std::string wexMemoryLogText(uint64_t attempted, const WexMemoryFigures& figures,
                             IQorMManager* manager);
// Writes the report over "memory.log" in the store's "Directories/Logs Directory" ($TMPDIR,
// else /tmp, when the store names none). An unopenable file is silently skipped.
void wexWriteMemoryLog(uint64_t attempted);
// Tells the user (through the error service when the store's "Memory/UseErrorService" is
// set, else a message box). Always answers false.
bool wexMemoryFailure(int code);

// Moves `*block` (`oldBytes` long) aside to a spill file (made with O_EXCL, mode 0600, and
// unlinked at once), frees it, takes `newBytes` through `allocate`, reads the old bytes
// back and zeroes the rest. 0 on success, with *block the new block;
// otherwise a failure code, with *block null when the old block was already given up.
int wexSpillRealloc(void** block, uint64_t oldBytes, uint64_t newBytes,
                    void* (*allocate)(std::size_t));
