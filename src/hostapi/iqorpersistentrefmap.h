// The numbering of stored objects during one save or load. The host owns the numbering and
// clears it between files. Host objects are reached by slot: the order below is the
// contract.
#pragma once
#include <cstdint>

#include "core/qorobject.h"

class BinOutput;
class BinInput;

// An object that other stored objects can point at by number.
class IQorPersistentRef : public virtual IQorUnknown {
 public:
  // Bare-stream forms of the object, for classes that have them; false otherwise.
  virtual bool read(BinInput& in) = 0;
  virtual bool write(BinOutput& out) = 0;
};

// Hears that a number read from a file now stands for an object. No IQorUnknown base: the
// caller must stay alive until the answer comes or cancel its requests.
class IQorPersistentRefCallback {
 public:
  virtual ~IQorPersistentRefCallback() = default;
  // `ref` is the object registered under `refId`.
  virtual void refResolved(uint32_t refId, IQorPersistentRef* ref) = 0;
};

class IQorPersistentRefMap : public virtual IQorUnknown {
 public:
  // Forgets every number, object and waiting callback.
  virtual void clear() = 0;
  // During reading: `refId` now stands for `ref`. Calls the callbacks waiting for it.
  virtual void registerRef(uint32_t refId, IQorPersistentRef* ref) = 0;
  // During writing: whether `ref` has a number already.
  virtual bool containsRef(IQorPersistentRef* ref) = 0;
  // The object registered under `refId`, or null.
  virtual IQorPersistentRef* lookup(uint32_t refId) = 0;
  // The number of `ref`, given at first request; numbers start at 1 and are never 0.
  virtual uint32_t getRefId(IQorPersistentRef* ref) = 0;
  // Callbacks still waiting for a number that nothing registered.
  virtual int32_t unresolvedCount() = 0;
  // Whether the object of `refId` has been stored in this file.
  virtual bool isWritten(uint32_t refId) = 0;
  // Drops every waiting request of `callback`; a dying requester calls it.
  virtual void cancelRequests(IQorPersistentRefCallback* callback) = 0;
  // During reading: calls back when `refId` is known; at once when it is known already.
  virtual void requestRef(uint32_t refId, IQorPersistentRefCallback* callback) = 0;
  // During writing: the object of `refId` has been stored.
  virtual void markWritten(uint32_t refId) = 0;
};
