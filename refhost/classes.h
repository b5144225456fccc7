// The reference host's class factory entries: every class a data-model file can name, so
// that createInstance can make it while a file is read. The all-zero id makes a plain
// DataObject, so plain object graphs read back.
#pragma once
#include "refhost/componentmanager.h"

namespace refhost {
void registerDataModelClasses(RefComponentManager& manager);
}  // namespace refhost
