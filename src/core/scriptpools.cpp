#include "core/scriptpools.h"

namespace qor {

// Never destroyed: a script call may still run while statics are torn down at exit.
ScriptPool<QorString>& scriptStringPool() {
  static auto* pool = new ScriptPool<QorString>();
  return *pool;
}

ScriptPool<QorCString>& scriptCStringPool() {
  static auto* pool = new ScriptPool<QorCString>();
  return *pool;
}

}  // namespace qor
