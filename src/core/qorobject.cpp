#include "core/qorobject.h"

#include <deque>

#include "core/locator.h"

namespace {

// Deletes run one inside the other when an object holds the last reference to the next one:
// a chain of a million objects would need a million nested destructors. Past a fixed depth
// of nested deletes on this thread an object whose count reached zero waits in a queue,
// and the outermost delete empties the queue in order before it returns. The depth of the
// stack thus never grows with the graph; graphs shallower than the limit die exactly as
// they always did. The weak link is cut when the count reaches zero, queued or not.
constexpr int kNestedDeletes = 48;

// The depth and the count of waiting objects are plain data, reached without the guard and
// the registration of a thread-local object; the queue is made at its first use.
struct Trashcan {
  int depth = 0;
  size_t waiting = 0;
};
thread_local Trashcan tTrashcan;

std::deque<QorShared*>& waitingQueue() {
  thread_local std::deque<QorShared*> queue;
  return queue;
}

void destroy(QorShared* object) {
  Trashcan& t = tTrashcan;
  if (t.depth >= kNestedDeletes) {
    waitingQueue().push_back(object);
    ++t.waiting;
    return;
  }
  ++t.depth;
  delete object;
  if (t.depth == 1)
    while (t.waiting > 0) {
      std::deque<QorShared*>& queue = waitingQueue();
      QorShared* next = queue.front();
      queue.pop_front();
      --t.waiting;
      delete next;
    }
  --t.depth;
}

}  // namespace

QorObject::~QorObject() = default;

void QorShared::addRef() {
  countUp(&refCount_);
}

bool QorShared::release() {
  if (!countDown(&refCount_)) return false;
  cutWeakLink();
  destroy(this);
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
