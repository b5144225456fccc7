#include "refhost/memchecker.h"

#include "refhost/componentmanager.h"

namespace refhost {

void RefMemChecker::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "IMemChecker") || qorNameIs(name, className()))
    *out = static_cast<IMemChecker*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

int RefMemChecker::memoryStatus(int64_t* availPhys, int64_t* totalPhys, int64_t* swapFree,
                                int64_t* swapTotal, int64_t unit) {
  if (failing_.load()) return -1;
  if (unit < 1) unit = 1;
  int64_t* out[4] = {availPhys, totalPhys, swapFree, swapTotal};
  for (int i = 0; i < 4; ++i)
    if (out[i]) *out[i] = figures_[i].load() / unit;
  return 0;
}

int64_t RefMemChecker::processMemory(int64_t unit) {
  return figures_[4].load() / (unit < 1 ? 1 : unit);
}

void RefMemChecker::setFigures(int64_t availPhys, int64_t totalPhys, int64_t swapFree,
                               int64_t swapTotal, int64_t process) {
  const int64_t v[5] = {availPhys, totalPhys, swapFree, swapTotal, process};
  for (int i = 0; i < 5; ++i) figures_[i].store(v[i]);
  active_.store(true);
}

RefMemChecker& memChecker() {
  return immortal<RefMemChecker>();
}

}  // namespace refhost
