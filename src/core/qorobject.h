// The root classes: an intrusive count that starts at 0, a weak link, and an interface
// query keyed by name. Every interface derives virtually from IQorUnknown, so an object
// holds one root and one count however many interfaces it answers to.
#pragma once
#include <cstdint>
#include <cstring>

class QorWeakRef;

// The count field's value once an object has reached zero (-42 as unsigned).
inline constexpr uint32_t kQorDeadCount = static_cast<uint32_t>(-42);

class QorObject {
 public:
  virtual ~QorObject();
};

class QorShared : public QorObject {
 public:
  QorShared() = default;
  // A copy is a new object: its count starts at 0 and it has no weak link.
  QorShared(const QorShared&) : QorObject() {}
  QorShared& operator=(const QorShared&) { return *this; }
  virtual void addRef();
  // Drops one reference; at zero cuts the weak link and deletes. Returns whether zero was
  // reached.
  virtual bool release();
  // As release, but never deletes.
  virtual bool releaseNoDelete();
  virtual uint32_t refCount();
  // The object's weak link, made on first use; the object holds one reference to it.
  virtual QorWeakRef* weakRef();

 protected:
  uint32_t refCount_ = 0;
  QorWeakRef* weak_ = nullptr;

 private:
  void cutWeakLink();
};

class IQorUnknown : public QorShared {
 public:
  // With a name: *out is cleared, then set to the borrowed view answering to `name`, if
  // any. No reference is added. With a null name the object describes itself into `out`.
  virtual void queryInterface(const char* name, void** out, uintptr_t reserved) = 0;
  // The most derived class's own name.
  virtual const char* className() = 0;
};

class QorWeakRef : public QorShared {
 public:
  explicit QorWeakRef(QorShared* target) : target_(target) {}
  QorWeakRef* weakRef() override { return this; }
  QorShared* target() const { return target_; }

 private:
  friend class QorShared;
  QorShared* target_;
};

// Exact comparison of interface names.
inline bool qorNameIs(const char* a, const char* b) {
  return std::strcmp(a, b) == 0;
}

// Typed query through any view: the borrowed T* answering to `name`, or null.
template <class T>
T* qorQuery(IQorUnknown* obj, const char* name) {
  void* out = nullptr;
  if (obj) obj->queryInterface(name, &out, 0);
  return static_cast<T*>(out);
}
