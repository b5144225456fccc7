// Progress of long work. ProgressCallbackBase is the reporter a long operation derives from
// or holds: it maps the operation's own fraction into a sub-range of the whole (in
// thousandths), drops steps that would not change the shown thousandth and passes the rest
// to the host's IQorProgress. Progress is the script-side object: a thin forwarder to a
// host callback object (IQorProgressCallback). One process-wide Progress resets the display
// when a class error is raised.
#pragma once
#include <cstdint>

#include "core/iptr.h"
#include "datamodel/dataeventsource.h"
#include "hostapi/iqorprogress.h"
#include "hostapi/iqorprogresscallback.h"

class ProgressCallbackBase;

// The reporter's operations, in slot order; the first slot is the destructor.
class IQorProgressObject {
 public:
  virtual ~IQorProgressObject() = default;
  // Percent limits of the sub-range; a negative argument keeps the present limit.
  virtual void setRange(int32_t lowPercent, int32_t highPercent) = 0;
  virtual void getRange(int32_t* lowPercent, int32_t* highPercent) = 0;
  virtual void setRawRange(int32_t low, int32_t high, int32_t last) = 0;
  virtual void getRawRange(int32_t* low, int32_t* high, int32_t* last) = 0;
  virtual void enable(bool on) = 0;
  virtual void copyTo(ProgressCallbackBase* other) = 0;
  virtual void copyFrom(ProgressCallbackBase* other) = 0;
  virtual bool begin() = 0;
  virtual bool update(int32_t step, int32_t total) = 0;
  virtual bool update(float fraction) = 0;
  virtual bool end() = 0;
  virtual bool setCancellable(bool on) = 0;
  virtual bool wasCancelled() = 0;
  virtual bool setVisible(bool on) = 0;
  virtual bool setCancelled(bool on) = 0;
  virtual uint8_t stateFlags() = 0;
  virtual bool isCancelRequested() = 0;
  virtual bool setProgressTarget(IQorProgress* target) = 0;
  virtual IQorProgress* progressTarget() = 0;
};

class ProgressCallbackBase : public virtual IQorProgressObject {
 public:
  // Bits of stateFlags.
  static constexpr uint8_t kCancelled = 1;    // a report came back with a stop
  static constexpr uint8_t kCancellable = 2;  // stops are honoured
  static constexpr uint8_t kSilent = 8;       // nothing is reported

  // On, over the whole range, cancellable, reporting to the service "IQorProgress".
  ProgressCallbackBase();
  // Off (low -1) until enable(true) or setRawRange; takes flags and target.
  ProgressCallbackBase(const ProgressCallbackBase& other);
  ProgressCallbackBase& operator=(const ProgressCallbackBase&) = delete;

  // Nothing while off. Arguments are percent, limited to 100, and low to at most high.
  void setRange(int32_t lowPercent, int32_t highPercent) override;
  // Percent by integer division; both 0 while off.
  void getRange(int32_t* lowPercent, int32_t* highPercent) override;
  void setRawRange(int32_t low, int32_t high, int32_t last) override;
  void getRawRange(int32_t* low, int32_t* high, int32_t* last) override;
  // On: the whole range, and the target fetched if there is none. Off: low -1. `last` stays,
  // so a reporter switched on again may skip its first report.
  void enable(bool on) override;
  // `other` takes range, flags and target, and starts at 0. Null or self: nothing.
  void copyTo(ProgressCallbackBase* other) override;
  void copyFrom(ProgressCallbackBase* other) override;
  // Clears the stop and reports 0. True without reporting while off, silent or targetless.
  bool begin() override;
  // update(step / total), divided in float.
  bool update(int32_t step, int32_t total) override;
  // Reports the fraction mapped into the range when the shown thousandth changes; on an
  // unchanged thousandth asks the target for a stop (cancellable only). False to stop.
  bool update(float fraction) override;
  // As begin, reporting 1.
  bool end() override;
  bool setCancellable(bool on) override;
  bool wasCancelled() override { return (flags_ & kCancelled) != 0; }
  bool setVisible(bool on) override;
  bool setCancelled(bool on) override;
  uint8_t stateFlags() override { return flags_; }
  bool isCancelRequested() override { return target_ && target_->isCancelled(); }
  bool setProgressTarget(IQorProgress* target) override {
    target_ = target;
    return true;
  }
  IQorProgress* progressTarget() override { return target_; }

 protected:
  int32_t low_ = 0;
  int32_t high_ = 1000;
  int32_t last_ = 0;
  uint8_t flags_ = kCancellable;
  IQorProgress* target_ = nullptr;  // not counted: the host keeps it alive
};

// A stand-alone, counted reporter. Answers "ProgressCallbackObject", "IQorUnknown" and
// "IQorProgressObject".
class ProgressCallbackObject : public IQorUnknown, public ProgressCallbackBase {
 public:
  ProgressCallbackObject() = default;
  ProgressCallbackObject(const ProgressCallbackObject& other)
      : IQorProgressObject(), IQorUnknown(), ProgressCallbackBase(other) {}
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "ProgressCallbackObject"; }
};

// The script-side progress object, in slot order. Each operation passes its arguments to
// one operation of the callback object (in brackets its slot there). "Through getCallback":
// the object is fetched when missing; without one the operation does nothing and gives a
// zero value. "Direct": the present callback only; without one, nothing and false.
class IProgress : public virtual IQorUnknown {
 public:
  virtual void setSteps(int32_t total) = 0;      // [7] through getCallback
  virtual bool begin() = 0;                      // [1] through getCallback
  virtual bool end() = 0;                        // [2] direct
  virtual bool step() = 0;                       // [8] direct
  virtual float fraction() = 0;                  // [9] through getCallback
  virtual bool isCancelled() = 0;                // [10] direct
  virtual void setFraction(float fraction) = 0;  // [3] through getCallback
  virtual void reset() = 0;                      // [4] through getCallback
  virtual bool update(float fraction) = 0;       // [11] through getCallback
  virtual void cancel() = 0;                     // [12] direct
  virtual bool isRunning() = 0;                  // [13] direct
  virtual bool setCancellable(bool on) = 0;      // [15] getCallback first
  virtual bool isCancellable() = 0;              // [16] getCallback first
  virtual int32_t steps() = 0;                   // [17] getCallback first
  virtual bool setVisible(bool on) = 0;          // [5] through getCallback
  virtual bool isVisible() = 0;                  // [6] direct
  // The callback object: the held one, else the service's (kept), else null.
  virtual IQorProgressCallback* getCallback() = 0;
  // Replaces the held callback object. True.
  virtual bool setCallback(IQorProgressCallback* callback) = 0;
};

// The same eighteen operations, for the objects whose callback comes from the service
// "IQorProgressCallbackInstance".
class IProgressInstance : public virtual IProgress {};

// Answers "Progress", "IQorUnknown", "IProgress", then the names of Primitive.
class Progress : public Primitive, public virtual IProgress {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "Progress"; }

  void setSteps(int32_t total) override;
  bool begin() override;
  bool end() override;
  bool step() override;
  float fraction() override;
  bool isCancelled() override;
  void setFraction(float fraction) override;
  void reset() override;
  bool update(float fraction) override;
  void cancel() override;
  bool isRunning() override;
  bool setCancellable(bool on) override;
  bool isCancellable() override;
  int32_t steps() override;
  bool setVisible(bool on) override;
  bool isVisible() override;
  IQorProgressCallback* getCallback() override;
  bool setCallback(IQorProgressCallback* callback) override;

 protected:
  // The service getCallback asks.
  virtual const char* callbackService() { return "IQorProgressCallback"; }

 private:
  IPtr<IQorProgressCallback> callback_;
};

// A Progress whose callback is the service "IQorProgressCallbackInstance". Answers
// "ProgressInstance", "IQorUnknown", "IProgressInstance", then the names of Progress.
class ProgressInstance : public Progress, public IProgressInstance {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "ProgressInstance"; }

 protected:
  const char* callbackService() override { return "IQorProgressCallbackInstance"; }
};

// The process-wide Progress: the service "IProgress" (kept to process end) queried as
// "Progress", fetched once on first use. Null without the service, for good.
Progress* progressSingleton();
