// Locks and one-time initialisation.
#pragma once
#include <mutex>

namespace Platform {

// A lock that its holder may take again, as a critical section allows.
class RecursiveLock {
 public:
  void lock() { m_.lock(); }
  void unlock() { m_.unlock(); }
  bool tryLock() { return m_.try_lock(); }

 private:
  std::recursive_mutex m_;
};

// A plain, non-recursive mutex.
class Mutex {
 public:
  void lock() { m_.lock(); }
  void unlock() { m_.unlock(); }
  bool tryLock() { return m_.try_lock(); }

 private:
  std::mutex m_;
};

// Holds a lock for a scope.
template <class L>
class ScopedLock {
 public:
  explicit ScopedLock(L& l) : l_(l) { l_.lock(); }
  ~ScopedLock() { l_.unlock(); }
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  L& l_;
};

// Runs a function once per flag, whatever the number of threads that ask.
using OnceFlag = std::once_flag;
template <class F>
void callOnce(OnceFlag& flag, F&& f) {
  std::call_once(flag, std::forward<F>(f));
}

}  // namespace Platform
