#include "platform/process.h"

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace Platform {

static std::atomic<ExitHook> exitHook{nullptr};
static std::atomic<MessageHook> messageHook{nullptr};

void setExitHook(ExitHook hook) {
  exitHook.store(hook);
}
void setMessageHook(MessageHook hook) {
  messageHook.store(hook);
}

void exitProcess(int code) {
  if (ExitHook h = exitHook.load()) {
    h(code);
    return;
  }
  std::fflush(nullptr);
  std::_Exit(code);
}

void messageBox(const char* title, const char* text) {
  if (MessageHook h = messageHook.load()) {
    h(title ? title : "", text ? text : "");
    return;
  }
  std::fprintf(stderr, "%s: %s\n", title ? title : "", text ? text : "");
  std::fflush(stderr);
}

std::string getEnv(const char* name) {
  const char* v = name ? std::getenv(name) : nullptr;
  return v ? v : "";
}

int processId() {
  return static_cast<int>(getpid());
}

void adviseLargeBlock(void* block, std::size_t bytes) {
  constexpr std::uintptr_t kHuge = std::uintptr_t{1} << 21;
  if (!block || bytes < (std::size_t{4} << 20)) return;
  const auto begin = (reinterpret_cast<std::uintptr_t>(block) + kHuge - 1) & ~(kHuge - 1);
  const auto end = (reinterpret_cast<std::uintptr_t>(block) + bytes) & ~(kHuge - 1);
  // Advice only: a kernel without transparent huge pages refuses it, and nothing changes.
  if (end > begin) ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
}

}  // namespace Platform
