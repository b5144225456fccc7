#include "datamodel/progress.h"

#include <algorithm>

#include "core/listing.h"
#include "core/translate.h"

namespace {

IQorProgress* progressService() {
  void* out = nullptr;
  ::getService("IQorProgress", &out);
  return static_cast<IQorProgress*>(out);
}

}  // namespace

// ---- ProgressCallbackBase ----

ProgressCallbackBase::ProgressCallbackBase() : target_(progressService()) {}

ProgressCallbackBase::ProgressCallbackBase(const ProgressCallbackBase& other)
    : IQorProgressObject(), low_(-1), high_(1000), flags_(other.flags_), target_(other.target_) {}

void ProgressCallbackBase::setRange(int32_t lowPercent, int32_t highPercent) {
  if (low_ < 0) return;
  if (lowPercent >= 0) low_ = std::min(lowPercent * 10, 1000);
  if (highPercent >= 0) high_ = std::min(highPercent * 10, 1000);
  low_ = std::min(low_, high_);
}

void ProgressCallbackBase::getRange(int32_t* lowPercent, int32_t* highPercent) {
  const bool off = low_ < 0;
  if (lowPercent) *lowPercent = off ? 0 : low_ / 10;
  if (highPercent) *highPercent = off ? 0 : high_ / 10;
}

void ProgressCallbackBase::setRawRange(int32_t low, int32_t high, int32_t last) {
  low_ = low;
  high_ = high;
  last_ = last;
}

void ProgressCallbackBase::getRawRange(int32_t* low, int32_t* high, int32_t* last) {
  if (low) *low = low_;
  if (high) *high = high_;
  if (last) *last = last_;
}

void ProgressCallbackBase::enable(bool on) {
  if (!on) {
    low_ = -1;
    return;
  }
  low_ = 0;
  high_ = 1000;
  if (!target_) target_ = progressService();
}

void ProgressCallbackBase::copyTo(ProgressCallbackBase* other) {
  if (!other || other == this) return;
  other->low_ = low_;
  other->high_ = high_;
  other->flags_ = flags_;
  other->target_ = target_;
  other->last_ = 0;
}

void ProgressCallbackBase::copyFrom(ProgressCallbackBase* other) {
  if (other) other->copyTo(this);
}

bool ProgressCallbackBase::begin() {
  if (low_ < 0 || !target_ || (flags_ & kSilent)) return true;
  flags_ = static_cast<uint8_t>(flags_ & ~kCancelled);
  last_ = 0;
  return target_->report(0.0f);
}

bool ProgressCallbackBase::end() {
  if (low_ < 0 || !target_ || (flags_ & kSilent)) return true;
  flags_ = static_cast<uint8_t>(flags_ & ~kCancelled);
  last_ = 0;
  return target_->report(1.0f);
}

bool ProgressCallbackBase::update(int32_t step, int32_t total) {
  return update(static_cast<float>(step) / static_cast<float>(total));
}

bool ProgressCallbackBase::update(float fraction) {
  if (low_ < 0 || !target_ || (flags_ & kSilent)) return true;
  // NaN (0 / 0) fails both comparisons and counts as 0.
  if (!(fraction >= 0.0f))
    fraction = 0.0f;
  else if (fraction > 1.0f)
    fraction = 1.0f;
  // In float throughout: the shown thousandth must not depend on double rounding.
  const int32_t position = low_ + static_cast<int32_t>(static_cast<float>(high_ - low_) * fraction);
  if (position != last_) {
    last_ = position;
    if (target_->report(static_cast<float>(position) * 0.001f)) return true;
    if (flags_ & kCancellable) flags_ = static_cast<uint8_t>(flags_ | kCancelled);
    return false;
  }
  if (!(flags_ & kCancellable)) return true;
  if (flags_ & kCancelled) return false;
  if (!target_->isCancelled()) return true;
  flags_ = static_cast<uint8_t>(flags_ | kCancelled);
  return false;
}

bool ProgressCallbackBase::setCancellable(bool on) {
  const uint8_t before = flags_;
  flags_ = static_cast<uint8_t>(on ? flags_ | kCancellable : flags_ & ~kCancellable);
  return flags_ != before;
}

bool ProgressCallbackBase::setVisible(bool on) {
  const uint8_t before = flags_;
  flags_ = static_cast<uint8_t>(on ? flags_ & ~kSilent : flags_ | kSilent);
  return flags_ != before;
}

bool ProgressCallbackBase::setCancelled(bool on) {
  flags_ = static_cast<uint8_t>(on ? flags_ | kCancelled : flags_ & ~kCancelled);
  return true;
}

void ProgressCallbackObject::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out) return;
  if (!name) {
    walkEnterClass("ProgressCallbackObject", out);
    walkAddInterface("IQorUnknown", out);
    walkAddInterface("IQorProgressObject", out);
    walkLeaveClass(out);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "ProgressCallbackObject"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorProgressObject"))
    *out = static_cast<IQorProgressObject*>(this);
}

// ---- Progress ----

void Progress::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("Progress", out);
    walkAddInterface("IQorUnknown", out);
    walkAddInterface("IProgress", out);
    Primitive::queryInterface(nullptr, out, reserved);
    walkLeaveClass(out);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "Progress"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IProgress"))
    *out = static_cast<IProgress*>(this);
  else
    Primitive::queryInterface(name, out, reserved);
}

IQorProgressCallback* Progress::getCallback() {
  if (!callback_) {
    void* out = nullptr;
    ::getService(callbackService(), &out);
    callback_ = static_cast<IQorProgressCallback*>(out);
  }
  return callback_.get();
}

bool Progress::setCallback(IQorProgressCallback* callback) {
  callback_ = callback;
  return true;
}

// Through getCallback: fetched when missing.
void Progress::setSteps(int32_t total) {
  if (IQorProgressCallback* c = getCallback()) c->setSteps(total);
}
bool Progress::begin() {
  IQorProgressCallback* c = getCallback();
  return c && c->begin();
}
float Progress::fraction() {
  IQorProgressCallback* c = getCallback();
  return c ? c->fraction() : 0.0f;
}
void Progress::setFraction(float fraction) {
  if (IQorProgressCallback* c = getCallback()) c->setFraction(fraction);
}
void Progress::reset() {
  if (IQorProgressCallback* c = getCallback()) c->reset();
}
bool Progress::update(float fraction) {
  IQorProgressCallback* c = getCallback();
  return c && c->update(fraction);
}
bool Progress::setVisible(bool on) {
  IQorProgressCallback* c = getCallback();
  return c && c->setVisible(on);
}
// getCallback first, and nothing when it stays null.
bool Progress::setCancellable(bool on) {
  IQorProgressCallback* c = getCallback();
  return c && c->setCancellable(on);
}
bool Progress::isCancellable() {
  IQorProgressCallback* c = getCallback();
  return c && c->isCancellable();
}
int32_t Progress::steps() {
  IQorProgressCallback* c = getCallback();
  return c ? c->steps() : 0;
}
// Direct: only the callback already held.
bool Progress::end() {
  return callback_ && callback_->end();
}
bool Progress::step() {
  return callback_ && callback_->step();
}
bool Progress::isCancelled() {
  return callback_ && callback_->isCancelled();
}
void Progress::cancel() {
  if (callback_) callback_->cancel();
}
bool Progress::isRunning() {
  return callback_ && callback_->isRunning();
}
bool Progress::isVisible() {
  return callback_ && callback_->isVisible();
}

void ProgressInstance::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("ProgressInstance", out);
    walkAddInterface("IQorUnknown", out);
    walkAddInterface("IProgressInstance", out);
    Progress::queryInterface(nullptr, out, reserved);
    walkLeaveClass(out);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "ProgressInstance"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(static_cast<Progress*>(this));
  else if (qorNameIs(name, "IProgressInstance"))
    *out = static_cast<IProgressInstance*>(this);
  else
    Progress::queryInterface(name, out, reserved);
}

// ---- the process-wide Progress ----

Progress* progressSingleton() {
  static SPtr<IProgress> service("IProgress");
  static Progress* const progress = qorQuery<Progress>(service.get(), "Progress");
  return progress;
}

namespace {

// The first step of every class error: the display of a run that the error ends is reset.
void resetRunningProgress() {
  if (Progress* p = progressSingleton()) p->reset();
}

[[maybe_unused]] const bool resetHookInstalled =
    (qor::setProgressResetHook(&resetRunningProgress), true);

}  // namespace
