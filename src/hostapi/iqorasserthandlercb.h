// The host's handler of failed checks in the base types.
#pragma once
#include <cstdint>

#include "core/qorobject.h"

class IQorAssertHandlerCB : public virtual IQorUnknown {
 public:
  // Told of a failed check: the expression's text, the source path and the line. What it
  // answers is handed back to the code that checked; that code goes on after it returns.
  virtual int assertFailed(const char* expression, const char* file, int32_t line) = 0;
};
