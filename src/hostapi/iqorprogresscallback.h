// The host's progress callback object, handed out as the services "IQorProgressCallback"
// and "IQorProgressCallbackInstance". The script-side Progress forwards each of its
// operations to one of these. What each operation means is the host's: the comments give
// the reference host's meanings. Operations in slot order, first to seventeenth.
#pragma once
#include <cstdint>

#include "core/qorobject.h"

class IQorProgressCallback : public virtual IQorUnknown {
 public:
  // 1: starts a run at 0 and clears a stop; false when the display asks to stop.
  virtual bool begin() = 0;
  // 2: shows the end of the run and ends it; false when the display asks to stop.
  virtual bool end() = 0;
  // 3: shows a fraction (0 to 1) without asking for a stop.
  virtual void setFraction(float fraction) = 0;
  // 4: resets the display: no run, fraction 0, no stop.
  virtual void reset() = 0;
  // 5: shows or hides the display; whether that changed anything.
  virtual bool setVisible(bool on) = 0;
  // 6: whether the display is shown.
  virtual bool isVisible() = 0;
  // 7: counts the run in `total` steps from now on (step 8).
  virtual void setSteps(int32_t total) = 0;
  // 8: one step further: update(steps done / total).
  virtual bool step() = 0;
  // 9: the fraction last shown.
  virtual float fraction() = 0;
  // 10: whether a stop was asked for.
  virtual bool isCancelled() = 0;
  // 11: shows a fraction; false to stop (only while stops are honoured).
  virtual bool update(float fraction) = 0;
  // 12: asks for a stop.
  virtual void cancel() = 0;
  // 13: whether a run is under way (between begin and end or reset).
  virtual bool isRunning() = 0;
  // 14: how many fractions this object passed to the display.
  virtual int64_t reportCount() = 0;
  // 15: whether stops are honoured; whether that changed anything.
  virtual bool setCancellable(bool on) = 0;
  // 16: whether stops are honoured.
  virtual bool isCancellable() = 0;
  // 17: the step count set by 7.
  virtual int32_t steps() = 0;
};
