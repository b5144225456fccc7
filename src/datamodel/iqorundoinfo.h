// IQorUndoInfo: an undo record a data object makes of itself. Host code reaches it by slot,
// so the order of the operations below is part of the contract.
#pragma once
#include <cstdint>

#include "core/qorobject.h"

class IQorUndoInfo : public virtual IQorUnknown {
 public:
  // Takes the state after the change.
  virtual void captureAfter() = 0;  // 0
  // Restores the state before the change.
  virtual void undo() = 0;  // 1
  // Restores the state after the change.
  virtual void redo() = 0;  // 2
  // The bytes the record holds on to.
  virtual int64_t undoSize() = 0;       // 3
  virtual void setDone(bool done) = 0;  // 4
  virtual bool isDone() = 0;            // 5
  virtual bool isUndoable() = 0;        // 6
};
