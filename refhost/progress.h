// The reference host's progress services. RefProgress is the display, offered as
// "IQorProgress": it records every fraction it is told, in order, so that tests can read
// what a long operation reported; it draws a bar on standard error when that is a
// terminal, passes each fraction to a script's hook, and can stop the work after a number
// of reports or say that the user cancelled. RefProgressCallback is the callback object
// behind the script-side Progress ("IQorProgressCallback", "IQorProgressCallbackInstance"),
// reporting to the same display. Everything lives for the whole process (reporters hold
// the display raw).
#pragma once
#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include "hostapi/iqorprogress.h"
#include "hostapi/iqorprogresscallback.h"
#include "refhost/componentmanager.h"

namespace refhost {

class RefProgress : public IQorProgress {
 public:
  // Answers "RefProgress", "IQorProgress" and "IQorUnknown".
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  // "RefProgress".
  const char* className() override { return "RefProgress"; }

  // A script's view of the run: called with each fraction, outside the display's lock;
  // false asks for a stop.
  using ScriptHook = bool (*)(float fraction, void* context);

  // Records the fraction, redraws the bar when it is on and calls the script hook. A
  // fraction of 0 starts a new run and ends a stop the hook asked for. Answers false once
  // the reports since the last reset have reached the limit set by stopAfter, while
  // cancelled, or once the hook asked for a stop in this run; true otherwise.
  bool report(float fraction) override;
  // The cancel flag, or a stop the hook asked for in this run.
  bool isCancelled() override;

  // The fractions reported since the last reset, in order (the latest 32768 to 65536 of
  // them when there were more).
  std::vector<float> reports();
  // Calls of isCancelled since the last reset.
  int64_t cancelQueries();
  // Forgets the record, the limit and the cancel flag.
  void reset();
  // From the n-th report on (counted since the last reset), report answers false; a
  // negative n never stops.
  void stopAfter(int32_t n);
  // Sets the cancel flag.
  void setCancelled(bool on);
  // Draws a bar on standard error, redrawn whenever the shown thousandth changes. Off at
  // start; the boot switches it on when standard error is a terminal.
  void setShowBar(bool on);
  bool showsBar();
  // Installs the script hook (null removes it).
  void setScriptHook(ScriptHook hook, void* context);
  // Ends the run on the display: a stop the hook asked for ends, and a bar left part-way
  // ends its line. The record stays.
  void endRun();

 private:
  // Draws the bar for `fraction` (under the lock).
  void draw(float fraction);

  // How many reports the record keeps at most (it drops the older half when full).
  static constexpr size_t kKeptReports = 1 << 16;

  std::mutex lock_;
  std::vector<float> reports_;
  std::atomic<int64_t> cancelQueries_{0};  // read without the lock: asked once per unchanged update
  int32_t stopAfter_ = -1;
  int32_t shown_ = -1;
  std::atomic<bool> cancelled_{false};
  bool bar_ = false;
  std::atomic<bool> scriptStop_{false};
  ScriptHook hook_ = nullptr;
  void* hookContext_ = nullptr;
};

// The host's progress display, made on first use and never destroyed.
RefProgress& progress();

// The callback object of the script-side Progress. It records every operation it receives
// (its slot, first to seventeenth, and its argument) and shows runs on progress().
class RefProgressCallback : public IQorProgressCallback {
 public:
  struct Call {
    int32_t slot;
    float value;  // the argument (bools and counts as numbers); 0 without one
  };
  // Answers "RefProgressCallback", "IQorProgressCallback", "IQorProgressCallbackInstance"
  // and "IQorUnknown".
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefProgressCallback"; }

  bool begin() override;
  bool end() override;
  void setFraction(float fraction) override;
  void reset() override;
  bool setVisible(bool on) override;
  bool isVisible() override;
  void setSteps(int32_t total) override;
  bool step() override;
  float fraction() override;
  bool isCancelled() override;
  bool update(float fraction) override;
  void cancel() override;
  bool isRunning() override;
  int64_t reportCount() override;
  bool setCancellable(bool on) override;
  bool isCancellable() override;
  int32_t steps() override;

  // The operations received, in order.
  std::vector<Call> calls();
  void clearCalls();

 private:
  void record(int32_t slot, float value = 0.0f);
  // Passes a fraction to the display when visible; the display's answer (true when hidden).
  bool show(float fraction);

  std::recursive_mutex lock_;  // the display may run script code that calls back
  std::vector<Call> calls_;
  float fraction_ = 0.0f;
  int64_t reports_ = 0;
  int32_t steps_ = 0;
  int32_t done_ = 0;
  bool visible_ = true;
  bool running_ = false;
  bool cancelled_ = false;
  bool cancellable_ = true;
};

// The callback objects of the services "IQorProgressCallback" and
// "IQorProgressCallbackInstance".
RefProgressCallback& progressCallback();
RefProgressCallback& progressCallbackInstance();

// Registers "IQorProgress", "IProgress" (one Progress of the module's library),
// "IQorProgressCallback" and "IQorProgressCallbackInstance", and switches the bar on when
// standard error is a terminal.
void registerProgress(RefComponentManager& manager);

}  // namespace refhost
