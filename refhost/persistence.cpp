#include "refhost/persistence.h"

#include <algorithm>
#include <utility>

namespace refhost {

void RefPersistentRefMap::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefPersistentRefMap"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorPersistentRefMap"))
    *out = static_cast<IQorPersistentRefMap*>(this);
}

void RefPersistentRefMap::clear() {
  // Letting go of the objects may run destructors that cancel their requests here: empty
  // the members first and drop the references afterwards.
  auto held = std::move(held_);
  held_.clear();
  objects_.clear();
  ids_.clear();
  waiting_.clear();
  written_.clear();
  next_ = 1;
  held.clear();
}

void RefPersistentRefMap::registerRef(uint32_t refId, IQorPersistentRef* ref) {
  if (refId == 0 || !ref) return;
  objects_[refId] = ref;
  ids_[ref] = refId;
  held_.emplace_back(ref);
  if (refId >= next_) next_ = refId + 1;
  auto it = waiting_.find(refId);
  if (it == waiting_.end()) return;
  // A callback may request or register further numbers: take the list out first.
  std::vector<IQorPersistentRefCallback*> callbacks = std::move(it->second);
  waiting_.erase(it);
  for (IQorPersistentRefCallback* cb : callbacks) cb->refResolved(refId, ref);
}

bool RefPersistentRefMap::containsRef(IQorPersistentRef* ref) {
  return ids_.count(ref) != 0;
}

IQorPersistentRef* RefPersistentRefMap::lookup(uint32_t refId) {
  auto it = objects_.find(refId);
  return it == objects_.end() ? nullptr : it->second;
}

uint32_t RefPersistentRefMap::getRefId(IQorPersistentRef* ref) {
  if (!ref) return 0;
  auto it = ids_.find(ref);
  if (it != ids_.end()) return it->second;
  uint32_t id = next_++;
  ids_[ref] = id;
  objects_[id] = ref;
  return id;
}

int32_t RefPersistentRefMap::unresolvedCount() {
  size_t n = 0;
  for (auto& [id, callbacks] : waiting_) n += callbacks.size();
  return static_cast<int32_t>(n);
}

bool RefPersistentRefMap::isWritten(uint32_t refId) {
  return written_.count(refId) != 0;
}

void RefPersistentRefMap::cancelRequests(IQorPersistentRefCallback* callback) {
  for (auto it = waiting_.begin(); it != waiting_.end();) {
    auto& v = it->second;
    v.erase(std::remove(v.begin(), v.end(), callback), v.end());
    it = v.empty() ? waiting_.erase(it) : std::next(it);
  }
}

void RefPersistentRefMap::requestRef(uint32_t refId, IQorPersistentRefCallback* callback) {
  // Number 0 stands for no object: it never resolves.
  if (refId == 0 || !callback) return;
  if (IQorPersistentRef* ref = lookup(refId)) {
    callback->refResolved(refId, ref);
    return;
  }
  waiting_[refId].push_back(callback);
}

std::vector<IQorPersistentRef*> RefPersistentRefMap::heldObjects() const {
  std::vector<IQorPersistentRef*> out;
  out.reserve(held_.size());
  for (const auto& h : held_) out.push_back(h.get());
  return out;
}

void RefPersistentRefMap::markWritten(uint32_t refId) {
  written_.insert(refId);
}

void RefWriteQueue::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefWriteQueue"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorWriteQueue"))
    *out = static_cast<IQorWriteQueue*>(this);
}

void RefWriteQueue::push(IQorDataObject* object) {
  if (!object || !seen_.insert(object).second) return;
  queue_.push_back(object);
}

IQorDataObject* RefWriteQueue::pop() {
  if (queue_.empty()) return nullptr;
  IQorDataObject* next = queue_.front();
  queue_.pop_front();
  return next;
}

void RefWriteQueue::clear() {
  queue_.clear();
  seen_.clear();
}

void RefDatabase::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefDatabase"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorDatabase"))
    *out = static_cast<IQorDatabase*>(this);
}

void RefDatabase::add(IQorDataObject* object) {
  if (object) where_[object].push_back(objects_.insert(objects_.end(), object));
}

IQorDataObject* RefDatabase::find(int64_t objectId) {
  for (IQorDataObject* o : objects_)
    if (o->getObjectId() == objectId) return o;
  return nullptr;
}

void RefDatabase::remove(IQorDataObject* object) {
  auto w = where_.find(object);
  if (w == where_.end()) return;
  objects_.erase(w->second.back());
  w->second.pop_back();
  if (w->second.empty()) where_.erase(w);
}

void RefDatabase::removeAction(IQorAction* action) {
  for (auto i = actions_.size(); i-- > 0;)
    if (actions_[i] == action) {
      actions_.erase(actions_.begin() + static_cast<std::ptrdiff_t>(i));
      return;
    }
}

RefPersistentRefMap& persistentRefMap() {
  static auto* m = new RefPersistentRefMap();  // lives to process end
  return *m;
}

RefWriteQueue& writeQueue() {
  static auto* q = new RefWriteQueue();
  return *q;
}

RefDatabase& database() {
  static auto* d = new RefDatabase();
  return *d;
}

void registerPersistence(RefComponentManager& manager) {
  manager.registerService("IQorPersistentRefMap",
                          static_cast<IQorPersistentRefMap*>(&persistentRefMap()));
  manager.registerService("IQorWriteQueue", static_cast<IQorWriteQueue*>(&writeQueue()));
  manager.registerService("IQorDatabase", static_cast<IQorDatabase*>(&database()));
}

}  // namespace refhost
