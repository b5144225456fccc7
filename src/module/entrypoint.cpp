// The module's component door. Everything it does lives in libbrindle; this file only
// gives it the exported name.
#include <cstdint>

#include "core/component.h"

extern "C" __attribute__((visibility("default"))) int EntryPoint(uint32_t* version,
                                                                 uintptr_t* component) {
  return qor::entryPoint(version, component);
}
