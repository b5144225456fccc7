// Reading the value of an object property through its root view.
#pragma once
#include "core/qorobject.h"

namespace qor {

// The current value of the object that answers to "ObjectProperty", borrowed, or null
// when `property` is null, isn't an object property, or holds nothing.
IQorUnknown* objectPropertyValue(IQorUnknown* property);

}  // namespace qor
