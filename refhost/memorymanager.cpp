#include "refhost/memorymanager.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace refhost {

namespace {
// Each page carries its size in a header in front of it, so that freePage can count the
// bytes back. 16 bytes keep the page as aligned as malloc's blocks.
constexpr size_t kHeader = 16;
}  // namespace

void RefMemoryManager::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefMemoryManager") || qorNameIs(name, "IQorMManager"))
    *out = static_cast<IQorMManager*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

void* RefMemoryManager::allocatePage(int32_t bytes, bool zeroFill) {
  allocateCalls_.fetch_add(1, std::memory_order_relaxed);
  size_t n = bytes > 0 ? static_cast<size_t>(bytes) : 0;
  void* block = zeroFill ? std::calloc(1, n + kHeader) : std::malloc(n + kHeader);
  if (!block) return nullptr;
  std::memcpy(block, &n, sizeof n);
  pagesInUse_.fetch_add(1, std::memory_order_relaxed);
  bytesInUse_.fetch_add(static_cast<int64_t>(n), std::memory_order_relaxed);
  return static_cast<char*>(block) + kHeader;
}

void RefMemoryManager::freePage(void* page) {
  freeCalls_.fetch_add(1, std::memory_order_relaxed);
  if (recording_.load(std::memory_order_relaxed)) {
    std::lock_guard<std::mutex> g(lock_);
    freed_.push_back(page);
  }
  if (!page) return;
  void* block = static_cast<char*>(page) - kHeader;
  size_t n = 0;
  std::memcpy(&n, block, sizeof n);
  pagesInUse_.fetch_sub(1, std::memory_order_relaxed);
  bytesInUse_.fetch_sub(static_cast<int64_t>(n), std::memory_order_relaxed);
  std::free(block);
}

bool RefMemoryManager::releaseMemory() {
  releaseCalls_.fetch_add(1, std::memory_order_relaxed);
  int32_t n = releaseAnswers_.load();
  while (n > 0) {
    if (releaseAnswers_.compare_exchange_weak(n, n - 1)) return true;
  }
  return n < 0;
}

int64_t RefMemoryManager::coreLimit() {
  long pages = sysconf(_SC_PHYS_PAGES);
  long size = sysconf(_SC_PAGESIZE);
  if (pages <= 0 || size <= 0) return 0;
  return static_cast<int64_t>(pages) * size / kUnitBytes;
}

int64_t RefMemoryManager::coreInUse() {
  return bytesInUse_.load() / kUnitBytes;
}

void RefMemoryManager::resetCounters() {
  allocateCalls_.store(0);
  freeCalls_.store(0);
  releaseCalls_.store(0);
}

void RefMemoryManager::setRecording(bool on) {
  std::lock_guard<std::mutex> g(lock_);
  recording_.store(on);
  freed_.clear();
}

std::vector<void*> RefMemoryManager::freedPages() {
  std::lock_guard<std::mutex> g(lock_);
  return freed_;
}

RefMemoryManager& memoryManager() {
  static auto* m = [] {
    auto* x = new RefMemoryManager();
    x->addRef();  // the host's own reference, never given up
    return x;
  }();
  return *m;
}

}  // namespace refhost
