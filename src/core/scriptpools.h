// The per-call string pools of the script binding. Each string argument of a script call
// takes the next slot; the call gives its slots back when it returns, however it returns,
// without freeing anything, so a steady stream of calls allocates no string objects. A call
// made while another runs (a subscriber that calls the module) takes the slots after the
// outer call's and gives back only its own.
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
  // Back to a fill count the pool had before (count() taken then); the slots above it are
  // free for the next call and keep their text until it overwrites them.
  void restore(int32_t count) { count_ = count; }
  int32_t count() const { return count_; }
  int32_t capacity() const { return static_cast<int32_t>(slots_.size()); }

 private:
  std::deque<S> slots_;
  int32_t count_ = 0;
};

ScriptPool<QorString>& scriptStringPool();
ScriptPool<QorCString>& scriptCStringPool();

// One script call's hold on both pools: notes their fill counts when made, before the
// call converts its arguments, and restores them when destroyed, on every way out.
class ScriptCallScope {
 public:
  ScriptCallScope()
      : strings_(scriptStringPool().count()), cstrings_(scriptCStringPool().count()) {}
  ScriptCallScope(const ScriptCallScope&) = delete;
  ScriptCallScope& operator=(const ScriptCallScope&) = delete;
  ~ScriptCallScope() {
    scriptStringPool().restore(strings_);
    scriptCStringPool().restore(cstrings_);
  }

 private:
  int32_t strings_;
  int32_t cstrings_;
};

}  // namespace qor
