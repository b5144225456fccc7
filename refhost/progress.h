// The reference host's progress display, offered as "IQorProgress". It records every
// fraction it is told, in order, so that tests can read what a long operation reported;
// it can draw a bar on standard error, stop the work after a number of reports, or say
// that the user cancelled. It lives for the whole process (reporters hold it raw).
#pragma once
#include <cstdint>
#include <mutex>
#include <vector>

#include "hostapi/iqorprogress.h"

namespace refhost {

class RefProgress : public IQorProgress {
 public:
  // Answers "RefProgress", "IQorProgress" and "IQorUnknown".
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  // "RefProgress".
  const char* className() override { return "RefProgress"; }

  // Records the fraction (and redraws the bar when it is on). Answers false once the
  // reports since the last reset have reached the limit set by stopAfter, or while
  // cancelled; true otherwise.
  bool report(float fraction) override;
  // The cancel flag.
  bool isCancelled() override;

  // The fractions reported since the last reset, in order.
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
  // start.
  void setShowBar(bool on);

 private:
  std::mutex lock_;
  std::vector<float> reports_;
  int64_t cancelQueries_ = 0;
  int32_t stopAfter_ = -1;
  int32_t shown_ = -1;
  bool cancelled_ = false;
  bool bar_ = false;
};

// The host's progress display, made on first use and never destroyed.
RefProgress& progress();

}  // namespace refhost
