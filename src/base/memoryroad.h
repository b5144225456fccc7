// The last road of the allocation functions: moving a block aside to a spill file so the
// old block can be freed before the new one is taken, and when that fails too, the report
// file "memory.log", the message to the user and the end of the process. Also the
// machine's memory figures (the host's IMemChecker first, else /proc/meminfo,
// /proc/self/status and the address-space limit) and the configured memory limit.
#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

#include "hostapi/idatastore.h"

class IQorMManager;

// Failure codes of the road.
enum WexMemoryFailure : int {
  kSpillOpenFailed = -1,
  kSpillWriteFailed = -2,
  kSpillReadFailed = -3,
  kNoMemory = -4,
};

// Free physical memory, total physical memory, free and total swap, each divided by
// `unit`. 0 on success, -1 when the figures cannot be read. An active IMemChecker answers
// instead of the system. From the system, swap is derived: its total is the smaller of
// the swap space and (total virtual - total physical), its free part the smallest of that
// total, the free swap space and (available virtual - available physical), none below 0.
int wexMemoryStatus(int64_t* availPhys, int64_t* totalPhys, int64_t* swapFree, int64_t* swapTotal,
                    int64_t unit);
// Free physical memory plus `fraction` of free swap, divided by `unit`; -1 on failure.
int64_t wexAvailableMemory(double fraction, int64_t unit);
// Free physical memory divided by `unit`; -1 on failure.
int64_t wexAvailableMemory(int64_t unit);
// The resident set of this process and its peak, divided by `unit`; -1 each when unknown.
// An active IMemChecker's process figure stands for both.
void wexWorkingSet(int64_t* current, int64_t* peak, int64_t unit);
// The memory of this process divided by `unit`: the checker's figure, else the resident
// set, else the address space in use; -1 when none can be read.
int64_t wexProcessMemory(int64_t unit);
// Read from the system only: the smaller of free physical memory and available virtual
// memory, plus `fraction` of the free swap space, divided by `unit`; 1843200 / unit when
// the figures cannot be read.
int64_t wexAvailableAddressSpace(double fraction, int64_t unit);
// The available virtual memory (the address space limit of the process minus what it has
// mapped) divided by `unit`; 1843200 / unit when it cannot be read.
int64_t wexAvailableVirtual(int64_t unit);

// The four figures of the report, in kilobytes.
struct WexMemoryFigures {
  int64_t availPhys = 0, totalPhys = 0, swapFree = 0, swapTotal = 0;
};
// The text of "memory.log" into `out` (at most cap - 1 bytes and a terminating zero; 1024
// bytes always suffice): the attempted size (left out when 0), the system figures and the
// manager's page counts (24 KiB a page), or "qormm not available" without a manager.
// Returns the length. Allocates nothing.
size_t wexFormatMemoryLog(char* out, size_t cap, uint64_t attempted,
                          const WexMemoryFigures& figures, IQorMManager* manager);
std::string wexMemoryLogText(uint64_t attempted, const WexMemoryFigures& figures,
                             IQorMManager* manager);
// Writes the report over "memory.log" in the store's "Directories/Logs Directory", with
// write(2) from a buffer on the stack. Without that directory, or when the file cannot be
// opened, nothing is written and nothing fails.
void wexWriteMemoryLog(uint64_t attempted);
// Tells the user (through the error service when the store's "Memory/UseErrorService" is
// set, nothing at all when that service is then missing, else a message box titled "Out of
// Memory"), bracketed by the renderer's modal-message calls. Always answers false.
bool wexMemoryFailure(int code);
// The report file and the message with code -4. Answers false.
bool wexOutOfMemory(uint64_t attempted);

// Moves `*block` (`oldBytes` long) aside to a spill file (made with O_EXCL, mode 0600, and
// unlinked at once), frees it, takes `newBytes` through `allocate`, reads the old bytes
// back and zeroes the rest. 0 on success, with *block the new block;
// otherwise a failure code, with *block null when the old block was already given up.
int wexSpillRealloc(void** block, uint64_t oldBytes, uint64_t newBytes,
                    void* (*allocate)(std::size_t));

// Follows the store's "Memory/MemLimit" (bytes, truncated to an integer). Starts at the
// larger of total physical memory and the virtual address space of the process, and takes
// the store's value when the key exists; a missing key keeps that figure.
class MemLimitListener : public WexDataReceiver {
 public:
  MemLimitListener();
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "MemLimitListener"; }
  void realArrived(const char* key, double value) override;
  int64_t memLimit() const { return memLimit_.load(std::memory_order_relaxed); }

 private:
  std::atomic<int64_t> memLimit_{0};
};
// The limit of the one listener, made on first use and never destroyed.
int64_t wexMemLimit();
