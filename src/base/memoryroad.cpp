#include "base/memoryroad.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "base/qorstring.h"
#include "base/wexrealloc.h"
#include "bulk/pagedarray.h"
#include "core/component.h"
#include "core/locator.h"
#include "core/translate.h"
#include "hostapi/idatastore.h"
#include "hostapi/iqorerrorservice.h"
#include "hostapi/iqormmanager.h"
#include "platform/process.h"

namespace {

// The value in kB of a "Name:   123 kB" line of a /proc file, or -1.
int64_t procField(const char* path, const char* name) {
  FILE* f = std::fopen(path, "r");
  if (!f) return -1;
  char line[256];
  int64_t value = -1;
  const size_t n = std::strlen(name);
  while (std::fgets(line, sizeof line, f)) {
    if (std::strncmp(line, name, n) == 0 && line[n] == ':') {
      value = std::strtoll(line + n + 1, nullptr, 10);
      break;
    }
  }
  std::fclose(f);
  return value;
}

int64_t scaled(int64_t kb, int64_t unit) {
  return kb < 0 ? -1 : kb * 1024 / (unit > 0 ? unit : 1);
}

IDataStore* store() {
  void* out = nullptr;
  ::getService("IDataStore", &out);
  return static_cast<IDataStore*>(out);
}

}  // namespace

int wexMemoryStatus(int64_t* availPhys, int64_t* totalPhys, int64_t* swapFree, int64_t* swapTotal,
                    int64_t unit) {
  const char* path = "/proc/meminfo";
  const int64_t kb[4] = {procField(path, "MemAvailable"), procField(path, "MemTotal"),
                         procField(path, "SwapFree"), procField(path, "SwapTotal")};
  int64_t* out[4] = {availPhys, totalPhys, swapFree, swapTotal};
  for (int i = 0; i < 4; ++i) {
    if (kb[i] < 0) return -1;
    if (out[i]) *out[i] = scaled(kb[i], unit);
  }
  return 0;
}

void wexWorkingSet(int64_t* current, int64_t* peak, int64_t unit) {
  if (current) *current = scaled(procField("/proc/self/status", "VmRSS"), unit);
  if (peak) *peak = scaled(procField("/proc/self/status", "VmHWM"), unit);
}

int64_t wexProcessMemory(int64_t unit) {
  return scaled(procField("/proc/self/status", "VmRSS"), unit);
}

std::string wexMemoryLogText(uint64_t attempted, const WexMemoryFigures& f, IQorMManager* manager) {
  std::string out;
  auto line = [&](const char* label, long long value, const char* suffix) {
    char text[96];
    std::snprintf(text, sizeof text, "%s%7lld%s\n", label, value, suffix);
    out += text;
  };
  if (attempted != 0) {
    line("attempted:        ", static_cast<long long>(attempted), "b");
    out += "\n";
  }
  line("system free:      ", f.availPhys, "k");
  line("system total:     ", f.totalPhys, "k");
  line("swap free:        ", f.swapFree, "k");
  line("swap total:       ", f.swapTotal, "k");
  out += "\n";
  if (manager) {
    line("qormm core now:   ", manager->coreInUse() * 24, "k");
    line("qormm core limit: ", manager->coreLimit() * 24, "k");
    line("qormm swap now:   ", manager->swapInUse() * 24, "k");
    line("qormm swap limit: ", manager->swapLimit() * 24, "k");
  } else {
    out += "qormm not available\n";
  }
  out += "\n";
  return out;
}

void wexWriteMemoryLog(uint64_t attempted) {
  WexMemoryFigures f;
  wexMemoryStatus(&f.availPhys, &f.totalPhys, &f.swapFree, &f.swapTotal, 1024);
  std::string dir;
  if (IDataStore* s = store()) dir = s->getString("Directories/Logs Directory", 0).utf8();
  if (dir.empty()) {
    const char* tmp = std::getenv("TMPDIR");
    dir = tmp && *tmp ? tmp : "/tmp";
  }
  std::ofstream file(dir + "/memory.log", std::ios::out | std::ios::trunc | std::ios::binary);
  if (file) file << wexMemoryLogText(attempted, f, QorMM::memoryManager());
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
    if (service) {
      int32_t level = 1;
      service->report(message, &level, QorCString("realloc"));
    } else {
      Platform::messageBox("Out of Memory", message.utf8());
    }
  }
  return false;
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
