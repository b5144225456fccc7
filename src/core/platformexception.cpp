#include "core/platformexception.h"

#include "core/iptr.h"
#include "hostapi/iqorerrorservice.h"

namespace qor {

bool reportToErrorService(const QorString& message, const QorCString& where) {
  SPtr<IQorErrorService> service("IQorErrorService");
  if (!service) return false;
  int32_t level = 1;
  service->report(message, &level, where);
  return true;
}

}  // namespace qor
