#include "refhost/progress.h"

#include <cstdio>

namespace refhost {

void RefProgress::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefProgress") || qorNameIs(name, "IQorProgress"))
    *out = static_cast<IQorProgress*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

bool RefProgress::report(float fraction) {
  std::lock_guard<std::mutex> g(lock_);
  reports_.push_back(fraction);
  if (bar_) {
    float f = fraction < 0.0f ? 0.0f : (fraction > 1.0f ? 1.0f : fraction);
    int32_t thousandth = static_cast<int32_t>(f * 1000.0f);
    if (thousandth != shown_) {
      shown_ = thousandth;
      int32_t filled = thousandth / 25;  // 40 columns
      std::fprintf(stderr, "\r[%-40.*s] %5.1f%%", filled,
                   "========================================", thousandth / 10.0);
      if (thousandth >= 1000) std::fprintf(stderr, "\n");
      std::fflush(stderr);
    }
  }
  if (cancelled_) return false;
  return stopAfter_ < 0 || static_cast<int64_t>(reports_.size()) < stopAfter_;
}

bool RefProgress::isCancelled() {
  std::lock_guard<std::mutex> g(lock_);
  ++cancelQueries_;
  return cancelled_;
}

std::vector<float> RefProgress::reports() {
  std::lock_guard<std::mutex> g(lock_);
  return reports_;
}

int64_t RefProgress::cancelQueries() {
  std::lock_guard<std::mutex> g(lock_);
  return cancelQueries_;
}

void RefProgress::reset() {
  std::lock_guard<std::mutex> g(lock_);
  reports_.clear();
  cancelQueries_ = 0;
  stopAfter_ = -1;
  shown_ = -1;
  cancelled_ = false;
}

void RefProgress::stopAfter(int32_t n) {
  std::lock_guard<std::mutex> g(lock_);
  stopAfter_ = n;
}

void RefProgress::setCancelled(bool on) {
  std::lock_guard<std::mutex> g(lock_);
  cancelled_ = on;
}

void RefProgress::setShowBar(bool on) {
  std::lock_guard<std::mutex> g(lock_);
  bar_ = on;
  shown_ = -1;
}

RefProgress& progress() {
  static auto* p = [] {
    auto* x = new RefProgress();
    x->addRef();
    return x;
  }();
  return *p;
}

}  // namespace refhost
