// The host service that shows a failure to the user.
#pragma once
#include <cstdint>

#include "base/qorcstring.h"
#include "base/qorstring.h"
#include "core/qorobject.h"

class IQorErrorService : public virtual IQorUnknown {
 public:
  // The first two operations belong to the host; this system calls neither.
  virtual void reserved1() = 0;
  virtual void reserved2() = 0;
  // Shows `message`; `level` points at the severity (1 here), `where` names the place.
  virtual void report(const QorString& message, int32_t* level, const QorCString& where) = 0;
};
