// The part of the property map that works on the math and colour value classes: their
// setters and getters live beside the value property classes, and the documentation table
// asks here for the special value texts of boxes and matrices.
#pragma once
#include "base/qorstring.h"

class IQorProperty;

namespace qor {
// The documentation table's value text of a QorBoundsProperty ("empty" for a box whose
// minimum's first coordinate exceeds its maximum's) or a Transform3DProperty ("identity"
// for the identity matrix); false for any other property or value.
bool tableValueOfMathProperty(IQorProperty* property, QorString& out);
}  // namespace qor
