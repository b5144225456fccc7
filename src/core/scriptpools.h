// The per-call string pools of the script binding. Each string argument of a script call
// takes the next slot; after a successful call the fill counts go back to 0 without freeing
// anything, so a steady stream of calls allocates no string objects.
#pragma once
#include <cstddef>
#include <cstdint>
#include <deque>

#include "base/qorcstring.h"
#include "base/qorstring.h"

namespace qor {

template <class S>
class ScriptPool {
 public:
  ScriptPool() { slots_.resize(21); }
  // The next slot; the pool grows when it runs out. Earlier slots stay where they are.
  S& next() {
    if (count_ == static_cast<int32_t>(slots_.size())) slots_.emplace_back();
    return slots_[static_cast<std::size_t>(count_++)];
  }
  void reset() { count_ = 0; }
  int32_t count() const { return count_; }
  int32_t capacity() const { return static_cast<int32_t>(slots_.size()); }

 private:
  std::deque<S> slots_;
  int32_t count_ = 0;
};

ScriptPool<QorString>& scriptStringPool();
ScriptPool<QorCString>& scriptCStringPool();
// Step 5 of every script call: both fill counts back to 0.
void resetScriptPools();

}  // namespace qor
