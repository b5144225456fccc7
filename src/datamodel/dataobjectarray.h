// DataObjectArray: an array of counted references to data objects that tells observers
// about every change. Indices are zero-based at the interface; entries may be null.
#pragma once
#include <cstdint>

#include "base/iterstack.h"
#include "core/iptr.h"
#include "datamodel/collection.h"

class DataObject;

// A watcher of an array, from the host: told synchronously, in order of addition, with
// zero-based indices. It must not change the observer list while it is told.
class IQorDataObjectArrayObserver {
 public:
  virtual ~IQorDataObjectArrayObserver() = default;
  virtual void arrayCleared() = 0;
  virtual void elementAdded(DataObject* object, int32_t index) = 0;
  virtual void elementRemoved(DataObject* object, int32_t index) = 0;
};

// An iterator over a snapshot of an array, taken when it was made: later changes of the
// array do not reach it. It starts before the first element.
class IQorDataObjectIter : public virtual IQorUnknown {
 public:
  virtual int32_t size() = 0;
  // Moves on; true while on an element.
  virtual bool next() = 0;
  // The element at the position; null before the first next.
  virtual DataObject* current() = 0;
  virtual void reset() = 0;
};

// The interface of data object arrays, in slot order.
class IQorDataObjectArray : public virtual IQorUnknown {
 public:
  virtual int32_t size() = 0;
  // The built-in iteration: moves the array's cursor on; true while on an element.
  virtual bool next() = 0;
  // The element at the built-in cursor (null before the first next).
  virtual DataObject* current() = 0;
  virtual DataObject* at(int32_t index) const = 0;
  virtual DataObject* at(int32_t index) = 0;
  virtual void set(int32_t index, DataObject* object) = 0;
  virtual void append(DataObject* object) = 0;
  // Removes the last entry; the object stays valid until its slot is written again.
  virtual DataObject* pop() = 0;
  // Puts the built-in cursor before the first element.
  virtual void reset() = 0;
  // Inserts before `index` (0 to size; size appends).
  virtual void insertAt(int32_t index, DataObject* object) = 0;
  virtual void removeAt(int32_t index) = 0;
  // The index of the last entry holding `object`, or -1.
  virtual int32_t indexOf(DataObject* object) = 0;
  virtual void clear() = 0;
  // A new iterator over a snapshot, owned by the caller.
  virtual IQorDataObjectIter* newIterator() = 0;
  // Adds an observer; the same pointer may stand twice.
  virtual void addObserver(IQorDataObjectArrayObserver* observer) = 0;
  // Removes the last entry equal to `observer`; no match does nothing.
  virtual void removeObserver(IQorDataObjectArrayObserver* observer) = 0;
};

class DataObjectArray : public Collection, public IQorDataObjectArray {
 public:
  DataObjectArray();
  // Room for `capacity` entries.
  explicit DataObjectArray(int32_t capacity);
  // The same flags, the same objects (new references) and the same observers.
  DataObjectArray(const DataObjectArray& other);
  DataObjectArray& operator=(const DataObjectArray&) = delete;
  // Drops every reference; observers hear nothing.
  ~DataObjectArray() override;

  // Answers "DataObjectArray", "IQorDataObjectArray", then "Primitive", "IQorPrimitive"
  // and "IQorUnknown".
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "DataObjectArray"; }

  int32_t size() override { return elements_.count(); }
  bool next() override;
  DataObject* current() override;
  DataObject* at(int32_t index) const override;
  DataObject* at(int32_t index) override;
  // Replaces the entry (a fixed size does not stop it); observers hear elementRemoved for
  // a non-null old entry, then elementAdded, also for the same pointer.
  void set(int32_t index, DataObject* object) override;
  void append(DataObject* object) override;
  DataObject* pop() override;
  void reset() override { cursor_ = 0; }
  void insertAt(int32_t index, DataObject* object) override;
  void removeAt(int32_t index) override;
  int32_t indexOf(DataObject* object) override;
  // Drops every reference, size 0, observers hear arrayCleared; the cursor stays.
  void clear() override;
  IQorDataObjectIter* newIterator() override;
  void addObserver(IQorDataObjectArrayObserver* observer) override;
  void removeObserver(IQorDataObjectArrayObserver* observer) override;

  int32_t cursor() const { return cursor_; }
  int32_t observerCount() const { return observers_.count(); }

 private:
  IterStack<IPtr<DataObject>> elements_;
  IterStack<IQorDataObjectArrayObserver*> observers_;
};

// The snapshot iterator of DataObjectArray; holds its own references.
class DataObjectIter : public Primitive, public IQorDataObjectIter {
 public:
  explicit DataObjectIter(const IterStack<IPtr<DataObject>>& elements);
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "DataObjectIter"; }
  int32_t size() override { return elements_.count(); }
  bool next() override { return ++position_ <= elements_.count(); }
  DataObject* current() override;
  void reset() override { position_ = 0; }

 private:
  IterStack<IPtr<DataObject>> elements_;
  int32_t position_ = 0;
};
