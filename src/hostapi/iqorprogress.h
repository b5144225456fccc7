// The host's progress display. Host interfaces are used by slot order (counted from 0, the
// base's operations not counted). Reporters hold it raw: the host keeps it alive for the
// life of the process.
#pragma once

#include "core/qorobject.h"

class IQorProgress : public virtual IQorUnknown {
 public:
  // Slot 0: shows a fraction from 0.0 to 1.0; true to go on, false to stop.
  virtual bool report(float fraction) = 0;
  // Slot 1: whether the user asked to stop.
  virtual bool isCancelled() = 0;
};
