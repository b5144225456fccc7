// The one exception of the system. It is always made on the heap and thrown as a pointer;
// whoever catches it owns it.
#pragma once
#include <cstdint>

#include "base/qorcstring.h"
#include "base/qorstring.h"

struct PlatformException {
  int32_t code;
  QorString message;
};

// Codes: 1 a property doesn't exist, 2 a read-only attribute was set, 3 a wrong value type,
// 6 a class error. Above 4 a script sees RuntimeError, else AttributeError.
inline constexpr int32_t kErrNoSuchProperty = 1;
inline constexpr int32_t kErrReadOnly = 2;
inline constexpr int32_t kErrWrongType = 3;
inline constexpr int32_t kErrClass = 6;

namespace qor {
// Shows `message` through the host's IQorErrorService, level 1, if the service exists.
// Returns whether a service took it.
bool reportToErrorService(const QorString& message, const QorCString& where);
}  // namespace qor
