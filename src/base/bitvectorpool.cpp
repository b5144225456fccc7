#include "base/bitvectorpool.h"

#include "base/bitvector.h"
#include "base/iterstack.h"
#include "base/scratchpool.h"
#include "platform/sync.h"

namespace {

// The pool: its stack of vectors and its own mutex, taken after the shared one.
Platform::Mutex gVectorMutex;  // constant-initialised: usable before any constructor runs
IterStack<BitVector*>* gVectorPool = nullptr;
bool gVectorClosed = false;

// Takes the shared mutex, then the pool's, and lets them go in the reverse order.
class PoolLock {
 public:
  PoolLock() : shared_(qor::scratchPoolMutex()), own_(gVectorMutex) {}

 private:
  Platform::ScopedLock<Platform::Mutex> shared_;
  Platform::ScopedLock<Platform::Mutex> own_;
};

// Deletes the pool and the vectors in it when the library unloads.
struct VectorPoolCloser {
  ~VectorPoolCloser() {
    PoolLock g;
    if (gVectorPool) {
      while (gVectorPool->count() > 0) delete gVectorPool->pop();
      delete gVectorPool;
      gVectorPool = nullptr;
    }
    gVectorClosed = true;
  }
} gVectorCloser;

}  // namespace

BitVector* getBitVector() {
  {
    PoolLock g;
    if (!gVectorPool && !gVectorClosed) gVectorPool = new IterStack<BitVector*>(8);
    if (gVectorPool && gVectorPool->count() > 0) return gVectorPool->pop();
  }
  return new BitVector(10);
}

void putBitVector(BitVector** vector) {
  if (!vector || !*vector) return;
  BitVector* v = *vector;
  *vector = nullptr;
  v->clearAll();
  {
    PoolLock g;
    if (gVectorPool) {
      gVectorPool->push(v);
      return;
    }
  }
  delete v;
}

namespace qor {
int32_t pooledBitVectors() {
  PoolLock g;
  return gVectorPool ? gVectorPool->count() : 0;
}
}  // namespace qor
