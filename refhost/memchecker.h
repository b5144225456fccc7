// The reference host's "IMemChecker": inactive at start, so the system's figures serve;
// a test makes it active with fixed figures to see them reach the memory helpers and the
// report file.
#pragma once
#include <atomic>
#include <cstdint>

#include "hostapi/imemchecker.h"

namespace refhost {

class RefMemChecker : public IMemChecker {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefMemChecker"; }
  bool isActive() override { return active_.load(); }
  // The fixed figures divided by `unit`; -1 while failing.
  int memoryStatus(int64_t* availPhys, int64_t* totalPhys, int64_t* swapFree, int64_t* swapTotal,
                   int64_t unit) override;
  int64_t processMemory(int64_t unit) override;

  // Makes the checker active with these figures, in bytes.
  void setFigures(int64_t availPhys, int64_t totalPhys, int64_t swapFree, int64_t swapTotal,
                  int64_t process);
  // Makes memoryStatus answer -1 (while active).
  void setFailing(bool failing) { failing_.store(failing); }
  void setActive(bool active) { active_.store(active); }

 private:
  std::atomic<bool> active_{false};
  std::atomic<bool> failing_{false};
  std::atomic<int64_t> figures_[5] = {};
};

RefMemChecker& memChecker();

}  // namespace refhost
