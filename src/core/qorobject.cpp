#include "core/qorobject.h"

#include "core/locator.h"

QorObject::~QorObject() = default;

void QorShared::addRef() {
  countUp(&refCount_);
}

bool QorShared::release() {
  if (!countDown(&refCount_)) return false;
  cutWeakLink();
  delete this;
  return true;
}

bool QorShared::releaseNoDelete() {
  if (!countDown(&refCount_)) return false;
  cutWeakLink();
  return true;
}

uint32_t QorShared::refCount() {
  return refCount_;
}

QorWeakRef* QorShared::weakRef() {
  if (!weak_) {
    weak_ = new QorWeakRef(this);
    weak_->addRef();
  }
  return weak_;
}

void QorShared::cutWeakLink() {
  if (QorWeakRef* w = weak_) {
    weak_ = nullptr;
    w->target_ = nullptr;
    w->release();
  }
}
