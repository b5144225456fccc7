// The host's named directories ("temp", "logs"). Looked up once and kept for the process.
#pragma once
#include "base/qorcstring.h"
#include "base/qorstring.h"
#include "core/qorobject.h"

class IQorDirService : public virtual IQorUnknown {
 public:
  // Slot 0: the directory named `key`, or an empty text when the host has none.
  virtual void directory(const QorCString& key, QorString& out) = 0;
};
