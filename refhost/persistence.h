// The reference host's services for one save or load of a data-model file: the numbering of
// stored objects (IQorPersistentRefMap), the queue of objects still to write
// (IQorWriteQueue), and the register of live data objects (IQorDatabase).
//
// The numbering holds a counted reference to every object registered while reading, until
// it is cleared: an object read from a file stays alive until the end of the file even when
// the reference that will hold it resolves later. Objects numbered while writing belong to
// the graph being written and are not counted. Clear it before and after each file.
//
// The queue hands each object out once per file, however often it is pushed. It does not
// count references: every queued object is reachable from the graph being written.
#pragma once
#include <cstdint>
#include <deque>
#include <list>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "core/iptr.h"
#include "datamodel/iqordataobject.h"
#include "hostapi/iqordatabase.h"
#include "hostapi/iqorpersistentrefmap.h"
#include "hostapi/iqorwritequeue.h"
#include "refhost/componentmanager.h"

namespace refhost {

class RefPersistentRefMap : public IQorPersistentRefMap {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefPersistentRefMap"; }

  void clear() override;
  void registerRef(uint32_t refId, IQorPersistentRef* ref) override;
  bool containsRef(IQorPersistentRef* ref) override;
  IQorPersistentRef* lookup(uint32_t refId) override;
  uint32_t getRefId(IQorPersistentRef* ref) override;
  int32_t unresolvedCount() override;
  bool isWritten(uint32_t refId) override;
  void cancelRequests(IQorPersistentRefCallback* callback) override;
  void requestRef(uint32_t refId, IQorPersistentRefCallback* callback) override;
  void markWritten(uint32_t refId) override;

  // The objects registered while reading and held until the next clear.
  std::vector<IQorPersistentRef*> heldObjects() const;

 private:
  std::unordered_map<IQorPersistentRef*, uint32_t> ids_;
  std::unordered_map<uint32_t, IQorPersistentRef*> objects_;
  // Objects registered while reading, held until the file ends.
  std::vector<IPtr<IQorPersistentRef>> held_;
  std::unordered_map<uint32_t, std::vector<IQorPersistentRefCallback*>> waiting_;
  std::unordered_set<uint32_t> written_;
  uint32_t next_ = 1;
};

class RefWriteQueue : public IQorWriteQueue {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefWriteQueue"; }

  void push(IQorDataObject* object) override;
  IQorDataObject* pop() override;
  void clear() override;
  bool isEmpty() override { return queue_.empty(); }

 private:
  std::deque<IQorDataObject*> queue_;
  std::unordered_set<IQorDataObject*> seen_;
};

// A set of live objects, not counted: an object takes itself out as it dies. find walks
// them in order of addition; remove takes out the latest addition of the pointer, in
// constant time, so that a million objects dying in any order cost no quadratic search.
class RefDatabase : public IQorDatabase {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefDatabase"; }

  int32_t count() override { return static_cast<int32_t>(objects_.size()); }
  void add(IQorDataObject* object) override;
  IQorDataObject* find(int64_t objectId) override;
  void remove(IQorDataObject* object) override;
  void addAction(IQorAction* action) override { actions_.push_back(action); }
  // Takes out the last entry equal to `action`.
  void removeAction(IQorAction* action) override;
  // The actions alive now.
  int32_t actionCount() const { return static_cast<int32_t>(actions_.size()); }

 private:
  std::vector<IQorAction*> actions_;
  std::list<IQorDataObject*> objects_;
  std::unordered_map<IQorDataObject*, std::vector<std::list<IQorDataObject*>::iterator>> where_;
};

RefPersistentRefMap& persistentRefMap();
RefWriteQueue& writeQueue();
RefDatabase& database();
// Registers the three services under their interface names.
void registerPersistence(RefComponentManager& manager);

}  // namespace refhost
