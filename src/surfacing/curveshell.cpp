#include "surfacing/curveshell.h"

#include "core/translate.h"
#include "hostapi/iqorlog3.h"

namespace surfacing {

void fail(const char* label, const char* text) {
  features::fail(label, text);
}

void checkCurveRange(::IQorCurve* curve, double t, const char* label) {
  if (!curve) return;
  if (t < curve->range(0) || t > curve->range(1))
    fail(label, "parameter is out of the curve range");
}

void logLifetime(DataObject* object, const char* state) {
  SPtr<IQorLog3> log("IQorLog3");
  if (!log) return;
  QorString text;
  tr(text, "[%1] [id = %2] ", QorString(object->className()),
     QorString(static_cast<long long>(object->getObjectId())));
  text += QorString(state);
  log->logInfo(text);
}

void fireUpdated(DataObject* object) {
  object->fireEvent(QorCString(kBorrow, "updated"), nullptr);
}

QorBounds boundsOf(IQorUnknown* host) {
  QorBounds box;  // the empty marker
  if (auto* feature = qorQuery<::IQorFeature>(host, "IQorFeature")) feature->boundingBox(box);
  return box;
}

}  // namespace surfacing
