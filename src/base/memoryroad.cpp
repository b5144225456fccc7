#include "base/memoryroad.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/qorstring.h"
#include "base/wexrealloc.h"
#include "bulk/pagedarray.h"
#include "core/component.h"
#include "core/locator.h"
#include "core/translate.h"
#include "hostapi/imemchecker.h"
#include "hostapi/iqorappservices.h"
#include "hostapi/iqorerrorservice.h"
#include "hostapi/iqormmanager.h"
#include "platform/process.h"

namespace {

// The figure the address-space helpers answer when the system gives none, in bytes.
constexpr int64_t kFallbackBytes = 1843200;
// The user address space of a process without a limit (x86-64: 47 bits).
constexpr int64_t kUserAddressSpace = int64_t{1} << 47;

// The values in kB of "Name:   123 kB" lines of a /proc file, read into a buffer on the
// stack; each stays -1 when its line is missing. False when the file cannot be read.
bool procFields(const char* path, const char* const* names, int64_t* values, int count) {
  for (int i = 0; i < count; ++i) values[i] = -1;
  const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  char text[8192];
  size_t len = 0;
  for (ssize_t n; len < sizeof text - 1 && (n = ::read(fd, text + len, sizeof text - 1 - len)) > 0;)
    len += static_cast<size_t>(n);
  ::close(fd);
  text[len] = '\0';
  for (const char* line = text; *line;) {
    for (int i = 0; i < count; ++i) {
      const size_t n = std::strlen(names[i]);
      if (std::strncmp(line, names[i], n) == 0 && line[n] == ':')
        values[i] = std::strtoll(line + n + 1, nullptr, 10);
    }
    const char* next = std::strchr(line, '\n');
    if (!next) break;
    line = next + 1;
  }
  return true;
}

// The system's figures in bytes; the page file is the swap space, the virtual figures the
// address space of this process (its RLIMIT_AS, else the whole user address space) and
// what is left of it.
struct SystemFigures {
  int64_t availPhys, totalPhys, pageFree, pageTotal, availVirtual, totalVirtual;
};

bool systemFigures(SystemFigures* f) {
  static const char* const memNames[] = {"MemAvailable", "MemTotal", "SwapFree", "SwapTotal"};
  int64_t kb[4];
  if (!procFields("/proc/meminfo", memNames, kb, 4)) return false;
  for (int64_t v : kb)
    if (v < 0) return false;
  static const char* const vmNames[] = {"VmSize"};
  int64_t vmSize = -1;
  if (!procFields("/proc/self/status", vmNames, &vmSize, 1) || vmSize < 0) return false;
  rlimit limit{};
  int64_t total = kUserAddressSpace;
  if (::getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY)
    total = static_cast<int64_t>(std::min<rlim_t>(limit.rlim_cur, rlim_t{kUserAddressSpace}));
  *f = {kb[0] * 1024,
        kb[1] * 1024,
        kb[2] * 1024,
        kb[3] * 1024,
        std::max<int64_t>(total - vmSize * 1024, 0),
        total};
  return true;
}

int64_t perUnit(int64_t bytes, int64_t unit) {
  return bytes < 0 ? -1 : bytes / (unit > 0 ? unit : 1);
}

// A host service looked up once for the process and kept; a miss stays a miss.
template <class T>
T* keptService(const char* name) {
  void* out = nullptr;
  ::getService(name, &out);
  auto* s = static_cast<T*>(out);
  if (s) s->addRef();
  return s;
}

IMemChecker* activeChecker() {
  static IMemChecker* const checker = keptService<IMemChecker>("IMemChecker");
  return checker && checker->isActive() ? checker : nullptr;
}

IGfxRenderer* renderer() {
  static IGfxRenderer* const r = keptService<IGfxRenderer>("IGfxRenderer");
  return r;
}

IDataStore* store() {
  void* out = nullptr;
  ::getService("IDataStore", &out);
  return static_cast<IDataStore*>(out);
}

// The VmRSS and VmHWM of this process in bytes, -1 each when unknown.
void residentSet(int64_t* current, int64_t* peak) {
  static const char* const names[] = {"VmRSS", "VmHWM"};
  int64_t kb[2];
  procFields("/proc/self/status", names, kb, 2);
  *current = kb[0] < 0 ? -1 : kb[0] * 1024;
  *peak = kb[1] < 0 ? -1 : kb[1] * 1024;
}

}  // namespace

int wexMemoryStatus(int64_t* availPhys, int64_t* totalPhys, int64_t* swapFree, int64_t* swapTotal,
                    int64_t unit) {
  if (IMemChecker* c = activeChecker())
    return c->memoryStatus(availPhys, totalPhys, swapFree, swapTotal, unit);
  SystemFigures f;
  if (!systemFigures(&f)) return -1;
  const int64_t total = std::max<int64_t>(std::min(f.pageTotal, f.totalVirtual - f.totalPhys), 0);
  const int64_t free =
      std::max<int64_t>(std::min({total, f.pageFree, f.availVirtual - f.availPhys}), 0);
  const int64_t bytes[4] = {f.availPhys, f.totalPhys, free, total};
  int64_t* out[4] = {availPhys, totalPhys, swapFree, swapTotal};
  for (int i = 0; i < 4; ++i)
    if (out[i]) *out[i] = perUnit(bytes[i], unit);
  return 0;
}

int64_t wexAvailableMemory(double fraction, int64_t unit) {
  int64_t avail = 0, swapFree = 0;
  if (wexMemoryStatus(&avail, nullptr, &swapFree, nullptr, unit) != 0) return -1;
  return avail + static_cast<int64_t>(fraction * static_cast<double>(swapFree));
}

int64_t wexAvailableMemory(int64_t unit) {
  int64_t avail = 0;
  return wexMemoryStatus(&avail, nullptr, nullptr, nullptr, unit) == 0 ? avail : -1;
}

void wexWorkingSet(int64_t* current, int64_t* peak, int64_t unit) {
  int64_t now = -1, top = -1;
  if (IMemChecker* c = activeChecker()) {
    now = top = c->processMemory(unit);
  } else {
    residentSet(&now, &top);
    now = perUnit(now, unit);
    top = perUnit(top, unit);
  }
  if (current) *current = now;
  if (peak) *peak = top;
}

int64_t wexProcessMemory(int64_t unit) {
  if (IMemChecker* c = activeChecker()) return c->processMemory(unit);
  int64_t now = -1, top = -1;
  residentSet(&now, &top);
  if (now >= 0) return perUnit(now, unit);
  SystemFigures f;
  return systemFigures(&f) ? perUnit(f.totalVirtual - f.availVirtual, unit) : -1;
}

int64_t wexAvailableAddressSpace(double fraction, int64_t unit) {
  SystemFigures f;
  if (!systemFigures(&f)) return perUnit(kFallbackBytes, unit);
  // No extended virtual memory on this system: it adds 0.
  const int64_t bytes = std::min(f.availPhys, f.availVirtual) +
                        static_cast<int64_t>(fraction * static_cast<double>(f.pageFree));
  return perUnit(bytes, unit);
}

int64_t wexAvailableVirtual(int64_t unit) {
  SystemFigures f;
  return perUnit(systemFigures(&f) ? f.availVirtual : kFallbackBytes, unit);
}

size_t wexFormatMemoryLog(char* out, size_t cap, uint64_t attempted, const WexMemoryFigures& f,
                          IQorMManager* manager) {
  if (cap == 0) return 0;
  size_t len = 0;
  out[0] = '\0';
  auto text = [&](const char* t) {
    const size_t n = std::min(std::strlen(t), cap - 1 - len);
    std::memcpy(out + len, t, n);
    len += n;
    out[len] = '\0';
  };
  auto line = [&](const char* label, long long value, const char* suffix) {
    char one[64];
    std::snprintf(one, sizeof one, "%s%7lld%s\n", label, value, suffix);
    text(one);
  };
  if (attempted != 0) {
    line("attempted:        ", static_cast<long long>(attempted), "b");
    text("\n");
  }
  line("system free:      ", f.availPhys, "k");
  line("system total:     ", f.totalPhys, "k");
  line("swap free:        ", f.swapFree, "k");
  line("swap total:       ", f.swapTotal, "k");
  text("\n");
  if (manager) {
    line("qormm core now:   ", manager->coreInUse() * 24, "k");
    line("qormm core limit: ", manager->coreLimit() * 24, "k");
    line("qormm swap now:   ", manager->swapInUse() * 24, "k");
    line("qormm swap limit: ", manager->swapLimit() * 24, "k");
  } else {
    text("qormm not available\n");
  }
  text("\n");
  return len;
}

std::string wexMemoryLogText(uint64_t attempted, const WexMemoryFigures& figures,
                             IQorMManager* manager) {
  char text[1024];
  return std::string(text, wexFormatMemoryLog(text, sizeof text, attempted, figures, manager));
}

void wexWriteMemoryLog(uint64_t attempted) {
  IDataStore* s = store();
  const char* dir = s ? s->getCString("Directories/Logs Directory", 0) : nullptr;
  if (!dir || !*dir) return;
  char path[4096];
  const int pathLength = std::snprintf(path, sizeof path, "%s/memory.log", dir);
  if (pathLength < 0 || static_cast<size_t>(pathLength) >= sizeof path) return;
  WexMemoryFigures f;
  wexMemoryStatus(&f.availPhys, &f.totalPhys, &f.swapFree, &f.swapTotal, 1024);
  char text[1024];
  const size_t len = wexFormatMemoryLog(text, sizeof text, attempted, f, QorMM::memoryManager());
  const int fd = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (fd < 0) return;
  for (size_t done = 0; done < len;) {
    const ssize_t n = ::write(fd, text + done, len - done);
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  ::close(fd);
}

bool wexMemoryFailure(int code) {
  IDataStore* s = store();
  const bool useService = s && s->getInt("Memory/UseErrorService", 0) != 0;
  IQorErrorService* service = nullptr;
  if (useService) {
    void* out = nullptr;
    ::getService("IQorErrorService", &out);
    service = static_cast<IQorErrorService*>(out);
  }
  if ((!useService || service) && code >= -5 && code <= -1) {
    QorString message;
    qor::translator()->translate0(
        &message,
        "While running this function, you have run out of memory.\nThe application will "
        "close. After restarting, please read\nthe online help about \"Memory "
        "Optimization\".");
    IGfxRenderer* r = renderer();
    if (r) r->beginModalMessage();
    if (service) {
      int32_t level = 1;
      service->report(message, &level, QorCString(kBorrow, "realloc"));
    } else {
      Platform::messageBox("Out of Memory", message.utf8());
    }
    if (r) r->endModalMessage();
  }
  return false;
}

bool wexOutOfMemory(uint64_t attempted) {
  wexWriteMemoryLog(attempted);
  return wexMemoryFailure(kNoMemory);
}

int wexSpillRealloc(void** block, uint64_t oldBytes, uint64_t newBytes,
                    void* (*allocate)(std::size_t)) {
  QorString name;
  if (!wexTempFileName(&name) || name.isEmpty()) return kNoMemory;
  const std::string path = name.utf8();
  const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd < 0) return kSpillOpenFailed;
  ::unlink(path.c_str());
  const char* from = static_cast<const char*>(*block);
  for (uint64_t done = 0; done < oldBytes;) {
    const ssize_t n = ::pwrite(fd, from + done, oldBytes - done, static_cast<off_t>(done));
    if (n <= 0) {
      ::close(fd);
      return kSpillWriteFailed;
    }
    done += static_cast<uint64_t>(n);
  }
  wexFree(*block);
  *block = nullptr;
  void* fresh = allocate(newBytes);
  if (!fresh) {
    ::close(fd);
    return kNoMemory;
  }
  char* to = static_cast<char*>(fresh);
  for (uint64_t done = 0; done < oldBytes;) {
    const ssize_t n = ::pread(fd, to + done, oldBytes - done, static_cast<off_t>(done));
    if (n <= 0) {
      ::close(fd);
      wexFree(fresh);
      return kSpillReadFailed;
    }
    done += static_cast<uint64_t>(n);
  }
  ::close(fd);
  if (newBytes > oldBytes) std::memset(to + oldBytes, 0, newBytes - oldBytes);
  *block = fresh;
  return 0;
}

MemLimitListener::MemLimitListener() {
  int64_t totalPhys = 0;
  wexMemoryStatus(nullptr, &totalPhys, nullptr, nullptr, 1);
  SystemFigures f{};
  const int64_t totalVirtual = systemFigures(&f) ? f.totalVirtual : 0;
  memLimit_.store(std::max(totalPhys, totalVirtual));
  if (IDataStore* s = store()) {
    s->addReceiver("Memory/MemLimit", this);
    if (s->hasKey("Memory/MemLimit"))
      realArrived("Memory/MemLimit", s->getDouble("Memory/MemLimit", 0));
  }
}

void MemLimitListener::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "IQorDataReceiver") || qorNameIs(name, className()))
    *out = static_cast<IQorDataReceiver*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

void MemLimitListener::realArrived(const char* key, double value) {
  if (!key || std::strcmp(key, "Memory/MemLimit") != 0 || std::isnan(value)) return;
  // Truncated towards zero, held inside the 64-bit range.
  const double limit = std::trunc(std::clamp(value, -9.2e18, 9.2e18));
  memLimit_.store(static_cast<int64_t>(limit), std::memory_order_relaxed);
}

int64_t wexMemLimit() {
  static MemLimitListener* const listener = [] {
    auto* l = new MemLimitListener();
    l->addRef();
    return l;
  }();
  return listener->memLimit();
}
