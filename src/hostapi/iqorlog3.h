// The host's log.
#pragma once
#include "base/qorstring.h"
#include "core/qorobject.h"

class IQorLog3 : public virtual IQorUnknown {
 public:
  virtual void logInfo(const QorString& text) = 0;
  virtual void logError(const QorString& text) = 0;
};
