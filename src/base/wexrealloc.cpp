#include "base/wexrealloc.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "base/memoryroad.h"
#include "core/component.h"
#include "core/iptr.h"
#include "hostapi/iqorasserthandlercb.h"
#include "hostapi/iqormmanager.h"
#include "platform/process.h"
#include "platform/sync.h"

namespace {

std::atomic<qor::RawMalloc> gMalloc{nullptr};
std::atomic<qor::RawRealloc> gRealloc{nullptr};
std::atomic<qor::RawFree> gFree{nullptr};
std::atomic<bool> gTrace{false};

// The growth a page of the memory manager stands for when asking it to release memory.
constexpr uint64_t kManagerPageBytes = 24576;
// maxNewSize meaning "the same as minNewSize".
constexpr uint32_t kSameAsMin = 0xFFFFFFFFu;

void* rawMalloc(size_t bytes) {
  qor::RawMalloc f = gMalloc.load(std::memory_order_relaxed);
  if (f) return f(bytes);
  void* p = std::malloc(bytes);
  Platform::adviseLargeBlock(p, bytes);
  return p;
}

// The host's memory manager, looked up once for the process (a miss stays a miss).
IQorMManager* memoryManager() {
  static SPtr<IQorMManager> manager("IQorMManager");
  return manager.get();
}

// Blocks for the road's own needs (the texts of its report) when the C library refuses
// them too: a fixed arena, handed out in order and never given back. wexFree ignores its
// blocks; a realloc moves such a block out to a fresh one.
constexpr size_t kReserveBytes = 64 * 1024;
alignas(16) unsigned char gReserve[kReserveBytes];
std::atomic<size_t> gReserveUsed{0};

bool inReserve(const void* p) {
  const auto at = reinterpret_cast<uintptr_t>(p);
  const auto base = reinterpret_cast<uintptr_t>(gReserve);
  return at >= base && at < base + kReserveBytes;
}

void* fromReserve(uint64_t bytes) {
  if (bytes > kReserveBytes) return nullptr;
  const size_t need = (static_cast<size_t>(bytes) + 15) & ~size_t{15};
  const size_t at = gReserveUsed.fetch_add(need);
  return at + need <= kReserveBytes ? gReserve + at : nullptr;
}

// One thread at a time runs the end of the road (the spill and the report); another that
// gets there meanwhile waits for its turn. The thread on the road that runs short again,
// its own report allocating, does not enter a second time: it is served from the reserve.
std::atomic<bool> gRoadBusy{false};
thread_local bool tOnRoad = false;

class RoadTurn {
 public:
  RoadTurn() {
    // A thread that has waited 10 s ends the process itself: the one on the road may be
    // held up by a lock that this thread holds.
    for (int waited = 0; gRoadBusy.exchange(true, std::memory_order_acquire); ++waited) {
      if (waited == 10000) Platform::exitProcess(-1);
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    tOnRoad = true;
  }
  ~RoadTurn() {
    tOnRoad = false;
    gRoadBusy.store(false, std::memory_order_release);
  }
  RoadTurn(const RoadTurn&) = delete;
  RoadTurn& operator=(const RoadTurn&) = delete;
};

// The end of the memory road: the report file, the user is told, and the process ends
// with -1. Only an exit hook (tests) returns from here.
void memoryExhausted(uint64_t bytes) {
  RoadTurn turn;
  wexOutOfMemory(bytes);
  Platform::exitProcess(-1);
}

// A block of `bytes` for the thread on the road, with `oldBytes` of *block kept and the
// rest zeroed; the old block is given up. Ends the process when the reserve is spent too.
bool takeFromReserve(void** block, uint64_t oldBytes, uint64_t bytes) {
  void* p = fromReserve(bytes);
  if (!p) {
    Platform::exitProcess(-1);
    return false;
  }
  const uint64_t keep = *block ? std::min(oldBytes, bytes) : 0;
  if (keep) std::memcpy(p, *block, static_cast<size_t>(keep));
  std::memset(static_cast<char*>(p) + keep, 0, static_cast<size_t>(bytes - keep));
  wexFree(*block);
  *block = p;
  return true;
}

// realloc; a block of the reserve (whose first `oldBytes` count) moves to a fresh block.
void* rawRealloc(void* block, size_t bytes, uint64_t oldBytes) {
  if (inReserve(block)) {
    void* p = rawMalloc(bytes);
    if (p) std::memcpy(p, block, static_cast<size_t>(std::min<uint64_t>(oldBytes, bytes)));
    return p;
  }
  qor::RawRealloc f = gRealloc.load(std::memory_order_relaxed);
  if (f) return f(block, bytes);
  void* p = std::realloc(block, bytes);
  Platform::adviseLargeBlock(p, bytes);
  return p;
}

// malloc, and while it fails ask the manager to release memory and try again, until the
// manager answers false. Null when all of that failed.
void* mallocWithRelease(size_t bytes) {
  void* p = rawMalloc(bytes);
  if (p || bytes == 0) return p;
  if (IQorMManager* m = memoryManager()) {
    while (!p && m->releaseMemory()) p = rawMalloc(bytes);
  }
  return p;
}

// The same road for a realloc of an existing block (a first allocation of a stale block).
void* reallocWithRelease(void* block, size_t bytes) {
  void* p = rawRealloc(block, bytes, 0);
  if (p || bytes == 0) return p;
  if (IQorMManager* m = memoryManager()) {
    while (!p && m->releaseMemory()) p = rawRealloc(block, bytes, 0);
  }
  return p;
}

void zeroTail(void* block, uint64_t elementSize, int64_t from, int64_t to) {
  if (to > from)
    std::memset(static_cast<char*>(block) + from * elementSize, 0,
                static_cast<size_t>((to - from) * elementSize));
}

// Sets the break flag from QOR_BREAK_ENABLED when the library loads: false only for
// exactly "0"; unset, empty or anything else is true.
[[maybe_unused]] const bool gBreakFlagRead = [] {
  qor::breakEnabled() = Platform::getEnv("QOR_BREAK_ENABLED") == "0" ? 0 : 1;
  return true;
}();

struct AssertCallback {
  WexAssertCallback fn = nullptr;
  void* context = nullptr;
};
Platform::Mutex gAssertLock;
AssertCallback gAssert;

}  // namespace

namespace qor {
void setRawAllocators(RawMalloc mallocFn, RawRealloc reallocFn, RawFree freeFn) {
  gMalloc.store(mallocFn);
  gRealloc.store(reallocFn);
  gFree.store(freeFn);
}
}  // namespace qor

void wexSetTrace(bool on) {
  gTrace.store(on);
}

int32_t wexMalloc(void** block, int32_t elementSize, int32_t count) {
  int64_t n = static_cast<int64_t>(elementSize) * count;
  uint64_t bytes = n > 0 ? static_cast<uint64_t>(n) : 0;
  if (gTrace.load(std::memory_order_relaxed))
    std::printf("wexMalloc: %d : %d : %" PRIu64 "\n", elementSize, count, bytes);
  void* p = mallocWithRelease(static_cast<size_t>(bytes));
  if (!p && bytes != 0) {
    *block = nullptr;
    if (tOnRoad) return takeFromReserve(block, 0, bytes) ? count : 0;
    memoryExhausted(bytes);
    return 0;
  }
  *block = p;
  return count;
}

int32_t wexRealloc(void** block, uint32_t elementSize, int32_t curSize, int32_t minNewSize,
                   uint32_t maxNewSize) {
  const uint64_t es = elementSize;
  int64_t maxEff = maxNewSize == kSameAsMin ? int64_t{minNewSize} : int64_t{maxNewSize};
  if (gTrace.load(std::memory_order_relaxed))
    std::printf("wexRealloc: %u : %d : %d : %u : %" PRIu64 "\n", elementSize, curSize, minNewSize,
                maxNewSize, static_cast<uint64_t>(maxEff > 0 ? maxEff : 0) * es);

  if (curSize == minNewSize) return curSize;

  if ((*block == nullptr || curSize == 0) && minNewSize > 0) {
    // A first allocation of minNewSize elements. A stale block of no elements is handed to
    // realloc, so that it is reused rather than lost.
    uint64_t bytes = static_cast<uint64_t>(minNewSize) * es;
    void* p = *block ? reallocWithRelease(*block, static_cast<size_t>(bytes))
                     : mallocWithRelease(static_cast<size_t>(bytes));
    if (!p) {
      if (tOnRoad) return takeFromReserve(block, 0, bytes) ? minNewSize : curSize;
      memoryExhausted(bytes);
      return curSize;
    }
    std::memset(p, 0, static_cast<size_t>(bytes));
    *block = p;
    return minNewSize;
  }

  if (maxEff < minNewSize) {
    wexAssertFailed("maxNewSize >= minNewSize", __FILE__, __LINE__);
    return curSize;
  }

  if (maxEff < curSize) {
    if (maxEff <= 0) {
      wexFree(*block);
      *block = nullptr;
      return 0;
    }
    // Shrinking in place; should the C library refuse, the old, larger block serves.
    if (inReserve(*block)) return static_cast<int32_t>(maxEff);
    if (void* p = rawRealloc(*block, static_cast<size_t>(maxEff * es), 0)) *block = p;
    return static_cast<int32_t>(maxEff);
  }

  if (minNewSize <= curSize) return curSize;

  const uint64_t oldBytes = static_cast<uint64_t>(curSize > 0 ? curSize : 0) * es;
  auto attempt = [&](int64_t count) -> bool {
    void* p = rawRealloc(*block, static_cast<size_t>(count * es), oldBytes);
    if (!p) return false;
    zeroTail(p, es, curSize, count);
    *block = p;
    return true;
  };

  if (attempt(maxEff)) return static_cast<int32_t>(maxEff);

  // Narrowing: up to eight smaller tries, halving towards minNewSize, the last at
  // minNewSize itself; from the third on, the manager is asked to release memory.
  IQorMManager* manager = memoryManager();
  bool managerGaveUp = false;
  for (int counter = 7; counter >= 0; --counter) {
    if (maxEff <= minNewSize) break;
    maxEff = counter > 0 ? (maxEff + minNewSize) / 2 : int64_t{minNewSize};
    if (attempt(maxEff)) return static_cast<int32_t>(maxEff);
    if (counter <= 5 && manager && !managerGaveUp) {
      uint64_t growth = static_cast<uint64_t>(maxEff - curSize) * es;
      uint64_t pages = growth / kManagerPageBytes + 1;
      for (uint64_t round = 0; round < pages + 1; ++round) {
        if (!manager->releaseMemory()) {
          managerGaveUp = true;
          break;
        }
        if (attempt(maxEff)) return static_cast<int32_t>(maxEff);
      }
    }
  }

  // The block cannot grow even to minNewSize: its contents move aside to a spill file so
  // that the old block can be freed before the new one is taken.
  const uint64_t minBytes = static_cast<uint64_t>(minNewSize) * es;
  if (tOnRoad) return takeFromReserve(block, oldBytes, minBytes) ? minNewSize : curSize;
  RoadTurn turn;
  const int code = wexSpillRealloc(block, oldBytes, minBytes, &mallocWithRelease);
  if (code == 0) return minNewSize;
  wexWriteMemoryLog(minBytes);
  wexMemoryFailure(code);
  Platform::exitProcess(-1);
  return *block ? curSize : 0;
}

void wexFree(void* block) {
  if (!block || inReserve(block)) return;
  qor::RawFree f = gFree.load(std::memory_order_relaxed);
  if (f)
    f(block);
  else
    std::free(block);
}

int32_t wexGrowCapacity(int32_t current, int32_t needed) {
  if (current >= needed) return current;
  int32_t c = current > 1 ? current : 1;
  while (c < needed && c < 0x40000000) c *= 2;
  return c >= needed ? c : needed;
}

int wexAssertFailed(const char* expression, const char* file, int32_t line) {
  AssertCallback cb;
  {
    Platform::ScopedLock<Platform::Mutex> g(gAssertLock);
    cb = gAssert;
  }
  if (cb.fn) return cb.fn(cb.context, expression, file, line);
  void* out = nullptr;
  if (getService("IQorAssertHandlerCB", &out) != 1 || !out) {
    Platform::exitProcess(255);
    return 0;
  }
  return static_cast<IQorAssertHandlerCB*>(out)->assertFailed(expression, file, line);
}

void wexSetAssertCallback(WexAssertCallback callback, void* context) {
  Platform::ScopedLock<Platform::Mutex> g(gAssertLock);
  gAssert.fn = callback;
  gAssert.context = context;
}
