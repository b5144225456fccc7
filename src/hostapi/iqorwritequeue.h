// The queue of data objects still to be written into the file being saved.
#pragma once
#include "core/qorobject.h"

class IQorDataObject;

class IQorWriteQueue : public virtual IQorUnknown {
 public:
  // Adds an object; an object already queued or handed out in this file is ignored.
  virtual void push(IQorDataObject* object) = 0;
  // The next object, or null when empty.
  virtual IQorDataObject* pop() = 0;
  // Empties the queue and forgets what it handed out.
  virtual void clear() = 0;
  virtual bool isEmpty() = 0;
};
