// Scratch objects lent to sorting routines, so that a sort does not allocate on each call.
// Any thread may borrow and return; the pool's free list is guarded by a mutex that exists
// from the library's load to its unload.
#pragma once
#include "base/iterstack.h"
#include "platform/sync.h"

// A stack from the pool, or a fresh IterStack<int>(40) when the pool is empty. The caller
// owns it until it gives it back.
IterStack<int>* getIntStack();
// Sets the stack's count to 0 and returns it to the pool; when no pool exists (nothing has
// been borrowed yet, or the library is unloading) the stack is deleted. *stack becomes null.
void putIntStack(IterStack<int>** stack);

namespace qor {
// The mutex shared by the scratch pools (taken first by a pool that has its own as well).
Platform::Mutex& scratchPoolMutex();
// Stacks waiting in the pool.
int32_t pooledIntStacks();
}  // namespace qor
