// What the curve shells of this namespace share: the host as IQorCurve (the curve set and
// the composite take curves through it), the class errors of the curve classes, and the
// range test every evaluation makes.
#pragma once
#include "core/qorobject.h"
#include "hostapi/iqorfeature.h"

namespace surfacing {

// Queried as "surfacing::ICurveShell": answered by NurbCurve, PolylineCurve and
// CompositeCurve.
class ICurveShell : public virtual IQorUnknown {
 public:
  // The host as IQorCurve, borrowed; null without a host.
  virtual ::IQorCurve* hostCurve() = 0;
};

// Raises the class error "Error in class <label>: <text>." (code 6) with its log line.
[[noreturn]] void fail(const char* label, const char* text);
// Raises "parameter is out of the curve range" of class `label` unless t lies in the
// closed range of `curve`.
void checkCurveRange(::IQorCurve* curve, double t, const char* label);

}  // namespace surfacing
