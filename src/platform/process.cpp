#include "platform/process.h"

#include <unistd.h>

#include <atomic>
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

}  // namespace Platform
