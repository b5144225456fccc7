// Counted pointers with a typed view (ptr) and a root view (unknown). The reference
// belongs to the root view. No virtual table: SPtr only adds a constructor, and nothing
// deletes through an IPtr*.
#pragma once
#include "base/qorcstring.h"
#include "core/locator.h"
#include "core/qorobject.h"

template <class T, class U = IQorUnknown>
class IPtr {
 public:
  IPtr() = default;
  IPtr(T* p) { assign(p); }  // NOLINT: implicit, as assignment is
  IPtr(const IPtr& o) { assign(o.ptr); }
  IPtr(IPtr&& o) noexcept : ptr(o.ptr), unknown(o.unknown) { o.ptr = nullptr, o.unknown = nullptr; }
  ~IPtr() { reset(); }

  IPtr& operator=(T* p) {
    assign(p);
    return *this;
  }
  IPtr& operator=(const IPtr& o) {
    assign(o.ptr);
    return *this;
  }
  IPtr& operator=(IPtr&& o) noexcept {
    if (this != &o) {
      reset();
      ptr = o.ptr, unknown = o.unknown;
      o.ptr = nullptr, o.unknown = nullptr;
    }
    return *this;
  }

  T* get() const { return ptr; }
  T* operator->() const { return ptr; }
  T& operator*() const { return *ptr; }
  explicit operator bool() const { return ptr != nullptr; }
  U* root() const { return unknown; }

  // Releases the reference and holds nothing.
  void reset() {
    if (unknown) {
      U* u = unknown;
      ptr = nullptr;
      unknown = nullptr;
      u->release();
    }
  }

 protected:
  // Same pointer: nothing. Otherwise add the new reference first, then drop the old.
  void assign(T* p) {
    if (p == ptr) return;
    U* u = p ? static_cast<U*>(p) : nullptr;
    if (u) u->addRef();
    U* old = unknown;
    ptr = p;
    unknown = u;
    if (old) old->release();
  }

  T* ptr = nullptr;
  U* unknown = nullptr;
};

// The same pointer, built from a service name through the locator.
template <class T, class U = IQorUnknown>
class SPtr : public IPtr<T, U> {
 public:
  SPtr() = default;
  explicit SPtr(const QorCString& name) {
    void* out = nullptr;
    ::getService(name, &out);
    if (out) {
      this->ptr = static_cast<T*>(out);
      this->unknown = static_cast<U*>(this->ptr);
      this->unknown->addRef();
    }
  }
  explicit SPtr(const char* name) : SPtr(QorCString(kBorrow, name)) {}
  SPtr& operator=(T* p) {
    this->assign(p);
    return *this;
  }
};
