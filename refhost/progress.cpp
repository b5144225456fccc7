#include "refhost/progress.h"

#include <unistd.h>

#include <cstdio>

#include "datamodel/progress.h"
#include "refhost/componentmanager.h"

namespace refhost {

void RefProgress::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefProgress") || qorNameIs(name, "IQorProgress"))
    *out = static_cast<IQorProgress*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

void RefProgress::draw(float fraction) {
  float f = fraction < 0.0f ? 0.0f : (fraction > 1.0f ? 1.0f : fraction);
  int32_t thousandth = static_cast<int32_t>(f * 1000.0f);
  if (thousandth == shown_) return;
  shown_ = thousandth;
  int32_t filled = thousandth / 25;  // 40 columns
  std::fprintf(stderr, "\r[%-40.*s] %5.1f%%", filled,
               "========================================", thousandth / 10.0);
  if (thousandth >= 1000) {
    std::fprintf(stderr, "\n");
    shown_ = -1;
  }
  std::fflush(stderr);
}

bool RefProgress::report(float fraction) {
  ScriptHook hook;
  void* context;
  {
    std::lock_guard<std::mutex> g(lock_);
    // The record keeps the latest reports only: a long session reports without end.
    if (reports_.size() >= kKeptReports)
      reports_.erase(reports_.begin(), reports_.begin() + kKeptReports / 2);
    reports_.push_back(fraction);
    if (fraction == 0.0f) scriptStop_ = false;
    if (bar_) draw(fraction);
    hook = hook_;
    context = hookContext_;
  }
  // Outside the lock: the hook may run script code that reports again.
  const bool goOn = !hook || hook(fraction, context);
  std::lock_guard<std::mutex> g(lock_);
  if (!goOn) scriptStop_ = true;
  if (cancelled_ || scriptStop_) return false;
  return stopAfter_ < 0 || static_cast<int64_t>(reports_.size()) < stopAfter_;
}

bool RefProgress::isCancelled() {
  // A counter for tests: a plain load and store, no locked instruction on this hot path
  // (a count may be lost when threads ask at once).
  cancelQueries_.store(cancelQueries_.load(std::memory_order_relaxed) + 1,
                       std::memory_order_relaxed);
  return cancelled_.load(std::memory_order_relaxed) || scriptStop_.load(std::memory_order_relaxed);
}

std::vector<float> RefProgress::reports() {
  std::lock_guard<std::mutex> g(lock_);
  return reports_;
}

int64_t RefProgress::cancelQueries() {
  return cancelQueries_.load();
}

void RefProgress::reset() {
  std::lock_guard<std::mutex> g(lock_);
  reports_.clear();
  cancelQueries_ = 0;
  stopAfter_ = -1;
  shown_ = -1;
  cancelled_ = false;
  scriptStop_ = false;
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

bool RefProgress::showsBar() {
  std::lock_guard<std::mutex> g(lock_);
  return bar_;
}

void RefProgress::setScriptHook(ScriptHook hook, void* context) {
  std::lock_guard<std::mutex> g(lock_);
  hook_ = hook;
  hookContext_ = context;
}

void RefProgress::endRun() {
  std::lock_guard<std::mutex> g(lock_);
  scriptStop_ = false;
  if (bar_ && shown_ >= 0) {
    std::fprintf(stderr, "\n");
    std::fflush(stderr);
  }
  shown_ = -1;
}

RefProgress& progress() {
  return immortal<RefProgress>();
}

// ---- the callback object ----

void RefProgressCallback::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefProgressCallback") || qorNameIs(name, "IQorProgressCallback") ||
      qorNameIs(name, "IQorProgressCallbackInstance"))
    *out = static_cast<IQorProgressCallback*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

void RefProgressCallback::record(int32_t slot, float value) {
  calls_.push_back({slot, value});
}

bool RefProgressCallback::show(float fraction) {
  fraction_ = fraction;
  if (!visible_) return true;
  ++reports_;
  return progress().report(fraction);
}

bool RefProgressCallback::begin() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  record(1);
  running_ = true;
  cancelled_ = false;
  done_ = 0;
  return show(0.0f);
}

bool RefProgressCallback::end() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  record(2);
  running_ = false;
  return show(1.0f);
}

void RefProgressCallback::setFraction(float fraction) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  record(3, fraction);
  show(fraction);
}

void RefProgressCallback::reset() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  record(4);
  fraction_ = 0.0f;
  running_ = false;
  cancelled_ = false;
  done_ = 0;
  progress().endRun();
}

bool RefProgressCallback::setVisible(bool on) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  record(5, on ? 1.0f : 0.0f);
  const bool changed = visible_ != on;
  visible_ = on;
  return changed;
}

bool RefProgressCallback::isVisible() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  record(6);
  return visible_;
}

void RefProgressCallback::setSteps(int32_t total) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  record(7, static_cast<float>(total));
  steps_ = total;
  done_ = 0;
}

bool RefProgressCallback::step() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  record(8);
  if (steps_ <= 0) return !cancelled_;
  if (done_ < steps_) ++done_;
  const bool goOn = show(static_cast<float>(done_) / static_cast<float>(steps_));
  if (!goOn && cancellable_) cancelled_ = true;
  return !cancelled_;
}

float RefProgressCallback::fraction() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  record(9);
  return fraction_;
}

bool RefProgressCallback::isCancelled() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  record(10);
  return cancelled_ || (cancellable_ && progress().isCancelled());
}

bool RefProgressCallback::update(float fraction) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  record(11, fraction);
  const bool goOn = show(fraction);
  if (!goOn && cancellable_) cancelled_ = true;
  return !cancelled_;
}

void RefProgressCallback::cancel() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  record(12);
  cancelled_ = true;
}

bool RefProgressCallback::isRunning() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  record(13);
  return running_;
}

int64_t RefProgressCallback::reportCount() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  record(14);
  return reports_;
}

bool RefProgressCallback::setCancellable(bool on) {
  std::lock_guard<std::recursive_mutex> g(lock_);
  record(15, on ? 1.0f : 0.0f);
  const bool changed = cancellable_ != on;
  cancellable_ = on;
  return changed;
}

bool RefProgressCallback::isCancellable() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  record(16);
  return cancellable_;
}

int32_t RefProgressCallback::steps() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  record(17);
  return steps_;
}

std::vector<RefProgressCallback::Call> RefProgressCallback::calls() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  return calls_;
}

void RefProgressCallback::clearCalls() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  calls_.clear();
}

RefProgressCallback& progressCallback() {
  return immortal<RefProgressCallback>();
}

RefProgressCallback& progressCallbackInstance() {
  return immortal<RefProgressCallback, 1>();
}

void registerProgress(RefComponentManager& m) {
  static auto* scriptProgress = [] {
    auto* x = new Progress();
    x->addRef();
    return x;
  }();
  progress().setShowBar(isatty(2) == 1);
  m.registerService("IQorProgress", static_cast<IQorProgress*>(&progress()));
  m.registerService("IProgress", static_cast<IProgress*>(scriptProgress));
  m.registerService("IQorProgressCallback",
                    static_cast<IQorProgressCallback*>(&progressCallback()));
  m.registerService("IQorProgressCallbackInstance",
                    static_cast<IQorProgressCallback*>(&progressCallbackInstance()));
}

}  // namespace refhost
