// The host's own source of memory figures. When present and active, the memory helpers of
// the allocation road ask it before they read the system.
#pragma once
#include <cstdint>

#include "core/qorobject.h"

class IMemChecker : public virtual IQorUnknown {
 public:
  // Whether the checker's figures stand in for the system's.
  virtual bool isActive() = 0;  // 0
  // Free and total physical memory, free and total swap, each divided by `unit`; -1 on
  // failure, else 0.
  virtual int memoryStatus(int64_t* availPhys, int64_t* totalPhys, int64_t* swapFree,
                           int64_t* swapTotal, int64_t unit) = 0;  // 1
  // The memory this process uses, divided by `unit`.
  virtual int64_t processMemory(int64_t unit) = 0;  // 2
};
