#include "base/scratchpool.h"

namespace {

Platform::Mutex gScratchMutex;  // constant-initialised: usable before any constructor runs
IterStack<IterStack<int>*>* gIntPool = nullptr;
bool gClosed = false;

// Deletes the pool and the stacks in it when the library unloads.
struct PoolCloser {
  ~PoolCloser() {
    Platform::ScopedLock<Platform::Mutex> g(gScratchMutex);
    if (gIntPool) {
      while (gIntPool->count() > 0) delete gIntPool->pop();
      delete gIntPool;
      gIntPool = nullptr;
    }
    gClosed = true;
  }
} gCloser;

}  // namespace

IterStack<int>* getIntStack() {
  {
    Platform::ScopedLock<Platform::Mutex> g(gScratchMutex);
    if (!gIntPool && !gClosed) gIntPool = new IterStack<IterStack<int>*>(2);
    if (gIntPool && gIntPool->count() > 0) return gIntPool->pop();
  }
  return new IterStack<int>(40);
}

void putIntStack(IterStack<int>** stack) {
  if (!stack || !*stack) return;
  IterStack<int>* s = *stack;
  *stack = nullptr;
  s->clear();
  {
    Platform::ScopedLock<Platform::Mutex> g(gScratchMutex);
    if (gIntPool) {
      gIntPool->push(s);
      return;
    }
  }
  delete s;
}

namespace qor {
Platform::Mutex& scratchPoolMutex() {
  return gScratchMutex;
}
int32_t pooledIntStacks() {
  Platform::ScopedLock<Platform::Mutex> g(gScratchMutex);
  return gIntPool ? gIntPool->count() : 0;
}
}  // namespace qor
