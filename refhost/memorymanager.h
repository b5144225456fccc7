// The reference host's page manager, offered as "IQorMManager". Pages come from the C
// library (calloc when zero-filled, malloc otherwise) and go back to it; the manager keeps
// no pool and swaps nothing out. Its figures count 24-kilobyte units: the pages in use
// times their bytes, divided by 24576. The counters and the record of freed pages let
// tests see what paged arrays asked of it.
#pragma once
#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include "hostapi/iqormmanager.h"

namespace refhost {

class RefMemoryManager : public IQorMManager {
 public:
  // The bytes of one figure unit.
  static constexpr int64_t kUnitBytes = 24576;

  // Answers "RefMemoryManager", "IQorMManager" and "IQorUnknown".
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefMemoryManager"; }

  // A page of `bytes` bytes, cleared when `zeroFill`; null when the C library refuses.
  void* allocatePage(int32_t bytes, bool zeroFill) override;
  // Gives a page back; null does nothing beyond being counted.
  void freePage(void* page) override;
  void reserved2() override {}
  // False unless setReleaseAnswers asked for true answers (the manager has nothing of its
  // own to release).
  bool releaseMemory() override;
  void reserved4() override {}
  void reserved5() override {}
  void reserved6() override {}
  void reserved7() override {}
  void reserved8() override {}
  void reserved9() override {}
  // The machine's physical memory, in units.
  int64_t coreLimit() override;
  // No swap of its own: 0.
  int64_t swapLimit() override { return 0; }
  int64_t swapInUse() override { return 0; }
  void reserved13() override {}
  void reserved14() override {}
  void reserved15() override {}
  void reserved16() override {}
  // The bytes of the pages in use, in units (rounded down).
  int64_t coreInUse() override;

  // Makes releaseMemory answer true the next n times (-1: always; 0: never again).
  void setReleaseAnswers(int32_t n) { releaseAnswers_.store(n); }

  // Pages handed out and not yet given back.
  int64_t pagesInUse() const { return pagesInUse_.load(); }
  // Calls of allocatePage, freePage and releaseMemory since the start (or resetCounters).
  int64_t allocateCalls() const { return allocateCalls_.load(); }
  int64_t freeCalls() const { return freeCalls_.load(); }
  int64_t releaseCalls() const { return releaseCalls_.load(); }
  // Zeroes the three call counters (pages in use stay counted).
  void resetCounters();

  // While on, every page given to freePage is appended to a record, in call order.
  void setRecording(bool on);
  std::vector<void*> freedPages();

 private:
  std::atomic<int64_t> pagesInUse_{0};
  std::atomic<int64_t> bytesInUse_{0};
  std::atomic<int64_t> allocateCalls_{0};
  std::atomic<int64_t> freeCalls_{0};
  std::atomic<int64_t> releaseCalls_{0};
  std::atomic<int32_t> releaseAnswers_{0};
  std::atomic<bool> recording_{false};
  std::mutex lock_;
  std::vector<void*> freed_;
};

// The host's manager, made on first use and never destroyed.
RefMemoryManager& memoryManager();

}  // namespace refhost
